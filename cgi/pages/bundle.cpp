/* All settings as one file. */
#include "bundle.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cgi.h>

#include "../../history/history.h"
#include "../../store/laid_aside.h"
#include "../../store/text.h"
#include "../change.h"
#include "../differences.h"
#include "../frame.h"
#include "../markup.h"
#include "../posted.h"

/* --- giving --- */

/* A store that was edited by other hands may hold what no form may post, and neither may a bundle. Who
 * keeps one is told before it is needed. */
static void warn_of_gate(void)
{
	size_t size;
	char sentence[BUNDLE_SENTENCE_SIZE];
	char *text = make_bundle(&size);
	kept_files bundle = NO_FILES;
	if (text && read_bundle(&bundle, text, size) == BUNDLE_WELL) {
		if (!check_bundle(&bundle, sentence, sizeof(sentence))) {
			printf("<p>This bundle could not be brought back as it is. ");
			print_escaped(sentence);
			printf("</p>\n");
		}
		free_kept_files(&bundle);
	}
	free(text);
}

/* The page needs its script: what it sends is a file, and no form. */
static int offer_bundle(void)
{
	open_page("Bundle", AT_HISTORY);
	print_heading("Bundle");
	printf("<p><a href='main.cgi?obj=router&amp;type=bundle' download='qos-bundle.txt'>"
	       "Download all settings</a> as one file.</p>\n"
	       "<p><label>Bring settings back from a file: <input type='file' id='bundle'></label>"
	       "</p>\n"
	       "<div id='bundle_answer'></div>\n");
	warn_of_gate();
	printf("<script src='../../qos_config/html/bundle.js'></script>\n");
	close_page();
	return 0;
}

static int give_bundle(void)
{
	size_t size;
	char *bundle = make_bundle(&size);
	if (!bundle)
		return refuse("500 Internal Server Error",
			      "The settings cannot be read whole (%s).", strerror(errno));
	print_common_headers();
	printf("Content-Type: text/plain; charset=utf-8\r\n"
	       "Content-Disposition: attachment; filename=\"qos-bundle.txt\"\r\n\r\n");
	fwrite(bundle, 1, size, stdout);
	free(bundle);
	return 0;
}

int answer_bundle(void)
{
	const char *action = cgi_param("action");
	if (action && strcmp(action, "offer") == 0)
		return offer_bundle();
	if (action)
		return refuse("400 Bad Request", "The field action is not known: allowed is: offer.");
	int lock = begin_shared();
	if (lock < 0 && errno == ETIMEDOUT)
		return refuse("503 Service Unavailable",
			      "A change does not end. Try again in a moment.");
	if (lock < 0 && errno != ENOENT)
		return refuse("500 Internal Server Error",
			      errno == EINPROGRESS
				      ? "An earlier change was cut off and cannot be put back yet: "
					"a bundle would hold half of it."
				      : "The stores cannot be locked, and a bundle would not hold "
					"one state of them.");
	int status = give_bundle();
	if (lock >= 0)
		close(lock);
	return status;
}

/* --- taking --- */

static int show_check(const kept_files *bundle)
{
	char revision[REVISION_SIZE];
	if (!get_stores_revision(revision))
		return refuse("500 Internal Server Error",
			      "The present settings cannot be read (%s).", strerror(errno));
	printf("Revision: %s\r\n", revision);
	open_page("What the bundle changes", AT_HISTORY);
	print_heading("What the bundle changes");
	int count = 0;
	printf("<ul>\n");
	bool told = tell_bundle(bundle, print_difference, &count);
	printf("</ul>\n");
	if (!told)
		printf("<p>Not all differences can be shown.</p>\n");
	else if (count == 0)
		printf("<p>All settings are those of the bundle already.</p>\n");
	printf("<p>Nothing was changed yet.</p>\n");
	close_page();
	return 0;
}

static int import(kept_files *bundle)
{
	char revision[REVISION_SIZE];
	const char *posted = cgi_param("revision");
	if (!posted || !is_revision(posted))
		return refuse("400 Bad Request",
			      "The field revision holds none: a bundle is checked before it is "
			      "imported.");
	if (!get_stores_revision(revision) || strcmp(revision, posted) != 0)
		return refuse("409 Conflict",
			      "The settings have changed since the bundle was checked. Check it "
			      "again.");
	char login[LOGIN_SIZE];
	const change_note note = { get_login(login), getenv("REMOTE_ADDR"), "bundle", "import",
				   nullptr };
	if (!import_bundle(&note, bundle)) {
		int reason = errno;
		return refuse_unwritten(nullptr, reason, !is_change_open(), "");
	}
	open_page("The bundle was imported", AT_HISTORY);
	print_heading("The bundle was imported");
	printf("<p>All settings are those of the bundle. The <a "
	       "href='main.cgi?obj=router&amp;type=history'>history</a> leads back.</p>\n");
	close_page();
	return 0;
}

static int take_bundle(kept_files *bundle, bool is_import)
{
	char sentence[BUNDLE_SENTENCE_SIZE];
	if (!check_bundle(bundle, sentence, sizeof(sentence)))
		return refuse("400 Bad Request", "%s", sentence);
	int lock = begin_exclusive();
	if (lock < 0)
		return 0;
	int status = is_import ? import(bundle) : show_check(bundle);
	close(lock);
	return status;
}

int answer_posted_bundle(const char *bytes, size_t size)
{
	const char *action = text(cgi_param("action"));
	bool is_import = strcmp(action, "import") == 0;
	if (!is_import && strcmp(action, "check") != 0)
		return refuse("400 Bad Request",
			      "The field action is not known: allowed is one of: check import.");
	kept_files bundle = NO_FILES;
	bundle_fault fault = read_bundle(&bundle, bytes, size);
	if (fault != BUNDLE_WELL)
		return refuse(fault == BUNDLE_TOO_LONG ? "413 Content Too Large" : "400 Bad Request",
			      "%s Nothing was changed.", get_bundle_sentence(fault));
	int status = take_bundle(&bundle, is_import);
	free_kept_files(&bundle);
	return status;
}
