// SPDX-License-Identifier: MIT
/* Reading and writing store files: the format, the look-ups, and every call without its
 * arguments. Edits have a test of their own. */
#include <cfl.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "../support/router_files.h"

static const std::string PATH = "/tmp/store";

/* A store file of this text, read. */
struct opened {
	cfl *file;

	explicit opened(const std::string &text)
	{
		write_file(PATH, text);
		file = cfl_read(PATH.c_str());
		EXPECT_NE(file, nullptr) << text;
	}
	~opened()
	{
		cfl_free(file);
	}
};

static std::string text_of(cfl *file)
{
	return written_by([file](FILE *stream) { EXPECT_EQ(cfl_write(file, stream), 0); });
}

static char *value_at(cfl *file, const char *section, int position)
{
	int scratch, more_scratch;
	return cfl_value_get_by_position(file, section, position, &scratch, &more_scratch);
}

static const struct {
	const char *text, *section, *key, *value;
} LOOKUPS[] = {
	// headings
	{ "[A]\nK=V\n", "A", "K", "V" },
	{ "[A]\nK=V\n", "a", "K", nullptr },
	{ "[A] x\nK=V\n", "A", "K", "V" },
	{ "[A]B]\nK=V\n", "A]B", "K", "V" },
	{ "[A] [B]\nK=V\n", "A] [B", "K", "V" },
	{ "[[A]]\nK=V\n", "[A]", "K", "V" },
	{ "[ A ]\nK=V\n", " A ", "K", "V" },
	{ "[ A ]\nK=V\n", "A", "K", nullptr },
	{ "[]\nK=V\n", "", "K", "V" },
	{ " [A]\nK=V\n", "A", "K", nullptr },
	{ "[A\nK=V\n", "A", "K", nullptr },
	{ "[A\n]\nK=V\n", "A", "K", nullptr },
	{ "[A=]\nK=V\n", "A=", "K", "V" },
	{ "#[A]\nK=V\n", "A", "K", nullptr },
	// values
	{ "[A]\nK=\n", "A", "K", "" },
	{ "[A]\nK= V \n", "A", "K", " V " },
	{ "[A]\nK=\tV\t\n", "A", "K", "\tV\t" },
	{ "[A]\nK =V\n", "A", "K ", "V" },
	{ "[A]\nK =V\n", "A", "K", nullptr },
	{ "[A]\n K=V\n", "A", "K", nullptr },
	{ "[A]\nK=a=b==c\n", "A", "K", "a=b==c" },
	{ "[A]\nK=[B]\n", "A", "K", "[B]" },
	{ "[A]\nK=[B]\n", "B", "K", nullptr },
	{ "[A]\nK=#V;\n", "A", "K", "#V;" },
	{ "[A]\nKEY=V\n", "A", "KE", nullptr },
	{ "[A]\nKEY=V\n", "A", "KEYS", nullptr },
	{ "[A]\nKEY=V\n", "A", "key", nullptr },
	{ "[A]\nK=V\n[B]\nL=W\n", "A", "L", nullptr },
	{ "[A]\nK=V\n[B]\nL=W\n", "B", "K", nullptr },
	{ "[A]\nK=V\n[B]\nL=W\n", "B", "L", "W" },
	{ "[\xc3\xa9]\n\xc3\xbc=\xff\x80\n", "\xc3\xa9", "\xc3\xbc", "\xff\x80" },
	// comments and unknown lines
	{ "[A]\n\n\nK=V\n", "A", "K", "V" },
	{ "[A]\n#K=V\n", "A", "K", nullptr },
	{ "[A]\n#K=V\n", "A", "#K", nullptr },
	{ "[A]\n;K=V\n", "A", ";K", nullptr },
	{ "[A]\n #K=V\n", "A", " #K", "V" },
	{ "[A]\nK\nK=V\n", "A", "K", "V" },
	{ "[A]\nK\n", "A", "K", nullptr },
	{ "[B]\n[A\nK=V\n", "B", "K", "V" },
	{ "K=V\n[A]\n", "A", "K", nullptr },
	{ "K=V\n[A]\n", "", "K", nullptr },
	{ "", "A", "K", nullptr },
	{ "\n", "A", "K", nullptr },
	// ends of lines
	{ "[A]\nK=V", "A", "K", "V" },
	{ "[A]\nK=", "A", "K", "" },
	{ "[A]\r\nK=V\r\n", "A", "K", "V" },
	{ "[A]\r\nK=V", "A", "K", "V" },
	{ "[A]\nK=a\rb\r\n", "A", "K", "a\rb" },
	{ "[A]\r\n\r\nK=\r\nL=W\r\n", "A", "K", "" },
	// escapes
	{ "[A]\nK=a\\\\b\n", "A", "K", "a\\b" },
	{ "[A]\nK=a\\nb\\rc\n", "A", "K", "a\nb\rc" },
	{ "[A]\nK=\\\\n\n", "A", "K", "\\n" },
	{ "[A]\nK=\\\\\\n\n", "A", "K", "\\\n" },
	{ "[A]\nK=a\\tb\\=\n", "A", "K", "a\\tb\\=" },
	{ "[A]\nK=V\\\nL=W\n", "A", "K", "V\\" },
	{ "[A]\nK=V\\", "A", "K", "V\\" },
	{ "[A\\nB\\\\]\nK=V\n", "A\nB\\", "K", "V" },
	{ "[A\\]\nK=V\n", "A\\", "K", "V" },
	{ "[A\\x]\nK=V\n", "A\\x", "K", "V" },
	{ "[A]\nK\\nL=V\n", "A", "K\nL", "V" },
	{ "[A]\n\\nK=V\n", "A", "\nK", "V" },
	{ "[A]\n\\\\K=V\n", "A", "\\K", "V" },
	{ "[A]\n\\K=V\n", "A", "\\K", "V" },
	{ "[A]\n\\n#K=V\n", "A", "\n#K", "V" },
	// names that stand twice
	{ "[A]\nK=1\n[B]\n[A]\nL=2\n", "A", "L", "2" },
	{ "[A]\nK=1\n[B]\nL=3\n[A]\nL=2\n", "A", "L", "2" },
	{ "[A\\\\]\nK=1\n[B]\n[A\\]\nL=2\n", "A\\", "L", "2" },
	{ "[A]\nK=1\nK=2\n", "A", "K", "1" },
	{ "[A]\nK=1\n[B]\n[A]\nK=2\n", "A", "K", "1" },
	{ "[A]\n\\n=1\n[A]\nK=2\n", "A", "K", "2" },
};

