// SPDX-License-Identifier: MIT
/* The rates of the last hour and week of each class, from its counters: in memory of fixed size, of
 * which a class takes its part when it appears and which it gives back when it has been gone for an
 * hour. */
#ifndef CTL_DAEMON_SAMPLES_H
#define CTL_DAEMON_SAMPLES_H

#include <stdint.h>

#include "../../scripts/scripts.h"

const int FINE_SECONDS = 10, FINE_COUNT = 360;     // an hour
const int COARSE_SECONDS = 300, COARSE_COUNT = 2016; // a week
const size_t SAMPLED_MAX = 256; // classes; for more the one longest gone makes room, if one has

/* Two bytes a sample: 12 significant bits and an exponent, so that a hundred classes with their
 * week take half a megabyte. 0 is a gap. */
typedef uint16_t packed_rate;

struct sampled_class {
	char device[SCRIPT_DEVICE_SIZE];
	unsigned major, minor;
	uint64_t bytes;         // the counter when it was read last
	int64_t read_at;        // by get_clock
	uint64_t period_bytes;  // of the coarse sample that is not over
	int64_t period_time;    // of them, in milliseconds
	packed_rate fine[FINE_COUNT];
	packed_rate coarse[COARSE_COUNT];
};

struct samples {
	sampled_class *classes; // in no order
	size_t count;
	int64_t tick; // of the last reading, in FINE_SECONDS of get_clock
	int64_t now;  // when that was
};

/* now is that of get_clock. False with errno set when there is no memory to be had. */
bool open_samples(samples *it, int64_t now);
void close_samples(samples *it);

/* A reading of all counters: begin, add each counter, end. Readings are FINE_SECONDS apart; those
 * that were missed are gaps. So is a counter that has fallen: the class was made anew. */
void begin_reading(samples *it, int64_t now);
void add_reading(samples *it, const char *device, unsigned major, unsigned minor, uint64_t bytes);
void end_reading(samples *it);

enum sample_span { SPAN_NOW, SPAN_HOUR, SPAN_DAY, SPAN_WEEK }; // now: the last of the hour

/* How many samples a span has, and how many seconds one is of. */
int count_samples(sample_span span);
int get_sample_seconds(sample_span span);

const int64_t NO_RATE_KNOWN = -1;

/* A sample in bit/s, or NO_RATE_KNOWN; the oldest of the span has the index 0. It is the mean of
 * the time up to the next one's. */
int64_t get_sample(const samples *it, const sampled_class *of, sample_span span, int index);

/* When the last sample of the span ends, by get_clock. */
int64_t get_span_end(const samples *it, sample_span span);

/* What a rate in bit/s becomes when it is kept; for tests. */
packed_rate pack_rate(uint64_t bits);
int64_t unpack_rate(packed_rate packed);

#endif
