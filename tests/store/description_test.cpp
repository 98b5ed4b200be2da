// SPDX-License-Identifier: MIT
/* Description files, on both sides of every length. */
#include "../../store/description.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "../support/router_files.h"

/* The description; "(none)" for a null, which must not be told to anyone. */
static std::string description_of(const std::string &id, const std::string &kind)
{
	char *desc = nullptr;
	printed all = printed_by([&] { desc = read_desc(id.c_str(), kind.c_str()); });
	EXPECT_EQ(all.out, "");
	EXPECT_EQ(all.err, "");
	std::string text = desc ? desc : "(none)";
	free(desc);
	return text;
}

/* The result of a write_desc, and the boxes that it showed. */
static int write(const std::string &id, const std::string &kind, const std::string &desc,
		 texts *alerts = nullptr)
{
	int result = -1;
	printed all = printed_by(
		[&] { result = write_desc(id.c_str(), kind.c_str(), desc.c_str()); });
	if (alerts)
		*alerts = alerts_in(all.out);
	else
		EXPECT_EQ(all.out, "");
	return result;
}

static const struct {
	std::string file, desc;
} FILES[] = {
	{ "Office\n", "Office\n" },
	{ "Office", "Office" },
	{ " two  words\t\n", " two  words\t\n" },
	{ "first\nsecond\n", "first\n" },
	{ "\nsecond\n", "\n" },
	{ "\n", "\n" },
	{ "", "" },
	{ "dos\r\n", "dos\r\n" },
	{ "it's <b>\\\n", "it's <b>\\\n" },
	{ std::string(98, 'x'), std::string(98, 'x') },
	{ std::string(98, 'x') + "\n", std::string(98, 'x') + "\n" }, // 99 bytes
	{ std::string(99, 'x'), std::string(99, 'x') },
	{ std::string(99, 'x') + "\n", std::string(99, 'x') }, // 100 bytes
	{ std::string(100, 'x'), std::string(99, 'x') },
	{ std::string(100, 'x') + "\n", std::string(99, 'x') },
	{ std::string(5000, 'x') + "\n", std::string(99, 'x') },
};

TEST(read_desc, returns_the_first_line_cut_to_99_bytes)
{
	fresh_router router;
	for (const auto &row : FILES) {
		write_file(DESCRIPTIONS + "LAN1.policy", row.file);
		EXPECT_EQ(description_of("LAN1", "policy"), row.desc);
	}
}

TEST(read_desc, keeps_the_line_end)
{
	fresh_router router;
	write_file(DESCRIPTIONS + "web.port", "Web servers\n");
	EXPECT_EQ(description_of("web", "port"), "Web servers\n");
}

TEST(read_desc, reads_an_empty_file_as_the_empty_text)
{
	fresh_router router;
	write_file(DESCRIPTIONS + "web.port", "");
	EXPECT_EQ(description_of("web", "port"), "");
}

TEST(read_desc, returns_null_without_a_message_when_there_is_no_file)
{
	fresh_router router;
	write_file(DESCRIPTIONS + "LAN1.port", "not the policy's\n");
	EXPECT_EQ(description_of("LAN1", "policy"), "(none)");
	std::filesystem::remove_all(DESCRIPTIONS);
	EXPECT_EQ(description_of("LAN1", "port"), "(none)");
}

TEST(write_desc, writes_the_text_as_it_stands)
{
	fresh_router router;
	const std::string large(5000, 'x');
	for (const std::string &text : { std::string("Office"), std::string("two\nlines\n"),
					 std::string(""), std::string("100% 'x'"), large }) {
		EXPECT_EQ(write("LAN1", "policy", text), 1);
		EXPECT_EQ(read_file(DESCRIPTIONS + "LAN1.policy"), text);
	}
}

TEST(write_desc, replaces_a_longer_description)
{
	fresh_router router;
	write_file(DESCRIPTIONS + "web.ip", "a long description\nof two lines\n");
	EXPECT_EQ(write("web", "ip", "short"), 1);
	EXPECT_EQ(read_file(DESCRIPTIONS + "web.ip"), "short");
}

TEST(write_desc, shows_that_the_file_cannot_be_created)
{
	fresh_router router;
	std::filesystem::remove_all(DESCRIPTIONS);
	texts alerts;
	EXPECT_EQ(write("LAN1", "policy", "Office", &alerts), 0);
	EXPECT_EQ(alerts, (texts{ "Can not open description file" }));
}

