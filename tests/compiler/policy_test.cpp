// SPDX-License-Identifier: MIT
/* Whole compiles: the driver on stores that it can compile, and the scripts it leaves. */
#include "compiler_files.h"

TEST(do_policy, compiles_a_tree)
{
	fresh_compiler router;
	router.connect({ { "LAN1", "nas0" } });
	router.store("policy",
		     policy("LAN1", "htb",
			    "ROOT_CLASS=root\nDEFAULT_CLASS=rest\nR2Q=10\nBANDWIDTH=1\n"));
	router.store("class", "[root]\nRATE=10\nRATE_UNIT=Mbps\n[voice]\nPARENT_ID=root\nPRIO=0\n"
			      "[rest]\nPARENT_ID=root\n[bulk]\nPARENT_ID=rest\nLEAF=sfq\n");
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.scripts, (file_map{ { "nas0", "QDISC=htb\nDEFAULT=1000\nR2Q=10\n" },
					  { "nas0-2.root", "RATE=10Mbps\n" },
					  { "nas0-2:10.voice", "PRIO=0\n" },
					  { "nas0-2:1000.rest", "" },
					  { "nas0-2:1000:30.bulk", "LEAF=sfq\n" } }));
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.told.err, "");
}

TEST(do_policy, compiles_bands)
{
	fresh_compiler router;
	router.connect({ { "LAN1", "nas0" } });
	router.store("policy", policy("LAN1", "spq", "ROOT_CLASS=1\nDEFAULT_CLASS=1\nR2Q=10\n"));
	router.store("basic", "[1]\nLOW=11\nMIDDLE=12\nHIGH=13\n");
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.scripts, (file_map{ { "nas0", SPQ },
					  { "nas0-2.1", "" },
					  { "nas0-2:1.13", "" },
					  { "nas0-2:2.12", "" },
					  { "nas0-2:3.11", "" } }));
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.told.err, "");
}

TEST(do_policy, compiles_twelve_and_forty_policies)
{
	for (size_t count : { 11u, 12u, 40u }) {
		fresh_compiler router;
		file_map interfaces, expected;
		std::string policies;
		for (size_t n = 0; n < count; n++) {
			const std::string device = "nas" + std::to_string(n);
			interfaces["LAN" + std::to_string(n)] = device;
			policies += policy("LAN" + std::to_string(n), n % 3 ? "htb" : "spq");
			expected[device] = n % 3 ? HTB : SPQ;
			expected[device + "-2.root"] = n % 3 ? "RATE=1\n" : "";
		}
		router.connect(interfaces);
		router.store("policy", policies);
		router.store("class", "[root]\nRATE=1\n");
		router.store("basic", "[root]\n");
		compiled all = compile(router);
		EXPECT_EQ(all.result, 1);
		EXPECT_EQ(all.scripts, expected);
		EXPECT_EQ(all.told.err, "");
	}
}

TEST(do_policy, writes_exactly_two_lines_for_a_tree_without_r2q)
{
	small_office router;
	router.store("policy", policy("LAN1"));
	EXPECT_EQ(compile(router).scripts["nas1"], "QDISC=htb\nDEFAULT=1000\n");
	router.store("policy", policy("LAN1", "htb", "ROOT_CLASS=root\nR2Q=\n"));
	EXPECT_EQ(compile(router).scripts["nas1"], "QDISC=htb\nDEFAULT=1000\nR2Q=\n");
}

TEST(do_policy, asks_for_the_interface_in_device_form_and_writes_the_device_in_file_form)
{
	small_office router;
	router.connect({ { "eth0/1", "nas/0" } });
	router.store("policy", policy("eth0_1"));
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.scripts, (file_map{ { "nas_0", HTB }, { "nas_0-2.root", "RATE=1\n" } }));
}

TEST(do_policy, gives_the_nat_test_the_device_in_device_form)
{
	small_office router;
	router.connect({ { "LAN1", "eth/7" }, { "LAN2", "a_b" } });
	router.store("policy", policy("LAN1") + policy("LAN2", "spq"));
	router.store("class", "[root]\nFILTER_ID[0]=f\n");
	router.store("basic", "[root]\nFILTER_ID[0]=f\n");
	router.store_filter({ "1.2.3.4" }, {}, {}, {});
	router.translate("echo \"$*\" >> " + SCRATCH + "asked\n");
	compile(router);
	// a '_' does not come back from file form
	EXPECT_EQ(read_file(SCRATCH + "asked"), "eth/7 1.2.3.4\na/b 1.2.3.4\n");
}

