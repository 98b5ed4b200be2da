// SPDX-License-Identifier: MIT
/* Edits of store files: one edit and the whole text that it leaves, strings that outlive their
 * value, and names and values of every character. */
#include <cfl.h>

#include "../support/router_files.h"

static const std::string PATH = "/tmp/store";

static cfl *read_text(const std::string &text)
{
	write_file(PATH, text);
	cfl *file = cfl_read(PATH.c_str());
	EXPECT_NE(file, nullptr) << text;
	return file;
}

static std::string text_of(cfl *file)
{
	return written_by([file](FILE *stream) { EXPECT_EQ(cfl_write(file, stream), 0); });
}

/* What a test can do to a store file. */
enum edit_kind {
	INSERT_SECTION,
	REMOVE_SECTION,
	RENAME_SECTION,
	INSERT_VALUE,
	REMOVE_VALUE,
	SET_VALUE,
	EDIT_KINDS,
};

static int edit(cfl *file, int kind, const char *section, const char *key, const char *value)
{
	switch (kind) {
	case INSERT_SECTION: return cfl_section_insert(file, section);
	case REMOVE_SECTION: return cfl_section_remove(file, section);
	case RENAME_SECTION: return cfl_section_rename(file, section, value);
	case INSERT_VALUE: return cfl_value_insert(file, section, key, 1, value);
	case SET_VALUE: return cfl_value_set(file, section, key, value);
	default: return cfl_value_remove(file, section, key);
	}
}

