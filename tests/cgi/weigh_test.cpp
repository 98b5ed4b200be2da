// SPDX-License-Identifier: MIT
/* What a form means, and what of it would be read otherwise. */
#include "../../cgi/weigh.h"
#include "../../web/web.h"

#include <regex>

#include "../support/request.h"

/* An office: a line with three classes, and what they name. */
static const char POLICIES[] = "[LAN1]\nROOT_CLASS=line\nDEFAULT_CLASS=rest\nBANDWIDTH=20\n"
			       "BANDWIDTH_UNIT=Mbps\nR2Q=10\nQDISC=htb\n"
			       "[LAN5]\nROOT_CLASS=shop\nQDISC=spq\n";
static const char CLASSES[] =
	"[line]\nRATE=19\nRATE_UNIT=Mbps\nCEIL=19\nCEIL_UNIT=Mbps\n"
	"[voice]\nPARENT_ID=line\nPRIO=1\nRATE=2\nRATE_UNIT=Mbps\nCEIL=4\nCEIL_UNIT=Mbps\n"
	"FILTER_ID[0]=sip\n"
	"[guests]\nPARENT_ID=line\nPRIO=6\nRATE=3\nRATE_UNIT=Mbps\nCEIL=8\nCEIL_UNIT=Mbps\n"
	"TIME_ENABLE[0]=enable\nSTART_HOUR[0]=18\nEND_HOUR[0]=22\nTIME_RATE[0]=6\n"
	"TIME_RATE_UNIT[0]=Mbps\nDOW10=1\n"
	"[rest]\nPARENT_ID=line\nPRIO=6\nRATE=1\nRATE_UNIT=Mbps\nCEIL=15\nCEIL_UNIT=Mbps\n"
	"[below]\nPARENT_ID=staff\nRATE=1\nRATE_UNIT=Mbps\n"
	"[staff]\nPARENT_ID=line\nRATE=5\nRATE_UNIT=Mbps\nCEIL=19\nCEIL_UNIT=Mbps\n";
static const char FILTERS[] =
	"[sip]\nNET_PROTO=IP\nTRANS_PROTO=udp\nPRIO=1\nINT_IP_ID=phones\nEXT_IP_ID=provider\n"
	"INT_PORT_ID=any-port\nEXT_PORT_ID=sip\nTOS=5\nUSE=use\n"
	"[web]\nNET_PROTO=IP\nTRANS_PROTO=tcp\nPRIO=3\nINT_IP_ID=staff\nEXT_IP_ID=anywhere\n"
	"INT_PORT_ID=any-port\nEXT_PORT_ID=web\nUSE=unuse\n";
static const char PORTS[] = "[any-port]\nPORT_LIST[0]=0\n[sip]\nPORT_LIST[0]=5060-5061\n"
			    "[web]\nPORT_LIST[0]=80\nPORT_LIST[1]=443\n[none]\n";
static const char ADDRESSES[] = "[anywhere]\nIP_LIST[0]=0.0.0.0\n[phones]\n"
				"IP_LIST[0]=192.168.1.200-219\n[provider]\n"
				"IP_LIST[0]=203.0.113.10-11\n[staff]\nIP_LIST[0]=192.168.1.32-127\n";
static const char BANDS[] = "[shop]\nLOW=files\nMIDDLE=desk\nHIGH=plc\n[files]\n[desk]\n"
			    "[plc]\nFILTER_ID[0]=sip\n";

class weighing_router : public fresh_router {
public:
	weighing_router()
	{
		store("policy", POLICIES);
		store("class", CLASSES);
		store("filter", FILTERS);
		store("port", PORTS);
		store("ip", ADDRESSES);
		store("basic", BANDS);
	}
};

static std::string weigh(object_kind kind, const std::string &fields)
{
	return answer_to(post(fields), [kind] { return answer_weigh(kind); }).out;
}

static std::string member_of(const std::string &json, const std::string &name)
{
	std::string rest = text_from(json, "\"" + name + "\":");
	return rest.substr(0, rest.find('\n'));
}

/* The strings in a text of JSON. */
static texts strings_in(const std::string &json)
{
	static const std::regex STRING("\"((?:[^\"\\\\]|\\\\.)*)\"");
	texts all;
	for (std::sregex_iterator it(json.begin(), json.end(), STRING), end; it != end; ++it)
		all.push_back(std::regex_replace((*it)[1].str(), std::regex("\\\\u0027"), "'"));
	return all;
}

