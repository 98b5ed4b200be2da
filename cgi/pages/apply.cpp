// SPDX-License-Identifier: MIT
/* Saved, compiled and running side by side, and the way from one to the next. */
#include "apply.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../../store/text.h"
#include "../ask.h"
#include "../bar.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../log.h"
#include "../markup.h"
#include "../shown_stores.h"
#include "../stages.h"
#include "stage_table.h"

static const int READING_TIME = 10000;   // milliseconds that the page waits for what it shows
static const int CHANGING_TIME = 120000; // and for what it has done
static const char APPLY_LINE[] = "apply confirm=60"; // seconds

/* --- what was asked for --- */

namespace {

/* Answers that are waited for at once; null where there is none, and why. */
struct answers {
	int diff_at, check_at, plan_at, trace_at; // connections
	const json *diff, *check, *plan, *trace;
	int reason;
};

} // namespace

/* qosd has them made while the frame is printed. Scripts that are older than a store have no plan. */
static void start_answers(answers *to, const stages *it)
{
	*to = {};
	to->diff_at = start_asking("diff");
	to->reason = errno;
	to->check_at = start_asking("check");
	to->trace_at = start_asking("trace");
	to->plan_at = it->is_stored_newer ? -1 : start_asking("plan difference");
}

static const json *take_answer(int connection)
{
	return connection < 0 ? nullptr : end_asking(connection, READING_TIME);
}

static void take_answers(answers *to)
{
	to->diff = take_answer(to->diff_at);
	if (!to->diff && to->diff_at >= 0)
		to->reason = errno;
	to->check = take_answer(to->check_at);
	to->plan = take_answer(to->plan_at);
	to->trace = take_answer(to->trace_at);
}

/* --- what has failed, and what waits --- */

static void print_lines(const char *told)
{
	printf("<pre>");
	while (*told) {
		print_told_line(&told);
		printf("\n");
	}
	printf("</pre>\n");
}

static void print_failed(const stages *it)
{
	if (!*it->failed)
		return;
	printf("<section class='card' aria-labelledby='f'><h2 id='f'>%s</h2>\n",
	       get_failure_words(it->failed));
	if (*it->told)
		print_lines(it->told);
	else
		printf("<p>It was cut off, or told nothing.</p>\n");
	printf("<p>%s</p></section>\n",
	       strcmp(it->failed, "compile") == 0
		       ? "The scripts stay as they were, and so does what runs."
		       : "What ran before runs on, where nothing else is said above.");
}

static void print_button(const char *action, const char *words, bool is_first)
{
	printf("<button type='submit'%s name='action' value='%s'>%s</button> ",
	       is_first ? " class='first'" : "", action, words);
}

/* The first apply since a start has nothing before it. */
static void print_undo(const stages *it)
{
	char words[64] = "Back to what ran before";
	if (it->is_before_nothing)
		strcpy(words, "Back to before: nothing shaped");
	else if (*it->before)
		snprintf(words, sizeof(words), "Back to what was applied %s", it->before);
	print_button("undo", words, false);
}

static void open_form(void)
{
	printf("<form method='post' action='main.cgi?obj=router&amp;type=apply'><p class='key'>");
}

static void close_form(void)
{
	printf("</p></form>\n");
}

static void print_waiting(const stages *it)
{
	if (!it->is_waiting)
		return;
	printf("<section class='card' aria-labelledby='w'>"
	       "<h2 id='w'>Does everything still work?</h2>\n"
	       "<p>What was applied runs now. That you read this says that this page can still be "
	       "reached. Keep it in time: without an answer what ran before comes back by "
	       "itself.</p>\n");
	open_form();
	print_button("confirm", "Keep what runs now", true);
	print_undo(it);
	close_form();
	printf("</section>\n");
}

/* --- findings --- */

/* That something is saved and not compiled, or that the compile failed, the page says itself. */
static bool is_shown(const json *finding)
{
	const char *code = get_text(finding, "code");
	return strcmp(get_text(finding, "severity"), "error") == 0 &&
	       strcmp(code, "compile-stale") != 0 && strcmp(code, "compile-failed") != 0;
}

