/* What the loaders share: values and lists of values, copied out of a store file. */
#ifndef STORE_LOOKUP_H
#define STORE_LOOKUP_H

#include <cfl.h>

#include "records.h"

/* Opens the store file at path. Tells the user when it cannot be read, and returns null. */
cfl *open_store(const char *path);

/* A heap copy of a value, or null when the section or the key is missing. */
char *copy_value(cfl *store, const char *section, const char *key);

bool has_section(cfl *store, const char *section);

/* Copies the values of "KEY[0]", "KEY[1]" and so on up to the first that is missing to list, and
 * a null behind them. format makes a key of an index by its one %d. list has room for max values
 * and the null; what is beyond is left out. */
void copy_list(cfl *store, const char *section, const char *format, char **list, int max);

/* Copies the list of filters of a section to rec, see get_filter_slot. */
void copy_filters(cfl *store, const char *section, class_rec *rec);

/* Tells on standard error of a list that goes on behind its first max values. */
void warn_left_out(cfl *store, const char *section, const char *format, int max);

#endif
