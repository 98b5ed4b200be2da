// SPDX-License-Identifier: MIT
/* What the verbs that read or change the stores share. */
#include "changes.h"

#include <ctype.h>
#include <errno.h>
#include <pwd.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "../store/laid_aside.h"
#include "../store/lock.h"
#include "../store/message.h"
#include "../store/owner.h"
#include "../store/text.h"

/* --- the lock --- */

const char *get_reason(int reason)
{
	return reason == ETIMEDOUT ? "others hold the lock and do not end" : get_lock_reason(reason);
}

static int tell_unlocked(int reason)
{
	qos_warn("the stores cannot be locked: %s", get_reason(reason));
	tell_protected_file();
	return reason == EACCES || reason == EPERM ? EXIT_NOT_ALLOWED : EXIT_FAILED;
}

static int lock_and_recover(int *lock, int seconds)
{
	*lock = lock_stores(LOCK_EX, seconds);
	if (*lock < 0)
		return tell_unlocked(errno);
	switch (recover_change()) {
	case RECOVERED: qos_warn("a change that was cut off has been put back"); break;
	case NOTHING_OPEN: break;
	case NOT_RECOVERED: // and why is told
		tell_protected_file();
		close(*lock);
		return EXIT_FAILED;
	}
	return EXIT_DONE;
}

/* With the lock shared nobody can open a change: what is open then was cut. */
static int share(int *lock, int seconds)
{
	for (;;) {
		*lock = lock_stores(LOCK_SH, seconds);
		if (*lock < 0)
			return errno == ENOENT || errno == ENOTDIR ? EXIT_DONE : tell_unlocked(errno);
		if (!is_change_open())
			return EXIT_DONE;
		close(*lock);
		int status = lock_and_recover(lock, seconds);
		if (status != EXIT_DONE)
			return status;
		close(*lock);
	}
}

int lock_sound_stores(int *lock, int operation, int seconds)
{
	if (!become_owner()) {
		tell_not_owner(errno);
		return EXIT_NOT_ALLOWED;
	}
	int status = operation == LOCK_SH ? share(lock, seconds) : lock_and_recover(lock, seconds);
	if (status != EXIT_DONE)
		become_root_again();
	return status;
}

void release_stores(int lock)
{
	if (lock >= 0)
		close(lock);
	become_root_again();
}

/* --- who --- */

/* The name of a person who became root by sudo is kept in its environment. */
static const char *find_login(void)
{
	const char *sudo = getuid() == 0 ? getenv("SUDO_USER") : nullptr;
	if (sudo && *sudo)
		return sudo;
	const struct passwd *user = getpwuid(getuid());
	return user ? user->pw_name : nullptr;
}

change_note make_own_note(char login[LOGIN_SIZE], const char *kind, const char *action,
			  const char *id)
{
	snprintf(login, LOGIN_SIZE, "%s", text(find_login()));
	return { *login ? login : nullptr, "local", kind, action, id };
}

int tell_unchanged(int reason)
{
	qos_warn("%s: %s", strerror(reason),
		 is_change_open() ? "what was changed will be put back by the next change"
				  : "nothing was changed");
	tell_protected_file();
	return reason == EACCES || reason == EPERM ? EXIT_NOT_ALLOWED : EXIT_FAILED;
}

/* --- what --- */

static void print_character(char c)
{
	putchar(iscntrl(static_cast<unsigned char>(c)) ? '?' : c);
}

void print_plain(const char *text)
{
	for (; *text; text++)
		print_character(*text);
}

/* A description ends with a line end, which is none of its text. */
static void print_value(const char *value)
{
	printf("\"");
	for (const char *end = value + strcspn(value, "\r\n"); value < end; value++)
		print_character(*value);
	printf("\"");
}

static void print_values(const difference *row)
{
	printf(" ");
	print_plain(row->key ? row->key : "description");
	if (row->before) {
		printf(" ");
		print_value(row->before);
	}
	printf(" -> ");
	if (row->after)
		print_value(row->after);
	else
		printf("nothing");
}

void print_difference(void *to, const difference *row)
{
	printf("    %s ", KINDS[row->kind].word);
	print_plain(text(row->id));
	printf(" %s", get_change_word(row->change));
	if (row->before || row->after)
		print_values(row);
	printf("\n");
	(*static_cast<int *>(to))++;
}
