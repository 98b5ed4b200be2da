// SPDX-License-Identifier: MIT
#include "machine.h"

#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

const unsigned char CLIENTS_MAC[6] = { 2, 0, 0, 0, 0, 1 }, ROUTER_MAC[6] = { 2, 0, 0, 0, 0, 2 };

std::ostream &operator<<(std::ostream &to, const outcome &it)
{
	return to << "status " << it.status << "\n--- output\n" << it.out
		  << "--- errors\n" << it.err;
}

static std::string read_back(int fd)
{
	std::string text;
	char bytes[65536];
	ssize_t got;
	for (off_t at = 0; (got = pread(fd, bytes, sizeof(bytes), at)) > 0; at += got)
		text.append(bytes, static_cast<size_t>(got));
	close(fd);
	return text;
}

static int make_file(const std::string &text)
{
	int fd = memfd_create("qos-case", MFD_CLOEXEC);
	if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
		abort();
	lseek(fd, 0, SEEK_SET);
	return fd;
}

started start(const words &command, const std::string &input, const words &environment)
{
	std::vector<char *> argv, envp;
	for (const std::string &word : command)
		argv.push_back(const_cast<char *>(word.c_str()));
	argv.push_back(nullptr);
	for (const std::string &word : environment)
		envp.push_back(const_cast<char *>(word.c_str()));
	for (char **word = environ; *word; word++)
		envp.push_back(*word);
	envp.push_back(nullptr);

	int in = make_file(input);
	started it = { -1, make_file(""), make_file("") };
	posix_spawn_file_actions_t files;
	posix_spawn_file_actions_init(&files);
	posix_spawn_file_actions_adddup2(&files, in, 0);
	posix_spawn_file_actions_adddup2(&files, it.out, 1);
	posix_spawn_file_actions_adddup2(&files, it.err, 2);
	int failed = posix_spawnp(&it.pid, argv[0], &files, nullptr, argv.data(), envp.data());
	EXPECT_EQ(failed, 0) << "cannot start " << command[0] << ": " << strerror(failed);
	posix_spawn_file_actions_destroy(&files);
	close(in);
	return it;
}

outcome end(started *it)
{
	int status = 0;
	if (it->pid > 0)
		waitpid(it->pid, &status, 0);
	int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
	return { it->pid > 0 ? code : 127, read_back(it->out), read_back(it->err) };
}

outcome run(const words &command, const std::string &input, const words &environment)
{
	started it = start(command, input, environment);
	return end(&it);
}

words qosctl_words(const words &rest)
{
	words all = { std::string(getenv("QOS_BUILD")) + "/bin/qosctl" };
	all.insert(all.end(), rest.begin(), rest.end());
	const words reading = { "check", "plan", "apply", "diff", "explain", "week" };
	for (const std::string &verb : reading) {
		if (rest[0] == verb && std::find(rest.begin(), rest.end(), "--again") == rest.end())
			all.insert(all.end(), { "--scripts", SCRIPTS_AT });
	}
	return all;
}

outcome qosctl(const words &rest)
{
	return run(qosctl_words(rest));
}

bool applies(const scripts &set)
{
	lay(set);
	outcome it = qosctl({ "apply" });
	EXPECT_EQ(it.status, 0) << it;
	return it.status == 0;
}

void must(const words &command, const std::string &input)
{
	outcome it = run(command, input);
	ASSERT_EQ(it.status, 0) << testing::PrintToString(command) << input << it;
}

void ip_batch(const std::string &batch)
{
	must({ "ip", "-batch", "-" }, batch);
}

void tc_batch(const std::string &batch)
{
	must({ "tc", "-batch", "-" }, batch);
}

void put(const std::string &path, const std::string &text)
{
	int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
	ASSERT_GE(fd, 0) << path << ": " << strerror(errno);
	EXPECT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size())) << path;
	close(fd);
}

std::string text_of(const std::string &path)
{
	std::ifstream file(path, std::ios::binary);
	return { std::istreambuf_iterator<char>(file), {} };
}

void lay(const scripts &set)
{
	std::filesystem::remove_all(SCRIPTS_AT);
	std::filesystem::create_directories(SCRIPTS_AT);
	for (const auto &[name, text] : set)
		put(SCRIPTS_AT + "/" + name, text);
}

/* "HANDLE ID LINE ...", where a first line that is no KEY=VALUE is a rate. */
static void add_class(scripts *to, const std::string &device, const std::string &written)
{
	std::istringstream line(written);
	std::string handle, id, word, text;
	line >> handle >> id;
	while (line >> word)
		text += (word.find('=') == std::string::npos ? "RATE=" : "") + word + "\n";
	(*to)[device + "-" + handle + "." + id] = text;
}

scripts htb(const std::string &device, const words &classes, const std::string &lines)
{
	scripts made = { { device, "QDISC=htb\nDEFAULT=1000\n" + lines } };
	for (const std::string &it : classes)
		add_class(&made, device, it);
	return made;
}

scripts spq(const std::string &device, const words &bands)
{
	scripts made = { { device, "QDISC=spq\n" }, { device + "-2.root", "" } };
	for (const std::string &it : bands)
		add_class(&made, device, it);
	return made;
}

scripts operator+(scripts one, const scripts &other)
{
	one.insert(other.begin(), other.end());
	return one;
}

void router::SetUp()
{
	ASSERT_EQ(unshare(CLONE_NEWNET), 0) << strerror(errno);
	for (const char *folder : { "/run/qos", "/var/lib/qos" })
		std::filesystem::remove_all(folder);
	const std::string settings = "/proc/sys/net/";
	for (const char *which : { "all", "default" }) {
		std::string path = settings + "ipv6/conf/" + which + "/disable_ipv6";
		if (std::filesystem::exists(path)) // else the module is not there at all
			put(path, "1");
	}
	put(settings + "ipv4/ip_forward", "1");
	put(settings + "ipv4/conf/all/rp_filter", "0");
	put(settings + "ipv4/conf/default/rp_filter", "0");
	ip_batch("link set lo up\n"
	   "link add clients address 02:00:00:00:00:01 type veth "
	   "peer name inside address 02:00:00:00:00:02\n"
	   "link set clients up arp off\n"
	   "link set inside up arp off\n"
	   "link add eth0 type dummy\n"
	   "link add eth1 type dummy\n"
	   "link set eth0 up\n"
	   "link set eth1 up\n"
	   "route add default dev eth0\n"
	   "route add 10.1.0.0/16 dev eth1\n");
}

void router::TearDown()
{
	std::filesystem::remove_all(SCRIPTS_AT);
}
