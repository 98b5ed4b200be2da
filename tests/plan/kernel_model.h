// SPDX-License-Identifier: MIT
/* A model of what the kernel makes of lines of tc and of input of iptables-restore: it refuses
 * what the kernel was seen to refuse, does in silence what the kernel does in silence, tells
 * the class of a packet from the bytes of its header, and answers what a reader of the kernel
 * would find. It takes the text alone, and shares nothing with the code that writes it. */
#ifndef TESTS_PLAN_KERNEL_MODEL_H
#define TESTS_PLAN_KERNEL_MODEL_H

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "firewall_model.h"

class kernel_model {
public:
	static constexpr unsigned DIRECT = 0, BY_TOS = 0x10000;

	std::string device = "eth0";
	std::string refusal; // of the last line that was refused
	bool is_there = false;
	unsigned default_minor = 0, r2q = 10, major = 0;
	bool is_prio = false;
	unsigned parents_not_there = 0; // each made a root class in silence

	/* One line of a batch. Returns false, with the reason in refusal, where tc or the kernel
	 * refuses it; then nothing has changed. */
	bool take_tc(const std::string &line)
	{
		at = 0;
		line_words = split(line);
		if (line_words.empty() || line_words[0][0] == '#')
			return true;
		std::string object = next(), verb = next();
		if (next() != "dev" || next() != device)
			return refuse("no such device", line);
		std::string error;
		if (object == "qdisc")
			error = take_qdisc(verb);
		else if (object == "class")
			error = take_class(verb);
		else if (object == "filter")
			error = take_filter(verb);
		else
			error = "no such object";
		if (error.empty() && at < line_words.size())
			error = "words left over";
		return error.empty() || refuse(error, line);
	}

	/* A whole input, which takes effect at once or not at all. */
	bool take_restore(const std::string &text)
	{
		std::string error = rules.take_restore(text);
		return error.empty() || refuse(error, text);
	}

	/* The minor of the class in which the packet is queued, or one of the constants. */
	unsigned find_class_of(const sent_packet &sent) const
	{
		return find_class_of(sent, get_mark(sent));
	}

	unsigned find_class_of(const sent_packet &sent, unsigned mark) const
	{
		if (!is_there)
			return DIRECT;
		unsigned found = classify(sent, mark);
		if (is_prio)
			return found >= 1 && found <= 3 ? found : BY_TOS;
		if (is_leaf(found))
			return found;
		return is_leaf(default_minor) ? default_minor : DIRECT;
	}

	/* The mark that the packet has behind POSTROUTING. */
	unsigned get_mark(const sent_packet &sent) const { return rules.get_mark(device, sent); }

	/* Whether the class is there. */
	bool has_class(unsigned minor) const { return classes.count(minor) != 0; }

	/* What a reader would find; free_tree releases it. */
	void read(tree *to) const
	{
		*to = {};
		to->is_there = is_there;
		read_chain(to);
		if (!is_there)
			return;
		to->kind = is_prio ? SPQ : HTB;
		if (!is_prio) {
			to->r2q = r2q;
			to->otherwise = default_minor;
		}
		read_classes(to, 0);
		read_filters(to);
	}

	size_t count_filters() const
	{
		size_t count = 0;
		for (const auto &[prio, it] : priorities)
			count += it.u32.size() + it.fw.size();
		return count;
	}

	size_t count_priorities() const { return priorities.size(); }

private:
	struct model_class {
		unsigned parent;
		uint64_t rate, ceil, burst, cburst; // bytes a second, bytes
		unsigned prio;
		std::string leaf; // empty: the kernel's own
		std::map<std::string, uint64_t> leaf_values;
		unsigned bound_filters;
	};
	struct key {
		uint32_t value, mask;
		int offset;
	};
	struct model_filter {
		std::vector<key> keys;
		unsigned to;
		bool is_bound; // the class was there when it was made
	};
	struct priority {
		bool is_u32;
		uint32_t table; // of u32
		std::map<unsigned, model_filter> u32, fw;
	};
	std::map<unsigned, model_class> classes;
	std::map<unsigned, priority> priorities;
	uint32_t next_table = 0x800;
	firewall_model rules;
	words line_words;
	size_t at = 0;

