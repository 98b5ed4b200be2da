// SPDX-License-Identifier: MIT
/* In place of the fuzzer, for any compiler: runs each file that is named through the target, once.
 * The fuzzer's own options are passed over. */
#include <stdio.h>
#include <unistd.h>

#include "fuzz.h"

static const unsigned SECONDS = 20; // for one input, as the fuzzer's -timeout

static std::string read_file(const char *path)
{
	FILE *file = fopen(path, "r");
	must(file, "an input is opened");
	std::string bytes;
	for (int c = getc(file); c != EOF; c = getc(file))
		bytes += static_cast<char>(c);
	must(!ferror(file), "an input is read");
	fclose(file);
	return bytes;
}

/* From an exact copy on the heap, so that a byte too far is seen by who looks for it. */
static void run_input(const char *path)
{
	fprintf(stderr, "%s\n", path);
	const std::string text = read_file(path);
	const std::vector<uint8_t> bytes(text.begin(), text.end());
	alarm(SECONDS);
	must(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()) == 0, "an input is run");
	alarm(0);
}

int main(int, char **arguments)
{
	int count = 0;
	for (char **at = arguments + 1; *at; at++) {
		if (**at == '-')
			continue;
		run_input(*at);
		count++;
	}
	must(count > 0, "inputs are named");
	return 0;
}
