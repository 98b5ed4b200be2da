// SPDX-License-Identifier: MIT
/* The overview: what is stored, what is carried and what is wrong, on one page. */
#include "../../cgi/pages/overview.h"

#include "../../cgi/markup.h"
#include "../../cgi/pages/overview_parts.h"
#include "../support/request.h"
#include "../support/stand_in.h"

namespace {

/* An HTB line, and one of strict priority. */
struct router : fresh_router {
	router()
	{
		store("policy", "[LAN1]\nROOT_CLASS=line\nDEFAULT_CLASS=rest\nBANDWIDTH=20\n"
				"BANDWIDTH_UNIT=Mbps\nR2Q=10\nQDISC=htb\n"
				"[LAN5]\nROOT_CLASS=works\nQDISC=spq\n");
		store("class", "[line]\nRATE=10\nRATE_UNIT=Mbps\n"
			       "[voice]\nPARENT_ID=line\nPRIO=1\nRATE=2\nRATE_UNIT=Mbps\nCEIL=4\n"
			       "CEIL_UNIT=Mbps\nLEAF=pfifo\nLIMIT=30\nFILTER_ID[0]=sip\n"
			       "[staff]\nPARENT_ID=line\nPRIO=3\nRATE=500\nRATE_UNIT=Kbps\n"
			       "[web]\nPARENT_ID=staff\nPRIO=3\nRATE=500\nRATE_UNIT=Kbps\n"
			       "[rest]\nPARENT_ID=line\nPRIO=7\nRATE=1\nRATE_UNIT=Mbps\n");
		store("filter", "[sip]\nTRANS_PROTO=udp\nINT_IP_ID=phones\nEXT_IP_ID=any\n"
				"INT_PORT_ID=p\nEXT_PORT_ID=p\nUSE=use\n"
				"[plc]\nTRANS_PROTO=tcp\nINT_IP_ID=phones\nEXT_IP_ID=any\n"
				"INT_PORT_ID=p\nEXT_PORT_ID=p\nUSE=use\n"
				"[free]\nTRANS_PROTO=tcp\n");
		store("ip", "[phones]\nIP_LIST[0]=10.0.0.1-9\n[any]\nIP_LIST[0]=0.0.0.0\n");
		store("port", "[p]\nPORT_LIST[0]=5060\n");
		store("basic", "[works]\nHIGH=first\nMIDDLE=second\n[first]\nFILTER_ID[0]=plc\n"
			       "[second]\n");
		write_file(DESCRIPTIONS + "LAN1.policy", "fibre <line>\nmore\n");
	}
};

} // namespace

static std::string overview_page()
{
	answer page = answer_to(get(""), show_overview);
	EXPECT_EQ(page.err, "");
	return page.out;
}

static bool has(const std::string &text, const std::string &piece)
{
	return text.find(piece) != std::string::npos;
}

/* The text of an element and of all in it: from a place on to the next tag of that name. */
static std::string part(const std::string &page, const std::string &from, const std::string &to)
{
	const std::string rest = text_from(page, from);
	return rest.substr(0, rest.find(to, 1));
}

static std::string card_of(const std::string &page, const std::string &policy)
{
	return part(page, "<section class='card' aria-labelledby='" + policy + "'", "</section>");
}

/* A class's own row. */
static std::string row_of(const std::string &page, const std::string &id)
{
	return part(page, "<li id='" + id + "'", "</div>");
}

static const char RATES[] =
	"{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[{\"device\":\"eth0\",\"discipline\":\"htb\","
	"\"classes\":[{\"id\":\"line\",\"rate\":[4000000],\"dropped\":0,\"backlog_bytes\":0},"
	"{\"id\":\"rest\",\"rate\":[0],\"dropped\":7,\"backlog_bytes\":1500},"
	"{\"id\":\"voice\",\"rate\":[310000],\"dropped\":0,\"backlog_bytes\":0},"
	"{\"id\":\"staff\",\"rate\":[null],\"dropped\":0,\"backlog_bytes\":0}]},"
	"{\"device\":\"hdlc0\",\"discipline\":\"spq\",\"classes\":[{\"id\":\"first\","
	"\"rate\":[50000],\"dropped\":0,\"backlog_bytes\":0}]}]}";