static texts means_of(const std::string &json)
{
	texts all = strings_in(member_of(json, "means"));
	all.erase(all.begin());
	return all;
}

/* "ceil 0 error: TEXT", a line a note, and " > LABEL" for each remedy. */
static texts notes_of(const std::string &json)
{
	static const std::regex NOTE("\\{\"field\":\"([^\"]*)\",\"n\":([0-9]+),\"severity\":\"([a-z]+)\","
				     "\"text\":\"([^\"]*)\",\"remedies\":\\[(.*)\\]\\}");
	static const std::regex LABEL("\"label\":\"([^\"]*)\"");
	texts all;
	for (size_t at = 0; (at = json.find("\n{\"field\"", at)) != std::string::npos; at++) {
		std::string line = json.substr(at + 1, json.find('\n', at + 1) - at - 1);
		std::smatch found;
		if (!std::regex_search(line, found, NOTE)) {
			ADD_FAILURE() << line;
			continue;
		}
		std::string made = found[1].str() + " " + found[2].str() + " " + found[3].str() +
				   ": " + found[4].str();
		std::string remedies = found[5];
		for (std::sregex_iterator it(remedies.begin(), remedies.end(), LABEL), end;
		     it != end; ++it)
			made += " > " + (*it)[1].str();
		all.push_back(std::regex_replace(made, std::regex("\\\\u0027"), "'"));
	}
	return all;
}

struct weighed_form {
	object_kind kind;
	const char *fields;
	texts means, notes;
};

static void expect_all(const weighed_form *rows, size_t count)
{
	weighing_router router;
	for (size_t i = 0; i < count; i++) {
		std::string json = weigh(rows[i].kind, rows[i].fields);
		EXPECT_EQ(means_of(json), rows[i].means) << rows[i].fields;
		EXPECT_EQ(notes_of(json), rows[i].notes) << rows[i].fields;
	}
}

template <size_t count> static void expect_all(const weighed_form (&rows)[count])
{
	expect_all(rows, count);
}

#define CLASS_BASE "id=voice&parent_id=line&rate_unit=Mbps&ceil_unit=Mbps&"

TEST(weigh, a_class_is_said_in_a_sentence)
{
	const weighed_form rows[] = {
		{ CLASS, CLASS_BASE "rate=2&ceil=4&filter_id=sip",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s).",
		    "Takes udp from phones to provider, ports 5060-5061, precedence 5." }, {} },
		{ CLASS, CLASS_BASE "rate=2&ceil=19",
		  { "At least 2 Mbit/s, at most what line has (19)." }, {} },
		{ CLASS, CLASS_BASE "rate=2&ceil=",
		  { "2 Mbit/s and never more, of what line has (19 Mbit/s)." }, {} },
		{ CLASS, "id=voice&parent_id=line&rate=512&rate_unit=Kbps&ceil=4&ceil_unit=Mbps",
		  { "At least 512 kbit/s, at most 4 Mbit/s, of what line has (19 Mbit/s)." }, {} },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=12345&start_hour=08&"
			 "end_hour=18&time_rate=512&time_rate_unit=Kbps",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s).",
		    "Monday to Friday 8 to 18: at least 512 kbit/s." }, {} },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=56&start_hour=22&"
			 "end_hour=06&time_rate=1&time_rate_unit=Mbps&time_ceil=3&"
			 "time_ceil_unit=Mbps",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s).",
		    "Friday, Saturday 22 to 6 of the next day: at least 1 Mbit/s, at most "
		    "3 Mbit/s." }, {} },
		{ CLASS, "id=rest&parent_id=line&rate=1&rate_unit=Mbps&ceil=15&ceil_unit=Mbps",
		  { "At least 1 Mbit/s, at most 15, of what line has (19 Mbit/s).",
		    "Takes what no filter takes on WAN1 (LAN1)." }, {} },
		{ CLASS, "id=line&rate=19&rate_unit=Mbps",
		  { "19 Mbit/s and never more.", "All of WAN1 (LAN1) goes through it." }, {} },
	};
	expect_all(rows);
}

#define RATE_MEAN "2 Mbit/s and never more, of what line has (19 Mbit/s)."

