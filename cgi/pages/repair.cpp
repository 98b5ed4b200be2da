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
#include "../markup.h"
#include "../marks.h"
#include "../kind_pages.h"
#include "../posted.h"

static const size_t STORED_SENTENCE_SIZE = 800; // bytes

/* --- the page --- */

static void print_hidden(const char *name, const char *value)
{
	printf("<input type='hidden' name='%s' value='", name);
	print_escaped(value);
	printf("'>");
}

static void open_post(const char *obj, const char *type, const char *action)
{
	printf("<form method='POST' action='main.cgi'>");
	print_hidden("obj", obj);
	print_hidden("type", type);
	print_hidden("action", action);
}

/* A name cannot be mended here: it stands in other objects too. to counts what can be. */
static void print_fault(void *to, const fault *found)
{
	printf("<p>");
	print_escaped(found->key ? found->key : "The name of the object");
	printf(": ");
	print_escaped(found->why);
	printf(".");
	if (found->key) {
		++*static_cast<int *>(to);
		print_hidden("key", found->key);
		printf(" <label>Instead: <input type='text' name='value' value=''></label>");
	}
	printf("</p>\n");
}

/* What is wrong with a name that could be shown, but by which no form asks. */
static void print_odd_name(object_kind kind, const char *id)
{
	char sentence[STORED_SENTENCE_SIZE];
	if (check_stored_id(kind, id, sentence, sizeof(sentence)))
		return;
	printf("<p>");
	print_escaped(sentence);
	printf("</p>\n");
}

static void print_mending(object_kind kind, const char *id)
{
	open_post("router", "repair", "mend");
	print_hidden("kind", KINDS[kind].word);
	print_hidden("id", id);
	char revision[REVISION_SIZE];
	if (get_revision(kind, id, revision))
		print_hidden("revision", revision);
	printf("\n");
	int count = 0;
	tell_faults(kind, id, false, print_fault, &count);
	if (count > 0)
		printf("<p>An empty input deletes the value.</p>\n"
		       "<input type='submit' value='Mend'>");
	printf("</form>\n");
}

static void print_values(object_kind kind, const char *id)
{
	cfl *store = cfl_read(KINDS[kind].store);
	int count = cfl_section_get_values_count(store, id);
	printf("<table>\n");
	for (int i = 2; i <= count; i++) {
		int scratch, more_scratch;
		printf("<tr><td>");
		print_escaped(text(cfl_value_get_key_by_position(store, id, i)));
		printf("</td><td>");
		print_escaped(text(cfl_value_get_by_position(store, id, i, &scratch,
							      &more_scratch)));
		printf("</td></tr>\n");
	}
	const char *word = KINDS[kind].desc_word;
	const char *desc = word ? read_desc(id, word) : nullptr;
	if (desc) {
		printf("<tr><td>description</td><td>");
		print_escaped(desc);
		printf("</td></tr>\n");
	}
	printf("</table>\n");
	cfl_free(store);
}

static void print_deleting(object_kind kind, const char *id)
{
	if (kind == POLICY && is_well_formed(&ID_RULE, id))
		return; // policies stay
	open_post(KINDS[kind].word, "display", "delete");
	print_hidden("id", id);
	printf("<input type='submit' value='Delete' onclick=\"return confirm('%s')\"></form>\n",
	       PAGES[kind].question);
}

int show_repair(object_kind kind, const char *id)
{
	open_page("Needs repair", AT_NONE);
	print_heading("Needs repair");
	printf("<p>The %s ", KINDS[kind].word);
	print_escaped(id);
	printf(" holds what cannot stand on its page. It is shown here as plain text.</p>\n");
	print_values(kind, id);
	print_odd_name(kind, id);
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
	int count = count_posted("key");
	if (count == 0 || count != count_posted("value")) {
		refuse("400 Bad Request", "Each field key has one field value.");
		return false;
	}
	for (int n = 0; n < count; n++) {
		const char *key = is_desc(kind, get_posted("key", n)) ? nullptr
								      : get_posted("key", n);
		char sentence[STORED_SENTENCE_SIZE], name[FILE_NAME_SIZE];
		if (!key && !make_description_name(name, kind, id)) {
			refuse("400 Bad Request", "An object of this name has no description.");
			return false;
		}
		if (!check_stored_value(kind, id, key, get_posted("value", n), sentence,
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
	for (int n = count_posted("key") - 1; n >= 0; n--) {
		const char *key = get_posted("key", n);
		const char *value = get_posted("value", n);
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

/* A class may name other filters now. */
static bool save_mended(object_kind kind, const char *id, cfl *store, cfl *filters)
{
	if (kind == CLASS) {
		cfl *before = cfl_read(CLASS_STORE);
		cfl *bands = cfl_read(BASIC_STORE);
		const naming_stores now = { store, bands };
		mend_marks(filters, before, &now, id);
		cfl_free(before);
		cfl_free(bands);
	}
	const changed_store changed[] = {
		{ KINDS[kind].store, store },
		{ FILTER_STORE, filters },
	};
	return save_stores(changed, kind == CLASS ? 2 : 1);
}

static bool begin_repair(object_kind kind, const char *id)
{
	char login[LOGIN_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"), KINDS[kind].word,
				   "repair", id };
	char desc[FILE_NAME_SIZE];
	const char *names[3] = { KINDS[kind].word };
	int count = 1;
	if (kind == CLASS)
		names[count++] = KINDS[FILTER].word;
	if (make_description_name(desc, kind, id))
		names[count++] = desc;
	return begin_change(&note, names, count);
}

static int carry_out(object_kind kind, const char *id, cfl *store, cfl *filters)
{
	if (kind == CLASS && !filters)
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
		begin_page();
		tell_recovery();
		printf("<script language='javascript'>"
		       "location.replace('main.cgi?obj=%s&type=list')</script>\n",
		       KINDS[kind].word);
		return 0;
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
	if (!check_values(kind, id))
		return 0;
	int lock = begin_exclusive();
	if (lock < 0)
		return 0;
	cfl *store = cfl_read(KINDS[kind].store);
	cfl *filters = kind == CLASS ? cfl_read(FILTER_STORE) : nullptr;
	int status = carry_out(kind, id, store, filters);
	cfl_free(filters);
	cfl_free(store);
	close(lock);
	return status;
}
