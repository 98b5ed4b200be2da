// SPDX-License-Identifier: MIT
/* Who may ask, and who may post. */
#include "access.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

static const size_t HOST_SIZE = 256; // bytes for a name with its NUL

/* Whether the text is ":" and digits, or empty. */
static bool is_port(const char *text)
{
	return *text == '\0' || (*text == ':' && text[1] != '\0' &&
				 text[1 + strspn(text + 1, "0123456789")] == '\0');
}

/* Whether host is "[ADDRESS]" of IPv6, with or without a port. */
static bool is_bracketed_address(const char *host)
{
	const char *close = strchr(host, ']');
	char address[INET6_ADDRSTRLEN];
	size_t length = close ? static_cast<size_t>(close - host - 1) : sizeof(address);
	if (length >= sizeof(address) || !is_port(close + 1))
		return false;
	memcpy(address, host + 1, length);
	address[length] = '\0';
	in6_addr binary;
	return inet_pton(AF_INET6, address, &binary) == 1;
}

static bool is_listed(const char *name)
{
	int fd = open(HOST_NAMES, O_RDONLY | O_CLOEXEC | O_NONBLOCK); // a pipe would never end
	FILE *file = fd >= 0 ? fdopen(fd, "r") : nullptr;
	bool listed = false;
	char line[HOST_SIZE];
	while (file && !listed && fgets(line, sizeof(line), file)) {
		line[strcspn(line, "\r\n")] = '\0';
		listed = *line && strcasecmp(line, name) == 0;
	}
	if (file)
		fclose(file);
	return listed;
}

bool is_own_host(const char *host)
{
	if (!host || strlen(host) >= HOST_SIZE)
		return false;
	if (*host == '[')
		return is_bracketed_address(host);
	char name[HOST_SIZE];
	size_t length = strcspn(host, ":");
	if (!is_port(host + length))
		return false;
	memcpy(name, host, length);
	name[length] = '\0';
	in_addr binary;
	return inet_pton(AF_INET, name, &binary) == 1 || strcasecmp(name, "localhost") == 0 ||
	       is_listed(name);
}

/* Is the host of an address such as "http://192.168.1.1:8080/page" this one? */
static bool is_at_host(const char *address, const char *host)
{
	const char *start;
	if (strncasecmp(address, "http://", 7) == 0)
		start = address + 7;
	else if (strncasecmp(address, "https://", 8) == 0)
		start = address + 8;
	else
		return false;
	size_t length = strcspn(start, "/?#");
	return length == strlen(host) && strncasecmp(start, host, length) == 0;
}

bool is_same_site(const post_source *from)
{
	const char *const places[] = { from->origin, from->referer };
	for (const char *place : places) {
		if (place && !(from->host && is_at_host(place, from->host)))
			return false;
	}
	return !from->fetch_site || strcmp(from->fetch_site, "same-origin") == 0 ||
	       strcmp(from->fetch_site, "none") == 0;
}
