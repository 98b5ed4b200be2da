// SPDX-License-Identifier: MIT
/* qosctl check: what is wrong with scripts, stores, the last compile and the kernel, and how to mend
 * it. Nothing is changed. */
#include <stdio.h>
#include <string.h>

#include "changes.h"
#include "checking.h"

static const char *const SEVERITY_WORDS[] = { "error", "warning" };
static_assert(FAULT == 0 && WARNING == 1, "rows in the order of severity");

/* What is of no device concerns all. */
static bool is_shown(const options *given, const finding *it)
{
	return !*it->device || is_wanted(given, it->device);
}

static size_t count_findings(const plan *it, const options *given, severity weight)
{
	size_t count = 0;
	for (const finding &one : it->findings)
		count += one.weight == weight && is_shown(given, &one);
	return count;
}

/* --- for people --- */

/* "eth0-2:10.fibre-voice, line 3", or what else it is about. */
static void print_place(const finding *it)
{
	const char *place = *it->file ? it->file : *it->object ? it->object : it->device;
	if (*place)
		printf("  ");
	print_plain(place);
	if (it->line > 0)
		printf(", line %d", it->line);
	if (*it->file && *it->object && !strstr(it->file, it->object)) {
		printf(", ");
		print_plain(it->object);
	}
	if (*it->device && strcmp(it->object, it->device) != 0 &&
	    strncmp(place, it->device, strlen(it->device)) != 0)
		printf(" (%s)", it->device);
}

static void print_finding(const finding *it)
{
	printf("%s  %s", SEVERITY_WORDS[it->weight], FINDING_WORDS[it->code]);
	print_place(it);
	printf("\n    ");
	print_plain(it->text);
	if (*it->fix)
		printf("\n    To mend it: ");
	print_plain(it->fix);
	printf("\n\n");
}

static void print_findings(const plan *it, const options *given)
{
	for (const finding &one : it->findings) {
		if (is_shown(given, &one))
			print_finding(&one);
	}
	size_t faults = count_findings(it, given, FAULT);
	size_t warnings = count_findings(it, given, WARNING);
	if (faults + warnings == 0)
		printf("no findings\n");
	else
		printf("%zu error%s, %zu warning%s\n", faults, faults == 1 ? "" : "s", warnings,
		       warnings == 1 ? "" : "s");
}

/* --- for programs --- */

static void write_finding(FILE *to, const finding *it)
{
	json_open(to, nullptr, '{');
	json_text(to, "severity", SEVERITY_WORDS[it->weight]);
	json_text(to, "code", FINDING_WORDS[it->code]);
	json_text(to, "device", it->device);
	json_text(to, "object", it->object);
	json_text(to, "file", it->file);
	json_number(to, "line", static_cast<uint64_t>(it->line));
	json_text(to, "text", it->text);
	json_text(to, "fix", it->fix);
	json_close(to, '}');
}

static void write_device(FILE *to, const device *it)
{
	json_open(to, nullptr, '{');
	json_device(to, it);
	json_open(to, "classes", '[');
	for (const node &one : it->nodes) {
		if (it->kind == SPQ && one.parent == NO_NODE)
			continue; // the qdisc itself
		json_open(to, nullptr, '{');
		json_node(to, it, &one);
		json_close(to, '}');
	}
	json_close(to, ']');
	json_close(to, '}');
}

static void write_answer(FILE *to, const plan *it, const options *given)
{
	json_begin(to);
	json_open(to, "devices", '[');
	for (const device &one : it->devices) {
		if (is_wanted(given, one.name))
			write_device(to, &one);
	}
	json_close(to, ']');
	json_open(to, "findings", '[');
	for (const finding &one : it->findings) {
		if (is_shown(given, &one))
			write_finding(to, &one);
	}
	json_close(to, ']');
	json_end(to);
}

int run_check(const options *given)
{
	plan it;
	script_set set;
	int status = read_input(&it, &set, given);
	if (status != EXIT_DONE)
		return status;
	if (!given->root)
		check_roots(&it, given);
	if (!given->root && !given->scripts)
		check_kernel(&it, given);
	if (given->json)
		write_answer(stdout, &it, given);
	else
		print_findings(&it, given);
	status = count_findings(&it, given, FAULT) > 0 ? EXIT_FINDINGS : EXIT_DONE;
	free_plan(&it);
	free_scripts_read(&set);
	return status;
}
