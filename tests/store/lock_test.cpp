// SPDX-License-Identifier: MIT
#include "../../store/lock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "../support/router_files.h"

static const std::string HISTORY = STORES + ".history/";

static mode_t mode_of(const std::string &path)
{
	struct stat info;
	EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
	return info.st_mode & 07777;
}

/* What another process gets: 0, or its errno. */
static int outcome_elsewhere(int operation, int seconds)
{
	pid_t child = fork();
	if (child == 0)
		_exit(lock_stores(operation, seconds) < 0 ? errno : 0);
	int status = 0;
	EXPECT_EQ(waitpid(child, &status, 0), child);
	return WEXITSTATUS(status);
}

TEST(lock_stores, makes_folder_and_file_for_the_routers_own_users_only)
{
	fresh_router router;
	mode_t mask = umask(0);
	int lock = lock_stores(LOCK_EX, 0);
	umask(mask);
	ASSERT_GE(lock, 0);
	EXPECT_EQ(mode_of(HISTORY), 0700u);
	EXPECT_EQ(mode_of(HISTORY + "lock"), 0600u);
	EXPECT_EQ(fcntl(lock, F_GETFD), FD_CLOEXEC);
	close(lock);
}

TEST(lock_stores, makes_nothing_where_it_is_shared)
{
	fresh_router router;
	EXPECT_EQ(lock_stores(LOCK_SH, 0), -1);
	EXPECT_EQ(errno, ENOENT);
	EXPECT_FALSE(has_file(HISTORY));
}

TEST(lock_stores, keeps_the_others_out_until_it_is_closed)
{
	fresh_router router;
	int lock = lock_stores(LOCK_EX, 0);
	ASSERT_GE(lock, 0);
	EXPECT_EQ(outcome_elsewhere(LOCK_EX, 0), ETIMEDOUT);
	EXPECT_EQ(outcome_elsewhere(LOCK_SH, 1), ETIMEDOUT);
	close(lock);
	EXPECT_EQ(outcome_elsewhere(LOCK_EX, 0), 0);
}

TEST(lock_stores, is_shared_by_readers_and_keeps_changes_out)
{
	fresh_router router;
	close(lock_stores(LOCK_EX, 0));
	int lock = lock_stores(LOCK_SH, 0);
	ASSERT_GE(lock, 0);
	EXPECT_EQ(outcome_elsewhere(LOCK_SH, 0), 0);
	EXPECT_EQ(outcome_elsewhere(LOCK_EX, 0), ETIMEDOUT);
	close(lock);
}

TEST(lock_stores, waits_for_who_lets_go_in_time)
{
	fresh_router router;
	int ready[2];
	ASSERT_EQ(pipe(ready), 0);
	pid_t child = fork();
	if (child == 0) {
		int lock = lock_stores(LOCK_EX, 0);
		(void)!write(ready[1], "x", 1);
		usleep(200000);
		_exit(lock < 0);
	}
	char byte;
	ASSERT_EQ(read(ready[0], &byte, 1), 1);
	int lock = lock_stores(LOCK_EX, 10);
	EXPECT_GE(lock, 0);
	close(lock);
	int status = 0;
	waitpid(child, &status, 0);
	EXPECT_EQ(status, 0);
}

TEST(lock_stores, follows_no_link_and_needs_a_folder)
{
	fresh_router router;
	close(lock_stores(LOCK_EX, 0));
	std::filesystem::remove(HISTORY + "lock");
	std::filesystem::create_symlink("/tmp/elsewhere", HISTORY + "lock");
	EXPECT_EQ(lock_stores(LOCK_EX, 0), -1);
	EXPECT_EQ(errno, ELOOP);
	std::filesystem::remove_all(HISTORY);
	write_file(STORES + ".history", "");
	EXPECT_EQ(lock_stores(LOCK_EX, 0), -1);
	EXPECT_EQ(errno, ENOTDIR);
}
