// SPDX-License-Identifier: MIT
/* The page in the place of one that would show a value as markup or script. */
#include "repair.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cgi.h>

#include "../../history/history.h"
#include "../../store/description.h"
#include "../../store/laid_aside.h"
#include "../../store/save.h"
#include "../../store/stored.h"
#include "../../store/text.h"
#include "../change.h"
#include "../edit.h"
#include "../faults.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../log.h"
#include "../markup.h"
#include "../marks.h"
#include "../posted.h"
#include "../saved.h"
#include "../words.h"

static const size_t STORED_SENTENCE_SIZE = 800; // bytes
static const char KEY_FIELD[] = "key[]", VALUE_FIELD[] = "value[]"; // one of each a value

/* --- the page --- */

/* "Rate <small>RATE</small>": as its page calls it, and as it is stored. */
static void print_key(object_kind kind, const char *key)
{
	int index;
	const field *row = find_key(kind, key, &index);
	if (row && row->form)
		printf("%s <small>", get_field_label(kind, row->form));
	print_escaped(key);
	if (row && row->form)
		printf("</small>");
}

namespace {

/* The form, fault by fault. */
struct mending_form {
	object_kind kind;
	const char *id;
	int count; // of what can be mended; the form opens at the first
};

} // namespace

static void open_form(const mending_form *it)
{
	printf("<form method='post' class='card' action='main.cgi?obj=router&amp;type=repair&amp;"
	       "action=mend'><h2>Instead</h2>\n<div class='form'>\n");
	print_hidden("kind", KINDS[it->kind].word);
	print_hidden("id", it->id);
	char revision[REVISION_SIZE];
	if (get_revision(it->kind, it->id, revision))
		print_hidden("revision", revision);
	printf("\n");
}

static void print_fault(void *to, const fault *found)
{
	mending_form *form = static_cast<mending_form *>(to);
	if (!found->key)
		return; // the name, which is told above
	if (form->count == 0)
		open_form(form);
	int n = form->count++;
	printf("<label for='v%d'>", n);
	if (strcmp(found->key, DESC_WORD) == 0)
		printf("Description");
	else
		print_key(form->kind, found->key);
	printf("</label>\n<div><input type='text' name='%s' id='v%d' aria-invalid='true' "
	       "aria-describedby='e%d'><p class='e' id='e%d'>", VALUE_FIELD, n, n, n);
	print_escaped(found->why);
	printf("</p>");
	print_hidden(KEY_FIELD, found->key);
	printf("</div>\n");
}

static void print_mending(object_kind kind, const char *id)
{
	mending_form form = { kind, id, 0 };
	tell_faults(kind, id, false, print_fault, &form);
	if (form.count > 0)
		printf("</div>\n<p>An empty field deletes the value.</p>\n"
		       "<p><button type='submit' class='first'>Mend</button></p>\n</form>\n");
}

/* A name stands in other objects too, and is not mended here. */
static void print_odd_name(const char *id)
{
	char sentence[SENTENCE_SIZE];
	if (is_well_formed(&ID_RULE, id))
		return;
	describe_fault(&ID_RULE, "Its name", id, sentence);
	print_refusal(sentence);
}

static void print_values(object_kind kind, const char *id)
{
	cfl *store = cfl_read(KINDS[kind].store);
	int count = cfl_section_get_values_count(store, id);
	printf("<section class='card' aria-label='What is stored'><table class='list'>\n"
	       "<thead><tr><th scope='col'>Field</th><th scope='col'>Value</th></tr></thead>\n"
	       "<tbody>\n");
	for (int i = 2; i <= count; i++) {
		int scratch, more_scratch;
		printf("<tr><th scope='row'>");
		print_key(kind, text(cfl_value_get_key_by_position(store, id, i)));
		printf("</th><td><code>");
		print_escaped(text(cfl_value_get_by_position(store, id, i, &scratch,
							      &more_scratch)));
		printf("</code></td></tr>\n");
	}
	const char *word = KINDS[kind].desc_word;
	const char *desc = word ? read_desc(id, word) : nullptr;
	if (desc) {
		printf("<tr><th scope='row'>Description</th><td><code>");
		print_escaped(desc);
		printf("</code></td></tr>\n");
	}
	printf("</tbody>\n</table></section>\n");
	cfl_free(store);
}

static void print_deleting(object_kind kind, const char *id)
{
	if (kind == POLICY && is_well_formed(&ID_RULE, id))
		return; // policies stay
	printf("<p><a class='btn' href='main.cgi?obj=%s&amp;type=list&amp;action=ask&amp;id=",
	       KINDS[kind].word);
	print_encoded(id);
	printf("'>Delete</a></p>\n");
}

int show_repair(object_kind kind, const char *id)
{
	open_page("Needs repair", PAGES[kind].place);
	print_heading("Needs repair");
	printf("<p class='msg warn'><b>The %s ", PAGES[kind].one);
	print_escaped(id);
	printf(" holds what cannot stand on its page.</b> It is shown here as plain text.</p>\n");
	print_odd_name(id);
	print_values(kind, id);
	print_mending(kind, id);
	print_deleting(kind, id);
	close_page();
	return 0;
}

/* --- the change --- */

static bool is_desc(object_kind kind, const char *key)
{
	return strcmp(key, DESC_WORD) == 0 && KINDS[kind].desc_word;
}

