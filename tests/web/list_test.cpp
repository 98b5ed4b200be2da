// SPDX-License-Identifier: MIT
/* The pages of the port and address lists. */
#include "kinds.h"

static const web_kind *const LISTS[] = { &WEB_KINDS[3], &WEB_KINDS[4] };

static std::string field_of(const web_kind &kind)
{
	return std::string(kind.word) + "_list";
}

static std::string key_of(const web_kind &kind, int n)
{
	return (kind.word == std::string("ip") ? "IP" : "PORT") + std::string("_LIST[") +
	       std::to_string(n) + "]=";
}

TEST(list_save, needs_an_id_and_an_entry)
{
	for (const web_kind *kind : LISTS) {
		for (const std::string &form :
		     { std::string("id=a&desc=words"), field_of(*kind) + "=80&desc=words",
		       std::string("desc=words") }) {
			for (auto handler : { kind->save, kind->update }) {
				fresh_pages router;
				answer got = answer_to(post(form), handler);
				EXPECT_EQ(got.result, 0);
				EXPECT_EQ(alerts_in(got.out),
					  texts({ "ID or Port list is empty." }));
				EXPECT_EQ(read_file(STORES + kind->word), "");
				EXPECT_FALSE(has_file(DESCRIPTIONS + "a." + kind->word));
			}
		}
	}
}

/* The test of the input comes before the store is read. */
TEST(list_save, tells_of_what_is_missing_before_it_reads_the_store)
{
	for (const web_kind *kind : LISTS) {
		fresh_pages router;
		router.break_store(kind->word);
		answer got = answer_to(post("id=a"), kind->save);
		EXPECT_EQ(alerts_in(got.out), texts({ "ID or Port list is empty." }));
	}
}

TEST(list_save, stores_the_first_17_entries_and_shows_them)
{
	for (const web_kind *kind : LISTS) {
		for (int posted : { 16, 17, 18, 20 }) {
			fresh_pages router;
			std::string form = "id=a", section = "[a]\n", shown;
			for (int n = 0; n < posted; n++) {
				std::string entry = std::to_string(1000 + n);
				form += "&" + field_of(*kind) + "=" + entry;
				if (n >= 17)
					continue;
				section += key_of(*kind, n) + entry + "\n";
				shown += kind->word == std::string("ip")
						 ? "<option>" + entry + "</option>\n"
						 : "<option value='" + entry + "'>" + entry +
							   "</option>\n";
			}
			EXPECT_EQ(answer_to(post(form), kind->save).result, 1);
			EXPECT_EQ(read_file(STORES + kind->word), section) << posted;
			std::string page = page_of(kind->display, "a", MODE_EDIT);
			EXPECT_EQ(count_of(page, "name='" + field_of(*kind) + "'>\n" + shown +
						 "</select></td><td colspan='2'>"), 1u) << posted;
		}
	}
}

TEST(list_update, numbers_the_entries_anew)
{
	for (const web_kind *kind : LISTS) {
		fresh_pages router;
		router.store(kind->word, "[a]\n" + key_of(*kind, 0) + "1\n" + key_of(*kind, 1) +
					 "2\n" + key_of(*kind, 2) + "3\n");
		std::string field = "&" + field_of(*kind) + "=";
		answer_to(post("id=a" + field + "3" + field + "1"), kind->update);
		EXPECT_EQ(read_file(STORES + kind->word),
			  "[a]\n" + key_of(*kind, 0) + "3\n" + key_of(*kind, 1) + "1\n");
	}
}

TEST(list_display, shows_the_entries_in_the_order_of_their_keys_up_to_a_gap)
{
	for (const web_kind *kind : LISTS) {
		fresh_pages router;
		router.store(kind->word, "[a]\n" + key_of(*kind, 2) + "3\n" + key_of(*kind, 0) +
						 "1\n" + key_of(*kind, 4) + "5\n" +
						 key_of(*kind, 1) + "2\n");
		std::string list = text_from(page_of(kind->display, "a", MODE_EDIT),
					     "name='" + field_of(*kind) + "'>");
		list = list.substr(0, list.find("</select>"));
		EXPECT_EQ(count_of(list, "<option"), 3u);
		EXPECT_LT(list.find(">1</option>"), list.find(">2</option>"));
		EXPECT_LT(list.find(">2</option>"), list.find(">3</option>"));
	}
}

