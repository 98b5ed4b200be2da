// SPDX-License-Identifier: MIT
/* Asking qosd, and what comes instead of an answer. */
#include "../../cgi/ask.h"

#include <errno.h>
#include <signal.h>

#include "../support/stand_in.h"

static const int PATIENCE = 10000; // milliseconds; for what is to come

static void expect_no_answer(const std::string &instead)
{
	stand_in qosd;
	qosd.answer_with(instead);
	errno = 0;
	EXPECT_EQ(ask("status", PATIENCE), nullptr) << instead.substr(0, 40);
	EXPECT_EQ(errno, EBADMSG) << instead.substr(0, 40);
}

TEST(ask, an_answer_is_read)
{
	stand_in qosd;
	qosd.answer_with("{\"qos\":1,\"exit\":3,\"told\":\"two errors\"}\n");
	const json *answer = ask("check device=eth0", PATIENCE);
	EXPECT_EQ(get_exit(answer), 3);
	EXPECT_STREQ(get_told(answer), "two errors");
	qosd.serving.join();
	EXPECT_EQ(qosd.line, "check device=eth0");
}

TEST(ask, an_answer_in_pieces_is_one_and_ends_with_its_line)
{
	stand_in qosd;
	qosd.serve([](int caller) {
		for (const char *piece : { "{\"qos\":1,", "\"exit\":", "0}", "\n" }) {
			stand_in::send_all(caller, piece);
			usleep(10000);
		}
		char c;
		EXPECT_EQ(read(caller, &c, 1), 0); // is not waited for
	});
	EXPECT_EQ(get_exit(ask("status", PATIENCE)), 0);
}

TEST(ask, a_long_answer_is_whole)
{
	stand_in qosd;
	const std::string text(15 * 1024 * 1024, 'x');
	qosd.answer_with("{\"told\":\"" + text + "\"}\n");
	EXPECT_EQ(get_told(ask("plan", PATIENCE)), text);
}

TEST(ask, two_are_asked_at_once)
{
	stand_in qosd;
	int first = start_asking("check"), second = start_asking("status");
	ASSERT_GE(first, 0);
	ASSERT_GE(second, 0);
	for (const char *status : { "1", "2" }) {
		int caller = accept(qosd.listening, nullptr, nullptr);
		stand_in::send_all(caller, std::string("{\"exit\":") + status + "}\n");
		close(caller);
	}
	EXPECT_EQ(get_exit(end_asking(second, PATIENCE)), 2);
	EXPECT_EQ(get_exit(end_asking(first, PATIENCE)), 1);
}

TEST(ask, what_is_no_answer)
{
	for (const char *instead : { "", "\n", "{\"exit\":0", "{\"exit\":0}", "{\"exit\":0\n",
				     "[]\n", "5\n", "words\n", "{}\n{}\n" })
		expect_no_answer(instead);
}

TEST(ask, an_answer_without_end_is_none)
{
	expect_no_answer("{\"told\":\"" + std::string(17 * 1024 * 1024, 'x') + "\"}\n");
}

TEST(ask, silence_is_waited_for_no_longer_than_asked)
{
	stand_in qosd;
	for (int milliseconds : { 0, -5, 50 }) {
		errno = 0;
		EXPECT_EQ(ask("status", milliseconds), nullptr);
		EXPECT_EQ(errno, ETIMEDOUT);
	}
}

TEST(ask, drops_do_not_prolong_the_wait)
{
	stand_in qosd;
	qosd.serve([](int caller) {
		for (int i = 0; i < 200; i++) {
			if (send(caller, " ", 1, MSG_NOSIGNAL) != 1)
				return;
			usleep(10000);
		}
	});
	without_hanging([] {
		EXPECT_EQ(ask("status", 100), nullptr);
		EXPECT_EQ(errno, ETIMEDOUT);
	});
}

TEST(ask, where_none_runs)
{
	std::filesystem::remove("/run/qos/control");
	EXPECT_EQ(ask("status", PATIENCE), nullptr);
	EXPECT_EQ(errno, ENOENT);
	{
		stand_in gone;
		close(gone.listening);
		EXPECT_EQ(ask("status", PATIENCE), nullptr);
		EXPECT_EQ(errno, ECONNREFUSED);
	}
}

TEST(ask, one_that_many_ask_is_not_waited_for)
{
	stand_in qosd;
	std::vector<int> callers;
	without_hanging([&] {
		while (callers.size() < 100 && (callers.empty() || callers.back() >= 0))
			callers.push_back(start_asking("status"));
		EXPECT_EQ(errno, EAGAIN);
		EXPECT_EQ(callers.back(), -1);
	});
	for (int caller : callers)
		close(caller);
}

TEST(ask, who_hangs_up_ends_nobody)
{
	signal(SIGPIPE, SIG_DFL);
	stand_in qosd;
	int connection = start_asking("status");
	close(accept(qosd.listening, nullptr, nullptr));
	EXPECT_EQ(end_asking(connection, PATIENCE), nullptr);
	EXPECT_TRUE(errno == EBADMSG || errno == ECONNRESET) << errno;
}

TEST(ask, a_line_that_is_too_long_is_not_cut)
{
	stand_in qosd;
	EXPECT_EQ(start_asking(std::string(512, 'x').c_str()), -1);
	EXPECT_EQ(errno, EMSGSIZE);
}

TEST(ask, what_may_stand_in_a_line)
{
	for (const char *value : { "eth0", "nas0.7", "fibre-voice", "192.168.1.7:80", "a_b@c+d/e" })
		EXPECT_TRUE(is_askable(value)) << value;
	for (const char *value : { "", "a b", "a\n", "a=b", "\xc3\xa9", "a;b", "*" })
		EXPECT_FALSE(is_askable(value)) << value;
}

TEST(ask, how_an_answer_ended)
{
	EXPECT_EQ(get_exit(nullptr), -1);
	EXPECT_STREQ(get_told(nullptr), "");
	char text[] = "{\"exit\":\"0\"}";
	const json *answer = read_json(text, strlen(text));
	EXPECT_EQ(get_exit(answer), -1);
	EXPECT_STREQ(get_told(answer), "");
}
