// SPDX-License-Identifier: MIT
/* Store and description files with their contents, in memory and on the disk. */
#include "kept_files.h"

#include <dirent.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "text.h"

/* --- names --- */

static bool is_store_name(const char *name)
{
	for (const known_kind &kind : KINDS) {
		if (strcmp(kind.word, name) == 0)
			return true;
	}
	return false;
}

/* "ID.KIND" of a kind that has descriptions. */
static bool is_description_name(const char *name)
{
	const char *dot = strrchr(name, '.');
	if (!dot || dot == name || strchr(name, '/') || strlen(name) > NAME_MAX)
		return false;
	for (const known_kind &kind : KINDS) {
		if (kind.desc_word && strcmp(kind.desc_word, dot + 1) == 0)
			return true;
	}
	return false;
}

bool is_kept_name(const char *name)
{
	const size_t folder = strlen(DESC_FOLDER);
	if (strncmp(name, DESC_FOLDER, folder) == 0)
		return is_description_name(name + folder);
	return is_store_name(name);
}

bool make_description_name(char name[FILE_NAME_SIZE], object_kind kind, const char *id)
{
	const char *word = KINDS[kind].desc_word;
	if (!word)
		return false;
	int length = snprintf(name, FILE_NAME_SIZE, "%s%s.%s", DESC_FOLDER, id, word);
	return fits(length, FILE_NAME_SIZE) && is_kept_name(name);
}

static void make_path(char path[PATH_MAX], const char *name)
{
	snprintf(path, PATH_MAX, "%s%s", STORE_DIR, name);
}

/* --- the set --- */

/* Where the file of that name is, or would be put. */
static size_t find_index(const kept_files *set, const char *name)
{
	size_t low = 0, high = set->count;
	while (low < high) {
		size_t middle = low + (high - low) / 2;
		if (strcmp(set->files[middle].name, name) < 0)
			low = middle + 1;
		else
			high = middle;
	}
	return low;
}

const kept_file *find_kept_file(const kept_files *set, const char *name)
{
	size_t i = find_index(set, name);
	bool found = i < set->count && strcmp(set->files[i].name, name) == 0;
	return found ? &set->files[i] : nullptr;
}

static bool reserve_place(kept_files *set)
{
	if (set->count < set->room)
		return true;
	size_t room = set->room ? 2 * set->room : 8;
	void *grown = realloc(set->files, room * sizeof(kept_file));
	if (!grown)
		return false;
	set->files = static_cast<kept_file *>(grown);
	set->room = room;
	return true;
}

kept_file *add_place(kept_files *set, const char *name)
{
	if (!reserve_place(set))
		return nullptr;
	size_t i = find_index(set, name);
	kept_file *place = &set->files[i];
	memmove(place + 1, place, (set->count - i) * sizeof(kept_file));
	set->count++;
	*place = {};
	snprintf(place->name, sizeof(place->name), "%s", name);
	return place;
}

void drop_kept_file(kept_files *set, const char *name)
{
	size_t i = find_index(set, name);
	if (i == set->count || strcmp(set->files[i].name, name) != 0)
		return;
	kept_file *gone = &set->files[i];
	free_kept_file(gone);
	set->count--;
	memmove(gone, gone + 1, (set->count - i) * sizeof(kept_file));
}

void free_kept_file(kept_file *it)
{
	free(it->bytes);
	it->bytes = nullptr;
}

void free_kept_files(kept_files *set)
{
	for (size_t i = 0; i < set->count; i++)
		free_kept_file(&set->files[i]);
	free(set->files);
	free(set->note);
	*set = NO_FILES;
}

/* --- reading --- */

bool read_kept_file(kept_file *it, const char *name)
{
	*it = {};
	if (!is_kept_name(name)) {
		errno = EINVAL;
		return false;
	}
	snprintf(it->name, sizeof(it->name), "%s", name);
	char path[PATH_MAX];
	make_path(path, name);
	it->bytes = read_whole(path, &it->size, &it->access);
	it->has_access = it->bytes;
	if (it->bytes)
		it->state = PRESENT;
	else if (errno == EINVAL || errno == ENXIO)
		it->state = NO_FILE;
	return it->bytes || it->state == NO_FILE || errno == ENOENT;
}

bool add_kept_file(kept_files *set, const char *name)
{
	if (find_kept_file(set, name))
		return true;
	kept_file read;
	if (!read_kept_file(&read, name))
		return false;
	kept_file *place = add_place(set, name);
	if (place)
		*place = read;
	else
		free_kept_file(&read);
	return place;
}

static bool add_description(kept_files *set, const char *entry)
{
	char name[FILE_NAME_SIZE];
	snprintf(name, sizeof(name), "%s%s", DESC_FOLDER, entry);
	return !is_kept_name(name) || add_kept_file(set, name);
}

bool add_descriptions(kept_files *set)
{
	DIR *folder = opendir(DESC_DIR);
	if (!folder)
		return errno == ENOENT;
	bool added = true;
	while (added) {
		errno = 0;
		const struct dirent *entry = readdir(folder);
		if (!entry)
			break;
		added = add_description(set, entry->d_name);
	}
	int reason = errno;
	closedir(folder);
	errno = reason;
	return added && reason == 0;
}

bool is_same_file(const kept_file *one, const kept_file *other)
{
	if (one->state != other->state)
		return false;
	return one->state != PRESENT || (one->size == other->size &&
					 memcmp(one->bytes, other->bytes, one->size) == 0);
}

/* --- putting --- */

static bool has_access(const kept_file *it, const file_access *wanted)
{
	return it->access.mode == wanted->mode && it->access.owner == wanted->owner &&
	       it->access.group == wanted->group;
}

/* Whether the disk holds it already. */
static bool is_there(const kept_file *it)
{
	kept_file now;
	if (!read_kept_file(&now, it->name))
		return false;
	bool same = is_same_file(&now, it) && (!it->has_access || has_access(&now, &it->access));
	free_kept_file(&now);
	return same;
}

bool put_file(const kept_file *it)
{
	if (it->state == NO_FILE || is_there(it))
		return true;
	char path[PATH_MAX];
	make_path(path, it->name);
	if (it->state == ABSENT)
		return remove_whole(path);
	return replace_whole(path, it->bytes, it->size, it->has_access ? &it->access : nullptr);
}

static bool sync_file(const kept_file *it)
{
	char path[PATH_MAX];
	make_path(path, it->name);
	return it->state == NO_FILE || sync_whole(path) || errno == ENOENT;
}

bool sync_files(const kept_files *set)
{
	for (size_t i = 0; i < set->count; i++) {
		if (!sync_file(&set->files[i]))
			return false;
	}
	return sync_folder(STORE_DIR) && (sync_folder(DESC_DIR) || errno == ENOENT);
}

bool put_files(const kept_files *set)
{
	int reason = 0;
	for (size_t i = 0; i < set->count; i++) {
		if (!put_file(&set->files[i]) && reason == 0)
			reason = errno;
	}
	errno = reason;
	return reason == 0 && sync_files(set);
}
