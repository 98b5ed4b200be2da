// SPDX-License-Identifier: MIT
/* The policy page: bound to one of five devices, and never deleting anything. */
#include "../../web/web.h"
#include "../support/request.h"

static const std::string STORE =
	"[LAN1]\nROOT_CLASS=root1\nDEFAULT_CLASS=default1\nR2Q=10\nQDISC=htb\nBAND[0]=b\n"
	"[LAN4]\nROOT_CLASS=root4\n";

/* The text of the cells of one row of the summary. */
static texts summary_row(const std::string &page, const std::string &label)
{
	std::string row = text_from(page, "width='5%'>" + label + "</td>\n");
	row = row.substr(0, row.find("</tr>"));
	texts cells;
	for (size_t at = 0; (at = row.find("<b>", at)) != std::string::npos; at++)
		cells.push_back(row.substr(at + 3, row.find("</b>", at) - at - 3));
	return cells;
}

TEST(policy_display, shows_the_five_devices_in_their_order_with_crossed_labels)
{
	fresh_pages router;
	std::string page = page_of(policy_display, "LAN3", MODE_EDIT);
	EXPECT_EQ(count_of(page, "onChange='change_device();'>\n"
				 " <option value='LAN1' >WAN1</option> \n"
				 " <option value='LAN2' >DMZ</option> \n"
				 " <option value='LAN3' selected>LAN</option> \n"
				 " <option value='LAN4' >WAN2</option> \n"
				 " <option value='LAN5' >SERIAL</option> \n"
				 "<tr bgcolor='#EEEEEE'> <td>&nbsp;R2Q</td>"), 1u);
}

TEST(policy_display, selects_no_device_for_an_id_that_is_none)
{
	fresh_pages router;
	router.store("policy", "[eth0]\nR2Q=1\n");
	for (const char *id : { "eth0", "lan1", "LAN", "LAN11", "LAN6", "" }) {
		std::string page = page_of(policy_display, id, MODE_EDIT);
		EXPECT_EQ(options_in(page, "id"), texts({ "LAN1", "LAN2", "LAN3", "LAN4", "LAN5" }))
			<< id;
	}
}

TEST(policy_display, shows_an_empty_form_and_row_for_a_device_without_a_policy)
{
	fresh_pages router;
	router.store("policy", STORE);
	std::string page = page_of(policy_display, "LAN2", MODE_NEW);
	for (const char *empty :
	     { "name='r2q' value=''>", "name='root_class' value='' readonly>",
	       "name='default_class' value='' readonly>", "rows='2'></textarea>" })
		EXPECT_EQ(count_of(page, empty), 1u) << empty;
	EXPECT_EQ(selected_in(page, "id"), texts({ "LAN2" }));
	EXPECT_EQ(summary_row(page, "DMZ"), texts({ "", "", "", "" }));
	EXPECT_EQ(alerts_in(page), texts());
}

TEST(policy_display, sums_up_all_devices_whatever_the_form_shows)
{
	fresh_pages router;
	router.store("policy", STORE);
	write_file(DESCRIPTIONS + "LAN1.policy", "uplink\n");
	write_file(DESCRIPTIONS + "LAN2.policy", "not shaped");
	for (int mode : { MODE_NEW, 1, MODE_EDIT }) {
		std::string page = page_of(policy_display, "LAN5", mode);
		EXPECT_EQ(summary_row(page, "WAN1"),
			  texts({ "10", "root1", "default1", "uplink\n" }));
		EXPECT_EQ(summary_row(page, "DMZ"), texts({ "", "", "", "not shaped" }));
		EXPECT_EQ(summary_row(page, "LAN"), texts({ "", "", "", "" }));
		EXPECT_EQ(summary_row(page, "WAN2"), texts({ "", "root4", "", "" }));
		EXPECT_EQ(summary_row(page, "SERIAL"), texts({ "", "", "", "" }));
	}
}

