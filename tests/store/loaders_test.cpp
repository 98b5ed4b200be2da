// SPDX-License-Identifier: MIT
/* What all loaders have in common: no id, no store, no section; lists that end at a gap or at the
 * room of their record. */
#include "../../store/records.h"

#include "../support/router_files.h"

template <typename record> using loader = void(record *rec, char *id);

/* A record whose every byte tells that it was not written. */
template <typename record> static record untouched()
{
	record rec;
	memset(&rec, 0x5a, sizeof(rec));
	return rec;
}

template <typename record> static bool are_same(const record &one, const record &other)
{
	return memcmp(&one, &other, sizeof(record)) == 0;
}

template <typename record> static void refuses_no_id(loader<record> *load)
{
	record rec = untouched<record>();
	printed all = printed_by([&] { load(&rec, nullptr); });
	EXPECT_EQ(alerts_in(all.out), (texts{ "No such a ID" }));
	EXPECT_TRUE(are_same(rec, untouched<record>()));
}

TEST(loaders, report_no_id_and_leave_the_record_alone)
{
	fresh_router router;
	refuses_no_id(get_policy_by_id);
	refuses_no_id(get_class_by_id);
	refuses_no_id(get_basic_by_id);
	refuses_no_id(get_filter_by_id);
	refuses_no_id(get_port_by_id);
	refuses_no_id(get_ip_by_id);
}

template <typename record> static void refuses_no_store(loader<record> *load, bool sets_id)
{
	char id[] = "x";
	record rec = untouched<record>(), expected = untouched<record>();
	if (sets_id)
		expected.id = id;
	printed all = printed_by([&] { load(&rec, id); });
	EXPECT_EQ(alerts_in(all.out), (texts{ "CFG handle error!!" }));
	EXPECT_TRUE(are_same(rec, expected));
}

TEST(loaders, report_a_store_that_cannot_be_read)
{
	fresh_router router;
	write_file(DESCRIPTIONS + "x.policy", "text\n");
	write_file(DESCRIPTIONS + "x.port", "text\n");
	write_file(DESCRIPTIONS + "x.ip", "text\n");
	refuses_no_store(get_policy_by_id, false);
	refuses_no_store(get_class_by_id, true);
	refuses_no_store(get_basic_by_id, true);
	refuses_no_store(get_filter_by_id, true);
	refuses_no_store(get_port_by_id, false);
	refuses_no_store(get_ip_by_id, true);
}

template <typename record> static void finds_no_section(loader<record> *load, const char *kind)
{
	fresh_router router;
	router.store(kind, "# nothing of x\n[y]\nRATE=1\nNET_PROTO=IP\nLOW=1\nROOT_CLASS=r\n"
			   "FILTER_ID[0]=f\nPORT_LIST[0]=80\nIP_LIST[0]=1.2.3.4\nTIME_RATE[0]=1\n"
			   "DOW00=0\nBAND[0]=b\n");
	char id[] = "x";
	record rec = {}, expected = {};
	expected.id = id;
	printed all = printed_by([&] { load(&rec, id); });
	EXPECT_EQ(alerts_in(all.out), texts{}) << kind;
	EXPECT_EQ(all.err, "") << kind;
	EXPECT_TRUE(are_same(rec, expected)) << kind;
	EXPECT_EQ(rec.id, id) << kind; // the caller's pointer, no copy
}

TEST(loaders, leave_the_record_of_an_unknown_id_empty)
{
	finds_no_section(get_policy_by_id, "policy");
	finds_no_section(get_class_by_id, "class");
	finds_no_section(get_basic_by_id, "basic");
	finds_no_section(get_filter_by_id, "filter");
	finds_no_section(get_port_by_id, "port");
	finds_no_section(get_ip_by_id, "ip");
}

/* A section x with the values 0, 1 and so on of a list. */
static std::string listed(const std::string &key, int count)
{
	std::string text = "[x]\n";
	for (int n = 0; n < count; n++)
		text += key + "[" + std::to_string(n) + "]=v" + std::to_string(n) + "\n";
	return text;
}

