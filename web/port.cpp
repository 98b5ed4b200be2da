// SPDX-License-Identifier: MIT
/* The pages of the port lists. */
#include <stdio.h>

#include <cgi.h>

#include "form.h"
#include "page.h"
#include "save.h"
#include "web.h"

static void print_icon(const port_rec *rec)
{
	printf("<input type='hidden' name='icon' value='%s'>", rec->icon ? rec->icon : "default");
}

static void print_identity_rows(const port_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='23'>&nbsp; %s</td> \t\t\t"
	       "<td colspan='3' height='23' bgcolor='#EEEEEE'>"
	       "<input type='text' name='id' value='%s'></td></tr>\n",
	       "ID", text(rec->id));
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22' width='30%%'>&nbsp; %s</td>\t\t\t"
	       "<td colspan='3' height='44' >"
	       "<textarea name='desc' cols='51' rows='2'>%s</textarea> </td></tr>\n",
	       "Description", text(rec->desc));
}

/* The inputs and buttons by which the page's script fills the list. */
static void print_entry_row(void)
{
	printf("<tr bgcolor='#EEEEEE'>\t\t\t"
	       "<td height='22'>&nbsp; %s</td>\t\t\t"
	       "<td height='22'>"
	       "<input type='text' name='num' size='5' maxlength=5>&nbsp; - &nbsp;"
	       "<input type='text' name='mask' size='5' maxlength=5></td>"
	       "<td >"
	       "<a href='#' onclick=\"port_add()\" onMouseOut=\"MM_swapImgRestore()\" "
	       "onMouseOver=\"MM_swapImage('Image271211','','../../img/button/add01_02.gif',1)\">"
	       "<img name='Image271211' border='0' src='../../img/button/add01_01.gif' "
	       "width='62' height='20'></a> "
	       "<a href='#' onClick=\"port_delete()\" onMouseOut=\"MM_swapImgRestore()\" "
	       "onMouseOver=\"MM_swapImage('Image261211','','../../img/button/delete01_02.gif',1)\""
	       "><img name='Image261211' border='0' src='../../img/button/delete01_01.gif' "
	       "width='62' height='20'></a></td>"
	       "<td></td></tr>\n",
	       "Port");
}

static void print_list_row(const port_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>\t\t\t"
	       "<td colspan='2'>"
	       "<select multiple size='8' style='width:100%%; height:100;' name='port_list'>\n");
	for (char *const *entry = rec->port_list; *entry; entry++)
		printf("<option value='%s'>%s</option>\n", *entry, *entry);
}

static void print_save_buttons(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onClick=\"go_save(document.port_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\" onClick='go_choose()' "
	     "onMouseOver=\"MM_swapImage('save','','../../img/button/save01_02.gif',1)\">"
	     "<img name='save' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a> </td>"
	     "<td>"
	     "<a href='#' onClick=\"history.go(-1)\" onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('cancel','','../../img/button/cancel01_02.gif',1)\">"
	     "<img name='cancel' border='0' src='../../img/button/cancel01_01.gif' "
	     "width='62' height='20'></a></td> \t\t  </tr></table>");
}

/* The action of the cancel button is misspelt on purpose: on this page it does nothing. */
static void print_edit_buttons(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onClick=\"go_update(document.port_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\" onClick='go_choose()' "
	     "onMouseOver=\"MM_swapImage('edit','','../../img/button/save01_02.gif',1)\">"
	     "<img name='edit' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a></td>"
	     "<td> "
	     "<a href='#' onClick=\"histroy.go(-1)\" onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('cancel','','../../img/button/cancel01_02.gif',1)\">"
	     "<img name='cancel' border='0' src='../../img/button/cancel01_01.gif' "
	     "width='62' height='20'></a> </td> \t\t  </tr></table>");
}

int port_display(char *id, int mode)
{
	port_rec rec = {};
	cgi_include(HTML_DIR "port_js.html");
	cgi_include(HTML_DIR "port_header.html");
	open_form("port");
	if (mode == MODE_EDIT)
		get_port_by_id(&rec, id);
	print_action(mode);
	print_icon(&rec);
	// The table of the other pages, from a format of this page's own.
	printf("<table width='100%s' border='0' cellspacing='1' cellpadding='1' "
	       "bordercolor='#4F91CB'>\n",
	       "%");
	print_identity_rows(&rec);
	print_entry_row();
	print_list_row(&rec);
	// The form closes within the last row, before its table.
	puts("</select></td><td colspan='2'></td></tr></form>");
	puts("</table>");
	cgi_include(HTML_DIR "port_center.html");
	if (mode == MODE_NEW)
		print_save_buttons();
	if (mode == MODE_EDIT)
		print_edit_buttons();
	cgi_include(HTML_DIR "port_footer.html");
	return 1;
}

void get_port_param(port_rec *rec)
{
	read_form(PORT, rec);
}

static int store_port(save_mode mode)
{
	port_rec form = {};
	get_port_param(&form);
	object port = { PORT, form.id, form.desc, 0, {} };
	add_fields(&port, &form);
	return save_list(&port, mode);
}

int port_save(void)
{
	return store_port(SAVE);
}

int port_update(void)
{
	return store_port(UPDATE);
}

int port_delete(char *id)
{
	return delete_object(PORT, id);
}
