// SPDX-License-Identifier: MIT
/* The page of the last changes: what of them is compiled and runs, and entries that cannot be read. */
#include "../../cgi/pages/history.h"

#include <unistd.h>

#include <regex>

#include "../history/history_router.h"
#include "../support/stand_in_qosd.h"

static std::string page_for(const std::string &state)
{
	stand_in_qosd qosd;
	qosd.answers["state"] = state;
	return qosd.printed_by([] { show_history(); });
}

/* Of each entry the number where a way leads back to before it, else "-", and its tag. */
static std::string entries_in(const std::string &page)
{
	static const std::regex number("entry(?:' value='|=)([0-9]+)'"), tag("class='tag'>([a-z ]*)<");
	const std::string start = "<li class=";
	std::string words;
	for (size_t at = page.find(start), next; at != std::string::npos; at = next) {
		next = page.find(start, at + 1);
		const std::string text = page.substr(at, next - at);
		std::smatch found;
		words += words.empty() ? "" : ", ";
		words += std::regex_search(text, found, number) ? found[1].str() : "-";
		words += std::regex_search(text, found, tag) ? " " + found[1].str() : "";
	}
	return words;
}

/* When an entry was made. */
static time_t made(unsigned number)
{
	entry it;
	EXPECT_TRUE(read_entry(&it, number));
	free_entry(&it);
	return it.when;
}

static std::string state_at(time_t compiled, const char *rest)
{
	return state_with("\"compiled_at\":" + std::to_string(compiled) + rest);
}

TEST(history, tells_up_to_which_change_all_is_compiled_and_runs)
{
	const char *const running = ",\"applied\":\"2026-11-21T16:02:03+01:00\"";
	const char *const older = ",\"applied\":\"2026-11-21T16:02:03+01:00\",\"is_compiled_newer\":true";
	history_router router;
	change("port", "[p]\n");
	sleep(1);
	change("port", "[q]\n");
	ASSERT_GT(made(2), made(1));
	const time_t first = made(1), second = made(2);
	EXPECT_EQ(entries_in(page_for(state_at(first, running))), "2, 1 runs now");
	EXPECT_EQ(entries_in(page_for(state_at(second, running))), "2 runs now, 1");
	EXPECT_EQ(entries_in(page_for(state_at(first - 1, running))), "2, 1");
	EXPECT_EQ(entries_in(page_for(state_at(first, older))), "2, 1 compiled");
	EXPECT_EQ(entries_in(page_for(state_at(first, ",\"applied\":null"))), "2, 1 compiled");
}

TEST(history, leads_back_no_further_than_the_first_damaged_entry)
{
	history_router router;
	for (const char *port : { "[p]\n", "[q]\n", "[r]\n" })
		change("port", port);
	write_file(HISTORY + "000000002", "damaged");
	const std::string page = page_for("");
	EXPECT_EQ(entries_in(page), "3, -, -");
	EXPECT_NE(page.find("<b>The entry 2 is damaged:</b> no way leads back past it."),
		  std::string::npos);
}

TEST(history, that_cannot_be_read_is_not_told_as_none)
{
	history_router router;
	const std::string none = "Nothing was changed yet.", unread = "The history cannot be read:";
	EXPECT_NE(page_for("").find(none), std::string::npos);
	std::filesystem::remove_all(HISTORY);
	EXPECT_NE(page_for("").find(none), std::string::npos);
	write_file(STORES + ".history", "a file");
	const std::string page = page_for("");
	EXPECT_NE(page.find("<b>" + unread + "</b> Not a directory."), std::string::npos);
	EXPECT_EQ(page.find(none), std::string::npos);
}
