// SPDX-License-Identifier: MIT
#include "witness.h"

#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/gen_stats.h>
#include <linux/pkt_cls.h>
#include <linux/pkt_sched.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <functional>
#include <set>

#include "machine.h"

typedef std::map<int, const nlattr *> attributes;
typedef std::function<void(const tcmsg *, const attributes &)> taker;

static attributes read_attributes(const nlattr *first, size_t size)
{
	attributes found;
	for (const nlattr *at = first; mnl_attr_ok(at, static_cast<int>(size));) {
		found[mnl_attr_get_type(at)] = at;
		size_t length = (at->nla_len + size_t{ 3 }) / 4 * 4;
		if (length >= size)
			break;
		size -= length;
		at = mnl_attr_next(at);
	}
	return found;
}

static attributes nested(const attributes &in, int type)
{
	auto at = in.find(type);
	if (at == in.end())
		return {};
	return read_attributes(static_cast<const nlattr *>(mnl_attr_get_payload(at->second)),
			       mnl_attr_get_payload_len(at->second));
}

/* A value of fixed layout, zeroes where the kernel says none or a shorter one. */
template <typename value> static value get(const attributes &in, int type)
{
	value it = {};
	auto at = in.find(type);
	if (at != in.end()) {
		size_t size = mnl_attr_get_payload_len(at->second);
		memcpy(&it, mnl_attr_get_payload(at->second), std::min(size, sizeof(it)));
	}
	return it;
}

static int take_message(const nlmsghdr *header, void *data)
{
	const tcmsg *message = static_cast<const tcmsg *>(mnl_nlmsg_get_payload(header));
	size_t size = mnl_nlmsg_get_payload_len(header) - sizeof(*message);
	(*static_cast<taker *>(data))(message, read_attributes(
		static_cast<const nlattr *>(mnl_nlmsg_get_payload_offset(header, sizeof(*message))),
		size));
	return MNL_CB_OK;
}

static void dump(int type, const std::string &device, uint32_t parent, taker take)
{
	unsigned index = if_nametoindex(device.c_str());
	if (index == 0)
		return;
	std::vector<char> room(1 << 17);
	nlmsghdr *header = mnl_nlmsg_put_header(room.data());
	header->nlmsg_type = static_cast<uint16_t>(type);
	header->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
	header->nlmsg_seq = 1;
	tcmsg *message = static_cast<tcmsg *>(mnl_nlmsg_put_extra_header(header, sizeof(*message)));
	message->tcm_family = AF_UNSPEC;
	message->tcm_ifindex = static_cast<int>(index);
	message->tcm_parent = parent;
	taker own = [&](const tcmsg *it, const attributes &with) {
		// a dump of qdiscs has all devices
		if (it->tcm_ifindex == static_cast<int>(index))
			take(it, with);
	};
	mnl_socket *socket = mnl_socket_open(NETLINK_ROUTE);
	ASSERT_NE(socket, nullptr);
	ASSERT_EQ(mnl_socket_bind(socket, 0, MNL_SOCKET_AUTOPID), 0);
	ASSERT_GT(mnl_socket_sendto(socket, header, header->nlmsg_len), 0);
	int more = MNL_CB_OK;
	while (more > MNL_CB_STOP) {
		ssize_t got = mnl_socket_recvfrom(socket, room.data(), room.size());
		ASSERT_GT(got, 0);
		more = mnl_cb_run(room.data(), static_cast<size_t>(got), 1,
				  mnl_socket_get_portid(socket), take_message, &own);
	}
	mnl_socket_close(socket);
}

/* The kernel keeps a burst as the time that it takes at the rate, in ticks of its own. */
static uint64_t get_burst(uint32_t ticks, uint64_t bytes_a_second)
{
	static double ticks_a_second;
	if (ticks_a_second == 0) {
		unsigned from = 0, to = 0, resolution = 0;
		sscanf(text_of("/proc/net/psched").c_str(), "%x %x %x", &from, &to, &resolution);
		ticks_a_second = static_cast<double>(from) / to * resolution;
	}
	return static_cast<uint64_t>(static_cast<double>(bytes_a_second) * ticks / ticks_a_second);
}

