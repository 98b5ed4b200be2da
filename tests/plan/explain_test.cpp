// SPDX-License-Identifier: MIT
/* The class of a packet: tables of cases, and many packets beside a model that has the bytes of the
 * packet and asks them as the kernel does. */
#include "../../plan/plan.h"

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

static char SCRIPT[] = "eth0-2.x";

static uint32_t address(unsigned a, unsigned b, unsigned c, unsigned d)
{
	return a << 24 | b << 16 | c << 8 | d;
}

/* A device of a test; the one that get() returns points into it. */
struct test_device {
	device it = {};
	std::vector<node> nodes;
	std::vector<packet_rule> rules;

	explicit test_device(discipline kind)
	{
		it.kind = kind;
		it.has_discipline = true;
		it.is_sound = true;
	}

	size_t add_node(unsigned minor, size_t parent)
	{
		node one = {};
		one.file = one.id = SCRIPT;
		one.minor = minor;
		one.parent = parent;
		one.level = parent == NO_NODE ? 1 : nodes[parent].level + 1;
		if (parent != NO_NODE)
			nodes[parent].is_inner = true;
		nodes.push_back(one);
		return nodes.size() - 1;
	}

	const device *get()
	{
		it.nodes = { nodes.data(), nodes.size(), nodes.size() };
		it.rules = { rules.data(), rules.size(), rules.size() };
		return &it;
	}
};

static packet_rule make_rule(size_t of, int prio, unsigned mark = 0)
{
	packet_rule rule = {};
	rule.of = of;
	rule.prio = prio;
	rule.is_marked = mark > 0;
	rule.mark = mark;
	rule.packet.tos = ANY_TOS;
	rule.packet.source_last = rule.packet.destination_last = UINT16_MAX;
	return rule;
}

static packet make_packet(int proto, uint16_t destination_port, unsigned tos = 0)
{
	packet sent = {};
	sent.source = address(192, 168, 1, 20);
	sent.destination = address(203, 0, 113, 10);
	sent.proto = proto;
	sent.source_port = 40000;
	sent.destination_port = destination_port;
	sent.tos = tos;
	return sent;
}

/* --- one rule --- */

TEST(explain, networks_are_source_and_destination)
{
	static const struct {
		network source, destination;
		bool expected;
	} CASES[] = {
		{ { 0, 0 }, { 0, 0 }, true },
		{ { address(192, 168, 1, 20), 32 }, { 0, 0 }, true },
		{ { address(192, 168, 1, 21), 32 }, { 0, 0 }, false },
		{ { address(192, 168, 1, 20), 31 }, { 0, 0 }, true },
		{ { address(192, 168, 1, 16), 29 }, { address(203, 0, 113, 0), 24 }, true },
		{ { address(192, 168, 1, 24), 29 }, { address(203, 0, 113, 0), 24 }, false },
		{ { 0, 0 }, { address(192, 168, 1, 20), 32 }, false },
		{ { address(203, 0, 113, 10), 32 }, { 0, 0 }, false },
		{ { address(128, 0, 0, 0), 1 }, { address(128, 0, 0, 0), 1 }, true },
		{ { 0, 1 }, { 0, 0 }, false },
	};
	packet sent = make_packet(TCP, 80);
	for (const auto &row : CASES) {
		for (unsigned mark : { 0u, 1u }) {
			packet_rule rule = make_rule(0, 1, mark);
			rule.packet.source = row.source;
			rule.packet.destination = row.destination;
			EXPECT_EQ(does_match(&rule, &sent), row.expected)
				<< std::hex << row.source.address << "/" << row.source.length;
		}
	}
}

TEST(explain, tos_is_the_precedence_alone)
{
	packet_rule rule = make_rule(0, 1);
	for (int tos = 0; tos < 8; tos++) {
		rule.packet.tos = tos;
		for (unsigned byte = 0; byte < 256; byte++) {
			packet sent = make_packet(UDP, 53, byte);
			EXPECT_EQ(does_match(&rule, &sent), static_cast<int>(byte / 32) == tos);
		}
	}
}

TEST(explain, ports_of_a_rule_are_value_and_mask)
{
	packet_rule rule = make_rule(0, 1);
	rule.packet.destination_port = 16384;
	rule.packet.destination_mask = 0xff80;
	for (unsigned port = 0; port < 65536; port++) {
		packet sent = make_packet(UDP, static_cast<uint16_t>(port));
		ASSERT_EQ(does_match(&rule, &sent), port >= 16384 && port < 16512) << port;
	}
	rule.packet.destination_port = 16384 + 77; // tc drops what the mask does not cover
	packet sent = make_packet(UDP, 16384);
	EXPECT_TRUE(does_match(&rule, &sent));
}

