// SPDX-License-Identifier: MIT
/* The road of a change. */
#include "change.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cfl.h>
#include <cgi.h>

#include "../history/history.h"
#include "../store/fields.h"
#include "../store/laid_aside.h"
#include "../store/lock.h"
#include "../store/save.h"
#include "../store/text.h"
#include "../store/text_stream.h"
#include "capture.h"
#include "conflict.h"
#include "frame.h"
#include "markup.h"
#include "handlers.h"
#include "kind_pages.h"
#include "log.h"
#include "marks.h"
#include "mend.h"
#include "pages/bands.h"
#include "posted.h"
#include "references.h"
#include "saved.h"
#include "schedule.h"

namespace {

/* A change with the stores as they were before it. */
struct change {
	object_kind kind;
	change_action action;
	char *id;
	cfl *store;   // of the kind; becomes what it shall be
	cfl *before;  // the same once more, which stays as it was
	cfl *filters; // of a class or band: the filters, for their marks
	kept_file store_file, filters_file, desc;
	unsigned newest; // entry of the history before it
};

} // namespace

static const char *const ACTION_WORDS[] = { "save", "update", "delete" };
static_assert(sizeof(ACTION_WORDS) / sizeof(ACTION_WORDS[0]) == DELETE + 1, "a word an action");

/* --- the lock --- */

static const char *get_status_for(int reason)
{
	return reason == ENOSPC || reason == EDQUOT || reason == EFBIG
		       ? "507 Insufficient Storage"
		       : "500 Internal Server Error";
}

int refuse_unwritten(const char *path, int reason, bool is_undone, const char *printed)
{
	const char *status = get_status_for(reason);
	char sentences[SENTENCE_SIZE];
	snprintf(sentences, sizeof(sentences), "%s could not be written: %s. %s",
		 path ? path : "The change", strerror(reason),
		 is_undone ? "Everything is as it was before."
			   : "What was there before could not be put back yet either; the next "
			     "change tries again.");
	open_refusal(status, is_undone ? nullptr : "Not put back");
	print_refusal(sentences);
	fputs(printed, stdout);
	close_refusal(status);
	return 0;
}

int refuse_without_filters(void)
{
	return refuse("500 Internal Server Error",
		      "The store of the filters cannot be read, so their marks would be lost. "
		      "Nothing was changed.");
}

int begin_exclusive(void)
{
	int lock = lock_stores(LOCK_EX, LOCK_SECONDS);
	if (lock < 0 && errno == ETIMEDOUT) {
		refuse("503 Service Unavailable",
		       "The stores are held by another change or by a compile that does not end: "
		       "nothing was changed. Try again in a moment.");
		return -1;
	}
	if (lock < 0) {
		int reason = errno;
		refuse(get_status_for(reason),
		       "The stores cannot be locked (%s), and nothing is changed without the lock.",
		       get_lock_reason(reason));
		return -1;
	}
	switch (recover_change()) {
	case NOTHING_OPEN: return lock;
	case RECOVERED: note_recovery(); return lock;
	case NOT_RECOVERED: break;
	}
	int reason = errno;
	refuse(get_status_for(reason),
	       "An earlier change was cut off and cannot be put back yet (%s). Until it is, nothing "
	       "is changed; the pages can be read.",
	       strerror(reason));
	close(lock);
	return -1;
}

int begin_shared(int seconds)
{
	int lock = lock_stores(LOCK_SH, seconds);
	if (lock < 0 || !is_change_open())
		return lock;
	close(lock);
	lock = lock_stores(LOCK_EX, seconds);
	if (lock < 0 || recover_change() != NOT_RECOVERED)
		return lock;
	close(lock);
	errno = EINPROGRESS;
	return -1;
}

void settle_stores(void)
{
	int lock = is_change_open() ? begin_shared(LOCK_SECONDS) : -1;
	if (lock >= 0)
		close(lock);
}

const char *get_login(char login[LOGIN_SIZE])
{
	snprintf(login, LOGIN_SIZE, "%s", text(getenv("REMOTE_USER")));
	return *login ? login : nullptr;
}

/* --- what the files were --- */

/* The name of the description that this change may write, a delete none; false where there is none. */
static bool find_description(char name[FILE_NAME_SIZE], const change *of)
{
	return of->action != DELETE && of->id && make_description_name(name, of->kind, of->id);
}

static void read_before(change *of)
{
	of->store = cfl_read(KINDS[of->kind].store);
	of->before = cfl_read(KINDS[of->kind].store);
	read_kept_file(&of->store_file, KINDS[of->kind].word);
	if (has_filters(of->kind)) {
		of->filters = cfl_read(FILTER_STORE);
		read_kept_file(&of->filters_file, KINDS[FILTER].word);
	}
	char name[FILE_NAME_SIZE];
	if (find_description(name, of))
		read_kept_file(&of->desc, name);
}

static void free_before(change *of)
{
	cfl_free(of->store);
	cfl_free(of->before);
	cfl_free(of->filters);
	free_kept_file(&of->store_file);
	free_kept_file(&of->filters_file);
	free_kept_file(&of->desc);
}

