// SPDX-License-Identifier: MIT
/* Changes that are killed, or that fail, at every call that writes: the linker leads the calls to
 * this test, which counts them. Whatever happens, the files are those before or those after, and
 * the next one who takes the lock finds nothing left over. */
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "../../store/whole_file.h"
#include "history_router.h"

namespace {

enum fault {
	KILL,       // at the call, a write half done
	FAIL_ONCE,  // the call alone
	FAIL_ON,    // the call and all that follow and write
};

} // namespace

static fault injected;
static int reason;     // errno of a failure
static int calls_left; // up to the one that the fault hits; 0 for never

static bool was_hit;
static bool is_folder_closed; // the folder of the stores takes no drafts

/* Whether the call that is made now fails. */
static bool is_hit()
{
	if (calls_left == 0 || --calls_left > 0)
		return false;
	if (injected == KILL)
		raise(SIGKILL);
	was_hit = true;
	calls_left = injected == FAIL_ON ? 1 : 0;
	errno = reason;
	return true;
}

/* Of a write that is killed, half is on the disk. */
static size_t length_written(size_t size)
{
	return injected == KILL && calls_left == 1 ? size / 2 : size;
}

extern "C" {

int __real_open(const char *path, int flags, ...);
int __real_mkostemps(char *path, int tail, int flags);
ssize_t __real_pwrite(int fd, const void *bytes, size_t size, off_t offset);
int __real_rename(const char *from, const char *to);
int __real_unlink(const char *path);
int __real_fchmod(int fd, mode_t mode);
int __real_ftruncate(int fd, off_t size);

int __wrap_open(const char *path, int flags, ...);
int __wrap_mkostemps(char *path, int tail, int flags);
ssize_t __wrap_pwrite(int fd, const void *bytes, size_t size, off_t offset);
int __wrap_fsync(int fd);
int __wrap_rename(const char *from, const char *to);
int __wrap_unlink(const char *path);
int __wrap_fchmod(int fd, mode_t mode);
int __wrap_ftruncate(int fd, off_t size);

int __wrap_open(const char *path, int flags, ...)
{
	va_list rest;
	va_start(rest, flags);
	mode_t mode = (flags & O_CREAT) ? va_arg(rest, mode_t) : 0;
	va_end(rest);
	return is_hit() ? -1 : __real_open(path, flags, mode);
}

int __wrap_mkostemps(char *path, int tail, int flags)
{
	const char store_draft[] = "/qos_config/.";
	const char *found = strstr(path, store_draft);
	if (is_folder_closed && found && !strchr(found + strlen(store_draft), '/')) {
		errno = EROFS;
		return -1;
	}
	return is_hit() ? -1 : __real_mkostemps(path, tail, flags);
}

int __wrap_ftruncate(int fd, off_t size)
{
	return is_hit() ? -1 : __real_ftruncate(fd, size);
}

ssize_t __wrap_pwrite(int fd, const void *bytes, size_t size, off_t offset)
{
	size_t half = length_written(size);
	if (half < size)
		__real_pwrite(fd, bytes, half, offset);
	return is_hit() ? -1 : __real_pwrite(fd, bytes, size, offset);
}

/* A kill leaves what the system holds in memory: nothing need be waited for. */
int __wrap_fsync(int)
{
	return is_hit() ? -1 : 0;
}

int __wrap_rename(const char *from, const char *to)
{
	return is_hit() ? -1 : __real_rename(from, to);
}

int __wrap_unlink(const char *path)
{
	return is_hit() ? -1 : __real_unlink(path);
}

int __wrap_fchmod(int fd, mode_t mode)
{
	return is_hit() ? -1 : __real_fchmod(fd, mode);
}

}

/* --- what is interrupted --- */

static bool save(const std::string &name, const std::string &text)
{
	return replace_whole((STORES + name).c_str(), text.data(), text.size(), nullptr);
}

/* As a save of a new policy, with its class and without the description of another. */
static bool make_change()
{
	const char *const names[] = { "class", "policy", "desc/LAN1.policy", "desc/LAN2.policy" };
	if (!begin_change(&NOTE, names, 4))
		return false;
	bool saved = save("class", "[a]\nRATE=5\n") && save("policy", "[LAN1]\n[LAN2]\n") &&
		     save("desc/LAN2.policy", "new\n") &&
		     remove_whole((DESCRIPTIONS + "LAN1.policy").c_str());
	if (saved && commit_change())
		return true;
	undo_change();
	return false;
}

static bool make_go_back()
{
	return go_back(&NOTE, 1);
}

static std::string bundle_text;

static bool make_import()
{
	kept_files bundle;
	if (read_bundle(&bundle, bundle_text.data(), bundle_text.size()) != BUNDLE_WELL)
		_exit(100);
	return import_bundle(&NOTE, &bundle);
}

static bool make_recovery()
{
	return recover_change() == RECOVERED;
}

/* --- around it --- */

/* Under a sanitizer a process is slow to start, and what it looks for is not in every call. */
#ifdef QOS_SANITIZE
static const int FIRST_CALL = 3, STEP = 9;
#else
static const int FIRST_CALL = 1, STEP = 1;
#endif

typedef bool (*step)();

namespace {

struct outcome {
	bool is_killed, is_done, is_hit;
};

/* What is interrupted: in a state that prepare makes, and what it leaves when nothing hits it. */
struct deed {
	step prepare, make;
	fault with;
	int error;
};

struct state {
	file_map files;
	size_t entries;
	bool operator==(const state &other) const
	{
		return files == other.files && entries == other.entries;
	}
};

} // namespace

static state state_of(const history_router &router)
{
	return { router.files(), entries().size() };
}

