// SPDX-License-Identifier: MIT
/* Whole compiles that cannot go their whole way: what is skipped, what stops the run, and what is
 * told. */
#include "compiler_files.h"

TEST(do_policy, ends_with_0_when_the_policy_store_cannot_be_read)
{
	small_office router;
	compiled all = compile(router);
	EXPECT_EQ(all.result, 0);
	EXPECT_EQ(all.alerts, (texts{ "Can not handle Policy DB" }));
	EXPECT_EQ(all.scripts, file_map{});
}

TEST(do_policy, writes_nothing_and_ends_with_minus_1_without_policies)
{
	for (const char *text : { "", "# no policy\n", "ROOT_CLASS=root\nQDISC=htb\n" }) {
		small_office router;
		router.store("policy", text);
		compiled all = compile(router);
		EXPECT_EQ(all.result, -1);
		EXPECT_EQ(all.scripts, file_map{});
		EXPECT_EQ(all.alerts, texts{});
		EXPECT_EQ(all.told.out, "");
		EXPECT_EQ(all.told.err, "");
	}
}

TEST(do_policy, stops_at_a_discipline_that_is_not_exactly_htb_or_spq)
{
	for (const char *qdisc : { "", "HTB", "SPQ", "Htb", "htb ", " htb",
				   "spq ", "spqx", "sp", "cbq", "htb\\n" }) {
		SCOPED_TRACE(qdisc);
		small_office router;
		router.store("policy", policy("LAN1") + policy("LAN2", qdisc) + policy("LAN3"));
		write_file(SCRIPTS + "nas2", "of an older run\n");
		write_file(SCRIPTS + "nas3", "of an older run\n");
		compiled all = compile(router);
		EXPECT_EQ(all.result, -1);
		EXPECT_EQ(all.alerts, texts{});
		EXPECT_EQ(all.scripts, (file_map{ { "nas1", HTB },
						  { "nas1-2.root", "RATE=1\n" },
						  { "nas2", "" },
						  { "nas3", "of an older run\n" } }));
	}
}

TEST(do_policy, stops_at_a_policy_without_a_discipline_and_leaves_its_script_empty)
{
	small_office router;
	router.store("policy", policy("LAN1", nullptr) + policy("LAN2"));
	compiled all = compile(router);
	EXPECT_EQ(all.result, -1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.scripts, (file_map{ { "nas1", "" } }));
}

TEST(do_policy, skips_a_policy_whose_device_script_cannot_be_created)
{
	small_office router;
	router.store("policy", policy("LAN1") + policy("LAN2") + policy("LAN3", "spq"));
	std::filesystem::create_directories(SCRIPTS + "nas1");
	std::filesystem::create_directories(SCRIPTS + "nas3");
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.scripts, (file_map{ { "nas2", HTB }, { "nas2-2.root", "RATE=1\n" } }));
	router.store("policy", policy("LAN1") + policy("LAN3", "spq"));
	EXPECT_EQ(compile(router).result, -1);
}

TEST(do_policy, skips_a_policy_without_a_root_class)
{
	small_office router;
	router.store("policy", policy("LAN1", "htb", "DEFAULT_CLASS=root\n") + policy("LAN2") +
				       policy("LAN3", "none", ""));
	write_file(SCRIPTS + "nas1", "of an older run\n");
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.scripts, (file_map{ { "nas1", "of an older run\n" }, { "nas2", HTB },
					  { "nas2-2.root", "RATE=1\n" } }));
	router.store("policy", policy("LAN1", "htb", ""));
	EXPECT_EQ(compile(router).result, -1);
}

TEST(do_policy, skips_a_policy_whose_device_is_not_resolved_and_tells)
{
	small_office router;
	router.connect({ { "LAN1", "nas1" }, { "LAN3", "nas3" }, { "LAN4", "longer than 15 ch" },
			 { "LAN5", "1234567890123456" } });
	router.store("policy", policy("LAN2") + policy("LAN1") + policy("LAN4") + policy("LAN5") +
				       policy("LAN3"));
	write_file(SCRIPTS + "nas2", "of an older run\n");
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.scripts, (file_map{ { "nas1", HTB }, { "nas1-2.root", "RATE=1\n" },
					  { "nas2", "of an older run\n" },
					  { "nas3", HTB }, { "nas3-2.root", "RATE=1\n" } }));
	for (const char *left_out : { "LAN2", "LAN4", "LAN5" })
		EXPECT_NE(all.told.err.find(left_out), std::string::npos) << all.told.err;
	for (const char *compiled : { "LAN1", "LAN3" })
		EXPECT_EQ(all.told.err.find(compiled), std::string::npos) << all.told.err;
	router.store("policy", policy("LAN2"));
	EXPECT_EQ(compile(router).result, -1);
}

