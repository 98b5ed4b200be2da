// SPDX-License-Identifier: MIT
/* A bundle, whose last line "end " gets its true fingerprint here: what is damaged is refused at
 * once, and what lies behind that check is to be looked at. What is taken must survive being
 * written, name nothing but stores and descriptions, and be refused with a byte less or another
 * one. Its differences from the sample's stores are told. */
#include <stdio.h>
#include <stdlib.h>

#include "../../history/history.h"
#include "../../store/fingerprint.h"
#include "fuzz.h"

static const char FIRST_LINE[] = "qos-bundle 1";

/* An exact copy on the heap, so that a byte too far is seen. */
static bundle_fault read_exact(kept_files *bundle, const std::string &text)
{
	const std::vector<char> bytes(text.begin(), text.end());
	return read_bundle(bundle, bytes.data(), bytes.size());
}

static bool is_taken(const std::string &text)
{
	kept_files bundle;
	if (read_exact(&bundle, text) != BUNDLE_WELL)
		return false;
	free_kept_files(&bundle);
	return true;
}

static void count_value(void *to, const bundle_value *row)
{
	must(row->id && (!row->key || row->value), "a value has its words");
	++*static_cast<size_t *>(to);
}

static void count_difference(void *to, const difference *)
{
	++*static_cast<size_t *>(to);
}

static std::string written(const kept_files *bundle)
{
	char *text = nullptr;
	size_t size = 0;
	FILE *stream = open_memstream(&text, &size);
	must(write_kept_files(stream, bundle, FIRST_LINE, false), "a bundle is written");
	fclose(stream);
	const std::string all(text, size);
	free(text);
	return all;
}

static void check_bundle(const kept_files *bundle)
{
	for (size_t i = 0; i < bundle->count; i++) {
		// Two dots lead out of a folder as a whole name only.
		const std::string name = bundle->files[i].name;
		const std::string last = name.substr(name.rfind('/') + 1);
		must(name == last || name == "desc/" + last, "a bundle names no other folder");
		must(!last.empty() && last != "." && last != "..", "a bundle names files");
	}
	size_t values = 0, differences = 0;
	must(tell_bundle_values(bundle, count_value, &values), "the values are told");
	must(tell_bundle(bundle, count_difference, &differences), "the differences are told");
	const std::string again = written(bundle); // a number may have had zeros before it
	kept_files second;
	must(read_exact(&second, again) == BUNDLE_WELL, "what is written is a bundle");
	must(second.count == bundle->count && written(&second) == again,
	     "what is written is the same");
	for (size_t i = 0; i < bundle->count; i++)
		must(is_same_file(&bundle->files[i], &second.files[i]), "a file stays the same");
	free_kept_files(&second);
}

/* The place of the damage comes from the text, so that each input is damaged elsewhere. */
static void check_damage(const std::string &text)
{
	const size_t place = add_bytes(FINGERPRINT_START, text.data(), text.size()) % text.size();
	must(!is_taken(text.substr(0, place)), "a cut bundle is refused");
	must(!is_taken(text + "\n"), "a bundle with more behind it is refused");
	std::string other = text;
	other[place] = static_cast<char>(other[place] ^ 1 << place % 8);
	must(!is_taken(other), "a bundle with another byte is refused");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	std::string text(reinterpret_cast<const char *>(data), size);
	const std::string word = "\nend ";
	const size_t end = text.rfind(word);
	if (end != std::string::npos) {
		char print[FINGERPRINT_SIZE];
		text.resize(end + word.size());
		write_fingerprint(print, add_bytes(FINGERPRINT_START, text.data(), text.size()));
		text += std::string(print) + "\n";
	}
	kept_files bundle;
	if (read_exact(&bundle, text) != BUNDLE_WELL)
		return 0;
	check_bundle(&bundle);
	free_kept_files(&bundle);
	check_damage(text);
	return 0;
}
