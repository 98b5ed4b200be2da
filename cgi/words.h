// SPDX-License-Identifier: MIT
/* What is stored, in words. All write plain text to a stream: into a page by escaped() (markup.h),
 * into JSON by a text_stream. */
#ifndef CGI_WORDS_H
#define CGI_WORDS_H

#include <stdint.h>
#include <stdio.h>

#include "../store/records.h"
#include "shown_stores.h"

/* The interfaces that a policy can be for, from 0; null behind the last. */
const char *get_interface(int n);

/* "LAN1" is the port that is marked WAN1 on the router. Null for what is no interface. */
const char *get_label(const char *policy);

/* "WAN1 (LAN1)"; the id alone where it has no label. */
void write_policy_name(FILE *to, const char *policy);

/* A number and its unit as stored or posted, in bit/s; false, and 0, where it is none or too great. */
bool read_rate(uint64_t *bits, const char *number, const char *unit);
bool read_size(uint64_t *bytes, const char *number, const char *unit); // B, KB, MB

/* "2 Mbit/s", "1.5 Mbit/s", "512 kbit/s", "800 bit/s": never rounded to another value. The unit is
 * the greatest that is not above the rate and takes at most three decimals. */
void write_rate(FILE *to, uint64_t bits);

/* One unit for a device: 1, 1000 or 1000000 bit/s, by its greatest rate; and its word ("Mbit/s"). */
uint64_t choose_unit(uint64_t greatest);
const char *get_unit_word(uint64_t unit);

/* "0.5" in that unit, rounded to at most three decimals. */
void write_in_unit(FILE *to, uint64_t bits, uint64_t unit);

/* "2 to 4 Mbit/s", "512 kbit/s to 1 Mbit/s", "19 Mbit/s" where both are the same or ceil is 0, "no
 * rate" for two times 0, "no rate, at most 4 Mbit/s". */
void write_rates(FILE *to, uint64_t rate, uint64_t ceil);

/* "udp from phones to provider, ports 5060-5061", "tcp from anywhere port 80 to guests", with
 * ", precedence 5" where it asks for one. A list that means any address is "anywhere", one that
 * means any port is left out. Of a list without which the filter takes nothing it is said why:
 * "nothing (no list)", "nothing (the list phones is not there)", "nothing (the list phones is
 * empty)". A filter that is not stored is "not there". */
void write_filter(FILE *to, const shown_stores *in, const char *filter);
void write_filter_record(FILE *to, const shown_stores *in, const filter_rec *rec);

/* Finds the entries of a port or address list, which live as long as the stores, and a null behind
 * them. */
void find_entries(const shown_stores *in, object_kind kind, const char *id,
		  char *entries[LIST_ENTRIES_MAX + 1]);

/* The entries of a port or address list, up to a null or the most that one holds: "5060-5061, 80";
 * at most so many, then ", 3 more". An entry that the rule writer takes as any is "any address" or
 * "any port", one that it takes as another address "10.0.0.8/29 (read as 10.0.0.8)", one that leads
 * to no rule "9-5 (takes nothing)". */
void write_entries(FILE *to, object_kind kind, char *const *entries, int most);

/* "Mon to Fri 8 to 18: 512 kbit/s to 1 Mbit/s", "every day 22 to 6: ...", "Sat, Sun all day: ...";
 * "never: ..." without days. A slot without a ceiling has that of the class where it is above the
 * slot's rate. */
void write_slot(FILE *to, const class_rec *rec, int slot);

/* "Mon to Fri", "every day", "Sat, Sun", "no day" */
void write_days(FILE *to, const class_rec *rec, int slot);

/* "pfifo 30 packets", "sfq"; nothing where it has none. */
void write_leaf(FILE *to, const class_rec *rec);

/* The name of a field of the forms as the dressed page shows it ("Ceil", "Rate of a schedule"); form
 * itself for what no page shows. */
const char *get_field_label(object_kind kind, const char *form);

/* The first list of a kind that means any address, or any port; null for none. */
const char *find_any_list(const shown_stores *in, object_kind kind);

#endif
