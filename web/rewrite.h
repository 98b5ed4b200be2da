/* How a changed store gets back to the disk. */
#ifndef WEB_REWRITE_H
#define WEB_REWRITE_H

#include <cfl.h>

const int REWRITES_MAX = 2; // stores that one request changes: a class and the filters' marks

struct rewrite {
	const char *path; // of the store file, which must be there; a link stays a link
	cfl *store;
};

/* Replaces store files, at most REWRITES_MAX. Each is written beside the old one first, and takes
 * its place when all of them are whole on the disk: a full disk, or a router that is switched off
 * in between, leaves the old files. The files keep their modes. Returns 1; 0 when a file cannot
 * be written, which is told on standard error. The one failure that can leave the first of two
 * files new is that of the last step, to put the second in its place. */
int rewrite_stores(const rewrite *stores, int count);

#endif
