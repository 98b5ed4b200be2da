// SPDX-License-Identifier: MIT
/* Where stores, scripts and kernel say different things. */
#include "../../ctl/diff.h"

#include "../../compiler/compiler.h"
#include "../support/router_files.h"

static const char *const POLICIES = "[LAN1]\nROOT_CLASS=root\nDEFAULT_CLASS=rest\nR2Q=10\nQDISC=htb\n"
				    "[LAN2]\nROOT_CLASS=bands\nQDISC=spq\n";
static const char *const CLASSES =
	"[root]\nRATE=10\nRATE_UNIT=Mbps\n"
	"[voice]\nPARENT_ID=root\nPRIO=8\nRATE=2\nRATE_UNIT=Mbps\nCEIL=4\nCEIL_UNIT=Mbps\n"
	"BURST=6\nBURST_UNIT=KB\nMTU=1500\nLEAF=sfq\nQUANTUM=1514\nPERTURB=10\nFILTER_ID[0]=f\n"
	"[web]\nPARENT_ID=root\nRATE=512\nRATE_UNIT=Kbps\nLEAF=pfifo\nLIMIT=30\n"
	"TIME_ENABLE[0]=enable\nSTART_HOUR[0]=08\nEND_HOUR[0]=08\nTIME_RATE[0]=1\n"
	"TIME_RATE_UNIT[0]=Mbps\nDOW00=0\nDOW10=1\nDOW20=2\nDOW30=3\nDOW40=4\nDOW50=5\nDOW60=6\n"
	"[rest]\nPARENT_ID=root\nRATE=1\nRATE_UNIT=Mbps\n";
static const char *const FILTERS = "[f]\nINT_IP_ID=src\nEXT_IP_ID=dst\nINT_PORT_ID=src\n"
				   "EXT_PORT_ID=dst\nTRANS_PROTO=udp\nPRIO=3\nTOS=5\n";
static const char *const ADDRESSES =
	"[src]\nIP_LIST[0]=192.168.1.1-6\nIP_LIST[1]=10.0.0.7\n[dst]\nIP_LIST[0]=0.0.0.0\n";
static const char *const PORTS = "[src]\nPORT_LIST[0]=0\nPORT_LIST[1]=5000-5003\n"
				 "[dst]\nPORT_LIST[0]=80\nPORT_LIST[1]=1024-2047\nPORT_LIST[2]=no port\n";
static const char *const BASICS = "[bands]\nHIGH=first\nLOW=last\n[first]\nFILTER_ID[0]=f\n";

namespace {

/* A router whose stores are compiled: two devices, one of whose source addresses is translated. */
struct compiled_router : fresh_router {
	compiled_router()
	{
		write_program("/usr/local/sbin/imish",
			      "set -f\nset -- $2\ncase $3 in\n"
			      "LAN1) echo 'DEVICE=\"eth0\"' ;;\nLAN2) echo 'DEVICE=\"hdlc0\"' ;;\n"
			      "esac > \"$5\"\n");
		write_program("/usr/local/sbin/qos_config/check_nat.sh",
			      "case $2 in 10.*) exit 1 ;; esac\nexit 0\n");
		write_file("/etc/autorun/nat_on", "");
		store("policy", POLICIES);
		store("class", CLASSES);
		store("basic", BASICS);
		store("filter", FILTERS);
		store("ip", ADDRESSES);
		store("port", PORTS);
		printed_by([] { EXPECT_EQ(do_policy(), 1); });
	}

	/* Changes the one place where a store says from. */
	void change(const std::string &kind, const std::string &from, const std::string &to)
	{
		std::string text = read_file(STORES + kind);
		size_t at = text.find(from);
		ASSERT_NE(at, std::string::npos) << from;
		store(kind, text.replace(at, from.size(), to));
	}
};

} // namespace

/* The answer to qosctl diff --root / --json. */
static std::string answer(int expected)
{
	options given = {};
	given.root = "";
	given.json = true;
	std::string out = printed_by([&] { EXPECT_EQ(run_diff(&given), expected); }).out;
	return out.substr(out.find("\"differences\":") + strlen("\"differences\":"));
}

static std::string row(const std::string &device, const std::string &id, const std::string &what,
		       const std::string &store, const std::string &scripts)
{
	return "{\"device\":" + device + ",\"id\":" + id + ",\"what\":\"" + what +
	       "\",\"store\":" + store + ",\"scripts\":" + scripts + ",\"kernel\":null}";
}

