/* The folder of scripts as a whole. */
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/lock.h"
#include "../store/text.h"
#include "../store/whole_file.h"
#include "scripts.h"

static const size_t FIRST_NAMES = 64; // room of a list, doubled when it is full

int lock_scripts(int seconds)
{
	int fd = open(SCRIPT_DIR, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
	if (fd < 0)
		return -1;
	if (!lock_descriptor(fd, LOCK_EX, seconds)) {
		int reason = errno;
		close(fd);
		errno = reason;
		return -1;
	}
	remove_drafts(SCRIPT_DIR, nullptr);
	return fd;
}

static bool is_script(DIR *folder, const char *name)
{
	script_name parsed;
	struct stat info;
	return parse_script_name(&parsed, name, nullptr) &&
	       fstatat(dirfd(folder), name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
	       S_ISREG(info.st_mode);
}

static void add_name(script_list *list, size_t *room, const char *name)
{
	if (list->count == *room) {
		*room = *room ? 2 * *room : FIRST_NAMES;
		list->names = static_cast<char **>(
			realloc(list->names, *room * sizeof(char *)));
		if (!list->names)
			end_without_memory();
	}
	list->names[list->count++] = copy_text(name);
}

static int compare_names(const void *a, const void *b)
{
	return strcmp(*static_cast<char *const *>(a), *static_cast<char *const *>(b));
}

bool list_scripts(script_list *list)
{
	*list = {};
	DIR *folder = opendir(SCRIPT_DIR);
	if (!folder)
		return false;
	size_t room = 0;
	errno = 0;
	while (const struct dirent *entry = readdir(folder)) {
		if (is_script(folder, entry->d_name))
			add_name(list, &room, entry->d_name);
		errno = 0;
	}
	int reason = errno;
	closedir(folder);
	if (reason)
		free_scripts(list);
	else if (list->count > 0)
		qsort(list->names, list->count, sizeof(char *), compare_names);
	errno = reason;
	return reason == 0;
}

void free_scripts(script_list *list)
{
	for (size_t i = 0; i < list->count; i++)
		free(list->names[i]);
	free(list->names);
	*list = {};
}
