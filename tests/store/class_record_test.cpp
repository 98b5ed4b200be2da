// SPDX-License-Identifier: MIT
/* The record of a class, and that of a priority band, which is the same one. */
#include "../../store/records.h"

#include "../support/router_files.h"

static class_rec loaded(void load(class_rec *rec, char *id), char *id)
{
	class_rec rec = {};
	printed all = printed_by([&] { load(&rec, id); });
	EXPECT_EQ(alerts_in(all.out), texts{});
	EXPECT_EQ(all.err, "");
	return rec;
}

static const struct {
	const char *key;
	char *class_rec::*field;
} FIELDS[] = {
	{ "PARENT_ID", &class_rec::parent_id },
	{ "PRIO", &class_rec::prio },
	{ "RATE", &class_rec::rate },
	{ "RATE_UNIT", &class_rec::rate_unit },
	{ "CEIL", &class_rec::ceil },
	{ "CEIL_UNIT", &class_rec::ceil_unit },
	{ "BURST", &class_rec::burst },
	{ "BURST_UNIT", &class_rec::burst_unit },
	{ "CBURST", &class_rec::cburst },
	{ "CBURST_UNIT", &class_rec::cburst_unit },
	{ "MTU", &class_rec::mtu },
	{ "LEAF", &class_rec::leaf },
	{ "QUANTUM", &class_rec::quantum },
	{ "PERTURB", &class_rec::perturb },
	{ "LIMIT", &class_rec::limit },
};

TEST(get_class_by_id, fills_every_field_from_its_key)
{
	fresh_router router;
	std::string text = "[c]\n";
	for (const auto &row : FIELDS)
		text += std::string(row.key) + "=of " + row.key + "\n";
	router.store("class", text);
	char id[] = "c";
	class_rec rec = loaded(get_class_by_id, id);
	EXPECT_EQ(rec.id, id);
	for (const auto &row : FIELDS)
		EXPECT_STREQ(rec.*row.field, (std::string("of ") + row.key).c_str());
}

TEST(get_class_by_id, leaves_every_other_field_null)
{
	fresh_router router;
	char id[] = "c";
	for (const auto &row : FIELDS) {
		router.store("class", "[c]\n" + std::string(row.key) + "=\n");
		class_rec rec = loaded(get_class_by_id, id);
		for (const auto &other : FIELDS)
			EXPECT_STREQ(rec.*other.field, row.key == other.key ? "" : nullptr)
				<< row.key << ": " << other.key;
	}
}

TEST(get_class_by_id, loads_one_filter_when_the_second_is_missing)
{
	fresh_router router;
	router.store("class", "[c]\nFILTER_ID[0]=a\nFILTER_ID[2]=c\n");
	char id[] = "c";
	class_rec rec = loaded(get_class_by_id, id);
	EXPECT_STREQ(rec.filter_id[0], "a");
	EXPECT_EQ(rec.filter_id[1], nullptr);
}

TEST(get_class_by_id, leaves_a_missing_leaf_null)
{
	fresh_router router;
	router.store("class", "[c]\nRATE=1\n");
	char id[] = "c";
	EXPECT_EQ(loaded(get_class_by_id, id).leaf, nullptr);
}

/* A key that is missing leaves the leaf's fields alone, and makes all others null. */
TEST(get_class_by_id, leaves_the_fields_of_the_leaf_as_the_caller_had_them)
{
	fresh_router router;
	router.store("class", "[c]\n");
	char id[] = "c", before[] = "before";
	class_rec rec = {};
	for (const auto &row : FIELDS)
		rec.*row.field = before;
	printed_by([&] { get_class_by_id(&rec, id); });
	for (const auto &row : FIELDS) {
		bool of_leaf = row.field == &class_rec::leaf || row.field == &class_rec::quantum ||
			       row.field == &class_rec::perturb || row.field == &class_rec::limit;
		EXPECT_EQ(rec.*row.field, of_leaf ? before : nullptr) << row.key;
	}
}

TEST(get_class_by_id, stores_the_digits_of_the_selected_days)
{
	fresh_router router;
	router.store("class", "[c]\nDOW11=1\nDOW51=5\n");
	char id[] = "c";
	class_rec rec = loaded(get_class_by_id, id);
	for (int day = 0; day < 7; day++) {
		for (int slot = 0; slot < 4; slot++) {
			const char *expected = slot != 1 ? nullptr : day == 1 ? "1" :
					       day == 5	 ? "5" : nullptr;
			EXPECT_STREQ(rec.dow[day][slot], expected) << day << " " << slot;
		}
	}
}

