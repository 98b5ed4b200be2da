// SPDX-License-Identifier: MIT
/* From one tree to another, line by line, in a model of the kernel: no line is refused, the end
 * is what was asked for, and a packet finds its class of before or of after at every moment. */
#include "../../plan/plan.h"

#include <gtest/gtest.h>

#include "kernel_model.h"
#include "random_devices.h"

static const time_t SOME_TIME = 1000000000;

/* A tree that is released. */
struct held_tree {
	tree it = {};

	held_tree() = default;
	explicit held_tree(const device *from) { make_tree(&it, from, SOME_TIME); }
	held_tree(const held_tree &) = delete;
	~held_tree() { free_tree(&it); }
};

struct held_transition {
	transition it;

	held_transition(const tree *was, const tree *shall)
	{
		make_transition(&it, "eth0", was, shall);
	}
	held_transition(const held_transition &) = delete;
	~held_transition() { free_transition(&it); }
};

static std::string text_of(const transition &it)
{
	char *text = nullptr;
	size_t size = 0;
	FILE *to = open_memstream(&text, &size);
	print_transition(to, &it, "eth0");
	fclose(to);
	std::string copy(text, size);
	free(text);
	return copy;
}

/* What the model runs, as apply reads it. */
static void read_model(const kernel_model &model, held_tree *to, const tree *asked)
{
	free_tree(&to->it);
	model.read(&to->it);
	forget_own_values(&to->it, asked);
}

static void expect_tree(const kernel_model &model, const tree &asked, const std::string &text)
{
	held_tree read;
	read_model(model, &read, &asked);
	char why[256] = "";
	ASSERT_TRUE(is_same_tree(&read.it, &asked, why, sizeof(why))) << why << "\n" << text;
	held_transition again(&read.it, &asked);
	ASSERT_EQ(text_of(again.it), "") << text;
}

/* Runs a transition without looking between its lines. */
static void run(kernel_model *model, const transition &it)
{
	for (const stage &one : it.stages) {
		std::string text(one.text, one.size);
		ASSERT_EQ(text.back(), '\n');
		if (one.program == RUN_IPTABLES_RESTORE) {
			ASSERT_TRUE(model->take_restore(text)) << model->refusal << "\n" << text_of(it);
			continue;
		}
		for (const std::string &line : lines_of(text))
			ASSERT_TRUE(model->take_tc(line)) << model->refusal << "\n" << text_of(it);
	}
}

/* A model that runs this tree. */
static void build(kernel_model *model, const tree &asked)
{
	held_tree read;
	model->read(&read.it);
	held_transition it(&read.it, &asked);
	run(model, it.it);
}

/* --- every prefix --- */

typedef std::set<unsigned> minors;

static minors get_inner(const tree &of)
{
	minors inner;
	for (const tree_class &it : of.classes)
		inner.insert(it.parent);
	return inner;
}

static minors get_all(const tree &of)
{
	minors all;
	for (const tree_class &it : of.classes)
		all.insert(it.minor);
	return all;
}

static minors get_common(const minors &one, const minors &other)
{
	minors common;
	std::set_intersection(one.begin(), one.end(), other.begin(), other.end(),
			      std::inserter(common, common.end()));
	return common;
}

static minors get_leaves(const tree &of)
{
	minors leaves = get_all(of);
	for (unsigned minor : get_inner(of))
		leaves.erase(minor);
	return leaves;
}

/* Whether filters lead to a default class that is in one of the trees alone. */
static bool has_led_default(const tree &one, const tree &other)
{
	minors all = get_all(other);
	return std::any_of(one.filters.begin(), one.filters.end(), [&](const tree_filter &it) {
		return it.to == one.otherwise && !all.count(it.to);
	});
}

/* Why a packet may be elsewhere than in its class of before or of after, for a while. */
enum stray { NO_STRAY, LEAF_CHANGES, DEFAULT_COMES, ROOT_COMES };

struct prefix_counts {
	size_t pairs = 0, strict_pairs = 0, rebuilds = 0;
	size_t lines = 0, stages = 0, restores = 0, packets = 0;
	size_t strays[ROOT_COMES + 1] = {};
};

