// SPDX-License-Identifier: MIT
/* Real packets, sent as the router itself sends them: they pass the firewall and the device's queue. */
#include "selftest.h"

#include <arpa/inet.h>
#include <errno.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "../store/message.h"

static const uint64_t MILLISECOND = 1000 * 1000;          // nanoseconds
static const uint64_t SECOND = 1000 * MILLISECOND;
static const uint64_t ARRIVAL_LIMIT = 2 * SECOND;
static const uint64_t WARM_UP = 300 * MILLISECOND;        // in which bursts are used up
static const uint64_t LOAD_TIME = 1 * SECOND;
static const int PROBE_BUFFER = 16 * 1024 * 1024;         // bytes that may wait in the queues
static const uint64_t LOAD_BUFFERS_A_SECOND = 30;         // of a leaf, at its greatest rate
static const uint64_t LOAD_BUFFER_MIN = 16 * 1024;        // bytes
static const uint64_t LOAD_BUFFER_MAX = 8 * 1024 * 1024;
static const int PACKETS_A_VISIT = 16;                    // to one leaf, before the next has its turn
static const uint64_t PACKETS_A_SECOND = 20;              // of the slowest leaves
static const uint64_t STARVED_SHARE = 20;                 // one visit in so many may find it empty

/* --- small helpers --- */

static uint64_t read_clock(void)
{
	timespec now;
	clock_gettime(CLOCK_MONOTONIC, &now);
	return static_cast<uint64_t>(now.tv_sec) * SECOND + static_cast<uint64_t>(now.tv_nsec);
}

static void pause_for(uint64_t nanoseconds)
{
	timespec left = { 0, static_cast<long>(nanoseconds) };
	nanosleep(&left, nullptr);
}

static bool set_option(int fd, int option, int value)
{
	return setsockopt(fd, SOL_SOCKET, option, &value, sizeof(value)) == 0;
}

/* A socket that takes whole packets, IP header and all, and sends them by this device. */
static int open_sender(const char *device, int buffer)
{
	int fd = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_RAW);
	if (fd < 0)
		return -1;
	socklen_t length = static_cast<socklen_t>(strlen(device) + 1);
	if (setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, device, length) != 0 ||
	    !set_option(fd, SO_BROADCAST, 1) || !set_option(fd, SO_SNDBUFFORCE, buffer)) {
		int reason = errno;
		close(fd);
		errno = reason;
		return -1;
	}
	return fd;
}

/* A packet that no rule matches goes to the band of its priority, which the kernel works out of the
 * TOS of what it forwards, and of the socket for what it sends. */
static bool aim(int fd, const packet *it)
{
	int tos = static_cast<int>(it->tos);
	return setsockopt(fd, IPPROTO_IP, IP_TOS, &tos, sizeof(tos)) == 0;
}

static bool send_packet(int fd, const packet *it, size_t size)
{
	unsigned char bytes[LOAD_SIZE];
	write_packet(bytes, size, it);
	sockaddr_in to = {};
	to.sin_family = AF_INET;
	to.sin_addr.s_addr = htonl(it->destination);
	return sendto(fd, bytes, size, 0, reinterpret_cast<const sockaddr *>(&to), sizeof(to)) >= 0;
}

static const class_counters *find_counters(const list<class_counters> *in, unsigned minor)
{
	static const class_counters NONE = {};
	for (const class_counters &it : *in) {
		if (it.minor == minor)
			return &it;
	}
	return &NONE;
}

static bool count(list<class_counters> *to, const char *device)
{
	uint64_t direct;
	*to = {};
	if (read_counters(to, &direct, device))
		return true;
	qos_warn("%s: the counters cannot be read: %s", device, strerror(errno));
	return false;
}

/* --- does it arrive --- */

/* Packets of PROBE_SIZE that came to a class: they left it, wait in it, or found it full. */
static uint64_t get_arrived(const class_counters *before, const class_counters *now)
{
	uint64_t waiting = now->backlog / (PROBE_SIZE + FRAME_HEAD);
	uint64_t waited = before->backlog / (PROBE_SIZE + FRAME_HEAD);
	return now->packets + now->dropped + waiting - before->packets - before->dropped - waited;
}

static bool send_all(int fd, const device *of, leaf_test *test)
{
	for (const packet &it : test->packets) {
		if (!aim(fd, &it) || !send_packet(fd, &it, PROBE_SIZE)) {
			qos_warn("%s: %s: a packet cannot be sent: %s", of->name,
				 of->nodes[test->node].id, strerror(errno));
			return false;
		}
		test->sent++;
	}
	return true;
}

/* Packets are counted when they leave, which may take a while. One too many shows at the end. */
static bool await_arrival(const device *of, leaf_test *test, const class_counters *before)
{
	unsigned minor = of->nodes[test->node].minor;
	uint64_t limit = read_clock() + ARRIVAL_LIMIT;
	for (;;) {
		list<class_counters> now;
		if (!count(&now, of->name))
			return false;
		test->arrived = get_arrived(before, find_counters(&now, minor));
		free_list(&now);
		if (test->arrived >= test->sent || read_clock() > limit)
			return true;
		pause_for(10 * MILLISECOND);
	}
}

