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
#include "steps.h"

static const size_t DEVICE_PATH_SIZE = 128;
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
	STOPPED,  // one was, but the run cannot go on
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

/* Counts the sections of the store at path; false when it cannot be read. */
static bool count_sections(const char *path, int *count)
{
	cfl *store = cfl_read(path);
	if (!store)
		return false;
	*count = cfl_get_sections_count(store);
	cfl_free(store);
	return true;
}

static outcome compile_priority_policy(script *file, char *device, const policy_rec *rec)
{
	fprintf(file->stream, "QDISC=spq\n");
	close_script(file);
	TRACE("do_policy");
	if (!count_sections(BASIC_STORE, &g_basic_count))
		return STOPPED;
	TRACE("do_policy");
	g_cur_dev = device;
	do_spq(device, rec->root_class, 0, ROOT_MINOR);
	return COMPILED;
}

static outcome compile_tree_policy(script *file, char *device, const policy_rec *rec)
{
	fprintf(file->stream, "QDISC=htb\n");
	fprintf(file->stream, "DEFAULT=%d\n", DEFAULT_MINOR);
	if (rec->r2q)
		fprintf(file->stream, "R2Q=%s\n", rec->r2q);
	close_script(file);
	TRACE("do_policy");
	if (!count_sections(CLASS_STORE, &g_class_count))
		return STOPPED;
	TRACE("do_policy");
	g_cur_dev = device;
	do_class(device, rec->root_class, nullptr, ROOT_MINOR, rec->default_class);
	return COMPILED;
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
	replace_slash(policy->device);
	TRACE("do_policy");
	if (!rec->root_class)
		return SKIPPED;
	script file;
	bool open = open_script(&file, policy->device, DEVICE_PATH_SIZE);
	replace(policy->device);
	if (!open)
		return SKIPPED;
	TRACE("do_policy");
	if (rec->qdisc && strcmp(rec->qdisc, "spq") == 0)
		return compile_priority_policy(&file, policy->device, rec);
	if (rec->qdisc && strcmp(rec->qdisc, "htb") == 0)
		return compile_tree_policy(&file, policy->device, rec);
	close_script(&file);
	return STOPPED;
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
	if (!policies) {
		qos_warn("no memory for %d policies", count);
		cfl_free(store);
		return -1;
	}
	resolve_devices(store, count, policies);
	cfl_free(store);
	TRACE("do_policy");
	int result = compile_policies(policies);
	TRACE("do_policy");
	free(policies);
	return result;
}
