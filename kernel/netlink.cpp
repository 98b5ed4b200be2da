// SPDX-License-Identifier: MIT
/* Questions to the kernel by netlink. */
#include "netlink.h"

#include <errno.h>
#include <linux/if.h>

static const size_t REQUEST_ROOM = 256;
static const size_t ANSWER_ROOM = 32 * 1024; // the most that the kernel puts in one answer
static const int ATTEMPTS = 20;              // at a listing that something else changes meanwhile

namespace {

struct request {
	alignas(nlmsghdr) char bytes[REQUEST_ROOM];
	nlmsghdr *header;
};

} // namespace

/* --- asking --- */

static int keep_message(const nlmsghdr *message, void *list)
{
	nlmsghdr *copy = static_cast<nlmsghdr *>(malloc(message->nlmsg_len));
	if (!copy)
		end_without_memory();
	memcpy(copy, message, message->nlmsg_len);
	*add_item(static_cast<answer_list *>(list)) = copy;
	return MNL_CB_OK;
}

/* Sends the request and takes the messages until the kernel says that there are no more. */
static bool exchange(mnl_socket *over, const nlmsghdr *request, answer_list *to)
{
	alignas(nlmsghdr) char bytes[ANSWER_ROOM];
	unsigned port = mnl_socket_get_portid(over);
	if (mnl_socket_sendto(over, request, request->nlmsg_len) < 0)
		return false;
	for (;;) {
		ssize_t size = mnl_socket_recvfrom(over, bytes, sizeof(bytes));
		if (size < 0 && errno == EINTR)
			continue;
		if (size < 0)
			return false;
		int more = mnl_cb_run(bytes, static_cast<size_t>(size), request->nlmsg_seq, port,
				      keep_message, to);
		if (more <= 0)
			return more == 0;
	}
}

/* Each attempt has a socket of its own: what is left of an interrupted answer goes with it. */
static bool ask_once(const nlmsghdr *request, answer_list *to)
{
	mnl_socket *over = mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC);
	if (!over)
		return false;
	bool answered = mnl_socket_bind(over, 0, MNL_SOCKET_AUTOPID) == 0 &&
			exchange(over, request, to);
	int reason = errno;
	mnl_socket_close(over);
	errno = reason;
	return answered;
}

static bool ask(answer_list *to, const request *it)
{
	*to = {};
	for (int i = 0; i < ATTEMPTS; i++) {
		if (ask_once(it->header, to))
			return true;
		int reason = errno;
		free_answers(to);
		errno = reason;
		if (reason != EINTR)
			return false;
	}
	return false;
}

static void *begin_request(request *it, uint16_t type, uint16_t flags, size_t header)
{
	*it = {};
	it->header = mnl_nlmsg_put_header(it->bytes);
	it->header->nlmsg_type = type;
	it->header->nlmsg_flags = static_cast<uint16_t>(NLM_F_REQUEST | flags);
	it->header->nlmsg_seq = 1;
	return mnl_nlmsg_put_extra_header(it->header, header);
}

bool ask_link(answer_list *to, const char *device)
{
	request it;
	*to = {};
	if (strlen(device) >= IFNAMSIZ) {
		errno = ENODEV;
		return false;
	}
	begin_request(&it, RTM_GETLINK, NLM_F_ACK, sizeof(ifinfomsg));
	mnl_attr_put_strz(it.header, IFLA_IFNAME, device);
	return ask(to, &it);
}

bool ask_links(answer_list *to)
{
	request it;
	begin_request(&it, RTM_GETLINK, NLM_F_DUMP, sizeof(ifinfomsg));
	return ask(to, &it);
}

bool ask_addresses(answer_list *to, unsigned char family)
{
	request it;
	void *header = begin_request(&it, RTM_GETADDR, NLM_F_DUMP, sizeof(ifaddrmsg));
	static_cast<ifaddrmsg *>(header)->ifa_family = family;
	return ask(to, &it);
}

bool ask_traffic_control(answer_list *to, uint16_t type, int index, uint32_t parent)
{
	request it;
	tcmsg *header = static_cast<tcmsg *>(begin_request(&it, type, NLM_F_DUMP, sizeof(tcmsg)));
	header->tcm_ifindex = index;
	header->tcm_parent = parent;
	return ask(to, &it);
}

void free_answers(answer_list *it)
{
	for (nlmsghdr *message : *it)
		free(message);
	free_list(it);
}

/* --- what an answer holds --- */

/* Everything in a message begins at a multiple of four. */
static size_t align(size_t length)
{
	return (length + MNL_ALIGNTO - 1) / MNL_ALIGNTO * MNL_ALIGNTO;
}

/* The first attribute of that type in so many bytes. */
static const nlattr *find_attribute(const char *at, size_t size, uint16_t type)
{
	while (size >= sizeof(nlattr)) {
		const nlattr *attribute = reinterpret_cast<const nlattr *>(at);
		size_t length = attribute->nla_len;
		if (length < sizeof(nlattr) || length > size)
			return nullptr;
		if (mnl_attr_get_type(attribute) == type)
			return attribute;
		length = align(length);
		if (length > size)
			return nullptr;
		at += length;
		size -= length;
	}
	return nullptr;
}

const nlattr *get_attribute(const nlmsghdr *from, size_t header, uint16_t type)
{
	size_t size = mnl_nlmsg_get_payload_len(from);
	header = align(header);
	if (size < header)
		return nullptr;
	const void *first = mnl_nlmsg_get_payload_offset(from, header);
	return find_attribute(static_cast<const char *>(first), size - header, type);
}

const nlattr *get_nested(const nlattr *in, uint16_t type)
{
	if (!in)
		return nullptr;
	const void *first = mnl_attr_get_payload(in);
	return find_attribute(static_cast<const char *>(first), mnl_attr_get_payload_len(in), type);
}

bool holds_text(const nlattr *it, const char *text)
{
	size_t size = strlen(text) + 1;
	return it && mnl_attr_get_payload_len(it) >= size &&
	       memcmp(mnl_attr_get_payload(it), text, size) == 0;
}

const tcmsg *get_tcmsg(const nlmsghdr *from)
{
	if (mnl_nlmsg_get_payload_len(from) < sizeof(tcmsg))
		return nullptr;
	return static_cast<const tcmsg *>(mnl_nlmsg_get_payload(from));
}

const nlattr *get_tc_attribute(const nlmsghdr *from, uint16_t type)
{
	return get_attribute(from, sizeof(tcmsg), type);
}
