// SPDX-License-Identifier: MIT
/* Each packet in the class that was foretold: random ones, the edges, and what a router does to
 * packets on their way. */
#include <errno.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <string.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>

#include "../support/machine.h"
#include "../support/sender.h"
#include "../support/trees.h"
#include "../support/witness.h"

class packets : public router {
};

TEST_F(packets, ten_thousand_are_where_explain_says)
{
	const unsigned TREES = 5, EACH = 2000;
	for (unsigned seed = 1; seed <= TREES; seed++) {
		random_source from(seed);
		scripts set = seed % 5 == 0 ? random_bands("eth0", from)
					    : random_tree("eth0", from);
		lay(set);
		ASSERT_EQ(qosctl({ "apply" }).status, 0) << "seed " << seed;
		foretold told(set, "eth0");
		std::map<uint32_t, std::vector<packet>> groups;
		for (unsigned i = 0; i < EACH; i++) {
			packet it = random_packet(from);
			groups[told.class_of(it)].push_back(it);
		}
		EXPECT_GT(groups.size(), 2u) << "seed " << seed;
		for (const auto &[id, group] : groups)
			expect_arrivals("eth0", id, group);
		if (HasFailure())
			return;
	}
}

/* What the command says is what the packets of the case above were measured by. */
TEST_F(packets, explain_as_a_command_says_the_same)
{
	random_source from(77);
	scripts set = random_tree("eth0", from);
	lay(set);
	foretold told(set, "eth0");
	for (int i = 0; i < 40; i++) {
		packet it = random_packet(from);
		it.is_fragment = i % 8 == 0;
		if (it.proto != IPPROTO_TCP && it.proto != IPPROTO_UDP)
			continue;
		outcome said = qosctl(explain_words("eth0", it));
		uint32_t id = told.class_of(it);
		std::string classid = "\"classid\":\"" + (id ? id_text(id) : "direct") + "\"";
		EXPECT_NE(said.out.find(classid), std::string::npos)
			<< text_of_packet(it) << classid << said;
	}
}

const char ANY[] = "0.0.0.0/0:0/0x0";

static std::string rule_to(const std::string &destination, const std::string &rest, int prio)
{
	return std::string("RULE=") + ANY + "," + destination + ";" + rest +
	       " PRIORULE=" + std::to_string(prio);
}

static std::string arrivals_text(const std::string &sent, const frame_form &form = SMALL,
				 bool is_fragment = false)
{
	packet it = packet_of(sent);
	it.is_fragment = is_fragment;
	return text_of_arrivals(arrivals_of("eth0", { it }, form));
}

/* A RULE with a port looks where the ports stand, and only where they do. */
TEST_F(packets, ports_are_seen_where_they_stand)
{
	ASSERT_TRUE(applies(htb("eth0", { "2 root 100Mbps", "2:1000 rest 50Mbps",
			  "2:10 ports 10Mbps " + rule_to("0.0.0.0/0:23130/0xffff", ".", 1),
			  "2:20 udp 10Mbps " + rule_to("203.0.113.0/24:0/0x0", "udp.", 2) })));
	const frame_form options = { 64, true, false }, first = { 64, false, true };
	const std::string udp = "udp 192.168.1.5:9 203.0.113.10:23130 0"; // 0x5a5a, as in fragments
	EXPECT_EQ(arrivals_text(udp), "1:10 1");
	EXPECT_EQ(arrivals_text("tcp 192.168.1.5:9 198.51.100.1:23130 0"), "1:10 1");
	EXPECT_EQ(arrivals_text("132 192.168.1.5:9 198.51.100.1:23130 0"), "1:1000 1");
	EXPECT_EQ(arrivals_text(udp, SMALL, true), "1:20 1"); // a later fragment shows no ports
	EXPECT_EQ(arrivals_text(udp, first), "1:10 1");
	EXPECT_EQ(arrivals_text(udp, options), "1:20 1");
}

/* Fragments that the router makes itself are one packet to the firewall, and to u32 many. */
TEST_F(packets, a_packet_that_the_router_splits_is_marked_whole)
{
	ASSERT_TRUE(applies(htb("eth0", { "2 root 100Mbps", "2:1000 rest 50Mbps",
			  "2:10 marked 10Mbps PRIORULE=1 IPTRULE=0.0.0.0/0:0,0.0.0.0/0:5060;udp. "
			  "MARK=7",
			  "2:20 seen 10Mbps " + rule_to("0.0.0.0/0:5070/0xffff", "udp.", 2) })));
	ip_batch("link set inside mtu 4000\nlink set clients mtu 4000\n");
	const frame_form large = { 3000, false, false };
	clients all;
	arrivals before = arrivals_at("eth0");
	all.send(packet_of("udp 192.168.1.5:9 203.0.113.10:5060 0"), large);
	usleep(50000);
	arrivals between = arrivals_at("eth0");
	all.send(packet_of("udp 192.168.1.5:9 203.0.113.10:5070 0"), large);
	usleep(50000);
	EXPECT_EQ(text_of_arrivals(difference(before, between)), "1:10 3");
	EXPECT_EQ(text_of_arrivals(difference(between, arrivals_at("eth0"))), "1:20 1, 1:1000 2");
}

