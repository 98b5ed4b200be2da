// SPDX-License-Identifier: MIT
/* The speed of libcfl's reader, on which the compiler's depends: the stores are read anew for
 * every object. A plain read of the same bytes and a search for all line ends stand beside it. */
#include <benchmark/benchmark.h>
#include <cfl.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

namespace {

/* A class store on disk, removed in the end. */
struct store_file {
	char path[32] = "/tmp/cfl_bench.XXXXXX";
	std::string text;

	explicit store_file(int classes)
	{
		for (int i = 0; i < classes; i++) {
			std::string id = std::to_string(i);
			text += "[class" + id + "]\nPARENT_ID=class" + std::to_string(i / 8) +
				"\nPRIO=3\nRATE=100\nRATE_UNIT=Kbps\nCEIL=20\nCEIL_UNIT=Mbps\n"
				"BURST=15\nBURST_UNIT=KB\nMTU=1500\nLEAF=sfq\nPERTURB=10\n"
				"FILTER_ID[0]=filter" + id + "\nFILTER_ID[1]=dns\n"
				"TIME_RATE[0]=512\nTIME_RATE_UNIT[0]=Kbps\nDOW10=1\nDOW20=2\n";
		}
		FILE *file = fdopen(mkstemp(path), "w");
		fwrite(text.data(), 1, text.size(), file);
		fclose(file);
	}
	~store_file()
	{
		remove(path);
	}
};

} // namespace

static void count_bytes(benchmark::State &state, const store_file &store)
{
	state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
				static_cast<int64_t>(store.text.size()));
}

static void plain_read(benchmark::State &state)
{
	store_file store(static_cast<int>(state.range(0)));
	std::vector<char> text(store.text.size());
	for (auto _ : state) {
		FILE *file = fopen(store.path, "r");
		benchmark::DoNotOptimize(fread(text.data(), 1, text.size(), file));
		fclose(file);
	}
	count_bytes(state, store);
}
BENCHMARK(plain_read)->Arg(10)->Arg(100)->Arg(1000);

static void find_line_ends(benchmark::State &state)
{
	store_file store(static_cast<int>(state.range(0)));
	const char *end = store.text.data() + store.text.size();
	for (auto _ : state) {
		const char *at = store.text.data();
		while ((at = static_cast<const char *>(
				memchr(at, '\n', static_cast<size_t>(end - at)))))
			benchmark::DoNotOptimize(++at);
	}
	count_bytes(state, store);
}
BENCHMARK(find_line_ends)->Arg(10)->Arg(100)->Arg(1000);

static void read_and_free(benchmark::State &state)
{
	store_file store(static_cast<int>(state.range(0)));
	for (auto _ : state)
		cfl_free(cfl_read(store.path));
	count_bytes(state, store);
}
BENCHMARK(read_and_free)->Arg(10)->Arg(100)->Arg(1000);

/* What the walk over a class tree asks of each section. */
static void read_and_scan_parents(benchmark::State &state)
{
	store_file store(static_cast<int>(state.range(0)));
	for (auto _ : state) {
		cfl *file = cfl_read(store.path);
		for (int i = 2; i <= cfl_get_sections_count(file); i++) {
			const char *name = cfl_section_get_name_by_position(file, i);
			benchmark::DoNotOptimize(
				cfl_value_get_by_name(file, name, "PARENT_ID", nullptr));
		}
		cfl_free(file);
	}
	count_bytes(state, store);
}
BENCHMARK(read_and_scan_parents)->Arg(10)->Arg(100)->Arg(1000);