class prefix_check {
public:
	prefix_check(random_world *world, const tree &from, const tree &to) : was(from), shall(to)
	{
		kernel_model before, after;
		build(&before, was);
		build(&after, shall);
		for (int i = 0; i < 40; i++) {
			sent_packet one = world->make_packet();
			packets.push_back(one);
			classes.emplace_back(before.find_class_of(one), after.find_class_of(one));
		}
		lost = get_common(get_leaves(was), get_inner(shall));
		won = get_common(get_inner(was), get_leaves(shall));
		stay = get_common(get_all(was), get_all(shall));
		is_default_led = was.is_there && shall.is_there &&
				 (has_led_default(was, shall) || has_led_default(shall, was));
		is_bare_root = was.is_there != shall.is_there &&
			       (was.is_there ? was : shall).kind == SPQ;
	}

	/* Whether no packet may stray. */
	bool is_strict() const
	{
		return lost.empty() && won.empty() && !is_default_led && !is_bare_root;
	}

	/* Marks change when the chain does. */
	void take_marks(const kernel_model &model)
	{
		marks.clear();
		for (const sent_packet &one : packets)
			marks.push_back(model.get_mark(one));
	}

	/* Says what is wrong; nothing where every packet, and every class, is where it may be. */
	std::string look(const kernel_model &model, prefix_counts *counts) const
	{
		for (size_t i = 0; i < packets.size(); i++) {
			unsigned found = model.find_class_of(packets[i], marks[i]);
			auto [before, after] = classes[i];
			stray why = find_stray(found, before, after);
			counts->packets++;
			counts->strays[why]++;
			if (why == NO_STRAY && found != before && found != after)
				return "a packet of class " + std::to_string(before) + ", then " +
				       std::to_string(after) + ", in " + std::to_string(found);
		}
		for (unsigned minor : stay) {
			if (!model.has_class(minor))
				return "class " + std::to_string(minor) + " is gone";
		}
		return "";
	}

private:
	const tree &was, &shall;
	std::vector<sent_packet> packets;
	std::vector<unsigned> marks;
	std::vector<std::pair<unsigned, unsigned>> classes;
	minors lost, won, stay;
	bool is_default_led, is_bare_root;

	stray find_stray(unsigned found, unsigned before, unsigned after) const
	{
		if (found == before || found == after)
			return NO_STRAY;
		if (is_bare_root)
			return found == kernel_model::BY_TOS ? ROOT_COMES : NO_STRAY;
		if (found != was.otherwise && found != shall.otherwise &&
		    found != kernel_model::DIRECT)
			return NO_STRAY;
		if (lost.count(before) || won.count(after))
			return LEAF_CHANGES;
		return is_default_led ? DEFAULT_COMES : NO_STRAY;
	}
};

static void expect_right(const kernel_model &model, const prefix_check &check, prefix_counts *counts,
			 const std::string &line, const transition &it)
{
	std::string wrong = check.look(model, counts);
	ASSERT_EQ(wrong, "") << "after " << line << "\nof\n" << text_of(it);
}

static void run_and_look(kernel_model *model, const transition &it, prefix_check *check,
			 prefix_counts *counts)
{
	check->take_marks(*model);
	for (const stage &one : it.stages) {
		std::string text(one.text, one.size);
		counts->stages++;
		if (one.program == RUN_IPTABLES_RESTORE) {
			counts->restores++;
			ASSERT_TRUE(model->take_restore(text)) << model->refusal << "\n" << text_of(it);
			check->take_marks(*model);
			expect_right(*model, *check, counts, text, it);
			continue;
		}
		for (const std::string &line : lines_of(text)) {
			counts->lines++;
			ASSERT_TRUE(model->take_tc(line)) << model->refusal << "\n" << text_of(it);
			expect_right(*model, *check, counts, line, it);
			if (testing::Test::HasFatalFailure())
				return;
		}
	}
}

/* The model runs the first, and shall run the second. */
static void go(kernel_model *model, random_world *world, const tree &was, const tree &shall,
	       prefix_counts *counts)
{
	held_tree read;
	read_model(*model, &read, &was);
	held_transition it(&read.it, &shall);
	ASSERT_FALSE(it.it.is_impossible);
	ASSERT_EQ(it.it.is_rebuild, it.it.reason != nullptr);
	counts->pairs++;
	counts->rebuilds += it.it.is_rebuild;
	if (it.it.is_rebuild) {
		run(model, it.it);
	} else {
		prefix_check check(world, was, shall);
		counts->strict_pairs += check.is_strict();
		run_and_look(model, it.it, &check, counts);
	}
	if (!testing::Test::HasFatalFailure())
		expect_tree(*model, shall, text_of(it.it));
	ASSERT_EQ(model->parents_not_there, 0u);
}

