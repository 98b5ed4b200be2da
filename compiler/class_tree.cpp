// SPDX-License-Identifier: MIT
/* The tree of HTB classes of a policy. A class names its parent; the walk goes from the root
 * down, a class before its children, the children in the order of the store. */
#include <stdlib.h>
#include <string.h>

#include <cfl.h>

#include "../store/message.h"
#include "../store/paths.h"
#include "../store/trace.h"
#include "class_script.h"
#include "steps.h"

static const int MINOR_STEP = 10;
static const size_t CLASS_PATH_SIZE = sizeof(SCRIPT_DIR) + 104; // bytes

int g_class_id;

/* A class and the classes above it, up to the root. */
struct branch {
	const branch *parent;
	const char *id;
	const char *handle;
};

static bool is_on_branch(const branch *at, const char *id)
{
	for (; at; at = at->parent) {
		if (strcmp(at->id, id) == 0)
			return true;
	}
	return false;
}

int make_class_names(char *name, char *handle, const char *device, const char *class_id,
		     const char *parent_handle, int minor)
{
	char built[CLASS_HANDLE_SIZE] = "";
	int length = 0;
	if (parent_handle && minor)
		length = snprintf(built, sizeof(built), "%s:%d", parent_handle, minor);
	else if (parent_handle)
		length = snprintf(built, sizeof(built), "%s", parent_handle);
	else if (minor)
		length = snprintf(built, sizeof(built), "%d", minor);
	if (!*built || !fits(length, sizeof(built)))
		return 0;
	if (!make_script_name(name, CLASS_NAME_SIZE, device, built, class_id))
		return 0;
	memcpy(handle, built, sizeof(built));
	return 1;
}

/* The ids of the classes whose parent is id, in the order of the store, ended by a null. The
 * store can then be released before the walk goes down: a router has no room to hold it once
 * for every level of the tree. */
static char **collect_children(cfl *store, const char *id)
{
	size_t room = g_class_count > 0 ? static_cast<size_t>(g_class_count) : 1;
	char **children = static_cast<char **>(calloc(room, sizeof(char *)));
	if (!children)
		end_without_memory();
	size_t count = 0;
	for (int i = 2; i <= g_class_count; i++) {
		const char *child = cfl_section_get_name_by_position(store, i);
		int scratch;
		const char *parent = cfl_value_get_by_name(store, child, "PARENT_ID", &scratch);
		if (child && parent && strcmp(parent, id) == 0)
			children[count++] = copy_text(child);
	}
	return children;
}

static void free_children(char **children)
{
	for (char **child = children; *child; child++)
		free(*child);
	free(children);
}

/* Creates the script of a class and writes it; handle receives the class's handle. */
static bool compile_script(char *device, char *class_id, const char *parent_handle, int minor,
			   char handle[CLASS_HANDLE_SIZE])
{
	script file;
	if (!open_class_script(&file, device, class_id, parent_handle, minor, handle,
			       CLASS_PATH_SIZE))
		return false;
	TRACE("do_class");
	printf("############  class id : %s #############\n", class_id);
	write_class(file.stream, class_id, 1);
	TRACE("do_class");
	close_script(&file);
	return true;
}

static int compile_class(const branch *parent, char *device, char *class_id,
			 const char *parent_handle, int minor, const char *default_id)
{
	TRACE("do_class");
	cfl *store = cfl_read(CLASS_STORE);
	if (!store) {
		qos_msg(1, "Can't handle Class DB");
		return 0;
	}
	TRACE("do_class");
	char **children = collect_children(store, class_id);
	cfl_free(store);

	// The hundredth class that the walk meets has this number too: a tree has fewer.
	if (default_id && strcmp(class_id, default_id) == 0)
		minor = DEFAULT_MINOR;
	char handle[CLASS_HANDLE_SIZE];
	bool written = compile_script(device, class_id, parent_handle, minor, handle);
	branch at = { parent, class_id, handle };
	for (char **child = children; written && *child; child++) {
		TRACE("do_class");
		g_class_id += MINOR_STEP;
		if (is_on_branch(&at, *child))
			qos_warn("class %s: is its own ancestor, not entered again", *child);
		else
			compile_class(&at, device, *child, handle, g_class_id, default_id);
	}
	free_children(children);
	TRACE("do_class");
	return written ? 1 : 0;
}

int do_class(char *device, char *class_id, const char *parent_handle, int minor,
	     const char *default_id)
{
	if (!parent_handle)
		g_class_id = 0;
	return compile_class(nullptr, device, class_id, parent_handle, minor, default_id);
}
