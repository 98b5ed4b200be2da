// SPDX-License-Identifier: MIT
/* What is told of scripts that are well formed and not what anybody can have meant. */
#include "../../plan/parts.h"

#include "script_folder.h"

#include <random>

TEST(check_plan, finds_nothing_in_a_good_folder)
{
	EXPECT_EQ(findings_in(good_folder()), texts{});
	EXPECT_EQ(findings_in({}), texts{});
}

static const struct {
	seed planted;
	texts found; // each behind "warning "
} WARNINGS[] = {
	// rates of children and parents
	{ { "eth0-2:20.staff", "RATE=5Mbps", "RATE=4Mbps" },
	  { "over-parent eth0 eth0-2:20.staff:1" } },
	{ { "eth0-2:10.voice", "RATE=2Mbps", "RATE=4Mbps" }, {} },
	{ { "eth0-2:1000.rest", "RATE=1Mbps", "RATE=3001Kbps" },
	  { "over-parent eth0 eth0-2.root:1" } },
	{ { "eth0-2:20:30.web", ";2500Kbps/15KB", ";3001Kbps/15KB" },
	  { "over-parent eth0 eth0-2:20.staff:1" } },
	{ { "eth0-2:20:30.web", ";2Mbps,8Mbps", ";9Mbps,10Mbps" },
	  { "over-parent eth0 eth0-2:20.staff:1" } },
	{ { "eth0-2:20.staff", "LEAF=none\n", "LEAF=none\nTIME=6/23:00-00:00;4Mbps,10Mbps\n" },
	  { "over-parent eth0 eth0-2:20.staff:1" } },
	// ceilings
	{ { "eth0-2:10.voice", "CEIL=4Mbps", "CEIL=1999Kbps" },
	  { "under-rate eth0 eth0-2:10.voice:2" } },
	{ { "eth0-2:10.voice", "CEIL=4Mbps", "CEIL=2Mbps" }, {} },
	{ { "eth0-2:10.voice", "CEIL=4Mbps", "CEIL=10001Kbps" },
	  { "under-rate eth0 eth0-2:10.voice:2" } },
	{ { "eth0-2.root", "CEIL=10Mbps", "CEIL=9Mbps" },
	  { "under-rate eth0 eth0-2.root:2", "under-rate eth0 eth0-2:20.staff:2" } },
	{ { "eth0-2:20:30.web", ";2Mbps,8Mbps", ";2Mbps,1Mbps" },
	  { "under-rate eth0 eth0-2:20:30.web:11" } },
	{ { "eth0-2:20:30.web", ";2Mbps,8Mbps", ";2Mbps,11Mbps" },
	  { "under-rate eth0 eth0-2:20:30.web:11" } },
	{ { "eth0-2:20:30.web", ";2Mbps,8Mbps", ";2Mbps" }, {} },
	{ { "eth0-2:20.staff", "LEAF=none\n", "LEAF=none\nTIME=3/12:00-13:00;5Mbps,9Mbps\n" }, {} },
	{ { "eth0-2:20.staff", "LEAF=none\n", "LEAF=none\nTIME=0/12:00-13:00;5Mbps,9Mbps\n" },
	  { "under-rate eth0 eth0-2:20:30.web:2" } },
	// the default class
	{ { "eth0-2:1000.rest", nullptr, nullptr }, { "default-missing eth0 eth0:2" } },
	{ { "eth0", "DEFAULT=1000\n", "" }, {} }, // the kernel is told of 1000 all the same
	{ { "nas0", nullptr, "QDISC=htb\nDEFAULT=1000\n" }, { "default-missing nas0 nas0:2" } },
	{ { "nas0", nullptr, "QDISC=spq\n" }, {} },
	{ { "eth0-2:1000:50.below", nullptr, "RATE=500Kbps\n" },
	  { "default-inner eth0 eth0-2:1000.rest:0", "leaf-inner eth0 eth0-2:1000.rest:4" } },
	// single classes
	{ { "eth0-2:1000.rest", "PRIO=7", "PRIO=8" }, { "prio-range eth0 eth0-2:1000.rest:3" } },
	{ { "eth0-2:1000.rest", "PRIO=7", "PRIO=9" }, { "prio-range eth0 eth0-2:1000.rest:3" } },
	{ { "eth0-2:20.staff", "LEAF=none", "LEAF=sfq" }, { "leaf-inner eth0 eth0-2:20.staff:4" } },
	{ { "eth0-2:20.staff", "LEAF=none", "LEAF=pfifo\nLIMIT=10" },
	  { "leaf-inner eth0 eth0-2:20.staff:4" } },
	{ { "eth0-2:20.staff", "LEAF=none\n", "" }, {} },
	{ { "eth0-2:10.voice", "BURST=6KB", "BURST=1499B" },
	  { "burst-small eth0 eth0-2:10.voice:3" } },
	{ { "eth0-2:10.voice", "BURST=6KB", "BURST=1500B" }, {} },
	{ { "eth0-2:10.voice", "BURST=6KB", "BURST=0B" }, {} },
	{ { "eth0-2:10.voice", "CBURST=15KB", "CBURST=1KB" },
	  { "burst-small eth0 eth0-2:10.voice:4" } },
	{ { "eth0-2:10.voice", "MTU=1500", "MTU=9000" }, { "burst-small eth0 eth0-2:10.voice:3" } },
	{ { "eth0-2:1000.rest", "CEIL=9Mbps", "CEIL=9Mbps\nBURST=1KB" },
	  { "burst-small eth0 eth0-2:1000.rest:3" } },
	{ { "eth0-2:20:30.web", ";2500Kbps/15KB", ";2500Kbps/10B" },
	  { "burst-small eth0 eth0-2:20:30.web:12" } },
	{ { "eth0-2:20:30.web", ",8Mbps/15KB", ",8Mbps/10B" },
	  { "burst-small eth0 eth0-2:20:30.web:12" } },
	// quantum: of a rate / 8 / 10
	{ { "eth0-2:1000.rest", "RATE=1Mbps", "RATE=80Kbps" }, {} },
	{ { "eth0-2:1000.rest", "RATE=1Mbps", "RATE=79999bps" },
	  { "quantum-range eth0 eth0-2:1000.rest:1" } },
	{ { "eth0-2:20:30.web", ";2Mbps,8Mbps", ";79Kbps,8Mbps" },
	  { "quantum-range eth0 eth0-2:20:30.web:11" } },
	{ { "eth0", "R2Q=10", "R2Q=1" }, { "quantum-range eth0 eth0-2:10.voice:1",
					   "quantum-range eth0 eth0-2:20:30.web:1",
					   "quantum-range eth0 eth0-2:20:30.web:11",
					   "quantum-range eth0 eth0-2:20:30.web:12",
					   "quantum-range eth0 eth0-2:20:40.mail:1" } },
	{ { "eth0", "R2Q=10\n", "" }, {} },
	// schedules
	{ { "eth0-2:20:30.web", "TIME=06/22", "TIME=056/17" },
	  { "schedule-overlap eth0 eth0-2:20:30.web:12" } },
	{ { "eth0-2:20:30.web", "TIME=06/22:00-02:00", "TIME=06/22:00-08:00" }, {} },
	{ { "eth0-2:20:30.web", "TIME=06/22:00-02:00", "TIME=06/22:00-09:00" },
	  { "schedule-overlap eth0 eth0-2:20:30.web:12" } },
	{ { "eth0-2:20:30.web", "TIME=06/22:00-02:00", "TIME=135/09:00-17:00" },
	  { "schedule-overlap eth0 eth0-2:20:30.web:12",
	    "schedule-empty eth0 eth0-2:20:30.web:12" } },
	{ { "eth0-2:20:30.web", "TIME=12345", "TIME=" },
	  { "schedule-empty eth0 eth0-2:20:30.web:11" } },
	{ { "eth0-2:20:30.web", "TIME=12345/08:00-18:00", "TIME=12345/08:00-08:00" },
	  { "schedule-overlap eth0 eth0-2:20:30.web:12" } },
	// rules
	{ { "eth0-2:20.staff", "LEAF=none\n",
	    "LEAF=none\nRULE=10.0.0.1/32:0/0x0,10.0.0.2/32:0/0x0;.\nPRIORULE=9\n" },
	  { "rule-inner eth0 eth0-2:20.staff:5" } },
	{ { "hdlc0-2.workshop", nullptr,
	    "PRIORULE=9\nIPTRULE=10.0.0.1/32:,10.0.0.2/32:;.\nMARK=9\n" },
	  { "rule-inner hdlc0 hdlc0-2.workshop:2" } },
	{ { "eth0-2:20:40.mail", "192.168.1.2/32", "192.168.1.0/0" },
	  { "rule-any eth0 eth0-2:20:40.mail:4" } },
	{ { "eth0-2:20:40.mail", "0.0.0.0/0", "0.0.1.0/0" },
	  { "rule-any eth0 eth0-2:20:40.mail:4" } },
	{ { "eth0-2:10.voice", "192.168.1.216/30", "192.168.1.0/0" },
	  { "rule-any eth0 eth0-2:10.voice:10" } },
};

