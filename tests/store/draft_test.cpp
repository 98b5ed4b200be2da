// SPDX-License-Identifier: MIT
/* Files that get new contents: as a whole, with the access and the place of the old one. */
#include "../../store/draft.h"

#include <errno.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "../support/router_files.h"

static const std::string FILE_PATH = SCRATCH + "file";

/* A name that leaves no room for the rest of a draft's: its folder takes none. */
static const std::string LONG_PATH = SCRATCH + std::string(250, 'n');

static bool replace(const std::string &path, const std::string &text)
{
	draft it;
	if (!open_draft(&it, path.c_str()))
		return false;
	fwrite(text.data(), 1, text.size(), it.stream);
	if (!finish_draft(&it))
		return false;
	bool done = commit_draft(&it);
	if (!done)
		drop_draft(&it);
	return done;
}

static texts files_in_scratch()
{
	texts names;
	for (const auto &entry : std::filesystem::directory_iterator(SCRATCH))
		names.push_back(entry.path().filename());
	std::sort(names.begin(), names.end());
	return names;
}

static struct stat info_of(const std::string &path)
{
	struct stat info = {};
	EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
	return info;
}

/* No file can grow beyond some bytes while this lives, as on a full disk. */
class size_limit {
public:
	explicit size_limit(rlim_t bytes)
	{
		signal(SIGXFSZ, SIG_IGN);
		getrlimit(RLIMIT_FSIZE, &before);
		rlimit lower = { bytes, before.rlim_max };
		setrlimit(RLIMIT_FSIZE, &lower);
	}

	~size_limit()
	{
		setrlimit(RLIMIT_FSIZE, &before);
	}

private:
	rlimit before;
};

TEST(draft, replaces_the_text_by_a_longer_and_a_shorter_one)
{
	fresh_router router;
	for (const std::string &path : { FILE_PATH, LONG_PATH }) {
		write_file(path, "old");
		for (const std::string &text : { std::string(100000, 'x'), std::string("new\n"),
						 std::string(), std::string("a\0b", 3) }) {
			EXPECT_TRUE(replace(path, text));
			EXPECT_EQ(read_file(path), text);
		}
		EXPECT_EQ(files_in_scratch().size(), 1u);
		std::filesystem::remove(path);
	}
}

TEST(draft, stands_beside_its_file_under_a_name_that_nobody_reads)
{
	fresh_router router;
	write_file(FILE_PATH, "old");
	draft it;
	ASSERT_TRUE(open_draft(&it, FILE_PATH.c_str()));
	texts names = files_in_scratch();
	ASSERT_EQ(names.size(), 2u);
	EXPECT_EQ(names[0].rfind(".file.", 0), 0u) << names[0];
	EXPECT_EQ(names[0].size(), strlen(".file.XXXXXX.draft"));
	EXPECT_EQ(names[0].substr(names[0].size() - 6), ".draft");
	EXPECT_EQ(info_of(SCRATCH + names[0]).st_mode & 07777, info_of(FILE_PATH).st_mode & 07777);
	drop_draft(&it);
	EXPECT_EQ(files_in_scratch(), texts({ "file" }));
	EXPECT_EQ(read_file(FILE_PATH), "old");
}

TEST(draft, keeps_the_old_text_until_it_is_committed)
{
	fresh_router router;
	write_file(FILE_PATH, "old");
	draft it;
	ASSERT_TRUE(open_draft(&it, FILE_PATH.c_str()));
	fputs("new", it.stream);
	EXPECT_EQ(read_file(FILE_PATH), "old");
	ASSERT_TRUE(finish_draft(&it));
	EXPECT_EQ(read_file(FILE_PATH), "old");
	drop_draft(&it);
	EXPECT_EQ(read_file(FILE_PATH), "old");
	EXPECT_EQ(files_in_scratch(), texts({ "file" }));
}

TEST(draft, keeps_mode_group_and_owner)
{
	fresh_router router;
	for (mode_t mode : { 0600u, 0640u, 0664u, 0777u }) {
		write_file(FILE_PATH, "old");
		ASSERT_EQ(chmod(FILE_PATH.c_str(), mode), 0);
		bool is_root = geteuid() == 0;
		if (is_root) {
			ASSERT_EQ(chown(FILE_PATH.c_str(), 12, 34), 0);
		}
		EXPECT_TRUE(replace(FILE_PATH, "new"));
		struct stat now = info_of(FILE_PATH);
		EXPECT_EQ(now.st_mode & 07777, mode);
		EXPECT_EQ(now.st_uid, is_root ? 12 : geteuid());
		EXPECT_EQ(now.st_gid, is_root ? 34 : getegid());
	}
}

TEST(draft, keeps_no_setuid_and_setgid)
{
	fresh_router router;
	write_file(FILE_PATH, "old");
	ASSERT_EQ(chmod(FILE_PATH.c_str(), 06755), 0);
	EXPECT_TRUE(replace(FILE_PATH, "new"));
	EXPECT_EQ(info_of(FILE_PATH).st_mode & 07777, 0755u);
}