static std::string finding(const std::string &severity, const std::string &code,
			   const std::string &device, const std::string &object,
			   const std::string &file, const std::string &text)
{
	return "{\"severity\":\"" + severity + "\",\"code\":\"" + code + "\",\"device\":\"" +
	       device + "\",\"object\":\"" + object + "\",\"file\":\"" + file +
	       "\",\"line\":1,\"text\":\"" + text + "\",\"fix\":\"Mend " + text + "\"}";
}

static std::string check_of(const texts &findings)
{
	std::string all;
	for (const std::string &one : findings)
		all += (all.empty() ? "" : ",") + one;
	return "{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[{\"device\":\"eth0\","
	       "\"classes\":[{\"id\":\"line\"}]}],\"findings\":[" + all + "]}";
}

/* --- without qosd --- */

TEST(overview, shows_all_five_interfaces_in_their_order)
{
	router it;
	const std::string page = overview_page();
	size_t at = 0;
	for (const char *title : { "WAN1</a> <small>(LAN1)", "DMZ</a> <small>(LAN2)",
				   "LAN</a> <small>(LAN3)", "WAN2</a> <small>(LAN4)",
				   "SERIAL</a> <small>(LAN5)" }) {
		const size_t next = page.find(title);
		ASSERT_NE(next, std::string::npos) << title;
		EXPECT_GT(next, at) << title;
		at = next;
	}
	EXPECT_TRUE(has(page, "nothing is known of what runs: qosd does not run."));
	EXPECT_FALSE(has(page, "class='now'"));
}

TEST(overview, a_card_says_what_the_line_is_and_who_takes_the_rest)
{
	router it;
	const std::string card = card_of(overview_page(), "LAN1");
	EXPECT_TRUE(has(card, "fibre &lt;line&gt;, 20 Mbit/s \xc2\xb7 htb"));
	EXPECT_FALSE(has(card, "more"));
	EXPECT_TRUE(has(card, "the rest goes to <a href='#rest'>rest</a>"));
	EXPECT_TRUE(has(card, "action=new&amp;parent=line'>Add a class in line</a>"));
}

TEST(overview, a_row_says_what_a_class_is)
{
	router it;
	const std::string page = overview_page();
	const std::string voice = row_of(page, "voice");
	EXPECT_TRUE(has(voice, "obj=class&amp;type=display&amp;action=open&amp;id=voice'>voice</a>"));
	EXPECT_TRUE(has(voice, "prio 1 \xc2\xb7 pfifo 30 packets"));
	EXPECT_TRUE(has(voice, "style='--r:20%;--c:40%'"));
	EXPECT_TRUE(has(voice, "<span class='rt'>2 to 4 Mbit/s</span>"));
	EXPECT_TRUE(has(voice, "id=sip'>sip</a>: udp from phones"));
	EXPECT_TRUE(has(row_of(page, "line"), "style='--r:50%;--c:50%'")); // of the bandwidth
	EXPECT_TRUE(has(row_of(page, "staff"), "<span class='rt'>0.5 Mbit/s</span>"));
	EXPECT_FALSE(has(row_of(page, "staff"), "takes")); // what is below it does
	EXPECT_TRUE(has(row_of(page, "web"), "style='--r:100%'"));
	EXPECT_TRUE(has(row_of(page, "web"), "takes nothing: no filter"));
	EXPECT_TRUE(has(row_of(page, "rest"), "what no filter takes"));
	EXPECT_TRUE(has(page, "parent=staff'>Add below staff</a>"));
}

TEST(overview, a_class_stands_within_its_parent)
{
	router it;
	const std::string page = overview_page();
	const std::string staff = part(page, "<li id='staff'", "<li id='rest'");
	EXPECT_TRUE(has(staff, "<ul>\n<li id='web'>"));
	EXPECT_EQ(count_of(page, "<ul"), count_of(page, "</ul>"));
	EXPECT_EQ(count_of(page, "<li ") + count_of(page, "<li>"), count_of(page, "</li>"));
	EXPECT_EQ(count_of(page, "<p"), count_of(page, "</p>") + count_of(page, "<path"));
	EXPECT_EQ(count_of(page, "<div"), count_of(page, "</div>"));
}

