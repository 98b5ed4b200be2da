// SPDX-License-Identifier: MIT
/* What each class of a device carried, as curves, and the kernel's counters now. */
#include "curves.h"

#include <errno.h>
#include <string.h>

#include <cgi.h>

#include "../../plan/list.h"
#include "../../store/text.h"
#include "../answers.h"
#include "../curve.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../words.h"

static const int ANSWER_WAIT = 5000; // milliseconds
static const size_t LINE_SIZE = 80;  // bytes of a question
static const size_t MOMENT_SIZE = 40, TITLE_SIZE = 100; // bytes

namespace {

struct span_row {
	const char *word;
	time_t seconds;
	const char *moment; // how a moment of it is written
};

/* What the page is made from. */
struct curves_page {
	shown_stores stores;
	const span_row *span;
	const json *status, *device; // the answer, and the device of it that is shown
	const json *history;         // the same device in the answer to "history"; null: no samples
	time_t from, until;
	uint64_t unit;
};

/* A class, with what is known of it. */
struct class_row {
	const json *of;
	bool has_rates; // no band
	uint64_t rate, ceil;
	bool has_now;
	uint64_t now;   // as measured for this page, else the newest sample
	curve carried;
};

} // namespace

static const span_row SPANS[] = {
	{ "hour", 3600, "%H:%M" },
	{ "day", 24 * 3600, "%a %H:%M" },
	{ "week", 7 * 24 * 3600, "%a %e %b %H:%M" },
};

/* --- which --- */

static const span_row *find_span(const char *word)
{
	for (const span_row &row : SPANS) {
		if (strcmp(row.word, word) == 0)
			return &row;
	}
	return &SPANS[0];
}

static void ask_history(curves_page *it)
{
	char line[LINE_SIZE];
	const char *name = get_text(it->device, "device");
	if (!is_askable(name) ||
	    !fits(snprintf(line, sizeof(line), "history device=%s span=%s", name, it->span->word),
		  sizeof(line)))
		return;
	it->history = find_device_named(ask(line, ANSWER_WAIT), name);
}

/* All curves of the page end when the newest does. Without samples the end is 0. */
static void find_window(curves_page *it)
{
	const json *classes = get_member(it->history, "classes");
	for (const json *one = get_first_item(classes); one; one = one->next) {
		time_t end = get_samples_end(one);
		if (end > it->until)
			it->until = end;
	}
	it->from = it->until - it->span->seconds;
}

static void fill_row(class_row *to, const curves_page *page, const json *of)
{
	to->of = of;
	to->has_rates = get_number(of, "rate", &to->rate) && get_number(of, "ceil", &to->ceil);
	if (!to->has_rates)
		to->rate = to->ceil = 0;
	make_curve(&to->carried, find_class_with(page->history, "classid", get_text(of, "classid")),
		   page->from, page->until);
	to->has_now = get_number(of, "rate_now", &to->now);
	if (to->has_now)
		return;
	to->has_now = to->carried.is_known;
	to->now = to->carried.now;
}

static uint64_t get_greatest(const class_row *it)
{
	return it->carried.peak > it->ceil ? it->carried.peak : it->ceil;
}

static list<class_row> read_rows(curves_page *page)
{
	list<class_row> rows = {};
	uint64_t greatest = 0;
	const json *classes = get_member(page->device, "classes");
	for (const json *it = get_first_item(classes); it; it = it->next) {
		class_row *row = add_item(&rows);
		fill_row(row, page, it);
		if (get_greatest(row) > greatest)
			greatest = get_greatest(row);
	}
	page->unit = choose_unit(greatest);
	return rows;
}

/* --- words --- */

static void write_moment(FILE *to, const curves_page *page, time_t at)
{
	char text[MOMENT_SIZE];
	struct tm wall;
	if (localtime_r(&at, &wall) && strftime(text, sizeof(text), page->span->moment, &wall) > 0)
		fputs(text, to);
}

static void write_carried(const curves_page *page, uint64_t rate)
{
	write_in_unit(stdout, round_rate(rate), page->unit);
}

