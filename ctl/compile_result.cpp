// SPDX-License-Identifier: MIT
/* What is kept of the last compile: a text of its exit status, its time and what it told. */
#include <errno.h>
#include <inttypes.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "../store/text_stream.h"
#include "../store/whole_file.h"
#include "compiling.h"

static const char RESULT_FILE[] = "/var/lib/qos/compiled";
static const char FIRST_LINE[] = "qos-compiled 1\n";

bool is_compiled_well(const compile_result *it)
{
	return it->status == 1 && !*it->told;
}

bool make_folders(const char *path)
{
	char part[PATH_MAX];
	for (const char *slash = strchr(path + 1, '/'); slash; slash = strchr(slash + 1, '/')) {
		if (!fits(snprintf(part, PATH_MAX, "%.*s", static_cast<int>(slash - path), path),
			  PATH_MAX))
			return false;
		if (mkdir(part, 0755) != 0 && errno != EEXIST)
			return false;
	}
	return true;
}

bool write_compile_result(const compile_result *it)
{
	text_stream text;
	if (!make_folders(RESULT_FILE) || !open_text_stream(&text))
		return false;
	fprintf(text.stream, "%s%d %" PRId64 "\n%s", FIRST_LINE, it->status,
		static_cast<int64_t>(it->when), it->told);
	if (!close_text_stream(&text))
		return false;
	bool written = replace_whole(RESULT_FILE, text.text, text.size, nullptr);
	int reason = errno;
	free(text.text);
	errno = reason;
	return written;
}

/* Reads "STATUS TIME" and moves behind the line. */
static bool read_numbers(compile_result *it, const char **at)
{
	char *end;
	errno = 0;
	long status = strtol(*at, &end, 10);
	if (end == *at || *end != ' ' || status < -1 || status > 255)
		return false;
	*at = end + 1;
	long long when = strtoll(*at, &end, 10);
	if (end == *at || *end != '\n' || errno)
		return false;
	it->status = static_cast<int>(status);
	it->when = static_cast<time_t>(when);
	*at = end + 1;
	return true;
}

static bool parse_result(compile_result *it, const char *bytes, size_t size)
{
	const size_t length = strlen(FIRST_LINE);
	if (strlen(bytes) != size || strncmp(bytes, FIRST_LINE, length) != 0)
		return false;
	const char *at = bytes + length;
	if (!read_numbers(it, &at))
		return false;
	it->told = copy_text(at);
	return true;
}

bool read_compile_result(compile_result *it, const options *given)
{
	char path[PATH_MAX];
	size_t size;
	*it = {};
	char *bytes = make_path(path, given, RESULT_FILE) ? read_whole(path, &size, nullptr) : nullptr;
	if (!bytes)
		return false;
	bool parsed = parse_result(it, bytes, size);
	free(bytes);
	if (!parsed)
		errno = EBADMSG;
	return parsed;
}
