// SPDX-License-Identifier: MIT
/* What holds when: the coming days of each class that has a schedule, hour by hour. */
#include "week.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <cgi.h>

#include "../../plan/plan.h"
#include "../../store/text.h"
#include "../answers.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../week_hours.h"
#include "../words.h"

static const int ANSWER_WAIT = 5000; // milliseconds
static const int YEAR_DAYS = 366;
static const int CHANGES_TOLD = 2;   // of the clock
static const size_t DATE_SIZE = 40;  // bytes

namespace {

/* What the page is made from. */
struct week_page {
	shown_stores stores;
	clock_week days;
	const char *typed; // the date that was asked for; "" for today
	bool is_bad_date;
};

} // namespace

/* --- days --- */

static void print_date(const char *format, const struct tm *date)
{
	char text[DATE_SIZE];
	if (strftime(text, sizeof(text), format, date) > 0)
		fputs(text, stdout);
}

static void print_week_link(const week_page *it, int days, const char *word)
{
	time_t from = move_days(it->days.from, days);
	struct tm date;
	if (!localtime_r(&from, &date))
		return;
	printf("<a href='main.cgi?obj=router&amp;type=week&amp;from=");
	print_date("%Y-%m-%d", &date);
	printf("'>%s</a>", word);
}

/* Another week is asked for by its first day. */
static void print_date_form(const week_page *it)
{
	printf("<form class='opts' method='get' action='main.cgi'>"
	       "<input type='hidden' name='obj' value='router'>"
	       "<input type='hidden' name='type' value='week'>");
	print_week_link(it, -WEEK_DAYS_SHOWN, "earlier");
	printf("<label for='from'>Seven days from&nbsp;</label>"
	       "<input type='date' id='from' name='from'%s value='",
	       it->is_bad_date ? " aria-invalid='true' aria-describedby='from-e'" : "");
	if (it->is_bad_date)
		print_escaped(it->typed);
	else
		print_date("%Y-%m-%d", &it->days.days[0].date);
	printf("'><button class='small' type='submit'>Show</button>");
	print_week_link(it, WEEK_DAYS_SHOWN, "later");
	if (it->is_bad_date)
		printf("<p class='e' id='from-e'>No day of the calendar: write it as 2026-11-23. "
		       "Here are the days from today.</p>");
	printf("</form>\n");
}

/* --- the clock --- */

static bool read_slot(slot *to, const class_rec *rec, int n)
{
	*to = {};
	if (strcmp(text(rec->time_enable[n]), "enable") != 0)
		return false;
	for (int day = 0; day < DAYS; day++) {
		if (*text(rec->dow[day][n]))
			to->days |= 1u << day;
	}
	to->from = atoi(text(rec->start_hour[n])) % HOURS_SHOWN;
	to->to = atoi(text(rec->end_hour[n])) % HOURS_SHOWN;
	return true;
}

/* Tells of a schedule that lasts longer or shorter on the day: "fibre-backup: 4 hours of 5". */
static void print_lasting(const char **before, const char *id, const slot *it, const clock_day *day)
{
	uint32_t hours = get_slot_hours(it).days[day->date.tm_wday];
	int planned = 0, seconds = 0;
	for (int hour = 0; hour < HOURS_SHOWN; hour++) {
		bool holds = hours >> hour & 1;
		planned += holds;
		seconds += holds ? day->seconds[hour] : 0;
	}
	if (seconds == planned * 3600)
		return;
	fputs(*before, stdout);
	*before = ", ";
	print_escaped(id);
	printf(": %g hours of %d", seconds / 3600.0, planned);
}

static void print_lasting_schedules(const shown_stores *in, const clock_day *day)
{
	const char *before = " (", *id;
	for (int n = 0; (id = get_object(in, CLASS, n)); n++) {
		class_rec rec = {};
		slot it;
		read_class(in->of[CLASS], &rec, id);
		for (int i = 0; i < LOADED_SLOTS_MAX; i++) {
			if (read_slot(&it, &rec, i))
				print_lasting(&before, id, &it, day);
		}
	}
	if (*before == ',')
		putchar(')');
}

