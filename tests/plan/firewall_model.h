// SPDX-License-Identifier: MIT
/* A model of the firewall's mangle table, as iptables-restore fills it: chains that are called
 * behind POSTROUTING for a device, and mark its packets. */
#ifndef TESTS_PLAN_FIREWALL_MODEL_H
#define TESTS_PLAN_FIREWALL_MODEL_H

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "../../plan/plan.h"

typedef std::vector<std::string> words;

inline words split(const std::string &line)
{
	std::istringstream from(line);
	words to;
	for (std::string word; from >> word;)
		to.push_back(word);
	return to;
}

inline words lines_of(const std::string &text)
{
	std::istringstream from(text);
	words to;
	for (std::string line; std::getline(from, line);)
		to.push_back(line);
	return to;
}

/* A packet with what explain's has, and IP options. */
struct sent_packet {
	uint32_t source = 0, destination = 0;
	int proto = UDP;
	uint16_t source_port = 0, destination_port = 0;
	unsigned tos = 0;
	bool is_later_fragment = false, has_options = false;
};

inline bool parse_network(const std::string &text, uint32_t *address, uint32_t *mask)
{
	unsigned a, b, c, d, length;
	int end = 0;
	if (sscanf(text.c_str(), "%3u.%3u.%3u.%3u/%2u%n", &a, &b, &c, &d, &length, &end) != 5 ||
	    static_cast<size_t>(end) != text.size() || length > 32 || a > 255 || b > 255 ||
	    c > 255 || d > 255)
		return false;
	*address = a << 24 | b << 16 | c << 8 | d;
	*mask = length == 0 ? 0 : ~0U << (32 - length);
	return true;
}

class firewall_model {
public:
	/* What others marked before. */
	static constexpr unsigned OTHERS_MARK = 0xabc00042;

	/* A whole input, which takes effect at once or not at all. Returns why it is refused. */
	std::string take_restore(const std::string &text)
	{
		firewall_model before = *this;
		words input = lines_of(text);
		if (input.size() < 2 || input.front() != "*mangle" || input.back() != "COMMIT" ||
		    text.back() != '\n')
			return "no whole table";
		for (size_t i = 1; i + 1 < input.size(); i++) {
			std::string error = take_line(input[i]);
			if (error.empty())
				continue;
			*this = before;
			return error + " (" + input[i] + ")";
		}
		return "";
	}

	unsigned get_mark(const std::string &device, const sent_packet &sent) const
	{
		unsigned mark = OTHERS_MARK;
		for (const auto &[out, chain] : calls) {
			if (out != device)
				continue;
			for (const rule &one : chains.at(chain))
				run(one, sent, &mark);
		}
		return mark;
	}

	/* The rules, as iptables-save prints them. */
	words get_lines() const
	{
		words lines;
		for (const auto &[name, chain] : chains) {
			for (const rule &one : chain)
				lines.push_back(one.line);
		}
		for (const auto &[out, chain] : calls)
			lines.push_back("-A POSTROUTING -o " + out + " -j " + chain);
		return lines;
	}

private:
	/* A value, and the bits of it that count. */
	struct bits {
		uint32_t value = 0, mask = 0;

		bool fit(uint32_t asked) const { return (asked & mask) == value; }
	};
	struct ports {
		bool are_asked = false;
		int first = 0, last = 0xffff;
	};
	struct rule {
		std::string line;
		bits source, destination, tos, mark, set;
		int proto = -1;
		ports from, to;
	};

	std::map<std::string, std::vector<rule>> chains;
	std::vector<std::pair<std::string, std::string>> calls; // device, chain

	/* --- lines --- */

	std::string take_line(const std::string &line)
	{
		words parts = split(line);
		if (parts.size() == 3 && parts[0][0] == ':') {
			chains[parts[0].substr(1)].clear(); // made, or emptied
			return "";
		}
		if (parts.size() == 2 && parts[0] == "-X")
			return remove_chain(parts[1]);
		if (parts.size() < 4)
			return "Bad rule";
		if (parts[1] == "POSTROUTING")
			return take_call(parts);
		if (parts[0] != "-A" || chains.count(parts[1]) == 0)
			return "No chain";
		rule made;
		made.line = line;
		if (!take_rule(&made, parts))
			return "Bad rule";
		chains[parts[1]].push_back(made);
		return "";
	}

	std::string remove_chain(const std::string &name)
	{
		for (const auto &call : calls) {
			if (call.second == name)
				return "Too many links";
		}
		return chains.erase(name) != 0 ? "" : "No chain";
	}

	std::string take_call(const words &parts)
	{
		if (parts.size() != 6 || parts[2] != "-o" || parts[4] != "-j")
			return "Bad rule";
		std::pair<std::string, std::string> call = { parts[3], parts[5] };
		if (chains.count(call.second) == 0)
			return "No chain";
		if (parts[0] == "-A") {
			calls.push_back(call);
			return "";
		}
		auto found = std::find(calls.begin(), calls.end(), call);
		if (parts[0] != "-D" || found == calls.end())
			return "Bad rule (does a matching rule exist in that chain?)";
		calls.erase(found);
		return "";
	}

	static bool take_bits(bits *to, const std::string &text)
	{
		int end = 0;
		return sscanf(text.c_str(), "0x%x/0x%x%n", &to->value, &to->mask, &end) == 2 &&
		       static_cast<size_t>(end) == text.size();
	}

	static bool take_ports(ports *to, const std::string &text)
	{
		int end = 0;
		to->are_asked = true;
		if (sscanf(text.c_str(), "%d%n", &to->first, &end) != 1)
			return false;
		to->last = to->first;
		if (static_cast<size_t>(end) == text.size())
			return true;
		return sscanf(text.c_str() + end, ":%d", &to->last) == 1;
	}

	static bool take_rule(rule *to, const words &parts)
	{
		size_t i = 2;
		for (; i + 1 < parts.size() && parts[i] != "-j"; i += 2) {
			if (!take_option(to, parts[i], parts[i + 1]))
				return false;
		}
		return parts.size() == i + 4 && parts[i + 1] == "MARK" &&
		       parts[i + 2] == "--set-xmark" && take_bits(&to->set, parts[i + 3]);
	}

	static bool take_option(rule *to, const std::string &word, const std::string &value)
	{
		if (word == "-s")
			return parse_network(value, &to->source.value, &to->source.mask);
		if (word == "-d")
			return parse_network(value, &to->destination.value, &to->destination.mask);
		if (word == "-p") {
			to->proto = value == "tcp" ? TCP : UDP;
			return value == "tcp" || value == "udp";
		}
		if (word == "--sport")
			return to->proto > 0 && take_ports(&to->from, value);
		if (word == "--dport")
			return to->proto > 0 && take_ports(&to->to, value);
		if (word == "--tos")
			return take_bits(&to->tos, value);
		if (word == "--mark")
			return take_bits(&to->mark, value);
		return word == "-m";
	}

	/* --- packets --- */

	static bool fit(const ports &asked, const sent_packet &sent, uint16_t port)
	{
		return !asked.are_asked ||
		       (!sent.is_later_fragment && asked.first <= port && port <= asked.last);
	}

	static void run(const rule &it, const sent_packet &sent, unsigned *mark)
	{
		if (it.mark.fit(*mark) && it.source.fit(sent.source) &&
		    it.destination.fit(sent.destination) && (it.proto < 0 || it.proto == sent.proto) &&
		    it.tos.fit(sent.tos) && fit(it.from, sent, sent.source_port) &&
		    fit(it.to, sent, sent.destination_port))
			*mark = (*mark & ~it.set.mask) ^ it.set.value;
	}
};

#endif
