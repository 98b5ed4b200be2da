// SPDX-License-Identifier: MIT
/* What is stored, in words. */
#include "../../cgi/words.h"

#include "../../store/fields.h"

#include "../support/router_files.h"

static std::string rate(uint64_t bits)
{
	return written_by([=](FILE *to) { write_rate(to, bits); });
}

static std::string rates(uint64_t low, uint64_t high)
{
	return written_by([=](FILE *to) { write_rates(to, low, high); });
}

TEST(words, an_interface_is_named_as_it_is_marked)
{
	EXPECT_STREQ(get_label("LAN1"), "WAN1");
	EXPECT_STREQ(get_label("LAN5"), "SERIAL");
	EXPECT_EQ(get_label("LAN6"), nullptr);
	EXPECT_EQ(get_label("lan1"), nullptr);
	EXPECT_EQ(written_by([](FILE *to) { write_policy_name(to, "LAN3"); }), "LAN (LAN3)");
	EXPECT_EQ(written_by([](FILE *to) { write_policy_name(to, "eth<0"); }), "eth<0");
}

TEST(words, a_rate_is_read_with_the_units_of_the_forms)
{
	uint64_t bits;
	EXPECT_TRUE(read_rate(&bits, "1500", "Kbps"));
	EXPECT_EQ(bits, 1500000u);
	EXPECT_TRUE(read_rate(&bits, "0", "bps"));
	EXPECT_EQ(bits, 0u);
	EXPECT_TRUE(read_rate(&bits, "18446744073709551615", "bps"));
	EXPECT_EQ(bits, UINT64_MAX);
	const char *const wrong[][2] = {
		{ nullptr, "Mbps" }, { "", "Mbps" }, { "2", "" }, { "2", nullptr }, { "2", "mbps" },
		{ "2 ", "Mbps" }, { "-2", "Mbps" }, { "1.5", "Mbps" }, { "2x", "Mbps" },
		{ "18446744073709551616", "bps" }, { "18446744073709551615", "Kbps" },
		{ "99999999999999999999999", "bps" }, { "2", "B" },
	};
	for (const auto &row : wrong) {
		bits = 7;
		EXPECT_FALSE(read_rate(&bits, row[0], row[1])) << (row[0] ? row[0] : "null");
		EXPECT_EQ(bits, 0u);
	}
}

TEST(words, a_size_counts_in_steps_of_1024)
{
	uint64_t bytes;
	EXPECT_TRUE(read_size(&bytes, "6", "KB"));
	EXPECT_EQ(bytes, 6144u);
	EXPECT_TRUE(read_size(&bytes, "2", "MB"));
	EXPECT_EQ(bytes, 2u * 1024 * 1024);
	EXPECT_FALSE(read_size(&bytes, "2", "Kbps"));
}

TEST(words, a_rate_is_written_without_being_rounded)
{
	const struct {
		uint64_t bits;
		const char *words;
	} rows[] = {
		{ 0, "0 bit/s" }, { 1, "1 bit/s" }, { 800, "800 bit/s" }, { 999, "999 bit/s" },
		{ 1000, "1 kbit/s" }, { 1001, "1.001 kbit/s" }, { 1500, "1.5 kbit/s" },
		{ 512000, "512 kbit/s" }, { 1000000, "1 Mbit/s" }, { 1000001, "1000.001 kbit/s" },
		{ 1500000, "1.5 Mbit/s" }, { 1050000, "1.05 Mbit/s" }, { 1001000, "1.001 Mbit/s" },
		{ 1000500, "1000.5 kbit/s" },
		{ 100000000, "100 Mbit/s" }, { UINT64_MAX, "18446744073709551.615 kbit/s" },
	};
	for (const auto &row : rows)
		EXPECT_EQ(rate(row.bits), row.words);
}

TEST(words, a_device_has_one_unit)
{
	EXPECT_EQ(choose_unit(0), 1u);
	EXPECT_EQ(choose_unit(999), 1u);
	EXPECT_EQ(choose_unit(900000), 1000u);
	EXPECT_EQ(choose_unit(19000000), 1000000u);
	EXPECT_STREQ(get_unit_word(1), "bit/s");
	EXPECT_STREQ(get_unit_word(1000), "kbit/s");
	EXPECT_STREQ(get_unit_word(1000000), "Mbit/s");
	auto in_unit = [](uint64_t bits, uint64_t unit) {
		return written_by([=](FILE *to) { write_in_unit(to, bits, unit); });
	};
	EXPECT_EQ(in_unit(500000, 1000000), "0.5");
	EXPECT_EQ(in_unit(19000000, 1000000), "19");
	EXPECT_EQ(in_unit(1999999, 1000000), "2");
	EXPECT_EQ(in_unit(1234567, 1000000), "1.235");
	EXPECT_EQ(in_unit(50000, 1000000), "0.05");
	EXPECT_EQ(in_unit(UINT64_MAX, 1), "18446744073709551615");
}

