// SPDX-License-Identifier: MIT
/* The pages while the n-th allocation fails, for n = 1, 2 and so on until none does: the run ends
 * with 255 and a line, or what could not be done is told, and no store is changed in part. */
#include <errno.h>
#include <sys/mman.h>

#include <functional>

#include <cgi.h>

#include "kinds.h"

static struct shortage {
	int calls;   // so far
	int failing; // the call that fails, from 1; 0 for none
} *the_shortage;

static bool fails()
{
	if (++the_shortage->calls != the_shortage->failing)
		return false;
	errno = ENOMEM;
	return true;
}

/* WRAP(function, parameters, arguments): for functions that return a pointer */
#define WRAP(type, name, parameters, arguments)                \
	type __real_##name parameters;                         \
	type __wrap_##name parameters;                         \
	type __wrap_##name parameters                          \
	{                                                      \
		return the_shortage && fails() ? nullptr : __real_##name arguments; \
	}

extern "C" {
WRAP(void *, malloc, (size_t size), (size))
WRAP(void *, calloc, (size_t count, size_t size), (count, size))
WRAP(void *, realloc, (void *old, size_t size), (old, size))
WRAP(char *, strdup, (const char *text), (text))
WRAP(FILE *, open_memstream, (char **text, size_t *size), (text, size))
}

static const int CALLS_MAX = 1000; // far more than any handler makes

/* Runs the handler as a request, in a process that may end by itself, and returns its status. */
static int status_of(const request &sent, const std::function<int()> &handler, std::string *out,
		     std::string *err)
{
	fflush(nullptr);
	write_file("/tmp/request-in", sent.body);
	pid_t child = fork();
	if (child == 0) {
		setenv("REQUEST_METHOD", sent.method.c_str(), 1);
		setenv("QUERY_STRING", sent.query.c_str(), 1);
		setenv("CONTENT_TYPE", sent.type.c_str(), 1);
		setenv("CONTENT_LENGTH", std::to_string(sent.body.size()).c_str(), 1);
		redirect(0, "/tmp/request-in", O_RDONLY);
		redirect(1, "/tmp/request-out", O_WRONLY | O_CREAT | O_TRUNC);
		redirect(2, "/tmp/request-err", O_WRONLY | O_CREAT | O_TRUNC);
		int failing = the_shortage->failing;
		the_shortage->failing = 0;
		cgi_param("id"); // the request is read
		*the_shortage = { 0, failing };
		int result = handler();
		the_shortage->failing = 0;
		fflush(nullptr);
		_exit(result);
	}
	int status = 0;
	waitpid(child, &status, 0);
	*out = read_file("/tmp/request-out");
	*err = read_file("/tmp/request-err");
	return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/* Stores and description files, and that no draft is among them. */
static file_map files_of(const fresh_pages &router)
{
	file_map files = router.stores();
	for (const auto &file : files)
		EXPECT_EQ(file.first.find(".draft"), std::string::npos) << file.first;
	return files;
}

/* A description is written before the store, and stays. */
static file_map without_descriptions(const file_map &files)
{
	file_map stores;
	for (const auto &file : files) {
		if (file.first.compare(0, 5, "desc/") != 0)
			stores.insert(file);
	}
	return stores;
}

static void fail_each_allocation(const web_kind &kind, const request &sent,
				 const std::function<int()> &handler)
{
	void *shared = mmap(nullptr, sizeof(shortage), PROT_READ | PROT_WRITE,
			    MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	ASSERT_NE(shared, MAP_FAILED);
	int n = 1, ended = 0;
	for (bool failed = true; failed && n <= CALLS_MAX; n++) {
		SCOPED_TRACE(std::string(kind.word) + ", allocation " + std::to_string(n));
		fresh_pages router;
		router.store("filter", "[f]\nUSE=use\nPRIO=2\n[g]\nUSE=unuse\n");
		router.store(kind.word, "[x]\nUSE=use\n" + std::string(kind.section));
		file_map before = router.stores();
		the_shortage = static_cast<shortage *>(shared);
		*the_shortage = { 0, n };
		std::string out, err;
		int status = status_of(sent, handler, &out, &err);
		failed = the_shortage->calls >= n;
		the_shortage = nullptr;
		file_map after = files_of(router);
		EXPECT_NE(status, -1);
		if (!failed) {
			EXPECT_EQ(status, 1) << err;
		}
		ended += status == 255;
		if (status != 1) {
			EXPECT_EQ(without_descriptions(after), without_descriptions(before));
			EXPECT_FALSE(err.empty() && alerts_in(out).empty());
		}
		if (status == 255) {
			EXPECT_NE(err.find("no memory"), std::string::npos) << err;
		}
	}
	EXPECT_GT(ended, 0);
	EXPECT_LE(n, CALLS_MAX);
	munmap(shared, sizeof(shortage));
}

TEST(update, without_memory_for_its_nth_allocation)
{
	for (const web_kind &kind : WEB_KINDS)
		fail_each_allocation(kind, post(std::string(kind.form) + "&desc=words"), kind.update);
}

TEST(delete_handler, without_memory_for_its_nth_allocation)
{
	char id[] = "a";
	for (const web_kind &kind : WEB_KINDS) {
		if (kind.referring)
			fail_each_allocation(kind, post("id=a"), [&] { return kind.remove(id); });
	}
}

TEST(display, without_memory_for_its_nth_allocation)
{
	char id[] = "a";
	for (const web_kind &kind : WEB_KINDS)
		fail_each_allocation(kind, get("id=a"), [&] { return kind.display(id, MODE_EDIT); });
}