/* Loads lists of max values, and of one and many more: max are loaded, a null ends them, and what
 * is left out is told on standard error. entry(rec, n) is entry n of the list. */
template <typename record, typename getter>
static void loads_at_most(loader<record> *load, const char *kind, const char *key, int max,
			  getter entry)
{
	fresh_router router;
	for (int count : { 0, 1, max - 1, max, max + 1, max + 100 }) {
		SCOPED_TRACE(std::string(key) + " " + std::to_string(count));
		router.store(kind, listed(key, count));
		char id[] = "x";
		struct {
			record rec;
			char behind[64];
		} room = {};
		printed all = printed_by([&] { load(&room.rec, id); });
		EXPECT_EQ(all.err != "", count > max) << all.err;
		EXPECT_EQ(alerts_in(all.out), texts{});
		int loaded = std::min(count, max);
		for (int n = 0; n < loaded; n++)
			EXPECT_STREQ(entry(&room.rec, n), ("v" + std::to_string(n)).c_str());
		EXPECT_EQ(entry(&room.rec, loaded), nullptr);
		for (char byte : room.behind)
			EXPECT_EQ(byte, 0);
	}
}

static char *band(policy_rec *rec, int n)
{
	return rec->band[n];
}

static char *port(port_rec *rec, int n)
{
	return rec->port_list[n];
}

static char *address(ip_rec *rec, int n)
{
	return rec->ip_list[n];
}

/* The first 64 filters stand in filter_id, the others in unuse_filter_id. */
static char *filter(class_rec *rec, int n)
{
	return n < 64 ? rec->filter_id[n] : rec->unuse_filter_id[n - 64];
}

TEST(get_policy_by_id, loads_3_bands_at_most)
{
	loads_at_most(get_policy_by_id, "policy", "BAND", 3, band);
}

TEST(get_port_by_id, loads_17_ports_at_most)
{
	loads_at_most(get_port_by_id, "port", "PORT_LIST", 17, port);
}

TEST(get_ip_by_id, loads_17_addresses_at_most)
{
	loads_at_most(get_ip_by_id, "ip", "IP_LIST", 17, address);
}

TEST(get_class_by_id, loads_127_filters_at_most)
{
	loads_at_most(get_class_by_id, "class", "FILTER_ID", 127, filter);
}

TEST(get_basic_by_id, loads_127_filters_at_most)
{
	loads_at_most(get_basic_by_id, "basic", "FILTER_ID", 127, filter);
}

static const struct {
	const char *key;
	char *(*entry)(class_rec *rec, int slot);
} SLOT_LISTS[] = {
	{ "TIME_ENABLE", [](class_rec *rec, int slot) { return rec->time_enable[slot]; } },
	{ "START_HOUR", [](class_rec *rec, int slot) { return rec->start_hour[slot]; } },
	{ "END_HOUR", [](class_rec *rec, int slot) { return rec->end_hour[slot]; } },
	{ "TIME_RATE", [](class_rec *rec, int slot) { return rec->time_rate[slot]; } },
	{ "TIME_RATE_UNIT", [](class_rec *rec, int slot) { return rec->time_rate_unit[slot]; } },
	{ "TIME_BURST", [](class_rec *rec, int slot) { return rec->time_burst[slot]; } },
	{ "TIME_BURST_UNIT", [](class_rec *rec, int slot) { return rec->time_burst_unit[slot]; } },
	{ "TIME_CEIL", [](class_rec *rec, int slot) { return rec->time_ceil[slot]; } },
	{ "TIME_CEIL_UNIT", [](class_rec *rec, int slot) { return rec->time_ceil_unit[slot]; } },
	{ "TIME_CBURST", [](class_rec *rec, int slot) { return rec->time_cburst[slot]; } },
	{ "TIME_CBURST_UNIT",
	  [](class_rec *rec, int slot) { return rec->time_cburst_unit[slot]; } },
};