static const struct {
	const char *before;
	edit_kind kind;
	const char *section, *key, *value;
	int result;
	const char *after;
} EDITS[] = {
	{ "", INSERT_SECTION, "A", "", "", 0, "[A]\n" },
	{ "# x\n", INSERT_SECTION, "A", "", "", 0, "# x\n[A]\n" },
	{ "[A]\nK=V\n\n", INSERT_SECTION, "B", "", "", 0, "[A]\nK=V\n\n[B]\n" },
	{ "[A]\nK=V", INSERT_SECTION, "B", "", "", 0, "[A]\nK=V\n[B]\n" },
	{ "[A]\n", INSERT_SECTION, "A", "", "", -2, "[A]\n" },
	{ "[B]\n[A]", INSERT_SECTION, "A", "", "", -2, "[B]\n[A]\n" },
	{ "[A]\n", INSERT_SECTION, "", "", "", -1, "[A]\n" },
	{ "", INSERT_SECTION, "a]b", "", "", 0, "[a]b]\n" },
	{ "", INSERT_SECTION, "a\nb\r\\", "", "", 0, "[a\\nb\\r\\\\]\n" },

	{ "[A]\nK=V\n", REMOVE_SECTION, "A", "", "", 0, "" },
	{ "[A]\nK=V\n", REMOVE_SECTION, "B", "", "", -1, "[A]\nK=V\n" },
	{ "x=y\n", REMOVE_SECTION, "", "", "", -1, "x=y\n" },
	{ "x=y\n[A]\n# a\nK=V\nL\n\n[B]\nK=W", REMOVE_SECTION, "A", "", "", 0,
	  "x=y\n# a\nL\n\n[B]\nK=W\n" },
	{ "[A]\nK=1\n# a\n[B]\nK=2\n; b\n[A]\nL\nM=3\n[C]\n", REMOVE_SECTION, "A", "", "", 0,
	  "# a\n[B]\nK=2\n; b\nL\n[C]\n" },
	{ "[A]\nK=1\n# a\n[B]\nK=2\n; b\n[A]\nL\nM=3\n[C]\n", REMOVE_SECTION, "B", "", "", 0,
	  "[A]\nK=1\n# a\n; b\n[A]\nL\nM=3\n[C]\n" },
	{ "[A]\n[B]\nK=V", REMOVE_SECTION, "B", "", "", 0, "[A]\n" },

	{ "# x\n[A]\n# a\nK=A\n\n[B]\n", RENAME_SECTION, "A", "", "long", 0,
	  "# x\n[long]\n# a\nK=A\n\n[B]\n" },
	{ "[A]\nK=1\n[B]\nK=2\n# b\n[A]\nM=3\n[C]", RENAME_SECTION, "A", "", "D", 0,
	  "[D]\nK=1\n[B]\nK=2\n# b\n[D]\nM=3\n[C]\n" },
	{ "[a]b] # c\nK=V\n", RENAME_SECTION, "a]b", "", "x", 0, "[x] # c\nK=V\n" },
	{ "[a\\nb]\n[A]", RENAME_SECTION, "A", "", "c\nd\r\\]", 0,
	  "[a\\nb]\n[c\\nd\\r\\\\]]\n" },
	{ "[a\\nb]\n", RENAME_SECTION, "a\nb", "", "ab", 0, "[ab]\n" },
	{ "[A]\n[B]\n", RENAME_SECTION, "A", "", "B", -2, "[A]\n[B]\n" },
	{ "[A]\n", RENAME_SECTION, "A", "", "A", -2, "[A]\n" },
	{ "[A]\n", RENAME_SECTION, "B", "", "C", -1, "[A]\n" },
	{ "[A]\n", RENAME_SECTION, "A", "", "", -1, "[A]\n" },

	{ "[A]\n", INSERT_VALUE, "A", "K", "V", 0, "[A]\nK=V\n" },
	{ "[A]", INSERT_VALUE, "A", "K", "V", 0, "[A]\nK=V\n" },
	{ "[A]\nJ=U", INSERT_VALUE, "A", "K", "V", 0, "[A]\nJ=U\nK=V\n" },
	{ "[A]\n# a\n\n[B]\n", INSERT_VALUE, "A", "K", "V", 0, "[A]\nK=V\n# a\n\n[B]\n" },
	{ "[A]\nI=T\n# a\nJ=U\n# b\nx\n\n[B]\nK=W\n", INSERT_VALUE, "A", "K", "V", 0,
	  "[A]\nI=T\n# a\nJ=U\nK=V\n# b\nx\n\n[B]\nK=W\n" },
	{ "[A]\nI=T\n[B]\n[A]\nJ=U\n# a\n", INSERT_VALUE, "A", "K", "V", 0,
	  "[A]\nI=T\n[B]\n[A]\nJ=U\nK=V\n# a\n" },
	{ "[A]\nI=T\n[B]\n[A]\n# a\n", INSERT_VALUE, "A", "K", "V", 0,
	  "[A]\nI=T\nK=V\n[B]\n[A]\n# a\n" },
	{ "[A]\n", INSERT_VALUE, "A", "K", "", 0, "[A]\nK=\n" },
	{ "[A]\n", INSERT_VALUE, "A", "K", " [B]=\t", 0, "[A]\nK= [B]=\t\n" },
	{ "[A]\n", INSERT_VALUE, "A", "K", "x\n[B]\r\nL=\\n", 0, "[A]\nK=x\\n[B]\\r\\nL=\\\\n\n" },
	{ "[A]\n", INSERT_VALUE, "A", " K\n\\", "V", 0, "[A]\n K\\n\\\\=V\n" },
	{ "[A]\nK=1\n", INSERT_VALUE, "A", "K", "2", -2, "[A]\nK=1\n" },
	{ "[A]\n[B]\n[A]\nK=1\n", INSERT_VALUE, "A", "K", "2", -2, "[A]\n[B]\n[A]\nK=1\n" },
	{ "[A]\n\\\\=1\n", INSERT_VALUE, "A", "\\", "2", -2, "[A]\n\\\\=1\n" },
	{ "[A]\n", INSERT_VALUE, "B", "K", "V", -1, "[A]\n" },
	{ "", INSERT_VALUE, "A", "K", "V", -1, "" },
	// no line can hold these keys so that they are read back
	{ "[A]\n", INSERT_VALUE, "A", "", "V", -1, "[A]\n" },
	{ "[A]\n", INSERT_VALUE, "A", "K=L", "V", -1, "[A]\n" },
	{ "[A]\n", INSERT_VALUE, "A", "#K", "V", -1, "[A]\n" },
	{ "[A]\n", INSERT_VALUE, "A", ";K", "V", -1, "[A]\n" },
	{ "[A]\n", INSERT_VALUE, "A", "[K", "V]", -1, "[A]\n" },

	{ "[A]\nK=V\n", REMOVE_VALUE, "A", "K", "", 0, "[A]\n" },
	{ "[A]\nJ=U\nK=V", REMOVE_VALUE, "A", "K", "", 0, "[A]\nJ=U\n" },
	{ "[A]\n# a\nK=V\nL\n\nM=W\n", REMOVE_VALUE, "A", "K", "", 0, "[A]\n# a\nL\n\nM=W\n" },
	{ "[A]\nK=1\nL=2\nK=3\n", REMOVE_VALUE, "A", "K", "", 0, "[A]\nL=2\n" },
	{ "[A]\nK=1\n[B]\nK=2\n[A]\nL=3\nK=4\n", REMOVE_VALUE, "A", "K", "", 0,
	  "[A]\n[B]\nK=2\n[A]\nL=3\n" },
	{ "[A]\nK\\n=V\n", REMOVE_VALUE, "A", "K\n", "", 0, "[A]\n" },
	{ "[A]\nK=V\n", REMOVE_VALUE, "A", "L", "", -1, "[A]\nK=V\n" },
	{ "[A]\nK=V\n", REMOVE_VALUE, "B", "K", "", -1, "[A]\nK=V\n" },
	{ "[A]\n#K=V\n", REMOVE_VALUE, "A", "#K", "", -1, "[A]\n#K=V\n" },

	{ "[A]\nK=V\n", SET_VALUE, "A", "K", "W", 0, "[A]\nK=W\n" },
	{ "[A]\nK=V\nL=\n", SET_VALUE, "A", "K", "longer", 0, "[A]\nK=longer\nL=\n" },
	{ "[A]\nK=long\nL=1", SET_VALUE, "A", "K", "", 0, "[A]\nK=\nL=1\n" },
	{ "[A]\nL=1\nK=V", SET_VALUE, "A", "K", "a\nb\\", 0, "[A]\nL=1\nK=a\\nb\\\\\n" },
	{ "[A]\nK=\\x\n", SET_VALUE, "A", "K", "\\x", 0, "[A]\nK=\\x\n" },
	{ "[A]\nK=1\n# c\nK=2\n", SET_VALUE, "A", "K", "3", 0, "[A]\nK=3\n# c\nK=2\n" },
	{ "[A]\nK=V\n# c\n[B]\n", SET_VALUE, "A", "L", "W", 0, "[A]\nK=V\nL=W\n# c\n[B]\n" },
	{ "[A]\n", SET_VALUE, "B", "K", "V", -1, "[A]\n" },
	{ "[A]\n", SET_VALUE, "A", "K=", "V", -1, "[A]\n" },
};

