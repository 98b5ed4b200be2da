// SPDX-License-Identifier: MIT
/* How scripts are opened and closed. */
#include "../../scripts/scripts.h"

#include <signal.h>
#include <sys/resource.h>

#include "../support/router_files.h"

TEST(open_script, creates_or_empties_the_script)
{
	fresh_router router;
	write_file(SCRIPTS + "nas0", "an older and longer script\n");
	for (const char *name : { "nas0", "nas1", "nas0-2:10.web" }) {
		script file;
		ASSERT_TRUE(open_script(&file, name, SCRIPT_PATH_SIZE));
		EXPECT_EQ(file.path, SCRIPTS + name);
		fputs("new\n", file.stream);
		EXPECT_EQ(printed_by([&] { close_script(&file); }).err, "");
		EXPECT_EQ(read_file(SCRIPTS + name), "new\n");
	}
}

TEST(open_script, refuses_a_name_that_the_path_cannot_hold)
{
	fresh_router router;
	for (size_t room : { size_t(128), SCRIPT_PATH_SIZE, SCRIPT_PATH_SIZE + 1000 }) {
		const std::string fits(std::min(room, SCRIPT_PATH_SIZE) - 1 - SCRIPTS.size(), 'n');
		script file;
		EXPECT_FALSE(open_script(&file, (fits + "n").c_str(), room));
		EXPECT_EQ(router.script_names(), texts{});
		ASSERT_TRUE(open_script(&file, fits.c_str(), room));
		close_script(&file);
		EXPECT_EQ(router.script_names(), (texts{ fits }));
		std::filesystem::remove(SCRIPTS + fits);
	}
}

TEST(open_script, refuses_a_name_with_a_slash_and_one_that_cannot_be_created)
{
	fresh_router router;
	std::filesystem::create_directories(SCRIPTS + "sub");
	for (const char *name : { "sub/x", "../x", "/x", "sub", "", ".", ".." }) {
		script file;
		EXPECT_FALSE(open_script(&file, name, SCRIPT_PATH_SIZE)) << name;
	}
	EXPECT_EQ(router.script_names(), texts{});
	EXPECT_FALSE(has_file("/etc/script/x"));
	EXPECT_FALSE(has_file(SCRIPTS + "sub/x"));
}

/* The names in the folder, drafts too, that begin like this. */
static size_t count_names(const std::string &start)
{
	size_t count = 0;
	for (const auto &entry : std::filesystem::directory_iterator(SCRIPTS))
		count += entry.path().filename().string().compare(0, start.size(), start) == 0;
	return count;
}

TEST(open_script, leaves_the_old_script_until_the_new_one_is_closed)
{
	fresh_router router;
	write_file(SCRIPTS + "nas0", "old\n");
	script file;
	ASSERT_TRUE(open_script(&file, "nas0", SCRIPT_PATH_SIZE));
	EXPECT_EQ(count_names(".nas0."), 1u);
	for (int i = 0; i < 100000; i++)
		fputs("RATE=1\n", file.stream);
	EXPECT_EQ(read_file(SCRIPTS + "nas0"), "old\n");
	close_script(&file);
	EXPECT_EQ(read_file(SCRIPTS + "nas0").size(), 700000u);
	EXPECT_EQ(count_names("."), 0u);
	ASSERT_TRUE(open_script(&file, "nas1", SCRIPT_PATH_SIZE));
	EXPECT_FALSE(has_file(SCRIPTS + "nas1"));
	close_script(&file);
	EXPECT_EQ(read_file(SCRIPTS + "nas1"), ""); // one without a line is a script too
}

/* What the name says, and who may read and write it. */
static std::string access_of(const std::string &name)
{
	struct stat info;
	EXPECT_EQ(stat((SCRIPTS + name).c_str(), &info), 0);
	char text[64];
	snprintf(text, sizeof(text), "%o %u:%u", info.st_mode & 07777, info.st_uid, info.st_gid);
	return text;
}

static void write_script(const char *name)
{
	script file;
	ASSERT_TRUE(open_script(&file, name, SCRIPT_PATH_SIZE)) << name;
	fputs("new\n", file.stream);
	close_script(&file);
	EXPECT_EQ(read_file(SCRIPTS + name), "new\n");
}

TEST(close_script, gives_a_new_script_the_mode_of_a_plain_create)
{
	fresh_router router;
	for (mode_t mask : { 0u, 022u, 077u }) {
		mode_t old = umask(mask);
		write_script("nas0");
		write_file(SCRIPTS + "plain", "");
		umask(old);
		EXPECT_EQ(access_of("nas0"), access_of("plain"));
		std::filesystem::remove(SCRIPTS + "nas0");
		std::filesystem::remove(SCRIPTS + "plain");
	}
}