/* From nothing to a tree, to another, back, and to nothing. */
static void walk(unsigned seed, discipline kind, rule_kinds kinds, prefix_counts *counts)
{
	random_world world(seed);
	kernel_model model;
	random_device first = world.make(kind, kinds), second = world.change(first, kinds);
	read_device one(first), other(second);
	held_tree nothing, a(one.get()), b(other.get());
	const tree *ways[] = { &nothing.it, &a.it, &b.it, &a.it, &nothing.it };
	for (size_t i = 1; i < std::size(ways); i++) {
		go(&model, &world, *ways[i - 1], *ways[i], counts);
		ASSERT_FALSE(testing::Test::HasFatalFailure()) << "seed " << seed << ", step " << i;
	}
	ASSERT_EQ(model.count_priorities(), 0u);
}

static prefix_counts walk_many(unsigned seeds, discipline kind, rule_kinds kinds)
{
	prefix_counts it;
	for (unsigned seed = 0; seed < seeds && !testing::Test::HasFatalFailure(); seed++)
		walk(seed, kind, kinds, &it);
	printf("%zu pairs, %zu of them strict, %zu tc lines, %zu stages, %zu restores, %zu packets; "
	       "in the default class meanwhile: %zu for a leaf, %zu for a default; by TOS: %zu\n",
	       it.pairs, it.strict_pairs, it.lines, it.stages, it.restores, it.packets,
	       it.strays[LEAF_CHANGES], it.strays[DEFAULT_COMES], it.strays[ROOT_COMES]);
	return it;
}

static void expect_strict(const prefix_counts &it)
{
	EXPECT_EQ(it.rebuilds, 0u);
	EXPECT_GT(it.strict_pairs * 2, it.pairs);
	EXPECT_GT(it.lines, it.pairs * 5);
}

TEST(transition, leads_every_packet_to_its_old_or_new_class_by_u32)
{
	expect_strict(walk_many(400, HTB, U32_ONLY));
}

TEST(transition, leads_every_packet_to_its_old_or_new_class_by_marks)
{
	expect_strict(walk_many(400, HTB, MARKS_ONLY));
}

TEST(transition, leads_every_packet_to_its_old_or_new_class_by_both)
{
	expect_strict(walk_many(400, HTB, BOTH_KINDS));
}

TEST(transition, leads_every_packet_to_its_old_or_new_band)
{
	prefix_counts it = walk_many(400, SPQ, BOTH_KINDS);
	EXPECT_EQ(it.rebuilds, 0u);
	EXPECT_GE(it.strict_pairs * 2, it.pairs);
	EXPECT_EQ(it.strays[LEAF_CHANGES] + it.strays[DEFAULT_COMES], 0u);
}

/* --- rebuilds, and halves --- */

TEST(transition, rebuilds_what_has_moved_and_other_roots)
{
	prefix_counts counts;
	for (unsigned seed = 0; seed < 250; seed++) {
		random_world world(seed), elsewhere(seed + 1000);
		kernel_model model;
		random_device first = world.make(seed % 3 ? HTB : SPQ, BOTH_KINDS);
		random_device second = elsewhere.make(seed % 5 ? HTB : SPQ, BOTH_KINDS);
		first.r2q = world.below(2) ? 0 : 20;
		read_device one(first), other(second);
		held_tree nothing, a(one.get()), b(other.get());
		go(&model, &world, nothing.it, a.it, &counts);
		go(&model, &world, a.it, b.it, &counts);
		go(&model, &world, b.it, a.it, &counts);
		ASSERT_FALSE(testing::Test::HasFatalFailure()) << "seed " << seed;
	}
	printf("%zu pairs, %zu rebuilds\n", counts.pairs, counts.rebuilds);
	EXPECT_GT(counts.rebuilds, 300u);
}

/* The model after the first so many lines; a chain counts as one. Returns whether there were
 * more. */
