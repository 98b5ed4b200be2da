// SPDX-License-Identifier: MIT
/* Time zones for tests, named by their rules, so that no table of zones is needed. */
#ifndef TESTS_SUPPORT_ZONE_H
#define TESTS_SUPPORT_ZONE_H

#include <stdlib.h>
#include <time.h>

const char BERLIN[] = "CET-1CEST,M3.5.0,M10.5.0/3";
const char NEW_YORK[] = "EST5EDT,M3.2.0,M11.1.0";
const char LORD_HOWE[] = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";
const char HAVANA[] = "CST5CDT,M3.2.0/0,M11.1.0/1";

/* The zone of the process as long as it is there. */
class zone {
public:
	explicit zone(const char *name)
	{
		setenv("TZ", name, 1);
		tzset();
	}

	~zone()
	{
		unsetenv("TZ");
		tzset();
	}
};

#endif
