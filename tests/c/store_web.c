/* SPDX-License-Identifier: MIT */
/* A dispatcher written in C: every routine and record of the stores and the pages that another
 * program may use, called from there. Tells what is not as expected, and ends with 1 then. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../../store/description.h"
#include "../../store/message.h"
#include "../../store/records.h"
#include "../../store/reference.h"
#include "../../web/web.h"

static int failures;

static void expect(int is_so, const char *what)
{
	if (is_so)
		return;
	fprintf(stderr, "not so: %s\n", what);
	failures++;
}
#define EXPECT(what) expect(what, #what)

static void write_store(const char *kind, const char *text)
{
	char path[64];
	snprintf(path, sizeof(path), "/etc/conf/qos_config/%s", kind);
	FILE *file = fopen(path, "w");
	EXPECT(file != NULL);
	if (!file)
		return;
	fputs(text, file);
	fclose(file);
}

static int is_text(const char *value, const char *text)
{
	return value && strcmp(value, text) == 0;
}

static void load_records(void)
{
	char lan[] = "LAN1", root[] = "root", web[] = "web";
	policy_rec policy = { 0 };
	class_rec class = { 0 }, band = { 0 };
	filter_rec filter = { 0 };
	port_rec port = { 0 };
	ip_rec ip = { 0 };
	get_policy_by_id(&policy, lan);
	EXPECT(policy.id == lan && is_text(policy.root_class, "root"));
	get_class_by_id(&class, root);
	EXPECT(is_text(class.rate, "5") && is_text(*get_filter_slot(&class, 0), "web"));
	EXPECT(sizeof(class.start_hour) == 8 * sizeof(char *));
	get_basic_by_id(&band, root);
	EXPECT(is_text(band.low, "l"));
	get_filter_by_id(&filter, web);
	EXPECT(is_text(filter.prio, "2"));
	get_port_by_id(&port, web);
	EXPECT(is_text(port.port_list[0], "80") && !port.port_list[1]);
	get_ip_by_id(&ip, web);
	EXPECT(is_text(ip.ip_list[0], "10.0.0.1"));
}

static void read_records(void)
{
	cfl *store = cfl_read("/etc/conf/qos_config//filter");
	filter_rec filter = { 0 };
	EXPECT(read_filter(store, &filter, "web") && is_text(filter.prio, "2"));
	EXPECT(!read_filter(store, &filter, "absent"));
	cfl_free(store);
}

static void use_the_rest(void)
{
	EXPECT(write_desc("web", "port", "words\n") == 1);
	EXPECT(is_text(read_desc("web", "port"), "words\n"));
	EXPECT(is_used_in_db("/etc/conf/qos_config//policy", "root") == 1);
	qos_msg(0, "%s", "words");
	EXPECT(is_text(qos_msg_titles[4], "QOS out of memory"));
}

static void display_pages(void)
{
	static int (*const displays[])(char *, int) = {
		policy_display, class_display, filter_display, port_display, ip_display,
	};
	char web[] = "web";
	for (size_t i = 0; i < sizeof(displays) / sizeof(displays[0]); i++)
		EXPECT(displays[i](web, i % 2 ? MODE_EDIT : MODE_NEW) == 1);
}

/* A request without fields. */
static void read_forms(void)
{
	policy_rec policy = { 0 };
	class_rec class = { 0 };
	filter_rec filter = { 0 };
	port_rec port = { 0 };
	ip_rec ip = { 0 };
	get_policy_param(&policy);
	get_class_param(&class);
	get_filter_param(&filter);
	get_port_param(&port);
	get_ip_param(&ip);
	EXPECT(!policy.id && !class.id && !filter.id && !port.id && !ip.id);
	EXPECT(is_text(filter.net_proto, "IP"));
}

static void refuse_changes(void)
{
	static int (*const changes[])(void) = {
		policy_save, policy_update, class_save, class_update, filter_save, filter_update,
		port_save, port_update, ip_save, ip_update,
	};
	for (size_t i = 0; i < sizeof(changes) / sizeof(changes[0]); i++)
		EXPECT(changes[i]() == 0);
}

static void delete_objects(void)
{
	char web[] = "web";
	EXPECT(policy_delete(web) == 1);
	EXPECT(class_delete(web) == 1);
	EXPECT(filter_delete(web) == 1); // in use
	EXPECT(port_delete(web) == 1);
	EXPECT(ip_delete(web) == 1);
	filter_rec filter = { 0 };
	get_filter_by_id(&filter, web);
	EXPECT(is_text(filter.prio, "2"));
}

int main(void)
{
	if (!getenv("QOS_PRIVATE_ROOT")) {
		fprintf(stderr, "run this through tests/support/in-root\n");
		return 1;
	}
	write_store("policy", "[LAN1]\nROOT_CLASS=root\n");
	write_store("class", "[root]\nRATE=5\nFILTER_ID[0]=web\n");
	write_store("basic", "[root]\nLOW=l\n");
	write_store("filter", "[web]\nPRIO=2\n");
	write_store("port", "[web]\nPORT_LIST[0]=80\n");
	write_store("ip", "[web]\nIP_LIST[0]=10.0.0.1\n");
	load_records();
	read_records();
	use_the_rest();
	display_pages();
	read_forms();
	refuse_changes();
	delete_objects();
	return failures > 0;
}