TEST(weigh, who_goes_first_of_siblings_is_said)
{
	const weighed_form rows[] = {
		{ CLASS, CLASS_BASE "rate=2&prio=1", { RATE_MEAN, "Priority 1 goes first." }, {} },
		{ CLASS, CLASS_BASE "rate=2&prio=7", { RATE_MEAN, "Priority 7 goes last." }, {} },
		{ CLASS, CLASS_BASE "rate=2&prio=6", { RATE_MEAN }, {} },
		{ CLASS, "id=new&new=1&parent_id=line&rate=2&rate_unit=Mbps&prio=1",
		  { RATE_MEAN, "Priority 1 goes first, with voice." }, {} },
		{ CLASS, "id=new&new=1&parent_id=line&rate=2&rate_unit=Mbps&prio=3",
		  { RATE_MEAN, "Priority 3 goes after voice." }, {} },
		{ CLASS, "id=new&new=1&parent_id=line&rate=2&rate_unit=Mbps&prio=6",
		  { RATE_MEAN, "Priority 6 goes last, with guests and 1 more." }, {} },
		{ CLASS, "id=staff&parent_id=line&rate=5&rate_unit=Mbps&prio=3",
		  { "5 Mbit/s and never more, of what line has (19 Mbit/s)." }, {} },
	};
	expect_all(rows);
}

TEST(weigh, figures_that_contradict_each_other_are_told_and_not_said)
{
	const weighed_form rows[] = {
		{ CLASS, CLASS_BASE "rate=2&ceil=1&filter_id=sip",
		  { "Takes udp from phones to provider, ports 5060-5061, precedence 5." },
		  { "ceil 0 error: The ceil of 1 Mbit/s is below the rate of 2 Mbit/s: a class "
		    "cannot be held under what it is promised. > Use 2 Mbit/s as the ceil > Use "
		    "1 Mbit/s as the rate" } },
		{ CLASS, CLASS_BASE "rate=2&ceil=1&time_enable=enable&days=1&start_hour=08&"
			 "end_hour=18&time_rate=512&time_rate_unit=Kbps",
		  { "Monday 8 to 18: at least 512 kbit/s." },
		  { "ceil 0 error: The ceil of 1 Mbit/s is below the rate of 2 Mbit/s: a class "
		    "cannot be held under what it is promised. > Use 2 Mbit/s as the ceil > Use "
		    "1 Mbit/s as the rate" } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=1&start_hour=08&"
			 "end_hour=18&time_rate=512&time_rate_unit=Kbps&time_ceil=256&"
			 "time_ceil_unit=Kbps",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s)." },
		  { "time_ceil 0 error: The ceil of 256 kbit/s is below the rate of 512 kbit/s. > "
		    "Use 512 kbit/s as the ceil > Use 256 kbit/s as the rate" } },
		{ CLASS, CLASS_BASE "rate=x2&ceil=4", {},
		  { "rate 0 error: Rate holds no number: allowed is a number of 1 to 10 "
		    "digits, or nothing." } },
		{ CLASS, CLASS_BASE "rate=2&ceil=-4", {},
		  { "ceil 0 error: Ceil holds no number: allowed is a number of 1 to 10 "
		    "digits, or nothing." } },
	};
	expect_all(rows);
}

