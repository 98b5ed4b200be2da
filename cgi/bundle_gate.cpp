/* The gate before a bundle. */
#include "bundle_gate.h"

#include <stdio.h>

#include "stored.h"

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