TEST(check_plan, finds_each_fault_and_nothing_else)
{
	for (const auto &row : WARNINGS) {
		SCOPED_TRACE(std::string(row.planted.file) + ": " +
			     text(row.planted.to));
		file_map files = good_folder();
		plant(&files, row.planted);
		texts expected;
		for (const std::string &one : row.found)
			expected.push_back("warning " + one);
		EXPECT_EQ(faults_in(files), texts{});
		EXPECT_EQ(findings_in(files), expected);
	}
}

TEST(check_plan, tells_the_figures_and_the_hours)
{
	file_map files = good_folder();
	plant(&files, { "eth0-2:20:30.web", ";2500Kbps/15KB", ";3500Kbps/15KB" });
	read_folder folder(files);
	check_plan(&folder.it);
	ASSERT_EQ(folder.it.findings.count, 1u);
	EXPECT_STREQ(folder.it.findings[0].text,
		     "The classes below staff are promised 5.5 Mbit/s of its 5 Mbit/s, Sunday 0 to 2 "
		     "and 22 to 24, Monday 0 to 2, Saturday 22 to 24.");
	EXPECT_STREQ(folder.it.findings[0].object, "staff");
}

/* A device of so many classes below its root, with numbers as the compiler gives them; the default
 * class is the one at that place, from 1, or none. */
