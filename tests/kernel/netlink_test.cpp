// SPDX-License-Identifier: MIT
/* What the kernel is asked, and messages that hold less than they should. */
#include "../../kernel/netlink.h"

#include <errno.h>
#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/pkt_sched.h>
#include <stdlib.h>

#include <gtest/gtest.h>

#include "../../kernel/kernel.h"

TEST(netlink, finds_a_device_that_is_there)
{
	link_state it;
	ASSERT_TRUE(read_link(&it, "lo"));
	EXPECT_TRUE(it.is_there);
	EXPECT_GT(it.index, 0);
	EXPECT_GT(it.mtu, 0u);
	EXPECT_FALSE(it.is_bridged);
	EXPECT_EQ(it.root_handle, 0u);
	link_company on;
	ASSERT_TRUE(read_company(&on, it.index));
	EXPECT_FALSE(on.has_vlans);
}

TEST(netlink, an_absent_device_is_no_failure)
{
	for (const char *name : { "no-such-device", "a-name-that-is-far-too-long", "", "a/b" }) {
		link_state it;
		EXPECT_TRUE(read_link(&it, name)) << name;
		EXPECT_FALSE(it.is_there) << name;
		list<class_counters> counters;
		uint64_t direct;
		EXPECT_TRUE(read_counters(&counters, &direct, name)) << name;
		EXPECT_EQ(counters.count, 0u) << name;
	}
}

TEST(netlink, a_device_without_a_qdisc_of_ours_has_no_tree)
{
	tree it, asked = {};
	ASSERT_TRUE(read_tree(&it, "lo", &asked));
	EXPECT_FALSE(it.is_there);
	EXPECT_EQ(it.classes.count + it.filters.count + it.chain.count, 0u);
	free_tree(&it);
}

/* A message with three attributes, one of them nested, of which all but so many bytes are cut. */
struct message {
	alignas(nlmsghdr) char bytes[512] = {};
	nlmsghdr *header = mnl_nlmsg_put_header(bytes);

	message()
	{
		mnl_nlmsg_put_extra_header(header, sizeof(tcmsg));
		mnl_attr_put_strz(header, TCA_KIND, "htb");
		nlattr *nest = mnl_attr_nest_start(header, TCA_OPTIONS);
		mnl_attr_put_u64(header, TCA_HTB_RATE64, 77);
		mnl_attr_nest_end(header, nest);
		mnl_attr_put_u32(header, TCA_CHAIN, 5);
	}
};

TEST(netlink, finds_attributes)
{
	message it;
	uint64_t rate = 0;
	uint32_t chain = 0;
	const nlattr *options = get_tc_attribute(it.header, TCA_OPTIONS);
	EXPECT_TRUE(holds_text(get_tc_attribute(it.header, TCA_KIND), "htb"));
	EXPECT_FALSE(holds_text(get_tc_attribute(it.header, TCA_KIND), "ht"));
	EXPECT_FALSE(holds_text(get_tc_attribute(it.header, TCA_KIND), "htbx"));
	EXPECT_TRUE(get_value(&rate, get_nested(options, TCA_HTB_RATE64)));
	EXPECT_EQ(rate, 77u);
	EXPECT_TRUE(get_value(&chain, get_tc_attribute(it.header, TCA_CHAIN)));
	EXPECT_EQ(chain, 5u);
	EXPECT_FALSE(get_value(&rate, get_tc_attribute(it.header, TCA_CHAIN))); // too short
	EXPECT_FALSE(get_nested(options, TCA_HTB_PARMS));
	EXPECT_FALSE(get_nested(nullptr, TCA_HTB_PARMS));
	EXPECT_FALSE(holds_text(nullptr, ""));
}

/* In a buffer of exactly its size, so that a byte too far is seen. */
TEST(netlink, reads_no_further_than_a_message_goes)
{
	message whole;
	for (uint32_t size = sizeof(nlmsghdr); size <= whole.header->nlmsg_len; size++) {
		nlmsghdr *cut = static_cast<nlmsghdr *>(malloc(size));
		memcpy(cut, whole.bytes, size);
		cut->nlmsg_len = size;
		uint64_t rate;
		const nlattr *options = get_tc_attribute(cut, TCA_OPTIONS);
		get_value(&rate, get_nested(options, TCA_HTB_RATE64));
		holds_text(get_tc_attribute(cut, TCA_KIND), "htb");
		EXPECT_EQ(get_tc_attribute(cut, TCA_CHAIN) != nullptr,
			  size == whole.header->nlmsg_len) << size;
		EXPECT_EQ(get_tcmsg(cut) != nullptr, size >= sizeof(nlmsghdr) + sizeof(tcmsg));
		free(cut);
	}
}

TEST(netlink, is_not_led_astray_by_wrong_lengths)
{
	message it;
	nlattr *first = const_cast<nlattr *>(get_tc_attribute(it.header, TCA_KIND));
	for (unsigned length : { 0u, 1u, 3u, 65535u }) {
		first->nla_len = static_cast<uint16_t>(length);
		EXPECT_FALSE(get_tc_attribute(it.header, TCA_CHAIN)) << length;
	}
}

/* Two links, and what is none between them, as the kernel tells of them. */
struct told_links {
	alignas(nlmsghdr) char bytes[512] = {};
	size_t size = 0;

