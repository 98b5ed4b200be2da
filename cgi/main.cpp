/* main.cgi: reads which kind, type and action a request asks for, checks its fields, calls the
 * handler, and sends the browser on. A GET never changes anything; a request that asks for no page
 * and no change that there is, is refused before a handler runs. */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>

#include <cfl.h>
#include <cgi.h>

#include "../web/web.h"
#include "check.h"
#include "list.h"
#include "pages.h"

static const int MODE_VIEW = 1;

namespace {

enum request_action { VIEW, NEW, EDIT, OPEN, SAVE, UPDATE, DELETE };

const int ACTIONS_COUNT = DELETE + 1;

} // namespace

/* In the order of enum request_action; those from SAVE on change a store. */
static const char *const ACTIONS[] = { "view", "new", "edit", "open", "save", "update", "delete" };
static_assert(sizeof(ACTIONS) / sizeof(ACTIONS[0]) == ACTIONS_COUNT, "a word an action");

/* --- answers --- */

static int refuse(const char *status, const char *sentence)
{
	printf("Status: %s\r\n", status);
	cgi_init_headers();
	printf("<!DOCTYPE html>\n"
	       "<html><head><title>%s</title><link rel='icon' href='data:,'></head><body><p>",
	       status);
	print_escaped(sentence);
	printf("</p></body></html>\n");
	return 0;
}

static int refuse_request(const char *sentence)
{
	return refuse("400 Bad Request", sentence);
}

static void send_on(object_kind kind, const char *id, int done)
{
	printf("<script language='javascript'>");
	if (!done)
		printf("history.go(-1)");
	else if (kind == POLICY && id)
		printf("location.replace('main.cgi?obj=policy&type=display&action=open&id=%s')", id);
	else
		printf("location.replace('main.cgi?obj=%s&type=list')", KINDS[kind].word);
	printf("</script>\n");
}

/* --- the handlers --- */

static bool store_has(const char *path, const char *id)
{
	cfl *store = cfl_read(path);
	bool has = cfl_section_get_values_count(store, id) > 0;
	cfl_free(store);
	return has;
}

static int get_mode(object_kind kind, request_action action, const char *id)
{
	switch (action) {
	case NEW: return MODE_NEW;
	case EDIT: return MODE_EDIT;
	case OPEN: return store_has(KINDS[kind].store, id) ? MODE_EDIT : MODE_NEW;
	case VIEW: return MODE_VIEW;
	case SAVE: case UPDATE: case DELETE: break; // no page is asked for
	}
	return MODE_VIEW;
}

static void display(object_kind kind, char *id, int mode)
{
	switch (kind) {
	case POLICY: policy_display(id, mode); break;
	case CLASS: class_display(id, mode); break;
	case FILTER: filter_display(id, mode); break;
	case PORT: port_display(id, mode); break;
	case IP: ip_display(id, mode); break;
	case BASIC: break; // has no page: find_kind never finds it
	}
}

static int save(object_kind kind)
{
	switch (kind) {
	case POLICY: return policy_save();
	case CLASS: return class_save();
	case FILTER: return filter_save();
	case PORT: return port_save();
	case IP: return ip_save();
	case BASIC: break;
	}
	return 0;
}

static int update(object_kind kind)
{
	switch (kind) {
	case POLICY: return policy_update();
	case CLASS: return class_update();
	case FILTER: return filter_update();
	case PORT: return port_update();
	case IP: return ip_update();
	case BASIC: break;
	}
	return 0;
}

static int erase(object_kind kind, char *id)
{
	switch (kind) {
	case POLICY: return policy_delete(id);
	case CLASS: return class_delete(id);
	case FILTER: return filter_delete(id);
	case PORT: return port_delete(id);
	case IP: return ip_delete(id);
	case BASIC: break;
	}
	return 0;
}

/* Makes changes wait for each other until this process ends: of two that read a store before either
 * has written it, one would be lost. */
static void lock_stores(void)
{
	int fd = open(STORE_DIR, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
	if (fd >= 0)
		flock(fd, LOCK_EX);
}

static void change(object_kind kind, request_action action, char *id)
{
	lock_stores();
	int done = action == SAVE     ? save(kind)
		   : action == UPDATE ? update(kind)
				      : erase(kind, id);
	send_on(kind, id, done);
}

/* --- the request --- */

/* Finds what the field names; false when it names nothing that is known. */
static bool find_kind(object_kind *kind)
{
	const char *word = cgi_param("obj");
	for (int i = 0; word && i < KINDS_COUNT; i++) {
		if (PAGES[i].title && strcmp(word, KINDS[i].word) == 0) {
			*kind = static_cast<object_kind>(i);
			return true;
		}
	}
	return false;
}

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

static int answer(bool is_post)
{
	const char *type = cgi_param("type");
	bool is_list = type && strcmp(type, "list") == 0;
	object_kind kind;
	request_action action;
	char sentence[SENTENCE_SIZE];
	if (!find_kind(&kind))
		return refuse_request("The field obj names no kind of object: allowed is one of: "
				      "policy class filter port ip.");
	if (!is_list && !(type && strcmp(type, "display") == 0))
		return refuse_request("The field type is not known: allowed is one of: "
				      "display list.");
	if (!is_list && !find_action(&action))
		return refuse_request("The field action is not known: allowed is one of: "
				      "new edit open view save update delete.");
	if (is_post != (!is_list && action >= SAVE))
		return refuse("405 Method Not Allowed",
			      is_post ? "A page is asked for with GET."
				      : "A change is asked for with POST.");
	if (!check_fields(kind, sentence))
		return refuse_request(sentence);

	char *id = cgi_param("id");
	cgi_init_headers();
	if (is_list)
		print_list(kind);
	else if (is_post)
		change(kind, action, id);
	else
		display(kind, id, get_mode(kind, action, id));
	return 0;
}

int main(void)
{
	bool is_post = strcmp(cgi_get_method(), "POST") == 0;
	if (!is_post && strcmp(cgi_get_method(), "GET") != 0)
		return refuse("405 Method Not Allowed", "A request is a GET or a POST.");
	if (cgi_get_status() == CGI_TOO_LARGE)
		return refuse("413 Content Too Large", "The request is longer than 64 KiB.");
	if (cgi_get_status() == CGI_MALFORMED)
		return refuse_request("The request cannot be read: its body is cut off or no form, "
				      "or a NUL is in it.");
	if (is_post && !is_same_site(getenv("HTTP_HOST"), getenv("HTTP_ORIGIN"),
				     getenv("HTTP_REFERER")))
		return refuse("403 Forbidden", "The form is not from a page of this router.");
	return answer(is_post);
}
