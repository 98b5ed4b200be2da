// SPDX-License-Identifier: MIT
/* The chain of the firewall that marks the packets of a device. Its lines are written as
 * iptables-save prints them, so that what runs can be compared as text.
 *
 * The first line clears the bits of the mark that are ours; every other one asks for their being
 * clear, for a later rule is not to undo an earlier one, and sets them. */
#include "chain.h"

#include <string.h>

#include "../store/text_stream.h"

static const char CLEAR_MARK[] = "-j MARK --set-xmark 0x0/0xffff";
const char SET_MARK[] = "-m mark --mark 0x0/0xffff -j MARK --set-xmark 0x";
static const char MARK_MASK[] = "/0xffff";

static const size_t WORD_SIZE = 64; // bytes for what is the same in all lines of a device

/* --- writing --- */

static void print_network(FILE *to, char option, const network *it)
{
	if (it->length == 0)
		return;
	fprintf(to, "-%c %u.%u.%u.%u/%d ", option, it->address >> 24, it->address >> 16 & 0xff,
		it->address >> 8 & 0xff, it->address & 0xff, it->length);
}

static bool is_any_port(uint16_t first, uint16_t last)
{
	return first == 0 && last == UINT16_MAX;
}

static bool has_ports(const match *it)
{
	return !is_any_port(it->source_first, it->source_last) ||
	       !is_any_port(it->destination_first, it->destination_last);
}

static void print_ports(FILE *to, const char *option, uint16_t first, uint16_t last)
{
	if (is_any_port(first, last))
		return;
	fprintf(to, "--%s %u", option, first);
	if (last != first)
		fprintf(to, ":%u", last);
	fputc(' ', to);
}

static void print_protocol(FILE *to, const match *it, int proto)
{
	if (proto == ANY_PROTOCOL)
		return;
	const char *name = proto == TCP ? "tcp" : "udp";
	fprintf(to, "-p %s ", name);
	if (!has_ports(it))
		return;
	fprintf(to, "-m %s ", name);
	print_ports(to, "sport", it->source_first, it->source_last);
	print_ports(to, "dport", it->destination_first, it->destination_last);
}

/* The order of the words is that of iptables-save. */
static void print_rule(FILE *to, const char *device, const packet_rule *it, int proto)
{
	const match *packet = &it->packet;
	fprintf(to, "-A QOS-%s ", device);
	print_network(to, 's', &packet->source);
	print_network(to, 'd', &packet->destination);
	print_protocol(to, packet, proto);
	if (packet->tos != ANY_TOS)
		fprintf(to, "-m tos --tos 0x%02x/0xe0 ", static_cast<unsigned>(packet->tos) << 5);
	fprintf(to, "%s%x%s", SET_MARK, it->mark, MARK_MASK);
}

static void open_line(text_stream *it)
{
	if (!open_text_stream(it))
		end_without_memory();
}

static void add_line(tree *to, text_stream *from)
{
	if (!close_text_stream(from))
		end_without_memory();
	*add_item(&to->chain) = from->text;
}

static void add_rule(tree *to, const char *device, const packet_rule *it, int proto)
{
	text_stream line;
	open_line(&line);
	print_rule(line.stream, device, it, proto);
	add_line(to, &line);
}

static void add_first_line(tree *to, const char *device)
{
	text_stream line;
	open_line(&line);
	fprintf(line.stream, "-A QOS-%s %s", device, CLEAR_MARK);
	add_line(to, &line);
}

void make_chain(tree *it, const device *from)
{
	for (const packet_rule &rule : from->rules) {
		if (!rule.is_marked || !has_effect(from, &rule))
			continue;
		if (it->chain.count == 0)
			add_first_line(it, from->name);
		// Only these two have ports.
		if (rule.packet.proto == ANY_PROTOCOL && has_ports(&rule.packet)) {
			add_rule(it, from->name, &rule, TCP);
			add_rule(it, from->name, &rule, UDP);
		} else {
			add_rule(it, from->name, &rule, rule.packet.proto);
		}
	}
	it->is_called = it->chain.count > 0;
}

/* --- reading --- */

/* The digits of the mark, and nothing but its mask behind them. */
static bool parse_mark(unsigned *mark, const char *text)
{
	*mark = 0;
	size_t digits = strspn(text, "0123456789abcdef");
	if (digits == 0 || digits > 4 || strcmp(text + digits, MARK_MASK) != 0)
		return false;
	for (size_t i = 0; i < digits; i++) {
		int digit = text[i] <= '9' ? text[i] - '0' : text[i] - 'a' + 10;
		*mark = *mark * 16 + static_cast<unsigned>(digit);
	}
	return *mark != 0;
}

bool parse_chain_line(chain_line *it, const char *text)
{
	const char *set = strstr(text, SET_MARK);
	if (!set)
		return false;
	it->text = text;
	it->length = static_cast<size_t>(set - text);
	return parse_mark(&it->mark, set + strlen(SET_MARK));
}

static bool begins_with(const char *line, size_t length, const char *word)
{
	return length >= strlen(word) && strncmp(line, word, strlen(word)) == 0;
}

bool take_saved_line(tree *to, const char *device, const char *line)
{
	char call[WORD_SIZE], rule[WORD_SIZE];
	snprintf(call, sizeof(call), "-A POSTROUTING -o %s -j QOS-%s", device, device);
	snprintf(rule, sizeof(rule), "-A QOS-%s ", device);
	size_t length = strcspn(line, "\n");
	if (length == strlen(call) && strncmp(line, call, length) == 0) {
		to->is_called = true;
		return true;
	}
	if (!begins_with(line, length, rule))
		return false;
	char *copy = strndup(line, length);
	if (!copy)
		end_without_memory();
	*add_item(&to->chain) = copy;
	return true;
}

/* --- input of iptables-restore --- */

/* Naming a chain makes it, or empties it, so that all of it is new at once. */
static void print_head(FILE *to, const char *device)
{
	fprintf(to, "*mangle\n:QOS-%s - [0:0]\n", device);
}

void print_chain(FILE *to, const char *device, const list<chain_line> *lines, bool is_called)
{
	print_head(to, device);
	fprintf(to, "-A QOS-%s %s\n", device, CLEAR_MARK);
	for (const chain_line &line : *lines)
		fprintf(to, "%.*s%s%x%s\n", static_cast<int>(line.length), line.text, SET_MARK,
			line.mark, MARK_MASK);
	if (!is_called)
		fprintf(to, "-A POSTROUTING -o %s -j QOS-%s\n", device, device);
	fputs("COMMIT\n", to);
}

void print_chain_removal(FILE *to, const char *device, bool is_called)
{
	print_head(to, device);
	if (is_called)
		fprintf(to, "-D POSTROUTING -o %s -j QOS-%s\n", device, device);
	fprintf(to, "-X QOS-%s\nCOMMIT\n", device);
}
