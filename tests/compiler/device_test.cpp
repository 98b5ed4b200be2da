// SPDX-License-Identifier: MIT
/* The forms of a name, and the device of an interface as the command shell reports it. */
#include "../../compiler/device.h"

#include "compiler_files.h"

static const std::string REPORT = "/tmp/qos_devinfo";
static const std::string PVC_LIST = "/etc/script/pvc.info";
static const std::string ASKED = SCRATCH + "asked";   // what the command shell was asked
static const std::string MARKER = SCRATCH + "marker"; // made by what no shell must run

/* A command shell that notes its command and leaves this report. */
static void answer(const std::string &report)
{
	write_file(SCRATCH + "report", report);
	write_program(COMMAND_SHELL, "echo \"$*\" >> " + ASKED + "\n"
				     "cat " + SCRATCH + "report > " + REPORT + "\n");
}

/* The device of an interface; "(none)" when it is not resolved, which must leave *device alone. */
static std::string device_of(const std::string &interface)
{
	char unset[] = "unset";
	char *device = unset;
	int found = -1;
	printed_by([&] { found = get_dev_name(interface.c_str(), &device); });
	if (found == 0) {
		EXPECT_EQ(device, unset);
		return "(none)";
	}
	EXPECT_EQ(found, 1);
	EXPECT_NE(device, unset);
	std::string name = device;
	if (device != unset)
		free(device);
	return name;
}

static const struct {
	const char *name, *with_slashes, *with_underlines;
} NAMES[] = {
	{ "a/b_c", "a/b/c", "a_b_c" },
	{ "eth0_1", "eth0/1", "eth0_1" },
	{ "nas/0", "nas/0", "nas_0" },
	{ "__//", "////", "____" },
	{ "LAN1", "LAN1", "LAN1" },
	{ "", "", "" },
};

TEST(replace, turns_every_underline_into_a_slash)
{
	for (const auto &row : NAMES) {
		std::string name = row.name;
		printed_by([&] { replace(&name[0]); });
		EXPECT_EQ(name, row.with_slashes);
	}
}

TEST(replace_slash, turns_every_slash_into_an_underline)
{
	for (const auto &row : NAMES) {
		std::string name = row.name;
		printed_by([&] { replace_slash(&name[0]); });
		EXPECT_EQ(name, row.with_underlines);
	}
}

TEST(replace, echoes_each_character_before_and_after)
{
	char name[] = "a_/", empty[] = "";
	EXPECT_EQ(printed_by([&] { replace(name); }).out, " a \n a \n _ \n / \n / \n / \n");
	EXPECT_EQ(printed_by([&] { replace(empty); }).out, "");
}

TEST(replace_slash, echoes_each_character_before_and_after)
{
	char name[] = "a_/", empty[] = "";
	EXPECT_EQ(printed_by([&] { replace_slash(name); }).out, " a \n a \n _ \n _ \n / \n _ \n");
	EXPECT_EQ(printed_by([&] { replace_slash(empty); }).out, "");
}

