// SPDX-License-Identifier: MIT
/* What is resident. */
#include "memory.h"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

/* Code is never written to, so the file still has all of it. Tables that the loader has written to
 * may stand in other segments, which are let alone. */
static int give_code_back(struct dl_phdr_info *of, size_t, void *)
{
	const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
	for (int i = 0; i < of->dlpi_phnum; i++) {
		const ElfW(Phdr) *segment = &of->dlpi_phdr[i];
		if (segment->p_type != PT_LOAD || !(segment->p_flags & PF_X) ||
		    (segment->p_flags & PF_W))
			continue;
		uintptr_t first = (of->dlpi_addr + segment->p_vaddr) / page * page;
		uintptr_t end = of->dlpi_addr + segment->p_vaddr + segment->p_memsz;
		madvise(reinterpret_cast<void *>(first), end - first, MADV_DONTNEED);
	}
	return 0;
}

void give_memory_back(void)
{
#ifdef __GLIBC__ // another C library has no such call
	malloc_trim(0);
#endif
	dl_iterate_phdr(give_code_back, nullptr);
}