TEST(overview, strict_priority_is_shown_by_its_bands)
{
	router it;
	const std::string card = card_of(overview_page(), "LAN5");
	EXPECT_TRUE(has(card, "strict priority: a band waits until those before it are empty"));
	const size_t first = card.find("first</a> <small>first</small>");
	const size_t second = card.find("second</a> <small>second</small>");
	const size_t third = card.find("no band <small>third</small>");
	ASSERT_NE(third, std::string::npos);
	EXPECT_LT(first, second);
	EXPECT_LT(second, third);
	EXPECT_TRUE(has(row_of(card, "first"), "plc</a>: tcp from phones"));
	EXPECT_TRUE(has(row_of(card, "second"), "no filter"));
}

TEST(overview, what_stands_nowhere_is_told_at_the_end)
{
	router it;
	it.store("class", "[line]\nRATE=1\n[lost]\nPARENT_ID=gone\nRATE=1\n");
	const std::string page = overview_page();
	EXPECT_TRUE(has(part(page, "In no tree:", "</p>"), "id=lost'>lost</a>"));
	const std::string note = part(page, "filters that no class names", "</p>");
	EXPECT_TRUE(has(note, "id=free'>free</a>"));
	EXPECT_TRUE(has(note, "id=sip'>sip</a>")); // its class is gone
	EXPECT_FALSE(has(note, "id=plc"));
}

TEST(overview, a_device_that_is_not_configured_says_what_to_do_first)
{
	router it;
	it.store("policy", "[LAN1]\nROOT_CLASS=gone\nQDISC=htb\n[LAN3]\nQDISC=htb\n"
			   "[LAN5]\nROOT_CLASS=gone\nQDISC=spq\n");
	const std::string page = overview_page();
	for (const char *policy : { "LAN1", "LAN5" })
		EXPECT_TRUE(has(card_of(page, policy), "its root gone is not there")) << policy;
	for (const char *policy : { "LAN2", "LAN3" })
		EXPECT_TRUE(has(card_of(page, policy), "type=first'>First steps</a>")) << policy;
	EXPECT_FALSE(has(page, "Nothing is shaped yet"));
}

TEST(overview, an_empty_router_leads_to_the_first_steps)
{
	fresh_router empty;
	const std::string page = overview_page();
	EXPECT_TRUE(has(page, "<h2>Nothing is shaped yet</h2>"));
	EXPECT_TRUE(has(page, "<a class='btn first' href='?obj=router&amp;type=first'>"));
	EXPECT_EQ(count_of(page, "<section class='card' aria-labelledby='LAN"), 5u);
}

TEST(overview, a_store_that_cannot_be_read_is_not_taken_for_none)
{
	for (const char *name : { "policy", "class" }) {
		router it;
		it.remove_store(name);
		std::filesystem::create_directory(STORES + name);
		const std::string page = overview_page();
		EXPECT_TRUE(has(page, "<b>The store cannot be read:</b>")) << name;
		EXPECT_FALSE(has(page, "Nothing is shaped yet")) << name;
		EXPECT_FALSE(has(page, "Not shaped")) << name;
		EXPECT_FALSE(has(page, "In no tree")) << name;
	}
}

TEST(overview, hostile_names_and_values_are_text)
{
	router it;
	const std::string evil = "<b>'\"&";
	it.store("class", "[line]\nRATE=" + evil + "\nPRIO=" + evil + "\nLEAF=" + evil + "\n[" +
			  evil + "]\nPARENT_ID=line\nRATE=1\nRATE_UNIT=Mbps\nFILTER_ID[0]=" + evil +
			  "\nTIME_RATE[0]=" + evil + "\nSTART_HOUR[0]=" + evil + "\nDOW00=" + evil +
			  "\n");
	it.store("policy", "[LAN1]\nROOT_CLASS=line\nDEFAULT_CLASS=" + evil + "\nBANDWIDTH=" + evil +
			   "\nQDISC=" + evil + "\n[" + evil + "]\nROOT_CLASS=line\n");
	it.store("filter", "[" + evil + "]\nTRANS_PROTO=" + evil + "\nINT_IP_ID=" + evil + "\n");
	const std::string page = overview_page();
	EXPECT_FALSE(has(page, evil));
	EXPECT_FALSE(has(page, "<b>'"));
	EXPECT_FALSE(has(page, "id='<"));
	EXPECT_GT(count_of(page, "&lt;b&gt;&#39;&quot;&amp;"), 5u);
	EXPECT_FALSE(has(page, "(null)"));
}

