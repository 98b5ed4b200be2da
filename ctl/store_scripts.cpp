// SPDX-License-Identifier: MIT
/* The scripts that the stores would become, so that both are read by one reader. */
#include <stdlib.h>
#include <string.h>

#include "../store/paths.h"
#include "../store/records.h"
#include "../store/text_stream.h"
#include "diff.h"

namespace {

struct store_row {
	const char *path;
	cfl *open_stores::*handle;
};

} // namespace

static const store_row STORES[] = {
	{ POLICY_STORE, &open_stores::policy }, { CLASS_STORE, &open_stores::classes },
	{ BASIC_STORE, &open_stores::basic },   { FILTER_STORE, &open_stores::filter },
	{ PORT_STORE, &open_stores::port },     { IP_STORE, &open_stores::ip },
};

bool open_all_stores(open_stores *it, const options *given)
{
	char path[PATH_MAX];
	bool all = true;
	for (const store_row &row : STORES) {
		it->*row.handle = make_path(path, given, row.path) ? cfl_read(path) : nullptr;
		all &= it->*row.handle != nullptr;
	}
	return all;
}

void close_all_stores(open_stores *it)
{
	for (const store_row &row : STORES)
		cfl_free(it->*row.handle);
	*it = {};
}

/* A band is there when the root of the three names it, whether the store describes it or not. */
static bool is_band(cfl *basic, const char *root, const char *id)
{
	static const char *const BANDS_OF[] = { "LOW", "MIDDLE", "HIGH" };
	for (const char *key : BANDS_OF) {
		int scratch;
		const char *named = cfl_value_get_by_name(basic, root, key, &scratch);
		if (named && strcmp(named, id) == 0)
			return true;
	}
	return false;
}

bool is_in_store(const open_stores *it, const device *of, const char *id)
{
	return of->kind == HTB ? cfl_section_get_values_count(it->classes, id) > 0
			       : is_band(it->basic, of->nodes[0].id, id);
}

const char *find_policy_of(const open_stores *it, const char *root_id)
{
	int count = cfl_get_sections_count(it->policy);
	for (int i = 2; i <= count; i++) {
		const char *id = cfl_section_get_name_by_position(it->policy, i);
		int scratch;
		const char *root = cfl_value_get_by_name(it->policy, id, "ROOT_CLASS", &scratch);
		if (id && root && strcmp(root, root_id) == 0)
			return id;
	}
	return nullptr;
}

/* What keeps the place of a class that is in no store, for those below it. */
static const char STAND_IN[] = "RATE=8bps\n";

/* --- lines of a class, in the order of its script --- */

static void write_figure(FILE *script, const char *key, const char *value, const char *unit)
{
	if (value)
		fprintf(script, "%s=%s%s\n", key, value, text(unit));
}

static bool is_leaf(const class_rec *rec, const char *kind)
{
	return rec->leaf && strcmp(rec->leaf, kind) == 0;
}

static void write_leaf(FILE *script, const class_rec *rec)
{
	write_figure(script, "LEAF", rec->leaf, nullptr);
	if (is_leaf(rec, "sfq")) {
		write_figure(script, "QUANTUM", rec->quantum, nullptr);
		write_figure(script, "PERTURB", rec->perturb, nullptr);
	}
	if (is_leaf(rec, "pfifo") || is_leaf(rec, "bfifo"))
		fprintf(script, "LIMIT=%s\n", text(rec->limit));
}

static void write_optional(FILE *script, char mark, const char *value, const char *unit)
{
	if (value && *value)
		fprintf(script, "%c%s%s", mark, value, text(unit));
}

static void write_slot(FILE *script, const class_rec *rec, int slot)
{
	fprintf(script, "TIME=");
	for (int day = 0; day < DAYS; day++)
		fputs(text(rec->dow[day][slot]), script);
	fprintf(script, "/%s:00-%s:00;%s%s", text(rec->start_hour[slot]),
		text(rec->end_hour[slot]), rec->time_rate[slot], text(rec->time_rate_unit[slot]));
	write_optional(script, '/', rec->time_burst[slot], rec->time_burst_unit[slot]);
	write_optional(script, ',', rec->time_ceil[slot], rec->time_ceil_unit[slot]);
	write_optional(script, '/', rec->time_cburst[slot], rec->time_cburst_unit[slot]);
	fputc('\n', script);
}

static void write_class(FILE *script, const open_stores *from, const class_rec *rec,
			const device *compiled, unsigned *mark)
{
	write_figure(script, "RATE", rec->rate, rec->rate_unit);
	write_figure(script, "CEIL", rec->ceil, rec->ceil_unit);
	write_figure(script, "BURST", rec->burst, rec->burst_unit);
	write_figure(script, "CBURST", rec->cburst, rec->cburst_unit);
	write_figure(script, "PRIO", rec->prio, nullptr);
	write_figure(script, "MTU", rec->mtu, nullptr);
	write_leaf(script, rec);
	write_store_rules(script, from, rec, compiled, mark);
	for (int slot = 0; slot < LOADED_SLOTS_MAX && rec->time_rate[slot]; slot++)
		write_slot(script, rec, slot);
}

static void write_device(FILE *script, const policy_rec *rec)
{
	write_figure(script, "QDISC", rec->qdisc, nullptr);
	if (!rec->qdisc || strcmp(rec->qdisc, "htb") != 0)
		return;
	fprintf(script, "DEFAULT=1000\n");
	write_figure(script, "R2Q", rec->r2q, nullptr);
}

/* --- the scripts of a device --- */

static void open_text(text_stream *it)
{
	if (!open_text_stream(it))
		end_without_memory();
}

static void put_text(script_set *to, const char *name, text_stream *it)
{
	if (!close_text_stream(it))
		end_without_memory();
	put_script(to, name, it->text, it->size);
	free(it->text);
}

/* Strings of a record are never freed: this process is one answer. */
static void put_device_script(script_set *to, const open_stores *from, const device *of)
{
	const char *id = of->nodes.count > 0 ? find_policy_of(from, of->nodes[0].id) : nullptr;
	policy_rec rec = {};
	if (!id || !read_policy(from->policy, &rec, id))
		return;
	text_stream script;
	open_text(&script);
	write_device(script.stream, &rec);
	put_text(to, of->name, &script);
}

static void put_class_script(script_set *to, const open_stores *from, const device *of,
			     const node *it, unsigned *mark)
{
	class_rec rec = {};
	bool found = of->kind == HTB ? read_class(from->classes, &rec, it->id)
				     : read_basic(from->basic, &rec, it->id);
	text_stream script;
	open_text(&script);
	if (found)
		write_class(script.stream, from, &rec, of, mark);
	else if (of->kind == HTB)
		fputs(STAND_IN, script.stream);
	put_text(to, it->file, &script);
}

void put_store_scripts(script_set *to, const open_stores *from, const script_set *set,
		       const device *of, unsigned *mark)
{
	put_device_scripts(to, set, of->name);
	put_device_script(to, from, of);
	for (const node &it : of->nodes)
		put_class_script(to, from, of, &it, mark);
}
