/* How scripts are opened and closed. */
#include "../../scripts/scripts.h"

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

TEST(close_script, tells_of_a_full_disk_once_whether_the_script_is_short_or_long)
{
	fresh_router router;
	std::filesystem::create_symlink("/dev/full", SCRIPTS + "nas0");
	for (int lines : { 1, 100000 }) {
		script file;
		ASSERT_TRUE(open_script(&file, "nas0", SCRIPT_PATH_SIZE));
		for (int i = 0; i < lines; i++)
			fputs("RATE=1\n", file.stream);
		printed told = printed_by([&] { close_script(&file); });
		EXPECT_EQ(count_lines(told.err), 1u) << told.err;
		EXPECT_NE(told.err.find(SCRIPTS + "nas0"), std::string::npos) << told.err;
		EXPECT_EQ(told.out, "");
	}
}