TEST(diff, stores_that_are_compiled_say_the_same_as_their_scripts)
{
	compiled_router router;
	EXPECT_EQ(answer(EXIT_DONE), "[]}\n");
	EXPECT_NE(read_file(SCRIPTS + "eth0-2:10.voice").find("MARK="), std::string::npos);
	EXPECT_NE(read_file(SCRIPTS + "eth0-2:10.voice").find("\nRULE="), std::string::npos);
}

TEST(diff, each_value_that_is_not_compiled_yet_is_told_once)
{
	static const struct {
		const char *kind, *from, *to, *id, *what, *store, *scripts;
	} CASES[] = {
		{ "class", "RATE=2\n", "RATE=3\n", "\"voice\"", "rate", "3000000", "2000000" },
		{ "class", "CEIL=4\n", "CEIL=5\n", "\"voice\"", "ceil", "5000000", "4000000" },
		{ "class", "BURST=6\n", "BURST=7\n", "\"voice\"", "burst", "7168", "6144" },
		{ "class", "BURST=6\nBURST_UNIT=KB\n", "", "\"voice\"", "burst", "null", "6144" },
		{ "class", "PRIO=8\n", "PRIO=7\n", "\"voice\"", "prio", "7", "8" },
		{ "class", "MTU=1500", "MTU=1400", "\"voice\"", "mtu", "1400", "1500" },
		{ "class", "PERTURB=10", "PERTURB=11", "\"voice\"", "leaf",
		  "\"sfq quantum 1514 perturb 11\"", "\"sfq quantum 1514 perturb 10\"" },
		{ "class", "LEAF=pfifo\nLIMIT=30\n", "", "\"web\"", "leaf", "null",
		  "\"pfifo limit 30\"" },
		{ "class", "[web]\nPARENT_ID=root", "[web]\nPARENT_ID=voice", "\"web\"", "parent",
		  "\"voice\"", "\"root\"" },
		{ "policy", "R2Q=10", "R2Q=20", "null", "r2q", "20", "10" },
		{ "policy", "DEFAULT_CLASS=rest", "DEFAULT_CLASS=web", "null", "default", "\"web\"",
		  "\"rest\"" },
	};
	for (const auto &it : CASES) {
		compiled_router router;
		router.change(it.kind, it.from, it.to);
		EXPECT_EQ(answer(EXIT_FINDINGS),
			  "[" + row("\"eth0\"", it.id, it.what, it.store, it.scripts) + "]}\n");
	}
}

/* A day that is days away: what holds at this hour stays the same. */
TEST(diff, a_day_that_is_not_compiled_yet_is_told_once)
{
	const time_t away = time(nullptr) + 3 * 24 * 3600;
	tm wall;
	ASSERT_NE(localtime_r(&away, &wall), nullptr);
	const std::string day = std::to_string(wall.tm_wday);
	std::string others = "0123456";
	others.erase(others.find(day), 1);
	compiled_router router;
	router.change("class", "DOW" + day + "0=" + day + "\n", "");
	EXPECT_EQ(answer(EXIT_FINDINGS),
		  "[" + row("\"eth0\"", "\"web\"", "schedule", "\"" + others +
			    "/08-08;1000000\"", "\"0123456/08-08;1000000\"") + "]}\n");
}

TEST(diff, a_class_is_missing_on_either_side)
{
	compiled_router router;
	router.change("class", "[web]\n", "[office]\n");
	EXPECT_EQ(answer(EXIT_FINDINGS),
		  "[" + row("\"eth0\"", "\"web\"", "class", "null", "true") + "," +
			  row("\"eth0\"", "\"office\"", "class", "true", "null") + "]}\n");
}

TEST(diff, a_class_below_no_policy_needs_no_script)
{
	compiled_router router;
	router.store("class", std::string(CLASSES) + "[orphan]\nRATE=1\n[child]\nPARENT_ID=orphan\n");
	EXPECT_EQ(answer(EXIT_DONE), "[]}\n");
}

TEST(diff, a_cycle_of_classes_ends)
{
	compiled_router router;
	router.store("class", std::string(CLASSES) + "[a]\nPARENT_ID=b\n[b]\nPARENT_ID=a\n");
	without_hanging([] { EXPECT_EQ(answer(EXIT_DONE), "[]}\n"); });
}

TEST(diff, policies_come_and_go)
{
	compiled_router router;
	router.store("policy", std::string(POLICIES) + "[LAN3]\nROOT_CLASS=elsewhere\nQDISC=htb\n");
	EXPECT_EQ(answer(EXIT_FINDINGS),
		  "[" + row("null", "\"LAN3\"", "policy", "true", "null") + "]}\n");
	router.store("policy", std::string(POLICIES).substr(0, std::string(POLICIES).find("[LAN2]")));
	EXPECT_EQ(answer(EXIT_FINDINGS),
		  "[" + row("\"hdlc0\"", "null", "discipline", "null", "\"spq\"") + "]}\n");
}

