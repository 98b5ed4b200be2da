// SPDX-License-Identifier: MIT
/* qosctl selftest: the user's own tree on a pair of devices in a network name space of its own, and
 * real packets on it. */
#include "selftest.h"

#include <errno.h>
#include <sched.h>
#include <string.h>
#include <unistd.h>

#include "../store/message.h"
#include "status.h" // print_plain

static const size_t PARTS_MAX = 32;
static const int CLASS_WIDTH = 24;

namespace {

/* What a part is for, and where in lacking its want is noted. */
struct needed_part {
	const char *name;
	bool lacking::*want;
	const char *without; // what becomes of the test
};

/* What the whole came to. */
struct outcome {
	size_t classes, arrived, untested;
	bool failed;
};

} // namespace

static const needed_part NEEDED[] = {
	{ "sch_htb", &lacking::htb, "devices with QDISC=htb are not tested" },
	{ "sch_prio", &lacking::prio, "devices with QDISC=spq are not tested" },
	{ "sch_sfq", &lacking::sfq, "the kernel's own queue stands for sfq" },
	{ "cls_u32", &lacking::u32, "rules without a mark are not tested" },
	{ "cls_fw", &lacking::marks, "rules with a mark are not tested" },
	{ "xt_mark", &lacking::marks, "rules with a mark are not tested" },
	{ "xt_tos", &lacking::marks, "rules with a mark are not tested" },
};

/* --- before --- */

static void note_part(lacking *to, const kernel_part *part)
{
	if (!part->lacks)
		return;
	const char *without = "it is not tested";
	for (const needed_part &row : NEEDED) {
		if (strcmp(row.name, part->name) != 0)
			continue;
		to->*row.want = true;
		without = row.without;
	}
	printf("This kernel lacks %s: %s.\n", part->name, without);
}

/* Says what the kernel lacks, and enters the name space. */
static int prepare(lacking *without)
{
	kernel_part parts[PARTS_MAX];
	size_t count = 0;
	if (!probe_kernel(parts, PARTS_MAX, &count) || unshare(CLONE_NEWNET) != 0) {
		bool is_refused = errno == EPERM || errno == EACCES;
		qos_warn("no network name space can be made: %s",
			 is_refused ? "only root may" : strerror(errno));
		return is_refused ? EXIT_NOT_ALLOWED : EXIT_FAILED;
	}
	for (size_t i = 0; i < count; i++)
		note_part(without, &parts[i]);
	return EXIT_DONE;
}

/* --- the packets of a device --- */

/* A leaf of a tree, or a band. */
static bool is_leaf(const device *of, const node *it)
{
	return of->kind == HTB ? !it->is_inner : it->parent != NO_NODE;
}

static void find_packets(leaf_test *to, const device *of)
{
	packet found;
	for (const packet_rule &rule : of->rules) {
		if (rule.of != to->node || !has_effect(of, &rule))
			continue;
		if (find_packet(&found, of, &rule))
			*add_item(&to->packets) = found;
		else
			to->unreachable++;
	}
	const node *leaf = &of->nodes[to->node];
	bool takes_rest = of->kind == HTB && leaf->minor == DEFAULT_MINOR;
	if ((takes_rest || to->packets.count == 0) && find_unmatched_packet(&found, of, leaf))
		*add_item(&to->packets) = found;
}

static void make_tests(list<leaf_test> *tests, const device *of, time_t when)
{
	tm wall;
	localtime_r(&when, &wall);
	for (size_t i = 0; i < of->nodes.count; i++) {
		if (!is_leaf(of, &of->nodes[i]))
			continue;
		leaf_test *test = add_item(tests);
		test->node = i;
		rates at = get_rates_at(&of->nodes[i], &wall);
		test->promised = at.rate;
		test->most = at.ceil;
		find_packets(test, of);
	}
}

static void free_tests(list<leaf_test> *tests)
{
	for (leaf_test &test : *tests)
		free_list(&test.packets);
	free_list(tests);
}

/* --- what is printed --- */

static size_t count_rules(const device *of, size_t node)
{
	size_t count = 0;
	for (const packet_rule &rule : of->rules)
		count += rule.of == node;
	return count;
}

/* Why a leaf has no packet. all is the device with every rule. */
static const char *get_want(const device *of, const device *all, const leaf_test *test)
{
	if (test->unreachable > 0)
		return "rules before its own take all its packets";
	if (count_rules(all, test->node) > count_rules(of, test->node))
		return "its rules need what this kernel lacks";
	return "no rule leads to it";
}

static void print_rate(const leaf_test *test)
{
	char promised[FIGURE_SIZE], reached[FIGURE_SIZE];
	format_rate(promised, test->promised);
	printf("  %14s", promised);
	if (!test->is_measured) {
		printf("  %s", test->promised < SLOWEST ? "too slow to be measured"
							: "more than can be sent here");
		return;
	}
	format_rate(reached, test->reached);
	printf("  %14s  %3.0f %%", reached,
	       100.0 * static_cast<double>(test->reached) / static_cast<double>(test->promised));
}

