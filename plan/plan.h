// SPDX-License-Identifier: MIT
/* What the compiled scripts say and what the kernel shall run for it: the scripts read into devices,
 * classes and rules, the faults found in them, the tree that the kernel shall run at a time, the
 * commands that lead from one tree to another, the class of a packet, and the rates of a week.
 * Nothing here reads a store or asks the kernel, and nothing is printed but where a stream is
 * given. Without memory the process ends with status 255, as copy_text does. */
#ifndef PLAN_PLAN_H
#define PLAN_PLAN_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <time.h>

#include "../scripts/scripts.h"
#include "list.h"

const unsigned MINOR_MAX = 0x9999;    // the greatest minor that four decimal digits can say
const unsigned DEFAULT_MINOR = 0x1000; // of the class for what no rule matches
const unsigned HTB_MAJOR = 1, SPQ_MAJOR = 2; // handles of the two root qdiscs
const int BANDS = 3;                  // of a strict-priority device
const int LEVELS_MAX = 8;             // of HTB classes; the kernel refuses the ninth
const unsigned RULE_HANDLE_MAX = 0xfff; // u32 handles of one priority begin with 1
const size_t CLASSID_SIZE = sizeof("1:9999");

/* --- the scripts as texts: folder.cpp --- */

struct script_text {
	char *name;
	char *bytes; // size of them and a NUL; null for what is no regular file, or cannot be read
	size_t size;
	time_t changed;
};

typedef list<script_text> script_set; // in the order of their names' bytes

/* Reads every file of a folder but hidden ones. Returns false, with errno set and an empty set, when
 * the folder cannot be read. free_scripts_read releases the set. */
bool read_scripts(script_set *set, const char *folder);

/* The devices that have a device script, in the order of their names: the set's own texts. owners.cpp */
void list_devices(list<const char *> *names, const script_set *set);

/* Adds a script with these bytes, or replaces that of the same name. */
void put_script(script_set *set, const char *name, const char *bytes, size_t size);

/* Adds those scripts of from that belong to the device: its own and those of its classes. */
void put_device_scripts(script_set *set, const script_set *from, const char *device);

/* Whether the scripts of a device are the same in both sets. */
bool has_same_scripts(const script_set *one, const script_set *other, const char *device);

void free_scripts_read(script_set *set);

/* --- findings: finding.cpp --- */

enum severity { FAULT, WARNING }; // a fault stops its device; both are words of FINDINGS

/* The rows of FINDING_WORDS, in its order. */
enum finding_code {
	BAD_SCRIPT, STRAY_SCRIPT, HANDLE_CLASH, PARENT_MISSING, NO_DISCIPLINE, NO_RATE, TOO_DEEP,
	OVER_RANGE, FOREIGN_QDISC, COMPILE_FAILED, COMPILE_STALE,
	OVER_PARENT, UNDER_RATE, DEFAULT_MISSING, DEFAULT_INNER, DEFAULT_TAKEN, PRIO_RANGE,
	QUANTUM_RANGE, BURST_SMALL, RULE_INNER, RULE_SHADOWED, RULE_ANY, LEAF_INNER,
	SCHEDULE_OVERLAP, SCHEDULE_EMPTY,
	// from the store
	CLASS_ORPHAN, CLASS_CYCLE, MISSING_PARENT, MISSING_FILTER, MISSING_LIST, MISSING_ROOT,
	MISSING_DEFAULT, MISSING_BAND, FILTER_UNUSED, FILTER_MARK, OVER_CAPACITY, POLICY_LOSES,
	// from the kernel
	DEVICE_ABSENT, DEVICE_BRIDGED, DEVICE_VLAN, DEVICE_IPV6, KERNEL_LACKS,
};
const int FINDING_CODES = KERNEL_LACKS + 1;

extern const char *const FINDING_WORDS[FINDING_CODES]; // "bad-script", ...

struct finding {
	severity weight;
	finding_code code;
	char device[SCRIPT_DEVICE_SIZE]; // empty where it is of none
	char *object; // id of a class, list, filter or policy, or the device; "" for none
	char *file;   // name of the script or store; "" for none
	int line;     // from 1; 0 for none. Of a rule that of its RULE or IPTRULE
	char *text;   // what is wrong, one sentence
	char *fix;    // what to do, in the words of the pages
};