	bool refuse(const std::string &why, const std::string &line)
	{
		refusal = why + ": " + line;
		return false;
	}

	/* --- words --- */

	std::string next() { return at < line_words.size() ? line_words[at++] : ""; }

	bool skip(const std::string &word)
	{
		if (at >= line_words.size() || line_words[at] != word)
			return false;
		at++;
		return true;
	}

	static bool parse(const std::string &text, int base, uint64_t *to)
	{
		if (text.empty() || !isxdigit(static_cast<unsigned char>(text[0])))
			return false;
		char *end;
		*to = strtoull(text.c_str(), &end, base);
		return !*end;
	}

	/* "1:10"; the major alone gives 0. */
	bool parse_id(const std::string &text, unsigned *minor) const
	{
		size_t colon = text.find(':');
		uint64_t left = 0, right = 0;
		if (colon == std::string::npos || !parse(text.substr(0, colon), 16, &left))
			return false;
		std::string rest = text.substr(colon + 1);
		if (!rest.empty() && !parse(rest, 16, &right))
			return false;
		*minor = static_cast<unsigned>(right);
		return (major == 0 || left == major) && right <= 0xffff;
	}

	/* A figure with its unit, which must stand there. */
	static bool parse_figure(std::string text, const std::string &unit, uint64_t *to)
	{
		if (text.size() <= unit.size() ||
		    text.compare(text.size() - unit.size(), unit.size(), unit) != 0)
			return false;
		text.resize(text.size() - unit.size());
		return text.find_first_not_of("0123456789") == std::string::npos &&
		       parse(text, 10, to);
	}

	/* --- classes --- */

	bool has_child(unsigned minor) const
	{
		return std::any_of(classes.begin(), classes.end(),
				   [=](const auto &it) { return it.second.parent == minor; });
	}

	bool is_leaf(unsigned minor) const { return has_class(minor) && !has_child(minor); }

	/* A burst is kept as a time: microseconds, then ticks of 64 ns. */
	static uint64_t keep_burst(uint64_t bytes, uint64_t rate, uint64_t mtu)
	{
		if (bytes == 0)
			bytes = rate / 1000000000 + (mtu ? mtu : 1600);
		double each = static_cast<double>(rate);
		auto microseconds = static_cast<uint64_t>(1e6 * (static_cast<double>(bytes) / each));
		uint64_t ticks = microseconds * 1000 / 64;
		return static_cast<uint64_t>(static_cast<double>(ticks) * 64e-9 * each);
	}

	std::string take_rates(model_class *it)
	{
		uint64_t bits, mtu = 0, prio = 0, burst = 0, cburst = 0;
		if (!skip("htb") || !skip("rate") || !parse_figure(next(), "bit", &bits) || bits < 8)
			return "rate";
		it->rate = it->ceil = bits / 8;
		if (skip("ceil")) {
			if (!parse_figure(next(), "bit", &bits) || bits < 8)
				return "ceil";
			it->ceil = bits / 8;
		}
		if (skip("burst") && !parse_figure(next(), "b", &burst))
			return "burst";
		if (skip("cburst") && !parse_figure(next(), "b", &cburst))
			return "cburst";
		if (skip("prio") && !parse(next(), 10, &prio))
			return "prio";
		if (skip("mtu") && !parse(next(), 10, &mtu))
			return "mtu";
		it->burst = keep_burst(burst, it->rate, mtu);
		it->cburst = keep_burst(cburst, it->ceil, mtu);
		it->prio = static_cast<unsigned>(std::min<uint64_t>(prio, 7));
		return "";
	}