static file_map policy_of(int classes, int otherwise)
{
	file_map files = { { "eth0", "QDISC=htb\nDEFAULT=1000\nR2Q=1\n" },
			   { "eth0-2.root", "RATE=100Mbps\n" } };
	for (int i = 1; i <= classes; i++)
		files["eth0-2:" + std::to_string(i == otherwise ? 1000 : 10 * i) + ".c" +
		      std::to_string(i)] = "RATE=500Kbps\n";
	return files;
}

TEST(check_plan, tells_that_the_hundredth_class_is_the_default)
{
	EXPECT_EQ(findings_in(policy_of(99, 0)), (texts{ "warning default-missing eth0 eth0:2" }));
	EXPECT_EQ(findings_in(policy_of(100, 0)),
		  (texts{ "warning default-taken eth0 eth0-2:1000.c100:0" }));
	EXPECT_EQ(findings_in(policy_of(120, 0)),
		  (texts{ "warning default-taken eth0 eth0-2:1000.c100:0" }));
	EXPECT_EQ(findings_in(policy_of(99, 7)), texts{});
	EXPECT_EQ(findings_in(policy_of(99, 99)), texts{});
}

TEST(check_plan, names_an_r2q_that_suits_all_leaves)
{
	file_map files = policy_of(10, 3);
	plant(&files, { "eth0", "R2Q=1\n", "R2Q=100\n" });
	read_folder folder(files);
	check_plan(&folder.it);
	ASSERT_EQ(folder.it.findings.count, 10u);
	EXPECT_STREQ(folder.it.findings[0].fix, "On the page of the policy enter 1 for R2Q.");
	EXPECT_EQ(folder.it.findings[0].code, QUANTUM_RANGE);
}

/* --- rules that never win --- */

static const char *const PORTS_OF[] = { "0/0x0", "0" }; // of a RULE, of an IPTRULE

struct shadow_row {
	const char *first, *second; // behind "RULE=" or "IPTRULE="; '#' stands for any port
	bool is_shadowed;
};

static std::string with_ports(const std::string &form, int is_marked)
{
	std::string made;
	for (char c : form)
		made += c == '#' ? PORTS_OF[is_marked] : std::string(1, c);
	return made;
}

