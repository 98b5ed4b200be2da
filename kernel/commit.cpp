// SPDX-License-Identifier: MIT
/* The records of an apply. */
#include "commit.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "../store/message.h"
#include "../store/whole_file.h"

/* --- comparing --- */

static bool is_same_script(const script_text *one, const script_text *other)
{
	return strcmp(one->name, other->name) == 0 && one->size == other->size && one->bytes &&
	       other->bytes && memcmp(one->bytes, other->bytes, one->size) == 0;
}

bool has_same_set(const script_set *one, const script_set *other)
{
	if (one->count != other->count)
		return false;
	for (size_t i = 0; i < one->count; i++) {
		if (!is_same_script(&(*one)[i], &(*other)[i]))
			return false;
	}
	return true;
}

const made_device *find_made(const record *in, const char *device)
{
	for (const made_device &it : in->made) {
		if (strcmp(it.device, device) == 0)
			return &it;
	}
	return nullptr;
}

bool has_same_made(const record *one, const record *other)
{
	for (const made_device &it : one->made) {
		const made_device *found = find_made(other, it.device);
		if (!found || found->index != it.index)
			return false;
	}
	return one->made.count == other->made.count;
}

void add_made(record *to, const char *device, int index)
{
	made_device *it = nullptr;
	for (made_device &known : to->made) {
		if (strcmp(known.device, device) == 0)
			it = &known;
	}
	if (!it)
		it = add_item(&to->made);
	snprintf(it->device, sizeof(it->device), "%s", device);
	it->index = index;
}

/* --- the files --- */

bool read_record_or_none(record *it, const char *path)
{
	if (read_record(it, path) || errno == ENOENT)
		return true;
	qos_warn("%s cannot be read: %s", path,
		 errno == EBADMSG ? "it is damaged" : strerror(errno));
	return false;
}

bool open_apply(const record *becomes)
{
	return write_record(becomes, OPEN_FILE);
}

static bool remove_former(void)
{
	return unlink(FORMER_FILE) == 0 || errno == ENOENT;
}

bool commit_apply(const record *becomes, const record *was)
{
	bool is_other = !has_same_set(&becomes->scripts, &was->scripts);
	if (is_other && !write_record(was, FORMER_FILE))
		return false;
	if (!write_record(becomes, APPLIED_FILE)) {
		int reason = errno;
		remove_former();
		errno = reason;
		return false;
	}
	if (is_other)
		rename(FORMER_FILE, BEFORE_FILE); // what fails here close_apply does again
	return true;
}

/* A former record that is not what is applied was on its way to be the one before. */
static bool settle_former(void)
{
	record former, applied;
	if (!read_record(&former, FORMER_FILE))
		return errno == ENOENT || remove_former();
	read_record_or_none(&applied, APPLIED_FILE);
	bool is_other = !has_same_set(&former.scripts, &applied.scripts);
	free_record(&former);
	free_record(&applied);
	return is_other ? rename(FORMER_FILE, BEFORE_FILE) == 0 : remove_former();
}

bool close_apply(void)
{
	return settle_former() && remove_whole(OPEN_FILE);
}

/* --- the last good one --- */

/* To run nothing at all is no state that a start could fall back on. */
bool keep_good(void)
{
	record applied, good;
	if (!read_record(&applied, APPLIED_FILE))
		return false;
	bool is_stopped = applied.scripts.count == 0;
	bool kept = read_record(&good, GOOD_FILE) &&
		    (is_stopped || has_same_set(&applied.scripts, &good.scripts));
	free_list(&applied.made); // which says nothing after the next start
	kept = kept || write_record(&applied, GOOD_FILE);
	int reason = errno;
	free_record(&applied);
	free_record(&good);
	errno = reason;
	return kept;
}
