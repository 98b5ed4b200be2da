// SPDX-License-Identifier: MIT
/* The names of scripts, made and taken to pieces. */
#include "../../scripts/scripts.h"

#include "../support/router_files.h"

TEST(make_script_name, refuses_what_does_not_fit)
{
	char name[16];
	EXPECT_TRUE(make_script_name(name, sizeof(name), "nas0", "2:10", "12345"));
	EXPECT_STREQ(name, "nas0-2:10.12345");
	EXPECT_FALSE(make_script_name(name, sizeof(name), "nas0", "2:10", "123456"));
}

static const struct {
	const char *name;
	const char *device, *handle, *id; // null where no script is called so
} NAMES[] = {
	{ "nas0", "nas0", "", "" },
	{ "nas_0", "nas_0", "", "" },
	{ "nas0-2.root", "nas0", "2", "root" },
	{ "nas0-1000.root", "nas0", "1000", "root" },
	{ "nas0-2:10:20.web", "nas0", "2:10:20", "web" },
	{ "hdlc0-2:2.", "hdlc0", "2:2", "" },
	{ "nas0-2:10.a-2.b.c", "nas0", "2:10", "a-2.b.c" },
	{ "br-lan-2.root", "br-lan", "2", "root" },
	{ "eth0.5-2:10.x", "eth0.5", "2:10", "x" },
	{ "123456789012345", "123456789012345", "", "" },
	{ "123456789012345-2.r", "123456789012345", "2", "r" },
	// no handle, and so the name of a device
	{ "br-lan", "br-lan", "", "" },
	{ "nas0-2", "nas0-2", "", "" },
	{ "nas0-.root", "nas0-.root", "", "" },
	{ "nas0-2:.root", "nas0-2:.root", "", "" },
	{ "nas0-:2.root", "nas0-:2.root", "", "" },
	{ "nas0-2::3.r", "nas0-2::3.r", "", "" },
	{ "nas0-2x.root", "nas0-2x.root", "", "" },
	{ "-2.root", "-2.root", "", "" },
	// none
	{ "", nullptr, nullptr, nullptr },
	{ "1234567890123456", nullptr, nullptr, nullptr },
	{ "1234567890123456-2.r", nullptr, nullptr, nullptr },
	{ ".nas0-2.root.000000.draft", nullptr, nullptr, nullptr },
	{ ".", nullptr, nullptr, nullptr },
	{ "sub/nas0", nullptr, nullptr, nullptr },
	{ "nas0-2.a/b", nullptr, nullptr, nullptr },
};

TEST(parse_script_name, takes_the_first_place_where_a_handle_can_stand)
{
	for (const auto &row : NAMES) {
		SCOPED_TRACE(row.name);
		script_name parsed = {};
		ASSERT_EQ(parse_script_name(&parsed, row.name, nullptr), row.device != nullptr);
		if (!row.device)
			continue;
		EXPECT_STREQ(parsed.device, row.device);
		EXPECT_STREQ(parsed.handle, row.handle);
		EXPECT_STREQ(parsed.id, row.id);
	}
}

TEST(parse_script_name, knows_a_device_that_holds_what_looks_like_a_handle)
{
	script_name parsed;
	ASSERT_TRUE(parse_script_name(&parsed, "eth0-2.5-2:10.x", "eth0-2.5"));
	EXPECT_STREQ(parsed.device, "eth0-2.5");
	EXPECT_STREQ(parsed.handle, "2:10");
	EXPECT_STREQ(parsed.id, "x");
	ASSERT_TRUE(parse_script_name(&parsed, "eth0-2.5", "eth0-2.5"));
	EXPECT_STREQ(parsed.device, "eth0-2.5");
	EXPECT_STREQ(parsed.handle, "");
	for (const char *name : { "eth0", "eth0-2.x", "eth0-2.55", "eth0-2.5-x", "xeth0-2.5", "" })
		EXPECT_FALSE(parse_script_name(&parsed, name, "eth0-2.5")) << name;
	EXPECT_FALSE(parse_script_name(&parsed, "", ""));
	EXPECT_FALSE(parse_script_name(&parsed, "-2.x", ""));
}

TEST(parse_script_name, refuses_a_handle_of_64_characters)
{
	const std::string handle(SCRIPT_HANDLE_SIZE - 1, '2');
	script_name parsed;
	ASSERT_TRUE(parse_script_name(&parsed, ("nas0-" + handle + ".x").c_str(), nullptr));
	EXPECT_EQ(parsed.handle, handle);
	EXPECT_FALSE(parse_script_name(&parsed, ("nas0-2" + handle + ".x").c_str(), nullptr));
}

TEST(parse_script_name, takes_to_pieces_what_was_put_together)
{
	for (const char *device : { "nas0", "nas_0", "br-lan", "eth0.5" }) {
		for (const char *handle : { "2", "1000", "2:10:20" }) {
			for (const char *id : { "root", "", "a-b.c", "2.x", "-2.x" }) {
				char name[SCRIPT_NAME_SIZE];
				ASSERT_TRUE(make_script_name(name, sizeof(name), device, handle, id));
				SCOPED_TRACE(name);
				for (const char *known : { device, (const char *)nullptr }) {
					script_name parsed;
					ASSERT_TRUE(parse_script_name(&parsed, name, known));
					EXPECT_STREQ(parsed.device, device);
					EXPECT_STREQ(parsed.handle, handle);
					EXPECT_STREQ(parsed.id, id);
				}
			}
		}
	}
}