TEST(close_script, leaves_a_script_its_mode_and_owner)
{
	fresh_router router;
	for (mode_t mode : { 0600u, 0640u, 0666u, 0755u }) {
		write_file(SCRIPTS + "nas0", "old\n");
		ASSERT_EQ(chmod((SCRIPTS + "nas0").c_str(), mode), 0);
		std::string access = access_of("nas0");
		write_script("nas0");
		EXPECT_EQ(access_of("nas0"), access);
	}
}

TEST(close_script, replaces_a_link_and_leaves_what_it_leads_to)
{
	fresh_router router;
	write_file(SCRATCH + "precious", "kept\n");
	for (const std::string &target :
	     { SCRATCH + "precious", std::string("/dev/full"), std::string("/dev/zero"), SCRATCH,
	       SCRATCH + "absent", std::string("nas0") }) {
		std::filesystem::create_symlink(target, SCRIPTS + "nas0");
		without_hanging([] { write_script("nas0"); });
		EXPECT_FALSE(std::filesystem::is_symlink(SCRIPTS + "nas0"));
		EXPECT_EQ(count_names("."), 0u);
		std::filesystem::remove(SCRIPTS + "nas0");
	}
	EXPECT_EQ(read_file(SCRATCH + "precious"), "kept\n");
	EXPECT_FALSE(has_file(SCRATCH + "absent"));
}

TEST(open_script, refuses_what_is_no_file_without_waiting)
{
	for (const char *what : { "pipe", "socket", "folder" }) {
		fresh_router router;
		put_no_file(SCRIPTS + "nas0", what);
		script file;
		without_hanging(
			[&] { EXPECT_FALSE(open_script(&file, "nas0", SCRIPT_PATH_SIZE)); });
		EXPECT_EQ(count_names(""), 1u) << what;
	}
	fresh_router router;
	std::filesystem::remove_all(SCRIPTS);
	script file;
	EXPECT_FALSE(open_script(&file, "nas0", SCRIPT_PATH_SIZE));
}

/* A limit on the size of files is a full disk for one process. */
TEST(close_script, leaves_the_old_script_where_there_is_no_room_and_tells_once)
{
	fresh_router router;
	rlimit old, tight;
	ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
	tight = old;
	tight.rlim_cur = 6;
	signal(SIGXFSZ, SIG_IGN);
	write_file(SCRIPTS + "nas0", "old\n");
	for (const char *name : { "nas0", "nas1" }) {
		for (int lines : { 1, 100000 }) {
			script file;
			ASSERT_TRUE(open_script(&file, name, SCRIPT_PATH_SIZE));
			for (int i = 0; i < lines; i++)
				fputs("RATE=1\n", file.stream);
			printed told = printed_by([&] {
				setrlimit(RLIMIT_FSIZE, &tight);
				close_script(&file);
				setrlimit(RLIMIT_FSIZE, &old);
			});
			EXPECT_EQ(told.out, "");
		}
	}
	EXPECT_EQ(router.scripts(), (file_map{ { "nas0", "old\n" } }));
	EXPECT_EQ(count_names("."), 0u);
	script file;
	ASSERT_TRUE(open_script(&file, "nas0", SCRIPT_PATH_SIZE));
	fputs("RATE=1\n", file.stream);
	unlink(file.contents.path); // the standard error of a test has no room either
	printed told = printed_by([&] { close_script(&file); });
	EXPECT_EQ(told.err, "qos: " + SCRIPTS + "nas0: not written: No such file or directory\n");
	signal(SIGXFSZ, SIG_DFL);
}

TEST(open_script, ends_the_process_without_a_descriptor)
{
	fresh_router router;
	for (const char *old : { "", "old\n" }) {
		if (*old)
			write_file(SCRIPTS + "nas0", old);
		auto open_without_descriptors = [] {
			const rlimit none = { 3, 3 };
			setrlimit(RLIMIT_NOFILE, &none);
			script file;
			open_script(&file, "nas0", SCRIPT_PATH_SIZE);
		};
		EXPECT_EXIT(open_without_descriptors(), testing::ExitedWithCode(255),
			    "nas0: cannot be written: Too many open files, the run ends here\n");
		EXPECT_EQ(count_names("."), 0u);
	}
	EXPECT_EQ(read_file(SCRIPTS + "nas0"), "old\n");
}