static std::string lines_of(const std::string &form, int is_marked, int mark)
{
	if (!is_marked)
		return "RULE=" + with_ports(form, 0) + "\nPRIORULE=1\n";
	return "PRIORULE=1\nIPTRULE=" + with_ports(form, 1) + "\nMARK=" + std::to_string(mark) + "\n";
}

static bool is_shadowed(const std::string &first, const std::string &second)
{
	texts found = findings_in({ { "hdlc0", "QDISC=spq\n" }, { "hdlc0-2.r", "" },
				    { "hdlc0-2:1.a", first }, { "hdlc0-2:2.b", second } });
	EXPECT_LE(found.size(), 1u);
	for (const std::string &one : found)
		EXPECT_EQ(one.find("warning rule-shadowed hdlc0 hdlc0-2:2.b:"), 0u) << one;
	return !found.empty();
}

static const shadow_row OF_BOTH[] = {
	{ "10.0.0.0/25:#,0.0.0.0/0:#;tcp.", "10.0.0.0/25:#,0.0.0.0/0:#;tcp.", true },
	{ "10.0.0.0/25:#,0.0.0.0/0:#;tcp.", "10.0.0.64/26:#,10.1.1.1/32:#;tcp.", true },
	{ "10.0.0.0/25:#,0.0.0.0/0:#;tcp.", "10.0.0.128/26:#,10.1.1.1/32:#;tcp.", false },
	{ "10.0.0.64/26:#,0.0.0.0/0:#;tcp.", "10.0.0.0/25:#,0.0.0.0/0:#;tcp.", false },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;tcp.", "0.0.0.0/0:#,10.0.0.127/32:#;tcp.", true },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;tcp.", "0.0.0.0/0:#,10.0.0.128/32:#;tcp.", false },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;.", "0.0.0.0/0:#,10.0.0.0/25:#;udp.", true },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;udp.", "0.0.0.0/0:#,10.0.0.0/25:#;.", false },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;udp.", "0.0.0.0/0:#,10.0.0.0/25:#;tcp.", false },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;udp.", "0.0.0.0/0:#,10.0.0.0/25:#;udp.5", true },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;udp.5", "0.0.0.0/0:#,10.0.0.0/25:#;udp.5", true },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;udp.0", "0.0.0.0/0:#,10.0.0.0/25:#;udp.5", false },
	{ "0.0.0.0/0:#,10.0.0.0/25:#;udp.5", "0.0.0.0/0:#,10.0.0.0/25:#;udp.", false },
};

TEST(check_plan, tells_of_rules_that_an_earlier_one_covers)
{
	for (const shadow_row &row : OF_BOTH) {
		SCOPED_TRACE(std::string(row.first) + " " + row.second);
		for (int kind : { 0, 1 })
			EXPECT_EQ(is_shadowed(lines_of(row.first, kind, 1), lines_of(row.second, kind, 2)),
				  row.is_shadowed);
	}
}

static const shadow_row OF_RULES[] = {
	{ "0.0.0.0/0:0/0x0,10.0.0.1/32:80/0xffff;tcp.", "0.0.0.0/0:0/0x0,10.0.0.1/32:80/0xffff;tcp.",
	  true },
	{ "0.0.0.0/0:0/0x0,10.0.0.1/32:64/0xffc0;tcp.", "0.0.0.0/0:0/0x0,10.0.0.1/32:80/0xffff;tcp.",
	  true },
	{ "0.0.0.0/0:0/0x0,10.0.0.1/32:64/0xfff0;tcp.", "0.0.0.0/0:0/0x0,10.0.0.1/32:80/0xffff;tcp.",
	  false },
	{ "0.0.0.0/0:0/0x0,10.0.0.1/32:80/0xffff;tcp.", "0.0.0.0/0:0/0x0,10.0.0.1/32:0/0x0;tcp.",
	  false },
	{ "0.0.0.0/0:0/0x0,10.0.0.1/32:80/0xffff;tcp.",
	  "0.0.0.0/0:80/0xffff,10.0.0.1/32:0/0x0;tcp.", false },
	{ "0.0.0.0/0:80/0xffff,0.0.0.0/0:0/0x0;.",
	  "10.0.0.1/32:80/0xffff,0.0.0.0/0:0/0x0;udp.", true },
};

