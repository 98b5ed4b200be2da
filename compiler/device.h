// SPDX-License-Identifier: MIT
/* Names of interfaces and devices. An interface name comes in store form ('_' for '/', as in
 * policy ids and file names) and in device form ('/'). The router's command shell knows the
 * device of an interface. */
#ifndef COMPILER_DEVICE_H
#define COMPILER_DEVICE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Turns every '_' of name into '/', in place, and echoes each character on standard output
 * before and after. A name that really holds a '_' does not come back from store form. */
void replace(char *name);

/* Turns every '/' of name into '_', in place, with the same echo. */
void replace_slash(char *name);

/* Asks the command shell for the device of an interface (name in device form). Returns 1 and
 * sets *device to a heap string of at most 15 characters; or returns 0 and leaves *device alone
 * when the report names no device, or when either name is longer than a router's can be (38 and
 * 15 characters), holds anything but letters, digits and "_./:@-", or begins with one of "./:@-":
 * no other name is given to a shell. An old report is read again when the command shell leaves
 * none; what stands in its place and is no regular file is removed before. */
int get_dev_name(const char *name, char **device);

/* Reads the PVC of the PVC list. Returns 1 and sets *pvc to a heap string, or 0. */
int read_pvc_info(char **pvc);

#ifdef __cplusplus
}
#endif

#endif
