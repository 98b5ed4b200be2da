// SPDX-License-Identifier: MIT
/* The rule lines of a class where the router translates the source address, and what the NAT test
 * is asked. */
#include "compiler_files.h"

static const std::string ASKED = SCRATCH + "asked";   // a line for each question
static const std::string MARKER = SCRATCH + "marker"; // made by what no shell must run

/* Notes the question: the number of words, the words. */
static const std::string NOTE = "echo \"$#|$*\" >> " + ASKED + "\n";

static std::string nat_rule(const std::string &rule, int mark)
{
	return "PRIORULE=100\nIPTRULE=" + rule + "\nMARK=" + std::to_string(mark) + "\n";
}

static const std::string PLAIN = "RULE=192.168.1.0/0:0/0x0,10.0.0.5/32:1024/0xfc00;tcp.\n"
				 "PRIORULE=100\n";
static const std::string TRANSLATED = nat_rule("192.168.1.0/0:0,10.0.0.5/32:1024-2047;tcp.", 100);

static void store_any_to_ports(fresh_compiler &router)
{
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "1024-2047" });
}

TEST(do_rule, writes_a_nat_rule_and_its_mark)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	router.store_filter({ "192.168.1.0" }, { "10.0.0.5" }, { "0" }, { "1024-2047" },
			    "TRANS_PROTO=tcp\nPRIO=2\n");
	EXPECT_EQ(router.rules_of({ "f" }),
		  "PRIORULE=2\n"
		  "IPTRULE=192.168.1.0/0:0,10.0.0.5/32:1024-2047;tcp.\n"
		  "MARK=100\n");
	EXPECT_EQ(router.rules_of({ "f" }),
		  "PRIORULE=2\n"
		  "IPTRULE=192.168.1.0/0:0,10.0.0.5/32:1024-2047;tcp.\n"
		  "MARK=101\n");
}

static const struct {
	const char *lines;
	bool switched_on, translated;
} STATES[] = {
	{ "exit 1\n", true, true },
	{ "exit 0\n", true, false },
	{ "exit 2\n", true, false },
	{ "exit 3\n", true, false },
	{ "exit 127\n", true, false },
	{ "exit 255\n", true, false },
	{ "kill -KILL $$\n", true, false },
	{ "exit 1\n", false, false },
	{ "exit 0\n", false, false },
};

TEST(do_rule, takes_only_exit_status_1_with_the_switch_on_for_translated)
{
	for (const auto &row : STATES) {
		SCOPED_TRACE(row.lines);
		fresh_compiler router;
		write_program(NAT_TEST, NOTE + row.lines);
		if (row.switched_on)
			write_file(NAT_SWITCH, "");
		store_any_to_ports(router);
		EXPECT_EQ(router.rules_of({ "f" }), row.translated ? TRANSLATED : PLAIN);
		EXPECT_EQ(g_mark, row.translated ? 101 : 100);
		EXPECT_EQ(read_file(ASKED), "2|nas/0 192.168.1.0\n"); // asked in any case
	}
}

TEST(do_rule, takes_a_source_for_untranslated_without_the_nat_test)
{
	fresh_compiler router;
	std::filesystem::remove(NAT_TEST);
	write_file(NAT_SWITCH, "");
	store_any_to_ports(router);
	EXPECT_EQ(router.rules_of({ "f" }), PLAIN);
}

TEST(do_rule, looks_at_the_nat_switch_once_at_its_start)
{
	fresh_compiler router;
	store_any_to_ports(router);
	write_program(NAT_TEST, "touch " + NAT_SWITCH + "\nexit 1\n");
	EXPECT_EQ(router.rules_of({ "f", "f" }), PLAIN + PLAIN);
	write_program(NAT_TEST, "rm -f " + NAT_SWITCH + "\nexit 1\n");
	EXPECT_EQ(count_lines(router.rules_of({ "f", "f" })), 6u);
	EXPECT_EQ(router.rules_of({ "f" }), PLAIN);
}

