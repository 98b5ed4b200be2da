// SPDX-License-Identifier: MIT
/* A model of store files that is as simple as their format: a list of lines, walked from its start
 * for every question. */
#ifndef TESTS_SUPPORT_STORE_MODEL_H
#define TESTS_SUPPORT_STORE_MODEL_H

#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

struct store_value {
	size_t line;
	std::string key, text;
};

/* The lines of a store file, as they stand in it. */
class store_model {
public:
	explicit store_model(const std::string &text)
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

	std::vector<std::string> sections() const
	{
		std::vector<std::string> names;
		std::string name;
		for (const std::string &line : lines) {
			if (is_heading(line, &name) && !holds(names, name))
				names.push_back(name);
		}
		return names;
	}

	std::vector<store_value> values(const std::string &section) const
	{
		std::vector<store_value> found;
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
		if (section.empty())
			return -1;
		if (holds(sections(), section))
			return -2;
		lines.push_back("[" + encoded(section) + "]");
		return 0;
	}

	int remove_section(const std::string &section)
	{
		if (!holds(sections(), section))
			return -1;
		std::vector<store_value> gone = values(section);
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
		if (!holds(sections(), section) || !is_writable(key))
			return -1;
		size_t behind = 0;
		std::string name;
		while (!is_heading(lines[behind], &name) || name != section)
			behind++;
		for (const store_value &known : values(section)) {
			if (known.key == key)
				return -2;
			behind = known.line;
		}
		lines.insert(lines.begin() + static_cast<long>(behind) + 1,
			     encoded(key) + "=" + encoded(text));
		return 0;
	}

	int set_value(const std::string &section, const std::string &key, const std::string &text)
	{
		for (const store_value &known : values(section)) {
			std::string &line = lines[known.line];
			if (known.key != key)
				continue;
			if (known.text != text)
				line.replace(line.find('=') + 1, std::string::npos, encoded(text));
			return 0;
		}
		return insert_value(section, key, text);
	}

	int remove_value(const std::string &section, const std::string &key)
	{
		int result = -1;
		std::vector<store_value> known = values(section);
		for (size_t i = known.size(); i-- > 0;) {
			if (known[i].key == key) {
				remove_line(known[i].line);
				result = 0;
			}
		}
		return result;
	}

private:
	std::vector<std::string> lines;

	void remove_line(size_t line)
	{
		lines.erase(lines.begin() + static_cast<long>(line));
	}

	static bool holds(const std::vector<std::string> &names, const std::string &name)
	{
		return std::find(names.begin(), names.end(), name) != names.end();
	}

	static bool is_comment(const std::string &line)
	{
		return line[0] == '#' || line[0] == ';';
	}

	static bool is_writable(const std::string &key)
	{
		return !key.empty() && key.find('=') == std::string::npos &&
		       !strchr("#;[", key[0]);
	}

	static bool is_heading(const std::string &line, std::string *name)
	{
		size_t close = line.rfind(']');
		if (line.empty() || line[0] != '[' || close == std::string::npos)
			return false;
		*name = decoded(line.substr(1, close - 1));
		return true;
	}

	/* A NUL ends the text, as it ends every string that is handed out. */
	static std::string decoded(const std::string &raw)
	{
		std::string plain;
		for (size_t i = 0; i < raw.size() && raw[i] != '\0'; i++) {
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

#endif
