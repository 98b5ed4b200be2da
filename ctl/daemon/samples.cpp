// SPDX-License-Identifier: MIT
/* The rates of the last hour and week of each class. */
#include "samples.h"

#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include "clock.h"

static const int FINE_IN_COARSE = COARSE_SECONDS / FINE_SECONDS;
static const int64_t TICK = FINE_SECONDS * SECOND;
static const int64_t GONE_AFTER = 3600 * SECOND;
static const int DAY_COUNT = 24 * 3600 / COARSE_SECONDS;
static const size_t ROOM = SAMPLED_MAX * sizeof(sampled_class);

/* --- a rate in two bytes --- */

static const int DIGIT_BITS = 11; // below the first one, which is not kept
static const unsigned FIRST_BIT = 1u << DIGIT_BITS;
static const unsigned CODE_MAX = 0xfffe;

/* Numbers below 2 * FIRST_BIT are exact; above, the last of 12 bits is rounded. */
packed_rate pack_rate(uint64_t bits)
{
	unsigned shift = 0;
	while (bits >> shift >= 2 * FIRST_BIT)
		shift++;
	uint64_t digits = bits >> shift;
	if (shift > 0 && (bits >> (shift - 1) & 1) && ++digits == 2 * FIRST_BIT) {
		digits = FIRST_BIT;
		shift++;
	}
	uint64_t code = digits;
	if (digits >= FIRST_BIT)
		code += shift * uint64_t(FIRST_BIT);
	return static_cast<packed_rate>((code > CODE_MAX ? CODE_MAX : code) + 1);
}

int64_t unpack_rate(packed_rate packed)
{
	if (packed == 0)
		return NO_RATE_KNOWN;
	unsigned code = packed - 1u;
	unsigned exponent = code >> DIGIT_BITS;
	int64_t digits = code & (FIRST_BIT - 1);
	return exponent == 0 ? digits : (digits + FIRST_BIT) << (exponent - 1);
}

/* The rate of so many bytes in so many milliseconds. */
static packed_rate make_rate(uint64_t bytes, int64_t time)
{
	const uint64_t most = UINT64_MAX / (8 * SECOND);
	if (time <= 0)
		return 0;
	return pack_rate((bytes > most ? most : bytes) * 8 * SECOND / static_cast<uint64_t>(time));
}

/* --- the memory --- */