TEST(words, guaranteed_and_ceiling_stand_in_one_unit_where_that_is_as_short)
{
	EXPECT_EQ(rates(2000000, 4000000), "2 to 4 Mbit/s");
	EXPECT_EQ(rates(500000, 2000000), "0.5 to 2 Mbit/s");
	EXPECT_EQ(rates(512000, 1000000), "512 kbit/s to 1 Mbit/s");
	EXPECT_EQ(rates(400000, 700000), "400 to 700 kbit/s");
	EXPECT_EQ(rates(19000000, 19000000), "19 Mbit/s");
	EXPECT_EQ(rates(19000000, 0), "19 Mbit/s");
	EXPECT_EQ(rates(0, 0), "no rate");
	EXPECT_EQ(rates(0, 4000000), "no rate, at most 4 Mbit/s");
}

/* --- entries --- */

static std::string entries(object_kind kind, std::vector<const char *> list, int most)
{
	list.push_back(nullptr);
	auto given = const_cast<char *const *>(list.data());
	return written_by([=](FILE *to) { write_entries(to, kind, given, most); });
}

TEST(words, entries_of_ports_say_what_means_any)
{
	EXPECT_EQ(entries(PORT, { "5060-5061", "80" }, 9), "5060-5061, 80");
	EXPECT_EQ(entries(PORT, { "0" }, 9), "any port");
	EXPECT_EQ(entries(PORT, { "0-80", "443" }, 9), "any port, 443");
	EXPECT_EQ(entries(PORT, { "90-80", "x", "70000", " 80" }, 9),
		  "90-80 (takes nothing), x (takes nothing), 70000 (takes nothing),  80 (takes "
		  "nothing)");
	EXPECT_EQ(entries(PORT, { "1", "2", "3", "4" }, 2), "1, 2, 2 more");
	EXPECT_EQ(entries(PORT, { "1", "2" }, 2), "1, 2");
	EXPECT_EQ(entries(PORT, {}, 2), "");
}

TEST(words, entries_of_addresses_say_how_the_rule_writer_reads_them)
{
	EXPECT_EQ(entries(IP, { "192.168.1.10-20", "10.0.0.1" }, 9), "192.168.1.10-20, 10.0.0.1");
	EXPECT_EQ(entries(IP, { "0.0.0.0", "192.168.1.0/24", "10.0.0.0-127" }, 9),
		  "any address, any address, any address");
	EXPECT_EQ(entries(IP, { "10.0.0.8/29" }, 9), "10.0.0.8/29 (read as 10.0.0.8)");
	EXPECT_EQ(entries(IP, { "10.0.0.20-10", "10.0.0", "10.0.0.256" }, 9),
		  "10.0.0.20-10 (takes nothing), 10.0.0 (takes nothing), "
		  "10.0.0.256 (takes nothing)");
}

TEST(words, a_full_list_is_read_to_its_end_and_no_further)
{
	std::vector<const char *> full(LIST_ENTRIES_MAX, "1");
	EXPECT_EQ(entries(PORT, full, 1), "1, 16 more");
}

/* --- filters --- */

static std::string filter(const std::string &section)
{
	fresh_router router;
	router.store("filter", "[f]\n" + section);
	router.store("ip", "[phones]\nIP_LIST[0]=10.0.0.1\n[any]\nIP_LIST[0]=10.0.0.1\n"
			   "IP_LIST[1]=10.0.0.0\n[bad]\nIP_LIST[0]=x\n[empty]\nX=y\n");
	router.store("port", "[sip]\nPORT_LIST[0]=5060-5061\n[web]\nPORT_LIST[0]=80\n[any]\n"
			     "PORT_LIST[0]=0\n[many]\nPORT_LIST[0]=1\nPORT_LIST[1]=2\n"
			     "PORT_LIST[2]=3\nPORT_LIST[3]=4\n");
	shown_stores in;
	read_stores(&in);
	return written_by([&in](FILE *to) { write_filter(to, &in, "f"); });
}

TEST(words, a_filter_says_what_it_takes)
{
	EXPECT_EQ(filter("TRANS_PROTO=udp\nINT_IP_ID=phones\nEXT_IP_ID=any\nINT_PORT_ID=any\n"
			 "EXT_PORT_ID=sip\nTOS=5\n"),
		  "udp from phones to anywhere, ports 5060-5061, precedence 5");
	EXPECT_EQ(filter("TRANS_PROTO=tcp\nINT_IP_ID=any\nEXT_IP_ID=phones\nINT_PORT_ID=web\n"
			 "EXT_PORT_ID=many\nTOS=\n"),
		  "tcp from anywhere port 80 to phones, ports 1, 2, 3, 1 more");
}

TEST(words, a_filter_says_why_it_takes_nothing)
{
	EXPECT_EQ(filter("INT_IP_ID=\nEXT_IP_ID=gone\nINT_PORT_ID=any\n"),
		  "no protocol from nothing (no list) to nothing (the list gone is not there), "
		  "ports nothing (no list)");
	EXPECT_EQ(filter("TRANS_PROTO=tcp\nINT_IP_ID=bad\nEXT_IP_ID=empty\nINT_PORT_ID=any\n"
			 "EXT_PORT_ID=any\n"),
		  "tcp from nothing (the list bad has no entry that can be read) to nothing (the "
		  "list empty is empty)");
	EXPECT_EQ(written_by([](FILE *to) {
			  shown_stores none = {};
			  write_filter(to, &none, "f");
		  }),
		  "not there");
}

