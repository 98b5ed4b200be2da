// SPDX-License-Identifier: MIT
/* qosctl diff: where stores, scripts and kernel say different things. */
#include "diff.h"

#include <errno.h>
#include <inttypes.h>
#include <net/if.h>
#include <string.h>

#include "../store/message.h"
#include "status.h" // print_plain, leave_out_chain

static const char APPLIED[] = "/run/qos/applied";
static const char *const SIDE_WORDS[SIDES] = { "store", "scripts", "kernel" };

namespace {

/* What all devices are compared with. */
struct comparison {
	const options *given;
	const plan *scripts;
	const plan *stored;        // null: not read
	const open_stores *stores; // null: not read
	bool asks_kernel;
	record applied;            // which root qdiscs are ours
	time_t now;
	bool is_applied;           // something of ours runs
	int status;                // EXIT_DONE, or why a device was not compared as a whole
	difference_list found;
};

} // namespace

/* --- comparing --- */

static const device *find_stored(const plan *in, const char *name)
{
	if (!in)
		return nullptr;
	for (const device &it : in->devices) {
		if (strcmp(it.name, name) == 0)
			return &it;
	}
	return nullptr;
}

/* What cannot be asked is told, and left out of the comparison. */
static void note_refusal(comparison *it, const char *device)
{
	int reason = errno;
	qos_warn("%s: what runs there cannot be read: %s", device, strerror(reason));
	it->status = reason == EPERM || reason == EACCES ? EXIT_NOT_ALLOWED : EXIT_FAILED;
}

/* Without the stores of a device there is nothing that could differ from its scripts. */
static bool are_readable(const open_stores *it, discipline kind)
{
	return it->policy && (kind == HTB ? it->classes : it->basic);
}

/* Whether we made the root qdisc of the device. Another's may look like ours. */
static bool is_made(const comparison *it, const char *device)
{
	int index = static_cast<int>(if_nametoindex(device));
	for (const made_device &one : it->applied.made) {
		if (one.index == index && strcmp(one.device, device) == 0)
			return true;
	}
	return false;
}

static void compare_with_kernel(comparison *it, device_sides *of)
{
	tree runs = {}, shall = {};
	make_tree(&shall, of->scripts, it->now);
	if (leave_out_chain(&shall))
		qos_warn("%s: the firewall's rules are not compared: only root may read them",
			 of->scripts->name);
	if (read_tree(&runs, of->scripts->name, &shall)) {
		if (!is_made(it, of->scripts->name))
			free_tree(&runs);
		of->runs = &runs;
		of->shall = &shall;
		it->is_applied |= runs.is_there;
	} else {
		note_refusal(it, of->scripts->name);
	}
	compare_device(&it->found, of);
	free_tree(&runs);
	free_tree(&shall);
}

/* A device that is not there has no kernel's side, which is told once. */
static bool is_present(comparison *it, const char *device)
{
	link_state link;
	if (!read_link(&link, device)) {
		note_refusal(it, device);
		return false;
	}
	if (link.is_there)
		return true;
	difference *row = add_difference(&it->found, device, nullptr, "device");
	row->by[IN_SCRIPTS].form = said::FLAG;
	row->by[IN_SCRIPTS].number = 1;
	return false;
}

/* Whether the scripts of a device cannot be made a tree. That a store is newer than they, or that
 * their compile told of something, is what is to be seen here. */
static bool has_errors(const comparison *it, const device *of)
{
	for (const finding &one : it->scripts->findings) {
		if (one.weight == FAULT && strcmp(one.device, of->name) == 0 &&
		    one.code != COMPILE_STALE && one.code != COMPILE_FAILED)
			return true;
	}
	return false;
}

static void note_errors(comparison *it, const device *of)
{
	qos_warn("%s: its scripts have errors, and are not compared%s; qosctl check tells them",
		 of->name, it->asks_kernel ? " with the kernel" : " as a whole");
	if (it->status == EXIT_DONE)
		it->status = EXIT_FAILED;
}

static void compare_one(comparison *it, const device *of)
{
	device_sides sides = {};
	sides.scripts = of;
	sides.stored = find_stored(it->stored, of->name);
	if (it->stores && are_readable(it->stores, of->kind))
		sides.stores = it->stores;
	else
		sides.stored = nullptr;
	localtime_r(&it->now, &sides.wall);
	bool is_whole = !has_errors(it, of);
	if (!is_whole)
		note_errors(it, of);
	if (it->asks_kernel && is_whole && is_present(it, of->name))
		compare_with_kernel(it, &sides);
	else
		compare_device(&it->found, &sides);
}

static void compare_all(comparison *it)
{
	for (const device &of : it->scripts->devices) {
		if (is_wanted(it->given, of.name))
			compare_one(it, &of);
	}
	if (it->stores && it->stores->policy && !it->given->device)
		compare_uncompiled(&it->found, it->stores, it->scripts);
}

/* The stores become scripts of the same names, which the same reader reads. */
static void compare_with_stores(comparison *it, const script_set *set)
{
	open_stores stores;
	script_set texts = {};
	plan stored = {};
	unsigned mark = 1;
	if (!open_all_stores(&stores, it->given))
		qos_warn("not all stores can be read: theirs is left out");
	for (const device &of : it->scripts->devices)
		put_store_scripts(&texts, &stores, set, &of, &mark);
	read_plan(&stored, &texts);
	it->stored = &stored;
	it->stores = &stores;
	compare_all(it);
	free_plan(&stored);
	free_scripts_read(&texts);
	close_all_stores(&stores);
}

