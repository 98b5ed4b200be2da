/* Stores are replaced together or not at all. */
#include "save.h"

#include <assert.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "draft.h"
#include "message.h"

/* Written by note_write_failure, read by get_write_failure. */
static write_failure first_failure;

void note_write_failure(const char *path, int reason)
{
	if (first_failure.path[0])
		return;
	snprintf(first_failure.path, sizeof(first_failure.path), "%s", path);
	first_failure.reason = reason;
}

const write_failure *get_write_failure(void)
{
	return first_failure.path[0] ? &first_failure : nullptr;
}

static bool tell_unchanged(const char *path)
{
	int reason = errno;
	qos_warn("%s: left as it was: %s", path, strerror(reason));
	note_write_failure(path, reason);
	return false;
}

/* A library that says no more of a failure was short of memory, in this call or an earlier one:
 * the stream is in memory too. */
static bool write_draft(const changed_store *from, draft *out)
{
	if (!open_draft(out, from->path))
		return tell_unchanged(from->path);
	errno = 0;
	if (cfl_write(from->store, out->stream) != 0) {
		if (errno == 0)
			errno = ENOMEM;
		drop_draft(out);
		return tell_unchanged(from->path);
	}
	return finish_draft(out) || tell_unchanged(from->path);
}

int save_stores(const changed_store *stores, int count)
{
	assert(count <= SAVED_STORES_MAX);
	draft drafts[SAVED_STORES_MAX];
	int written = 0;
	while (written < count && write_draft(&stores[written], &drafts[written]))
		written++;

	int replaced = 0;
	if (written == count) {
		while (replaced < count && commit_draft(&drafts[replaced]))
			replaced++;
		if (replaced < count)
			tell_unchanged(stores[replaced].path);
		for (int i = 0; replaced < count && i < replaced; i++)
			qos_warn("%s: already replaced", stores[i].path);
	}
	for (int i = replaced; i < written; i++)
		drop_draft(&drafts[i]);
	return replaced == count;
}