/* --- classes --- */

/* A class with one schedule, of these days. */
static class_rec with_slot(const char *digits, const char *from, const char *until)
{
	class_rec rec = {};
	for (int day = 0; day < DAYS; day++) {
		char digit[] = { static_cast<char>('0' + day), '\0' };
		if (strchr(digits, *digit))
			rec.dow[day][0] = strdup(digit);
	}
	rec.start_hour[0] = from ? strdup(from) : nullptr;
	rec.end_hour[0] = until ? strdup(until) : nullptr;
	rec.time_rate[0] = strdup("512");
	rec.time_rate_unit[0] = strdup("Kbps");
	return rec;
}

static std::string slot(const class_rec &rec)
{
	return written_by([&](FILE *to) { write_slot(to, &rec, 0); });
}

static std::string days(const char *digits)
{
	class_rec rec = with_slot(digits, "08", "18");
	return written_by([&](FILE *to) { write_days(to, &rec, 0); });
}

TEST(words, days_that_follow_each_other_are_told_together)
{
	EXPECT_EQ(days("12345"), "Mon to Fri");
	EXPECT_EQ(days("0123456"), "every day");
	EXPECT_EQ(days("06"), "Sat, Sun");
	EXPECT_EQ(days("135"), "Mon, Wed, Fri");
	EXPECT_EQ(days("0345"), "Wed to Fri, Sun");
	EXPECT_EQ(days("012"), "Mon, Tue, Sun");
	EXPECT_EQ(days(""), "no day");
}

TEST(words, a_schedule_says_when_and_how_much)
{
	class_rec rec = with_slot("12345", "08", "18");
	EXPECT_EQ(slot(rec), "Mon to Fri 8 to 18: 512 kbit/s");
	rec.time_ceil[0] = strdup("1");
	rec.time_ceil_unit[0] = strdup("Mbps");
	EXPECT_EQ(slot(rec), "Mon to Fri 8 to 18: 512 kbit/s to 1 Mbit/s");
	EXPECT_EQ(slot(with_slot("0123456", "22", "06")), "every day 22 to 6: 512 kbit/s");
	EXPECT_EQ(slot(with_slot("06", "08", "08")), "Sat, Sun all day: 512 kbit/s");
	EXPECT_EQ(slot(with_slot("1", "18", "00")), "Mon 18 to 24: 512 kbit/s");
	EXPECT_EQ(slot(with_slot("", "08", "18")), "never: 512 kbit/s");
	EXPECT_EQ(slot(with_slot("1", nullptr, "18")), "Mon without hours: 512 kbit/s");
	EXPECT_EQ(slot(with_slot("1", "24", "18")), "Mon without hours: 512 kbit/s");
}

TEST(words, a_schedule_without_a_ceiling_has_that_of_the_class)
{
	class_rec rec = with_slot("1", "08", "18");
	rec.ceil = strdup("2");
	rec.ceil_unit = strdup("Mbps");
	EXPECT_EQ(slot(rec), "Mon 8 to 18: 512 kbit/s to 2 Mbit/s");
	rec.ceil_unit = strdup("bps");
	EXPECT_EQ(slot(rec), "Mon 8 to 18: 512 kbit/s");
}

TEST(words, a_leaf_says_its_length)
{
	auto leaf = [](const char *kind, const char *limit) {
		class_rec rec = {};
		rec.leaf = kind ? strdup(kind) : nullptr;
		rec.limit = limit ? strdup(limit) : nullptr;
		return written_by([&](FILE *to) { write_leaf(to, &rec); });
	};
	EXPECT_EQ(leaf("pfifo", "30"), "pfifo 30 packets");
	EXPECT_EQ(leaf("bfifo", "60000"), "bfifo 60000 bytes");
	EXPECT_EQ(leaf("sfq", nullptr), "sfq");
	EXPECT_EQ(leaf("pfifo", nullptr), "pfifo");
	EXPECT_EQ(leaf("none", "30"), "");
	EXPECT_EQ(leaf(nullptr, nullptr), "");
}

TEST(words, every_field_of_a_form_has_a_label)
{
	EXPECT_STREQ(get_field_label(CLASS, "ceil"), "Ceil");
	EXPECT_STREQ(get_field_label(FILTER, "int_ip_id"), "From");
	EXPECT_STREQ(get_field_label(CLASS, "time_rate"), "Rate of a schedule");
	EXPECT_STREQ(get_field_label(CLASS, "dow[3]"), "Days of a schedule");
	for (int kind = 0; kind < KINDS_COUNT; kind++) {
		for (const field &row : FIELDS[kind]) {
			const char *form = row.form ? row.form : "";
			if (*form) {
				EXPECT_STRNE(get_field_label(static_cast<object_kind>(kind), form),
					     form);
			}
		}
	}
	EXPECT_STREQ(get_field_label(CLASS, "else"), "else");
}
