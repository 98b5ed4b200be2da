// SPDX-License-Identifier: MIT
/* Devices as scripts could have said them, made at random, and changed a little at a time. They
 * come out of a small world (few classes, addresses, ports), so that two of them have much in
 * common and rules hide each other. */
#ifndef TESTS_PLAN_RANDOM_DEVICES_H
#define TESTS_PLAN_RANDOM_DEVICES_H

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "../../plan/plan.h"

enum rule_kinds { U32_ONLY, MARKS_ONLY, BOTH_KINDS };

struct random_class {
	unsigned minor, parent; // parent 0: a root
	rates at;
	int prio;
	unsigned mtu;
	leaf below;
};

struct random_rule {
	unsigned to; // minor
	int prio;
	bool is_marked;
	match packet;
};

/* What a device is made of. */
struct random_device {
	discipline kind = HTB;
	unsigned r2q = 0;
	std::map<unsigned, random_class> classes; // parents have smaller minors, but for the default
	std::vector<random_rule> rules;
	unsigned first_mark = 100;
};

class random_world {
public:
	explicit random_world(unsigned seed) : random(seed)
	{
		parents[2] = 0;
		for (unsigned minor = 0x10; minor <= 0x130; minor += 0x10) {
			unsigned parent = below(3) == 0 ? 2 : pick_minor();
			parents[minor] = parent == DEFAULT_MINOR || depth(parent) >= 7 ? 2 : parent;
		}
		parents[DEFAULT_MINOR] = below(6) ? 2 : pick_minor();
	}

	unsigned below(unsigned bound) { return static_cast<unsigned>(random() % bound); }

	random_device make(discipline kind, rule_kinds kinds)
	{
		random_device it;
		it.kind = kind;
		it.first_mark = 100 + below(3);
		if (kind == HTB)
			add_class(&it, 2);
		if (kind == HTB && below(8))
			add_class(&it, DEFAULT_MINOR);
		for (unsigned i = below(12); kind == HTB && i > 0; i--)
			add_class(&it, pick_minor());
		for (unsigned i = below(20); i > 0; i--)
			insert_rule(&it, kinds);
		return it;
	}

	/* Another one that has much in common. */
	random_device change(const random_device &from, rule_kinds kinds)
	{
		random_device it = from;
		unsigned steps = 1 + below(below(2) ? 3 : 12);
		while (steps-- > 0)
			change_once(&it, kinds);
		return it;
	}

	sent_packet make_packet()
	{
		sent_packet it;
		it.source = pick_address();
		it.destination = pick_address();
		it.proto = below(6) ? (below(2) ? TCP : UDP) : 1;
		if (it.proto != 1) {
			it.source_port = pick_port();
			it.destination_port = pick_port();
		}
		it.tos = below(2) * 0xa0 + below(2) * 0x04;
		it.is_later_fragment = below(10) == 0;
		it.has_options = below(10) == 0;
		return it;
	}

private:
	std::mt19937 random;
	std::map<unsigned, unsigned> parents;

	unsigned depth(unsigned minor) { return minor == 0 ? 0 : 1 + depth(parents[minor]); }

	unsigned pick_minor()
	{
		auto it = parents.begin();
		std::advance(it, below(static_cast<unsigned>(parents.size())));
		return it->first;
	}

	uint32_t pick_address() { return 0x0a000000 + below(8); }
	uint16_t pick_port() { return static_cast<uint16_t>(80 + below(4)); }

	rates pick_rates()
	{
		rates it = {};
		it.rate = 1000000 + 12345 * below(3);
		it.ceil = it.rate * (1 + below(2));
		it.burst = below(2) ? 0 : 6144;
		it.cburst = below(3) ? 0 : 15360;
		return it;
	}

	leaf pick_leaf()
	{
		leaf it = {};
		it.kind = static_cast<leaf_kind>(below(4));
		if (it.kind == LEAF_SFQ) {
			it.has_quantum = below(2);
			it.quantum = it.has_quantum ? 1514 + 100 * below(2) : 0;
			it.has_perturb = below(2);
			it.perturb = it.has_perturb ? 10 * below(2) : 0;
		} else if (it.kind != LEAF_OWN) {
			it.has_limit = below(2);
			it.limit = it.has_limit ? 3000 + 100 * below(2) : 0;
		}
		return it;
	}

	random_class make_class(unsigned minor)
	{
		random_class it = {};
		it.minor = minor;
		it.parent = parents[minor];
		it.at = pick_rates();
		it.prio = static_cast<int>(below(10));
		it.mtu = below(2) ? 0 : 1500;
		it.below = pick_leaf();
		return it;
	}

	/* With its parents. */
	void add_class(random_device *to, unsigned minor)
	{
		if (minor == 0 || to->classes.count(minor))
			return;
		add_class(to, parents[minor]);
		to->classes[minor] = make_class(minor);
	}

	/* With its children, and rules that lead there. */
	void remove_class(random_device *from, unsigned minor)
	{
		from->classes.erase(minor);
		from->rules.erase(std::remove_if(from->rules.begin(), from->rules.end(),
						 [=](const random_rule &it) { return it.to == minor; }),
				  from->rules.end());
		for (const auto &[child, parent] : parents) {
			if (parent == minor && from->classes.count(child))
				remove_class(from, child);
		}
	}

	network pick_network()
	{
		static const int lengths[] = { 0, 0, 29, 30, 31, 32 };
		network it = { 0, lengths[below(6)] };
		if (it.length)
			it.address = pick_address() & (~0U << (32 - it.length));
		return it;
	}

