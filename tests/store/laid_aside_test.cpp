// SPDX-License-Identifier: MIT
#include "../../store/laid_aside.h"

#include <errno.h>
#include <sys/stat.h>

#include "../../store/lock.h"

#include "../support/router_files.h"

static const std::string HISTORY = STORES + ".history/";
static const std::string OPEN = HISTORY + "open";

namespace {

/* A router with two stores and a description, and its lock held. */
class locked_router : public fresh_router {
public:
	locked_router()
	{
		store("class", "[a]\nRATE=1\n");
		store("filter", "[f]\nUSE=unuse");
		write_file(DESCRIPTIONS + "LAN1.policy", "fibre\n");
		lock = lock_stores(LOCK_EX, 0);
	}
	~locked_router()
	{
		close(lock);
	}

	void open(const texts &names)
	{
		kept_files files = NO_FILES;
		for (const std::string &name : names)
			ASSERT_TRUE(add_kept_file(&files, name.c_str())) << name;
		ASSERT_TRUE(open_change(&files));
		free_kept_files(&files);
	}

private:
	int lock;
};

} // namespace

static const texts TOUCHED = { "class", "filter", "desc/LAN1.policy", "desc/LAN2.policy" };

TEST(recover_change, finds_nothing_open)
{
	locked_router router;
	EXPECT_FALSE(is_change_open());
	EXPECT_EQ(recover_change(), NOTHING_OPEN);
	std::filesystem::remove_all(HISTORY);
	EXPECT_EQ(recover_change(), NOTHING_OPEN);
}

TEST(recover_change, puts_back_bytes_access_and_absence)
{
	locked_router router;
	write_file(STORES + "filter", std::string("[f]\r\nA=\0x\n\n", 11));
	chmod((STORES + "class").c_str(), 0640);
	router.open(TOUCHED);
	EXPECT_TRUE(is_change_open());

	write_file(STORES + "class", "");
	chmod((STORES + "class").c_str(), 0644);
	std::filesystem::remove(STORES + "filter");
	std::filesystem::remove(DESCRIPTIONS + "LAN1.policy");
	write_file(DESCRIPTIONS + "LAN2.policy", "new");
	EXPECT_EQ(recover_change(), RECOVERED);

	EXPECT_FALSE(is_change_open());
	EXPECT_EQ(read_file(STORES + "class"), "[a]\nRATE=1\n");
	EXPECT_EQ(read_file(STORES + "filter"), std::string("[f]\r\nA=\0x\n\n", 11));
	EXPECT_EQ(read_file(DESCRIPTIONS + "LAN1.policy"), "fibre\n");
	EXPECT_FALSE(has_file(DESCRIPTIONS + "LAN2.policy"));
	struct stat info;
	ASSERT_EQ(stat((STORES + "class").c_str(), &info), 0);
	EXPECT_EQ(info.st_mode & 07777, 0640u);
	EXPECT_EQ(recover_change(), NOTHING_OPEN);
}

/* An entry can be forged by who owns the folder. */
TEST(recover_change, gives_reading_and_writing_alone)
{
	for (bool is_there : { false, true }) {
		locked_router router;
		chmod((STORES + "class").c_str(), 06775);
		router.open({ "class" });
		if (is_there)
			write_file(STORES + "class", "");
		else
			std::filesystem::remove(STORES + "class");
		chmod((STORES + "class").c_str(), 06775);
		EXPECT_EQ(recover_change(), RECOVERED);
		EXPECT_EQ(read_file(STORES + "class"), "[a]\nRATE=1\n");
		struct stat info;
		ASSERT_EQ(stat((STORES + "class").c_str(), &info), 0);
		EXPECT_EQ(info.st_mode & 07777, 0664u);
	}
}

