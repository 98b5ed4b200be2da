// SPDX-License-Identifier: MIT
/* The web pages of the five kinds of object, as handlers for the dispatcher behind main.cgi, which
 * may be written in C.
 *
 * A display handler prints the page with the form of object id: an empty form for MODE_NEW, the
 * object's for MODE_EDIT, and in any other mode an empty form without buttons. The policy page
 * shows the policy of id in every mode. It returns 1.
 *
 * A form reader fills a record that the caller has zeroed from the fields of the request, null
 * where one was not posted. The strings are libcgi's and stay valid. A list that is full has no
 * null behind it in a class_rec; its users stop at its capacity too.
 *
 * A save adds the object that was posted to its store and refuses an id that is taken; an update
 * replaces the object by what was posted, or adds it. Both return 1, or 0 when the form lacks
 * what it must have, a store cannot be read or the id is refused, each of which is told to the
 * user, and when a store cannot be written, which is told on standard error. After a 0 the
 * stores are as they were, as far as save_stores can keep two of them together. The
 * description is written before the store is; when that fails the user is told and the save goes
 * on.
 *
 * A delete removes an object that no other names. It returns 1, also when it told the user that
 * the object is in use; 0 when the store cannot be read or written. A null id is told and names
 * no object. The description stays.
 *
 * What a handler prints is the body of the answer, without headers, except that a message to the
 * user brings them when they have not been printed. */
#ifndef WEB_WEB_H
#define WEB_WEB_H

#include "../store/records.h"

#ifdef __cplusplus
extern "C" {
#endif

static const int MODE_NEW = 0;
static const int MODE_EDIT = 3;

/* policy.cpp */

int policy_display(char *id, int mode);
void get_policy_param(policy_rec *rec);
int policy_save(void);
int policy_update(void);

/* Removes nothing and returns 1: the policy stays in its store. A null id is told to the user. */
int policy_delete(char *id);

/* class.cpp */

int class_display(char *id, int mode);

/* class_save.cpp: saves and updates also mark in the filter store which filters are in use. */

void get_class_param(class_rec *rec);
int class_save(void);
int class_update(void);
int class_delete(char *id);

/* filter.cpp: an update refuses a new priority that any value in the filter store equals. */

int filter_display(char *id, int mode);
void get_filter_param(filter_rec *rec);
int filter_save(void);
int filter_update(void);
int filter_delete(char *id);

/* port.cpp */

int port_display(char *id, int mode);
void get_port_param(port_rec *rec);
int port_save(void);
int port_update(void);
int port_delete(char *id);

/* ip.cpp */

int ip_display(char *id, int mode);
void get_ip_param(ip_rec *rec);
int ip_save(void);
int ip_update(void);
int ip_delete(char *id);

#ifdef __cplusplus
}
#endif

#endif
