// SPDX-License-Identifier: MIT
/* qosctl explain: which class a packet gets, and by which rule. */
#include "ctl.h"

#include <arpa/inet.h>
#include <ctype.h>
#include <string.h>

#include "../store/message.h"
#include "../store/text.h"

static const size_t RULE_NAME_SIZE = SCRIPT_NAME_SIZE + 16; // "FILE:LINE"

/* --- the packet that is asked about --- */

static const struct {
	const char *word;
	int number;
} PROTOCOLS[] = {
	{ "icmp", 1 },
	{ "tcp", TCP },
	{ "udp", UDP },
};

/* Reads digits and nothing else; in base 16 behind "0x". */
static bool read_number(unsigned *number, const char *text, bool may_be_hex, unsigned most)
{
	unsigned base = may_be_hex && text[0] == '0' && text[1] == 'x' ? 16 : 10;
	text += base == 16 ? 2 : 0;
	if (!*text)
		return false;
	*number = 0;
	for (; *text; text++) {
		if (base == 16 ? !isxdigit(static_cast<unsigned char>(*text))
			       : *text < '0' || *text > '9')
			return false;
		unsigned digit = static_cast<unsigned>(
			*text <= '9' ? *text - '0' : (*text | 0x20) - 'a' + 10);
		*number = *number * base + digit;
		if (*number > most)
			return false;
	}
	return true;
}

static bool read_proto(int *proto, const char *text)
{
	for (const auto &row : PROTOCOLS) {
		if (strcmp(text, row.word) == 0) {
			*proto = row.number;
			return true;
		}
	}
	unsigned number;
	if (!read_number(&number, text, false, UINT8_MAX))
		return false;
	*proto = static_cast<int>(number);
	return true;
}

/* Reads ADDRESS or ADDRESS:PORT; without a port it is 0. */
static bool read_end(uint32_t *address, uint16_t *port, const char *text)
{
	char host[INET_ADDRSTRLEN];
	struct in_addr bytes;
	unsigned number = 0;
	int length = static_cast<int>(strcspn(text, ":"));
	if (!fits(snprintf(host, sizeof(host), "%.*s", length, text), sizeof(host)) ||
	    inet_pton(AF_INET, host, &bytes) != 1)
		return false;
	if (text[length] == ':' && !read_number(&number, text + length + 1, false, UINT16_MAX))
		return false;
	*address = ntohl(bytes.s_addr);
	*port = static_cast<uint16_t>(number);
	return true;
}

static bool has_all(const options *given)
{
	const struct {
		const char *name, *value;
	} needed[] = {
		{ "--device", given->device },
		{ "--proto", given->proto },
		{ "--src", given->src },
		{ "--dst", given->dst },
	};
	for (const auto &row : needed) {
		if (!row.value) {
			qos_warn("explain: %s is missing", row.name);
			return false;
		}
	}
	return true;
}

static bool read_packet(packet *it, const options *given)
{
	*it = {};
	it->is_fragment = given->fragment;
	if (!has_all(given))
		return false;
	if (!read_proto(&it->proto, given->proto)) {
		qos_warn("--proto: '%s' is not tcp, udp, icmp or a number from 0 to 255",
			 given->proto);
		return false;
	}
	if (!read_end(&it->source, &it->source_port, given->src)) {
		qos_warn("--src: '%s' is no IPv4 address, or address:port", given->src);
		return false;
	}
	if (!read_end(&it->destination, &it->destination_port, given->dst)) {
		qos_warn("--dst: '%s' is no IPv4 address, or address:port", given->dst);
		return false;
	}
	if (given->tos && !read_number(&it->tos, given->tos, true, UINT8_MAX)) {
		qos_warn("--tos: '%s' is no byte, 0 to 255 or 0x00 to 0xff", given->tos);
		return false;
	}
	return true;
}

/* --- what both answers say --- */

/* "2:1" of a band too that no script describes; "direct" where nothing shapes the packet. */
static void name_class(char classid[CLASSID_SIZE], const device *of, const explanation *it)
{
	node band = {};
	band.level = 2;
	band.minor = static_cast<unsigned>(it->band);
	if (it->to || it->band > 0)
		make_classid(classid, of, it->to ? it->to : &band);
	else
		snprintf(classid, CLASSID_SIZE, "direct");
}

static void name_rule(char name[RULE_NAME_SIZE], const device *of, const packet_rule *it)
{
	snprintf(name, RULE_NAME_SIZE, "%s:%d", of->nodes[it->of].file, it->line);
}

/* --- for programs --- */

static void write_classes(const device *of)
{
	json_open(stdout, "classes", '[');
	for (const node &one : of->nodes) {
		if (of->kind == SPQ && one.parent == NO_NODE)
			continue;
		json_open(stdout, nullptr, '{');
		json_node(stdout, of, &one);
		json_close(stdout, '}');
	}
	json_close(stdout, ']');
}