TEST(weigh, figures_that_the_kernel_does_not_take_are_asked_about)
{
	const weighed_form rows[] = {
		{ CLASS, CLASS_BASE "rate=&ceil=4", {},
		  { "rate 0 question: Without a rate the device of this class is not configured: "
		    "every class needs one." } },
		{ CLASS, CLASS_BASE "rate=0&ceil=", {},
		  { "rate 0 question: The kernel takes no rate of 0: the device of this class would "
		    "not be configured." } },
		{ CLASS, "id=voice&parent_id=line&prio=9&rate=2&rate_unit=Mbps&ceil=0&"
			 "ceil_unit=Mbps",
		  { "2 Mbit/s and never more, of what line has (19 Mbit/s).",
		    "Priority 7 goes last." },
		  { "ceil 0 question: A ceil of 0 cannot be: leave it empty for no more than the "
		    "rate. > Leave the ceil empty",
		    "prio 0 question: The kernel has no priority after 7, and takes 9 as 7. > "
		    "Use 7" } },
		{ CLASS, CLASS_BASE "rate=2&ceil=30",
		  { "At least 2 Mbit/s, at most what line has (19)." },
		  { "ceil 0 question: line has at most 19 Mbit/s itself, so 30 Mbit/s is never "
		    "reached. > Use 19 Mbit/s" } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&burst=1&burst_unit=KB",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s)." },
		  { "burst 0 question: 1 KB is less than one packet of 1500 bytes: the class would "
		    "not reach its rate. > Use 15 KB > Leave it empty" } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&mtu=600&burst=1&burst_unit=KB",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s)." }, {} },
		{ CLASS, CLASS_BASE "rate=12&ceil=",
		  { "12 Mbit/s and never more, of what line has (19 Mbit/s)." },
		  { "rate 0 question: The classes below line would be promised 24 Mbit/s together "
		    "on Monday at 18, and it has 19 Mbit/s: 7 Mbit/s is left for this one. > Use "
		    "7 Mbit/s as the rate" } },
		{ CLASS, "id=slow&new=1&parent_id=line&rate=64&rate_unit=Kbps",
		  { "64 kbit/s and never more, of what line has (19 Mbit/s)." },
		  { "rate 0 question: With R2Q 10 of WAN1 (LAN1) it would send 800 bytes at a turn; "
		    "the kernel takes 1000 to 200000. An R2Q of 1 on the page of WAN1 (LAN1) suits "
		    "this class." } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&leaf=pfifo&limit=0",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s)." },
		  { "limit 0 question: A queue of 0 would take no packet at all." } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&leaf=sfq&quantum=1048577&perturb=2147483",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s)." },
		  { "quantum 0 question: The kernel takes at most 1048576 here." } },
		{ CLASS, "id=lone&rate=7&rate_unit=bps", { "7 bit/s and never more." },
		  { "parent_id 0 question: Without a parent it shapes nothing, until a policy has it "
		    "as its root class.", "rate 0 question: The kernel takes no rate under 8 "
		    "bit/s." } },
	};
	expect_all(rows);
}

TEST(weigh, the_place_of_a_class_is_looked_at)
{
	const weighed_form rows[] = {
		{ CLASS, "id=new&new=1&parent_id=&rate=1&rate_unit=Mbps",
		  { "1 Mbit/s and never more." },
		  { "parent_id 0 question: Without a parent it shapes nothing, until a policy has "
		    "it as its root class." } },
		{ CLASS, "id=voice&parent_id=voice&rate=1&rate_unit=Mbps",
		  { "1 Mbit/s and never more." },
		  { "parent_id 0 error: A class cannot stand below itself." } },
		{ CLASS, "id=staff&parent_id=below&rate=1&rate_unit=Mbps",
		  { "1 Mbit/s and never more, of what below has (1 Mbit/s)." },
		  { "parent_id 0 error: below stands below this class itself: both would be in no "
		    "tree." } },
		{ CLASS, "id=new&new=1&parent_id=gone&rate=1&rate_unit=Mbps",
		  { "1 Mbit/s and never more." },
		  { "parent_id 0 question: There is no class gone: until there is, this one shapes "
		    "nothing." } },
		{ CLASS, "id=new&new=1&parent_id=voice&rate=1&rate_unit=Mbps",
		  { "1 Mbit/s and never more, of what voice has (4 Mbit/s)." },
		  { "parent_id 0 question: voice takes filters itself. With a class below it these "
		    "are left out: give them to classes below it." } },
		{ CLASS, "id=new&new=1&parent_id=rest&rate=1&rate_unit=Mbps",
		  { "1 Mbit/s and never more, of what rest has (15 Mbit/s)." },
		  { "parent_id 0 question: rest takes what no filter takes on WAN1 (LAN1). With a "
		    "class below it that is not shaped at all: choose another Default Class." } },
		{ CLASS, "id=staff&parent_id=line&rate=5&rate_unit=Mbps&leaf=sfq&filter_id=sip",
		  { "5 Mbit/s and never more, of what line has (19 Mbit/s).",
		    "Takes udp from phones to provider, ports 5060-5061, precedence 5." },
		  { "leaf 0 question: It has classes below it, and only the last ones have a queue: "
		    "the kernel drops this one. > Use none",
		    "filter_id 0 question: It has classes below it, and only the last ones take "
		    "packets: give the filters to one of those." } },
		{ CLASS, "id=staff&parent_id=line&rate=500&rate_unit=Kbps",
		  { "500 kbit/s and never more, of what line has (19 Mbit/s)." },
		  { "rate 0 question: The classes below it are promised 1 Mbit/s together, and it "
		    "has 500 kbit/s. > Use 1 Mbit/s as the rate",
		    "rate 0 question: below below it has a ceil of 1 Mbit/s, which is never reached "
		    "then." } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&filter_id=sip&filter_id=gone",
		  { "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s).",
		    "Takes udp from phones to provider, ports 5060-5061, precedence 5." },
		  { "filter_id 1 question: There is no filter gone: until there is, it takes "
		    "nothing." } },
		{ CLASS, "id=voice&new=1&parent_id=line&rate=2&rate_unit=Mbps",
		  { "2 Mbit/s and never more, of what line has (19 Mbit/s)." },
		  { "id 0 error: Duplicated ID: there is a voice already. > Use voice-2 instead" } },
	};
	expect_all(rows);
}