/* "guaranteed 2, ceiling 4" */
static void print_rates(const curves_page *page, const class_row *it)
{
	if (!it->has_rates)
		return;
	printf("guaranteed ");
	write_in_unit(stdout, it->rate, page->unit);
	printf(", ceiling ");
	write_in_unit(stdout, it->ceil, page->unit);
}

static void print_peak(const curves_page *page, const curve *it)
{
	if (it->peak == 0) {
		printf("0 all the time");
		return;
	}
	write_carried(page, it->peak);
	printf(" at ");
	write_moment(stdout, page, it->peak_at);
}

static void print_known(const curves_page *page, bool is_known, uint64_t rate)
{
	if (is_known)
		write_in_unit(stdout, rate, page->unit);
	else
		putchar('-');
}

static void print_name(const json *of)
{
	const char *id = get_text(of, "id");
	print_escaped(*id ? id : get_text(of, "classid"));
}

/* --- the curves --- */

static void print_drawing(const curves_page *page, const class_row *it, uint64_t scale)
{
	printf("<svg viewBox='0 0 %d %d' preserveAspectRatio='none' role='img' aria-label='",
	       CURVE_POINTS, CURVE_HEIGHT);
	print_name(it->of);
	printf(": ");
	print_rates(page, it);
	printf("%speak ", it->has_rates ? ", " : "");
	print_peak(page, &it->carried);
	printf(", in %s", get_unit_word(page->unit));
	printf("'>");
	if (it->has_rates) {
		printf("<path class='c' d='M0 %dh%d'/><path class='g' d='M0 %dh%d'/>",
		       get_height(it->ceil, scale), CURVE_POINTS, get_height(it->rate, scale),
		       CURVE_POINTS);
	}
	printf("<path class='got' d='");
	write_path(stdout, &it->carried, scale);
	printf("'/></svg>\n<p class='s'>");
	print_rates(page, it);
	printf("%sscale 0 to ", it->has_rates ? "; " : "");
	write_in_unit(stdout, scale, page->unit);
	printf("; now ");
	print_known(page, it->has_now, round_rate(it->now));
	printf("</p>");
}

static void print_figure(const curves_page *page, const class_row *it)
{
	const char *id = get_text(it->of, "id");
	printf("<figure class='card'><figcaption class='head'><h2>");
	if (*id)
		print_object_link(it->has_rates ? CLASS : BASIC, id);
	else
		print_name(it->of);
	printf("</h2><small>");
	if (it->carried.is_known) {
		printf("peak ");
		print_peak(page, &it->carried);
	} else {
		printf("no samples in this time");
	}
	printf("</small></figcaption>\n");
	if (it->carried.is_known)
		print_drawing(page, it, choose_scale(get_greatest(it)));
	printf("</figure>\n");
}

static void print_range(const curves_page *page)
{
	if (page->until == 0) {
		printf("<p class='msg'><b>Nothing is sampled yet:</b> an hour is known after some "
		       "ten seconds, a day and a week after some ten minutes.</p>\n");
		return;
	}
	printf("<p class='s'>Curve: carried. Straight line: guaranteed. Dashed line: ceiling. "
	       "Gaps: nobody looked. All in %s, from ", get_unit_word(page->unit));
	write_moment(stdout, page, page->from);
	printf(" to ");
	write_moment(stdout, page, page->until);
	printf(".</p>\n");
}

/* --- the table --- */

static void print_number(const json *of, const char *name)
{
	uint64_t number;
	if (get_number(of, name, &number))
		printf("%llu", static_cast<unsigned long long>(number));
	else
		putchar('-');
}

namespace {

enum column { GUARANTEED, CEILING, MEAN, PEAK, NOW, DROPPED, WAITING };

} // namespace

/* In the order of enum column. */
static const char *const HEADINGS[] = {
	"Guaranteed", "Ceiling", "Mean", "Peak", "Now", "Packets dropped", "Bytes waiting",
};