TEST(overview, an_id_is_once_in_the_page)
{
	router it;
	it.store("class", "[line]\nRATE=1\n[m]\nPARENT_ID=line\nRATE=1\n[LAN1]\nPARENT_ID=line\n"
			  "RATE=1\n[first]\nPARENT_ID=line\nRATE=1\n");
	const std::string page = overview_page();
	for (const char *id : { "line", "m", "LAN1", "first" })
		EXPECT_EQ(count_of(page, std::string(" id='") + id + "'"), 1u) << id;
}

TEST(overview, a_hundred_classes_take_less_than_sixty_kilobytes)
{
	router it;
	std::string classes = "[line]\nRATE=100\nRATE_UNIT=Mbps\n", filters;
	for (int i = 0; i < 99; i++) {
		const std::string name = "department-" + std::to_string(i);
		classes += "[" + name + "]\nPARENT_ID=line\nPRIO=3\nRATE=900\nRATE_UNIT=Kbps\n"
			   "CEIL=20\nCEIL_UNIT=Mbps\nLEAF=sfq\nFILTER_ID[0]=" + name + "\n";
		if (i % 3 == 0)
			classes += "TIME_RATE[0]=512\nTIME_RATE_UNIT[0]=Kbps\nSTART_HOUR[0]=08\n"
				   "END_HOUR[0]=18\nDOW10=1\n";
		filters += "[" + name + "]\nTRANS_PROTO=tcp\nINT_IP_ID=phones\nEXT_IP_ID=any\n"
			   "INT_PORT_ID=p\nEXT_PORT_ID=p\nUSE=use\n";
	}
	it.store("class", classes);
	it.store("filter", filters);
	const std::string page = overview_page();
	EXPECT_EQ(count_of(page, "<li id='department-"), 99u);
	EXPECT_LT(page.size(), 60000u);
}

/* --- with qosd --- */

TEST(overview, shows_what_is_carried_and_lost)
{
	router it;
	stand_in qosd;
	qosd.answer_verbs({ { "history", RATES }, { "check", check_of({}) } });
	const std::string page = overview_page();
	EXPECT_FALSE(has(page, "nothing is known"));
	EXPECT_TRUE(has(page, "WAN1</a> <small>(LAN1), eth0</small>"));
	EXPECT_TRUE(has(page, "SERIAL</a> <small>(LAN5), hdlc0</small>"));
	EXPECT_TRUE(has(row_of(page, "line"), "--l:20%'><i></i><b></b><u></u>"));
	EXPECT_TRUE(has(row_of(page, "voice"), "<span class='now'>0.31</span>"));
	EXPECT_TRUE(has(row_of(page, "rest"), "--l:0%'><i></i><b></b></span>"));
	EXPECT_TRUE(has(row_of(page, "rest"), "7 packets dropped so far, 1500 bytes wait"));
	EXPECT_FALSE(has(row_of(page, "staff"), "class='now'"));
	EXPECT_FALSE(has(row_of(page, "web"), "class='now'"));
	EXPECT_TRUE(has(row_of(page, "first"), "<span class='now'>50 kbit/s</span>"));
}

TEST(overview, is_whole_when_qosd_says_no_or_nothing)
{
	router it;
	for (const char *answer : { "{\"exit\":1,\"told\":\"not <now>\"}", "nonsense", "{}" }) {
		stand_in qosd;
		qosd.answer_verbs({ { "history", answer }, { "check", answer } });
		const std::string page = overview_page();
		EXPECT_EQ(count_of(page, "nothing is known of what runs: "), 1u) << answer;
		EXPECT_FALSE(has(page, "runs: .")) << answer;
		EXPECT_TRUE(has(page, "<li id='voice'")) << answer;
		EXPECT_FALSE(has(page, "<now>")) << answer;
	}
}