TEST(cfl_value_get_by_name, finds_what_the_format_says)
{
	for (const auto &row : LOOKUPS) {
		SCOPED_TRACE(row.text);
		opened store(row.text);
		int scratch;
		EXPECT_STREQ(cfl_value_get_by_name(store.file, row.section, row.key, &scratch),
			     row.value);
		EXPECT_STREQ(cfl_value_get_by_name(store.file, row.section, row.key, nullptr),
			     row.value);
	}
}

static const struct {
	const char *text;
	int sections, values_of_a;
} COUNTS[] = {
	{ "", 1, 0 },
	{ "# a comment\n", 1, 0 },
	{ "K=V\n", 1, 0 },
	{ "[A", 1, 0 },
	{ "[A]", 2, 1 },
	{ "[A]\nK=V", 2, 2 },
	{ "[A]\nK=V\n#L=V\nM\nN=V\n", 2, 3 },
	{ "[B]\nK=V\n", 2, 0 },
	{ "[A]\nK=1\n[B]\nK=2\n[A]\nL=3\nM=4\n", 3, 4 },
};

TEST(cfl_get_sections_count, counts_the_sections_and_position_1)
{
	for (const auto &row : COUNTS)
		EXPECT_EQ(cfl_get_sections_count(opened(row.text).file), row.sections) << row.text;
}

TEST(cfl_section_get_values_count, counts_the_values_and_the_heading)
{
	for (const auto &row : COUNTS)
		EXPECT_EQ(cfl_section_get_values_count(opened(row.text).file, "A"),
			  row.values_of_a) << row.text;
}

