// SPDX-License-Identifier: MIT
/* main.cgi: reads what a request asks for, checks its fields, and has it answered. A GET never
 * changes anything; a request that asks for no page and no change that there is, is refused before a
 * handler runs. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cfl.h>
#include <cgi.h>

#include "../history/history.h"
#include "../store/fields.h"
#include "../store/text.h"
#include "../store/version.h"
#include "../web/web.h"
#include "access.h"
#include "bar.h"
#include "change.h"
#include "check.h"
#include "faults.h"
#include "frame.h"
#include "handlers.h"
#include "kind_pages.h"
#include "pages/apply.h"
#include "pages/ask_delete.h"
#include "pages/bands.h"
#include "pages/bundle.h"
#include "pages/curves.h"
#include "pages/explain.h"
#include "pages/first_steps.h"
#include "pages/history.h"
#include "pages/list.h"
#include "pages/list_json.h"
#include "pages/overview.h"
#include "pages/rename.h"
#include "pages/repair.h"
#include "pages/week.h"
#include "posted.h"
#include "rules_json.h"
#include "state.h"
#include "weigh.h"

static const int MODE_VIEW = 1;

namespace {

enum request_action { VIEW, NEW, EDIT, OPEN, DO_SAVE, DO_UPDATE, DO_DELETE };

const int ACTIONS_COUNT = DO_DELETE + 1;

} // namespace

/* In the order of enum request_action; those from DO_SAVE on change a store. */
static const char *const ACTIONS[] = { "view", "new", "edit", "open", "save", "update", "delete" };
static_assert(sizeof(ACTIONS) / sizeof(ACTIONS[0]) == ACTIONS_COUNT, "a word an action");

static int refuse_request(const char *sentence)
{
	return refuse("400 Bad Request", "%s", sentence);
}

static int refuse_method(bool is_post)
{
	return refuse("405 Method Not Allowed",
		      is_post ? "A page is asked for with GET." : "A change is asked for with POST.");
}

/* --- the forms --- */

static bool store_has(object_kind kind, const char *id)
{
	cfl *store = cfl_read(KINDS[kind].store);
	bool has = cfl_section_get_values_count(store, id) > 0;
	cfl_free(store);
	return has;
}

static int get_mode(object_kind kind, request_action action, const char *id)
{
	switch (action) {
	case NEW: return MODE_NEW;
	case EDIT: return MODE_EDIT;
	case OPEN: return store_has(kind, id) ? MODE_EDIT : MODE_NEW;
	case VIEW: return MODE_VIEW;
	case DO_SAVE: case DO_UPDATE: case DO_DELETE: break; // no page is asked for
	}
	return MODE_VIEW;
}

/* The revision goes along as a header, and as a cookie that the page script can read and deletes. The
 * form of the bands has it in a field. */
static void print_revision(object_kind kind, const char *id)
{
	char revision[REVISION_SIZE];
	if (!get_revision(kind, id, revision))
		return;
	printf("Revision: %s\r\n", revision);
	if (kind != BASIC)
		printf("Set-Cookie: revision-%s-%s=%s; Path=/; SameSite=Strict\r\n",
		       KINDS[kind].word, id, revision);
}

static int display(object_kind kind, request_action action, char *id)
{
	settle_stores();
	int mode = get_mode(kind, action, id);
	bool shows_object = mode == MODE_EDIT || kind == POLICY; // which shows one in every mode
	object_kind faulty_kind;
	const char *faulty_id;
	if (find_faulty_object(kind, id, shows_object, &faulty_kind, &faulty_id))
		return show_repair(faulty_kind, faulty_id);
	if (id && shows_object)
		print_revision(kind, id);
	if (kind != BASIC) // whose pages are our own, and have a frame
		begin_page();
	call_display(kind, id, mode);
	return 0;
}