TEST(explain, ports_of_a_marked_rule_are_a_range)
{
	packet_rule rule = make_rule(0, 1, 100);
	rule.packet.destination_first = 5060;
	rule.packet.destination_last = 5061;
	for (unsigned port = 0; port < 65536; port++) {
		packet sent = make_packet(UDP, static_cast<uint16_t>(port));
		ASSERT_EQ(does_match(&rule, &sent), port == 5060 || port == 5061) << port;
	}
	rule.packet.source_first = 0;
	rule.packet.source_last = 39999;
	packet sent = make_packet(UDP, 5060);
	EXPECT_FALSE(does_match(&rule, &sent));
	sent.source_port = 39999;
	EXPECT_TRUE(does_match(&rule, &sent));
}

TEST(explain, a_rule_with_a_port_matches_only_what_shows_one)
{
	for (unsigned mark : { 0u, 7u }) {
		packet_rule any = make_rule(0, 1, mark);
		packet_rule with_port = any;
		with_port.packet.source_port = with_port.packet.source_first = 40000;
		with_port.packet.source_last = 40000;
		with_port.packet.source_mask = 0xffff;
		for (int proto = 0; proto < 256; proto++) {
			packet sent = make_packet(proto, 80);
			EXPECT_TRUE(does_match(&any, &sent));
			EXPECT_EQ(does_match(&with_port, &sent), proto == TCP || proto == UDP);
			sent.is_fragment = true;
			EXPECT_TRUE(does_match(&any, &sent));
			EXPECT_FALSE(does_match(&with_port, &sent));
		}
	}
}

TEST(explain, a_later_fragment_still_shows_its_protocol)
{
	packet_rule rule = make_rule(0, 1);
	rule.packet.proto = UDP;
	packet sent = make_packet(UDP, 53);
	sent.is_fragment = true;
	EXPECT_TRUE(does_match(&rule, &sent));
	sent.proto = TCP;
	EXPECT_FALSE(does_match(&rule, &sent));
}

/* --- without a rule --- */

TEST(explain, what_no_rule_matches_goes_to_the_default_class)
{
	test_device of(HTB);
	size_t root = of.add_node(2, NO_NODE);
	of.add_node(0x10, root);
	packet sent = make_packet(TCP, 80);
	explanation it;
	explain_packet(&it, of.get(), &sent);
	EXPECT_EQ(it.to, nullptr);
	EXPECT_EQ(it.by, nullptr);
	EXPECT_EQ(it.band, 0);

	size_t otherwise = of.add_node(DEFAULT_MINOR, root);
	explain_packet(&it, of.get(), &sent);
	EXPECT_EQ(it.to, &of.nodes[otherwise]);

	of.add_node(0x20, otherwise); // an inner class takes nothing
	explain_packet(&it, of.get(), &sent);
	EXPECT_EQ(it.to, nullptr);
}

TEST(explain, a_default_class_may_be_the_only_one)
{
	test_device of(HTB);
	of.add_node(DEFAULT_MINOR, NO_NODE);
	packet sent = make_packet(TCP, 80);
	explanation it;
	explain_packet(&it, of.get(), &sent);
	EXPECT_EQ(it.to, &of.nodes[0]);
}

TEST(explain, bands_go_by_tos_where_no_rule_matches)
{
	static const struct {
		const char *what;
		unsigned tos;
		int band;
	} CASES[] = {
		{ "plain", 0x00, 2 },          { "lowest delay", 0x10, 1 },
		{ "throughput", 0x08, 3 },     { "reliability", 0x04, 2 },
		{ "lowest cost", 0x02, 2 },    { "congestion, of no account", 0x01, 2 },
		{ "EF", 0xb8, 2 },             { "CS6", 0xc0, 2 },
		{ "AF31", 0x68, 3 },           { "AF41", 0x88, 3 },
		{ "AF21", 0x48, 3 },           { "AF32", 0x70, 1 },
		{ "AF42", 0x90, 1 },           { "AF33", 0x78, 2 },
		{ "AF11", 0x28, 3 },           { "delay and throughput", 0x18, 2 },
	};
	test_device of(SPQ);
	size_t root = of.add_node(2, NO_NODE);
	for (unsigned band = 1; band <= 3; band++)
		of.add_node(band, root);
	for (const auto &row : CASES) {
		packet sent = make_packet(TCP, 80, row.tos);
		explanation it;
		explain_packet(&it, of.get(), &sent);
		EXPECT_EQ(it.band, row.band) << row.what;
		EXPECT_EQ(it.to, &of.nodes[static_cast<size_t>(row.band)]) << row.what;
		EXPECT_EQ(it.by, nullptr);
	}
}