TEST(cfl_edit, leaves_the_whole_text_as_expected)
{
	for (const auto &row : EDITS) {
		SCOPED_TRACE(row.after);
		cfl *file = read_text(row.before);
		EXPECT_EQ(edit(file, row.kind, row.section, row.key, row.value), row.result);
		EXPECT_EQ(text_of(file), row.after);
		cfl_free(file);
	}
}

TEST(cfl_edit, names_the_keys_by_position)
{
	cfl *file = read_text("[A]\nK=1\n# c\n\\\\L=2\n[B]\nM=3\n[A]\nN=4\n");
	EXPECT_EQ(cfl_value_get_key_by_position(file, "A", 1), nullptr);
	EXPECT_STREQ(cfl_value_get_key_by_position(file, "A", 2), "K");
	EXPECT_STREQ(cfl_value_get_key_by_position(file, "A", 3), "\\L");
	EXPECT_STREQ(cfl_value_get_key_by_position(file, "A", 4), "N");
	EXPECT_EQ(cfl_value_get_key_by_position(file, "A", 5), nullptr);
	EXPECT_EQ(cfl_value_get_key_by_position(file, "C", 2), nullptr);
	EXPECT_EQ(cfl_value_get_key_by_position(nullptr, "A", 2), nullptr);
	cfl_free(file);
}

