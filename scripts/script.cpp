// SPDX-License-Identifier: MIT
/* How a script is opened and closed. */
#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../store/message.h"
#include "../store/text.h"
#include "scripts.h"

static const int FAULT_STATUS = 255;

static bool is_file(const char *path)
{
	struct stat info;
	return lstat(path, &info) == 0 && S_ISREG(info.st_mode);
}

/* Whether errno says that the machine failed, and not that no script can stand there. In a folder
 * on a disk that is mounted read-only none can. */
static bool is_fault(int reason)
{
	bool fault = reason == ENOSPC || reason == EDQUOT || reason == EIO || reason == EMFILE ||
		     reason == ENFILE || (reason == EROFS && access(SCRIPT_DIR, W_OK) == 0);
	return fault;
}

/* The marks of the rules are counted over all scripts of a run. Those that followed one that was
 * left out would get the marks that its old rules still have. */
[[noreturn]] static void end_run(const char *path, int reason)
{
	qos_warn("%s: cannot be written: %s, the run ends here", path, strerror(reason));
	fflush(stdout);
	_exit(FAULT_STATUS);
}

bool open_script(script *it, const char *name, size_t path_size)
{
	int length = snprintf(it->path, sizeof(it->path), "%s%s", SCRIPT_DIR, name);
	if (!fits(length, sizeof(it->path)) || !fits(length, path_size) || strchr(name, '/'))
		return false;
	if (!(is_file(it->path) ? open_draft(&it->contents, it->path)
				: create_draft(&it->contents, it->path))) {
		if (errno == ENOMEM)
			end_without_memory();
		if (is_fault(errno))
			end_run(it->path, errno);
		return false;
	}
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
	if (reason == ENOMEM)
		end_without_memory();
	if (is_fault(reason))
		end_run(it->path, reason);
	qos_warn("%s: not written: %s", it->path, strerror(reason));
}
