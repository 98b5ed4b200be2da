// SPDX-License-Identifier: MIT
/* The road of a change: the lock, what an earlier one left, the checks that need the stores, the
 * files laid aside, the handler, what it leaves to others, and the answer. */
#ifndef CGI_CHANGE_H
#define CGI_CHANGE_H

#include <stddef.h>

#include "../store/kinds.h"

enum change_action { SAVE, UPDATE, DELETE };

/* Carries the posted change out and answers the request. The stores are then what the change makes
 * of them, or what they were. id may be null. Returns the exit status. */
int answer_change(object_kind kind, change_action action, char *id);

/* For changes of all stores: takes the lock, and puts back what an earlier change left half done.
 * Returns the lock's descriptor; or -1, and the request has been answered. */
int begin_exclusive(void);

const int LOCK_SECONDS = 10; // that a change, and who must not see half of one, waits for the lock

/* Takes the lock shared, for who must see one state of all stores; puts back what a change that was
 * cut off left. Returns the descriptor, or -1 with errno set: ENOENT where nothing was ever changed,
 * ETIMEDOUT where others held it for all of these seconds, EINPROGRESS where a change that was cut
 * off cannot be put back. */
int begin_shared(int seconds);

const size_t LOGIN_SIZE = 65; // bytes, the NUL included

/* The name under which the web server let the person in, as far as it fits; null for none. */
const char *get_login(char login[LOGIN_SIZE]);

/* For a page: waits for an open change, and puts it back where nobody is at it any more. Where
 * that cannot be, the page shows what there is. */
void settle_stores(void);

/* Puts the open change back and answers why, as refuse_unwritten does. */
int give_up(const char *printed);

/* The answer to a change that is done, of a page that does without scripts: leads to the list of the
 * kind. Where there is something to tell, told (a piece of a page, "" for nothing) stands in a page
 * before the way there. */
int answer_done(object_kind kind, const char *told);

/* The answer to a change of a class or band without the filters' store. */
int refuse_without_filters(void);

/* The answer to a change that could not be written whole: 507 for no room, else 500. path may be
 * null; is_undone tells whether everything is as it was; printed is what the handler printed, empty
 * for nothing. */
int refuse_unwritten(const char *path, int reason, bool is_undone, const char *printed);

#endif