	std::string take_class(const std::string &verb)
	{
		if (!is_there || is_prio)
			return "no classes here";
		unsigned parent = 0, minor = 0;
		if (verb != "del" && (!skip("parent") || !parse_id(next(), &parent)))
			return "parent";
		if (!skip("classid") || !parse_id(next(), &minor) || minor == 0)
			return "classid";
		if (verb == "del")
			return remove_class(minor);
		model_class made = {};
		std::string error = take_rates(&made);
		if (!error.empty())
			return error;
		if (verb == "add")
			return add_class(minor, parent, made);
		if (verb == "change")
			return change_class(minor, made);
		return "verb";
	}

	std::string add_class(unsigned minor, unsigned parent, model_class made)
	{
		if (has_class(minor))
			return "File exists";
		if (parent != 0 && !has_class(parent)) {
			parents_not_there++; // it becomes a root class
			parent = 0;
		}
		unsigned depth = 1;
		for (unsigned up = parent; up != 0; up = classes[up].parent)
			depth++;
		if (depth > 8)
			return "too deep";
		if (parent != 0 && !classes[parent].leaf.empty()) {
			classes[parent].leaf.clear();
			classes[parent].leaf_values.clear();
		}
		made.parent = parent;
		classes[minor] = made;
		return "";
	}

	std::string change_class(unsigned minor, const model_class &made)
	{
		if (!has_class(minor))
			return "No such file or directory";
		model_class *it = &classes[minor];
		it->rate = made.rate;
		it->ceil = made.ceil;
		it->burst = made.burst;
		it->cburst = made.cburst;
		if (!has_child(minor)) // else the kernel keeps what it had, and says nothing
			it->prio = made.prio;
		return "";
	}

	std::string remove_class(unsigned minor)
	{
		if (!has_class(minor))
			return "No such file or directory";
		if (has_child(minor) || classes[minor].bound_filters > 0)
			return "Device or resource busy";
		classes.erase(minor);
		return "";
	}

	/* --- qdiscs --- */

	std::string take_qdisc(const std::string &verb)
	{
		if (skip("root"))
			return verb == "add" ? add_root() : verb == "del" ? remove_root() : "verb";
		unsigned minor;
		if (!is_there || is_prio || !skip("parent") || !parse_id(next(), &minor))
			return "parent";
		if (!is_leaf(minor))
			return has_class(minor) ? "Invalid argument" : "Specified class not found";
		return take_leaf(verb, &classes[minor]);
	}

	std::string add_root()
	{
		if (is_there)
			return "Exclusivity flag on";
		uint64_t value;
		if (!skip("handle"))
			return "handle";
		std::string handle = next();
		major = static_cast<unsigned>(atoi(handle.c_str()));
		is_prio = skip("prio");
		default_minor = 0;
		r2q = 10;
		if (is_prio && !(handle == "2:" && skip("bands") && next() == "3"))
			return "prio";
		if (!is_prio) {
			if (handle != "1:" || !skip("htb") || !skip("default") ||
			    !parse(next(), 16, &value))
				return "htb";
			default_minor = static_cast<unsigned>(value);
			if (skip("r2q")) {
				if (!parse(next(), 10, &value) || value == 0)
					return "r2q";
				r2q = static_cast<unsigned>(value);
			}
		}
		is_there = true;
		return "";
	}

	std::string remove_root()
	{
		if (!is_there)
			return "Cannot delete qdisc with handle of zero";
		is_there = false;
		major = 0;
		classes.clear();
		priorities.clear();
		next_table = 0x800;
		return "";
	}

	std::string take_leaf(const std::string &verb, model_class *of)
	{
		if (verb == "del") {
			if (of->leaf.empty())
				return "Cannot delete qdisc with handle of zero";
			of->leaf.clear();
			of->leaf_values.clear();
			return "";
		}
		std::string kind = next();
		std::map<std::string, uint64_t> values;
		if (kind != "sfq" && kind != "pfifo" && kind != "bfifo")
			return "Unknown qdisc";
		for (const char *name : { "perturb", "quantum", "limit" }) {
			if (skip(name) && !parse(next(), 10, &values[name]))
				return "value";
		}
		if (values.count("limit") != 0 && kind == "sfq")
			return "limit";
		if (values.count("limit") == 0 && kind != "sfq" && !values.empty())
			return "What is that";
		return put_leaf(verb, of, kind, values);
	}

