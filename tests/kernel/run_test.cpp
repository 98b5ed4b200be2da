// SPDX-License-Identifier: MIT
/* Programs that are started: what they get, and what they leave. */
#include "../../kernel/kernel.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include "../support/router_files.h"

struct ran {
	int status;
	std::string out, err;
};

static ran run(const std::vector<const char *> &words, const std::string &input = "")
{
	std::vector<const char *> argv = words;
	argv.push_back(nullptr);
	run_result it;
	run_program(&it, argv.data(), input.data(), input.size());
	ran result = { it.status, std::string(it.output, it.output_size),
		       std::string(it.errors, it.errors_size) };
	EXPECT_EQ(it.output[it.output_size], '\0');
	EXPECT_EQ(it.errors[it.errors_size], '\0');
	free_run(&it);
	return result;
}

static ran run_shell(const char *lines, const std::string &input = "")
{
	return run({ "/bin/sh", "-c", lines }, input);
}

TEST(run, finds_a_program_in_the_fixed_folders_alone)
{
	char path[64], small[4];
	ASSERT_TRUE(find_program(path, sizeof(path), "sh"));
	EXPECT_EQ(std::string(path), "/usr/bin/sh");
	EXPECT_FALSE(find_program(path, sizeof(path), "no-such-program"));
	EXPECT_FALSE(find_program(path, sizeof(path), "")); // a folder
	EXPECT_FALSE(find_program(small, sizeof(small), "sh"));
	write_program("/usr/local/only-here", "exit 0\n");
	setenv("PATH", "/usr/local", 1);
	EXPECT_FALSE(find_program(path, sizeof(path), "only-here"));
}

TEST(run, passes_input_and_both_outputs)
{
	ran it = run_shell("cat; echo wrong >&2; exit 3", std::string("a\0b\n", 4));
	EXPECT_EQ(it.out, std::string("a\0b\n", 4));
	EXPECT_EQ(it.err, "wrong\n");
	ASSERT_TRUE(WIFEXITED(it.status));
	EXPECT_EQ(WEXITSTATUS(it.status), 3);
}

TEST(run, passes_more_than_pipes_hold_in_all_directions_at_once)
{
	const std::string much(1000000, 'x');
	without_hanging([&] {
		ran it = run_shell("exec 3</proc/self/fd/0; cat <&3 >&2 & cat; wait", much);
		EXPECT_EQ(it.out, much);
		EXPECT_EQ(it.err, much);
	});
}

TEST(run, survives_a_program_that_reads_nothing)
{
	const std::string much(1000000, 'x');
	without_hanging([&] {
		EXPECT_EQ(run_shell("exit 0", much).status, 0);
		EXPECT_EQ(run_shell("exec 0<&-; echo done", much).out, "done\n");
	});
}

/* However much a program prints, it takes no more of the router's memory. */
TEST(run, takes_no_more_than_the_greatest_output)
{
	without_hanging([&] {
		ran it = run_shell("head -c 20000000 /dev/zero 2>/dev/null || echo refused >&2;"
				   "stat -L -c %b /proc/self/fd/3 3>&1 >&2");
		EXPECT_EQ(it.out.size(), RUN_OUTPUT_MAX);
		EXPECT_EQ(it.err, "refused\n" + std::to_string(RUN_OUTPUT_MAX / 512) + "\n");
		EXPECT_EQ(it.status, 0);
	});
}

TEST(run, kills_a_program_that_hangs)
{
	const char *const hanging[] = { "/bin/sh", "-c", "echo begun; exec sleep 100", nullptr };
	const char *const slow[] = { "/bin/sh", "-c", "sleep 0.3; echo done", nullptr };
	run_result it;
	without_hanging([&] {
		run_program_for(&it, hanging, "unread", 6, 500);
		ASSERT_TRUE(WIFSIGNALED(it.status));
		EXPECT_EQ(WTERMSIG(it.status), SIGKILL);
		EXPECT_STREQ(it.output, "begun\n");
		free_run(&it);
		run_program_for(&it, slow, nullptr, 0, 20000);
		EXPECT_EQ(it.status, 0);
		EXPECT_STREQ(it.output, "done\n");
		free_run(&it);
	});
}

TEST(run, gives_a_small_environment_and_no_descriptors)
{
	setenv("SECRET", "1", 1);
	for (int fd = 3; fd < 256; fd++) // those that the test itself was started with
		fcntl(fd, F_SETFD, FD_CLOEXEC);
	EXPECT_EQ(run({ "/usr/bin/env" }).out, "LANG=C\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\n");
	EXPECT_EQ(run_shell("ls /proc/self/fd | wc -l").out, "4\n"); // one is the folder's
}

TEST(run, gives_default_signals)
{
	signal(SIGTERM, SIG_IGN);
	ran it = run_shell("kill -TERM $$; echo alive");
	signal(SIGTERM, SIG_DFL);
	EXPECT_EQ(it.out, "");
	EXPECT_TRUE(WIFSIGNALED(it.status));
	EXPECT_EQ(WTERMSIG(it.status), SIGTERM);
}

TEST(run, leaves_the_own_signals_as_they_were)
{
	struct sigaction before, after;
	sigaction(SIGPIPE, nullptr, &before);
	run_shell("exit 0", "x");
	sigaction(SIGPIPE, nullptr, &after);
	EXPECT_EQ(before.sa_handler, after.sa_handler);
}

TEST(run, tells_what_could_not_be_started)
{
	ran it = run({ "/usr/bin/no-such-program" });
	EXPECT_EQ(it.status, -1);
	EXPECT_EQ(errno, ENOENT);
	EXPECT_EQ(it.out + it.err, "");
}

/* As one that was started by a daemon without standard descriptors. */
TEST(run, works_where_standard_descriptors_are_closed)
{
	pid_t child = fork();
	if (child == 0) {
		close(0);
		close(1);
		close(2);
		ran it = run_shell("cat; echo wrong >&2", "right");
		_exit(it.out == "right" && it.err == "wrong\n" ? 0 : 1);
	}
	int status;
	ASSERT_EQ(waitpid(child, &status, 0), child);
	EXPECT_EQ(status, 0);
}
