/* The keys of lists, and the check that a key takes what it is formatted with: formats in tables
 * and arguments are not checked by the compiler itself. */
#ifndef STORE_LIST_KEYS_H
#define STORE_LIST_KEYS_H

/* Whether a format makes a key of as many numbers, each as %d, and of nothing else. */
constexpr bool takes_numbers(const char *format, int numbers)
{
	for (; *format; format++) {
		if (*format == '%' && (*++format != 'd' || numbers-- == 0))
			return false;
	}
	return numbers == 0;
}

constexpr char BAND_KEY[] = "BAND[%d]";
constexpr char FILTER_ID_KEY[] = "FILTER_ID[%d]";
constexpr char PORT_LIST_KEY[] = "PORT_LIST[%d]";
constexpr char IP_LIST_KEY[] = "IP_LIST[%d]";
constexpr char DOW_KEY[] = "DOW%d%d"; // day, then slot

static_assert(takes_numbers(BAND_KEY, 1), "an index");
static_assert(takes_numbers(FILTER_ID_KEY, 1), "an index");
static_assert(takes_numbers(PORT_LIST_KEY, 1), "an index");
static_assert(takes_numbers(IP_LIST_KEY, 1), "an index");
static_assert(takes_numbers(DOW_KEY, 2), "a day and a slot");

#endif
