// SPDX-License-Identifier: MIT
/* What the compiler's unit tests share. A test that declares a fresh_compiler starts with an empty
 * router and the compiler's counters reset. */
#ifndef TESTS_COMPILER_COMPILER_FILES_H
#define TESTS_COMPILER_COMPILER_FILES_H

#include "../../compiler/compiler.h"
#include "../../compiler/steps.h"
#include "../support/router_files.h"

const std::string NAT_SWITCH = "/etc/autorun/nat_on";
const std::string COMMAND_SHELL = "/usr/local/sbin/imish";
const std::string NAT_TEST = "/usr/local/sbin/qos_config/check_nat.sh";

class fresh_compiler : public fresh_router {
public:
	fresh_compiler()
	{
		g_cur_dev = device;
		g_class_count = g_basic_count = 0;
		g_class_id = g_spq_id = 0;
		g_mark = 100;
		write_program(NAT_TEST, "exit 0\n");
	}

	/* Makes a command shell that knows these interfaces by their device form, and reports no
	 * device for any other. */
	void connect(const file_map &interfaces)
	{
		std::string table;
		for (const auto &row : interfaces)
			table += row.first + ") echo 'DEVICE=\"" + row.second + "\"' ;;\n";
		write_program(COMMAND_SHELL, "set -f\nset -- $2\ncase $3 in\n" + table +
						     "esac > \"$5\"\n");
	}

	/* Stores the filter f and its lists; fields are its other fields. */
	void store_filter(const texts &src_ips, const texts &dst_ips, const texts &src_ports,
			  const texts &dst_ports, const std::string &fields = "TRANS_PROTO=tcp\n")
	{
		store("filter", "[f]\nINT_IP_ID=src\nEXT_IP_ID=dst\nINT_PORT_ID=src\n"
				"EXT_PORT_ID=dst\n" + fields);
		store("ip", list("src", "IP_LIST", src_ips) + list("dst", "IP_LIST", dst_ips));
		store("port",
		      list("src", "PORT_LIST", src_ports) + list("dst", "PORT_LIST", dst_ports));
	}

	/* The section of a list. */
	static std::string list(const std::string &id, const std::string &key, const texts &entries)
	{
		std::string text = "[" + id + "]\n";
		for (size_t n = 0; n < entries.size(); n++)
			text += key + "[" + std::to_string(n) + "]=" + entries[n] + "\n";
		return text;
	}

	/* The lines that do_rule writes for a class with these filters; told receives what it
	 * prints. */
	std::string rules_of(texts filters, printed *told = nullptr)
	{
		class_rec rec = {};
		for (size_t n = 0; n < filters.size(); n++)
			*get_filter_slot(&rec, static_cast<int>(n)) = &filters[n][0];
		printed all;
		std::string lines = written_by([&](FILE *script) {
			all = printed_by([&] { EXPECT_EQ(do_rule(script, rec), 1); });
		});
		if (told)
			*told = all;
		return lines;
	}

	/* Makes a NAT test of these lines, and switches NAT on. */
	void translate(const std::string &lines)
	{
		write_program(NAT_TEST, lines);
		write_file(NAT_SWITCH, "");
	}

	/* In device form; the code under test may turn it to file form and back. */
	char device[16] = "nas/0";
};

/* The device scripts of a policy without an R2Q. */
const char HTB[] = "QDISC=htb\nDEFAULT=1000\n";
const char SPQ[] = "QDISC=spq\n";

/* LAN1 to LAN3 are connected to nas1 to nas3; root is the only class and node. */
class small_office : public fresh_compiler {
public:
	small_office()
	{
		connect({ { "LAN1", "nas1" }, { "LAN2", "nas2" }, { "LAN3", "nas3" } });
		store("class", "[root]\nRATE=1\n");
		store("basic", "[root]\n");
	}
};

/* The section of a policy; a null discipline is none. */
inline std::string policy(const std::string &id, const char *qdisc = "htb",
			  const std::string &fields = "ROOT_CLASS=root\n")
{
	return "[" + id + "]\n" + (qdisc ? "QDISC=" + std::string(qdisc) + "\n" : "") + fields;
}

/* The result of a whole compile and what it left. */
struct compiled {
	int result;
	file_map scripts;
	texts alerts;
	printed told;
};

inline compiled compile(const fresh_compiler &router)
{
	compiled all;
	all.told = printed_by([&] { all.result = do_policy(); });
	all.scripts = router.scripts();
	all.alerts = alerts_in(all.told.out);
	return all;
}

#endif
