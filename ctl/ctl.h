// SPDX-License-Identifier: MIT
/* What the verbs of qosctl share: the options, how they answer, and what each is. One file a verb,
 * named for it; a verb prints its answer on standard output and what went wrong on standard error,
 * and returns the exit status. */
#ifndef CTL_CTL_H
#define CTL_CTL_H

#include <limits.h>
#include <time.h>

#include "../kernel/kernel.h"
#include "../plan/plan.h"

enum exit_status {
	EXIT_DONE = 0,
	EXIT_FAILED = 1,
	EXIT_USAGE = 2,
	EXIT_FINDINGS = 3,       // check: faults; diff: differences
	EXIT_NOT_ALLOWED = 4,
	EXIT_NOT_CONFIGURED = 6, // no scripts, no policies
	EXIT_NOT_APPLIED = 7,    // status, diff
};

/* The command line. What was not given is null, false or -1. */
struct options {
	const char *root;    // --root DIR: stores and scripts below it
	const char *scripts; // --scripts DIR
	const char *device;  // --device D
	const char *at;      // --at TIME
	const char *from;    // --from TIME
	const char *of_class; // --class ID
	const char *proto, *src, *dst, *tos;
	long days;           // --days N
	long confirm;        // --confirm SECS
	bool json, openmetrics, watch, force, difference, fragment;
	// what qosd asks for
	bool again, boot, last_good, quick;
	const char *operand; // N, FILE
};

int run_compile(const options *given);
int run_check(const options *given);
int run_plan(const options *given);
int run_apply(const options *given);
int run_confirm(const options *given);
int run_undo(const options *given);
int run_stop(const options *given);
int run_status(const options *given);
int run_diff(const options *given);
int run_explain(const options *given);
int run_week(const options *given);
int run_history(const options *given);
int run_back(const options *given);
int run_export(const options *given);
int run_import(const options *given);
int run_selftest(const options *given);

/* --- input.cpp: what most verbs begin with --- */

/* A path below the root that was given: "/etc/conf/..." for none. False when it does not fit. */
bool make_path(char path[PATH_MAX], const options *given, const char *absolute);

/* Reads and checks the scripts that the options name: faults, warnings, and those of the last compile
 * and of the stores unless --scripts was given. Returns EXIT_DONE, else the exit status, told:
 * there is no folder, or no script in it (EXIT_NOT_CONFIGURED), it cannot be read, or --device
 * names none of them (EXIT_USAGE). The plan is free_plan's, the set free_scripts_read's. */
int read_input(plan *it, script_set *set, const options *given);

/* Whether --device leaves this device in. */
bool is_wanted(const options *given, const char *device);

/* Tells the faults of the devices that --device leaves in, a line each on standard error: a device
 * with one is not planned. Returns whether there are any. faults.cpp */
bool tell_faults(const plan *it, const options *given);

/* A time as the user writes it: "2026-11-21T18:00", "2026-11-21 18:00", "now", "@SECONDS"; with
 * or without seconds or an offset, else in the system's zone. False when it is none. */
bool parse_time(time_t *to, const char *text);

/* --- store_findings.cpp --- */

/* Adds what the stores below the root say. */
void check_stores(plan *it, const options *given);

/* --- json.cpp: one object on one line, written member by member --- */

/* Each writes its comma itself. name is null in a list. */
void json_open(FILE *to, const char *name, char bracket);  // '{' or '['
void json_close(FILE *to, char bracket);                   // '}' or ']'
void json_text(FILE *to, const char *name, const char *value); // null: null. Bytes that are no
                                                               // UTF-8 are taken for Latin-1
void json_number(FILE *to, const char *name, uint64_t value);
void json_signed(FILE *to, const char *name, int64_t value);
void json_flag(FILE *to, const char *name, bool value);
void json_null(FILE *to, const char *name);
void json_time(FILE *to, const char *name, time_t value);  // ISO 8601 with the zone's offset

/* The object with "qos": 1, and its end with the newline. */
void json_begin(FILE *to);
void json_end(FILE *to);

/* "device" and "discipline" ("htb", "spq") of an object in devices; and "id", "classid", "parent"
 * of one in its classes. Bands' root is no class. */
void json_device(FILE *to, const device *of);
void json_node(FILE *to, const device *of, const node *it);

#endif
