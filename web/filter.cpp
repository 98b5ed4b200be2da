// SPDX-License-Identifier: MIT
/* The pages of the filters. */
#include <stdio.h>
#include <string.h>

#include <cgi.h>

#include "../store/message.h"
#include "../store/paths.h"
#include "../store/reference.h"
#include "form.h"
#include "page.h"
#include "save.h"
#include "web.h"

static void print_identity_row(const filter_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22'>&nbsp;%s</td> \t\t\t"
	       "<td colspan='3'><input type='text' name='id' value='%s'></td> \t\t\t"
	       "<td colspan='2'>&nbsp;%s</td> \t\t\t"
	       "<td colspan='2'><select name='prio' size='1'>\n",
	       "ID", text(rec->id), "Priority");
	for (int prio = 1; prio <= 9; prio++)
		printf("<option value='%d' %s>%d</option> \n",
		       prio, selected_number(rec->prio, prio), prio);
	puts(" </select></td> </tr>");
}

/* The network protocol is shown only: there is but one. */
static void print_protocol_row(const filter_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td colspan='2' height='22'>&nbsp;%s</td> \t\t\t"
	       "<td colspan='2'> &nbsp;&nbsp;IP</td> \t\t\t"
	       "<td colspan='2'> &nbsp;%s</td> \t\t\t"
	       "<td colspan='2'><select name='trans_proto' size='1'> \n",
	       "Network Protocol", "Transport Protocol");
	printf("<option value='tcp' %s>TCP</option> \n", selected(rec->trans_proto, "tcp"));
	printf("<option value='udp' %s>UDP</option> \n", selected(rec->trans_proto, "udp"));
	printf(" </select></td></tr>");
}

/* "none" is always selected: a browser shows the last selected option, so it stands for a filter
 * without a precedence only. An empty precedence is none, not 0. */
static void print_tos_row(const filter_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22' colspan='2'>&nbsp;%s</td> \t\t\t"
	       "<td colspan='6'><select name='tos' >\n",
	       "TOS Precedence");
	printf("<option value='' selected> none </option>");
	const char *tos = rec->tos && *rec->tos ? rec->tos : nullptr;
	for (int n = 0; n <= 7; n++)
		printf("<option value='%d' %s>%d</option>\n", n, selected_number(tos, n), n);
	puts("</td></select>");
	puts("</tr>");
}

static void print_source_row(const filter_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22'>&nbsp;%s</td> \t\t\t"
	       "<td><input type='text' name='int_ip_id' value='%s' readonly></td> \t\t\t"
	       "<td colspan='2' width='66'>"
	       "<a href='#'  onMouseOut='MM_swapImgRestore();' "
	       "onClick='open_ip_list(\"int_ip_id\");' "
	       "onMouseOver=\"MM_swapImage('add1','','../../img/button/add01_02.gif',1);\">"
	       "<img name='add1' border='0' src='../../img/button/add01_01.gif' "
	       "width='62' height='20'></a></td> \t\t\t"
	       "<td>&nbsp;%s</td>"
	       "<td><input type='text' name='int_port_id' value='%s' readonly></td> "
	       "<td colspan='2' width='66'>"
	       "<a href='#'  onMouseOut=\"MM_swapImgRestore()\" "
	       "onClick='open_port_list(\"int_port_id\")' "
	       "onMouseOver=\"MM_swapImage('add2','','../../img/button/add01_02.gif',1)\">"
	       "<img name='add2' border='0' src='../../img/button/add01_01.gif' "
	       "width='62' height='20'></a></td> \t\t\t</tr>\n",
	       "Src IP", text(rec->int_ip_id),
	       "Src Port", text(rec->int_port_id));
}

static void print_destination_row(const filter_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22'>&nbsp;%s</td> \t\t\t"
	       "<td height='22'>"
	       "<input type='text' name='ext_ip_id' value='%s' readonly></td> \t\t\t"
	       "<td colspan='2' width='66'>"
	       "<a href='#'  onMouseOut=\"MM_swapImgRestore()\" "
	       "onClick='open_ip_list(\"ext_ip_id\")' "
	       "onMouseOver=\"MM_swapImage('add3','','../../img/button/add01_02.gif',1)\">"
	       "<img name='add3' border='0' src='../../img/button/add01_01.gif' "
	       "width='62' height='20'></a></td> \t\t\t"
	       "<td>&nbsp;%s</td>"
	       "<td><input type='text' name='ext_port_id' value='%s' readonly></td> "
	       "<td colspan='2' width='66'>"
	       "<a href='#'  onMouseOut=\"MM_swapImgRestore()\" "
	       "onClick='open_port_list(\"ext_port_id\")' "
	       "onMouseOver=\"MM_swapImage('add4','','../../img/button/add01_02.gif',1)\">"
	       "<img name='add4' border='0' src='../../img/button/add01_01.gif' "
	       "width='62' height='20'></a></td> \t\t\t</tr>\n",
	       "Dest IP", text(rec->ext_ip_id),
	       "Dest Port", text(rec->ext_port_id));
}

