// SPDX-License-Identifier: MIT
/* The apply page, and what it has qosd do. */
#include "../../cgi/pages/apply.h"

#include "../support/stand_in_qosd.h"

static const char DIFF[] =
	"{\"qos\":1,\"exit\":3,\"told\":\"\",\"devices\":[{\"device\":\"eth0\",\"discipline\":\"htb\","
	"\"classes\":[{\"id\":\"fibre\",\"classid\":\"1:2\",\"parent\":\"1:\"},"
	"{\"id\":\"voice\",\"classid\":\"1:10\",\"parent\":\"1:2\"},"
	"{\"id\":\"rest\",\"classid\":\"1:20\",\"parent\":\"1:2\"}]}],\"differences\":["
	"{\"device\":\"eth0\",\"id\":\"voice\",\"what\":\"rate\",\"store\":2000000,\"scripts\":1500000,"
	"\"kernel\":null},"
	"{\"device\":\"eth0\",\"id\":\"voice\",\"what\":\"burst\",\"store\":6144,\"scripts\":1500,"
	"\"kernel\":1048576},"
	"{\"device\":\"eth0\",\"id\":\"voice\",\"what\":\"schedule\","
	"\"store\":\"12345/08-18;512000/64,1000000 06/22-00;8000\",\"scripts\":null,\"kernel\":null},"
	"{\"device\":null,\"id\":\"LAN3\",\"what\":\"policy\",\"store\":true,\"scripts\":null,"
	"\"kernel\":null},"
	"{\"device\":\"eth0\",\"id\":null,\"what\":\"a<b\",\"store\":\"<x>\",\"scripts\":null,"
	"\"kernel\":null}]}\n";

static const char CHECK[] =
	"{\"qos\":1,\"exit\":3,\"told\":\"\",\"devices\":[],\"findings\":["
	"{\"severity\":\"error\",\"code\":\"no-rate\",\"device\":\"eth0\",\"object\":\"voice\","
	"\"text\":\"It has no rate.\",\"fix\":\"Give it <one>.\"},"
	"{\"severity\":\"error\",\"code\":\"stray\",\"file\":\"ip\",\"object\":\"list\","
	"\"text\":\"It is empty.\",\"fix\":\"Run qosctl compile, which leaves none.\"},"
	"{\"severity\":\"warning\",\"code\":\"leaf-inner\",\"object\":\"voice\",\"text\":\"A warning\"},"
	"{\"severity\":\"error\",\"code\":\"compile-stale\",\"object\":\"\",\"text\":\"Stale\"}]}\n";

static const char PLAN[] = "{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[],"
			   "\"output\":\"# tc eth0\\nclass add <1>\\nclass add 2\\n\"}\n";

static bool holds(const std::string &page, const std::string &part)
{
	return page.find(part) != std::string::npos;
}

static void put_stores(fresh_router *in)
{
	in->store("policy", POLICIES);
	in->store("class", "[fibre]\nRATE=19\n[voice]\nPARENT_ID=fibre\nRATE=2\n");
	in->store("ip", "[list]\nIP_ADDR[0]=10.0.0.1\n");
}

static std::string page_for(const std::string &members, texts *asked = nullptr)
{
	fresh_router router;
	put_stores(&router);
	stand_in_qosd qosd;
	qosd.answers = { { "state", state_with(members) }, { "diff", DIFF }, { "check", CHECK },
			 { "plan difference", PLAN },
			 { "trace", state_with("\"output\":\"do_policy(4)\\n<b>\\n\"") } };
	std::string page = qosd.printed_by(show_apply);
	if (asked)
		*asked = qosd.asked;
	return page;
}

TEST(apply_page, shows_what_differs_in_words)
{
	texts asked;
	std::string page = page_for("\"applied\":\"2026-11-21T16:02:03+01:00\","
				    "\"is_compiled_newer\":true", &asked);
	EXPECT_EQ(asked.front(), "state");
	std::sort(asked.begin(), asked.end());
	EXPECT_EQ(asked, (texts{ "check", "diff", "plan difference", "state", "trace" }));
	EXPECT_TRUE(holds(page, "<small>last applied 2026-11-21 16:02</small>"));
	EXPECT_TRUE(holds(page, "voice</a>, rate</th><td data-l='saved'>2 Mbit/s</td>"
				"<td data-l='compiled'>1.5 Mbit/s</td><td data-l='running'>not compared</td>"))
		<< page;
	EXPECT_TRUE(holds(page, "burst</th><td data-l='saved'>6 KB</td><td data-l='compiled'>1500 B</td>"
				"<td data-l='running'>1 MB</td>"));
	EXPECT_TRUE(holds(page, "<td data-l='saved'>Mon to Fri 8 to 18: 512 kbit/s to 1 Mbit/s<br>"
				"Sat, Sun 22 to 24: 8 kbit/s</td>"));
	EXPECT_TRUE(holds(page, "LAN (LAN3), the whole policy</th><td data-l='saved'>there</td>"
				"<td data-l='compiled'>not there</td>"));
	EXPECT_TRUE(holds(page, "WAN1 (LAN1), eth0, a&lt;b</th><td data-l='saved'>&lt;x&gt;</td>"));
	EXPECT_TRUE(holds(page, "<summary>Plan: 2 steps for the kernel</summary>"));
	EXPECT_TRUE(holds(page, "class add &lt;1&gt;"));
	EXPECT_TRUE(holds(page, "<details><summary>Trace of the last compile</summary>\n"
				"<pre>do_policy(4)\n&lt;b&gt;\n</pre>\n</details>\n")) << page;
}

