// SPDX-License-Identifier: MIT
/* What wakes the daemon but its clients and its clock. */
#include "events.h"

#include <errno.h>
#include <linux/rtnetlink.h>
#include <signal.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include "log.h"

/* --- signals --- */

int open_signals(void)
{
	static const int NUMBERS[] = { SIGTERM, SIGINT, SIGHUP, SIGCHLD };
	sigset_t ours;
	sigemptyset(&ours);
	for (int number : NUMBERS)
		sigaddset(&ours, number);
	signal(SIGPIPE, SIG_IGN);
	signal(SIGCHLD, SIG_DFL); // ignored, children would end without their status
	if (sigprocmask(SIG_BLOCK, &ours, nullptr) != 0)
		return -1;
	return signalfd(-1, &ours, SFD_CLOEXEC | SFD_NONBLOCK);
}

signals_seen read_signals(int fd)
{
	signals_seen seen = {};
	struct signalfd_siginfo one;
	while (read(fd, &one, sizeof(one)) == static_cast<ssize_t>(sizeof(one))) {
		if (one.ssi_signo == SIGTERM || one.ssi_signo == SIGINT)
			seen.to_end = true;
		else if (one.ssi_signo == SIGHUP)
			seen.to_apply = true;
	}
	return seen;
}

/* --- links --- */

int open_links(void)
{
	struct sockaddr_nl from = {};
	from.nl_family = AF_NETLINK;
	from.nl_groups = RTMGRP_LINK;
	int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
	if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&from), sizeof(from)) == 0)
		return fd;
	int reason = errno;
	close(fd);
	errno = reason;
	return -1;
}

/* A device that came, or that was renamed, is not the one on which we made something. */
static bool is_new_to(const applied *asked, const link_news *link)
{
	return is_asked_for(asked, link->name) &&
	       (link->comes_up || !is_made(asked, link->name, link->index));
}

static bool has_new_link(const applied *asked, const char *bytes, size_t size)
{
	link_news link = { bytes, size, nullptr, 0, false };
	while (get_next_link(&link)) {
		if (is_new_to(asked, &link))
			return true;
	}
	return false;
}

bool has_link_come(int fd, const applied *asked)
{
	alignas(struct nlmsghdr) char buffer[16384];
	bool has_come = false;
	for (;;) {
		ssize_t size = recv(fd, buffer, sizeof(buffer), 0);
		if (size > 0)
			has_come |= has_new_link(asked, buffer, static_cast<size_t>(size));
		else if (size < 0 && errno == ENOBUFS)
			has_come = asked->is_there; // more came than there was room for
		else if (size == 0 || errno != EINTR)
			return has_come;
	}
}

/* --- files --- */

static const uint32_t CHANGES = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
static const char ZONE_DIR[] = "/etc"; // of localtime, a file or a link

int open_files(void)
{
	int fd = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
	if (fd < 0)
		return -1;
	if (inotify_add_watch(fd, RUN_DIR, CHANGES | IN_ONLYDIR) < 0) {
		int reason = errno;
		close(fd);
		errno = reason;
		return -1;
	}
	if (inotify_add_watch(fd, ZONE_DIR, CHANGES | IN_CREATE | IN_ONLYDIR) < 0)
		log_line(LOG_WARNING, "a change of the time zone will be seen at the next hour: %s",
			 strerror(errno));
	return fd;
}

static void note_name(files_changed *to, const char *name)
{
	if (strcmp(name, "applied") == 0 || strcmp(name, "before") == 0)
		to->applied = true;
	else if (strcmp(name, "confirm") == 0)
		to->confirmation = true;
	else if (strcmp(name, "localtime") == 0)
		to->zone = true;
}

files_changed read_files(int fd)
{
	alignas(struct inotify_event) char buffer[4096];
	files_changed changed = {};
	ssize_t size;
	while ((size = read(fd, buffer, sizeof(buffer))) > 0) {
		for (ssize_t at = 0; at < size;) {
			const inotify_event *one = reinterpret_cast<inotify_event *>(buffer + at);
			if (one->mask & IN_Q_OVERFLOW)
				changed = { true, true, true };
			else if (one->len > 0)
				note_name(&changed, one->name);
			at += static_cast<ssize_t>(sizeof(*one) + one->len);
		}
	}
	return changed;
}

/* --- hours --- */

int open_hours(void)
{
	int fd = timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK);
	if (fd >= 0)
		arm_hours(fd);
	return fd;
}

/* Every schedule turns at a full hour of the wall clock. */
void arm_hours(int fd)
{
	tzset(); // the zone may have changed
	struct itimerspec next = {};
	time_t now = time(nullptr);
	next.it_value.tv_sec = get_next_hour(now);
	if (next.it_value.tv_sec <= now) // no wall clock can tell
		next.it_value.tv_sec = now + 3600;
	if (timerfd_settime(fd, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &next, nullptr) != 0)
		log_line(LOG_ERR, "no turn of a schedule will be seen: %s", strerror(errno));
}

bool has_hour_turned(int fd)
{
	uint64_t times;
	bool has_turned = read(fd, &times, sizeof(times)) == static_cast<ssize_t>(sizeof(times)) ||
			  errno == ECANCELED;
	if (has_turned)
		arm_hours(fd);
	return has_turned;
}
