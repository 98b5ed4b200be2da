// SPDX-License-Identifier: MIT
/* What the sources that read and check scripts share. */
#ifndef PLAN_PARTS_H
#define PLAN_PARTS_H

#include "plan.h"

/* --- which device a script is of: owners.cpp --- */

const size_t NO_SCRIPT = SIZE_MAX;

enum script_role { OF_NOBODY, DEVICE_SCRIPT, CLASS_SCRIPT };

struct script_owner {
	script_role role;
	size_t device;    // place of the device script in the set. Of nobody's that of the longest
	                  // device that its name begins with, NO_SCRIPT where there is none
	script_name name; // of a class script, as long as the set stays
};

/* The owners of all scripts of a set, in its order; free_list releases them. */
void find_owners(list<script_owner> *owners, const script_set *set);

/* Whether a script is the device's own or that of one of its classes. */
bool is_script_of(const script_set *set, const script_owner *owner, const char *device);

/* The order of two handles: number by number, a class before those below it. As strcmp. */
int compare_handles(const char *one, const char *other);

/* --- findings: finding.cpp --- */

/* What a finding is about; file and line as in a finding. */
struct finding_place {
	const char *device, *object, *file;
	int line;
};

void tell(finding_list *to, severity weight, finding_code code, const finding_place *at,
	  const char *fix, const char *text, ...) __attribute__((format(printf, 6, 7)));

/* The place of a class, or of its device for null. */
finding_place get_place(const device *of, const node *it, int line);

/* Puts the findings into the order of devices, scripts and lines; those of one line keep theirs. */
void sort_findings(finding_list *it);

const size_t EXCERPT_SIZE = 48;

/* What a text to the user shows of a value that may be anything: its first characters, and '?' for
 * those that do not print. */
void make_excerpt(char excerpt[EXCERPT_SIZE], const char *value);

/* --- the values of lines: units.cpp, matches.cpp --- */

/* Reads decimal digits up to an end. What 64 bits do not hold is UINT64_MAX. False when anything
 * else stands there, or nothing. */
bool read_number(uint64_t *to, const char *text, size_t length);

/* Reads a number and its unit, as bits a second, or as bytes. As read_number. */
bool read_rate(uint64_t *to, const char *text, size_t length);
bool read_size(uint64_t *to, const char *text, size_t length);

/* Reads what stands behind TIME= into a slot. */
bool read_slot(slot *to, const char *value);

/* Reads what stands behind RULE= and IPTRULE=. */
bool read_rule(packet_rule *to, const char *value);
bool read_marked_rule(packet_rule *to, const char *value);

/* --- one script: device_script.cpp, node_script.cpp --- */

/* Reads the device script: its discipline and what stands beside it. */
void read_device_script(plan *to, device *of, const script_text *from);

/* Reads the script of a node: its values, and its rules behind those of the device. */
void read_node_script(plan *to, device *of, size_t node_place, const script_text *from);

/* --- what values may be: ranges.cpp --- */

/* Tells of a value that no kernel takes, and makes it 0; at is its line. label is that of its input
 * on the page. */
void check_rate(finding_list *to, const finding_place *at, const char *label, uint64_t *rate);
void check_burst(finding_list *to, const finding_place *at, const char *label, uint64_t *bytes);

/* Tells of a value below a least or above a greatest one, and makes it 0. */
void check_number(finding_list *to, const finding_place *at, const char *label, uint64_t *value,
		  uint64_t least, uint64_t most);

/* Tells of a PRIORULE with more filters than the kernel can number. The rules are in the order in
 * which they win. */
void check_crowd(finding_list *to, const device *of);

/* Tells of bursts that last too long at their rates, outside all slots and in each. */
void check_durations(finding_list *to, const device *of, const node *it);

/* --- how the nodes of a device stand to each other: nodes.cpp --- */

/* Adds the nodes that the names of the scripts tell, by handle, and links them. scripts receives
 * for each the place of its script in the set; free_list releases it. */
void add_nodes(device *of, const script_set *set, const list<script_owner> *owners,
	       size_t device_script, list<size_t> *scripts);

/* Tells of nodes that the kernel cannot put where they belong. */
void check_nodes(plan *to, device *of);

/* --- marks.cpp --- */

/* Tells of marks that stand twice in the folder. */
void check_marks(plan *to);

/* --- the hours of a week: hours.cpp, see plan.h --- */

/* What the clock shows in the hours of a week, one after the other from Sunday midnight. */
struct tm get_wall(int day, int hour);

bool is_empty(const week_hours *it);

const size_t HOURS_SIZE = 160;

/* Writes them as "every day 1 to 6", "Monday to Friday 8 to 18, Sunday 0 to 24"; what does not fit
 * is "and more". "at all hours" for the whole week. */
void format_hours(char text[HOURS_SIZE], const week_hours *it);

/* --- rates of classes against each other: sums.cpp --- */

/* Tells of classes that are promised more than their parent has, and of ceilings that are too low
 * or too high. */
void check_sums(finding_list *to, const device *of);

/* --- rules that never win: shadow.cpp --- */

/* The place of the first rule before this device's each that covers it whole, NO_RULE where none
 * does, in the order of the rules; free_list releases them. */
const size_t NO_RULE = SIZE_MAX;
void find_shadows(list<size_t> *shadows, const device *of);

#endif
