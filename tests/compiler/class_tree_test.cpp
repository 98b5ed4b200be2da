// SPDX-License-Identifier: MIT
/* The walk through the tree of a policy's classes: handles, order, and what stops it. */
#include "compiler_files.h"

/* The sections of a class store: pairs of a class and its parent, none for a "". */
static std::string tree(const std::vector<std::pair<std::string, std::string>> &classes)
{
	std::string text;
	for (const auto &row : classes)
		text += "[" + row.first + "]\n" +
			(row.second.empty() ? "" : "PARENT_ID=" + row.second + "\n");
	return text;
}

/* The result of a walk and what it left. */
struct walked {
	int result;
	texts scripts;
	texts alerts;
	printed told;
};

/* Walks the store's tree from a root on the router's device. */
static walked walk(fresh_compiler &router, const std::string &store, std::string root,
		   const char *default_id = nullptr)
{
	router.store("class", store);
	g_class_count = 1;
	for (size_t at = 0; (at = store.find('[', at)) != std::string::npos; at++)
		g_class_count++;
	walked all;
	all.told = printed_by(
		[&] { all.result = do_class(router.device, &root[0], nullptr, 2, default_id); });
	all.scripts = router.script_names();
	all.alerts = alerts_in(all.told.out);
	return all;
}

TEST(do_class, gives_children_and_grandchildren_their_handles)
{
	fresh_compiler router;
	strcpy(router.device, "nas0");
	walked all =
		walk(router, tree({ { "R", "" }, { "A", "R" }, { "B", "R" }, { "C", "A" } }), "R");
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.scripts,
		  (texts{ "nas0-2.R", "nas0-2:10.A", "nas0-2:10:20.C", "nas0-2:30.B" }));
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.told.err, "");
	EXPECT_EQ(g_class_id, 30);
}

TEST(do_class, gives_a_root_that_is_the_default_class_the_handle_1000)
{
	fresh_compiler router;
	walked all = walk(router, tree({ { "R", "" }, { "A", "R" } }), "R", "R");
	EXPECT_EQ(all.scripts, (texts{ "nas_0-1000.R", "nas_0-1000:10.A" }));
}

TEST(do_class, advances_the_counter_for_a_default_class_too)
{
	fresh_compiler router;
	walked all = walk(router, tree({ { "R", "" }, { "D", "R" }, { "E", "R" }, { "F", "D" } }),
			  "R", "D");
	EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:1000.D", "nas_0-2:1000:20.F",
				       "nas_0-2:30.E" }));
	fresh_compiler empty;
	all = walk(empty, tree({ { "R", "" }, { "D", "R" }, { "E", "R" } }), "R", "D");
	EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:1000.D", "nas_0-2:20.E" }));
}

TEST(do_class, compares_the_default_class_exactly)
{
	for (const char *other : { "d", "D ", "DD", "" }) {
		fresh_compiler router;
		walked all = walk(router, tree({ { "R", "" }, { "D", "R" } }), "R", other);
		EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:10.D" }));
	}
}

TEST(do_class, gives_the_hundredth_class_the_number_of_the_default_class)
{
	fresh_compiler router;
	std::string store = tree({ { "R", "" } });
	for (int n = 1; n <= 101; n++)
		store += tree({ { "c" + std::to_string(n), "R" } });
	walked all = walk(router, store, "R", "c7");
	EXPECT_EQ(all.scripts.size(), 102u);
	for (const char *name : { "nas_0-2:10.c1", "nas_0-2:60.c6", "nas_0-2:1000.c7",
				  "nas_0-2:80.c8", "nas_0-2:990.c99", "nas_0-2:1000.c100",
				  "nas_0-2:1010.c101" })
		EXPECT_TRUE(has_file(SCRIPTS + name)) << name;
}

TEST(do_class, writes_a_device_with_a_slash_with_an_underline_and_leaves_it_as_it_was)
{
	fresh_compiler router;
	strcpy(router.device, "a/b/c");
	walked all = walk(router, tree({ { "R", "" }, { "A", "R" } }), "R");
	EXPECT_EQ(all.scripts, (texts{ "a_b_c-2.R", "a_b_c-2:10.A" }));
	EXPECT_STREQ(router.device, "a/b/c");
}

/* The classes in the order of their banners. */
static texts order_of(const std::string &out)
{
	const std::string start = "############  class id : ", end = " #############\n";
	texts ids;
	for (size_t at = 0; (at = out.find(start, at)) != std::string::npos;) {
		at += start.size();
		ids.push_back(out.substr(at, out.find(end, at) - at));
	}
	return ids;
}

TEST(do_class, goes_depth_first_in_the_order_of_the_store)
{
	fresh_compiler router;
	walked all = walk(router, tree({ { "C", "A" }, { "B", "R" }, { "E", "C" }, { "A", "R" },
					 { "R", "" }, { "D", "A" }, { "F", "B" } }), "R");
	EXPECT_EQ(order_of(all.told.out), (texts{ "R", "B", "F", "A", "C", "E", "D" }));
	EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:10.B", "nas_0-2:10:20.F",
				       "nas_0-2:30.A", "nas_0-2:30:40.C", "nas_0-2:30:40:50.E",
				       "nas_0-2:30:60.D" }));
}

