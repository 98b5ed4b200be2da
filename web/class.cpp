// SPDX-License-Identifier: MIT
/* The page of the HTB classes. */
#include <stdio.h>
#include <string.h>

#include <cfl.h>
#include <cgi.h>

#include "../store/paths.h"
#include "page.h"
#include "web.h"

static const char *const DAY_NAMES[] = { "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" };
static_assert(sizeof(DAY_NAMES) / sizeof(DAY_NAMES[0]) == DAYS, "a name a day");

/* --- the class itself --- */

static void print_identity_row(const class_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22' bgcolor='#EEEEEE'>&nbsp;%s</td> \t\t\t\t"
	       "<td colspan='2' bgcolor='#EEEEEE'>"
	       "<input type='text' name='id' value='%s'></td> \t\t\t\t"
	       "<td bgcolor='#EEEEEE'>&nbsp;%s</td> \t\t\t\t"
	       "<td colspan='1' bgcolor='#EEEEEE'>"
	       "<input type='text' name='parent_id' value='%s' readonly></td>\n",
	       "ID", text(rec->id),
	       "Parent ID", text(rec->parent_id));
	puts("<td width='66'>"
	     "<a href='#' onClick='open_class_list(\"class_entry.parent_id\");' "
	     "onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('add1','','../../img/button/add01_02.gif',1)\">"
	     "<img name='add1' border='0' src='../../img/button/add01_01.gif' "
	     "width='62' height='20'></a></td></tr>");
}

static void print_priority_row(const class_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'> \t\t\t"
	       "<td height='22'>&nbsp;%s</td> \t\t\t"
	       "<td colspan='2'><select name='prio' size='1'>",
	       "Priority");
	printf("<option value='1' %s>1</option> \n", selected(rec->prio, "1"));
	printf("<option value='2' %s>2</option> \n", selected(rec->prio, "2"));
	printf("<option value='3' %s>3</option> \n", selected(rec->prio, "3"));
	printf("<option value='4' %s>4</option> \n", selected(rec->prio, "4"));
	printf("<option value='5' %s>5</option> \n", selected(rec->prio, "5"));
	printf("<option value='6' %s>6</option> \n", selected(rec->prio, "6"));
	printf("<option value='7' %s>7</option> \n", selected(rec->prio, "7"));
	printf("<option value='8' %s>8</option> \n", selected(rec->prio, "8"));
	printf("<option value='9' %s>9</option> \n", selected(rec->prio, "9"));
	printf(" \n </select></td> \t\t\t"
	       "<td>&nbsp;%s</td> \t\t\t"
	       "<td><input type='text' name='mtu' value='%s'></td> \t\t\t"
	       "<td>&nbsp;Byte</td></tr> \n",
	       "MTU", rec->mtu ? rec->mtu : "1500");
}

/* The selects of units are not closed: browsers do that where the next cell begins. */
static void print_rate_units(const char *unit)
{
	printf("<option value='bps' %s>bps</option> \n", selected(unit, "bps"));
	printf("<option value='Kbps' %s>Kbps</option> \n", selected(unit, "Kbps"));
	printf("<option value='Mbps' %s>Mbps</option> \n", selected(unit, "Mbps"));
}

static void print_burst_units(const char *unit)
{
	printf("<option value='B' %s>Byte</option> \n", selected(unit, "B"));
	printf("<option value='KB' %s>KByte</option> \n", selected(unit, "KB"));
	printf("<option value='MB' %s>MByte</option> \n", selected(unit, "MB"));
}

static void print_rate_row(const class_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'>\t\t\t"
	       "<td height='22'>&nbsp;%s</td>\t\t\t"
	       "<td><input type='text' name='rate' value='%s'></td>\t\t\t"
	       "<td><select name='rate_unit' size='1'>\n",
	       "Rate", text(rec->rate));
	print_rate_units(rec->rate_unit);
	printf(" </td>");
	printf("<td>&nbsp;%s</td>\t\t\t"
	       "<td><input type='text' name='burst' value='%s'></td>\t\t\t"
	       "<td><select name='burst_unit' size='1' >\n",
	       "Burst", text(rec->burst));
	print_burst_units(rec->burst_unit);
	printf(" </td></tr>");
}

