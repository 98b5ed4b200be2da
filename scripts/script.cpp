/* How a script is opened and closed. */
#include <string.h>

#include "../store/message.h"
#include "../store/text.h"
#include "scripts.h"

bool open_script(script *it, const char *name, size_t path_size)
{
	int length = snprintf(it->path, sizeof(it->path), "%s%s", SCRIPT_DIR, name);
	if (!fits(length, sizeof(it->path)) || !fits(length, path_size) || strchr(name, '/'))
		return false;
	it->stream = fopen(it->path, "we"); // the programs that the compiler starts do not inherit it
	return it->stream != nullptr;
}

void close_script(script *it)
{
	bool failed = ferror(it->stream);
	if (fclose(it->stream) != 0 || failed)
		qos_warn("%s: not written in full, the disk may be full", it->path);
}
