// SPDX-License-Identifier: MIT
/* Curves of samples. */
#include "../../cgi/curve.h"

#include <string>

#include "../support/router_files.h"

static const time_t START = 1795388400; // 2026-11-23 00:00 +01:00

/* The samples of an hour that ends when it does, of which so many are known. */
static const json *samples(const std::string &from, const std::vector<std::string> &rates)
{
	static std::string text; // which the tree points into
	text = "{\"from\":\"" + from + "\",\"step\":10,\"rate\":[";
	for (size_t i = 0; i < rates.size(); i++)
		text += (i ? "," : "") + rates[i];
	text += "]}";
	return read_json(text.data(), text.size());
}

static std::string path_of(const curve &it, uint64_t scale)
{
	return written_by([&](FILE *to) { write_path(to, &it, scale); });
}

static curve hour_of(const std::vector<std::string> &rates)
{
	curve made;
	make_curve(&made, samples("2026-11-23T00:00:00+01:00", rates), START, START + 3600);
	return made;
}

TEST(curve, a_peak_of_one_sample_is_kept_with_its_time)
{
	std::vector<std::string> rates(360, "1000");
	rates[100] = "9000";
	curve it = hour_of(rates);
	EXPECT_TRUE(it.is_known);
	EXPECT_EQ(it.peak, 9000u);
	EXPECT_EQ(it.peak_at, START + 1000);
	EXPECT_EQ(it.points[33], 9000);
	EXPECT_EQ(it.points[32], 1000);
	EXPECT_EQ(it.now, 1000u);
	EXPECT_EQ(it.mean, 1022u);
}

TEST(curve, the_first_of_equal_peaks_is_named)
{
	curve it = hour_of({ "1", "7", "7" });
	EXPECT_EQ(it.peak_at, START + 10);
}

TEST(curve, gaps_are_gaps)
{
	std::vector<std::string> rates(360, "null");
	curve none = hour_of(rates);
	EXPECT_FALSE(none.is_known);
	EXPECT_EQ(path_of(none, 1000), "");
	rates[0] = rates[1] = "500";
	rates[30] = "500";
	rates[33] = "250";
	rates[36] = "250";
	curve it = hour_of(rates);
	EXPECT_EQ(it.points[0], 500);
	EXPECT_EQ(it.points[1], NO_POINT);
	EXPECT_EQ(path_of(it, 1000), "M0 50h1M10 50l1 25h1");
}

TEST(curve, paths_join_what_is_level)
{
	std::vector<std::string> rates(360, "0");
	for (int i = 9; i < 12; i++)
		rates[static_cast<size_t>(i)] = "1000";
	for (int i = 12; i < 15; i++)
		rates[static_cast<size_t>(i)] = "500";
	for (int i = 357; i < 360; i++)
		rates[static_cast<size_t>(i)] = "100";
	EXPECT_EQ(path_of(hour_of(rates), 1000), "M0 100h2l1-100 1 50 1 50h113l1-10");
}

TEST(curve, a_last_point_alone_is_a_dash)
{
	std::vector<std::string> rates(360, "null");
	rates[359] = "0";
	EXPECT_EQ(path_of(hour_of(rates), 1000), "M119 100h1");
}

TEST(curve, what_lies_outside_the_time_is_left_out)
{
	curve it;
	const json *early = samples("2026-11-22T23:59:50+01:00", { "9", "1", "2" });
	make_curve(&it, early, START, START + 3600);
	EXPECT_EQ(it.peak, 2u);
	make_curve(&it, samples("2026-11-23T00:59:50+01:00", { "1", "9" }), START, START + 3600);
	EXPECT_EQ(it.peak, 1u);
	EXPECT_EQ(it.points[CURVE_POINTS - 1], 1);
}

TEST(curve, the_end_of_samples)
{
	EXPECT_EQ(get_samples_end(samples("2026-11-23T00:00:00+01:00", { "1", "null", "2" })),
		  START + 30);
	EXPECT_EQ(get_samples_end(samples("2026-11-23T00:00:00+01:00", {})), 0);
	EXPECT_EQ(get_samples_end(samples("soon", { "1" })), 0);
	EXPECT_EQ(get_samples_end(nullptr), 0);
}

TEST(curve, an_answer_that_is_none_makes_no_curve)
{
	curve it;
	make_curve(&it, nullptr, START, START + 3600);
	EXPECT_FALSE(it.is_known);
	make_curve(&it, samples("2026-11-23T00:00:00+01:00", { "1" }), START, START);
	EXPECT_FALSE(it.is_known);
}

static const struct {
	uint64_t greatest, scale;
} SCALES[] = {
	{ 0, 1000 }, { 999, 1000 }, { 1000, 1250 }, { 4000000, 5000000 }, { 15000000, 20000000 },
	{ 19000000, 20000000 }, { 1000000, 1250000 }, { 8000000, 10000000 },
	{ UINT64_MAX, UINT64_MAX },
};

TEST(curve, scales_are_round_and_above)
{
	for (const auto &row : SCALES)
		EXPECT_EQ(choose_scale(row.greatest), row.scale);
	for (uint64_t rate = 1; rate < UINT64_MAX / 1000; rate *= 3)
		EXPECT_GT(choose_scale(rate), rate);
}

TEST(curve, heights_stay_in_the_drawing)
{
	EXPECT_EQ(get_height(0, 1000), CURVE_HEIGHT);
	EXPECT_EQ(get_height(1000, 1000), 0);
	EXPECT_EQ(get_height(UINT64_MAX, 1000), 0);
	EXPECT_EQ(get_height(250, 1000), 75);
}

TEST(curve, carried_rates_have_three_digits)
{
	EXPECT_EQ(round_rate(0), 0u);
	EXPECT_EQ(round_rate(999), 999u);
	EXPECT_EQ(round_rate(1234567), 1230000u);
	EXPECT_EQ(round_rate(1235000), 1240000u);
	EXPECT_EQ(round_rate(9999), 10000u);
}
