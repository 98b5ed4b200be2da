// SPDX-License-Identifier: MIT
/* The filter page, and the check of a filter's new priority. */
#include "../../web/web.h"
#include "../support/request.h"

static std::string stored_filters()
{
	return read_file(STORES + "filter");
}

static std::string page_of_filter(const std::string &section)
{
	write_file(STORES + "filter", "[a]\n" + section);
	return page_of(filter_display, "a", MODE_EDIT);
}

TEST(filter_display, marks_only_none_on_a_new_page)
{
	fresh_pages router;
	std::string page = page_of(filter_display, nullptr, MODE_NEW);
	EXPECT_EQ(options_in(page, "prio"),
		  texts({ "1", "2", "3", "4", "5", "6", "7", "8", "9" }));
	EXPECT_EQ(options_in(page, "trans_proto"), texts({ "tcp", "udp" }));
	EXPECT_EQ(options_in(page, "tos"),
		  texts({ "*", "0", "1", "2", "3", "4", "5", "6", "7" }));
	EXPECT_EQ(count_of(page, "selected"), 1u);
	EXPECT_EQ(count_of(page, "bbbbbbbbbbb"), 0u);
}

TEST(filter_display, marks_none_and_the_stored_precedence)
{
	fresh_pages router;
	EXPECT_EQ(selected_in(page_of_filter("TOS=3\n"), "tos"), texts({ "", "3" }));
	EXPECT_EQ(selected_in(page_of_filter("TOS=0\n"), "tos"), texts({ "", "0" }));
	EXPECT_EQ(selected_in(page_of_filter("TOS=7\n"), "tos"), texts({ "", "7" }));
	EXPECT_EQ(selected_in(page_of_filter("TOS=8\n"), "tos"), texts({ "" }));
	EXPECT_EQ(selected_in(page_of_filter("TOS=\n"), "tos"), texts({ "" }));
	EXPECT_EQ(selected_in(page_of_filter("PRIO=1\n"), "tos"), texts({ "" }));
}

TEST(filter_display, reads_the_priority_as_a_number)
{
	fresh_pages router;
	EXPECT_EQ(selected_in(page_of_filter("PRIO=3\n"), "prio"), texts({ "3" }));
	EXPECT_EQ(selected_in(page_of_filter("PRIO=09\n"), "prio"), texts({ "9" }));
	EXPECT_EQ(selected_in(page_of_filter("PRIO=10\n"), "prio"), texts());
	EXPECT_EQ(selected_in(page_of_filter("PRIO=\n"), "prio"), texts());
}

TEST(filter_display, selects_a_protocol_on_exact_equality)
{
	fresh_pages router;
	EXPECT_EQ(selected_in(page_of_filter("TRANS_PROTO=tcp\n"), "trans_proto"),
		  texts({ "tcp" }));
	EXPECT_EQ(selected_in(page_of_filter("TRANS_PROTO=udp\n"), "trans_proto"),
		  texts({ "udp" }));
	EXPECT_EQ(selected_in(page_of_filter("TRANS_PROTO=UDP\n"), "trans_proto"), texts());
}

TEST(filter_display, has_the_loader_speak_between_the_hidden_fields)
{
	fresh_pages router;
	const std::string before = "<input type='hidden' name='type' value='display'>";
	const std::string after = "<input type='hidden' name='action' value='update'>";
	EXPECT_EQ(count_of(page_of_filter("PRIO=3\n"), before + "bbbbbbbbbbb a " + after), 1u);
	router.break_store("filter");
	std::string page = page_of(filter_display, "a", MODE_EDIT);
	EXPECT_EQ(count_of(page, before + "bbbbbbbbbbb a errorrrrrrrrr a " + HEADERS), 1u);
	EXPECT_EQ(alerts_in(page), texts({ "CFG handle error!!" }));
	EXPECT_EQ(count_of(page, "</script>\n" + after), 1u);
	EXPECT_EQ(count_of(page, fresh_pages::mark("filter_footer")), 1u);
	page = page_of(filter_display, nullptr, MODE_EDIT);
	EXPECT_EQ(alerts_in(page), texts({ "No such a ID" }));
}