/* The next times that the clock is set: schedules are about what it shows. */
static void print_clock_changes(const week_page *it)
{
	time_t from = it->days.from, end = move_days(from, YEAR_DAYS);
	clock_day day;
	for (int told = 0; told < CHANGES_TOLD; told++) {
		int rest = static_cast<int>((end - from) / (24 * 3600));
		if (!find_set_day(&day, from, rest)) {
			printf("%s", told ? ".</p>\n" : "");
			return;
		}
		printf("%s", told ? "; " : "<p class='msg'><b>Clock change:</b> ");
		print_date("%A %e %B %Y has ", &day.date);
		write_odd_hours(stdout, &day);
		print_lasting_schedules(&it->stores, &day);
		from = move_days(mktime(&day.date), 1);
	}
	printf(".</p>\n");
}

/* --- the grid --- */

static void print_hours_head(void)
{
	printf("<table class='grid'><thead><tr><th scope='col'><span class='vh'>Day</span></th>");
	for (int hour = 0; hour < HOURS_SHOWN; hour += 6)
		printf("<td colspan='6'>%d</td>", hour);
	printf("</tr></thead><tbody>\n");
}

static const char *get_mark(const class_week *of, const hour_rates *it)
{
	if (it->seconds == 0)
		return " class='x'";
	if (it->rate == of->usual_rate && it->ceil == of->usual_ceil)
		return "";
	bool is_less = it->rate != of->usual_rate ? it->rate < of->usual_rate
						  : it->ceil < of->usual_ceil;
	return is_less ? " class='a'" : " class='b'";
}

static int write_figures(char text[DATE_SIZE], const hour_rates *it, uint64_t unit)
{
	FILE *to = fmemopen(text, DATE_SIZE, "w");
	if (!to)
		end_without_memory();
	write_in_unit(to, it->rate, unit);
	if (it->ceil != it->rate) {
		fputs(" to ", to);
		write_in_unit(to, it->ceil, unit);
	}
	fclose(to);
	text[DATE_SIZE - 1] = '\0';
	size_t longest = 0;
	for (const char *word = text; *word; word += *word == ' ') {
		size_t length = strcspn(word, " ");
		longest = length > longest ? length : longest;
		word += length;
	}
	return static_cast<int>(longest);
}

/* On a phone an hour has room for one and a half digits: a figure that is wider than its hours is
 * for those who hear the page; to those who see it the words below the grid say it. */
static void print_cell(const class_week *of, const hour_rates *it, int hours, uint64_t unit)
{
	char figures[DATE_SIZE];
	printf("<td%s", get_mark(of, it));
	if (hours > 1)
		printf(" colspan='%d'", hours);
	putchar('>');
	if (it->seconds == 0) {
		printf("&ndash;<span class='vh'>skipped</span></td>");
		return;
	}
	bool fits_in = 2 * write_figures(figures, it, unit) <= 3 * hours && hours > 2;
	printf(fits_in ? "%s" : "<span class='vh'>%s</span>", figures);
	if (it->seconds == 2 * 3600)
		printf("<b title='twice'>2&times;</b>");
	else if (it->seconds != 3600)
		printf("<b>%d&prime;</b>", it->seconds / 60);
	printf("</td>");
}

static void print_row(const class_week *it, int day, uint64_t unit)
{
	for (int hour = 0; hour < HOURS_SHOWN;) {
		int hours = get_run(it->hours[day], hour);
		print_cell(it, &it->hours[day][hour], hours, unit);
		hour += hours;
	}
	printf("</tr>\n");
}

static void print_rows(const week_page *page, const class_week *it, uint64_t unit)
{
	if (is_daily(it)) {
		printf("<tr><th scope='row'>Daily</th>");
		print_row(it, 0, unit);
		return;
	}
	for (int day = 0; day < WEEK_DAYS_SHOWN; day++) {
		printf("<tr><th scope='row'>");
		print_date("%a %e&nbsp;%b", &page->days.days[day].date);
		printf("</th>");
		print_row(it, day, unit);
	}
}

/* The schedules of a class as they are saved. Returns how many. */
static int print_slots(const shown_stores *in, const char *id, const char *before,
		       const char *after)
{
	class_rec rec = {};
	int count = 0;
	read_class(in->of[CLASS], &rec, id);
	for (int i = 0; i < LOADED_SLOTS_MAX; i++) {
		slot it;
		if (!read_slot(&it, &rec, i))
			continue;
		printf("%s", count++ ? "; " : before);
		write_slot(escaped(), &rec, i);
	}
	if (count > 0)
		printf("%s", after);
	return count;
}

static uint64_t find_greatest(const json *device)
{
	uint64_t greatest = 0, ceil;
	const json *classes = get_member(device, "classes");
	for (const json *it = get_first_item(classes); it; it = it->next) {
		const json *spans = get_member(it, "spans");
		for (const json *one = get_first_item(spans); one; one = one->next) {
			if (get_number(one, "ceil", &ceil) && ceil > greatest)
				greatest = ceil;
		}
	}
	return greatest;
}