static bool run_some(kernel_model *model, const transition &it, size_t count)
{
	for (const stage &one : it.stages) {
		std::string text(one.text, one.size);
		if (one.program == RUN_IPTABLES_RESTORE) {
			if (count-- == 0)
				return true;
			EXPECT_TRUE(model->take_restore(text)) << model->refusal;
			continue;
		}
		for (const std::string &line : lines_of(text)) {
			if (count-- == 0)
				return true;
			EXPECT_TRUE(model->take_tc(line)) << model->refusal;
		}
	}
	return false;
}

static void finish_half(const kernel_model &half, const tree &asked, const tree &last)
{
	kernel_model model = half;
	held_tree read;
	read_model(model, &read, &last);
	held_transition it(&read.it, &asked);
	run(&model, it.it);
	if (!testing::Test::HasFatalFailure())
		expect_tree(model, asked, text_of(it.it));
}

/* Where a batch was cut: it is put back, or finished. */
TEST(transition, leads_on_and_back_from_every_half)
{
	size_t halves = 0;
	for (unsigned seed = 0; seed < 150; seed++) {
		random_world world(seed), elsewhere(seed + 1000);
		random_device first = world.make(seed % 4 ? HTB : SPQ, BOTH_KINDS);
		random_device second = seed % 3 ? world.change(first, BOTH_KINDS)
						: elsewhere.make(HTB, BOTH_KINDS);
		read_device one(first), other(second);
		held_tree nothing, a(one.get()), b(other.get()), read;
		kernel_model start;
		if (seed % 5)
			build(&start, a.it);
		const tree &was = seed % 5 ? a.it : nothing.it;
		read_model(start, &read, &was);
		held_transition it(&read.it, &b.it);
		for (size_t count = 0;; count++) {
			kernel_model half = start;
			bool has_more = run_some(&half, it.it, count);
			finish_half(half, was, was);
			finish_half(half, b.it, b.it);
			ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", line " << count;
			halves++;
			if (!has_more)
				break;
		}
	}
	printf("%zu halves\n", halves);
	EXPECT_GT(halves, 2000u);
}

/* --- many filters of one priority --- */

/* A strict-priority tree with a filter for each number, in their order. */
static void make_crowd(held_tree *to, const std::vector<unsigned> &numbers)
{
	free_tree(&to->it);
	to->it.is_there = true;
	to->it.kind = SPQ;
	for (unsigned number : numbers) {
		tree_filter *it = add_item(&to->it.filters);
		it->kind = FILTER_U32;
		it->prio = 2;
		it->packet.destination = { number, 32 };
		it->packet.tos = ANY_TOS;
		it->to = 1 + number % 3;
	}
}

static std::vector<unsigned> count_up(unsigned first, unsigned count)
{
	std::vector<unsigned> numbers(count);
	for (unsigned i = 0; i < count; i++)
		numbers[i] = first + i;
	return numbers;
}

struct crowd_outcome {
	bool is_rebuild, is_impossible;
	size_t lines;
};

/* The model comes to run the crowd. */
static crowd_outcome go_to_crowd(kernel_model *model, const std::vector<unsigned> &numbers)
{
	held_tree read, shall;
	make_crowd(&shall, numbers);
	read_model(*model, &read, &shall.it);
	held_transition it(&read.it, &shall.it);
	run(model, it.it);
	if (!it.it.is_impossible)
		expect_tree(*model, shall.it, "");
	return { it.it.is_rebuild, it.it.is_impossible, lines_of(text_of(it.it)).size() };
}

TEST(transition, numbers_as_many_filters_as_the_kernel)
{
	kernel_model model;
	crowd_outcome all = go_to_crowd(&model, count_up(1, 4095));
	EXPECT_EQ(all.lines, 4095u + 2);
	EXPECT_EQ(model.count_filters(), 4095u);
	crowd_outcome more = go_to_crowd(&model, count_up(1, 4096));
	EXPECT_TRUE(more.is_impossible);
	EXPECT_EQ(more.lines, 0u);
	std::vector<unsigned> other = count_up(1, 4095);
	std::swap(other.front(), other.back());
	EXPECT_TRUE(go_to_crowd(&model, other).is_rebuild) << "there is no number left";
}

