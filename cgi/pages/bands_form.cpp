// SPDX-License-Identifier: MIT
/* The form of a strict-priority root or of one of its bands. A root's fields offer the bands that there
 * are and take other names; a band has a box for each filter, and those that another class or band
 * has stand apart, for who takes one takes it from there. */
#include "bands_form.h"

#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../../store/text.h"
#include "../edit.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../marks.h"
#include "../posted.h"
#include "../users.h"
#include "../words.h"

const band_place PLACES[BAND_PLACES] = {
	{ "high", "HIGH", "First band", "Served first, whatever waits in the others." },
	{ "middle", "MIDDLE", "Second band", "Served when the first has nothing to send." },
	{ "low", "LOW", "Third band", "Served when the two others have nothing to send." },
};

static const char *const SHARED = "shared";

bool is_root(cfl *bands, const char *id)
{
	int scratch;
	for (const band_place &place : PLACES) {
		if (cfl_value_get_by_name(bands, id, place.key, &scratch))
			return true;
	}
	return false;
}

static bool is_any_place_posted(void)
{
	for (const band_place &place : PLACES) {
		if (is_posted(place.form))
			return true;
	}
	return false;
}

bool asks_for_root(cfl *bands, const char *id)
{
	if (cfl_section_get_values_count(bands, id) > 1)
		return is_root(bands, id);
	const char *shape = cgi_param("shape");
	return shape ? strcmp(shape, "band") != 0 : is_any_place_posted();
}

/* --- what all fields share --- */

const char *get_present_revision(const bands_form *form)
{
	char revision[REVISION_SIZE];
	return get_revision_in(form->in.of[BASIC], BASIC, form->id, revision) ? copy_text(revision)
									       : nullptr;
}

static void open_form(const bands_form *form)
{
	printf("<form class='card' method='POST' action='main.cgi'>\n<div class='form'>\n");
	print_hidden("obj", "basic");
	print_hidden("type", "display");
	print_hidden("action", form->is_new ? "save" : "update");
	print_hidden("shape", form->is_root ? "root" : "band");
	if (!form->is_new && form->revision)
		print_hidden("revision", form->revision);
	printf("\n");
}

static void print_input(const bands_form *form, const char *name, const char *value)
{
	printf("<div><input type='text' id='%s' name='%s' size='32' maxlength='32' value='", name,
	       name);
	print_escaped(value);
	printf("'");
	if (form->refused && strcmp(form->refused, name) == 0)
		printf(" aria-invalid='true' aria-describedby='why'");
}

static void print_name(const bands_form *form)
{
	printf("<label for='id'>Name</label>");
	print_input(form, "id", form->id);
	printf("%s></div>\n", form->is_new ? " required" : " readonly");
}

/* --- a root --- */

static const char *get_place_value(const bands_form *form, const band_place *place)
{
	return form->is_posted ? text(cgi_param(place->form))
			       : get_stored(&form->in, BASIC, form->id, place->key);
}

static void print_offered_bands(const shown_stores *in)
{
	const char *id;
	printf("<datalist id='bands'>\n");
	for (int n = 0; (id = get_object(in, BASIC, n)); n++) {
		if (is_root(in->of[BASIC], id) || !is_well_formed(&ID_RULE, id))
			continue;
		printf("<option value='");
		print_escaped(id);
		printf("'></option>\n");
	}
	printf("</datalist>\n");
}

static void print_places(const bands_form *form)
{
	for (const band_place &place : PLACES) {
		printf("<label for='%s'>%s</label>", place.form, place.label);
		print_input(form, place.form, get_place_value(form, &place));
		printf(" list='bands'> <small>%s</small></div>\n", place.note);
	}
	printf("<span></span><small>A band that is not there yet is made with the root, without "
	       "filters. An empty field is no band.</small>\n");
}

/* --- a band --- */

static void print_filter_words(const shown_stores *in, const char *filter)
{
	if (has_stored(in, FILTER, filter))
		write_filter(escaped(), in, filter);
	else
		printf("is not there");
}

/* The band whose filters are its own already. */
static const char *get_owner(const bands_form *form)
{
	return form->is_new ? "" : form->id;
}

static bool is_ticked(const bands_form *form, const char *filter)
{
	if (form->is_posted)
		return is_posted_as("filter_id", filter) || is_posted_as(SHARED, filter);
	return names_filter(form->in.of[BASIC], get_owner(form), filter);
}