TEST(do_class, writes_the_lines_of_each_class)
{
	fresh_compiler router;
	walk(router, "[R]\nRATE=10\nRATE_UNIT=Mbps\n[A]\nPARENT_ID=R\nRATE=1\nTIME_RATE[0]=2\n",
	     "R");
	EXPECT_EQ(router.scripts(), (file_map{ { "nas_0-2.R", "RATE=10Mbps\n" },
					       { "nas_0-2:10.A", "RATE=1\nTIME=/:00-:00;2\n" } }));
}

TEST(do_class, visits_only_what_hangs_below_the_root)
{
	fresh_compiler router;
	walked all = walk(router, tree({ { "R", "above" }, { "A", "R" }, { "B", "other" },
					 { "C", "" }, { "D", "r" }, { "E", "R " },
					 { "F", "B" } }), "R");
	EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:10.A" }));
}

TEST(do_class, visits_a_section_that_continues_once)
{
	fresh_compiler router;
	router.store("class", "[R]\n[A]\nRATE=1\n[B]\nPARENT_ID=R\n[A]\nPARENT_ID=R\n");
	g_class_count = 4;
	char root[] = "R";
	printed_by([&] { do_class(router.device, root, nullptr, 2, nullptr); });
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.R", "nas_0-2:10.A", "nas_0-2:20.B" }));
}

TEST(do_class, writes_an_empty_script_for_a_root_that_the_store_has_not)
{
	fresh_compiler router;
	walked all = walk(router, tree({ { "A", "R" }, { "B", "other" } }), "R");
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(router.scripts(), (file_map{ { "nas_0-2.R", "" }, { "nas_0-2:10.A", "" } }));
}

TEST(do_class, scans_as_many_sections_as_the_driver_counted)
{
	fresh_compiler router;
	router.store("class", tree({ { "R", "" }, { "A", "R" }, { "B", "R" } }));
	char root[] = "R";
	for (int count : { 0, 1, 2 }) {
		g_class_count = count;
		printed_by([&] { do_class(router.device, root, nullptr, 2, nullptr); });
		EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.R" })) << count;
	}
	g_class_count = 3;
	printed_by([&] { do_class(router.device, root, nullptr, 2, nullptr); });
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.R", "nas_0-2:10.A" }));
	g_class_count = 40; // more than there are
	printed_by([&] { do_class(router.device, root, nullptr, 2, nullptr); });
	EXPECT_EQ(router.script_names().size(), 3u);
}

TEST(do_class, starts_the_counter_anew_at_a_root_only)
{
	fresh_compiler router;
	router.store("class", tree({ { "R", "" }, { "A", "R" } }));
	g_class_count = 3;
	char root[] = "R";
	g_class_id = 500;
	printed_by([&] { EXPECT_EQ(do_class(router.device, root, "7", 5, nullptr), 1); });
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-7:5.R", "nas_0-7:5:510.A" }));
	printed_by([&] { EXPECT_EQ(do_class(router.device, root, nullptr, 3, nullptr), 1); });
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-3.R", "nas_0-3:10.A", "nas_0-7:5.R",
						 "nas_0-7:5:510.A" }));
}

TEST(do_class, reports_a_class_store_that_cannot_be_read)
{
	fresh_compiler router;
	char root[] = "R";
	int result = -1;
	printed told = printed_by(
		[&] { result = do_class(router.device, root, nullptr, 2, nullptr); });
	EXPECT_EQ(result, 0);
	EXPECT_EQ(alerts_in(told.out), (texts{ "Can't handle Class DB" }));
	EXPECT_EQ(router.script_names(), texts{});
	EXPECT_STREQ(router.device, "nas/0");
}

/* The store goes while the root's rules are written: its children are each reported. */
TEST(do_class, reports_each_child_whose_store_cannot_be_read)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, {}, {}, {});
	write_program(NAT_TEST, "rm -f " + STORES + "class\n");
	router.store("class",
		     "[R]\nFILTER_ID[0]=f\n" + tree({ { "A", "R" }, { "B", "R" }, { "C", "A" } }));
	g_class_count = 5;
	char root[] = "R";
	int result = -1;
	printed told = printed_by(
		[&] { result = do_class(router.device, root, nullptr, 2, nullptr); });
	EXPECT_EQ(result, 1);
	EXPECT_EQ(alerts_in(told.out), texts(2, "Can't handle Class DB"));
	EXPECT_EQ(router.script_names(), (texts{ "nas_0-2.R" }));
}

TEST(do_class, skips_the_classes_below_one_whose_script_cannot_be_created)
{
	fresh_compiler router;
	std::filesystem::create_directories(SCRIPTS + "nas_0-2:10.A");
	walked all =
		walk(router, tree({ { "R", "" }, { "A", "R" }, { "C", "A" }, { "B", "R" } }), "R");
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, (texts{ "Can't open class file" }));
	EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:20.B" }));
	EXPECT_STREQ(router.device, "nas/0");
}

