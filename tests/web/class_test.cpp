// SPDX-License-Identifier: MIT
/* The class page. */
#include "../../web/web.h"
#include "../support/request.h"

static const texts HOURS = { "00", "01", "02", "03", "04", "05", "06", "07",
			     "08", "09", "10", "11", "12", "13", "14", "15",
			     "16", "17", "18", "19", "20", "21", "22", "23" };

static std::string page_of_class(const std::string &section)
{
	write_file(STORES + "class", "[a]\n" + section);
	return page_of(class_display, "a", MODE_EDIT);
}

static std::string leaf_script(const std::string &call)
{
	return "<script language='javascript'><!--\n \t\t\t\t" + call +
	       "\n  \t\t\t\t//--></script>\n";
}

TEST(class_display, offers_a_new_class_its_defaults)
{
	fresh_pages router;
	router.store("class", "[a]\nPRIO=3\nMTU=9\nTIME_ENABLE[0]=enable\n");
	std::string page = page_of(class_display, nullptr, MODE_NEW);
	EXPECT_EQ(count_of(page, "name='mtu' value='1500'>"), 1u);
	EXPECT_EQ(options_in(page, "prio"),
		  texts({ "1", "2", "3", "4", "5", "6", "7", "8", "9" }));
	EXPECT_EQ(options_in(page, "leaf"), texts({ "none*", "sfq", "pfifo", "bfifo" }));
	EXPECT_EQ(count_of(page, leaf_script("display_none();")), 1u);
	for (int slot = 0; slot < 3; slot++) {
		EXPECT_EQ(options_in(page, "start_hour", slot), HOURS);
		EXPECT_EQ(options_in(page, "end_hour", slot), HOURS);
	}
	EXPECT_EQ(count_of(page, "type='checkbox'"), 24u);
	EXPECT_EQ(count_of(page, "checked"), 0u);
	EXPECT_EQ(alerts_in(page), texts());
}

TEST(class_display, offers_1500_only_where_there_is_no_mtu)
{
	fresh_pages router;
	EXPECT_EQ(count_of(page_of_class("RATE=1\n"), "name='mtu' value='1500'>"), 1u);
	EXPECT_EQ(count_of(page_of_class("MTU=\n"), "name='mtu' value=''>"), 1u);
	EXPECT_EQ(count_of(page_of_class("MTU=68\n"), "name='mtu' value='68'>"), 1u);
}

TEST(class_display, lists_the_filters_that_are_free)
{
	fresh_pages router;
	router.store("filter", "[taken]\nUSE=use\n[back]\nUSE=unuse\n[never]\nPRIO=1\n"
			       "[empty]\nUSE=\n[odd]\nUSE=UNUSE\n[own]\nUSE=use\n");
	std::string page = page_of_class("FILTER_ID[0]=own\nFILTER_ID[1]=gone\nFILTER_ID[3]=gap\n");
	EXPECT_EQ(options_in(page, "filter_id"), texts({ "own", "gone" }));
	EXPECT_EQ(options_in(page, "unuse_filter_id"), texts({ "back", "never" }));
	page = page_of(class_display, nullptr, MODE_NEW);
	EXPECT_EQ(options_in(page, "filter_id"), texts());
	EXPECT_EQ(options_in(page, "unuse_filter_id"), texts({ "back", "never" }));
}

TEST(class_display, lists_no_free_filter_when_their_store_cannot_be_read)
{
	fresh_pages router;
	router.break_store("filter");
	std::string page = page_of_class("FILTER_ID[0]=own\n");
	EXPECT_EQ(options_in(page, "filter_id"), texts({ "own" }));
	EXPECT_EQ(count_of(page,
			   "name='unuse_filter_id'>\n </select> </td><td></td> </tr></table> \n"),
		  1u);
	EXPECT_EQ(alerts_in(page), texts());
}

