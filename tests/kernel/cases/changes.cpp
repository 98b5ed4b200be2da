// SPDX-License-Identifier: MIT
/* From one tree to another while packets pass: after each line that tc runs, every packet is in the
 * class of before or of after, and what a class has counted stays. */
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "../support/machine.h"
#include "../support/sender.h"
#include "../support/steps.h"
#include "../support/trees.h"
#include "../support/witness.h"

class changes : public router {
};

static const std::string RULE_A = "RULE=0.0.0.0/0:0/0x0,203.0.113.0/24:80/0xffff;tcp. PRIORULE=2";
static const std::string RULE_B = "RULE=192.168.1.64/26:0/0x0,0.0.0.0/0:0/0x0;. PRIORULE=3";
static const std::string RULE_C = "RULE=0.0.0.0/0:0/0x0,0.0.0.0/0:443/0xffff;. PRIORULE=2";
static const std::string MARK_A =
	"PRIORULE=2 IPTRULE=0.0.0.0/0:0,0.0.0.0/0:5060-5061;udp. MARK=100";
static const std::string MARK_B = "PRIORULE=3 IPTRULE=192.168.1.0/24:0,0.0.0.0/0:0;udp. MARK=101";

/* Packets that the rules above and none of them match. */
static std::vector<packet> flows()
{
	std::vector<packet> all;
	for (const char *text : {
		"tcp 192.168.1.5:9 203.0.113.10:80 0",
		"tcp 192.168.1.77:9 203.0.113.10:80 0",
		"tcp 192.168.1.77:9 198.51.100.1:443 0",
		"udp 192.168.1.5:9 198.51.100.1:443 0",
		"udp 192.168.1.77:9 198.51.100.1:53 0",
		"udp 10.9.0.1:9 198.51.100.1:5060 0",
		"udp 192.168.1.5:9 198.51.100.1:5061 0",
		"udp 192.168.1.5:9 198.51.100.1:99 0",
		"tcp 10.9.0.1:9 198.51.100.1:22 0",
		"1 192.168.1.77 198.51.100.1 0",
	})
		all.push_back(packet_of(text));
	return all;
}

static scripts tree_of(const std::string &first, const std::string &second,
		    const std::string &more = "", const std::string &lines = "")
{
	words classes = { "2 root 900Mbps", "2:1000 rest 100Mbps", "2:10 first " + first,
			  "2:20 second " + second };
	if (!more.empty())
		classes.push_back(more);
	return htb("eth0", classes, lines);
}

struct change {
	const char *what;
	scripts before, after;
	bool is_rebuild;
};