TEST(policy_display, loads_the_policy_and_asks_for_an_update_in_every_mode)
{
	fresh_pages router;
	router.store("policy", STORE);
	for (int mode : { MODE_NEW, 1, 2, MODE_EDIT, 7 }) {
		std::string page = page_of(policy_display, "LAN1", mode);
		EXPECT_EQ(count_of(page, "name='r2q' value='10'>"), 1u);
		EXPECT_EQ(count_of(page, "name='root_class' value='root1' readonly>"), 1u);
		EXPECT_EQ(count_of(page, "name='default_class' value='default1' readonly>"), 1u);
		EXPECT_EQ(count_of(page, "name='action' value='update'>"), 1u);
		EXPECT_EQ(count_of(page, "name='action'"), 1u);
		EXPECT_EQ(count_of(page, "onClick=\"go_save(document.policy_entry)\""),
			  mode == MODE_NEW ? 1u : 0u);
		EXPECT_EQ(count_of(page, "onClick=\"go_update(document.policy_entry)\""),
			  mode == MODE_EDIT ? 1u : 0u);
		EXPECT_EQ(count_of(page, "cancel"), 0u);
	}
}

TEST(policy_display, needs_an_id)
{
	fresh_pages router;
	router.store("policy", STORE);
	std::string page = page_of(policy_display, nullptr, MODE_NEW);
	EXPECT_EQ(alerts_in(page), texts({ "No such a ID" }));
	EXPECT_EQ(selected_in(page, "id"), texts());
	EXPECT_EQ(summary_row(page, "WAN1"), texts({ "10", "root1", "default1", "" }));
}

TEST(policy_display, tells_of_an_unreadable_store_once_for_the_form_and_for_each_device)
{
	fresh_pages router;
	router.break_store("policy");
	std::string page = page_of(policy_display, "LAN1", MODE_EDIT);
	EXPECT_EQ(alerts_in(page), texts(6, "CFG handle error!!"));
	EXPECT_EQ(count_of(page, fresh_pages::mark("policy_footer")), 1u);
}

TEST(policy_save, refuses_a_device_that_has_a_policy_which_an_update_replaces)
{
	fresh_pages router;
	router.store("policy", STORE);
	answer got = answer_to(post("id=LAN1&r2q=20&desc=new"), policy_save);
	EXPECT_EQ(got.result, 0);
	EXPECT_EQ(alerts_in(got.out), texts({ "Duplicated ID" }));
	EXPECT_EQ(read_file(STORES + "policy"), STORE);
	EXPECT_FALSE(has_file(DESCRIPTIONS + "LAN1.policy"));

	got = answer_to(post("id=LAN1&r2q=20&desc=new"), policy_update);
	EXPECT_EQ(got.result, 1);
	EXPECT_EQ(got.out, "");
	EXPECT_EQ(read_file(STORES + "policy"), "[LAN4]\nROOT_CLASS=root4\n[LAN1]\nR2Q=20\n");
	EXPECT_EQ(read_file(DESCRIPTIONS + "LAN1.policy"), "new");
}

TEST(policy_update, stores_an_empty_r2q_and_drops_one_that_was_not_posted)
{
	fresh_pages router;
	router.store("policy", STORE);
	answer_to(post("id=LAN1&r2q="), policy_update);
	EXPECT_EQ(read_file(STORES + "policy"), "[LAN4]\nROOT_CLASS=root4\n[LAN1]\nR2Q=\n");
	answer_to(post("id=LAN1"), policy_update);
	EXPECT_EQ(read_file(STORES + "policy"), "[LAN4]\nROOT_CLASS=root4\n[LAN1]\n");
}

TEST(policy_delete, leaves_the_file_and_answers_nothing)
{
	fresh_pages router;
	router.store("policy", STORE);
	answer got = answer_to_delete(policy_delete, "LAN1");
	EXPECT_EQ(got.result, 1);
	EXPECT_EQ(got.out, "");
	EXPECT_EQ(read_file(STORES + "policy"), STORE);
	got = answer_to_delete(policy_delete, nullptr);
	EXPECT_EQ(got.result, 1);
	EXPECT_EQ(alerts_in(got.out), texts({ "No such a ID" }));
	router.break_store("policy");
	got = answer_to_delete(policy_delete, "LAN1");
	EXPECT_EQ(got.result, 1);
	EXPECT_EQ(got.out, "");
}