#define SLOTS_BASE CLASS_BASE "rate=2&ceil=4&time_enable=enable&time_enable=enable&"
#define SLOTS_MEAN "At least 2 Mbit/s, at most 4, of what line has (19 Mbit/s)."

TEST(weigh, schedules_are_looked_at_hour_by_hour)
{
	const weighed_form rows[] = {
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=&start_hour=08&"
			 "end_hour=18&time_rate=",
		  { SLOTS_MEAN },
		  { "days 0 error: It has no day: choose the days on which it shall hold, or "
		    "switch it off.",
		    "time_rate 0 error: A schedule needs a rate." } },
		{ CLASS, SLOTS_BASE "days=12&days=23&start_hour=08&start_hour=12&end_hour=18&"
			 "end_hour=20&time_rate=1&time_rate=2&time_rate_unit=Mbps&"
			 "time_rate_unit=Mbps",
		  { SLOTS_MEAN, "Monday, Tuesday 8 to 18: at least 1 Mbit/s.",
		    "Tuesday, Wednesday 12 to 20: at least 2 Mbit/s." },
		  { "start_hour 1 question: Schedule 1 holds in 6 of these hours too, as on Tuesday "
		    "at 12, and goes first." } },
		{ CLASS, SLOTS_BASE "days=5&days=6&start_hour=22&start_hour=02&end_hour=06&"
			 "end_hour=04&time_rate=1&time_rate=2&time_rate_unit=Mbps&"
			 "time_rate_unit=Mbps",
		  { SLOTS_MEAN, "Friday 22 to 6 of the next day: at least 1 Mbit/s.",
		    "Saturday 2 to 4: at least 2 Mbit/s." },
		  { "start_hour 1 question: It never holds: earlier schedules have all its hours, "
		    "and go first." } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=0123456&start_hour=08&"
			 "end_hour=08&time_rate=5&time_rate_unit=Mbps",
		  { SLOTS_MEAN, "Every day all day: at least 5 Mbit/s, never more." },
		  { "end_hour 0 question: From 08 to 08 is the whole day, midnight to midnight.",
		    "time_ceil 0 question: The class's ceil of 4 Mbit/s is below this rate, and "
		    "becomes 5 Mbit/s while the schedule holds." } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=1&start_hour=18&"
			 "end_hour=00&time_rate=9&time_rate_unit=Mbps&time_ceil=20&"
			 "time_ceil_unit=Mbps",
		  { SLOTS_MEAN, "Monday 18 to 24: at least 9 Mbit/s, at most 20 Mbit/s." },
		  { "time_ceil 0 question: line has at most 19 Mbit/s itself, so 20 Mbit/s is never "
		    "reached. > Use 19 Mbit/s",
		    "time_rate 0 question: The classes below line would be promised 21 Mbit/s "
		    "together on Monday at 18, and it has 19 Mbit/s: 7 Mbit/s is left for this "
		    "one. > Use 7 Mbit/s as the rate" } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=1&start_hour=18&"
			 "end_hour=00&time_rate=7&time_rate_unit=bps",
		  { SLOTS_MEAN, "Monday 18 to 24: at least 7 bit/s." },
		  { "time_rate 0 question: The kernel takes no rate under 8 bit/s." } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=1&start_hour=18&"
			 "end_hour=00&time_rate=0&time_rate_unit=bps",
		  { SLOTS_MEAN }, { "time_rate 0 question: The kernel takes no rate of 0." } },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=1&start_hour=18&"
			 "end_hour=00&time_rate=8&time_rate_unit=bps",
		  { SLOTS_MEAN, "Monday 18 to 24: at least 8 bit/s." }, {} },
		{ CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=1&start_hour=18&"
			 "end_hour=00&time_rate=z",
		  { SLOTS_MEAN },
		  { "time_rate 0 error: Rate of Schedule 1 holds no number: allowed is a "
		    "number of 1 to 10 digits, or nothing." } },
	};
	expect_all(rows);
}

