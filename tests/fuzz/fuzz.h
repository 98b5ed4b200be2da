// SPDX-License-Identifier: MIT
/* What the fuzz targets share. A target reads its input as text, holds the code under test against
 * a model as plain as can be, and stops with must() where they differ; the fuzzer keeps the input.
 *
 * Code that is run once a process, as a page is, keeps its request and its records for ever. Such a
 * target runs it in a child, an input each, and takes over what the child has covered. */
#ifndef TESTS_FUZZ_FUZZ_H
#define TESTS_FUZZ_FUZZ_H

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

/* Stops the fuzzer, and says what does not hold. */
void must(bool holds, const char *what);

std::vector<std::string> split(const std::string &text, char at);

/* The path of a file in memory that holds the text, good until the next call. */
const char *memory_file(const std::string &text);

/* What a child left: its status, and what it wrote to standard output and standard error. */
struct child_end {
	int status;
	std::string out, err;
};

/* Runs body() in a child with input on standard input; its status is what body returns, or what it
 * gives to exit(). A child that crashes, or hangs for longer than seconds, stops the fuzzer. */
child_end run_child(const std::string &input, unsigned seconds, const std::function<int()> &body);

#endif
