// SPDX-License-Identifier: MIT
/* Times pages of main.cgi beside the smallest one, in a private root: measure_pages ROUNDS REQUEST ...
 * A request is what stands behind the '?'. All take turns within every round, so that a machine that
 * slows down slows all. Prints a line each, the smallest page first: the median in milliseconds, the
 * median ratio to the smallest page, the answer's bytes, the peak memory in KiB, and the request. */
#include <string.h>
#include <sys/stat.h>

#include "timing.h"

static const char SMALLEST[] = "/usr/local/smallest_cgi";
static const char MAIN[] = "/usr/local/www/qos_config/cgi-bin/main.cgi";
static const int REQUESTS_MAX = 32;

namespace {

struct measured {
	const char *command[2];
	char query[512];
	double times[ROUNDS_MAX], ratios[ROUNDS_MAX];
	long size, peak;
};

} // namespace

static measured pages[REQUESTS_MAX + 1];

static void set_request(measured *it, const char *program, const char *request)
{
	it->command[0] = program;
	snprintf(it->query, sizeof(it->query), "QUERY_STRING=%s", request);
}

static void run_page(measured *it, int round)
{
	static char method[] = "REQUEST_METHOD=GET", host[] = "HTTP_HOST=127.0.0.1";
	static char login[] = "REMOTE_USER=admin", address[] = "REMOTE_ADDR=127.0.0.1";
	char *environment[] = { method, host, login, address, it->query, nullptr };
	timed_run done = run_timed(it->command, environment, "/tmp/answer");
	struct stat answer;
	if (done.status != 0 || stat("/tmp/answer", &answer) != 0) {
		fprintf(stderr, "measure_pages: %s: no answer\n", it->query);
		exit(1);
	}
	it->times[round] = done.time;
	it->ratios[round] = done.time / pages[0].times[round];
	it->size = static_cast<long>(answer.st_size);
	if (done.peak > it->peak)
		it->peak = done.peak;
}

int main(int argc, char **argv)
{
	int rounds = argc > 2 ? atoi(argv[1]) : 0;
	int count = argc - 1; // with the smallest
	if (rounds < 1 || rounds > ROUNDS_MAX || count > REQUESTS_MAX + 1) {
		fprintf(stderr, "usage: measure_pages ROUNDS REQUEST ...\n");
		return 2;
	}
	set_request(&pages[0], SMALLEST, "obj=router");
	for (int i = 1; i < count; i++)
		set_request(&pages[i], MAIN, argv[i + 1]);
	for (int round = 0; round < rounds; round++) {
		for (int i = 0; i < count; i++)
			run_page(&pages[i], round);
	}
	for (int i = 0; i < count; i++) {
		measured *it = &pages[i];
		printf("%8.3f  %6.2f  %7ld  %6ld  %s\n", median(it->times, rounds),
		       median(it->ratios, rounds), it->size, it->peak,
		       i == 0 ? "smallest" : argv[i + 1]);
	}
	return 0;
}
