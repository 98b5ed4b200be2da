// SPDX-License-Identifier: MIT
/* Fingerprints of bytes, 64 bits (FNV-1a). Two texts that differ in a single byte never share
 * one, for each step maps different states to different ones. */
#ifndef STORE_FINGERPRINT_H
#define STORE_FINGERPRINT_H

#include <inttypes.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

const uint64_t FINGERPRINT_START = 14695981039346656037u;
const size_t FINGERPRINT_SIZE = 17; // bytes of its text, 16 digits and the NUL

inline uint64_t add_bytes(uint64_t print, const char *bytes, size_t size)
{
	for (size_t i = 0; i < size; i++)
		print = (print ^ static_cast<unsigned char>(bytes[i])) * 1099511628211u;
	return print;
}

/* Adds a text and its NUL, so that "ab", "c" is another than "a", "bc". */
inline uint64_t add_text(uint64_t print, const char *text)
{
	return add_bytes(print, text, strlen(text) + 1);
}

inline void write_fingerprint(char text[FINGERPRINT_SIZE], uint64_t print)
{
	snprintf(text, FINGERPRINT_SIZE, "%016" PRIx64, print);
}

#endif