TEST(cfl_section_get_name_by_position, gives_names_in_the_order_of_their_first_heading)
{
	opened store("x=y\n[B]\n[A\\n]\n[B]\n[]\n[c]]\n");
	const char *names[] = { nullptr, nullptr, "B", "A\n", "", "c]", nullptr };
	for (int i = 0; i < 7; i++)
		EXPECT_STREQ(cfl_section_get_name_by_position(store.file, i), names[i]) << i;
	EXPECT_EQ(cfl_section_get_name_by_position(store.file, -1), nullptr);
}

TEST(cfl_value_get_by_position, gives_values_in_any_order_of_positions)
{
	opened store("[A]\nK=1\n# x=y\nL=\n[B]\nK=9\n[A]\nM=a\\nb\nno value\nN=4\n");
	const char *values[] = { nullptr, nullptr, "1", "", "a\nb", "4", nullptr, nullptr };
	const int orders[][8] = {
		{ 0, 1, 2, 3, 4, 5, 6, 7 },
		{ 7, 6, 5, 4, 3, 2, 1, 0 },
		{ 5, 5, 2, 6, 3, 3, 7, 4 },
	};
	for (const auto &order : orders) {
		for (int i : order) {
			EXPECT_STREQ(value_at(store.file, "A", i), values[i]) << i;
			EXPECT_STREQ(value_at(store.file, "B", i), i == 2 ? "9" : nullptr) << i;
		}
	}
	EXPECT_STREQ(cfl_value_get_by_position(store.file, "A", 2, nullptr, nullptr), "1");
	EXPECT_EQ(value_at(store.file, "A", -1), nullptr);
	EXPECT_EQ(value_at(store.file, "C", 2), nullptr);
}

TEST(cfl_value_get_by_position, gives_null_again_and_again_behind_the_last_value)
{
	opened store("[A]\nK=1\n[B]\nK=9\n[A]\n# no value\n");
	for (int position : { 2, 3, 3, 4, 5, 2, 3 })
		EXPECT_STREQ(value_at(store.file, "A", position), position == 2 ? "1" : nullptr);
}

TEST(cfl_read, gives_null_for_what_it_cannot_open)
{
	EXPECT_EQ(cfl_read("/tmp/no such file"), nullptr);
	EXPECT_EQ(cfl_read("/tmp/no such folder/store"), nullptr);
	EXPECT_EQ(cfl_read(""), nullptr);
	EXPECT_EQ(cfl_read("/tmp"), nullptr);
}

/* The null of a store that is there would be taken for one that is not. */
TEST(cfl_read, ends_the_process_when_what_is_there_cannot_be_read)
{
	// opens, but its first byte is no memory
	EXPECT_EXIT(cfl_read("/proc/self/mem"), testing::ExitedWithCode(255),
		    "libcfl: /proc/self/mem: Input/output error\n");
	write_file(PATH, "[a]\n");
	auto read_without_descriptors = [] {
		const rlimit none = { 3, 3 };
		setrlimit(RLIMIT_NOFILE, &none);
		cfl_read(PATH.c_str());
	};
	EXPECT_EXIT(read_without_descriptors(), testing::ExitedWithCode(255),
		    "libcfl: /tmp/store: Too many open files\n");
}

TEST(cfl_read, reads_a_file_whose_size_is_not_known)
{
	const char *path = "/proc/filesystems"; // said to have no byte
	ASSERT_EQ(std::filesystem::file_size(path), 0u);
	std::string text = read_file(path);
	ASSERT_GT(text.size(), 100u);
	cfl *file = cfl_read(path);
	EXPECT_EQ(text_of(file), text);
	cfl_free(file);
}

/* A pipe that nobody writes to would make the caller wait for ever, and /dev/zero never ends. */
TEST(cfl_read, gives_null_at_once_for_what_is_no_regular_file)
{
	const char pipe[] = "/tmp/pipe", socket_path[] = "/tmp/socket";
	unlink(pipe);
	ASSERT_EQ(mkfifo(pipe, 0600), 0);
	unlink(socket_path);
	sockaddr_un address = { AF_UNIX, "/tmp/socket" };
	int fd = socket(AF_UNIX, SOCK_STREAM, 0);
	ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
	alarm(20);
	for (const char *path : { pipe, socket_path, "/dev/zero", "/dev/null", "/dev/tty" })
		EXPECT_EQ(cfl_read(path), nullptr) << path;
	alarm(0);
	close(fd);
}

