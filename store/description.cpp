/* The description files. */
#include "description.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "message.h"
#include "paths.h"
#include "replacement.h"
#include "text.h"

static const size_t DESC_PATH_SIZE = 128;

/* Builds the path of a description; false when it does not fit or would leave the folder. */
static bool make_path(char path[DESC_PATH_SIZE], const char *id, const char *kind)
{
	int length = snprintf(path, DESC_PATH_SIZE, "%s%s.%s", DESC_DIR, id, kind);
	return fits(length, DESC_PATH_SIZE) && !strchr(id, '/');
}

/* For a folder that takes no draft, and a path that leads to no regular file. */
static bool rewrite_text(const char *path, const char *desc)
{
	FILE *file = fopen(path, "w");
	if (!file)
		return false;
	bool written = fputs(desc, file) != EOF;
	return fclose(file) == 0 && written;
}

/* Replaces the text as a whole where that can be, so that a full disk leaves the old one. */
static bool replace_text(const char *path, const char *desc)
{
	replacement draft;
	if (!open_draft(&draft, path))
		return errno != ENOSPC && rewrite_text(path, desc);
	fputs(desc, draft.stream);
	if (!finish_draft(&draft))
		return false;
	if (commit_draft(&draft))
		return true;
	drop_draft(&draft);
	return rewrite_text(path, desc);
}

char *read_desc(const char *id, const char *kind)
{
	char path[DESC_PATH_SIZE];
	FILE *file = make_path(path, id, kind) ? fopen(path, "r") : nullptr;
	if (!file)
		return nullptr;
	char line[DESC_LINE_SIZE];
	if (!fgets(line, sizeof(line), file))
		line[0] = '\0';
	fclose(file);
	return copy_text(line);
}

int write_desc(const char *id, const char *kind, const char *desc)
{
	char path[DESC_PATH_SIZE];
	bool has_path = make_path(path, id, kind);
	bool is_new = has_path && access(path, F_OK) != 0;
	FILE *file = has_path ? fopen(path, "a") : nullptr; // creates it, and empties nothing
	if (!file) {
		qos_msg(0, "Can not open description file");
		return 0;
	}
	fclose(file);
	if (!replace_text(path, desc)) {
		qos_warn("description of %s %s: not written, the disk may be full", kind, id);
		if (is_new)
			unlink(path);
	}
	return 1;
}
