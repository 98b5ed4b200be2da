// SPDX-License-Identifier: MIT
/* Changes as a whole: begun, committed, put back, listed, brought back. */
#include <errno.h>
#include <sys/stat.h>

#include "history_router.h"

TEST(commit_change, keeps_who_did_what_when_and_what_differs)
{
	history_router router;
	time_t start = time(nullptr);
	begin({ "class", "filter", "desc/LAN1.policy" });
	write_file(STORES + "class", "[a]\nRATE=5\nCEIL=2\n[b]\nRATE=3\n");
	EXPECT_TRUE(commit_change());
	EXPECT_FALSE(is_change_open());
	EXPECT_EQ(entries(), std::vector<unsigned>{ 1 });

	entry it;
	ASSERT_TRUE(read_entry(&it, 1));
	EXPECT_STREQ(it.note.login, "admin");
	EXPECT_STREQ(it.note.address, "192.168.1.7");
	EXPECT_STREQ(it.note.kind, "class");
	EXPECT_STREQ(it.note.action, "update");
	EXPECT_STREQ(it.note.id, "a");
	EXPECT_GE(it.when, start);
	EXPECT_LE(it.when, time(nullptr));
	EXPECT_EQ(rows_of(it), texts{ "class a changed RATE: 1 -> 5" });
	EXPECT_EQ(rows_of(it), rows_of(it));
	ASSERT_EQ(it.before.count, 1u) << "files that do not differ need no room";
	EXPECT_STREQ(it.before.files[0].name, "class");
	free_entry(&it);
}

TEST(commit_change, leaves_no_entry_where_nothing_differs)
{
	history_router router;
	begin({ "class", "desc/none.ip" });
	write_file(STORES + "class", read_file(STORES + "class"));
	EXPECT_TRUE(commit_change());
	EXPECT_FALSE(is_change_open());
	EXPECT_TRUE(entries().empty());
}

TEST(commit_change, keeps_any_bytes_of_notes_and_values)
{
	history_router router;
	std::string nasty = "\t=-\\n\nclosed \r[x]\x01\xff<script>\\\\";
	std::string longest(20000, 'v');
	const change_note note = { nullptr, nasty.c_str(), "", longest.c_str(), "\\" };
	begin({ "class" }, note);
	cfl *file = cfl_read((STORES + "class").c_str());
	cfl_section_insert(file, nasty.c_str());
	cfl_value_insert(file, nasty.c_str(), "K\tE\nY", 1, longest.c_str());
	cfl_value_set(file, "a", "RATE", nasty.c_str());
	cfl_value_set(file, "a", "CEIL", "");
	FILE *stream = fopen((STORES + "class").c_str(), "w");
	cfl_write(file, stream);
	fclose(stream);
	cfl_free(file);
	EXPECT_TRUE(commit_change());

	entry it;
	ASSERT_TRUE(read_entry(&it, 1));
	EXPECT_EQ(it.note.login, nullptr);
	EXPECT_EQ(it.note.address, nasty);
	EXPECT_STREQ(it.note.kind, "");
	EXPECT_EQ(it.note.action, longest);
	EXPECT_STREQ(it.note.id, "\\");
	EXPECT_EQ(rows_of(it), (texts{ "class a changed RATE: 1 -> " + nasty,
				       "class a changed CEIL: 2 -> ",
				       "class " + nasty + " added K\tE\nY: (none) -> " +
					       longest }));
	free_entry(&it);
}

TEST(undo_change, puts_back_and_leaves_no_entry)
{
	history_router router;
	file_map before = router.files();
	begin({ "class", "desc/LAN1.policy", "desc/LAN2.policy" });
	write_file(STORES + "class", "");
	std::filesystem::remove(DESCRIPTIONS + "LAN1.policy");
	write_file(DESCRIPTIONS + "LAN2.policy", "x");
	EXPECT_TRUE(undo_change());
	EXPECT_EQ(router.files(), before);
	EXPECT_TRUE(entries().empty());
	EXPECT_FALSE(is_change_open());
}

TEST(begin_change, refuses_what_it_cannot_lay_aside)
{
	history_router router;
	const char *const alien[] = { "class", "../passwd" };
	EXPECT_FALSE(begin_change(&NOTE, alien, 2));
	EXPECT_EQ(errno, EINVAL);
	EXPECT_FALSE(is_change_open());
	begin({ "class" });
	EXPECT_FALSE(begin_change(&NOTE, alien, 1));
	EXPECT_EQ(errno, EBUSY);
	EXPECT_TRUE(undo_change());
	EXPECT_FALSE(commit_change());
	EXPECT_EQ(errno, ENOENT);
}

TEST(list_entries, keeps_the_newest_fifty)
{
	history_router router;
	for (int i = 1; i <= ENTRIES_MAX + 3; i++)
		change("port", "[p]\nPORT[0]=" + std::to_string(i) + "\n");
	std::vector<unsigned> numbers = entries();
	ASSERT_EQ(numbers.size(), static_cast<size_t>(ENTRIES_MAX));
	for (int i = 0; i < ENTRIES_MAX; i++)
		EXPECT_EQ(numbers[static_cast<size_t>(i)],
			  static_cast<unsigned>(ENTRIES_MAX + 3 - i));
	size_t files = 0;
	for (const auto &file : std::filesystem::directory_iterator(HISTORY))
		files += file.path().filename() != "lock";
	EXPECT_EQ(files, static_cast<size_t>(ENTRIES_MAX));
}