TEST(recover_change, does_not_touch_what_is_the_same)
{
	locked_router router;
	router.open({ "class" });
	struct stat before, after;
	ASSERT_EQ(stat((STORES + "class").c_str(), &before), 0);
	EXPECT_EQ(recover_change(), RECOVERED);
	ASSERT_EQ(stat((STORES + "class").c_str(), &after), 0);
	EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST(recover_change, keeps_a_store_that_is_a_link_a_link)
{
	locked_router router;
	std::filesystem::copy(STORES + "class", SCRATCH + "class");
	std::filesystem::remove(STORES + "class");
	std::filesystem::create_symlink(SCRATCH + "class", STORES + "class");
	router.open({ "class" });
	write_file(STORES + "class", "");
	write_file(SCRATCH + ".class.aB3xYz.draft", "cut");
	write_file(SCRATCH + ".other.aB3xYz.draft", "somebody's own");
	EXPECT_EQ(recover_change(), RECOVERED);
	EXPECT_TRUE(std::filesystem::is_symlink(STORES + "class"));
	EXPECT_EQ(read_file(SCRATCH + "class"), "[a]\nRATE=1\n");
	EXPECT_FALSE(has_file(SCRATCH + ".class.aB3xYz.draft"));
	EXPECT_TRUE(has_file(SCRATCH + ".other.aB3xYz.draft"));
}

TEST(recover_change, removes_the_drafts_of_killed_runs_and_nothing_else)
{
	locked_router router;
	const texts drafts = { STORES + ".class.aB3xYz.draft",
			       DESCRIPTIONS + ".LAN1.policy.aB3xYz.draft",
			       HISTORY + ".open.aB3xYz.draft" };
	const texts others = { STORES + ".hosts", STORES + "class.aB3xYz.draft",
			       STORES + ".aB3xYz.draft", STORES + ".class.aB3xYz.drafts",
			       DESCRIPTIONS + ".LAN1.aB3xY.draft" };
	for (const std::string &path : drafts)
		write_file(path, "cut");
	for (const std::string &path : others)
		write_file(path, "kept");
	EXPECT_EQ(recover_change(), NOTHING_OPEN);
	for (const std::string &path : drafts)
		EXPECT_FALSE(has_file(path)) << path;
	for (const std::string &path : others)
		EXPECT_TRUE(has_file(path)) << path;
}

TEST(recover_change, refuses_an_entry_that_the_disk_damaged_and_leaves_it)
{
	locked_router router;
	router.open({ "class" });
	write_file(STORES + "class", "half");
	std::string entry = read_file(OPEN);
	for (size_t i = 0; i < entry.size(); i++) {
		std::string damaged = entry;
		damaged[i] = static_cast<char>(damaged[i] ^ 1);
		write_file(OPEN, damaged);
		printed told = printed_by([] { EXPECT_EQ(recover_change(), NOT_RECOVERED); });
		EXPECT_NE(told.err.find("is damaged"), std::string::npos) << i;
		EXPECT_EQ(told.out, "");
	}
	EXPECT_EQ(read_file(STORES + "class"), "half");
	EXPECT_TRUE(is_change_open());
}

TEST(recover_change, stays_open_where_a_file_cannot_be_put_back)
{
	locked_router router;
	router.open({ "class", "filter" });
	write_file(STORES + "filter", "half");
	std::filesystem::remove(STORES + "class");
	std::filesystem::create_directories(STORES + "class/in_the_way");
	printed told = printed_by([] { EXPECT_EQ(recover_change(), NOT_RECOVERED); });
	EXPECT_EQ(told.err, "qos: a change that was cut could not be put back: Is a directory\n");
	EXPECT_TRUE(is_change_open());
	std::filesystem::remove_all(STORES + "class");
	EXPECT_EQ(recover_change(), RECOVERED);
	EXPECT_EQ(read_file(STORES + "class"), "[a]\nRATE=1\n");
}

TEST(open_change, opens_one_at_a_time)
{
	locked_router router;
	router.open({ "class" });
	EXPECT_FALSE(open_change(&NO_FILES));
	EXPECT_EQ(errno, EBUSY);
	EXPECT_TRUE(put_back_change());
	EXPECT_FALSE(put_back_change());
	EXPECT_EQ(errno, ENOENT);
}

TEST(add_kept_file, refuses_what_is_no_store_and_no_description)
{
	locked_router router;
	kept_files files = NO_FILES;
	for (const char *name :
	     { "", "classes", "../class", "/etc/passwd", "desc", "desc/", "desc/LAN1",
	       "desc/.policy", "desc/LAN1.class", "desc/../class.policy", "desc/a/b.ip",
	       ".history/open", "desc/LAN1.policy/", "./class" }) {
		EXPECT_FALSE(add_kept_file(&files, name)) << name;
		EXPECT_EQ(errno, EINVAL) << name;
	}
	EXPECT_FALSE(add_kept_file(&files, ("desc/" + std::string(253, 'a') + ".ip").c_str()));
	EXPECT_TRUE(add_kept_file(&files, ("desc/" + std::string(252, 'a') + ".ip").c_str()));
	free_kept_files(&files);
}
