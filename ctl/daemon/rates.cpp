// SPDX-License-Identifier: MIT
/* Where samples come from and go. */
#include "rates.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "../../scripts/scripts.h"
#include "../ctl.h"
#include "answer.h"
#include "clock.h"

/* --- reading --- */

void read_rates(samples *to, const applied *from, int64_t now)
{
	begin_reading(to, now);
	for (const made_device &made : from->made) {
		link_state link;
		list<class_counters> counters = {};
		uint64_t direct;
		// one that has gone, or that came anew, has nothing of ours
		if (!read_link(&link, made.device) || !link.is_there || link.index != made.index ||
		    !read_counters(&counters, &direct, made.device))
			continue;
		for (const class_counters &one : counters)
			add_reading(to, made.device, link.root_handle >> 16, one.minor, one.bytes);
		free_list(&counters);
	}
	end_reading(to);
}

/* --- telling --- */

struct span_word {
	const char *word;
	sample_span span;
};

static const span_word SPAN_WORDS[] = {
	{ "hour", SPAN_HOUR }, // where none is named
	{ "now", SPAN_NOW },
	{ "day", SPAN_DAY },
	{ "week", SPAN_WEEK },
};

static bool find_span(sample_span *to, const char *word)
{
	for (const span_word &row : SPAN_WORDS) {
		if (strcmp(row.word, word ? word : SPAN_WORDS[0].word) != 0)
			continue;
		*to = row.span;
		return true;
	}
	return false;
}

/* A class of which an answer tells, with what the name of its script says. */
struct told_class {
	const sampled_class *of;
	unsigned path[LEVELS_MAX + 2]; // minors from the root to the class, and a 0
	char id[SCRIPT_NAME_SIZE];     // empty where it has no script
};

/* The numbers of a handle, which are class ids as they stand: both are read as hexadecimal. A class
 * of strict priority is a band, and has no other above it. */
static void read_path(unsigned path[LEVELS_MAX + 2], const char *handle)
{
	size_t count = 0;
	for (const char *at = handle; at && *at && count <= LEVELS_MAX; at = strchr(at, ':')) {
		at += *at == ':';
		path[count++] = static_cast<unsigned>(strtoul(at, nullptr, 16));
	}
	path[count] = 0;
}

static unsigned get_minor(const unsigned *path)
{
	unsigned minor = 0;
	for (; *path; path++)
		minor = *path;
	return minor;
}

static void find_names(told_class *to, const script_set *scripts)
{
	for (const script_text &script : *scripts) {
		script_name parts;
		if (!parse_script_name(&parts, script.name, to->of->device) || !parts.handle[0])
			continue;
		read_path(to->path, parts.handle);
		if (get_minor(to->path) != to->of->minor)
			continue;
		snprintf(to->id, sizeof(to->id), "%s", parts.id);
		return;
	}
	to->path[0] = to->of->minor;
	to->path[1] = 0;
}

static void write_classid(FILE *to, const char *name, unsigned major, unsigned minor)
{
	char classid[32];
	snprintf(classid, sizeof(classid), "%x:%x", major, minor);
	json_text(to, name, classid);
}

/* The parent of a root class, or of a band, is the qdisc: "1:". */
static void write_parent(FILE *to, const told_class *it)
{
	char qdisc[16];
	size_t level = 0;
	while (it->path[level])
		level++;
	if (!it->id[0])
		json_null(to, "parent");
	else if (level > 1 && it->of->major == HTB_MAJOR)
		write_classid(to, "parent", it->of->major, it->path[level - 2]);
	else {
		snprintf(qdisc, sizeof(qdisc), "%x:", it->of->major);
		json_text(to, "parent", qdisc);
	}
}

static void write_samples(FILE *to, const samples *from, const sampled_class *it, sample_span span)
{
	int first = 0, count = count_samples(span), step = get_sample_seconds(span);
	while (first < count && get_sample(from, it, span, first) == NO_RATE_KNOWN)
		first++;
	int64_t age = (get_clock() - get_span_end(from, span)) / SECOND;
	json_time(to, "from", time(nullptr) - age - (count - first) * step);
	json_number(to, "step", static_cast<uint64_t>(step));
	json_open(to, "rate", '[');
	for (int i = first; i < count; i++) {
		int64_t rate = get_sample(from, it, span, i);
		if (rate == NO_RATE_KNOWN)
			json_null(to, nullptr);
		else
			json_signed(to, nullptr, rate);
	}
	json_close(to, ']');
}

