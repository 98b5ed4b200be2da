/* The description files. */
#include "description.h"

#include <stdio.h>
#include <string.h>

#include "message.h"
#include "paths.h"
#include "text.h"

static const size_t DESC_PATH_SIZE = 128;

/* Opens the description file; null too when its path does not fit or would leave the folder. */
static FILE *open_desc(const char *id, const char *kind, const char *mode)
{
	char path[DESC_PATH_SIZE];
	int length = snprintf(path, sizeof(path), "%s%s.%s", DESC_DIR, id, kind);
	if (!fits(length, sizeof(path)) || strchr(id, '/'))
		return nullptr;
	return fopen(path, mode);
}

char *read_desc(const char *id, const char *kind)
{
	FILE *file = open_desc(id, kind, "r");
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
	FILE *file = open_desc(id, kind, "w");
	if (!file) {
		qos_msg(0, "Can not open description file");
		return 0;
	}
	bool written = fputs(desc, file) != EOF;
	if (fclose(file) != 0 || !written)
		qos_warn("description of %s %s: not written in full", kind, id);
	return 1;
}