static void print_ceil_row(const class_rec *rec)
{
	printf("<tr bgcolor='#EEEEEE'> \t\t\t"
	       "<td height='22'>&nbsp;%s</td>\t\t\t"
	       "<td><input type='text' name='ceil' value='%s'></td>\t\t\t"
	       "<td><select name='ceil_unit' size='1'> \n",
	       "Ceil", text(rec->ceil));
	print_rate_units(rec->ceil_unit);
	printf(" </td>");
	printf("<td>&nbsp;%s</td>\t\t\t"
	       "<td><input type='text' name='cburst' value='%s'></td>\t\t\t"
	       "<td><select name='cburst_unit' size='1'> \n",
	       "Cburst", text(rec->cburst));
	print_burst_units(rec->cburst_unit);
	printf(" </td></tr>");
}

/* --- its filters: the list of its own, the list of the free ones, and the buttons between --- */

static void print_own_filters(class_rec *rec)
{
	printf("  \t\t<tr bgcolor='#EEEEEE'>\t\t"
	       "<td colspan='2' height='22'>\t\t"
	       "<select multiple size='25' style='width:100%%; height:100;' name='filter_id'>\n");
	for (int n = 0; n < LOADED_FILTERS_MAX && *get_filter_slot(rec, n); n++) {
		const char *id = *get_filter_slot(rec, n);
		printf("<option value='%s'>%s</option>\n", id, id);
	}
	printf("</select> </td>");
}

static void print_chooser_buttons(void)
{
	printf("<td>"
	       "<input type='button' style='width:90;' value='%s     >>' "
	       "onClick=\"moveDualList( document.class_entry.filter_id,  "
	       "document.class_entry.unuse_filter_id, false )\"><BR>"
	       "<input type='button' style='width:90;' value='%s >>' "
	       "onClick=\"moveDualList( document.class_entry.filter_id,  "
	       "document.class_entry.unuse_filter_id, true )\"><BR>"
	       "<input type='button' style='width:90;' value='%s     <<' "
	       "onClick=\"moveDualList( document.class_entry.unuse_filter_id, "
	       "document.class_entry.filter_id,  false )\"><BR>"
	       "<input type='button' style='width:90;' value='%s <<' "
	       "onClick=\"moveDualList( document.class_entry.unuse_filter_id, "
	       "document.class_entry.filter_id,  true )\"></td>"
	       "<td colspan='2'>",
	       "Remove", "Remove all", "Add", "Add all");
}

static void print_free_options(cfl *store)
{
	int count = cfl_get_sections_count(store);
	for (int i = 2; i <= count; i++) {
		const char *id = cfl_section_get_name_by_position(store, i);
		int scratch;
		const char *use = cfl_value_get_by_name(store, id, "USE", &scratch);
		if (!use || strcmp(use, "unuse") == 0)
			printf(" <option value='%s'>%s</option>\n", text(id), text(id));
	}
}

/* A filter store that cannot be read has no free filters. */
static void print_free_filters(void)
{
	printf(" <select multiple size='25' style='width:100%%; height:100;' "
	       "name='unuse_filter_id'>\n");
	cfl *store = cfl_read(FILTER_STORE);
	if (store) {
		print_free_options(store);
		cfl_free(store);
	}
	puts(" </select> </td><td></td> </tr></table> ");
}

/* --- its leaf --- */

static void print_leaf_table(const class_rec *rec)
{
	const char *leaf = rec->leaf ? rec->leaf : "none";
	printf("<table width='100%%' border='0' cellspacing='1' cellpadding='1' "
	       "bordercolor='#4F91CB'> \t\t\t"
	       "<tr bgcolor='#83A3D6'> \t\t\t"
	       "<td colspan='3' class='txt_w02' height='23'>&nbsp; <b>%s</b></td>\t\t\t</tr>\n",
	       "Leaf Qdisc Parameter");
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22'>&nbsp;%s</td>"
	       "<td colspan='2'>"
	       "<select name='leaf' size='1' onChange='change_qdisc(this.value);'>",
	       "Qdisc Type");
	printf("<option value='none' %s>none</option> \n"
	       "<option value='sfq' %s>sfq</option> \n"
	       "<option value='pfifo' %s>pfifo</option> \n"
	       "<option value='bfifo' %s>bfifo</option> \n"
	       "</select></td></tr>\n",
	       selected(leaf, "none"), selected(leaf, "sfq"),
	       selected(leaf, "pfifo"), selected(leaf, "bfifo"));
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22'>&nbsp;</td>"
	       "<td ><div id='param1'></div></td>"
	       "<td><div id='param2'></td></tr>");
}

