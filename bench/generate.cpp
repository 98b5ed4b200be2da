// SPDX-License-Identifier: MIT
/* Writes stores of any size into a router's root:
 *     generate ROOT POLICIES CLASSES FILTERS ENTRIES
 * CLASSES are dealt out to the POLICIES evenly, as trees three levels deep below the root. Each
 * has all its fields, a schedule and one of the FILTERS. Every four filters share their lists, each
 * of ENTRIES entries. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static FILE *create_store(const char *root, const char *name)
{
	char path[1024];
	snprintf(path, sizeof(path), "%s/etc/conf/qos_config/%s", root, name);
	FILE *file = fopen(path, "w");
	if (!file) {
		perror(path);
		exit(1);
	}
	return file;
}

static void write_policies(const char *root, int policies)
{
	FILE *file = create_store(root, "policy");
	for (int i = 0; i < policies; i++)
		fprintf(file, "[LAN%d]\nROOT_CLASS=c%d\nDEFAULT_CLASS=c%d\nR2Q=10\nQDISC=htb\n",
			i + 1, i, i + policies);
	fclose(file);
}

/* Class i stands below class (i - policies) / 8 of the same policy: a wide tree. */
static void write_classes(const char *root, int policies, int classes, int filters)
{
	FILE *file = create_store(root, "class");
	for (int i = 0; i < classes; i++) {
		fprintf(file, "[c%d]\n", i);
		if (i >= policies)
			fprintf(file, "PARENT_ID=c%d\n",
				(i / policies - 1) / 8 * policies + i % policies);
		fprintf(file, "PRIO=%d\nRATE=%d\nRATE_UNIT=Kbps\nCEIL=20\nCEIL_UNIT=Mbps\n",
			i % 9 + 1, 100 + i);
		fprintf(file, "BURST=15\nBURST_UNIT=KB\nCBURST=15\nCBURST_UNIT=KB\nMTU=1500\n");
		fprintf(file, "LEAF=sfq\nQUANTUM=1514\nPERTURB=10\nFILTER_ID[0]=f%d\n", i % filters);
		fprintf(file, "TIME_ENABLE[0]=enable\nSTART_HOUR[0]=08\nEND_HOUR[0]=18\n");
		fprintf(file, "TIME_RATE[0]=512\nTIME_RATE_UNIT[0]=Kbps\n");
		fprintf(file, "DOW10=1\nDOW30=3\nDOW50=5\n");
	}
	fclose(file);
}

static void write_filters(const char *root, int filters)
{
	FILE *file = create_store(root, "filter");
	for (int i = 0; i < filters; i++) {
		int list = i / 4;
		fprintf(file, "[f%d]\nNET_PROTO=IP\nTRANS_PROTO=tcp\nPRIO=%d\n", i, i % 9 + 1);
		fprintf(file, "INT_IP_ID=s%d\nEXT_IP_ID=d%d\n", list, list);
		fprintf(file, "INT_PORT_ID=any\nEXT_PORT_ID=p%d\nTOS=\nUSE=use\n", list);
	}
	fclose(file);
}

static void write_ports(const char *root, int lists, int entries)
{
	FILE *file = create_store(root, "port");
	fprintf(file, "[any]\nPORT_LIST[0]=0\n");
	for (int i = 0; i < lists; i++) {
		fprintf(file, "[p%d]\n", i);
		for (int n = 0; n < entries; n++)
			fprintf(file, "PORT_LIST[%d]=%d-%d\n", n, 1024 + n, 1027 + n);
	}
	fclose(file);
}

static void write_addresses(const char *root, int lists, int entries)
{
	FILE *file = create_store(root, "ip");
	for (int i = 0; i < lists; i++) {
		fprintf(file, "[s%d]\n", i);
		for (int n = 0; n < entries; n++)
			fprintf(file, "IP_LIST[%d]=192.168.%d.%d\n", n, i % 256, n + 1);
		fprintf(file, "[d%d]\n", i);
		for (int n = 0; n < entries; n++)
			fprintf(file, "IP_LIST[%d]=10.0.%d.%d-%d\n", n, i % 256, n + 1, n + 4);
	}
	fclose(file);
}

int main(int argc, char **argv)
{
	if (argc != 6) {
		fprintf(stderr, "usage: generate ROOT POLICIES CLASSES FILTERS ENTRIES\n");
		return 2;
	}
	const char *root = argv[1];
	int policies = atoi(argv[2]);
	int classes = atoi(argv[3]);
	int filters = atoi(argv[4]);
	int entries = atoi(argv[5]);
	if (policies < 1 || classes < policies || filters < 1 || entries < 1) {
		fprintf(stderr, "generate: needs at least one of each, and a class a policy\n");
		return 2;
	}
	write_policies(root, policies);
	write_classes(root, policies, classes, filters);
	write_filters(root, filters);
	write_ports(root, (filters + 3) / 4, entries);
	write_addresses(root, (filters + 3) / 4, entries);
	fclose(create_store(root, "basic"));
	return 0;
}
