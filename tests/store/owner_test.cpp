// SPDX-License-Identifier: MIT
#include "../../store/owner.h"

#include <errno.h>
#include <signal.h>
#include <sys/prctl.h>

#include "../support/router_files.h"

static const uid_t USER = 33;
static const gid_t GROUP = 34;

/* Whether this is root, and there is another user whose the stores can be. */
static bool give_stores_away()
{
	return geteuid() == 0 && chown(STORES.c_str(), USER, GROUP) == 0;
}

TEST(become_owner, does_nothing_where_the_stores_are_its_own)
{
	fresh_router router;
	uid_t user = geteuid();
	gid_t group = getegid();
	EXPECT_TRUE(become_owner());
	EXPECT_EQ(geteuid(), user);
	EXPECT_EQ(getegid(), group);
	tell_protected_file();
	become_root_again();
	EXPECT_EQ(geteuid(), user);
}

TEST(become_owner, does_nothing_where_there_are_no_stores)
{
	fresh_router router;
	uid_t user = geteuid();
	std::filesystem::remove_all(STORES);
	EXPECT_TRUE(become_owner());
	EXPECT_EQ(geteuid(), user);
	become_root_again();
}

TEST(become_owner, is_user_and_group_and_no_other_until_root_again)
{
	fresh_router router;
	if (!give_stores_away())
		GTEST_SKIP() << "this is not root, or there is one user alone";
	gid_t group = getegid();
	for (int i = 0; i < 2; i++) {
		ASSERT_TRUE(become_owner());
		EXPECT_TRUE(become_owner()); // who already is
		uid_t real, effective, saved;
		ASSERT_EQ(getresuid(&real, &effective, &saved), 0);
		EXPECT_EQ(effective, USER);
		EXPECT_EQ(real, 0u); // else that user could trace and end it
		EXPECT_EQ(saved, 0u);
		EXPECT_EQ(getegid(), GROUP);
		gid_t groups[2] = {};
		EXPECT_EQ(getgroups(2, groups), 1);
		EXPECT_EQ(groups[0], GROUP);
		become_root_again();
		EXPECT_EQ(geteuid(), 0u);
		EXPECT_EQ(getegid(), group);
	}
}

TEST(become_owner, still_ends_with_its_parent)
{
	fresh_router router;
	if (!give_stores_away())
		GTEST_SKIP() << "this is not root, or there is one user alone";
	ASSERT_EQ(prctl(PR_SET_PDEATHSIG, SIGUSR1), 0);
	for (auto change : { +[] { become_owner(); }, &become_root_again }) {
		change();
		int wanted = 0;
		EXPECT_EQ(prctl(PR_GET_PDEATHSIG, &wanted), 0);
		EXPECT_EQ(wanted, SIGUSR1);
	}
	prctl(PR_SET_PDEATHSIG, 0);
}

/* A folder that was given another owner alone, who is not known by name. */
TEST(become_owner, is_never_of_the_group_of_root)
{
	fresh_router router;
	if (!give_stores_away())
		GTEST_SKIP() << "this is not root, or there is one user alone";
	ASSERT_EQ(chown(STORES.c_str(), 54321, 0), 0);
	errno = 0;
	EXPECT_FALSE(become_owner());
	EXPECT_EQ(errno, EPERM);
	EXPECT_EQ(geteuid(), 0u);
	EXPECT_EQ(getegid(), 0u);
	become_root_again();
}

TEST(tell_protected_file, names_what_the_owner_may_not_change)
{
	fresh_router router;
	if (!give_stores_away())
		GTEST_SKIP() << "this is not root, or there is one user alone";
	ASSERT_EQ(chown(DESCRIPTIONS.c_str(), USER, GROUP), 0);
	write_file(DESCRIPTIONS + "LAN1.policy", "fibre\n");
	testing::internal::CaptureStderr(); // makes a file
	ASSERT_TRUE(become_owner());
	tell_protected_file();
	become_root_again();
	std::string told = testing::internal::GetCapturedStderr();
	EXPECT_EQ(told, "qos: " + STORES + "desc/LAN1.policy: Permission denied: root changes the stores "
			"as their owner, user 33, who must have it: chown it to that user\n");
}
