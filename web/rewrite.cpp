/* Stores are replaced together or not at all. */
#include "rewrite.h"

#include <errno.h>
#include <string.h>

#include "../store/message.h"
#include "../store/replacement.h"

static bool warn_unchanged(const char *store)
{
	qos_warn("%s: left as it was: %s", store, strerror(errno));
	return false;
}

static bool write_draft(const rewrite *from, replacement *out)
{
	if (!open_draft(out, from->path))
		return warn_unchanged(from->path);
	bool written = cfl_write(from->store, out->stream) == 0;
	int reason = errno;
	bool whole = finish_draft(out);
	if (written && whole)
		return true;
	if (whole) {
		drop_draft(out);
		errno = reason;
	}
	return warn_unchanged(from->path);
}

int rewrite_stores(const rewrite *stores, int count)
{
	replacement drafts[REWRITES_MAX];
	int written = 0;
	while (written < count && written < REWRITES_MAX &&
	       write_draft(&stores[written], &drafts[written]))
		written++;

	int replaced = 0;
	if (written == count) {
		while (replaced < count && commit_draft(&drafts[replaced]))
			replaced++;
		if (replaced < count)
			warn_unchanged(stores[replaced].path);
		if (replaced > 0 && replaced < count)
			qos_warn("%s: already replaced", stores[0].path);
	}
	for (int i = replaced; i < written; i++)
		drop_draft(&drafts[i]);
	return replaced == count;
}