static const struct {
	std::string report;
	const char *device;
} REPORTS[] = {
	{ "DEVICE=\"nas0\"\n", "nas0" },
	{ "# interface LAN1\nNAME=\"LAN1\"\nDEVICE=\"nas0\"\nMTU=\"1500\"\n", "nas0" },
	{ "DEVICE=\"nas0\"\nDEVICE=\"nas1\"\n", "nas0" },
	{ "DEVICE=\"nas/0.1:2@a-b_c\"\n", "nas/0.1:2@a-b_c" },
	// no line of a device
	{ "", "(none)" },
	{ "NAME=\"LAN1\"\n", "(none)" },
	{ "#DEVICE=\"nas0\"\n", "(none)" },
	{ "# DEVI=\"DEVICE\"\nDEVICE=\"nas0\"\n", "nas0" },
	{ "#AAAAA=DEVICE\n", "(none)" },
	{ "device=\"nas0\"\n", "(none)" },
	{ " DEVICE=\"nas0\"\n", "(none)" },
	{ "DEVICE =\"nas0\"\n", "(none)" },
	{ "DEVICES=\"nas1\"\nDEVICE=\"nas0\"\n", "nas0" },
	{ "DEVICE\n", "(none)" },
	// the value starts two characters behind the '=' and ends two before the end of the line
	{ "DEVICE=nas01\n", "as0" },
	{ "DEVICE=\"\"\n", "" },
	// characters that no device has
	{ "DEVICE=\"nas 0\"\n", "(none)" },
	{ "DEVICE=\"nas0\"\r\n", "(none)" },
	{ "DEVICE=\"a;b\"\n", "(none)" },
	{ "DEVICE=\"$(a)\"\n", "(none)" },
	{ "DEVICE=\"`a`\"\n", "(none)" },
	{ "DEVICE=\"a|b\"\n", "(none)" },
	{ "DEVICE=\"a&b\"\n", "(none)" },
	{ "DEVICE=\"a>b\"\n", "(none)" },
	{ "DEVICE=\"a'b\"\n", "(none)" },
	{ "DEVICE=\"a*\"\n", "(none)" },
	{ "DEVICE=\"a\\\"\n", "(none)" },
	{ "DEVICE=\"n\xc3\xa4s0\"\n", "(none)" },
	{ "DEVICE=\"-nas0\"\n", "(none)" },
	{ "DEVICE=\".nas0\"\n", "(none)" },
	{ "DEVICE=\"/nas0\"\n", "(none)" },
	{ "DEVICE=\":0\"\n", "(none)" },
	{ "DEVICE=\"@0\"\n", "(none)" },
	{ "DEVICE=\"_0\"\n", "_0" },
	{ "DEVICE=\"0\"\n", "0" },
	{ "A=bcde=DEVICE\"\n", "(none)" }, // the value starts behind the first '='
	// lines are read in pieces of 1023 characters
	{ std::string(1023, '#') + "DEVICE=\"nas0\"\n", "nas0" },
	{ std::string(1022, '#') + "DEVICE=\"nas0\"\n", "(none)" },
};

TEST(get_dev_name, takes_the_device_from_the_first_line_that_has_it)
{
	fresh_router router;
	for (const auto &row : REPORTS) {
		SCOPED_TRACE(row.report);
		answer(row.report);
		EXPECT_EQ(device_of("LAN1"), row.device);
	}
}

TEST(get_dev_name, loses_a_character_of_a_last_line_without_a_line_end)
{
	fresh_router router;
	answer("DEVICE=\"nas0\"");
	EXPECT_EQ(device_of("LAN1"), "nas");
}

TEST(get_dev_name, takes_a_device_of_15_characters_and_none_of_16)
{
	fresh_router router;
	answer("DEVICE=\"123456789012345\"\n");
	EXPECT_EQ(device_of("LAN1"), "123456789012345");
	answer("DEVICE=\"1234567890123456\"\n");
	EXPECT_EQ(device_of("LAN1"), "(none)");
	answer("DEVICE=\"1234567890123456\""); // a last line without a line end
	EXPECT_EQ(device_of("LAN1"), "123456789012345");
	answer("DEVICE=\"" + std::string(900, 'x') + "\"\n");
	EXPECT_EQ(device_of("LAN1"), "(none)");
}

TEST(get_dev_name, skips_a_line_whose_seventh_character_is_no_equals_sign)
{
	fresh_router router;
	answer("xDEVICE=\"nas1\"\nDEVICE=\"nas0\"\n");
	EXPECT_EQ(device_of("LAN1"), "nas0");
}

TEST(get_dev_name, takes_a_line_of_six_other_characters_with_the_word_behind)
{
	fresh_router router;
	answer("IFNAME=\"DEVICE0\"\nDEVICE=\"nas0\"\n");
	EXPECT_EQ(device_of("LAN1"), "DEVICE0");
	answer("IFNAME=\"LAN1\"\nDEVICE=\"nas0\"\n");
	EXPECT_EQ(device_of("LAN1"), "nas0");
}