/* Whether all keys have a value each, and may have it; answers the request where not. */
static bool check_values(object_kind kind, const char *id)
{
	int count = count_posted(KEY_FIELD);
	if (count == 0 || count != count_posted(VALUE_FIELD)) {
		refuse("400 Bad Request", "Each field key[] has one field value[].");
		return false;
	}
	for (int n = 0; n < count; n++) {
		const char *key = is_desc(kind, get_posted(KEY_FIELD, n)) ? nullptr
								      : get_posted(KEY_FIELD, n);
		char sentence[STORED_SENTENCE_SIZE], name[FILE_NAME_SIZE];
		if (!key && !make_description_name(name, kind, id)) {
			refuse("400 Bad Request", "An object of this name has no description.");
			return false;
		}
		if (!check_stored_value(kind, id, key, get_posted(VALUE_FIELD, n), sentence,
					sizeof(sentence))) {
			refuse("400 Bad Request", "%s", sentence);
			return false;
		}
	}
	return true;
}

static bool mend_desc(object_kind kind, const char *id, const char *desc)
{
	kept_file file = {};
	if (!make_description_name(file.name, kind, id))
		return false;
	file.state = *desc ? PRESENT : ABSENT;
	file.bytes = const_cast<char *>(desc);
	file.size = strlen(desc);
	return put_file(&file);
}

/* Deletes a value. A list ends at its first gap, and what stands behind it would go too: the later
 * entries move up, and a schedule table keeps its number. */
static void delete_value(const edit *of, const char *key)
{
	int index;
	const field *row = find_key(of->kind, key, &index);
	char at[UNIT_NAME_SIZE], next[UNIT_NAME_SIZE];
	snprintf(at, sizeof(at), "%s", key);
	for (; row && is_list(row) && row->role != DAY; index++) {
		make_key(next, row, index + 1);
		const char *later = get_value(of, next);
		if (!later)
			break;
		set_value(of, at, row->role == SLOTS ? "" : later);
		if (row->role == SLOTS)
			return;
		memcpy(at, next, sizeof(at));
	}
	remove_value(of, at);
}

/* From the last key to the first: the page names the entries of a list in their order. */
static bool mend_values(object_kind kind, const char *id, cfl *store)
{
	const edit of = { kind, store, id, true };
	for (int n = count_posted(KEY_FIELD) - 1; n >= 0; n--) {
		const char *key = get_posted(KEY_FIELD, n);
		const char *value = get_posted(VALUE_FIELD, n);
		if (is_desc(kind, key)) {
			if (!mend_desc(kind, id, value))
				return false;
		} else if (*value) {
			set_value(&of, key, value);
		} else {
			delete_value(&of, key);
		}
	}
	return true;
}

/* A class or band may name other filters now. */
static bool save_mended(object_kind kind, const char *id, cfl *store, cfl *filters)
{
	if (has_filters(kind)) {
		bool is_class = kind == CLASS;
		cfl *before = cfl_read(KINDS[kind].store);
		cfl *others = cfl_read(is_class ? BASIC_STORE : CLASS_STORE);
		const naming_stores now = { is_class ? store : others, is_class ? others : store };
		mend_marks(filters, before, &now, kind, id);
		cfl_free(before);
		cfl_free(others);
	}
	const changed_store changed[] = {
		{ KINDS[kind].store, store },
		{ FILTER_STORE, filters },
	};
	return save_stores(changed, has_filters(kind) ? 2 : 1);
}

static bool begin_repair(object_kind kind, const char *id)
{
	char login[LOGIN_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"), KINDS[kind].word,
				   "repair", id };
	char desc[FILE_NAME_SIZE];
	const char *names[3] = { KINDS[kind].word };
	int count = 1;
	if (has_filters(kind))
		names[count++] = KINDS[FILTER].word;
	if (make_description_name(desc, kind, id))
		names[count++] = desc;
	return begin_change(&note, names, count);
}

static int carry_out(object_kind kind, const char *id, cfl *store, cfl *filters)
{
	if (has_filters(kind) && !filters)
		return refuse_without_filters();
	if (cfl_section_get_values_count(store, id) == 0)
		return refuse("409 Conflict", "There is no such object any more.");
	char revision[REVISION_SIZE];
	const char *posted = cgi_param("revision");
	if (posted && get_revision(kind, id, revision) && strcmp(posted, revision) != 0)
		return refuse("409 Conflict",
			      "The object was changed since this page was shown. Open it again.");
	if (!begin_repair(kind, id))
		return refuse_unwritten(HISTORY_DIR, errno, true, "");
	if (mend_values(kind, id, store) && save_mended(kind, id, store, filters) &&
	    commit_change()) {
		log_deed("repair", KINDS[kind].word, id);
		print_saved_cookie();
		return answer_done(kind, "");
	}
	return give_up("");
}

int answer_repair(void)
{
	object_kind kind;
	const char *id = cgi_param("id");
	if (!id || !find_kind(cgi_param("kind"), &kind))
		return refuse("400 Bad Request", "The fields kind and id name no object.");
	if (strcmp(text(cgi_param("action")), "mend") != 0)
		return refuse("400 Bad Request",
			      "The field action is not known: allowed is: mend.");
	char sentence[SENTENCE_SIZE];
	if (!check_posted(kind, sentence, sizeof(sentence)))
		return refuse("400 Bad Request", "%s", sentence);
	if (!check_values(kind, id))
		return 0;
	int lock = begin_exclusive();
	if (lock < 0)
		return 0;
	cfl *store = cfl_read(KINDS[kind].store);
	cfl *filters = has_filters(kind) ? cfl_read(FILTER_STORE) : nullptr;
	int status = carry_out(kind, id, store, filters);
	cfl_free(filters);
	cfl_free(store);
	close(lock);
	return status;
}
