/* JSON, read into a tree. */
#include "json.h"

const json *read_json(char *, size_t)
{
	return nullptr;
}

const json *get_member(const json *, const char *)
{
	return nullptr;
}

const json *get_first_item(const json *)
{
	return nullptr;
}

const char *get_text(const json *, const char *)
{
	return "";
}

bool get_number(const json *, const char *, uint64_t *)
{
	return false;
}

bool is_true(const json *, const char *)
{
	return false;
}