/* In a process of its own, hit at that call. */
static outcome run(const deed &it, int call)
{
	fflush(nullptr);
	pid_t child = fork();
	if (child == 0) {
		close(2);
		injected = it.with;
		reason = it.error;
		calls_left = call;
		bool done = it.make();
		_exit((done ? 0 : 1) + (was_hit ? 2 : 0));
	}
	int status = 0;
	EXPECT_EQ(waitpid(child, &status, 0), child);
	if (WIFSIGNALED(status)) {
		EXPECT_EQ(WTERMSIG(status), SIGKILL);
		return { true, false, true };
	}
	EXPECT_LT(WEXITSTATUS(status), 4);
	return { false, WEXITSTATUS(status) % 2 == 0, WEXITSTATUS(status) >= 2 };
}

/* Whether nothing lies about that only a killed run leaves. */
static void expect_no_leftovers()
{
	EXPECT_FALSE(is_change_open());
	for (const auto &file : std::filesystem::recursive_directory_iterator(STORES))
		EXPECT_EQ(file.path().string().find(".draft"), std::string::npos) << file.path();
}

/* Returns whether the fault hit a call. */
static bool interrupt(const deed &it, int call, const state &after)
{
	history_router router;
	EXPECT_TRUE(it.prepare());
	state before = state_of(router);
	outcome seen = run(it, call);
	recovery found = recover_change();
	EXPECT_NE(found, NOT_RECOVERED);
	if (!seen.is_killed && it.with != FAIL_ON) {
		EXPECT_EQ(found, NOTHING_OPEN) << "put back by itself";
	}
	state now = state_of(router);
	EXPECT_TRUE(now == after || (!seen.is_done && now == before));
	EXPECT_TRUE(seen.is_done || seen.is_killed || now == before);
	EXPECT_NE(rows_of_newest(), texts{ now.entries > 0 ? "no entry" : "" });
	expect_no_leftovers();
	return seen.is_hit;
}

static void interrupt_at_each_call(const deed &it, int least)
{
	state after;
	{
		history_router router;
		ASSERT_TRUE(it.prepare());
		ASSERT_TRUE(it.make());
		after = state_of(router);
	}
	int call = FIRST_CALL;
	for (; interrupt(it, call, after); call += STEP)
		ASSERT_FALSE(testing::Test::HasFailure()) << "call " << call;
	EXPECT_GT(call, least) << "the calls that are counted are those that are made";
}

static const struct {
	fault with;
	int error;
} FAULTS[] = {
	{ KILL, 0 },
	{ FAIL_ONCE, EIO },
	{ FAIL_ONCE, EROFS },
	{ FAIL_ON, ENOSPC },
	{ FAIL_ON, EROFS },
};

static bool prepare_nothing()
{
	return true;
}

TEST(a_change, is_whole_or_not_at_all_wherever_it_is_cut)
{
	for (const auto &row : FAULTS)
		interrupt_at_each_call({ prepare_nothing, make_change, row.with, row.error }, 40);
}

/* Stores are written in place there: what is cut leaves one in parts. */
TEST(a_change, is_whole_or_not_at_all_in_a_folder_that_takes_no_drafts)
{
	is_folder_closed = true;
	for (const auto &row : FAULTS)
		interrupt_at_each_call({ prepare_nothing, make_change, row.with, row.error }, 40);
	is_folder_closed = false;
}

static bool prepare_entries()
{
	change("class", "[a]\nRATE=8\n");
	change("filter", "");
	change("desc/LAN1.policy", "copper\n");
	return true;
}

TEST(going_back, is_whole_or_not_at_all_wherever_it_is_cut)
{
	for (const auto &row : FAULTS)
		interrupt_at_each_call({ prepare_entries, make_go_back, row.with, row.error }, 40);
}

static bool prepare_import()
{
	bundle_text = written_by([](FILE *stream) { EXPECT_TRUE(write_bundle(stream)); });
	write_file(STORES + "class", "[z]\n");
	write_file(DESCRIPTIONS + "x.ip", "x");
	std::filesystem::remove(STORES + "ip");
	return true;
}

TEST(an_import, is_whole_or_not_at_all_wherever_it_is_cut)
{
	for (const auto &row : FAULTS)
		interrupt_at_each_call({ prepare_import, make_import, row.with, row.error }, 40);
}

/* What is left of a change that was cut before its commit. */
static bool prepare_cut_change()
{
	begin({ "class", "policy", "desc/LAN1.policy", "desc/LAN2.policy" });
	write_file(STORES + "class", "");
	write_file(STORES + ".class.aB3xYz.draft", "half");
	write_file(DESCRIPTIONS + "LAN2.policy", "new");
	std::filesystem::remove(DESCRIPTIONS + "LAN1.policy");
	return true;
}

/* Whoever recovers can be cut too, and the next one after that. */
TEST(a_recovery, ends_with_what_was_laid_aside_however_often_it_is_cut)
{
	for (const auto &row : FAULTS) {
		int call = FIRST_CALL;
		for (bool hit = true; hit; call += STEP) {
			history_router router;
			file_map whole = router.files();
			prepare_cut_change();
			const deed it = { prepare_nothing, make_recovery, row.with, row.error };
			hit = run(it, call).is_hit;
			run(it, call + 3);
			EXPECT_NE(recover_change(), NOT_RECOVERED);
			EXPECT_EQ(router.files(), whole);
			EXPECT_TRUE(entries().empty());
			expect_no_leftovers();
			ASSERT_FALSE(HasFailure()) << "call " << call;
		}
		EXPECT_GT(call, 15);
	}
}
