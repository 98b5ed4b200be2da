// SPDX-License-Identifier: MIT
/* A text that is read as JSON: within its bytes, to a tree no deeper than its bound. What was read and
 * is written again must be read to the same. */
#include "../../cgi/json.h"

#include <stdlib.h>

#include "fuzz.h"

/* A tree lives as long as its process: here its blocks are kept in mind and freed. The linker leads
 * the calls of malloc to the second of these. */
static std::vector<void *> *blocks; // null while nothing is read

extern "C" void *__real_malloc(size_t size);
extern "C" void *__wrap_malloc(size_t size);

extern "C" void *__wrap_malloc(size_t size)
{
	void *block = __real_malloc(size);
	if (blocks)
		blocks->push_back(block);
	return block;
}

static std::string quoted(const std::string &text)
{
	std::string all = "\"";
	for (char c : text) {
		char code[8];
		snprintf(code, sizeof(code), "\\u%04x", static_cast<unsigned char>(c));
		all += static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\'
			       ? code : std::string(1, c);
	}
	return all + "\"";
}

static std::string written(const json *it, int depth)
{
	must(depth <= 32, "a tree is no deeper than its bound");
	std::string all;
	switch (it->form) {
	case JSON_NULL: return "null";
	case JSON_FALSE: return "false";
	case JSON_TRUE: return "true";
	case JSON_NUMBER: return it->text;
	case JSON_TEXT: return quoted(it->text);
	case JSON_LIST:
	case JSON_OBJECT:
		for (const json *item = it->first; item; item = item->next) {
			must(!item->name == (it->form == JSON_LIST), "members have names");
			all += (all.empty() ? "" : ",") +
			       (item->name ? quoted(item->name) + ":" : "") +
			       written(item, depth + 1);
		}
	}
	return it->form == JSON_LIST ? "[" + all + "]" : "{" + all + "}";
}

/* From an exact copy on the heap, so that a byte too far is seen; "" for no JSON. */
static std::string read_and_written(const std::string &text)
{
	std::vector<char> bytes(text.begin(), text.end());
	std::vector<void *> kept;
	blocks = &kept;
	const json *it = read_json(bytes.data(), bytes.size());
	blocks = nullptr;
	const std::string all = it ? written(it, 0) : "";
	for (void *block : kept)
		free(block);
	return all;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const std::string text(reinterpret_cast<const char *>(data), size);
	const std::string once = read_and_written(text);
	must(once.empty() || read_and_written(once) == once, "what is written is read as it was");
	return 0;
}
