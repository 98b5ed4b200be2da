// SPDX-License-Identifier: MIT
/* Questions to the kernel by netlink, and what its answers hold. Private to this room. */
#ifndef KERNEL_NETLINK_H
#define KERNEL_NETLINK_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <linux/rtnetlink.h>

#include "../plan/list.h"

typedef list<nlmsghdr *> answer_list; // copies, which free_answers releases

/* All messages of the kernel's answer. One that changes while it is listed is asked for anew. False
 * with errno set, and an empty list, where there is none: ENODEV for a device that is not there. */
bool ask_link(answer_list *to, const char *device);
bool ask_links(answer_list *to);
bool ask_addresses(answer_list *to, unsigned char family);

/* Qdiscs (RTM_GETQDISC), of all devices; classes (RTM_GETTCLASS) of the device; filters
 * (RTM_GETTFILTER) of the device that hang at parent. */
bool ask_traffic_control(answer_list *to, uint16_t type, int index, uint32_t parent);

void free_answers(answer_list *it);

/* Adds copies of the messages in so many bytes, which must answer the request and go to the port.
 * FAILED with errno set, where what came before stays in the list: a listing that breaks off is no
 * shorter listing. */
enum answer_state { MORE_COMES, COMPLETE, FAILED };
answer_state take_messages(answer_list *to, const char *at, size_t size, const nlmsghdr *request,
			   unsigned port);

/* What stands behind the header of a message, or of an attribute, and how long it is. */
inline const char *get_bytes(const nlmsghdr *from)
{
	return reinterpret_cast<const char *>(from) + sizeof(*from);
}

inline size_t get_size(const nlmsghdr *from)
{
	return from->nlmsg_len - sizeof(*from);
}

inline const char *get_bytes(const nlattr *from)
{
	return reinterpret_cast<const char *>(from) + sizeof(*from);
}

inline size_t get_size(const nlattr *from)
{
	return from->nla_len - sizeof(*from);
}

/* The first message in so many bytes, where it is there as a whole; else null. to_next is how far
 * behind it the next begins. */
const nlmsghdr *get_message(const char *at, size_t size, size_t *to_next);

/* The first attribute of that type behind the message's own header of so many bytes, or among those
 * of another attribute; null where there is none. */
const nlattr *get_attribute(const nlmsghdr *from, size_t header, uint16_t type);
const nlattr *get_nested(const nlattr *in, uint16_t type);

/* Whether the attribute is there and holds this text. */
bool holds_text(const nlattr *it, const char *text);

/* Copies what the attribute holds. False where it is null or holds less. */
template <class T> bool get_value(T *to, const nlattr *from)
{
	if (!from || get_size(from) < sizeof(T))
		return false;
	memcpy(to, get_bytes(from), sizeof(T));
	return true;
}

/* The header that messages of a kind have of their own; null for a message that is too short. */
template <class T> const T *get_header(const nlmsghdr *from)
{
	return get_size(from) < sizeof(T) ? nullptr : reinterpret_cast<const T *>(get_bytes(from));
}

inline const tcmsg *get_tcmsg(const nlmsghdr *from)
{
	return get_header<tcmsg>(from);
}

/* An attribute of a message of traffic control. */
const nlattr *get_tc_attribute(const nlmsghdr *from, uint16_t type);

#endif
