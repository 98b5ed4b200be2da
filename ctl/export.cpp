// SPDX-License-Identifier: MIT
/* qosctl export FILE: all stores and descriptions as one text. */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../store/message.h"
#include "../store/owner.h"
#include "../store/whole_file.h"
#include "changes.h"

/* Stores that were edited by other hands may hold what no bundle may bring. Who keeps one is told
 * before it is needed. */
static void warn_of_gate(const char *bytes, size_t size)
{
	kept_files bundle = NO_FILES;
	if (read_bundle(&bundle, bytes, size) != BUNDLE_WELL)
		return;
	char sentence[BUNDLE_SENTENCE_SIZE];
	if (!check_bundle(&bundle, sentence, sizeof(sentence)))
		qos_warn("this could not be imported as it is: %s", sentence);
	free_kept_files(&bundle);
}

static int write_out(const char *path, const char *bytes, size_t size)
{
	if (strcmp(path, "-") == 0) {
		fwrite(bytes, 1, size, stdout); // whether it arrived is seen when the program ends
		return EXIT_DONE;
	}
	if (replace_whole(path, bytes, size, nullptr))
		return EXIT_DONE;
	qos_warn("%s cannot be written: %s", path, strerror(errno));
	return errno == EACCES || errno == EPERM ? EXIT_NOT_ALLOWED : EXIT_FAILED;
}

int run_export(const options *given)
{
	int lock;
	int status = lock_sound_stores(&lock, LOCK_SH, CHANGE_SECONDS);
	if (status != EXIT_DONE)
		return status;
	size_t size;
	char *bundle = make_bundle(&size);
	int reason = errno;
	if (!bundle) {
		qos_warn("the stores cannot be read whole: %s", strerror(reason));
		tell_protected_file();
	}
	release_stores(lock);
	if (!bundle) {
		return reason == EACCES || reason == EPERM ? EXIT_NOT_ALLOWED : EXIT_FAILED;
	}
	warn_of_gate(bundle, size);
	status = write_out(given->operand, bundle, size);
	free(bundle);
	return status;
}