TEST(cfl_read, keeps_the_lines_around_nul_bytes)
{
	const char raw[] = "\0x\n[A]\nK=a\0b\n\0=z\nL=c\n[B\0C]\nM=d\n[D]\0\nN=e\0";
	const std::string text(raw, sizeof(raw) - 1);
	opened store(text);
	EXPECT_STREQ(cfl_value_get_by_name(store.file, "A", "K", nullptr), "a");
	EXPECT_STREQ(cfl_value_get_by_name(store.file, "A", "L", nullptr), "c");
	EXPECT_STREQ(cfl_value_get_by_name(store.file, "B", "M", nullptr), "d");
	EXPECT_STREQ(cfl_value_get_by_name(store.file, "D", "N", nullptr), "e");
	EXPECT_EQ(cfl_get_sections_count(store.file), 4);
	EXPECT_EQ(text_of(store.file), text + "\n");
	EXPECT_EQ(cfl_value_remove(store.file, "A", "K"), 0);
	EXPECT_EQ(cfl_section_remove(store.file, "D"), 0);
	const char left[] = "\0x\n[A]\n\0=z\nL=c\n[B\0C]\nM=d\n";
	EXPECT_EQ(text_of(store.file), std::string(left, sizeof(left) - 1));
}

/* In memory of exactly its size, so that a sanitizer sees one byte too far. */
TEST(cfl_read_text, reads_every_prefix_as_a_file_of_it_is_read)
{
	const std::string text = "#c\n[a]\nK=1\r\nL=x\\ny\n[b]\n;\nM=\n[a]\nN=2";
	for (size_t size = 0; size <= text.size(); size++) {
		opened from_file(text.substr(0, size));
		char *exact = static_cast<char *>(malloc(size + (size == 0)));
		memcpy(exact, text.data(), size);
		cfl *from_text = cfl_read_text(exact, size);
		free(exact);
		EXPECT_EQ(text_of(from_text), text_of(from_file.file));
		for (const char *section : { "a", "b" })
			EXPECT_EQ(cfl_section_get_values_count(from_text, section),
				  cfl_section_get_values_count(from_file.file, section));
		cfl_free(from_text);
	}
}

TEST(cfl_read, finds_each_of_a_thousand_sections)
{
	std::string text;
	for (int i = 0; i < 1000; i++)
		text += "[class " + std::to_string(i) + "]\nID=" + std::to_string(i) + "\nX=y\n";
	opened store(text);
	ASSERT_EQ(cfl_get_sections_count(store.file), 1001);
	for (int i = 999; i >= 0; i--) {
		std::string name = "class " + std::to_string(i);
		EXPECT_STREQ(cfl_section_get_name_by_position(store.file, i + 2), name.c_str());
		EXPECT_STREQ(cfl_value_get_by_name(store.file, name.c_str(), "ID", nullptr),
			     std::to_string(i).c_str());
		EXPECT_EQ(cfl_section_get_values_count(store.file, name.c_str()), 3);
	}
	EXPECT_EQ(cfl_section_get_values_count(store.file, "class 1000"), 0);
	EXPECT_EQ(text_of(store.file), text);
}

TEST(cfl_write, keeps_what_no_edit_touched)
{
	const char *whole[] = {
		"",
		"\n\n",
		"# first\n\nstray=1\n[A]\n ; x\n;y\nK = V \nunknown\n\n[A]\n\n[B] rest\n\\q=\\z\n",
	};
	for (const char *text : whole)
		EXPECT_EQ(text_of(opened(text).file), text);
}

TEST(cfl_write, ends_the_last_line_and_every_line_with_a_lf)
{
	EXPECT_EQ(text_of(opened("[A]\nK=V").file), "[A]\nK=V\n");
	EXPECT_EQ(text_of(opened("# x").file), "# x\n");
	EXPECT_EQ(text_of(opened("\r\n[A]\r\nK=a\rb\r\n").file), "\n[A]\nK=a\rb\n");
}

