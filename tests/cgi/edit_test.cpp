// SPDX-License-Identifier: MIT
/* An object that is edited in its store. */
#include "../../cgi/edit.h"

#include "../support/router_files.h"

static const std::string BEFORE =
	"# lists\n[a]\nPORT_LIST[0]=1\n# the second\nPORT_LIST[1]=2\nX=y\nPORT_LIST[3]=4\n"
	"[b]\nPORT_LIST[0]=9\n";

/* What a store is after change(store). */
template <typename block> static std::string after(const std::string &before, block change)
{
	fresh_router router;
	router.store("port", before);
	std::string path = STORES + "port";
	cfl *store = cfl_read(path.c_str());
	change(store);
	std::string text = written_by([store](FILE *stream) { cfl_write(store, stream); });
	cfl_free(store);
	return text;
}

static std::string with_list(const std::vector<const char *> &values)
{
	return after(BEFORE, [&values](cfl *store) {
		const edit of = { PORT, store, "a", true };
		set_list(&of, find_form_field(PORT, "port_list"), values.data(),
			 static_cast<int>(values.size()));
	});
}

TEST(edit, a_list_that_is_shorter_loses_its_end_and_what_stands_behind_a_gap)
{
	EXPECT_EQ(with_list({ "7" }), "# lists\n[a]\nPORT_LIST[0]=7\n# the second\nX=y\n"
				      "[b]\nPORT_LIST[0]=9\n");
	EXPECT_EQ(with_list({}), "# lists\n[a]\n# the second\nX=y\n[b]\nPORT_LIST[0]=9\n");
}

TEST(edit, a_list_that_is_longer_keeps_its_keys_where_they_are)
{
	EXPECT_EQ(with_list({ "1", "2", "3", "4" }),
		  "# lists\n[a]\nPORT_LIST[0]=1\n# the second\nPORT_LIST[1]=2\nX=y\n"
		  "PORT_LIST[3]=4\nPORT_LIST[2]=3\n[b]\nPORT_LIST[0]=9\n");
}
