// SPDX-License-Identifier: MIT
/* How classes are saved, updated and deleted. A class and the marks of its filters are two stores
 * that change together: a filter that a class has taken is marked "use" in its own section, and
 * one that was handed back "unuse". Filters marked "use" are not offered to other classes. */
#include <stdio.h>

#include <cfl.h>

#include "../store/fields.h"
#include "../store/message.h"
#include "../store/paths.h"
#include "../store/save.h"
#include "form.h"
#include "save.h"
#include "web.h"

/* A box that is not checked posts nothing, so the days and switches of the slots behind it move
 * up; inputs and selects always post, so theirs stay in their slots. */
void get_class_param(class_rec *rec)
{
	read_form(CLASS, rec);
}

/* Slots that are switched on: a schedule ends behind them, whatever else was posted. */
static int count_slots(const class_rec *form)
{
	int slots = 0;
	while (slots < SLOTS_MAX && form->time_enable[slots])
		slots++;
	return slots;
}

static void add_days(object *to, class_rec *form, int slot)
{
	for (const field &row : CLASS_FIELDS) {
		if (row.role != DAY)
			continue;
		char key[OBJECT_KEY_SIZE];
		snprintf(key, sizeof(key), row.key, slot);
		add_value(to, key, get_member(form, &row)[slot]);
	}
}

static void add_schedule(object *to, class_rec *form)
{
	int slots = count_slots(form);
	for (const field &row : CLASS_FIELDS) {
		if (row.role == SLOTS)
			add_list(to, row.key, get_member(form, &row), slots);
	}
	for (int slot = 0; slot < slots; slot++)
		add_days(to, form, slot);
}

/* Marks the filters of a list; one that is not in the store stays out of it. */
static void mark_filters(cfl *filters, char *const *ids, const char *mark)
{
	for (int n = 0; n < FILTERS_MAX && ids[n]; n++) {
		if (cfl_value_insert(filters, ids[n], "USE", 1, mark) == 0)
			continue;
		cfl_value_remove(filters, ids[n], "USE");
		cfl_value_insert(filters, ids[n], "USE", 1, mark);
	}
}

static int store_class(cfl *classes, cfl *filters, class_rec *form, save_mode mode)
{
	object stored = { CLASS, form->id, nullptr, 0, {} };
	add_fields(&stored, form);
	add_schedule(&stored, form);
	if (!insert_object(classes, &stored, mode))
		return 0;
	mark_filters(filters, form->filter_id, "use");
	mark_filters(filters, form->unuse_filter_id, "unuse");
	const changed_store changed[] = { { CLASS_STORE, classes },
					  { FILTER_STORE, filters } };
	return save_stores(changed, 2);
}

static int read_and_store(save_mode mode)
{
	class_rec form = {};
	get_class_param(&form);
	if (!form.id) {
		qos_msg(0, "ID is empty.");
		return 0;
	}
	cfl *classes = cfl_read(CLASS_STORE);
	cfl *filters = cfl_read(FILTER_STORE);
	int done = classes && filters ? store_class(classes, filters, &form, mode)
				      : refuse_unreadable();
	if (filters)
		cfl_free(filters);
	if (classes)
		cfl_free(classes);
	return done;
}

int class_save(void)
{
	return read_and_store(SAVE);
}

int class_update(void)
{
	return read_and_store(UPDATE);
}

int class_delete(char *id)
{
	return delete_object(CLASS, id);
}