bool open_samples(samples *it, int64_t now)
{
	void *room = mmap(nullptr, ROOM, PROT_READ | PROT_WRITE,
			  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
	if (room == MAP_FAILED)
		return false;
	*it = { static_cast<sampled_class *>(room), 0, now / TICK, now };
	return true;
}

void close_samples(samples *it)
{
	munmap(it->classes, ROOM);
	*it = {};
}

/* Gives the whole pages behind the last class back to the system. */
static void give_pages_back(samples *it)
{
	size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
	size_t used = it->count * sizeof(sampled_class);
	used = (used + page - 1) / page * page;
	if (used < ROOM)
		madvise(reinterpret_cast<char *>(it->classes) + used, ROOM - used, MADV_DONTNEED);
}

static sampled_class *find_class(const samples *it, const char *device, unsigned major,
				 unsigned minor)
{
	for (size_t i = 0; i < it->count; i++) {
		sampled_class *one = &it->classes[i];
		if (one->minor == minor && one->major == major && strcmp(one->device, device) == 0)
			return one;
	}
	return nullptr;
}

/* The class that has been gone for longest; null where all were there at this reading or the one
 * before. */
static sampled_class *find_longest_gone(const samples *it)
{
	sampled_class *longest = nullptr;
	for (size_t i = 0; i < it->count; i++) {
		sampled_class *one = &it->classes[i];
		if (it->now - one->read_at < 2 * TICK)
			continue;
		if (!longest || one->read_at < longest->read_at)
			longest = one;
	}
	return longest;
}

/* Room for a class, all zeroes; null where there is none. */
static sampled_class *make_room(samples *it)
{
	sampled_class *room = it->count < SAMPLED_MAX ? &it->classes[it->count++]
						      : find_longest_gone(it);
	if (room)
		memset(room, 0, sizeof(*room));
	return room;
}

/* --- readings --- */

/* The coarse sample to which a reading belongs: it tells of the time before its tick. */
static int64_t get_period(int64_t tick)
{
	return (tick - 1) / FINE_IN_COARSE;
}

static packed_rate *fine_at(sampled_class *of, int64_t tick)
{
	return &of->fine[tick % FINE_COUNT];
}

static packed_rate *coarse_at(sampled_class *of, int64_t period)
{
	return &of->coarse[period % COARSE_COUNT];
}

/* What is zero stays unwritten, and its page untouched. */
static void clear(packed_rate *sample)
{
	if (*sample)
		*sample = 0;
}

/* The period of before is over; those that were missed are gaps. */
static void end_period(sampled_class *of, int64_t before, int64_t period)
{
	clear(coarse_at(of, before));
	if (of->period_time > 0)
		*coarse_at(of, before) = make_rate(of->period_bytes, of->period_time);
	of->period_bytes = 0;
	of->period_time = 0;
	for (int i = 1; i < COARSE_COUNT && before + i < period; i++)
		clear(coarse_at(of, before + i));
}

static void advance(sampled_class *of, int64_t before, int64_t tick)
{
	for (int i = 1; i <= FINE_COUNT && before + i <= tick; i++)
		clear(fine_at(of, before + i));
	if (get_period(before) != get_period(tick))
		end_period(of, get_period(before), get_period(tick));
}

void begin_reading(samples *it, int64_t now)
{
	int64_t tick = now / TICK;
	for (size_t i = 0; i < it->count; i++)
		advance(&it->classes[i], it->tick, tick);
	it->tick = tick;
	it->now = now;
}

static void begin_class(sampled_class *one, const char *device, unsigned major, unsigned minor)
{
	memcpy(one->device, device, strnlen(device, sizeof(one->device) - 1));
	one->major = major;
	one->minor = minor;
}

void add_reading(samples *it, const char *device, unsigned major, unsigned minor, uint64_t bytes)
{
	sampled_class *one = find_class(it, device, major, minor);
	bool is_new = !one;
	if (is_new)
		one = make_room(it);
	if (!one)
		return;
	if (is_new) {
		begin_class(one, device, major, minor);
	} else if (bytes >= one->bytes) {
		int64_t time = it->now - one->read_at;
		*fine_at(one, it->tick) = make_rate(bytes - one->bytes, time);
		one->period_bytes += bytes - one->bytes;
		one->period_time += time;
	}
	one->bytes = bytes;
	one->read_at = it->now;
}

void end_reading(samples *it)
{
	size_t before = it->count;
	for (size_t i = it->count; i-- > 0;) {
		if (it->now - it->classes[i].read_at >= GONE_AFTER)
			it->classes[i] = it->classes[--it->count];
	}
	if (it->count < before)
		give_pages_back(it);
}

/* --- what is known --- */

static bool is_fine(sample_span span)
{
	return span == SPAN_NOW || span == SPAN_HOUR;
}

int count_samples(sample_span span)
{
	switch (span) {
	case SPAN_NOW: return 1;
	case SPAN_HOUR: return FINE_COUNT;
	case SPAN_DAY: return DAY_COUNT;
	case SPAN_WEEK: return COARSE_COUNT - 1; // the place of the last one is being filled
	}
	return 0;
}

int get_sample_seconds(sample_span span)
{
	return is_fine(span) ? FINE_SECONDS : COARSE_SECONDS;
}

int64_t get_sample(const samples *it, const sampled_class *of, sample_span span, int index)
{
	int64_t age = count_samples(span) - 1 - index;
	int64_t at = is_fine(span) ? it->tick - age : get_period(it->tick) - 1 - age;
	if (at < 0)
		return NO_RATE_KNOWN;
	return unpack_rate(is_fine(span) ? of->fine[at % FINE_COUNT]
					     : of->coarse[at % COARSE_COUNT]);
}

int64_t get_span_end(const samples *it, sample_span span)
{
	return is_fine(span) ? it->now : get_period(it->tick) * COARSE_SECONDS * SECOND;
}
