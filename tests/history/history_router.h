// SPDX-License-Identifier: MIT
/* What the tests of the history share: a router with stores whose lock is held, and what is told
 * of a change as texts. */
#ifndef TESTS_HISTORY_HISTORY_ROUTER_H
#define TESTS_HISTORY_HISTORY_ROUTER_H

#include <cfl.h>

#include "../../history/history.h"
#include "../../store/laid_aside.h"
#include "../../store/lock.h"
#include "../support/router_files.h"

const std::string HISTORY = STORES + ".history/";

const change_note NOTE = { "admin", "192.168.1.7", "class", "update", "a" };

class history_router : public fresh_router {
public:
	history_router()
	{
		store("policy", "[LAN1]\nROOT_CLASS=a\n");
		store("class", "[a]\nRATE=1\nCEIL=2\n[b]\nRATE=3\n");
		store("filter", "[f]\nUSE=unuse\n");
		store("port", "");
		store("ip", "[lan]\nIP[0]=192.168.1.0/24\n");
		write_file(DESCRIPTIONS + "LAN1.policy", "fibre\n");
		lock = lock_stores(LOCK_EX, 0);
	}
	~history_router()
	{
		close(lock);
	}

	/* All files below the folder of the stores, but those of the history. */
	file_map files() const
	{
		file_map found;
		for (const auto &file : std::filesystem::recursive_directory_iterator(STORES)) {
			std::string name = file.path().lexically_relative(STORES);
			if (file.is_regular_file() && name.compare(0, 9, ".history/") != 0)
				found[name] = read_file(file.path());
		}
		return found;
	}

private:
	int lock;
};

inline void begin(const texts &names, const change_note &note = NOTE)
{
	std::vector<const char *> list;
	for (const std::string &name : names)
		list.push_back(name.c_str());
	ASSERT_TRUE(begin_change(&note, list.data(), static_cast<int>(list.size())))
		<< strerror(errno);
}

/* Commits a change that gives the file this text. */
inline void change(const std::string &name, const std::string &text,
		   const change_note &note = NOTE)
{
	begin({ name }, note);
	write_file(STORES + name, text);
	ASSERT_TRUE(commit_change()) << strerror(errno);
}

inline std::string shown(const char *text)
{
	return text ? text : "(none)";
}

/* For a difference_teller: a line a row. */
inline void add_row(void *to, const difference *row)
{
	static const char *const CHANGES[] = { "added", "removed", "changed", "arranged" };
	static_cast<texts *>(to)->push_back(std::string(KINDS[row->kind].word) + " " +
					    shown(row->id) + " " + CHANGES[row->change] + " " +
					    shown(row->key) + ": " + shown(row->before) + " -> " +
					    shown(row->after));
}

inline texts rows_of(const entry &it)
{
	texts rows;
	EXPECT_TRUE(tell_entry(&it, add_row, &rows));
	return rows;
}

inline std::vector<unsigned> entries()
{
	unsigned numbers[ENTRIES_MAX];
	int count = list_entries(numbers);
	return { numbers, numbers + count };
}

inline texts rows_of_newest()
{
	entry it;
	std::vector<unsigned> numbers = entries();
	if (numbers.empty() || !read_entry(&it, numbers[0]))
		return { "no entry" };
	texts rows = rows_of(it);
	free_entry(&it);
	return rows;
}

#endif
