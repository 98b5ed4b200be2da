// SPDX-License-Identifier: MIT
/* Many transitions between random trees, in the kernel: kernel_transitions COUNT [SEED]
 *
 * A device goes from one tree to another by what the plan prints, through tc and
 * iptables-restore as apply runs them, and is read back by netlink: nothing may be refused, and
 * what runs must be what was asked. Every third tree is made anew, and every ninth in a world
 * of other classes. Run by in-kernel, as root. */
#include "../../kernel/kernel.h"

#include <chrono>

#include <net/if.h>

#include "../plan/kernel_model.h"
#include "../plan/random_devices.h"

static const char DEVICE[] = "eth0";
static const time_t SOME_TIME = 1000000000;

/* Finds the program that can be used here. */
static std::string find(const std::vector<std::string> &names)
{
	for (const std::string &name : names) {
		char path[256];
		if (find_program(path, sizeof(path), name.c_str()))
			return path;
	}
	fprintf(stderr, "no %s\n", names.back().c_str());
	exit(1);
}

static bool start(const std::vector<std::string> &command, const char *input, size_t size)
{
	std::vector<const char *> argv;
	for (const std::string &word : command)
		argv.push_back(word.c_str());
	argv.push_back(nullptr);
	run_result it;
	run_program(&it, argv.data(), input, size);
	bool done = it.status == 0;
	if (!done)
		fprintf(stderr, "%s: status %d: %s%s\n", argv[0], it.status, it.output, it.errors);
	free_run(&it);
	return done;
}

struct programs {
	std::string tc = find({ "tc" }), ip = find({ "ip" });
	std::string restore = find({ "iptables-legacy-restore", "iptables-restore" });
};

static bool run(const programs &by, const transition &it)
{
	for (const stage &one : it.stages) {
		bool done = one.program == RUN_TC
				    ? start({ by.tc, "-batch", "-" }, one.text, one.size)
				    : start({ by.restore, "--noflush" }, one.text, one.size);
		if (!done)
			return false;
	}
	return true;
}

static std::string text_of(const transition &it)
{
	char *text = nullptr;
	size_t size = 0;
	FILE *to = open_memstream(&text, &size);
	print_transition(to, &it, DEVICE);
	fclose(to);
	std::string copy(text, size);
	free(text);
	return copy;
}

struct sums {
	size_t transitions, rebuilds, stages, lines;
};

/* Goes to a tree from that which runs, whatever it is; was is what was asked for last. */
static bool go(const programs &by, const tree &was, const tree &shall, sums *all)
{
	tree read, found;
	if (!read_tree(&read, DEVICE, &was))
		return false;
	transition it;
	make_transition(&it, DEVICE, &read, &shall);
	char why[256] = "the batch was refused";
	bool done = run(by, it) && read_tree(&found, DEVICE, &shall) &&
		    is_same_tree(&found, &shall, why, sizeof(why));
	std::string text = text_of(it);
	if (!done)
		fprintf(stderr, "%s\n%s", why, text.c_str());
	all->transitions++;
	all->rebuilds += it.is_rebuild;
	all->stages += it.stages.count;
	all->lines += lines_of(text).size();
	free_transition(&it);
	free_tree(&read);
	return done;
}

int main(int argc, char **argv)
{
	if (argc < 2 || argc > 3) {
		fprintf(stderr, "usage: kernel_transitions COUNT [SEED]\n");
		return 2;
	}
	programs by;
	if (if_nametoindex(DEVICE) == 0 &&
	    !start({ by.ip, "link", "add", DEVICE, "type", "dummy" }, "", 0))
		return 1;
	unsigned count = static_cast<unsigned>(atoi(argv[1]));
	unsigned seed = argc > 2 ? static_cast<unsigned>(atoi(argv[2])) : 1;
	sums all = {};
	random_device was;
	tree last = {};
	random_world world(seed);
	auto begin = std::chrono::steady_clock::now();
	for (unsigned i = 0; i < count; i++) {
		if (i % 9 == 0)
			world = random_world(seed + i);
		rule_kinds kinds = static_cast<rule_kinds>(i / 9 % 3);
		random_device next = i % 3 ? world.change(was, kinds)
					   : world.make(i % 4 ? HTB : SPQ, kinds);
		read_device from(next, DEVICE);
		tree shall = {};
		if (i % 20 != 19)
			make_tree(&shall, from.get(), SOME_TIME);
		if (!go(by, last, shall, &all)) {
			fprintf(stderr, "transition %u of seed %u\n", i, seed);
			return 1;
		}
		free_tree(&last);
		last = shall;
		was = next;
	}
	auto time = std::chrono::steady_clock::now() - begin;
	printf("%zu transitions, %zu rebuilds, %zu stages, %zu lines: none refused, %lld ms\n",
	       all.transitions, all.rebuilds, all.stages, all.lines,
	       static_cast<long long>(
		       std::chrono::duration_cast<std::chrono::milliseconds>(time).count()));
	return 0;
}
