// SPDX-License-Identifier: MIT
/* Names of fields and of their units, and what a page shows where a key is missing. */
#include "../../cgi/fields.h"

#include "../../web/web.h"
#include "../support/request.h"

TEST(fields, names_of_units)
{
	char name[UNIT_NAME_SIZE];
	make_unit_form(name, "time_cburst");
	EXPECT_STREQ(name, "time_cburst_unit");
	make_unit_key(name, "RATE");
	EXPECT_STREQ(name, "RATE_UNIT");
	make_unit_key(name, "TIME_CBURST[2]");
	EXPECT_STREQ(name, "TIME_CBURST_UNIT[2]");
}

TEST(fields, every_unit_has_a_number_and_every_name_fits)
{
	int units = 0;
	for (const field_table &table : FIELDS) {
		for (const field &row : table) {
			if (!row.form)
				continue;
			char unit[UNIT_NAME_SIZE];
			EXPECT_LT(strlen(row.form) + strlen("_unit"), sizeof(unit)) << row.form;
			if (!is_unit(&row))
				continue;
			units++;
			std::string number = row.form;
			number.resize(number.size() - strlen("_unit"));
			bool found = false;
			for (const field &other : table)
				found = found || (other.form && number == other.form);
			EXPECT_TRUE(found) << row.form;
		}
	}
	EXPECT_EQ(units, 9);
}

/* The first option of a select, or the text of an input, on an empty page. */
static std::string shown_on(const std::string &page, const std::string &name)
{
	texts options = options_in(page, name);
	if (!options.empty())
		return options[0].substr(0, options[0].find('*'));
	std::string input = text_from(page, "name='" + name + "'");
	std::string value = text_from(input.substr(0, input.find('>')), "value='");
	return value.empty() ? "" : value.substr(7, value.find('\'', 7) - 7);
}

TEST(fields, presets_are_what_the_page_of_a_new_class_shows)
{
	fresh_pages router;
	std::string page = page_of(class_display, nullptr, 0);
	for (const field &row : CLASS_FIELDS) {
		if (row.role != VALUE && row.role != SLOTS)
			continue;
		if (strcmp(row.form, SWITCH_FIELD) != 0) {
			EXPECT_EQ(shown_on(page, row.form), get_preset(row.form)) << row.form;
		}
	}
	EXPECT_EQ(shown_on(page, "leaf"), get_preset("leaf"));
}

TEST(fields, presets_are_what_the_page_of_a_new_filter_shows)
{
	fresh_pages router;
	std::string page = page_of(filter_display, nullptr, 0);
	for (const char *form : { "trans_proto", "prio", "int_ip_id", "ext_ip_id", "int_port_id",
				  "ext_port_id", "tos" })
		EXPECT_EQ(shown_on(page, form), get_preset(form)) << form;
}