/* user is who has the filter, null for nobody else. */
static void print_box(const bands_form *form, const char *filter, const char *user)
{
	printf("<li><label><input type='checkbox' name='%s' value='", user ? SHARED : "filter_id");
	print_escaped(filter);
	printf("'%s> ", is_ticked(form, filter) ? " checked" : "");
	print_escaped(filter);
	printf(" <small>");
	print_filter_words(&form->in, filter);
	if (user) {
		printf("; ");
		print_escaped(user);
		printf(" has it");
	}
	printf("</small></label></li>\n");
}

/* The filters that the band has stand first, in their order, which a save keeps. */
static int print_own(const bands_form *form)
{
	const edit of = { BASIC, form->in.of[BASIC], get_owner(form), true };
	const field *row = find_form_field(BASIC, "filter_id");
	int n;
	for (n = 0;; n++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, n);
		const char *filter = get_value(&of, key);
		if (!filter)
			return n;
		print_box(form, filter, nullptr);
	}
}

/* The first class or band beside this one that has the filter; null for none. */
static const char *find_other_user(const bands_form *form, const naming_list *users,
				   const char *filter)
{
	for (int i = 0; i < users->count; i++) {
		const naming *it = &users->items[i];
		bool is_own = it->by.kind == BASIC && strcmp(it->by.id, get_owner(form)) == 0;
		if (strcmp(it->named, filter) == 0 && !is_own)
			return it->by.id;
	}
	return nullptr;
}

/* Prints the boxes of the filters that are not the band's own: those that another has, or the
 * others. A name that no form can post has no box. Returns how many. */
static int print_others(const bands_form *form, const naming_list *users, bool taken)
{
	const char *filter;
	int count = 0;
	for (int n = 0; (filter = get_object(&form->in, FILTER, n)); n++) {
		if (!is_well_formed(&ID_RULE, filter) ||
		    names_filter(form->in.of[BASIC], get_owner(form), filter))
			continue;
		const char *user = find_other_user(form, users, filter);
		if (taken != (user != nullptr))
			continue;
		if (taken && count == 0)
			printf("<fieldset><legend>Taken by others</legend>\n"
			       "<p class='s'>Another class or band has these. Ticked here, they count "
			       "for both.</p>\n"
			       "<ul class='ticks'>\n");
		print_box(form, filter, user);
		count++;
	}
	if (taken && count > 0)
		printf("</ul></fieldset>\n");
	return count;
}

static void print_filters(const bands_form *form)
{
	printf("<fieldset><legend>Filters</legend>\n"
	       "<p class='s'>What the ticked filters take is sent in this band.</p>\n"
	       "<ul class='ticks'>\n");
	naming_list users;
	gather_users(&users, &form->in, FILTER);
	int count = print_own(form);
	count += print_others(form, &users, false);
	if (count == 0)
		printf("<li>No filter is free. <a href='main.cgi?obj=filter&amp;type=display"
		       "&amp;action=new'>Add a filter</a></li>\n");
	printf("</ul></fieldset>\n");
	print_others(form, &users, true);
}

/* --- both --- */

void print_bands_form(const bands_form *form)
{
	open_form(form);
	print_name(form);
	if (form->is_root)
		print_places(form);
	printf("</div>\n");
	if (form->is_root)
		print_offered_bands(&form->in);
	else
		print_filters(form);
	printf("<p><button type='submit' class='first'>Save</button> "
	       "<a class='btn' href='main.cgi?obj=basic&amp;type=list'>Cancel</a></p>\n"
	       "</form>\n");
}

void print_band_filters(const shown_stores *in, const char *band)
{
	const edit of = { BASIC, in->of[BASIC], band, true };
	const field *row = find_form_field(BASIC, "filter_id");
	printf("<ul>\n");
	for (int n = 0;; n++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, row, n);
		const char *filter = get_value(&of, key);
		if (!filter && n == 0)
			printf("<li>No filters yet.</li>\n");
		if (!filter)
			break;
		printf("<li>");
		print_object_link(FILTER, filter);
		printf(" <small>");
		print_filter_words(in, filter);
		printf("</small></li>\n");
	}
	printf("</ul>\n");
}
