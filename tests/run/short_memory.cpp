// SPDX-License-Identifier: MIT
/* Linked into a program, lets its allocation number QOS_FAIL_ALLOCATION fail, once, those of the C
 * library included. A program that ends by itself writes how many there were to
 * /tmp/allocations. */
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *old, size_t size);
}

static long allocations;

static bool fails_now()
{
	static long failing = -1;
	if (failing < 0) {
		const char *text = getenv("QOS_FAIL_ALLOCATION");
		failing = text ? atol(text) : 0;
	}
	bool fails = ++allocations == failing;
	if (fails)
		errno = ENOMEM;
	return fails;
}

extern "C" void *malloc(size_t size)
{
	return fails_now() ? nullptr : __libc_malloc(size);
}

extern "C" void *calloc(size_t count, size_t size)
{
	return fails_now() ? nullptr : __libc_calloc(count, size);
}

extern "C" void *realloc(void *old, size_t size)
{
	return fails_now() ? nullptr : __libc_realloc(old, size);
}

__attribute__((destructor)) static void write_count()
{
	char line[32];
	int length = snprintf(line, sizeof(line), "%ld\n", allocations);
	int fd = open("/tmp/allocations", O_WRONLY | O_CREAT | O_TRUNC, 0600);
	if (fd < 0 || write(fd, line, static_cast<size_t>(length)) != length)
		_exit(99);
}
