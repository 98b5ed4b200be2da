// SPDX-License-Identifier: MIT
/* The gate before a bundle, and what is told of one that does not pass. */
#include <stdio.h>

#include "../store/stored.h"
#include "history.h"

namespace {

struct verdict {
	bool passes;
	char *sentence;
	size_t size;
};

} // namespace

static void judge(void *to, const bundle_value *row)
{
	verdict *it = static_cast<verdict *>(to);
	if (it->passes)
		it->passes = check_stored_id(row->kind, row->id, it->sentence, it->size);
	if (it->passes && row->value)
		it->passes = check_stored_value(row->kind, row->id, row->key, row->value,
						it->sentence, it->size);
}

bool check_bundle(const kept_files *bundle, char *sentence, size_t size)
{
	verdict it = { true, sentence, size };
	if (tell_bundle_values(bundle, judge, &it))
		return it.passes;
	snprintf(sentence, size, "There is no memory for the bundle.");
	return false;
}

const char *get_bundle_sentence(bundle_fault fault)
{
	switch (fault) {
	case BUNDLE_WELL: return "";
	case BUNDLE_ALIEN: return "This is no bundle of settings.";
	case BUNDLE_OTHER_VERSION: return "This bundle has a format of another version.";
	case BUNDLE_TOO_LONG: return "The bundle is longer than 1 MiB.";
	case BUNDLE_DAMAGED: return "The bundle is damaged: it was cut off or changed.";
	case BUNDLE_NO_MEMORY: return "There is no memory for the bundle.";
	}
	return "";
}
