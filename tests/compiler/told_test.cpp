// SPDX-License-Identifier: MIT
/* What a compile tells on standard error, line by line: why a run ended, what is named and not
 * there, which filter writes no rule, and a NAT test that could not be run. */
#include <signal.h>

#include "compiler_files.h"

/* The lines without their "qos: ". */
static texts lines_of(const std::string &err)
{
	texts lines;
	const std::string start = "qos: ";
	for (size_t at = 0; at < err.size(); at = err.find('\n', at) + 1) {
		EXPECT_EQ(err.substr(at, start.size()), start);
		lines.push_back(err.substr(at + start.size(),
					   err.find('\n', at) - at - start.size()));
	}
	return lines;
}

static texts told_by_compile(const fresh_compiler &router)
{
	return lines_of(compile(router).told.err);
}

TEST(do_policy, tells_nothing_of_a_store_without_fault)
{
	small_office router;
	router.store("policy", policy("LAN1", "htb", "ROOT_CLASS=root\nDEFAULT_CLASS=web\n") +
				       policy("LAN2", "spq", "ROOT_CLASS=root\nDEFAULT_CLASS=x\n"));
	router.store("class", "[root]\nFILTER_ID[0]=f\n[web]\nPARENT_ID=root\n");
	router.store_filter({ "1.2.3.4" }, { "1.2.3.4" }, { "0" }, { "80" });
	EXPECT_EQ(told_by_compile(router), texts{});
}

TEST(do_policy, tells_which_policy_ended_the_run_and_why)
{
	const std::string end = ", the run ends here";
	small_office router;
	router.store("policy", policy("LAN1") + policy("LAN2", nullptr) + policy("LAN3"));
	EXPECT_EQ(told_by_compile(router), (texts{ "policy LAN2: it has no discipline" + end }));
	for (const char *qdisc : { "", "HTB", "cbq" }) {
		router.store("policy", policy("LAN1") + policy("LAN2", qdisc) + policy("LAN3"));
		EXPECT_EQ(told_by_compile(router),
			  (texts{ "policy LAN2: its discipline is neither htb nor spq" + end }));
	}
	router.store("policy", policy("LAN1") + policy("LAN2", "spq") + policy("LAN3"));
	router.remove_store("basic");
	EXPECT_EQ(told_by_compile(router),
		  (texts{ "policy LAN2: the basic store cannot be read" + end }));
	router.remove_store("class");
	EXPECT_EQ(told_by_compile(router),
		  (texts{ "policy LAN1: the class store cannot be read" + end }));
}

TEST(do_policy, tells_of_a_policy_that_is_left_out)
{
	small_office router;
	router.store("policy", policy("LAN1") + policy("LAN2", "htb", "") + policy("other"));
	EXPECT_EQ(told_by_compile(router), (texts{ "policy LAN2: no root class, left out",
						   "policy other: no device, left out" }));
}

TEST(do_policy, tells_of_classes_that_are_named_and_not_there)
{
	small_office router;
	router.store("policy", policy("LAN1", "htb", "ROOT_CLASS=R\nDEFAULT_CLASS=D\n") +
				       policy("LAN2", "spq", "ROOT_CLASS=S\nDEFAULT_CLASS=D\n"));
	router.store("class", "[root]\nPARENT_ID=above\n[web]\nPARENT_ID=root\n[D ]\nPARENT_ID=\n");
	EXPECT_EQ(told_by_compile(router),
		  (texts{ "class root: its parent 'above' is not in the class store",
			  "policy LAN1: its root class 'R' is not in the class store",
			  "policy LAN1: its default class 'D' is not in the class store",
			  "policy LAN2: its root class 'S' is not in the basic store" }));
}

/* A page leaves an empty value where a name was taken away. */
TEST(do_policy, tells_nothing_of_a_name_that_was_emptied)
{
	small_office router;
	router.store("policy", policy("LAN1", "htb", "ROOT_CLASS=root\nDEFAULT_CLASS=\n"));
	router.store("class", "[root]\nPARENT_ID=\n");
	EXPECT_EQ(told_by_compile(router), texts());
}

TEST(do_policy, tells_of_a_filter_that_is_named_and_not_there)
{
	small_office router;
	router.store("policy", policy("LAN1") + policy("LAN2", "spq"));
	router.store("class", "[root]\nFILTER_ID[0]=f\nFILTER_ID[1]=gone\n");
	router.store("basic", "[root]\nFILTER_ID[0]=gone\n");
	router.store_filter({ "1.2.3.4" }, { "1.2.3.4" }, { "0" }, { "80" });
	EXPECT_EQ(told_by_compile(router),
		  texts(2, "root: its filter 'gone' is not in the filter store"));
}