TEST(transition, changes_all_filters_as_long_as_both_have_numbers)
{
	kernel_model model;
	go_to_crowd(&model, count_up(1, 2000));
	crowd_outcome both = go_to_crowd(&model, count_up(5000, 2095));
	EXPECT_FALSE(both.is_rebuild);
	EXPECT_EQ(both.lines, 2000u + 2095 + 1);
	EXPECT_TRUE(go_to_crowd(&model, count_up(1, 2001)).is_rebuild);
}

/* The gaps between numbers fill up; then those of the priority get new ones, and none goes lost. */
TEST(transition, finds_room_for_what_is_put_in_the_same_place_again_and_again)
{
	for (int where = 0; where < 3; where++) {
		kernel_model model;
		std::vector<unsigned> numbers = count_up(1, 10);
		go_to_crowd(&model, numbers);
		size_t renumbered = 0;
		for (unsigned i = 0; i < 500; i++) {
			auto place = where == 0 ? numbers.begin()
				     : where == 1 ? numbers.begin() + 5 : numbers.end();
			numbers.insert(place, 1000 + i);
			crowd_outcome it = go_to_crowd(&model, numbers);
			ASSERT_FALSE(HasFailure()) << i;
			ASSERT_FALSE(it.is_rebuild);
			renumbered += it.lines > 2;
		}
		EXPECT_EQ(model.count_filters(), 510u);
		EXPECT_LT(renumbered, where == 2 ? 10u : 150u) << where;
		printf("renumbered %zu times of 500\n", renumbered);
	}
}

/* --- what an administrator sees --- */

/* Two classes with a rule and a marked rule each. */
static random_device make_office()
{
	random_device it;
	it.classes[2] = { 2, 0, { 19000000, 19000000, 0, 0 }, 0, 1500, {} };
	leaf sfq = {}, pfifo = {};
	sfq.kind = LEAF_SFQ;
	sfq.has_perturb = sfq.has_quantum = true;
	sfq.perturb = 10;
	sfq.quantum = 1514;
	pfifo.kind = LEAF_PFIFO;
	pfifo.has_limit = true;
	pfifo.limit = 30;
	it.classes[0x10] = { 0x10, 2, { 2000000, 4000000, 6144, 0 }, 1, 1500, pfifo };
	it.classes[0x20] = { 0x20, 2, { 8000000, 19000000, 15360, 15360 }, 9, 0, sfq };
	it.classes[0x1000] = { 0x1000, 2, { 1000000, 19000000, 0, 0 }, 7, 0, {} };
	match web = {}, voice = {};
	web.destination = { 0xc0a80140, 26 };
	web.destination_port = 80;
	web.destination_mask = 0xffff;
	web.proto = TCP;
	web.tos = ANY_TOS;
	web.source_last = web.destination_last = UINT16_MAX;
	voice.source = { 0xc0a801d8, 30 };
	voice.proto = UDP;
	voice.tos = 5;
	voice.source_last = UINT16_MAX;
	voice.destination_first = 5060;
	voice.destination_last = 5061;
	it.rules = { { 0x10, 1, true, voice }, { 0x20, 2, false, web } };
	return it;
}

static std::string text_between(kernel_model *model, const random_device &from, const random_device &to)
{
	read_device one(from), other(to);
	held_tree was(one.get()), shall(other.get()), read;
	build(model, was.it);
	read_model(*model, &read, &was.it);
	held_transition it(&read.it, &shall.it);
	std::string text = text_of(it.it);
	run(model, it.it);
	return text;
}