static void print_class(const week_page *page, const json *device, const json *of, uint64_t unit)
{
	const char *id = get_text(of, "id");
	class_week it;
	if (!make_class_week(&it, &page->days, get_member(of, "spans")))
		return;
	hour_rates usual = { it.usual_rate, it.usual_ceil, 3600 };
	char figures[DATE_SIZE];
	write_figures(figures, &usual, unit);
	printf("<section class='card'><div class='head'><h2>");
	print_object_link(CLASS, id);
	printf("</h2><small>");
	write_device(escaped(), &page->stores, device);
	printf(", in %s; usually %s</small></div>\n", get_unit_word(unit), figures);
	print_hours_head();
	print_rows(page, &it, unit);
	printf("</tbody></table>\n");
	print_slots(&page->stores, id, "<p class='s'>As saved: ", ".</p>\n");
	printf("</section>\n");
}

/* Prints those of a device whose rates change in these days, and returns how many do not. */
static int print_device(const week_page *page, const json *device)
{
	int constant = 0;
	uint64_t unit = choose_unit(find_greatest(device));
	const json *classes = get_member(device, "classes");
	for (const json *it = get_first_item(classes); it; it = it->next) {
		const json *first = get_first_item(get_member(it, "spans"));
		if (first && first->next)
			print_class(page, device, it, unit);
		else
			constant += first != nullptr; // a band has none
	}
	return constant;
}

static void print_answer(const week_page *page, const json *answer)
{
	int constant = 0;
	if (get_exit(answer) != 0) {
		printf("<p class='msg warn'><b>Not all is here:</b> ");
		print_escaped(get_told(answer));
		printf("</p>\n");
	}
	printf("<p class='s'>Guaranteed to ceiling, by the hour, as compiled. A band below: less "
	       "than usual; a band above: more.</p>\n");
	const json *devices = get_member(answer, "devices");
	for (const json *it = get_first_item(devices); it; it = it->next)
		constant += print_device(page, it);
	if (constant > 0)
		printf("<p class='s'>%d %s the same at every hour of these days.</p>\n", constant,
		       constant == 1 ? "class has" : "classes have");
}

/* --- without an answer --- */

static void print_saved(const shown_stores *in)
{
	int count = 0;
	const char *id;
	printf("<section class='card'><h2>Schedules as saved</h2><ul>\n");
	for (int n = 0; (id = get_object(in, CLASS, n)); n++) {
		class_rec rec = {};
		slot it;
		bool has_slot = false;
		read_class(in->of[CLASS], &rec, id);
		for (int i = 0; i < LOADED_SLOTS_MAX; i++)
			has_slot |= read_slot(&it, &rec, i);
		if (!has_slot)
			continue;
		printf("<li>");
		print_object_link(CLASS, id);
		print_slots(in, id, ": ", "</li>\n");
		count++;
	}
	printf("</ul>%s</section>\n", count ? "" : "<p>No class has a schedule.</p>");
}

/* --- the page --- */

static void find_days(week_page *it)
{
	time_t from;
	it->typed = text(cgi_param("from"));
	it->is_bad_date = *it->typed && !read_date(&from, it->typed);
	if (!*it->typed || it->is_bad_date)
		from = get_day_start(time(nullptr));
	make_clock_week(&it->days, from);
}

int show_week(void)
{
	week_page page = {};
	char line[64];
	find_days(&page);
	snprintf(line, sizeof(line), "week days=%d from=@%lld", WEEK_DAYS_SHOWN,
		 static_cast<long long>(page.days.from));
	int connection = start_asking(line);
	int reason = errno;
	read_stores(&page.stores);
	const json *answer = nullptr;
	if (connection >= 0) {
		answer = end_asking(connection, ANSWER_WAIT);
		reason = errno;
	}
	char title[DATE_SIZE];
	if (strftime(title, sizeof(title), "Week from %e %B %Y", &page.days.days[0].date) == 0)
		title[0] = '\0';
	open_page(title, AT_WEEK);
	open_heading("Week");
	print_date_form(&page);
	printf("</div>\n");
	print_clock_changes(&page);
	if (print_unanswered(answer, reason))
		print_saved(&page.stores);
	else
		print_answer(&page, answer);
	close_page();
	return 0;
}