TEST(overview, findings_stand_where_they_belong)
{
	router it;
	stand_in qosd;
	qosd.answer_verbs({
		{ "history", RATES },
		{ "check", check_of({
			finding("warning", "prio-range", "eth0", "voice", "eth0-1:10.voice", "VOICE"),
			finding("error", "no-rate", "eth0", "line", "eth0-1.line", "LINE"),
			finding("warning", "missing-list", "", "sip", "filter", "SIP"),
			finding("warning", "over-capacity", "", "phones", "ip", "PHONES"),
			finding("warning", "device-ipv6", "eth0", "eth0", "", "DEVICE"),
			finding("warning", "default-inner", "eth0", "rest", "eth0-1.rest", "REST"),
			finding("warning", "rule-inner", "hdlc0", "first", "hdlc0-2:1.first", "BAND"),
			finding("warning", "compile-stale", "eth0", "eth0", "class", "STALE"),
			finding("warning", "compile-stale", "hdlc0", "hdlc0", "class", "AGAIN"),
			finding("warning", "kernel-lacks", "", "sch_sfq", "", "<KERNEL>"),
			finding("warning", "missing-filter", "", "gone", "class", "GONE"),
		}) },
	});
	const std::string page = overview_page();
	static const struct {
		const char *text, *after, *before, *link;
	} ROWS[] = {
		{ "LINE", "<li id='line'", "<li id='voice'", "obj=class" },
		{ "VOICE", "<li id='voice'", "<li id='staff'", "obj=class" },
		{ "SIP", "<h2 id='LAN1'", "<li id='line'", "obj=filter" },
		{ "PHONES", "<h2 id='LAN1'", "<li id='line'", "obj=ip" },
		{ "DEVICE", "<h2 id='LAN1'", "<li id='line'", "obj=policy" },
		{ "REST", "<li id='rest'", "Add a class", "obj=policy" },
		{ "BAND", "<li id='first'", "<li id='second'", "obj=basic" },
		{ "STALE", "filters that no class", "</main>", "type=apply" },
		{ "&lt;KERNEL&gt;", "filters that no class", "</main>", nullptr },
		{ "GONE", "filters that no class", "</main>", nullptr },
	};
	for (const auto &row : ROWS) {
		const std::string told = std::string("</b> ") + row.text;
		EXPECT_EQ(count_of(page, told), 1u) << row.text;
		EXPECT_GT(page.find(told), page.find(row.after)) << row.text;
		EXPECT_LT(page.find(told), page.find(row.before)) << row.text;
		const std::string fix = part(page, told, "</p>");
		EXPECT_EQ(has(fix, "<a href="), row.link != nullptr) << fix;
		EXPECT_TRUE(has(fix, row.link ? row.link : "Mend")) << fix;
	}
	EXPECT_TRUE(has(page, "<p class='msg bad'><b>Error:</b> LINE"));
	EXPECT_TRUE(has(page, "<p class='msg warn'><b>Warning:</b> VOICE"));
	EXPECT_FALSE(has(page, "AGAIN"));
}

/* Other hands wrote them: no policy is come to, and the page is there. */
TEST(overview, a_finding_at_bands_in_a_ring_stands_at_the_end)
{
	router it;
	it.store("basic", "[ring]\nHIGH=back\n[back]\nHIGH=ring\n[self]\nLOW=self\n");
	stand_in qosd;
	qosd.answer_verbs({ { "check", check_of({
		finding("warning", "over-capacity", "", "ring", "basic", "RING"),
		finding("warning", "over-capacity", "", "self", "basic", "SELF"),
	}) } });
	const std::string end = text_from(overview_page(), "filters that no class");
	EXPECT_TRUE(has(end, "</b> RING"));
	EXPECT_TRUE(has(end, "</b> SELF"));
}

TEST(overview, findings_that_repeat_are_counted_and_thousands_left_out)
{
	router it;
	stand_in qosd;
	texts findings;
	for (int i = 0; i < 40; i++)
		findings.push_back(finding("warning", "rule-shadowed", "eth0", "voice",
					   "eth0-1:10.voice", "RULE"));
	for (int i = 0; i < 200; i++)
		findings.push_back(finding("warning", "filter-mark", "", "none" + std::to_string(i),
					   "filter", "MARK"));
	findings.push_back(finding("error", "no-rate", "eth0", "web", "eth0-1:20.web", "WEB"));
	qosd.answer_verbs({ { "history", RATES }, { "check", check_of(findings) } });
	const std::string page = overview_page();
	EXPECT_EQ(count_of(page, "</b> RULE"), 1u);
	EXPECT_TRUE(has(page, "RULE (And 39 more like it here.)"));
	EXPECT_EQ(count_of(page, "class='msg bad'"), 1u); // errors come first
	EXPECT_EQ(count_of(page, "</b> MARK"), FINDINGS_MAX - 2u);
	EXPECT_TRUE(has(page, "<b>162 more warnings</b>"));
}

/* --- weeks --- */