	void pick_ports(random_rule *it)
	{
		match *packet = &it->packet;
		packet->source_last = packet->destination_last = UINT16_MAX;
		if (it->is_marked && below(2)) {
			packet->destination_first = pick_port();
			packet->destination_last = static_cast<uint16_t>(packet->destination_first + below(3));
		}
		if (it->is_marked && below(4) == 0)
			packet->source_first = packet->source_last = pick_port();
		if (!it->is_marked && below(2)) {
			packet->destination_mask = below(2) ? 0xffff : 0xfffe;
			packet->destination_port = pick_port() & packet->destination_mask;
		}
		if (!it->is_marked && below(4) == 0) {
			packet->source_mask = 0xfffc;
			packet->source_port = pick_port() & packet->source_mask;
		}
	}

	unsigned pick_target(const random_device &of)
	{
		if (of.kind == SPQ)
			return 1 + below(3);
		auto it = of.classes.begin();
		std::advance(it, below(static_cast<unsigned>(of.classes.size())));
		return it->first;
	}

	void insert_rule(random_device *to, rule_kinds kinds)
	{
		random_rule it = {};
		it.to = pick_target(*to);
		it.prio = 1 + static_cast<int>(below(4));
		it.is_marked = kinds == MARKS_ONLY || (kinds == BOTH_KINDS && below(2));
		it.packet.source = pick_network();
		it.packet.destination = pick_network();
		static const int protocols[] = { ANY_PROTOCOL, TCP, UDP };
		it.packet.proto = protocols[below(3)];
		it.packet.tos = below(4) ? ANY_TOS : static_cast<int>(below(2) * 5);
		pick_ports(&it);
		to->rules.insert(to->rules.begin() + below(static_cast<unsigned>(to->rules.size()) + 1), it);
	}

	void change_rule(random_device *it)
	{
		if (it->rules.empty())
			return;
		unsigned place = below(static_cast<unsigned>(it->rules.size()));
		random_rule moved = it->rules[place];
		switch (below(4)) {
		case 0:
			it->rules[place].to = pick_target(*it);
			return;
		case 1:
			it->rules[place].prio = 1 + static_cast<int>(below(4));
			return;
		case 2:
			it->rules.erase(it->rules.begin() + place);
			return;
		default:
			it->rules.erase(it->rules.begin() + place);
			it->rules.insert(it->rules.begin() +
						 below(static_cast<unsigned>(it->rules.size()) + 1),
					 moved);
		}
	}

	void change_class(random_device *it)
	{
		unsigned minor = pick_target(*it);
		random_class made = make_class(minor);
		random_class *old = &it->classes[minor];
		switch (below(4)) {
		case 0:
			old->at = made.at;
			return;
		case 1:
			old->below = made.below;
			return;
		case 2:
			old->prio = made.prio;
			return;
		default:
			*old = made;
		}
	}

	void change_once(random_device *it, rule_kinds kinds)
	{
		unsigned what = below(10);
		if (it->kind == HTB && what == 0)
			add_class(it, pick_minor());
		else if (it->kind == HTB && what == 1 && it->classes.size() > 2)
			remove_class(it, std::next(it->classes.begin(),
						   1 + below(static_cast<unsigned>(it->classes.size()) - 1))->first);
		else if (it->kind == HTB && what == 2)
			change_class(it);
		else if (what < 7)
			insert_rule(it, kinds);
		else if (what < 9)
			change_rule(it);
		else
			it->first_mark = 100 + below(3);
	}
};

/* The device as it would have been read. What it holds lives as long as this. */
class read_device {
public:
	explicit read_device(const random_device &from, const char *name = "eth0")
	{
		snprintf(it.name, sizeof(it.name), "%s", name);
		it.is_sound = it.has_discipline = true;
		it.kind = from.kind;
		it.r2q = from.r2q;
		if (from.kind == HTB)
			add_classes(from, 0, NO_NODE);
		else
			add_bands();
		add_rules(from);
		it.nodes = { nodes.data(), nodes.size(), nodes.size() };
		it.rules = { rules.data(), rules.size(), rules.size() };
	}
	read_device(const read_device &) = delete;

	const device *get() const { return &it; }

private:
	device it = {};
	std::vector<node> nodes;
	std::vector<packet_rule> rules;

	void add_classes(const random_device &from, unsigned parent, size_t place)
	{
		for (const auto &[minor, one] : from.classes) {
			if (one.parent != parent)
				continue;
			node made = {};
			made.minor = minor;
			made.parent = place;
			made.level = place == NO_NODE ? 1 : nodes[place].level + 1;
			made.own = one.at;
			made.has_ceil = true;
			made.prio = one.prio;
			made.mtu = one.mtu;
			made.below = one.below;
			if (place != NO_NODE)
				nodes[place].is_inner = true;
			nodes.push_back(made);
			add_classes(from, minor, nodes.size() - 1);
		}
	}

	void add_bands()
	{
		nodes.resize(1 + BANDS);
		for (unsigned i = 0; i <= BANDS; i++) {
			nodes[i].minor = i;
			nodes[i].parent = i ? 0 : NO_NODE;
			nodes[i].level = i ? 2 : 1;
			nodes[i].is_inner = i == 0;
		}
	}

	void add_rules(const random_device &from)
	{
		unsigned mark = from.first_mark;
		for (size_t of = 0; of < nodes.size(); of++) { // scripts by handle, then lines
			for (const random_rule &one : from.rules) {
				if (one.to != nodes[of].minor)
					continue;
				packet_rule made = {};
				made.of = of;
				made.prio = one.prio;
				made.is_marked = one.is_marked;
				made.mark = one.is_marked ? mark++ : 0;
				made.packet = one.packet;
				rules.push_back(made);
			}
		}
		std::stable_sort(rules.begin(), rules.end(), [](const packet_rule &a, const packet_rule &b) {
			return 2 * a.prio + a.is_marked < 2 * b.prio + b.is_marked;
		});
	}
};

#endif
