// SPDX-License-Identifier: MIT
/* Who names a filter, and what a change of a class or band makes of the marks. */
#include "../../cgi/marks.h"

#include "../support/router_files.h"

static cfl *store_of(const std::string &text)
{
	return cfl_read_text(text.data(), text.size());
}

/* The marks of the filters a, b and c, "u" for use and "-" for unuse, after an object of a kind with
 * the id o was changed; before is its store as it was. */
static std::string marks_after(object_kind kind, const std::string &before,
			       const std::string &classes, const std::string &bands)
{
	cfl *filters = store_of("[a]\nUSE=use\n[b]\nUSE=unuse\n[c]\n");
	cfl *was = store_of(before);
	const naming_stores now = { store_of(classes), store_of(bands) };
	mend_marks(filters, was, &now, kind, "o");
	std::string marks;
	for (const char *id : { "a", "b", "c" }) {
		const char *mark = cfl_value_get_by_name(filters, id, "USE", nullptr);
		marks += !mark ? "0" : strcmp(mark, "use") == 0 ? "u" : "-";
	}
	for (cfl *store : { filters, was, now.classes, now.bands })
		cfl_free(store);
	return marks;
}

static const std::string A = "[o]\nFILTER_ID[0]=a\n", B = "[o]\nFILTER_ID[0]=b\n";
static const std::string OTHER_A = "[p]\nFILTER_ID[0]=a\n";

TEST(marks, filters_that_were_taken_or_left_are_marked)
{
	for (object_kind kind : { CLASS, BASIC }) {
		bool is_class = kind == CLASS;
		EXPECT_EQ(marks_after(kind, A, is_class ? B : "", is_class ? "" : B), "-u0");
		EXPECT_EQ(marks_after(kind, A, "", ""), "--0");
		EXPECT_EQ(marks_after(kind, "", is_class ? A : "", is_class ? "" : A), "u-0");
	}
}

TEST(marks, a_filter_that_another_class_or_band_names_stays_in_use)
{
	EXPECT_EQ(marks_after(CLASS, A, OTHER_A, ""), "u-0");
	EXPECT_EQ(marks_after(CLASS, A, "", OTHER_A), "u-0");
	EXPECT_EQ(marks_after(BASIC, A, OTHER_A, ""), "u-0");
	EXPECT_EQ(marks_after(BASIC, A, "", OTHER_A), "u-0");
	EXPECT_EQ(marks_after(BASIC, A, A, ""), "u-0"); // a class of the band's own name
}

TEST(marks, the_object_itself_is_no_other_user)
{
	cfl *same = store_of(A), *none = store_of("");
	const naming_stores classes = { same, none }, bands = { none, same };
	EXPECT_EQ(find_user(&classes, "a", CLASS, "o"), nullptr);
	EXPECT_STREQ(find_user(&classes, "a", BASIC, "o"), "o");
	EXPECT_STREQ(find_user(&classes, "a", CLASS, nullptr), "o");
	EXPECT_EQ(find_user(&bands, "a", BASIC, "o"), nullptr);
	EXPECT_STREQ(find_user(&bands, "a", CLASS, "o"), "o");
	EXPECT_EQ(find_user(&bands, "b", CLASS, nullptr), nullptr);
	cfl_free(same);
	cfl_free(none);
}

TEST(marks, one_mark_is_made_true_by_whoever_names_it)
{
	cfl *filters = store_of("[a]\nUSE=unuse\n# x\n[b]\nUSE=use\n");
	const naming_stores now = { store_of(""), store_of(OTHER_A) };
	mend_mark(filters, &now, "a");
	mend_mark(filters, &now, "b");
	mend_mark(filters, &now, "no filter");
	EXPECT_EQ(written_by([filters](FILE *stream) { cfl_write(filters, stream); }),
		  "[a]\nUSE=use\n# x\n[b]\nUSE=unuse\n");
	for (cfl *store : { filters, now.classes, now.bands })
		cfl_free(store);
}
