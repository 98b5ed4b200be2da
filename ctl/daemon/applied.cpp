// SPDX-License-Identifier: MIT
/* What the daemon knows of what was applied. */
#include "applied.h"

#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>

#include "../../store/fingerprint.h"
#include "log.h"

static void take_names(applied *to, const script_set *from)
{
	for (const script_text &script : *from) {
		if (strlen(script.name) < SCRIPT_DEVICE_SIZE)
			strcpy(add_item(&to->asked)->text, script.name);
	}
}

uint64_t get_scripts_print(const script_set *of)
{
	uint64_t sum = 0;
	for (const script_text &script : *of) {
		uint64_t print = add_text(FINGERPRINT_START, script.name);
		sum += add_bytes(print, text(script.bytes), script.size);
	}
	return sum;
}

static void read_before(applied *it)
{
	record from;
	bool is_read = read_record(&from, BEFORE_FILE);
	it->before = is_read ? from.when : 0;
	it->is_before_nothing = is_read && from.scripts.count == 0;
	if (is_read)
		free_record(&from);
}

void read_applied(applied *it)
{
	record from;
	read_before(it);
	free_applied(it);
	if (read_record(&from, APPLIED_FILE)) {
		it->is_there = true;
		take_names(it, &from.scripts);
		it->when = from.when;
		it->print = get_scripts_print(&from.scripts);
		it->made = from.made;
		from.made = {};
		free_record(&from);
	} else if (errno != ENOENT) {
		it->is_there = true;
		log_line(LOG_ERR, "%s cannot be read: %s", APPLIED_FILE, strerror(errno));
	}
}

void free_applied(applied *it)
{
	free_list(&it->made);
	free_list(&it->asked);
	it->is_there = false;
	it->when = 0;
	it->print = 0;
}

bool is_asked_for(const applied *it, const char *device)
{
	for (const device_name &name : it->asked) {
		if (strcmp(name.text, device) == 0)
			return true;
	}
	return it->is_there && it->asked.count == 0;
}

bool is_made(const applied *it, const char *device, int index)
{
	for (const made_device &made : it->made) {
		if (made.index == index && strcmp(made.device, device) == 0)
			return true;
	}
	return false;
}