TEST(list_save, refused_for_its_id_writes_no_description)
{
	for (const web_kind *kind : LISTS) {
		fresh_pages router;
		router.store(kind->word, "[a]\n");
		answer got = answer_to(post(kind->form + std::string("&desc=words")), kind->save);
		EXPECT_EQ(got.result, 0);
		EXPECT_FALSE(has_file(DESCRIPTIONS + "a." + kind->word));
	}
}

/* --- ports --- */

TEST(port_display, offers_an_empty_list_and_the_default_icon_on_a_new_page)
{
	fresh_pages router;
	router.store("port", "[a]\nPORT_LIST[0]=80\nICON=other\n");
	const std::string icon = "<input type='hidden' name='icon' value='default'>";
	std::string page = page_of(port_display, nullptr, MODE_NEW);
	EXPECT_EQ(count_of(page, "name='port_list'>\n</select></td>"), 1u);
	EXPECT_EQ(count_of(page, "name='action' value='save'>" + icon + "<table width='100%' "),
		  1u);
	page = page_of(port_display, "a", MODE_EDIT);
	EXPECT_EQ(count_of(page, "name='action' value='update'>" + icon), 1u);
}

TEST(port_display, has_a_cancel_button_that_does_nothing_on_the_edit_page)
{
	fresh_pages router;
	router.store("port", "[a]\nPORT_LIST[0]=80\n");
	std::string page = page_of(port_display, nullptr, MODE_NEW);
	EXPECT_EQ(count_of(page, "onClick=\"history.go(-1)\""), 1u);
	EXPECT_EQ(count_of(page, "histroy"), 0u);
	page = page_of(port_display, "a", MODE_EDIT);
	EXPECT_EQ(count_of(page, "onClick=\"histroy.go(-1)\""), 1u);
	EXPECT_EQ(count_of(page, "history"), 0u);
}

/* --- addresses --- */

static const struct {
	int mode;
	const char *fields;
} ACTION_FIELDS[] = {
	{ MODE_NEW, "save save " },
	{ MODE_EDIT, "update save " },
	{ 1, "save " },
	{ 2, "save " },
	{ -3, "save " },
};

TEST(ip_display, carries_a_save_field_in_every_mode)
{
	fresh_pages router;
	router.store("ip", "[a]\nIP_LIST[0]=10.0.0.1\n");
	const std::string open = "<input type='hidden' name='action' value='";
	for (const auto &row : ACTION_FIELDS) {
		std::string page = page_of(ip_display, "a", row.mode), fields;
		for (size_t at = 0; (at = page.find(open, at)) != std::string::npos;) {
			at += open.size();
			fields += page.substr(at, page.find('\'', at) - at) + " ";
		}
		EXPECT_EQ(fields, row.fields) << row.mode;
		bool has_buttons = row.mode == MODE_NEW || row.mode == MODE_EDIT;
		EXPECT_EQ(count_of(page, "align='center' valign='bottom'>"), has_buttons ? 1u : 0u);
	}
}

TEST(ip_display, has_a_list_of_16_rows_where_the_port_page_has_8)
{
	fresh_pages router;
	const std::string open = "<select multiple size='";
	const std::string style = "' style='width:100%; height:100;' name='";
	std::string page = page_of(ip_display, nullptr, MODE_NEW);
	EXPECT_EQ(count_of(page, open + "16" + style + "ip_list'>\n"), 1u);
	page = page_of(port_display, nullptr, MODE_NEW);
	EXPECT_EQ(count_of(page, open + "8" + style + "port_list'>\n"), 1u);
}

TEST(ip_save, answers_in_the_words_of_the_port_page_when_the_list_is_empty)
{
	fresh_pages router;
	answer got = answer_to(post("id=a&ip=10.0.0.1&sss=/&prefix=24"), ip_save);
	EXPECT_EQ(got.result, 0);
	EXPECT_EQ(alerts_in(got.out), texts({ "ID or Port list is empty." }));
	EXPECT_EQ(read_file(STORES + "ip"), "");
}

TEST(list_display, tells_of_a_missing_id_and_of_an_unreadable_store)
{
	for (const web_kind *kind : LISTS) {
		fresh_pages router;
		EXPECT_EQ(alerts_in(page_of(kind->display, nullptr, MODE_EDIT)),
			  texts({ "No such a ID" }));
		router.break_store(kind->word);
		std::string page = page_of(kind->display, "a", MODE_EDIT);
		EXPECT_EQ(alerts_in(page), texts({ "CFG handle error!!" }));
		EXPECT_EQ(
			count_of(page, "go_update(document." + std::string(kind->word) + "_entry)"),
			1u);
	}
}
