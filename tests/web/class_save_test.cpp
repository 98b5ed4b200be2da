// SPDX-License-Identifier: MIT
/* How classes are stored, with the marks of their filters and their schedules. */
#include "../../web/web.h"
#include "../support/request.h"

static std::string stored_class()
{
	return read_file(STORES + "class");
}

static void expect_saved(const std::string &form)
{
	answer got = answer_to(post(form), class_save);
	EXPECT_EQ(got.result, 1) << form;
	EXPECT_EQ(got.out + got.err, "");
}

TEST(class_save, stores_the_filters_in_the_posted_order_and_marks_them)
{
	fresh_pages router;
	router.store("filter", "# all\n[f1]\nPRIO=1\nUSE=unuse\nTOS=\n[f2]\n[f3]\nUSE=use\n"
			       "[f4]\nUSE=unuse\n");
	expect_saved("id=a&filter_id=f3&filter_id=f1&filter_id=f2&leaf=none");
	EXPECT_EQ(stored_class(), "[a]\nLEAF=none\nFILTER_ID[0]=f3\nFILTER_ID[1]=f1\n"
				  "FILTER_ID[2]=f2\n");
	EXPECT_EQ(read_file(STORES + "filter"),
		  "# all\n[f1]\nPRIO=1\nTOS=\nUSE=use\n[f2]\nUSE=use\n"
		  "[f3]\nUSE=use\n[f4]\nUSE=unuse\n");
}

TEST(class_save, marks_a_filter_unuse_that_no_class_had)
{
	fresh_pages router;
	router.store("filter", "[f1]\nUSE=use\n[f2]\nPRIO=1\n[f3]\nUSE=odd\n");
	expect_saved("id=a&unuse_filter_id=f1&unuse_filter_id=f2");
	EXPECT_EQ(stored_class(), "[a]\n");
	EXPECT_EQ(read_file(STORES + "filter"),
		  "[f1]\nUSE=unuse\n[f2]\nPRIO=1\nUSE=unuse\n[f3]\nUSE=odd\n");
}

TEST(class_save, stores_a_filter_that_does_not_exist_but_makes_none)
{
	fresh_pages router;
	router.store("filter", "[f1]\n");
	expect_saved("id=a&filter_id=gone&filter_id=f1&unuse_filter_id=gone2");
	EXPECT_EQ(stored_class(), "[a]\nFILTER_ID[0]=gone\nFILTER_ID[1]=f1\n");
	EXPECT_EQ(read_file(STORES + "filter"), "[f1]\nUSE=use\n");
}

TEST(class_save, hands_a_filter_back_that_stands_in_both_lists)
{
	fresh_pages router;
	router.store("filter", "[f1]\n");
	expect_saved("id=a&filter_id=f1&unuse_filter_id=f1");
	EXPECT_EQ(stored_class(), "[a]\nFILTER_ID[0]=f1\n");
	EXPECT_EQ(read_file(STORES + "filter"), "[f1]\nUSE=unuse\n");
}

TEST(class_save, stores_the_first_64_filters)
{
	for (int posted : { 63, 64, 65, 130 }) {
		fresh_pages router;
		std::string form = "id=a", filters, section = "[a]\n", marked;
		for (int n = 0; n < posted; n++) {
			std::string id = "f" + std::to_string(n);
			form += "&filter_id=" + id;
			filters += "[" + id + "]\n";
			marked += "[" + id + "]\n" + (n < 64 ? "USE=use\n" : "");
			if (n < 64)
				section += "FILTER_ID[" + std::to_string(n) + "]=" + id + "\n";
		}
		router.store("filter", filters);
		expect_saved(form);
		EXPECT_EQ(stored_class(), section) << posted;
		EXPECT_EQ(read_file(STORES + "filter"), marked) << posted;
	}
}

/* What the three tables of the page post, but for their boxes. */
static const std::string TABLES =
	"&start_hour=01&end_hour=02&time_rate=11&time_rate_unit=bps&time_ceil=12"
	"&time_ceil_unit=Kbps&time_burst=13&time_burst_unit=B&time_cburst=14&time_cburst_unit=KB"
	"&start_hour=03&end_hour=04&time_rate=21&time_rate_unit=Kbps&time_ceil=22"
	"&time_ceil_unit=Mbps&time_burst=23&time_burst_unit=KB&time_cburst=24&time_cburst_unit=MB"
	"&start_hour=05&end_hour=06&time_rate=31&time_rate_unit=Mbps&time_ceil=32"
	"&time_ceil_unit=bps&time_burst=33&time_burst_unit=MB&time_cburst=34&time_cburst_unit=B";

TEST(class_save, stores_no_schedule_key_when_no_box_is_checked)
{
	fresh_pages router;
	expect_saved("id=a&dow[0]=0&dow[3]=3" + TABLES);
	EXPECT_EQ(stored_class(), "[a]\n");
}

TEST(class_save, stores_as_many_slots_and_days_as_boxes_are_checked)
{
	fresh_pages router;
	expect_saved("id=a&time_enable=enable&time_enable=enable&dow[0]=0&dow[3]=3&dow[3]=3"
		     "&dow[3]=3&dow[6]=6&dow[6]=6" + TABLES);
	EXPECT_EQ(
		stored_class(),
		"[a]\nTIME_ENABLE[0]=enable\nTIME_ENABLE[1]=enable\n"
		"START_HOUR[0]=01\nSTART_HOUR[1]=03\nEND_HOUR[0]=02\nEND_HOUR[1]=04\n"
		"TIME_RATE[0]=11\nTIME_RATE[1]=21\nTIME_RATE_UNIT[0]=bps\nTIME_RATE_UNIT[1]=Kbps\n"
		"TIME_BURST[0]=13\nTIME_BURST[1]=23\nTIME_BURST_UNIT[0]=B\n"
		"TIME_BURST_UNIT[1]=KB\nTIME_CEIL[0]=12\nTIME_CEIL[1]=22\n"
		"TIME_CEIL_UNIT[0]=Kbps\nTIME_CEIL_UNIT[1]=Mbps\nTIME_CBURST[0]=14\n"
		"TIME_CBURST[1]=24\nTIME_CBURST_UNIT[0]=KB\nTIME_CBURST_UNIT[1]=MB\n"
		"DOW00=0\nDOW30=3\nDOW60=6\nDOW31=3\nDOW61=6\n");
}

