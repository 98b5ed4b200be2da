// SPDX-License-Identifier: MIT
/* What runs, as it is shown: the table, JSON and OpenMetrics. */
#include "sample_status.h"

static std::string table(const sample_status &from)
{
	return written_by([&from](FILE *to) { print_status_table(to, &from.it); });
}

static std::string metrics(const sample_status &from)
{
	return written_by([&from](FILE *to) { print_openmetrics(to, &from.it); });
}

TEST(status_table, shows_the_tree_with_rates_bars_and_counters)
{
	sample_status from;
	EXPECT_EQ(table(from),
		  "eth0: running, htb\n"
		  "  class          id      guaranteed    ceiling          now                dropped  waiting\n"
		  "  fibre          1:2      19 Mbit/s  19 Mbit/s     6 Mbit/s  [####......]        0      0 B\n"
		  "    fibre-voice  1:10      2 Mbit/s   4 Mbit/s     3 Mbit/s  [#####+++..]        2   1514 B\n"
		  "    fibre-rest   1:1000    1 Mbit/s  15 Mbit/s      0 bit/s  [..........]        0      0 B\n"
		  "  What matches no rule goes to fibre-rest.\n"
		  "  3 packets passed unshaped.\n");
}

TEST(status_table, names_what_is_not_as_it_was_applied)
{
	sample_status from;
	device_status *on = &from.it.devices[0];
	on->state = FOREIGN;
	snprintf(on->why, sizeof(on->why), "class 1:10: rate 2000000, not 9000000");
	on->classes[2].is_there = on->classes[2].is_measured = false;
	std::string shown = table(from);
	EXPECT_NE(shown.find("eth0: changed by others, htb (class 1:10: rate 2000000, not 9000000)"),
		  std::string::npos);
	EXPECT_NE(shown.find("    fibre-rest   1:1000           -          -            -"
			     "                      0      0 B  not in the kernel\n"),
		  std::string::npos);
}

TEST(status_table, says_how_long_a_confirmation_is_waited_for)
{
	sample_status from;
	from.it.waits = { true, 42 };
	EXPECT_EQ(table(from).find("Waiting for 'qosctl confirm': 42 seconds left.\n\neth0:"), 0u);
}

TEST(status_table, says_that_nothing_is_applied)
{
	router_status none = {};
	EXPECT_EQ(written_by([&none](FILE *to) { print_status_table(to, &none); }),
		  "Nothing is applied; qosctl apply brings the scripts to the kernel.\n");
}

TEST(status_table, gives_a_terminal_no_commands)
{
	sample_status from;
	from.rename(1, "v\033[2Joice\x7f");
	std::string shown = table(from);
	EXPECT_EQ(shown.find('\033'), std::string::npos);
	EXPECT_EQ(shown.find('\x7f'), std::string::npos);
	EXPECT_NE(shown.find("v?[2Joice?"), std::string::npos);
}

TEST(status_table, bands_have_no_rates_and_stand_side_by_side)
{
	sample_status from;
	from.of.kind = SPQ;
	from.of.nodes[1].minor = 1;
	from.of.nodes[2].minor = 2;
	from.it.devices[0].direct = 0;
	device_status *on = &from.it.devices[0];
	on->classes[0] = on->classes[1];
	on->classes[1] = on->classes[2];
	on->classes.count = 2;
	EXPECT_EQ(table(from),
		  "eth0: running, spq\n"
		  "  class        id           now  dropped  waiting\n"
		  "  fibre-voice  2:1     3 Mbit/s        2   1514 B\n"
		  "  fibre-rest   2:2      0 bit/s        0      0 B\n"
		  "  What matches no rule goes by its TOS.\n");
}

TEST(status_table, a_rate_that_is_measured_has_three_figures)
{
	static const struct {
		uint64_t rate;
		const char *shown;
	} CASES[] = {
		{ 999, " 999 bit/s " }, { 1234567, " 1.23 Mbit/s " }, { 904882, " 905 kbit/s " },
		{ 999999, " 1 Mbit/s " },
	};
	for (const auto &row : CASES) {
		sample_status from;
		from.it.devices[0].classes[1].rate_now = row.rate;
		EXPECT_NE(table(from).find(row.shown), std::string::npos) << row.rate;
	}
}

TEST(status_table, an_absent_device_is_one_line)
{
	sample_status from;
	from.it.devices[0].state = WAITS;
	snprintf(from.it.devices[0].why, 32, "the device is absent");
	EXPECT_EQ(table(from), "eth0: waiting, htb (the device is absent)\n");
}

