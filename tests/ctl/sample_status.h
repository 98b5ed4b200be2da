// SPDX-License-Identifier: MIT
/* A device as status finds it: a tree of three classes. */
#ifndef TESTS_CTL_SAMPLE_STATUS_H
#define TESTS_CTL_SAMPLE_STATUS_H

#include "../../ctl/status.h"
#include "../support/router_files.h"

struct sample_status {
	device of = {};
	router_status it = {};

	sample_status()
	{
		snprintf(of.name, sizeof(of.name), "eth0");
		of.is_sound = of.has_discipline = true;
		of.kind = HTB;
		add("fibre", "2", 0x2, NO_NODE, 1);
		add("fibre-voice", "2:10", 0x10, 0, 2);
		add("fibre-rest", "2:1000", 0x1000, 0, 2);
		device_status *on = add_item(&it.devices);
		on->of = &of;
		on->direct = 3;
		add_class(0, 19000000, 19000000, { 0x2, 3000, 30, 0, 0 }, 6000000);
		add_class(1, 2000000, 4000000, { 0x10, 1000, 10, 2, 1514 }, 3000000);
		add_class(2, 1000000, 15000000, { 0x1000, 2000, 20, 0, 0 }, 0);
	}
	~sample_status()
	{
		for (node &each : of.nodes)
			free(each.id);
		free_list(&of.nodes);
		free_list(&it.devices[0].classes);
		free_list(&it.devices);
	}
	sample_status(const sample_status &) = delete;
	sample_status &operator=(const sample_status &) = delete;

	void rename(size_t n, const char *id)
	{
		free(of.nodes[n].id);
		of.nodes[n].id = copy_text(id);
	}

private:
	void add(const char *id, const char *handle, unsigned minor, size_t parent, int level)
	{
		node *to = add_item(&of.nodes);
		to->id = copy_text(id);
		snprintf(to->handle, sizeof(to->handle), "%s", handle);
		to->minor = minor;
		to->parent = parent;
		to->level = level;
	}
	void add_class(size_t n, uint64_t rate, uint64_t ceil, class_counters sent, uint64_t now)
	{
		class_status *to = add_item(&it.devices[0].classes);
		to->of = &of.nodes[n];
		to->is_there = to->is_measured = true;
		to->rate = rate;
		to->ceil = ceil;
		to->sent = sent;
		to->rate_now = now;
	}
};

#endif
