// SPDX-License-Identifier: MIT
/* A device of the user's own name in a network name space of our own, and what runs on it. */
#include "selftest.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../store/message.h"

static const size_t PROGRAM_SIZE = 64; // bytes for a path
static const char PEERS[][8] = { "far0", "far1" }; // names of the other end

/* IPv6 would send packets of its own, which nobody asked for and which would be counted. A kernel
 * without it has no such file. */
static const char NO_IPV6[] = "/proc/sys/net/ipv6/conf/default/disable_ipv6";

/* --- what the kernel lacks --- */

static bool is_tested(const packet_rule *it, const lacking *without)
{
	return it->is_marked ? !without->marks : !without->u32;
}

void make_tested(device *it, const device *from, const lacking *without)
{
	*it = *from;
	it->nodes = {};
	it->rules = {};
	for (const node &of : from->nodes) {
		node *copy = add_item(&it->nodes);
		*copy = of;
		if (copy->below.kind == LEAF_SFQ && without->sfq)
			copy->below = {};
	}
	for (const packet_rule &rule : from->rules) {
		if (is_tested(&rule, without))
			*add_item(&it->rules) = rule;
	}
}

void free_tested(device *it)
{
	free_list(&it->nodes);
	free_list(&it->rules);
}

/* --- programs --- */

static void tell_failure(const char *program, const run_result *result)
{
	int length = static_cast<int>(strcspn(text(result->errors), "\n"));
	if (!result->errors)
		qos_warn("%s is not there", program);
	else if (length > 0)
		qos_warn("%s: %.*s", program, length, result->errors);
	else
		qos_warn("%s failed (%d)", program, result->status);
}

/* Runs a program with these arguments, at most four. Where it fails the result tells why. */
static bool try_run(run_result *result, const char *program, const char *const *arguments,
		    const char *input, size_t size)
{
	char path[PROGRAM_SIZE];
	*result = {};
	if (!find_program(path, sizeof(path), program))
		return false;
	const char *argv[] = { path, arguments[0], arguments[1], arguments[2], arguments[3],
			       nullptr };
	run_program(result, argv, input, size);
	return result->status == 0;
}

static bool run(const char *program, const char *const *arguments, const char *input, size_t size)
{
	run_result result;
	bool done = try_run(&result, program, arguments, input, size);
	if (!done)
		tell_failure(program, &result);
	free_run(&result);
	return done;
}

static bool run_ip(const char *batch)
{
	static const char *const ARGUMENTS[4] = { "-batch", "-" };
	return run("ip", ARGUMENTS, batch, strlen(batch));
}

/* --- the pair --- */

static void switch_ipv6_off(void)
{
	int fd = open(NO_IPV6, O_WRONLY | O_CLOEXEC);
	if (fd < 0)
		return;
	if (write(fd, "1", 1) != 1)
		qos_warn("%s: %s", NO_IPV6, strerror(errno));
	close(fd);
}

/* Without address resolution every destination is a neighbour, and the other end is meant by none of
 * the frames: it takes them and lets them fall. */
bool open_pair(const char *name)
{
	const char *peer = PEERS[strcmp(name, PEERS[0]) == 0];
	char batch[512];
	switch_ipv6_off();
	snprintf(batch, sizeof(batch),
		 "link add dev %s type veth peer name %s\n"
		 "link set dev %s arp off\n"
		 "link set dev %s up\n"
		 "link set dev %s up\n"
		 "route add default dev %s\n",
		 name, peer, name, peer, name, name);
	if (run_ip(batch))
		return true;
	qos_warn("%s: no device of this name can be made to test on", name);
	return false;
}

void close_pair(const char *name)
{
	char batch[64];
	snprintf(batch, sizeof(batch), "link del dev %s\n", name);
	run_ip(batch);
}

/* --- the tree --- */

/* Where the kernel has no nf_tables, the older program serves. */
static bool restore_firewall(const stage *it)
{
	static const char *const ARGUMENTS[4] = { "--noflush", "--wait", "10" };
	run_result first;
	bool done = try_run(&first, "iptables-restore", ARGUMENTS, it->text, it->size);
	free_run(&first);
	return done || run("iptables-legacy-restore", ARGUMENTS, it->text, it->size);
}

static bool run_stage(const stage *it)
{
	static const char *const BATCH[4] = { "-batch", "-" };
	switch (it->program) {
	case RUN_TC:
		return run("tc", BATCH, it->text, it->size);
	case RUN_IPTABLES_RESTORE:
		return restore_firewall(it);
	}
	return false;
}

static bool run_stages(const transition *it)
{
	for (const stage &next : it->stages) {
		if (!run_stage(&next))
			return false;
	}
	return true;
}

static bool is_running(const device *it, const tree *shall)
{
	tree runs = {};
	char why[160] = "";
	bool known = read_tree(&runs, it->name, shall);
	bool same = known && is_same_tree(&runs, shall, why, sizeof(why));
	if (!known)
		qos_warn("%s: what runs cannot be read: %s", it->name, strerror(errno));
	else if (!same)
		qos_warn("%s: the kernel made something else of it: %s", it->name, why);
	free_tree(&runs);
	return same;
}

bool apply_to_pair(const device *it, time_t when)
{
	tree shall = {}, none = {};
	transition change = {};
	make_tree(&shall, it, when);
	make_transition(&change, it->name, &none, &shall);
	bool done = run_stages(&change) && is_running(it, &shall);
	free_transition(&change);
	free_tree(&shall);
	return done;
}