/* The source is another behind the translation, and the rule is for the one before it. */
TEST_F(packets, marks_are_set_before_the_source_is_translated)
{
	must({ "iptables", "-t", "nat", "-A", "POSTROUTING", "-o", "eth0", "-j", "SNAT",
	       "--to-source", "198.51.100.7" });
	ASSERT_TRUE(applies(htb("eth0", { "2 root 100Mbps", "2:1000 rest 50Mbps",
			  "2:10 phones 10Mbps PRIORULE=1 "
			  "IPTRULE=192.168.1.200/29:0,0.0.0.0/0:5060-5061;udp.5 "
			  "MARK=100",
			  "2:20 outside 10Mbps RULE=198.51.100.7/32:0/0x0,0.0.0.0/0:99/0xffff;udp. "
			  "PRIORULE=2" })));
	EXPECT_EQ(arrivals_text("udp 192.168.1.201:9 203.0.113.10:5061 160"), "1:10 1");
	EXPECT_EQ(arrivals_text("udp 192.168.1.208:9 203.0.113.10:5061 160"), "1:1000 1");
	EXPECT_EQ(arrivals_text("udp 192.168.1.201:9 203.0.113.10:99 160"), "1:20 1");
	run({ "iptables", "-t", "nat", "-F" });
}

/* What matches no rule of a strict-priority device goes by its TOS. */
TEST_F(packets, bands_without_a_rule_go_by_tos)
{
	const scripts set =
		spq("eth0", { "2:1 first " + rule_to("203.0.113.10/32:0/0x0", "udp.", 1) });
	ASSERT_TRUE(applies(set));
	const std::map<unsigned, std::string> bands = {
		{ 0x00, "2:2 1" }, { 0x10, "2:1 1" }, { 0x08, "2:3 1" },
		{ 0xb8, "2:2 1" }, // EF
		{ 0xc0, "2:2 1" }, // CS6
		{ 0x68, "2:3 1" }, { 0x88, "2:3 1" }, // AF31, AF41
	};
	for (const auto &[tos, band] : bands) {
		EXPECT_EQ(arrivals_text("udp 192.168.1.5:9 198.51.100.1:9 " + std::to_string(tos)),
			  band) << tos;
	}
	EXPECT_EQ(arrivals_text("udp 192.168.1.5:9 203.0.113.10:9 8"), "2:1 1");
	foretold told(set, "eth0");
	for (unsigned tos = 0; tos < 256; tos++) {
		packet it = packet_of("udp 192.168.1.5:9 198.51.100.1:9 " + std::to_string(tos));
		expect_arrivals("eth0", told.class_of(it), { it });
	}
}

/* The first rule of a chain counts, and the mark's upper bits are somebody else's. */
TEST_F(packets, marks_of_others_stay_and_count_nothing_here)
{
	must({ "iptables", "-t", "mangle", "-A", "PREROUTING", "-p", "tcp", "-j", "MARK",
	       "--set-xmark", "0xabcd0007/0xffffffff" });
	ASSERT_TRUE(applies(htb("eth0", { "2 root 100Mbps", "2:1000 rest 50Mbps",
			  "2:10 a 10Mbps PRIORULE=1 "
			  "IPTRULE=192.168.1.0/24:0,0.0.0.0/0:5060;. MARK=7 "
			  "PRIORULE=3 IPTRULE=192.168.1.5/32:0,0.0.0.0/0:0;udp. MARK=8",
			  "2:20 b 10Mbps PRIORULE=2 "
			  "IPTRULE=192.168.0.0/16:0,0.0.0.0/0:0;udp. MARK=9" })));
	must({ "iptables", "-t", "mangle", "-A", "POSTROUTING", "-m", "mark", "--mark",
	       "0xabcd0007/0xffffffff" }); // counts what leaves with that mark
	EXPECT_EQ(arrivals_text("tcp 192.168.1.5:9 203.0.113.10:5060 0"), "1:10 1");
	EXPECT_EQ(arrivals_text("udp 192.168.1.5:9 203.0.113.10:5060 0"), "1:10 1");
	EXPECT_EQ(arrivals_text("udp 192.168.1.5:9 203.0.113.10:53 0"), "1:20 1");
	EXPECT_EQ(arrivals_text("udp 10.1.1.1:9 203.0.113.10:53 0"), "1:1000 1");
	std::string counters = run({ "iptables", "-t", "mangle", "-nvxL", "POSTROUTING" }).out;
	EXPECT_NE(counters.find("mark match 0xabcd0007"), std::string::npos) << counters;
	// The tcp packet alone had it, and has it still behind the chain.
	size_t line = counters.rfind('\n', counters.find("mark match 0xabcd0007"));
	EXPECT_EQ(atoi(counters.c_str() + line + 1), 1) << counters;
	run({ "iptables", "-t", "mangle", "-F", "PREROUTING" });
}