TEST(transition, writes_all_of_a_device)
{
	read_device office(make_office());
	held_tree nothing, shall(office.get());
	held_transition it(&nothing.it, &shall.it);
	EXPECT_EQ(text_of(it.it),
		  "# iptables-restore\n"
		  "*mangle\n"
		  ":QOS-eth0 - [0:0]\n"
		  "-A QOS-eth0 -j MARK --set-xmark 0x0/0xffff\n"
		  "-A QOS-eth0 -s 192.168.1.216/30 -p udp -m udp --dport 5060:5061 -m tos --tos "
		  "0xa0/0xe0 -m mark --mark 0x0/0xffff -j MARK --set-xmark 0x64/0xffff\n"
		  "-A POSTROUTING -o eth0 -j QOS-eth0\n"
		  "COMMIT\n"
		  "# tc eth0\n"
		  "qdisc add dev eth0 root handle 1: htb default 1000\n"
		  "class add dev eth0 parent 1: classid 1:2 htb rate 19000000bit ceil 19000000bit prio 0 "
		  "mtu 1500\n"
		  "class add dev eth0 parent 1:2 classid 1:10 htb rate 2000000bit ceil 4000000bit burst "
		  "6144b prio 1 mtu 1500\n"
		  "qdisc add dev eth0 parent 1:10 pfifo limit 30\n"
		  "class add dev eth0 parent 1:2 classid 1:20 htb rate 8000000bit ceil 19000000bit burst "
		  "15360b cburst 15360b prio 7\n"
		  "qdisc add dev eth0 parent 1:20 sfq perturb 10 quantum 1514\n"
		  "filter add dev eth0 parent 1: protocol ip prio 3 handle 0x64/0xffff fw flowid 1:10\n"
		  "filter add dev eth0 parent 1: protocol ip prio 4 handle ::10 u32 match ip dst "
		  "192.168.1.64/26 match ip protocol 6 0xff match ip ihl 5 0xf match u16 0x0 0x1fff at 6 "
		  "match ip dport 80 0xffff flowid 1:20\n"
		  "class add dev eth0 parent 1:2 classid 1:1000 htb rate 1000000bit ceil 19000000bit prio "
		  "7\n");
	EXPECT_EQ(it.it.added, 4u);
}

TEST(transition, writes_one_line_for_another_rate)
{
	kernel_model model;
	random_device other = make_office();
	other.classes[0x20].at.rate = 6000000;
	EXPECT_EQ(text_between(&model, make_office(), other),
		  "# tc eth0\n"
		  "class change dev eth0 parent 1:2 classid 1:20 htb rate 6000000bit ceil 19000000bit "
		  "burst 15360b cburst 15360b prio 7\n");
}

/* Marks are counted: a rule before others takes the mark of the next. */
TEST(transition, sets_packets_aside_while_their_mark_goes_to_another_rule)
{
	kernel_model model;
	random_device other = make_office();
	random_rule first = other.rules[0];
	first.packet.tos = 6;
	first.packet.destination_first = first.packet.destination_last = 80;
	first.to = 2; // without effect, but counted
	other.rules.insert(other.rules.begin(), first);
	first.to = 0x1000;
	other.rules.push_back(first);
	random_device was = make_office();
	was.rules.push_back(first);
	std::string line = "-A QOS-eth0 -s 192.168.1.216/30 -p udp -m udp --dport ";
	std::string head = "# iptables-restore\n*mangle\n:QOS-eth0 - [0:0]\n"
			   "-A QOS-eth0 -j MARK --set-xmark 0x0/0xffff\n";
	std::string five = line + "5060:5061 -m tos --tos 0xa0/0xe0 -m mark --mark 0x0/0xffff -j MARK "
				  "--set-xmark ";
	std::string six = line + "80 -m tos --tos 0xc0/0xe0 -m mark --mark 0x0/0xffff -j MARK "
				 "--set-xmark ";
	std::string filter = " dev eth0 parent 1: protocol ip prio 3 handle ";
	EXPECT_EQ(text_between(&model, was, other),
		  "# tc eth0\n"
		  "filter add" + filter + "0xffff/0xffff fw flowid 1:1000\n" +
		  head + five + "0x64/0xffff\n" + six + "0xffff/0xffff\nCOMMIT\n"
		  "# tc eth0\n"
		  "filter change" + filter + "0x65/0xffff fw flowid 1:10\n"
		  "filter add" + filter + "0x66/0xffff fw flowid 1:1000\n" +
		  head + five + "0x65/0xffff\n" + six + "0x66/0xffff\nCOMMIT\n"
		  "# tc eth0\n"
		  "filter del" + filter + "0x64 fw\n"
		  "filter del" + filter + "0xffff fw\n");
}

TEST(transition, makes_a_leaf_the_kernels_own_again)
{
	kernel_model model;
	random_device other = make_office();
	other.classes[0x10].below = {};
	other.classes[0x20].below.has_quantum = false;
	EXPECT_EQ(text_between(&model, make_office(), other),
		  "# tc eth0\n"
		  "qdisc del dev eth0 parent 1:10\n"
		  "qdisc del dev eth0 parent 1:20\n"
		  "qdisc add dev eth0 parent 1:20 sfq perturb 10\n");
}