	static std::string put_leaf(const std::string &verb, model_class *of, const std::string &kind,
				    const std::map<std::string, uint64_t> &values)
	{
		if (verb == "add" && !of->leaf.empty())
			return "Exclusivity flag on";
		if (verb == "change" && of->leaf != kind)
			return "Invalid qdisc name";
		if (verb != "add" && of->leaf == kind && kind == "sfq")
			return "Change operation not supported by specified qdisc";
		if (of->leaf != kind)
			of->leaf_values = own_values(kind);
		of->leaf = kind;
		for (const auto &[name, value] : values)
			of->leaf_values[name] = value;
		return "";
	}

	static std::map<std::string, uint64_t> own_values(const std::string &kind)
	{
		if (kind == "sfq")
			return { { "quantum", 1514 }, { "perturb", 0 } };
		return { { "limit", kind == "pfifo" ? 1000 : 1514000 } };
	}

	/* --- filters --- */

	std::string take_filter(const std::string &verb)
	{
		unsigned parent;
		uint64_t prio, number = 0;
		if (!is_there || !skip("parent") || !parse_id(next(), &parent) || parent != 0)
			return "parent";
		if (!skip("protocol") || next() != "ip")
			return "protocol";
		if (!skip("prio") || !parse(next(), 10, &prio) || prio == 0 || prio > 65535)
			return "prio";
		unsigned place = static_cast<unsigned>(prio);
		std::string handle = skip("handle") ? next() : "";
		bool is_u32 = skip("u32");
		if (!is_u32 && !skip("fw"))
			return "kind";
		if (priorities.count(place) != 0 && priorities[place].is_u32 != is_u32)
			return "Specified filter kind does not match existing one";
		if (is_u32)
			return take_u32(verb, place, handle);
		size_t slash = handle.find('/');
		if (handle.substr(0, 2) != "0x" || !parse(handle.substr(2, slash - 2), 16, &number) ||
		    number == 0 || number > 0xffff)
			return "handle";
		if (verb != "del" && handle.substr(slash + 1) != "0xffff")
			return "Invalid argument"; // one mask a priority
		return take_fw(verb, place, static_cast<unsigned>(number));
	}

	std::string take_flow(model_filter *it)
	{
		if (!skip("flowid") || !parse_id(next(), &it->to) || it->to == 0)
			return "flowid";
		return "";
	}

	void bind(model_filter *it, bool is_bound)
	{
		if (is_bound && !has_class(it->to))
			return; // found by its number at each packet
		if (is_bound == it->is_bound)
			return;
		it->is_bound = is_bound;
		if (has_class(it->to))
			classes[it->to].bound_filters += is_bound ? 1U : -1U;
	}

	std::string take_fw(const std::string &verb, unsigned prio, unsigned mark)
	{
		bool is_known = priorities.count(prio) != 0 && priorities[prio].fw.count(mark) != 0;
		if (verb == "del") {
			if (!is_known)
				return "Specified filter handle not found";
			bind(&priorities[prio].fw[mark], false);
			priorities[prio].fw.erase(mark);
			if (priorities[prio].fw.empty())
				priorities.erase(prio);
			return "";
		}
		if (verb != "add" && verb != "change")
			return "verb";
		if (is_known == (verb == "add"))
			return is_known ? "Filter already exists" : "Need both RTM_NEWTFILTER";
		model_filter made = {};
		std::string error = take_flow(&made);
		if (!error.empty())
			return error;
		if (is_known)
			bind(&priorities[prio].fw[mark], false);
		priorities[prio].is_u32 = false;
		priorities[prio].fw[mark] = made;
		bind(&priorities[prio].fw[mark], true);
		return "";
	}

