// SPDX-License-Identifier: MIT
/* What was found to be wrong, and the words for it. */
#include <stdarg.h>
#include <string.h>

#include "parts.h"

/* In the order of enum finding_code. */
const char *const FINDING_WORDS[FINDING_CODES] = {
	"bad-script",
	"stray-script",
	"handle-clash",
	"parent-missing",
	"no-discipline",
	"no-rate",
	"too-deep",
	"over-range",
	"foreign-qdisc",
	"compile-failed",
	"compile-stale",
	"over-parent",
	"under-rate",
	"default-missing",
	"default-inner",
	"default-taken",
	"prio-range",
	"quantum-range",
	"burst-small",
	"rule-inner",
	"rule-shadowed",
	"rule-any",
	"leaf-inner",
	"schedule-overlap",
	"schedule-empty",
	"class-orphan",
	"class-cycle",
	"missing-parent",
	"missing-filter",
	"missing-list",
	"missing-root",
	"missing-default",
	"missing-band",
	"filter-unused",
	"filter-mark",
	"over-capacity",
	"policy-loses",
	"device-absent",
	"device-bridged",
	"device-vlan",
	"device-ipv6",
	"kernel-lacks",
};

static char *format_text(const char *format, va_list arguments)
{
	va_list again;
	va_copy(again, arguments);
	int length = vsnprintf(nullptr, 0, format, again);
	va_end(again);
	if (length < 0)
		return copy_text("");
	size_t size = static_cast<size_t>(length) + 1;
	char *made = static_cast<char *>(malloc(size));
	if (!made)
		end_without_memory();
	vsnprintf(made, size, format, arguments);
	return made;
}

/* made becomes the finding's. */
static void add_made(finding_list *to, severity weight, finding_code code, const finding_place *at,
		     const char *fix, char *made)
{
	finding *added = add_item(to);
	added->weight = weight;
	added->code = code;
	snprintf(added->device, sizeof(added->device), "%s", text(at->device));
	added->object = copy_text(text(at->object));
	added->file = copy_text(text(at->file));
	added->line = at->line;
	added->text = made;
	added->fix = copy_text(text(fix));
}

void add_finding(finding_list *to, severity weight, finding_code code, const char *device,
		 const char *object, const char *file, int line, const char *fix,
		 const char *format, ...)
{
	va_list arguments;
	va_start(arguments, format);
	const finding_place at = { device, object, file, line };
	add_made(to, weight, code, &at, fix, format_text(format, arguments));
	va_end(arguments);
}

void tell(finding_list *to, severity weight, finding_code code, const finding_place *at,
	  const char *fix, const char *format, ...)
{
	va_list arguments;
	va_start(arguments, format);
	add_made(to, weight, code, at, fix, format_text(format, arguments));
	va_end(arguments);
}

finding_place get_place(const device *of, const node *it, int line)
{
	if (!it)
		return { of->name, of->name, of->name, line };
	return { of->name, it->id, it->file, line };
}

static void free_finding(finding *it)
{
	free(it->object);
	free(it->file);
	free(it->text);
	free(it->fix);
}

void remove_finding(finding_list *from, size_t place)
{
	free_finding(&from->items[place]);
	from->count--;
	for (size_t i = place; i < from->count; i++)
		from->items[i] = from->items[i + 1];
}

void free_findings(finding_list *it)
{
	for (finding &one : *it)
		free_finding(&one);
	free_list(it);
}

void make_excerpt(char excerpt[EXCERPT_SIZE], const char *value)
{
	static const char MORE[] = "...";
	size_t length = strlen(value), most = EXCERPT_SIZE - 1;
	size_t shown = length <= most ? length : most - strlen(MORE);
	for (size_t i = 0; i < shown; i++)
		excerpt[i] = value[i] >= ' ' && value[i] <= '~' ? value[i] : '?';
	snprintf(excerpt + shown, EXCERPT_SIZE - shown, "%s", length <= most ? "" : MORE);
}

/* --- their order --- */

/* A finding and its place before sorting, for qsort may change the order of equal ones. */
struct placed_finding {
	finding it;
	size_t place;
};

/* The device script, then those of its classes, then what only begins like them. */
static int get_rank(const finding *it, script_name *parsed)
{
	if (!*it->file || strcmp(it->file, it->device) == 0)
		return 0;
	return *it->device && parse_script_name(parsed, it->file, it->device) ? 1 : 2;
}

static int compare_files(const finding *one, const finding *other)
{
	script_name parsed, other_parsed;
	int rank = get_rank(one, &parsed), other_rank = get_rank(other, &other_parsed);
	if (rank != other_rank)
		return rank - other_rank;
	int order = rank == 1 ? compare_handles(parsed.handle, other_parsed.handle) : 0;
	return order ? order : strcmp(one->file, other->file);
}

static int compare_findings(const void *a, const void *b)
{
	const placed_finding *one = static_cast<const placed_finding *>(a);
	const placed_finding *other = static_cast<const placed_finding *>(b);
	int order = strcmp(one->it.device, other->it.device);
	if (order == 0 && strcmp(one->it.file, other->it.file) != 0)
		order = compare_files(&one->it, &other->it);
	if (order == 0)
		order = one->it.line - other->it.line;
	if (order == 0)
		order = one->place < other->place ? -1 : 1;
	return order;
}

void sort_findings(finding_list *it)
{
	if (it->count < 2)
		return;
	list<placed_finding> placed = {};
	for (size_t i = 0; i < it->count; i++)
		*add_item(&placed) = { it->items[i], i };
	qsort(placed.items, placed.count, sizeof(placed_finding), compare_findings);
	for (size_t i = 0; i < it->count; i++)
		it->items[i] = placed[i].it;
	free_list(&placed);
}
