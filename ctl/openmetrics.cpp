// SPDX-License-Identifier: MIT
/* What runs, as an OpenMetrics 1.0 text for programs that collect figures. */
#include "status.h"

#include <inttypes.h>
#include <stddef.h>
#include <string.h>

namespace {

/* A family of figures, one for each class. A unit is the end of its family's name. */
struct metric {
	const char *name, *type, *unit, *help;
	size_t value;  // where in class_status
	bool is_rate;  // bands have none, nor has a class that is not in the kernel
};

} // namespace

static const metric METRICS[] = {
	{ "qos_class_sent_bytes", "counter", "bytes", "Bytes that left the class.",
	  offsetof(class_status, sent.bytes), false },
	{ "qos_class_sent_packets", "counter", "packets", "Packets that left the class.",
	  offsetof(class_status, sent.packets), false },
	{ "qos_class_dropped_packets", "counter", "packets", "Packets that the class dropped.",
	  offsetof(class_status, sent.dropped), false },
	{ "qos_class_backlog_bytes", "gauge", "bytes", "Bytes that wait in the class.",
	  offsetof(class_status, sent.backlog), false },
	{ "qos_class_rate_bits_per_second", "gauge", "bits_per_second",
	  "Rate that the class is guaranteed.", offsetof(class_status, rate), true },
	{ "qos_class_ceil_bits_per_second", "gauge", "bits_per_second",
	  "Rate that the class may borrow up to.", offsetof(class_status, ceil), true },
};

static const char DIRECT[] = "qos_device_direct_packets";
static const char STATE[] = "qos_device_state";
static const char LEFT[] = "qos_confirmation_left_seconds";

static void print_family(FILE *to, const char *name, const char *type, const char *unit,
			 const char *help)
{
	fprintf(to, "# TYPE %s %s\n", name, type);
	if (unit)
		fprintf(to, "# UNIT %s %s\n", name, unit);
	fprintf(to, "# HELP %s %s\n", name, help);
}

/* Bytes of a UTF-8 character that stands here; 0 where none does. */
static int get_character_size(const char *text)
{
	unsigned char first = static_cast<unsigned char>(*text);
	int size = first < 0x80 ? 1 : first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3
		 : first < 0xf5 ? 4 : 0;
	for (int i = 1; i < size; i++) {
		if ((static_cast<unsigned char>(text[i]) & 0xc0) != 0x80)
			return 0;
	}
	unsigned char second = size > 2 ? static_cast<unsigned char>(text[1]) : 0;
	bool is_outside = (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
			  (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
	return is_outside ? 0 : size;
}

/* The format is UTF-8; a byte that is not is taken for Latin-1, as the stores may hold it. */
static void print_label(FILE *to, const char *name, const char *value)
{
	fprintf(to, "%s=\"", name);
	while (*value) {
		int size = get_character_size(value);
		unsigned char byte = static_cast<unsigned char>(*value);
		if (size == 0)
			fprintf(to, "%c%c", 0xc0 | byte >> 6, 0x80 | (byte & 0x3f));
		else if (byte == '\n')
			fputs("\\n", to);
		else if (byte == '\\' || byte == '"')
			fprintf(to, "\\%c", byte);
		else
			fwrite(value, 1, static_cast<size_t>(size), to);
		value += size > 0 ? size : 1;
	}
	fputc('"', to);
}

static uint64_t get_value(const class_status *row, const metric *of)
{
	uint64_t value;
	memcpy(&value, reinterpret_cast<const char *>(row) + of->value, sizeof(value));
	return value;
}

static void print_class(FILE *to, const metric *of, const device *on, const class_status *row)
{
	char classid[CLASSID_SIZE];
	make_classid(classid, on, row->of);
	fprintf(to, "%s%s{", of->name, strcmp(of->type, "counter") == 0 ? "_total" : "");
	print_label(to, "device", on->name);
	fputc(',', to);
	print_label(to, "class", row->of->id);
	fputc(',', to);
	print_label(to, "classid", classid);
	fprintf(to, "} %" PRIu64 "\n", get_value(row, of));
}

static void print_metric(FILE *to, const metric *of, const router_status *it)
{
	print_family(to, of->name, of->type, of->unit, of->help);
	for (const device_status &device : it->devices) {
		for (const class_status &row : device.classes) {
			if (row.is_there && (!of->is_rate || device.of->kind == HTB))
				print_class(to, of, device.of, &row);
		}
	}
}

static void print_direct(FILE *to, const router_status *it)
{
	print_family(to, DIRECT, "counter", "packets", "Packets that left unshaped.");
	for (const device_status &device : it->devices) {
		if (device.of->kind != HTB || device.state == WAITS)
			continue;
		fprintf(to, "%s_total{", DIRECT);
		print_label(to, "device", device.of->name);
		fprintf(to, "} %" PRIu64 "\n", device.direct);
	}
}

static void print_states(FILE *to, const router_status *it)
{
	print_family(to, STATE, "stateset", nullptr, "Whether what was applied is what runs.");
	for (const device_status &device : it->devices) {
		for (int state = 0; state < STATES_COUNT; state++) {
			fprintf(to, "%s{", STATE);
			print_label(to, "device", device.of->name);
			fputc(',', to);
			print_label(to, STATE, DEVICE_STATES[state]);
			fprintf(to, "} %d\n", device.state == state);
		}
	}
}

void print_openmetrics(FILE *to, const router_status *it)
{
	for (const metric &of : METRICS)
		print_metric(to, &of, it);
	print_direct(to, it);
	print_states(to, it);
	if (it->waits.is_open) {
		print_family(to, LEFT, "gauge", "seconds",
			     "Time in which 'qosctl confirm' must come.");
		fprintf(to, "%s %ld\n", LEFT, it->waits.seconds_left);
	}
	fputs("# EOF\n", to);
}