TEST(diff, a_band_goes_when_the_root_names_it_no_more)
{
	compiled_router router;
	router.change("basic", "LOW=last\n", "");
	EXPECT_EQ(answer(EXIT_FINDINGS),
		  "[" + row("\"hdlc0\"", "\"last\"", "class", "null", "true") + "]}\n");
}

TEST(diff, rules_differ_by_number_and_by_what_they_match)
{
	compiled_router router;
	router.change("port", "=1024-2047", "=1024-2048");
	std::string more = answer(EXIT_FINDINGS);
	EXPECT_NE(more.find("\"id\":\"voice\",\"what\":\"rules\",\"store\":"), std::string::npos);
	EXPECT_NE(more.find("\"id\":\"first\",\"what\":\"rules\",\"store\":"), std::string::npos);
	router.change("port", "=1024-2048", "=2048-4095");
	std::string other = answer(EXIT_FINDINGS);
	EXPECT_NE(other.find("\"id\":\"first\",\"what\":\"rule\",\"store\":"), std::string::npos);
	EXPECT_NE(other.find("2048/0xf800;udp.5 priority 3"), std::string::npos);
}

TEST(diff, stores_that_are_not_there_are_not_compared)
{
	compiled_router router;
	for (const char *kind : { "class", "basic" })
		router.remove_store(kind);
	EXPECT_EQ(answer(EXIT_DONE), "[]}\n");
}

TEST(diff, what_cannot_be_read_as_a_number_is_no_value)
{
	compiled_router router;
	router.change("class", "RATE=2\n", "RATE=two\n");
	EXPECT_NE(answer(EXIT_FINDINGS).find(row("\"eth0\"", "\"voice\"", "rate", "null", "2000000")),
		  std::string::npos);
}

TEST(diff, a_device_with_errors_is_a_failure_and_the_others_are_compared)
{
	compiled_router router;
	write_file(SCRIPTS + "hdlc0-2:1.first", "RATE=no rate\n");
	router.change("class", "RATE=2\n", "RATE=3\n");
	EXPECT_NE(answer(EXIT_FAILED).find(row("\"eth0\"", "\"voice\"", "rate", "3000000", "2000000")),
		  std::string::npos);
}

/* --- with the kernel --- */

namespace {

/* A device with what it shall run, and what runs: the same, until a test changes it. */
struct running_device {
	script_set set = {};
	plan it = {};
	tree shall = {}, runs = {};
	difference_list found = {};

	explicit running_device(const char *name)
	{
		EXPECT_TRUE(read_scripts(&set, SCRIPTS.c_str()));
		read_plan(&it, &set);
		time_t now = time(nullptr);
		make_tree(&shall, find_device(&it, name), now);
		make_tree(&runs, find_device(&it, name), now);
		device_of = find_device(&it, name);
	}
	~running_device()
	{
		free_differences(&found);
		free_tree(&runs);
		free_tree(&shall);
		free_plan(&it);
		free_scripts_read(&set);
	}
	running_device(const running_device &) = delete;
	running_device &operator=(const running_device &) = delete;

	tree_class *running(unsigned minor)
	{
		for (tree_class &each : runs.classes) {
			if (each.minor == minor)
				return &each;
		}
		return nullptr;
	}

	/* "WHAT ID" of each difference. */
	texts compare()
	{
		device_sides sides = {};
		sides.scripts = device_of;
		sides.runs = &runs;
		sides.shall = &shall;
		time_t now = time(nullptr);
		localtime_r(&now, &sides.wall);
		free_differences(&found);
		compare_device(&found, &sides);
		texts all;
		for (const difference &each : found)
			all.push_back(std::string(each.what) + " " + text(each.id));
		return all;
	}

	const device *device_of;
};

} // namespace

TEST(diff_kernel, what_runs_as_it_shall_is_no_difference)
{
	compiled_router router;
	for (const char *name : { "eth0", "hdlc0" }) {
		running_device on(name);
		EXPECT_EQ(on.compare(), texts{});
	}
}

TEST(diff_kernel, rates_are_the_same_when_their_whole_bytes_are)
{
	compiled_router router;
	running_device on("eth0");
	on.running(0x10)->at.rate += 7;
	EXPECT_EQ(on.compare(), texts{});
	on.running(0x10)->at.rate += 1;
	EXPECT_EQ(on.compare(), texts{ "rate voice" });
	EXPECT_EQ(on.found[0].by[IN_KERNEL].number, 2000000u + 8);
	EXPECT_EQ(on.found[0].by[IN_SCRIPTS].number, 2000000u);
}