TEST(do_class, fails_when_the_roots_script_cannot_be_created)
{
	fresh_compiler router;
	std::filesystem::create_directories(SCRIPTS + "nas_0-2.R");
	walked all = walk(router, tree({ { "R", "" }, { "A", "R" } }), "R");
	EXPECT_EQ(all.result, 0);
	EXPECT_EQ(all.alerts, (texts{ "Can't open class file" }));
	EXPECT_EQ(all.scripts, texts{});
	EXPECT_STREQ(router.device, "nas/0");
}

TEST(do_class, refuses_an_id_with_a_slash)
{
	fresh_compiler router;
	std::filesystem::create_directories(SCRIPTS + "nas_0-2:10.A");
	walked all = walk(router, tree({ { "R", "" }, { "A/x", "R" }, { "C", "A/x" },
					 { "/../../B", "R" }, { "D", "R" } }), "R");
	EXPECT_EQ(all.alerts, texts(2, "Can't open class file"));
	EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:30.D" }));
	EXPECT_TRUE(std::filesystem::is_empty(SCRIPTS + "nas_0-2:10.A"));
}

TEST(do_class, refuses_a_script_name_of_105_characters)
{
	fresh_compiler router;
	const std::string id(104 - strlen("nas_0-2:10."), 'i');
	walked all = walk(router, tree({ { "R", "" }, { id, "R" }, { id + "i", "R" },
					 { "below", id + "i" } }), "R");
	EXPECT_EQ(all.alerts, (texts{ "Can't open class file" }));
	EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:10." + id }));
}

/* 2:10:20 and so on to 2:10:...:170 has 60 characters; with :180 it would have 64. */
TEST(do_class, refuses_a_handle_of_64_characters)
{
	fresh_compiler router;
	std::string store = tree({ { "c0", "" } }), handle = "2";
	for (int n = 1; n <= 25; n++)
		store += tree({ { "c" + std::to_string(n), "c" + std::to_string(n - 1) } });
	walked all = walk(router, store, "c0");
	EXPECT_EQ(all.alerts, (texts{ "Can't open class file" }));
	EXPECT_EQ(all.scripts.size(), 18u);
	for (int n = 1; n <= 17; n++)
		handle += ":" + std::to_string(10 * n);
	EXPECT_EQ(handle.size(), 60u);
	EXPECT_TRUE(has_file(SCRIPTS + "nas_0-" + handle + ".c17"));
}

static const struct {
	std::vector<std::pair<std::string, std::string>> classes;
	texts scripts;
	const char *entered_twice;
} CYCLES[] = {
	{ { { "R", "R" } }, { "nas_0-2.R" }, "R" },
	{ { { "R", "A" }, { "A", "R" } }, { "nas_0-2.R", "nas_0-2:10.A" }, "R" },
	{ { { "R", "B" }, { "A", "R" }, { "B", "A" } },
	  { "nas_0-2.R", "nas_0-2:10.A", "nas_0-2:10:20.B" }, "R" },
	// a cycle that the root does not lead to
	{ { { "R", "" }, { "A", "B" }, { "B", "A" }, { "C", "C" } }, { "nas_0-2.R" }, nullptr },
};

TEST(do_class, enters_no_class_again_that_is_its_own_ancestor)
{
	for (const auto &row : CYCLES) {
		fresh_compiler router;
		walked all = walk(router, tree(row.classes), "R");
		EXPECT_EQ(all.result, 1);
		EXPECT_EQ(all.scripts, row.scripts);
		EXPECT_EQ(all.alerts, texts{});
		EXPECT_EQ(count_lines(all.told.err), row.entered_twice ? 1u : 0u) << all.told.err;
		if (row.entered_twice) {
			EXPECT_NE(all.told.err.find(row.entered_twice), std::string::npos);
		}
	}
}

TEST(do_class, goes_on_with_the_siblings_of_a_class_that_is_its_own_ancestor)
{
	fresh_compiler router;
	walked all = walk(router, tree({ { "R", "R" }, { "A", "R" }, { "B", "A" } }), "R");
	// the class that was found but not entered has used up a number
	EXPECT_EQ(all.scripts, (texts{ "nas_0-2.R", "nas_0-2:20.A", "nas_0-2:20:30.B" }));
}

/* The place of a script is lost while its rules are written. */
TEST(do_class, tells_of_a_script_that_cannot_be_put_in_its_place_and_goes_on)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "5.6.7.8" }, { "0" }, { "80" });
	write_program(NAT_TEST, "mkdir -p " + SCRIPTS + "nas_0-2.R\n");
	walked all = walk(router, "[R]\nFILTER_ID[0]=f\n[A]\nPARENT_ID=R\nRATE=2\n", "R");
	EXPECT_EQ(all.result, 1);
	EXPECT_EQ(all.alerts, texts{});
	EXPECT_EQ(all.told.err, "qos: " + SCRIPTS + "nas_0-2.R: not written: Is a directory\n");
	EXPECT_EQ(read_file(SCRIPTS + "nas_0-2:10.A"), "RATE=2\n");
}