static const shadow_row OF_MARKED[] = {
	{ "0.0.0.0/0:0,10.0.0.1/32:80;tcp.", "0.0.0.0/0:0,10.0.0.1/32:80;tcp.", true },
	{ "0.0.0.0/0:,10.0.0.1/32:80-90;tcp.", "0.0.0.0/0:,10.0.0.1/32:80;tcp.", true },
	{ "0.0.0.0/0:,10.0.0.1/32:80-90;tcp.", "0.0.0.0/0:,10.0.0.1/32:90-91;tcp.", false },
	{ "0.0.0.0/0:,10.0.0.1/32:80;tcp.", "0.0.0.0/0:,10.0.0.1/32:0;tcp.", false },
	{ "0.0.0.0/0:80,10.0.0.1/32:;tcp.", "0.0.0.0/0:,10.0.0.1/32:80;tcp.", false },
};

TEST(check_plan, compares_ports_by_mask_and_by_range)
{
	for (const shadow_row &row : OF_RULES)
		EXPECT_EQ(is_shadowed(lines_of(row.first, 0, 1), lines_of(row.second, 0, 2)),
			  row.is_shadowed)
			<< row.first << " " << row.second;
	for (const shadow_row &row : OF_MARKED)
		EXPECT_EQ(is_shadowed(lines_of(row.first, 1, 1), lines_of(row.second, 1, 2)),
			  row.is_shadowed)
			<< row.first << " " << row.second;
}

TEST(check_plan, compares_both_kinds_of_rule_only_where_they_see_the_same)
{
	const char *anyone = "0.0.0.0/0:#,10.0.0.0/25:#;tcp.", *one = "10.9.9.9/32:#,10.0.0.1/32:#;tcp.";
	EXPECT_TRUE(is_shadowed(lines_of(anyone, 0, 1), lines_of(one, 1, 2)));
	EXPECT_FALSE(is_shadowed(lines_of(one, 0, 1), lines_of(one, 1, 2)));
	const char *port = "0.0.0.0/0:0/0x0,10.0.0.1/32:80/0xffff;tcp.";
	EXPECT_FALSE(is_shadowed(lines_of(port, 0, 1),
				 lines_of("0.0.0.0/0:0,10.0.0.1/32:80;tcp.", 1, 2)));
	// An IPTRULE goes before a RULE only with a lower number.
	std::string late = lines_of(one, 0, 2);
	late.replace(late.find("PRIORULE=1"), 10, "PRIORULE=2");
	EXPECT_TRUE(is_shadowed(lines_of(anyone, 1, 1), late));
	EXPECT_FALSE(is_shadowed(lines_of(one, 1, 1), late));
}

/* What a RULE with a port sees, and whence, an IPTRULE for any source sees too. */
static const shadow_row OF_MARKED_AND_RULES[] = {
	{ "0.0.0.0/0:0,0.0.0.0/0:5060;tcp.", "10.0.0.1/32:0/0x0,0.0.0.0/0:5060/0xffff;tcp.", true },
	{ "0.0.0.0/0:,10.0.0.0/25:80-83;.", "0.0.0.0/0:9/0xffff,10.0.0.1/32:80/0xfffc;udp.", true },
	{ "0.0.0.0/0:,10.0.0.0/25:80-82;.", "0.0.0.0/0:9/0xffff,10.0.0.1/32:80/0xfffc;udp.", false },
	{ "0.0.0.0/0:,10.0.0.0/25:81-83;.", "0.0.0.0/0:9/0xffff,10.0.0.1/32:80/0xfffc;udp.", false },
	{ "0.0.0.0/0:0,0.0.0.0/0:5060;tcp.", "10.0.0.1/32:0/0x0,0.0.0.0/0:0/0x0;tcp.", false },
	{ "0.0.0.0/0:0,0.0.0.0/0:5060;tcp.", "10.0.0.1/32:0/0x0,0.0.0.0/0:5060/0xffff;.", false },
	{ "0.0.0.0/0:9,0.0.0.0/0:5060;tcp.", "0.0.0.0/0:9/0xffff,0.0.0.0/0:5060/0xffff;tcp.", false },
	{ "10.0.0.1/32:0,0.0.0.0/0:5060;tcp.", "10.0.0.1/32:0/0x0,0.0.0.0/0:5060/0xffff;tcp.", false },
};

