// SPDX-License-Identifier: MIT
/* Lines that clients ask, and what qosctl is started with for them. */
#include "../../ctl/daemon/question.h"

#include <string.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

struct asked {
	bool is_question;
	std::string words; // of the program, with blanks between them
	std::string why;
};

/* In a buffer of its own of exactly that size. */
static asked ask(const std::string &line)
{
	std::vector<char> bytes(line.c_str(), line.c_str() + line.size() + 1);
	question it;
	char why[REASON_SIZE] = "";
	asked found = { read_question(&it, bytes.data(), line.size(), why), "", why };
	if (!found.is_question)
		return found;
	const char *arguments[ARGUMENTS_MAX];
	make_arguments(arguments, &it, "qosctl");
	for (size_t i = 0; arguments[i]; i++)
		found.words += (i > 0 ? " " : "") + std::string(arguments[i]);
	return found;
}

TEST(question, becomes_the_words_of_qosctl)
{
	static const struct {
		const char *line, *words;
	} CASES[] = {
		{ "compile", "qosctl compile" },
		{ "compile force", "qosctl compile --force" },
		{ "check", "qosctl check --json" },
		{ "check quick", "qosctl check --json --quick" },
		{ "  check\tdevice=eth0.100 ", "qosctl check --json --device eth0.100" },
		{ "plan difference", "qosctl plan --difference" },
		{ "plan at=2026-11-21T18:00+01:00", "qosctl plan --at 2026-11-21T18:00+01:00" },
		{ "plan at=@1795284000", "qosctl plan --at @1795284000" },
		{ "diff", "qosctl diff --json" },
		{ "apply", "qosctl apply --json" },
		{ "apply confirm=60 device=ppp0",
		  "qosctl apply --json --device ppp0 --confirm 60" },
		{ "confirm", "qosctl confirm --json" },
		{ "undo device=eth2", "qosctl undo --json --device eth2" },
		{ "status", "qosctl status --json" },
		{ "explain device=eth0 proto=udp src=1.2.3.4:5060 dst=5.6.7.8 tos=0xb8 fragment",
		  "qosctl explain --json --device eth0 --proto udp --src 1.2.3.4:5060 "
		  "--dst 5.6.7.8 --tos 0xb8 --fragment" },
		{ "week class=fibre-voice days=7 from=now",
		  "qosctl week --json --class fibre-voice --from now --days 7" },
	};
	for (const auto &row : CASES) {
		asked found = ask(row.line);
		EXPECT_TRUE(found.is_question) << row.line << ": " << found.why;
		EXPECT_EQ(found.words, row.words);
	}
}

TEST(question, history_is_the_daemons_own)
{
	char line[] = "history device=eth0 class=1:10 span=week";
	question it;
	char why[REASON_SIZE];
	ASSERT_TRUE(read_question(&it, line, strlen(line), why));
	EXPECT_EQ(it.verb->by, BY_SAMPLES);
	EXPECT_STREQ(it.values[KEY_CLASS], "1:10");
	EXPECT_STREQ(it.values[KEY_SPAN], "week");
	EXPECT_EQ(it.values[KEY_FROM], nullptr);
}

TEST(question, state_is_the_daemons_own_and_takes_no_words)
{
	char line[] = "state", with_word[] = "state device=eth0";
	question it;
	char why[REASON_SIZE];
	ASSERT_TRUE(read_question(&it, line, strlen(line), why));
	EXPECT_EQ(it.verb->by, BY_STANDING);
	EXPECT_FALSE(it.verb->changes);
	EXPECT_FALSE(read_question(&it, with_word, strlen(with_word), why));
}

TEST(question, a_line_that_is_none_is_refused_with_a_reason)
{
	static const char *const LINES[] = {
		"", " ", "\t", "Status", "statu", "status2", "stop", "import", "selftest", "back 1",
		"--help", "status --json", "status root=/tmp", "status device", "status device=",
		"status device=-eth0", "status device=eth0;reboot", "status device=../x",
		"status device=eth0123456789012", "status device=a device=b", "apply confirm=-1",
		"apply confirm=1e3", "apply confirm", "apply force", "compile force=yes",
		"plan difference=1", "week days=1000", "week class=a\"b", "week from=--x",
		"explain src=1.2.3.4/8", "explain src=$(id)", "history at=now", "confirm 1",
		"status =", "status ==", "status device=eth0\r", "status\r", "status\x01",
		"status device=\xc3\xa4", "check check",
	};
	for (const char *line : LINES) {
		asked found = ask(line);
		EXPECT_FALSE(found.is_question) << line;
		EXPECT_NE(found.why, "") << line;
		for (char c : found.why)
			EXPECT_TRUE(c >= ' ' && c < 0x7f);
	}
	EXPECT_FALSE(ask(std::string("status\0", 7)).is_question);
	EXPECT_FALSE(ask(std::string("\0status", 7)).is_question);
}

/* Whatever comes, no word of the program begins with '-' that is not in the table. */
TEST(question, every_byte_in_a_value_is_taken_or_refused)
{
	for (int byte = 1; byte < 256; byte++) {
		char c = static_cast<char>(byte);
		asked found = ask(std::string("status device=a") + c);
		bool is_of_a_device = isalnum(byte) || strchr("_.@-", byte);
		bool is_blank = c == ' ' || c == '\t';
		EXPECT_EQ(found.is_question, (byte < 128 && is_of_a_device) || is_blank) << byte;
	}
}

TEST(question, every_prefix_of_a_long_line_is_read_within_its_bytes)
{
	const std::string line = "explain device=eth0 proto=udp src=1.2.3.4:5060 dst=5.6.7.8 "
				 "tos=184 fragment";
	for (size_t size = 0; size <= line.size(); size++)
		ask(line.substr(0, size));
}
