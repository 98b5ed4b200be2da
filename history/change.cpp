// SPDX-License-Identifier: MIT
/* A change: begun, committed or put back as a whole. While it is open, its file is what
 * store/laid_aside makes. To close it, the file is replaced by one that holds only what differs,
 * and the differences behind, and gets its number: that rename is the moment of the change. */
#include <errno.h>
#include <stdlib.h>

#include "../store/laid_aside.h"
#include "entry.h"

/* Frees two sets of files and returns the outcome, errno untouched. */
static bool finish(bool outcome, kept_files *one, kept_files *other)
{
	int reason = errno;
	free_kept_files(one);
	free_kept_files(other);
	errno = reason;
	return outcome;
}

/* --- beginning --- */

/* Opens a change of these files. */
static bool begin_files(const change_note *note, kept_files *files)
{
	free(files->note);
	files->note = make_note_line(note, time(nullptr));
	return files->note && open_change(files);
}

static bool add_names(kept_files *files, const char *const *names, int count)
{
	for (int i = 0; i < count; i++) {
		if (!add_kept_file(files, names[i]))
			return false;
	}
	return true;
}

bool begin_change(const change_note *note, const char *const *names, int count)
{
	kept_files files = NO_FILES, none = NO_FILES;
	bool begun = add_names(&files, names, count) && begin_files(note, &files);
	return finish(begun, &files, &none);
}

/* --- committing --- */

/* Moves a file into a set. */
static bool move_file(kept_files *set, kept_file *it)
{
	kept_file *place = add_place(set, it->name);
	if (!place)
		return false;
	*place = *it;
	it->bytes = nullptr;
	return true;
}

/* Reads what the file is now, and moves both to their sets where they differ. */
static bool sort_out(kept_file *laid, kept_files *before, kept_files *after)
{
	kept_file now;
	if (!read_kept_file(&now, laid->name))
		return false;
	bool moved = is_same_file(&now, laid) ||
		     (move_file(after, &now) && move_file(before, laid));
	free_kept_file(&now);
	return moved;
}

static bool sort_out_all(kept_files *laid, kept_files *before, kept_files *after)
{
	for (size_t i = 0; i < laid->count; i++) {
		if (!sort_out(&laid->files[i], before, after))
			return false;
	}
	before->note = laid->note;
	laid->note = nullptr;
	return true;
}

/* What the entry says has happened is on the disk before the entry is. */
static bool close_change(const kept_files *before, const kept_files *after)
{
	size_t size;
	char *entry = sync_files(after) ? make_closed_entry(before, after, &size) : nullptr;
	if (!entry)
		return false;
	bool closed = replace_open_change(entry, size) && close_entry();
	int reason = errno;
	free(entry);
	errno = reason;
	return closed;
}

bool commit_change(void)
{
	kept_files laid, before = NO_FILES, after = NO_FILES;
	if (!read_open_change(&laid))
		return false;
	bool sorted = sort_out_all(&laid, &before, &after);
	finish(sorted, &laid, &laid);
	if (!sorted)
		return finish(false, &before, &after);
	if (before.count == 0)
		return finish(drop_open_change(), &before, &after);
	bool closed = close_change(&before, &after);
	if (closed)
		drop_old_entries();
	return finish(closed, &before, &after);
}

bool undo_change(void)
{
	return put_back_change();
}

/* --- going back --- */

/* Adds the files of an entry, in the place of those of a later one. */
static bool overlay_entry(kept_files *target, unsigned number)
{
	entry it;
	if (!read_entry(&it, number))
		return false;
	bool moved = true;
	for (size_t i = 0; moved && i < it.before.count; i++) {
		kept_file *file = &it.before.files[i];
		drop_kept_file(target, file->name);
		moved = move_file(target, file);
	}
	int reason = errno;
	free_entry(&it);
	errno = reason;
	return moved;
}

/* What the files were before the entry: of each, what the oldest entry since then laid aside. */
static bool collect_files(kept_files *target, unsigned number)
{
	unsigned numbers[ENTRIES_MAX];
	int count = list_entries(numbers);
	for (int i = 0; i < count && numbers[i] >= number; i++) {
		if (!overlay_entry(target, numbers[i]))
			return false;
		if (numbers[i] == number)
			return true;
	}
	errno = ENOENT;
	return false;
}

/* Reads what the files of these names are now. */
static bool add_present(kept_files *now, const kept_files *target)
{
	for (size_t i = 0; i < target->count; i++) {
		if (!add_kept_file(now, target->files[i].name))
			return false;
	}
	return true;
}

bool replace_files(const change_note *note, const kept_files *target)
{
	kept_files now = NO_FILES, none = NO_FILES;
	bool begun = add_present(&now, target) && begin_files(note, &now);
	finish(begun, &now, &none);
	if (!begun)
		return false;
	if (put_files(target) && commit_change())
		return true;
	int reason = errno;
	undo_change();
	errno = reason;
	return false;
}

bool go_back(const change_note *note, unsigned number)
{
	kept_files target = NO_FILES, none = NO_FILES;
	bool gone = collect_files(&target, number) && replace_files(note, &target);
	return finish(gone, &target, &none);
}
