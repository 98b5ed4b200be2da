// SPDX-License-Identifier: MIT
/* The driver: resolves the device of every policy, then compiles one policy after the other, the
 * device script first and the scripts of its classes or bands after it. */
#include <stdlib.h>
#include <string.h>

#include <cfl.h>

#include "../scripts/scripts.h"
#include "../store/message.h"
#include "../store/paths.h"
#include "../store/trace.h"
#include "compiler.h"
#include "device.h"
#include "reference.h"
#include "steps.h"

static const size_t DEVICE_PATH_SIZE = sizeof(SCRIPT_DIR) + 104; // bytes
static const int ROOT_MINOR = 2; // of a class tree, and the major number of the bands

char *g_cur_dev;
int g_class_count;
int g_basic_count;

/* A policy's name and its device, both in device form; no device where it was not resolved. */
struct bound_policy {
	char *name;
	char *device;
};

enum outcome {
	SKIPPED,  // no device script was opened
	COMPILED, // one was
	STOPPED,  // one was, but the run cannot go on, and why is told
};

/* Section position p is entry p - 2; an entry without a name ends the list. */
static void resolve_devices(cfl *store, int count, bound_policy *policies)
{
	for (int i = 2; i <= count; i++) {
		bound_policy *policy = &policies[i - 2];
		policy->name = copy_text(cfl_section_get_name_by_position(store, i));
		if (!policy->name)
			return;
		replace(policy->name);
		printf("Result : %s\n", policy->name);
		get_dev_name(policy->name, &policy->device);
		printf("DEV Result : %s\n", text(policy->device));
		TRACE("do_policy");
	}
}

/* Ends the run at a policy, and says why. */
static outcome stop_at(const bound_policy *policy, const char *reason)
{
	qos_warn("policy %s: %s, the run ends here", policy->name, reason);
	return STOPPED;
}

static void tell_absent(cfl *store, const char *path, const bound_policy *policy,
			const char *what, const char *id)
{
	if (id && !has_object(store, id))
		qos_warn("policy %s: its %s '%s' is not in the %s store", policy->name, what, id,
			 get_store_word(path));
}

/* Counts the sections of the store at path, where the policy's classes are; false when it cannot
 * be read. default_class is null where it is not looked for. */
static bool count_sections(const char *path, int *count, const bound_policy *policy,
			   const char *root_class, const char *default_class)
{
	cfl *store = cfl_read(path);
	if (!store)
		return false;
	*count = cfl_get_sections_count(store);
	tell_absent(store, path, policy, "root class", root_class);
	if (default_class && *default_class) // an emptied one is none
		tell_absent(store, path, policy, "default class", default_class);
	cfl_free(store);
	return true;
}

static outcome compile_priority_policy(script *file, const bound_policy *policy,
				       const policy_rec *rec)
{
	fprintf(file->stream, "QDISC=spq\n");
	close_script(file);
	TRACE("do_policy");
	if (!count_sections(BASIC_STORE, &g_basic_count, policy, rec->root_class, nullptr))
		return stop_at(policy, "the basic store cannot be read");
	TRACE("do_policy");
	g_cur_dev = policy->device;
	do_spq(policy->device, rec->root_class, 0, ROOT_MINOR);
	return COMPILED;
}

static outcome compile_tree_policy(script *file, const bound_policy *policy,
				   const policy_rec *rec)
{
	fprintf(file->stream, "QDISC=htb\n");
	fprintf(file->stream, "DEFAULT=%d\n", DEFAULT_MINOR);
	if (rec->r2q)
		fprintf(file->stream, "R2Q=%s\n", rec->r2q);
	close_script(file);
	TRACE("do_policy");
	if (!count_sections(CLASS_STORE, &g_class_count, policy, rec->root_class,
			    rec->default_class))
		return stop_at(policy, "the class store cannot be read");
	TRACE("do_policy");
	g_cur_dev = policy->device;
	do_class(policy->device, rec->root_class, nullptr, ROOT_MINOR, rec->default_class);
	return COMPILED;
}

/* A policy of no discipline that is known leaves its device script empty. */
static outcome compile_unknown_policy(script *file, const bound_policy *policy,
				      const policy_rec *rec)
{
	close_script(file);
	return stop_at(policy, rec->qdisc ? "its discipline is neither htb nor spq"
					  : "it has no discipline");
}

/* rec is shared by all policies: one that cannot be loaded is compiled as the one before it. */
static outcome compile_policy(const bound_policy *policy, policy_rec *rec)
{
	replace_slash(policy->name);
	get_policy_by_id(rec, policy->name);
	replace(policy->name);
	TRACE("do_policy");
	if (!policy->device) {
		qos_warn("policy %s: no device, left out", policy->name);
		return SKIPPED;
	}
	replace_slash(policy->device); // and not back for a policy that is left out here
	TRACE("do_policy");
	if (!rec->root_class) {
		qos_warn("policy %s: no root class, left out", policy->name);
		return SKIPPED;
	}
	script file;
	bool open = open_script(&file, policy->device, DEVICE_PATH_SIZE);
	replace(policy->device);
	if (!open)
		return SKIPPED;
	TRACE("do_policy");
	if (rec->qdisc && strcmp(rec->qdisc, "spq") == 0)
		return compile_priority_policy(&file, policy, rec);
	if (rec->qdisc && strcmp(rec->qdisc, "htb") == 0)
		return compile_tree_policy(&file, policy, rec);
	return compile_unknown_policy(&file, policy, rec);
}

static int compile_policies(const bound_policy *policies)
{
	policy_rec rec = {};
	int result = -1;
	for (; policies->name; policies++) {
		outcome end = compile_policy(policies, &rec);
		if (end == STOPPED)
			return -1;
		if (end == COMPILED)
			result = 1;
	}
	return result;
}

int do_policy(void)
{
	TRACE("do_policy");
	cfl *store = cfl_read(POLICY_STORE);
	if (!store) {
		qos_msg(1, "Can not handle Policy DB");
		return 0;
	}
	TRACE("do_policy");
	int count = cfl_get_sections_count(store);
	bound_policy *policies = static_cast<bound_policy *>(
		calloc(static_cast<size_t>(count) + 1, sizeof(bound_policy)));
	if (!policies)
		end_without_memory();
	resolve_devices(store, count, policies);
	cfl_free(store);
	TRACE("do_policy");
	if (policies->name)
		tell_absent_parents();
	int result = compile_policies(policies);
	TRACE("do_policy");
	free(policies);
	return result;
}