TEST(draft, leaves_a_link_where_it_leads)
{
	fresh_router router;
	std::filesystem::create_directory(SCRATCH + "far");
	write_file(SCRATCH + "far/target", "old");
	std::filesystem::create_symlink("far/target", FILE_PATH);
	EXPECT_TRUE(replace(FILE_PATH, "new"));
	EXPECT_EQ(std::filesystem::read_symlink(FILE_PATH), "far/target");
	EXPECT_EQ(read_file(SCRATCH + "far/target"), "new");
	EXPECT_EQ(files_in_scratch(), texts({ "far", "file" }));
}

TEST(draft, refuses_what_is_no_regular_file)
{
	fresh_router router;
	std::filesystem::create_directory(SCRATCH + "folder");
	ASSERT_EQ(mkfifo((SCRATCH + "pipe").c_str(), 0600), 0);
	std::filesystem::create_symlink("/dev/null", SCRATCH + "device");
	for (const char *name : { "folder", "pipe", "device", "absent", "absent/file" }) {
		draft it;
		EXPECT_FALSE(open_draft(&it, (SCRATCH + name).c_str())) << name;
		EXPECT_NE(errno, 0);
	}
	for (const char *name : { "folder", "pipe", "absent/file" }) {
		draft it;
		EXPECT_FALSE(create_draft(&it, (SCRATCH + name).c_str())) << name;
	}
	EXPECT_EQ(files_in_scratch(), texts({ "device", "folder", "pipe" }));
}

TEST(draft, of_a_new_file_has_the_mode_of_a_plain_create)
{
	fresh_router router;
	for (mode_t mask : { 0022u, 0077u, 0u }) {
		mode_t before = umask(mask);
		draft it;
		ASSERT_TRUE(create_draft(&it, FILE_PATH.c_str()));
		EXPECT_FALSE(has_file(FILE_PATH));
		fputs("new", it.stream);
		EXPECT_TRUE(finish_draft(&it));
		EXPECT_TRUE(commit_draft(&it));
		umask(before);
		EXPECT_EQ(read_file(FILE_PATH), "new");
		EXPECT_EQ(info_of(FILE_PATH).st_mode & 07777, 0666 & ~mask);
		std::filesystem::remove(FILE_PATH);
	}
}

TEST(draft, of_a_new_file_takes_the_place_of_a_link)
{
	fresh_router router;
	write_file(SCRATCH + "target", "old");
	std::filesystem::create_symlink("target", FILE_PATH);
	draft it;
	ASSERT_TRUE(create_draft(&it, FILE_PATH.c_str()));
	it.is_durable = false;
	fputs("new", it.stream);
	EXPECT_TRUE(finish_draft(&it));
	EXPECT_TRUE(commit_draft(&it));
	EXPECT_TRUE(S_ISREG(info_of(FILE_PATH).st_mode));
	EXPECT_EQ(read_file(FILE_PATH), "new");
	EXPECT_EQ(read_file(SCRATCH + "target"), "old");
}

TEST(draft, leaves_the_old_text_on_a_full_disk)
{
	fresh_router router;
	for (const std::string &path : { FILE_PATH, LONG_PATH }) {
		std::string old(3000, 'o');
		write_file(path, old);
		{
			size_limit full(5000);
			EXPECT_FALSE(replace(path, std::string(20000, 'n')));
			EXPECT_EQ(errno, EFBIG);
			EXPECT_EQ(read_file(path), old);
			EXPECT_EQ(files_in_scratch().size(), 1u);
			EXPECT_TRUE(replace(path, std::string(5000, 'n')));
		}
		std::filesystem::remove(path);
	}
}

/* The write-protected file of a folder that may be written. Root may write both. */
TEST(draft, leaves_a_write_protected_file)
{
	fresh_router router;
	write_file(FILE_PATH, "old");
	ASSERT_EQ(chmod(FILE_PATH.c_str(), 0444), 0);
	EXPECT_EQ(replace(FILE_PATH, "new"), geteuid() == 0);
}

/* Half of what was written would be taken for all of it. */
TEST(finish_draft, fails_when_memory_is_short_for_the_text)
{
#ifdef QOS_SANITIZE
	GTEST_SKIP() << "the sanitizer has room of its own";
#endif
	fresh_router router;
	write_file(FILE_PATH, "old\n");
	const rlim_t enough = 64 << 20;
	auto replace_without_memory = [] {
		draft it;
		if (!open_draft(&it, FILE_PATH.c_str()))
			_exit(1);
		const rlimit tight = { enough, enough };
		setrlimit(RLIMIT_AS, &tight);
		std::string line(4096, 'x');
		for (rlim_t written = 0; written < enough; written += line.size())
			fwrite(line.data(), 1, line.size(), it.stream);
		_exit(!finish_draft(&it) && errno == ENOMEM && !*it.path ? 0 : 2);
	};
	EXPECT_EXIT(replace_without_memory(), testing::ExitedWithCode(0), "");
	EXPECT_EQ(read_file(FILE_PATH), "old\n");
	EXPECT_EQ(files_in_scratch().size(), 1u);
}