/* --- showing --- */

static void print_said_json(const char *name, const said *it)
{
	switch (it->form) {
	case said::NOTHING_SAID: json_null(stdout, name); break;
	case said::FLAG: json_flag(stdout, name, it->number != 0); break;
	case said::NUMBER: json_number(stdout, name, it->number); break;
	case said::WORDS: json_text(stdout, name, it->words); break;
	}
}

static void print_json_row(const difference *row)
{
	json_open(stdout, nullptr, '{');
	json_text(stdout, "device", row->device[0] ? row->device : nullptr);
	json_text(stdout, "id", row->id);
	json_text(stdout, "what", row->what);
	for (int by = 0; by < SIDES; by++)
		print_said_json(SIDE_WORDS[by], &row->by[by]);
	json_close(stdout, '}');
}

static void print_json_device(const device *of)
{
	json_open(stdout, nullptr, '{');
	json_device(stdout, of);
	json_open(stdout, "classes", '[');
	for (const node &it : of->nodes) {
		if (of->kind == SPQ && it.parent == NO_NODE)
			continue; // the qdisc itself
		json_open(stdout, nullptr, '{');
		json_node(stdout, of, &it);
		json_close(stdout, '}');
	}
	json_close(stdout, ']');
	json_close(stdout, '}');
}

static void print_json(const comparison *it)
{
	json_begin(stdout);
	json_open(stdout, "devices", '[');
	for (const device &of : it->scripts->devices) {
		if (is_wanted(it->given, of.name))
			print_json_device(&of);
	}
	json_close(stdout, ']');
	json_open(stdout, "differences", '[');
	for (const difference &row : it->found)
		print_json_row(&row);
	json_close(stdout, ']');
	json_end(stdout);
}

static bool is_rate(const char *what)
{
	return strcmp(what, "rate") == 0 || strcmp(what, "ceil") == 0;
}

static bool is_size(const char *what)
{
	return strcmp(what, "burst") == 0 || strcmp(what, "cburst") == 0;
}

static void make_words(char words[sizeof(said::words)], const difference *row, int by)
{
	const said *it = &row->by[by];
	char figure[FIGURE_SIZE];
	const char *shown = "-";
	if (it->form == said::WORDS)
		shown = it->words;
	if (it->form == said::FLAG)
		shown = "there";
	if (it->form == said::NUMBER) {
		snprintf(figure, sizeof(figure), "%" PRIu64, it->number);
		if (is_rate(row->what))
			format_rate(figure, it->number);
		else if (is_size(row->what))
			format_bytes(figure, it->number);
		shown = figure;
	}
	snprintf(words, sizeof(said::words), "%s", shown);
}

static void print_column(const char *text, int width)
{
	int used = print_plain(stdout, text);
	printf("%*s", used + 2 <= width ? width - used : 2, "");
}

static void print_row(const difference *row)
{
	print_column(row->device[0] ? row->device : "-", 16);
	print_column(row->id ? row->id : "-", 24);
	print_column(row->what, 12);
	for (int by = 0; by < SIDES; by++) {
		char words[sizeof(said::words)];
		make_words(words, row, by);
		if (by < SIDES - 1)
			print_column(words, 18);
		else
			print_plain(stdout, words);
	}
	putchar('\n');
}

static void print_table(const comparison *it)
{
	if (it->found.count == 0) {
		printf("No differences.\n");
		return;
	}
	printf("%-16s%-24s%-12s%-18s%-18s%s\n", "device", "class", "what", "store", "scripts",
	       "kernel");
	for (const difference &row : it->found)
		print_row(&row);
}

static int answer(const comparison *it)
{
	if (it->given->json)
		print_json(it);
	else
		print_table(it);
	if (it->status != EXIT_DONE)
		return it->status;
	if (it->asks_kernel && !it->is_applied)
		return EXIT_NOT_APPLIED;
	return it->found.count > 0 ? EXIT_FINDINGS : EXIT_DONE;
}

/* Scripts that are older than their stores, or come of a compile that failed, cannot be applied, but
 * they can be compared: only what the scripts themselves say keeps a device from it. */
static void judge_scripts_alone(plan *it, const script_set *set)
{
	free_plan(it);
	*it = {};
	read_plan(it, set);
	check_plan(it);
}

/* --root shows another router's files, which this kernel knows nothing of; --scripts leaves the
 * stores out. */
int run_diff(const options *given)
{
	plan scripts;
	script_set set;
	int status = read_input(&scripts, &set, given);
	if (status != EXIT_DONE)
		return status;
	judge_scripts_alone(&scripts, &set);
	comparison it = {};
	it.given = given;
	it.scripts = &scripts;
	it.asks_kernel = !given->root;
	it.now = time(nullptr);
	if (it.asks_kernel)
		read_record(&it.applied, APPLIED); // empty where nothing is applied
	if (given->scripts)
		compare_all(&it);
	else
		compare_with_stores(&it, &set);
	status = answer(&it);
	free_differences(&it.found);
	free_record(&it.applied);
	free_plan(&scripts);
	free_scripts_read(&set);
	return status;
}
