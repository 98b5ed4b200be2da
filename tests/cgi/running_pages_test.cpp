// SPDX-License-Identifier: MIT
/* The pages that look at what runs, with answers of qosd's as a router gives them, and without. */
#include "../../cgi/pages/curves.h"
#include "../../cgi/pages/explain.h"
#include "../../cgi/pages/week.h"

#include <regex>

#include "../support/request.h"
#include "../support/stand_in_qosd.h"
#include "../support/zone.h"

static const std::string NOTHING_APPLIED =
	"{\"qos\":1,\"exit\":7,\"told\":\"nothing was applied\",\"devices\":[]}";
static const std::string NOTHING_COMPILED =
	"{\"qos\":1,\"exit\":6,\"told\":\"no scripts\",\"devices\":[]}";

/* A device of two classes with the members that are given. */
static std::string told(const std::string &of_voice, const std::string &of_line,
			const std::string &first = "")
{
	return "{\"qos\":1,\"exit\":0,\"told\":\"\"," + first +
	       "\"devices\":[{\"device\":\"eth0\",\"discipline\":\"htb\",\"classes\":["
	       "{\"id\":\"line\",\"classid\":\"1:2\",\"parent\":\"1:\"," + of_line + "},"
	       "{\"id\":\"voice\",\"classid\":\"1:10\",\"parent\":\"1:2\"," + of_voice + "}]}]}";
}

