// SPDX-License-Identifier: MIT
/* Random scripts and packets that have much to do with each other, and the class of a packet as the
 * scripts foretell it. */
#ifndef TESTS_KERNEL_TREES_H
#define TESTS_KERNEL_TREES_H

#include <random>

#include "machine.h"
#include "sender.h"

/* The same numbers from the same seed, on every machine. */
class random_source {
public:
	explicit random_source(unsigned seed) : engine(seed) {}
	unsigned below(unsigned end) { return static_cast<unsigned>(engine() % end); }
	bool once_in(unsigned n) { return below(n) == 0; }
	template <typename row, size_t count> const row &one_of(const row (&rows)[count])
	{
		return rows[below(count)];
	}

private:
	std::mt19937 engine;
};

/* An HTB device of three levels with a default class, and a strict-priority device; their rules
 * overlap. No class is so slow that it holds packets. */
scripts random_tree(const std::string &device, random_source &from);
scripts random_bands(const std::string &device, random_source &from);

/* A packet of which many a rule of them holds. */
packet random_packet(random_source &from);

/* What the scripts say of packets that leave a device. */
class foretold {
public:
	foretold(const scripts &set, const std::string &device);
	~foretold();
	foretold(const foretold &) = delete;
	foretold &operator=(const foretold &) = delete;
	uint32_t class_of(const packet &it) const; // 0 for unshaped
	bool has(uint32_t id) const;
	bool is_inner(uint32_t id) const;

private:
	const node *find(uint32_t id) const;
	script_set texts = {};
	plan read = {};
	device *of;
};

/* Sends them, and each must come to this class. */
void expect_arrivals(const std::string &device, uint32_t id, const std::vector<packet> &sent);

/* The words of "explain" for a tcp or udp packet, with --json. */
words explain_words(const std::string &device, const packet &it);

#endif
