// SPDX-License-Identifier: MIT
/* The script of one class or band. */
#ifndef COMPILER_CLASS_SCRIPT_H
#define COMPILER_CLASS_SCRIPT_H

#include "../scripts/scripts.h"
#include "steps.h"

/* Opens the script of a class or band of a device, which comes in device form and is turned to
 * file form and back in place. The script's path may take path_size bytes. handle receives the
 * handle, see make_class_names. Returns false, and tells the user, when the script cannot be
 * created. */
bool open_class_script(script *it, char *device, const char *id, const char *parent_handle,
		       int minor, char handle[CLASS_HANDLE_SIZE], size_t path_size);

#endif
