// SPDX-License-Identifier: MIT
/* The marks of the firewall's rules, which are counted over all devices of a compile: with one
 * twice, packets of one class would go to another. */
#include "parts.h"

struct placed_mark {
	const device *of;
	const packet_rule *by;
	size_t place; // among all, device by device
};

static int compare_marks(const void *a, const void *b)
{
	const placed_mark *one = static_cast<const placed_mark *>(a);
	const placed_mark *other = static_cast<const placed_mark *>(b);
	if (one->by->mark != other->by->mark)
		return one->by->mark < other->by->mark ? -1 : 1;
	return one->place < other->place ? -1 : 1;
}

static void tell_mark(plan *to, const placed_mark *it, const placed_mark *first)
{
	const node *at = &it->of->nodes[it->by->of];
	const node *there = &first->of->nodes[first->by->of];
	const finding_place place = get_place(it->of, at, it->by->line + 1);
	tell(&to->findings, FAULT, BAD_SCRIPT, &place,
	     "Run qosctl compile, which leaves no scripts of before, nor their marks.",
	     "The mark %u stands in %s, line %d, too.", it->by->mark, there->file,
	     first->by->line + 1);
}

/* Tells of uses of one mark, from the first to before the last: in each device, and within one all
 * but the first. */
static void tell_uses(plan *to, const placed_mark *first, const placed_mark *last)
{
	for (const placed_mark *it = first + 1; it < last; it++)
		tell_mark(to, it, first);
	if (last[-1].of != first->of)
		tell_mark(to, first, &last[-1]);
}

void check_marks(plan *to)
{
	list<placed_mark> marks = {};
	for (const device &of : to->devices) {
		for (const packet_rule &rule : of.rules) {
			if (rule.is_marked) {
				size_t place = marks.count;
				*add_item(&marks) = { &of, &rule, place };
			}
		}
	}
	if (marks.count > 0)
		qsort(marks.items, marks.count, sizeof(placed_mark), compare_marks);
	for (size_t first = 0, i = 1; i <= marks.count; i++) {
		if (i < marks.count && marks[i].by->mark == marks[first].by->mark)
			continue;
		if (i - first > 1)
			tell_uses(to, &marks[first], &marks[first] + (i - first));
		first = i;
	}
	free_list(&marks);
}