typedef list<finding> finding_list;

/* Adds a finding; strings are copied, null ones are empty. text is a format for what follows. */
void add_finding(finding_list *to, severity weight, finding_code code, const char *device,
		 const char *object, const char *file, int line, const char *fix,
		 const char *text, ...) __attribute__((format(printf, 9, 10)));

/* Takes out the finding at a place. */
void remove_finding(finding_list *from, size_t place);

void free_findings(finding_list *it);

/* --- numbers for people: figures.cpp --- */

const size_t FIGURE_SIZE = 32;

/* "2 Mbit/s", "512 kbit/s", "1.5 Mbit/s", "100 bit/s" */
void format_rate(char text[FIGURE_SIZE], uint64_t bits);

/* "6 KB", "1500 B" */
void format_bytes(char text[FIGURE_SIZE], uint64_t bytes);

/* --- what the scripts say: reading.cpp --- */

/* Rates are bits a second, bursts bytes. A burst of 0 is left to tc. */
struct rates {
	uint64_t rate, ceil;
	uint64_t burst, cburst;
};

/* One TIME line. What it lacks is 0. */
struct slot {
	unsigned days;   // bit n for day n, 0 is Sunday
	int from, to;    // hours, 0 to 23
	bool has_ceil;
	rates at;
	int line;
};

enum leaf_kind { LEAF_OWN, LEAF_SFQ, LEAF_PFIFO, LEAF_BFIFO, LEAF_OTHER }; // own: the kernel's;
                                                                         // other: only read from it
struct leaf {
	leaf_kind kind;
	bool has_quantum, has_perturb, has_limit; // else left to the kernel
	uint64_t quantum; // bytes, sfq
	uint64_t perturb; // seconds, sfq
	uint64_t limit;   // packets of pfifo, bytes of bfifo
};

const size_t NO_NODE = SIZE_MAX;

/* The lines of a script that say it, from 1; 0 where none does. */
struct node_lines {
	int rate, ceil, burst, cburst, prio, leaf;
};

/* An HTB class, the root of a strict-priority device or one of its bands, from one script. */
struct node {
	char *file; // the script's name
	char *id;
	char handle[SCRIPT_HANDLE_SIZE];
	unsigned minor; // last number of the handle, its digits read as hexadecimal, as tc does
	size_t parent;  // index in nodes; NO_NODE for a root
	int level;      // 1 for a root
	bool is_inner;  // has children
	bool is_doubled; // another script has its handle or its minor
	bool has_ceil;
	rates own;      // outside all slots; ceil is the rate where there is none
	int prio;       // as the script says, 1 to 9; 0 without
	unsigned mtu;   // bytes; 0 without
	leaf below;
	list<slot> slots;
	node_lines lines;
};

/* A network; length 0 is any address. Host byte order, the bits behind the length are 0. */
struct network {
	uint32_t address;
	int length;
};

enum protocol { ANY_PROTOCOL = 0, TCP = 6, UDP = 17 };
const int ANY_TOS = -1;

/* What a packet must be for a rule. Ports of a RULE are value and mask, mask 0 is any; those of an
 * IPTRULE are a range, 0 to 65535 is any. */
struct match {
	network source, destination;
	uint16_t source_port, source_mask, destination_port, destination_mask;
	uint16_t source_first, source_last, destination_first, destination_last;
	int proto; // a protocol
	int tos;   // precedence 0 to 7, or ANY_TOS
};

/* A RULE, or an IPTRULE with its mark. */
struct packet_rule {
	size_t of;      // the node it leads to
	int line;       // of its RULE or IPTRULE in the node's script
	int prio;       // PRIORULE
	bool is_marked; // an IPTRULE
	unsigned mark;  // 1 to 65535, of an IPTRULE
	bool hides_digits; // an address of length 0 is any, but its digits say otherwise
	match packet;
};

enum discipline { HTB, SPQ };

