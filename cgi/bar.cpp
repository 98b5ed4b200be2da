// SPDX-License-Identifier: MIT
/* The apply bar. */
#include "bar.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cgi.h>

#include "../store/text.h"
#include "../store/text_stream.h"
#include "capture.h"
#include "change.h"
#include "frame.h"
#include "markup.h"
#include "saved.h"
#include "stages.h"

static const char APPLY_PAGE[] = "main.cgi?obj=router&amp;type=apply";

static void open_bar(const char *colour)
{
	printf("<section class='msg%s apply' aria-label='State'><p>", colour);
}

static void print_link(const char *words)
{
	printf("<a class='btn small' href='%s'>%s</a>", APPLY_PAGE, words);
}

static void open_form(void)
{
	printf("<form method='post' action='%s'>", APPLY_PAGE);
}

static void print_answers(void)
{
	open_form();
	printf("<button type='submit' class='small first' name='action' value='confirm'>Keep</button> "
	       "<button type='submit' class='small' name='action' value='undo'>Back</button></form>");
}

/* --- the states --- */

static void print_failure(const stages *it)
{
	const char *line = it->told;
	open_bar(" bad");
	printf("<b>%s:</b> ", get_failure_words(it->failed));
	if (!print_told_line(&line))
		printf("it was cut off, or told nothing");
	if (it->is_waiting)
		printf(". What runs now is to be confirmed within <span data-left>%u</span> s",
		       it->seconds_left);
	printf("</p>");
	if (it->is_waiting)
		print_answers();
	else
		print_link("Show what failed");
}

static void print_waiting(const stages *it)
{
	open_bar("");
	printf("<b>Running, confirm within <span data-left>%u</span> s,</b> "
	       "or the old state comes back</p>",
	       it->seconds_left);
	print_answers();
}

/* What the history knows of it; a store may have been changed by other hands. */
static void print_count(int count)
{
	if (count <= 0)
		printf("Saved, not compiled");
	else
		printf("%d change%s saved, not compiled", count, count == 1 ? "" : "s");
}

void print_saved_words(const stages *it)
{
	text_stream words;
	int count = 0;
	bool is_open = open_text_stream(&words);
	if (is_open)
		count = write_changes_since(words.stream, it->compiled_at);
	bool is_whole = is_open && close_text_stream(&words);
	bool has_words = is_whole && words.size > 0;
	printf("<b>");
	print_count(count);
	printf("%s%s</b>%s", has_words && count > 1 ? ", the last" : "",
	       has_words || it->reason ? ":" : "", has_words ? " " : "");
	if (has_words)
		print_escaped(words.text);
	if (it->reason) {
		printf("%s", has_words ? ". " : " ");
		print_reason(it->reason);
	}
}

static void print_saved(const stages *it)
{
	open_bar(" warn");
	print_saved_words(it);
	printf("</p>");
	print_link("Look and apply");
}

static void print_compiled(void)
{
	open_bar(" warn");
	printf("<b>Compiled, not running</b></p>");
	open_form();
	printf("<button type='submit' class='small' name='action' value='apply'>"
	       "Apply</button></form>");
}

static void print_unknown(const stages *it)
{
	open_bar("");
	printf("<b>Saved and compiled.</b> Whether it runs is not known here: ");
	print_reason(it->reason);
	printf("</p>");
	print_link("Look");
}

static void print_running(void)
{
	open_bar(" good");
	printf("<b>Running:</b> saved, compiled and running are the same</p>");
}

static void print_nothing(void)
{
	open_bar("");
	printf("<b>Nothing to do:</b> no interface has a policy yet</p>"
	       "<a class='btn small' href='main.cgi?obj=router&amp;type=first'>First steps</a>");
}

void print_bar(void)
{
	const stages *it = get_stages();
	switch (it->at) {
	case STAGE_NONE: print_nothing(); break;
	case STAGE_FAILED: print_failure(it); break;
	case STAGE_WAITING: print_waiting(it); break;
	case STAGE_SAVED: print_saved(it); break;
	case STAGE_COMPILED: print_compiled(); break;
	case STAGE_RUNNING: print_running(); break;
	case STAGE_UNKNOWN: print_unknown(it); break;
	}
	printf("</section>\n");
}

/* --- for the printed forms --- */

static void print_text_or_null(const char *value)
{
	if (value)
		print_json_string(value);
	else
		printf("null");
}

/* The bar as a text, which the caller frees; null without memory. */
static char *make_bar(void)
{
	if (!begin_capture())
		return nullptr;
	print_bar();
	return end_capture();
}

/* What the browser has just saved of the kind that is asked for, in words; null for nothing. */
static char *make_saved(void)
{
	entry it;
	text_stream words;
	if (!open_text_stream(&words))
		return nullptr;
	bool has_saved = false;
	if (read_just_saved(&it)) {
		fprintf(words.stream, "Saved: ");
		has_saved = strcmp(text(cgi_param("kind")), text(it.note.kind)) == 0 &&
			write_saved(words.stream, &it);
		free_entry(&it);
	}
	return close_text_stream(&words) && has_saved ? words.text : nullptr;
}

int answer_status(void)
{
	char login[LOGIN_SIZE];
	char *bar = make_bar(), *saved = make_saved();
	begin_json();
	printf("{\"login\":");
	print_text_or_null(get_login(login));
	printf(",\"bar\":");
	print_json_string(text(bar));
	printf(",\"saved\":");
	print_text_or_null(saved);
	printf("}\n");
	free(bar);
	free(saved);
	return 0;
}
