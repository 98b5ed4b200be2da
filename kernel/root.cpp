// SPDX-License-Identifier: MIT
/* The root qdisc of a device. */
#include "root.h"

#include <errno.h>
#include <linux/pkt_sched.h>
#include <net/if.h>

namespace {

struct known_root {
	uint32_t handle;
	const char *kind;
};

} // namespace

/* In the order of enum discipline. */
static const known_root ROOTS[] = { { HTB_MAJOR << 16, "htb" }, { SPQ_MAJOR << 16, "prio" } };

/* Leaves those of other devices out: the kernel lists all. */
static void keep_own(answer_list *qdiscs, int index)
{
	size_t kept = 0;
	for (nlmsghdr *qdisc : *qdiscs) {
		const tcmsg *header = get_tcmsg(qdisc);
		if (header && header->tcm_ifindex == index)
			qdiscs->items[kept++] = qdisc;
		else
			free(qdisc);
	}
	qdiscs->count = kept;
}

bool is_our_root(uint32_t handle, const char *kind)
{
	for (const known_root &it : ROOTS) {
		if (it.handle == handle && strcmp(it.kind, kind) == 0)
			return true;
	}
	return false;
}

static void look_at(root_qdisc *it, const nlmsghdr *qdisc)
{
	const tcmsg *header = get_tcmsg(qdisc);
	if (header->tcm_parent != TC_H_ROOT)
		return;
	for (int i = HTB; i <= SPQ; i++) {
		if (header->tcm_handle != ROOTS[i].handle ||
		    !holds_text(get_tc_attribute(qdisc, TCA_KIND), ROOTS[i].kind))
			continue;
		it->is_ours = true;
		it->kind = static_cast<discipline>(i);
		it->handle = header->tcm_handle;
		it->answer = qdisc;
	}
}

bool read_root(root_qdisc *it, const char *device)
{
	*it = {};
	it->index = static_cast<int>(if_nametoindex(device));
	if (it->index == 0)
		return errno == ENODEV;
	if (!ask_traffic_control(&it->qdiscs, RTM_GETQDISC, it->index, 0))
		return false;
	keep_own(&it->qdiscs, it->index);
	for (const nlmsghdr *qdisc : it->qdiscs)
		look_at(it, qdisc);
	return true;
}

void free_root(root_qdisc *it)
{
	free_answers(&it->qdiscs);
	*it = {};
}

bool is_class_of(const root_qdisc *it, uint32_t handle)
{
	return it->is_ours && TC_H_MAJ(handle) == it->handle && TC_H_MIN(handle) != 0;
}

unsigned get_minor(uint32_t handle)
{
	return TC_H_MIN(handle);
}
