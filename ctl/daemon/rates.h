// SPDX-License-Identifier: MIT
/* Where samples come from and go: read from the kernel's counters, told as an answer. */
#ifndef CTL_DAEMON_RATES_H
#define CTL_DAEMON_RATES_H

#include "applied.h"
#include "question.h"
#include "samples.h"

/* Reads the counters of the devices that we shape. */
void read_rates(samples *to, const applied *from, int64_t now);

/* The answer to a question for the history: of one device and one class (by id or class id) where
 * it names them, of an hour where it names no span. Returns the file of the answer; -1 with errno
 * set.
 *
 * Each class has "id" and "parent" (null where the record does not say), "classid", "from", the
 * time of its first sample, "step", the seconds of one, and "rate", the samples in bit/s, oldest
 * first, null for a gap; what is before the first that is known is left out. Of the span now, which
 * is the last sample of the hour, also "dropped" packets and "backlog_bytes", as the kernel has
 * them. */
int make_history(const samples *from, const question *asked);

#endif
