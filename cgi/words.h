/* What is stored, in words. All write plain text to a stream: into a page by escaped() (markup.h),
 * into JSON by a text_stream. */
#ifndef CGI_WORDS_H
#define CGI_WORDS_H

#include <stdint.h>
#include <stdio.h>

#include "../store/records.h"
#include "shown_stores.h"

/* "LAN1" is the port that is marked WAN1 on the router. Null for what is no interface. */
const char *get_label(const char *policy);

/* "WAN1 (LAN1)"; the id alone where it has no label. */
void write_policy_name(FILE *to, const char *policy);

/* A number and its unit as stored or posted, in bit/s; false, and 0, where it is none or too great. */
bool read_rate(uint64_t *bits, const char *number, const char *unit);
bool read_size(uint64_t *bytes, const char *number, const char *unit); // B, KB, MB

/* "2 Mbit/s", "1.5 Mbit/s", "512 kbit/s", "800 bit/s": never rounded to another value, the greatest
 * unit that takes at most three decimals. */
void write_rate(FILE *to, uint64_t bits);

/* One unit for a device: 1, 1000 or 1000000, by its greatest rate, and its word ("Mbit/s"). */
uint64_t choose_unit(uint64_t greatest);
const char *get_unit_word(uint64_t unit);

/* "0.5" in that unit, at most three decimals. */
void write_in_unit(FILE *to, uint64_t bits, uint64_t unit);

/* "2 to 4 Mbit/s", "19 Mbit/s" where both are the same or there is no ceil, "no rate" for 0. */
void write_rates(FILE *to, uint64_t rate, uint64_t ceil);

/* "udp from phones to provider, ports 5060-5061", "tcp from anywhere port 80 to guests", with
 * ", precedence 5" where it asks for one. A list that means any address is "anywhere", one that
 * means any port is left out; an absent or missing list is "nothing (no list)". */
void write_filter(FILE *to, const shown_stores *in, const char *filter);
void write_filter_record(FILE *to, const shown_stores *in, const filter_rec *rec);

/* The entries of a port or address list: "5060-5061, 80"; at most so many, then ", 3 more". An entry
 * that the rule writer takes as any is "any address" or "any port". */
void write_entries(FILE *to, object_kind kind, char *const *entries, int most);

/* "Mon to Fri 8 to 18: 512 kbit/s to 1 Mbit/s", "every day 22 to 6: ...", "never" without days. */
void write_slot(FILE *to, const class_rec *rec, int slot);

/* "Mon to Fri", "every day", "Sat, Sun", "no day" */
void write_days(FILE *to, const class_rec *rec, int slot);

/* "pfifo 30 packets", "sfq"; nothing where it has none. */
void write_leaf(FILE *to, const class_rec *rec);

/* The name of a field of the forms as the page shows it ("Ceil", "Rate of Schedule 2" where n is not
 * -1): the printed words, with the dressing's for the odd ones. Never null. */
const char *get_field_label(object_kind kind, const char *form);

#endif