TEST(filter_save, stores_the_network_protocol_whatever_was_posted)
{
	fresh_pages router;
	answer_to(post("id=a"), filter_save);
	answer_to(post("id=b&net_proto=IPX&use=use&NET_PROTO=x"), filter_save);
	EXPECT_EQ(stored_filters(), "[a]\nNET_PROTO=IP\n[b]\nNET_PROTO=IP\n");
	answer_to(post("id=a&net_proto=IPX"), filter_update);
	EXPECT_EQ(stored_filters(), "[b]\nNET_PROTO=IP\n[a]\nNET_PROTO=IP\n");
}

TEST(filter_save, takes_a_priority_that_another_filter_has)
{
	fresh_pages router;
	for (const char *form : { "id=a&prio=3", "id=b&prio=3" }) {
		answer got = answer_to(post(form), filter_save);
		EXPECT_EQ(got.result, 1);
		EXPECT_EQ(got.out, "");
	}
	EXPECT_EQ(stored_filters(), "[a]\nNET_PROTO=IP\nPRIO=3\n[b]\nNET_PROTO=IP\nPRIO=3\n");
}

/* Filter a, with priority 3, gets priority 5 while the store holds this too. */
static const struct {
	const char *others, *form;
	bool refused;
} NEW_PRIORITIES[] = {
	{ "", "prio=5", false },
	{ "[b]\nPRIO=5\n", "prio=5", true },
	{ "[b]\nTOS=5\n", "prio=5", true },
	{ "[b]\nINT_IP_ID=5\n", "prio=5", true },
	{ "[b]\nANY=5\n", "prio=5", true },
	{ "TOS=5\n", "prio=5", true }, // of the filter itself
	{ "[b]\nTOS=55\n[5]\nTOS=05\n", "prio=5", false },
	{ "[b]\nPRIO=5\n", "tos=1", false },  // none posted
	{ "[b]\nPRIO=3\n", "prio=3", false }, // not changed
	{ "[b]\nTOS=03\n", "prio=03", true }, // equal as numbers, but not as texts
};

TEST(filter_update, refuses_a_new_priority_that_any_value_of_any_filter_equals)
{
	fresh_pages router;
	for (const auto &row : NEW_PRIORITIES) {
		std::string before = std::string("[a]\nPRIO=3\n") + row.others;
		router.store("filter", before);
		answer got = answer_to(post(std::string("id=a&") + row.form), filter_update);
		EXPECT_EQ(got.result, row.refused ? 0 : 1) << row.others;
		EXPECT_EQ(alerts_in(got.out),
			  row.refused ? texts({ "Duplicated priority" }) : texts()) << row.others;
		EXPECT_EQ(stored_filters() == before, row.refused) << row.others;
		EXPECT_EQ(got.out.rfind("bbbbbbbbbbb a ", 0), 0u);
	}
}

TEST(filter_update, does_not_check_where_no_priority_is_stored)
{
	fresh_pages router;
	for (const char *before : { "[a]\nTOS=5\n", "[b]\nTOS=5\n" }) {
		router.store("filter", before);
		EXPECT_EQ(answer_to(post("id=a&prio=5"), filter_update).result, 1) << before;
	}
}

TEST(filter_update, keeps_the_stored_use)
{
	fresh_pages router;
	router.store("filter", "[a]\nUSE=use\nPRIO=3\nNAT=on\n[b]\nUSE=unuse\n[c]\n");
	for (const char *id : { "a", "b", "c", "d" })
		answer_to(post("id=" + std::string(id) + "&prio=3&use=mine"), filter_update);
	EXPECT_EQ(stored_filters(), "[a]\nNET_PROTO=IP\nPRIO=3\nUSE=use\n"
				    "[b]\nNET_PROTO=IP\nPRIO=3\nUSE=unuse\n"
				    "[c]\nNET_PROTO=IP\nPRIO=3\n[d]\nNET_PROTO=IP\nPRIO=3\n");
}