/* What is printed of a class with these values on a day (0 is Sunday) at an hour. */
static std::string week_of(const std::string &values, int day, int hour)
{
	fresh_router it;
	it.store("class", "[a]\n" + values);
	class_rec rec = {};
	cfl *store = cfl_read(KINDS[CLASS].store);
	EXPECT_TRUE(read_class(store, &rec, "a"));
	struct tm now = {};
	now.tm_wday = day;
	now.tm_hour = hour;
	return answer_to(get(""), [&] {
		print_week(&rec, &now);
		return 0;
	}).out;
}

static std::string slot(int n, const std::string &days, const char *from, const char *to)
{
	const std::string at = "[" + std::to_string(n) + "]";
	std::string all = "TIME_RATE" + at + "=1\nTIME_RATE_UNIT" + at + "=Mbps\nSTART_HOUR" + at +
			  "=" + from + "\nEND_HOUR" + at + "=" + to + "\n";
	for (char day : days)
		all += std::string("DOW") + day + std::to_string(n) + "=" + day + "\n";
	return all;
}

TEST(week, hours_are_drawn_from_monday_on)
{
	EXPECT_EQ(week_of("RATE=1\n", 0, 0), "");
	EXPECT_TRUE(has(week_of(slot(0, "1", "08", "18"), 0, 0), "d='M8 6h10'"));
	EXPECT_TRUE(has(week_of(slot(0, "0", "08", "18"), 0, 0), "d='M152 6h10'"));
	EXPECT_TRUE(has(week_of(slot(0, "2", "22", "06"), 0, 0), "d='M46 6h8'")); // past midnight
	EXPECT_TRUE(has(week_of(slot(0, "0", "22", "06"), 0, 0), "d='M0 6h6M166 6h2'"));
	EXPECT_TRUE(has(week_of(slot(0, "3", "05", "05"), 0, 0), "d='M48 6h24'")); // a whole day
	EXPECT_TRUE(has(week_of(slot(0, "0123456", "00", "00"), 0, 0), "d='M0 6h168'"));
	EXPECT_TRUE(has(week_of(slot(0, "", "08", "18"), 0, 0), "d=''"));
	EXPECT_TRUE(has(week_of(slot(0, "1", "8", "25"), 0, 0), "d=''")); // no hours
}

TEST(week, of_slots_that_overlap_the_first_holds)
{
	const std::string both = slot(0, "1", "08", "12") + slot(1, "1", "10", "14");
	const std::string week = week_of(both, 1, 11);
	EXPECT_TRUE(has(week, "<path d='M12 6h2'/><path class='low' d='M8 9h4'/>"));
}

static const struct {
	int day, hour;
	const char *holds; // the slots, '1' where it is marked
} NOW[] = {
	{ 1, 7, "00" }, { 1, 8, "10" }, { 1, 11, "10" }, { 1, 12, "01" }, { 1, 13, "01" },
	{ 1, 14, "00" }, { 2, 8, "00" }, { 6, 23, "01" }, { 0, 5, "01" }, { 0, 6, "00" },
};

TEST(week, the_schedule_that_holds_now_is_marked)
{
	// Saturday night runs into Sunday
	const std::string both = slot(0, "1", "08", "12") + slot(1, "1", "10", "14");
	const std::string night = slot(0, "1", "08", "12") + slot(1, "6", "22", "06");
	for (const auto &row : NOW) {
		const std::string week = week_of(row.day == 1 || row.day == 2 ? both : night,
						 row.day, row.hour);
		const size_t line = week.find("<br>");
		ASSERT_NE(line, std::string::npos);
		std::string holds;
		holds += has(week.substr(0, line), "(now)") ? '1' : '0';
		holds += has(week.substr(line), "(now)") ? '1' : '0';
		EXPECT_EQ(holds, row.holds) << row.day << ' ' << row.hour;
	}
}

TEST(week, equal_weeks_are_drawn_once)
{
	fresh_router it;
	it.store("class", "[a]\n" + slot(0, "1", "08", "18"));
	class_rec rec = {};
	EXPECT_TRUE(read_class(cfl_read(KINDS[CLASS].store), &rec, "a"));
	const struct tm now = {};
	const std::string both = answer_to(get(""), [&] {
		print_week(&rec, &now);
		print_week(&rec, &now);
		return 0;
	}).out;
	EXPECT_EQ(count_of(both, "<path"), 1u);
	EXPECT_EQ(count_of(both, "<symbol id='wk:0'"), 1u);
	EXPECT_EQ(count_of(both, "<use href='#wk:0'/>"), 2u);
}