/* The object's page is where it is mended. */
static void print_place(const shown_stores *in, const json *finding)
{
	const char *object = get_text(finding, "object");
	const char *file = get_text(finding, "file"), *device = get_text(finding, "device");
	for (int i = 0; *object && i < KINDS_COUNT; i++) {
		object_kind kind = static_cast<object_kind>(i);
		bool is_likely = strcmp(file, KINDS[i].word) == 0 ||
				 (*device && (kind == CLASS || kind == BASIC));
		if (is_likely && has_stored(in, kind, object)) {
			print_object_link(kind, object);
			return;
		}
	}
	print_escaped(*object ? object : device);
}

/* What a terminal is needed for is a button here. */
static void print_fix(const json *finding)
{
	const char *fix = get_text(finding, "fix");
	print_escaped(strstr(fix, "qosctl ") ? "Compile again." : fix);
}

static void print_findings(const json *check, const shown_stores *in)
{
	for (const json *it = get_first_item(get_member(check, "findings")); it; it = it->next) {
		if (!is_shown(it))
			continue;
		printf("<p class='msg bad'><b>Error:</b> ");
		print_place(in, it);
		printf(": ");
		print_escaped(get_text(it, "text"));
		printf(" ");
		print_fix(it);
		printf("</p>\n");
	}
}

/* --- the way on --- */

static void print_buttons(const stages *it)
{
	bool has_only_to_apply = !it->is_stored_newer && it->is_compiled_newer;
	open_form();
	if (has_only_to_apply)
		print_button("apply", "Apply", true);
	print_button("compile-apply", "Compile and apply", it->is_stored_newer);
	print_button("compile", "Compile only", false);
	if (*it->applied)
		print_undo(it);
	printf("<a class='btn' href='main.cgi?obj=router&amp;type=history'>Take a change back</a>");
	close_form();
	printf("<p class='s'>After applying you confirm within 60 seconds. Without it the router goes "
	       "back to what runs now, so a mistake cannot lock you out.</p>\n");
}

/* Lines that are sent: others are headings. */
static unsigned count_steps(const char *plan)
{
	unsigned count = 0;
	for (const char *line = plan; *line; line += *line == '\n') {
		count += *line != '#' && *line != '\n';
		line += strcspn(line, "\n");
	}
	return count;
}

static void print_plan(const json *plan)
{
	if (!plan)
		return;
	const char *output = get_text(plan, "output");
	unsigned steps = count_steps(output);
	printf("<details><summary>Plan: %u step%s for the kernel</summary>\n", steps,
	       steps == 1 ? "" : "s");
	if (*output) {
		printf("<pre>");
		print_escaped(output);
		printf("</pre>\n");
	} else if (*get_told(plan)) {
		print_lines(get_told(plan));
	} else {
		printf("<p>Nothing.</p>\n");
	}
	printf("</details>\n");
}

static void print_trace(const json *trace)
{
	const char *output = get_text(trace, "output");
	if (!*output)
		return;
	printf("<details><summary>Trace of the last compile</summary>\n<pre>");
	print_escaped(output);
	printf("</pre>\n</details>\n");
}

/* What keeps the comparison from being whole. */
static void print_told(const json *diff)
{
	if (*get_told(diff))
		print_lines(get_told(diff));
}

/* An address of a list that nothing uses is saved, and changes nothing. */
static void print_saved(const stages *it, const json *diff)
{
	if (!it->is_stored_newer)
		return;
	bool is_same = diff && get_exit(diff) == 0 && !*get_told(diff);
	printf("<p class='msg warn'>");
	print_saved_words(it);
	printf("%s</p>\n", is_same ? ". It changes nothing that is compiled or runs: compiling "
				     "makes the same again." : "");
}

static void print_comparison(const answers *it, const shown_stores *in)
{
	if (!it->diff) {
		printf("<p class='msg bad'><b>Not compared:</b> ");
		print_reason(it->reason);
		printf("</p>\n");
	} else if (get_first_item(get_member(it->diff, "devices"))) {
		print_stage_table(it->diff, in);
	} else {
		printf("<p>Nothing is compiled yet.</p>\n");
	}
}

