/* SPDX-License-Identifier: MIT */
/* Lets user-mode Linux run where the processor has more floating-point state than it knows. A
 * library that is loaded before the C library's ptrace.
 *
 * The kernel of user-mode Linux keeps the state of its processes in a block of fixed size, which it
 * hands back with PTRACE_SETREGSET. A newer processor has more state than the block holds (that of
 * AMX alone is 8 KiB), and the machine's kernel takes no part of the whole: it answers EFAULT, and
 * the first process dies. So the part is laid over the whole, as it is in the tracee, and that is
 * handed over. State that the block does not hold begins anew: nobody here has asked for it, for a
 * process of user-mode Linux cannot, and what is begun anew tells one process nothing of another. */
#define _GNU_SOURCE
#include <cpuid.h>
#include <dlfcn.h>
#include <elf.h>
#include <stdarg.h>
#include <stdint.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/uio.h>

enum {
	XSTATE_LEAF = 0x0d,  // of CPUID: where each state component lies, and how long it is
	LEGACY_BITS = 2,     // x87 and SSE lie in the first 512 bytes, and have no leaf
	HEADER = 512,        // XSTATE_BV: the components that are not as at the beginning
	HEADER_END = HEADER + 64,
	WHOLE_MAX = 64 * 1024,
};

typedef long tracer(enum __ptrace_request, ...);

/* The components that lie in the first size bytes, as bits of XSTATE_BV. */
static uint64_t get_components(size_t size)
{
	uint64_t held = 3;
	for (unsigned bit = LEGACY_BITS; bit < 63; bit++) {
		unsigned length = 0, offset = 0, flags, none;
		if (!__get_cpuid_count(XSTATE_LEAF, bit, &length, &offset, &flags, &none))
			break;
		// One that only the kernel may touch has no place in this layout.
		if (length && !(flags & 1) && offset + length <= size)
			held |= 1ull << bit;
	}
	return held;
}

static long set_part(tracer *next, int pid, void *kind, const struct iovec *part)
{
	static char bytes[WHOLE_MAX] __attribute__((aligned(64)));
	struct iovec whole = { bytes, sizeof(bytes) };
	if (next(PTRACE_GETREGSET, pid, kind, &whole) < 0)
		return -1;
	if (part->iov_len >= whole.iov_len || part->iov_len < HEADER_END)
		return next(PTRACE_SETREGSET, pid, kind, part);
	memcpy(bytes, part->iov_base, part->iov_len);
	uint64_t changed;
	memcpy(&changed, bytes + HEADER, sizeof(changed));
	static uint64_t held; // the block has one size, and a virtual machine answers CPUID slowly
	if (!held)
		held = get_components(part->iov_len);
	changed &= held;
	memcpy(bytes + HEADER, &changed, sizeof(changed));
	return next(PTRACE_SETREGSET, pid, kind, &whole);
}

long ptrace(enum __ptrace_request request, ...)
{
	static tracer *next;
	if (!next)
		*(void **)&next = dlsym(RTLD_NEXT, "ptrace");
	va_list list;
	va_start(list, request);
	int pid = va_arg(list, int);
	void *address = va_arg(list, void *);
	void *data = va_arg(list, void *);
	va_end(list);
	if (request == PTRACE_SETREGSET && address == (void *)NT_X86_XSTATE)
		return set_part(next, pid, address, data);
	return next(request, pid, address, data);
}
