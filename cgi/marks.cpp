// SPDX-License-Identifier: MIT
/* Who names a filter, and the filters' marks. */
#include "marks.h"

#include <string.h>

#include "edit.h"
#include "posted.h"

static const char *const POSTED_LISTS[] = { "filter_id", "unuse_filter_id" };

bool has_filters(object_kind kind)
{
	return kind == CLASS || kind == BASIC;
}

cfl *get_naming_store(const naming_stores *in, object_kind kind)
{
	return kind == CLASS ? in->classes : in->bands;
}

static const char *get_filter(cfl *store, const char *id, int n)
{
	char key[UNIT_NAME_SIZE];
	int scratch;
	make_key(key, find_form_field(CLASS, "filter_id"), n);
	return cfl_value_get_by_name(store, id, key, &scratch);
}

bool names_filter(cfl *store, const char *id, const char *filter)
{
	const char *named;
	for (int n = 0; (named = get_filter(store, id, n)); n++) {
		if (strcmp(named, filter) == 0)
			return true;
	}
	return false;
}

static const char *find_user_in(cfl *store, const char *filter, const char *except)
{
	int count = cfl_get_sections_count(store);
	for (int i = 2; i <= count; i++) {
		const char *id = cfl_section_get_name_by_position(store, i);
		if ((!except || strcmp(id, except) != 0) && names_filter(store, id, filter))
			return id;
	}
	return nullptr;
}

const char *find_user(const naming_stores *in, const char *filter, object_kind kind,
		      const char *except)
{
	const char *user = find_user_in(in->classes, filter, kind == CLASS ? except : nullptr);
	return user ? user
		    : find_user_in(in->bands, filter, kind == BASIC ? except : nullptr);
}

static void set_mark(cfl *filters, const char *filter, bool used)
{
	cfl_value_set(filters, filter, "USE", used ? "use" : "unuse");
}

void mend_mark(cfl *filters, const naming_stores *now, const char *filter)
{
	set_mark(filters, filter, find_user(now, filter, CLASS, nullptr));
}

namespace {

/* An object whose filters are looked at. */
struct naming_object {
	const naming_stores *now;
	object_kind kind;
	const char *id;
};

} // namespace

/* The object itself is looked at first: of a long list most filters are its own. */
static void mend_mark_of(cfl *filters, const naming_object *of, const char *filter)
{
	set_mark(filters, filter,
		 names_filter(get_naming_store(of->now, of->kind), of->id, filter) ||
			 find_user(of->now, filter, of->kind, of->id));
}

static void mend_named(cfl *filters, cfl *store, const naming_object *of)
{
	const char *filter;
	for (int n = 0; (filter = get_filter(store, of->id, n)); n++)
		mend_mark_of(filters, of, filter);
}

void mend_marks(cfl *filters, cfl *before, const naming_stores *now, object_kind kind,
		const char *id)
{
	const naming_object of = { now, kind, id };
	mend_named(filters, before, &of);
	mend_named(filters, get_naming_store(now, kind), &of);
	for (const char *list : POSTED_LISTS) {
		for (const char *filter = get_first(list); filter; filter = get_next(list))
			mend_mark_of(filters, &of, filter);
	}
}
