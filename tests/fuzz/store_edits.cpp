// SPDX-License-Identifier: MIT
/* A store file, a line "%%", and edits of it: a line each, a letter and its words behind tabs.
 *
 *     S section          inserts a section
 *     s section          removes one
 *     V section key text inserts a value
 *     = section key text sets one
 *     v section key      removes one
 *
 * The file and the model must stay the same, and so must what a reader finds in the file that is
 * written. */
#include <stdio.h>
#include <stdlib.h>

#include <cfl.h>

#include "../support/store_model.h"
#include "fuzz.h"

static const size_t WORDS = 4;

static std::string written(cfl *file)
{
	char *text = nullptr;
	size_t size = 0;
	FILE *stream = open_memstream(&text, &size);
	must(cfl_write(file, stream) == 0, "a file is written");
	fclose(stream);
	std::string all(text, size);
	free(text);
	return all;
}

static const store_value *find_first(const std::vector<store_value> &values, const std::string &key)
{
	for (const store_value &known : values) {
		if (known.key == key)
			return &known;
	}
	return nullptr;
}

static void must_hold_values(cfl *file, const store_model &model, const std::string &section)
{
	const char *name = section.c_str();
	const std::vector<store_value> values = model.values(section);
	const int count = cfl_section_get_values_count(file, name);
	must(count == static_cast<int>(values.size()) + 1, "the values of a section are counted");
	for (int i = 2; i <= count; i++) {
		const store_value &known = values[static_cast<size_t>(i) - 2];
		const char *text = cfl_value_get_by_position(file, name, i, nullptr, nullptr);
		const char *key = cfl_value_get_key_by_position(file, name, i);
		must(text && known.text == text && key && known.key == key,
		     "a value and its key are found by their position");
		text = cfl_value_get_by_name(file, name, known.key.c_str(), nullptr);
		must(text && find_first(values, known.key)->text == text,
		     "the first value of a key is found by its name");
	}
	must(!cfl_value_get_by_position(file, name, count + 1, nullptr, nullptr),
	     "nothing stands behind the last value");
}

static void must_hold(cfl *file, const store_model &model)
{
	const std::vector<std::string> sections = model.sections();
	const int count = cfl_get_sections_count(file);
	must(count == static_cast<int>(sections.size()) + 1, "the sections are counted");
	for (int i = 2; i <= count; i++) {
		const std::string &section = sections[static_cast<size_t>(i) - 2];
		const char *name = cfl_section_get_name_by_position(file, i);
		must(name && section == name, "a section is found by its position");
		must_hold_values(file, model, section);
	}
	must(written(file) == model.text(), "what was not changed is written as it was");
}

static void edit_both(cfl *file, store_model *model, const std::string &line)
{
	std::vector<std::string> words = split(line, '\t');
	words.resize(WORDS);
	const char *const section = words[1].c_str(), *const key = words[2].c_str(),
			  *const text = words[3].c_str();
	// the model takes the words as the library sees them: up to a NUL
	int result = 0, expected = 0;
	switch (line.empty() ? '\0' : line[0]) {
	case 'S':
		result = cfl_section_insert(file, section);
		expected = model->insert_section(section);
		break;
	case 's':
		result = cfl_section_remove(file, section);
		expected = model->remove_section(section);
		break;
	case 'V':
		result = cfl_value_insert(file, section, key, 1, text);
		expected = model->insert_value(section, key, text);
		break;
	case '=':
		result = cfl_value_set(file, section, key, text);
		expected = model->set_value(section, key, text);
		break;
	case 'v':
		result = cfl_value_remove(file, section, key);
		expected = model->remove_value(section, key);
		break;
	}
	must(result == expected, "an edit ends as in the model");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const std::string input(reinterpret_cast<const char *>(data), size);
	const std::string line = "\n%%\n";
	const size_t end = input.find(line);
	const std::string start = input.substr(0, end == std::string::npos ? end : end + 1);
	cfl *file = cfl_read(memory_file(start));
	must(file, "every file can be read");
	store_model model(start);
	must_hold(file, model);
	if (end != std::string::npos) {
		for (const std::string &edit : split(input.substr(end + line.size()), '\n')) {
			edit_both(file, &model, edit);
			must_hold(file, model);
		}
	}
	cfl *read_again = cfl_read(memory_file(written(file)));
	must(read_again, "a written file can be read");
	must_hold(read_again, model);
	cfl_free(read_again);
	cfl_free(file);
	return 0;
}