TEST(apply_page, tells_errors_before_the_buttons)
{
	std::string page = page_for("\"is_compiled_newer\":true");
	size_t at = page.find("voice</a>: It has no rate. Give it &lt;one&gt;.</p>");
	EXPECT_LT(at, page.find("value='apply'>Apply</button> ", page.find("<main")));
	EXPECT_FALSE(holds(page, "A warning"));
	EXPECT_FALSE(holds(page, "Stale"));
}

/* The buttons of the page itself, the first one marked. */
static std::string buttons_of(const std::string &page)
{
	std::string found;
	const std::string start = "<button type='submit'", value = "value='";
	for (size_t at = page.find("<main"); (at = page.find(start, at)) != std::string::npos;) {
		bool is_first = page.compare(at + start.size(), 8, " class='") == 0;
		at = page.find(value, at) + value.size();
		found += " " + page.substr(at, page.find('\'', at) - at) + (is_first ? "!" : "");
	}
	return found;
}

TEST(apply_page, offers_what_the_state_asks_for)
{
	static const struct {
		const char *members, *buttons;
	} CASES[] = {
		{ "\"is_stored_newer\":true", " compile-apply! compile" },
		{ "\"is_stored_newer\":true,\"is_compiled_newer\":true", " compile-apply! compile" },
		{ "\"is_compiled_newer\":true", " apply! compile-apply compile" },
		{ "\"applied\":\"2026-11-21T16:02:03Z\"", " compile-apply compile undo" },
		{ "\"seconds_left\":5", " confirm! undo" },
	};
	for (const auto &row : CASES)
		EXPECT_EQ(buttons_of(page_for(row.members)), row.buttons) << row.members;
}

TEST(apply_page, names_what_undo_brings_back)
{
	const std::string applied = "\"applied\":\"2026-11-21T16:02:03Z\"", start = "value='undo'>Back to ";
	EXPECT_TRUE(holds(page_for(applied), start + "what ran before</button>"));
	EXPECT_TRUE(holds(page_for(applied + ",\"before\":\"2026-11-20T09:01:03Z\""),
			  start + "what was applied 2026-11-20 09:01</button>"));
	EXPECT_TRUE(holds(page_for("\"seconds_left\":5,\"is_before_nothing\":true"),
			  start + "before: nothing shaped</button>"));
}

TEST(apply_page, has_no_plan_for_old_scripts)
{
	texts asked;
	EXPECT_FALSE(holds(page_for("\"is_stored_newer\":true", &asked), "Plan:"));
	EXPECT_EQ(std::count(asked.begin(), asked.end(), "plan difference"), 0);
}

TEST(apply_page, shows_all_that_a_failed_verb_told)
{
	std::string page = page_for("\"failed\":{\"verb\":\"compile\",\"when\":\"2026\",\"told\":"
				    "\"qos: one <a>\\nqos: two\\n\\nthree\"}");
	EXPECT_TRUE(holds(page, "<h2 id='f'>Not compiled</h2>\n<pre>one &lt;a&gt;\ntwo\n\nthree\n</pre>"))
		<< page;
}

/* What a terminal is for is no advice on a page. */
TEST(apply_page, says_nothing_of_a_terminal)
{
	std::string page = page_for(
		"\"failed\":{\"verb\":\"compile\",\"when\":\"2026\",\"told\":"
		"\"qos: the scripts stay as they were; compile --force takes the new ones all the same\\n"
		"eth0: its scripts have faults; 'qosctl check' lists them\"}");
	EXPECT_TRUE(holds(page, "<pre>the scripts stay as they were\neth0: its scripts have faults\n</pre>"))
		<< page;
	EXPECT_TRUE(holds(page, "list</a>: It is empty. Compile again.</p>")) << page;
	EXPECT_FALSE(holds(page, "qosctl")) << page;
}