TEST(check_plan, tells_of_a_rule_that_an_earlier_iptrule_with_ports_covers)
{
	for (const shadow_row &row : OF_MARKED_AND_RULES) {
		std::string late = lines_of(row.second, 0, 2);
		late.replace(late.find("PRIORULE=1"), 10, "PRIORULE=9");
		EXPECT_EQ(is_shadowed(lines_of(row.first, 1, 1), late), row.is_shadowed)
			<< row.first << " " << row.second;
	}
}

TEST(check_plan, names_the_first_rule_that_covers)
{
	read_folder folder({ { "hdlc0", "QDISC=spq\n" },
			     { "hdlc0-2.r", lines_of("0.0.0.0/0:#,0.0.0.0/0:#;.", 0, 0) },
			     { "hdlc0-2:1.a", lines_of("0.0.0.0/0:#,10.0.0.1/32:#;.", 0, 0) },
			     { "hdlc0-2:2.b", lines_of("0.0.0.0/0:#,10.0.0.0/24:#;.", 0, 0) },
			     { "hdlc0-2:3.c", lines_of("0.0.0.0/0:#,10.0.0.1/32:#;tcp.", 0, 0) } });
	check_plan(&folder.it);
	EXPECT_EQ(folder.findings(), (texts{ "warning rule-inner hdlc0 hdlc0-2.r:1",
					     "warning rule-shadowed hdlc0 hdlc0-2:3.c:1" }));
	EXPECT_STREQ(folder.it.findings[1].text,
		     "The rule never wins: hdlc0-2:1.a, line 1, has all its packets.");
}

/* Rules of a small world, in which many cover others. */
static packet_rule make_rule(std::mt19937 &random)
{
	static const uint16_t MASKS[] = { 0, 0, 0xfffc, 0xfffe, 0xffff };
	static const int LENGTHS[] = { 0, 0, 29, 30, 31, 32 }, PROTOS[] = { ANY_PROTOCOL, TCP, UDP };
	packet_rule it = {};
	it.is_marked = random() % 2;
	it.prio = static_cast<int>(1 + random() % 3);
	for (network *one : { &it.packet.source, &it.packet.destination }) {
		one->length = LENGTHS[random() % 6];
		one->address = 0x0a000000u | static_cast<uint32_t>(random() % 8);
		one->address = one->length ? one->address & ~0u << (32 - one->length) : 0;
	}
	it.packet.proto = PROTOS[random() % 3];
	it.packet.tos = random() % 3 ? ANY_TOS : static_cast<int>(random() % 2);
	it.packet.source_last = it.packet.destination_last = UINT16_MAX;
	if (it.is_marked && random() % 2) {
		it.packet.destination_first = static_cast<uint16_t>(random() % 8);
		it.packet.destination_last =
			static_cast<uint16_t>(it.packet.destination_first + random() % 4);
	} else if (!it.is_marked) {
		it.packet.destination_mask = MASKS[random() % 5];
		it.packet.destination_port =
			static_cast<uint16_t>(random() % 8 & it.packet.destination_mask);
		it.packet.source_mask = MASKS[random() % 5];
		it.packet.source_port = static_cast<uint16_t>(random() % 8 & it.packet.source_mask);
	}
	return it;
}

/* Whether all packets of the small world that match the one rule match the other; none of them may
 * match at all. */
static bool covers_all_packets(const packet_rule *wide, const packet_rule *narrow)
{
	packet sent = {};
	for (unsigned bits = 0; bits < 1u << 14; bits++) {
		sent.source = 0x0a000000u | (bits & 7);
		sent.destination = 0x0a000000u | (bits >> 3 & 7);
		sent.source_port = static_cast<uint16_t>(bits >> 6 & 7);
		sent.destination_port = static_cast<uint16_t>(bits >> 9 & 7);
		sent.tos = (bits >> 12 & 1) << 5;
		sent.proto = bits >> 13 & 1 ? TCP : UDP;
		if (does_match(narrow, &sent) && !does_match(wide, &sent))
			return false;
	}
	return true;
}

