/* How a script is opened and closed. */
#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include "../store/message.h"
#include "../store/text.h"
#include "scripts.h"

static bool is_file(const char *path)
{
	struct stat info;
	return lstat(path, &info) == 0 && S_ISREG(info.st_mode);
}

bool open_script(script *it, const char *name, size_t path_size)
{
	int length = snprintf(it->path, sizeof(it->path), "%s%s", SCRIPT_DIR, name);
	if (!fits(length, sizeof(it->path)) || !fits(length, path_size) || strchr(name, '/'))
		return false;
	if (!(is_file(it->path) ? open_draft(&it->contents, it->path)
				: create_draft(&it->contents, it->path)))
		return false;
	it->contents.is_durable = false;
	it->stream = it->contents.stream;
	return true;
}

void close_script(script *it)
{
	if (finish_draft(&it->contents) && commit_draft(&it->contents))
		return;
	int reason = errno;
	drop_draft(&it->contents);
	qos_warn("%s: not written: %s", it->path, strerror(reason));
}
