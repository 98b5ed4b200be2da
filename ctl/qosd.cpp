// SPDX-License-Identifier: MIT
/* qosd: does what needs waiting. It applies at boot and when a device comes up, changes rates at
 * each turn of a schedule, brings back the last good state when a confirmation does not come,
 * samples the counters, and answers on /run/qos/control. All work is done by qosctl, one process a
 * piece, so that this one stays small and nothing that a script or store holds can end it. */
#include <errno.h>
#include <fcntl.h>
#include <getopt.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include "../store/places.h"
#include "../store/version.h"
#include "ctl.h"
#include "daemon/applied.h"
#include "daemon/clock.h"
#include "daemon/control.h"
#include "daemon/errands.h"
#include "daemon/events.h"
#include "daemon/log.h"
#include "daemon/memory.h"
#include "daemon/rates.h"
#include "daemon/samples.h"
#include "daemon/start.h"

static const char QOSCTL[] = QOS_PREFIX "/sbin/qosctl";
static const int64_t ENDING_TIME = 20 * SECOND; // for what changes something when we are to end

struct settings {
	const char *qosctl, *group;
	bool in_foreground;
};

struct daemon_state {
	errands own;
	control asked;
	samples rates;
	applied known;
	int signals, links, files, hours; // descriptors
	bool is_ready;
	int64_t end_at; // by get_clock; NEVER until it is to end
};

/* --- what happens --- */

static const int WATCHED = 4; // descriptors of our own

static void look_at_signals(daemon_state *it, int64_t now)
{
	signals_seen seen = read_signals(it->signals);
	if (seen.to_apply)
		ask_again(&it->own, now);
	if (!seen.to_end || it->end_at != NEVER)
		return;
	log_line(LOG_NOTICE, "ending; the shaping stays");
	it->end_at = now + ENDING_TIME;
	close_control(&it->asked);
}

static void look_at_files(daemon_state *it, int64_t now)
{
	files_changed changed = read_files(it->files);
	if (changed.applied)
		read_applied(&it->known);
	if (changed.confirmation)
		look_at_confirmation(&it->own, now);
	if (changed.zone) {
		arm_hours(it->hours);
		ask_again(&it->own, now);
	}
}

static void look_at_events(daemon_state *it, const struct pollfd polls[WATCHED], int64_t now)
{
	if (polls[0].revents)
		look_at_signals(it, now);
	if (polls[1].revents && has_link_come(it->links, &it->known))
		ask_again_soon(&it->own, now);
	if (polls[2].revents)
		look_at_files(it, now);
	if (polls[3].revents && has_hour_turned(it->hours))
		ask_again(&it->own, now);
}

/* --- the loop --- */

/* Readings keep to the clock's tens of seconds. */
static int64_t get_reading_time(const daemon_state *it)
{
	if (it->known.made.count == 0)
		return NEVER;
	return (it->rates.tick + 1) * FINE_SECONDS * SECOND;
}

/* What is due while a client has something changed waits for the end of that, which wakes us. */
static int64_t get_next_errand(const daemon_state *it)
{
	bool may_start = is_on_errand(&it->own) || !is_changing(&it->asked);
	return may_start ? get_errand_time(&it->own) : NEVER;
}

static int get_wait(const daemon_state *it, int64_t now)
{
	const int64_t times[] = { get_next_errand(it), get_control_time(&it->asked),
				  get_reading_time(it), it->end_at };
	int64_t next = NEVER;
	for (int64_t time : times) {
		if (time < next)
			next = time;
	}
	if (next == NEVER)
		return -1;
	if (next <= now)
		return 0;
	return next - now > INT_MAX ? INT_MAX : static_cast<int>(next - now);
}

/* A confirmation that was asked for before its time was over is not late. */
static void start_work(daemon_state *it, int64_t now)
{
	bool has_errand_first = !(is_good_due(&it->own, now) && is_confirming(&it->asked));
	if (has_errand_first && !is_changing(&it->asked))
		start_errand(&it->own, &it->known, now);
	start_questions(&it->asked, !is_on_errand(&it->own), now);
}

static void do_work(daemon_state *it, int64_t now)
{
	end_errand(&it->own, &it->asked.known, now);
	end_questions(&it->asked, now);
	if (it->end_at == NEVER)
		start_work(it, now);
	if (it->own.has_started && !it->is_ready) {
		it->is_ready = true;
		tell_ready();
	}
	if (now >= get_reading_time(it))
		read_rates(&it->rates, &it->known, now);
}

static bool may_end(const daemon_state *it, int64_t now)
{
	return it->end_at != NEVER && (now >= it->end_at || (!is_on_errand(&it->own) &&
							     !is_changing(&it->asked)));
}

