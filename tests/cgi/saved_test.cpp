// SPDX-License-Identifier: MIT
/* Changes in words. */
#include "../../cgi/saved.h"

#include <fcntl.h>

#include <regex>

#include "../../cgi/bar.h"
#include "../history/history_router.h"
#include "../support/stand_in_qosd.h"

static const char CLASSES[] =
	"[a]\nPARENT_ID=r\nRATE=2\nRATE_UNIT=Mbps\nCEIL=4\nCEIL_UNIT=Mbps\nMTU=1500\n"
	"FILTER_ID[0]=sip\nFILTER_ID[1]=rtp\nTIME_RATE[0]=1\nTIME_RATE_UNIT[0]=Mbps\n"
	"START_HOUR[0]=08\nEND_HOUR[0]=18\nDOW10=1\n[b]\nRATE=3\n";

/* The newest entry in words. */
static std::string told(int most = 9)
{
	entry it;
	EXPECT_TRUE(read_entry(&it, get_newest_entry()));
	std::string words = written_by([&](FILE *to) { write_changes(to, &it, most); });
	free_entry(&it);
	return words;
}

static std::string replaced(std::string text, const std::string &from, const std::string &to)
{
	size_t at = text.find(from);
	EXPECT_NE(at, std::string::npos) << from;
	return text.replace(at, from.size(), to);
}

/* What a change of the classes is called that puts one text in the place of another. */
static std::string told_of(const std::string &from, const std::string &to)
{
	history_router router;
	router.store("class", CLASSES);
	change("class", replaced(CLASSES, from, to));
	return told();
}

TEST(saved, a_number_and_its_unit_are_one_value)
{
	EXPECT_EQ(told_of("RATE=2", "RATE=3"), "a: rate 2 -> 3 Mbit/s");
	EXPECT_EQ(told_of("RATE=2\nRATE_UNIT=Mbps", "RATE=512\nRATE_UNIT=Kbps"),
		  "a: rate 2 Mbit/s -> 512 kbit/s");
	EXPECT_EQ(told_of("RATE_UNIT=Mbps\nCEIL", "RATE_UNIT=Kbps\nCEIL"),
		  "a: rate 2 Mbit/s -> 2 kbit/s");
	EXPECT_EQ(told_of("CEIL=4\nCEIL_UNIT=Mbps\n", ""), "a: ceil 4 Mbit/s -> none");
	EXPECT_EQ(told_of("MTU", "BURST=6\nBURST_UNIT=KB\nMTU"), "a: burst none -> 6 KB");
}

TEST(saved, single_values_have_the_words_of_the_form)
{
	EXPECT_EQ(told_of("PARENT_ID=r", "PARENT_ID=s\nPRIO=2"),
		  "a: parent r -> s, priority none -> 2");
	EXPECT_EQ(told_of("MTU=1500", "MTU=1400"), "a: MTU 1500 -> 1400");
	EXPECT_EQ(told_of("MTU=1500", "MTU=1500\nNOTE=x"), "a: NOTE");
}

TEST(saved, a_list_tells_what_came_and_went_and_not_what_moved_up)
{
	EXPECT_EQ(told_of("FILTER_ID[0]=sip\nFILTER_ID[1]=rtp", "FILTER_ID[0]=rtp"),
		  "a: filter sip removed");
	EXPECT_EQ(told_of("FILTER_ID[1]=rtp", "FILTER_ID[1]=dns\nFILTER_ID[2]=rtp"),
		  "a: filter dns added");
	EXPECT_EQ(told_of("FILTER_ID[0]=sip\nFILTER_ID[1]=rtp",
			  "FILTER_ID[0]=rtp\nFILTER_ID[1]=sip"),
		  "a: filters in another order");
	EXPECT_EQ(told_of("FILTER_ID[0]=sip",
			  "FILTER_ID[0]=sip\nFILTER_ID[2]=1\nFILTER_ID[3]=2\nFILTER_ID[4]=3\n"
			  "FILTER_ID[5]=4\nFILTER_ID[6]=5"),
		  "a: 5 filters added");
}

TEST(saved, a_schedule_is_told_as_what_it_does)
{
	EXPECT_EQ(told_of("END_HOUR[0]=18", "END_HOUR[0]=20"),
		  "a: schedule 1 Mon 8 to 18: 1 to 4 Mbit/s -> Mon 8 to 20: 1 to 4 Mbit/s");
	EXPECT_EQ(told_of("TIME_RATE[0]=1\n", ""), "a: schedule 1 Mon 8 to 18: 1 to 4 Mbit/s -> off");
	EXPECT_EQ(told_of("DOW10=1\n", "DOW10=1\nTIME_BURST[0]=6\nTIME_BURST_UNIT[0]=KB\n"),
		  "a: schedule 1 Mon 8 to 18: 1 to 4 Mbit/s -> Mon 8 to 18: 1 to 4 Mbit/s, burst 6 "
		  "KB");
}

