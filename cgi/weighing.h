// SPDX-License-Identifier: MIT
/* What the weighing of a form finds out, as it is found out. Texts live as long as the process. */
#ifndef CGI_WEIGHING_H
#define CGI_WEIGHING_H

#include <stdint.h>
#include <stdio.h>

#include "../store/text_stream.h"
#include "fields.h"
#include "shown_stores.h"

const int MEANS_MAX = 16; // sentences

/* One field that a remedy sets to these values. */
struct setting {
	const char *form;
	const char *const *values;
	int count;
	const setting *next;
};

struct remedy {
	const char *label;
	setting *settings;
	remedy *next;
};

struct note {
	const char *form;
	int n;
	bool is_error;
	const char *text;
	remedy *remedies;
	note *next;
};

struct weighing {
	shown_stores in;
	object_kind kind;
	const char *id; // posted; "" where it is none
	bool is_new;
	const char *means[MEANS_MAX];
	int means_count;
	const char *slots[TABLES_MAX]; // null: of no class
	const char *bar_of;            // null: there is no bar
	unsigned bar_rate, bar_ceil;   // percent
	note *notes;
	note *last;
};

/* A text, made as printf does. */
char *make_text(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* The text that write(stream) writes. */
template <typename writer> const char *take_words(writer write)
{
	text_stream it;
	if (!open_text_stream(&it))
		end_without_memory();
	write(it.stream);
	if (!close_text_stream(&it))
		end_without_memory();
	return it.text;
}

/* "2 Mbit/s" */
const char *say_rate(uint64_t bits);

/* Adds a sentence of what the form means. */
void say(weighing *to, const char *sentence);

/* Add a note on the n-th field of a name. */
note *add_error(weighing *to, const char *form, int n, const char *text);
note *add_question(weighing *to, const char *form, int n, const char *text);

/* Whether there is an error on the n-th field of a name: it counts as not there, and that needs no
 * second note. */
bool has_error(const weighing *in, const char *form, int n);

/* Adds a way out of what a note tells, which sets fields. */
remedy *add_remedy(note *to, const char *label);
void set_values(remedy *in, const char *form, const char *const *values, int count);
void set_one(remedy *in, const char *form, const char *value);

/* Sets the n-th of the posted values of a name to this one. */
void set_posted(remedy *in, const char *form, int n, const char *value);

/* Sets a number and its unit, the n-th of their names, to a rate; false, and nothing is set, where
 * it is no whole number of any unit that the form has and takes 10 digits. */
bool set_rate(remedy *in, const char *form, int n, uint64_t bits);

/* The name of a field as the page shows it, with that of its table where it stands in one. */
const char *get_label_of(object_kind kind, const char *form, int n);

/* --- the kinds --- */

void weigh_policy(weighing *to, const policy_rec *rec);
void weigh_class(weighing *to, const class_rec *rec);
void weigh_band(weighing *to, const class_rec *rec);
void weigh_filter(weighing *to, const filter_rec *rec);
void weigh_ports(weighing *to, char *const *entries);
void weigh_addresses(weighing *to, char *const *entries);

/* --- parts of them --- */

/* What the filters take, in a sentence each, and notes on those that are not there. */
void weigh_filters_of(weighing *to, const class_rec *rec);

/* A burst and its unit, the n-th of their names, at a rate. */
void check_burst(weighing *to, const char *form, int n, const char *number, const char *unit,
		 uint64_t rate, uint64_t mtu);

/* Asks about a rate above 0, the n-th of its name, that the kernel does not take. */
void check_bounds(weighing *to, const char *form, int n, uint64_t rate);

/* The schedules: their texts, sentences and notes. Whether the figures of the class itself can be
 * said, or contradict each other. */
void weigh_slots(weighing *to, const class_rec *rec, bool is_said);

/* The sums of what is promised below the parent, and below the class itself. */
void weigh_sums(weighing *to, const class_rec *rec);

const int HOURS = 24;

extern const char *const DAY_NAMES[DAYS];

/* What a class gets in an hour of the week, in bit/s. */
struct class_figures {
	uint64_t rate, ceil;
};

class_figures get_own_figures(const class_rec *rec);
class_figures get_slot_figures(const class_rec *rec, int slot);

/* Those of a stored class outside its slots. */
class_figures get_stored_figures(const weighing *in, const char *id);

/* The slot that holds in each hour, day 0 being Sunday; -1 for none. */
struct held_slots {
	signed char at[DAYS][HOURS];
};

void find_held_slots(held_slots *to, const class_rec *rec);

/* Whether a stored class, other than the one that is weighed, names this one as its parent. */
bool is_child_of(const weighing *in, const char *child, const char *parent);

/* Whether it has one. */
bool has_children(const weighing *in, const char *id);

/* The policy whose root the class is or stands below, where its parent is this one; null for none. */
const char *find_policy_of(const weighing *in, const char *id, const char *parent);

#endif