static const std::string BANDS =
	"{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":["
	"{\"device\":\"hdlc0\",\"discipline\":\"spq\","
	"\"classes\":[{\"id\":\"urgent\",\"classid\":\"2:1\",\"parent\":\"2:\",\"rate\":null,"
	"\"ceil\":null,\"dropped\":3,\"backlog_bytes\":0,\"rate_now\":4000,\"spans\":[]}]}]}";

namespace {

struct running_router : fresh_pages {
	const zone of_router = zone(BERLIN);

	running_router()
	{
		store("policy", "[LAN1]\nROOT_CLASS=line\nDEFAULT_CLASS=voice\n[LAN5]\n"
				"ROOT_CLASS=shop\nQDISC=spq\n");
		store("basic", "[shop]\nHIGH=urgent\n[urgent]\n");
		store("class", "[line]\nRATE=10\nRATE_UNIT=Mbps\n[voice]\nPARENT_ID=line\nRATE=1\n"
			       "RATE_UNIT=Mbps\nFILTER_ID[0]=sip\nTIME_ENABLE[0]=enable\nDOW00=0\n"
			       "START_HOUR[0]=01\nEND_HOUR[0]=06\nTIME_RATE[0]=2\n"
			       "TIME_RATE_UNIT[0]=Mbps\n");
		store("filter", "[sip]\nTRANS_PROTO=udp\nPRIO=1\nINT_IP_ID=all\nEXT_IP_ID=all\n"
				"INT_PORT_ID=any\nEXT_PORT_ID=sip\nTOS=5\n");
		store("ip", "[all]\nIP_LIST[0]=0.0.0.0\n");
		store("port", "[sip]\nPORT_LIST[0]=5060\n[any]\nPORT_LIST[0]=0\n");
	}
};

} // namespace

/* The questions of the pages that do not depend on the day. */
static const std::string WEEK = "week days=7 from=@1795388400", // 2026-11-23
			 TODAY = "week days=1 from=now";

static const std::string EXPLAIN = "explain device=eth0 proto=udp src=10.0.0.1 dst=10.0.0.2:5060",
			 HISTORY = "history device=eth0 span=hour";

namespace {

/* Answers these lines while it is there. */
class answering {
public:
	explicit answering(const file_map &by_line)
	{
		for (const auto &row : by_line)
			qosd.answers[row.first] = row.second + "\n";
	}

	std::string page(int (*show)(void), const std::string &query)
	{
		std::string made = qosd.printed_by([&] {
			setenv("REQUEST_METHOD", "GET", 1);
			setenv("QUERY_STRING", ("obj=router&" + query).c_str(), 1);
			show();
		});
		EXPECT_EQ(count_of(made, "(null)"), 0u);
		return made;
	}

	/* Without the question of the apply bar, which every page asks. */
	texts asked() const
	{
		texts kept;
		for (const std::string &line : qosd.asked) {
			if (line != "state")
				kept.push_back(line);
		}
		return kept;
	}

private:
	stand_in_qosd qosd;
};

} // namespace

static void expect_in(const std::string &page, const texts &pieces)
{
	for (const std::string &piece : pieces)
		EXPECT_NE(page.find(piece), std::string::npos) << piece << "\nis not in\n" << page;
}

/* --- without an answer --- */

static const struct {
	int (*show)(void);
	const std::string line;
} PAGES[] = {
	{ show_week, WEEK },
	{ show_explain, TODAY },
	{ show_curves, "status" },
};

TEST(running_pages, without_qosd_it_is_said_what_to_do)
{
	running_router router;
	std::filesystem::remove("/run/qos/control");
	for (const auto &row : PAGES)
		expect_in(answer_to(get("obj=router"), row.show).out,
			  { "<b>qosd does not run:</b>", "service qos" });
	expect_in(answer_to(get("obj=router"), show_week).out,
		  { "Schedules as saved", "id=voice'>voice</a>: Sun 1 to 6: 2 Mbit/s</li>" });
}

TEST(running_pages, what_was_not_done_yet_is_linked)
{
	running_router router;
	for (const auto &row : PAGES) {
		{
			answering qosd(file_map{ { row.line, NOTHING_COMPILED } });
			expect_in(qosd.page(row.show, "from=2026-11-23"),
				  { "<b>Nothing is compiled:</b>", "type=apply" });
		}
		answering qosd(file_map{ { row.line, NOTHING_APPLIED } });
		expect_in(qosd.page(row.show, "from=2026-11-23"),
			  { "<b>Nothing runs:</b>", "type=apply" });
	}
}

TEST(running_pages, what_qosd_tells_is_text)
{
	running_router router;
	for (const auto &row : PAGES) {
		answering qosd(file_map{ { row.line, "{\"qos\":1,\"exit\":1,\"told\":\"<b>&\","
						 "\"devices\":[]}" } });
		expect_in(qosd.page(row.show, "from=2026-11-23"),
			  { "qosd cannot tell:</b> &lt;b&gt;&amp;" });
	}
}

TEST(running_pages, what_is_saved_is_to_be_compiled_first)
{
	running_router router;
	for (const auto &row : PAGES) {
		answering qosd(file_map{
			{ row.line, "{\"qos\":1,\"exit\":1,\"told\":\"qos: class: The store class was "
				    "saved\",\"devices\":[]}" },
			{ "state", state_with("\"is_stored_newer\":true") } });
		std::string page = qosd.page(row.show, "from=2026-11-23");
		expect_in(page, { "<b>What is saved is not compiled:</b> <a href='", "type=apply" });
		EXPECT_EQ(page.find("qosd cannot tell"), std::string::npos);
	}
}

TEST(running_pages, an_answer_that_is_none_is_told)
{
	running_router router;
	for (const auto &row : PAGES) {
		answering qosd(file_map{ { row.line, "soon" } });
		expect_in(qosd.page(row.show, "from=2026-11-23"), { "qosd cannot be understood" });
	}
}

/* --- the week --- */

static std::string span(const std::string &from, const std::string &to, int rate)
{
	std::string bits = std::to_string(rate);
	return "{\"from\":\"2026-11-" + from + ":00:00+01:00\",\"to\":\"2026-11-" + to +
	       ":00:00+01:00\",\"rate\":" + bits + ",\"ceil\":" + bits + "}";
}

static const std::string LINE_SPANS = "\"spans\":[" + span("23T00", "30T00", 10000000) + "]";

TEST(running_pages, a_grid_marks_what_is_more_than_usual)
{
	running_router router;
	const std::string spans = span("23T00", "29T01", 1000000) + "," +
				  span("29T01", "29T06", 2000000) + "," +
				  span("29T06", "30T00", 1000000);
	answering qosd(file_map{ { WEEK, told("\"spans\":[" + spans + "]", LINE_SPANS) } });
	std::string shown = qosd.page(show_week, "type=week&from=2026-11-23");
	expect_in(shown, { "<title>Week from 23 November 2026",
			   "LAN1), eth0, in Mbit/s; usually 1<",
			   "Mon 23&nbsp;Nov</th><td colspan='24'>1</td>",
			   "Sun 29&nbsp;Nov</th><td><span class='vh'>1</span></td>"
			   "<td class='b' colspan='5'>2</td><td colspan='18'>1</td></tr>",
			   "As saved: Sun 1 to 6: 2 Mbit/s.", "1 class has the same at every hour",
			   "from=2026-11-16'>earlier", "from=2026-11-30'>later",
			   "Sunday 28 March 2027 has no hour 2 (voice: 4 hours of 5); "
			   "Sunday 31 October 2027 has hour 2 twice (voice: 6 hours of 5)." });
	EXPECT_EQ(qosd.asked(), texts{ WEEK });
}

TEST(running_pages, days_that_are_alike_are_one_row)
{
	running_router router;
	std::string spans;
	for (int day = 23; day < 30; day++) {
		std::string date = std::to_string(day) + "T";
		spans += (day > 23 ? "," : "") + span(date + "00", date + "12", 500000) + "," +
			 span(date + "12", std::to_string(day + 1) + "T00", 1000000);
	}
	answering qosd(file_map{ { WEEK, told("\"spans\":[" + spans + "]", LINE_SPANS) } });
	std::string shown = qosd.page(show_week, "type=week&from=2026-11-23");
	expect_in(shown, { "Daily</th><td colspan='12'>0.5</td>"
			   "<td class='b' colspan='12'>1</td></tr>" });
	EXPECT_EQ(count_of(shown, "scope='row'"), 1u);
}

TEST(running_pages, a_bad_date_is_told_beside_its_field)
{
	running_router router;
	answering qosd(file_map{});
	expect_in(qosd.page(show_week, "type=week&from=" + encoded("2027-02-30'>")),
		  { "aria-invalid='true' aria-describedby='from-e'", "value='2027-02-30&#39;&gt;'",
		    "id='from-e'>No day of the calendar" });
}

/* --- explain --- */

static const std::string CLASSES =
	told("\"spans\":[" "{\"from\":\"1971-01-01T00:00:00+00:00\","
	     "\"to\":\"2971-01-01T00:00:00+00:00\",\"rate\":1000000,\"ceil\":2000000}]",
	     "\"spans\":[]");

static const std::string PACKET =
	"type=explain&src=10.0.0.1&sport=&dst=10.0.0.2&dport=5060&proto=udp";

static std::string explained(const std::string &members)
{
	return "{\"qos\":1,\"exit\":0,\"told\":\"\"," + members + ",\"devices\":[]}";
}

TEST(running_pages, a_packet_is_followed_to_its_class_and_filter)
{
	running_router router;
	write_file(SCRIPTS + "eth0-2:10.voice", "RATE=1Mbps\nPRIORULE=1\nRULE=a<b\nx\n");
	answering qosd(file_map{
		{ TODAY, CLASSES },
		{ EXPLAIN + " tos=160",
		  explained("\"id\":\"voice\",\"classid\":\"1:10\","
			    "\"rule\":\"eth0-2:10.voice:3\","
			    "\"shadowed\":[\"eth0-2:10.voice:9\"]") },
	});
	std::string shown = qosd.page(show_explain, PACKET + "&tos=0xa0&device=eth0&fragment=");
	expect_in(shown, { "it leaves as voice</h2>", "id=sip'>sip</a> takes it: udp from",
			   "<code>a&lt;b</code> <small>(eth0-2:10.voice:3), sees addresses behind",
			   "at least 1 Mbit/s, at most 2 Mbit/s at this hour",
			   "another rule of the same filter<br><code>eth0-2:10.voice:9</code>",
			   "src=10.0.0.2&amp;sport=5060&amp;dst=10.0.0.1&amp;proto=udp"
			   "&amp;tos=0xa0'>The other way" });
	EXPECT_EQ(qosd.asked(), (texts{ TODAY, EXPLAIN + " tos=160" }));
}

/* Each is given up after 5 s by itself, and all together no later. */
TEST(running_pages, devices_without_an_answer_are_not_waited_for_one_by_one)
{
	running_router router;
	stand_in_qosd qosd;
	std::string devices;
	for (const std::string device : { "eth0", "eth1", "eth2" }) {
		devices += (devices.empty() ? "" : ",") + ("{\"device\":\"" + device + "\"}");
		qosd.answers["explain device=" + device + text_from(EXPLAIN, " proto=")] = NO_ANSWER;
	}
	qosd.answers[TODAY] = "{\"exit\":0,\"told\":\"\",\"devices\":[" + devices + "]}\n";
	const time_t begin = time(nullptr);
	const std::string page = qosd.printed_by([] {
		setenv("REQUEST_METHOD", "GET", 1);
		setenv("QUERY_STRING", ("obj=router&" + PACKET).c_str(), 1);
		show_explain();
	});
	EXPECT_LT(time(nullptr) - begin, 10);
	EXPECT_EQ(count_of(page, strerror(ETIMEDOUT)), 3u) << page;
}

TEST(running_pages, rules_that_lose_stand_by_their_classes)
{
	running_router router;
	answering qosd(file_map{
		{ TODAY, CLASSES },
		{ EXPLAIN, explained("\"id\":\"voice\",\"classid\":\"1:10\","
				       "\"rule\":\"eth0-2:10.voice:3\",\"shadowed\":"
				       "[\"<x>\",\"eth0-2:5.line:1\",\"eth0-2:5.line:2\"]") },
	});
	std::string shown = qosd.page(show_explain, PACKET);
	expect_in(shown, { "<ul>\n<li><code>&lt;x&gt;</code></li>\n<li><a href", ">line</a> by ",
			   "<br><code>eth0-2:5.line:1</code><br><code>eth0-2:5.line:2</code></li>\n"
			   "</ul>" });
}

TEST(running_pages, a_packet_that_lacks_the_precedence_is_told_so)
{
	running_router router;
	answering qosd(file_map{
		{ TODAY, CLASSES },
		{ EXPLAIN, explained("\"id\":\"voice\",\"classid\":\"1:1000\",\"rule\":null,"
				       "\"shadowed\":[]") },
	});
	std::string shown = qosd.page(show_explain, PACKET);
	expect_in(shown, { "No filter takes it: the class for the rest does",
			   "With precedence 5 (TOS byte 0xa0) the filter",
			   "of voice would mean it" });
	EXPECT_EQ(count_of(shown, "would mean it"), 1u);
}

TEST(running_pages, a_packet_without_a_class_leaves_unshaped)
{
	running_router router;
	answering qosd(file_map{
		{ TODAY, CLASSES },
		{ EXPLAIN, explained("\"id\":null,\"classid\":\"direct\",\"rule\":null,"
				       "\"shadowed\":[]") },
	});
	expect_in(qosd.page(show_explain, PACKET),
		  { "it leaves unshaped</h2>", "there is no class for the rest" });
}

TEST(running_pages, a_band_has_its_turn)
{
	running_router router;
	answering qosd(file_map{
		{ TODAY, BANDS },
		{ "explain device=hdlc0 proto=udp src=10.0.0.1 dst=10.0.0.2:5060 fragment",
		  explained("\"id\":\"urgent\",\"classid\":\"2:1\",\"rule\":null,"
				       "\"shadowed\":[]") },
	});
	expect_in(qosd.page(show_explain, PACKET + "&fragment=1"),
		  { "LAN5), hdlc0 it leaves as urgent", "its TOS byte decides",
		    "is served first of 3" });
}

static const struct {
	const char *query, *field;
} FAULTS[] = {
	{ "src=10.0.0&dst=10.0.0.2&proto=udp", "src" },
	{ "src=10.0.0.1%20&dst=10.0.0.2&proto=udp", "src" },
	{ "src=10.0.0.1&dst=2001:db8::1&proto=udp", "dst" },
	{ "src=10.0.0.1&dst=10.0.0.2&proto=udp&sport=65536", "sport" },
	{ "src=10.0.0.1&dst=10.0.0.2&proto=udp&dport=-1", "dport" },
	{ "src=10.0.0.1&dst=10.0.0.2&proto=udp&dport=http", "dport" },
	{ "src=10.0.0.1&dst=10.0.0.2&proto=udp&tos=256", "tos" },
	{ "src=10.0.0.1&dst=10.0.0.2&proto=udp&tos=0x", "tos" },
	{ "src=10.0.0.1&dst=10.0.0.2&proto=sctp", "proto" },
	{ "src=10.0.0.1&dst=10.0.0.2&proto=udp&device=eth9", "device" },
};

TEST(running_pages, a_faulty_field_is_told_and_nothing_is_asked)
{
	running_router router;
	for (const auto &row : FAULTS) {
		answering qosd(file_map{ { TODAY, CLASSES } });
		std::string shown = qosd.page(show_explain, row.query);
		std::string field = row.field;
		expect_in(shown, { "aria-invalid='true' aria-describedby='" + field + "-e'",
				   "<p class='e' id='" + field + "-e'>", "<b>Not asked:</b>" });
		EXPECT_EQ(count_of(shown, "aria-invalid"), 1u) << row.query;
		EXPECT_EQ(qosd.asked().size(), 1u) << row.query;
	}
}

TEST(running_pages, what_was_typed_stays_and_is_text)
{
	running_router router;
	answering qosd(file_map{ { TODAY, CLASSES } });
	expect_in(qosd.page(show_explain, "src=" + encoded("'><i>") + "&proto=tcp"),
		  { "name='src' value='&#39;&gt;&lt;i&gt;'", "<option value='tcp' selected>" });
}

/* --- curves --- */

static const std::string COUNTERS = "\"rate\":10000000,\"ceil\":10000000,\"dropped\":0,"
				    "\"backlog_bytes\":0,\"rate_now\":null";
static const std::string STATUS =
	told("\"rate\":1000000,\"ceil\":2000000,\"dropped\":7,\"backlog_bytes\":120,"
	     "\"rate_now\":1234567", COUNTERS);

static std::string history(const std::string &voice)
{
	return told("\"from\":\"2026-11-23T13:45:00+01:00\",\"step\":10,\"rate\":[" + voice + "]",
		    "\"from\":\"2026-11-23T13:45:00+01:00\",\"step\":10,\"rate\":[]");
}

TEST(running_pages, a_curve_names_its_peak_and_rates)
{
	running_router router;
	answering qosd(file_map{ { "status", STATUS },
			     { HISTORY, history("1000000,null,1899999,500000,0,0") } });
	std::string shown = qosd.page(show_curves, "type=curves&device=eth0&span=hour");
	expect_in(shown, { "<title>Status of eth0, hour",
			   "aria-label='voice: guaranteed 1, ceiling 2, peak 1.9 at 13:45, "
			   "in Mbit/s'",
			   "from 12:46 to 13:46", "<path class='c' d='M0 20h120'/>",
			   "<path class='g' d='M0 60h120'/>",
			   "<path class='got' d='M118 24l1 56'/>",
			   "scale 0 to 2.5; now 1.23", "no samples in this time",
			   "<td data-l='Mean'>0.68</td><td data-l='Peak'>1.9 at 13:45</td>"
			   "<td data-l='Now'>1.23</td><td data-l='Packets dropped'>7</td>"
			   "<td data-l='Bytes waiting'>120</td>" });
	EXPECT_EQ(qosd.asked(), (texts{ "status", HISTORY }));
}

TEST(running_pages, without_samples_the_counters_are_there)
{
	running_router router;
	answering qosd(file_map{ { "status", STATUS }, { HISTORY, NOTHING_APPLIED } });
	std::string shown = qosd.page(show_curves, "");
	expect_in(shown, { "<b>Nothing is sampled yet:</b>", "<td data-l='Now'>1.23</td>" });
	EXPECT_EQ(count_of(shown, "<svg"), 0u);
}

TEST(running_pages, bands_have_no_rates)
{
	running_router router;
	const std::string samples = "\"from\":\"2026-11-23T13:45:00+01:00\",\"step\":10,"
				    "\"rate\":[4000]";
	answering qosd(file_map{
		{ "status", BANDS },
		{ "history device=hdlc0 span=hour",
		  std::regex_replace(BANDS, std::regex("\"rate\":null"), samples) },
	});
	std::string shown = qosd.page(show_curves, "");
	expect_in(shown, { "aria-label='urgent: peak 4 at 13:45, in kbit/s'",
			   "?obj=basic&amp;type=display", "id=urgent'>urgent</a></h2>",
			   "<td data-l='Guaranteed'>-</td>" });
	EXPECT_EQ(count_of(shown, "class='g'"), 0u);
}

TEST(running_pages, a_span_or_device_that_is_none_is_the_first)
{
	running_router router;
	answering qosd(file_map{ { "status", STATUS }, { HISTORY, history("0") } });
	qosd.page(show_curves, "span=year&device=" + encoded("eth0 span=week"));
	EXPECT_EQ(qosd.asked()[1], HISTORY);
}
