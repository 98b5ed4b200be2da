// SPDX-License-Identifier: MIT
/* The pages of the strict-priority roots and their bands. */
#include "bands.h"

#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../../store/fields.h"
#include "../../store/text.h"
#include "../../web/web.h"
#include "../frame.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../posted.h"
#include "../users.h"
#include "bands_form.h"
#include "bands_save.h"

static const size_t TITLE_SIZE = 80; // bytes for a word and an id

/* --- the object as it is stored --- */

static void print_link(const char *query, const char *id, const char *word)
{
	printf("<a href='main.cgi?%s", query);
	print_encoded(id);
	printf("'>%s</a>", word);
}

static void print_band_card(const shown_stores *in, const band_place *place, const char *band)
{
	printf("<section class='card'><div class='head'><h2>%s: ", place->label);
	print_escaped(band);
	printf("</h2>");
	if (has_stored(in, BASIC, band))
		print_link("obj=basic&amp;type=display&amp;action=edit&amp;id=", band, "Edit");
	else
		print_link("obj=basic&amp;type=display&amp;action=new&amp;shape=band&amp;id=", band,
			   "Add");
	printf("</div>\n");
	if (has_stored(in, BASIC, band))
		print_band_filters(in, band);
	else
		printf("<p class='msg warn'><b>Missing:</b> this band is not there.</p>\n");
	printf("</section>\n");
}

static void print_bands_of(const shown_stores *in, const char *root)
{
	for (const band_place &place : PLACES) {
		const char *band = get_stored(in, BASIC, root, place.key);
		if (*band)
			print_band_card(in, &place, band);
	}
}

static void print_user(void *to, const user *row)
{
	int *count = static_cast<int *>(to);
	printf("%s%s of ", (*count)++ ? ", " : "Used as ", row->as);
	print_object_link(row->kind, row->id);
}

static void print_users(const shown_stores *in, const char *id)
{
	int count = 0;
	if (tell_users(in, BASIC, id, nullptr, nullptr) == 0)
		return;
	printf("<p>");
	tell_users(in, BASIC, id, print_user, &count);
	printf(".</p>\n");
}

/* --- the frame --- */

static const char *get_word(const bands_form *form)
{
	return form->is_root ? "root" : "band";
}

static void make_title(char title[TITLE_SIZE], const bands_form *form)
{
	if (form->is_new)
		snprintf(title, TITLE_SIZE, "New %s", get_word(form));
	else
		snprintf(title, TITLE_SIZE, "%s %s", form->is_root ? "Root" : "Band", form->id);
}

/* The way to the other kind of form, or, of what is stored, to its other name. */
static void print_page_heading(const bands_form *form)
{
	char title[TITLE_SIZE];
	make_title(title, form);
	open_heading(title);
	if (!form->is_new && has_stored(&form->in, BASIC, form->id))
		print_link("obj=router&amp;type=rename&amp;kind=basic&amp;id=", form->id, "Rename");
	if (form->is_new && form->is_root)
		print_link("obj=basic&amp;type=display&amp;action=new&amp;shape=band", "",
			   "Add a single band instead");
	if (form->is_new && !form->is_root)
		print_link("obj=basic&amp;type=display&amp;action=new&amp;shape=root", "",
			   "Add a root with three bands instead");
	printf("</div>\n");
}

static void open_bands_page(const bands_form *form)
{
	char title[TITLE_SIZE];
	make_title(title, form);
	open_page(title, AT_BANDS);
	print_page_heading(form);
}

/* --- display --- */

static void show_form(const bands_form *form)
{
	open_bands_page(form);
	if (!form->is_new)
		print_users(&form->in, form->id);
	print_bands_form(form);
	if (form->is_root && !form->is_new)
		print_bands_of(&form->in, form->id);
	close_page();
}

static void show_stored(const bands_form *form)
{
	open_bands_page(form);
	if (!has_stored(&form->in, BASIC, form->id)) {
		printf("<p>There is no root or band of this name.</p>\n");
		close_page();
		return;
	}
	print_users(&form->in, form->id);
	if (form->is_root) {
		print_bands_of(&form->in, form->id);
	} else {
		printf("<section class='card'><h2>Filters</h2>\n");
		print_band_filters(&form->in, form->id);
		printf("</section>\n");
	}
	printf("<p>");
	print_link("obj=basic&amp;type=display&amp;action=edit&amp;id=", form->id, "Edit");
	printf("</p>\n");
	close_page();
}

int basic_display(char *id, int mode)
{
	bands_form form = {};
	read_stores(&form.in);
	form.id = text(id);
	bool stored = has_stored(&form.in, BASIC, form.id);
	form.is_new = mode == MODE_NEW || (mode == MODE_EDIT && !stored);
	form.revision = get_present_revision(&form);
	// Who adds something is most likely to want a root: its bands are made with it.
	form.is_root = stored && !form.is_new ? is_root(form.in.of[BASIC], form.id)
			      : strcmp(text(cgi_param("shape")), "band") != 0;
	if (mode == MODE_NEW || mode == MODE_EDIT)
		show_form(&form);
	else
		show_stored(&form);
	return 1;
}

/* --- what was posted comes back --- */

/* The lock of the stores is held, or nothing is about to be changed: they are read as they are. */
static void read_posted(bands_form *form, const char *refused)
{
	*form = {};
	for (int kind = 0; kind < KINDS_COUNT; kind++)
		form->in.of[kind] = cfl_read(KINDS[kind].store);
	form->id = text(cgi_param("id"));
	form->is_new = strcmp(text(cgi_param("action")), "save") == 0 ||
		       !has_stored(&form->in, BASIC, form->id);
	form->is_root = asks_for_root(form->in.of[BASIC], form->is_new ? nullptr : form->id);
	form->is_posted = true;
	const char *revision = cgi_param("revision");
	form->revision = revision && is_revision(revision) ? revision : nullptr;
	form->refused = refused;
}

static int show_posted(const char *status, const char *refused, const char *sentence)
{
	bands_form form;
	read_posted(&form, refused);
	printf("Status: %s\r\n", status);
	open_bands_page(&form);
	printf("<p class='msg bad' id='why' role='alert'><b>Not saved:</b> ");
	print_escaped(sentence);
	printf("</p>\n");
	print_bands_form(&form);
	close_page();
	return 0;
}

int answer_ill_formed_bands(const char *sentence)
{
	return show_posted("400 Bad Request", find_ill_formed_band(), sentence);
}

int answer_refused_bands(void)
{
	const bands_refusal *why = get_bands_refusal();
	return show_posted(why->status, why->field, why->sentence);
}

int answer_taken_filter(const char *status, const char *filter, const char *user)
{
	char sentence[SENTENCE_SIZE];
	snprintf(sentence, sizeof(sentence),
		 "%s took the filter %s since this form was opened. It is ticked below, among those "
		 "taken by others: save again to take it all the same, or untick it.", user, filter);
	return show_posted(status, nullptr, sentence);
}

void print_posted_bands(void)
{
	bands_form form;
	read_posted(&form, nullptr);
	form.revision = get_present_revision(&form);
	if (!form.is_new) {
		printf("<p>");
		print_link("obj=basic&amp;type=display&amp;action=edit&amp;id=", form.id,
			   "Take what is stored");
		printf("</p>\n");
	}
	print_bands_form(&form);
}

int answer_kept_band(void)
{
	const bands_refusal *why = get_bands_refusal();
	return refuse(why->status, "%s", why->sentence);
}
