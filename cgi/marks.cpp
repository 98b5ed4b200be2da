/* Who names a filter, and the filters' marks. */
#include "marks.h"

#include <string.h>

#include "edit.h"
#include "posted.h"

static const char *const POSTED_LISTS[] = { "filter_id", "unuse_filter_id" };

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

const char *find_user(const naming_stores *in, const char *filter, const char *except)
{
	const char *user = find_user_in(in->classes, filter, except);
	return user ? user : find_user_in(in->bands, filter, nullptr);
}

/* The class itself is looked at first: of a long list most filters are its own. */
static void mend_mark(cfl *filters, const naming_stores *now, const char *class_id,
		      const char *filter)
{
	bool used = names_filter(now->classes, class_id, filter) ||
		    find_user(now, filter, class_id);
	cfl_value_set(filters, filter, "USE", used ? "use" : "unuse");
}

static void mend_named(cfl *filters, cfl *store, const naming_stores *now, const char *class_id)
{
	const char *filter;
	for (int n = 0; (filter = get_filter(store, class_id, n)); n++)
		mend_mark(filters, now, class_id, filter);
}

void mend_marks(cfl *filters, cfl *before, const naming_stores *now, const char *class_id)
{
	mend_named(filters, before, now, class_id);
	mend_named(filters, now->classes, now, class_id);
	for (const char *list : POSTED_LISTS) {
		for (const char *filter = get_first(list); filter; filter = get_next(list))
			mend_mark(filters, now, class_id, filter);
	}
}