	std::string take_u32(const std::string &verb, unsigned prio, const std::string &handle)
	{
		if (verb == "del" && handle.empty())
			return remove_priority(prio);
		size_t first = handle.find(':'), last = handle.rfind(':');
		uint64_t table = 0, number;
		if (first == last || last - first != 1 || !parse(handle.substr(last + 1), 16, &number) ||
		    number == 0 || number > 0xfff ||
		    (first != 0 && !parse(handle.substr(0, first), 16, &table)))
			return "Illegal filter ID";
		unsigned place = static_cast<unsigned>(number);
		if (verb == "del")
			return remove_u32(prio, static_cast<uint32_t>(table), place);
		if (verb != "add" || table != 0)
			return "verb"; // a change keeps the old match
		return add_u32(prio, place);
	}

	std::string remove_priority(unsigned prio)
	{
		if (priorities.count(prio) == 0)
			return "Filter with specified priority/protocol not found";
		for (auto &[place, it] : priorities[prio].u32)
			bind(&it, false);
		priorities.erase(prio);
		return "";
	}

	/* Without the table's number the kernel finds none; the table stays when the last goes. */
	std::string remove_u32(unsigned prio, uint32_t table, unsigned place)
	{
		if (priorities.count(prio) == 0 || priorities[prio].table != table ||
		    priorities[prio].u32.count(place) == 0)
			return "Specified filter handle not found";
		bind(&priorities[prio].u32[place], false);
		priorities[prio].u32.erase(place);
		return "";
	}

	std::string add_u32(unsigned prio, unsigned place)
	{
		model_filter made = {};
		while (skip("match")) {
			key one;
			std::string error = take_key(&one);
			if (!error.empty())
				return error;
			made.keys.push_back(one);
		}
		if (made.keys.empty())
			return "Illegal match";
		std::string error = take_flow(&made);
		if (!error.empty())
			return error;
		if (priorities.count(prio) != 0 && priorities[prio].u32.count(place) != 0)
			return "No space left on device";
		if (priorities.count(prio) == 0) {
			priorities[prio].is_u32 = true;
			priorities[prio].table = next_table++;
		}
		priorities[prio].u32[place] = made;
		bind(&priorities[prio].u32[place], true);
		return "";
	}

	static key make_key(uint64_t value, uint64_t mask, int byte, int width)
	{
		int shift = (4 - width - byte % 4) * 8;
		return { static_cast<uint32_t>((value & mask) << shift),
			 static_cast<uint32_t>(mask << shift), byte / 4 * 4 };
	}

	/* "match" has been taken. */
	std::string take_key(key *to)
	{
		std::string kind = next();
		if (kind == "ip")
			return take_ip_key(to, next());
		int width = kind == "u8" ? 1 : kind == "u16" ? 2 : kind == "u32" ? 4 : 0;
		uint64_t value, mask, byte;
		if (width == 0 || !parse(next(), 0, &value) || !parse(next(), 16, &mask) ||
		    !skip("at") || !parse(next(), 10, &byte) || byte > 23)
			return "Illegal match";
		*to = make_key(value, mask, static_cast<int>(byte), width);
		return "";
	}

	std::string take_ip_key(key *to, const std::string &field)
	{
		if (field == "src" || field == "dst") {
			uint32_t address, mask;
			if (!parse_network(next(), &address, &mask))
				return "Illegal match";
			*to = { address & mask, mask, field == "src" ? 12 : 16 };
			return "";
		}
		static const std::map<std::string, std::pair<int, int>> fields = {
			{ "ihl", { 0, 1 } },     { "tos", { 1, 1 } },    { "protocol", { 9, 1 } },
			{ "sport", { 20, 2 } }, { "dport", { 22, 2 } },
		};
		uint64_t value, mask;
		if (fields.count(field) == 0 || !parse(next(), 0, &value) || !parse(next(), 16, &mask))
			return "Illegal match";
		auto [byte, width] = fields.at(field);
		*to = make_key(value, mask, byte, width);
		return "";
	}

	/* --- packets --- */