TEST(do_rule, takes_a_switch_that_is_no_file_for_none)
{
	for (const char *what : NOT_FILES) {
		SCOPED_TRACE(what);
		fresh_compiler router;
		write_program(NAT_TEST, "exit 1\n");
		put_no_file(NAT_SWITCH, what);
		store_any_to_ports(router);
		without_hanging([&] { EXPECT_EQ(router.rules_of({ "f" }), PLAIN); });
	}
}

TEST(do_rule, gives_the_nat_test_no_device_that_is_none)
{
	fresh_compiler router;
	router.translate(NOTE + "exit 1\n");
	store_any_to_ports(router);
	char command[] = "$(id)", option[] = "-x";
	for (char *device : { command, option }) {
		g_cur_dev = device;
		EXPECT_EQ(router.rules_of({ "f" }), PLAIN);
	}
	EXPECT_FALSE(has_file(ASKED));
	g_cur_dev = nullptr;
	EXPECT_EQ(router.rules_of({ "f" }), TRANSLATED);
	EXPECT_EQ(read_file(ASKED), "1|192.168.1.0\n");
}

TEST(do_rule, asks_for_each_source_once_a_filter_with_the_device_and_the_entry)
{
	fresh_compiler router;
	router.translate(NOTE + "case $2 in 192.168.1.*) exit 1 ;; esac\n");
	router.store_filter({ "192.168.1.10-11", "172.16.0.1", "192.168.1.7 my own printer" },
			    { "10.0.0.1", "10.0.0.2" }, { "1", "2" }, { "3" });
	char other[] = "eth1";
	g_cur_dev = other;
	std::string rules = router.rules_of({ "f", "f" });
	const std::string once = "2|eth1 192.168.1.10-11\n2|eth1 172.16.0.1\n"
				 "5|eth1 192.168.1.7 my own printer\n";
	EXPECT_EQ(read_file(ASKED), once + once);
	// plain rules for the second source only: two destinations and two ports, each filter
	size_t plain = 0;
	const std::string rule = "\nRULE=172.16.0.1/32";
	for (size_t at = 0; (at = rules.find(rule, at)) != std::string::npos; at++)
		plain++;
	EXPECT_EQ(plain, 8u);
	EXPECT_EQ(rules.find("\nRULE=192"), std::string::npos);
	EXPECT_EQ(rules.find("IPTRULE=172"), std::string::npos);
	EXPECT_EQ(g_mark, 100 + 2 * 2 * (2 * 2));
}

TEST(do_rule, asks_for_a_source_even_when_nothing_else_is_listed)
{
	fresh_compiler router;
	router.translate(NOTE + "exit 1\n");
	router.store_filter({ "192.168.1.1" }, {}, {}, {});
	EXPECT_EQ(router.rules_of({ "f" }), "");
	EXPECT_EQ(read_file(ASKED), "2|nas/0 192.168.1.1\n");
}

TEST(do_rule, asks_nothing_without_a_source)
{
	fresh_compiler router;
	router.translate(NOTE + "exit 1\n");
	router.store_filter({}, { "10.0.0.1" }, { "0" }, { "0" });
	EXPECT_EQ(router.rules_of({ "f" }), "");
	EXPECT_FALSE(has_file(ASKED));
}

TEST(do_rule, writes_nat_rules_from_the_last_source_block_and_the_last_destination_block)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	router.store_filter({ "1.1.1.10-20" }, { "2.2.2.1-3" }, { "0" }, { "80" });
	std::string expected;
	int mark = 100;
	for (const char *src : { "20/32", "16/30", "12/30", "10/31" }) {
		for (const char *dst : { "2/31", "1/32" })
			expected += nat_rule(std::string("1.1.1.") + src + ":0,2.2.2." + dst +
						     ":80;tcp.",
					     mark++);
	}
	EXPECT_EQ(router.rules_of({ "f" }), expected);
}

TEST(do_rule, writes_the_ports_of_a_nat_rule_as_they_stand)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	router.store_filter({ "1.1.1.1" }, { "2.2.2.0" }, { "0080" }, { "1-3" }, "TOS=8\nPRIO=\n");
	EXPECT_EQ(router.rules_of({ "f" }),
		  "PRIORULE=\nIPTRULE=1.1.1.1/32:0080,2.2.2.0/0:1-3;.8\nMARK=100\n");
}

