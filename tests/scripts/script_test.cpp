/* How scripts are opened and closed. */
#include "../../scripts/scripts.h"

#include "../support/router_files.h"

TEST(open_script, creates_or_empties_the_script)
{
	fresh_router router;
	write_file(SCRIPTS + "nas0", "an older and longer script\n");
	for (const char *name : { "nas0", "nas1", "nas0-2:10.web" }) {
		char path[128];
		FILE *script = open_script(path, sizeof(path), name);
		ASSERT_NE(script, nullptr);
		EXPECT_EQ(path, SCRIPTS + name);
		fputs("new\n", script);
		EXPECT_EQ(printed_by([&] { close_script(script, path); }).err, "");
		EXPECT_EQ(read_file(SCRIPTS + name), "new\n");
	}
}

TEST(open_script, refuses_a_name_that_the_path_cannot_hold)
{
	fresh_router router;
	char path[128];
	const std::string fits(sizeof(path) - 1 - SCRIPTS.size(), 'n');
	EXPECT_EQ(fits.size(), 104u);
	FILE *script = open_script(path, sizeof(path), fits.c_str());
	ASSERT_NE(script, nullptr);
	fclose(script);
	EXPECT_EQ(open_script(path, sizeof(path), (fits + "n").c_str()), nullptr);
	EXPECT_EQ(router.script_names(), (texts{ fits }));
}

TEST(open_script, refuses_a_name_with_a_slash_and_one_that_cannot_be_created)
{
	fresh_router router;
	std::filesystem::create_directories(SCRIPTS + "sub");
	char path[128];
	for (const char *name : { "sub/x", "../x", "/x", "sub", "", ".", ".." })
		EXPECT_EQ(open_script(path, sizeof(path), name), nullptr) << name;
	EXPECT_EQ(router.script_names(), texts{});
	EXPECT_FALSE(has_file("/etc/script/x"));
	EXPECT_FALSE(has_file(SCRIPTS + "sub/x"));
}

TEST(close_script, tells_of_a_full_disk_once_whether_the_script_is_short_or_long)
{
	fresh_router router;
	std::filesystem::create_symlink("/dev/full", SCRIPTS + "nas0");
	for (int lines : { 1, 100000 }) {
		char path[128];
		FILE *script = open_script(path, sizeof(path), "nas0");
		ASSERT_NE(script, nullptr);
		for (int i = 0; i < lines; i++)
			fputs("RATE=1\n", script);
		printed told = printed_by([&] { close_script(script, path); });
		EXPECT_EQ(count_lines(told.err), 1u) << told.err;
		EXPECT_NE(told.err.find(SCRIPTS + "nas0"), std::string::npos) << told.err;
		EXPECT_EQ(told.out, "");
	}
}
