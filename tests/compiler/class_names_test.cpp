// SPDX-License-Identifier: MIT
/* The names of class scripts, on both sides of what holds them. */
#include "compiler_files.h"

static const struct {
	const char *parent; // null for none
	int minor;
	const char *handle; // null where there is none
} HANDLES[] = {
	{ nullptr, 2, "2" },
	{ nullptr, 1000, "1000" },
	{ "2", 10, "2:10" },
	{ "2:10", 20, "2:10:20" },
	{ "2:10", 0, "2:10" },
	{ "", 10, ":10" },
	{ nullptr, 0, nullptr },
	{ "", 0, nullptr },
};

TEST(make_class_names, joins_the_parents_handle_and_the_minor_number)
{
	for (const auto &row : HANDLES) {
		char name[CLASS_NAME_SIZE] = "untouched", handle[CLASS_HANDLE_SIZE] = "untouched";
		int made = make_class_names(name, handle, "nas0", "web", row.parent, row.minor);
		EXPECT_EQ(made, row.handle ? 1 : 0);
		const std::string expected = row.handle ? row.handle : "untouched";
		EXPECT_EQ(handle, expected);
		EXPECT_EQ(name, row.handle ? "nas0-" + expected + ".web" : "untouched");
	}
}

/* Makes names in buffers with a guard behind each; handle is the parent's and minor 10. */
static int names_fit(const std::string &id, const std::string &parent, std::string *name)
{
	struct {
		char name[CLASS_NAME_SIZE], name_guard[32];
		char handle[CLASS_HANDLE_SIZE], handle_guard[32];
	} room;
	memset(&room, '#', sizeof(room));
	int made = make_class_names(room.name, room.handle, "nas0", id.c_str(), parent.c_str(), 10);
	EXPECT_EQ(std::string(room.name_guard, 32), std::string(32, '#'));
	EXPECT_EQ(std::string(room.handle_guard, 32), std::string(32, '#'));
	if (made) {
		EXPECT_EQ(room.handle, parent + ":10");
		*name = room.name;
	}
	return made;
}

TEST(make_class_names, refuses_a_name_of_128_characters)
{
	const std::string id(CLASS_NAME_SIZE - 1 - strlen("nas0-2:10."), 'i');
	std::string name;
	EXPECT_EQ(names_fit(id, "2", &name), 1);
	EXPECT_EQ(name, "nas0-2:10." + id);
	EXPECT_EQ(name.size(), 127u);
	EXPECT_EQ(names_fit(id + "i", "2", &name), 0);
	EXPECT_EQ(names_fit(std::string(5000, 'i'), "2", &name), 0);
}

TEST(make_class_names, refuses_a_handle_of_64_characters)
{
	const std::string parent(CLASS_HANDLE_SIZE - 1 - strlen(":10"), '2');
	std::string name;
	EXPECT_EQ(names_fit("web", parent, &name), 1);
	EXPECT_EQ(name, "nas0-" + parent + ":10.web");
	EXPECT_EQ(names_fit("web", parent + "2", &name), 0);
	EXPECT_EQ(names_fit("web", std::string(5000, '2'), &name), 0);
}
