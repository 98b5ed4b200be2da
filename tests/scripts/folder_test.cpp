/* The folder of scripts: who has it alone, what killed runs left, and what is in it. */
#include "../../scripts/scripts.h"

#include <fcntl.h>
#include <sys/file.h>

#include "../support/router_files.h"

static texts listed()
{
	script_list list;
	EXPECT_TRUE(list_scripts(&list));
	texts names(list.names, list.names + list.count);
	free_scripts(&list);
	EXPECT_EQ(list.count, 0u);
	return names;
}

TEST(list_scripts, gives_the_scripts_in_order_and_nothing_else)
{
	fresh_router router;
	EXPECT_EQ(listed(), texts{});
	for (const char *name : { "nas0-2:10.b", "nas0", "nas0-2.root", ".nas0.000000.draft",
				  "a device with a long name", ".hidden" })
		write_file(SCRIPTS + name, "");
	put_no_file(SCRIPTS + "nas1", "pipe");
	put_no_file(SCRIPTS + "nas2", "folder");
	std::filesystem::create_symlink("nas0", SCRIPTS + "nas3");
	EXPECT_EQ(listed(), (texts{ "nas0", "nas0-2.root", "nas0-2:10.b" }));
}

TEST(list_scripts, lists_a_thousand)
{
	fresh_router router;
	texts expected;
	for (int i = 1000; i < 2000; i++) {
		expected.push_back("nas0-2." + std::to_string(i));
		write_file(SCRIPTS + expected.back(), "");
	}
	EXPECT_EQ(listed(), expected);
}

TEST(list_scripts, tells_a_folder_that_cannot_be_read)
{
	fresh_router router;
	std::filesystem::remove_all(SCRIPTS);
	script_list list;
	EXPECT_FALSE(list_scripts(&list));
	EXPECT_EQ(errno, ENOENT);
	EXPECT_EQ(list.count, 0u);
	write_file(SCRIPTS.substr(0, SCRIPTS.size() - 1), "");
	EXPECT_FALSE(list_scripts(&list));
	EXPECT_EQ(errno, ENOTDIR);
	std::filesystem::remove(SCRIPTS.substr(0, SCRIPTS.size() - 1));
}

TEST(lock_scripts, removes_the_drafts_of_killed_runs_and_nothing_else)
{
	fresh_router router;
	const texts kept = { ".draft", ".nas0.000000.drafts", ".nas0.draft", "nas0",
			     "nas0.000000.draft" };
	for (const std::string &name : kept)
		write_file(SCRIPTS + name, "kept\n");
	for (const char *name : { ".nas0.a1B2c3.draft", ".nas0-2:10.b.000000.draft" })
		write_file(SCRIPTS + name, "half");
	int fd = lock_scripts(1);
	ASSERT_GE(fd, 0);
	EXPECT_EQ(router.script_names(), kept);
	EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
	close(fd);
}

TEST(lock_scripts, gives_the_folder_to_one_at_a_time)
{
	fresh_router router;
	int first = lock_scripts(0);
	ASSERT_GE(first, 0);
	write_file(SCRIPTS + ".nas0.000000.draft", "of the first");
	EXPECT_EQ(lock_scripts(0), -1);
	EXPECT_EQ(errno, ETIMEDOUT);
	EXPECT_TRUE(has_file(SCRIPTS + ".nas0.000000.draft"));
	close(first);
	int second = lock_scripts(0);
	EXPECT_GE(second, 0);
	close(second);
	std::filesystem::remove_all(SCRIPTS);
	EXPECT_EQ(lock_scripts(0), -1);
	EXPECT_EQ(errno, ENOENT);
}
