// localdisk-bench [options of the benchmark library]
//   measures every row.
// localdisk-bench --times COUNT ROW:SIDE
//   does one side's work COUNT times and nothing else, for tools that count what a process does. The difference
//   between two counts is free of what the process does besides.
// localdisk-bench --used-heap [options of the benchmark library]
//   measures in a process whose host has freed blocks of many sizes, which decides where the allocator puts new ones.
// localdisk-bench --memory
//   prints what a listing holds at most, for folders of 1 000 and of 1 000 000 entries.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/fixtures.h"
#include "bench/rows.h"

namespace {

int do_times(long times, const char* name) {
  for (const bench::Side& side : bench::all_sides()) {
    if (side.name != name) continue;
    side.run(times);
    return 0;
  }
  std::fprintf(stderr, "localdisk-bench: no such work: %s\n", name);
  return 2;
}

void use_heap() {
  std::vector<std::unique_ptr<char[]>> blocks;
  for (std::size_t size = 1000; size < (4U << 20); size += size / 3) {
    for (int i = 0; i < 2; ++i) blocks.push_back(std::make_unique<char[]>(size));
  }
  static std::vector<std::unique_ptr<char[]>> kept;  // every second one, so that what was freed lies in pieces
  for (std::size_t i = 0; i < blocks.size(); i += 2) kept.push_back(std::move(blocks[i]));
}

int show_memory() {
  for (const int entries : {1'000, 1'000'000}) {
    const std::string folder = bench::folder_of(entries);
    bench::CountingList list;
    const auto used = bench::allocations_of([&] { bench::drive().GetFileList(folder.c_str(), &list, nullptr); });
    std::printf("%lld entries: %lld allocations, at most %lld bytes at once\n", list.entries, used.count,
                used.peak_bytes);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  bench::add_listing_rows();
  bench::add_file_rows();
  bench::add_transfer_rows();
  bench::add_time_rows();
  bench::add_text_rows();
  bench::add_settings_and_path_rows();
  bench::add_file_rows_with_zone();
  bench::add_time_rows_with_zone();
  if (argc == 4 && std::strcmp(argv[1], "--times") == 0) return do_times(std::atol(argv[2]), argv[3]);
  if (argc == 2 && std::strcmp(argv[1], "--memory") == 0) return show_memory();
  if (argc > 1 && std::strcmp(argv[1], "--used-heap") == 0) {
    use_heap();
    std::copy(argv + 2, argv + argc, argv + 1);
    --argc;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