static void print_test(const device *of, const device *all, const leaf_test *test)
{
	char classid[CLASSID_SIZE];
	const node *leaf = &of->nodes[test->node];
	make_classid(classid, of, leaf);
	printf("  ");
	int used = print_plain(stdout, leaf->id);
	printf("%*s  %-6s", used < CLASS_WIDTH ? CLASS_WIDTH - used : 0, "", classid);
	if (test->packets.count == 0) {
		printf("  no packet reaches it: %s\n", get_want(of, all, test));
		return;
	}
	printf("  %5llu  %7llu", static_cast<unsigned long long>(test->sent),
	       static_cast<unsigned long long>(test->arrived));
	if (of->kind == HTB)
		print_rate(test);
	if (test->arrived != test->sent)
		printf("  NOT ALL ARRIVED");
	if (test->unreachable > 0)
		printf("  (shadowed rules: %zu)", test->unreachable);
	putchar('\n');
}

static void print_tests(const device *of, const device *all, const list<leaf_test> *tests)
{
	printf("  %-*s  %-6s  %5s  %7s", CLASS_WIDTH, "class", "id", "sent", "arrived");
	if (of->kind == HTB)
		printf("  %14s  %14s", "promised", "reached");
	putchar('\n');
	for (const leaf_test &test : *tests)
		print_test(of, all, &test);
}

/* What could not be measured was held back by this machine, not by the tree. */
static void print_bound(const list<leaf_test> *tests, uint64_t offered)
{
	for (const leaf_test &test : *tests) {
		if (test.packets.count == 0 || test.is_measured || test.promised < SLOWEST)
			continue;
		char most[FIGURE_SIZE];
		format_rate(most, offered);
		printf("  All at once this machine sends no more than %s.\n", most);
		return;
	}
}

static void add_up(outcome *to, const list<leaf_test> *tests)
{
	for (const leaf_test &test : *tests) {
		to->classes++;
		to->untested += test.packets.count == 0;
		to->arrived += test.packets.count > 0 && test.sent == test.arrived;
	}
}

/* --- a device --- */

static bool test_on_pair(const device *of, list<leaf_test> *tests, time_t when, uint64_t *offered)
{
	return apply_to_pair(of, when) && send_probes(of, tests->items, tests->count) &&
	       (of->kind == SPQ || measure_load(of, tests->items, tests->count, offered));
}

static void test_tree(outcome *to, const device *all, const lacking *without, time_t when)
{
	device of;
	list<leaf_test> tests = {};
	uint64_t offered = 0;
	make_tested(&of, all, without);
	make_tests(&tests, &of, when);
	bool is_open = open_pair(of.name);
	bool done = is_open && test_on_pair(&of, &tests, when, &offered);
	if (is_open)
		close_pair(of.name);
	if (done) {
		print_tests(&of, all, &tests);
		if (of.kind == HTB)
			print_bound(&tests, offered);
		add_up(to, &tests);
	}
	to->failed |= !done;
	free_tests(&tests);
	free_tested(&of);
}

static void test_device(outcome *to, const device *it, const lacking *without)
{
	if (!it->is_sound) {
		qos_warn("%s: its scripts have faults; 'qosctl check' tells", it->name);
		to->failed = true;
		return;
	}
	bool is_lacking = it->kind == HTB ? without->htb : without->prio;
	printf("%s: %s%s\n", it->name, it->kind == HTB ? "htb" : "spq",
	       is_lacking ? ", not tested" : "");
	fflush(stdout); // the test takes a while
	if (!is_lacking)
		test_tree(to, it, without, time(nullptr));
}

static int conclude(const outcome *it)
{
	printf("%zu of %zu classes got all their packets", it->arrived, it->classes);
	if (it->untested > 0)
		printf(", %zu cannot be reached", it->untested);
	printf(".\n");
	return it->failed || it->arrived + it->untested < it->classes ? EXIT_FAILED : EXIT_DONE;
}

static int test_plan(const plan *it, const options *given)
{
	lacking without = {};
	int status = prepare(&without);
	if (status != EXIT_DONE)
		return status;
	outcome all = {};
	for (const device &of : it->devices) {
		if (is_wanted(given, of.name))
			test_device(&all, &of, &without);
	}
	return conclude(&all);
}

int run_selftest(const options *given)
{
	plan it;
	script_set set;
	int status = read_input(&it, &set, given);
	if (status != EXIT_DONE)
		return status;
	status = test_plan(&it, given);
	free_plan(&it);
	free_scripts_read(&set);
	return status;
}