struct device {
	char name[SCRIPT_DEVICE_SIZE];
	bool is_sound; // no fault was found in its scripts: only then the rest can be applied
	bool has_discipline;
	discipline kind;
	int default_line;
	unsigned r2q;     // 0 without
	list<node> nodes; // by handle, depth first
	list<packet_rule> rules; // the one that wins before the others; those of inner classes, and of the
	                  // root of a strict-priority device, too: has_effect tells
	time_t changed;   // its oldest script
};

struct plan {
	list<device> devices; // by name
	finding_list findings;
};

/* Reads the scripts. What is wrong with them becomes a fault, and its device is not sound. Findings
 * are in the order of devices, scripts, lines. free_plan releases the plan. */
void read_plan(plan *it, const script_set *set);

/* Adds the warnings of what the scripts say: preflight.cpp */
void check_plan(plan *it);

/* Adds a fault or warning of elsewhere; a fault of a device makes it unsound. */
void add_plan_finding(plan *it, const finding *from);

void free_plan(plan *it);

/* The device of that name; null when there is none. */
device *find_device(plan *it, const char *name);

/* Whether the kernel is told of a rule: not of one that leads to an inner class, or to the root of
 * a strict-priority device. */
bool has_effect(const device *of, const packet_rule *it);

/* "1:10", or "2:1" of a band; "2:" of a strict-priority root. */
void make_classid(char classid[CLASSID_SIZE], const device *of, const node *it);

/* --- hours: schedule.cpp --- */

/* The rates of a node at a moment of wall-clock time: of the first slot that holds, what that lacks
 * from the class. */
rates get_rates_at(const node *it, const struct tm *wall);

/* The slot that holds at that moment, null outside all. */
const slot *get_slot_at(const node *it, const struct tm *wall);

const int WEEK_DAYS = 7, DAY_HOURS = 24;

/* A set of hours of a week; bit n of a day is the hour that begins at n, and Sunday is the first. */
struct week_hours {
	uint32_t days[WEEK_DAYS];
};

/* The hours in which a slot would hold if it stood alone. hours.cpp */
week_hours get_slot_hours(const slot *it);

/* A time in which one node's rates stay the same, from before to. */
struct span {
	time_t from, to;
	rates at;
};

/* The spans of a node from a moment to another, in the zone of TZ, equal neighbours joined.
 * free_list releases them. */
void get_spans(list<span> *spans, const node *it, time_t from, time_t to);

/* The next moment after this one at which a wall clock's hour begins. */
time_t get_next_hour(time_t after);

/* The first moment at which the clock shows the date that it shows at this one. */
time_t get_day_start(time_t within);

/* Finds the first moment after from and up to to at which the zone's clock is set forward or back.
 * False where it is not. */
bool find_clock_change(time_t *at, time_t from, time_t to);

/* --- the class of a packet: explain.cpp --- */

struct packet {
	uint32_t source, destination;       // host byte order
	int proto;                          // IP protocol number
	uint16_t source_port, destination_port;
	unsigned tos;                       // the whole byte
	bool is_fragment;                   // a later fragment, which shows no ports
};

struct explanation {
	const node *to;             // null: unshaped, "direct", or a band that no script describes
	int band;                   // of a strict-priority device, from 1; 0 for HTB
	const packet_rule *by;      // null where no rule matched
	list<const packet_rule *> shadowed; // that match too and lose, first winner first; free_list
};

/* Where the kernel leads a packet that leaves the device. The packet has no IP options, and is no
 * bridged one. */
void explain_packet(explanation *it, const device *of, const packet *sent);

bool does_match(const packet_rule *it, const packet *sent);

/* --- what the kernel runs: tree.cpp --- */

struct tree_class {
	unsigned minor;  // as the kernel counts: 0x10 for 1:10
	unsigned parent; // minor; 0 for the qdisc itself
	rates at;        // burst 0: tc's own for rate and mtu
	unsigned prio;   // 0 to 7
	unsigned mtu;    // 0: none given; the kernel keeps the bursts alone that tc makes of it
	leaf below;
};

enum filter_kind { FILTER_U32, FILTER_FW, FILTER_STRANGE }; // strange: only read from the kernel