TEST(list_entries, keeps_what_fits_and_the_newest_in_any_case)
{
	history_router router;
	change("port", "#" + std::string(100000, '1') + "\n"); // these lay aside what was before
	change("port", "#" + std::string(100000, '2') + "\n");
	change("port", "#" + std::string(100000, '3') + "\n");
	EXPECT_EQ(entries(), (std::vector<unsigned>{ 3, 2, 1 }));
	change("port", "#" + std::string(300000, '4') + "\n");
	EXPECT_EQ(entries(), (std::vector<unsigned>{ 4, 3 }));
	change("port", "");
	EXPECT_EQ(entries(), std::vector<unsigned>{ 5 });
}

TEST(list_entries, says_why_there_are_none)
{
	unsigned numbers[ENTRIES_MAX];
	history_router router;
	std::filesystem::remove_all(HISTORY);
	EXPECT_EQ(list_entries(numbers), 0);
	EXPECT_EQ(errno, ENOENT);
	write_file(STORES + ".history", "a file");
	EXPECT_EQ(list_entries(numbers), 0);
	EXPECT_EQ(errno, ENOTDIR);
	std::filesystem::remove(STORES + ".history");
	std::filesystem::create_directory(HISTORY);
	change("port", "[p]\n");
	EXPECT_EQ(list_entries(numbers), 1);
	EXPECT_EQ(errno, 0);
}

TEST(read_entry, refuses_every_flipped_bit_and_every_cut)
{
	history_router router;
	change("class", "[a]\nRATE=5\n");
	const std::string path = HISTORY + "000000001";
	const std::string whole = read_file(path);
	entry it;
	for (size_t i = 0; i < whole.size(); i++) {
		write_file(path, whole.substr(0, i));
		EXPECT_FALSE(read_entry(&it, 1)) << i;
		EXPECT_EQ(errno, EBADMSG);
		for (int bit = 0; bit < 8; bit++) {
			std::string flipped = whole;
			flipped[i] = static_cast<char>(flipped[i] ^ (1 << bit));
			write_file(path, flipped);
			EXPECT_FALSE(read_entry(&it, 1)) << i << " " << bit;
		}
	}
	EXPECT_FALSE(read_entry(&it, 2));
	EXPECT_EQ(errno, ENOENT);
}

TEST(read_last_change, finds_the_newest_entry_of_the_object)
{
	history_router router;
	const change_note other = { nullptr, "192.168.1.8", "class", "update", "b" };
	change("class", "[a]\nRATE=7\nCEIL=2\n[b]\nRATE=3\n");
	change("class", "[a]\nRATE=7\nCEIL=2\n[b]\nRATE=4\n", other);
	change("desc/LAN1.policy", "copper\n", other);
	entry it;
	ASSERT_TRUE(read_last_change(&it, CLASS, "a"));
	EXPECT_EQ(it.number, 1u);
	EXPECT_STREQ(it.note.login, "admin");
	free_entry(&it);
	ASSERT_TRUE(read_last_change(&it, CLASS, "b"));
	EXPECT_EQ(it.number, 2u);
	free_entry(&it);
	ASSERT_TRUE(read_last_change(&it, POLICY, "LAN1"));
	EXPECT_EQ(it.number, 3u);
	free_entry(&it);
	EXPECT_FALSE(read_last_change(&it, FILTER, "a"));
	EXPECT_EQ(errno, ENOENT);
}

TEST(go_back, brings_the_state_before_an_entry_and_can_be_brought_back)
{
	history_router router;
	const change_note back = { "admin", "192.168.1.7", "router", "back", "2" };
	change("class", "[a]\nRATE=7\n");
	file_map before = router.files();
	change("class", "[a]\nRATE=8\n");
	change("filter", "");
	begin({ "desc/LAN2.policy", "desc/LAN1.policy" });
	write_file(DESCRIPTIONS + "LAN2.policy", "new");
	std::filesystem::remove(DESCRIPTIONS + "LAN1.policy");
	ASSERT_TRUE(commit_change());
	change("class", "[a]\nRATE=9\n");
	file_map after = router.files();

	ASSERT_TRUE(go_back(&back, 2));
	EXPECT_EQ(router.files(), before);
	EXPECT_EQ(rows_of_newest(),
		  (texts{ "policy LAN1 changed (none): (none) -> fibre\n",
			  "policy LAN2 changed (none): new -> (none)",
			  "class a changed RATE: 9 -> 7",
			  "filter f added USE: (none) -> unuse" }));

	EXPECT_EQ(entries()[0], 6u);
	ASSERT_TRUE(go_back(&back, 6));
	EXPECT_EQ(router.files(), after);
}

TEST(go_back, changes_nothing_without_the_entry_or_one_between)
{
	history_router router;
	change("class", "[a]\nRATE=7\n");
	change("class", "[a]\nRATE=8\n");
	change("filter", "");
	file_map before = router.files();
	EXPECT_FALSE(go_back(&NOTE, 9));
	EXPECT_EQ(errno, ENOENT);
	EXPECT_FALSE(go_back(&NOTE, 0));
	write_file(HISTORY + "000000002", "damaged");
	EXPECT_FALSE(go_back(&NOTE, 1));
	EXPECT_EQ(errno, EBADMSG);
	EXPECT_EQ(router.files(), before);
	EXPECT_FALSE(is_change_open());
}

TEST(go_back, restores_the_access_of_a_description_that_went)
{
	history_router router;
	chmod((DESCRIPTIONS + "LAN1.policy").c_str(), 0640);
	begin({ "desc/LAN1.policy" });
	std::filesystem::remove(DESCRIPTIONS + "LAN1.policy");
	ASSERT_TRUE(commit_change());
	ASSERT_TRUE(go_back(&NOTE, 1));
	struct stat info;
	ASSERT_EQ(stat((DESCRIPTIONS + "LAN1.policy").c_str(), &info), 0);
	EXPECT_EQ(info.st_mode & 07777, 0640u);
}
