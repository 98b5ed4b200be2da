// SPDX-License-Identifier: MIT
/* What the pages of all kinds have in common: their frame, the way of a form to its store, and
 * what the user is told. */
#include "../../store/message.h"
#include "../../store/reference.h"
#include "kinds.h"

static const std::string SAVE_FIELD = "<input type='hidden' name='action' value='save'>";
static const std::string UPDATE_FIELD = "<input type='hidden' name='action' value='update'>";
static const std::string OTHERS = "# kept\n[x]\nUSE=use\nodd line\n\n[y]\n";

static std::string form_of(const web_kind &kind)
{
	return std::string(kind.form) + (kind.has_description ? "&desc=words" : "");
}

static file_map files_of(const web_kind &kind)
{
	file_map files;
	for (const char *store : { "policy", "class", "filter", "port", "ip" })
		files[store] = "";
	files[kind.word] = OTHERS;
	return files;
}

static std::string description_of(const web_kind &kind)
{
	return std::string("desc/a.") + kind.word;
}

/* --- qos_msg, is_used_in_db --- */

TEST(qos_msg, prints_the_headers_and_an_alert_in_a_script)
{
	answer got = answer_to(get(""), [] {
		qos_msg(3, "Duplicated ID");
		return 0;
	});
	EXPECT_EQ(got.out, HEADERS + "<script language='javascript'>\n"
				     "alert('Duplicated ID');\n"
				     "\n"
				     "</script>\n");
}

TEST(is_used_in_db, takes_an_equal_bandwidth_for_a_use_of_the_class)
{
	fresh_pages router;
	router.store("class", "[20]\nRATE=1\n");
	router.store("policy", "[LAN1]\nROOT_CLASS=r\nBANDWIDTH=20\n");
	answer got = answer_to_delete(class_delete, "20");
	EXPECT_EQ(alerts_in(got.out), texts({ "This is used in another DB" }));
	EXPECT_EQ(read_file(STORES + "class"), "[20]\nRATE=1\n");
}

TEST(is_used_in_db, finds_nothing_in_a_store_without_objects)
{
	fresh_pages router;
	router.store("policy", "# a\nROOT_CLASS=a\n");
	EXPECT_EQ(is_used_in_db("/etc/conf/qos_config//policy", "a"), 0);
}

/* --- descriptions --- */

TEST(display, shows_the_line_of_a_description_file_as_it_stands)
{
	const std::string whole(99, 'w');
	const file_map lines = {
		{ "words\n", "words\n" }, { "words", "words" }, { "", "" }, { "a\nb\n", "a\n" },
		{ whole, whole }, { whole + "x\n", whole },
	};
	for (const web_kind &kind : WEB_KINDS) {
		if (!kind.has_description)
			continue;
		fresh_pages router;
		router.store(kind.word, kind.section);
		for (const auto &line : lines) {
			write_file(STORES + description_of(kind), line.first);
			std::string page = page_of(kind.display, "a", MODE_EDIT);
			EXPECT_EQ(count_of(page, "rows='2'>" + line.second + "</textarea>"), 1u);
		}
		std::filesystem::remove(STORES + description_of(kind));
		std::string page = page_of(kind.display, "a", MODE_EDIT);
		EXPECT_EQ(count_of(page, "rows='2'></textarea>"), 1u);
		EXPECT_EQ(alerts_in(page), texts());
	}
}

TEST(save, goes_on_without_its_description_and_tells_the_user)
{
	for (const web_kind &kind : WEB_KINDS) {
		if (!kind.has_description)
			continue;
		fresh_pages router;
		std::filesystem::create_directory(STORES + description_of(kind));
		answer got = answer_to(post(form_of(kind)), kind.save);
		EXPECT_EQ(got.result, 1);
		EXPECT_EQ(alerts_in(got.out), texts({ "Can not open description file" }));
		EXPECT_EQ(read_file(STORES + kind.word), kind.section);
	}
}

/* --- display --- */