TEST(do_policy, compiles_an_empty_root_class)
{
	small_office router;
	router.store("policy", policy("LAN1", "htb", "ROOT_CLASS=\n"));
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.scripts, (file_map{ { "nas1", HTB }, { "nas1-2.", "" } }));
}

TEST(do_policy, resolves_all_devices_before_it_compiles_one)
{
	small_office router;
	router.store("policy", policy("LAN1") + policy("LAN2"));
	const std::string shell = read_file(COMMAND_SHELL),
			  count = "ls " + SCRIPTS + " | wc -l >> ";
	write_file(COMMAND_SHELL, shell + count + SCRATCH + "scripts\n");
	EXPECT_EQ(compile(router).result, 1);
	EXPECT_EQ(read_file(SCRATCH + "scripts"), "0\n0\n");
}

TEST(do_policy, starts_every_tree_anew_and_goes_on_with_the_marks)
{
	small_office router;
	router.translate("exit 1\n");
	router.store("policy", policy("LAN1") + policy("LAN2", "spq") + policy("LAN3"));
	router.store("class", "[root]\n[a]\nPARENT_ID=root\nFILTER_ID[0]=f\n");
	router.store("basic", "[root]\nFILTER_ID[0]=f\n");
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "80" });
	compiled all = compile(router);
	const std::string rule = "PRIORULE=100\nIPTRULE=1.2.3.4/32:0,5.6.7.8/32:80;tcp.\nMARK=";
	EXPECT_EQ(all.scripts["nas1-2:10.a"], rule + "100\n");
	EXPECT_EQ(all.scripts["nas2-2.root"], rule + "101\n");
	EXPECT_EQ(all.scripts["nas3-2:10.a"], rule + "102\n");
}

TEST(do_policy, replaces_the_scripts_of_a_device_and_leaves_those_of_classes_that_are_gone)
{
	small_office router;
	router.connect({ { "LAN1", "nas1" }, { "LAN2", "nas1" } });
	write_file(SCRIPTS + "nas1", "of an older run\n");
	write_file(SCRIPTS + "nas1-2.root", "of an older run\n");
	write_file(SCRIPTS + "nas1-2:10.gone", "of an older run\n");
	router.store("policy", policy("LAN1", "spq") + policy("LAN2"));
	EXPECT_EQ(compile(router).scripts, (file_map{ { "nas1", HTB },
						      { "nas1-2.root", "RATE=1\n" },
						      { "nas1-2:10.gone", "of an older run\n" } }));
}

/* The echo of a conversion of name. */
static std::string echo(const std::string &name, char from, char to)
{
	std::string lines;
	for (char c : name)
		lines += std::string(" ") + c + " \n " + (c == from ? to : c) + " \n";
	return lines;
}

TEST(do_policy, prints_what_it_does_in_order)
{
	small_office router;
	router.connect({ { "LAN/1", "nas/0" } });
	router.store("policy", policy("LAN_1") + policy("X"));
	router.store("class", "[root]\nFILTER_ID[0]=f\n");
	router.store("filter", "[f]\n");
	router.store("port", "");
	router.store("ip", "");
	std::string out = compile(router).told.out;
	const std::string last = "[[[[ dev : "; // what follows is no text that anyone can use
	size_t at = out.find(last) + last.size();
	out.erase(at, out.find(" ]]]]\n", at) - at);
	const size_t headers = out.find("Content-Type:"); // printed once a process
	if (headers != std::string::npos)
		out.erase(headers, out.find("\r\n\r\n") + 4 - headers);
	std::string expected = echo("LAN_1", '_', '/') + "Result : LAN/1\n"
			       "[[[[ LAN/1 ]]]]\n"
			       "[[[[ line : DEVICE=\"nas/0\"\n ]]]]\n"
			       "[[[[ name : DEVICE ]]]]\n"
			       "[[[[ value : nas/0 ]]]]\n"
			       "[[[[ dev :  ]]]]\n"
			       "DEV Result : nas/0\n";
	expected += echo("X", '_', '/') + "Result : X\n[[[[ X ]]]]\nDEV Result : \n";
	expected += echo("LAN/1", '/', '_') + echo("LAN_1", '_', '/');  // the record
	expected += echo("nas/0", '/', '_') + echo("nas_0", '_', '/');  // the device script
	expected += echo("nas/0", '/', '_') + echo("nas_0", '_', '/');  // the class script
	expected += "############  class id : root #############\nbbbbbbbbbbb f ";
	for (int list = 0; list < 4; list++)
		expected += "<script language='javascript'>\nalert('No such a ID');\n\n</script>\n";
	expected += echo("X", '/', '_') + echo("X", '_', '/');
	EXPECT_EQ(out, expected);
}