/* One rule covers another where it says of everything the same or less. */
static bool is_net_within(const network *narrow, const network *wide)
{
	return narrow->length >= wide->length &&
	       (wide->length == 0 || (narrow->address ^ wide->address) >> (32 - wide->length) == 0);
}

static bool is_port_within(uint16_t value, uint16_t mask, uint16_t wide, uint16_t wide_mask)
{
	return !(wide_mask & ~mask) && (value & wide_mask) == wide;
}

static bool is_within(const packet_rule *one, const packet_rule *other)
{
	const match *narrow = &one->packet, *wide = &other->packet;
	if ((wide->proto != ANY_PROTOCOL && wide->proto != narrow->proto) ||
	    (wide->tos != ANY_TOS && wide->tos != narrow->tos) ||
	    !is_net_within(&narrow->source, &wide->source) ||
	    !is_net_within(&narrow->destination, &wide->destination))
		return false;
	bool has_ports = wide->source_mask || wide->destination_mask || wide->source_first ||
			 wide->destination_first || wide->source_last < UINT16_MAX ||
			 wide->destination_last < UINT16_MAX;
	if (one->is_marked && !other->is_marked)
		return !has_ports && wide->source.length == 0;
	if (!one->is_marked && other->is_marked) {
		for (unsigned port = 0; port <= UINT16_MAX; port++) {
			if ((port & narrow->destination_mask) == narrow->destination_port &&
			    (port < wide->destination_first || port > wide->destination_last))
				return false;
		}
		return wide->source.length == 0;
	}
	if (one->is_marked)
		return wide->destination_first <= narrow->destination_first &&
		       wide->destination_last >= narrow->destination_last;
	return is_port_within(narrow->source_port, narrow->source_mask, wide->source_port,
			      wide->source_mask) &&
	       is_port_within(narrow->destination_port, narrow->destination_mask,
			      wide->destination_port, wide->destination_mask);
}

TEST(find_shadows, finds_what_comparing_each_with_each_finds)
{
	std::mt19937 random(5);
	node leaf = {};
	size_t found = 0, checked = 0;
	for (int turn = 0; turn < 40; turn++) {
		device of = {};
		*add_item(&of.nodes) = leaf;
		for (int i = 0; i < 80; i++)
			*add_item(&of.rules) = make_rule(random);
		list<size_t> shadows;
		find_shadows(&shadows, &of);
		for (size_t i = 0; i < of.rules.count; i++) {
			size_t first = NO_RULE;
			for (size_t j = 0; j < i && first == NO_RULE; j++)
				first = is_within(&of.rules[i], &of.rules[j]) ? j : NO_RULE;
			EXPECT_EQ(shadows[i], first);
			found += first != NO_RULE;
			bool is_tried = first != NO_RULE && checked++ % 16 == 0;
			EXPECT_TRUE(!is_tried ||
				    covers_all_packets(&of.rules[first], &of.rules[i]));
		}
		free_list(&shadows);
		free_list(&of.rules);
		free_list(&of.nodes);
	}
	EXPECT_GT(found, 200u);
}

/* --- good stores --- */

