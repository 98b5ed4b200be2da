// SPDX-License-Identifier: MIT
/* qosctl import FILE: all stores and descriptions replaced by those of a bundle, or none. */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../store/message.h"
#include "changes.h"

/* Reads up to one byte more than a bundle may have; null, told, when it cannot be read. The caller
 * frees it. */
static char *read_in(const char *path, size_t *size)
{
	bool is_input = strcmp(path, "-") == 0;
	FILE *file = is_input ? stdin : fopen(path, "re");
	char *bytes = static_cast<char *>(malloc(BUNDLE_SIZE_MAX + 1));
	if (!bytes)
		end_without_memory();
	bool read = false;
	if (file) {
		*size = fread(bytes, 1, BUNDLE_SIZE_MAX + 1, file);
		read = !ferror(file);
	}
	if (!read) {
		qos_warn("%s cannot be read: %s", path, strerror(errno));
		free(bytes);
		bytes = nullptr;
	}
	if (file && !is_input)
		fclose(file);
	return bytes;
}

/* What the import changes is the answer. */
static int take_in(kept_files *bundle)
{
	int count = 0;
	if (!tell_bundle(bundle, print_difference, &count))
		return tell_unchanged(errno);
	if (count == 0) {
		printf("all settings are those of the file already\n");
		return EXIT_DONE;
	}
	char login[LOGIN_SIZE];
	const change_note note = make_own_note(login, "bundle", "import", nullptr);
	if (!import_bundle(&note, bundle))
		return tell_unchanged(errno);
	printf("%d difference%s taken over; qosctl compile makes scripts of them\n", count,
	       count == 1 ? "" : "s");
	return EXIT_DONE;
}

static int import(kept_files *bundle)
{
	char sentence[BUNDLE_SENTENCE_SIZE];
	if (!check_bundle(bundle, sentence, sizeof(sentence))) {
		qos_warn("%s Nothing was changed.", sentence);
		return EXIT_FAILED;
	}
	int lock;
	int status = lock_sound_stores(&lock, LOCK_EX, CHANGE_SECONDS);
	if (status != EXIT_DONE)
		return status;
	status = take_in(bundle);
	release_stores(lock);
	return status;
}

int run_import(const options *given)
{
	size_t size;
	char *bytes = read_in(given->operand, &size);
	if (!bytes)
		return EXIT_FAILED;
	kept_files bundle = NO_FILES;
	bundle_fault fault = read_bundle(&bundle, bytes, size);
	free(bytes);
	if (fault != BUNDLE_WELL) {
		qos_warn("%s: %s Nothing was changed.", given->operand, get_bundle_sentence(fault));
		return EXIT_FAILED;
	}
	int status = import(&bundle);
	free_kept_files(&bundle);
	return status;
}
