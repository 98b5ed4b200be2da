// SPDX-License-Identifier: MIT
/* Stored values and names that could become markup or script. */
#include "faults.h"

#include <stdio.h>
#include <string.h>

#include <cfl.h>

#include "../store/description.h"
#include "../store/text.h"
#include "edit.h"

namespace {

/* Where a page shows a value. */
enum place {
	IN_ATTRIBUTE = 1, // between single quotes
	IN_TEXT = 2,
	IN_SCRIPT = 4, // between double quotes
	IN_CHOICE = 8, // escaped, but the form is posted back only where it is an id
};

struct shown_value {
	object_kind kind;
	const char *key; // its one %d, where it has one, counts from 0
	int most;        // how many the page shows
	int places;
};

} // namespace

/* The leaf's parameters are not among them: which are shown depends on the leaf. */
static const shown_value SHOWN[] = {
	{ POLICY, "ROOT_CLASS", 1, IN_ATTRIBUTE | IN_TEXT },
	{ POLICY, "DEFAULT_CLASS", 1, IN_ATTRIBUTE | IN_TEXT },
	{ POLICY, "R2Q", 1, IN_ATTRIBUTE | IN_TEXT },
	{ CLASS, "PARENT_ID", 1, IN_ATTRIBUTE },
	{ CLASS, "RATE", 1, IN_ATTRIBUTE },
	{ CLASS, "CEIL", 1, IN_ATTRIBUTE },
	{ CLASS, "BURST", 1, IN_ATTRIBUTE },
	{ CLASS, "CBURST", 1, IN_ATTRIBUTE },
	{ CLASS, "MTU", 1, IN_ATTRIBUTE },
	{ CLASS, "FILTER_ID[%d]", LOADED_FILTERS_MAX, IN_ATTRIBUTE | IN_TEXT },
	{ CLASS, "TIME_RATE[%d]", TABLES_MAX, IN_ATTRIBUTE },
	{ CLASS, "TIME_CEIL[%d]", TABLES_MAX, IN_ATTRIBUTE },
	{ CLASS, "TIME_BURST[%d]", TABLES_MAX, IN_ATTRIBUTE },
	{ CLASS, "TIME_CBURST[%d]", TABLES_MAX, IN_ATTRIBUTE },
	{ FILTER, "INT_IP_ID", 1, IN_ATTRIBUTE },
	{ FILTER, "EXT_IP_ID", 1, IN_ATTRIBUTE },
	{ FILTER, "INT_PORT_ID", 1, IN_ATTRIBUTE },
	{ FILTER, "EXT_PORT_ID", 1, IN_ATTRIBUTE },
	{ BASIC, "HIGH", 1, IN_CHOICE },
	{ BASIC, "MIDDLE", 1, IN_CHOICE },
	{ BASIC, "LOW", 1, IN_CHOICE },
	{ BASIC, "FILTER_ID[%d]", LOADED_FILTERS_MAX, IN_CHOICE },
	{ PORT, "PORT_LIST[%d]", LIST_ENTRIES_MAX, IN_ATTRIBUTE | IN_TEXT },
	{ IP, "IP_LIST[%d]", LIST_ENTRIES_MAX, IN_TEXT },
};

static bool has_control(const char *value)
{
	for (; *value; value++) {
		unsigned char c = static_cast<unsigned char>(*value);
		if (c < ' ' || c == 0x7F)
			return true;
	}
	return false;
}

/* What is wrong with a value at these places; null for nothing. */
static const char *find_why(const char *value, int places)
{
	if (places & IN_ATTRIBUTE && (strpbrk(value, "'<>") || has_control(value)))
		return "it holds ', <, > or a control character";
	if (places & IN_TEXT && strpbrk(value, "<&"))
		return "it holds < or &";
	if (places & IN_SCRIPT && strpbrk(value, "\"'\\<\r\n"))
		return "it holds a quote, a backslash, < or a line end";
	if (places & IN_CHOICE && !is_well_formed(&REFERENCE_RULE, value))
		return "no form can post it: it is no id";
	return nullptr;
}

static int tell_value(const fault *it, int places, fault_teller tell, void *to)
{
	const char *why = it->value ? find_why(it->value, places) : nullptr;
	if (!why)
		return 0;
	fault found = *it;
	found.why = why;
	if (tell)
		tell(to, &found);
	return 1;
}