TEST(do_rule, repeats_nat_rules_under_new_marks_for_each_destination_port)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	router.store_filter({ "1.1.1.1" }, { "2.2.2.2" }, { "10" }, { "20", "21" });
	const std::string rule = "1.1.1.1/32:10,2.2.2.2/32:20;tcp.";
	EXPECT_EQ(router.rules_of({ "f" }), nat_rule(rule, 100) + nat_rule(rule, 101));
}

TEST(do_rule, pairs_the_ports_of_a_nat_rule_by_their_place)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	router.store_filter({ "1.1.1.1-2" }, { "2.2.2.2" }, { "10", "11" }, { "20", "21" });
	std::string expected;
	int mark = 100;
	for (const char *pair : { "10 20", "11 21" }) {
		for (int repeat = 0; repeat < 2; repeat++) {
			for (const char *block : { "2", "1" })
				expected += nat_rule(std::string("1.1.1.") + block +
							     "/32:" + std::string(pair, 2) +
							     ",2.2.2.2/32:" + (pair + 3) + ";tcp.",
						     mark++);
		}
	}
	EXPECT_EQ(router.rules_of({ "f" }), expected);
}

TEST(do_rule, leaves_the_destination_port_of_a_nat_rule_empty_where_its_list_is_shorter)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	router.store_filter({ "1.1.1.1" }, { "2.2.2.2" }, { "10", "11", "12" }, { "20" });
	EXPECT_EQ(router.rules_of({ "f" }),
		  nat_rule("1.1.1.1/32:10,2.2.2.2/32:20;tcp.", 100) +
			  nat_rule("1.1.1.1/32:11,2.2.2.2/32:;tcp.", 101) +
			  nat_rule("1.1.1.1/32:12,2.2.2.2/32:;tcp.", 102));
}

TEST(do_rule, goes_on_with_the_marks_from_call_to_call)
{
	fresh_compiler router;
	router.translate("[ \"$1\" = eth1 ]\nexit $?\n"); // every device but eth1
	router.store_filter({ "1.1.1.1" }, { "2.2.2.2" }, { "10" }, { "20" });
	const std::string rule = "1.1.1.1/32:10,2.2.2.2/32:20;tcp.";
	char one[] = "nas0", two[] = "eth1", three[] = "nas1";
	g_cur_dev = one;
	EXPECT_EQ(router.rules_of({ "f", "f" }), nat_rule(rule, 100) + nat_rule(rule, 101));
	g_cur_dev = two;
	EXPECT_EQ(router.rules_of({ "f" }),
		  "RULE=1.1.1.1/32:10/0xffff,2.2.2.2/32:20/0xffff;tcp.\nPRIORULE=100\n");
	g_cur_dev = three;
	EXPECT_EQ(router.rules_of({ "f" }), nat_rule(rule, 102));
}

TEST(do_rule, repeats_the_nat_rules_of_the_filter_before_for_one_that_is_not_there)
{
	fresh_compiler router;
	router.translate(NOTE + "exit 1\n");
	store_any_to_ports(router);
	EXPECT_EQ(router.rules_of({ "f", "absent" }),
		  TRANSLATED + nat_rule("192.168.1.0/0:0,10.0.0.5/32:1024-2047;.", 101));
	EXPECT_EQ(count_lines(read_file(ASKED)), 2u);
}

TEST(do_rule, never_makes_a_nat_rule_of_an_entry_that_is_no_port_or_address)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	const texts good_ip = { "1.1.1.1" }, good_port = { "10" };
	for (const char *bad : { "65536", "999.1.1.1", "x", "" }) {
		for (int at = 0; at < 4; at++) {
			const texts none = { bad };
			router.store_filter(at == 0 ? none : good_ip, at == 1 ? none : good_ip,
					    at == 2 ? none : good_port, at == 3 ? none : good_port);
			printed told;
			EXPECT_EQ(router.rules_of({ "f" }, &told), "") << bad;
			EXPECT_EQ(count_lines(told.err), 1u) << told.err;
		}
	}
	EXPECT_EQ(g_mark, 100);
}

