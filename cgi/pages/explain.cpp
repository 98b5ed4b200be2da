// SPDX-License-Identifier: MIT
/* Where a packet goes: a form of what is in its head, and what each device does with it. */
#include "explain.h"

#include <errno.h>
#include <string.h>

#include "../../store/text.h"
#include "../answers.h"
#include "../frame.h"
#include "../markup.h"
#include "outcome.h"
#include "packet_form.h"

static const int ANSWER_WAIT = 5000; // milliseconds
static const int DEVICES_MAX = 64;    // asked at once
static const size_t TITLE_SIZE = 100; // bytes
static const size_t LINE_SIZE = 160;  // bytes of a question
static const char OTHER_PROTOCOL[] = "icmp"; // stands for all without ports: rules know no more

namespace {

struct explain_page {
	shown_stores stores;
	packet_form form;
	const json *devices; // what the answer to "week" has: devices, classes, rates
	int devices_reason;
};

} // namespace

/* --- asking --- */

static void print_end(FILE *to, const explain_page *it, int address, int port)
{
	fputs(it->form.typed[address], to);
	if (strcmp(it->form.packet.transport, "other") != 0 && *it->form.typed[port])
		fprintf(to, ":%s", it->form.typed[port]);
}

static int ask_device(const explain_page *it, const char *device)
{
	char line[LINE_SIZE] = "";
	const char *transport = it->form.packet.transport;
	if (!is_askable(device)) {
		errno = EINVAL;
		return -1;
	}
	FILE *to = fmemopen(line, sizeof(line), "w");
	if (!to)
		end_without_memory();
	fprintf(to, "explain device=%s proto=%s src=", device,
		strcmp(transport, "other") == 0 ? OTHER_PROTOCOL : transport);
	print_end(to, it, FROM, FROM_PORT);
	fputs(" dst=", to);
	print_end(to, it, TO, TO_PORT);
	if (*it->form.typed[TOS])
		fprintf(to, " tos=%d", it->form.packet.tos);
	if (it->form.packet.is_fragment)
		fputs(" fragment", to);
	fclose(to);
	return start_asking(line);
}

static bool is_wanted(const explain_page *it, const json *device)
{
	const char *wanted = it->form.typed[DEVICE];
	return !*wanted || strcmp(wanted, get_text(device, "device")) == 0;
}

/* All are asked before the first answer is waited for. Behind one that does not come only those are
 * taken that are there: the page does not wait for each. */
static void print_outcomes(const explain_page *it)
{
	int connections[DEVICES_MAX], count = 0, n = 0, patience = ANSWER_WAIT;
	const json *devices = get_first_item(get_member(it->devices, "devices"));
	for (const json *one = devices; one && count < DEVICES_MAX; one = one->next) {
		if (is_wanted(it, one))
			connections[count++] = ask_device(it, get_text(one, "device"));
	}
	for (const json *one = devices; one && n < count; one = one->next) {
		if (!is_wanted(it, one))
			continue;
		int connection = connections[n++];
		const json *answer = connection < 0 ? nullptr : end_asking(connection, patience);
		if (!answer && errno == ETIMEDOUT)
			patience = 0;
		print_outcome(&it->stores, &it->form.packet, one, answer);
	}
}

/* The answer to this packet, with both ends changed. */
static void print_other_way(const explain_page *it)
{
	static const int TURNED[PACKET_FIELDS] = {
		TO, TO_PORT, FROM, FROM_PORT, TRANSPORT, FRAGMENT, TOS, FRAGMENT,
	};
	printf("<p><a href='main.cgi?obj=router&amp;type=explain");
	for (int n = 0; n < PACKET_FIELDS; n++) {
		if (n == DEVICE || !*it->form.typed[TURNED[n]]) // it comes in by what it left by
			continue;
		printf("&amp;%s=", get_packet_field(static_cast<packet_field>(n)));
		print_encoded(it->form.typed[TURNED[n]]);
	}
	printf("'>The other way</a>: where an answer to it goes</p>\n");
}

/* --- the page --- */

static void print_answers(const explain_page *it)
{
	printf("<div class='two'>\n"); // keeps its cards beside each other where there is room
	print_packet_form(&it->form, &it->stores, it->devices);
	printf("<div class='col' id='found'>\n"); // on a phone it is below the form
	if (print_unanswered(it->devices, it->devices_reason)) {
		// then nothing can be said of the packet
	} else if (!it->form.is_asked) {
		printf("<section class='card'><h2>Where it leaves</h2><p>Fill in what is in the "
		       "head of a packet. For each device that it may leave by, here is the "
		       "class that takes it, and why.</p></section>\n");
	} else if (has_fault(&it->form)) {
		printf("<p class='msg bad'><b>Not asked:</b> see the fields that are marked."
		       "</p>\n");
	} else {
		print_outcomes(it);
		print_other_way(it);
	}
	printf("</div></div>\n");
}

int show_explain(void)
{
	explain_page page = {};
	int connection = start_asking("week days=1 from=now");
	page.devices_reason = errno;
	read_stores(&page.stores);
	if (connection >= 0) {
		page.devices = end_asking(connection, ANSWER_WAIT);
		page.devices_reason = errno;
	}
	read_packet_form(&page.form, page.devices);
	char title[TITLE_SIZE] = "Explain";
	if (page.form.is_asked)
		snprintf(title, sizeof(title), "Explain %.40s to %.40s", page.form.typed[FROM],
			 page.form.typed[TO]);
	open_page(title, AT_EXPLAIN);
	print_heading("Where does this packet go?");
	print_answers(&page);
	close_page();
	return 0;
}
