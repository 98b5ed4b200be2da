// SPDX-License-Identifier: MIT
/* The cells of the lists: what an object is, in words, and who uses it, as links. */
#ifndef CGI_PAGES_LIST_CELLS_H
#define CGI_PAGES_LIST_CELLS_H

#include "../class_tree.h"
#include "../users.h"

/* What all rows of a list are made of. */
struct list_page {
	shown_stores in;
	object_kind kind;
	naming_list users; // of the kind
	class_tree tree;   // of classes
	int rows;          // printed so far
	const char *saved; // id of the row to be marked; null for none
};

struct list_row {
	const char *id;
	int depth;
	const tree_class *branch; // of a class
};

/* The headings between name and actions, ended by a null. */
const char *const *get_headings(object_kind kind);

/* Prints the cells between name and actions; the last says who uses the object, and has the id
 * "use" and the number of the row. */
void print_cells(const list_page *in, const list_row *row);

/* As print_object_link, with a policy's label in its text. */
void print_name_link(object_kind kind, const char *id);

/* Prints who uses an object, as links, and of a class how many are in it, behind so many other items
 * of the same cell. Returns how many items these are. */
int print_users(const list_page *in, const list_row *row, int before);

/* As is_undeletable, with what has been gathered already. */
bool is_off(const list_page *in, const char *id, char reason[REFUSAL_SIZE]);

#endif
