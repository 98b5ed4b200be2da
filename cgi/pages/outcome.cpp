// SPDX-License-Identifier: MIT
/* What becomes of a packet on a device. */
#include "outcome.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "../../scripts/scripts.h"
#include "../../store/text.h"
#include "../answers.h"
#include "../kind_pages.h"
#include "../markup.h"
#include "../words.h"

static const int PRECEDENCES = 8;
static const size_t RULE_SIZE = 256; // bytes of a rule that are shown

namespace {

struct asked {
	const shown_stores *stores;
	const asked_packet *packet;
};

} // namespace

static object_kind get_class_kind(const json *device)
{
	return strcmp(get_text(device, "discipline"), "spq") == 0 ? BASIC : CLASS;
}

/* The line of a script that a rule's name "FILE:LINE" points to; empty where it cannot be read. */
static void read_rule(char text[RULE_SIZE], const char *name)
{
	char path[SCRIPT_PATH_SIZE];
	const char *colon = strrchr(name, ':');
	text[0] = '\0';
	if (!colon || strchr(name, '/') ||
	    !fits(snprintf(path, sizeof(path), "%s%.*s", SCRIPT_DIR,
			   static_cast<int>(colon - name), name), sizeof(path)))
		return;
	FILE *file = fopen(path, "re");
	if (!file)
		return;
	int line = atoi(colon + 1);
	while (line > 0 && fgets(text, RULE_SIZE, file))
		line -= strchr(text, '\n') != nullptr;
	if (line > 0)
		text[0] = '\0';
	text[strcspn(text, "\n")] = '\0';
	fclose(file);
}

static void print_rule(const char *name)
{
	char rule[RULE_SIZE];
	read_rule(rule, name);
	const char *value = strchr(rule, '=');
	printf("<code>");
	print_escaped(value ? value + 1 : name);
	printf("</code>");
	if (!value)
		return;
	printf(" <small>(");
	print_escaped(name);
	bool is_marked = strncmp(rule, "IPTRULE", strlen("IPTRULE")) == 0; // by the firewall
	printf("), sees addresses %s source NAT</small>", is_marked ? "before" : "behind");
}

/* The filters of a class that mean the packet: the first one alone, or all but that one. */
static int print_filters(const asked *of, object_kind kind, const char *id, bool is_first)
{
	const char *filter;
	int turn = is_first ? 0 : 1, count = 0;
	while ((filter = get_taking_filter(of->stores, kind, id, of->packet, turn++))) {
		printf("%s", count++ ? "; " : "");
		print_object_link(FILTER, filter);
		printf(is_first ? " takes it: " : ": ");
		write_filter(escaped(), of->stores, filter);
		if (is_first)
			break;
	}
	return count;
}

/* The class of a rule's script, as its name says: "DEVICE-HANDLE.ID:LINE". */
static bool find_rule_class(char id[SCRIPT_NAME_SIZE], const json *device, const char *rule)
{
	char name[SCRIPT_NAME_SIZE];
	script_name parts;
	const char *colon = strrchr(rule, ':');
	if (!colon || !fits(snprintf(name, sizeof(name), "%.*s", static_cast<int>(colon - rule),
				     rule), sizeof(name)) ||
	    !parse_script_name(&parts, name, get_text(device, "device")))
		return false;
	snprintf(id, SCRIPT_NAME_SIZE, "%s", parts.id);
	return true;
}

/* Whose rule loses, and by which of its filters. */
static void print_loser(const asked *of, const json *device, const json *answer, const char *id)
{
	if (!*id)
		return;
	print_object_link(get_class_kind(device), id);
	printf(" by ");
	bool is_own = strcmp(id, get_text(answer, "id")) == 0;
	if (print_filters(of, get_class_kind(device), id, !is_own) == 0)
		printf("another rule of the same filter");
	printf("<br>");
}

/* Rules of one class stand in one row. */
static void print_losers(const asked *of, const json *device, const json *answer)
{
	char last[SCRIPT_NAME_SIZE] = "", id[SCRIPT_NAME_SIZE];
	const char *end = "";
	const json *rules = get_member(answer, "shadowed");
	printf("<h3>Rules that lose</h3>\n");
	if (!get_first_item(rules)) {
		printf("<p class='s'>None: no other rule of this device means the packet.</p>\n");
		return;
	}
	printf("<ul>\n");
	for (const json *rule = get_first_item(rules); rule; rule = rule->next) {
		if (!find_rule_class(id, device, rule->text))
			id[0] = '\0';
		if (!*end || strcmp(id, last) != 0) {
			printf("%s<li>", end);
			print_loser(of, device, answer, id);
			strcpy(last, id);
		} else {
			printf("<br>");
		}
		end = "</li>\n";
		print_rule(rule->text);
	}
	printf("</li>\n</ul>\n");
}