TEST(class_display, shows_every_filter_that_the_record_holds)
{
	fresh_pages router;
	for (int count : { 1, 63, 64, 65, 127 }) {
		std::string section;
		for (int n = 0; n < count; n++)
			section +=
				"FILTER_ID[" + std::to_string(n) + "]=f" + std::to_string(n) + "\n";
		texts shown = options_in(page_of_class(section), "filter_id");
		ASSERT_EQ(shown.size(), static_cast<size_t>(count));
		EXPECT_EQ(shown.back(), "f" + std::to_string(count - 1));
	}
}

static const struct {
	const char *stored, *shown;
} STORED_HOURS[] = {
	{ "00", "00" }, { "07", "07" }, { "7", "07" }, { "007", "07" }, { "23", "23" },
	{ "24", nullptr }, { "-1", nullptr }, { "noon", "00" }, { "", "00" }, { "7pm", "07" },
};

TEST(class_display, selects_the_hour_of_a_decimal_value)
{
	fresh_pages router;
	for (const auto &row : STORED_HOURS) {
		std::string stored = row.stored;
		std::string page = page_of_class("START_HOUR[0]=" + stored + "\nEND_HOUR[0]=1\n" +
						 "END_HOUR[1]=" + stored + "\n");
		texts shown = row.shown ? texts({ row.shown }) : texts();
		EXPECT_EQ(selected_in(page, "start_hour", 0), shown) << stored;
		EXPECT_EQ(selected_in(page, "start_hour", 1), texts());
		EXPECT_EQ(selected_in(page, "end_hour", 0), texts({ "01" }));
		EXPECT_EQ(selected_in(page, "end_hour", 1), shown) << stored;
	}
}

TEST(class_display, shows_the_first_three_of_four_schedule_slots)
{
	fresh_pages router;
	std::string section;
	for (int n = 0; n < 4; n++) {
		std::string slot = "[" + std::to_string(n) + "]=";
		section += "TIME_ENABLE" + slot + "enable\nSTART_HOUR" + slot + "0" +
			   std::to_string(n) + "\nTIME_RATE" + slot + "70" + std::to_string(n) +
			   "\n";
	}
	write_file(STORES + "class", "[a]\n" + section);
	answer got = answer_to(get(""), [] {
		char id[] = "a";
		return class_display(id, MODE_EDIT);
	});
	EXPECT_EQ(count_of(got.out, "<b>Scheduling Parameter "), 3u);
	for (const char *title : { "<b>Scheduling Parameter 1</b>", "<b>Scheduling Parameter 2</b>",
				   "<b>Scheduling Parameter 3</b>" })
		EXPECT_EQ(count_of(got.out, title), 1u);
	EXPECT_EQ(count_of(got.out, "name='time_enable' value='enable' checked>"), 3u);
	EXPECT_EQ(count_of(got.out, "name='time_rate' value='702' size=5>"), 1u);
	EXPECT_EQ(count_of(got.out, "703"), 0u);
	EXPECT_EQ(selected_in(got.out, "start_hour", 2), texts({ "02" }));
}

TEST(class_display, checks_a_day_of_a_slot_whatever_its_value)
{
	fresh_pages router;
	std::string page = page_of_class("DOW00=0\nDOW61=x\nDOW32=\nDOW13=1\n");
	for (int slot = 0; slot < 3; slot++) {
		std::string table = text_from(page, "<b>Scheduling Parameter ", slot);
		table = table.substr(0, table.find("</table>"));
		const char *checked[] = { "name='dow[0]' value='0' checked>&nbsp;Sun",
					  "name='dow[6]' value='6' checked>&nbsp;Sat",
					  "name='dow[3]' value='3' checked>&nbsp;Wed" };
		EXPECT_EQ(count_of(table, "checked"), 1u) << slot;
		EXPECT_EQ(count_of(table, checked[slot]), 1u) << slot;
	}
}

