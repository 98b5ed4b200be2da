/* The list of the objects of a kind. */
#ifndef ROUTER_CGI_LIST_H
#define ROUTER_CGI_LIST_H

/* Prints the page that lists the objects of kind (its word in requests), which the store at path
 * holds, each with links to open and edit it and a button to delete it. */
void print_list(const char *kind, const char *path);

/* Prints text so that it means nothing to the browser: in a page, or in a quoted attribute. */
void print_escaped(const char *text);

#endif
