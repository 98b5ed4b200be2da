// SPDX-License-Identifier: MIT
/* The folder of scripts: who has it alone, and what killed runs left. */
#include "../../scripts/scripts.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>

#include "../support/router_files.h"

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

static ino_t inode_of(int fd)
{
	struct stat info = {};
	EXPECT_EQ(fstat(fd, &info), 0);
	return info.st_ino;
}

TEST(lock_scripts, takes_the_folder_that_is_in_place_when_the_wait_ends)
{
	fresh_router router;
	int first = lock_scripts(0);
	ASSERT_GE(first, 0);
	pid_t child = fork();
	if (child == 0) {
		dup2(open("/dev/null", O_RDONLY), first);
		int fd = lock_scripts(20);
		_exit(fd >= 0 ? static_cast<int>(inode_of(fd) % 200) : 255);
	}
	// Until it waits: its descriptor is that of the folder that goes.
	const std::string descriptors = "/proc/" + std::to_string(child) + "/fd";
	const std::string folder = SCRIPTS.substr(0, SCRIPTS.size() - 1);
	for (bool waits = false; !waits;) {
		for (const auto &one : std::filesystem::directory_iterator(descriptors)) {
			std::error_code gone;
			waits = waits || (one.path().filename() != std::to_string(first) &&
					  std::filesystem::read_symlink(one, gone) == folder);
		}
	}
	std::filesystem::rename(folder, folder + ".before");
	std::filesystem::create_directory(folder);
	int now = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
	ASSERT_NE(inode_of(now), inode_of(first));
	close(first);
	int status = 0;
	ASSERT_EQ(waitpid(child, &status, 0), child);
	EXPECT_EQ(WEXITSTATUS(status), static_cast<int>(inode_of(now) % 200));
	close(now);
	std::filesystem::remove_all(folder + ".before");
}

TEST(lock_folder, is_shared_by_readers)
{
	fresh_router router;
	int one = lock_folder(SCRIPTS.c_str(), LOCK_SH, 0);
	int other = lock_folder(SCRIPTS.c_str(), LOCK_SH, 0);
	EXPECT_GE(one, 0);
	EXPECT_GE(other, 0);
	EXPECT_EQ(lock_scripts(0), -1);
	close(one);
	close(other);
}