TEST(display, prints_no_action_and_no_button_in_a_mode_that_is_neither_new_nor_edit)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.store(kind.word, kind.section);
		std::string word = kind.word;
		for (int mode : { 1, 2, 4, -1, 99 }) {
			std::string page = page_of(kind.display, "a", mode);
			bool is_policy = word == "policy", is_ip = word == "ip";
			EXPECT_EQ(count_of(page, UPDATE_FIELD), is_policy ? 1u : 0u) << word;
			EXPECT_EQ(count_of(page, SAVE_FIELD), is_ip ? 1u : 0u) << word;
			EXPECT_EQ(count_of(page, "go_save("), 0u) << word;
			EXPECT_EQ(count_of(page, "go_update("), 0u) << word;
			EXPECT_EQ(count_of(page, "history.go("), 0u) << word;
			EXPECT_EQ(count_of(page, "<form name='" + word + "_entry' method='POST' "
					   "action='main.cgi'>\n"), 1u);
			if (!is_policy) {
				EXPECT_EQ(count_of(page, "name='id' value=''"), 1u) << word;
			}
		}
	}
}

static const struct {
	display_handler display;
	const char *parts; // the fragments, in their order
} FRAMES[] = {
	{ policy_display, "policy_js policy_header policy_center1 policy_center policy_footer" },
	{ class_display, "class_js class_header class_center1 class_center1 class_center1 "
			 "class_center1 class_center class_footer" },
	{ filter_display, "filter_header filter_js filter_center filter_footer" },
	{ port_display, "port_js port_header port_center port_footer" },
	{ ip_display, "ip_js ip_header ip_center ip_footer" },
};

TEST(display, frames_the_form_with_the_fragments_of_its_kind)
{
	fresh_pages router;
	for (const auto &row : FRAMES) {
		for (int mode : { MODE_NEW, 1, MODE_EDIT }) {
			std::string page = page_of(row.display, "a", mode), found;
			for (size_t at = 0; (at = page.find("<!-- ", at)) != std::string::npos;
			     at++)
				found += page.substr(at + 5, page.find(" -->", at) - at - 5) + " ";
			EXPECT_EQ(found, row.parts + std::string(" "));
			EXPECT_EQ(page.rfind("<!-- ", 0), 0u); // first and last in the page
			const std::string end = "_footer -->\n";
			EXPECT_EQ(page.find(end) + end.size(), page.size());
		}
	}
}

TEST(display, goes_without_fragments_that_are_missing)
{
	fresh_pages router;
	for (const web_kind &kind : WEB_KINDS) {
		std::string with = page_of(kind.display, "a", MODE_NEW);
		std::string without;
		for (size_t at = 0; at < with.size();) {
			size_t mark = std::min(with.find("<!-- ", at), with.size());
			without += with.substr(at, mark - at);
			at = mark < with.size() ? with.find(" -->\n", mark) + 5 : mark;
		}
		std::filesystem::rename(HTML, "/usr/local/www/elsewhere");
		EXPECT_EQ(page_of(kind.display, "a", MODE_NEW), without);
		std::filesystem::rename("/usr/local/www/elsewhere", HTML);
	}
}

/* --- save and update --- */

TEST(save, adds_the_object_at_the_end_and_keeps_all_else)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.store(kind.word, OTHERS);
		answer got = answer_to(post(form_of(kind)), kind.save);
		EXPECT_EQ(got.result, 1);
		EXPECT_EQ(got.out + got.err, "");
		file_map expected = files_of(kind);
		expected[kind.word] += kind.section;
		if (kind.has_description)
			expected[description_of(kind)] = "words";
		EXPECT_EQ(router.stores(), expected) << kind.word;
	}
}

TEST(save, refuses_an_id_that_is_taken_and_leaves_every_file)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.store(kind.word, OTHERS + "[a]\r\nRATE=1\r\n# end");
		write_file(STORES + description_of(kind), "old\n");
		file_map before = router.stores();
		answer got = answer_to(post(form_of(kind) + "&filter_id=x"), kind.save);
		EXPECT_EQ(got.result, 0) << kind.word;
		EXPECT_EQ(alerts_in(got.out), texts({ "Duplicated ID" })) << kind.word;
		EXPECT_EQ(router.stores(), before) << kind.word;
	}
}

