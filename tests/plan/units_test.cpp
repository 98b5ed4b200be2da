// SPDX-License-Identifier: MIT
/* Numbers with units, as lines of scripts have them. */
#include "../../plan/parts.h"

#include "script_folder.h"

typedef bool reader(uint64_t *, const char *, size_t);

struct reading {
	const char *text;
	uint64_t value;
	bool is_good;
};

static void expect_readings(reader *read, const std::vector<reading> &rows)
{
	for (const reading &row : rows) {
		SCOPED_TRACE(row.text);
		uint64_t value = 4711;
		ASSERT_EQ(read(&value, row.text, strlen(row.text)), row.is_good);
		EXPECT_TRUE(!row.is_good || value == row.value) << value;
	}
}

TEST(read_number, takes_digits_alone)
{
	expect_readings(read_number, { { "0", 0, true },
				       { "007", 7, true },
				       { "4294967296", 4294967296u, true },
				       { "18446744073709551615", UINT64_MAX, true },
				       { "18446744073709551616", UINT64_MAX, true },
				       { "184467440737095516150", UINT64_MAX, true },
				       { "99999999999999999999999999999999999999", UINT64_MAX, true },
				       { "", 0, false },
				       { "-1", 0, false },
				       { "+1", 0, false },
				       { " 1", 0, false },
				       { "1 ", 0, false },
				       { "0x10", 0, false },
				       { "1.5", 0, false },
				       { "1e3", 0, false } });
}

TEST(read_number, looks_at_no_more_than_the_length)
{
	uint64_t value;
	ASSERT_TRUE(read_number(&value, "12345", 3));
	EXPECT_EQ(value, 123u);
	EXPECT_FALSE(read_number(&value, "12345", 0));
}

TEST(read_rate, takes_bits_and_thousands_of_them)
{
	expect_readings(read_rate, { { "1bps", 1, true },
				     { "512Kbps", 512000, true },
				     { "19Mbps", 19000000, true },
				     { "0Mbps", 0, true },
				     { "18446744073709Mbps", 18446744073709000000u, true },
				     { "18446744073710Mbps", UINT64_MAX, true },
				     { "19", 0, false },
				     { "Mbps", 0, false },
				     { "", 0, false },
				     { "19 Mbps", 0, false },
				     { "19Mbps ", 0, false },
				     { "19mbps", 0, false },
				     { "19Mbit", 0, false },
				     { "19KB", 0, false },
				     { "19Gbps", 0, false },
				     { "19M", 0, false } });
}

TEST(read_size, takes_bytes_and_powers_of_two)
{
	expect_readings(read_size, { { "1B", 1, true },
				     { "6KB", 6144, true },
				     { "2MB", 2097152, true },
				     { "17592186044415MB", 18446744073708503040u, true },
				     { "17592186044416MB", UINT64_MAX, true },
				     { "10", 0, false },
				     { "KB", 0, false },
				     { "6kb", 0, false },
				     { "6b", 0, false },
				     { "6K", 0, false },
				     { "6Kbps", 0, false } });
}

TEST(compare_handles, goes_by_numbers_and_depth)
{
	const char *const ORDER[] = { "1", "2", "2:10", "2:10:30", "2:20", "2:100", "2:1000",
				      "2:1000:10", "3", "10", "1000" };
	const int count = sizeof(ORDER) / sizeof(ORDER[0]);
	for (int i = 0; i < count; i++) {
		for (int j = 0; j < count; j++) {
			int order = compare_handles(ORDER[i], ORDER[j]);
			EXPECT_EQ((order > 0) - (order < 0), (i > j) - (i < j))
				<< ORDER[i] << " " << ORDER[j];
		}
	}
}

TEST(make_excerpt, fits_and_shows_what_prints)
{
	char excerpt[EXCERPT_SIZE];
	make_excerpt(excerpt, "RATE=\x1b[2J\t\xff");
	EXPECT_STREQ(excerpt, "RATE=?[2J??");
	for (size_t length : { EXCERPT_SIZE - 1, EXCERPT_SIZE, size_t(100000) }) {
		make_excerpt(excerpt, std::string(length, 'x').c_str());
		EXPECT_EQ(strlen(excerpt), EXCERPT_SIZE - 1);
		EXPECT_EQ(excerpt[EXCERPT_SIZE - 2], length < EXCERPT_SIZE ? 'x' : '.');
	}
}

/* Hours as masks of days. */
static week_hours hours_of(std::initializer_list<uint32_t> days)
{
	week_hours hours = {};
	int i = 0;
	for (uint32_t day : days)
		hours.days[i++] = day;
	return hours;
}

TEST(format_hours, joins_hours_and_days)
{
	const uint32_t night = 0x3e, office = 0x3ff00, day = 0xffffff;
	const struct {
		week_hours hours;
		const char *words;
	} ROWS[] = {
		{ hours_of({}), "" },
		{ hours_of({ night, night, night, night, night, night, night }), "every day 1 to 6" },
		{ hours_of({ day, day, day, day, day, day, day }), "at all hours" },
		{ hours_of({ 0, office, office, office, office, office, 0 }),
		  "Monday to Friday 8 to 18" },
		{ hours_of({ day, 0, 0, 0, 0, 0, office | night }),
		  "Sunday 0 to 24, Saturday 1 to 6 and 8 to 18" },
		{ hours_of({ 1u << 23, 3 }), "Sunday 23 to 24, Monday 0 to 2" },
	};
	for (const auto &row : ROWS) {
		char words[HOURS_SIZE];
		format_hours(words, &row.hours);
		EXPECT_STREQ(words, row.words);
	}
}

TEST(format_hours, says_that_there_are_more)
{
	week_hours hours = {};
	for (int i = 0; i < WEEK_DAYS; i++)
		hours.days[i] = 0x555555u << (i % 2);
	char words[HOURS_SIZE];
	format_hours(words, &hours);
	EXPECT_LT(strlen(words), HOURS_SIZE);
	EXPECT_NE(strstr(words, "Sunday 0 to 1 and 2 to 3"), nullptr);
	EXPECT_STREQ(words + strlen(words) - strlen(" and more"), " and more");
}

TEST(get_slot_hours, goes_past_midnight)
{
	slot one = {};
	one.days = 1u << 6;
	one.from = 22;
	one.to = 2;
	week_hours hours = get_slot_hours(&one);
	EXPECT_EQ(hours.days[6], 0xc00000u);
	EXPECT_EQ(hours.days[0], 0x3u);
	one.to = 22;
	EXPECT_EQ(get_slot_hours(&one).days[6], 0xffffffu);
	one.days = 0;
	hours = get_slot_hours(&one);
	EXPECT_TRUE(is_empty(&hours));
}
