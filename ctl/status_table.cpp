// SPDX-License-Identifier: MIT
/* What runs, as a table for people, no wider than what stands in it. */
#include "status.h"

#include <string.h>

static const int INDENT = 2; // columns a level
static const int BAR_WIDTH = 10;
static const int NOW_WIDTH = 11; // "1.23 Mbit/s": that column stays as it is while rates change
static const size_t CELL_SIZE = 256; // bytes: an id as long as a file's name, and its indent

namespace {

enum column { CLASS, ID, GUARANTEED, CEILING, NOW, BAR, DROPPED, BACKLOG };
const int COLUMNS = BACKLOG + 1;

struct column_row {
	const char *head;
	bool is_number; // stands at the right
	bool is_of_htb; // bands have no rates
};

struct table_row {
	char cells[COLUMNS][CELL_SIZE];
	const char *note; // behind them; null for none
};

} // namespace

static const column_row COLUMN_ROWS[] = {
	{ "class", false, false },     { "id", false, false },   { "guaranteed", true, true },
	{ "ceiling", true, true },     { "now", true, false },   { "", false, true },
	{ "dropped", true, false },    { "waiting", true, false },
};
static_assert(sizeof(COLUMN_ROWS) / sizeof(COLUMN_ROWS[0]) == COLUMNS, "a row a column");

/* --- texts --- */

static int get_columns(const char *text)
{
	int columns = 0;
	for (; *text; text++) // what goes on in UTF-8 takes no column of its own
		columns += (static_cast<unsigned char>(*text) & 0xc0) != 0x80;
	return columns;
}

int print_plain(FILE *to, const char *text)
{
	for (const char *at = text; *at; at++) {
		unsigned char byte = static_cast<unsigned char>(*at);
		fputc(byte < 0x20 || byte == 0x7f ? '?' : byte, to);
	}
	return get_columns(text);
}

/* --- cells --- */

/* How deep a class stands in the table: bands have no class above them. */
static int get_depth(const device *of, const node *it)
{
	return of->kind == HTB && it->level > 1 ? it->level - 1 : 0;
}

/* What is measured is not known to the bit: three figures of it are enough. */
static uint64_t round_rate(uint64_t bits)
{
	uint64_t step = 1;
	while (bits / step >= 1000)
		step *= 10;
	return (bits + step / 2) / step * step;
}

static void put_rate(char cell[CELL_SIZE], bool is_known, uint64_t bits)
{
	char figure[FIGURE_SIZE] = "-";
	if (is_known)
		format_rate(figure, bits);
	snprintf(cell, CELL_SIZE, "%s", figure);
}

/* The part of the ceiling that is used: '#' within what is guaranteed, '+' beyond. */
static void put_bar(char cell[CELL_SIZE], const class_status *row)
{
	double whole = static_cast<double>(row->ceil > row->rate ? row->ceil : row->rate);
	double now = static_cast<double>(row->rate_now);
	double own = static_cast<double>(row->rate);
	char bar[BAR_WIDTH + 1] = "";
	for (int i = 0; i < BAR_WIDTH; i++) {
		double from = whole * i / BAR_WIDTH;
		bar[i] = whole <= 0 || now <= from ? '.' : from < own ? '#' : '+';
	}
	snprintf(cell, CELL_SIZE, "[%s]", bar);
}

static void fill_row(table_row *to, const device_status *of, const class_status *row)
{
	char classid[CLASSID_SIZE], waiting[FIGURE_SIZE];
	bool has_rates = of->of->kind == HTB && row->is_there;
	make_classid(classid, of->of, row->of);
	format_bytes(waiting, row->sent.backlog);
	snprintf(to->cells[CLASS], CELL_SIZE, "%*s%s", INDENT * get_depth(of->of, row->of), "",
		 row->of->id);
	snprintf(to->cells[ID], CELL_SIZE, "%s", classid);
	put_rate(to->cells[GUARANTEED], has_rates, row->rate);
	put_rate(to->cells[CEILING], has_rates, row->ceil);
	put_rate(to->cells[NOW], row->is_measured, round_rate(row->rate_now));
	if (row->is_measured)
		put_bar(to->cells[BAR], row);
	snprintf(to->cells[DROPPED], CELL_SIZE, "%llu",
		 static_cast<unsigned long long>(row->sent.dropped));
	snprintf(to->cells[BACKLOG], CELL_SIZE, "%s", waiting);
	if (!row->is_there)
		to->note = "not in the kernel";
}

