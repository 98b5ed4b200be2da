// SPDX-License-Identifier: MIT
/* What the user and standard error are told. The headers of a page come once a process, so each
 * test prints in a process of its own. */
#include "../../store/message.h"

#include <sys/wait.h>

#include <cgi.h>

#include "../support/router_files.h"

static const std::string HEADERS = "Content-Type: text/html; charset=utf-8\r\n\r\n";

/* What body() prints in a process that has printed nothing before. */
template <typename block> static printed printed_by_child(block body)
{
	return printed_by([&] {
		pid_t child = fork();
		if (child == 0) {
			body();
			fflush(stdout);
			_exit(0);
		}
		int status = -1;
		waitpid(child, &status, 0);
		EXPECT_EQ(status, 0);
	});
}

static std::string box(const std::string &text)
{
	return "<script language='javascript'>\nalert('" + text + "');\n\n</script>\n";
}

TEST(qos_msg, shows_duplicated_id_in_exactly_these_lines)
{
	EXPECT_EQ(printed_by_child([] { qos_msg(3, "Duplicated ID"); }).out,
		  HEADERS + "<script language='javascript'>\n"
			    "alert('Duplicated ID');\n"
			    "\n"
			    "</script>\n");
}

TEST(qos_msg, prints_the_headers_once_a_process)
{
	EXPECT_EQ(printed_by_child([] {
			  qos_msg(0, "one");
			  cgi_init_headers();
			  qos_msg(1, "two");
		  }).out,
		  HEADERS + box("one") + box("two"));
	EXPECT_EQ(printed_by_child([] {
			  cgi_init_headers();
			  qos_msg(0, "one");
		  }).out,
		  HEADERS + box("one"));
}

TEST(qos_msg, shows_the_same_at_every_level)
{
	for (int level : { -1, 0, 1, 2, 3, 4, 5, 1000 })
		EXPECT_EQ(printed_by_child([level] { qos_msg(level, "text"); }).out,
			  HEADERS + box("text"));
}

TEST(qos_msg, formats_its_arguments)
{
	const std::string large(10000, 'x');
	EXPECT_EQ(printed_by_child([&] { qos_msg(0, "%s: %d of %5.1f%%", "a", -7, 2.5); }).out,
		  HEADERS + box("a: -7 of   2.5%"));
	EXPECT_EQ(printed_by_child([&] { qos_msg(0, "%s", large.c_str()); }).out,
		  HEADERS + box(large));
}

TEST(qos_msg, escapes_nothing)
{
	EXPECT_EQ(printed_by_child([] { qos_msg(0, "'\"</script>\n\\ &"); }).out,
		  HEADERS + box("'\"</script>\n\\ &"));
}

TEST(qos_msg, writes_nothing_on_standard_error)
{
	EXPECT_EQ(printed_by_child([] { qos_msg(0, "text"); }).err, "");
}

TEST(qos_msg_titles, are_five_in_their_order)
{
	const char *titles[] = { "QOS Warning", "QOS Fatal", "QOS Caution", "QOS Information",
				 "QOS out of memory" };
	for (size_t i = 0; i < 5; i++)
		EXPECT_STREQ(qos_msg_titles[i], titles[i]);
}

TEST(qos_warn, writes_one_line_on_standard_error_and_no_page)
{
	printed all = printed_by_child([] { qos_warn("%s: %d left out", "class a", 3); });
	EXPECT_EQ(all.out, "");
	EXPECT_EQ(all.err, "qos: class a: 3 left out\n");
}

/* What it tells may come from a store. */
TEST(qos_warn, prints_one_line_whatever_its_text)
{
	const std::string large(5000, 'x');
	EXPECT_EQ(printed_by_child([] { qos_warn("%s", "a\nb\r\x1b[0m\tc\x7f"); }).err,
		  "qos: a?b??[0m?c?\n");
	std::string err = printed_by_child([&] { qos_warn("%s", large.c_str()); }).err;
	EXPECT_EQ(count_lines(err), 1u);
	EXPECT_EQ(err.substr(0, 100), "qos: " + std::string(95, 'x'));
}

TEST(cgi_init_headers, prints_the_type_and_an_empty_line)
{
	EXPECT_EQ(printed_by_child([] { cgi_init_headers(); }).out, HEADERS);
}
