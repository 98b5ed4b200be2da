// SPDX-License-Identifier: MIT
/* The script of a device: its discipline and what that needs. */
#include <string.h>

#include "reader.h"

/* Whether the script names strict priority: that tells which other lines may stand there. */
static bool is_spq_script(const script_text *from)
{
	static const char LINE[] = "QDISC=spq\n";
	const char *at = from->bytes;
	while ((at = strstr(at, LINE)) && at != from->bytes && at[-1] != '\n')
		at++;
	return at != nullptr;
}

static void take_device_line(reader *r, const script_line *line)
{
	device *of = r->of;
	if (line->key == R2Q_KEY) {
		of->r2q = take_from_one(r, line);
	} else if (line->key == DEFAULT_KEY) {
		of->default_line = line->number;
		if (strcmp(line->value, "1000") != 0)
			tell_bad_value(r, line);
	} else if (line->key == QDISC_KEY) {
		of->has_discipline = strcmp(line->value, "htb") == 0 ||
				     strcmp(line->value, "spq") == 0;
		of->kind = strcmp(line->value, "spq") == 0 ? SPQ : HTB;
		if (!of->has_discipline)
			tell_bad_value(r, line);
	}
}

void read_device_script(plan *to, device *of, const script_text *from)
{
	reader r = {};
	r.to = to;
	r.of = of;
	r.node_place = NO_NODE;
	r.from = from;
	r.kind = from->bytes && is_spq_script(from) ? IN_SPQ_DEVICE : IN_DEVICE;
	if (!open_reader(&r))
		return;
	for (const script_line &line : r.lines)
		take_device_line(&r, &line);
	if (!of->has_discipline && !r.is_bad) {
		const finding_place at = get_line_place(&r, 0);
		tell(&to->findings, FAULT, NO_DISCIPLINE, &at,
		     "Give the policy of this device a discipline, htb or spq, and compile again; "
		     "a policy without one ends the compile.",
		     "The script names no discipline: the compile ended there.");
	}
	close_reader(&r);
}