/* A serial line, which sends only as fast as its other end is read: it stops the device. */
class serial_line {
public:
	serial_line()
	{
		run({ "modprobe", "slip" });
		end = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
		EXPECT_EQ(grantpt(end) + unlockpt(end), 0);
		line = open(ptsname(end), O_RDWR | O_NOCTTY | O_CLOEXEC);
		termios raw;
		tcgetattr(line, &raw);
		cfmakeraw(&raw);
		tcsetattr(line, TCSANOW, &raw);
		int discipline = N_SLIP;
		EXPECT_EQ(ioctl(line, TIOCSETD, &discipline), 0) << strerror(errno);
		char text[IFNAMSIZ] = "";
		EXPECT_EQ(ioctl(line, SIOCGIFNAME, text), 0) << strerror(errno);
		name = text; // it comes in the first network, whoever asks for it
		must({ "nsenter", "-t", "1", "-n", "ip", "link", "set", name, "netns",
		       std::to_string(getpid()) });
	}
	~serial_line()
	{
		close(line);
		close(end);
	}
	/* The destination ports of the packets as they come, until none does for a while. */
	std::vector<int> read_ports();
	std::string name;

private:
	int end, line;
};

std::vector<int> serial_line::read_ports()
{
	const unsigned char END = 0xc0, ESC = 0xdb, ESC_END = 0xdc;
	std::vector<int> ports;
	std::vector<unsigned char> frame;
	bool is_escaped = false;
	pollfd waiting = { end, POLLIN, 0 };
	while (poll(&waiting, 1, 500) > 0) {
		unsigned char bytes[4096];
		ssize_t got = read(end, bytes, sizeof(bytes));
		for (ssize_t i = 0; i < got; i++) {
			if (bytes[i] == END) {
				if (frame.size() >= 28)
					ports.push_back(frame[22] << 8 | frame[23]);
				frame.clear();
			} else if (bytes[i] == ESC) {
				is_escaped = true;
			} else {
				unsigned char meant = bytes[i] == ESC_END ? END : ESC;
				frame.push_back(is_escaped ? meant : bytes[i]);
				is_escaped = false;
			}
		}
	}
	return ports;
}

/* What is in a band waits until those before it are empty. */
TEST_F(packets, a_lower_band_goes_first_through_a_bottleneck)
{
	serial_line narrow;
	ip_batch("link set " + narrow.name + " up txqueuelen 5000\n"
		 "route add 203.0.113.0/24 dev " + narrow.name + "\n");
	lay(spq(narrow.name, { "2:1 first " + rule_to("0.0.0.0/0:1001/0xffff", "udp.", 1),
			       "2:2 second " + rule_to("0.0.0.0/0:1002/0xffff", "udp.", 1),
			       "2:3 third " + rule_to("0.0.0.0/0:1003/0xffff", "udp.", 1) }));
	outcome done = qosctl({ "apply" });
	ASSERT_EQ(done.status, 0) << done;
	const int EACH = 900;
	clients all;
	for (int i = 0; i < EACH; i++) {
		for (int port : { 1003, 1002, 1001 }) {
			all.send(packet_of("udp 192.168.1.5:9 203.0.113.10:" +
					   std::to_string(port) + " 0"), { 200, false, false });
		}
	}
	std::vector<int> ports = narrow.read_ports();
	ASSERT_EQ(ports.size(), 3u * EACH);
	// Some were on the line before it was full; all others come band by band.
	size_t waiting = ports.size();
	while (waiting > 1 && ports[waiting - 2] <= ports[waiting - 1])
		waiting--;
	EXPECT_LT(waiting, ports.size() / 2);
	ports.erase(ports.begin(), ports.begin() + static_cast<long>(waiting));
	for (int port : { 1001, 1002, 1003 })
		EXPECT_GT(std::count(ports.begin(), ports.end(), port), EACH / 3);
}
