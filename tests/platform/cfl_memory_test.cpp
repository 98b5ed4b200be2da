// SPDX-License-Identifier: MIT
/* Store files while memory is short: each allocation of a run fails once. The linker leads the
 * library's allocations to this test. */
#include <cfl.h>

#include <fcntl.h>
#include <sys/wait.h>

#include "../support/router_files.h"

static const std::string PATH = "/tmp/store", ERRORS = "/tmp/errors";

static int failing;   // number of the allocation that fails, 0 for none
static int allocated; // allocations of the library so far

static bool fails_now()
{
	return ++allocated == failing;
}

extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *old, size_t size);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *old, size_t size);

void *__wrap_malloc(size_t size)
{
	return fails_now() ? nullptr : __real_malloc(size);
}

void *__wrap_calloc(size_t count, size_t size)
{
	return fails_now() ? nullptr : __real_calloc(count, size);
}

void *__wrap_realloc(void *old, size_t size)
{
	return fails_now() ? nullptr : __real_realloc(old, size);
}
}

/* The exit status of body() in a process of its own, whose allocation n fails; what it printed on
 * standard error stays in ERRORS. */
template <typename block> static int status_with_failing(int n, block body)
{
	pid_t child = fork();
	if (child == 0) {
		dup2(open(ERRORS.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
		failing = n;
		allocated = 0;
		_exit(body());
	}
	int status;
	waitpid(child, &status, 0);
	EXPECT_TRUE(WIFEXITED(status)) << n;
	return WEXITSTATUS(status);
}

/* 150 sections, so that the arrays and the hash table grow; a long value, and an escaped name. */
static std::string large_store()
{
	std::string text = "[a\\\\b]\nLONG=" + std::string(9000, 'x') + "\n";
	for (int i = 0; i < 150; i++)
		text += "[" + std::to_string(i) + "]\nKEY=" + std::to_string(i) + "\n";
	return text;
}

static int look_up_all()
{
	cfl *file = cfl_read(PATH.c_str());
	if (cfl_get_sections_count(file) != 152)
		return 1;
	for (int i = 2; i <= 152; i++) {
		const char *name = cfl_section_get_name_by_position(file, i);
		const char *value = cfl_value_get_by_position(file, name, 2, nullptr, nullptr);
		const char *key = i == 2 ? "LONG" : "KEY";
		const char *same = cfl_value_get_by_name(file, name, key, nullptr);
		if (!value || !same || strcmp(value, same) != 0)
			return 2;
	}
	cfl_free(file);
	return failing != 0 && allocated >= failing ? 3 : 0;
}

TEST(cfl, ends_a_look_up_without_memory_with_255_and_a_line)
{
	write_file(PATH, large_store());
	int n = 1;
	for (;; n++) {
		int status = status_with_failing(n, look_up_all);
		if (status == 0)
			break;
		ASSERT_EQ(status, 255) << n;
		ASSERT_EQ(read_file(ERRORS), "libcfl: store: no memory\n") << n;
	}
	EXPECT_GT(n, 15);
}

/* An edit says so, and the file is not written any more; what it held can still be looked up. */
static int edit_all()
{
	int n = failing;
	failing = 0;
	cfl *file = cfl_read(PATH.c_str());
	failing = allocated + n;
	int section = cfl_section_insert(file, "new");
	int value = cfl_value_insert(file, "7", "MORE", 1, "more");
	bool failed = allocated >= failing;
	FILE *to = fopen((PATH + ".new").c_str(), "w");
	int written = cfl_write(file, to);
	if (failed)
		return section != 0 || value != 0 ? (written == -1 ? 10 : 1) : 2;
	return section == 0 && value == 0 && written == 0 ? 0 : 3;
}

TEST(cfl, refuses_an_edit_without_memory)
{
	write_file(PATH, large_store());
	int n = 1;
	for (; n < 100; n++) {
		int status = status_with_failing(n, edit_all);
		if (status == 0)
			break;
		ASSERT_EQ(status, 10) << n;
	}
	EXPECT_GT(n, 3);
	EXPECT_LT(n, 100);
}
