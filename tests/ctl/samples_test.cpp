// SPDX-License-Identifier: MIT
/* The rates of an hour and a week, from counters. */
#include "../../ctl/daemon/samples.h"

#include <inttypes.h>
#include <math.h>
#include <stdio.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "../../ctl/daemon/clock.h"

static const int64_t TICK = FINE_SECONDS * SECOND;
static const uint64_t MEGABIT = 1000000;

/* One class that is read every ten seconds, from the start of a coarse sample on. */
class one_class {
public:
	one_class()
	{
		EXPECT_TRUE(open_samples(&all, now));
	}

	~one_class()
	{
		close_samples(&all);
	}

	void read()
	{
		begin_reading(&all, now);
		add_reading(&all, "eth0", 1, 0x10, bytes);
		end_reading(&all);
	}

	/* So many bit/s for so many readings. */
	void send(uint64_t rate, int readings)
	{
		for (int i = 0; i < readings; i++) {
			now += TICK;
			bytes += rate / 8 * FINE_SECONDS;
			read();
		}
	}

	/* Nobody reads. */
	void pass(int readings)
	{
		now += readings * TICK;
	}

	int64_t last(sample_span span, int age = 0) const
	{
		return get_sample(&all, &all.classes[0], span, count_samples(span) - 1 - age);
	}

	int count_known(sample_span span) const
	{
		int known = 0;
		for (int i = 0; i < count_samples(span); i++)
			known += get_sample(&all, &all.classes[0], span, i) != NO_RATE_KNOWN;
		return known;
	}

	samples all;
	int64_t now = 3000 * SECOND;
	uint64_t bytes = 12345;
};

/* What is told of a rate. */
static int64_t kept(int rate)
{
	return unpack_rate(pack_rate(static_cast<uint64_t>(rate)));
}

TEST(samples, a_rate_is_kept_with_twelve_bits)
{
	for (uint64_t bits : { 0u, 1u, 2047u, 2048u, 4095u })
		EXPECT_EQ(unpack_rate(pack_rate(bits)), static_cast<int64_t>(bits));
	for (double bits = 4096; bits < 4e12; bits *= 1.0009) {
		int64_t told = unpack_rate(pack_rate(static_cast<uint64_t>(bits)));
		ASSERT_LE(fabs(static_cast<double>(told) - bits), bits / 4096 + 1) << bits;
	}
}

TEST(samples, a_rate_is_never_a_gap_and_the_greatest_stays_the_greatest)
{
	packed_rate before = 0;
	for (int shift = 0; shift < 64; shift++) {
		packed_rate packed = pack_rate(uint64_t(1) << shift);
		EXPECT_GE(packed, before);
		EXPECT_NE(packed, 0);
		before = packed;
	}
	EXPECT_EQ(pack_rate(UINT64_MAX), 0xffff);
	EXPECT_EQ(unpack_rate(0), NO_RATE_KNOWN);
}

TEST(samples, the_first_reading_tells_no_rate)
{
	one_class it;
	it.read();
	EXPECT_EQ(it.count_known(SPAN_HOUR), 0);
	it.send(MEGABIT, 1);
	EXPECT_EQ(it.count_known(SPAN_HOUR), 1);
	EXPECT_EQ(it.last(SPAN_HOUR), unpack_rate(pack_rate(MEGABIT)));
	EXPECT_EQ(it.last(SPAN_NOW), it.last(SPAN_HOUR));
}

TEST(samples, the_last_of_an_hour_is_the_newest_and_the_oldest_goes)
{
	one_class it;
	it.read();
	for (int i = 1; i <= FINE_COUNT + 5; i++)
		it.send(static_cast<uint64_t>(800 * i), 1);
	EXPECT_EQ(it.count_known(SPAN_HOUR), FINE_COUNT);
	for (int age = 0; age < FINE_COUNT; age++)
		ASSERT_EQ(it.last(SPAN_HOUR, age),
			  kept(800 * (FINE_COUNT + 5 - age)));
}

TEST(samples, five_minutes_are_the_mean_of_thirty_readings)
{
	one_class it;
	it.read();
	it.send(MEGABIT, 15);
	it.send(3 * MEGABIT, 15);
	EXPECT_EQ(it.count_known(SPAN_DAY), 0); // not over before the next begins
	it.send(0, 1);
	EXPECT_EQ(it.count_known(SPAN_DAY), 1);
	EXPECT_EQ(it.last(SPAN_DAY), unpack_rate(pack_rate(2 * MEGABIT)));
	EXPECT_EQ(it.last(SPAN_WEEK), it.last(SPAN_DAY));
	EXPECT_EQ(get_span_end(&it.all, SPAN_DAY), 3300 * SECOND);
}