static const struct {
	const char *section, *selected, *script;
} LEAVES[] = {
	{ "", "none", "display_none();" },
	{ "LEAF=none\n", "none", "display_none();" },
	{ "LEAF=sfq\n", "sfq", "display_sfq(\"\", \"\");" },
	{ "LEAF=sfq\nQUANTUM=1514\nPERTURB=10\nLIMIT=9\n", "sfq",
	  "display_sfq(\"1514\", \"10\");" },
	{ "LEAF=pfifo\nQUANTUM=1514\nLIMIT=30\n", "pfifo", "display_pfifo(\"30\");" },
	{ "LEAF=pfifo\n", "pfifo", "display_pfifo(\"\");" },
	{ "LEAF=bfifo\nLIMIT=60000\n", "bfifo", "display_bfifo(\"60000\");" },
	{ "LEAF=red\nLIMIT=1\n", nullptr, "display_none();" },
	{ "LEAF=SFQ\n", nullptr, "display_none();" },
	{ "LEAF=\n", nullptr, "display_none();" },
};

TEST(class_display, selects_the_leaf_and_calls_the_script_of_its_parameters)
{
	fresh_pages router;
	for (const auto &row : LEAVES) {
		std::string page = page_of_class(row.section);
		EXPECT_EQ(selected_in(page, "leaf"),
			  row.selected ? texts({ row.selected }) : texts())
			<< row.section;
		EXPECT_EQ(count_of(page, leaf_script(row.script) + "</table>\n"), 1u)
			<< row.section;
		EXPECT_EQ(count_of(page, "<script"), 1u) << row.section;
	}
}

static const struct {
	const char *key, *select;
	bool is_burst;
} UNITS[] = {
	{ "RATE_UNIT", "rate_unit", false }, { "CEIL_UNIT", "ceil_unit", false },
	{ "BURST_UNIT", "burst_unit", true }, { "CBURST_UNIT", "cburst_unit", true },
	{ "TIME_RATE_UNIT[0]", "time_rate_unit", false },
	{ "TIME_CEIL_UNIT[0]", "time_ceil_unit", false },
	{ "TIME_BURST_UNIT[0]", "time_burst_unit", true },
	{ "TIME_CBURST_UNIT[0]", "time_cburst_unit", true },
};

TEST(class_display, selects_a_unit_on_exact_equality)
{
	fresh_pages router;
	for (const auto &row : UNITS) {
		const texts units = row.is_burst ? texts({ "B", "KB", "MB" })
						 : texts({ "bps", "Kbps", "Mbps" });
		for (const char *stored :
		     { "bps", "Kbps", "Mbps", "B", "KB", "MB", "b", "mbps", "" }) {
			std::string page =
				page_of_class(std::string(row.key) + "=" + stored + "\n");
			texts expected = units;
			for (std::string &unit : expected)
				unit += unit == stored ? "*" : "";
			EXPECT_EQ(options_in(page, row.select), expected) << row.key << stored;
		}
	}
}

TEST(class_display, selects_a_priority_of_exactly_one_digit)
{
	fresh_pages router;
	for (const char *stored : { "0", "10", "01", "", "x", " 1" })
		EXPECT_EQ(selected_in(page_of_class("PRIO=" + std::string(stored) + "\n"), "prio"),
			  texts()) << stored;
	for (char digit = '1'; digit <= '9'; digit++)
		EXPECT_EQ(
			selected_in(page_of_class("PRIO=" + std::string(1, digit) + "\n"), "prio"),
			texts({ std::string(1, digit) }));
}

TEST(class_display, tells_of_a_missing_id_and_of_an_unreadable_store)
{
	fresh_pages router;
	std::string page = page_of(class_display, nullptr, MODE_EDIT);
	EXPECT_EQ(alerts_in(page), texts({ "No such a ID" }));
	EXPECT_EQ(count_of(page, "go_update(document.class_entry)"), 1u);
	router.break_store("class");
	page = page_of(class_display, "a", MODE_EDIT);
	EXPECT_EQ(alerts_in(page), texts({ "CFG handle error!!" }));
	EXPECT_EQ(count_of(page, "name='id' value='a'>"), 1u);
}
