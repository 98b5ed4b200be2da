// SPDX-License-Identifier: MIT
/* Packets of the clients, forwarded by the router, and where they went. */
#ifndef TESTS_KERNEL_SENDER_H
#define TESTS_KERNEL_SENDER_H

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <string>
#include <vector>

#include "../../../plan/plan.h"

/* What a frame holds beside the addresses, ports and TOS. */
struct frame_form {
	size_t size;      // of the IP packet in bytes, at least 28
	bool has_options; // four bytes of IP options
	bool is_first_fragment;
};
const frame_form SMALL = { 64, false, false };

class clients {
public:
	clients();
	~clients();
	clients(const clients &) = delete;
	clients &operator=(const clients &) = delete;
	void send(const packet &it, const frame_form &form = SMALL);

private:
	int socket;
};

/* Packets that came to each leaf class or band of a device since it was made: what it sent, dropped
 * and holds. Under 0 stand those that HTB let pass unshaped. */
typedef std::map<uint32_t, uint64_t> arrivals;
arrivals arrivals_at(const std::string &device);

/* What came in between; classes to which nothing came are left out. */
arrivals difference(const arrivals &before, const arrivals &after);

/* Sends the packets and waits until all have come to the device, or two seconds. */
arrivals arrivals_of(const std::string &device, const std::vector<packet> &sent,
		     const frame_form &form = SMALL);

/* "1:10 5, 1:1000 7" */
std::string text_of_arrivals(const arrivals &it);

/* "udp 10.0.0.1:5 to ..." for a message. */
std::string text_of_packet(const packet &it);

/* "udp 192.168.1.5:1024 203.0.113.10:5060 160": protocol, source, destination, TOS byte. */
packet packet_of(const std::string &text);

#endif