static bool open_entry(const change *of)
{
	char login[LOGIN_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"),
				   KINDS[of->kind].word, ACTION_WORDS[of->action], of->id };
	char desc[FILE_NAME_SIZE];
	const char *names[3] = { KINDS[of->kind].word };
	int count = 1;
	if (has_filters(of->kind))
		names[count++] = KINDS[FILTER].word;
	if (find_description(desc, of))
		names[count++] = desc;
	return begin_change(&note, names, count);
}

/* --- what the handler leaves to others --- */

/* A description that was not changed stays byte for byte, and an empty one has no file. */
static bool mend_description(const change *of, bool is_new)
{
	char name[FILE_NAME_SIZE];
	if (!is_posted("changed") || !find_description(name, of))
		return true;
	const char *desc = text(cgi_param("desc"));
	bool changed = is_changed("desc") || is_new;
	if (changed && *desc)
		return true; // the handler wrote it
	kept_file shall = of->desc;
	if (is_changed("desc"))
		shall.state = ABSENT;
	if (put_file(&shall))
		return true;
	note_write_failure(shall.name, errno);
	return false;
}

static bool mend_saved(const change *of)
{
	cfl *after = cfl_read(KINDS[of->kind].store);
	if (!after)
		return false;
	bool is_new = cfl_section_get_values_count(of->store, of->id) == 0;
	mend_object(of->kind, of->id, of->store, after);
	cfl_free(after);
	return mend_description(of, is_new);
}

/* The marks of all filters that the object had, has or handed back; its store is changed to now. The
 * bands' store need not be there for a class. */
static void mend_own_marks(const change *of, cfl *now)
{
	bool is_class = of->kind == CLASS;
	cfl *others = cfl_read(is_class ? BASIC_STORE : CLASS_STORE);
	const naming_stores in = { is_class ? now : others, is_class ? others : now };
	mend_marks(of->filters, of->before, &in, of->kind, of->id);
	cfl_free(others);
}

/* Takes the text that a store would be written as; false when it cannot be. */
static bool take_text(text_stream *it, cfl *store)
{
	if (!open_text_stream(it))
		return false;
	bool written = cfl_write(store, it->stream) == 0;
	return close_text_stream(it) && written;
}

/* Whether a store says what its file did: the same lines, whatever ended them. */
static bool says_same(cfl *store, const kept_file *file)
{
	cfl *was = file->state == PRESENT ? cfl_read_text(file->bytes, file->size) : nullptr;
	text_stream old_text = {}, new_text = {};
	bool same = take_text(&old_text, was) && take_text(&new_text, store) &&
		    old_text.size == new_text.size &&
		    memcmp(old_text.text, new_text.text, old_text.size) == 0;
	free(old_text.text);
	free(new_text.text);
	cfl_free(was);
	return same;
}

/* Writes the stores that this change makes another; one that stays gets back the bytes that it had,
 * line ends included. */
static bool write_changed(const changed_store *stores, const kept_file *const *files, int count)
{
	changed_store changed[SAVED_STORES_MAX];
	int changed_count = 0;
	for (int i = 0; i < count; i++) {
		if (!says_same(stores[i].store, files[i])) {
			changed[changed_count++] = stores[i];
		} else if (!put_file(files[i])) {
			note_write_failure(stores[i].path, errno);
			return false;
		}
	}
	return changed_count == 0 || save_stores(changed, changed_count);
}

static bool write_saved(const change *of)
{
	if (has_filters(of->kind))
		mend_own_marks(of, of->store);
	const changed_store stores[] = {
		{ KINDS[of->kind].store, of->store },
		{ FILTER_STORE, of->filters },
	};
	const kept_file *const files[] = { &of->store_file, &of->filters_file };
	return write_changed(stores, files, has_filters(of->kind) ? 2 : 1);
}

/* The filters of a class or band that is gone are free again, where no other names them. */
static bool free_filters(const change *of)
{
	cfl *now = cfl_read(KINDS[of->kind].store);
	bool is_gone = now && cfl_section_get_values_count(now, of->id) == 0;
	if (is_gone)
		mend_own_marks(of, now);
	cfl_free(now);
	const changed_store filters = { FILTER_STORE, of->filters };
	const kept_file *const file = &of->filters_file;
	return !is_gone || write_changed(&filters, &file, 1);
}

/* Policies stay when they are deleted: each is an interface's. One of a name that no page can show
 * is none. */
static bool remove_odd_policy(const change *of)
{
	if (is_well_formed(&ID_RULE, of->id))
		return true;
	cfl_section_remove(of->store, of->id);
	const changed_store policies = { POLICY_STORE, of->store };
	return save_stores(&policies, 1);
}

static bool write_deleted(const change *of)
{
	if (cfl_section_get_values_count(of->before, of->id) == 0)
		return put_file(&of->store_file); // it has written what there was
	switch (of->kind) {
	case CLASS: case BASIC: return free_filters(of);
	case POLICY: return remove_odd_policy(of);
	case FILTER: case PORT: case IP: break; // the handler has done all
	}
	return true;
}

