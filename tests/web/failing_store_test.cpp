// SPDX-License-Identifier: MIT
/* The pages over a store library whose n-th call fails, for n = 1, 2 and so on until none does:
 * nothing may crash, what could not be done is told, and a refused change changes nothing. The
 * linker leads the pages' calls here. */
#include <errno.h>
#include <sys/mman.h>

#include <functional>
#include <memory>

#include <cfl.h>

#include "kinds.h"

static struct failure {
	int calls;         // so far
	int failing;       // the call that fails, from 1
	const char *name;  // of the function that failed, null when none did
} *the_failure;

static bool fails(const char *name)
{
	if (++the_failure->calls != the_failure->failing)
		return false;
	the_failure->name = name;
	return true;
}

/* WRAP(result type, function, parameters, arguments, what a failing call returns) */
#define WRAP(type, name, parameters, arguments, failed)       \
	type __real_##name parameters;                        \
	type __wrap_##name parameters;                        \
	type __wrap_##name parameters                         \
	{                                                     \
		return fails(#name) ? (failed) : __real_##name arguments; \
	}

extern "C" {
WRAP(cfl *, cfl_read, (const char *path), (path), nullptr)
WRAP(int, cfl_write, (cfl *file, FILE *stream), (file, stream), (errno = EIO, -1))
WRAP(int, cfl_get_sections_count, (cfl *file), (file), 0)
WRAP(char *, cfl_section_get_name_by_position, (cfl *file, int at), (file, at), nullptr)
WRAP(int, cfl_section_get_values_count, (cfl *file, const char *id), (file, id), 0)
WRAP(int, cfl_section_insert, (cfl *file, const char *id), (file, id), -1)
WRAP(int, cfl_section_remove, (cfl *file, const char *id), (file, id), -1)
WRAP(char *, cfl_value_get_by_name, (cfl *file, const char *id, const char *key, int *scratch),
     (file, id, key, scratch), nullptr)
WRAP(char *, cfl_value_get_by_position,
     (cfl *file, const char *id, int at, int *scratch, int *more), (file, id, at, scratch, more),
     nullptr)
WRAP(int, cfl_value_insert,
     (cfl *file, const char *id, const char *key, int flag, const char *value),
     (file, id, key, flag, value), -1)
WRAP(int, cfl_value_remove, (cfl *file, const char *id, const char *key), (file, id, key), -1)
}

static const int CALLS_MAX = 1000; // far more than any handler makes

static fresh_pages *make_router(const web_kind &kind, bool has_object)
{
	auto *router = new fresh_pages;
	router->store("filter", "[f]\nUSE=use\nPRIO=2\n[g]\nUSE=unuse\n");
	if (has_object) {
		router->store(kind.word, "# kept\n[x]\nUSE=use\n" + std::string(kind.section));
		write_file(STORES + "desc/a." + kind.word, "words\n");
	}
	return router;
}

struct outcome {
	answer got;
	std::string failed; // the function, empty when none failed
	bool unchanged;     // are all files
};

/* Runs the handler with its n-th call failing, n from 1, and looks at each outcome. */
static void fail_each_call(const web_kind &kind, bool has_object, const request &sent,
			   const std::function<int()> &handler,
			   const std::function<void(const outcome &)> &look)
{
	void *shared = mmap(nullptr, sizeof(failure), PROT_READ | PROT_WRITE,
			    MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	ASSERT_NE(shared, MAP_FAILED);
	the_failure = static_cast<failure *>(shared);
	int n = 1;
	for (; n <= CALLS_MAX; n++) {
		SCOPED_TRACE(std::string(kind.word) + ", call " + std::to_string(n));
		std::unique_ptr<fresh_pages> router(make_router(kind, has_object));
		file_map before = router->stores();
		*the_failure = { 0, n, nullptr };
		answer got = answer_to(sent, handler);
		const char *name = the_failure->name;
		the_failure->failing = 0;
		file_map after = router->stores();
		look({ got, name ? name : "", after == before });
		if (!name)
			break;
	}
	EXPECT_GT(n, 1) << "no call was made";
	EXPECT_LE(n, CALLS_MAX);
	munmap(shared, sizeof(failure));
}

static bool is_told(const answer &got)
{
	return !alerts_in(got.out).empty() || !got.err.empty();
}

static void look_at_change(const outcome &it, const char *alert)
{
	if (it.got.result == 0) {
		EXPECT_TRUE(it.unchanged) << it.failed;
		EXPECT_TRUE(is_told(it.got)) << it.failed;
	}
	if (it.failed == "cfl_read") {
		texts alerts = alerts_in(it.got.out);
		ASSERT_FALSE(alerts.empty());
		bool known = alerts.back() == alert || alerts.back() == "CFG handle error!!";
		EXPECT_TRUE(known) << alerts.back();
	}
	if (it.failed == "cfl_write") {
		EXPECT_EQ(it.got.result, 0);
		EXPECT_NE(it.got.err.find(": left as it was"), std::string::npos) << it.got.err;
	}
	if (it.failed.empty()) {
		EXPECT_EQ(it.got.err, "");
	}
}

TEST(save, over_a_store_whose_nth_call_fails)
{
	for (const web_kind &kind : WEB_KINDS) {
		request form = post(std::string(kind.form) + "&filter_id=f&unuse_filter_id=g");
		fail_each_call(kind, false, form, kind.save, [](const outcome &it) {
			look_at_change(it, "CFG handler error!!");
		});
	}
}

TEST(save, of_an_id_that_is_taken_over_a_store_whose_nth_call_fails)
{
	for (const web_kind &kind : WEB_KINDS) {
		request form = post(std::string(kind.form) + "&filter_id=f&unuse_filter_id=g");
		fail_each_call(kind, true, form, kind.save, [](const outcome &it) {
			look_at_change(it, "CFG handler error!!");
			if (it.failed.empty()) {
				EXPECT_EQ(alerts_in(it.got.out), texts({ "Duplicated ID" }));
			}
		});
	}
}

TEST(update, over_a_store_whose_nth_call_fails)
{
	for (const web_kind &kind : WEB_KINDS) {
		request form = post(std::string(kind.form) + "&filter_id=f&unuse_filter_id=g");
		fail_each_call(kind, true, form, kind.update, [](const outcome &it) {
			look_at_change(it, "CFG handler error!!");
		});
	}
}

/* The first read of an update is that of the mark, which no form posts. */
TEST(filter_update, keeps_the_mark_when_its_first_read_fails)
{
	const web_kind &filters = WEB_KINDS[2];
	ASSERT_STREQ(filters.word, "filter");
	fail_each_call(filters, true, post(filters.form), filters.update, [](const outcome &it) {
		if (it.failed == "cfl_read") {
			EXPECT_EQ(it.got.result, 0);
			EXPECT_TRUE(it.unchanged);
		}
	});
}

TEST(delete_handler, over_a_store_whose_nth_call_fails)
{
	for (const web_kind &kind : WEB_KINDS) {
		if (!kind.referring)
			continue;
		char id[] = "a";
		fail_each_call(kind, true, post("id=a"), [&] { return kind.remove(id); },
			       [](const outcome &it) { look_at_change(it, "CFG handle error!!"); });
	}
}

/* The class page is silent about a filter store that cannot be read; whatever else cannot be read
 * is told. */
TEST(display, over_a_store_whose_nth_call_fails)
{
	for (const web_kind &kind : WEB_KINDS) {
		char id[] = "a";
		int reads = 0;
		fail_each_call(kind, true, get("id=a"), [&] { return kind.display(id, MODE_EDIT); },
			       [&](const outcome &it) {
			EXPECT_EQ(it.got.result, 1);
			EXPECT_TRUE(it.unchanged);
			EXPECT_EQ(count_of(it.got.out, "_footer -->\n"), 1u);
			bool is_read = it.failed == "cfl_read";
			reads += is_read;
			bool is_silent = kind.word == std::string("class") && reads == 2;
			EXPECT_EQ(alerts_in(it.got.out), is_read && !is_silent
								 ? texts({ "CFG handle error!!" })
								 : texts());
		});
	}
}
