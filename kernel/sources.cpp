// SPDX-License-Identifier: MIT
/* Where the scripts of an apply come from. */
#include "whole_apply.h"

#include <errno.h>
#include <string.h>

#include "../store/message.h"

static bool read_source(source *it, const char *path)
{
	bool read = read_record(&it->from, path);
	it->scripts = &it->from.scripts;
	read_plan(&it->own, it->scripts);
	it->said = &it->own;
	return read;
}

static void take_given(source *it, const apply_request *asked)
{
	it->scripts = asked->scripts;
	if (!asked->checked)
		read_plan(&it->own, it->scripts);
	it->said = asked->checked ? asked->checked : &it->own;
}

bool find_shall(source *it, const apply_request *asked)
{
	const char *path = nullptr;
	switch (asked->source) {
	case FROM_SCRIPTS:
		take_given(it, asked);
		return true;
	case NOTHING:
		it->scripts = &it->from.scripts;
		it->said = &it->own;
		return true;
	case AGAIN:
		path = APPLIED_FILE;
		break;
	case FROM_BEFORE:
		path = BEFORE_FILE;
		break;
	case FROM_GOOD:
		path = GOOD_FILE;
		break;
	}
	if (read_source(it, path) || (errno == ENOENT && asked->source != FROM_BEFORE))
		return true;
	if (errno == ENOENT)
		qos_warn("nothing was applied before");
	else
		qos_warn("%s cannot be read: %s", path,
			 errno == EBADMSG ? "it is damaged" : strerror(errno));
	return false;
}

void find_good(source *it, const apply_request *asked)
{
	it->said = &it->own;
	if (asked->or_good)
		read_source(it, GOOD_FILE);
}

void free_source(source *it)
{
	free_plan(&it->own);
	free_record(&it->from);
}

const device *find_sound(const plan *in, const char *name)
{
	for (const device &it : in->devices) {
		if (strcmp(it.name, name) == 0)
			return it.is_sound ? &it : nullptr;
	}
	return nullptr;
}