/* The kernel's two tables: a priority for each TOS, and a band for each priority. */
TEST(explain, every_tos_goes_as_the_kernel_s_tables_have_it)
{
	static const int PRIORITIES[] = { 0, 0, 0, 0, 2, 2, 2, 2, 6, 6, 6, 6, 4, 4, 4, 4 };
	static const int PRIOMAP[] = { 1, 2, 2, 2, 1, 2, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1 };
	test_device of(SPQ);
	of.add_node(2, NO_NODE);
	for (unsigned tos = 0; tos < 256; tos++) {
		packet sent = make_packet(TCP, 80, tos);
		explanation it;
		explain_packet(&it, of.get(), &sent);
		EXPECT_EQ(it.band, PRIOMAP[PRIORITIES[(tos & 0x1e) >> 1]] + 1) << tos;
	}
}

TEST(explain, a_band_without_a_script_is_there_all_the_same)
{
	test_device of(SPQ);
	size_t root = of.add_node(2, NO_NODE);
	of.add_node(1, root);
	for (auto [tos, band] : { std::pair<unsigned, int>(0x08, 3), { 0x00, 2 } }) {
		packet sent = make_packet(TCP, 80, tos);
		explanation it;
		explain_packet(&it, of.get(), &sent);
		EXPECT_EQ(it.band, band);
		EXPECT_EQ(it.to, nullptr);
	}
}

/* --- among rules --- */

TEST(explain, the_first_rule_wins_and_the_others_are_told)
{
	test_device of(HTB);
	size_t root = of.add_node(2, NO_NODE);
	size_t phones = of.add_node(0x10, root), web = of.add_node(0x20, root);
	packet_rule other = make_rule(web, 1);
	other.packet.proto = UDP;
	of.rules = { other, make_rule(web, 2), make_rule(phones, 3), make_rule(web, 3, 9) };
	packet sent = make_packet(TCP, 80);
	explanation it;
	explain_packet(&it, of.get(), &sent);
	EXPECT_EQ(it.by, &of.rules[1]);
	EXPECT_EQ(it.to, &of.nodes[web]);
	ASSERT_EQ(it.shadowed.count, 2u);
	EXPECT_EQ(it.shadowed[0], &of.rules[2]);
	EXPECT_EQ(it.shadowed[1], &of.rules[3]);
	free_list(&it.shadowed);
}

TEST(explain, rules_of_an_inner_class_are_not_asked)
{
	test_device of(HTB);
	size_t root = of.add_node(2, NO_NODE);
	size_t leaf = of.add_node(0x10, root);
	of.rules = { make_rule(root, 1), make_rule(leaf, 2), make_rule(root, 3) };
	packet sent = make_packet(TCP, 80);
	explanation it;
	explain_packet(&it, of.get(), &sent);
	EXPECT_EQ(it.by, &of.rules[1]);
	EXPECT_EQ(it.shadowed.count, 0u);
}

TEST(explain, rules_of_the_root_of_a_strict_priority_device_are_not_asked)
{
	test_device of(SPQ);
	size_t root = of.add_node(2, NO_NODE);
	size_t high = of.add_node(1, root);
	of.rules = { make_rule(root, 1), make_rule(high, 2) };
	packet sent = make_packet(TCP, 80);
	explanation it;
	explain_packet(&it, of.get(), &sent);
	EXPECT_EQ(it.by, &of.rules[1]);
	EXPECT_EQ(it.to, &of.nodes[high]);
	EXPECT_EQ(it.band, 1);
}

/* --- beside the kernel's way --- */

/* The words that u32 compares: behind the network header's first byte, masked. */
struct u32_key {
	size_t offset;
	uint32_t value, mask;
};

static std::vector<unsigned char> make_bytes(const packet &sent)
{
	std::vector<unsigned char> bytes(28);
	auto put = [&bytes](size_t at, uint32_t value, int size) {
		for (int i = size - 1; i >= 0; i--, value >>= 8)
			bytes[at + static_cast<size_t>(i)] = static_cast<unsigned char>(value);
	};
	put(0, 0x45, 1);
	put(1, sent.tos, 1);
	put(6, sent.is_fragment ? 0x20b9 : 0x4000, 2);
	put(9, static_cast<uint32_t>(sent.proto), 1);
	put(12, sent.source, 4);
	put(16, sent.destination, 4);
	if (sent.is_fragment) { // what stands there is the middle of the data
		put(20, 0x01bb0050, 4);
	} else {
		put(20, sent.source_port, 2);
		put(22, sent.destination_port, 2);
	}
	return bytes;
}