static void write_json(const device *of, const explanation *it)
{
	char classid[CLASSID_SIZE], rule[RULE_NAME_SIZE];
	name_class(classid, of, it);
	json_begin(stdout);
	json_text(stdout, "id", it->to ? it->to->id : nullptr);
	json_text(stdout, "classid", classid);
	if (it->by)
		name_rule(rule, of, it->by);
	json_text(stdout, "rule", it->by ? rule : nullptr);
	json_open(stdout, "shadowed", '[');
	for (const packet_rule *one : it->shadowed) {
		name_rule(rule, of, one);
		json_text(stdout, nullptr, rule);
	}
	json_close(stdout, ']');
	json_open(stdout, "devices", '[');
	json_open(stdout, nullptr, '{');
	json_device(stdout, of);
	write_classes(of);
	json_close(stdout, '}');
	json_close(stdout, ']');
	json_end(stdout);
}

/* --- for people --- */

static void print_end(uint32_t address, uint16_t port, bool shows_port)
{
	printf(" %u.%u.%u.%u", address >> 24, address >> 16 & 0xff, address >> 8 & 0xff,
	       address & 0xff);
	if (shows_port)
		printf(":%u", port);
}

static void print_packet(const device *of, const packet *sent)
{
	const char *word = nullptr;
	for (const auto &row : PROTOCOLS) {
		if (row.number == sent->proto)
			word = row.word;
	}
	bool shows_ports = !sent->is_fragment && (sent->proto == TCP || sent->proto == UDP);
	printf("Packet   ");
	if (word)
		printf("%s from", word);
	else
		printf("protocol %d from", sent->proto);
	print_end(sent->source, sent->source_port, shows_ports);
	printf(" to");
	print_end(sent->destination, sent->destination_port, shows_ports);
	printf(", TOS 0x%02x%s, leaving %s\n", sent->tos,
	       sent->is_fragment ? ", a later fragment" : "", of->name);
}

static void print_rates(const node *it)
{
	char rate[FIGURE_SIZE], ceil[FIGURE_SIZE];
	time_t now = time(nullptr);
	struct tm wall;
	if (!localtime_r(&now, &wall))
		return;
	rates at = get_rates_at(it, &wall);
	format_rate(rate, at.rate);
	format_rate(ceil, at.ceil);
	printf(": %s guaranteed, ceiling %s at this hour", rate, ceil);
}

static void print_class(const device *of, const explanation *it)
{
	static const char *const TURNS[BANDS] = { "first", "second", "last" };
	char classid[CLASSID_SIZE];
	name_class(classid, of, it);
	if (!it->to && it->band == 0) {
		printf("Class    none: it leaves unshaped\n");
		return;
	}
	printf("Class    %s (%s)", it->to ? it->to->id : "a band without a script", classid);
	if (it->band > 0)
		printf(": served %s of %d", TURNS[it->band - 1], BANDS);
	else
		print_rates(it->to);
	printf("\n");
}

/* The line of a script; null when there is none. It ends where length says. */
static const char *find_line(const script_set *set, const char *file, int line, int *length)
{
	for (const script_text &one : *set) {
		if (!one.bytes || strcmp(one.name, file) != 0)
			continue;
		const char *at = one.bytes;
		for (; line > 1 && at; line--) {
			at = strchr(at, '\n');
			at += at ? 1 : 0;
		}
		*length = at ? static_cast<int>(strcspn(at, "\n")) : 0;
		return at;
	}
	return nullptr;
}

/* The firewall sees the addresses before source NAT, the filters behind it. */
static void print_rule(const char *heading, const device *of, const packet_rule *it,
		       const script_set *set)
{
	char name[RULE_NAME_SIZE];
	int length;
	name_rule(name, of, it);
	printf("%-9s%s, priority %d, to %s: it sees addresses %s source NAT\n", heading, name,
	       it->prio, of->nodes[it->of].id, it->is_marked ? "before" : "behind");
	const char *line = find_line(set, of->nodes[it->of].file, it->line, &length);
	if (line)
		printf("         %.*s\n", length, line);
}

static void print_text(const device *of, const packet *sent, const explanation *it,
		       const script_set *set)
{
	print_packet(of, sent);
	print_class(of, it);
	if (it->by)
		print_rule("Rule", of, it->by, set);
	else if (of->kind == SPQ)
		printf("Rule     none matches: its TOS decides\n");
	else if (it->to)
		printf("Rule     none matches: the default class takes it\n");
	else
		printf("Rule     none matches, and no default class is there to take it\n");
	for (const packet_rule *one : it->shadowed)
		print_rule("Loses", of, one, set);
}

static int answer(plan *it, const script_set *set, const packet *sent, const options *given)
{
	device *of = find_device(it, given->device);
	if (tell_faults(it, given) || !of || !of->is_sound) {
		qos_warn("%s: it has errors and would not be applied", given->device);
		return EXIT_FAILED;
	}
	explanation found;
	explain_packet(&found, of, sent);
	if (given->json)
		write_json(of, &found);
	else
		print_text(of, sent, &found, set);
	free_list(&found.shadowed);
	return EXIT_DONE;
}

int run_explain(const options *given)
{
	packet sent;
	if (!read_packet(&sent, given))
		return EXIT_USAGE;
	plan it;
	script_set set;
	int status = read_input(&it, &set, given);
	if (status != EXIT_DONE)
		return status;
	status = answer(&it, &set, &sent, given);
	free_plan(&it);
	free_scripts_read(&set);
	return status;
}
