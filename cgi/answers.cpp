// SPDX-License-Identifier: MIT
/* What the pages that look at what runs share. */
#include "answers.h"

#include <errno.h>
#include <string.h>
#include <strings.h>

#include "markup.h"
#include "stages.h"
#include "words.h"

/* --- whose a device is --- */

/* The keys of a strict-priority root that name its bands. */
static const char *const BAND_KEYS[] = { "LOW", "MIDDLE", "HIGH" };

/* Bands are told without their root, so that one that is there stands for it. */
static bool has_band(const shown_stores *in, const char *root, const json *device)
{
	for (const char *key : BAND_KEYS) {
		const char *band = get_stored(in, BASIC, root, key);
		if (*band && find_class_with(device, "id", band))
			return true;
	}
	return false;
}

static bool is_root(const shown_stores *in, const char *root, const json *device)
{
	if (!*root)
		return false;
	if (strcmp(get_text(device, "discipline"), "spq") == 0)
		return has_band(in, root, device);
	const json *it = find_class_with(device, "id", root);
	const char *parent = get_text(it, "parent");
	return it && *parent && parent[strlen(parent) - 1] == ':';
}

const char *find_policy(const shown_stores *in, const json *device)
{
	const char *found = nullptr;
	const char *policy;
	for (int n = 0; (policy = get_object(in, POLICY, n)); n++) {
		if (!is_root(in, get_stored(in, POLICY, policy, "ROOT_CLASS"), device))
			continue;
		if (found)
			return nullptr;
		found = policy;
	}
	return found;
}

void write_device(FILE *to, const shown_stores *in, const json *device)
{
	const char *policy = find_policy(in, device);
	if (policy) {
		write_policy_name(to, policy);
		fputs(", ", to);
	}
	fputs(get_text(device, "device"), to);
}

/* --- finding --- */

static const json *find_with(const json *list, const char *member, const char *value)
{
	for (const json *it = get_first_item(list); it; it = it->next) {
		if (strcmp(get_text(it, member), value) == 0)
			return it;
	}
	return nullptr;
}

const json *find_device_named(const json *answer, const char *name)
{
	return find_with(get_member(answer, "devices"), "device", name);
}

const json *find_class_with(const json *device, const char *member, const char *value)
{
	return find_with(get_member(device, "classes"), member, value);
}

bool read_moment(time_t *to, const json *of, const char *name)
{
	struct tm wall = {};
	const char *end = strptime(get_text(of, name), "%Y-%m-%dT%H:%M:%S%z", &wall);
	if (!end || *end)
		return false;
	long offset = wall.tm_gmtoff; // which timegm clears
	*to = timegm(&wall) - offset;
	return true;
}

/* --- no answer --- */

namespace {

struct remedy {
	int code;         // errno, or the exit status of the answer
	const char *html; // the state first, then what to do
};

} // namespace

static const char NOT_RUNNING[] =
	"<b>qosd does not run:</b> start the router's service qos, then load this page again.";

static const remedy UNASKED[] = {
	{ ENOENT, NOT_RUNNING },
	{ ECONNREFUSED, NOT_RUNNING },
	{ EACCES, "<b>qosd may not be asked by these pages:</b> name the web server's group as "
		  "QOSD_GROUP in /etc/default/qos, then start the service qos again." },
	{ ETIMEDOUT, "<b>qosd is busy:</b> it did not answer in time. Load this page again." },
};

static const char UNREADABLE[] =
	"<b>qosd cannot be understood:</b> are qosd and these pages of one installation?";

static const char UNCOMPILED[] =
	"<b>What is saved is not compiled:</b> "
	"<a href='main.cgi?obj=router&amp;type=apply'>compile and apply it</a> first.";

static const remedy REFUSED[] = {
	{ 4, "<b>qosd may not look:</b> it does not run as root." },
	{ 6, "<b>Nothing is compiled:</b> "
	     "<a href='main.cgi?obj=router&amp;type=apply'>compile what is saved</a> first." },
	{ 7, "<b>Nothing runs:</b> "
	     "<a href='main.cgi?obj=router&amp;type=apply'>apply what is compiled</a> first." },
};

template <size_t N> static const char *find_remedy(const remedy (&table)[N], int code)
{
	for (const remedy &row : table) {
		if (row.code == code)
			return row.html;
	}
	return nullptr;
}

/* What was saved since the last compile is no fault: it is what keeps qosd from telling. */
static bool is_uncompiled(void)
{
	const stages *it = get_stages();
	return it->reason == 0 && it->is_stored_newer;
}

/* An answer with devices is shown, however it ended: where one device has errors the others are
 * there. */
bool print_unanswered(const json *answer, int reason)
{
	if (get_first_item(get_member(answer, "devices")))
		return false;
	const char *html = answer ? find_remedy(REFUSED, get_exit(answer))
				  : find_remedy(UNASKED, reason);
	if (!html && answer && get_exit(answer) == 0)
		html = find_remedy(REFUSED, 7);
	if (!html && answer && is_uncompiled())
		html = UNCOMPILED;
	if (!html && answer) {
		printf("<p class='msg bad'><b>qosd cannot tell:</b> ");
		print_escaped(get_told(answer));
		printf("</p>\n");
		return true;
	}
	printf("<p class='msg warn'>%s</p>\n", html ? html : UNREADABLE);
	return true;
}
