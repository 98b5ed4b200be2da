// SPDX-License-Identifier: MIT
/* What the daemon says at once of the way from saved to running. */
#include "standing.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../../store/fingerprint.h"
#include "../../store/kinds.h"
#include "../../store/text.h"
#include "../compiling.h"
#include "answer.h"

/* A folder with more is no compiler's, and is not read here: it would keep others waiting. */
static const size_t FILES_MAX = 4096;
static const off_t BYTES_MAX = 8 * 1024 * 1024;

void open_standing(standing *it, const applied *known)
{
	*it = {};
	it->known = known;
}

/* --- failures --- */

/* Without the line end that ends it. */
static void keep_failure(failure *it, const char *verb, time_t when, const char *told)
{
	it->verb = verb;
	it->is_errand = false;
	it->when = when;
	snprintf(it->told, sizeof(it->told), "%s", told);
	size_t length = strlen(it->told);
	if (length > 0 && it->told[length - 1] == '\n')
		it->told[length - 1] = '\0';
}

static void note_failure(standing *it, const char *verb, const child *of)
{
	view errors;
	bool is_read = open_view(&errors, of->errors, CHILD_ERRORS_MAX);
	keep_failure(&it->failed, verb, time(nullptr), is_read ? errors.text : "");
	if (is_read)
		close_view(&errors);
}

void note_end(standing *it, const question_verb *asked, const child *of)
{
	bool is_second = strcmp(asked->word, "confirm") == 0 && !read_confirmation().is_open;
	bool is_kept = strcmp(asked->word, "compile") == 0 && it->failed.verb &&
		       strcmp(it->failed.verb, "confirm") == 0;
	if (get_exit_status(of) == EXIT_DONE)
		it->failed.verb = is_kept ? it->failed.verb : nullptr;
	else if (!is_second) // pressed twice: the first one closed the confirmation
		note_failure(it, asked->word, of);
}

void note_errand_end(standing *it, const child *of)
{
	int status = get_exit_status(of);
	bool is_done = status == EXIT_DONE || status == EXIT_NOT_CONFIGURED;
	if (is_done && it->failed.is_errand)
		it->failed.verb = nullptr;
	if (is_done || (it->failed.verb && !it->failed.is_errand))
		return;
	note_failure(it, "apply", of);
	it->failed.is_errand = true;
}

void note_unconfirmed(standing *it)
{
	keep_failure(&it->failed, "confirm", time(nullptr),
		     "nobody confirmed in time: what ran before runs again");
}

/* --- files --- */

static uint64_t add_file(uint64_t look, const char *name, const struct stat *info)
{
	const int64_t numbers[] = { static_cast<int64_t>(info->st_ino), info->st_size,
				    info->st_mtim.tv_sec, info->st_mtim.tv_nsec };
	return add_bytes(add_text(look, name), reinterpret_cast<const char *>(numbers),
			 sizeof(numbers));
}

/* Looks at the files of the folder without reading them. Returns false where there is none, or where
 * it holds too much. */
static bool look_at_scripts(folder_seen *to)
{
	*to = {};
	to->look = FINGERPRINT_START;
	DIR *stream = opendir(SCRIPT_DIR);
	size_t files = 0;
	off_t bytes = 0;
	while (const struct dirent *entry = stream ? readdir(stream) : nullptr) {
		struct stat info;
		if (*entry->d_name == '.' || fstatat(dirfd(stream), entry->d_name, &info, 0) != 0)
			continue;
		if (++files > FILES_MAX || (bytes += info.st_size) > BYTES_MAX)
			break;
		to->look = add_file(to->look, entry->d_name, &info);
		if (is_later(&info.st_mtim, &to->newest))
			to->newest = info.st_mtim;
	}
	if (stream)
		closedir(stream);
	return files <= FILES_MAX && bytes <= BYTES_MAX;
}

/* What has not changed since the last question is not read again. */
static void look_at_folder(folder_seen *it)
{
	folder_seen now;
	script_set scripts;
	bool is_readable = look_at_scripts(&now);
	if (now.look == it->look && now.newest.tv_sec)
		return;
	if (is_readable && now.newest.tv_sec && read_scripts(&scripts, SCRIPT_DIR)) {
		now.print = get_scripts_print(&scripts);
		free_scripts_read(&scripts);
	}
	*it = now;
}

/* When a store was saved last. A description is no part of what is compiled. */
static struct timespec get_saved(void)
{
	struct timespec newest = {};
	struct stat info;
	for (const known_kind &kind : KINDS) {
		if (stat(kind.store, &info) == 0 && is_later(&info.st_mtim, &newest))
			newest = info.st_mtim;
	}
	return newest;
}

/* A compile that failed without us, or before we started, says so in its result. */
static void look_at_result(failure *to, time_t newest)
{
	const options ours = {};
	compile_result result;
	if (!read_compile_result(&result, &ours))
		return;
	if (!is_compiled_well(&result) && newest <= result.when)
		keep_failure(to, "compile", result.when, result.told);
	free(result.told);
}

/* --- the answer --- */

static void write_time_or_null(FILE *to, const char *name, time_t when)
{
	if (when)
		json_time(to, name, when);
	else
		json_null(to, name);
}

static void write_failure(FILE *to, const failure *it)
{
	if (!it->verb) {
		json_null(to, "failed");
		return;
	}
	json_open(to, "failed", '{');
	json_text(to, "verb", it->verb);
	json_time(to, "when", it->when);
	json_text(to, "told", it->told);
	json_close(to, '}');
}

static void write_running(FILE *to, const applied *known)
{
	json_open(to, "running", '[');
	for (const made_device &made : known->made)
		json_text(to, nullptr, made.device);
	json_close(to, ']');
}

static void write_confirmation(FILE *to)
{
	confirmation waited = read_confirmation();
	if (waited.is_open)
		json_signed(to, "seconds_left", waited.seconds_left);
	else
		json_null(to, "seconds_left");
}

static void write_compiled(FILE *to, const folder_seen *folder, const applied *known,
			   const struct timespec *saved)
{
	time_t when = folder->newest.tv_sec;
	write_time_or_null(to, "compiled", when);
	if (when)
		json_signed(to, "compiled_at", when);
	else
		json_null(to, "compiled_at");
	json_flag(to, "is_stored_newer", is_later(saved, &folder->newest));
	json_flag(to, "is_compiled_newer",
		  when && (!known->is_there || known->print != folder->print));
}

int make_state(standing *it)
{
	answer to;
	if (!open_answer(&to))
		return -1;
	look_at_folder(&it->folder);
	struct timespec saved = get_saved();
	failure shown = it->failed;
	if (!shown.verb)
		look_at_result(&shown, it->folder.newest.tv_sec);
	if (saved.tv_sec > shown.when)
		shown.verb = nullptr; // it may be mended
	begin_answer(to.stream, EXIT_DONE, "");
	write_running(to.stream, it->known);
	json_text(to.stream, "changing", it->changing);
	write_confirmation(to.stream);
	write_time_or_null(to.stream, "applied", it->known->when);
	write_time_or_null(to.stream, "before", it->known->before);
	json_flag(to.stream, "is_before_nothing", it->known->is_before_nothing);
	write_compiled(to.stream, &it->folder, it->known, &saved);
	write_failure(to.stream, &shown);
	end_answer(to.stream);
	return close_answer(&to);
}
