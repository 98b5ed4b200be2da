// SPDX-License-Identifier: MIT
/* The script of one class or band. */
#include "class_script.h"

#include <string.h>

#include "../store/message.h"
#include "../store/trace.h"
#include "device.h"
#include "steps.h"

bool open_class_script(script *it, char *device, const char *id, const char *parent_handle,
		       int minor, char handle[CLASS_HANDLE_SIZE], size_t path_size)
{
	char name[CLASS_NAME_SIZE];
	replace_slash(device);
	bool open = make_class_names(name, handle, device, id, parent_handle, minor) &&
		    open_script(it, name, path_size);
	replace(device);
	if (!open)
		qos_msg(1, "Can't open class file");
	return open;
}

static bool is_leaf(const class_rec *rec, const char *kind)
{
	return rec->leaf && strcmp(rec->leaf, kind) == 0;
}

/* The priority comes after the rates on purpose, though a class has it before them. */
static void write_rates(FILE *script, const class_rec *rec)
{
	if (rec->rate)
		fprintf(script, "RATE=%s%s\n", rec->rate, text(rec->rate_unit));
	if (rec->ceil)
		fprintf(script, "CEIL=%s%s\n", rec->ceil, text(rec->ceil_unit));
	if (rec->burst)
		fprintf(script, "BURST=%s%s\n", rec->burst, text(rec->burst_unit));
	if (rec->cburst)
		fprintf(script, "CBURST=%s%s\n", rec->cburst, text(rec->cburst_unit));
	if (rec->prio)
		fprintf(script, "PRIO=%s\n", rec->prio);
	if (rec->mtu)
		fprintf(script, "MTU=%s\n", rec->mtu);
}

static void write_leaf(FILE *script, const class_rec *rec)
{
	if (rec->leaf)
		fprintf(script, "LEAF=%s\n", rec->leaf);
	if (is_leaf(rec, "sfq") && rec->quantum)
		fprintf(script, "QUANTUM=%s\n", rec->quantum);
	if (is_leaf(rec, "sfq") && rec->perturb)
		fprintf(script, "PERTURB=%s\n", rec->perturb);
	// Without a limit the line stands all the same, and says nothing behind its '='.
	if (is_leaf(rec, "pfifo") || is_leaf(rec, "bfifo"))
		fprintf(script, "LIMIT=%s\n", text(rec->limit));
}

int write_class(FILE *script, char *id, int is_class)
{
	class_rec rec = {};
	TRACE("write_class");
	if (is_class)
		get_class_by_id(&rec, id);
	else
		get_basic_by_id(&rec, id);
	TRACE("write_class");
	write_rates(script, &rec);
	write_leaf(script, &rec);
	TRACE("write_class");
	do_rule(script, rec);
	TRACE("write_class");
	do_time(script, rec);
	return 1;
}
