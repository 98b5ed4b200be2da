/* What is stored, in words. */
#include "words.h"

const char *get_label(const char *)
{
	return nullptr;
}

void write_policy_name(FILE *to, const char *policy)
{
	fputs(policy, to);
}

bool read_rate(uint64_t *bits, const char *, const char *)
{
	*bits = 0;
	return false;
}

bool read_size(uint64_t *bytes, const char *, const char *)
{
	*bytes = 0;
	return false;
}

void write_rate(FILE *, uint64_t)
{
}

uint64_t choose_unit(uint64_t)
{
	return 1;
}

const char *get_unit_word(uint64_t)
{
	return "";
}

void write_in_unit(FILE *, uint64_t, uint64_t)
{
}

void write_rates(FILE *, uint64_t, uint64_t)
{
}

void write_filter(FILE *, const shown_stores *, const char *)
{
}

void write_filter_record(FILE *, const shown_stores *, const filter_rec *)
{
}

void write_entries(FILE *, object_kind, char *const *, int)
{
}

void write_slot(FILE *, const class_rec *, int)
{
}

void write_days(FILE *, const class_rec *, int)
{
}

void write_leaf(FILE *, const class_rec *)
{
}

const char *get_field_label(object_kind, const char *form)
{
	return form;
}
