// SPDX-License-Identifier: MIT
/* qosctl compile: the compiler run into a fresh folder, which becomes the folder of scripts only when
 * it is whole. Two at once follow each other. */
#include "compiling.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cfl.h>

#include "../scripts/scripts.h"
#include "../store/message.h"
#include "../store/owner.h"
#include "../store/whole_file.h"
#include "changes.h"

static const int LOCK_SECONDS = 60;
static const int WELL = 1; // exit status of a compiler that went to its end
static const char NAT_SNAPSHOT[] = "/run/qos/nat";

/* --- the locks --- */

namespace {

/* Descriptors, or -1 where there is nothing to lock. */
struct compile_locks {
	int parent, stores, scripts;
};

} // namespace

static void unlock(const compile_locks *it)
{
	const int all[] = { it->scripts, it->stores, it->parent };
	for (int fd : all) {
		if (fd >= 0)
			close(fd);
	}
}

static int tell_failure(const char *what, int reason)
{
	qos_warn("%s: %s", what, get_reason(reason));
	return reason == EACCES || reason == EPERM ? EXIT_NOT_ALLOWED : EXIT_FAILED;
}

/* The stores before the scripts, as qos_compile does. It shares them, so a change that was cut is put
 * back here: it would wait for this process. What a cut compile left is brought back before the
 * folder in force is locked, which then is that one. */
static int lock_all(compile_locks *it, const script_folders *of)
{
	*it = { -1, -1, -1 };
	if (!make_folders(of->in_force))
		return tell_failure(of->parent, errno);
	it->parent = lock_folder(of->parent, LOCK_EX, LOCK_SECONDS);
	if (it->parent < 0)
		return tell_failure("the scripts cannot be locked", errno);
	if (!recover_folders(of))
		return tell_failure(of->in_force, errno);
	int status = lock_sound_stores(&it->stores, LOCK_SH, LOCK_SECONDS);
	if (status != EXIT_DONE)
		return status;
	become_root_again(); // the scripts are root's
	it->scripts = lock_folder(of->in_force, LOCK_EX, LOCK_SECONDS);
	return it->scripts >= 0 ? EXIT_DONE
				: tell_failure("the scripts cannot be locked", errno);
}

/* --- what the NAT test looks at --- */

/* The nat table as the firewall shows it; false where it cannot be asked. */
static bool save_nat(run_result *it)
{
	static const char *const PROGRAMS[] = { "iptables-save", "iptables-legacy-save" };
	for (const char *name : PROGRAMS) {
		char path[PATH_MAX];
		if (!find_program(path, sizeof(path), name))
			continue;
		const char *const words[] = { path, "-t", "nat", nullptr };
		run_program(it, words, nullptr, 0);
		if (it->status == 0)
			return true;
		free_run(it);
	}
	return false;
}

/* The test runs for every address; asking the firewall each time would cost milliseconds. A router
 * whose firewall cannot be asked has no snapshot: one of before would be another's answer. */
static void take_nat_snapshot(void)
{
	const file_access access = { 0644, geteuid(), getegid() };
	run_result nat;
	if (!make_folders(NAT_SNAPSHOT) || !save_nat(&nat)) {
		remove_whole(NAT_SNAPSHOT);
		return;
	}
	if (!replace_whole(NAT_SNAPSHOT, nat.output, nat.output_size, &access)) {
		qos_warn("%s cannot be written: %s", NAT_SNAPSHOT, strerror(errno));
		remove_whole(NAT_SNAPSHOT);
	}
	free_run(&nat);
}

/* --- the run --- */

static size_t count_lines(const char *text)
{
	size_t count = 0;
	for (; *text; text++)
		count += *text == '\n';
	return count;
}

static void tell_lines(char *lines)
{
	for (char *line = lines, *end; (end = strchr(line, '\n')); line = end + 1)
		qos_warn("%.*s", static_cast<int>(end - line), line);
}

