// SPDX-License-Identifier: MIT
/* What qosd is asked. */
#include "ask.h"

#include <errno.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include "../history/control.h"
#include "../store/text.h"

static const size_t LINE_SIZE = 512;                 // bytes; more than all of qosd's keys take
static const size_t ANSWER_START = 65536;            // bytes
static const size_t ANSWER_MAX = 16u * 1024 * 1024;  // bytes

/* Closes it and keeps errno. Returns -1. */
static int leave(int connection)
{
	int reason = errno;
	close(connection);
	errno = reason;
	return -1;
}

/* --- asking --- */

/* A line fits into an empty socket as a whole. qosd may have gone between the two calls: nobody is to
 * be ended by a signal for it. */
static bool send_line(int connection, const char *line)
{
	char sent[LINE_SIZE];
	int length = snprintf(sent, sizeof(sent), "%s\n", line);
	if (!fits(length, sizeof(sent))) {
		errno = EMSGSIZE;
		return false;
	}
	return send(connection, sent, static_cast<size_t>(length), MSG_NOSIGNAL) == length;
}

int start_asking(const char *line)
{
	struct sockaddr_un to = {};
	to.sun_family = AF_UNIX;
	static_assert(sizeof(CONTROL_SOCKET) <= sizeof(to.sun_path), "the path fits");
	strcpy(to.sun_path, CONTROL_SOCKET);
	int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
	if (connection < 0)
		return -1;
	if (connect(connection, reinterpret_cast<struct sockaddr *>(&to), sizeof(to)) != 0 ||
	    !send_line(connection, line))
		return leave(connection);
	return connection;
}

/* --- answers --- */

namespace {

struct answer {
	char *bytes;
	size_t size, capacity;
};

} // namespace

static int64_t get_milliseconds(void)
{
	struct timespec now;
	clock_gettime(CLOCK_MONOTONIC, &now);
	return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

/* Whether there is room for more; false, with errno set, where there is none. */
static bool make_room(answer *to)
{
	if (to->size < to->capacity)
		return true;
	if (to->capacity == ANSWER_MAX) {
		errno = EBADMSG;
		return false;
	}
	size_t capacity = to->capacity ? to->capacity * 2 : ANSWER_START;
	char *bytes = static_cast<char *>(realloc(to->bytes, capacity));
	if (!bytes)
		return false;
	to->bytes = bytes;
	to->capacity = capacity;
	return true;
}

static bool wait_for(int connection, int64_t until)
{
	for (;;) {
		int64_t left = until - get_milliseconds();
		struct pollfd it = { connection, POLLIN, 0 };
		int ready = poll(&it, 1, left > 0 ? static_cast<int>(left) : 0);
		if (ready > 0)
			return true;
		if (ready == 0) {
			errno = ETIMEDOUT;
			return false;
		}
		if (errno != EINTR)
			return false;
	}
}

/* Reads the line, without its LF, and what may stand behind it up to then. False, with errno set,
 * where there is no line. */
static bool receive_line(int connection, answer *to, int64_t until)
{
	while (wait_for(connection, until) && make_room(to)) {
		char *at = to->bytes + to->size;
		ssize_t got = recv(connection, at, to->capacity - to->size, 0);
		if (got < 0 && (errno == EAGAIN || errno == EINTR))
			continue;
		if (got < 0)
			return false;
		if (got == 0) {
			errno = EBADMSG; // cut
			return false;
		}
		to->size += static_cast<size_t>(got);
		if (memchr(at, '\n', static_cast<size_t>(got)))
			return true;
	}
	return false;
}

const json *end_asking(int connection, int milliseconds)
{
	answer got = {};
	bool is_there = receive_line(connection, &got, get_milliseconds() + milliseconds);
	leave(connection);
	if (!is_there) {
		int reason = errno;
		free(got.bytes);
		errno = reason;
		return nullptr;
	}
	const json *read = read_json(got.bytes, got.size);
	if (read && read->form == JSON_OBJECT)
		return read;
	errno = EBADMSG;
	return nullptr;
}

const json *ask(const char *line, int milliseconds)
{
	int connection = start_asking(line);
	return connection < 0 ? nullptr : end_asking(connection, milliseconds);
}

bool is_askable(const char *value)
{
	static const char ALLOWED[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
				      "0123456789_.:-+@/";
	return *value && value[strspn(value, ALLOWED)] == '\0';
}

int get_exit(const json *answer)
{
	uint64_t status;
	return get_number(answer, "exit", &status) && status <= 255 ? static_cast<int>(status) : -1;
}

const char *get_told(const json *answer)
{
	return get_text(answer, "told");
}
