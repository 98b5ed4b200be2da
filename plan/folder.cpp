// SPDX-License-Identifier: MIT
/* Scripts as texts: a folder read whole, and the sets that are put together from others. */
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/whole_file.h"
#include "parts.h"

static const off_t SCRIPT_SIZE_MAX = 4 * 1024 * 1024; // some 50,000 rules

/* --- sets --- */

static int compare_scripts(const void *a, const void *b)
{
	return strcmp(static_cast<const script_text *>(a)->name,
		      static_cast<const script_text *>(b)->name);
}

/* Where the script of a name stands in the set, or would. */
static size_t find_place(const script_set *set, const char *name)
{
	size_t from = 0, to = set->count;
	while (from < to) {
		size_t middle = from + (to - from) / 2;
		if (strcmp(set->items[middle].name, name) < 0)
			from = middle + 1;
		else
			to = middle;
	}
	return from;
}

static char *copy_bytes(const char *bytes, size_t size)
{
	if (!bytes)
		return nullptr;
	char *copy = static_cast<char *>(malloc(size + 1));
	if (!copy)
		end_without_memory();
	memcpy(copy, bytes, size);
	copy[size] = '\0';
	return copy;
}

/* The script of that name, a new one without bytes where there is none. */
static script_text *take_place(script_set *set, const char *name)
{
	size_t place = find_place(set, name);
	if (place < set->count && strcmp(set->items[place].name, name) == 0)
		return &set->items[place];
	add_item(set);
	script_text *at = &set->items[place];
	memmove(at + 1, at, (set->count - 1 - place) * sizeof(script_text));
	*at = {};
	at->name = copy_text(name);
	return at;
}

/* Returns the script, whose time is that of before. */
static script_text *put_bytes(script_set *set, const char *name, const char *bytes, size_t size)
{
	char *copy = copy_bytes(bytes, size); // they may be those that are replaced
	script_text *at = take_place(set, name);
	free(at->bytes);
	at->bytes = copy;
	at->size = bytes ? size : 0;
	return at;
}

void put_script(script_set *set, const char *name, const char *bytes, size_t size)
{
	put_bytes(set, name, bytes, size)->changed = time(nullptr);
}

void put_device_scripts(script_set *set, const script_set *from, const char *device)
{
	list<script_owner> owners;
	find_owners(&owners, from);
	for (size_t i = 0; i < from->count; i++) {
		const script_text *it = &from->items[i];
		if (is_script_of(from, &owners[i], device))
			put_bytes(set, it->name, it->bytes, it->size)->changed = it->changed;
	}
	free_list(&owners);
}

static bool is_same_script(const script_text *one, const script_text *other)
{
	if (strcmp(one->name, other->name) != 0 || !one->bytes != !other->bytes)
		return false;
	return !one->bytes ||
	       (one->size == other->size && memcmp(one->bytes, other->bytes, one->size) == 0);
}

/* The next script of the device from a place on; the count of the set where there is none. */
static size_t find_next(const script_set *set, const list<script_owner> *owners,
			const char *device, size_t from)
{
	while (from < set->count && !is_script_of(set, &owners->items[from], device))
		from++;
	return from;
}

bool has_same_scripts(const script_set *one, const script_set *other, const char *device)
{
	list<script_owner> owners, other_owners;
	find_owners(&owners, one);
	find_owners(&other_owners, other);
	size_t i = find_next(one, &owners, device, 0);
	size_t j = find_next(other, &other_owners, device, 0);
	while (i < one->count && j < other->count &&
	       is_same_script(&one->items[i], &other->items[j])) {
		i = find_next(one, &owners, device, i + 1);
		j = find_next(other, &other_owners, device, j + 1);
	}
	free_list(&owners);
	free_list(&other_owners);
	return i == one->count && j == other->count;
}

void free_scripts_read(script_set *set)
{
	for (const script_text &script : *set) {
		free(script.name);
		free(script.bytes);
	}
	free_list(set);
}

/* --- the folder --- */

/* Reads a script that is a file of a size that a script can have; else it stays without bytes. */
static void read_script(script_text *to, int folder)
{
	struct stat info = {};
	int fd = openat(folder, to->name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
	bool is_known = fd >= 0 ? fstat(fd, &info) == 0
				: fstatat(folder, to->name, &info, 0) == 0;
	to->changed = info.st_mtime;
	if (fd >= 0 && is_known && S_ISREG(info.st_mode) && info.st_size <= SCRIPT_SIZE_MAX)
		to->bytes = read_open(fd, static_cast<size_t>(info.st_size), &to->size);
	if (!to->bytes)
		to->size = 0;
	if (fd >= 0)
		close(fd);
}

bool read_scripts(script_set *set, const char *folder)
{
	*set = {};
	DIR *stream = opendir(folder);
	if (!stream)
		return false;
	errno = 0;
	while (const struct dirent *entry = readdir(stream)) {
		if (*entry->d_name != '.') {
			script_text *script = add_item(set);
			script->name = copy_text(entry->d_name);
			read_script(script, dirfd(stream));
		}
		errno = 0;
	}
	int reason = errno;
	closedir(stream);
	if (reason)
		free_scripts_read(set);
	else if (set->count > 0)
		qsort(set->items, set->count, sizeof(script_text), compare_scripts);
	errno = reason;
	return reason == 0;
}