TEST(get_dev_name, reads_a_line_that_ends_early_only_to_its_end)
{
	fresh_router router;
	for (const char *report :
	     { "DEVICE=", "DEVICE=\n", "DEVICE=\"", "DEVICE=\"\n", "DEVICE=x" }) {
		answer(report);
		std::string device = device_of("LAN1");
		EXPECT_TRUE(device.empty() || device == "(none)") << report << ": " << device;
	}
}

TEST(get_dev_name, prints_what_it_asks_and_finds)
{
	fresh_router router;
	answer("NAME=\"LAN/1\"\nDEVICE=\"nas0\"\n");
	char *device = nullptr;
	std::string out = printed_by([&] { get_dev_name("LAN/1", &device); }).out;
	const std::string expected = "[[[[ LAN/1 ]]]]\n"
				     "[[[[ line : DEVICE=\"nas0\"\n ]]]]\n"
				     "[[[[ name : DEVICE ]]]]\n"
				     "[[[[ value : nas0 ]]]]\n"
				     "[[[[ dev : ";
	EXPECT_EQ(out.substr(0, expected.size()), expected);
	EXPECT_EQ(out.substr(out.size() - 6), " ]]]]\n");
	EXPECT_EQ(count_lines(out), 6u);
	free(device);
}

TEST(get_dev_name, asks_the_command_shell_for_a_name_of_38_characters_and_no_longer_one)
{
	fresh_router router;
	answer("DEVICE=\"nas0\"\n");
	const std::string name = "abcdefghijklm/nopqrstuvwxyz0123456789/";
	ASSERT_EQ(name.size(), 38u);
	EXPECT_EQ(device_of(name), "nas0");
	EXPECT_EQ(read_file(ASKED), "-e show intfinfo " + name + " > " + REPORT + "\n");
	EXPECT_EQ(device_of(name + "x"), "(none)");
	EXPECT_EQ(device_of(std::string(5000, 'x')), "(none)");
	EXPECT_EQ(count_lines(read_file(ASKED)), 1u);
}

TEST(get_dev_name, gives_no_shell_a_name_that_is_more_than_a_name)
{
	fresh_router router;
	answer("DEVICE=\"nas0\"\n");
	const std::string touch = "touch " + MARKER;
	const std::string names[] = {
		"$(" + touch + ")", "`" + touch + "`", "\";" + touch + ";\"", "\"&" + touch + "\"",
		"\"|" + touch + "|\"", "\"\n" + touch + "\n\"", "a;" + touch, "a\n" + touch,
		"LAN1 LAN2", "LAN1>" + MARKER, "${IFS}", "LAN*", "LAN?", "~root", "L\\1", "L'1'",
		"-e", ".", "../LAN1", "/LAN1", ":1", "@a", " LAN1",
		"LAN1#", "LAN=1", "LAN1,2", "LAN(1)", "{a}", "!1", "%1", "^1", "L\t1", "L\xc3\xa4N",
	};
	for (const std::string &name : names) {
		SCOPED_TRACE(name);
		ASSERT_LE(name.size(), 38u);
		EXPECT_EQ(device_of(name), "(none)");
		EXPECT_FALSE(has_file(MARKER));
		EXPECT_FALSE(has_file(ASKED));
	}
	for (const char *name : { "aZ09_./:@-", "_a", "9a", "Z" })
		EXPECT_EQ(device_of(name), "nas0") << name;
}

TEST(get_dev_name, reads_the_report_whatever_the_exit_status)
{
	fresh_router router;
	write_program(COMMAND_SHELL,
		      "echo noise >&2\necho 'DEVICE=\"nas0\"' > " + REPORT + "\nexit 3\n");
	char *device = nullptr;
	int found = 0;
	EXPECT_EQ(printed_by([&] { found = get_dev_name("LAN1", &device); }).err, "");
	EXPECT_EQ(found, 1);
	EXPECT_STREQ(device, "nas0");
	free(device);
}

TEST(get_dev_name, returns_the_old_device_when_the_command_shell_leaves_no_report)
{
	fresh_router router;
	write_file(REPORT, "DEVICE=\"old0\"\n");
	EXPECT_EQ(device_of("LAN1"), "old0"); // there is no command shell
	write_program(COMMAND_SHELL, "exit 1\n");
	EXPECT_EQ(device_of("LAN2"), "old0");
	EXPECT_EQ(read_file(REPORT), "DEVICE=\"old0\"\n");
}