TEST(status_json, has_the_figures_of_each_class)
{
	sample_status from;
	from.it.devices[0].classes.count = 2;
	from.it.devices[0].classes[0].is_there = false;
	from.it.devices[0].classes[0].is_measured = false;
	setenv("TZ", "UTC", 1);
	tzset();
	EXPECT_EQ(written_by([&from](FILE *to) { print_status_json(to, &from.it); }),
		  "{\"qos\":1,\"time\":\"1970-01-01T00:00:00+00:00\",\"applied\":null,"
		  "\"confirmation\":null,\"devices\":[{\"device\":\"eth0\",\"discipline\":\"htb\","
		  "\"state\":\"running\",\"why\":null,\"direct_packets\":3,\"classes\":["
		  "{\"id\":\"fibre\",\"classid\":\"1:2\",\"parent\":\"1:\",\"in_kernel\":false,"
		  "\"rate\":null,\"ceil\":null,\"sent_bytes\":3000,\"sent_packets\":30,\"dropped\":0,"
		  "\"backlog_bytes\":0,\"rate_now\":null},"
		  "{\"id\":\"fibre-voice\",\"classid\":\"1:10\",\"parent\":\"1:2\","
		  "\"in_kernel\":true,\"rate\":2000000,\"ceil\":4000000,\"sent_bytes\":1000,"
		  "\"sent_packets\":10,\"dropped\":2,\"backlog_bytes\":1514,\"rate_now\":3000000}"
		  "]}]}\n");
}

TEST(openmetrics, describes_each_family_once_and_ends_with_eof)
{
	sample_status from;
	std::string shown = metrics(from);
	EXPECT_EQ(shown.find("# TYPE qos_class_sent_bytes counter\n"
			     "# UNIT qos_class_sent_bytes bytes\n"
			     "# HELP qos_class_sent_bytes Bytes that left the class.\n"
			     "qos_class_sent_bytes_total{device=\"eth0\",class=\"fibre\","
			     "classid=\"1:2\"} 3000\n"),
		  0u);
	EXPECT_NE(shown.find("qos_class_rate_bits_per_second{device=\"eth0\",class=\"fibre-voice\","
			     "classid=\"1:10\"} 2000000\n"),
		  std::string::npos);
	EXPECT_NE(shown.find("qos_device_direct_packets_total{device=\"eth0\"} 3\n"),
		  std::string::npos);
	EXPECT_NE(shown.find("qos_device_state{device=\"eth0\",qos_device_state=\"running\"} 1\n"),
		  std::string::npos);
	EXPECT_EQ(shown.find("qos_confirmation"), std::string::npos);
	EXPECT_EQ(shown.substr(shown.size() - 6), "# EOF\n");
}

TEST(openmetrics, a_unit_is_the_end_of_its_name)
{
	sample_status from;
	from.it.waits = { true, 7 };
	std::string shown = metrics(from);
	const std::string mark = "# UNIT ";
	int count = 0;
	for (size_t at = shown.find(mark); at != std::string::npos; at = shown.find(mark, at + 1)) {
		std::string line = shown.substr(at + mark.size(), shown.find('\n', at) - at - mark.size());
		std::string name = line.substr(0, line.find(' '));
		std::string unit = line.substr(line.find(' ') + 1);
		ASSERT_GT(name.size(), unit.size());
		EXPECT_EQ(name.substr(name.size() - unit.size() - 1), "_" + unit);
		count++;
	}
	EXPECT_EQ(count, 8);
}

TEST(openmetrics, labels_are_escaped_and_in_utf8)
{
	static const struct {
		const char *id, *label;
	} CASES[] = {
		{ "a\"b", "a\\\"b" },      { "a\\b", "a\\\\b" },        { "a\nb", "a\\nb" },
		{ "caf\xe9", "caf\xc3\xa9" }, { "caf\xc3\xa9", "caf\xc3\xa9" },
		{ "\xe2\x82", "\xc3\xa2\xc2\x82" }, { "\xed\xa0\x80", "\xc3\xad\xc2\xa0\xc2\x80" },
		{ "\xc0\x80", "\xc3\x80\xc2\x80" },
	};
	for (const auto &row : CASES) {
		sample_status from;
		from.rename(1, row.id);
		EXPECT_NE(metrics(from).find(std::string("class=\"") + row.label + "\",classid"),
			  std::string::npos) << row.label;
	}
}

TEST(openmetrics, what_is_not_in_the_kernel_has_no_figures)
{
	sample_status from;
	from.it.devices[0].classes[1].is_there = false;
	EXPECT_EQ(metrics(from).find("fibre-voice"), std::string::npos);
}
