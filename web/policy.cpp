// SPDX-License-Identifier: MIT
/* The page of the policies: the form of one interface's policy, and a summary of all five. */
#include <stdio.h>

#include <cgi.h>

#include "../store/message.h"
#include "form.h"
#include "page.h"
#include "save.h"
#include "web.h"

struct device {
	char id[8]; // of the policy
	const char *label;
};

/* Id and label are crossed: LAN1 is the port that is marked WAN1 on the router, LAN2 the one
 * marked DMZ. The stores hold the ids. */
static const device DEVICES[] = {
	{ "LAN1", "WAN1" },
	{ "LAN2", "DMZ" },
	{ "LAN3", "LAN" },
	{ "LAN4", "WAN2" },
	{ "LAN5", "SERIAL" },
};
static_assert(sizeof(DEVICES) / sizeof(DEVICES[0]) == 5, "a row a device");

/* Neither the select nor its row is closed: browsers do that where the next row begins. */
static void print_device_row(const policy_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'> \t\t\t"
	       "<td  height='22'>&nbsp;%s</td>\t\t\t"
	       "<td colspan='2'><select name='id' size='1' onChange='change_device();'>\n",
	       "Device");
	for (const device &row : DEVICES)
		printf(" <option value='%s' %s>%s</option> \n",
		       row.id, selected(rec->id, row.id), row.label);
}

static void print_r2q_row(const policy_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'> "
	       "<td>&nbsp;%s</td>\t\t\t"
	       "<td colspan='2'><input type='text' name='r2q' value='%s'></td>\t\t\t</tr>\n",
	       "R2Q", text(rec->r2q));
}

/* The buttons that fill and clear the class in an input of the form, by the script's function
 * clear. */
static void print_class_buttons(const char *input, const char *clear)
{
	printf("<td width='140'>"
	       "<a href='#' onClick='open_class_list(\"policy_entry.%s\");' "
	       "onMouseOut=\"MM_swapImgRestore()\"  "
	       "onMouseOver=\"MM_swapImage('add1','','../../img/button/add01_02.gif',1)\">"
	       "<img name='add1' border='0' src='../../img/button/add01_01.gif' "
	       "width='62' height='20'>&nbsp;&nbsp;"
	       "<a href='#' onClick='%s(\"policy_entry.%s\");' "
	       "onMouseOut=\"MM_swapImgRestore()\"  "
	       "onMouseOver=\"MM_swapImage('delete1','','../../img/button/delete01_02.gif',1)\">"
	       "<img name='delete1' border='0' src='../../img/button/delete01_01.gif' "
	       "width='62' height='20'></a></a></td></tr> \n",
	       input, clear, input);
}

static void print_class_rows(const policy_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td>&nbsp;%s</td>"
	       "<td height='22'>"
	       "<input type='text' name='root_class' value='%s' readonly></td>\n",
	       "Root Class", text(rec->root_class));
	print_class_buttons("root_class", "del_class");
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22'>&nbsp;%s</td>"
	       "<td><input type=\"text\" name='default_class' value='%s' readonly></td>\n",
	       "Default Class", text(rec->default_class));
	print_class_buttons("default_class", "del_default_class");
}

static void print_description_row(const policy_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td>&nbsp;%s</td>"
	       "<td colspan='2'>"
	       "<textarea name='desc' cols='51' rows='2'>%s</textarea> </td></tr>\n",
	       "Description", text(rec->desc));
}

static void print_summary_row(const policy_rec *rec, const char *label)
{
	puts("<tr bgcolor='#EEEEEE'>");
	printf("<td height='22' align='center' width='5%%'>%s</td>\n", label);
	printf("<td align='center' width='6%%'><b>%s</b></td>\n", text(rec->r2q));
	printf("<td align='center' width='11%%'><b>%s</b></td>\n", text(rec->root_class));
	printf("<td align='center' width='11%%'><b>%s</b></td>\n", text(rec->default_class));
	printf("<td align='center' width='25%%'><b>%s</b></td>\n", text(rec->desc));
	puts("</tr>");
}

static void print_summary(void)
{
	printf("<table width='100%%' border='0' cellspacing='1' cellpadding='1' "
	       "bordercolor='#4F91CB'> \t\t\t"
	       "<tr bgcolor='#83A3D6' align=center> \t\t\t"
	       "<td class='txt_w02' height='23'> <b>%s</b></td>\t\t\t"
	       "<td class='txt_w02' height='23'> <b>%s</b></td>\t\t\t"
	       "<td class='txt_w02' height='23'> <b>%s</b></td>\t\t\t"
	       "<td class='txt_w02' height='23'> <b>%s</b></td>\t\t\t"
	       "<td class='txt_w02' height='23'> <b>%s</b></td>\t\t\t</tr>\n",
	       "Device", "R2Q", "Root Class", "Default Class", "Description");
	policy_rec rec = {};
	for (device row : DEVICES) { // a copy, for a loader keeps the id it is given
		get_policy_by_id(&rec, row.id);
		print_summary_row(&rec, row.label);
	}
	puts("</table>");
}

static void print_save_button(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onClick=\"go_save(document.policy_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('save','','../../img/button/save01_02.gif',1)\">"
	     "<img name='save' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a></td> \t\t  </tr></table>");
}

static void print_edit_button(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onClick=\"go_update(document.policy_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('edit','','../../img/button/edit01_02.gif',1)\">"
	     "<img name='edit' border='0' src='../../img/button/edit01_01.gif' "
	     "width='62' height='20'></a></td> \t\t  </tr></table>");
}

int policy_display(char *id, int mode)
{
	policy_rec rec = {};
	get_policy_by_id(&rec, id);
	cgi_include(HTML_DIR "policy_js.html");
	cgi_include(HTML_DIR "policy_header.html");
	open_form("policy");
	print_action(MODE_EDIT); // in every mode: the save button's script sets another
	open_table();
	print_device_row(&rec);
	print_r2q_row(&rec);
	print_class_rows(&rec);
	print_description_row(&rec);
	puts("</form>");
	puts("</table>");
	cgi_include(HTML_DIR "policy_center1.html");
	print_summary();
	cgi_include(HTML_DIR "policy_center.html");
	if (mode == MODE_NEW)
		print_save_button();
	if (mode == MODE_EDIT)
		print_edit_button();
	cgi_include(HTML_DIR "policy_footer.html");
	return 1;
}

void get_policy_param(policy_rec *rec)
{
	read_form(POLICY, rec);
}

static int store_policy(save_mode mode)
{
	policy_rec form = {};
	get_policy_param(&form);
	if (!form.id) {
		qos_msg(0, "ID or Port list is empty.");
		return 0;
	}
	object policy = { POLICY, form.id, form.desc, 0, {} };
	add_fields(&policy, &form);
	return save_object(&policy, mode);
}

int policy_save(void)
{
	return store_policy(SAVE);
}

int policy_update(void)
{
	return store_policy(UPDATE);
}

int policy_delete(char *id)
{
	if (!id)
		qos_msg(0, "No such a ID");
	return 1;
}
