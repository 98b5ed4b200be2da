// SPDX-License-Identifier: MIT
/* The apply bar, in each of its states. */
#include "../../cgi/bar.h"

#include <sys/time.h>

#include "../support/stand_in_qosd.h"

/* The bar as text: its colour, and what it says, tags left out. */
static std::string read_bar(const std::string &markup)
{
	const std::string start = "<section class='msg";
	if (markup.empty())
		return "";
	EXPECT_EQ(markup.find(start), 0u) << markup;
	EXPECT_EQ(count_lines(markup), 1u);
	size_t end = markup.find(" apply'");
	std::string words = markup.substr(start.size(), end - start.size()) + "|";
	bool is_tag = false;
	for (size_t i = markup.find("<p>"); i < markup.size() - 1; i++) {
		is_tag = is_tag || markup[i] == '<';
		if (!is_tag)
			words += markup[i];
		else if (markup.compare(i, 4, "</p>") == 0)
			words += " |";
		is_tag = is_tag && markup[i] != '>';
	}
	return words;
}

static std::string bar_for(const std::string &state)
{
	stand_in_qosd qosd;
	qosd.answers["state"] = state;
	std::string markup = qosd.printed_by(print_bar);
	EXPECT_EQ(qosd.asked, texts{ "state" });
	return read_bar(markup);
}

TEST(bar, says_each_state)
{
	static const struct {
		const char *members, *bar;
	} CASES[] = {
		{ "\"seconds_left\":null,\"is_stored_newer\":false,\"is_compiled_newer\":false,"
		  "\"failed\":null",
		  " good|Running: saved, compiled and running are the same |" },
		{ "\"is_stored_newer\":true,\"is_compiled_newer\":true",
		  " warn|Saved, not compiled |Look and apply" },
		{ "\"is_stored_newer\":false,\"is_compiled_newer\":true",
		  " warn|Compiled, not running |Apply" },
		{ "\"seconds_left\":54,\"is_stored_newer\":true",
		  "|Running, confirm within 54 s, or the old state comes back |Keep Back" },
		{ "\"failed\":{\"verb\":\"compile\",\"told\":\"qos: class a: no parent\\nqos: more\"}",
		  " bad|Not compiled: class a: no parent |Show what failed" },
		{ "\"failed\":{\"verb\":\"apply\",\"told\":\"qos: eth0: refused\"},\"seconds_left\":9",
		  " bad|Not applied: eth0: refused. What runs now is to be confirmed within 9 s "
		  "|Keep Back" },
		{ "\"failed\":{\"verb\":\"undo\",\"told\":\"\"}",
		  " bad|Not put back: it was cut off, or told nothing |Show what failed" },
		{ "\"failed\":{\"verb\":\"confirm\",\"told\":\"qos: <b>late</b> & over\"}",
		  " bad|Not confirmed: &lt;b&gt;late&lt;/b&gt; &amp; over |Show what failed" },
	};
	fresh_router router;
	router.store("policy", POLICIES);
	for (const auto &row : CASES)
		EXPECT_EQ(bar_for(state_with(row.members)), row.bar) << row.members;
}

TEST(bar, leads_to_the_first_steps_without_a_policy)
{
	const std::string nothing = "|Nothing to do: no interface has a policy yet |First steps";
	fresh_router router;
	router.store("policy", "# nothing\n");
	EXPECT_EQ(bar_for(state_with("\"is_stored_newer\":true")), nothing);
	EXPECT_EQ(bar_for(state_with("\"applied\":null,\"is_stored_newer\":true")), nothing);
	EXPECT_EQ(bar_for(state_with("\"seconds_left\":5")),
		  "|Running, confirm within 5 s, or the old state comes back |Keep Back");
	EXPECT_NE(bar_for(state_with("\"applied\":\"2026-11-21T16:02:03+01:00\"")), nothing);
}

TEST(bar, names_what_is_no_answer)
{
	static const char *const ANSWERS[] = {
		"", "\n", "{", "[]\n", "{\"qos\":1,\"exit\":2,\"told\":\"\",\"devices\":[]}\n",
	};
	fresh_router router;
	router.store("policy", POLICIES);
	for (const char *answer : ANSWERS) {
		std::string bar = bar_for(answer);
		EXPECT_EQ(bar.find(" warn|Saved, not compiled: qosd does not answer: "), 0u) << bar;
	}
}

TEST(bar, does_not_wait_long)
{
	fresh_router router;
	router.store("policy", POLICIES);
	struct timeval before, after;
	gettimeofday(&before, nullptr);
	EXPECT_EQ(bar_for(NO_ANSWER),
		  " warn|Saved, not compiled: qosd does not answer in time. |Look and apply");
	gettimeofday(&after, nullptr);
	EXPECT_LT((after.tv_sec - before.tv_sec) * 1000000 + after.tv_usec - before.tv_usec, 2000000);
}

/* What body() prints in a process of its own. */
static std::string bar_alone(uid_t user = 0)
{
	stand_in_qosd qosd;
	return read_bar(qosd.printed_by([user] {
		if (user == 0)
			unlink("/run/qos/control");
		else if (chmod("/run/qos", 0) != 0 || setresuid(user, user, user) != 0)
			puts("<section class='msg apply'><p>no other user can be had</p>");
		print_bar();
	}));
}

TEST(bar, says_without_qosd_what_files_say)
{
	fresh_router router;
	router.store("policy", POLICIES);
	EXPECT_EQ(bar_alone(), " warn|Saved, not compiled: qosd does not run on this router. "
			       "|Look and apply");
	write_file(SCRIPTS + "eth0", "QDISC=htb\n");
	const struct timeval now[2] = { { time(nullptr) + 60, 0 }, { time(nullptr) + 60, 0 } };
	ASSERT_EQ(utimes((SCRIPTS + "eth0").c_str(), now), 0);
	EXPECT_EQ(bar_alone(), "|Saved and compiled. Whether it runs is not known here: qosd does not "
			       "run on this router. |Look");
}

TEST(bar, says_who_may_not_ask)
{
	if (geteuid() != 0)
		GTEST_SKIP() << "only root can be another user";
	fresh_router router;
	router.store("policy", POLICIES);
	std::string bar = bar_alone(65534);
	std::filesystem::permissions("/run/qos", std::filesystem::perms::all);
	if (bar.find("no other user") != std::string::npos)
		GTEST_SKIP() << "no other user can be had here";
	EXPECT_NE(bar.find("may not ask qosd: name its group as QOSD_GROUP in /etc/default/qos"),
		  std::string::npos)
		<< bar;
}

TEST(status, is_the_bar_for_a_script)
{
	fresh_router router;
	router.store("policy", POLICIES);
	stand_in_qosd qosd;
	qosd.answers["state"] = state_with("\"is_compiled_newer\":true");
	std::string answer = qosd.printed_by([] {
		setenv("REMOTE_USER", "an\"na", 1);
		answer_status();
	});
	EXPECT_NE(answer.find("Content-Type: application/json\r\n\r\n{\"login\":\"an\\u0022na\",\"bar\":\""),
		  std::string::npos)
		<< answer;
	EXPECT_NE(answer.find("Compiled, not running"), std::string::npos);
	EXPECT_NE(answer.find("\",\"saved\":null}\n"), std::string::npos);
}
