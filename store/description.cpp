// SPDX-License-Identifier: MIT
/* The description files. */
#include "description.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "draft.h"
#include "message.h"
#include "paths.h"
#include "save.h"
#include "text.h"

// bytes; leaves 99 characters for id and kind
static const size_t DESC_PATH_SIZE = sizeof(DESC_DIR) + 100;

/* Builds the path of a description; false when it does not fit or would leave the folder. */
static bool make_path(char path[DESC_PATH_SIZE], const char *id, const char *kind)
{
	int length = snprintf(path, DESC_PATH_SIZE, "%s%s.%s", DESC_DIR, id, kind);
	return fits(length, DESC_PATH_SIZE) && !strchr(id, '/');
}

/* A file that is not there yet gets its draft all the same. */
static bool open_or_create_draft(draft *it, const char *path)
{
	return open_draft(it, path) || (errno == ENOENT && create_draft(it, path));
}

/* Replaces the text as a whole, so that a full disk leaves the old one. */
static bool replace_text(draft *it, const char *desc)
{
	fputs(desc, it->stream);
	if (!finish_draft(it))
		return false;
	bool done = commit_draft(it);
	if (!done)
		drop_draft(it);
	return done;
}

/* Reads the first bytes of a regular file, and only of one: others could keep the page waiting.
 * Returns false when there is none. */
static bool read_start(const char *path, char line[DESC_LINE_SIZE])
{
	int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
	if (fd < 0)
		return false;
	struct stat info;
	bool is_file = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
	size_t length = 0;
	ssize_t count = 0;
	while (is_file && length < DESC_LINE_SIZE - 1 &&
	       (count = read(fd, line + length, DESC_LINE_SIZE - 1 - length)) > 0)
		length += static_cast<size_t>(count);
	close(fd);
	line[length] = '\0';
	return is_file;
}

char *read_desc(const char *id, const char *kind)
{
	char path[DESC_PATH_SIZE], line[DESC_LINE_SIZE];
	if (!make_path(path, id, kind) || !read_start(path, line))
		return nullptr;
	char *end = strchr(line, '\n');
	if (end)
		end[1] = '\0';
	return copy_text(line);
}

int write_desc(const char *id, const char *kind, const char *desc)
{
	char path[DESC_PATH_SIZE];
	draft text;
	errno = ENAMETOOLONG;
	bool opened = make_path(path, id, kind) && open_or_create_draft(&text, path);
	if (opened && replace_text(&text, desc))
		return 1;
	int reason = errno;
	if (reason == ENOMEM)
		end_without_memory();
	note_write_failure(path, reason);
	if (opened)
		qos_warn("description of %s %s: not written, the disk may be full", kind, id);
	qos_msg(0, "Can not open description file");
	return 0;
}