static bool is_leaf(const class_rec *rec, const char *kind)
{
	return rec->leaf && strcmp(rec->leaf, kind) == 0;
}

/* Has the page's script put the inputs of the leaf's parameters into their places. */
static void print_leaf_script(const class_rec *rec)
{
	if (is_leaf(rec, "sfq"))
		printf("<script language='javascript'><!--\n \t\t\t\t"
		       "display_sfq(\"%s\", \"%s\");\n  \t\t\t\t//--></script>\n",
		       text(rec->quantum), text(rec->perturb));
	else if (is_leaf(rec, "pfifo"))
		printf("<script language='javascript'><!--\n \t\t\t\t"
		       "display_pfifo(\"%s\");\n  \t\t\t\t//--></script>\n",
		       text(rec->limit));
	else if (is_leaf(rec, "bfifo"))
		printf("<script language='javascript'><!--\n \t\t\t\t"
		       "display_bfifo(\"%s\");\n  \t\t\t\t//--></script>\n",
		       text(rec->limit));
	else
		puts("<script language='javascript'><!--\n \t\t\t\t"
		     "display_none();\n  \t\t\t\t//--></script>");
}

/* --- its schedule --- */

static void print_day_row(const class_rec *rec, int slot)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td height='22' rowspan='4'>"
	       "<input type='checkbox' name='time_enable' value='enable' %s></td>",
	       checked(rec->time_enable[slot]));
	for (int day = 0; day < DAYS; day++)
		printf("<td><input type='checkbox' name='dow[%d]' value='%d' %s>&nbsp;%s</td>",
		       day, day, checked(rec->dow[day][slot]), DAY_NAMES[day]);
	printf("<td></td></tr>\n");
}

static void print_hours(const char *chosen)
{
	for (int hour = 0; hour < 24; hour++)
		printf("<option value='%02d' %s>%d</option>\n",
		       hour, selected_number(chosen, hour), hour);
}

static void print_time_row(const class_rec *rec, int slot)
{
	printf("<tr bgcolor='#EEEEEE'>");
	printf("<td colspan='2' height='22'>&nbsp;%s&nbsp;</td>"
	       "<td colspan='2'><select name='start_hour' size='1'>",
	       "Start Time");
	print_hours(rec->start_hour[slot]);
	printf("</select>"
	       "&nbsp; Hour"
	       "</td>");
	printf("<td colspan='2'>&nbsp;%s&nbsp;</td>"
	       "<td colspan='2'><select name='end_hour' size='1'>\n",
	       "End Time");
	print_hours(rec->end_hour[slot]);
	printf("</select>"
	       "&nbsp; Hour"
	       "</td></tr>");
}

static void print_time_rate_row(const class_rec *rec, int slot)
{
	printf("<tr bgcolor='#EEEEEE'>\t\t\t"
	       "<td colspan='2' height='22'>&nbsp;%s </td>\t\t\t"
	       "<td><input type='text' name='time_rate' value='%s' size=5></td>\t\t\t"
	       "<td><select name='time_rate_unit' size='1'> \n",
	       "Rate", text(rec->time_rate[slot]));
	print_rate_units(rec->time_rate_unit[slot]);
	printf(" </td>");
	printf(" <td height='22' colspan='2'>&nbsp;%s</td>\t\t\t"
	       "<td><input type='text' size='5' name='time_ceil' value='%s'></td>\t\t\t"
	       "<td><select name='time_ceil_unit' size='1'> \n",
	       "Ceil", text(rec->time_ceil[slot]));
	print_rate_units(rec->time_ceil_unit[slot]);
	printf(" </td></tr>");
}