static std::vector<change> all_changes()
{
	const std::string a = "100Mbps " + RULE_A, b = "200Mbps " + RULE_B;
	const scripts base = tree_of(a, b);
	return {
		{ "a rate", base, tree_of("110Mbps " + RULE_A, b), false },
		{ "rate, ceil, bursts and priority",
		  base,
		  tree_of("110Mbps CEIL=120Mbps BURST=20KB CBURST=30KB PRIO=3 " + RULE_A, b),
		  false },
		{ "a rule goes to another class", base,
		  tree_of("100Mbps", b + " " + RULE_A), false },
		{ "a rule more", base, tree_of(a + " " + RULE_C, b), false },
		{ "a rule less", tree_of(a + " " + RULE_C, b), base, false },
		{ "a rule that wins where another did", base,
		  tree_of(a, b + " RULE=0.0.0.0/0:0/0x0,0.0.0.0/0:80/0xffff;tcp. PRIORULE=1"),
		  false },
		{ "two rules of one priority change places", tree_of(a + " " + RULE_C, b),
		  tree_of("100Mbps " + RULE_C + " " + RULE_A, b), false },
		{ "two rules change classes", tree_of("100Mbps " + RULE_A, "100Mbps " + RULE_C),
		  tree_of("100Mbps " + RULE_C, "100Mbps " + RULE_A), false },
		{ "two marks change classes", tree_of("100Mbps " + MARK_A, "100Mbps " + MARK_B),
		  tree_of("100Mbps " + MARK_B, "100Mbps " + MARK_A), false },
		{ "a mark is of another rule", tree_of("100Mbps " + MARK_A, "100Mbps " + MARK_B),
		  tree_of("100Mbps PRIORULE=2 IPTRULE=0.0.0.0/0:0,0.0.0.0/0:99;udp. MARK=100",
		       "100Mbps " + MARK_B), false },
		{ "marks are numbered anew", tree_of("100Mbps " + MARK_A, "100Mbps " + MARK_B),
		  tree_of("100Mbps PRIORULE=2 IPTRULE=0.0.0.0/0:0,0.0.0.0/0:5060-5061;udp. "
			  "MARK=101",
		       "100Mbps PRIORULE=3 IPTRULE=192.168.1.0/24:0,0.0.0.0/0:0;udp. "
			  "MARK=100"), false },
		{ "a rule becomes a mark", tree_of("100Mbps " + RULE_A, "100Mbps " + RULE_C),
		  tree_of("100Mbps PRIORULE=2 IPTRULE=0.0.0.0/0:0,203.0.113.0/24:80;tcp. MARK=9",
		       "100Mbps " + RULE_C), false },
		{ "the first mark", tree_of("100Mbps " + RULE_A, "100Mbps"),
		  tree_of("100Mbps " + RULE_A, "100Mbps " + MARK_A), false },
		{ "the last mark goes", tree_of("100Mbps " + RULE_A, "100Mbps " + MARK_A),
		  tree_of("100Mbps " + RULE_A, "100Mbps"), false },
		{ "a class more, with a rule", base,
		  tree_of(a, b, "2:30 third 50Mbps LEAF=sfq " + RULE_C), false },
		{ "a class less, with its rule",
		  tree_of(a, b, "2:30 third 50Mbps " + RULE_C), base, false },
		{ "a leaf of another kind", tree_of("100Mbps LEAF=sfq " + RULE_A, b),
		  tree_of("100Mbps LEAF=pfifo LIMIT=50 " + RULE_A, b), false },
		{ "a leaf's values", tree_of("100Mbps LEAF=sfq PERTURB=10 " + RULE_A, b),
		  tree_of("100Mbps LEAF=sfq PERTURB=5 QUANTUM=3000 " + RULE_A, b), false },
		{ "a leaf goes", tree_of("100Mbps LEAF=sfq " + RULE_A, b), base, false },
		{ "a class with rules gets a child", base,
		  tree_of(a, b, "2:20:30 third 50Mbps " + RULE_C), false },
		{ "a class with rules loses its child",
		  tree_of(a, b, "2:20:30 third 50Mbps " + RULE_C), base, false },
		{ "a class without rules gets a child", tree_of(a, "90Mbps"),
		  tree_of(a, "90Mbps", "2:20:30 third 50Mbps " + RULE_C), false },
		{ "a class without rules loses its child",
		  tree_of(a, "90Mbps", "2:20:30 third 50Mbps " + RULE_C),
		  tree_of(a, "90Mbps"), false },
		{ "the default class gets a child", tree_of(a, b),
		  tree_of(a, b, "2:1000:30 third 50Mbps " + RULE_C), false },
		{ "the default class loses its child",
		  tree_of(a, b, "2:1000:30 third 50Mbps " + RULE_C), tree_of(a, b), false },
		{ "another parent", tree_of(a, b, "2:10:30 third 50Mbps " + RULE_C),
		  tree_of(a, b, "2:20:30 third 50Mbps " + RULE_C), true },
		{ "another r2q", base, tree_of(a, b, "", "R2Q=20\n"), true },
		{ "bands for classes", base, spq("eth0", { "2:1 first " + RULE_A }), true },
		{ "bands' rules change places",
		  spq("eth0", { "2:1 first " + RULE_A, "2:2 second " + RULE_C + " " + MARK_A }),
		  spq("eth0", { "2:1 first " + RULE_C + " " + MARK_A, "2:2 second " + RULE_A }),
		  false },
	};
}

/* Looks at one apply, line by line. */
class watched_change {
public:
	watched_change(const std::string &name, const scripts &was, const scripts &shall,
		       const std::vector<packet> &sent, bool may_rebuild)
		: what(name), flows(sent), before(was, "eth0"), after(shall, "eth0"),
		  is_rebuild(may_rebuild), counted(classes_of("eth0")), target(shall)
	{
	}

	outcome apply()
	{
		lay(target);
		steps each(nullptr, [this](const step &it) { look(it); });
		outcome done = qosctl({ "apply" });
		lines = each.count();
		return done;
	}

	int lines = 0;

private:
	void look(const step &it)
	{
		if (is_rebuild || is_told)
			return; // one failure says enough
		for (const packet &sent : flows) {
			arrivals came = arrivals_of("eth0", { sent });
			uint32_t old_class = before.class_of(sent);
			uint32_t new_class = after.class_of(sent);
			if (came == arrivals{ { old_class, 1 } } ||
			    came == arrivals{ { new_class, 1 } })
				continue;
			if ((is_turning(old_class) || is_turning(new_class)) && is_default(came))
				continue;
			is_told = true;
			ADD_FAILURE() << what << ", after line " << it.number << ", " << it.line
				      << text_of_packet(sent) << " came to "
				      << text_of_arrivals(came) << ", not to "
				      << text_of_arrivals({ { old_class, 1 } }) << " or "
				      << text_of_arrivals({ { new_class, 1 } });
		}
		look_at_counters(it);
	}