TEST(update, builds_the_object_anew_at_the_end_of_its_store)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.store(kind.word, "[a]\nRATE=1\n# of a\nQDISC=htb\nBAND[0]=z\n" + OTHERS);
		answer got = answer_to(post(form_of(kind)), kind.update);
		EXPECT_EQ(got.result, 1);
		EXPECT_EQ(read_file(STORES + kind.word), "# of a\n" + OTHERS + kind.section);
	}
}

TEST(update, creates_an_object_whose_id_is_not_known)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.store(kind.word, OTHERS);
		answer got = answer_to(post(form_of(kind)), kind.update);
		EXPECT_EQ(got.result, 1);
		EXPECT_EQ(alerts_in(got.out), texts());
		EXPECT_EQ(read_file(STORES + kind.word), OTHERS + kind.section);
	}
}

/* Drops each field of the form in turn: its key goes, and no other. */
TEST(update, removes_the_key_of_a_field_that_was_not_posted)
{
	static const struct {
		int kind;
		const char *field, *key;
	} FIELDS[] = {
		{ 0, "root_class", "ROOT_CLASS" }, { 0, "r2q", "R2Q" },
		{ 0, "bandwidth_unit", "BANDWIDTH_UNIT" },
		{ 1, "parent_id", "PARENT_ID" }, { 1, "mtu", "MTU" }, { 1, "leaf", "LEAF" },
		{ 1, "limit", "LIMIT" }, { 1, "cburst_unit", "CBURST_UNIT" },
		{ 2, "trans_proto", "TRANS_PROTO" }, { 2, "tos", "TOS" }, { 2, "nat", "NAT" },
		{ 2, "ext_port_id", "EXT_PORT_ID" },
	};
	for (const auto &row : FIELDS) {
		const web_kind &kind = WEB_KINDS[row.kind];
		fresh_pages router;
		router.store(kind.word, kind.section);
		std::string form = kind.form, section = kind.section;
		size_t at = form.find(std::string("&") + row.field + "=");
		form.erase(at, form.find('&', at + 1) - at);
		size_t line = section.find(std::string("\n") + row.key + "=");
		section.erase(line, section.find('\n', line + 1) - line);
		EXPECT_EQ(answer_to(post(form), kind.update).result, 1);
		EXPECT_EQ(read_file(STORES + kind.word), section) << row.field;
	}
}

TEST(save, stores_an_empty_field_as_an_empty_value)
{
	fresh_pages router;
	answer_to(post("id=a&root_class=&r2q="), policy_save);
	EXPECT_EQ(read_file(STORES + "policy"), "[a]\nROOT_CLASS=\nR2Q=\n");
	answer_to(post("id=a&parent_id=&rate="), class_save);
	EXPECT_EQ(read_file(STORES + "class"), "[a]\nPARENT_ID=\nRATE=\n");
}

TEST(save, needs_an_id)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.store(kind.word, OTHERS);
		std::string form = std::string(kind.form).substr(5) + "&desc=words";
		for (auto handler : { kind.save, kind.update }) {
			answer got = answer_to(post(form), handler);
			EXPECT_EQ(got.result, 0) << kind.word;
			EXPECT_EQ(alerts_in(got.out), texts({ kind.no_id })) << kind.word;
			EXPECT_EQ(router.stores(), files_of(kind)) << kind.word;
		}
	}
}

TEST(save, tells_of_a_store_that_cannot_be_read)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.break_store(kind.word);
		file_map before = router.stores();
		for (auto handler : { kind.save, kind.update }) {
			answer got = answer_to(post(form_of(kind)), handler);
			EXPECT_EQ(got.result, 0);
			texts alerts = alerts_in(got.out);
			ASSERT_FALSE(alerts.empty());
			EXPECT_EQ(alerts.back(), "CFG handler error!!") << kind.word;
			EXPECT_EQ(router.stores(), before) << kind.word;
		}
	}
}