TEST(get_class_by_id, loads_3_slots_at_most)
{
	for (const auto &row : SLOT_LISTS)
		loads_at_most(get_class_by_id, "class", row.key, 3, row.entry);
}

/* A list without its first value is empty; one without its second has one value. */
template <typename record, typename getter>
static void stops_at_gap(loader<record> *load, const char *kind, const std::string &key,
			 getter entry)
{
	fresh_router router;
	char id[] = "x";
	for (int gap : { 0, 1, 2 }) {
		SCOPED_TRACE(key + " without " + std::to_string(gap));
		std::string text = "[x]\n";
		for (int n : { 2, 1, 0 }) { // their order in the store does not matter
			if (n != gap)
				text += key + "[" + std::to_string(n) + "]=v" + std::to_string(n) +
					"\n";
		}
		router.store(kind, text);
		record rec = {};
		printed_by([&] { load(&rec, id); });
		for (int n = 0; n < gap; n++)
			EXPECT_STREQ(entry(&rec, n), ("v" + std::to_string(n)).c_str());
		EXPECT_EQ(entry(&rec, gap), nullptr);
	}
}

TEST(get_policy_by_id, stops_at_gap_in_bands)
{
	stops_at_gap(get_policy_by_id, "policy", "BAND", band);
}

TEST(get_port_by_id, stops_at_gap)
{
	stops_at_gap(get_port_by_id, "port", "PORT_LIST", port);
}

TEST(get_ip_by_id, stops_at_gap)
{
	stops_at_gap(get_ip_by_id, "ip", "IP_LIST", address);
}

TEST(get_class_by_id, stops_at_gap)
{
	stops_at_gap(get_class_by_id, "class", "FILTER_ID", filter);
}

TEST(get_basic_by_id, stops_at_gap)
{
	stops_at_gap(get_basic_by_id, "basic", "FILTER_ID", filter);
}

TEST(get_class_by_id, stops_at_gap_in_slots)
{
	for (const auto &row : SLOT_LISTS)
		stops_at_gap(get_class_by_id, "class", row.key, row.entry);
}

/* A reader fills the record as its loader does, tells whether there is a section, and is silent,
 * also where the loader warns. */
template <typename record>
static void reads_in_silence(loader<record> *load, bool read(cfl *, record *, const char *),
			     const char *kind, const char *list)
{
	fresh_router router;
	router.store(kind, listed(list, 200) + "LOW=l\nRATE=1\nUSE=use\nROOT_CLASS=r\nDOW00=0\n");
	cfl *store = cfl_read((STORES + kind).c_str());
	char id[] = "x";
	record loaded = {}, quiet = {};
	printed_by([&] { load(&loaded, id); });
	printed all = printed_by([&] {
		EXPECT_TRUE(read(store, &quiet, id));
		EXPECT_FALSE(read(store, &quiet, "y"));
		quiet = {};
		EXPECT_TRUE(read(store, &quiet, id));
	});
	EXPECT_EQ(all.out + all.err, "") << kind;
	EXPECT_EQ(quiet.id, nullptr) << kind;
	loaded.id = nullptr;
	char **one = reinterpret_cast<char **>(&loaded), **other = reinterpret_cast<char **>(&quiet);
	for (size_t n = 0; n < sizeof(record) / sizeof(char *); n++)
		EXPECT_STREQ(one[n], other[n]) << kind << " " << n;
	cfl_free(store);
}

TEST(readers, fill_the_record_as_the_loaders_do_and_print_nothing)
{
	reads_in_silence(get_policy_by_id, read_policy, "policy", "BAND");
	reads_in_silence(get_class_by_id, read_class, "class", "FILTER_ID");
	reads_in_silence(get_class_by_id, read_class, "class", "TIME_RATE");
	reads_in_silence(get_basic_by_id, read_basic, "basic", "FILTER_ID");
	reads_in_silence(get_filter_by_id, read_filter, "filter", "PRIO");
	reads_in_silence(get_port_by_id, read_port, "port", "PORT_LIST");
	reads_in_silence(get_ip_by_id, read_ip, "ip", "IP_LIST");
}
