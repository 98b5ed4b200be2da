// SPDX-License-Identifier: MIT
/* The pages of the address lists. */
#include <stdio.h>

#include <cgi.h>

#include "form.h"
#include "page.h"
#include "save.h"
#include "web.h"

static void print_identity_rows(const ip_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td  height='22'>&nbsp;%s</td>"
	       "<td colspan='4'><input type=\"text\" name='id' value='%s'></td></tr>\n",
	       "ID", text(rec->id));
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td  height='22'>&nbsp;%s</td>"
	       "<td colspan='4'>"
	       "<textarea name='desc' cols='51' rows='2'>%s</textarea> </td></tr>\n",
	       "Description", text(rec->desc));
}

/* The inputs and buttons by which the page's script fills the list. */
static void print_entry_row(void)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td>&nbsp;%s</td>"
	       "<td><input type='text' name='ip'>&nbsp; "
	       "<select size=1 name='sss'>"
	       "<option value='/'>/</option><option value='-'>-</option></select>"
	       "<input type='text' name='prefix' size='3'></td>  "
	       "<td > "
	       "<a href='#' onclick=\"ip_add()\" onMouseOut=\"MM_swapImgRestore()\" "
	       "onMouseOver=\"MM_swapImage('Image271211','','../../img/button/add01_02.gif',1)\">"
	       "<img name='Image271211' border='0' src='../../img/button/add01_01.gif' "
	       "width='62' height='20'></a> "
	       "<a href='#' onClick=\"ip_delete()\" onMouseOut=\"MM_swapImgRestore()\" "
	       "onMouseOver=\"MM_swapImage('Image261211','','../../img/button/delete01_02.gif',1)\""
	       "><img name='Image261211' border='0' src='../../img/button/delete01_01.gif' "
	       "width='62' height='20'></a> \t\t      </td></tr>\n",
	       "IP Address");
}

static void print_list_row(const ip_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22' colspan='2'>"
	       "<select multiple size='16' style='width:100%%; height:100;' name='ip_list'>\n");
	for (char *const *entry = rec->ip_list; *entry; entry++)
		printf("<option>%s</option>\n", *entry);
}

static void print_save_buttons(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onClick=\"go_save(document.ip_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('save','','../../img/button/save01_02.gif',1)\">"
	     "<img name='save' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a></td> "
	     "<td width='66'>"
	     "<a href='#' onClick=\"history.go(-1)\" onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('cancel','','../../img/button/cancel01_02.gif',1)\">"
	     "<img name='cancel' border='0' src='../../img/button/cancel01_01.gif' "
	     "width='62' height='20'></a></td>\t\t  </tr></table>");
}

static void print_edit_buttons(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onClick=\"go_update(document.ip_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('edit','','../../img/button/save01_02.gif',1)\">"
	     "<img name='edit' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a></td> "
	     "<td width='66'>"
	     "<a href='#' onClick=\"history.go(-1)\" onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('cancel','','../../img/button/cancel01_02.gif',1)\">"
	     "<img name='cancel' border='0' src='../../img/button/cancel01_01.gif' "
	     "width='62' height='20'></a></td>\t\t  </tr></table>");
}

int ip_display(char *id, int mode)
{
	ip_rec rec = {};
	cgi_include(HTML_DIR "ip_js.html");
	cgi_include(HTML_DIR "ip_header.html");
	open_form("ip");
	if (mode == MODE_EDIT)
		get_ip_by_id(&rec, id);
	print_action(mode);
	// Every form of this page asks for a save too. Of two actions the first counts.
	print_action(MODE_NEW);
	open_table();
	print_identity_rows(&rec);
	print_entry_row();
	print_list_row(&rec);
	puts("</select></td><td colspan='2'></td></tr>");
	puts("</form>");
	puts("</table>");
	cgi_include(HTML_DIR "ip_center.html");
	if (mode == MODE_NEW)
		print_save_buttons();
	if (mode == MODE_EDIT)
		print_edit_buttons();
	cgi_include(HTML_DIR "ip_footer.html");
	return 1;
}

void get_ip_param(ip_rec *rec)
{
	read_form(IP, rec);
}

static int store_ip(save_mode mode)
{
	ip_rec form = {};
	get_ip_param(&form);
	object ip = { IP, form.id, form.desc, 0, {} };
	add_fields(&ip, &form);
	return save_list(&ip, mode);
}

int ip_save(void)
{
	return store_ip(SAVE);
}

int ip_update(void)
{
	return store_ip(UPDATE);
}

int ip_delete(char *id)
{
	return delete_object(IP, id);
}