#define FILTER_BASE "trans_proto=udp&int_port_id=any-port&ext_port_id=sip&tos=5&"

TEST(weigh, a_filter_is_said_and_its_lists_are_looked_for)
{
	const weighed_form rows[] = {
		{ FILTER, FILTER_BASE "id=sip&prio=1&int_ip_id=phones&ext_ip_id=provider",
		  { "Takes udp from phones to provider, ports 5060-5061, precedence 5.",
		    "3 rules in each class that names it." }, {} },
		{ FILTER, FILTER_BASE "id=x&new=1&prio=1&int_ip_id=phones&ext_ip_id=",
		  { "Takes nothing yet." },
		  { "ext_ip_id 0 question: Without all four lists it takes nothing, or by those of "
		    "the filter before it in its class. Missing: To. > Take any for what is "
		    "missing" } },
		{ FILTER, FILTER_BASE "id=x&new=1&prio=1&int_ip_id=phones&ext_ip_id=gone",
		  { "Takes udp from phones to nothing (the list gone is not there), ports "
		    "5060-5061, precedence 5." },
		  { "ext_ip_id 0 question: There is no address list gone: until there is, the "
		    "filter takes nothing." } },
		{ FILTER, "id=x&new=1&trans_proto=udp&int_port_id=none&ext_port_id=sip&"
			  "int_ip_id=phones&ext_ip_id=anywhere",
		  { "Takes udp from phones ports nothing (the list none is empty) to anywhere, "
		    "ports 5060-5061." },
		  { "int_port_id 0 question: The list none is empty, so the filter takes "
		    "nothing." } },
	};
	expect_all(rows);
}

/* 5 is the precedence of another filter, 1 the stored one's own. */
TEST(weigh, a_priority_is_refused_as_an_update_refuses_it)
{
	weighing_router router;
	const std::string lists = "int_ip_id=staff&ext_ip_id=anywhere&int_port_id=any-port&"
				  "ext_port_id=web&trans_proto=tcp&";
	for (const char *taken : { "1", "5" }) {
		std::string note = std::string("prio 0 error: Duplicated priority: ") + taken +
				   " stands in a filter already, and a change to it is refused. > "
				   "Use 2 > Keep 3 > Use 4 > Use 6 > Use 7 > Use 8 > Use 9";
		EXPECT_EQ(notes_of(weigh(FILTER, lists + "id=web&prio=" + taken)), texts { note });
	}
	for (const char *free_fields : { "id=web&prio=3", "id=web&prio=4", "id=new&new=1&prio=1",
					 "id=web&prio=1&changed=tos" })
		EXPECT_EQ(notes_of(weigh(FILTER, lists + free_fields)), texts {}) << free_fields;
}

/* The same asked of the update itself, for every filter and every priority. */
TEST(weigh, a_priority_that_it_takes_an_update_takes)
{
	weighing_router router;
	int refusals = 0;
	for (const char *id : { "sip", "web" }) {
		for (int prio = 1; prio <= 9; prio++) {
			std::string fields = std::string("id=") + id + "&trans_proto=tcp&prio=" +
					     std::to_string(prio);
			router.store("filter", FILTERS);
			std::string json = weigh(FILTER, fields);
			texts alerts = alerts_in(answer_to(post(fields), filter_update).out);
			bool is_refused = alerts == texts { "Duplicated priority" };
			EXPECT_EQ(json.find("Duplicated priority") != std::string::npos, is_refused)
				<< fields;
			refusals += is_refused;
		}
	}
	EXPECT_EQ(refusals, 4);
}