TEST(get_class_by_id, writes_all_28_days_by_day_and_slot)
{
	fresh_router router;
	std::string text = "[c]\n";
	for (int day = 0; day < 7; day++) {
		for (int slot = 0; slot < 4; slot++) {
			std::string digits = std::to_string(day) + std::to_string(slot);
			text += "DOW" + digits + "=v" + digits + "\n";
		}
	}
	router.store("class", text + "[bare]\n");
	char id[] = "c", bare[] = "bare";
	class_rec rec = loaded(get_class_by_id, id);
	for (int day = 0; day < 7; day++) {
		for (int slot = 0; slot < 4; slot++)
			EXPECT_STREQ(rec.dow[day][slot],
				     ("v" + std::to_string(day) + std::to_string(slot)).c_str());
	}
	printed_by([&] { get_class_by_id(&rec, bare); });
	for (const auto &day : rec.dow) {
		for (char *value : day)
			EXPECT_EQ(value, nullptr);
	}
}

TEST(get_class_by_id, loads_two_slots_and_a_null)
{
	fresh_router router;
	router.store("class", "[c]\nTIME_RATE[0]=512\nTIME_RATE[1]=256\n");
	char id[] = "c";
	class_rec rec = loaded(get_class_by_id, id);
	EXPECT_STREQ(rec.time_rate[0], "512");
	EXPECT_STREQ(rec.time_rate[1], "256");
	EXPECT_EQ(rec.time_rate[2], nullptr);
}

TEST(get_class_by_id, leaves_the_bands_null)
{
	fresh_router router;
	const char text[] = "[c]\nLOW=1\nMIDDLE=2\nHIGH=3\n";
	router.store("class", text);
	router.store("basic", text);
	char id[] = "c";
	class_rec rec = loaded(get_class_by_id, id);
	EXPECT_EQ(rec.low, nullptr);
	EXPECT_EQ(rec.middle, nullptr);
	EXPECT_EQ(rec.high, nullptr);
}

TEST(get_basic_by_id, fills_the_bands_and_the_filters)
{
	fresh_router router;
	router.store("basic", "[r]\nFILTER_ID[1]=g\nHIGH=h\nMIDDLE=m\nLOW=l\nFILTER_ID[0]=f\n");
	char id[] = "r";
	class_rec rec = loaded(get_basic_by_id, id);
	EXPECT_EQ(rec.id, id);
	EXPECT_STREQ(rec.low, "l");
	EXPECT_STREQ(rec.middle, "m");
	EXPECT_STREQ(rec.high, "h");
	EXPECT_STREQ(rec.filter_id[0], "f");
	EXPECT_STREQ(rec.filter_id[1], "g");
	EXPECT_EQ(rec.filter_id[2], nullptr);
}

TEST(get_basic_by_id, loads_one_filter_when_the_second_is_missing)
{
	fresh_router router;
	router.store("basic", "[r]\nFILTER_ID[0]=f\nFILTER_ID[2]=h\n");
	char id[] = "r";
	class_rec rec = loaded(get_basic_by_id, id);
	EXPECT_STREQ(rec.filter_id[0], "f");
	EXPECT_EQ(rec.filter_id[1], nullptr);
}

TEST(get_basic_by_id, loads_no_filter_when_the_first_is_missing)
{
	fresh_router router;
	router.store("basic", "[r]\nFILTER_ID[1]=g\nFILTER_ID[2]=h\n");
	char id[] = "r";
	EXPECT_EQ(loaded(get_basic_by_id, id).filter_id[0], nullptr);
}

TEST(get_basic_by_id, loads_the_other_bands_of_a_root_without_a_middle)
{
	fresh_router router;
	router.store("basic", "[r]\nLOW=l\nHIGH=h\n");
	char id[] = "r";
	class_rec rec = loaded(get_basic_by_id, id);
	EXPECT_STREQ(rec.low, "l");
	EXPECT_EQ(rec.middle, nullptr);
	EXPECT_STREQ(rec.high, "h");
}

TEST(get_basic_by_id, leaves_all_fields_of_a_class_null)
{
	fresh_router router;
	std::string text = "[r]\nTIME_RATE[0]=1\nDOW00=0\n";
	for (const auto &row : FIELDS)
		text += std::string(row.key) + "=x\n";
	router.store("basic", text);
	router.store("class", text);
	char id[] = "r";
	class_rec rec = loaded(get_basic_by_id, id);
	for (const auto &row : FIELDS)
		EXPECT_EQ(rec.*row.field, nullptr) << row.key;
	EXPECT_EQ(rec.time_rate[0], nullptr);
	EXPECT_EQ(rec.dow[0][0], nullptr);
}

/* Every line is the function's name, a number and a line end that reads well in a page. */
TEST(get_basic_by_id, traces_its_steps)
{
	fresh_router router;
	router.store("basic", "[r]\nLOW=l\n");
	char id[] = "r";
	class_rec rec = {};
	testing::internal::CaptureStdout();
	get_basic_by_id(&rec, id);
	std::string out = testing::internal::GetCapturedStdout();
	EXPECT_EQ(count_lines(out), 10u); // entry, id, read, two a band, filters
	EXPECT_EQ(out.find("get_basic_by_id[line="), 0u);
	EXPECT_EQ(without_traces(out), "");
}
