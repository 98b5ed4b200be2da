// SPDX-License-Identifier: MIT
/* Stands in the place of tc and iptables-restore: hands what comes on standard input to the real
 * program line by line, as the case says, and ends as that would. Any other call, and every call
 * while no case leads, is the real program's. */
#include "stepper.h"

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "steps.h"

static std::string real;

static std::string read_all(int from)
{
	std::string text;
	char bytes[65536];
	ssize_t got;
	while ((got = read(from, bytes, sizeof(bytes))) > 0)
		text.append(bytes, static_cast<size_t>(got));
	return text;
}

/* Runs the real program with this input. */
static int run_real(char **argv, const std::string &input)
{
	int ends[2];
	if (pipe(ends) < 0)
		abort();
	pid_t pid = fork();
	if (pid == 0) {
		dup2(ends[0], 0);
		close(ends[0]);
		close(ends[1]);
		execv(real.c_str(), argv);
		_exit(127);
	}
	close(ends[0]);
	for (size_t at = 0; at < input.size();) {
		ssize_t put = write(ends[1], input.data() + at, input.size() - at);
		if (put <= 0)
			break;
		at += static_cast<size_t>(put);
	}
	close(ends[1]);
	int status = 0;
	waitpid(pid, &status, 0);
	return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

/* The real tc, which takes its batch line by line. Behind each line it is asked for something that
 * it prints at once: that it has done the line. */
struct real_batch {
	pid_t pid;
	int in, out, err;
};

static const char MARK_LINE[] = "qdisc show dev lo\n";

static real_batch start_batch(char **argv)
{
	int in[2], out[2], err[2];
	if (pipe2(in, O_CLOEXEC) < 0 || pipe2(out, O_CLOEXEC) < 0 || pipe2(err, O_CLOEXEC) < 0)
		abort();
	pid_t pid = fork();
	if (pid == 0) {
		dup2(in[0], 0);
		dup2(out[1], 1);
		dup2(err[1], 2);
		execv(real.c_str(), argv);
		_exit(127);
	}
	close(in[0]);
	close(out[1]);
	close(err[1]);
	return { pid, in[1], out[0], err[0] };
}

/* False when it has ended instead. */
static bool run_line(const real_batch *it, const std::string &line)
{
	std::string both = line + MARK_LINE;
	char bytes[4096];
	return write(it->in, both.data(), both.size()) == static_cast<ssize_t>(both.size()) &&
	       read(it->out, bytes, sizeof(bytes)) > 0;
}

/* The line that it says failed is counted with ours between. */
static void pass_errors(const real_batch *it)
{
	std::string text = read_all(it->err);
	size_t at = text.find("Command failed -:");
	if (at != std::string::npos) {
		at += sizeof("Command failed -:") - 1;
		size_t end = text.find_first_not_of("0123456789", at);
		int number = (atoi(text.c_str() + at) + 1) / 2;
		text.replace(at, end - at, std::to_string(number));
	}
	fputs(text.c_str(), stderr);
}

static int end_batch(const real_batch *it)
{
	close(it->in);
	pass_errors(it);
	int status = 0;
	waitpid(it->pid, &status, 0);
	return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

static char ask(int connection, const std::string &text)
{
	char answer = RUN_LINE;
	if (write(connection, text.c_str(), text.size() + 1) < 0 ||
	    read(connection, &answer, 1) != 1)
		return QUEUE_LINE;
	return answer;
}

/* Ends as the case says before a line. */
static void end_if_told(char answer, int number)
{
	if (answer == END_PROGRAM)
		kill(getpid(), SIGKILL);
	if (answer != FAIL_LINE)
		return;
	fprintf(stderr, "RTNETLINK answers: No buffer space available\nCommand failed -:%d\n",
		number);
	exit(1);
}

static int step_through_batch(int connection, char **argv, const std::string &input)
{
	real_batch batch = start_batch(argv);
	int number = 0;
	for (size_t at = 0; at < input.size();) {
		size_t end = input.find('\n', at) + 1;
		end = end == 0 ? input.size() : end;
		std::string line = input.substr(at, end - at);
		at = end;
		char answer = ask(connection, line);
		end_if_told(answer, ++number);
		if (!run_line(&batch, line))
			return end_batch(&batch);
		if (answer == RUN_LINE)
			ask(connection, "");
	}
	return end_batch(&batch);
}

static int step_over(int connection, char **argv, const std::string &input)
{
	char answer = ask(connection, input);
	end_if_told(answer, 1);
	int status = run_real(argv, input);
	if (status == 0 && answer == RUN_LINE)
		ask(connection, "");
	return status;
}

int main(int argc, char **argv)
{
	std::string name = argv[0];
	name = name.substr(name.rfind('/') + 1);
	real = REAL_PROGRAMS + name;
	bool is_batch = name != "tc";
	for (int i = 1; i < argc; i++)
		is_batch = is_batch || strncmp(argv[i], "-b", 2) == 0;
	sockaddr_un address = steps_address();
	int connection = socket(AF_UNIX, SOCK_STREAM, 0);
	if (!is_batch || connect(connection, reinterpret_cast<sockaddr *>(&address),
				 sizeof(address)) < 0) {
		execv(real.c_str(), argv);
		return 127;
	}
	if (write(connection, name.c_str(), name.size() + 1) < 0)
		return 127;
	signal(SIGPIPE, SIG_IGN);
	const std::string input = read_all(0);
	return name == "tc" ? step_through_batch(connection, argv, input)
			    : step_over(connection, argv, input);
}