static const file_map GOOD_FOLDERS[] = {
	policy_of(1, 1),
	policy_of(98, 98),
	// the root itself is the default, as a policy of one class has it
	{ { "nas0", "QDISC=htb\nDEFAULT=1000\n" }, { "nas0-1000.all", "RATE=900Kbps\n" } },
	// strict priority with all bands, with one, and with none
	{ { "hdlc0", "QDISC=spq\n" }, { "hdlc0-2.1", "" }, { "hdlc0-2:1.13", "" },
	  { "hdlc0-2:2.12", "" }, { "hdlc0-2:3.11", "" } },
	{ { "hdlc0", "QDISC=spq\n" }, { "hdlc0-2.1", "" }, { "hdlc0-2:1.13", "" } },
	{ { "hdlc0", "QDISC=spq\n" }, { "hdlc0-2.1", "" } },
	// a slow line and a fast one, each with an R2Q of its own
	{ { "ppp0", "QDISC=htb\nDEFAULT=1000\nR2Q=1\n" }, { "ppp0-2.r", "RATE=64Kbps\n" },
	  { "ppp0-2:10.a", "RATE=32Kbps\nCEIL=64Kbps\nMTU=576\nBURST=2KB\n" },
	  { "ppp0-2:1000.b", "RATE=32Kbps\nCEIL=64Kbps\nLEAF=sfq\n" },
	  { "eth1", "QDISC=htb\nDEFAULT=1000\nR2Q=1000\n" },
	  { "eth1-2.r", "RATE=1000Mbps\nCEIL=1000Mbps\n" },
	  { "eth1-2:10.a", "RATE=600Mbps\nCEIL=1000Mbps\nBURST=150KB\nCBURST=150KB\n" },
	  { "eth1-2:1000.b", "RATE=400Mbps\nCEIL=1000Mbps\n" } },
	// eight levels
	{ { "eth0", "QDISC=htb\nDEFAULT=1000\n" }, { "eth0-2.a", "RATE=8Mbps\n" },
	  { "eth0-2:10.b", "RATE=7Mbps\n" }, { "eth0-2:10:20.c", "RATE=6Mbps\n" },
	  { "eth0-2:10:20:30.d", "RATE=5Mbps\n" }, { "eth0-2:10:20:30:40.e", "RATE=4Mbps\n" },
	  { "eth0-2:10:20:30:40:50.f", "RATE=3Mbps\n" },
	  { "eth0-2:10:20:30:40:50:60.g", "RATE=2Mbps\n" },
	  { "eth0-2:10:20:30:40:50:60:1000.h", "RATE=1Mbps\n" } },
	// schedules that meet without a common hour, and swap what two classes have
	{ { "eth0", "QDISC=htb\nDEFAULT=1000\n" }, { "eth0-2.a", "RATE=3Mbps\n" },
	  { "eth0-2:10.b", "RATE=1Mbps\nCEIL=3Mbps\nTIME=0123456/08:00-20:00;2Mbps,3Mbps\n"
			   "TIME=0123456/20:00-08:00;1Mbps,3Mbps\n" },
	  { "eth0-2:1000.c", "RATE=1Mbps\nCEIL=3Mbps\nTIME=0123456/20:00-08:00;2Mbps,3Mbps\n" } },
	// devices whose names begin like each other, and with one that looks like a class
	{ { "eth0", "QDISC=htb\nDEFAULT=1000\n" }, { "eth0-1000.r", "RATE=1Mbps\n" },
	  { "eth0.100", "QDISC=htb\nDEFAULT=1000\n" }, { "eth0.100-1000.r", "RATE=1Mbps\n" },
	  { "eth0-b", "QDISC=htb\nDEFAULT=1000\n" }, { "eth0-b-1000.r-1.x", "RATE=1Mbps\n" } },
};
static_assert(sizeof(GOOD_FOLDERS) / sizeof(GOOD_FOLDERS[0]) >= 10, "ten at least");

TEST(check_plan, finds_nothing_in_good_folders)
{
	for (const file_map &files : GOOD_FOLDERS) {
		SCOPED_TRACE(files.begin()->first + " " + std::to_string(files.size()));
		EXPECT_EQ(findings_in(files), texts{});
	}
}

/* --- faults --- */

TEST(check_plan, does_not_blame_others_for_a_fault)
{
	for (const seed &planted : { seed{ "eth0-2:10.old", nullptr, "RATE=9Mbps\n" },
				     seed{ "eth0-2:20:30.web", "RATE=3Mbps", "RATE=3" },
				     seed{ "eth0-2:20:30.web", "RATE=3Mbps", "RATE=0Mbps" },
				     seed{ "eth0-2.root", "RATE=10Mbps", "RATE=10" },
				     seed{ "eth0-2.root", nullptr, "" },
				     seed{ "eth0-2:1000.rest", "RATE=1Mbps", "RATE=9999999999Mbps" },
				     seed{ "eth0", nullptr, "" },
				     seed{ "eth0-2:10.voice", "MARK=101", "MARK=100" } }) {
		SCOPED_TRACE(planted.file);
		file_map files = good_folder();
		plant(&files, planted);
		EXPECT_EQ(findings_in(files), faults_in(files));
		EXPECT_EQ(findings_in(files).size(), 1u);
	}
}
