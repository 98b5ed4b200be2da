// SPDX-License-Identifier: MIT
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
#include "../frame.h"
#include "../log.h"
#include "../markup.h"
#include "../posted.h"
#include "../saved.h"

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
			printf("<p class='msg warn'><b>This bundle could not be brought back as it "
			       "is:</b> ");
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
	printf("<section class='card' aria-label='One file'>\n"
	       "<p>All settings in one file, to be kept elsewhere and brought back.</p>\n"
	       "<p><a class='btn' href='main.cgi?obj=router&amp;type=bundle' "
	       "download='qos-bundle.txt'>Download</a></p>\n"
	       "<p><label>Upload, to see first what it would change: "
	       "<input type='file' id='bundle'></label></p>\n"
	       "<noscript><p>For that the page needs its script.</p></noscript>\n");
	warn_of_gate();
	printf("</section>\n"
	       "<div class='card' id='bundle_answer' role='status' hidden>Asking the router</div>\n"
	       "<script src='../../qos_config/html/bundle.js'></script>\n");
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
	if (cgi_param("action")) // which is none that changes something
		return offer_bundle();
	int lock = begin_shared(LOCK_SECONDS);
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
	int count;
	bool told = print_bundle_changes(bundle, &count);
	if (!told)
		printf("<p class='msg warn'><b>Not all differences can be shown.</b></p>\n");
	else if (count == 0)
		printf("<p>All settings are those of the bundle already.</p>\n");
	printf("<p>Nothing was changed yet. An import changes all of it, or nothing.</p>\n");
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
	log_deed("import", "bundle", nullptr);
	open_page("The bundle was imported", AT_HISTORY);
	print_heading("The bundle was imported");
	printf("<p class='msg good'><b>All settings are those of the bundle.</b> They do not run yet. "
	       "The <a href='main.cgi?obj=router&amp;type=history'>history</a> leads back.</p>\n");
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
