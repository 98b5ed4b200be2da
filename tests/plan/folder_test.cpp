// SPDX-License-Identifier: MIT
/* A folder of scripts read whole, and sets put together from it. */
#include "script_folder.h"

/* All scripts of a set, "-" for those without bytes. */
static file_map all_of(const script_set &set)
{
	file_map all;
	std::string before;
	for (const script_text &script : set) {
		EXPECT_LT(before, script.name);
		before = script.name;
		all[script.name] = script.bytes ? std::string(script.bytes, script.size) : "-";
	}
	return all;
}

TEST(read_scripts, reads_every_file_but_hidden_ones)
{
	fresh_router router;
	file_map expected = good_folder();
	for (const auto &file : expected)
		write_file(SCRIPTS + file.first, file.second);
	write_file(SCRIPTS + ".eth0.000000.draft", "half");
	write_file(SCRIPTS + "a name of sixteen", std::string("\0\n", 2));
	expected["a name of sixteen"] = std::string("\0\n", 2);
	script_set set;
	for (const char *folder : { "/etc/script/qos_config/", "/etc/script/qos_config" }) {
		ASSERT_TRUE(read_scripts(&set, folder));
		EXPECT_EQ(all_of(set), expected);
		EXPECT_GT(set[0].changed, 0);
		free_scripts_read(&set);
		EXPECT_EQ(set.count, 0u);
	}
}

TEST(read_scripts, keeps_what_is_no_file_without_bytes_and_does_not_wait_for_it)
{
	for (const char *what : NOT_FILES) {
		fresh_router router;
		put_no_file(SCRIPTS + "eth0", what);
		script_set set;
		without_hanging([&] { ASSERT_TRUE(read_scripts(&set, SCRIPTS.c_str())); });
		EXPECT_EQ(all_of(set), (file_map{ { "eth0", "-" } })) << what;
		free_scripts_read(&set);
	}
}

TEST(read_scripts, reads_no_script_that_is_larger_than_any)
{
	fresh_router router;
	const size_t most = 4 * 1024 * 1024;
	for (size_t size : { most, most + 1 }) {
		write_file(SCRIPTS + "eth0", std::string(size, 'x'));
		script_set set;
		ASSERT_TRUE(read_scripts(&set, SCRIPTS.c_str()));
		EXPECT_EQ(set[0].size, size == most ? most : 0);
		EXPECT_EQ(set[0].bytes != nullptr, size == most);
		free_scripts_read(&set);
	}
}

TEST(read_scripts, tells_a_folder_that_cannot_be_read)
{
	fresh_router router;
	script_set set;
	EXPECT_FALSE(read_scripts(&set, "/etc/script/none"));
	EXPECT_EQ(errno, ENOENT);
	EXPECT_EQ(set.count, 0u);
	write_file(SCRATCH + "file", "");
	EXPECT_FALSE(read_scripts(&set, (SCRATCH + "file").c_str()));
	EXPECT_EQ(errno, ENOTDIR);
}

TEST(put_script, keeps_names_in_order_and_replaces_one_that_is_there)
{
	script_set set = {};
	for (const char *name : { "nas0", "eth0", "eth0-2.r", "hdlc0", "eth0" })
		put_script(&set, name, name, strlen(name));
	put_script(&set, "nas0", "new", 3);
	put_script(&set, "eth0-2.r", set[0].bytes, set[0].size);
	put_script(&set, "hdlc0", nullptr, 0);
	EXPECT_EQ(all_of(set), (file_map{ { "eth0", "eth0" }, { "eth0-2.r", "eth0" },
					  { "hdlc0", "-" }, { "nas0", "new" } }));
	free_scripts_read(&set);
}

TEST(put_device_scripts, takes_those_of_the_device_and_of_its_classes)
{
	file_map files = good_folder();
	files["eth0.5"] = "QDISC=htb\n";
	files["eth0.5-2.r"] = "RATE=1Mbps\n";
	files["eth0-2:10"] = "stray";
	read_folder folder(files);
	script_set set = {};
	put_device_scripts(&set, &folder.set, "eth0");
	texts names;
	for (const auto &script : all_of(set))
		names.push_back(script.first);
	EXPECT_EQ(names, (texts{ "eth0", "eth0-2.root", "eth0-2:10.voice", "eth0-2:1000.rest",
				 "eth0-2:20.staff", "eth0-2:20:30.web", "eth0-2:20:40.mail" }));
	put_device_scripts(&set, &folder.set, "eth1");
	EXPECT_EQ(set.count, 7u);
	free_scripts_read(&set);
}

TEST(has_same_scripts, looks_at_one_device_alone)
{
	read_folder one(good_folder());
	for (const seed &change : { seed{ "eth0-2.root", "10Mbps", "11Mbps" },
				    seed{ "eth0-2.root", nullptr, nullptr },
				    seed{ "eth0", nullptr, nullptr },
				    seed{ "eth0-2:90.new", nullptr, "RATE=1Mbps\n" } }) {
		file_map files = good_folder();
		plant(&files, change);
		read_folder other(files);
		EXPECT_FALSE(has_same_scripts(&one.set, &other.set, "eth0")) << change.file;
		EXPECT_FALSE(has_same_scripts(&other.set, &one.set, "eth0")) << change.file;
		EXPECT_TRUE(has_same_scripts(&one.set, &other.set, "hdlc0"));
		EXPECT_TRUE(has_same_scripts(&one.set, &one.set, "eth0"));
	}
}