/* A value that ends in a CR can be read: where two stand before the LF, or one before the end. */
TEST(cfl_write, keeps_a_value_that_ends_in_a_carriage_return)
{
	for (const char *text : { "[A]\nK=V\r\r\n", "[A]\nK=V\r" }) {
		opened store(text);
		EXPECT_STREQ(cfl_value_get_by_name(store.file, "A", "K", nullptr), "V\r");
		opened again(text_of(store.file));
		EXPECT_STREQ(cfl_value_get_by_name(again.file, "A", "K", nullptr), "V\r");
	}
}

TEST(cfl_write, fails_when_the_stream_does)
{
	std::string large = "[A]\nK=" + std::string(100000, 'v') + "\n";
	for (const std::string &text : { std::string("[A]\n"), large }) {
		opened store(text);
		FILE *full = fopen("/dev/full", "w");
		ASSERT_NE(full, nullptr);
		EXPECT_EQ(cfl_write(store.file, full), -1);
		fclose(full);
		FILE *read_only = fopen(PATH.c_str(), "r");
		ASSERT_NE(read_only, nullptr);
		EXPECT_EQ(cfl_write(store.file, read_only), -1);
		fclose(read_only);
		EXPECT_EQ(text_of(store.file), text);
	}
}

TEST(cfl, takes_null_for_every_pointer)
{
	EXPECT_EQ(cfl_read_text(nullptr, 1), nullptr);
	const std::string text = "[A]\nK=V\n";
	opened store(text);
	cfl *file = store.file;
	int scratch;
	EXPECT_EQ(cfl_read(nullptr), nullptr);
	cfl_free(nullptr);
	EXPECT_EQ(cfl_get_sections_count(nullptr), 0);
	EXPECT_EQ(cfl_section_get_name_by_position(nullptr, 2), nullptr);
	EXPECT_EQ(cfl_section_get_values_count(nullptr, "A"), 0);
	EXPECT_EQ(cfl_section_get_values_count(file, nullptr), 0);
	EXPECT_EQ(cfl_value_get_by_name(nullptr, "A", "K", &scratch), nullptr);
	EXPECT_EQ(cfl_value_get_by_name(file, nullptr, "K", &scratch), nullptr);
	EXPECT_EQ(cfl_value_get_by_name(file, "A", nullptr, &scratch), nullptr);
	EXPECT_EQ(value_at(nullptr, "A", 2), nullptr);
	EXPECT_EQ(value_at(file, nullptr, 2), nullptr);
	EXPECT_EQ(cfl_section_insert(nullptr, "B"), -1);
	EXPECT_EQ(cfl_section_insert(file, nullptr), -1);
	EXPECT_EQ(cfl_section_remove(nullptr, "A"), -1);
	EXPECT_EQ(cfl_section_remove(file, nullptr), -1);
	EXPECT_EQ(cfl_section_rename(nullptr, "A", "B"), -1);
	EXPECT_EQ(cfl_section_rename(file, nullptr, "B"), -1);
	EXPECT_EQ(cfl_section_rename(file, "A", nullptr), -1);
	EXPECT_EQ(cfl_value_insert(nullptr, "A", "L", 1, "W"), -1);
	EXPECT_EQ(cfl_value_insert(file, nullptr, "L", 1, "W"), -1);
	EXPECT_EQ(cfl_value_insert(file, "A", nullptr, 1, "W"), -1);
	EXPECT_EQ(cfl_value_insert(file, "A", "L", 1, nullptr), -1);
	EXPECT_EQ(cfl_value_remove(nullptr, "A", "K"), -1);
	EXPECT_EQ(cfl_value_remove(file, nullptr, "K"), -1);
	EXPECT_EQ(cfl_value_remove(file, "A", nullptr), -1);
	EXPECT_EQ(cfl_write(nullptr, stdout), -1);
	EXPECT_EQ(cfl_write(file, nullptr), -1);
	EXPECT_EQ(text_of(file), text);
}
