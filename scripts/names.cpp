// SPDX-License-Identifier: MIT
/* The names of scripts. */
#include <string.h>

#include "../store/text.h"
#include "scripts.h"

bool make_script_name(char *name, size_t size, const char *device, const char *handle,
		      const char *id)
{
	return fits(snprintf(name, size, "%s-%s.%s", device, handle, id), size);
}

static bool is_digit(char c)
{
	return c >= '0' && c <= '9';
}

/* The length of the handle that text starts with: numbers with ':' between them, and a '.' behind
 * them. 0 when there is none. */
static size_t handle_length(const char *text)
{
	const char *at = text;
	while (is_digit(*at)) {
		at += strspn(at, "0123456789");
		if (*at == '.')
			return static_cast<size_t>(at - text);
		if (*at != ':')
			return 0;
		at++;
	}
	return 0;
}

static void copy_piece(char *to, const char *from, size_t length)
{
	memcpy(to, from, length);
	to[length] = '\0';
}

/* Takes name to pieces behind a device of length bytes; false when no handle stands there. */
static bool split_behind(script_name *parsed, const char *name, size_t length)
{
	if (length == 0 || length >= SCRIPT_DEVICE_SIZE || name[length] != '-')
		return false;
	const char *handle = name + length + 1;
	size_t size = handle_length(handle);
	if (size == 0 || size >= SCRIPT_HANDLE_SIZE)
		return false;
	copy_piece(parsed->device, name, length);
	copy_piece(parsed->handle, handle, size);
	parsed->id = handle + size + 1;
	return true;
}

static bool take_device_script(script_name *parsed, const char *name)
{
	size_t length = strlen(name);
	if (length == 0 || length >= SCRIPT_DEVICE_SIZE)
		return false;
	copy_piece(parsed->device, name, length);
	parsed->handle[0] = '\0';
	parsed->id = name + length;
	return true;
}

bool parse_script_name(script_name *parsed, const char *name, const char *device)
{
	if (*name == '.' || strchr(name, '/')) // a draft, or no name of a file
		return false;
	if (device) {
		size_t length = strlen(device);
		if (strncmp(name, device, length) != 0)
			return false;
		return name[length] ? split_behind(parsed, name, length)
				    : take_device_script(parsed, name);
	}
	for (const char *dash = strchr(name, '-'); dash; dash = strchr(dash + 1, '-')) {
		if (split_behind(parsed, name, static_cast<size_t>(dash - name)))
			return true;
	}
	return take_device_script(parsed, name);
}