	/* A class that becomes an inner one, or was one: the kernel cannot make its first child and
	 * lead to it at once, and what comes in between goes to the default class. */
	bool is_turning(uint32_t id) const
	{
		return before.has(id) && after.has(id) && before.is_inner(id) != after.is_inner(id);
	}

	static bool is_default(const arrivals &came)
	{
		const uint32_t rest = HTB_MAJOR << 16 | DEFAULT_MINOR;
		return came == arrivals{ { rest, 1 } } || came == arrivals{ { 0, 1 } };
	}

	void look_at_counters(const step &it)
	{
		seen_classes now = classes_of("eth0");
		for (const auto &[id, older] : counted) {
			auto found = now.find(id);
			if (found == now.end() || found->second.packets >= older.packets)
				continue;
			is_told = true;
			ADD_FAILURE() << what << ", after line " << it.number << ", " << it.line
				      << "the counter of " << id_text(id) << " fell from "
				      << older.packets << " to " << found->second.packets;
		}
		counted = now;
	}

	const std::string what;
	const std::vector<packet> flows;
	foretold before, after;
	const bool is_rebuild;
	seen_classes counted;
	const scripts target;
	bool is_told = false;
};

/* Goes from one to the other, looks on, and compares with what comes from nothing. */
static void expect_change(const change &it, const std::vector<packet> &sent)
{
	SCOPED_TRACE(it.what);
	ASSERT_TRUE(applies(it.before)) << it.what;
	arrivals_of("eth0", sent); // something to count

	watched_change change(it.what, it.before, it.after, sent, it.is_rebuild);
	outcome done = change.apply();
	EXPECT_EQ(done.status, 0) << it.what << done;
	EXPECT_EQ(done.out.find("rebuilt") != std::string::npos, it.is_rebuild)
		<< it.what << done;
	foretold after(it.after, "eth0");
	for (const packet &one : sent)
		expect_arrivals("eth0", after.class_of(one), { one });
	const std::string now = state_now();
	EXPECT_EQ(qosctl({ "stop" }).status, 0) << it.what;
	ASSERT_TRUE(applies(it.after)) << it.what;
	EXPECT_EQ(now, state_now()) << it.what;
}

TEST_F(changes, of_every_kind_lead_each_packet_to_a_class_of_before_or_after)
{
	for (const change &it : all_changes())
		expect_change(it, flows());
}

/* Takes classes and rules away, adds some, and changes numbers. */
static scripts changed(scripts set, random_source &from)
{
	scripts other = random_tree("eth0", from);
	for (auto at = set.begin(); at != set.end();) {
		bool is_leaf = at->first.find(":") != std::string::npos;
		auto theirs = other.find(at->first);
		if (is_leaf && from.once_in(12) && at->first.find("1000") == std::string::npos) {
			at = set.erase(at);
			continue;
		}
		if (is_leaf && from.once_in(3) && theirs != other.end()) {
			at->second = theirs->second;
			size_t mark = 0; // theirs may be in use here
			while ((mark = at->second.find("MARK=", mark)) != std::string::npos)
				at->second.insert(mark += 5, "4");
		}
		at++;
	}
	for (auto at = set.begin(); at != set.end();) { // children of those that went
		std::string handle = at->first.substr(0, at->first.rfind('.'));
		size_t colon = handle.rfind(':');
		bool has_parent = colon == std::string::npos;
		for (const auto &[name, text] : set)
			has_parent = has_parent ||
				     name.compare(0, colon + 1, handle.substr(0, colon) + ".") == 0;
		at = has_parent ? std::next(at) : set.erase(at);
	}
	return set;
}

static void change_at_random(unsigned first, unsigned last)
{
	for (unsigned seed = first; seed <= last && !testing::Test::HasFailure(); seed++) {
		random_source from(seed);
		change it = { "at random", random_tree("eth0", from), {}, false };
		it.after = changed(it.before, from);
		std::vector<packet> sent;
		for (int i = 0; i < 8; i++)
			sent.push_back(random_packet(from));
		SCOPED_TRACE("seed " + std::to_string(seed));
		expect_change(it, sent);
	}
}

TEST_F(changes, at_random_lead_each_packet_to_a_class_of_before_or_after)
{
	change_at_random(1, 2);
}

