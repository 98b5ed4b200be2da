// SPDX-License-Identifier: MIT
#include "trees.h"

#include <netinet/in.h>

#include "witness.h"

static const char *const NETWORKS[] = {
	"0.0.0.0/0",         "192.168.0.0/16",  "192.168.1.0/24",  "192.168.1.64/26",
	"192.168.1.200/29",  "192.168.1.77/32", "203.0.113.0/24",  "203.0.113.10/31",
	"198.51.100.20/32",  "10.200.0.0/13",   "128.0.0.0/1",
};
static const char *const MASKED_PORTS[] = {
	"0/0x0", "0/0x0", "0/0x0", "80/0xffff", "443/0xffff", "5060/0xfffe", "1024/0xfc00",
	"16384/0xff80", "32768/0x8000",
};
static const char *const PORT_RANGES[] = {
	"0", "", "0", "80", "443", "5060-5061", "1024-2047", "0-79", "1-65535", "16384-16511",
};
static const char *const PROTOCOLS[] = { "", "tcp", "udp", "tcp", "udp" };
static const char *const PRECEDENCES[] = { "", "", "", "", "0", "5", "7" };

static std::string end_of(random_source &from, bool is_marked)
{
	return std::string(from.one_of(NETWORKS)) + ":" +
	       (is_marked ? from.one_of(PORT_RANGES) : from.one_of(MASKED_PORTS));
}

static std::string random_rules(random_source &from, unsigned most, unsigned *mark)
{
	std::string lines;
	for (unsigned left = from.below(most + 1); left > 0; left--) {
		bool is_marked = from.once_in(3);
		std::string rule = end_of(from, is_marked) + "," + end_of(from, is_marked) + ";" +
				   from.one_of(PROTOCOLS) + "." + from.one_of(PRECEDENCES) + "\n";
		std::string prio = "PRIORULE=" + std::to_string(1 + from.below(6)) + "\n";
		if (is_marked)
			lines += prio + "IPTRULE=" + rule + "MARK=" + std::to_string(++*mark) + "\n";
		else
			lines += "RULE=" + rule + prio;
	}
	return lines;
}

scripts random_tree(const std::string &device, random_source &from)
{
	scripts made = { { device, "QDISC=htb\nDEFAULT=1000\n" } };
	unsigned mark = 100 + from.below(100), minor = 10;
	const std::string rate = "RATE=900Mbps\n", name = device + "-2";
	made[name + ".root"] = "RATE=9000Mbps\n" + random_rules(from, 1, &mark);
	made[name + ":1000.rest"] = rate + random_rules(from, 2, &mark);
	for (unsigned i = 0; i < 8; i++, minor += 10) {
		std::string handle = ":" + std::to_string(minor);
		made[name + handle + ".leaf" + std::to_string(minor)] =
			rate + random_rules(from, 5, &mark);
		for (unsigned left = from.once_in(3) ? 2 : 0; left > 0; left--) {
			minor += 10;
			made[name + handle + ":" + std::to_string(minor) + ".leaf" +
			     std::to_string(minor)] = rate + random_rules(from, 5, &mark);
		}
	}
	return made;
}

scripts random_bands(const std::string &device, random_source &from)
{
	scripts made = { { device, "QDISC=spq\n" }, { device + "-2.root", "" } };
	unsigned mark = 1;
	for (int band = 1; band <= BANDS; band++) {
		made[device + "-2:" + std::to_string(band) + ".band" + std::to_string(band)] =
			random_rules(from, 8, &mark);
	}
	return made;
}

/* An address at the edges of the networks above, or anywhere in them. */
static uint32_t random_address(random_source &from)
{
	static const uint32_t near[] = { 0xc0a80100, 0xc0a8013f, 0xc0a80140, 0xc0a8017f, 0xc0a80180,
					 0xc0a801c7, 0xc0a801c8, 0xc0a801cf, 0xc0a801d0, 0xc0a8014d,
					 0xcb007109, 0xcb00710a, 0xcb00710b, 0xcb00710c, 0xc6336414,
					 0xc6336415, 0x0ac7ffff, 0x0ac80000, 0x0acfffff,
					 0x0ad00000 };
	if (!from.once_in(4))
		return from.one_of(near);
	static const uint32_t wide[] = { 0xc0a80000, 0x0ac80000, 0x01000000, 0x80000000 };
	return from.one_of(wide) | from.below(1 << 16);
}