static void print_time_burst_row(const class_rec *rec, int slot)
{
	printf("<tr bgcolor='#EEEEEE'>"
	       "<td colspan='2'>&nbsp;%s</td>\t\t\t"
	       "<td><input type='text' size='5' name='time_burst' value='%s'></td>\t\t\t"
	       "<td><select name='time_burst_unit' size='1' > \n",
	       "Burst", text(rec->time_burst[slot]));
	print_burst_units(rec->time_burst_unit[slot]);
	printf(" </td>");
	printf("<td colspan='2'>&nbsp;%s</td>\t\t\t"
	       "<td><input type='text' size='5' name='time_cburst' value='%s'></td>\t\t\t"
	       "<td><select name='time_cburst_unit' size='1'> \n",
	       "Cburst", text(rec->time_cburst[slot]));
	print_burst_units(rec->time_cburst_unit[slot]);
	printf(" </td></tr>");
}

static void print_schedule_table(const class_rec *rec, int slot)
{
	cgi_include(HTML_DIR "class_center1.html");
	printf("<table width='100%%' border='0' cellspacing='1' cellpadding='1' "
	       "bordercolor='#4F91CB'> \t\t\t"
	       "<tr bgcolor='#83A3D6'> \t\t\t"
	       "<td colspan='9' class='txt_w02' height='23'>&nbsp; <b>%s %d</b></td>\t\t\t</tr>\n",
	       "Scheduling Parameter", slot + 1);
	print_day_row(rec, slot);
	print_time_row(rec, slot);
	print_time_rate_row(rec, slot);
	print_time_burst_row(rec, slot);
	puts("</table>");
}

/* --- the page --- */

static void print_save_buttons(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onClick=\"go_save(document.class_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('save','','../../img/button/save01_02.gif',1)\">"
	     "<img name='save' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a></td> "
	     "<td width='66'>"
	     "<a href='#' onClick=\"history.go(-1)\" onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('cancel','','../../img/button/cancel01_02.gif',1)\">"
	     "<img name='cancel' border='0' src='../../img/button/cancel01_01.gif' "
	     "width='62' height='20'></a></td> \t\t  </tr></table>");
}

static void print_edit_buttons(void)
{
	puts("<table  border='0' cellspacing='0' cellpadding='0' align='center' "
	     "valign='bottom'>         "
	     "<tr>           "
	     "<td width='66'>"
	     "<a href='#' onClick=\"go_update(document.class_entry)\" "
	     "onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('edit','','../../img/button/save01_02.gif',1)\">"
	     "<img name='edit' border='0' src='../../img/button/save01_01.gif' "
	     "width='62' height='20'></a></td> "
	     "<td width='66'>"
	     "<a href='#' onClick=\"history.go(-1)\" onMouseOut=\"MM_swapImgRestore()\"  "
	     "onMouseOver=\"MM_swapImage('cancel','','../../img/button/cancel01_02.gif',1)\">"
	     "<img name='cancel' border='0' src='../../img/button/cancel01_01.gif' "
	     "width='62' height='20'></a></td> \t\t  </tr></table>");
}

int class_display(char *id, int mode)
{
	class_rec rec = {};
	cgi_include(HTML_DIR "class_js.html");
	cgi_include(HTML_DIR "class_header.html");
	open_form("class");
	if (mode == MODE_EDIT)
		get_class_by_id(&rec, id);
	print_action(mode);
	open_table();
	print_identity_row(&rec);
	print_priority_row(&rec);
	puts("<tr bgcolor='#EEEEEE'><td></td></tr>");
	print_rate_row(&rec);
	print_ceil_row(&rec);
	print_own_filters(&rec);
	print_chooser_buttons();
	print_free_filters();
	cgi_include(HTML_DIR "class_center1.html");
	print_leaf_table(&rec);
	print_leaf_script(&rec);
	puts("</table>");
	for (int slot = 0; slot < LOADED_SLOTS_MAX; slot++)
		print_schedule_table(&rec, slot);
	puts("</form>");
	cgi_include(HTML_DIR "class_center.html");
	if (mode == MODE_NEW)
		print_save_buttons();
	if (mode == MODE_EDIT)
		print_edit_buttons();
	cgi_include(HTML_DIR "class_footer.html");
	return 1;
}