/* --- delete --- */

TEST(delete_handler, removes_the_object_and_leaves_its_description)
{
	for (const web_kind &kind : WEB_KINDS) {
		if (!kind.referring)
			continue;
		fresh_pages router;
		router.store(kind.word, kind.section + OTHERS);
		write_file(STORES + description_of(kind), "words");
		answer got = answer_to_delete(kind.remove, "a");
		EXPECT_EQ(got.result, 1);
		EXPECT_EQ(got.out + got.err, "");
		file_map expected = files_of(kind);
		expected[description_of(kind)] = "words";
		EXPECT_EQ(router.stores(), expected) << kind.word;
	}
}

TEST(delete_handler, refuses_an_object_that_another_store_names)
{
	for (const web_kind &kind : WEB_KINDS) {
		if (!kind.referring)
			continue;
		fresh_pages router;
		router.store(kind.word, kind.section);
		router.store(kind.referring, kind.reference);
		file_map before = router.stores();
		answer got = answer_to_delete(kind.remove, "a");
		EXPECT_EQ(got.result, 1) << kind.word;
		EXPECT_EQ(alerts_in(got.out), texts({ "This is used in another DB" })) << kind.word;
		EXPECT_EQ(router.stores(), before) << kind.word;
	}
}

TEST(delete_handler, goes_on_without_an_id_and_asks_for_references_to_none)
{
	for (const web_kind &kind : WEB_KINDS) {
		if (!kind.referring)
			continue;
		fresh_pages router;
		router.store(kind.word, OTHERS);
		router.store(kind.referring, kind.reference);
		file_map before = router.stores();
		answer got = answer_to_delete(kind.remove, nullptr);
		EXPECT_EQ(got.result, 1) << kind.word;
		EXPECT_EQ(alerts_in(got.out), texts({ "No such a ID" })) << kind.word;
		EXPECT_EQ(router.stores(), before) << kind.word;

		router.break_store(kind.referring); // the check is made: it finds this out
		got = answer_to_delete(kind.remove, nullptr);
		EXPECT_EQ(alerts_in(got.out), texts({ "No such a ID", "CFG handle error!!" }));

		router.break_store(kind.word);
		got = answer_to_delete(kind.remove, nullptr);
		EXPECT_EQ(got.result, 0) << kind.word;
		EXPECT_EQ(alerts_in(got.out), texts({ "No such a ID", "CFG handle error!!" }));
	}
}

TEST(delete_handler, deletes_what_a_store_that_cannot_be_read_may_name)
{
	for (const web_kind &kind : WEB_KINDS) {
		if (!kind.referring)
			continue;
		fresh_pages router;
		router.store(kind.word, kind.section);
		router.break_store(kind.referring);
		answer got = answer_to_delete(kind.remove, "a");
		EXPECT_EQ(got.result, 1);
		EXPECT_EQ(alerts_in(got.out), texts({ "CFG handle error!!" }));
		EXPECT_EQ(read_file(STORES + kind.word), "");
	}
}

TEST(delete_handler, tells_of_a_store_that_cannot_be_read)
{
	for (const web_kind &kind : WEB_KINDS) {
		if (!kind.referring)
			continue;
		fresh_pages router;
		router.break_store(kind.word);
		answer got = answer_to_delete(kind.remove, "a");
		EXPECT_EQ(got.result, 0);
		EXPECT_EQ(alerts_in(got.out), texts({ "CFG handle error!!" }));
	}
}

TEST(delete_handler, leaves_all_objects_when_the_id_is_not_known)
{
	for (const web_kind &kind : WEB_KINDS) {
		fresh_pages router;
		router.store(kind.word, OTHERS);
		answer got = answer_to_delete(kind.remove, "a");
		EXPECT_EQ(got.result, 1);
		EXPECT_EQ(alerts_in(got.out), texts());
		EXPECT_EQ(router.stores(), files_of(kind));
	}
}