/* The report of the policy before would otherwise be read again. */
TEST(do_policy, gives_no_policy_the_device_of_another_for_a_name_that_is_none)
{
	small_office router;
	const std::string longest = "L" + std::string(37, 'x'), marker = SCRATCH + "marker";
	router.connect({ { "LAN1", "nas1" }, { longest, "nas2" }, { longest + "x", "nas3" } });
	router.store("policy", policy("LAN1") + policy(longest) + policy(longest + "x") +
				       policy("$(touch " + marker + ")") +
				       policy("`touch " + marker + "`") +
				       policy("\";touch " + marker + "\""));
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(router.script_names(), (texts{ "nas1", "nas1-2.root", "nas2", "nas2-2.root" }));
	EXPECT_FALSE(has_file(marker));
}

TEST(do_policy, stops_when_the_class_store_cannot_be_read)
{
	small_office router;
	router.remove_store("class");
	router.store("policy", policy("LAN1", "spq") +
				       policy("LAN2", "htb", "ROOT_CLASS=root\nR2Q=5\n") +
				       policy("LAN3", "spq"));
	compiled all = compile(router);
	EXPECT_EQ(all.result, -1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.scripts, (file_map{ { "nas1", SPQ }, { "nas1-2.root", "" },
					  { "nas2", std::string(HTB) + "R2Q=5\n" } }));
}

TEST(do_policy, stops_when_the_basic_store_cannot_be_read)
{
	small_office router;
	router.remove_store("basic");
	router.store("policy", policy("LAN1") + policy("LAN2", "spq") + policy("LAN3"));
	compiled all = compile(router);
	EXPECT_EQ(all.result, -1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.scripts,
		  (file_map{ { "nas1", HTB }, { "nas1-2.root", "RATE=1\n" }, { "nas2", SPQ } }));
}

TEST(do_policy, goes_on_after_a_tree_or_bands_that_fail)
{
	small_office router;
	router.store("policy", policy("LAN1") + policy("LAN2", "spq") + policy("LAN3"));
	std::filesystem::create_directories(SCRIPTS + "nas1-2.root");
	std::filesystem::create_directories(SCRIPTS + "nas2-2.root");
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, texts(2, "Can't open class file"));
	EXPECT_EQ(all.scripts, (file_map{ { "nas1", HTB }, { "nas2", SPQ }, { "nas3", HTB },
					  { "nas3-2.root", "RATE=1\n" } }));
}

/* The policy store goes while the first policy is compiled. */
TEST(do_policy, compiles_a_policy_that_cannot_be_loaded_as_the_one_before_it)
{
	small_office router;
	router.store("policy",
		     policy("LAN1", "htb", "ROOT_CLASS=root\nR2Q=7\n") + policy("LAN2", "spq"));
	router.store("class", "[root]\nFILTER_ID[0]=f\n");
	router.store_filter({ "1.2.3.4" }, {}, {}, {});
	write_program(NAT_TEST, "rm -f " + STORES + "policy\n");
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, (texts{ "CFG handle error!!" }));
	EXPECT_EQ(all.scripts["nas2"], std::string(HTB) + "R2Q=7\n");
	EXPECT_EQ(all.scripts.count("nas2-2.root"), 1u);
}

TEST(do_policy, replaces_links_in_the_place_of_its_scripts)
{
	small_office router;
	router.store("policy", policy("LAN1") + policy("LAN2", "spq"));
	for (const char *name : { "nas1", "nas2", "nas1-2.root", "nas2-2.root" })
		std::filesystem::create_symlink("/dev/full", SCRIPTS + name);
	compiled all = compile(router);
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.told.err, "");
	EXPECT_EQ(all.scripts, (file_map{ { "nas1", HTB }, { "nas1-2.root", "RATE=1\n" },
					  { "nas2", SPQ }, { "nas2-2.root", "" } }));
}

/* Each would keep the run waiting for ever if it were opened as a file is. */
TEST(do_policy, takes_a_store_that_is_no_file_for_one_that_cannot_be_read)
{
	for (const char *what : NOT_FILES) {
		SCOPED_TRACE(what);
		small_office router;
		router.store("policy", policy("LAN1") + policy("LAN2", "spq"));
		router.store("class", "[root]\nFILTER_ID[0]=f\n");
		router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "0" });
		for (const char *kind : { "port", "ip", "filter", "basic", "class", "policy" }) {
			put_no_file(STORES + kind, what);
			without_hanging([&] {
				EXPECT_EQ(compile(router).result,
					  kind == std::string("policy") ? 0
					  : kind == std::string("basic") ||
						    kind == std::string("class") ? -1 : 1);
			});
		}
	}
}
