// SPDX-License-Identifier: MIT
/* The mangle table. Which of the two kinds of programs works is found by trying: those that speak
 * nf_tables are asked first, by their plain names; where the kernel has none, or its nf_tables take
 * no tables of IPv4, those that are called legacy serve. */
#include "firewall.h"

#include <errno.h>
#include <limits.h>
#include <string.h>

#include "../store/message.h"
#include "stages.h"

static const char CHAIN_WORD[] = ":QOS-";
static const char WAIT_SECONDS[] = "10"; // for others who change the firewall meanwhile

/* How iptables-save says that its view is not all there is, and iptables-restore that it cannot. */
static const char LEGACY_HINT[] = "use iptables-legacy-save";
static const char NO_SUPPORT[] = "not supported";

/* --- iptables-save --- */

static const char *next_line(const char *text)
{
	const char *end = strchr(text, '\n');
	return end ? end + 1 : text + strlen(text);
}

static bool has_our_chains(const char *text)
{
	while (*text && strncmp(text, CHAIN_WORD, strlen(CHAIN_WORD)) != 0)
		text = next_line(text);
	return *text;
}

/* Runs it; false where it is not there or fails. */
static bool save(run_result *it, const char *program)
{
	char path[PATH_MAX];
	*it = {};
	if (!find_program(path, sizeof(path), program))
		return false;
	const char *argv[] = { path, "-t", "mangle", nullptr };
	run_program(it, argv, "", 0);
	return it->status == 0;
}

static void tell_failure(const run_result *it)
{
	char why[WHY_SIZE];
	describe_failure(why, "iptables-save", it);
	qos_warn("%s", why);
}

static void take_output(firewall *to, run_result *from, bool is_legacy)
{
	to->text = from->output;
	to->is_legacy = is_legacy;
	to->is_read = true;
	from->output = nullptr;
}

/* Chains of ours stand in the older tables where the newer ones were not to be had. */
static bool read_firewall(firewall *it)
{
	run_result plain, legacy = {};
	bool saved = save(&plain, "iptables-save");
	bool has_more = !saved || strstr(plain.errors, LEGACY_HINT);
	if (has_more && save(&legacy, "iptables-legacy-save") &&
	    (!saved || has_our_chains(legacy.output)))
		take_output(it, &legacy, true);
	else if (saved)
		take_output(it, &plain, false);
	else
		tell_failure(&plain);
	free_run(&plain);
	free_run(&legacy);
	return it->is_read;
}

bool read_chain(tree *to, const char *device, firewall *from)
{
	if (!from->is_read && !read_firewall(from)) {
		errno = EIO;
		return false;
	}
	for (const char *line = from->text; *line; line = next_line(line))
		take_saved_line(to, device, line);
	return true;
}

void free_firewall(firewall *it)
{
	free(it->text);
	*it = {};
}

/* --- iptables-restore --- */

static bool restore(run_result *it, const char *program, const stage *input)
{
	char path[PATH_MAX];
	*it = {};
	it->status = -1;
	if (!find_program(path, sizeof(path), program))
		return false;
	const char *argv[] = { path, "--noflush", "-w", WAIT_SECONDS, nullptr };
	run_program(it, argv, input->text, input->size);
	return it->status == 0;
}

bool restore_firewall(const stage *input, firewall *it, run_result *run)
{
	bool is_legacy = it->is_read && it->is_legacy;
	free_firewall(it);
	if (is_legacy)
		return restore(run, "iptables-legacy-restore", input);
	if (restore(run, "iptables-restore", input))
		return true;
	if (run->errors && !strstr(run->errors, NO_SUPPORT))
		return false;
	run_result legacy;
	if (!restore(&legacy, "iptables-legacy-restore", input)) {
		free_run(&legacy);
		return false;
	}
	free_run(run);
	*run = legacy;
	return true;
}
