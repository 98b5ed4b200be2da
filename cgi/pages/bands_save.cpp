// SPDX-License-Identifier: MIT
/* The changes of the strict-priority roots and their bands. */
#include "bands_save.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../../store/save.h"
#include "../../store/text.h"
#include "../edit.h"
#include "../posted.h"
#include "../users.h"
#include "bands.h"
#include "bands_form.h"

static const char BAD_REQUEST[] = "400 Bad Request";
static const char CONFLICT[] = "409 Conflict";

/* Set by the handlers where they return 0 for a reason of their own. */
static bands_refusal refusal;

const bands_refusal *get_bands_refusal(void)
{
	return &refusal;
}

static bool refuse_as(const char *status, const char *field, const char *format, ...)
	__attribute__((format(printf, 3, 4)));

/* Returns false. */
static bool refuse_as(const char *status, const char *field, const char *format, ...)
{
	va_list args;
	va_start(args, format);
	vsnprintf(refusal.sentence, sizeof(refusal.sentence), format, args);
	va_end(args);
	refusal.status = status;
	refusal.field = field;
	return false;
}

const char *find_ill_formed_band(void)
{
	for (const field &row : FIELDS[BASIC]) {
		for (const char *value = get_first(row.form); value; value = get_next(row.form)) {
			if (!is_well_formed(&row.allowed, value))
				return row.form;
		}
	}
	return nullptr;
}

/* Whether the request says what a field shall be: one that the person did not change, where it is told
 * which were, stays. */
static bool is_told(const char *form)
{
	return !is_posted("changed") || is_changed(form);
}

/* --- a root --- */

/* The band that the root shall name in a place; "" for none. */
static const char *get_shall(const edit *of, const band_place *place)
{
	const char *posted = cgi_param(place->form);
	return text(posted && is_told(place->form) ? posted : get_value(of, place->key));
}

static bool check_place(const edit *of, const band_place *place)
{
	const char *band = get_shall(of, place);
	if (strcmp(band, of->id) == 0)
		return refuse_as(BAD_REQUEST, place->form,
				 "%s is the root itself, which cannot be its own band.",
				 place->label);
	if (*band && is_root(of->store, band))
		return refuse_as(BAD_REQUEST, place->form,
				 "%s: %s is a root with bands of its own, and no band.",
				 place->label, band);
	for (const band_place *before = PLACES; *band && before < place; before++) {
		if (strcmp(get_shall(of, before), band) == 0)
			return refuse_as(BAD_REQUEST, place->form,
					 "%s and %s are both %s: a band has one place in its root.",
					 before->label, place->label, band);
	}
	return true;
}

static bool check_places(const edit *of)
{
	bool is_any = false;
	for (const band_place &place : PLACES) {
		if (!check_place(of, &place))
			return false;
		is_any = is_any || *get_shall(of, &place);
	}
	return is_any || refuse_as(BAD_REQUEST, PLACES[0].form,
				   "%s is empty, and so are the others: a root has a band at least.",
				   PLACES[0].label);
}

static void store_place(const edit *of, const band_place *place)
{
	const char *band = get_shall(of, place);
	if (*band)
		set_value(of, place->key, band);
	else
		remove_value(of, place->key);
}

/* The third band stands first in the store, as its table has it. The bands that are not there are
 * made, empty. */
static void store_root(const edit *of)
{
	for (int place = BAND_PLACES - 1; place >= 0; place--)
		store_place(of, &PLACES[place]);
	for (const band_place &place : PLACES)
		cfl_section_insert(of->store, get_value(of, place.key));
}

/* --- a band --- */

static bool add_filter(const char **filters, int *count, const char *filter)
{
	if (*count == FILTERS_MAX)
		return refuse_as(BAD_REQUEST, "filter_id",
				 "Filters has more than %d values: allowed are at most %d.",
				 FILTERS_MAX, FILTERS_MAX);
	filters[(*count)++] = filter;
	return true;
}

/* A filter of another is posted as "shared", alone from the form that does without scripts. */
static bool read_filters(const char **filters, int *count)
{
	for (const char *filter = get_first("filter_id"); filter; filter = get_next("filter_id")) {
		if (!add_filter(filters, count, filter))
			return false;
	}
	for (const char *filter = get_first("shared"); filter; filter = get_next("shared")) {
		if (!is_well_formed(&ID_RULE, filter))
			return refuse_as(BAD_REQUEST, nullptr, "The field shared holds no id.");
		if (!is_posted_as("filter_id", filter) && !add_filter(filters, count, filter))
			return false;
	}
	return true;
}

static bool store_band(const edit *of)
{
	const char *filters[FILTERS_MAX];
	int count = 0;
	if (!read_filters(filters, &count))
		return false;
	if (is_told("filter_id"))
		set_list(of, find_form_field(BASIC, "filter_id"), filters, count);
	return true;
}

/* A band that a request takes for a root would lose what was posted for it. */
static bool check_band(void)
{
	for (const band_place &place : PLACES) {
		if (*text(cgi_param(place.form)))
			return refuse_as(BAD_REQUEST, place.form,
					 "%s is posted for a band, and a band has none.", place.label);
	}
	return true;
}

/* --- both --- */

static bool store_object(cfl *store, const char *id, bool is_save)
{
	bool root = asks_for_root(store, id);
	bool is_there = cfl_section_insert(store, id) != 0;
	const edit of = { BASIC, store, id, is_there };
	if (is_there && is_save)
		return refuse_as(CONFLICT, "id", "Duplicated ID: there is a root or band %s already.",
				 id);
	if (!root)
		return check_band() && store_band(&of);
	if (!check_places(&of))
		return false;
	store_root(&of);
	return true;
}

static int store_posted(bool is_save)
{
	const char *id = cgi_param("id");
	if (!id)
		return refuse_as(BAD_REQUEST, "id", "ID is empty.");
	cfl *store = cfl_read(BASIC_STORE);
	if (!store)
		return refuse_as("500 Internal Server Error", nullptr,
				 "The store of the bands cannot be read.");
	const changed_store changed = { BASIC_STORE, store };
	int done = store_object(store, id, is_save) && save_stores(&changed, 1);
	cfl_free(store);
	return done;
}

int basic_save(void)
{
	return store_posted(true);
}

int basic_update(void)
{
	return store_posted(false);
}

/* --- a delete --- */

static bool is_in_use(cfl *bands, const char *id, char reason[REFUSAL_SIZE])
{
	shown_stores in = {};
	in.of[BASIC] = bands;
	in.of[POLICY] = cfl_read(POLICY_STORE);
	bool used = is_undeletable(&in, BASIC, id, reason);
	cfl_free(in.of[POLICY]);
	return used;
}

static bool remove_from(cfl *store, const char *id)
{
	char reason[REFUSAL_SIZE];
	if (is_in_use(store, id, reason))
		return refuse_as(CONFLICT, nullptr, "This is used in another DB: %s.", reason);
	cfl_section_remove(store, id);
	const changed_store changed = { BASIC_STORE, store };
	return save_stores(&changed, 1);
}

int basic_delete(char *id)
{
	if (!id)
		return refuse_as(BAD_REQUEST, nullptr, "No such a ID");
	cfl *store = cfl_read(BASIC_STORE);
	if (!store)
		return refuse_as("500 Internal Server Error", nullptr,
				 "The store of the bands cannot be read.");
	int done = remove_from(store, id);
	cfl_free(store);
	return done;
}
