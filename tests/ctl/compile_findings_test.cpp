// SPDX-License-Identifier: MIT
/* What the last compile says: its result, and the times of stores and scripts. */
#include "../../ctl/compiling.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "../support/router_files.h"

class compile_findings : public testing::Test {
protected:
	fresh_router router;
	const time_t compiled = 1795000000;

	void SetUp() override
	{
		std::filesystem::remove_all("/var/lib/qos");
		std::filesystem::create_directories("/var");
		for (const char *store : { "policy", "class", "filter", "port", "ip", "basic" })
			write(STORES + store, -100, 0);
		write(DESCRIPTIONS + "LAN1.policy", -100, 0);
		write(SCRIPTS + "eth0", 0, 0, "QDISC=htb\nDEFAULT=1000\n");
		write(SCRIPTS + "eth0-2.line", 5, 0, "RATE=1Mbps\n");
		write(SCRIPTS + "hdlc0", 0, 0, "QDISC=spq\n");
		write(SCRIPTS + "hdlc0-2.bands", 0, 0);
	}

	/* Writes a file so many seconds, and nanoseconds, after the compile. */
	void write(const std::string &path, int seconds, long nanoseconds, const std::string &text = "")
	{
		write_file(path, text);
		const struct timespec times[] = { { compiled + seconds, nanoseconds },
						  { compiled + seconds, nanoseconds } };
		ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
	}

	void keep_result(int status, const std::string &told, int seconds)
	{
		std::string text = told;
		const compile_result result = { compiled + seconds, status, &text[0] };
		ASSERT_TRUE(write_compile_result(&result)) << strerror(errno);
	}

	/* "error compile-stale eth0 policy" */
	texts found()
	{
		script_set set;
		plan it;
		options given = {};
		EXPECT_TRUE(read_scripts(&set, SCRIPTS.c_str()));
		read_plan(&it, &set);
		EXPECT_EQ(it.devices.count, 2u);
		check_compile(&it, &set, &given);
		texts all;
		for (const finding &one : it.findings)
			all.push_back(std::string(one.weight == FAULT ? "error " : "warning ") +
				      FINDING_WORDS[one.code] + " " + one.device + " " + one.file);
		last_text = it.findings.count > 0 ? it.findings[0].text : "";
		free_plan(&it);
		free_scripts_read(&set);
		return all;
	}

	std::string last_text;
};

TEST_F(compile_findings, none_where_the_scripts_are_of_the_stores)
{
	EXPECT_EQ(found(), texts());
	keep_result(1, "", 5);
	EXPECT_EQ(found(), texts());
	write(STORES + "policy", 0, 0); // in the same instant
	EXPECT_EQ(found(), texts());
}

TEST_F(compile_findings, compile_failed)
{
	keep_result(255, "", 5);
	EXPECT_EQ(found(), texts({ "error compile-failed  " }));
	EXPECT_NE(last_text.find("ended with 255 and was not done"), std::string::npos) << last_text;
	keep_result(1, "policy LAN9: no device, left out\nand more\n", 5);
	EXPECT_EQ(found(), texts({ "error compile-failed  " }));
	EXPECT_NE(last_text.find("(line 1 of 2): policy LAN9: no device, left out"),
		  std::string::npos) << last_text;
	keep_result(-1, "", 5);
	EXPECT_EQ(found(), texts({ "error compile-failed  " }));
}

TEST_F(compile_findings, a_result_is_not_that_of_scripts_that_came_later)
{
	keep_result(255, "", 4);
	EXPECT_EQ(found(), texts());
}

TEST_F(compile_findings, a_damaged_result_says_nothing)
{
	keep_result(255, "told\n", 5);
	std::string whole = read_file("/var/lib/qos/compiled");
	for (const std::string &wrong : { std::string(), std::string("qos-compiled 2\n1 1\n"),
					  whole.substr(0, 18), whole.substr(0, 20),
					  "qos-compiled 1\nx 1\n" + whole, whole + '\0' }) {
		write_file("/var/lib/qos/compiled", wrong);
		EXPECT_EQ(found(), texts()) << wrong;
	}
	put_no_file("/var/lib/qos/compiled", "pipe");
	without_hanging([&] { EXPECT_EQ(found(), texts()); });
}

TEST_F(compile_findings, each_store_is_that_of_its_disciplines)
{
	const struct {
		const char *store;
		texts findings;
	} rows[] = {
		{ "policy", { "error compile-stale eth0 policy", "error compile-stale hdlc0 policy" } },
		{ "class", { "error compile-stale eth0 class" } },
		{ "filter", { "error compile-stale eth0 filter", "error compile-stale hdlc0 filter" } },
		{ "port", { "error compile-stale eth0 port", "error compile-stale hdlc0 port" } },
		{ "ip", { "error compile-stale eth0 ip", "error compile-stale hdlc0 ip" } },
		{ "basic", { "error compile-stale hdlc0 basic" } },
	};
	for (const auto &row : rows) {
		write(STORES + row.store, 0, 1); // a nanosecond after the oldest script
		EXPECT_EQ(found(), row.findings);
		write(STORES + row.store, -1, 0);
	}
}

TEST_F(compile_findings, a_stale_script_makes_its_device_unsound)
{
	write(STORES + "basic", 1, 0);
	script_set set;
	plan it;
	options given = {};
	ASSERT_TRUE(read_scripts(&set, SCRIPTS.c_str()));
	read_plan(&it, &set);
	bool was_sound = find_device(&it, "eth0")->is_sound;
	check_compile(&it, &set, &given);
	EXPECT_FALSE(find_device(&it, "hdlc0")->is_sound);
	EXPECT_EQ(find_device(&it, "eth0")->is_sound, was_sound);
	free_plan(&it);
	free_scripts_read(&set);
}

TEST_F(compile_findings, a_description_alone_is_a_warning)
{
	write(DESCRIPTIONS + "LAN1.policy", 1, 0);
	EXPECT_EQ(found(), texts({ "warning compile-stale  LAN1.policy" }));
	write(STORES + "class", 1, 0);
	EXPECT_EQ(found(), texts({ "error compile-stale eth0 class" }));
}
