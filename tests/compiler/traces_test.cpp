// SPDX-License-Identifier: MIT
/* The traces of every step: which, how many and where, and that each is flushed at once, so that
 * whoever follows a compile sees how far it is. */
#include "compiler_files.h"

typedef std::vector<std::string> pieces;

static ssize_t keep_piece(void *to, const char *text, size_t size)
{
	static_cast<pieces *>(to)->emplace_back(text, size);
	return static_cast<ssize_t>(size);
}

/* What body() prints, in the pieces that leave the buffer of standard output, which is large. */
template <typename block> static pieces flushed_by(block body)
{
	pieces all;
	cookie_io_functions_t keep = {};
	keep.write = keep_piece;
	fflush(stdout);
	FILE *old = stdout;
	stdout = fopencookie(&all, "w", keep);
	static char buffer[1 << 20];
	setvbuf(stdout, buffer, _IOFBF, sizeof(buffer));
	body();
	fclose(stdout);
	stdout = old;
	return all;
}

/* The name in the trace that ends a piece; "" when none does. */
static std::string trace_at_end(const std::string &piece)
{
	const std::string tail = "]<br>\n", middle = "[line=";
	size_t at = piece.rfind(middle);
	if (at == std::string::npos || piece.size() < tail.size() ||
	    piece.compare(piece.size() - tail.size(), tail.size(), tail) != 0)
		return "";
	std::string number = piece.substr(at + middle.size(),
					  piece.size() - tail.size() - at - middle.size());
	EXPECT_EQ(number.find_first_not_of("0123456789"), std::string::npos) << piece;
	EXPECT_GT(atoi(number.c_str()), 0) << piece;
	size_t start = at;
	while (start > 0 && strchr("abcdefghijklmnopqrstuvwxyz_", piece[start - 1]))
		start--;
	return piece.substr(start, at - start);
}

/* The names of the traces of body() in their order, "name(3)" for three on end, and between them
 * those of marks that the text before a trace holds. */
template <typename block> static std::string traces_of(block body, const texts &marks = {})
{
	texts names;
	std::vector<int> counts;
	auto add = [&](const std::string &name) {
		if (!names.empty() && names.back() == name) {
			counts.back()++;
			return;
		}
		names.push_back(name);
		counts.push_back(1);
	};
	for (const std::string &piece : flushed_by(body)) {
		EXPECT_EQ(piece.find("[line="), piece.rfind("[line=")) << "not flushed: " << piece;
		for (const std::string &mark : marks) {
			if (piece.find(mark) != std::string::npos)
				add(mark);
		}
		std::string name = trace_at_end(piece);
		if (!name.empty())
			add(name);
	}
	std::string all;
	for (size_t i = 0; i < names.size(); i++)
		all += (i ? " " : "") + names[i] +
		       (counts[i] > 1 ? "(" + std::to_string(counts[i]) + ")" : "");
	return all;
}

/* A script to write to, and to forget. */
class no_script {
public:
	FILE *stream = fopen("/dev/null", "w");
	~no_script()
	{
		fclose(stream);
	}
};

static const char LOADED[] = "bbbbbbbbbbb f"; // printed by the loader of filter f

static std::string traces_of_rules(texts filters)
{
	class_rec rec = {};
	for (size_t n = 0; n < filters.size(); n++)
		*get_filter_slot(&rec, static_cast<int>(n)) = &filters[n][0];
	no_script script;
	return traces_of([&] { do_rule(script.stream, rec); }, { LOADED });
}

/* What do_rule prints of its one filter: at its start; after loading; for each source, destination,
 * source port and destination port; after each of these; at its end. */
TEST(do_rule, traces_each_source_destination_and_pair_of_ports)
{
	fresh_compiler router;
	EXPECT_EQ(traces_of_rules({}), "do_rule(2)");
	const std::string start = "do_rule bbbbbbbbbbb f do_rule";
	router.translate("exit 1\n");
	router.store_filter({ "1.2.3.4" }, { "1.2.3.5" }, { "80" }, { "90" });
	EXPECT_EQ(traces_of_rules({ "f" }), start + "(7)"); // 1 + 1 + 1 + 1 + 2 + the end
	router.store_filter({ "1.2.3.4", "1.2.3.5" }, { "1.2.3.5" }, { "80", "81" }, { "90", "91" });
	// 1 + 2 sources of (1 + 1 destination of (1 + 2 ports of (1 + 2 ports of 2))) + the end
	EXPECT_EQ(traces_of_rules({ "f" }), start + "(26)");
	router.store_filter({ "1.2.3.4" }, { "1.2.3.5" }, {}, { "90" });
	EXPECT_EQ(traces_of_rules({ "f", "f" }), "do_rule bbbbbbbbbbb f do_rule(3) "
						 "bbbbbbbbbbb f do_rule(4)");
}

/* A rule that is no NAT rule has two more, around its lines. */
TEST(do_rule, traces_the_lines_of_a_plain_rule)
{
	fresh_compiler router;
	router.store_filter({ "1.2.3.4" }, { "1.2.3.5" }, { "80" }, { "90" });
	EXPECT_EQ(traces_of_rules({ "f" }), "do_rule bbbbbbbbbbb f do_rule(9)");
	router.store_filter({ "1.2.3.4" }, { "1.2.3.5" }, { "80" }, { "no port" });
	EXPECT_EQ(traces_of_rules({ "f" }), "do_rule bbbbbbbbbbb f do_rule(7)");
}