/* The path has room for 99 characters of id and kind together. */
TEST(write_desc, refuses_an_id_and_kind_that_the_path_cannot_hold)
{
	fresh_router router;
	for (const std::string kind : { "policy", "port", "ip" }) {
		const std::string id(99 - kind.size(), 'i');
		EXPECT_EQ(write(id, kind, "fits"), 1);
		EXPECT_EQ(read_file(DESCRIPTIONS + id + "." + kind), "fits");
		texts alerts;
		EXPECT_EQ(write(id + "i", kind, "too long", &alerts), 0);
		EXPECT_EQ(alerts, (texts{ "Can not open description file" }));
	}
	size_t files = 0;
	for (const auto &entry : std::filesystem::directory_iterator(DESCRIPTIONS))
		files += entry.exists();
	EXPECT_EQ(files, 3u); // nothing was cut and written under another name
}

TEST(read_desc, refuses_an_id_and_kind_that_the_path_cannot_hold)
{
	fresh_router router;
	const std::string id(99 - 6, 'i');
	write_file(DESCRIPTIONS + id + ".policy", "fits");
	EXPECT_EQ(description_of(id, "policy"), "fits");
	// what a path that is cut would name
	write_file(DESCRIPTIONS + id + "i.polic", "cut");
	write_file(DESCRIPTIONS + id + "i.policy", "too long");
	EXPECT_EQ(description_of(id + "i", "policy"), "(none)");
	EXPECT_EQ(description_of(std::string(5000, 'i'), "policy"), "(none)");
}

TEST(write_desc, refuses_an_id_with_a_slash)
{
	fresh_router router;
	std::filesystem::create_directories(DESCRIPTIONS + "sub");
	for (const std::string id : { "../x", "sub/x", "/x" }) {
		texts alerts;
		EXPECT_EQ(write(id, "port", "text", &alerts), 0);
		EXPECT_EQ(alerts, (texts{ "Can not open description file" }));
		EXPECT_EQ(description_of(id, "port"), "(none)");
	}
	EXPECT_FALSE(has_file(STORES + "x.port"));
	EXPECT_FALSE(has_file(DESCRIPTIONS + "sub/x.port"));
	EXPECT_FALSE(has_file(DESCRIPTIONS + "x.port"));
}

/* A file that can grow no further stands for the full disk. */
TEST(write_desc, tells_of_a_full_disk_and_leaves_the_old_text)
{
	fresh_router router;
	write_file(DESCRIPTIONS + "LAN1.policy", "Office\n");
	signal(SIGXFSZ, SIG_IGN);
	rlimit before;
	getrlimit(RLIMIT_FSIZE, &before);
	const std::string words(20000, 'w');
	for (const char *id : { "LAN1", "LAN2" }) {
		int result = -1;
		testing::internal::CaptureStdout();
		testing::internal::CaptureStderr();
		rlimit lower = { 1000, before.rlim_max };
		setrlimit(RLIMIT_FSIZE, &lower);
		result = write_desc(id, "policy", words.c_str());
		setrlimit(RLIMIT_FSIZE, &before);
		std::string out = testing::internal::GetCapturedStdout();
		std::string err = testing::internal::GetCapturedStderr();
		EXPECT_EQ(result, 0);
		EXPECT_EQ(alerts_in(out), texts({ "Can not open description file" }));
		EXPECT_EQ(count_lines(err), 1u) << err;
	}
	EXPECT_EQ(read_file(DESCRIPTIONS + "LAN1.policy"), "Office\n");
	EXPECT_FALSE(has_file(DESCRIPTIONS + "LAN2.policy"));
}

/* A pipe that nobody writes would keep the page waiting for ever. */
TEST(description, is_a_regular_file)
{
	fresh_router router;
	const std::string pipe = DESCRIPTIONS + "pipe.ip", device = DESCRIPTIONS + "device.ip";
	ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
	std::filesystem::create_symlink("/dev/full", device);
	for (const char *id : { "pipe", "device" }) {
		texts alerts;
		EXPECT_EQ(description_of(id, "ip"), "(none)");
		EXPECT_EQ(write(id, "ip", "words", &alerts), 0);
		EXPECT_EQ(alerts, texts({ "Can not open description file" }));
	}
}

TEST(write_desc, keeps_mode_and_link_of_the_file)
{
	fresh_router router;
	write_file(SCRATCH + "target", "old");
	ASSERT_EQ(chmod((SCRATCH + "target").c_str(), 0640), 0);
	std::filesystem::create_symlink(SCRATCH + "target", DESCRIPTIONS + "a.ip");
	EXPECT_EQ(write("a", "ip", "new"), 1);
	EXPECT_EQ(read_file(SCRATCH + "target"), "new");
	struct stat info;
	ASSERT_EQ(lstat((DESCRIPTIONS + "a.ip").c_str(), &info), 0);
	EXPECT_TRUE(S_ISLNK(info.st_mode));
	ASSERT_EQ(stat((DESCRIPTIONS + "a.ip").c_str(), &info), 0);
	EXPECT_EQ(info.st_mode & 07777, 0640u);
}
