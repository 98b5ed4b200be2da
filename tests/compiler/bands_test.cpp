// SPDX-License-Identifier: MIT
/* The scripts of a strict-priority policy: its root and three bands. */
#include "compiler_files.h"

/* Compiles a root of the basic store on the router's device, as the driver does. */
static compiled compile_bands(fresh_compiler &router, const std::string &store, std::string root,
			int level = 0, int major = 2)
{
	router.store("basic", store);
	g_basic_count = 1;
	for (size_t at = 0; (at = store.find('[', at)) != std::string::npos; at++)
		g_basic_count++;
	compiled all;
	all.told = printed_by([&] { all.result = do_spq(router.device, &root[0], level, major); });
	all.scripts = router.scripts();
	all.alerts = alerts_in(all.told.out);
	EXPECT_STREQ(router.device, "nas/0");
	return all;
}

static const char BANDS[] = "[11]\n[12]\n[13]\n[1]\nHIGH=13\nMIDDLE=12\nLOW=11\n";

TEST(do_spq, numbers_low_3_middle_2_high_1)
{
	fresh_compiler router;
	compiled all = compile_bands(router, BANDS, "1");
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.told.err, "");
	EXPECT_EQ(router.script_names(),
		  (texts{ "nas_0-2.1", "nas_0-2:1.13", "nas_0-2:2.12", "nas_0-2:3.11" }));
}

TEST(do_spq, writes_an_empty_root_for_a_store_without_objects)
{
	for (const char *store : { "", "# nothing\n", "LOW=11\n" }) {
		fresh_compiler router;
		compiled all = compile_bands(router, store, "1");
		EXPECT_EQ(all.result, 1);
		EXPECT_EQ(all.alerts, texts{});
		EXPECT_EQ(router.scripts(), (file_map{ { "nas_0-2.1", "" } }));
	}
}

TEST(do_spq, writes_root_and_band_1_for_a_root_with_only_a_high)
{
	fresh_compiler router;
	compile_bands(router, "[1]\nHIGH=13\n", "1");
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.1", "nas_0-2:1.13" }));
}

TEST(do_spq, writes_a_device_with_a_slash_with_an_underline_and_leaves_it_as_it_was)
{
	fresh_compiler router;
	compile_bands(router, BANDS, "1"); // expects the device unchanged
	for (const std::string &name : router.script_names())
		EXPECT_EQ(name.substr(0, 6), "nas_0-");
}

TEST(do_spq, overwrites_the_scripts_of_another_policy_on_the_same_device_and_root)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "80" });
	compile_bands(router, "[1]\nLOW=11\nFILTER_ID[0]=f\n", "1");
	EXPECT_NE(read_file(SCRIPTS + "nas_0-2.1"), "");
	compile_bands(router, "[1]\nLOW=11\n", "1");
	EXPECT_EQ(router.scripts(), (file_map{ { "nas_0-2.1", "" }, { "nas_0-2:3.11", "" } }));
}

TEST(do_spq, writes_the_rules_of_each_nodes_filters)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "80" },
			    "TRANS_PROTO=tcp\n[g]\nTRANS_PROTO=udp\nINT_IP_ID=src\nEXT_IP_ID=dst\n"
			    "INT_PORT_ID=src\nEXT_PORT_ID=dst\n");
	compile_bands(router, "[r]\nFILTER_ID[0]=f\nLOW=l\nHIGH=h\nRATE=1\nTIME_RATE[0]=1\n"
			"[l]\nFILTER_ID[0]=g\nFILTER_ID[1]=f\n[h]\nLEAF=pfifo\n", "r");
	const std::string rule = "RULE=1.2.3.4/32:0/0x0,5.6.7.8/32:80/0xffff;";
	EXPECT_EQ(router.scripts(),
		  (file_map{ { "nas_0-2.r", rule + "tcp.\nPRIORULE=100\n" },
			     { "nas_0-2:1.h", "" },
			     { "nas_0-2:3.l", rule + "udp.\nPRIORULE=100\n" +
						      rule + "tcp.\nPRIORULE=100\n" } }));
}

TEST(do_spq, follows_the_bands_of_the_root_only)
{
	fresh_compiler router;
	compile_bands(router,
		      "[1]\nLOW=11\n[11]\nLOW=21\nHIGH=22\n[2]\nMIDDLE=31\n[ 1]\nHIGH=41\n", "1");
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.1", "nas_0-2:3.11" }));
}

TEST(do_spq, writes_bands_that_the_store_has_not_and_one_without_a_name)
{
	fresh_compiler router;
	compiled all = compile_bands(router, "[1]\nLOW=absent\nMIDDLE=\nHIGH=1\n", "1");
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(router.script_names(),
		  (texts{ "nas_0-2.1", "nas_0-2:1.1", "nas_0-2:2.", "nas_0-2:3.absent" }));
}