static void tell_end(const compile_result *result)
{
	size_t count = count_lines(result->told);
	if (result->status == -1)
		qos_warn("the compiler was ended by force");
	else if (result->status != WELL)
		qos_warn("the compiler ended with %d, before it was done", result->status);
	if (count > 0)
		qos_warn("%zu line%s of what was left out or could not be read", count,
			 count == 1 ? "" : "s");
}

/* Runs it apart, else with the fresh folder in force meanwhile. False where it was not started,
 * which is told. */
static bool run_into_fresh(compile_run *it, const script_folders *of)
{
	if (run_compiler(it, of->fresh))
		return true;
	if (!it->is_private) {
		qos_warn("no name space of its own for the compiler (%s): it runs in the folder of "
			 "scripts itself, and with the /tmp of all",
			 strerror(it->reason));
		free(it->told);
		if (!put_in_place(of)) {
			qos_warn("%s cannot be replaced: %s", of->in_force, strerror(errno));
			it->told = nullptr;
			return false;
		}
		if (run_compiler(it, nullptr))
			return true;
	}
	qos_warn("the compiler cannot be run: %s", strerror(it->reason));
	return false;
}

/* Makes the finished scripts those in force. */
static int take_over(const script_folders *of, bool is_in_place)
{
	const char *folder = is_in_place ? of->in_force : of->fresh;
	if (finish_folder(folder) && (is_in_place || put_in_place(of)))
		return EXIT_DONE;
	return tell_failure(of->in_force, errno);
}

static void keep_result(const compile_result *result)
{
	if (!write_compile_result(result))
		qos_warn("the result of the compile is not kept: %s", strerror(errno));
}

/* What comes of a run. The result is kept before the scripts are: a router that loses its power
 * between the two finds stores that are newer than its scripts. */
static int judge(const script_folders *of, const compile_run *run, const options *given)
{
	const compile_result result = { time(nullptr),
					WIFEXITED(run->status) ? WEXITSTATUS(run->status) : -1,
					run->told };
	const char *folder = run->is_private ? of->fresh : of->in_force;
	tell_lines(run->told);
	tell_end(&result);
	keep_result(&result);
	bool is_well = is_compiled_well(&result), has_new = has_scripts(folder);
	if (has_new && (is_well || given->force))
		return take_over(of, !run->is_private);
	if (is_well) // no compiler of ours: whatever was started in its place ended as it does
		qos_warn("the compiler has ended well and written no script");
	qos_warn("%s", given->force ? "there are no new scripts, and the old ones stay"
				    : "the scripts stay as they were; compile --force takes the new "
				      "ones all the same");
	return EXIT_FAILED;
}

static int compile(const script_folders *of, const options *given)
{
	if (!make_fresh_folder(of))
		return tell_failure(of->fresh, errno);
	take_nat_snapshot();
	compile_run run;
	int status = EXIT_FAILED;
	if (run_into_fresh(&run, of))
		status = judge(of, &run, given);
	free(run.told);
	if (!take_back(of)) // of what did not become the scripts, nothing stays
		return tell_failure(of->fresh, errno);
	return status;
}

/* --- the verb --- */

static bool has_policies(void)
{
	cfl *store = cfl_read(POLICY_STORE);
	bool has = cfl_get_sections_count(store) > 1;
	cfl_free(store);
	return has;
}

int run_compile(const options *given)
{
	script_folders of;
	if (!find_script_folders(&of, given)) {
		qos_warn("%s: the path is too long", SCRIPT_DIR);
		return EXIT_FAILED;
	}
	if (!has_policies()) {
		qos_warn("there is no policy, and nothing to compile");
		return EXIT_NOT_CONFIGURED;
	}
	compile_locks locks;
	int status = lock_all(&locks, &of);
	if (status == EXIT_DONE)
		status = compile(&of, given);
	unlock(&locks);
	if (status == EXIT_DONE)
		printf("compiled into %s; qosctl apply brings it to the kernel\n", of.in_force);
	return status;
}