static bool mend(const change *of)
{
	return of->action == DELETE ? write_deleted(of) : mend_saved(of) && write_saved(of);
}

/* --- the answer --- */

static int call_handler(const change *of)
{
	switch (of->action) {
	case SAVE: return call_save(of->kind);
	case UPDATE: return call_update(of->kind);
	case DELETE: return call_delete(of->kind, of->id);
	}
	return 0;
}

static void send_on(const change *of, int done)
{
	printf("<script language='javascript'>");
	if (!done) {
		printf("history.go(-1)");
	} else if (of->kind == POLICY && of->id) {
		printf("location.replace('main.cgi?obj=policy&type=display&action=open&id=");
		print_encoded(of->id); // a section of the store may be called anything
		printf("')");
	} else {
		printf("location.replace('main.cgi?obj=%s&type=list')", KINDS[of->kind].word);
	}
	printf("</script>\n");
}

int answer_done(object_kind kind, const char *told)
{
	if (*told) {
		open_page("Saved", PAGES[kind].place);
		print_heading("Saved");
		printf("%s<p><a href='main.cgi?obj=%s&amp;type=list'>%s</a></p>\n", told,
		       KINDS[kind].word, PAGES[kind].title);
		close_page();
		return 0;
	}
	printf("Status: 303 See Other\r\n"
	       "Location: main.cgi?obj=%s&type=list\r\n", KINDS[kind].word);
	begin_page();
	return 0;
}

/* The pages of the bands are our own, and do without scripts. */
static int answer_bands(const change *of, int done)
{
	if (!done)
		return of->action == DELETE ? answer_kept_band() : answer_refused_bands();
	if (of->action == DELETE || !begin_capture())
		return answer_done(of->kind, "");
	tell_in_page();
	tell_references(of->kind, of->id);
	return answer_done(of->kind, text(end_capture()));
}

static int answer(const change *of, int done, const char *printed)
{
	if (done && get_newest_entry() != of->newest) {
		print_saved_cookie();
		log_deed(ACTION_WORDS[of->action], KINDS[of->kind].word, of->id);
	}
	if (of->kind == BASIC)
		return answer_bands(of, done);
	begin_page();
	fputs(printed, stdout);
	tell_recovery();
	if (done && of->action == DELETE)
		tell_orphans(of->kind, of->id);
	else if (done)
		tell_references(of->kind, of->id);
	send_on(of, done);
	return 0;
}

/* Puts everything back and says why. */
int give_up(const char *printed)
{
	const write_failure *failure = get_write_failure();
	int reason = failure ? failure->reason : errno;
	bool is_undone = undo_change();
	return refuse_unwritten(failure ? failure->path : nullptr, reason, is_undone, printed);
}

/* The select of a filter's priority shows one even where the stored one is none of its options, and
 * posts it. The handler would refuse it as a changed one that is taken. */
static void forget_unchanged(const change *of)
{
	if (of->kind == FILTER && of->action == UPDATE && is_posted("changed") &&
	    !is_changed("prio") && cfl_section_get_values_count(of->store, of->id) > 0)
		cgi_forget("prio");
}

/* Runs the handler. Where its store cannot be read it tells so itself and writes nothing. */
static int carry_out(const change *of)
{
	if (of->store && !open_entry(of))
		return refuse_unwritten(HISTORY_DIR, errno, true, "");
	forget_unchanged(of);
	if (!hold_headers() || !begin_capture())
		return give_up("");
	int done = call_handler(of);
	char *printed = end_capture();
	errno = EIO;
	bool whole = printed && !get_write_failure() && (!done || !of->store || mend(of));
	int status = whole && (!of->store || commit_change()) ? answer(of, done, printed)
							       : give_up(text(printed));
	free(printed);
	return status;
}

/* Whether the change fits the stores as they are; answers the request where it does not. */
static bool fits_stores(const change *of)
{
	if (has_filters(of->kind) && of->store && !of->filters) {
		refuse_without_filters();
		return false;
	}
	if (is_posted("revision") && refuse_conflict(of->kind, of->action, of->id, of->store))
		return false;
	if (of->kind != CLASS || of->action == DELETE || !of->id)
		return true;
	const edit before = { of->kind, of->store, of->id, true };
	tables them;
	read_tables(&them, &before);
	char sentence[SENTENCE_SIZE];
	if (check_tables(&them, &before, sentence, sizeof(sentence)))
		return true;
	refuse("400 Bad Request", "%s", sentence);
	return false;
}

int answer_change(object_kind kind, change_action action, char *id)
{
	int lock = begin_exclusive();
	if (lock < 0)
		return 0;
	change of = { kind, action, id, nullptr, nullptr, nullptr, {}, {}, {}, get_newest_entry() };
	read_before(&of);
	int status = fits_stores(&of) ? carry_out(&of) : 0;
	free_before(&of);
	close(lock);
	return status;
}