static void print_stages(const stages *it, const answers *told)
{
	shown_stores stores;
	read_stores(&stores);
	print_failed(it);
	print_waiting(it);
	printf("<section class='card' aria-labelledby='h'><h2 id='h'>Saved, compiled, running</h2>\n");
	if (*it->changing) {
		printf("<p class='msg warn'><b>Working:</b> another ");
		print_escaped(it->changing);
		printf(" runs just now.</p>\n");
	}
	print_saved(it, told->diff);
	print_comparison(told, &stores);
	if (told->diff)
		print_told(told->diff);
	print_findings(told->check, &stores);
	if (!it->is_waiting)
		print_buttons(it);
	print_plan(told->plan);
	print_trace(told->trace);
	printf("</section>\n");
}

/* --- without qosd --- */

static void print_alone(const stages *it)
{
	printf("<section class='card' aria-labelledby='h'><h2 id='h'>Saved, compiled, running</h2>\n"
	       "<p class='msg warn'><b>From here nothing can be applied:</b> ");
	print_reason(it->reason);
	printf("</p>\n<p>%s</p>\n",
	       it->is_stored_newer ? "There are changes that are saved and not compiled."
				   : "What is saved is compiled. Whether it runs is not known here.");
	printf("<p>Changes are saved all the same. They run when root compiles and applies them on "
	       "the router, with <code>qosctl compile</code> and <code>qosctl apply</code>; what is "
	       "compiled runs after the next start of the router as well.</p></section>\n");
}

static void print_empty(void)
{
	printf("<section class='card'><p>No interface has a policy yet: there is nothing to compile or "
	       "apply.</p>\n<p><a class='btn first' href='main.cgi?obj=router&amp;type=first'>First "
	       "steps</a></p></section>\n");
}

/* --- the page --- */

int show_apply(void)
{
	answers told;
	const stages *it = get_stages();
	bool has_more = !it->reason && it->at != STAGE_NONE;
	if (has_more)
		start_answers(&told, it);
	open_page("Apply", AT_APPLY);
	open_heading("Apply");
	if (*it->applied) {
		printf("<small>last applied ");
		print_escaped(it->applied);
		printf("</small>");
	}
	printf("</div>\n");
	if (has_more) {
		take_answers(&told);
		print_stages(it, &told);
	} else if (it->at == STAGE_NONE) {
		print_empty();
	} else {
		print_alone(it);
	}
	close_page();
	return 0;
}

/* --- what is posted --- */

namespace {

/* What qosd is asked for it, one line after the other while they are done. */
struct apply_action {
	const char *word;
	const char *lines[2];
};

} // namespace

static const apply_action ACTIONS[] = {
	{ "check", { nullptr, nullptr } },
	{ "compile", { "compile", nullptr } },
	{ "compile-apply", { "compile", APPLY_LINE } },
	{ "apply", { APPLY_LINE, nullptr } },
	{ "confirm", { "confirm", nullptr } },
	{ "undo", { "undo", nullptr } },
};

/* The page is shown by a request of its own: to load it again repeats nothing. What failed, qosd
 * knows and the page shows. */
static int send_to_page(void)
{
	printf("Status: 303 See Other\r\nLocation: main.cgi?obj=router&type=apply\r\n");
	begin_page();
	return 0;
}

static int refuse_unasked(int reason)
{
	if (reason == EACCES || reason == EPERM)
		return refuse("403 Forbidden",
			      "The web server's user may not ask qosd: name its group as QOSD_GROUP in "
			      "/etc/default/qos and start qosd anew.");
	return refuse("503 Service Unavailable", "qosd cannot be asked (%s), and without it nothing "
						 "is compiled or applied from here.",
		      strerror(reason));
}

/* An answer that takes too long is no failure: qosd goes on, and the page says that it does. */
static int carry_out(const apply_action *it)
{
	log_deed(it->word, nullptr, nullptr);
	for (const char *line : it->lines) {
		const json *answer = line ? ask(line, CHANGING_TIME) : nullptr;
		if (line && !answer && errno != ETIMEDOUT)
			return refuse_unasked(errno);
		if (!answer || get_exit(answer) != 0)
			break;
	}
	return send_to_page();
}

int answer_apply(void)
{
	const char *word = text(cgi_param("action"));
	for (const apply_action &row : ACTIONS) {
		if (strcmp(row.word, word) == 0)
			return carry_out(&row);
	}
	return refuse("400 Bad Request", "The field action is not known: allowed is one of: check "
					 "compile compile-apply apply confirm undo.");
}
