// SPDX-License-Identifier: MIT
/* Stores are replaced together or not at all. */
#include "save.h"

#include <assert.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "draft.h"
#include "message.h"
#include "text.h"

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

/* A library that says no more of a failure was short of memory, in this call or an earlier one:
 * the stream is in memory too. */
static bool write_draft(const changed_store *from, draft *out)
{
	if (!open_draft(out, from->path))
		return false;
	errno = 0;
	if (cfl_write(from->store, out->stream) == 0)
		return finish_draft(out);
	if (errno == 0)
		errno = ENOMEM;
	drop_draft(out);
	return false;
}

/* Tells of the store that could not be written, and of those before it that already are. */
static void tell_failure(const changed_store *stores, int failed, int replaced, int reason)
{
	qos_warn("%s: left as it was: %s", stores[failed].path, strerror(reason));
	note_write_failure(stores[failed].path, reason);
	for (int i = 0; i < replaced; i++)
		qos_warn("%s: already replaced", stores[i].path);
}

int save_stores(const changed_store *stores, int count)
{
	assert(count <= SAVED_STORES_MAX);
	draft drafts[SAVED_STORES_MAX];
	int written = 0, replaced = 0;
	while (written < count && write_draft(&stores[written], &drafts[written]))
		written++;
	while (written == count && replaced < count && commit_draft(&drafts[replaced]))
		replaced++;
	if (replaced == count)
		return 1;

	int reason = errno;
	for (int i = replaced; i < written; i++)
		drop_draft(&drafts[i]);
	tell_failure(stores, written < count ? written : replaced, replaced, reason);
	if (reason == ENOMEM)
		end_without_memory();
	return 0;
}
