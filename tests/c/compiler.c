/* SPDX-License-Identifier: MIT */
/* A caller written in C: every routine and global of the compiler, called and read from there.
 * Tells what is not as expected, and ends with 1 then. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../../compiler/compiler.h"
#include "../../compiler/device.h"
#include "../../compiler/steps.h"
#include "../../store/ranges.h"

static int failures;

static void expect(int is_so, const char *what)
{
	if (is_so)
		return;
	fprintf(stderr, "not so: %s\n", what);
	failures++;
}
#define EXPECT(what) expect(what, #what)

static void write_text(const char *path, const char *text)
{
	FILE *file = fopen(path, "w");
	EXPECT(file != NULL);
	if (!file)
		return;
	fputs(text, file);
	fclose(file);
}

static int holds(const char *path, const char *text)
{
	char found[1024] = "";
	FILE *file = fopen(path, "r");
	if (!file)
		return 0;
	found[fread(found, 1, sizeof(found) - 1, file)] = '\0';
	fclose(file);
	return strcmp(found, text) == 0;
}

static void lay_out(void)
{
	write_text("/etc/conf/qos_config/policy", "[LAN_1]\nQDISC=htb\nROOT_CLASS=root\n"
						  "[LAN_2]\nQDISC=spq\nROOT_CLASS=root\n");
	write_text("/etc/conf/qos_config/class", "[root]\nRATE=5\nRATE_UNIT=Mbps\nFILTER_ID[0]=f\n");
	write_text("/etc/conf/qos_config/basic", "[root]\nHIGH=high\n");
	write_text("/etc/conf/qos_config/filter", "[f]\nINT_IP_ID=l\nEXT_IP_ID=l\nINT_PORT_ID=l\n"
						  "EXT_PORT_ID=l\nTRANS_PROTO=tcp\n");
	write_text("/etc/conf/qos_config/ip", "[l]\nIP_LIST[0]=1.2.3.4\n");
	write_text("/etc/conf/qos_config/port", "[l]\nPORT_LIST[0]=80\n");
	write_text("/etc/script/pvc.info", "PVC=\"8.35\"\n");
	write_text("/etc/autorun/nat_on", "");
	write_text("/tmp/qos_devinfo", "DEVICE=\"nas/0\"\n"); // read again, for no shell leaves one
	write_text("/usr/local/sbin/qos_config/check_nat.sh", "#!/bin/sh\nexit 1\n");
	EXPECT(system("chmod +x /usr/local/sbin/qos_config/check_nat.sh") == 0);
}

static const char RULE[] = "PRIORULE=100\nIPTRULE=1.2.3.4/32:80,1.2.3.4/32:80;tcp.\n";

static void compile_all(void)
{
	EXPECT(g_mark == 100);
	EXPECT(do_policy() == 1);
	EXPECT(holds("/etc/script/qos_config/nas_0", "QDISC=spq\n"));
	EXPECT(holds("/etc/script/qos_config/nas_0-2:1.high", ""));
	EXPECT(g_mark == 101);
	EXPECT(g_class_count == 2 && g_basic_count == 2);
	EXPECT(g_class_id == 0 && g_spq_id == 0);
	EXPECT(g_cur_dev && strcmp(g_cur_dev, "nas/0") == 0);
}

static void call_steps(void)
{
	char device[] = "eth0", root[] = "root", expected[256];
	EXPECT(do_class(device, root, NULL, 2, "root") == 1);
	snprintf(expected, sizeof(expected), "RATE=5Mbps\n%sMARK=101\n", RULE);
	EXPECT(holds("/etc/script/qos_config/eth0-1000.root", expected));
	g_spq_id = 7;
	EXPECT(do_spq(device, root, 0, 2) == 1 && g_spq_id == 0);
	EXPECT(holds("/etc/script/qos_config/eth0-2.root", ""));

	char name[CLASS_NAME_SIZE], handle[CLASS_HANDLE_SIZE];
	EXPECT(make_class_names(name, handle, "eth0", "a", "2", 10) == 1);
	EXPECT(strcmp(name, "eth0-2:10.a") == 0 && strcmp(handle, "2:10") == 0);
	EXPECT(DEFAULT_MINOR == 1000);
}

static void write_lines(void)
{
	char root[] = "root", filter[] = "f", rate[] = "3";
	class_rec rules = { 0 }, times = { 0 };
	rules.filter_id[0] = filter;
	times.time_rate[0] = rate;
	FILE *script = fopen("/tmp/lines", "w");
	EXPECT(script != NULL);
	if (!script)
		return;
	EXPECT(write_class(script, root, 0) == 1);
	EXPECT(do_rule(script, rules) == 1);
	EXPECT(do_time(script, times) == 1);
	fclose(script);
	char expected[256];
	snprintf(expected, sizeof(expected), "%sMARK=102\nTIME=/:00-:00;3\n", RULE);
	EXPECT(holds("/tmp/lines", expected));
	EXPECT(g_mark == 103);
}

static void name_devices(void)
{
	char name[] = "a_b/c", *device = NULL, *pvc = NULL;
	replace(name);
	EXPECT(strcmp(name, "a/b/c") == 0);
	replace_slash(name);
	EXPECT(strcmp(name, "a_b_c") == 0);
	EXPECT(get_dev_name("LAN1", &device) == 1 && strcmp(device, "nas/0") == 0);
	EXPECT(read_pvc_info(&pvc) == 1 && strcmp(pvc, "8.35") == 0);
	free(device);
	free(pvc);
}

static void split_ranges(void)
{
	uint32_t values[PORT_BLOCKS_MAX], masks[PORT_BLOCKS_MAX], prefixes[ADDRESS_BLOCKS_MAX];
	EXPECT(port_range_to_masks(1, 3, values, masks) == 2);
	EXPECT(values[1] == 2 && masks[1] == 0xfffe);
	EXPECT(ip_range_to_prefixes(10, 20, NULL, NULL) == 4);
	EXPECT(ip_range_to_prefixes(0, 127, values, prefixes) == 1 && prefixes[0] == 25);
}

int main(void)
{
	lay_out();
	compile_all();
	call_steps();
	write_lines();
	name_devices();
	split_ranges();
	return failures != 0;
}