TEST_F(changes, long_at_random_lead_each_packet_to_a_class_of_before_or_after)
{
	change_at_random(3, 60);
}

/* Without being led line by line: as fast as it goes, beside a sender that does not stop. */
TEST_F(changes, under_traffic_lose_no_packet)
{
	const std::string a = "100Mbps LEAF=sfq " + RULE_A, b = "200Mbps " + RULE_B + " " + MARK_A;
	const scripts sets[] = {
		tree_of(a, b), tree_of("90Mbps LEAF=sfq " + RULE_A, b),
		tree_of("100Mbps LEAF=sfq", b + " " + RULE_A),
		tree_of("100Mbps LEAF=pfifo LIMIT=500 " + RULE_A + " " + RULE_C, b),
		tree_of("100Mbps " + RULE_C + " " + RULE_A + " " + MARK_A, "200Mbps " + RULE_B),
	};
	ASSERT_TRUE(applies(sets[0]));
	const arrivals before = arrivals_at("eth0");
	std::atomic<bool> is_over = false;
	std::atomic<uint64_t> count = 0;
	std::thread sending([&] {
		clients all;
		while (!is_over) {
			for (const packet &it : flows()) {
				all.send(it);
				count++;
			}
			usleep(500);
		}
	});
	for (int round = 0; round < 2; round++) {
		for (const scripts &set : sets) {
			lay(set);
			outcome done = qosctl({ "apply" });
			EXPECT_EQ(done.status, 0) << done;
		}
	}
	is_over = true;
	sending.join();
	usleep(200000);
	arrivals came = difference(before, arrivals_at("eth0"));
	uint64_t sum = 0;
	for (const auto &[id, some] : came)
		sum += some;
	EXPECT_EQ(sum, count) << text_of_arrivals(came);
	EXPECT_GT(count, 1000u);
	EXPECT_EQ(came.count(0), 0u) << "unshaped: " << text_of_arrivals(came);
}

/* What waits in a class stays in it when its rate, or that of another, or the rules change. */
TEST_F(changes, packets_that_wait_in_a_class_stay)
{
	ASSERT_TRUE(applies(tree_of("8Kbps LEAF=pfifo LIMIT=500 " + RULE_A, "8Kbps " + RULE_C)));
	std::vector<packet> sent(200, packet_of("tcp 192.168.1.5:9 203.0.113.10:80 0"));
	sent.resize(400, packet_of("udp 192.168.1.5:9 198.51.100.1:443 0"));
	ASSERT_EQ(text_of_arrivals(arrivals_of("eth0", sent)), "1:10 200, 1:20 200");
	ASSERT_TRUE(applies(tree_of("9Kbps PRIO=2 LEAF=pfifo LIMIT=500 " + RULE_A + " " + RULE_B,
				    "8Kbps " + RULE_C)));
	seen_classes now = classes_of("eth0");
	for (const char *id : { "1:10", "1:20" }) {
		const seen_class &it = now[id_of(id)];
		EXPECT_EQ(it.packets + it.queued, 200u) << id;
		EXPECT_EQ(it.dropped, 0u) << id;
		EXPECT_GT(it.queued, 5u) << id;
	}
}

static long count_processes()
{
	std::string all = text_of("/proc/stat");
	return atol(all.c_str() + all.find("processes ") + 10);
}

TEST_F(changes, none_runs_nothing)
{
	struct sample {
		scripts set;
		long processes; // with qosctl's own
	};
	const sample rows[] = {
		{ tree_of("100Mbps LEAF=sfq " + RULE_A, "90Mbps BURST=9KB " + RULE_B), 1 },
		{ tree_of("100Mbps " + MARK_A, "90Mbps LEAF=bfifo LIMIT=9999"), 2 },
		{ spq("eth0", { "2:1 first " + RULE_A }), 1 },
	};
	for (const sample &row : rows) {
		lay(row.set);
		ASSERT_EQ(qosctl({ "apply" }).status, 0);
		const std::string state = state_now();
		steps each(nullptr);
		long least = LONG_MAX; // the kernel starts threads of its own now and then
		for (int tries = 0; tries < 3; tries++) {
			long before = count_processes();
			outcome done = qosctl({ "apply" });
			least = std::min(least, count_processes() - before);
			EXPECT_EQ(done.status, 0) << done;
		}
		EXPECT_EQ(least, row.processes);
		EXPECT_EQ(each.count(), 0);
		EXPECT_EQ(state_now(), state);
		EXPECT_EQ(qosctl({ "stop" }).status, 0);
	}
}