static uint32_t mask_of(int length)
{
	return length == 0 ? 0 : 0xffffffff << (32 - length);
}

/* The filters of a RULE: one, or two where ports are asked of any protocol. */
static std::vector<std::vector<u32_key>> make_filters(const match &asked)
{
	std::vector<u32_key> keys = {
		{ 12, asked.source.address, mask_of(asked.source.length) },
		{ 16, asked.destination.address, mask_of(asked.destination.length) },
	};
	if (asked.tos != ANY_TOS)
		keys.push_back({ 0, static_cast<uint32_t>(asked.tos) << 21, 0x00e00000 });
	bool has_port = asked.source_mask || asked.destination_mask;
	if (has_port) {
		keys.push_back({ 0, 0x05000000, 0x0f000000 });
		keys.push_back({ 4, 0, 0x00001fff });
		keys.push_back({ 20, uint32_t(asked.source_port) << 16 | asked.destination_port,
				 uint32_t(asked.source_mask) << 16 | asked.destination_mask });
	}
	std::vector<int> protocols = { asked.proto };
	if (asked.proto == ANY_PROTOCOL && has_port)
		protocols = { 6, 17 };
	std::vector<std::vector<u32_key>> filters;
	for (int proto : protocols) {
		filters.push_back(keys);
		if (proto != ANY_PROTOCOL)
			filters.back().push_back({ 8, static_cast<uint32_t>(proto) << 16, 0xff0000 });
	}
	return filters;
}

static bool matches_keys(const std::vector<u32_key> &keys, const std::vector<unsigned char> &bytes)
{
	return std::all_of(keys.begin(), keys.end(), [&bytes](const u32_key &key) {
		uint32_t word = 0;
		for (size_t i = 0; i < 4; i++)
			word = word << 8 | bytes[key.offset + i];
		return ((word ^ key.value) & key.mask) == 0;
	});
}

static bool model_matches(const packet_rule &rule, const packet &sent)
{
	const match &asked = rule.packet;
	if (!rule.is_marked) {
		std::vector<unsigned char> bytes = make_bytes(sent);
		for (const auto &filter : make_filters(asked)) {
			if (matches_keys(filter, bytes))
				return true;
		}
		return false;
	}
	bool asks_source = asked.source_first != 0 || asked.source_last != 65535;
	bool asks_destination = asked.destination_first != 0 || asked.destination_last != 65535;
	if (asks_source || asks_destination) {
		if (sent.is_fragment || (sent.proto != 6 && sent.proto != 17))
			return false;
		if (sent.source_port < asked.source_first || sent.source_port > asked.source_last)
			return false;
		if (sent.destination_port < asked.destination_first ||
		    sent.destination_port > asked.destination_last)
			return false;
	}
	return (asked.proto == 0 || asked.proto == sent.proto) &&
	       (asked.tos < 0 || (sent.tos & 0xe0) == static_cast<unsigned>(asked.tos) * 32) &&
	       (sent.source & mask_of(asked.source.length)) == asked.source.address &&
	       (sent.destination & mask_of(asked.destination.length)) ==
		       asked.destination.address;
}

/* As the kernel goes: the firewall's chain sets the mark of its first match, then the filters are
 * asked by tc's priority. Returns the minor of the class; 0 where none matches. */
static unsigned model_class(const test_device &of, const packet &sent)
{
	unsigned mark = 0;
	for (const packet_rule &rule : of.rules) {
		if (mark == 0 && rule.is_marked && !of.nodes[rule.of].is_inner &&
		    model_matches(rule, sent))
			mark = rule.mark;
	}
	unsigned best = 0;
	int best_prio = 1 << 20;
	for (const packet_rule &rule : of.rules) {
		int prio = 2 * rule.prio + rule.is_marked;
		if (of.nodes[rule.of].is_inner || prio >= best_prio)
			continue;
		if (rule.is_marked ? rule.mark == mark : model_matches(rule, sent)) {
			best = of.nodes[rule.of].minor;
			best_prio = prio;
		}
	}
	return best;
}