TEST(class_save, ends_a_list_at_its_own_first_gap)
{
	fresh_pages router;
	expect_saved("id=a&time_enable=enable&time_enable=enable&time_rate=5"
		     "&start_hour=01&start_hour=02&end_hour=&end_hour=");
	EXPECT_EQ(stored_class(), "[a]\nTIME_ENABLE[0]=enable\nTIME_ENABLE[1]=enable\n"
				  "START_HOUR[0]=01\nSTART_HOUR[1]=02\nEND_HOUR[0]=\nEND_HOUR[1]=\n"
				  "TIME_RATE[0]=5\n");
}

TEST(class_save, stores_four_slots_at_most)
{
	fresh_pages router;
	std::string form = "id=a", section = "[a]\n", hours, days;
	for (int n = 0; n < 6; n++) {
		std::string digit = std::to_string(n);
		form += "&time_enable=enable&dow[2]=2&end_hour=0" + digit;
		if (n < 4) {
			section += "TIME_ENABLE[" + digit + "]=enable\n";
			hours += "END_HOUR[" + digit + "]=0" + digit + "\n";
			days += "DOW2" + digit + "=2\n";
		}
	}
	expect_saved(form);
	EXPECT_EQ(stored_class(), section + hours + days);
}

TEST(class_save, stores_each_day_by_its_digit_and_then_the_slot)
{
	fresh_pages router;
	expect_saved("id=a&time_enable=enable&dow[0]=0&dow[1]=1&dow[2]=2&dow[3]=3&dow[4]=4"
		     "&dow[5]=5&dow[6]=6");
	EXPECT_EQ(stored_class(), "[a]\nTIME_ENABLE[0]=enable\nDOW00=0\nDOW10=1\nDOW20=2\nDOW30=3\n"
				  "DOW40=4\nDOW50=5\nDOW60=6\n");
}

TEST(class_update, drops_filters_and_slots_that_the_form_no_longer_holds)
{
	fresh_pages router;
	router.store("filter", "[f1]\nUSE=use\n[f2]\nUSE=use\n");
	router.store("class", "[a]\nRATE=1\nLEAF=sfq\nFILTER_ID[0]=f1\nFILTER_ID[1]=f2\n"
			      "TIME_ENABLE[0]=enable\nDOW00=0\nLOW=x\n[b]\nRATE=2\n");
	answer got = answer_to(post("id=a&rate=3&filter_id=f2&unuse_filter_id=f1" + TABLES),
			       class_update);
	EXPECT_EQ(got.result, 1);
	EXPECT_EQ(stored_class(), "[b]\nRATE=2\n[a]\nRATE=3\nFILTER_ID[0]=f2\n");
	EXPECT_EQ(read_file(STORES + "filter"), "[f1]\nUSE=unuse\n[f2]\nUSE=use\n");
}

TEST(class_save, changes_neither_store_when_one_cannot_be_read)
{
	for (const char *broken : { "class", "filter" }) {
		fresh_pages router;
		router.store("filter", "[f1]\n");
		router.break_store(broken);
		file_map before = router.stores();
		for (auto handler : { class_save, class_update }) {
			answer got = answer_to(post("id=a&filter_id=f1"), handler);
			EXPECT_EQ(got.result, 0);
			EXPECT_EQ(alerts_in(got.out), texts({ "CFG handler error!!" })) << broken;
			EXPECT_EQ(router.stores(), before);
		}
	}
}

TEST(class_save, changes_no_mark_when_the_id_is_taken)
{
	fresh_pages router;
	router.store("class", "[a]\n");
	router.store("filter", "[f1]\nUSE=unuse\n");
	answer got = answer_to(post("id=a&filter_id=f1"), class_save);
	EXPECT_EQ(got.result, 0);
	EXPECT_EQ(read_file(STORES + "filter"), "[f1]\nUSE=unuse\n");
}

TEST(class_delete, refuses_the_default_class_of_a_policy_but_not_a_parent)
{
	fresh_pages router;
	const std::string classes = "[root]\n[rest]\nPARENT_ID=root\nFILTER_ID[0]=f1\n";
	router.store("class", classes);
	router.store("filter", "[f1]\nUSE=use\n");
	router.store("policy", "[LAN1]\nDEFAULT_CLASS=rest\n");
	answer got = answer_to_delete(class_delete, "rest");
	EXPECT_EQ(got.result, 1);
	EXPECT_EQ(alerts_in(got.out), texts({ "This is used in another DB" }));
	EXPECT_EQ(stored_class(), classes);

	got = answer_to_delete(class_delete, "root");
	EXPECT_EQ(got.result, 1);
	EXPECT_EQ(alerts_in(got.out), texts());
	EXPECT_EQ(stored_class(), "[rest]\nPARENT_ID=root\nFILTER_ID[0]=f1\n");

	router.store("policy", "");
	answer_to_delete(class_delete, "rest");
	EXPECT_EQ(stored_class(), "");
	EXPECT_EQ(read_file(STORES + "filter"), "[f1]\nUSE=use\n");
}