TEST(cfl_edit, keeps_strings_valid_until_the_file_is_freed)
{
	cfl *file = read_text("[A]\nK=one\nL=two\n[B]\nK=three\n");
	const char *name = cfl_section_get_name_by_position(file, 2);
	const char *value = cfl_value_get_by_name(file, "A", "K", nullptr);
	const char *by_position = cfl_value_get_by_position(file, "A", 3, nullptr, nullptr);
	EXPECT_EQ(cfl_value_remove(file, "A", "K"), 0);
	EXPECT_EQ(cfl_section_remove(file, name), 0);
	const std::string large(100000, 'v');
	for (int i = 0; i < 20; i++) {
		std::string key = "KEY" + std::to_string(i);
		EXPECT_EQ(cfl_value_insert(file, "B", key.c_str(), 1, large.c_str()), 0);
		EXPECT_STREQ(cfl_value_get_by_name(file, "B", key.c_str(), nullptr), large.c_str());
	}
	EXPECT_STREQ(name, "A");
	EXPECT_STREQ(value, "one");
	EXPECT_STREQ(by_position, "two");
	cfl_free(file);
}

TEST(cfl_edit, never_lets_a_value_open_a_section_or_add_a_key)
{
	const char *hostile[] = { "x\n[B]\nL=1", "\n[B]", "\r\n[B]\r\nL=1\r\n", "]\n[", "\\\n[B]" };
	for (const char *value : hostile) {
		cfl *file = read_text("[A]\n");
		EXPECT_EQ(cfl_value_insert(file, "A", "K", 1, value), 0);
		cfl *again = read_text(text_of(file));
		EXPECT_EQ(cfl_get_sections_count(again), 2);
		EXPECT_EQ(cfl_section_get_values_count(again, "A"), 2);
		EXPECT_STREQ(cfl_value_get_by_name(again, "A", "K", nullptr), value);
		cfl_free(again);
		cfl_free(file);
	}
}

/* Every character but NUL, alone and between those that the writer escapes. */
TEST(cfl_edit, survives_a_write_and_a_read_with_every_character_in_a_name_or_value)
{
	for (const std::string beside : { "", "\\", "n", "\r", "]", " " }) {
		cfl *file = read_text("");
		for (int c = 1; c < 256; c++) {
			std::string all = beside + static_cast<char>(c) + beside, key = "k" + all;
			const char *text = all.c_str();
			ASSERT_EQ(cfl_section_insert(file, text), 0);
			ASSERT_EQ(cfl_value_insert(file, text, "K", 1, text), 0);
			ASSERT_EQ(cfl_value_insert(file, text, key.c_str(), 1, "V"),
				  c == '=' ? -1 : 0);
		}
		cfl *again = read_text(text_of(file));
		ASSERT_EQ(cfl_get_sections_count(again), 256);
		for (int c = 1; c < 256; c++) {
			SCOPED_TRACE(c);
			std::string all = beside + static_cast<char>(c) + beside, key = "k" + all;
			const char *text = all.c_str();
			EXPECT_STREQ(cfl_section_get_name_by_position(again, c + 1), text);
			EXPECT_STREQ(cfl_value_get_by_name(again, text, "K", nullptr), text);
			EXPECT_STREQ(cfl_value_get_by_name(again, text, key.c_str(), nullptr),
				     c == '=' ? nullptr : "V");
		}
		cfl_free(again);
		cfl_free(file);
	}
}
