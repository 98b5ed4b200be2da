// SPDX-License-Identifier: MIT
/* The bands of a strict-priority policy: the root node and, below it, the nodes that it names
 * for its three bands. */
#include <stdio.h>
#include <string.h>

#include <cfl.h>

#include "../store/message.h"
#include "../store/paths.h"
#include "../store/trace.h"
#include "class_script.h"
#include "steps.h"

static const size_t MAJOR_SIZE = 16; // bytes for a number

int g_spq_id;

/* The numbers count the other way than the priorities: the kernel serves band 1 first. */
static const struct {
	const char *key;
	int number;
} BANDS[] = {
	{ "LOW", 3 },
	{ "MIDDLE", 2 },
	{ "HIGH", 1 },
};
static_assert(sizeof(BANDS) / sizeof(BANDS[0]) == 3, "a row a band");

/* Writes the script of the root, band 0, or of one of its bands. The major number stands where a
 * class has its parent's handle, so that the root's handle is the number alone. */
static bool compile_node(char *device, const char *major, int band, char *id)
{
	script file;
	char handle[CLASS_HANDLE_SIZE];
	if (!open_class_script(&file, device, id, major, band, handle, SCRIPT_PATH_SIZE))
		return false;
	TRACE("do_spq");
	write_class(file.stream, id, 0);
	TRACE("do_spq");
	close_script(&file);
	return true;
}

static bool compile_bands(cfl *store, char *device, const char *root_id, const char *major)
{
	for (const auto &band : BANDS) {
		int scratch;
		char *id = cfl_value_get_by_name(store, root_id, band.key, &scratch);
		if (id && !compile_node(device, major, band.number, id))
			return false;
	}
	TRACE("do_spq");
	return true;
}

/* The root first, whether the store has it or not; then the bands of its section. */
static bool compile_nodes(cfl *store, char *device, char *root_id, const char *major)
{
	if (!compile_node(device, major, 0, root_id))
		return false;
	for (int i = 2; i <= g_basic_count; i++) {
		TRACE("do_spq");
		const char *id = cfl_section_get_name_by_position(store, i);
		TRACE("do_spq");
		if (id && strcmp(id, root_id) == 0 &&
		    !compile_bands(store, device, root_id, major))
			return false;
	}
	return true;
}

int do_spq(char *device, char *root_id, int level, int major)
{
	if (level == 0)
		g_spq_id = 0;
	cfl *store = cfl_read(BASIC_STORE);
	if (!store) {
		qos_msg(1, "Can't handle BASIC DB");
		return 0;
	}
	char major_text[MAJOR_SIZE];
	snprintf(major_text, sizeof(major_text), "%d", major);
	bool done = compile_nodes(store, device, root_id, major_text);
	cfl_free(store);
	return done ? 1 : 0;
}
