// SPDX-License-Identifier: MIT
/* The machine of the cases: a router in the kernel of in-kernel, where a case is root, has a
 * network of its own, and may do as it likes with /run, /var, /etc and /usr, which are forgotten.
 * Clients stand behind "clients", from where packets are forwarded to the shaped devices. */
#ifndef TESTS_KERNEL_MACHINE_H
#define TESTS_KERNEL_MACHINE_H

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

typedef std::vector<std::string> words;
typedef std::map<std::string, std::string> scripts; // name and text

const std::string SCRIPTS_AT = "/tmp/scripts";

struct outcome {
	int status; // of exit, or 128 and the signal
	std::string out, err;
};

std::ostream &operator<<(std::ostream &to, const outcome &it);

/* Starts a program found on the path; its output and errors go to files of their own. */
struct started {
	pid_t pid;
	int out, err;
};
started start(const words &command, const std::string &input = "",
	      const words &environment = {});
outcome end(started *it);
outcome run(const words &command, const std::string &input = "", const words &environment = {});

/* qosctl as built, with the scripts of the case for apply, plan and the like. */
words qosctl_words(const words &rest);
outcome qosctl(const words &rest);

/* Lays the scripts out and applies them. */
bool applies(const scripts &set);

/* Runs programs that must succeed. */
void must(const words &command, const std::string &input = "");
void ip_batch(const std::string &batch);
void tc_batch(const std::string &batch);

void put(const std::string &path, const std::string &text);
std::string text_of(const std::string &path); // empty where there is none

/* The folder of scripts holds these and nothing else. */
void lay(const scripts &set);

/* The scripts of an HTB device from short words: "2 root 10Mbps" is handle, id and RATE, and each
 * further word a line: "2:10 voice 2Mbps CEIL=4Mbps RULE=... PRIORULE=1". */
scripts htb(const std::string &device, const words &classes, const std::string &lines = "");
scripts spq(const std::string &device, const words &bands);
scripts operator+(scripts one, const scripts &other);

/* A case with the devices eth0 and eth1, to which 10.0.0.0/8 and everything else, or 10.1.0.0/16,
 * are routed. They swallow what they send. No packet of the kernel's own goes out there. */
class router : public testing::Test {
protected:
	void SetUp() override;
	void TearDown() override;
};

/* The MACs of the clients' side and of the router's. */
extern const unsigned char CLIENTS_MAC[6], ROUTER_MAC[6];

#endif
