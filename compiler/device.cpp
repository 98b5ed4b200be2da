// SPDX-License-Identifier: MIT
/* The two forms of a name, and the device of an interface. */
#include "device.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "../store/message.h"
#include "../store/places.h"
#include "../store/text.h"
#include "regular_file.h"
#include "shell.h"

static const char DEVICE_REPORT[] = "/tmp/qos_devinfo";
static const char PVC_LIST[] = "/etc/script/pvc.info";

static const size_t COMMAND_SIZE = sizeof(QOS_PREFIX) + 101; // leaves 38 characters for a name
static const size_t LINE_SIZE = 1024;
static const size_t DEVICE_NAME_MAX = 15;    // characters, as in the kernel

/* The echo is for whoever follows a compile by eye: two lines a character, unflushed, in a page's
 * source too. */
static void echo_replacing(char *name, char from, char to)
{
	for (; *name; name++) {
		printf(" %c \n", *name);
		if (*name == from)
			*name = to;
		printf(" %c \n", *name);
	}
}

void replace(char *name)
{
	echo_replacing(name, '_', '/');
}

void replace_slash(char *name)
{
	echo_replacing(name, '/', '_');
}

/* Finds the line of a key and copies it, LF included, to line: the first that is no comment, has
 * the key anywhere and a '=' where KEY="VALUE" has it. */
static bool find_line(FILE *file, const char *key, char line[LINE_SIZE])
{
	while (fgets(line, LINE_SIZE, file)) {
		if (line[0] != '#' && strstr(line, key) && line[strlen(key)] == '=')
			return true;
	}
	return false;
}

/* Cuts the value out of a line found by find_line: what stands behind the '=' and the quote,
 * without the last two characters, which are the other quote and the LF. */
static char *cut_value(char *line)
{
	char *value = strchr(line, '=') + 1;
	size_t length = strlen(value);
	if (length > 0)
		value++;
	value[length > 3 ? length - 3 : 0] = '\0';
	return value;
}

static int read_device(FILE *report, const char *interface, char **device)
{
	char line[LINE_SIZE];
	if (!find_line(report, "DEVICE", line))
		return 0;
	printf("[[[[ line : %s ]]]]\n", line);
	printf("[[[[ name : %.*s ]]]]\n", static_cast<int>(strcspn(line, "=")), line);

	char *value = cut_value(line);
	printf("[[[[ value : %s ]]]]\n", value);
	if (strlen(value) > DEVICE_NAME_MAX || !is_harmless(value, NAME_MARKS)) {
		qos_warn("%s: '%s' is no name of a device", interface, value);
		return 0;
	}
	*device = copy_text(value);
	// The trace of the result's place: no text stands there, and it shows as empty.
	printf("[[[[ dev : %s ]]]]\n", "");
	return 1;
}

/* The command shell writes the report, and would wait for ever for who reads a named pipe in its
 * place, or write to where a link leads. Returns false when such a thing cannot be removed. */
static bool clear_report()
{
	struct stat info;
	return lstat(DEVICE_REPORT, &info) != 0 || S_ISREG(info.st_mode) ||
	       remove(DEVICE_REPORT) == 0;
}

int get_dev_name(const char *name, char **device)
{
	printf("[[[[ %s ]]]]\n", name);
	char command[COMMAND_SIZE];
	int length = snprintf(command, sizeof(command),
			      QOS_PREFIX "/sbin/imish -e \"show intfinfo %s > /tmp/qos_devinfo\" "
			      "2> /dev/null",
			      name);
	if (!fits(length, sizeof(command)) || !*name || !is_harmless(name, NAME_MARKS)) {
		qos_warn("%s: no name of an interface", name);
		return 0;
	}
	if (!clear_report()) {
		qos_warn("%s: %s is in the way of the report", name, DEVICE_REPORT);
		return 0;
	}
	// What counts is the report: the command shell's exit status says nothing about it.
	if (system(command) == -1)
		qos_warn("%s: cannot start a shell", name);

	FILE *report = open_regular_file(DEVICE_REPORT);
	if (!report)
		return 0;
	int found = read_device(report, name, device);
	fclose(report);
	return found;
}

/* Nothing here calls it: it is there for the router's own programs. */
int read_pvc_info(char **pvc)
{
	FILE *list = open_regular_file(PVC_LIST);
	if (!list)
		return 0;
	char line[LINE_SIZE];
	bool found = find_line(list, "PVC", line);
	fclose(list);
	if (!found)
		return 0;
	char *value = cut_value(line);
	if (strlen(value) > DEVICE_NAME_MAX)
		return 0;
	*pvc = copy_text(value);
	return 1;
}
