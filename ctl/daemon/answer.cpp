// SPDX-License-Identifier: MIT
/* Answers: one JSON object on one line. */
#include "answer.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../ctl.h"

/* An answer of CHILD_OUTPUT_MAX bytes, each written as six. */
static const size_t ANSWER_MAX = 6 * CHILD_OUTPUT_MAX + CHILD_ERRORS_MAX * 6 + 4096;
static const char OBJECT_START[] = "{\"qos\":1,"; // of every answer of qosctl
static const char OBJECT_END[] = "}\n";

bool open_answer(answer *it)
{
	it->fd = open_memory_file("answer", ANSWER_MAX);
	int copy = it->fd < 0 ? -1 : fcntl(it->fd, F_DUPFD_CLOEXEC, 0);
	it->stream = copy < 0 ? nullptr : fdopen(copy, "w");
	if (it->stream)
		return true;
	int reason = errno;
	if (copy >= 0)
		close(copy);
	if (it->fd >= 0)
		close(it->fd);
	errno = reason;
	return false;
}

int close_answer(answer *it)
{
	bool is_whole = !ferror(it->stream);
	if (fclose(it->stream) == 0 && is_whole)
		return it->fd;
	int reason = errno;
	close(it->fd);
	errno = reason;
	return -1;
}

int get_exit_status(const child *of)
{
	return WIFEXITED(of->status) ? WEXITSTATUS(of->status) : EXIT_FAILED;
}

void begin_answer(FILE *to, int exit_status, const char *told)
{
	json_begin(to);
	json_signed(to, "exit", exit_status);
	json_text(to, "told", told);
}

void end_answer(FILE *to)
{
	json_open(to, "devices", '[');
	json_close(to, ']');
	json_end(to);
}

int make_short_answer(int exit_status, const char *told)
{
	answer it;
	if (!open_answer(&it))
		return -1;
	begin_answer(it.stream, exit_status, told);
	end_answer(it.stream);
	return close_answer(&it);
}

/* Whether the text is one object of qosctl and nothing else, so that members can go before its
 * own. */
static bool is_object(const view *it)
{
	size_t start = strlen(OBJECT_START), end = strlen(OBJECT_END);
	return !it->is_full && it->size > start + end && strlen(it->text) == it->size &&
	       strncmp(it->text, OBJECT_START, start) == 0 &&
	       strcmp(it->text + it->size - end, OBJECT_END) == 0 &&
	       strchr(it->text, '\n') == it->text + it->size - 1;
}

static void write_output(FILE *to, const view *output, const question_verb *asked)
{
	if (asked->answers_json && output->size > 0) {
		putc(',', to);
		fwrite(output->text + strlen(OBJECT_START), 1,
		       output->size - strlen(OBJECT_START), to);
		return;
	}
	json_open(to, "devices", '[');
	json_close(to, ']');
	if (!asked->answers_json)
		json_text(to, "output", output->text);
	json_end(to);
}

/* Why what a child printed is no answer; null where it is one. */
static const char *find_fault(const child *of, const view *output, const question_verb *asked)
{
	if (!WIFEXITED(of->status))
		return "qosctl was killed, or took too long";
	if (output->is_full)
		return "the answer is longer than 16 MiB";
	if (asked->answers_json && output->size > 0 && !is_object(output))
		return "qosctl did not answer in JSON";
	return nullptr;
}

static int write_answer(const child *of, const question_verb *asked, const view *output,
			const view *errors)
{
	const char *fault = find_fault(of, output, asked);
	if (fault)
		return make_short_answer(EXIT_FAILED, fault);
	answer it;
	if (!open_answer(&it))
		return -1;
	if (errors->size > 0 && errors->text[errors->size - 1] == '\n')
		errors->text[errors->size - 1] = '\0';
	begin_answer(it.stream, get_exit_status(of), errors->text);
	write_output(it.stream, output, asked);
	return close_answer(&it);
}

int make_child_answer(const child *of, const question_verb *asked)
{
	view output = {}, errors = {};
	int made = -1;
	if (open_view(&output, of->output, CHILD_OUTPUT_MAX) &&
	    open_view(&errors, of->errors, CHILD_ERRORS_MAX))
		made = write_answer(of, asked, &output, &errors);
	int reason = errno;
	close_view(&output);
	close_view(&errors);
	errno = reason;
	return made;
}