static void run(daemon_state *it)
{
	struct pollfd polls[WATCHED + CONTROL_POLLS];
	for (;;) {
		int64_t now = get_clock();
		do_work(it, now);
		if (may_end(it, now))
			return;
		if (!has_clients(&it->asked))
			give_memory_back();
		polls[0] = { it->signals, POLLIN, 0 };
		polls[1] = { it->links, POLLIN, 0 };
		polls[2] = { it->files, POLLIN, 0 };
		polls[3] = { it->hours, POLLIN, 0 };
		watch_clients(&it->asked, polls + WATCHED);
		if (poll(polls, WATCHED + CONTROL_POLLS, get_wait(it, now)) <= 0)
			continue;
		now = get_clock();
		look_at_events(it, polls, now);
		serve_clients(&it->asked, polls + WATCHED, now);
	}
}

/* --- the start --- */

/* With fewer, poll itself refuses. */
static bool has_descriptors(void)
{
	struct rlimit most;
	if (getrlimit(RLIMIT_NOFILE, &most) != 0 || most.rlim_cur >= WATCHED + CONTROL_POLLS)
		return true;
	errno = EMFILE;
	return false;
}

static bool open_all(daemon_state *it, const settings *given)
{
	it->end_at = NEVER;
	if (!has_descriptors() || !open_samples(&it->rates, get_clock()) ||
	    (it->signals = open_signals()) < 0 || (it->links = open_links()) < 0 ||
	    (it->files = open_files()) < 0 || (it->hours = open_hours()) < 0) {
		log_line(LOG_ERR, "cannot start: %s", strerror(errno));
		return false;
	}
	open_errands(&it->own, given->qosctl);
	read_applied(&it->known);
	return open_control(&it->asked, given->qosctl, given->group, &it->rates,
			    &it->known);
}

static int serve(const settings *given)
{
	daemon_state it = {};
	open_log(true); // until it is in the background, who started it reads along
	if (!take_lock())
		return errno == EACCES || errno == EPERM ? EXIT_NOT_ALLOWED : EXIT_FAILED;
	if (!open_all(&it, given))
		return EXIT_FAILED;
	if (!given->in_foreground && !go_to_background())
		return EXIT_FAILED;
	open_log(given->in_foreground);
	if (!write_pid())
		return EXIT_FAILED;
	log_line(LOG_NOTICE, "version %s, with %s", qos_version, given->qosctl);
	run(&it);
	remove_pid();
	return EXIT_DONE;
}

/* --- the command line --- */

static const char HELP[] =
	"usage: qosd [OPTION ...]\n\n"
	"Applies the shaping at boot and when a device comes up, keeps to its schedules, waits\n"
	"for confirmations, samples the counters, and answers on /run/qos/control. Ended by\n"
	"SIGTERM, it leaves the shaping in force; SIGHUP has it applied again.\n\n"
	"  --foreground   stay in the foreground, and tell on standard error instead of syslog\n"
	"  --group NAME   the group that may ask; else root alone\n"
	"  --qosctl PATH  the program that does the work; else " QOS_PREFIX "/sbin/qosctl\n"
	"  --help         show this\n"
	"  --version      show the version\n";

enum option_letter {
	FOREGROUND = 'f',
	GROUP = 'g',
	PROGRAM = 'q',
	SHOW_HELP = 'h',
	SHOW_VERSION = 'v',
};

static const struct option OPTIONS[] = {
	{ "foreground", no_argument, nullptr, FOREGROUND },
	{ "group", required_argument, nullptr, GROUP },
	{ "qosctl", required_argument, nullptr, PROGRAM },
	{ "help", no_argument, nullptr, SHOW_HELP },
	{ "version", no_argument, nullptr, SHOW_VERSION },
	{ nullptr, 0, nullptr, 0 },
};

/* Standard output and error must not be what is opened first. */
static void open_standard(void)
{
	for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++) {
		if (fcntl(fd, F_GETFD) == -1)
			open("/dev/null", O_RDWR);
	}
}

/* A text that did not arrive was none. */
static int end_text(void)
{
	return fflush(stdout) == 0 && !ferror(stdout) ? EXIT_DONE : EXIT_FAILED;
}

int main(int argc, char **argv)
{
	settings given = { QOSCTL, nullptr, false };
	open_standard();
	for (int letter; (letter = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
		switch (letter) {
		case FOREGROUND: given.in_foreground = true; break;
		case GROUP: given.group = optarg; break;
		case PROGRAM: given.qosctl = optarg; break;
		case SHOW_HELP: fputs(HELP, stdout); return end_text();
		case SHOW_VERSION: printf("qosd %s\n", qos_version); return end_text();
		default: return EXIT_USAGE;
		}
	}
	if (optind == argc)
		return serve(&given);
	fprintf(stderr, "qosd: '%s' is one word too many\n", argv[optind]);
	return EXIT_USAGE;
}
