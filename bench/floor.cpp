// SPDX-License-Identifier: MIT
/* The least that any compiler of the stores must do: reads each store file once, starts the same
 * shells and writes the same scripts, all of it recorded before by bench/run.
 *     floor            all of it
 *     floor shells     the shells only
 *     floor files      the files only */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char *const STORES[] = { "policy", "class", "filter", "port", "ip", "basic" };

/* The whole file, with a NUL behind it. */
static char *read_file(const char *path, size_t *size)
{
	FILE *file = fopen(path, "r");
	if (!file) {
		perror(path);
		exit(1);
	}
	fseek(file, 0, SEEK_END);
	*size = static_cast<size_t>(ftell(file));
	rewind(file);
	char *text = static_cast<char *>(malloc(*size + 1));
	if (!text || fread(text, 1, *size, file) != *size)
		exit(1);
	text[*size] = '\0';
	fclose(file);
	return text;
}

static void read_stores()
{
	for (const char *store : STORES) {
		char path[128];
		snprintf(path, sizeof(path), "/etc/conf/qos_config//%s", store);
		size_t size;
		free(read_file(path, &size));
	}
}

/* One command a line. */
static void start_shells()
{
	size_t size;
	char *commands = read_file("/var/floor/commands", &size);
	for (char *line = strtok(commands, "\n"); line; line = strtok(nullptr, "\n")) {
		if (system(line) == -1)
			exit(1);
	}
}

/* A header line "NAME SIZE" before the bytes of each script. */
static void write_scripts()
{
	size_t size;
	char *at = read_file("/var/floor/scripts", &size);
	for (char *end = at + size; at < end;) {
		char name[128], path[192];
		size_t length;
		int header;
		if (sscanf(at, "%127s %zu%n", name, &length, &header) != 2)
			exit(1);
		at += header + 1;
		snprintf(path, sizeof(path), "/etc/script/qos_config/%s", name);
		FILE *script = fopen(path, "w");
		if (!script || fwrite(at, 1, length, script) != length || fclose(script) != 0)
			exit(1);
		at += length;
	}
}

int main(int argc, char **argv)
{
	bool shells = argc < 2 || strcmp(argv[1], "shells") == 0;
	bool files = argc < 2 || strcmp(argv[1], "files") == 0;
	if (files)
		read_stores();
	if (shells)
		start_shells();
	if (files)
		write_scripts();
	return 0;
}