TEST(do_time, traces_the_burst_and_the_ceiling_only)
{
	char value[] = "1", empty[] = "";
	class_rec rec = {};
	no_script script;
	auto traces = [&] { return traces_of([&] { do_time(script.stream, rec); }); };
	EXPECT_EQ(traces(), "");
	rec.time_rate[0] = rec.time_cburst[0] = value;
	rec.time_burst[0] = empty;
	EXPECT_EQ(traces(), "");
	rec.time_burst[0] = value;
	EXPECT_EQ(traces(), "do_time");
	rec.time_ceil[0] = value;
	EXPECT_EQ(traces(), "do_time(2)");
	rec.time_rate[1] = rec.time_ceil[1] = value;
	EXPECT_EQ(traces(), "do_time(3)");
}

/* Around its loader, before the rules and before the schedule. */
static const std::string CLASS_LINES = "write_class(3) do_rule(2) write_class";
static const std::string BAND_LINES =
	"write_class get_basic_by_id(10) write_class(2) do_rule(2) write_class";

TEST(write_class, traces_its_loader_its_rules_and_its_schedule)
{
	fresh_compiler router;
	router.store("class", "[a]\nTIME_RATE[0]=1\nTIME_CEIL[0]=1\n");
	router.store("basic", "[a]\n");
	char id[] = "a";
	no_script script;
	auto traces = [&](int is_class) {
		return traces_of([&] { write_class(script.stream, id, is_class); }, { "alert" });
	};
	EXPECT_EQ(traces(1), CLASS_LINES + " do_time");
	EXPECT_EQ(traces(0), BAND_LINES);
	router.remove_store("class");
	EXPECT_EQ(traces(1), "write_class alert write_class(2) do_rule(2) write_class");
}

static const char BANNER[] = "####  class id : "; // stands before the lines of a class

static std::string traces_of_tree(fresh_compiler &router)
{
	char root[] = "root";
	return traces_of([&] { do_class(router.device, root, nullptr, 2, nullptr); },
			 { BANNER, "alert" });
}

TEST(do_class, traces_its_store_its_script_each_child_and_its_end)
{
	fresh_compiler router;
	const std::string lines = std::string(" ") + BANNER + " " + CLASS_LINES + " do_class";
	router.store("class", "[root]\n");
	g_class_count = 2;
	EXPECT_EQ(traces_of_tree(router), "do_class(3)" + lines + "(2)");
	router.store("class", "[root]\n[a]\nPARENT_ID=root\n[b]\nPARENT_ID=root\n");
	g_class_count = 4;
	// the last of its script and the child's place; a child has its own three and two
	EXPECT_EQ(traces_of_tree(router), "do_class(3)" + lines + "(5)" + lines + "(6)" + lines +
						  "(3)");
	put_no_file(SCRIPTS + "nas_0-2.root", "folder");
	EXPECT_EQ(traces_of_tree(router), "do_class(2) alert do_class");
	router.remove_store("class");
	EXPECT_EQ(traces_of_tree(router), "do_class alert");
}

static std::string traces_of_bands(fresh_compiler &router)
{
	char root[] = "root";
	return traces_of([&] { do_spq(router.device, root, 0, 2); });
}

TEST(do_spq, traces_each_script_each_place_of_the_store_and_its_root)
{
	fresh_compiler router;
	router.store("basic", "");
	g_basic_count = 1;
	const std::string lines = "do_spq " + BAND_LINES + " do_spq";
	EXPECT_EQ(traces_of_bands(router), lines);
	router.store("basic", "[x]\n[root]\nHIGH=a\nLOW=b\n[y]\n");
	g_basic_count = 4;
	// two for each place, around each of two bands one, and one behind the bands
	EXPECT_EQ(traces_of_bands(router), lines + "(6) " + BAND_LINES + " do_spq(2) " +
						   BAND_LINES + " do_spq(4)");
	router.remove_store("basic");
	EXPECT_EQ(traces_of_bands(router), "");
}

static const char FOUND[] = "DEV Result : ";

static std::string traces_of_driver()
{
	return traces_of([] { do_policy(); }, { FOUND });
}

/* The driver's own traces up to the first of a step that it calls. */
static std::string until_first_step(const std::string &traces)
{
	return traces.substr(0, std::min(traces.find(" do_class"), traces.find(" do_spq")));
}

TEST(do_policy, traces_the_store_each_device_and_each_policy)
{
	small_office router;
	EXPECT_EQ(traces_of_driver(), "do_policy"); // no store
	router.store("policy", "");
	EXPECT_EQ(traces_of_driver(), "do_policy(4)"); // no policy
	const std::string resolved = std::string("do_policy(2) ") + FOUND + " do_policy";
	router.store("policy", policy("none"));
	EXPECT_EQ(traces_of_driver(), resolved + "(4)"); // no device
	router.store("policy", policy("LAN1", "htb", ""));
	EXPECT_EQ(traces_of_driver(), resolved + "(5)"); // no root class
	router.store("policy", policy("LAN1", nullptr));
	EXPECT_EQ(traces_of_driver(), resolved + "(6)"); // no discipline
	for (const char *qdisc : { "htb", "spq" }) {
		router.store("policy", policy("LAN1", qdisc));
		std::string all = traces_of_driver();
		EXPECT_EQ(until_first_step(all), resolved + "(7)") << all;
		EXPECT_EQ(all.substr(all.rfind(' ') + 1), "do_policy");
	}
	router.store("policy", policy("LAN1") + policy("LAN2"));
	EXPECT_EQ(until_first_step(traces_of_driver()),
		  resolved + " " + FOUND + " do_policy(7)");
	router.remove_store("class");
	EXPECT_EQ(traces_of_driver(), resolved + " " + FOUND + " do_policy(7)");
}

TEST(do_policy, traces_between_two_policies)
{
	small_office router;
	router.store("policy", policy("LAN1") + policy("LAN2", "spq"));
	std::string all = traces_of_driver();
	const std::string between = "do_class(2) do_policy(5) do_spq";
	EXPECT_NE(all.find(between), std::string::npos) << all;
}
