// SPDX-License-Identifier: MIT
/* Questions to the kernel by netlink. */
#include "netlink.h"

#include <assert.h>
#include <errno.h>
#include <linux/if.h>
#include <sys/socket.h>
#include <unistd.h>

static const size_t REQUEST_ROOM = 256;
static const size_t ANSWER_ROOM = 32 * 1024; // the most that the kernel puts in one answer
static const int ATTEMPTS = 20;              // at a listing that something else changes meanwhile

namespace {

struct request {
	alignas(nlmsghdr) char bytes[REQUEST_ROOM];
	nlmsghdr *header;
};

} // namespace

/* Everything in a message begins at a multiple of four. */
static size_t align(size_t length)
{
	return (length + NLMSG_ALIGNTO - 1) / NLMSG_ALIGNTO * NLMSG_ALIGNTO;
}

const nlmsghdr *get_message(const char *at, size_t size, size_t *to_next)
{
	const nlmsghdr *message = reinterpret_cast<const nlmsghdr *>(at);
	if (size < sizeof(*message) || message->nlmsg_len < sizeof(*message) ||
	    message->nlmsg_len > size)
		return nullptr;
	*to_next = align(message->nlmsg_len) < size ? align(message->nlmsg_len) : size;
	return message;
}

/* --- asking --- */

static void keep_message(answer_list *list, const nlmsghdr *message)
{
	nlmsghdr *copy = static_cast<nlmsghdr *>(malloc(message->nlmsg_len));
	if (!copy)
		end_without_memory();
	memcpy(copy, message, message->nlmsg_len);
	*add_item(list) = copy;
}

static answer_state fail(int reason)
{
	errno = reason;
	return FAILED;
}

/* The kernel answers with an error whose number is 0 where it only says that it is done. */
static answer_state read_error(const nlmsghdr *message)
{
	const nlmsgerr *told = get_header<nlmsgerr>(message);
	if (!told)
		return fail(EBADMSG);
	return told->error == 0 ? COMPLETE : fail(told->error < 0 ? -told->error : told->error);
}

/* The end of a listing says how it went: below 0 is why there is no more of it. */
static answer_state read_end(const nlmsghdr *message)
{
	const int *result = get_header<int>(message);
	if (!result)
		return fail(EBADMSG);
	return *result < 0 ? fail(-*result) : COMPLETE;
}

static answer_state take_message(answer_list *to, const nlmsghdr *message)
{
	if (message->nlmsg_flags & NLM_F_DUMP_INTR)
		return fail(EINTR);
	if (message->nlmsg_type == NLMSG_ERROR)
		return read_error(message);
	if (message->nlmsg_type == NLMSG_DONE)
		return read_end(message);
	if (message->nlmsg_type >= NLMSG_MIN_TYPE)
		keep_message(to, message);
	return MORE_COMES;
}

/* Messages that answer somebody else's question are a fault of the kernel, or none of its own. */
answer_state take_messages(answer_list *to, const char *at, size_t size, const nlmsghdr *request,
			   unsigned port)
{
	size_t to_next = 0;
	answer_state state = MORE_COMES;
	while (state == MORE_COMES && size > 0) {
		const nlmsghdr *message = get_message(at, size, &to_next);
		if (!message)
			return fail(EBADMSG);
		if (message->nlmsg_seq != request->nlmsg_seq || message->nlmsg_pid != port)
			return fail(EPROTO);
		state = take_message(to, message);
		at += to_next;
		size -= to_next;
	}
	return state;
}

/* Takes the messages until the kernel says that there are no more. */
static bool take_answer(int fd, const nlmsghdr *request, unsigned port, answer_list *to)
{
	alignas(nlmsghdr) char bytes[ANSWER_ROOM];
	answer_state state = MORE_COMES;
	while (state == MORE_COMES) {
		ssize_t size = recv(fd, bytes, sizeof(bytes), MSG_TRUNC);
		if (size < 0 && errno == EINTR)
			continue;
		if (size < 0)
			return false;
		if (static_cast<size_t>(size) > sizeof(bytes)) {
			errno = ENOSPC;
			return false;
		}
		state = take_messages(to, bytes, static_cast<size_t>(size), request, port);
	}
	return state == COMPLETE;
}

/* Connected to the kernel, a socket takes nothing from other programs. The kernel gives it a port,
 * by which it addresses the answers. */
static bool connect_kernel(int fd, unsigned *port)
{
	struct sockaddr_nl own = {}, kernel = {};
	socklen_t size = sizeof(own);
	own.nl_family = kernel.nl_family = AF_NETLINK;
	if (bind(fd, reinterpret_cast<sockaddr *>(&own), sizeof(own)) != 0 ||
	    connect(fd, reinterpret_cast<sockaddr *>(&kernel), sizeof(kernel)) != 0 ||
	    getsockname(fd, reinterpret_cast<sockaddr *>(&own), &size) != 0)
		return false;
	*port = own.nl_pid;
	return true;
}

/* Each attempt has a socket of its own: what is left of an interrupted answer goes with it. */
static bool ask_once(const nlmsghdr *request, answer_list *to)
{
	unsigned port;
	int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
	if (fd < 0)
		return false;
	bool answered = connect_kernel(fd, &port) &&
			send(fd, request, request->nlmsg_len, 0) >= 0 &&
			take_answer(fd, request, port, to);
	int reason = errno;
	close(fd);
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

/* Room for so many more bytes at the end of the request. */
static char *add_room(request *it, size_t size)
{
	size_t at = it->header->nlmsg_len;
	assert(at + align(size) <= sizeof(it->bytes));
	it->header->nlmsg_len = static_cast<uint32_t>(at + align(size));
	return it->bytes + at;
}

static void *begin_request(request *it, uint16_t type, uint16_t flags, size_t header)
{
	*it = {};
	it->header = reinterpret_cast<nlmsghdr *>(it->bytes);
	it->header->nlmsg_len = sizeof(nlmsghdr);
	it->header->nlmsg_type = type;
	it->header->nlmsg_flags = static_cast<uint16_t>(NLM_F_REQUEST | flags);
	it->header->nlmsg_seq = 1;
	return add_room(it, header);
}

static void add_text(request *it, uint16_t type, const char *text)
{
	size_t size = strlen(text) + 1;
	nlattr head = { static_cast<uint16_t>(sizeof(head) + size), type };
	char *at = add_room(it, head.nla_len);
	memcpy(at, &head, sizeof(head));
	memcpy(at + sizeof(head), text, size);
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
	add_text(&it, IFLA_IFNAME, device);
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

/* The first attribute of that type in so many bytes. */
static const nlattr *find_attribute(const char *at, size_t size, uint16_t type)
{
	while (size >= sizeof(nlattr)) {
		const nlattr *attribute = reinterpret_cast<const nlattr *>(at);
		size_t length = attribute->nla_len;
		if (length < sizeof(nlattr) || length > size)
			return nullptr;
		if ((attribute->nla_type & NLA_TYPE_MASK) == type)
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
	size_t size = get_size(from);
	header = align(header);
	return size < header ? nullptr : find_attribute(get_bytes(from) + header, size - header, type);
}

const nlattr *get_nested(const nlattr *in, uint16_t type)
{
	return in ? find_attribute(get_bytes(in), get_size(in), type) : nullptr;
}

bool holds_text(const nlattr *it, const char *text)
{
	size_t size = strlen(text) + 1;
	return it && get_size(it) >= size && memcmp(get_bytes(it), text, size) == 0;
}

const nlattr *get_tc_attribute(const nlmsghdr *from, uint16_t type)
{
	return get_attribute(from, sizeof(tcmsg), type);
}