static void print_save_buttons(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onclick=\"go_save(document.filter_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\" onclick='go_choose()' "
	     "onMouseOver=\"MM_swapImage('save','','../../img/button/save01_02.gif',1)\">"
	     "<img name='save' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a></td> "
	     "<td width='66'>"
	     "<a href='#' onclick=\"history.go(-1)\" onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('cancel','','../../img/button/cancel01_02.gif',1)\">"
	     "<img name='cancel' border='0' src='../../img/button/cancel01_01.gif' "
	     "width='62' height='20'></a></td> \t\t  </tr></table>");
}

/* MM_swapImgrestore, with a small r, is spelt so on this button alone, on purpose; the scripts of
 * the pages define it beside the other. */
static void print_edit_buttons(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onclick=\"go_update(document.filter_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\" onclick='go_choose()' "
	     "onMouseOver=\"MM_swapImage('edit','','../../img/button/save01_02.gif',1)\">"
	     "<img name='edit' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a></td>"
	     "<td width='66'>"
	     "<a href='#' onclick=\"history.go(-1)\" onMouseOut=\"MM_swapImgrestore()\"  "
	     "onMouseOver=\"MM_swapImage('cancel','','../../img/button/cancel01_02.gif',1)\">"
	     "<img name='cancel' border='0' src='../../img/button/cancel01_01.gif' "
	     "width='62' height='20'></a></td> \t\t  </tr></table>");
}

int filter_display(char *id, int mode)
{
	filter_rec rec = {};
	cgi_include(HTML_DIR "filter_header.html");
	cgi_include(HTML_DIR "filter_js.html");
	open_form("filter");
	if (mode == MODE_EDIT)
		get_filter_by_id(&rec, id);
	print_action(mode);
	open_table();
	print_identity_row(&rec);
	print_protocol_row(&rec);
	print_tos_row(&rec);
	print_source_row(&rec);
	print_destination_row(&rec);
	puts("</form>");
	puts("</table>");
	cgi_include(HTML_DIR "filter_center.html");
	if (mode == MODE_NEW)
		print_save_buttons();
	if (mode == MODE_EDIT)
		print_edit_buttons();
	cgi_include(HTML_DIR "filter_footer.html");
	return 1;
}

void get_filter_param(filter_rec *rec)
{
	read_form(FILTER, rec);
	rec->net_proto = copy_text("IP");
	rec->use = nullptr;
}

static int store_filter(filter_rec *form, save_mode mode)
{
	object filter = { FILTER, form->id, nullptr, 0, {} };
	add_fields(&filter, form);
	return save_object(&filter, mode);
}

/* Reads the posted filter. Returns false, and tells the user, when it has no id. */
static bool read_form(filter_rec *form)
{
	get_filter_param(form);
	if (!form->id)
		qos_msg(0, "ID is empty.");
	return form->id;
}

int filter_save(void)
{
	filter_rec form = {};
	if (!read_form(&form))
		return 0;
	return store_filter(&form, SAVE);
}

/* The check of a new priority looks at all values of all filters, not at priorities alone. */
static bool is_priority_taken(const filter_rec *form, const filter_rec *stored)
{
	return form->prio && stored->prio && strcmp(form->prio, stored->prio) != 0 &&
	       is_used_in_db(FILTER_STORE, form->prio);
}

int filter_update(void)
{
	filter_rec form = {};
	if (!read_form(&form))
		return 0;
	filter_rec stored = {};
	if (!load_filter(&stored, form.id)) // without its mark the filter would be offered again
		return refuse_unreadable();
	if (is_priority_taken(&form, &stored)) {
		qos_msg(3, "Duplicated priority");
		return 0;
	}
	form.use = stored.use; // no form posts it, and the class that names the filter stays
	return store_filter(&form, UPDATE);
}

int filter_delete(char *id)
{
	return delete_object(FILTER, id);
}
