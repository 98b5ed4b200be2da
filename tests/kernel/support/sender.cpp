// SPDX-License-Identifier: MIT
#include "sender.h"

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <sched.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <set>
#include <sstream>

#include "machine.h"
#include "witness.h"

clients::clients()
{
	socket = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
	sockaddr_ll address = {};
	address.sll_family = AF_PACKET;
	address.sll_protocol = htons(ETHERTYPE_IP);
	address.sll_ifindex = static_cast<int>(if_nametoindex("clients"));
	EXPECT_EQ(bind(socket, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0)
		<< strerror(errno);
}

clients::~clients()
{
	close(socket);
}

static uint16_t get_checksum(const unsigned char *bytes, size_t size)
{
	uint32_t sum = 0;
	for (size_t i = 0; i < size; i += 2)
		sum += static_cast<uint32_t>(bytes[i] << 8 | bytes[i + 1]);
	while (sum >> 16)
		sum = (sum & 0xffff) + (sum >> 16);
	return htons(static_cast<uint16_t>(~sum));
}

static void put_number(unsigned char *at, unsigned value)
{
	at[0] = static_cast<unsigned char>(value >> 8);
	at[1] = static_cast<unsigned char>(value);
}

/* What stands behind the IP header. A later fragment holds data: it shows no ports. */
static void put_ports(unsigned char *at, const packet &it, size_t size)
{
	if (it.is_fragment) {
		memset(at, 0x5a, size);
		return;
	}
	put_number(at, it.source_port);
	put_number(at + 2, it.destination_port);
	if (it.proto == IPPROTO_UDP)
		put_number(at + 4, static_cast<unsigned>(size));
	else if (it.proto == IPPROTO_TCP && size >= 20)
		at[12] = 5 << 4;
}

void clients::send(const packet &it, const frame_form &form)
{
	static uint16_t number;
	std::vector<unsigned char> frame(sizeof(ether_header) + form.size);
	ether_header *link = reinterpret_cast<ether_header *>(frame.data());
	memcpy(link->ether_dhost, ROUTER_MAC, 6);
	memcpy(link->ether_shost, CLIENTS_MAC, 6);
	link->ether_type = htons(ETHERTYPE_IP);
	iphdr header = {};
	size_t length = sizeof(header) + (form.has_options ? 4 : 0);
	header.version = 4;
	header.ihl = length / 4 & 0xf;
	header.tos = static_cast<uint8_t>(it.tos);
	header.tot_len = htons(static_cast<uint16_t>(form.size));
	header.id = htons(++number);
	header.frag_off = htons(static_cast<uint16_t>((it.is_fragment ? 185 : 0) |
						      (form.is_first_fragment ? IP_MF : 0)));
	header.ttl = 64;
	header.protocol = static_cast<uint8_t>(it.proto);
	header.saddr = htonl(it.source);
	header.daddr = htonl(it.destination);
	unsigned char *at = frame.data() + sizeof(ether_header);
	memcpy(at, &header, sizeof(header));
	if (form.has_options)
		memset(at + sizeof(header), IPOPT_NOOP, 4);
	header.check = get_checksum(at, length);
	memcpy(at, &header, sizeof(header));
	put_ports(at + length, it, form.size - length);
	ASSERT_EQ(::send(socket, frame.data(), frame.size(), 0),
		  static_cast<ssize_t>(frame.size())) << strerror(errno);
}

arrivals arrivals_at(const std::string &device)
{
	seen_classes classes = classes_of(device);
	std::set<uint32_t> inner;
	for (const auto &[id, it] : classes)
		inner.insert(it.parent);
	arrivals found;
	for (const auto &[id, it] : classes) {
		if (!inner.count(id))
			found[id] = it.packets + it.dropped + it.queued;
	}
	for (const auto &[parent, it] : qdiscs_of(device)) {
		if (it.kind == "htb")
			found[0] = it.direct;
	}
	return found;
}

arrivals difference(const arrivals &before, const arrivals &after)
{
	arrivals came;
	for (const auto &[id, count] : after) {
		auto older = before.find(id);
		uint64_t more = count - (older == before.end() ? 0 : older->second);
		if (more)
			came[id] = more;
	}
	return came;
}

static uint64_t count_all(const arrivals &it)
{
	uint64_t sum = 0;
	for (const auto &[id, count] : it)
		sum += count;
	return sum;
}

arrivals arrivals_of(const std::string &device, const std::vector<packet> &sent,
		     const frame_form &form)
{
	arrivals before = arrivals_at(device), came;
	clients all;
	for (const packet &it : sent)
		all.send(it, form);
	for (int tries = 0; tries < 250; tries++) {
		came = difference(before, arrivals_at(device));
		if (count_all(came) >= sent.size())
			break;
		if (tries < 50)
			sched_yield(); // the shortest sleep here is as long as ten packets take
		else
			usleep(10000);
	}
	return came;
}

std::string text_of_arrivals(const arrivals &it)
{
	std::string text;
	for (const auto &[id, count] : it) {
		text += (text.empty() ? "" : ", ") + (id ? id_text(id) : "direct") + " " +
			std::to_string(count);
	}
	return text;
}

static std::string text_of_address(uint32_t address)
{
	in_addr order = { htonl(address) };
	return inet_ntoa(order);
}

std::string text_of_packet(const packet &it)
{
	std::string proto = it.proto == IPPROTO_TCP   ? "tcp"
			    : it.proto == IPPROTO_UDP ? "udp"
						      : std::to_string(it.proto);
	return proto + " " + text_of_address(it.source) + ":" + std::to_string(it.source_port) +
	       " " + text_of_address(it.destination) + ":" +
	       std::to_string(it.destination_port) + " " + std::to_string(it.tos) +
	       (it.is_fragment ? " later fragment" : "");
}

static void read_end(const std::string &text, uint32_t *address, uint16_t *port)
{
	size_t colon = text.find(':');
	*address = ntohl(inet_addr(text.substr(0, colon).c_str()));
	*port = colon == std::string::npos
			? static_cast<uint16_t>(0)
			: static_cast<uint16_t>(atoi(text.c_str() + colon + 1));
}

packet packet_of(const std::string &text)
{
	std::istringstream line(text);
	std::string proto, source, destination;
	packet it = {};
	line >> proto >> source >> destination >> it.tos;
	it.proto = proto == "tcp" ? IPPROTO_TCP
		   : proto == "udp" ? IPPROTO_UDP
				    : atoi(proto.c_str());
	read_end(source, &it.source, &it.source_port);
	read_end(destination, &it.destination, &it.destination_port);
	return it;
}
