/* The bands of a strict-priority policy: the root node and, below it, the nodes that it names
 * for its three bands. */
#include <string.h>

#include <cfl.h>

#include "../scripts/scripts.h"
#include "../store/message.h"
#include "../store/paths.h"
#include "../store/trace.h"
#include "device.h"
#include "steps.h"

static const size_t BAND_NAME_SIZE = 128;
static const size_t BAND_PATH_SIZE = 192;
static const size_t BAND_HANDLE_SIZE = 32; // two numbers and a ':'

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

/* Writes the script of one node; handle is what stands between device and id in its name. */
static bool compile_node(char *device, const char *handle, char *id)
{
	char name[BAND_NAME_SIZE];
	char path[BAND_PATH_SIZE];
	replace_slash(device);
	int length = snprintf(name, sizeof(name), "%s-%s.%s", device, handle, id);
	FILE *script = nullptr;
	if (fits(length, sizeof(name)))
		script = open_script(path, sizeof(path), name);
	replace(device);
	if (!script) {
		qos_msg(1, "Can't open class file");
		return false;
	}
	TRACE("do_spq");
	write_class(script, id, 0);
	TRACE("do_spq");
	close_script(script, path);
	return true;
}

static bool compile_bands(cfl *store, char *device, const char *root_id, int major)
{
	for (const auto &band : BANDS) {
		int scratch;
		char *id = cfl_value_get_by_name(store, root_id, band.key, &scratch);
		char handle[BAND_HANDLE_SIZE];
		snprintf(handle, sizeof(handle), "%d:%d", major, band.number);
		if (id && !compile_node(device, handle, id))
			return false;
	}
	TRACE("do_spq");
	return true;
}

/* The root first, whether the store has it or not; then the bands of its section. */
static bool compile_nodes(cfl *store, char *device, char *root_id, int major)
{
	char handle[BAND_HANDLE_SIZE];
	snprintf(handle, sizeof(handle), "%d", major);
	if (!compile_node(device, handle, root_id))
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
	bool done = compile_nodes(store, device, root_id, major);
	cfl_free(store);
	return done ? 1 : 0;
}