struct tree_filter {
	filter_kind kind;
	unsigned prio;   // tc's
	unsigned handle; // u32: 1 to RULE_HANDLE_MAX in its priority, 0 not numbered yet; fw: the mark
	uint32_t whole_handle; // as the kernel wrote it; 0 in a tree that was made
	match packet;    // u32 alone; a rule that is any protocol with ports is two filters
	unsigned to;     // minor
};

struct tree {
	bool is_there;    // has a root qdisc of ours, or shall have
	discipline kind;
	unsigned r2q;     // 0: tc's own, 10
	unsigned otherwise; // HTB: the default's minor
	list<tree_class> classes; // parents before children; none for a strict-priority device
	list<tree_filter> filters; // in the order in which the kernel asks them
	list<char *> chain; // the lines of the firewall's chain, "-A QOS-DEVICE ...", as iptables-save
	                    // prints them, without the line feed
	bool is_called;   // the chain is called from POSTROUTING
};

/* What the device shall run at that moment, in the zone of TZ. The device must be sound. */
void make_tree(tree *it, const device *from, time_t when);

void copy_tree(tree *to, const tree *from);
void free_tree(tree *it);

/* Takes a line of what iptables-save prints of the mangle table, with or without its line feed: a rule
 * of the device's chain goes behind those of the tree, and the call of the chain is noted. Returns
 * whether the line was either. chain.cpp */
bool take_saved_line(tree *to, const char *device, const char *line);

/* The first rule for whose filters the kernel has no number left among those of its PRIORULE
 * (RULE_HANDLE_MAX); null where all have one. filters.cpp */
const packet_rule *find_crowded_rule(const device *of);

/* A leaf's values and bursts that were left to tc or the kernel read back as figures. Where the tree
 * that was asked for leaves them open, and the class and kind are the same, they become open again;
 * of bursts those alone that tc makes of the rate and the MTU that was asked for, which the class
 * gets too. What is then still given was set by somebody. same_tree.cpp */
void forget_own_values(tree *read, const tree *asked);

/* What the kernel gives a leaf of a device to which nothing is given; 0 where that is not known. */
struct own_figures {
	uint64_t quantum;      // of an sfq
	uint64_t packets, bytes; // limits of pfifo and bfifo
};

/* Figures of leaves that are the kernel's own become open where shall leaves them open, whatever was
 * asked for before. same_tree.cpp */
void forget_kernel_figures(tree *read, const tree *shall, const own_figures *own);

/* Whether both leaves are the same to the kernel, which takes no perturb and 0 alike. One that was
 * only read from it is like no other. same_tree.cpp */
bool is_same_leaf(const leaf *one, const leaf *other);

/* Whether both are the same to the kernel: rates within 8 bit/s, bursts within what a microsecond
 * at the rate carries; the numbers of filters do not count, their order does. Says the first
 * difference in why (size bytes) where they are not; why may be null. same_tree.cpp */
bool is_same_tree(const tree *one, const tree *other, char *why, size_t size);

/* --- from one tree to another: transition.cpp --- */

enum stage_program { RUN_TC, RUN_IPTABLES_RESTORE };

/* Input for one run of `tc -batch -` or `iptables-restore --noflush`. */
struct stage {
	stage_program program;
	char *text;
	size_t size;
};

struct transition {
	list<stage> stages; // in order; none where the trees are the same
	bool is_rebuild;    // the device stands without classes for the time of one batch
	bool is_impossible; // the kernel cannot number as many filters (find_crowded_rule): no stages
	const char *reason; // of a rebuild, or why it is impossible; a literal
	size_t added, changed, removed; // classes
	size_t emptied; // those that get another leaf qdisc: what waits in theirs is lost
};

/* How a device gets from one tree, as it was read from the kernel (filters are removed by the handles
 * that it gave them), to another. Every prefix of its lines leaves a tree that the kernel takes, in
 * which a packet finds its class of before or of after; but for a leaf that gets children and a class
 * that becomes a leaf, whose packets may go to the default class while the batch runs. */
void make_transition(transition *it, const char *device, const tree *was, const tree *shall);

void free_transition(transition *it);

/* Writes the stages as an administrator could run them: each under a line "# tc DEVICE" or
 * "# iptables-restore". */
void print_transition(FILE *to, const transition *it, const char *device);

#endif