TEST(weigh, lists_are_said_with_what_they_cost)
{
	const weighed_form rows[] = {
		{ IP, "id=staff&ip_list=192.168.1.32-127&ip_list=192.168.1.150",
		  { "192.168.1.32-127, 192.168.1.150.",
		    "3 rules for a filter that names it; with the filter's other lists: web 6 "
		    "rules." }, {} },
		{ IP, "id=staff&ip_list=192.168.1.0/24",
		  { "any address.", "1 rule for a filter that names it; with the filter's other "
				    "lists: web 2 rules." },
		  { "ip_list 0 question: The router takes 192.168.1.0/24 as any address: a last "
		    "number of 0 stands for all there are. Addresses that end in .0 cannot be named "
		    "and are left out. Then the filters that name the list are: web 28 rules. > Use "
		    "192.168.1.1-254 instead (14 rules) > Use 192.168.1.1-255 instead (8 rules, "
		    "with the broadcast address)" } },
		{ IP, "id=x&new=1&ip_list=10.0.4.7/22",
		  { "10.0.4.7/22 (read as 10.0.4.7).", "1 rule for a filter that names it." },
		  { "ip_list 0 question: The router takes 10.0.4.7/22 as the one host 10.0.4.7: it "
		    "does not look at a prefix length. Addresses that end in .0 cannot be named and "
		    "are left out. > Use 10.0.4.1-255, ... 10.0.7.1-255 instead (32 rules)" } },
		{ IP, "id=x&new=1&ip_list=10.0.0.0/16",
		  { "any address.", "1 rule for a filter that names it." },
		  { "ip_list 0 question: The router takes 10.0.0.0/16 as any address: a last number "
		    "of 0 stands for all there are. The ranges that it means would be 256 entries, "
		    "and the list has room for 17: name what of it is in use." } },
		{ IP, "id=x&new=1&ip_list=10.0.0.0/32",
		  { "any address.", "1 rule for a filter that names it." },
		  { "ip_list 0 question: The router takes 10.0.0.0/32 as any address: a last number "
		    "of 0 stands for all there are. No entry can name an address that ends in "
		    ".0." } },
		{ IP, "id=x&new=1&ip_list=0.0.0.0&ip_list=10.0.0.7",
		  { "any address, 10.0.0.7.", "2 rules for a filter that names it." },
		  { "ip_list 0 question: 0.0.0.0 means any address, so the other entries add "
		    "nothing but rules. > Keep 0.0.0.0 alone" } },
		{ IP, "id=x&new=1", { "No entry yet: a filter that names the list takes nothing." },
		  {} },
		{ IP, "id=x&new=1&ip_list=zz&ip_list=10.0.0.0-9",
		  { "any address.", "1 rule for a filter that names it." },
		  { "ip_list 0 error: Entries holds no address: allowed is an address "
		    "(192.168.1.10), one with a prefix length (192.168.1.0/24), or an ascending "
		    "range of its last number (192.168.1.10-20).",
		    "ip_list 1 question: The router takes 10.0.0.0-9 as any address: a last number "
		    "of 0 stands for all there are. Addresses that end in .0 cannot be named and "
		    "are left out. > Use 10.0.0.1-9 instead (4 rules)" } },
		{ PORT, "id=web&port_list=80&port_list=443",
		  { "80, 443.", "2 rules for a filter that names it; with the filter's other lists: "
				"web 4 rules." }, {} },
		{ PORT, "id=x&new=1&port_list=0-1023",
		  { "any port.", "1 rule for a filter that names it." },
		  { "port_list 0 question: A low end of 0 means any port, so 0-1023 takes them all. "
		    "> Use 1-1023 instead (10 rules)" } },
		{ PORT, "id=x&new=1&port_list=0",
		  { "any port.", "1 rule for a filter that names it." }, {} },
	};
	expect_all(rows);
}

TEST(weigh, a_remedy_sets_the_whole_list)
{
	weighing_router router;
	std::string json = weigh(IP, "id=x&new=1&ip_list=10.9.9.9&ip_list=10.0.4.0/23&"
				     "ip_list=10.8.8.8");
	EXPECT_NE(json.find("\"values\":{\"ip_list\":[\"10.9.9.9\",\"10.0.4.1-255\","
			    "\"10.0.5.1-255\",\"10.8.8.8\"]}"),
		  std::string::npos) << json;
}

