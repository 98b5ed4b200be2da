// SPDX-License-Identifier: MIT
/* What the tests of reading share: folders of scripts as maps of texts, what is found in them, and a
 * good one into which a fault can be put. */
#ifndef TESTS_PLAN_SCRIPT_FOLDER_H
#define TESTS_PLAN_SCRIPT_FOLDER_H

#include "../../plan/plan.h"
#include "../support/router_files.h"

/* A folder that is read, for as long as it is there. */
class read_folder {
public:
	explicit read_folder(const file_map &files)
	{
		for (const auto &file : files)
			put_script(&set, file.first.c_str(), file.second.data(), file.second.size());
		read_plan(&it, &set);
	}

	~read_folder()
	{
		free_plan(&it);
		free_scripts_read(&set);
	}

	read_folder(const read_folder &) = delete;
	read_folder &operator=(const read_folder &) = delete;

	/* Each as "error over-range eth0 eth0-2.root:3", in their order. */
	texts findings() const
	{
		texts all;
		for (const finding &one : it.findings) {
			EXPECT_STRNE(one.text, "");
			EXPECT_STRNE(one.fix, "");
			EXPECT_EQ(strstr(one.text, "(null)"), nullptr);
			EXPECT_EQ(one.text[strlen(one.text) - 1], '.') << one.text;
			EXPECT_EQ(one.fix[strlen(one.fix) - 1], '.') << one.fix;
			all.push_back(std::string(one.weight == FAULT ? "error " : "warning ") +
				      FINDING_WORDS[one.code] + " " + one.device + " " + one.file +
				      ":" + std::to_string(one.line));
		}
		return all;
	}

	const device *of(const char *name)
	{
		return find_device(&it, name);
	}

	const node *at(const char *name, const std::string &file)
	{
		const device *device = of(name);
		for (size_t i = 0; device && i < device->nodes.count; i++) {
			if (device->nodes[i].file == file)
				return &device->nodes[i];
		}
		return nullptr;
	}

	plan it = {};
	script_set set = {};
};

inline texts faults_in(const file_map &files)
{
	return read_folder(files).findings();
}

/* Faults and warnings. */
inline texts findings_in(const file_map &files)
{
	read_folder folder(files);
	check_plan(&folder.it);
	return folder.findings();
}

/* A folder without a fault. Every line form is in it once. */
inline file_map good_folder()
{
	return {
		{ "eth0", "QDISC=htb\nDEFAULT=1000\nR2Q=10\n" },
		{ "eth0-2.root", "RATE=10Mbps\nCEIL=10Mbps\nMTU=1500\nLEAF=none\n" },
		{ "eth0-2:10.voice",
		  "RATE=2Mbps\nCEIL=4Mbps\nBURST=6KB\nCBURST=15KB\nPRIO=1\nMTU=1500\nLEAF=pfifo\n"
		  "LIMIT=30\n"
		  "PRIORULE=1\nIPTRULE=192.168.1.216/30:0,203.0.113.10/31:5060-5061;udp.5\nMARK=100\n"
		  "PRIORULE=1\nIPTRULE=192.168.1.200/29:,203.0.113.10/31:;udp.5\nMARK=101\n" },
		{ "eth0-2:1000.rest", "RATE=1Mbps\nCEIL=9Mbps\nPRIO=7\nLEAF=bfifo\nLIMIT=\n" },
		{ "eth0-2:20.staff", "RATE=5Mbps\nCEIL=10Mbps\nPRIO=3\nLEAF=none\n" },
		{ "eth0-2:20:30.web",
		  "RATE=3Mbps\nCEIL=10Mbps\nPRIO=3\nLEAF=sfq\nQUANTUM=1514\nPERTURB=10\n"
		  "RULE=192.168.1.64/26:0/0x0,0.0.0.0/0:80/0xffff;tcp.\nPRIORULE=3\n"
		  "RULE=192.168.1.64/26:0/0x0,0.0.0.0/0:443/0xffff;tcp.\nPRIORULE=3\n"
		  "TIME=12345/08:00-18:00;2Mbps,8Mbps\n"
		  "TIME=06/22:00-02:00;2500Kbps/15KB,8Mbps/15KB\n" },
		{ "eth0-2:20:40.mail",
		  "RATE=2000Kbps\nPRIO=4\nLEAF=sfq\n"
		  "RULE=192.168.1.2/32:0/0x0,0.0.0.0/0:512/0xfe00;tcp.1\nPRIORULE=4\n" },
		{ "hdlc0", "QDISC=spq\n" },
		{ "hdlc0-2.workshop", "" },
		{ "hdlc0-2:1.control",
		  "RULE=192.168.1.20/30:0/0x0,10.7.0.20/32:502/0xffff;tcp.7\nPRIORULE=1\n" },
		{ "hdlc0-2:2.desk",
		  "PRIORULE=2\nIPTRULE=192.168.1.64/26:0,10.7.0.20/32:443;tcp.\nMARK=102\n" },
		{ "hdlc0-2:3.files", "" },
	};
}

/* A change of a folder: from of the file becomes to. With null for from the file is written anew,
 * with null for both it goes. */
struct seed {
	const char *file, *from, *to;
};

inline void plant(file_map *files, const seed &one)
{
	std::string &text = (*files)[one.file];
	if (!one.to) {
		files->erase(one.file);
	} else if (!one.from) {
		text = one.to;
	} else {
		size_t at = text.find(one.from);
		ASSERT_NE(at, std::string::npos) << one.from;
		text.replace(at, strlen(one.from), one.to);
	}
}

#endif