TEST(saved, objects_come_and_go_by_name)
{
	EXPECT_EQ(told_of("[b]\nRATE=3\n", ""), "b: class removed");
	EXPECT_EQ(told_of("[b]", "[c]\nRATE=1\n[b]"), "c: new class");
	EXPECT_EQ(told_of("[b]", "[c]\n[b]"), "c: new class");
	EXPECT_EQ(told_of("[b]", "# a comment\n[b]"), "classes: in another order");
}

TEST(saved, an_object_that_is_called_otherwise_is_one_object)
{
	const change_note renamed = { "admin", nullptr, "class", "rename", "d" };
	const std::string after = "[a]\nPARENT_ID=d\n[d]\nRATE=3\n";
	history_router router;
	router.store("class", "[a]\nPARENT_ID=b\n[b]\nRATE=3\n");
	change("class", after, renamed);
	EXPECT_EQ(told(), "d: was called b; a: parent b -> d");
	EXPECT_EQ(told(1), "d: was called b; 1 more");
	change("class", "[a]\nPARENT_ID=d\n", renamed); // nothing has that name
	EXPECT_EQ(told(), "d: class removed");
	change("class", after, renamed); // nothing had it
	EXPECT_EQ(told(), "d: new class");
	change("class", "[a]\nPARENT_ID=d\n[e]\nRATE=3\n", NOTE); // it may be another
	EXPECT_EQ(told(), "d: class removed; e: new class");
}

TEST(saved, a_mark_that_follows_is_left_out)
{
	history_router router;
	begin({ "class", "filter" });
	router.store("class", "[a]\nRATE=1\nCEIL=2\nFILTER_ID[0]=f\n[b]\nRATE=3\n");
	router.store("filter", "[f]\nUSE=use\n");
	ASSERT_TRUE(commit_change());
	EXPECT_EQ(told(), "a: filter f added");
	change("filter", "[f]\nUSE=unuse\n");
	EXPECT_EQ(told(), "");
}

TEST(saved, a_new_filter_is_told_without_what_all_have)
{
	history_router router;
	change("filter", "");
	change("filter", "[g]\nNET_PROTO=IP\nTRANS_PROTO=tcp\nUSE=unuse\n");
	printed page = printed_by([] {
		entry it;
		ASSERT_TRUE(read_entry(&it, get_newest_entry()));
		print_changes(&it);
		free_entry(&it);
	});
	EXPECT_NE(page.out.find(": new filter, transport tcp</li>"), std::string::npos) << page.out;
}

TEST(saved, a_description_is_told_by_its_first_line)
{
	history_router router;
	change("desc/LAN1.policy", "fibre, 20\nmore\n");
	EXPECT_EQ(told(), "LAN1: description fibre -> fibre, 20");
}

TEST(saved, more_objects_than_asked_for_are_counted)
{
	history_router router;
	change("class", "[a]\nRATE=2\nCEIL=2\n[b]\nRATE=4\n[c]\nRATE=1\n");
	EXPECT_EQ(told(1), "a: rate 1 -> 2; 2 more");
	EXPECT_EQ(told(0), "3 more");
	EXPECT_EQ(told(3), "a: rate 1 -> 2; b: rate 3 -> 4; c: new class");
}

TEST(saved, a_page_strikes_through_what_was_and_means_nothing_to_the_browser)
{
	history_router router;
	router.store("class", "[<a>]\nPARENT_ID=&\n");
	change("class", "[<a>]\nPARENT_ID='\n");
	printed page = printed_by([] {
		entry it;
		ASSERT_TRUE(read_entry(&it, get_newest_entry()));
		EXPECT_EQ(print_changes(&it), 1);
		free_entry(&it);
	});
	EXPECT_EQ(page.out, "<ul>\n<li><b>&lt;a&gt;</b> <small>class</small>: parent <span "
			    "class='old'>&amp;</span> \u2192 &#39;</li>\n</ul>\n");
}

/* --- what was just saved --- */

static bool is_noted(const char *cookie)
{
	entry it;
	setenv("HTTP_COOKIE", cookie, 1);
	bool is_read = read_just_saved(&it);
	if (is_read)
		free_entry(&it);
	unsetenv("HTTP_COOKIE");
	return is_read;
}

TEST(saved, the_cookie_names_an_entry)
{
	history_router router;
	EXPECT_EQ(printed_by(print_saved_cookie).out, "");
	change("class", "[a]\nRATE=2\nCEIL=2\n[b]\nRATE=3\n");
	EXPECT_EQ(printed_by(print_saved_cookie).out,
		  "Set-Cookie: saved=1; Max-Age=30; Path=/; HttpOnly; SameSite=Strict\r\n");
	for (const char *cookie : { "saved=1", "a=b; saved=1; c=d", "saved=1;x=2" })
		EXPECT_TRUE(is_noted(cookie)) << cookie;
	for (const char *cookie : { "", "saved=", "saved=0", "saved=2", "saved=1x", "saved=-1",
				    "unsaved=1", "saved=4294967297", "saved=99999999999999", ";;;" })
		EXPECT_FALSE(is_noted(cookie)) << cookie;
}