TEST(do_spq, writes_the_root_alone_when_the_store_has_it_not)
{
	fresh_compiler router;
	compiled all = compile_bands(router, "[11]\nLOW=12\n", "1");
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(router.scripts(), (file_map{ { "nas_0-2.1", "" } }));
}

TEST(do_spq, scans_as_many_sections_as_the_driver_counted)
{
	fresh_compiler router;
	router.store("basic", BANDS); // the root is the last of four sections
	char root[] = "1";
	for (int count : { 0, 1, 4 }) {
		g_basic_count = count;
		printed_by([&] { EXPECT_EQ(do_spq(router.device, root, 0, 2), 1); });
		EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.1" })) << count;
	}
	g_basic_count = 40; // more than there are
	printed_by([&] { EXPECT_EQ(do_spq(router.device, root, 0, 2), 1); });
	EXPECT_EQ(router.script_names().size(), 4u);
}

TEST(do_spq, resets_its_counter_at_level_0_and_uses_the_major_number)
{
	fresh_compiler router;
	g_spq_id = 7;
	compile_bands(router, BANDS, "1", 1, 30);
	EXPECT_EQ(g_spq_id, 7);
	EXPECT_EQ(router.script_names(),
		  (texts{ "nas_0-30.1", "nas_0-30:1.13", "nas_0-30:2.12", "nas_0-30:3.11" }));
	compile_bands(router, BANDS, "1", 0, 2);
	EXPECT_EQ(g_spq_id, 0);
}

TEST(do_spq, reports_a_basic_store_that_cannot_be_read)
{
	fresh_compiler router;
	char root[] = "1";
	int result = -1;
	printed told = printed_by([&] { result = do_spq(router.device, root, 0, 2); });
	EXPECT_EQ(result, 0);
	EXPECT_EQ(alerts_in(told.out), (texts{ "Can't handle BASIC DB" }));
	EXPECT_EQ(router.script_names(), texts{});
	EXPECT_STREQ(router.device, "nas/0");
}

TEST(do_spq, stops_at_the_first_script_that_cannot_be_created)
{
	// low is written before middle, and middle before high
	const struct {
		const char *blocked;
		texts scripts;
	} cases[] = {
		{ "nas_0-2.1", {} },
		{ "nas_0-2:3.11", { "nas_0-2.1" } },
		{ "nas_0-2:2.12", { "nas_0-2.1", "nas_0-2:3.11" } },
		{ "nas_0-2:1.13", { "nas_0-2.1", "nas_0-2:2.12", "nas_0-2:3.11" } },
	};
	for (const auto &row : cases) {
		fresh_compiler router;
		std::filesystem::create_directories(SCRIPTS + row.blocked);
		compiled all = compile_bands(router, BANDS, "1");
		EXPECT_EQ(all.result, 0);
		EXPECT_EQ(all.alerts, (texts{ "Can't open class file" }));
		EXPECT_EQ(router.script_names(), row.scripts);
	}
}

TEST(do_spq, refuses_an_id_with_a_slash)
{
	fresh_compiler router;
	std::filesystem::create_directories(SCRIPTS + "nas_0-2:3.a");
	compiled all = compile_bands(router, "[1]\nLOW=a/b\nHIGH=13\n", "1");
	EXPECT_EQ(all.result, 0);
	EXPECT_EQ(all.alerts, (texts{ "Can't open class file" }));
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.1" }));
	EXPECT_TRUE(std::filesystem::is_empty(SCRIPTS + "nas_0-2:3.a"));
	all = compile_bands(router, "[x/y]\nHIGH=13\n", "x/y");
	EXPECT_EQ(all.result, 0);
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.1" }));
}

TEST(do_spq, refuses_a_script_name_of_128_characters)
{
	fresh_compiler router;
	const std::string root(127 - strlen("nas_0-2."), 'r');
	const std::string band(127 - strlen("nas_0-2:3."), 'b');
	compiled all = compile_bands(
		router, "[" + root + "]\nLOW=" + band + "\nMIDDLE=" + band + "b\n", root);
	EXPECT_EQ(all.result, 0);
	EXPECT_EQ(all.alerts, (texts{ "Can't open class file" }));
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-2." + root, "nas_0-2:3." + band }));
	fresh_compiler empty;
	all = compile_bands(empty, "", root + "r");
	EXPECT_EQ(all.result, 0);
	EXPECT_EQ(empty.script_names(), texts{});
}

/* The place of a script is lost while its rules are written. */
TEST(do_spq, tells_of_a_script_that_cannot_be_put_in_its_place_and_goes_on)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "80" });
	write_program(NAT_TEST, "mkdir -p " + SCRIPTS + "nas_0-2:3.11\n");
	compiled all = compile_bands(router,
			       "[1]\nLOW=11\nHIGH=13\n[11]\nFILTER_ID[0]=f\nFILTER_ID[1]=f\n", "1");
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.told.err, "qos: " + SCRIPTS + "nas_0-2:3.11: not written: Is a directory\n");
	EXPECT_TRUE(has_file(SCRIPTS + "nas_0-2:1.13"));
}