TEST(apply_page, says_where_a_compile_changes_nothing)
{
	const std::string same = "It changes nothing that is compiled or runs";
	EXPECT_FALSE(holds(page_for("\"is_stored_newer\":true"), same));
	fresh_router router;
	put_stores(&router);
	stand_in_qosd qosd;
	std::string equal = state_with("\"differences\":[]");
	qosd.answers = { { "state", state_with("\"is_stored_newer\":true") }, { "diff", equal } };
	EXPECT_TRUE(holds(qosd.printed_by(show_apply),
			  "<p class='msg warn'><b>Saved, not compiled</b>. " + same));
	qosd.answers["state"] = state_with("\"is_stored_newer\":false");
	EXPECT_FALSE(holds(qosd.printed_by(show_apply), same));
}

TEST(apply_page, is_whole_with_answers_that_are_none)
{
	fresh_router router;
	put_stores(&router);
	stand_in_qosd qosd;
	qosd.answers = { { "state", state_with("\"is_compiled_newer\":true") }, { "diff", "{" } };
	std::string page = qosd.printed_by(show_apply);
	EXPECT_TRUE(holds(page, "<b>Not compared:</b> qosd does not answer: ")) << page;
	EXPECT_TRUE(holds(page, "</html>"));
}

TEST(apply_page, of_a_router_without_policies_says_how_to_begin)
{
	fresh_router router;
	router.store("policy", "");
	stand_in_qosd qosd;
	qosd.answers["state"] = state_with("\"applied\":null");
	EXPECT_TRUE(holds(qosd.printed_by(show_apply), "type=first'>First steps</a>"));
	EXPECT_EQ(qosd.asked, texts{ "state" });
}

TEST(apply_page, without_qosd_offers_nothing)
{
	fresh_router router;
	put_stores(&router);
	stand_in_qosd qosd;
	std::string page = qosd.printed_by([] {
		unlink("/run/qos/control");
		show_apply();
	});
	EXPECT_TRUE(holds(page, "From here nothing can be applied:</b> qosd does not run on this router."));
	EXPECT_EQ(buttons_of(page), "");
}

/* --- what is posted --- */

struct posted {
	std::string answer;
	texts asked;
};

static posted post(const std::string &action, const std::string &compile_exit = "0")
{
	stand_in_qosd qosd;
	const std::string done = "{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[]}\n";
	for (const char *line : { "apply confirm=60", "confirm", "undo" })
		qosd.answers[line] = done;
	qosd.answers["compile"] = "{\"qos\":1,\"exit\":" + compile_exit + ",\"told\":\"\"}\n";
	std::string answer = qosd.printed_by([&action] {
		setenv("REQUEST_METHOD", "GET", 1); // the fields are read alike
		setenv("QUERY_STRING", ("action=" + action).c_str(), 1);
		answer_apply();
	});
	return { answer, qosd.asked };
}

TEST(apply_post, asks_qosd_and_goes_to_the_page)
{
	static const struct {
		const char *action;
		texts asked;
	} CASES[] = {
		{ "check", {} },
		{ "compile", { "compile" } },
		{ "compile-apply", { "compile", "apply confirm=60" } },
		{ "apply", { "apply confirm=60" } },
		{ "confirm", { "confirm" } },
		{ "undo", { "undo" } },
	};
	fresh_router router;
	for (const auto &row : CASES) {
		posted found = post(row.action);
		EXPECT_EQ(found.asked, row.asked) << row.action;
		EXPECT_EQ(found.answer.find("Status: 303 See Other\r\n"
					    "Location: main.cgi?obj=router&type=apply\r\n"), 0u);
	}
}

TEST(apply_post, applies_nothing_that_does_not_compile)
{
	fresh_router router;
	posted found = post("compile-apply", "1");
	EXPECT_EQ(found.asked, texts{ "compile" });
	EXPECT_EQ(found.answer.find("Status: 303 "), 0u);
}

TEST(apply_post, refuses_another_action)
{
	fresh_router router;
	for (const char *action : { "", "stop", "apply confirm=9", "compile%0Aundo" }) {
		posted found = post(action);
		EXPECT_EQ(found.answer.find("Status: 400 Bad Request\r\n"), 0u) << found.answer;
		for (const std::string &line : found.asked)
			EXPECT_EQ(line, "state"); // for the bar
	}
}

/* Of whoever answers in qosd's place nothing becomes markup. */
TEST(apply_page, escapes_the_verb_that_is_worked_on)
{
	std::string page = page_for("\"changing\":\"<b>'apply\"");
	EXPECT_TRUE(holds(page, "another &lt;b&gt;&#39;apply runs just now")) << page;
}
