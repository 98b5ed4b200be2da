// SPDX-License-Identifier: MIT
/* qosctl status: what runs now, once or again and again. */
#include "status.h"

#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "../store/message.h"
#include "../store/text_stream.h"

static const long PAUSE_ONCE = 500 * 1000 * 1000;   // nanoseconds in which the rates are measured
static const long PAUSE_WATCHED = 999 * 1000 * 1000;

// Of a terminal: a page of its own, without cursor, and back to what stood there before.
static const char OPEN_PAGE[] = "\033[?1049h\033[?25l";
static const char CLOSE_PAGE[] = "\033[?25h\033[?1049l";
static const char GO_HOME[] = "\033[H";
static const char END_LINE[] = "\033[K";
static const char CLEAR_BELOW[] = "\033[J";

static volatile sig_atomic_t g_is_over; // set by end_watch, when the user has seen enough

static void end_watch(int)
{
	g_is_over = 1;
}

/* Nanoseconds since some moment. */
static uint64_t read_clock(void)
{
	timespec now;
	clock_gettime(CLOCK_MONOTONIC, &now);
	return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

/* Waits, and measures what was sent meanwhile. */
static void measure(router_status *it, long pause)
{
	uint64_t from = read_clock();
	timespec left = { 0, pause };
	while (!g_is_over && nanosleep(&left, &left) != 0 && errno == EINTR)
		continue;
	measure_rates(it, read_clock() - from);
}

static void print_status(FILE *to, const router_status *it, const options *given)
{
	if (given->openmetrics)
		print_openmetrics(to, it);
	else if (given->json)
		print_status_json(to, it);
	else
		print_status_table(to, it);
}

static bool can_show(int status)
{
	return status == EXIT_DONE || status == EXIT_NOT_APPLIED;
}

/* A program that collects figures works out the rates itself, and need not wait for ours. */
static int show_once(const options *given)
{
	router_status it;
	int status = read_status(&it, given);
	if (can_show(status) && !given->openmetrics && it.devices.count > 0)
		measure(&it, PAUSE_ONCE);
	if (can_show(status))
		print_status(stdout, &it, given);
	else
		qos_warn("%s", it.trouble);
	free_status(&it);
	return status;
}

/* --- again and again --- */

/* Prints what has room on the page: what is cut would push up the rest. */
static void print_page(const char *text, const struct winsize *page)
{
	fputs(GO_HOME, stdout);
	for (int row = 1; *text && row < page->ws_row; row++) {
		size_t length = strcspn(text, "\n");
		size_t shown = length < page->ws_col ? length : page->ws_col;
		fwrite(text, 1, shown, stdout);
		fprintf(stdout, "%s\n", END_LINE);
		text += length + (text[length] == '\n');
	}
	fputs(CLEAR_BELOW, stdout);
}

static bool read_page(struct winsize *page)
{
	return isatty(STDOUT_FILENO) && ioctl(STDOUT_FILENO, TIOCGWINSZ, page) == 0;
}

static void show_page(const router_status *it, const options *given)
{
	struct winsize page = {};
	if (!read_page(&page) || page.ws_row == 0 || page.ws_col == 0)
		page.ws_row = 24, page.ws_col = 80;
	text_stream text;
	if (!open_text_stream(&text))
		end_without_memory();
	print_status(text.stream, it, given);
	if (!close_text_stream(&text))
		end_without_memory();
	print_page(text.text, &page);
	free(text.text);
}

/* What goes on from one page to the next. */
struct watch_state {
	bool is_page;       // on a terminal
	bool is_open;       // the page
	bool is_over;       // there is nothing more to watch
	char trouble[sizeof(router_status::trouble)];
};

static void show_round(watch_state *at, const router_status *it, const options *given)
{
	if (!at->is_page) {
		print_status(stdout, it, given);
		if (!given->json && !given->openmetrics)
			putchar('\n'); // between the blocks
		return;
	}
	if (!at->is_open)
		fputs(OPEN_PAGE, stdout);
	at->is_open = true;
	show_page(it, given);
}

/* One reading, shown. Nothing is shown of one that the user ended. */
static int show_again(watch_state *at, const options *given)
{
	router_status it;
	int status = read_status(&it, given);
	if (can_show(status))
		measure(&it, PAUSE_WATCHED);
	if (can_show(status) && !g_is_over)
		show_round(at, &it, given);
	memcpy(at->trouble, it.trouble, sizeof(at->trouble));
	free_status(&it);
	// where the answer cannot be written any more nobody watches
	at->is_over = !can_show(status) || fflush(stdout) != 0;
	return status;
}

static void catch_signals(void)
{
	static const int SIGNALS[] = { SIGINT, SIGTERM, SIGHUP };
	struct sigaction end = {};
	end.sa_handler = end_watch;
	for (int signal : SIGNALS)
		sigaction(signal, &end, nullptr);
}

/* What went wrong is told when the page is closed, for it would go with the page. */
static int watch(const options *given)
{
	watch_state at = {};
	at.is_page = isatty(STDOUT_FILENO) && !given->json && !given->openmetrics;
	catch_signals();
	int status = EXIT_DONE;
	while (!g_is_over && !at.is_over)
		status = show_again(&at, given);
	if (at.is_open) {
		fputs(CLOSE_PAGE, stdout);
		fflush(stdout);
	}
	if (at.trouble[0])
		qos_warn("%s", at.trouble);
	return status;
}

int run_status(const options *given)
{
	return given->watch ? watch(given) : show_once(given);
}