static uint16_t random_port(random_source &from)
{
	static const uint16_t near[] = { 0, 1, 79, 80, 81, 443, 5059, 5060, 5061, 5062, 1023, 1024,
					 2047, 2048, 16383, 16384, 16511, 16512,
					 32767, 32768, 65535 };
	return from.once_in(6) ? static_cast<uint16_t>(from.below(65536)) : from.one_of(near);
}

packet random_packet(random_source &from)
{
	static const int protocols[] = { IPPROTO_TCP, IPPROTO_TCP, IPPROTO_TCP, IPPROTO_UDP,
					 IPPROTO_UDP, IPPROTO_UDP, IPPROTO_ICMP, 132 };
	static const unsigned services[] = { 0, 0, 8, 16, 0xa0, 0xb8, 0xe0, 0xff };
	packet it = {};
	it.source = random_address(from);
	it.destination = random_address(from);
	it.proto = from.one_of(protocols);
	it.source_port = random_port(from);
	it.destination_port = random_port(from);
	it.tos = from.once_in(4) ? from.below(256) : from.one_of(services);
	it.is_fragment = from.once_in(8);
	return it;
}

foretold::foretold(const scripts &set, const std::string &device)
{
	for (const auto &[name, text] : set)
		put_script(&texts, name.c_str(), text.data(), text.size());
	read_plan(&read, &texts);
	of = find_device(&read, device.c_str());
	EXPECT_TRUE(of && of->is_sound);
}

foretold::~foretold()
{
	free_plan(&read);
	free_scripts_read(&texts);
}

uint32_t foretold::class_of(const packet &it) const
{
	explanation said;
	explain_packet(&said, of, &it);
	free_list(&said.shadowed);
	if (of->kind == SPQ)
		return SPQ_MAJOR << 16 | static_cast<uint32_t>(said.band);
	return said.to ? HTB_MAJOR << 16 | said.to->minor : 0;
}

const node *foretold::find(uint32_t id) const
{
	for (const node &it : of->nodes) {
		if (of->kind == HTB && (HTB_MAJOR << 16 | it.minor) == id)
			return &it;
	}
	return nullptr;
}

bool foretold::has(uint32_t id) const
{
	return find(id) != nullptr;
}

bool foretold::is_inner(uint32_t id) const
{
	const node *it = find(id);
	return it && it->is_inner;
}

void expect_arrivals(const std::string &device, uint32_t id, const std::vector<packet> &sent)
{
	arrivals expected = { { id, sent.size() } };
	arrivals came = arrivals_of(device, sent);
	EXPECT_EQ(text_of_arrivals(came), text_of_arrivals(expected));
	if (came == expected || sent.size() == 1)
		return;
	for (const packet &it : sent) { // which of them?
		arrivals one = arrivals_of(device, { it });
		if (one != arrivals{ { id, 1 } }) {
			ADD_FAILURE() << text_of_packet(it) << ": foretold "
				      << text_of_arrivals({ { id, 1 } }) << ", came to "
				      << text_of_arrivals(one);
			return;
		}
	}
}

words explain_words(const std::string &device, const packet &it)
{
	std::string text = text_of_packet(it); // "udp A:P B:Q TOS"
	size_t first = text.find(' '), second = text.find(' ', first + 1),
	       third = text.find(' ', second + 1);
	words all = { "explain", "--json", "--device", device,
		      "--proto", text.substr(0, first),
		      "--src", text.substr(first + 1, second - first - 1),
		      "--dst", text.substr(second + 1, third - second - 1),
		      "--tos", std::to_string(it.tos) };
	if (it.is_fragment)
		all.push_back("--fragment");
	return all;
}
