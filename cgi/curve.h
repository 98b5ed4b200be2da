// SPDX-License-Identifier: MIT
/* What a class carried in a span of time, as a curve of few points. */
#ifndef CGI_CURVE_H
#define CGI_CURVE_H

#include <stdint.h>
#include <stdio.h>
#include <time.h>

#include "json.h"

const int CURVE_POINTS = 120, CURVE_HEIGHT = 100; // of the drawing; it is as wide as its points
const int64_t NO_POINT = -1;                      // a gap

struct curve {
	int64_t points[CURVE_POINTS]; // bit/s, the greatest of their time, so that no peak is lost
	uint64_t peak, mean, now;     // bit/s; now is the newest sample
	time_t peak_at;
	bool is_known;                // else nothing was sampled in this time
};

/* When the samples of a class ("from", "step" and "rate" of an answer) end; 0 where it has none. */
time_t get_samples_end(const json *of);

/* Makes the curve of the samples from a moment up to another. */
void make_curve(curve *to, const json *of, time_t from, time_t until);

/* A round rate that is above this one: the upper edge of the drawing. Never 0. */
uint64_t choose_scale(uint64_t greatest);

/* How far below the upper edge of the drawing a rate is. */
int get_height(uint64_t rate, uint64_t scale);

/* Writes the curve as the path of a drawing; nothing where nothing is known. */
void write_path(FILE *to, const curve *it, uint64_t scale);

/* To three digits: what was carried is no more exact. */
uint64_t round_rate(uint64_t rate);

#endif