TEST(samples, a_week_is_known_to_its_last_five_minutes_and_no_more)
{
	one_class it;
	it.read();
	for (int period = 0; period < COARSE_COUNT + 3; period++)
		it.send(static_cast<uint64_t>(8000 * (period + 1)), 30);
	it.send(0, 1);
	EXPECT_EQ(it.count_known(SPAN_WEEK), COARSE_COUNT - 1);
	EXPECT_EQ(it.count_known(SPAN_DAY), 288);
	for (int age = 0; age < COARSE_COUNT - 1; age++)
		ASSERT_EQ(it.last(SPAN_WEEK, age),
			  kept(8000 * (COARSE_COUNT + 3 - age)))
			<< age;
}

TEST(samples, what_was_not_read_is_a_gap)
{
	one_class it;
	it.read();
	it.send(MEGABIT, 40);
	it.pass(60);
	it.send(MEGABIT, 31);
	int gaps = 0;
	for (int age = 31; age < 91; age++)
		gaps += it.last(SPAN_HOUR, age) == NO_RATE_KNOWN;
	EXPECT_EQ(gaps, 60);
	// the bytes of the gap are in the first reading behind it, over all of its time
	EXPECT_LT(it.last(SPAN_HOUR, 30), 20000);
	EXPECT_EQ(it.last(SPAN_DAY, 1), NO_RATE_KNOWN);
	EXPECT_EQ(it.last(SPAN_DAY, 2), unpack_rate(pack_rate(MEGABIT))); // of what was read
}

TEST(samples, a_counter_that_has_fallen_begins_anew)
{
	one_class it;
	it.read();
	it.send(MEGABIT, 3);
	it.bytes = 0;
	it.send(MEGABIT, 1); // 1250000 bytes: below what was there
	EXPECT_EQ(it.last(SPAN_HOUR), NO_RATE_KNOWN);
	it.send(MEGABIT, 1);
	EXPECT_EQ(it.last(SPAN_HOUR), unpack_rate(pack_rate(MEGABIT)));
}

TEST(samples, a_rate_of_all_bits_is_no_overflow)
{
	one_class it;
	it.bytes = 0;
	it.read();
	it.bytes = UINT64_MAX;
	it.now += TICK;
	it.read();
	EXPECT_GT(it.last(SPAN_HOUR), int64_t(1e12));
}

TEST(samples, a_class_that_is_gone_for_an_hour_gives_its_room_back)
{
	one_class it;
	for (int tick = 0; tick < 400; tick++) {
		it.now += TICK;
		begin_reading(&it.all, it.now);
		add_reading(&it.all, "eth0", 1, 0x10, it.bytes);
		if (tick < 10)
			add_reading(&it.all, "eth0", 1, 0x20, it.bytes);
		end_reading(&it.all);
		ASSERT_EQ(it.all.count, tick < 9 + 360 ? 2u : 1u) << tick;
	}
	EXPECT_EQ(it.all.classes[0].minor, 0x10u);
}

TEST(samples, classes_beyond_the_room_take_that_of_one_that_is_gone)
{
	samples all;
	ASSERT_TRUE(open_samples(&all, 3000 * SECOND));
	for (unsigned turn = 0; turn < 4; turn++) {
		begin_reading(&all, 3000 * SECOND + turn * TICK);
		unsigned first = turn < 2 ? 0 : 100;
		for (unsigned minor = first; minor < first + SAMPLED_MAX + 20; minor++)
			add_reading(&all, "eth0", 1, minor, turn);
		end_reading(&all);
		ASSERT_EQ(all.count, SAMPLED_MAX);
	}
	bool has_new = false;
	for (size_t i = 0; i < all.count; i++)
		has_new = has_new || all.classes[i].minor >= SAMPLED_MAX + 20;
	EXPECT_TRUE(has_new);
	close_samples(&all);
}

/* Kibibytes that are resident and no file's. */
static long resident(void)
{
	FILE *file = fopen("/proc/self/status", "r");
	char line[200];
	long kibibytes = -1;
	while (fgets(line, sizeof(line), file))
		sscanf(line, "RssAnon: %ld", &kibibytes);
	fclose(file);
	return kibibytes;
}

TEST(samples, a_week_of_a_hundred_classes_takes_half_a_megabyte)
{
	samples all;
	ASSERT_TRUE(open_samples(&all, 3000 * SECOND));
	long before = resident();
	for (int period = 0; period <= COARSE_COUNT; period++) {
		for (int tick = 0; tick < 30; tick++) {
			begin_reading(&all, 3000 * SECOND + (period * 30 + tick) * TICK);
			for (unsigned minor = 1; minor <= 100; minor++)
				add_reading(&all, "eth0", 1, minor, uint64_t(period) * minor);
			end_reading(&all);
		}
	}
	long taken = resident() - before;
	RecordProperty("kibibytes", static_cast<int>(taken));
#ifndef QOS_SANITIZE
	EXPECT_LE(taken, 512);
#endif
	begin_reading(&all, 3000 * SECOND + int64_t(COARSE_COUNT + 100) * 300 * SECOND);
	end_reading(&all);
	EXPECT_EQ(all.count, 0u);
	EXPECT_LE(resident() - before, 64);
	close_samples(&all);
}