TEST(diff_kernel, bursts_may_be_off_by_what_is_rounded_and_no_more)
{
	compiled_router router;
	running_device on("eth0");
	on.running(0x10)->at.burst -= 2;
	EXPECT_EQ(on.compare(), texts{});
	on.running(0x10)->at.burst -= 1;
	EXPECT_EQ(on.compare(), texts{ "burst voice" });
}

TEST(diff_kernel, each_thing_that_somebody_changed_is_told)
{
	compiled_router router;
	running_device on("eth0");
	on.running(0x10)->prio = 3;
	on.running(0x10)->below.perturb = 5;
	on.running(0x20)->parent = 0x10;
	on.runs.r2q = 99;
	on.runs.otherwise = 0x20;
	EXPECT_EQ(on.compare(), (texts{ "r2q ", "default ", "prio voice", "leaf voice", "parent web" }));
}

TEST(diff_kernel, a_priority_that_the_kernel_has_not_is_the_last_one)
{
	compiled_router router;
	running_device on("eth0");
	EXPECT_EQ(on.running(0x10)->prio, 7u); // of the script's 8
	EXPECT_EQ(on.compare(), texts{});
}

/* A class keeps the priority that it had before it got children. */
TEST(diff_kernel, the_priority_of_an_inner_class_is_no_difference)
{
	compiled_router router;
	running_device on("eth0");
	ASSERT_TRUE(on.running(0x2));
	on.running(0x2)->prio = 5;
	EXPECT_EQ(on.compare(), texts{});
}

TEST(diff_kernel, a_leaf_that_perturbs_nothing_is_one_without_perturb)
{
	compiled_router router;
	running_device on("eth0");
	leaf *shall = nullptr, *runs = &on.running(0x10)->below;
	for (tree_class &each : on.shall.classes) {
		if (each.minor == 0x10)
			shall = &each.below;
	}
	ASSERT_TRUE(shall);
	shall->has_perturb = false;
	runs->perturb = 0;
	EXPECT_EQ(on.compare(), texts{});
	shall->has_perturb = true;
	shall->perturb = 0;
	runs->has_perturb = false;
	EXPECT_EQ(on.compare(), texts{});
	runs->has_perturb = true;
	runs->perturb = 1;
	EXPECT_EQ(on.compare(), texts{ "leaf voice" });
}

TEST(diff_kernel, a_filter_that_is_none_of_ours_is_told_beside_other_differences)
{
	compiled_router router;
	for (const char *name : { "eth0", "hdlc0" }) {
		running_device on(name);
		tree_filter *added = add_item(&on.runs.filters);
		added->kind = FILTER_STRANGE;
		added->prio = 1;
		EXPECT_EQ(on.compare(), texts{ "filter " });
		EXPECT_STREQ(on.found[0].by[IN_KERNEL].words, "another filter 0 priority 1");
		added->kind = FILTER_U32;
		added->to = 0x77;
		on.runs.is_called = false;
		EXPECT_EQ(on.compare(), (texts{ "filter ", "chain " }));
	}
}

TEST(diff_kernel, classes_come_and_go)
{
	compiled_router router;
	running_device on("eth0");
	on.running(0x20)->minor = 0x77;
	EXPECT_EQ(on.compare(), (texts{ "class web", "class 1:77" }));
}

TEST(diff_kernel, filters_and_firewall_rules_are_counted)
{
	compiled_router router;
	running_device on("eth0");
	ASSERT_GT(on.runs.filters.count, 2u);
	on.runs.filters.count--;
	EXPECT_EQ(on.compare(), texts{ "rules voice" });
	EXPECT_EQ(on.found[0].by[IN_KERNEL].number + 1, on.found[0].by[IN_SCRIPTS].number);
	on.runs.filters.count++;
	on.runs.filters[0].prio += 2;
	EXPECT_EQ(on.compare(), texts{ "filter voice" });
	on.runs.filters[0].prio -= 2;
	on.runs.is_called = false;
	EXPECT_EQ(on.compare(), texts{ "chain " });
}

TEST(diff_kernel, a_device_that_runs_nothing_of_ours_is_told_as_a_whole)
{
	compiled_router router;
	running_device on("hdlc0");
	on.runs.is_there = false;
	EXPECT_EQ(on.compare(), texts{ "discipline " });
}