TEST(weigh, a_policy_is_said_and_its_classes_are_looked_for)
{
	const texts said = { "Shapes what leaves by WAN1 (LAN1): 19 Mbit/s of the line's 20 Mbit/s, "
			     "shared out below line.", "rest takes what no filter takes." };
	const weighed_form rows[] = {
		{ POLICY, "id=LAN1&root_class=line&default_class=rest&r2q=10", said, {} },
		{ POLICY, "id=LAN1&root_class=line&default_class=rest&r2q=0", said,
		  { "r2q 0 question: An R2Q of 0 cannot be: the kernel divides by it. > Leave R2Q "
		    "empty" } },
		{ POLICY, "id=LAN1&root_class=line&default_class=rest&r2q=1000", said,
		  { "r2q 0 question: With R2Q 1000 voice and 3 more would send less than 1000 or "
		    "more than 200000 bytes at a turn, which the kernel does not take. > Use 6" } },
		{ POLICY, "id=LAN1&root_class=&default_class=", { "Nothing is shaped on WAN1 (LAN1) "
								  "yet." },
		  { "root_class 0 question: Without a root class nothing is shaped here.",
		    "default_class 0 question: Without a default class, what no filter takes is not "
		    "shaped at all." } },
		{ POLICY, "id=LAN1&root_class=line&default_class=staff",
		  { said[0], "staff takes what no filter takes." },
		  { "default_class 0 question: staff has classes below it: what no filter takes is "
		    "not shaped at all." } },
		{ POLICY, "id=LAN5&root_class=shop",
		  { "What leaves by SERIAL (LAN5) is sent in the strict order of the bands of "
		    "shop." }, {} },
		{ POLICY, "id=LAN5&root_class=line", {},
		  { "root_class 0 question: There is no root line among the bands." } },
		{ BASIC, "id=plc&filter_id=sip",
		  { "Takes udp from phones to provider, ports 5060-5061, precedence 5." }, {} },
	};
	expect_all(rows);
}

TEST(weigh, texts_of_the_tables_and_the_bar_go_along)
{
	weighing_router router;
	std::string json = weigh(CLASS, CLASS_BASE "rate=2&ceil=4&time_enable=enable&days=12345&"
						   "start_hour=08&end_hour=18&time_rate=512&"
						   "time_rate_unit=Kbps");
	EXPECT_EQ(member_of(json, "slots"),
		  "\"slots\":[\"Mon to Fri 8 to 18: 512 kbit/s to 4 Mbit/s\",\"off\",\"off\"],");
	EXPECT_EQ(member_of(json, "bar"),
		  "\"bar\":{\"rate\":10,\"ceil\":21,\"of\":\"line, 19 Mbit/s\"},");
	EXPECT_EQ(member_of(weigh(FILTER, "id=x"), "bar"), "\"bar\":null,");
}

TEST(weigh, hostile_posts_are_refused_or_answered_soundly)
{
	weighing_router router;
	file_map before;
	for (const char *kind : { "class", "filter", "ip", "port", "policy" })
		before[kind] = read_file(STORES + kind);
	const std::string many(3000, 'x');
	for (const std::string &fields :
	     { std::string(""), std::string("id="), std::string("id=%3Cscript%3E&rate=%22%5C%3Cb"),
	       "id=" + many + "&rate=" + many, std::string("id=a&rate=%FF%FE&ceil=%0A&leaf='"),
	       std::string("id=voice&parent_id=..%2F..%2Fetc&filter_id=%3C%2Fscript%3E") }) {
		for (int kind = 0; kind < KINDS_COUNT; kind++) {
			std::string json = text_from(weigh(static_cast<object_kind>(kind), fields),
						     "\r\n\r\n");
			ASSERT_NE(json, "");
			EXPECT_EQ(json.find('<'), std::string::npos) << json;
			EXPECT_EQ(json.find('\''), std::string::npos) << json;
			EXPECT_EQ(json.substr(json.size() - 3), "]}\n") << json;
		}
	}
	std::string entries;
	for (int i = 0; i < 18; i++)
		entries += "ip_list=10.0.0.1&";
	EXPECT_NE(weigh(IP, entries).find("Status: 400"), std::string::npos);
	EXPECT_NE(weigh(CLASS, "id=x&time_enable=enable&days=9").find("Status: 400"),
		  std::string::npos);
	for (const auto &store : before)
		EXPECT_EQ(read_file(STORES + store.first), store.second) << store.first;
	EXPECT_FALSE(has_file(STORES + ".history"));
}

TEST(weigh, stores_that_cannot_be_read_are_taken_for_empty)
{
	fresh_router router;
	EXPECT_EQ(means_of(weigh(CLASS, "id=x&new=1&rate=2&rate_unit=Mbps")),
		  texts { "2 Mbit/s and never more." });
	EXPECT_EQ(means_of(weigh(POLICY, "id=LAN1&root_class=line")),
		  texts { "Nothing is shaped on WAN1 (LAN1) yet." });
}