static std::string kind_in(const attributes &with)
{
	auto at = with.find(TCA_KIND);
	return at == with.end() ? "" : mnl_attr_get_str(at->second);
}

static void read_shaping(seen_class *it, const attributes &options)
{
	tc_htb_opt set = get<tc_htb_opt>(options, TCA_HTB_PARMS);
	uint64_t rate = get<uint64_t>(options, TCA_HTB_RATE64);
	uint64_t ceil = get<uint64_t>(options, TCA_HTB_CEIL64);
	rate = rate ? rate : set.rate.rate;
	ceil = ceil ? ceil : set.ceil.rate;
	it->rate = 8 * rate;
	it->ceil = 8 * ceil;
	it->burst = get_burst(set.buffer, rate);
	it->cburst = get_burst(set.cbuffer, ceil);
	it->quantum = set.quantum;
	it->prio = set.prio;
}

seen_classes classes_of(const std::string &device)
{
	seen_classes found;
	dump(RTM_GETTCLASS, device, 0, [&](const tcmsg *message, const attributes &with) {
		seen_class it = {};
		it.kind = kind_in(with);
		if (it.kind != "htb" && it.kind != "prio")
			return; // a flow of a leaf
		it.parent = message->tcm_parent;
		it.leaf = message->tcm_info;
		if (it.kind == "htb")
			read_shaping(&it, nested(with, TCA_OPTIONS));
		attributes counters = nested(with, TCA_STATS2);
		gnet_stats_basic sent = get<gnet_stats_basic>(counters, TCA_STATS_BASIC);
		gnet_stats_queue queue = get<gnet_stats_queue>(counters, TCA_STATS_QUEUE);
		it.bytes = sent.bytes;
		it.packets = sent.packets;
		it.dropped = queue.drops;
		it.queued = queue.qlen;
		it.backlog = queue.backlog;
		found[message->tcm_handle] = it;
	});
	return found;
}

static void read_options(seen_qdisc *it, const attributes &with)
{
	attributes options = nested(with, TCA_OPTIONS);
	if (it->kind == "htb") {
		tc_htb_glob set = get<tc_htb_glob>(options, TCA_HTB_INIT);
		it->otherwise = set.defcls;
		it->r2q = set.rate2quantum;
		it->direct = set.direct_pkts;
	} else if (it->kind == "prio") {
		it->bands = static_cast<uint32_t>(get<tc_prio_qopt>(with, TCA_OPTIONS).bands);
	} else if (it->kind == "sfq") {
		tc_sfq_qopt set = get<tc_sfq_qopt>(with, TCA_OPTIONS);
		it->limit = set.limit;
		it->quantum = set.quantum;
		it->perturb = set.perturb_period;
	} else {
		it->limit = get<tc_fifo_qopt>(with, TCA_OPTIONS).limit;
	}
}

seen_qdiscs qdiscs_of(const std::string &device)
{
	seen_qdiscs found;
	dump(RTM_GETQDISC, device, 0, [&](const tcmsg *message, const attributes &with) {
		seen_qdisc it = {};
		it.kind = kind_in(with);
		it.handle = message->tcm_handle;
		read_options(&it, with);
		attributes counters = nested(with, TCA_STATS2);
		it.packets = get<gnet_stats_basic>(counters, TCA_STATS_BASIC).packets;
		it.dropped = get<gnet_stats_queue>(counters, TCA_STATS_QUEUE).drops;
		found[message->tcm_parent] = it;
	});
	return found;
}

bool seen_filter::operator==(const seen_filter &other) const
{
	return kind == other.kind && prio == other.prio && protocol == other.protocol &&
	       handle == other.handle && classid == other.classid && mask == other.mask &&
	       keys == other.keys;
}