/* The filters of a class that would take the packet with that precedence and do not as it is: five
 * fields say nothing of that. */
static void print_near(const asked *of, object_kind kind, const char *id, int precedence)
{
	asked_packet other = *of->packet;
	other.tos = precedence << 5;
	const char *filter;
	for (int turn = 0;
	     (filter = get_taking_filter(of->stores, kind, id, &other, turn)); turn++) {
		if (takes_packet(of->stores, filter, of->packet))
			continue;
		printf("<p class='s'>With precedence %d (TOS byte 0x%02x) the filter ", precedence,
		       other.tos);
		print_object_link(FILTER, filter);
		printf(" of ");
		print_escaped(id);
		printf(" would mean it: ");
		write_filter(escaped(), of->stores, filter);
		printf(".</p>\n");
	}
}

static void print_all_near(const asked *of, const json *device)
{
	const json *classes = get_member(device, "classes");
	for (const json *it = get_first_item(classes); it; it = it->next) {
		for (int precedence = 0; precedence < PRECEDENCES; precedence++)
			print_near(of, get_class_kind(device), get_text(it, "id"), precedence);
	}
}

static void print_rates(const json *of)
{
	time_t now = time(nullptr), from, to;
	uint64_t rate, ceil;
	const json *spans = get_member(of, "spans");
	for (const json *it = get_first_item(spans); it; it = it->next) {
		if (!read_moment(&from, it, "from") || !read_moment(&to, it, "to") || now < from ||
		    now >= to || !get_number(it, "rate", &rate) || !get_number(it, "ceil", &ceil))
			continue;
		printf(": at least ");
		write_rate(escaped(), rate);
		printf(", at most ");
		write_rate(escaped(), ceil);
		printf(" at this hour");
	}
}

static const char *get_band_turn(const char *classid)
{
	static const char *const TURNS[] = { "first", "second", "last" };
	int band = strncmp(classid, "2:", 2) == 0 ? atoi(classid + 2) : 0;
	return band >= 1 && band <= 3 ? TURNS[band - 1] : "";
}

static void print_class_step(const json *device, const json *answer)
{
	const char *id = get_text(answer, "id");
	printf("<li>3. ");
	if (get_class_kind(device) == BASIC) {
		printf("Band ");
		if (*id)
			print_object_link(BASIC, id);
		printf(" is served %s of 3", get_band_turn(get_text(answer, "classid")));
	} else if (*id) {
		printf("Class ");
		print_object_link(CLASS, id);
		print_rates(find_class_with(device, "id", id));
	} else {
		printf("No class shapes it");
	}
	printf("</li>\n");
}

/* Why it goes where no rule sends it. */
static const char *get_rest(const json *device, const json *answer)
{
	if (get_class_kind(device) == BASIC)
		return "its TOS byte decides";
	return *get_text(answer, "id") ? "the class for the rest does"
				       : "there is no class for the rest, and it leaves unshaped";
}

static void print_steps(const asked *of, const json *device, const json *answer)
{
	const char *rule = get_text(answer, "rule");
	printf("<ol>\n<li>1. ");
	if (!*rule) {
		printf("No filter takes it: %s</li>\n<li>2. No rule matches</li>\n",
		       get_rest(device, answer));
	} else {
		printf("Filter ");
		if (print_filters(of, get_class_kind(device), get_text(answer, "id"), true) == 0)
			printf("of this class: as saved now, none means this packet");
		printf("</li>\n<li>2. Rule ");
		print_rule(rule);
		printf("</li>\n");
	}
	print_class_step(device, answer);
	printf("</ol>\n");
}

void print_outcome(const shown_stores *in, const asked_packet *packet, const json *device,
		   const json *answer)
{
	const asked it = { in, packet };
	const char *name = get_text(device, "device"), *id = get_text(answer, "id");
	printf("<section class='card' aria-labelledby='by-");
	print_escaped(name);
	printf("'><h2 id='by-");
	print_escaped(name);
	printf("'>By ");
	write_device(escaped(), in, device);
	if (get_exit(answer) == 0) {
		printf(" it leaves %s", *id ? "as " : "unshaped");
		print_escaped(*id ? id : "");
	}
	printf("</h2>\n");
	if (get_exit(answer) == 0) {
		print_steps(&it, device, answer);
		if (*get_text(answer, "rule"))
			print_losers(&it, device, answer);
		else
			print_all_near(&it, device);
	} else {
		printf("<p class='msg bad'><b>qosd cannot tell:</b> ");
		print_escaped(answer ? get_told(answer) : strerror(errno));
		printf("</p>\n");
	}
	printf("</section>\n");
}
