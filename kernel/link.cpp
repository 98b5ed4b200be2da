// SPDX-License-Identifier: MIT
/* What a device is, beside what it runs. */
#include "kernel.h"

#include <errno.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_ether.h>
#include <linux/if_link.h>
#include <linux/pkt_sched.h>
#include <string.h>
#include <sys/socket.h>

#include "netlink.h"

static const nlattr *get_link_attribute(const nlmsghdr *from, uint16_t type)
{
	return get_attribute(from, sizeof(ifinfomsg), type);
}

static void take_link(link_state *it, const nlmsghdr *from)
{
	const ifinfomsg *header = get_header<ifinfomsg>(from);
	if (!header)
		return;
	uint32_t mtu, queue_length;
	const nlattr *info = get_link_attribute(from, IFLA_LINKINFO);
	it->is_there = true;
	it->index = header->ifi_index;
	it->is_up = header->ifi_flags & IFF_UP;
	if (get_value(&mtu, get_link_attribute(from, IFLA_MTU)))
		it->mtu = mtu;
	if (get_value(&queue_length, get_link_attribute(from, IFLA_TXQLEN)))
		it->queue_length = queue_length;
	it->header = header->ifi_type == ARPHRD_ETHER ? ETH_HLEN : 0;
	it->is_bridged = holds_text(get_nested(info, IFLA_INFO_SLAVE_KIND), "bridge");
}

/* Whether the link is a VLAN that stands on the device of that index, in this name space. */
static bool is_vlan_on(const nlmsghdr *from, int index)
{
	uint32_t below;
	const nlattr *info = get_link_attribute(from, IFLA_LINKINFO);
	return get_value(&below, get_link_attribute(from, IFLA_LINK)) &&
	       static_cast<int>(below) == index && !get_link_attribute(from, IFLA_LINK_NETNSID) &&
	       holds_text(get_nested(info, IFLA_INFO_KIND), "vlan");
}

static bool look_for_vlans(link_company *it, int index)
{
	answer_list links;
	if (!ask_links(&links))
		return false;
	for (const nlmsghdr *link : links)
		it->has_vlans |= is_vlan_on(link, index);
	free_answers(&links);
	return true;
}

static bool is_ipv6_of(const nlmsghdr *from, int index)
{
	const ifaddrmsg *header = get_header<ifaddrmsg>(from);
	return header && header->ifa_family == AF_INET6 && static_cast<int>(header->ifa_index) == index &&
	       header->ifa_scope != RT_SCOPE_LINK && header->ifa_scope != RT_SCOPE_HOST;
}

/* A kernel without IPv6 has no such addresses. */
static bool look_for_ipv6(link_company *it, int index)
{
	answer_list addresses;
	if (!ask_addresses(&addresses, AF_INET6))
		return errno == EOPNOTSUPP || errno == EAFNOSUPPORT;
	for (const nlmsghdr *address : addresses)
		it->has_ipv6 |= is_ipv6_of(address, index);
	free_answers(&addresses);
	return true;
}

static bool look_for_root(link_state *it)
{
	answer_list qdiscs;
	if (!ask_traffic_control(&qdiscs, RTM_GETQDISC, it->index, 0))
		return false;
	for (const nlmsghdr *qdisc : qdiscs) {
		const tcmsg *header = get_tcmsg(qdisc);
		const nlattr *kind = get_tc_attribute(qdisc, TCA_KIND);
		if (!header || header->tcm_ifindex != it->index || header->tcm_parent != TC_H_ROOT)
			continue;
		it->root_handle = header->tcm_handle;
		if (kind)
			snprintf(it->root_kind, sizeof(it->root_kind), "%.*s",
				 static_cast<int>(get_size(kind)), get_bytes(kind));
	}
	free_answers(&qdiscs);
	return true;
}

bool read_link(link_state *it, const char *device)
{
	answer_list links;
	*it = {};
	if (!ask_link(&links, device))
		return errno == ENODEV;
	for (const nlmsghdr *link : links)
		take_link(it, link);
	free_answers(&links);
	return !it->is_there || look_for_root(it);
}

bool read_company(link_company *it, int index)
{
	*it = {};
	return look_for_vlans(it, index) && look_for_ipv6(it, index);
}

/* The device's name, where the kernel ended it. */
static const char *get_name(const nlmsghdr *from)
{
	const nlattr *name = get_link_attribute(from, IFLA_IFNAME);
	return name && memchr(get_bytes(name), '\0', get_size(name)) ? get_bytes(name) : nullptr;
}

bool get_next_link(link_news *it)
{
	size_t to_next;
	const nlmsghdr *message;
	while ((message = get_message(it->at, it->left, &to_next))) {
		it->at += to_next;
		it->left -= to_next;
		const ifinfomsg *header = get_header<ifinfomsg>(message);
		if (message->nlmsg_type != RTM_NEWLINK || !header ||
		    header->ifi_family != AF_UNSPEC)
			continue;
		it->name = get_name(message);
		it->index = header->ifi_index;
		it->comes_up = (header->ifi_flags & IFF_UP) && (header->ifi_change & IFF_UP);
		if (it->name)
			return true;
	}
	return false;
}