/* The place of the source port may hold one among the destination ports. */
TEST(do_rule, never_pairs_a_source_port_with_an_entry_that_is_no_port)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	for (const std::string bad : { "http", "65536", "80x" }) {
		router.store_filter({ "1.1.1.1" }, { "2.2.2.2" }, { "10", "11" }, { "20", bad });
		printed told;
		std::string rules = router.rules_of({ "f" }, &told);
		EXPECT_NE(rules.find("IPTRULE=1.1.1.1/32:10,2.2.2.2/32:20;tcp.\n"),
			  std::string::npos) << rules;
		EXPECT_EQ(rules.find(bad), std::string::npos) << rules;
		EXPECT_EQ(count_lines(told.err), 1u) << told.err;
	}
}

/* What follows the digits of an address is ignored, so each of these is a valid entry. */
TEST(do_rule, gives_the_nat_test_no_entry_with_more_than_letters_digits_blanks_and_signs)
{
	const std::string touch = "touch " + MARKER;
	const std::string tails[] = {
		";" + touch, " ;" + touch + ";", "$(" + touch + ")", "`" + touch + "`",
		"&" + touch, "|" + touch, " > " + MARKER, "\\n" + touch, "\\r",
		"'", "\"", " *", " ?", " ~", " #", " \\", " !", " %", " ^", " _", " @",
		" {a}", " [a]", " <x", ",", "+", "=", "\xc3\xa9",
	};
	for (const std::string &tail : tails) {
		SCOPED_TRACE(tail);
		fresh_compiler router;
		router.translate(NOTE + "exit 1\n");
		router.store_filter({ "192.168.1.1" + tail }, { "10.0.0.5" }, { "0" }, { "0" });
		EXPECT_EQ(router.rules_of({ "f" }),
			  "RULE=192.168.1.1/32:0/0x0,10.0.0.5/32:0/0x0;tcp.\nPRIORULE=100\n");
		EXPECT_FALSE(has_file(MARKER));
		EXPECT_FALSE(has_file(ASKED));
	}
	for (const char *entry : { "-9", ".1", "/x", ":1", " -9", "\t/x" }) {
		fresh_compiler router;
		router.translate(NOTE + "exit 1\n");
		router.store_filter({ entry }, { "10.0.0.5" }, { "0" }, { "0" });
		EXPECT_EQ(router.rules_of({ "f" }), "");
		EXPECT_FALSE(has_file(ASKED)) << entry;
	}
	fresh_compiler router;
	router.translate(NOTE + "exit 1\n");
	router.store_filter({ "192.168.1.1-9 aZ09./:-" }, { "10.0.0.5" }, { "0" }, { "0" });
	router.rules_of({ "f" });
	EXPECT_EQ(read_file(ASKED), "3|nas/0 192.168.1.1-9 aZ09./:-\n");
}

/* The command has room for 1023 characters. */
TEST(do_rule, asks_with_the_longest_entry_that_the_command_can_hold_and_none_beyond)
{
	fresh_compiler router;
	router.translate(NOTE + "exit 1\n");
	const std::string start = NAT_TEST + " nas/0 ", address = "1.1.1.1 ";
	const std::string tail(1023 - start.size() - address.size(), 'x');
	router.store_filter({ address + tail }, { "2.2.2.2" }, { "0" }, { "0" });
	EXPECT_EQ(router.rules_of({ "f" }), nat_rule("1.1.1.1/32:0,2.2.2.2/32:0;tcp.", 100));
	EXPECT_EQ(read_file(ASKED), "3|nas/0 " + address + tail + "\n");
	router.store_filter({ address + tail + "x" }, { "2.2.2.2" }, { "0" }, { "0" });
	EXPECT_EQ(router.rules_of({ "f" }),
		  "RULE=1.1.1.1/32:0/0x0,2.2.2.2/32:0/0x0;tcp.\nPRIORULE=100\n");
	EXPECT_EQ(count_lines(read_file(ASKED)), 1u);
}
