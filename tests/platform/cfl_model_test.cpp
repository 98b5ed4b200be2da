// SPDX-License-Identifier: MIT
/* Store files beside a model of them. Every prefix of a file, and random sequences of edits. */
#include <cfl.h>

#include <algorithm>
#include <random>

#include "../support/router_files.h"
#include "../support/store_model.h"

static const std::string PATH = "/tmp/store";

static std::string text_of(cfl *file)
{
	return written_by([file](FILE *stream) { EXPECT_EQ(cfl_write(file, stream), 0); });
}

/* The value that a look-up by key finds: the first. */
static const char *first_of(const std::vector<store_value> &values, const std::string &key)
{
	for (const store_value &known : values) {
		if (known.key == key)
			return known.text.c_str();
	}
	return nullptr;
}

static void expect_same(cfl *file, const store_model &expected, const texts &names,
			const texts &keys)
{
	const texts sections = expected.sections();
	ASSERT_EQ(cfl_get_sections_count(file), static_cast<int>(sections.size()) + 1);
	for (size_t i = 0; i < sections.size(); i++)
		ASSERT_STREQ(cfl_section_get_name_by_position(file, static_cast<int>(i) + 2),
			     sections[i].c_str());
	for (const std::string &section : names) {
		const char *name = section.c_str();
		const std::vector<store_value> values = expected.values(section);
		bool known = std::find(sections.begin(), sections.end(), section) != sections.end();
		int count = known ? static_cast<int>(values.size()) + 1 : 0;
		ASSERT_EQ(cfl_section_get_values_count(file, name), count) << name;
		for (int i = 2; i <= count; i++) {
			const store_value &known_value = values[static_cast<size_t>(i) - 2];
			ASSERT_STREQ(cfl_value_get_by_position(file, name, i, nullptr, nullptr),
				     known_value.text.c_str());
			ASSERT_STREQ(cfl_value_get_key_by_position(file, name, i),
				     known_value.key.c_str());
		}
		for (const std::string &key : keys) {
			const char *text = cfl_value_get_by_name(file, name, key.c_str(), nullptr);
			ASSERT_STREQ(text, first_of(values, key)) << name << ": " << key;
		}
	}
	ASSERT_EQ(text_of(file), expected.text());
}

/* A block of size bytes that is handed out again next holds c where a file ends too early. */
static void fill_freed_memory(size_t size, char c)
{
	char *volatile block = static_cast<char *>(malloc(size));
	for (size_t i = 0; i < size; i++)
		const_cast<volatile char *>(block)[i] = c;
	free(block);
}

TEST(cfl_read, reads_every_prefix_of_a_file)
{
	const std::string whole = "# first\nx=y\n[A]\nK=V\nL = a\\nb\\\\c\r\n;K=W\n\n[B\\n] x\r\n"
				  "K=1\nK=2\nunknown\n[A]\nM=[C]=\n[]\n=\n[D]\nK=\\";
	const texts names = { "A", "B\n", "", "D" };
	const texts keys = { "K", "L ", "M", "" };
	for (size_t size = 0; size <= whole.size(); size++) {
		for (char beyond : { '=', ']', '\n', '\\', 'n', '\0' }) {
			SCOPED_TRACE(size);
			write_file(PATH, whole.substr(0, size));
			fill_freed_memory(size + 1, beyond);
			cfl *file = cfl_read(PATH.c_str());
			ASSERT_NE(file, nullptr);
			expect_same(file, store_model(whole.substr(0, size)), names, keys);
			cfl_free(file);
			if (HasFatalFailure())
				return;
		}
	}
}

static const texts NAMES = { "A", "B", "A\n", "a]b" };
static const texts KEYS = { "K", "L", "KL", "K\\" };
static const texts VALUES = { "", "1", "two words ", "a\nb\r\\n", "[B]" };
static const texts LINES = {
	"[A]\n", "[A]\r\n", "[B]\n", "[B] # b\n", "[A\\n]\n", "[a]b]\n", "[C\n",
	"K=V\n", "L=W\r\n", "KL=\n", "K\\\\=a\\nb\n", "M=N\n", "L=[A]\n",
	"\n", "# K=V\n", ";\n", "unknown\n", " # L=x\n",
};

static std::mt19937 numbers(20);

static const std::string &any_of(const texts &choices)
{
	return choices[numbers() % choices.size()];
}

static std::string make_text()
{
	std::string text;
	for (size_t n = numbers() % 20; n > 0; n--)
		text += any_of(LINES);
	if (numbers() % 4 == 0)
		text += "L=no line end";
	return text;
}

/* Does the same to both, and expects the same result. */
static void edit_both(cfl *file, store_model *expected)
{
	const std::string name = any_of(NAMES), key = any_of(KEYS), text = any_of(VALUES);
	switch (numbers() % 9) {
	case 0:
		ASSERT_EQ(cfl_section_insert(file, name.c_str()), expected->insert_section(name));
		break;
	case 1:
		ASSERT_EQ(cfl_section_remove(file, name.c_str()), expected->remove_section(name));
		break;
	case 2:
	case 3:
		ASSERT_EQ(cfl_value_remove(file, name.c_str(), key.c_str()),
			  expected->remove_value(name, key));
		break;
	case 4:
		ASSERT_EQ(cfl_value_set(file, name.c_str(), key.c_str(), text.c_str()),
			  expected->set_value(name, key, text));
		break;
	default:
		ASSERT_EQ(cfl_value_insert(file, name.c_str(), key.c_str(), 1, text.c_str()),
			  expected->insert_value(name, key, text));
	}
}

TEST(cfl_edit, goes_with_the_model_through_random_sequences)
{
	for (int sequence = 0; sequence < 300; sequence++) {
		SCOPED_TRACE(sequence);
		const std::string start = make_text();
		write_file(PATH, start);
		cfl *file = cfl_read(PATH.c_str());
		ASSERT_NE(file, nullptr);
		store_model expected(start);
		for (int i = 0; i < 25 && !HasFatalFailure(); i++) {
			edit_both(file, &expected);
			expect_same(file, expected, NAMES, KEYS);
		}
		write_file(PATH, text_of(file));
		cfl_free(file);
		file = cfl_read(PATH.c_str());
		ASSERT_NE(file, nullptr);
		expect_same(file, expected, NAMES, KEYS);
		cfl_free(file);
		if (HasFatalFailure())
			return;
	}
}