	static bool matches(const key &asked, const sent_packet &sent)
	{
		uint32_t header[6] = {
			(sent.has_options ? 0x46000000U : 0x45000000U) | sent.tos << 16 | 100,
			sent.is_later_fragment ? 100U : 0U,
			64U << 24 | static_cast<uint32_t>(sent.proto) << 16,
			sent.source,
			sent.destination,
			static_cast<uint32_t>(sent.source_port) << 16 | sent.destination_port,
		};
		if (sent.has_options || sent.is_later_fragment)
			header[5] = 0x00500050; // what stands there is no port
		return (header[asked.offset / 4] & asked.mask) == asked.value;
	}

	unsigned classify(const sent_packet &sent, unsigned mark) const
	{
		for (const auto &[prio, it] : priorities) {
			if (!it.is_u32) {
				auto found = it.fw.find(mark & 0xffff);
				if (found != it.fw.end())
					return found->second.to;
				continue;
			}
			for (const auto &[place, one] : it.u32) {
				if (std::all_of(one.keys.begin(), one.keys.end(),
						[&](const key &asked) { return matches(asked, sent); }))
					return one.to;
			}
		}
		return 0;
	}

	/* --- reading back --- */

	void read_leaf(leaf *to, const model_class &from) const
	{
		static const std::map<std::string, leaf_kind> kinds = {
			{ "", LEAF_OWN }, { "sfq", LEAF_SFQ }, { "pfifo", LEAF_PFIFO },
			{ "bfifo", LEAF_BFIFO },
		};
		to->kind = kinds.at(from.leaf);
		for (const auto &[name, value] : from.leaf_values) {
			(name == "quantum"   ? to->has_quantum
			 : name == "perturb" ? to->has_perturb
					     : to->has_limit) = true;
			(name == "quantum" ? to->quantum : name == "perturb" ? to->perturb : to->limit) =
				value;
		}
	}

	void read_classes(tree *to, unsigned parent) const
	{
		for (const auto &[minor, from] : classes) {
			if (from.parent != parent)
				continue;
			tree_class *it = add_item(&to->classes);
			it->minor = minor;
			it->parent = parent;
			it->at = { from.rate * 8, from.ceil * 8, from.burst, from.cburst };
			it->prio = from.prio;
			read_leaf(&it->below, from);
			read_classes(to, minor);
		}
	}

	void read_filters(tree *to) const
	{
		for (const auto &[prio, from] : priorities) {
			for (const auto &[mark, one] : from.fw) {
				tree_filter *it = add_item(&to->filters);
				it->kind = FILTER_FW;
				it->prio = prio;
				it->handle = it->whole_handle = mark;
				it->to = one.to;
			}
			for (const auto &[place, one] : from.u32) {
				tree_filter *it = add_item(&to->filters);
				it->kind = FILTER_U32;
				it->prio = prio;
				it->handle = place;
				it->whole_handle = from.table << 20 | place;
				it->packet = read_match(one.keys);
				it->to = one.to;
			}
		}
	}

	static network read_network(const key &from)
	{
		return { from.value, __builtin_popcount(from.mask) };
	}

	static match read_match(const std::vector<key> &keys)
	{
		match it = {};
		it.tos = ANY_TOS;
		for (const key &one : keys) {
			if (one.offset == 12)
				it.source = read_network(one);
			if (one.offset == 16)
				it.destination = read_network(one);
			if (one.offset == 0 && one.mask == 0x00e00000)
				it.tos = static_cast<int>(one.value >> 21);
			if (one.offset == 8)
				it.proto = static_cast<int>(one.value >> 16);
			if (one.offset != 20)
				continue;
			if (one.mask >> 16) {
				it.source_port = static_cast<uint16_t>(one.value >> 16);
				it.source_mask = static_cast<uint16_t>(one.mask >> 16);
			} else {
				it.destination_port = static_cast<uint16_t>(one.value);
				it.destination_mask = static_cast<uint16_t>(one.mask);
			}
		}
		return it;
	}

	void read_chain(tree *to) const
	{
		for (const std::string &line : rules.get_lines())
			take_saved_line(to, device.c_str(), line.c_str());
	}
};

#endif
