// SPDX-License-Identifier: MIT
/* Lines of tc. */
#include "batch.h"

#include <inttypes.h>

static const char *const LEAF_WORDS[] = { "", "sfq", "pfifo", "bfifo", "" };
static_assert(sizeof(LEAF_WORDS) / sizeof(LEAF_WORDS[0]) == LEAF_OTHER + 1, "a word for each kind");

/* --- root and classes --- */

void print_root(const batch *it, const tree *of)
{
	fprintf(it->to, "qdisc add dev %s root handle %x: ", it->device, it->major);
	if (of->kind == SPQ) {
		fprintf(it->to, "prio bands %d\n", BANDS);
		return;
	}
	fprintf(it->to, "htb default %x", of->otherwise);
	if (of->r2q != 0)
		fprintf(it->to, " r2q %u", of->r2q);
	fputc('\n', it->to);
}

void print_root_removal(const batch *it)
{
	fprintf(it->to, "qdisc del dev %s root\n", it->device);
}

/* The qdisc itself, or a class. */
static void print_parent(const batch *it, unsigned minor)
{
	fprintf(it->to, " parent %x:", it->major);
	if (minor != 0)
		fprintf(it->to, "%x", minor);
}

static void print_burst(const batch *it, const char *name, uint64_t bytes)
{
	if (bytes != 0)
		fprintf(it->to, " %s %" PRIu64 "b", name, bytes);
}

void print_class(const batch *it, const char *verb, const tree_class *made)
{
	fprintf(it->to, "class %s dev %s", verb, it->device);
	print_parent(it, made->parent);
	fprintf(it->to, " classid %x:%x htb rate %" PRIu64 "bit ceil %" PRIu64 "bit", it->major,
		made->minor, made->at.rate, made->at.ceil);
	print_burst(it, "burst", made->at.burst);
	print_burst(it, "cburst", made->at.cburst);
	fprintf(it->to, " prio %u", made->prio);
	if (made->mtu != 0)
		fprintf(it->to, " mtu %u", made->mtu);
	fputc('\n', it->to);
}

void print_class_removal(const batch *it, unsigned minor)
{
	fprintf(it->to, "class del dev %s classid %x:%x\n", it->device, it->major, minor);
}

/* --- leaves --- */

static void print_value(const batch *it, const char *name, bool is_given, uint64_t value)
{
	if (is_given)
		fprintf(it->to, " %s %" PRIu64, name, value);
}

void print_leaf(const batch *it, const char *verb, unsigned minor, const leaf *made)
{
	fprintf(it->to, "qdisc %s dev %s", verb, it->device);
	print_parent(it, minor);
	fprintf(it->to, " %s", LEAF_WORDS[made->kind]);
	bool is_sfq = made->kind == LEAF_SFQ;
	print_value(it, "perturb", is_sfq && made->has_perturb, made->perturb);
	print_value(it, "quantum", is_sfq && made->has_quantum, made->quantum);
	print_value(it, "limit", !is_sfq && made->has_limit, made->limit);
	fputc('\n', it->to);
}

void print_leaf_removal(const batch *it, unsigned minor)
{
	fprintf(it->to, "qdisc del dev %s", it->device);
	print_parent(it, minor);
	fputc('\n', it->to);
}

/* --- filters --- */

static void print_filter(const batch *it, const char *verb, unsigned prio)
{
	fprintf(it->to, "filter %s dev %s parent %x: protocol ip prio %u", verb, it->device,
		it->major, prio);
}

static void print_network(const batch *it, const char *name, const network *from)
{
	if (from->length == 0)
		return;
	fprintf(it->to, " match ip %s %u.%u.%u.%u/%d", name, from->address >> 24,
		from->address >> 16 & 0xff, from->address >> 8 & 0xff, from->address & 0xff,
		from->length);
}

static void print_port(const batch *it, const char *name, uint16_t value, uint16_t mask)
{
	if (mask != 0)
		fprintf(it->to, " match ip %s %u 0x%x", name, value, mask);
}

/* Ports stand where they are looked for only behind a header without options, and in the first
 * fragment. */
static void print_ports(const batch *it, const match *from)
{
	if (from->source_mask == 0 && from->destination_mask == 0)
		return;
	fputs(" match ip ihl 5 0xf match u16 0x0 0x1fff at 6", it->to);
	print_port(it, "sport", from->source_port, from->source_mask);
	print_port(it, "dport", from->destination_port, from->destination_mask);
}

static bool is_any_packet(const match *it)
{
	return it->source.length == 0 && it->destination.length == 0 && it->source_mask == 0 &&
	       it->destination_mask == 0 && it->proto == ANY_PROTOCOL && it->tos == ANY_TOS;
}

static void print_match(const batch *it, const match *from)
{
	if (is_any_packet(from)) {
		fputs(" match u32 0 0 at 0", it->to); // tc takes no filter without a match
		return;
	}
	print_network(it, "src", &from->source);
	print_network(it, "dst", &from->destination);
	if (from->tos != ANY_TOS)
		fprintf(it->to, " match ip tos 0x%02x 0xe0", static_cast<unsigned>(from->tos) << 5);
	if (from->proto != ANY_PROTOCOL)
		fprintf(it->to, " match ip protocol %d 0xff", from->proto);
	print_ports(it, from);
}

/* Each priority has a hash table of its own, whose number nobody knows before it is there: the
 * handle names the place within it alone, and the kernel fills in the rest. */
void print_u32(const batch *it, const tree_filter *made, unsigned number)
{
	print_filter(it, "add", made->prio);
	fprintf(it->to, " handle ::%x u32", number);
	print_match(it, &made->packet);
	fprintf(it->to, " flowid %x:%x\n", it->major, made->to);
}

void print_fw(const batch *it, const char *verb, unsigned prio, unsigned mark, unsigned minor)
{
	print_filter(it, verb, prio);
	fprintf(it->to, " handle 0x%x/0xffff fw flowid %x:%x\n", mark, it->major, minor);
}

/* Without the number of the table the kernel finds nothing to remove. */
void print_u32_removal(const batch *it, const tree_filter *gone)
{
	print_filter(it, "del", gone->prio);
	fprintf(it->to, " handle %x:", gone->whole_handle >> 20);
	if (unsigned bucket = gone->whole_handle >> 12 & 0xff)
		fprintf(it->to, "%x", bucket);
	fprintf(it->to, ":%x u32\n", gone->whole_handle & RULE_HANDLE_MAX);
}

void print_fw_removal(const batch *it, unsigned prio, unsigned mark)
{
	print_filter(it, "del", prio);
	fprintf(it->to, " handle 0x%x fw\n", mark);
}

void print_prio_removal(const batch *it, unsigned prio)
{
	print_filter(it, "del", prio);
	fputs(" u32\n", it->to);
}