TEST(get_dev_name, finds_nothing_without_a_report)
{
	fresh_router router;
	EXPECT_EQ(device_of("LAN1"), "(none)");
}

/* The command shell writes where the report is: it would wait for a reader of a pipe. */
TEST(get_dev_name, removes_what_is_no_report_before_the_command_shell_is_started)
{
	for (const char *what : NOT_FILES) {
		SCOPED_TRACE(what);
		fresh_router router;
		put_no_file(REPORT, what);
		answer("DEVICE=\"nas0\"\n");
		without_hanging([] { EXPECT_EQ(device_of("LAN1"), "nas0"); });
		EXPECT_TRUE(std::filesystem::is_regular_file(
			std::filesystem::symlink_status(REPORT)));
	}
	fresh_router router; // a link would lead the report elsewhere
	write_file(SCRATCH + "precious", "kept\n");
	std::filesystem::create_symlink(SCRATCH + "precious", REPORT);
	answer("DEVICE=\"nas0\"\n");
	EXPECT_EQ(device_of("LAN1"), "nas0");
	EXPECT_EQ(read_file(SCRATCH + "precious"), "kept\n");
}

TEST(get_dev_name, starts_no_command_shell_when_what_is_in_the_way_cannot_be_removed)
{
	fresh_router router;
	answer("DEVICE=\"nas0\"\n");
	std::filesystem::create_directories(REPORT + "/sub");
	char *device = nullptr;
	printed told = printed_by([&] { EXPECT_EQ(get_dev_name("LAN1", &device), 0); });
	EXPECT_EQ(device, nullptr);
	EXPECT_EQ(count_lines(told.err), 1u);
	EXPECT_FALSE(has_file(ASKED));
}

TEST(get_dev_name, finds_nothing_when_the_command_shell_leaves_no_file)
{
	fresh_router router;
	write_program(COMMAND_SHELL, "mkfifo " + REPORT + "\n");
	without_hanging([] { EXPECT_EQ(device_of("LAN1"), "(none)"); });
}

static const struct {
	const char *list, *pvc; // null for none
} PVC_LISTS[] = {
	{ "PVC=\"8.35\"\n", "8.35" },
	{ "# PVC=\"1.1\"\nNAME=\"adsl\"\nPVC=\"0.33\"\nPVC=\"8.35\"\n", "0.33" },
	{ "xPVC=\"1.1\"\nPVCS=\"2.2\"\n PVC=\"3.3\"\n", nullptr },
	{ "ABC=\"PVC0\"\n", "PVC0" },
	{ "DEVICE=\"nas0\"\n", nullptr },
	{ "PVC=\"8.35\"", "8.3" },
	{ "PVC=\"123456789012345\"\n", "123456789012345" },
	{ "", nullptr },
};

TEST(read_pvc_info, takes_the_value_from_the_first_line_that_has_it)
{
	fresh_router router;
	answer("PVC=\"9.9\"\n");
	for (const auto &row : PVC_LISTS) {
		SCOPED_TRACE(row.list);
		write_file(PVC_LIST, row.list);
		char *pvc = nullptr;
		int found = -1;
		EXPECT_EQ(printed_by([&] { found = read_pvc_info(&pvc); }).out, "");
		EXPECT_EQ(found, row.pvc ? 1 : 0);
		EXPECT_STREQ(pvc, row.pvc);
		free(pvc);
	}
	EXPECT_FALSE(has_file(ASKED));
}

TEST(read_pvc_info, finds_nothing_without_a_list)
{
	fresh_router router;
	char *pvc = nullptr;
	for (const char *what : NOT_FILES) {
		put_no_file(PVC_LIST, what);
		without_hanging([&] { EXPECT_EQ(read_pvc_info(&pvc), 0) << what; });
	}
	std::filesystem::remove_all(PVC_LIST);
	EXPECT_EQ(read_pvc_info(&pvc), 0);
	EXPECT_EQ(pvc, nullptr);
}