	nlmsghdr *add(uint16_t type, unsigned char family, const char *name)
	{
		nlmsghdr *header = mnl_nlmsg_put_header(bytes + size);
		header->nlmsg_type = type;
		ifinfomsg *link = static_cast<ifinfomsg *>(
			mnl_nlmsg_put_extra_header(header, sizeof(ifinfomsg)));
		link->ifi_family = family;
		link->ifi_index = 7;
		if (name)
			mnl_attr_put_strz(header, IFLA_IFNAME, name);
		size += header->nlmsg_len;
		return header;
	}

	told_links()
	{
		nlmsghdr *first = add(RTM_NEWLINK, AF_UNSPEC, "eth0");
		ifinfomsg *link = static_cast<ifinfomsg *>(mnl_nlmsg_get_payload(first));
		link->ifi_flags = link->ifi_change = IFF_UP;
		add(RTM_DELLINK, AF_UNSPEC, "eth1");
		add(RTM_NEWLINK, AF_BRIDGE, "eth2");
		add(RTM_NEWLINK, AF_UNSPEC, nullptr);
		add(RTM_NEWLINK, AF_UNSPEC, "eth3");
	}
};

TEST(netlink, reads_the_links_that_the_kernel_tells_of)
{
	told_links told;
	link_news it = { told.bytes, told.size, nullptr, 0, false };
	ASSERT_TRUE(get_next_link(&it));
	EXPECT_STREQ(it.name, "eth0");
	EXPECT_EQ(it.index, 7);
	EXPECT_TRUE(it.comes_up);
	ASSERT_TRUE(get_next_link(&it));
	EXPECT_STREQ(it.name, "eth3");
	EXPECT_FALSE(it.comes_up);
	EXPECT_FALSE(get_next_link(&it));
	EXPECT_EQ(it.left, 0u);
}

TEST(netlink, reads_no_link_that_was_cut)
{
	told_links told;
	for (size_t size = 0; size < told.size; size++) {
		char *cut = static_cast<char *>(malloc(size));
		memcpy(cut, told.bytes, size);
		link_news it = { cut, size, nullptr, 0, false };
		size_t found = 0;
		while (get_next_link(&it))
			found++;
		EXPECT_LE(found, 1u) << size;
		free(cut);
	}
	nlmsghdr *first = reinterpret_cast<nlmsghdr *>(told.bytes);
	for (uint32_t length : { 0u, 15u, 1u << 31 }) {
		first->nlmsg_len = length;
		link_news it = { told.bytes, told.size, nullptr, 0, false };
		EXPECT_FALSE(get_next_link(&it)) << length;
	}
}

/* The end of an answer: a link, and what the kernel says of how the listing went. */
struct answer {
	alignas(nlmsghdr) char bytes[512] = {};
	nlmsghdr request = {};
	answer_list taken = {};
	size_t size = 0;

	nlmsghdr *add(uint16_t type)
	{
		nlmsghdr *header = mnl_nlmsg_put_header(bytes + size);
		header->nlmsg_type = type;
		header->nlmsg_seq = 1;
		header->nlmsg_pid = 7;
		return header;
	}

	answer(uint16_t type, const void *behind, size_t length)
	{
		request.nlmsg_seq = 1;
		nlmsghdr *link = add(RTM_NEWLINK);
		mnl_nlmsg_put_extra_header(link, sizeof(ifinfomsg));
		size = link->nlmsg_len;
		nlmsghdr *end = add(type);
		if (length > 0)
			memcpy(mnl_nlmsg_put_extra_header(end, length), behind, length);
		size += end->nlmsg_len;
		errno = 0;
	}

	~answer() { free_answers(&taken); }

	answer_state take() { return take_messages(&taken, bytes, size, &request, 7); }
};

TEST(netlink, a_listing_is_complete_where_its_end_says_so)
{
	const int good = 0, failed = -EOPNOTSUPP;
	answer complete(NLMSG_DONE, &good, sizeof(good)), broken(NLMSG_DONE, &failed, sizeof(failed));
	EXPECT_EQ(complete.take(), COMPLETE);
	EXPECT_EQ(complete.taken.count, 1u);
	EXPECT_EQ(broken.take(), FAILED);
	EXPECT_EQ(errno, EOPNOTSUPP);
	answer cut(NLMSG_DONE, nullptr, 0), open(NLMSG_NOOP, nullptr, 0);
	EXPECT_EQ(cut.take(), FAILED);
	EXPECT_EQ(errno, EBADMSG);
	EXPECT_EQ(open.take(), MORE_COMES);
}

TEST(netlink, takes_no_answer_that_failed_or_is_somebody_elses)
{
	const nlmsgerr denied = { -EPERM, {} };
	answer error(NLMSG_ERROR, &denied, sizeof(denied));
	EXPECT_EQ(error.take(), FAILED);
	EXPECT_EQ(errno, EPERM);
	answer others(NLMSG_DONE, nullptr, 0);
	EXPECT_EQ(take_messages(&others.taken, others.bytes, others.size, &others.request, 8), FAILED);
	EXPECT_EQ(errno, EPROTO);
	answer changed(RTM_NEWLINK, nullptr, 0);
	reinterpret_cast<nlmsghdr *>(changed.bytes)->nlmsg_flags |= NLM_F_DUMP_INTR;
	EXPECT_EQ(changed.take(), FAILED);
	EXPECT_EQ(errno, EINTR);
}