/* What is lost and what waits, as the kernel has it now. */
static void write_losses(FILE *to, const list<class_counters> *counters, unsigned minor)
{
	for (const class_counters &row : *counters) {
		if (row.minor != minor)
			continue;
		json_number(to, "dropped", row.dropped);
		json_number(to, "backlog_bytes", row.backlog);
	}
}

static void write_class(FILE *to, const samples *from, const told_class *it, sample_span span,
			const list<class_counters> *counters)
{
	json_open(to, nullptr, '{');
	json_text(to, "id", it->id[0] ? it->id : nullptr);
	write_classid(to, "classid", it->of->major, it->of->minor);
	write_parent(to, it);
	write_samples(to, from, it->of, span);
	write_losses(to, counters, it->of->minor);
	json_close(to, '}');
}

static bool is_meant(const told_class *it, const question *asked)
{
	const char *wanted = asked->values[KEY_CLASS];
	char classid[32];
	snprintf(classid, sizeof(classid), "%x:%x", it->of->major, it->of->minor);
	return !wanted || strcmp(wanted, classid) == 0 ||
	       (it->id[0] && strcmp(wanted, it->id) == 0);
}

/* By device, then by handle. */
static int compare(const void *one, const void *other)
{
	const told_class *a = static_cast<const told_class *>(one);
	const told_class *b = static_cast<const told_class *>(other);
	int order = strcmp(a->of->device, b->of->device);
	for (size_t i = 0; order == 0 && (a->path[i] || b->path[i]); i++)
		order = a->path[i] < b->path[i] ? -1 : a->path[i] > b->path[i];
	return order;
}

static void find_told(list<told_class> *told, const samples *from, const question *asked)
{
	record applied_now;
	read_record(&applied_now, APPLIED_FILE); // without it there are no names
	for (size_t i = 0; i < from->count; i++) {
		const char *device = asked->values[KEY_DEVICE];
		if (device && strcmp(from->classes[i].device, device) != 0)
			continue;
		told_class *it = add_item(told);
		it->of = &from->classes[i];
		find_names(it, &applied_now.scripts);
		if (!is_meant(it, asked))
			told->count--;
	}
	free_record(&applied_now);
	if (told->count > 0)
		qsort(told->items, told->count, sizeof(told->items[0]), compare);
}

static void write_devices(FILE *to, const samples *from, const list<told_class> *told,
			  sample_span span)
{
	const char *device = nullptr;
	list<class_counters> counters = {};
	uint64_t direct;
	for (const told_class &it : *told) {
		if (!device || strcmp(device, it.of->device) != 0) {
			if (device) {
				json_close(to, ']');
				json_close(to, '}');
			}
			device = it.of->device;
			free_list(&counters);
			if (span == SPAN_NOW)
				read_counters(&counters, &direct, device);
			json_open(to, nullptr, '{');
			json_text(to, "device", device);
			json_text(to, "discipline", it.of->major == SPQ_MAJOR ? "spq" : "htb");
			json_open(to, "classes", '[');
		}
		write_class(to, from, &it, span, &counters);
	}
	free_list(&counters);
	if (device) {
		json_close(to, ']');
		json_close(to, '}');
	}
}

int make_history(const samples *from, const question *asked)
{
	sample_span span;
	if (!find_span(&span, asked->values[KEY_SPAN]))
		return make_short_answer(EXIT_USAGE, "span= is now, hour, day or week");
	answer it;
	if (!open_answer(&it))
		return -1;
	list<told_class> told = {};
	find_told(&told, from, asked);
	json_begin(it.stream);
	json_signed(it.stream, "exit", EXIT_DONE);
	json_text(it.stream, "told", "");
	json_open(it.stream, "devices", '[');
	write_devices(it.stream, from, &told, span);
	json_close(it.stream, ']');
	json_end(it.stream);
	free_list(&told);
	return close_answer(&it);
}
