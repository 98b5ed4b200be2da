// SPDX-License-Identifier: MIT
/* /run/qos/control. */
#include "control.h"

#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "../../history/control.h"
#include "../ctl.h"
#include "client.h"
#include "clock.h"
#include "log.h"

static const mode_t CONTROL_MODE = 0660;
static const int BACKLOG = 128;  // who waits to connect
static const int64_t ACCEPT_PAUSE = 1 * SECOND;
static const size_t READERS_MAX = 4; // children at once that change nothing
static const gid_t NO_GROUP = static_cast<gid_t>(-1);

/* --- the socket --- */

static bool is_number(const char *text)
{
	return *text && text[strspn(text, "0123456789")] == '\0' && strlen(text) <= 9;
}

/* Reads /etc/group itself: whatever else a system asks for groups is not there yet at boot, and
 * takes more memory than all of the daemon. */
static bool find_group(gid_t *group, const char *name)
{
	if (is_number(name)) {
		*group = static_cast<gid_t>(strtoul(name, nullptr, 10));
		return true;
	}
	FILE *file = fopen("/etc/group", "re");
	if (!file)
		return false;
	bool is_found = false;
	for (const struct group *row; !is_found && (row = fgetgrent(file));) {
		is_found = strcmp(row->gr_name, name) == 0;
		*group = row->gr_gid;
	}
	fclose(file);
	return is_found;
}

/* Nobody can connect before the socket is the group's: it is made for root alone. */
static bool bind_socket(int fd, const char *group)
{
	struct sockaddr_un address = {};
	address.sun_family = AF_UNIX;
	strcpy(address.sun_path, CONTROL_SOCKET);
	gid_t owner = NO_GROUP;
	if (group && *group && !find_group(&owner, group))
		log_line(LOG_ERR, "there is no group %s: only root can ask", group);
	if (unlink(CONTROL_SOCKET) != 0 && errno != ENOENT)
		return false;
	mode_t mask = umask(0177);
	bool is_bound = bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0;
	umask(mask);
	return is_bound && (owner == NO_GROUP || lchown(CONTROL_SOCKET, NO_GROUP, owner) == 0) &&
	       chmod(CONTROL_SOCKET, CONTROL_MODE) == 0 && listen(fd, BACKLOG) == 0;
}

bool open_control(control *it, const char *program, const char *group, const samples *rates,
		  const applied *known)
{
	*it = {};
	it->accept_at = NEVER;
	it->program = program;
	it->rates = rates;
	open_standing(&it->known, known);
	it->listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
	if (it->listener >= 0 && bind_socket(it->listener, group))
		return true;
	log_line(LOG_ERR, "%s cannot be opened: %s", CONTROL_SOCKET, strerror(errno));
	return false;
}

/* --- all clients --- */

static void forget_client(control *it, size_t i)
{
	close_client(it->clients[i]);
	it->clients[i] = nullptr;
}

/* Where there is no room for one who waits, the next look is a little later: poll would tell of him
 * at once. */
static void accept_clients(control *it, int64_t now)
{
	for (client *&place : it->clients) {
		if (place)
			continue;
		int fd = accept4(it->listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
		if (fd < 0) {
			if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
				it->accept_at = now + ACCEPT_PAUSE;
			return;
		}
		place = open_client(fd, now);
	}
}

void close_control(control *it)
{
	unlink(CONTROL_SOCKET);
	close(it->listener);
	it->listener = -1;
	for (size_t i = 0; i < CLIENTS_MAX; i++) {
		if (it->clients[i] && !is_changing_now(it->clients[i]))
			forget_client(it, i);
	}
}

static bool is_full(const control *it)
{
	for (const client *one : it->clients) {
		if (!one)
			return false;
	}
	return true;
}

void watch_clients(const control *it, struct pollfd polls[CONTROL_POLLS])
{
	polls[0] = { is_full(it) || it->accept_at != NEVER ? -1 : it->listener, POLLIN, 0 };
	for (size_t i = 0; i < CLIENTS_MAX; i++)
		polls[1 + i] = watch_client(it->clients[i]);
}

void serve_clients(control *it, const struct pollfd polls[CONTROL_POLLS], int64_t now)
{
	for (size_t i = 0; i < CLIENTS_MAX; i++) {
		if (it->clients[i] && polls[1 + i].revents &&
		    !serve_client(it->clients[i], polls[1 + i].revents, &it->turn, now))
			forget_client(it, i);
	}
	if (polls[0].revents)
		accept_clients(it, now);
}

void end_questions(control *it, int64_t now)
{
	if (now >= it->accept_at)
		it->accept_at = NEVER;
	for (size_t i = 0; i < CLIENTS_MAX; i++) {
		if (it->clients[i] && !end_question(it->clients[i], &it->known, now))
			forget_client(it, i);
	}
}

int64_t get_control_time(const control *it)
{
	int64_t next = it->accept_at;
	for (const client *one : it->clients) {
		if (one && get_client_time(one) < next)
			next = get_client_time(one);
	}
	return next;
}

/* --- turns --- */

bool has_clients(const control *it)
{
	for (const client *one : it->clients) {
		if (one)
			return true;
	}
	return false;
}

bool is_changing(const control *it)
{
	for (const client *one : it->clients) {
		if (one && is_changing_now(one))
			return true;
	}
	return false;
}

static bool is_waiting(const client *it)
{
	return it && it->state == CLIENT_WAITS;
}

static bool is_confirmation(const client *it)
{
	return strcmp(it->asked.verb->word, "confirm") == 0;
}

bool is_confirming(const control *it)
{
	for (const client *one : it->clients) {
		if (is_waiting(one) && is_confirmation(one))
			return true;
	}
	return false;
}

/* The verb that a client has something changed by now; null for none. */
static const char *find_changing(const control *it)
{
	for (const client *one : it->clients) {
		if (one && is_changing_now(one))
			return one->asked.verb->word;
	}
	return nullptr;
}

static size_t count_readers(const control *it)
{
	size_t count = 0;
	for (const client *one : it->clients)
		count += one && one->state == CLIENT_RUNS && !one->asked.verb->changes;
	return count;
}

/* Who waits longest among those who may be served now; null for nobody. A confirmation must not be
 * late because of what others want. */
static client *find_next(control *it, bool may_change)
{
	bool may_read = count_readers(it) < READERS_MAX;
	bool must_confirm = is_confirming(it);
	client *next = nullptr;
	for (client *one : it->clients) {
		if (!is_waiting(one))
			continue;
		bool changes = one->asked.verb->changes;
		bool may_start = changes ? may_change : may_read || one->asked.verb->by != BY_QOSCTL;
		if (!may_start ||
		    (changes && must_confirm && !is_confirmation(one)))
			continue;
		if (!next || one->turn < next->turn)
			next = one;
	}
	return next;
}

void start_questions(control *it, bool may_change, int64_t now)
{
	client *next;
	while ((next = find_next(it, may_change && !is_changing(it)))) {
		it->known.changing = find_changing(it);
		start_question(next, it->program, it->rates, &it->known, now);
	}
}
