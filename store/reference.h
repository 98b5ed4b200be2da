// SPDX-License-Identifier: MIT
/* The check before an object is deleted: does another object name it? */
#ifndef STORE_REFERENCE_H
#define STORE_REFERENCE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 1 when any value of any object in the store file at path is equal to id, whatever the
 * value's key, else 0. A null id is not named anywhere. A store that cannot be read is
 * reported to the user and names nothing. */
int is_used_in_db(const char *path, const char *id);

#ifdef __cplusplus
}
#endif

#endif
