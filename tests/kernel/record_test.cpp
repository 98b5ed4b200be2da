// SPDX-License-Identifier: MIT
/* What was applied, as a file: read back as it was written, or not at all. */
#include "../../kernel/commit.h"

#include <errno.h>
#include <signal.h>
#include <sys/resource.h>

#include "../../store/fingerprint.h"
#include "../support/router_files.h"

static const std::string PATH = SCRATCH + "below/applied";

/* A record with bytes of every kind; free_record releases it. */
static record some_record()
{
	record it = {};
	it.when = 1795284000;
	put_script(&it.scripts, "eth0", "QDISC=htb\n", 10);
	put_script(&it.scripts, "eth0-2.a\nb", "", 0);
	put_script(&it.scripts, "eth0-2:10.end 0", "end 0\n\0script 5\n", 16);
	it.scripts[1].changed = 77;
	add_made(&it, "eth0", 4);
	add_made(&it, "x.@-_1", 2147483647);
	return it;
}

static void expect_same(const record &one, const record &other)
{
	EXPECT_EQ(one.when, other.when);
	EXPECT_TRUE(has_same_set(&one.scripts, &other.scripts));
	EXPECT_TRUE(has_same_made(&one, &other));
	for (size_t i = 0; i < one.scripts.count && i < other.scripts.count; i++)
		EXPECT_EQ(one.scripts[i].changed, other.scripts[i].changed);
}

/* Writes it and returns the file's bytes. */
static std::string written(const record &it)
{
	EXPECT_TRUE(write_record(&it, PATH.c_str())) << strerror(errno);
	return read_file(PATH);
}

static int error_of_reading(const std::string &bytes)
{
	write_file(PATH, bytes);
	record it;
	errno = 0;
	if (read_record(&it, PATH.c_str())) {
		free_record(&it);
		return 0;
	}
	EXPECT_EQ(it.scripts.count + it.made.count, 0u);
	return errno;
}

TEST(record, is_read_back_as_it_was_written)
{
	fresh_router router;
	record it = some_record(), nothing = {}, read;
	written(it);
	ASSERT_TRUE(read_record(&read, PATH.c_str()));
	expect_same(it, read);
	free_record(&read);
	written(nothing);
	ASSERT_TRUE(read_record(&read, PATH.c_str()));
	expect_same(nothing, read);
	free_record(&read);
	free_record(&it);
}

TEST(record, that_is_not_there_is_none)
{
	fresh_router router;
	record it;
	EXPECT_FALSE(read_record(&it, PATH.c_str()));
	EXPECT_EQ(errno, ENOENT);
	EXPECT_TRUE(read_record_or_none(&it, PATH.c_str()));
	EXPECT_EQ(it.scripts.count, 0u);
}

TEST(record, that_is_cut_anywhere_is_refused)
{
	fresh_router router;
	record it = some_record();
	std::string bytes = written(it);
	for (size_t size = 0; size < bytes.size(); size++)
		EXPECT_EQ(error_of_reading(bytes.substr(0, size)), EBADMSG) << size;
	EXPECT_EQ(error_of_reading(bytes + "\n"), EBADMSG);
	EXPECT_EQ(error_of_reading(bytes), 0);
	free_record(&it);
}

TEST(record, with_any_byte_changed_is_refused)
{
	fresh_router router;
	record it = some_record();
	std::string bytes = written(it);
	for (size_t i = 0; i < bytes.size(); i++) {
		for (char flip : { '\x01', '\x80' }) {
			std::string changed = bytes;
			changed[i] = static_cast<char>(changed[i] ^ flip);
			EXPECT_EQ(error_of_reading(changed), EBADMSG) << i;
		}
	}
	free_record(&it);
}

/* The same text with another fingerprint below it. */
static std::string sealed(const std::string &above)
{
	char print[FINGERPRINT_SIZE];
	write_fingerprint(print, add_bytes(FINGERPRINT_START, above.data(), above.size()));
	return above + print + "\n";
}