static int change(object_kind kind, request_action action, char *id)
{
	switch (action) {
	case DO_SAVE: return answer_change(kind, SAVE, id);
	case DO_UPDATE: return answer_change(kind, UPDATE, id);
	case DO_DELETE: return answer_change(kind, DELETE, id);
	case NEW: case EDIT: case OPEN: case VIEW: break; // change nothing
	}
	return 0;
}

/* A section of a store that was edited by other hands may be called what no page can show. It can
 * be looked at, and deleted. */
static bool is_odd_object(object_kind kind, request_action action, const char *id)
{
	return id && (action == VIEW || action == DO_DELETE) && !is_well_formed(&ID_RULE, id) &&
	       store_has(kind, id);
}

static bool is_form_of_bands(object_kind kind, request_action action)
{
	return kind == BASIC && (action == DO_SAVE || action == DO_UPDATE);
}

static int answer_form(object_kind kind, request_action action)
{
	char *id = cgi_param("id");
	char sentence[SENTENCE_SIZE];
	bool is_odd = is_odd_object(kind, action, id);
	if ((!is_odd && !check_fields(kind, sentence)) ||
	    !check_posted(kind, sentence, sizeof(sentence)))
		return is_form_of_bands(kind, action) ? answer_ill_formed_bands(sentence)
						      : refuse_request(sentence);
	if (action >= DO_SAVE)
		return change(kind, action, id);
	return is_odd ? show_repair(kind, id) : display(kind, action, id);
}

/* --- the request --- */

static bool find_action(request_action *action)
{
	const char *word = cgi_param("action");
	*action = VIEW;
	for (int i = 0; word && i < ACTIONS_COUNT; i++) {
		if (strcmp(word, ACTIONS[i]) == 0) {
			*action = static_cast<request_action>(i);
			return true;
		}
	}
	return !word;
}

static int answer_list(object_kind kind)
{
	char sentence[SENTENCE_SIZE];
	const char *action = text(cgi_param("action"));
	if (strcmp(action, "ask") == 0) // of any name that is in the store
		return ask_delete(kind, cgi_param("id"));
	if (!check_fields(kind, sentence))
		return refuse_request(sentence);
	return strcmp(action, "json") == 0 ? show_list_json(kind) : show_list(kind);
}

static int answer_kind(object_kind kind, bool is_post)
{
	const char *type = text(cgi_param("type"));
	request_action action;
	if (strcmp(type, "list") == 0)
		return is_post ? refuse_method(is_post) : answer_list(kind);
	if (strcmp(type, "display") != 0)
		return refuse_request("The field type is not known: allowed is one of: "
				      "display list.");
	if (strcmp(text(cgi_param("action")), "weigh") == 0)
		return is_post ? answer_weigh(kind) : refuse_method(is_post);
	if (!find_action(&action))
		return refuse_request("The field action is not known: allowed is one of: "
				      "new edit open view save update delete.");
	if (is_post != (action >= DO_SAVE))
		return refuse_method(is_post);
	return answer_form(kind, action);
}

static int answer_rules(void)
{
	begin_json();
	print_rules_json();
	return 0;
}

static int answer_history_post(void)
{
	if (strcmp(text(cgi_param("action")), "back") != 0)
		return refuse_request("The field action is not known: allowed is: back.");
	return answer_back();
}

static int refuse_bundle_form(void)
{
	return refuse_request("A bundle is posted as a file.");
}

namespace {

struct router_page {
	const char *type;
	int (*get)(void);  // null: it is not asked for with GET
	int (*post)(void); // null: nothing is posted to it
	const char *look;  // the action that changes nothing; null for none
};

} // namespace

/* The pages of the router around the kinds. */
static const router_page ROUTER_PAGES[] = {
	{ "overview", show_overview, nullptr, nullptr },
	{ "apply", show_apply, answer_apply, "check" },
	{ "curves", show_curves, nullptr, nullptr },
	{ "week", show_week, nullptr, nullptr },
	{ "explain", show_explain, nullptr, nullptr },
	{ "history", show_history, answer_history_post, "ask" },
	{ "bundle", answer_bundle, refuse_bundle_form, "offer" },
	{ "first", show_first_steps, answer_first_steps, "look" },
	{ "rename", show_rename, answer_rename, nullptr },
	{ "repair", nullptr, answer_repair, nullptr },
	{ "state", answer_state, nullptr, nullptr },
	{ "rules", answer_rules, nullptr, nullptr },
	{ "status", answer_status, nullptr, nullptr },
};