TEST(saved, the_note_says_that_it_does_not_run_until_a_compile)
{
	history_router router;
	change("class", "[a]\nRATE=2\nCEIL=2\n[b]\nRATE=3\n");
	auto note = [](object_kind kind) {
		setenv("HTTP_COOKIE", "saved=1", 1);
		const char *id = nullptr;
		printed page = printed_by([&] { id = print_saved_note(kind); });
		unsetenv("HTTP_COOKIE");
		return page.out + (id ? id : "none");
	};
	struct timespec old[2] = {};
	utimensat(AT_FDCWD, SCRIPTS.c_str(), old, 0);
	EXPECT_EQ(note(CLASS), "<p class='msg good' role='status'><b>Saved:</b> a: rate 1 -&gt; 2. "
			       "It does not run yet.</p>\na");
	EXPECT_EQ(note(FILTER), "none") << "the list of another kind";
	struct timespec late[2] = { { time(nullptr) + 9, 0 }, { time(nullptr) + 9, 0 } };
	utimensat(AT_FDCWD, SCRIPTS.c_str(), late, 0);
	EXPECT_EQ(note(CLASS), "<p class='msg good' role='status'><b>Saved:</b> a: rate 1 -&gt; "
			       "2.</p>\na");
}

TEST(saved, the_forms_are_told_of_a_save_of_the_kind_that_they_ask_for)
{
	history_router router;
	change("class", "[a]\nRATE=2\nCEIL=2\n[b]\nRATE=3\n");
	auto status = [](const char *query) {
		stand_in_qosd qosd;
		return qosd.printed_by([query] {
			setenv("HTTP_COOKIE", "saved=1", 1);
			setenv("REQUEST_METHOD", "GET", 1);
			setenv("QUERY_STRING", query, 1);
			answer_status();
		});
	};
	EXPECT_NE(status("kind=class").find("\"saved\":\"Saved: a: rate 1 -"), std::string::npos);
	for (const char *query : { "kind=policy", "kind=", "kind=no", "" })
		EXPECT_NE(status(query).find("\"saved\":null"), std::string::npos) << query;
}

/* What an entry says of who made it, and how, without its time. */
static std::string noted(unsigned number)
{
	printed page = printed_by([number] {
		entry it;
		ASSERT_TRUE(read_entry(&it, number));
		print_entry_note(&it);
		free_entry(&it);
	});
	const std::regex time("20[0-9]{2}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}");
	return std::regex_replace(page.out, time, "TIME");
}

TEST(saved, an_entry_says_in_words_what_kind_of_change_it_is)
{
	const change_note back = { "<b>", nullptr, "history", "back", "1" };
	const change_note lost = { nullptr, nullptr, "history", "back", "77" };
	const change_note other = { nullptr, "192.168.1.8", "class", "<i>", "a" };
	history_router router;
	change("port", "[p]\n");
	change("port", "[q]\n", back);
	change("port", "[r]\n", lost);
	change("port", "[s]\n", other);
	EXPECT_EQ(noted(1), "<b>TIME</b> <small>admin at 192.168.1.7: changed</small>");
	EXPECT_EQ(noted(2),
		  "<b>TIME</b> <small>&lt;b&gt;: went back to before TIME</small>");
	EXPECT_EQ(noted(3),
		  "<b>TIME</b> <small>unknown: went back to before an older change</small>");
	EXPECT_EQ(noted(4), "<b>TIME</b> <small>192.168.1.8: &lt;i&gt;</small>");
}

TEST(saved, what_was_brought_back_is_told_where_the_history_is_shown)
{
	const change_note back = { "admin", nullptr, "history", "back", "1" };
	history_router router;
	change("class", "[a]\nRATE=2\nCEIL=2\n[b]\nRATE=3\n");
	setenv("HTTP_COOKIE", "saved=1", 1);
	EXPECT_EQ(printed_by(print_back_note).out, "");
	change("class", "[a]\nRATE=1\nCEIL=2\n[b]\nRATE=3\n", back);
	setenv("HTTP_COOKIE", "saved=2", 1);
	EXPECT_EQ(printed_by(print_back_note).out,
		  "<p class='msg good' role='status'><b>Brought back:</b> a: rate 2 -&gt; 1. It does "
		  "not run yet.</p>\n");
	unsetenv("HTTP_COOKIE");
}

TEST(saved, changes_since_a_time_are_counted)
{
	history_router router;
	change("class", "[a]\nRATE=2\nCEIL=2\n[b]\nRATE=3\n");
	change("class", "[a]\nRATE=2\nCEIL=2\n[b]\nRATE=4\n");
	int count = -1;
	auto since = [&](time_t when) {
		return written_by([&](FILE *to) { count = write_changes_since(to, when); });
	};
	EXPECT_EQ(since(0), "b: rate 3 -> 4");
	EXPECT_EQ(count, 2);
	EXPECT_EQ(since(time(nullptr) + 9), "");
	EXPECT_EQ(count, 0);

	entry newest;
	ASSERT_TRUE(read_entry(&newest, get_newest_entry()));
	EXPECT_EQ(since(newest.when), "b: rate 3 -> 4"); // saved in the second of the compile
	EXPECT_EQ(count, 1);
	EXPECT_EQ(since(newest.when + 1), "");
	free_entry(&newest);
}