TEST(transition, removes_the_chain_behind_the_root)
{
	kernel_model model;
	read_device office(make_office());
	held_tree nothing, was(office.get()), read;
	build(&model, was.it);
	read_model(model, &read, &was.it);
	held_transition it(&read.it, &nothing.it);
	EXPECT_EQ(text_of(it.it), "# tc eth0\n"
				  "qdisc del dev eth0 root\n"
				  "# iptables-restore\n"
				  "*mangle\n"
				  ":QOS-eth0 - [0:0]\n"
				  "-D POSTROUTING -o eth0 -j QOS-eth0\n"
				  "-X QOS-eth0\n"
				  "COMMIT\n");
	EXPECT_EQ(it.it.removed, 4u);
	EXPECT_FALSE(it.it.is_rebuild);
}

/* --- what others did to it --- */

/* A tree of the office, read back, to which something was done. */
class altered : public testing::Test {
public:
	altered()
	{
		build(&model, shall.it);
		read_model(model, &read, &shall.it);
	}

	/* What sets it right. */
	std::string mend()
	{
		held_transition it(&read.it, &shall.it);
		is_rebuild = it.it.is_rebuild;
		return text_of(it.it);
	}

	kernel_model model;
	read_device office{ make_office() };
	held_tree shall{ office.get() }, read;
	bool is_rebuild = false;
};

TEST_F(altered, removes_a_strange_filter_by_its_handle)
{
	*add_item(&read.it.filters) = { FILTER_STRANGE, 4, 0x800, 0x80000800, {}, 0x10 };
	EXPECT_EQ(mend(), "# tc eth0\n"
			  "filter del dev eth0 parent 1: protocol ip prio 4 handle 800::800 u32\n");
	EXPECT_FALSE(is_rebuild);
}

TEST_F(altered, removes_a_strange_filter_of_another_priority_with_the_priority)
{
	*add_item(&read.it.filters) = { FILTER_STRANGE, 9, 0x800, 0x80100800, {}, 0x10 };
	EXPECT_EQ(mend(), "# tc eth0\nfilter del dev eth0 parent 1: protocol ip prio 9 u32\n");
}

TEST_F(altered, removes_a_strange_mark)
{
	*add_item(&read.it.filters) = { FILTER_STRANGE, 11, 0x12345, 0x12345, {}, 0x10 };
	EXPECT_EQ(mend(), "# tc eth0\n"
			  "filter del dev eth0 parent 1: protocol ip prio 11 handle 0x12345 fw\n");
}

TEST_F(altered, is_rebuilt_where_a_filter_of_another_kind_keeps_ours_out)
{
	read.it.filters[0].kind = FILTER_STRANGE; // of prio 3, where a mark belongs
	read.it.filters[0].handle = read.it.filters[0].whole_handle = 0x64;
	mend();
	EXPECT_TRUE(is_rebuild);
}

TEST_F(altered, puts_lines_of_the_chain_right_at_once)
{
	free(read.it.chain[0]);
	read.it.chain[0] = strdup("-A QOS-eth0 -j ACCEPT");
	std::string text = mend();
	EXPECT_EQ(text.find("# iptables-restore\n*mangle\n:QOS-eth0 - [0:0]\n-A QOS-eth0 -j MARK "), 0u)
		<< text;
	EXPECT_EQ(text.find("# tc"), std::string::npos) << text;
	EXPECT_EQ(text.find("-A POSTROUTING"), std::string::npos) << "it is called: " << text;
}

TEST_F(altered, calls_a_chain_that_is_called_no_more)
{
	read.it.is_called = false;
	EXPECT_NE(mend().find("-A POSTROUTING -o eth0 -j QOS-eth0\nCOMMIT\n"), std::string::npos);
}

TEST_F(altered, sets_back_what_somebody_set)
{
	read.it.classes[1].at.burst = 20000;
	read.it.classes[3].at.cburst = 20000; // left to tc
	read.it.classes[1].below.limit = 40;
	std::string text = mend();
	EXPECT_EQ(lines_of(text).size(), 4u) << text;
	EXPECT_NE(text.find("qdisc change dev eth0 parent 1:10 pfifo limit 30\n"), std::string::npos);
}