/* A change that is asked for with GET would be shown as a page, as if it were done. */
static bool is_change_by_get(const router_page *row, bool is_post)
{
	const char *action = cgi_param("action");
	return !is_post && row->post && action && !(row->look && strcmp(action, row->look) == 0);
}

static int answer_router(bool is_post)
{
	const char *type = text(cgi_param("type"));
	for (const router_page &row : ROUTER_PAGES) {
		int (*way)(void) = is_post ? row.post : row.get;
		if (strcmp(type, row.type) == 0)
			return way && !is_change_by_get(&row, is_post) ? way()
								       : refuse_method(is_post);
	}
	return refuse_request("The field type is not known: allowed is one of: overview apply "
			      "curves week explain history bundle first rename repair state rules "
			      "status.");
}

static int answer(bool is_post)
{
	const char *obj = text(cgi_param("obj"));
	object_kind kind;
	if (strcmp(obj, "router") == 0)
		return answer_router(is_post);
	if (find_kind(obj, &kind))
		return answer_kind(kind, is_post);
	return refuse_request("The field obj names no kind of object: allowed is one of: "
			      "policy class filter port ip basic router.");
}

static int refuse_long_request(void)
{
	bool is_bundle = strncmp(text(getenv("CONTENT_TYPE")), BUNDLE_TYPE,
				 strlen(BUNDLE_TYPE)) == 0;
	return refuse("413 Content Too Large",
		      is_bundle ? "The bundle is longer than 1 MiB."
				: "The request is longer than 64 KiB.");
}

/* Refuses what is no request of a page of this router. */
static bool is_acceptable(bool is_post)
{
	const post_source from = { getenv("HTTP_HOST"), getenv("HTTP_ORIGIN"),
				   getenv("HTTP_REFERER"), getenv("HTTP_SEC_FETCH_SITE") };
	if (!is_own_host(from.host))
		refuse("421 Misdirected Request",
		       "This router does not go by the name that it was asked under. Names that it "
		       "goes by can be added to %s.", HOST_NAMES);
	else if (cgi_get_status() == CGI_TOO_LARGE)
		refuse_long_request();
	else if (cgi_get_status() == CGI_MALFORMED)
		refuse_request("The request cannot be read: its body is cut off or no form, or a "
			       "NUL is in it.");
	else if (is_post && !is_same_site(&from))
		refuse("403 Forbidden", "The form is not from a page of this router.");
	else
		return true;
	return false;
}

static bool is_bundle_request(void)
{
	return strcmp(text(cgi_param("obj")), "router") == 0 &&
	       strcmp(text(cgi_param("type")), "bundle") == 0;
}

/* On a command line. A web server may hand a query on as words: with a request there are none. */
static bool is_version_asked(int argc, char **argv)
{
	return argc == 2 && strcmp(argv[1], "--version") == 0 && !getenv("REQUEST_METHOD");
}

int main(int argc, char **argv)
{
	if (is_version_asked(argc, argv))
		return printf("main.cgi %s\n", qos_version) < 0 || fflush(stdout) != 0;
	bool is_post = strcmp(cgi_get_method(), "POST") == 0;
	if (!is_post && strcmp(cgi_get_method(), "GET") != 0)
		return refuse("405 Method Not Allowed", "A request is a GET or a POST.");
	size_t size;
	const char *bundle = cgi_read_body(BUNDLE_TYPE, BUNDLE_SIZE_MAX, &size);
	if (!is_acceptable(is_post))
		return 0;
	if (bundle)
		return is_bundle_request() ? answer_posted_bundle(bundle, size)
					   : refuse_request("A bundle is no form.");
	return answer(is_post);
}
