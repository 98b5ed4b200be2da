// SPDX-License-Identifier: MIT
/* What a saved object names and is not there. */
#include "references.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <cfl.h>

#include "../store/message.h"
#include "../store/text.h"
#include "edit.h"
#include "marks.h"
#include "markup.h"

static const size_t ALERT_SIZE = 400; // bytes

static bool is_in_page; // set by tell_in_page, read by tell

void tell_in_page(void)
{
	is_in_page = true;
}

void tell(const char *format, ...)
{
	char alert[ALERT_SIZE];
	va_list args;
	va_start(args, format);
	vsnprintf(alert, sizeof(alert), format, args);
	va_end(args);
	if (is_in_page) {
		printf("<p class='msg warn'><b>Note:</b> ");
		print_escaped(alert);
		printf("</p>\n");
		return;
	}
	for (char *at = alert; *at; at++) {
		unsigned char c = static_cast<unsigned char>(*at);
		if (strchr("'\"\\<>&", *at) || c < ' ' || c >= 0x7F)
			*at = '?';
	}
	qos_msg(0, "%s", alert);
}

static bool is_in(object_kind kind, const char *id)
{
	cfl *store = cfl_read(KINDS[kind].store);
	bool is_there = cfl_section_get_values_count(store, id) > 0;
	cfl_free(store);
	return is_there;
}

/* Tells when the object's value under key names an object of another kind that is not there. what
 * is that object, in words. */
static void tell_missing(const edit *of, const char *key, object_kind named, const char *what)
{
	const char *value = get_value(of, key);
	if (value && *value && !is_in(named, value))
		tell("%s: the %s %s is not there yet.", of->id, what, value);
}

/* --- a class --- */

/* Whether id is ancestor, or above it in the tree. */
static bool is_above(cfl *classes, const char *id, const char *ancestor)
{
	int steps = cfl_get_sections_count(classes);
	for (; ancestor && steps > 0; steps--) {
		int scratch;
		if (strcmp(id, ancestor) == 0)
			return true;
		ancestor = cfl_value_get_by_name(classes, ancestor, "PARENT_ID", &scratch);
	}
	return false;
}

static void tell_parent(const edit *of)
{
	const char *parent = get_value(of, "PARENT_ID");
	if (parent && *parent && is_above(of->store, of->id, parent))
		tell("%s: its parent %s is the class itself or below it, so it is in no tree.",
		     of->id, parent);
	else
		tell_missing(of, "PARENT_ID", CLASS, "parent");
}

static void tell_filters(const edit *of)
{
	for (int n = 0;; n++) {
		char key[UNIT_NAME_SIZE];
		make_key(key, find_form_field(CLASS, "filter_id"), n);
		if (!get_value(of, key))
			return;
		tell_missing(of, key, FILTER, "filter");
	}
}

/* Whether entry n of a row, or its one value, is an empty number with a unit. */
static bool has_lone_unit(const edit *of, const field *row, int n)
{
	char key[UNIT_NAME_SIZE], unit[UNIT_NAME_SIZE];
	make_key(key, row, n);
	make_unit_key(unit, key);
	const char *number = get_value(of, key);
	return number && !*number && *text(get_value(of, unit));
}

/* An older page stored an empty input with the unit beside it, which is no figure. */
static void tell_lone_units(const edit *of)
{
	for (const field &row : CLASS_FIELDS) {
		int most = row.role == SLOTS ? TABLES_MAX : row.role == VALUE ? 1 : 0;
		for (int n = 0; n < most; n++) {
			if (has_lone_unit(of, &row, n))
				tell("%s: %s has a unit and no number. The next change of this "
				     "class takes the unit away.",
				     of->id, row.form);
		}
	}
}

/* --- a policy --- */

/* A strict-priority policy has bands, and no class takes the rest. */
static void tell_tree(const edit *of)
{
	const char *qdisc = get_value(of, "QDISC");
	if (qdisc && strcmp(qdisc, "spq") == 0) {
		tell_missing(of, "ROOT_CLASS", BASIC, "root");
		return;
	}
	tell_missing(of, "ROOT_CLASS", CLASS, "root class");
	tell_missing(of, "DEFAULT_CLASS", CLASS, "default class");
}

static void tell_lists(const edit *of)
{
	tell_missing(of, "INT_IP_ID", IP, "source address list");
	tell_missing(of, "EXT_IP_ID", IP, "destination address list");
	tell_missing(of, "INT_PORT_ID", PORT, "source port list");
	tell_missing(of, "EXT_PORT_ID", PORT, "destination port list");
}

static void tell_object(object_kind kind, const edit *of)
{
	switch (kind) {
	case POLICY: tell_tree(of); break;
	case CLASS:
		tell_parent(of);
		tell_filters(of);
		tell_lone_units(of);
		break;
	case FILTER: tell_lists(of); break;
	case BASIC: // bands that a root names are made with it
		tell_missing(of, "HIGH", BASIC, "first band");
		tell_missing(of, "MIDDLE", BASIC, "second band");
		tell_missing(of, "LOW", BASIC, "third band");
		tell_filters(of);
		break;
	case PORT: case IP: break; // name nothing
	}
}

void tell_references(object_kind kind, const char *id)
{
	cfl *store = cfl_read(KINDS[kind].store);
	const edit of = { kind, store, id, true };
	if (store)
		tell_object(kind, &of);
	cfl_free(store);
}

/* --- what a delete leaves --- */

static void tell_children(const char *id)
{
	cfl *classes = cfl_read(CLASS_STORE);
	int count = cfl_get_sections_count(classes);
	for (int i = 2; i <= count; i++) {
		const char *child = cfl_section_get_name_by_position(classes, i);
		int scratch;
		const char *parent = cfl_value_get_by_name(classes, child, "PARENT_ID", &scratch);
		if (parent && strcmp(parent, id) == 0)
			tell("%s still names %s as its parent, so it is in no tree now.", child,
			     id);
	}
	cfl_free(classes);
}

/* The handler looks for a filter among the classes only. */
static void tell_bands(const char *id)
{
	cfl *bands = cfl_read(BASIC_STORE);
	int count = cfl_get_sections_count(bands);
	for (int i = 2; i <= count; i++) {
		const char *band = cfl_section_get_name_by_position(bands, i);
		if (band && names_filter(bands, band, id))
			tell("The band %s still names the filter %s, which is not there any more.",
			     band, id);
	}
	cfl_free(bands);
}

void tell_orphans(object_kind kind, const char *id)
{
	if (!id || is_in(kind, id))
		return;
	switch (kind) {
	case CLASS: tell_children(id); break;
	case FILTER: tell_bands(id); break;
	case POLICY: case PORT: case IP: case BASIC: break; // what names them stops a delete
	}
}
