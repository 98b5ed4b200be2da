// SPDX-License-Identifier: MIT
/* Stores that go back to the disk: together or not at all. */
#include "../../store/save.h"

#include <errno.h>
#include <sys/stat.h>

#include "../../store/description.h"
#include "../support/request.h"

/* Adds section new to the store. */
static cfl *changed(const char *path)
{
	cfl *store = cfl_read(path);
	EXPECT_EQ(cfl_section_insert(store, "new"), 0) << path;
	return store;
}

static int save_both(cfl *classes, cfl *filters)
{
	const changed_store both[] = { { CLASS_STORE, classes }, { FILTER_STORE, filters } };
	return save_stores(both, 2);
}

TEST(save_stores, replaces_two_stores_and_keeps_their_access)
{
	fresh_router router;
	router.store("class", "[a]\n");
	router.store("filter", "# none");
	ASSERT_EQ(chmod(CLASS_STORE, 0640), 0);
	ASSERT_EQ(chmod(FILTER_STORE, 0606), 0);
	cfl *classes = changed(CLASS_STORE), *filters = changed(FILTER_STORE);
	printed all = printed_by([&] { EXPECT_EQ(save_both(classes, filters), 1); });
	EXPECT_EQ(all.out + all.err, "");
	EXPECT_EQ(read_file(CLASS_STORE), "[a]\n[new]\n");
	EXPECT_EQ(read_file(FILTER_STORE), "# none\n[new]\n");
	struct stat info;
	ASSERT_EQ(stat(CLASS_STORE, &info), 0);
	EXPECT_EQ(info.st_mode & 07777, 0640u);
	ASSERT_EQ(stat(FILTER_STORE, &info), 0);
	EXPECT_EQ(info.st_mode & 07777, 0606u);
	EXPECT_EQ(get_write_failure(), nullptr);
	cfl_free(classes);
	cfl_free(filters);
}

/* A store that another program of the router keeps elsewhere. */
TEST(save_stores, leaves_links_where_they_lead)
{
	fresh_router router;
	write_file(SCRATCH + "far", "[a]\n");
	std::filesystem::create_symlink(SCRATCH + "far", CLASS_STORE);
	router.store("filter", "");
	bool is_root = geteuid() == 0;
	if (is_root) {
		ASSERT_EQ(chown((SCRATCH + "far").c_str(), 12, 34), 0);
	}
	cfl *classes = changed(CLASS_STORE), *filters = changed(FILTER_STORE);
	EXPECT_EQ(save_both(classes, filters), 1);
	EXPECT_EQ(std::filesystem::read_symlink(CLASS_STORE), SCRATCH + "far");
	EXPECT_EQ(read_file(SCRATCH + "far"), "[a]\n[new]\n");
	struct stat info;
	ASSERT_EQ(stat(CLASS_STORE, &info), 0);
	EXPECT_EQ(info.st_uid, is_root ? 12 : geteuid());
	EXPECT_EQ(info.st_gid, is_root ? 34 : getegid());
	cfl_free(classes);
	cfl_free(filters);
}

/* What the process that saves knows of the failure, as an exit status. */
static int told_reason(const char *path)
{
	const write_failure *failure = get_write_failure();
	if (!failure || strcmp(failure->path, path) != 0)
		return 0;
	return failure->reason;
}

TEST(save_stores, replaces_neither_when_one_cannot_be_written)
{
	for (const char *broken : { CLASS_STORE, FILTER_STORE }) {
		fresh_router router;
		router.store("class", "[a]\n");
		router.store("filter", "[f]\n");
		cfl *classes = changed(CLASS_STORE), *filters = changed(FILTER_STORE);
		std::filesystem::remove(broken);
		answer got = answer_to(get(""), [&] {
			return save_both(classes, filters) ? 0 : told_reason(broken);
		});
		EXPECT_EQ(got.result, ENOENT) << broken;
		EXPECT_EQ(got.err, "qos: " + std::string(broken) +
					   ": left as it was: No such file or directory\n");
		const char *other = broken == CLASS_STORE ? FILTER_STORE : CLASS_STORE;
		EXPECT_EQ(read_file(other), other == CLASS_STORE ? "[a]\n" : "[f]\n");
		size_t files = 0;
		for (const auto &entry : std::filesystem::directory_iterator(STORES))
			files += entry.is_regular_file();
		EXPECT_EQ(files, 1u); // and no draft
		cfl_free(classes);
		cfl_free(filters);
	}
}

TEST(get_write_failure, gives_the_first_of_several)
{
	fresh_router router;
	std::filesystem::create_directory(DESCRIPTIONS + "x.port");
	answer got = answer_to(get(""), [] {
		if (write_desc("x", "port", "words") || write_desc("a/b", "port", "words"))
			return 0;
		return told_reason((std::string(DESC_DIR) + "x.port").c_str());
	});
	EXPECT_EQ(got.result, EISDIR);
}
