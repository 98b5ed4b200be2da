/* The script files. */
#include "scripts.h"

#include <string.h>

#include "../store/message.h"
#include "../store/text.h"

FILE *open_script(char *path, size_t size, const char *name)
{
	int length = snprintf(path, size, "/etc/script/qos_config/%s", name);
	if (!fits(length, size) || strchr(name, '/'))
		return nullptr;
	return fopen(path, "we"); // the programs that the compiler starts do not inherit it
}

void close_script(FILE *script, const char *path)
{
	bool failed = ferror(script);
	if (fclose(script) != 0 || failed)
		qos_warn("%s: not written in full, the disk may be full", path);
}