static void read_keys(seen_filter *it, const attributes &options)
{
	auto at = options.find(TCA_U32_SEL);
	if (at == options.end())
		return;
	const tc_u32_sel *set =
		static_cast<const tc_u32_sel *>(mnl_attr_get_payload(at->second));
	for (int i = 0; i < set->nkeys; i++) {
		char text[64];
		snprintf(text, sizeof(text), "%08x/%08x at %d", ntohl(set->keys[i].val),
			 ntohl(set->keys[i].mask), set->keys[i].off);
		it->keys.push_back(text);
	}
}

std::vector<seen_filter> filters_of(const std::string &device, uint32_t parent)
{
	std::vector<seen_filter> found;
	dump(RTM_GETTFILTER, device, parent, [&](const tcmsg *message, const attributes &with) {
		attributes options = nested(with, TCA_OPTIONS);
		seen_filter it = { kind_in(with), message->tcm_info >> 16,
				   ntohs(static_cast<uint16_t>(message->tcm_info)),
				   message->tcm_handle, 0, 0, {} };
		if (it.kind == "u32") {
			it.classid = get<uint32_t>(options, TCA_U32_CLASSID);
			read_keys(&it, options);
		} else if (it.kind == "fw") {
			it.classid = get<uint32_t>(options, TCA_FW_CLASSID);
			it.mask = get<uint32_t>(options, TCA_FW_MASK);
		}
		if (it.classid) // else a table of filters, or the head of a priority
			found.push_back(it);
	});
	return found;
}

std::string id_text(uint32_t id)
{
	char text[32];
	snprintf(text, sizeof(text), "%x:%x", id >> 16, id & 0xffff);
	return text;
}

uint32_t id_of(const std::string &text)
{
	unsigned major = 0, minor = 0;
	sscanf(text.c_str(), "%x:%x", &major, &minor);
	return major << 16 | minor;
}

static std::string numbers(const std::string &name, const std::vector<uint64_t> &values)
{
	std::string line = name;
	for (uint64_t it : values)
		line += " " + std::to_string(it);
	return line + "\n";
}

std::string state_of(const std::string &device)
{
	std::string text;
	uint32_t root = 0;
	for (const auto &[parent, it] : qdiscs_of(device)) {
		if (parent == TC_H_ROOT)
			root = it.handle;
		text += numbers("qdisc " + it.kind + " below " + id_text(parent),
				{ it.limit, it.quantum, static_cast<uint64_t>(it.perturb), it.bands,
				  it.otherwise, it.r2q });
	}
	seen_classes classes = classes_of(device);
	std::set<uint32_t> inner;
	for (const auto &[id, it] : classes)
		inner.insert(it.parent);
	for (const auto &[id, it] : classes) {
		// The quantum of an inner class is of the time when it was none: it says nothing.
		uint32_t quantum = inner.count(id) ? 0 : it.quantum;
		text += numbers("class " + it.kind + " " + id_text(id) + " below " +
				id_text(it.parent),
				{ it.rate, it.ceil, it.burst, it.cburst, quantum, it.prio });
	}
	for (const seen_filter &it : filters_of(device, root)) {
		text += numbers("filter " + it.kind + " to " + id_text(it.classid),
				{ it.prio, it.protocol, it.kind == "fw" ? it.handle : 0, it.mask });
		for (const std::string &key : it.keys)
			text += "    " + key + "\n";
	}
	return text;
}

std::string firewall()
{
	std::string rules, line;
	std::string all = run({ "iptables-save", "-t", "mangle" }).out;
	for (char c : all) {
		line += c;
		if (c != '\n')
			continue;
		// one that is not built in
		bool is_chain = line[0] == ':' && line.find(" - ") != std::string::npos;
		if (is_chain || line[0] == '-')
			rules += line.substr(0, line.find(" [")) + (line[0] == ':' ? "\n" : "");
		line.clear();
	}
	return rules;
}

std::string state_now()
{
	bool has_tables = !text_of("/proc/net/ip_tables_names").empty();
	return state_of("eth0") + (has_tables ? firewall() : "");
}
