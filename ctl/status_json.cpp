// SPDX-License-Identifier: MIT
/* What runs, as one JSON object. */
#include "status.h"

static void print_class(FILE *to, const device *of, const class_status *row)
{
	bool has_rates = of->kind == HTB && row->is_there;
	json_open(to, nullptr, '{');
	json_node(to, of, row->of);
	json_flag(to, "in_kernel", row->is_there);
	if (has_rates)
		json_number(to, "rate", row->rate);
	else
		json_null(to, "rate");
	if (has_rates)
		json_number(to, "ceil", row->ceil);
	else
		json_null(to, "ceil");
	json_number(to, "sent_bytes", row->sent.bytes);
	json_number(to, "sent_packets", row->sent.packets);
	json_number(to, "dropped", row->sent.dropped);
	json_number(to, "backlog_bytes", row->sent.backlog);
	if (row->is_measured)
		json_number(to, "rate_now", row->rate_now);
	else
		json_null(to, "rate_now");
	json_close(to, '}');
}

static void print_device(FILE *to, const device_status *it)
{
	json_open(to, nullptr, '{');
	json_device(to, it->of);
	json_text(to, "state", DEVICE_STATES[it->state]);
	json_text(to, "why", it->why[0] ? it->why : nullptr);
	json_number(to, "direct_packets", it->direct);
	json_open(to, "classes", '[');
	for (const class_status &row : it->classes)
		print_class(to, it->of, &row);
	json_close(to, ']');
	json_close(to, '}');
}

static void print_confirmation(FILE *to, const confirmation *it)
{
	if (!it->is_open) {
		json_null(to, "confirmation");
		return;
	}
	json_open(to, "confirmation", '{');
	json_signed(to, "seconds_left", it->seconds_left);
	json_close(to, '}');
}

void print_status_json(FILE *to, const router_status *it)
{
	json_begin(to);
	json_time(to, "time", it->now);
	if (it->applied.when)
		json_time(to, "applied", it->applied.when);
	else
		json_null(to, "applied");
	print_confirmation(to, &it->waits);
	json_open(to, "devices", '[');
	for (const device_status &row : it->devices)
		print_device(to, &row);
	json_close(to, ']');
	json_end(to);
}