static int tell_row(const edit *of, const shown_value *row, int places, fault_teller tell,
		    void *to)
{
	int count = 0;
	for (int n = 0; n < row->most; n++) {
		char key[UNIT_NAME_SIZE];
		snprintf(key, sizeof(key), row->key, n);
		const char *value = get_value(of, key);
		if (!value)
			break;
		const fault it = { row->kind, of->id, key, value, nullptr };
		count += tell_value(&it, row->places & places, tell, to);
	}
	return count;
}

static bool is_leaf(const edit *of, const char *kind)
{
	return strcmp(text(get_value(of, "LEAF")), kind) == 0;
}

static const char *const LEAF_KEYS[] = { "QUANTUM", "PERTURB", "LIMIT" };

static int tell_leaf(const edit *of, fault_teller tell, void *to)
{
	int count = 0;
	for (const char *key : LEAF_KEYS) {
		bool is_limit = strcmp(key, "LIMIT") == 0;
		bool is_shown = is_limit ? is_leaf(of, "pfifo") || is_leaf(of, "bfifo")
					 : is_leaf(of, "sfq");
		const fault it = { CLASS, of->id, key, get_value(of, key), nullptr };
		if (is_shown)
			count += tell_value(&it, IN_SCRIPT, tell, to);
	}
	return count;
}

static int tell_description(object_kind kind, const char *id, fault_teller tell, void *to)
{
	const char *word = KINDS[kind].desc_word;
	const fault it = { kind, id, DESC_WORD, word ? read_desc(id, word) : nullptr, nullptr };
	return tell_value(&it, IN_TEXT, tell, to);
}

int tell_faults(object_kind kind, const char *id, bool in_text_only, fault_teller tell, void *to)
{
	const int places = in_text_only ? IN_TEXT : IN_ATTRIBUTE | IN_TEXT | IN_SCRIPT | IN_CHOICE;
	cfl *store = cfl_read(KINDS[kind].store);
	const edit of = { kind, store, id, true };
	const fault name = { kind, id, nullptr, id, nullptr };
	int count = tell_value(&name, (IN_ATTRIBUTE | IN_TEXT) & places, tell, to);
	for (const shown_value &row : SHOWN) {
		if (row.kind == kind)
			count += tell_row(&of, &row, places, tell, to);
	}
	if (kind == CLASS)
		count += tell_leaf(&of, tell, to);
	count += tell_description(kind, id, tell, to);
	cfl_free(store);
	return count;
}

/* --- a whole page --- */

static const char *find_faulty_policy(void)
{
	static const char *const DEVICES[] = { "LAN1", "LAN2", "LAN3", "LAN4", "LAN5" };
	for (const char *id : DEVICES) {
		if (tell_faults(POLICY, id, true, nullptr, nullptr) > 0)
			return id;
	}
	return nullptr;
}

static bool is_free(cfl *filters, const char *id)
{
	int scratch;
	const char *use = cfl_value_get_by_name(filters, id, "USE", &scratch);
	return !use || strcmp(use, "unuse") == 0;
}

/* The first free filter whose name is at fault, on the heap. */
static const char *find_faulty_filter(void)
{
	cfl *filters = cfl_read(FILTER_STORE);
	int count = cfl_get_sections_count(filters);
	const char *found = nullptr;
	for (int i = 2; i <= count && !found; i++) {
		const char *id = cfl_section_get_name_by_position(filters, i);
		if (id && is_free(filters, id) && find_why(id, IN_ATTRIBUTE | IN_TEXT))
			found = copy_text(id);
	}
	cfl_free(filters);
	return found;
}

bool find_faulty_object(object_kind kind, const char *id, bool shows_object,
			object_kind *faulty_kind, const char **faulty_id)
{
	*faulty_kind = kind;
	*faulty_id = id;
	if (id && shows_object && tell_faults(kind, id, false, nullptr, nullptr) > 0)
		return true;
	*faulty_id = kind == POLICY ? find_faulty_policy() : nullptr;
	if (kind == CLASS) {
		*faulty_kind = FILTER;
		*faulty_id = find_faulty_filter();
	}
	return *faulty_id;
}
