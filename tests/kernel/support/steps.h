// SPDX-License-Identifier: MIT
/* The programs that change the kernel, tc and iptables-restore, led through the case line by line:
 * while a `steps` lives, a stepper stands in their place. */
#ifndef TESTS_KERNEL_STEPS_H
#define TESTS_KERNEL_STEPS_H

#include <functional>
#include <string>
#include <thread>

enum step_answer : char {
	RUN_LINE = 'r',
	FAIL_LINE = 'f', // it is not run, and the program ends as if the kernel had refused it
	END_PROGRAM = 'k', // killed before the line
	QUEUE_LINE = 'q', // run, and the case is not told when that is done
};

struct step {
	std::string program; // "tc", "iptables-restore"
	std::string line;    // of iptables-restore the whole input
	int number;          // since the steps began, from 1
};

class steps {
public:
	typedef std::function<step_answer(const step &)> before;
	typedef std::function<void(const step &)> after;
	explicit steps(before ask, after done = nullptr);
	~steps();
	steps(const steps &) = delete;
	steps &operator=(const steps &) = delete;
	int count() const { return number; }

private:
	void serve();
	void serve_one(int connection);
	before ask;
	after done;
	int listening;
	int number = 0;
	std::thread server;
};

#endif
