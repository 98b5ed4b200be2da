// SPDX-License-Identifier: MIT
/* The classes in the order of their trees. */
#include "../../cgi/class_tree.h"

#include "../support/router_files.h"

static class_tree tree_of(const std::string &classes, const std::string &policies)
{
	static shown_stores in; // the tree points into it
	fresh_router router;
	router.store("class", classes);
	router.store("policy", policies);
	read_stores(&in);
	class_tree tree;
	make_class_tree(&tree, &in);
	return tree;
}

/* "root 0, child 1 of root" and so on, "lost" behind those that are. */
static std::string told(const class_tree &tree)
{
	std::string all;
	for (int i = 0; i < tree.count; i++) {
		const tree_class &it = tree.items[i];
		all += std::string(i ? ", " : "") + it.id + " " + std::to_string(it.depth);
		if (it.parent >= 0)
			all += std::string(" of ") + tree.items[it.parent].id;
		all += it.is_lost ? " lost" : "";
		all += it.policy ? std::string(" in ") + it.policy : "";
		EXPECT_LT(it.parent, i);
	}
	return all;
}

static std::string child(const std::string &id, const std::string &parent)
{
	return "[" + id + "]\nPARENT_ID=" + parent + "\n";
}

static const char LAN1[] = "[LAN1]\nROOT_CLASS=r\nQDISC=htb\n";

TEST(class_tree, parents_stand_before_children_in_the_order_of_the_store)
{
	EXPECT_EQ(told(tree_of(child("a", "r") + child("b", "a") + "[r]\nRATE=1\n" +
			       child("c", "r") + child("d", "a"), LAN1)),
		  "r 0 in LAN1, a 1 of r in LAN1, b 2 of a in LAN1, d 2 of a in LAN1, "
		  "c 1 of r in LAN1");
}

TEST(class_tree, what_is_below_no_policy_stands_behind)
{
	EXPECT_EQ(told(tree_of("[free]\nRATE=1\n" + child("lost", "gone") + child("x", "lost") +
			       "[r]\nRATE=1\n", LAN1)),
		  "r 0 in LAN1, free 0, lost 0 lost, x 1 of lost");
}

TEST(class_tree, an_empty_parent_is_none)
{
	EXPECT_EQ(told(tree_of(child("r", ""), LAN1)), "r 0 in LAN1");
}

TEST(class_tree, classes_in_a_ring_are_lost)
{
	EXPECT_EQ(told(tree_of(child("self", "self") + child("a", "b") + child("b", "a") +
			       child("below", "a"), "")),
		  "self 0 lost, a 0 lost, below 1 of a, b 0 lost");
}

TEST(class_tree, a_ring_is_entered_at_the_root_of_a_policy)
{
	EXPECT_EQ(told(tree_of(child("b", "r") + child("r", "b"), LAN1)),
		  "r 0 lost in LAN1, b 1 of r in LAN1");
}

TEST(class_tree, the_root_of_a_strict_policy_is_no_class)
{
	EXPECT_EQ(told(tree_of("[r]\nRATE=1\n", "[LAN5]\nROOT_CLASS=r\nQDISC=spq\n")), "r 0");
}

TEST(class_tree, a_root_below_another_is_of_its_own_policy)
{
	EXPECT_EQ(told(tree_of("[r]\nRATE=1\n" + child("s", "r") + child("t", "s"),
			       std::string(LAN1) + "[LAN2]\nROOT_CLASS=s\n")),
		  "r 0 in LAN1, s 1 of r in LAN2, t 2 of s in LAN2");
}

TEST(class_tree, rates_are_read_in_bits)
{
	class_tree tree = tree_of("[r]\nRATE=1500\nRATE_UNIT=Kbps\nCEIL=x\nCEIL_UNIT=Mbps\n", "");
	EXPECT_EQ(tree.items[0].rate, 1500000u);
	EXPECT_EQ(tree.items[0].ceil, 0u);
	EXPECT_EQ(get_limit(&tree.items[0]), 1500000u);
	tree.items[0].ceil = 2;
	EXPECT_EQ(get_limit(&tree.items[0]), 2u);
}

TEST(class_tree, a_hundred_classes_in_one_line)
{
	std::string classes;
	for (int i = 99; i > 0; i--)
		classes += child("c" + std::to_string(i), "c" + std::to_string(i - 1));
	class_tree tree = tree_of(classes + "[c0]\nRATE=1\n", "[LAN1]\nROOT_CLASS=c0\n");
	ASSERT_EQ(tree.count, 100);
	for (int i = 0; i < 100; i++) {
		EXPECT_EQ(tree.items[i].id, "c" + std::to_string(i));
		EXPECT_EQ(tree.items[i].depth, i);
		EXPECT_EQ(tree.items[i].children, i < 99);
	}
	EXPECT_EQ(find_in_tree(&tree, "c42"), 42);
	EXPECT_EQ(find_in_tree(&tree, "c100"), -1);
}

TEST(class_tree, no_store_is_an_empty_tree)
{
	shown_stores none = {};
	class_tree tree;
	make_class_tree(&tree, &none);
	EXPECT_EQ(tree.count, 0);
}