/* --- the table of a device --- */

static void measure_columns(int widths[COLUMNS], const list<table_row> *rows)
{
	for (int i = 0; i < COLUMNS; i++) {
		widths[i] = i == NOW ? NOW_WIDTH : 0;
		for (const table_row &row : *rows) {
			int width = get_columns(row.cells[i]);
			if (width > widths[i])
				widths[i] = width;
		}
	}
}

static void print_cell(FILE *to, const char *cell, int width, bool is_number)
{
	int blanks = width - get_columns(cell);
	fprintf(to, "%*s", is_number ? 2 + blanks : 2, "");
	print_plain(to, cell);
	if (!is_number)
		fprintf(to, "%*s", blanks, "");
}

static void print_row(FILE *to, const table_row *row, const int widths[COLUMNS], discipline kind)
{
	for (int i = 0; i < COLUMNS; i++) {
		if (kind == HTB || !COLUMN_ROWS[i].is_of_htb)
			print_cell(to, row->cells[i], widths[i], COLUMN_ROWS[i].is_number);
	}
	if (row->note)
		fprintf(to, "  %s", row->note);
	fputc('\n', to);
}

static void print_table(FILE *to, const device_status *it)
{
	list<table_row> rows = {};
	int widths[COLUMNS];
	table_row *head = add_item(&rows);
	for (int i = 0; i < COLUMNS; i++)
		snprintf(head->cells[i], CELL_SIZE, "%s", COLUMN_ROWS[i].head);
	for (const class_status &row : it->classes)
		fill_row(add_item(&rows), it, &row);
	measure_columns(widths, &rows);
	for (const table_row &row : rows)
		print_row(to, &row, widths, it->of->kind);
	free_list(&rows);
}

/* Where what matches no rule goes. */
static void print_rest(FILE *to, const device_status *it)
{
	if (it->of->kind == SPQ) {
		fprintf(to, "  What matches no rule goes by its TOS.\n");
		return;
	}
	for (const node &of : it->of->nodes) {
		if (of.minor != DEFAULT_MINOR || of.is_inner)
			continue;
		fprintf(to, "  What matches no rule goes to ");
		print_plain(to, of.id);
		fprintf(to, ".\n");
		return;
	}
	fprintf(to, "  What matches no rule passes unshaped.\n");
}

static void print_notes(FILE *to, const device_status *it)
{
	print_rest(to, it);
	if (it->direct > 0)
		fprintf(to, "  %llu packets passed unshaped.\n",
			static_cast<unsigned long long>(it->direct));
	if (it->is_chain_unknown)
		fprintf(to, "  The firewall's rules are not looked at: only root may read them.\n");
}

static void print_device(FILE *to, const device_status *it)
{
	fprintf(to, "%s: %s, %s", it->of->name, DEVICE_STATES[it->state],
		it->of->kind == HTB ? "htb" : "spq");
	if (it->why[0]) {
		fprintf(to, " (");
		print_plain(to, it->why);
		fputc(')', to);
	}
	fputc('\n', to);
	if (it->state == WAITS)
		return;
	print_table(to, it);
	print_notes(to, it);
}

void print_status_table(FILE *to, const router_status *it)
{
	if (it->waits.is_open)
		fprintf(to, "Waiting for 'qosctl confirm': %ld seconds left.\n\n",
			it->waits.seconds_left);
	if (it->devices.count == 0)
		fprintf(to, "Nothing is applied; qosctl apply brings the scripts to the kernel.\n");
	for (const device_status &row : it->devices) {
		if (&row != it->devices.begin())
			fputc('\n', to);
		print_device(to, &row);
	}
}