static void print_value(const curves_page *page, const class_row *it, column what)
{
	const curve *carried = &it->carried;
	switch (what) {
	case GUARANTEED: print_known(page, it->has_rates, it->rate); return;
	case CEILING: print_known(page, it->has_rates, it->ceil); return;
	case MEAN: print_known(page, carried->is_known, round_rate(carried->mean)); return;
	case PEAK:
		if (carried->is_known)
			print_peak(page, carried);
		else
			putchar('-');
		return;
	case NOW: print_known(page, it->has_now, round_rate(it->now)); return;
	case DROPPED: print_number(it->of, "dropped"); return;
	case WAITING: print_number(it->of, "backlog_bytes"); return;
	}
}

/* On a phone each value has its heading before it. */
static void print_row(const curves_page *page, const class_row *it)
{
	printf("<tr><th scope='row'>");
	print_name(it->of);
	printf("</th>");
	for (int i = GUARANTEED; i <= WAITING; i++) {
		printf("<td data-l='%s'>", HEADINGS[i]);
		print_value(page, it, static_cast<column>(i));
		printf("</td>");
	}
	printf("</tr>\n");
}

static void print_table(const curves_page *page, const list<class_row> *rows)
{
	printf("<details class='card'><summary>The same as a table, and the counters now</summary>"
	       "<table class='list wide'><thead><tr><th scope='col'>%s</th>",
	       get_unit_word(page->unit));
	for (const char *heading : HEADINGS)
		printf("<th scope='col'>%s</th>", heading);
	printf("</tr></thead><tbody>\n");
	for (const class_row &row : *rows)
		print_row(page, &row);
	printf("</tbody></table></details>\n");
}

/* --- the page --- */

static void print_link(const char *span, const json *device, bool is_current)
{
	printf("<a href='main.cgi?obj=router&amp;type=curves&amp;span=%s", span);
	if (device) {
		printf("&amp;device=");
		print_encoded(get_text(device, "device"));
	}
	printf("'%s>", is_current ? " aria-current='true'" : "");
}

static void print_spans(const curves_page *it)
{
	printf("<span class='opts'>");
	for (const span_row &row : SPANS) {
		print_link(row.word, it->device, &row == it->span);
		printf("%s</a>", row.word);
	}
	printf("</span>");
}

static void print_devices(const curves_page *page)
{
	printf("<p class='opts'>");
	const json *devices = get_member(page->status, "devices");
	for (const json *it = get_first_item(devices); it; it = it->next) {
		print_link(page->span->word, it, it == page->device);
		write_device(escaped(), &page->stores, it);
		printf("</a>");
	}
	printf("</p>\n");
}

static void print_state(const json *device)
{
	const char *why = get_text(device, "why");
	if (!*why)
		return;
	printf("<p class='msg warn'><b>");
	print_escaped(get_text(device, "state"));
	printf(":</b> ");
	print_escaped(why);
	printf("</p>\n");
}

static void print_answer(curves_page *page)
{
	ask_history(page);
	find_window(page);
	list<class_row> rows = read_rows(page);
	print_devices(page);
	print_state(page->device);
	print_range(page);
	printf("<div class='two'>\n");
	for (const class_row &row : rows)
		print_figure(page, &row);
	printf("</div>\n");
	print_table(page, &rows);
	free_list(&rows);
}

static void open_status_page(const curves_page *it)
{
	char title[TITLE_SIZE] = "Status";
	if (it->device)
		snprintf(title, sizeof(title), "Status of %s, %s", get_text(it->device, "device"),
			 it->span->word);
	open_page(title, AT_STATUS);
}

int show_curves(void)
{
	curves_page page = {};
	page.span = find_span(text(cgi_param("span")));
	int connection = start_asking("status");
	int reason = errno;
	read_stores(&page.stores);
	if (connection >= 0) {
		page.status = end_asking(connection, ANSWER_WAIT);
		reason = errno;
	}
	page.device = find_device_named(page.status, text(cgi_param("device")));
	if (!page.device)
		page.device = get_first_item(get_member(page.status, "devices"));
	open_status_page(&page);
	open_heading("Status");
	if (page.device)
		print_spans(&page);
	printf("</div>\n");
	if (!print_unanswered(page.status, reason))
		print_answer(&page);
	close_page();
	return 0;
}