/* Few addresses, ports and protocols, so that rules often match and often overlap. */
class chance {
public:
	explicit chance(unsigned seed) : random(seed) {}

	unsigned pick(unsigned count)
	{
		return static_cast<unsigned>(random() % count);
	}

	uint32_t pick_address()
	{
		return address(192, 168, pick(2), 4 * pick(2) + pick(3));
	}

	uint16_t pick_port()
	{
		static const uint16_t PORTS[] = { 0, 1, 80, 81, 443, 1024, 1025, 32768, 65534, 65535 };
		return PORTS[pick(10)];
	}

	network pick_network()
	{
		static const int LENGTHS[] = { 0, 0, 0, 0, 1, 16, 24, 29, 30, 31, 32 };
		int length = LENGTHS[pick(11)];
		return { pick_address() & mask_of(length), length };
	}

private:
	std::mt19937 random;
};

static packet_rule pick_rule(chance *by, size_t nodes, unsigned mark)
{
	static const uint16_t MASKS[] = { 0, 0, 0xffff, 0xfffe, 0xfc00, 0x8000, 1 };
	packet_rule rule = make_rule(by->pick(static_cast<unsigned>(nodes)),
				     1 + static_cast<int>(by->pick(4)), by->pick(2) * mark);
	match *asked = &rule.packet;
	asked->source = by->pick_network();
	asked->destination = by->pick_network();
	static const int PROTOCOLS[] = { ANY_PROTOCOL, TCP, UDP };
	asked->proto = PROTOCOLS[by->pick(3)];
	if (by->pick(8) == 0)
		asked->tos = static_cast<int>(by->pick(8));
	if (!rule.is_marked) {
		asked->source_port = by->pick_port();
		asked->source_mask = MASKS[by->pick(7)];
		asked->destination_port = by->pick_port();
		asked->destination_mask = MASKS[by->pick(7)];
	} else if (by->pick(2)) {
		std::tie(asked->destination_first, asked->destination_last) =
			std::minmax({ by->pick_port(), by->pick_port() });
		if (by->pick(3) == 0)
			std::tie(asked->source_first, asked->source_last) =
				std::minmax({ by->pick_port(), by->pick_port() });
	}
	return rule;
}

static packet pick_packet(chance *by)
{
	static const int PROTOCOLS[] = { TCP, TCP, UDP, UDP, 1, 132 };
	packet sent = {};
	sent.source = by->pick_address();
	sent.destination = by->pick_address();
	sent.proto = PROTOCOLS[by->pick(6)];
	sent.source_port = by->pick_port();
	sent.destination_port = by->pick_port();
	sent.tos = by->pick(256);
	sent.is_fragment = by->pick(8) == 0;
	return sent;
}

/* In the order in which they win. */
static void sort_rules(std::vector<packet_rule> *rules)
{
	std::stable_sort(rules->begin(), rules->end(),
			 [](const packet_rule &one, const packet_rule &other) {
		return std::tie(one.prio, one.is_marked, one.of) <
		       std::tie(other.prio, other.is_marked, other.of);
	});
}

TEST(explain, a_hundred_thousand_packets_go_where_the_kernel_leads_them)
{
	chance by(7);
	unsigned unmatched = 0, lost = 0;
	for (int set = 0; set < 1000; set++) {
		test_device of(HTB);
		size_t root = of.add_node(2, NO_NODE);
		for (unsigned minor = 0x10; minor < 0x60; minor += 0x10)
			of.add_node(minor, minor == 0x30 ? 2 : root);
		for (unsigned i = by.pick(24); i > 0; i--)
			of.rules.push_back(pick_rule(&by, of.nodes.size(), 100 + i));
		sort_rules(&of.rules);
		for (int i = 0; i < 100; i++) {
			packet sent = pick_packet(&by);
			explanation it;
			explain_packet(&it, of.get(), &sent);
			unsigned expected = model_class(of, sent);
			ASSERT_EQ(it.to ? it.to->minor : 0, expected) << set << " " << i;
			size_t matching = 0;
			for (const packet_rule &rule : of.rules)
				matching += !of.nodes[rule.of].is_inner &&
					    model_matches(rule, sent);
			ASSERT_EQ(it.shadowed.count + (it.by ? 1 : 0), matching);
			unmatched += expected == 0;
			lost += it.shadowed.count > 0;
			free_list(&it.shadowed);
		}
	}
	// packets of all kinds were there
	EXPECT_GT(unmatched, 10000u);
	EXPECT_GT(lost, 10000u);
	EXPECT_LT(unmatched, 90000u);
}