TEST(record, that_no_apply_can_have_written_is_refused)
{
	fresh_router router;
	std::filesystem::create_directories(SCRATCH + "below");
	const std::string first = "qos-applied 1\nwhen 5\n";
	EXPECT_EQ(error_of_reading(sealed(first + "end ")), 0);
	for (const char *rest : {
		     "made 0000000000002147483648 eth0\nend ", "made -1 eth0\nend ",
		     "made 1 \nend ", "made 1 sixteenletterss1\nend ", "made 1 eth0",
		     "script 0 0 3 a/b\n\nend ", "script 0 0 2 .a\n\nend ", "script 0 0 0 \n\nend ",
		     "script 0 0 1 b\n\nscript 0 0 1 a\n\nend ",
		     "script 0 0 1 a\n\nscript 0 0 1 a\n\nend ",
		     "script 99999999999999999999999 0 1 a\n\nend ",
		     "script 18446744073709551615 0 1 a\n\nend ", "script 5 0 1 a\nxx\nend ",
		     "script 0 0 1 a\n\nmade 1 eth0\nend ", "end end ", "" })
		EXPECT_EQ(error_of_reading(sealed(first + rest)), EBADMSG) << rest;
	EXPECT_EQ(error_of_reading(sealed("qos-applied 2\nwhen 5\nend ")), EBADMSG);
	EXPECT_EQ(error_of_reading(sealed("qos-applied 1\nwhen x\nend ")), EBADMSG);
}

TEST(record, stays_the_former_on_a_full_disk)
{
	fresh_router router;
	record it = some_record();
	std::string bytes = written(it);
	add_made(&it, "eth1", 9);
	signal(SIGXFSZ, SIG_IGN);
	rlimit before, lower;
	getrlimit(RLIMIT_FSIZE, &before);
	for (rlim_t limit = 0; limit < bytes.size(); limit += 20) {
		lower = { limit, before.rlim_max };
		setrlimit(RLIMIT_FSIZE, &lower);
		EXPECT_FALSE(write_record(&it, PATH.c_str())) << limit;
		setrlimit(RLIMIT_FSIZE, &before);
		EXPECT_EQ(read_file(PATH), bytes) << limit;
	}
	free_record(&it);
}

/* What stands in the records after an apply that was cut behind each of its steps. */
TEST(record, of_an_apply_that_was_cut_is_the_former_or_the_newer_one)
{
	fresh_router router;
	std::filesystem::create_directories("/run/qos");
	record older = {}, former = {}, newer = {};
	put_script(&older.scripts, "a", "1\n", 2);
	put_script(&former.scripts, "a", "2\n", 2);
	put_script(&newer.scripts, "a", "3\n", 2);
	const record *const states[] = { &former, &newer };
	for (int cut = 0; cut < 4; cut++) {
		ASSERT_TRUE(write_record(&older, BEFORE_FILE));
		ASSERT_TRUE(write_record(&former, APPLIED_FILE));
		ASSERT_TRUE(open_apply(&newer));
		ASSERT_TRUE(cut < 1 || write_record(&former, FORMER_FILE));
		ASSERT_TRUE(cut < 2 || write_record(&newer, APPLIED_FILE));
		ASSERT_TRUE(cut < 3 || rename(FORMER_FILE, BEFORE_FILE) == 0);
		ASSERT_TRUE(close_apply());
		record applied, before;
		ASSERT_TRUE(read_record(&applied, APPLIED_FILE));
		ASSERT_TRUE(read_record(&before, BEFORE_FILE));
		expect_same(applied, *states[cut >= 2]);
		expect_same(before, cut >= 2 ? former : older);
		EXPECT_FALSE(has_file(OPEN_FILE)) << cut;
		EXPECT_FALSE(has_file(FORMER_FILE)) << cut;
		free_record(&applied);
		free_record(&before);
	}
	for (record *it : { &older, &former, &newer })
		free_record(it);
}

TEST(record, of_what_runs_becomes_the_last_good_one)
{
	fresh_router router;
	std::filesystem::create_directories("/run/qos");
	std::filesystem::create_directories("/var/lib");
	std::filesystem::remove_all("/var/lib/qos");
	std::filesystem::remove(APPLIED_FILE);
	EXPECT_FALSE(keep_good());
	EXPECT_EQ(errno, ENOENT);
	record applied = some_record(), good;
	ASSERT_TRUE(write_record(&applied, APPLIED_FILE));
	ASSERT_TRUE(keep_good()) << strerror(errno);
	ASSERT_TRUE(read_record(&good, GOOD_FILE));
	EXPECT_TRUE(has_same_set(&good.scripts, &applied.scripts));
	EXPECT_EQ(good.made.count, 0u); // the next start makes devices anew
	free_record(&good);

	const record stopped = {};
	ASSERT_TRUE(write_record(&stopped, APPLIED_FILE));
	ASSERT_TRUE(keep_good()) << strerror(errno);
	ASSERT_TRUE(read_record(&good, GOOD_FILE));
	EXPECT_TRUE(has_same_set(&good.scripts, &applied.scripts)) << "nothing is no state to start with";
	free_record(&good);
	free_record(&applied);
}
