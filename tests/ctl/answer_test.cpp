// SPDX-License-Identifier: MIT
/* Answers made from what a program printed, and programs that are started without waiting. */
#include "../../ctl/daemon/answer.h"

#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <time.h>

#include "../../ctl/daemon/clock.h"
#include "../support/router_files.h"

static const question_verb IN_JSON = { "status", 0, false, true, BY_QOSCTL };
static const question_verb IN_TEXT = { "plan", 0, false, false, BY_QOSCTL };

static std::string content_of(int fd)
{
	EXPECT_GE(fd, 0) << strerror(errno);
	std::string bytes(get_written(fd), '\0');
	EXPECT_EQ(pread(fd, &bytes[0], bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
	close(fd);
	return bytes;
}

/* Runs these lines of a shell to their end. */
static void run_lines(child *it, const std::string &lines)
{
	const char *const arguments[] = { "/bin/sh", "-c", lines.c_str(), nullptr };
	ASSERT_TRUE(start_child(it, arguments, NEVER)) << strerror(errno);
	without_hanging([&] {
		const struct timespec pause = { 0, 1000000 };
		while (!has_ended(it))
			nanosleep(&pause, nullptr);
	});
}

static std::string answer_to(const std::string &lines, const question_verb &asked)
{
	child it;
	run_lines(&it, lines);
	std::string content = content_of(make_child_answer(&it, &asked));
	release_child(&it);
	return content;
}

TEST(answer, members_go_before_those_of_qosctl)
{
	EXPECT_EQ(answer_to("echo '{\"qos\":1,\"devices\":[{\"device\":\"eth0\"}]}'", IN_JSON),
		  "{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[{\"device\":\"eth0\"}]}\n");
	EXPECT_EQ(answer_to("echo '{\"qos\":1,\"devices\":[]}'\n"
			    "echo 'a \"b\"' >&2; echo c >&2; exit 7", IN_JSON),
		  "{\"qos\":1,\"exit\":7,\"told\":\"a \\\"b\\\"\\u000ac\",\"devices\":[]}\n");
}

TEST(answer, text_is_one_member)
{
	EXPECT_EQ(answer_to("printf '# tc eth0\\n\\t\\377\\n'; exit 1", IN_TEXT),
		  "{\"qos\":1,\"exit\":1,\"told\":\"\",\"devices\":[],\"output\":\"# tc "
		  "eth0\\u000a\\u0009\xc3\xbf\\u000a\"}\n");
}

TEST(answer, nothing_printed_is_an_answer_too)
{
	EXPECT_EQ(answer_to("echo none >&2; exit 6", IN_JSON),
		  "{\"qos\":1,\"exit\":6,\"told\":\"none\",\"devices\":[]}\n");
	EXPECT_EQ(answer_to("exit 0", IN_TEXT),
		  "{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[],\"output\":\"\"}\n");
}

TEST(answer, what_is_no_json_is_not_passed_on)
{
	static const char *const LINES[] = {
		"echo text", "printf '{\"qos\":1,'", "printf '{\"qos\":1,\"devices\":[]}'",
		"printf '{\"qos\":1,\"a\":1}\\n{\"qos\":1,\"a\":1}\\n'",
		"printf '{\"qos\":1,\"a\":\"\\000\"}\\n'", "echo '{\"qos\":2,\"devices\":[]}'",
	};
	for (const char *lines : LINES)
		EXPECT_EQ(answer_to(lines, IN_JSON),
			  "{\"qos\":1,\"exit\":1,\"told\":\"qosctl did not answer in JSON\","
			  "\"devices\":[]}\n")
			<< lines;
}

TEST(answer, a_program_that_is_killed_is_told)
{
	EXPECT_EQ(answer_to("echo '{\"qos\":1,\"devices\":[]}'; kill -SEGV $$", IN_JSON),
		  "{\"qos\":1,\"exit\":1,\"told\":\"qosctl was killed, or took too long\","
		  "\"devices\":[]}\n");
}

TEST(answer, what_is_too_long_is_not_cut_in_silence)
{
	EXPECT_EQ(answer_to("head -c 16777216 /dev/zero | tr '\\0' x", IN_TEXT),
		  "{\"qos\":1,\"exit\":1,\"told\":\"the answer is longer than 16 MiB\","
		  "\"devices\":[]}\n");
	std::string longest = answer_to("head -c 16777215 /dev/zero | tr '\\0' '\\001'", IN_TEXT);
	EXPECT_EQ(longest.size(), strlen("{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[],"
					 "\"output\":\"\"}\n") + 6 * 16777215);
}

TEST(answer, errors_beyond_their_room_are_cut)
{
	std::string content = answer_to("head -c 100000 /dev/zero | tr '\\0' e >&2", IN_TEXT);
	EXPECT_EQ(content.size(), strlen("{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[],"
					 "\"output\":\"\"}\n") + CHILD_ERRORS_MAX - 1);
}

TEST(child, has_no_input_and_an_empty_environment)
{
	setenv("TZ", "Europe/Vienna", 1);
	setenv("LD_LIBRARY_PATH", "/nowhere", 1);
	EXPECT_EQ(answer_to("cat; echo \"$LANG $PATH $TZ $LD_LIBRARY_PATH.\"", IN_TEXT),
		  "{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[],\"output\":\"C "
		  "/usr/sbin:/usr/bin:/sbin:/bin Europe/Vienna .\\u000a\"}\n");
	unsetenv("TZ");
	unsetenv("LD_LIBRARY_PATH");
}

/* Of the files in memory it has its two outputs, by these descriptors alone. */
TEST(child, inherits_none_of_our_descriptors)
{
	EXPECT_EQ(answer_to("ls -l /proc/$$/fd | grep -c memfd", IN_TEXT),
		  "{\"qos\":1,\"exit\":0,\"told\":\"\",\"devices\":[],\"output\":\"2\\u000a\"}\n");
}

TEST(child, that_cannot_be_started_leaves_nothing)
{
	int before = open("/dev/null", O_RDONLY);
	close(before);
	child it;
	const char *const arguments[] = { "/no/such/program", nullptr };
	EXPECT_FALSE(start_child(&it, arguments, NEVER));
	EXPECT_EQ(errno, ENOENT);
	EXPECT_EQ(it.pid, 0);
	int after = open("/dev/null", O_RDONLY);
	EXPECT_EQ(before, after);
	close(after);
}

TEST(child, is_cut_with_all_that_it_started)
{
	child it;
	fresh_router router;
	const char *const arguments[] = { "/bin/sh", "-c", "sleep 60 & echo $!; wait", nullptr };
	ASSERT_TRUE(start_child(&it, arguments, NEVER));
	without_hanging([&] {
		while (get_written(it.output) == 0)
			usleep(1000);
		usleep(10000);
		pid_t inner = 0;
		view output;
		ASSERT_TRUE(open_view(&output, it.output, CHILD_OUTPUT_MAX));
		inner = atoi(output.text);
		close_view(&output);
		ASSERT_GT(inner, 0);
		EXPECT_FALSE(has_ended(&it));
		cut_child(&it);
		EXPECT_EQ(it.pid, 0);
		while (kill(inner, 0) == 0 && read_file("/proc/" + std::to_string(inner) + "/stat")
							      .find(") Z") == std::string::npos)
			usleep(1000);
	});
}