/* What is told of the only filter of a class, f. */
static texts told_by_rules(fresh_compiler &router)
{
	printed told;
	EXPECT_EQ(router.rules_of({ "f" }, &told), "");
	return lines_of(told.err);
}

TEST(do_rule, tells_of_lists_that_are_not_named_not_there_empty_or_cannot_be_read)
{
	const std::string end = ", so it writes no rule";
	fresh_compiler router;
	router.store("filter", "[f]\nINT_IP_ID=no ips\nINT_PORT_ID=no ports\nEXT_PORT_ID=none\n");
	router.store("ip", "[ips]\nIP_LIST[0]=1.2.3.4\n");
	router.store("port", "[none]\nPORT_LIST[1]=80\n");
	EXPECT_EQ(told_by_rules(router),
		  (texts{ "filter f: its source port list 'no ports' is not in the port store" + end,
			  "filter f: its destination port list 'none' is empty" + end,
			  "filter f: its source address list 'no ips' is not in the ip store" + end,
			  "filter f: it names no destination address list" + end }));
	router.store("filter", "[f]\n");
	EXPECT_EQ(told_by_rules(router),
		  (texts{ "filter f: it names no source port list" + end,
			  "filter f: it names no destination port list" + end,
			  "filter f: it names no source address list" + end,
			  "filter f: it names no destination address list" + end }));
	router.store_filter({ "1.2.3.4" }, { "1.2.3.4" }, { "0" }, { "80" });
	router.remove_store("ip");
	EXPECT_EQ(told_by_rules(router),
		  texts(2, "filter f: the ip store cannot be read" + end));
}

TEST(do_rule, names_the_list_of_an_entry_that_is_left_out)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4", "x" }, { "1.2.3.4", "y" }, { "0", "-1" }, { "80", "z" });
	printed told;
	router.rules_of({ "f" }, &told);
	const std::string end = " is no port or address, left out";
	EXPECT_EQ(lines_of(told.err), (texts{ "filter f: port list src: '-1'" + end,
					      "filter f: port list dst: 'z'" + end,
					      "filter f: address list src: 'x'" + end,
					      "filter f: address list dst: 'y'" + end }));
}

TEST(do_rule, tells_of_a_nat_test_that_could_not_be_run)
{
	const texts told_of = {
		"'1.2.3.4': the NAT test could not be run, taken for not translated"
	};
	for (const char *lines : { "exit 126\n", "exit 127\n", "" }) {
		fresh_compiler router;
		router.translate(lines);
		if (!*lines)
			std::filesystem::remove(NAT_TEST);
		router.store_filter({ "1.2.3.4" }, { "1.2.3.4" }, { "0" }, { "0" });
		printed told;
		EXPECT_NE(router.rules_of({ "f" }, &told).find("\nPRIORULE"), std::string::npos);
		// the shell has its own line before
		std::string err = told.err.substr(told.err.find("qos: "));
		EXPECT_EQ(lines_of(err), told_of) << lines;
	}
	for (const char *lines : { "exit 0\n", "exit 1\n", "exit 2\n", "exit 255\n" }) {
		fresh_compiler router;
		router.translate(lines);
		router.store_filter({ "1.2.3.4" }, { "1.2.3.4" }, { "0" }, { "0" });
		printed told;
		router.rules_of({ "f" }, &told);
		EXPECT_EQ(told.err, "") << lines;
	}
}

/* As in a program that was started with SIGCHLD ignored: nothing is left to be waited for. */
TEST(do_rule, tells_of_a_nat_test_that_could_not_be_waited_for)
{
	fresh_compiler router;
	router.translate("exit 1\n");
	router.store_filter({ "1.2.3.4" }, { "1.2.3.4" }, { "0" }, { "0" });
	signal(SIGCHLD, SIG_IGN);
	printed told;
	std::string rules = router.rules_of({ "f" }, &told);
	signal(SIGCHLD, SIG_DFL);
	EXPECT_EQ(rules.find("IPTRULE"), std::string::npos);
	EXPECT_EQ(lines_of(told.err), (texts{
		"'1.2.3.4': the NAT test could not be run, taken for not translated" }));
}
