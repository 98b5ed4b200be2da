// SPDX-License-Identifier: MIT
/* Root in the folder of the stores. The folder belongs to the user who runs the pages, who may put a
 * link where root would write, and may forge an entry of the history, with an access of their
 * choice. So root does there what that user may, and nothing more: it is that user meanwhile. Where
 * the folder is root's own, or who runs this is not root, nothing here does anything.
 *
 * Only the effective ids are the user's: by its real and saved ones the process stays root's, and
 * that user can neither trace nor end it. For the same reason it must start no program meanwhile:
 * that would inherit the way back. Not for a process of several threads. */
#ifndef STORE_OWNER_H
#define STORE_OWNER_H

/* Makes root the user and the group to whom the folder of the stores belongs; of root's group, which
 * a folder keeps that got another owner alone, the user's own instead. Returns false, with errno
 * set and nothing changed, where the ids cannot be had. */
bool become_owner(void);

/* Takes back what become_owner did; the supplementary groups stay left. */
void become_root_again(void);

/* Says that become_owner failed, for that reason. */
void tell_not_owner(int reason);

/* Names the first file or folder of the stores that their owner may not change, where this process is
 * that user in root's stead: root put it there, say. */
void tell_protected_file(void);

#endif
