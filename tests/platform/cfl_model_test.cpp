/* Store files beside a model that is as simple as the format: a list of lines, walked from its
 * start for every question. Every prefix of a file, and random sequences of edits. */
#include <cfl.h>

#include <algorithm>
#include <random>

#include "../support/router_files.h"

static const std::string PATH = "/tmp/store";

struct value {
	size_t line;
	std::string key, text;
};

/* The lines of a store file, as they stand in it. */
class model {
public:
	explicit model(const std::string &text)
	{
		std::string line;
		for (size_t i = 0; i < text.size(); i++) {
			bool ends = text[i] == '\n';
			if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
				continue;
			if (!ends)
				line += text[i];
			if (ends || i + 1 == text.size()) {
				lines.push_back(line);
				line.clear();
			}
		}
	}

	/* A CR that is left at the end of a line gets another, for the next reader drops one. */
	std::string text() const
	{
		std::string all;
		for (const std::string &line : lines)
			all += line + (!line.empty() && line.back() == '\r' ? "\r\n" : "\n");
		return all;
	}

	texts sections() const
	{
		texts names;
		std::string name;
		for (const std::string &line : lines) {
			if (is_heading(line, &name) && !holds(names, name))
				names.push_back(name);
		}
		return names;
	}

	std::vector<value> values(const std::string &section) const
	{
		std::vector<value> found;
		std::string name;
		bool within = false;
		for (size_t i = 0; i < lines.size(); i++) {
			const std::string &line = lines[i];
			size_t equals = line.find('=');
			if (is_heading(line, &name))
				within = name == section;
			else if (within && equals != std::string::npos && !is_comment(line))
				found.push_back({ i, decoded(line.substr(0, equals)),
						  decoded(line.substr(equals + 1)) });
		}
		return found;
	}

	int insert_section(const std::string &section)
	{
		if (holds(sections(), section))
			return -2;
		lines.push_back("[" + encoded(section) + "]");
		return 0;
	}

	int remove_section(const std::string &section)
	{
		if (!holds(sections(), section))
			return -1;
		std::vector<value> gone = values(section);
		for (size_t i = gone.size(); i-- > 0;)
			remove_line(gone[i].line);
		std::string name;
		for (size_t i = lines.size(); i-- > 0;) {
			if (is_heading(lines[i], &name) && name == section)
				remove_line(i);
		}
		return 0;
	}

	int insert_value(const std::string &section, const std::string &key,
			 const std::string &text)
	{
		if (!holds(sections(), section))
			return -1;
		size_t behind = 0;
		std::string name;
		while (!is_heading(lines[behind], &name) || name != section)
			behind++;
		for (const value &known : values(section)) {
			if (known.key == key)
				return -2;
			behind = known.line;
		}
		lines.insert(lines.begin() + static_cast<long>(behind) + 1,
			     encoded(key) + "=" + encoded(text));
		return 0;
	}

	int remove_value(const std::string &section, const std::string &key)
	{
		int result = -1;
		std::vector<value> known = values(section);
		for (size_t i = known.size(); i-- > 0;) {
			if (known[i].key == key) {
				remove_line(known[i].line);
				result = 0;
			}
		}
		return result;
	}

private:
	texts lines;

	void remove_line(size_t line)
	{
		lines.erase(lines.begin() + static_cast<long>(line));
	}

	static bool holds(const texts &names, const std::string &name)
	{
		return std::find(names.begin(), names.end(), name) != names.end();
	}

	static bool is_comment(const std::string &line)
	{
		return line[0] == '#' || line[0] == ';';
	}

	static bool is_heading(const std::string &line, std::string *name)
	{
		size_t close = line.rfind(']');
		if (line.empty() || line[0] != '[' || close == std::string::npos)
			return false;
		*name = decoded(line.substr(1, close - 1));
		return true;
	}

	static std::string decoded(const std::string &raw)
	{
		std::string plain;
		for (size_t i = 0; i < raw.size(); i++) {
			char next = i + 1 < raw.size() ? raw[i + 1] : '\0';
			bool escape =
				raw[i] == '\\' && (next == '\\' || next == 'n' || next == 'r');
			if (!escape) {
				plain += raw[i];
				continue;
			}
			plain += next == 'n' ? '\n' : next == 'r' ? '\r' : '\\';
			i++;
		}
		return plain;
	}

	static std::string encoded(const std::string &plain)
	{
		std::string raw;
		for (char c : plain)
			raw += c == '\\' ? "\\\\" : c == '\n' ? "\\n" : c == '\r' ? "\\r" :
			       std::string(1, c);
		return raw;
	}
};

static std::string text_of(cfl *file)
{
	return written_by([file](FILE *stream) { EXPECT_EQ(cfl_write(file, stream), 0); });
}

/* The value that a look-up by key finds: the first. */
static const char *first_of(const std::vector<value> &values, const std::string &key)
{
	for (const value &known : values) {
		if (known.key == key)
			return known.text.c_str();
	}
	return nullptr;
}

static void expect_same(cfl *file, const model &expected, const texts &names, const texts &keys)
{
	const texts sections = expected.sections();
	ASSERT_EQ(cfl_get_sections_count(file), static_cast<int>(sections.size()) + 1);
	for (size_t i = 0; i < sections.size(); i++)
		ASSERT_STREQ(cfl_section_get_name_by_position(file, static_cast<int>(i) + 2),
			     sections[i].c_str());
	for (const std::string &section : names) {
		const char *name = section.c_str();
		const std::vector<value> values = expected.values(section);
		bool known = std::find(sections.begin(), sections.end(), section) != sections.end();
		int count = known ? static_cast<int>(values.size()) + 1 : 0;
		ASSERT_EQ(cfl_section_get_values_count(file, name), count) << name;
		for (int i = 2; i <= count; i++) {
			const value &known_value = values[static_cast<size_t>(i) - 2];
			ASSERT_STREQ(cfl_value_get_by_position(file, name, i, nullptr, nullptr),
				     known_value.text.c_str());
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
			expect_same(file, model(whole.substr(0, size)), names, keys);
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
static void edit_both(cfl *file, model *expected)
{
	const std::string name = any_of(NAMES), key = any_of(KEYS), text = any_of(VALUES);
	switch (numbers() % 8) {
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
		model expected(start);
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