static bool send_probe(int fd, const device *of, leaf_test *test)
{
	list<class_counters> before;
	if (!count(&before, of->name))
		return false;
	class_counters own = *find_counters(&before, of->nodes[test->node].minor);
	free_list(&before);
	send_all(fd, of, test);
	return await_arrival(of, test, &own);
}

bool send_probes(const device *of, leaf_test *tests, size_t tests_count)
{
	int fd = open_sender(of->name, PROBE_BUFFER);
	if (fd < 0) {
		qos_warn("%s: no packet can be sent: %s", of->name, strerror(errno));
		return false;
	}
	bool done = true;
	for (size_t i = 0; done && i < tests_count; i++)
		done = send_probe(fd, of, &tests[i]);
	close(fd);
	return done;
}

/* --- how much --- */

namespace {

/* The flood of one leaf. Its socket's buffer holds some packets: until it is empty, the leaf has
 * something to send. */
struct flood {
	int fd;
	size_t size;              // of a packet
	uint64_t visits, starved; // times that it was looked at, and was found empty
};

} // namespace

/* Each leaf takes a descriptor. */
static void raise_descriptors(void)
{
	rlimit limit;
	if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
		limit.rlim_cur = limit.rlim_max;
		setrlimit(RLIMIT_NOFILE, &limit);
	}
}

/* Fills the buffer of a leaf. Returns the bytes that it took. */
static uint64_t fill(flood *it, const packet *with)
{
	int waiting = 0;
	it->visits++;
	if (ioctl(it->fd, SIOCOUTQ, &waiting) == 0 && waiting == 0)
		it->starved++;
	uint64_t bytes = 0;
	for (int n = 0; n < PACKETS_A_VISIT && send_packet(it->fd, with, it->size); n++)
		bytes += it->size + FRAME_HEAD;
	return bytes;
}

static uint64_t flood_for(flood *floods, const leaf_test *tests, size_t tests_count,
			  uint64_t nanoseconds)
{
	uint64_t end = read_clock() + nanoseconds, bytes = 0;
	for (size_t i = 0; i < tests_count; i++)
		floods[i].visits = floods[i].starved = 0;
	while (read_clock() < end) {
		uint64_t before = bytes;
		for (size_t i = 0; i < tests_count; i++) {
			if (floods[i].fd >= 0)
				bytes += fill(&floods[i], &tests[i].packets[0]);
		}
		if (bytes == before)
			pause_for(MILLISECOND / 4);
	}
	return bytes;
}

static void take_rates(const device *of, leaf_test *tests, const flood *floods, size_t tests_count,
		       const list<class_counters> *before, const list<class_counters> *after,
		       uint64_t nanoseconds)
{
	for (size_t i = 0; i < tests_count; i++) {
		unsigned minor = of->nodes[tests[i].node].minor;
		const class_counters *from = find_counters(before, minor);
		const class_counters *to = find_counters(after, minor);
		tests[i].reached = static_cast<uint64_t>(
			static_cast<double>(to->bytes - from->bytes) * 8e9 /
			static_cast<double>(nanoseconds));
		bool was_fed = floods[i].starved * STARVED_SHARE <= floods[i].visits;
		tests[i].is_measured = floods[i].visits > 0 &&
				       (was_fed || tests[i].reached >= tests[i].promised);
	}
}

static bool measure(const device *of, leaf_test *tests, flood *floods, size_t tests_count,
		    uint64_t *offered)
{
	list<class_counters> before, after = {};
	flood_for(floods, tests, tests_count, WARM_UP);
	if (!count(&before, of->name))
		return false;
	uint64_t from = read_clock();
	uint64_t bytes = flood_for(floods, tests, tests_count, LOAD_TIME);
	bool done = count(&after, of->name);
	uint64_t taken = read_clock() - from;
	if (done)
		take_rates(of, tests, floods, tests_count, &before, &after, taken);
	*offered = static_cast<uint64_t>(static_cast<double>(bytes) * 8e9 /
					 static_cast<double>(taken));
	free_list(&before);
	free_list(&after);
	return done;
}

static uint64_t clamp(uint64_t value, uint64_t least, uint64_t most)
{
	return value < least ? least : value > most ? most : value;
}

/* Slow leaves get small packets, so that enough of them leave while it is measured. */
static void open_flood(flood *it, const device *of, const leaf_test *test)
{
	uint64_t bytes = test->promised / 8 / PACKETS_A_SECOND;
	it->size = static_cast<size_t>(clamp(bytes, PROBE_SIZE, LOAD_SIZE));
	it->fd = -1;
	if (test->packets.count == 0 || test->promised < SLOWEST)
		return;
	uint64_t buffer = clamp(test->most / 8 / LOAD_BUFFERS_A_SECOND, LOAD_BUFFER_MIN,
				LOAD_BUFFER_MAX);
	it->fd = open_sender(of->name, static_cast<int>(buffer));
	if (it->fd >= 0)
		aim(it->fd, &test->packets[0]);
}

bool measure_load(const device *of, leaf_test *tests, size_t tests_count, uint64_t *offered)
{
	list<flood> floods = {};
	raise_descriptors();
	for (size_t i = 0; i < tests_count; i++)
		open_flood(add_item(&floods), of, &tests[i]);
	bool done = measure(of, tests, floods.items, tests_count, offered);
	for (const flood &it : floods) {
		if (it.fd >= 0)
			close(it.fd);
	}
	free_list(&floods);
	return done;
}
