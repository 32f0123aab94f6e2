// The rows of the benchmark. A row is one piece of work done by up to three sides, each a function that does it once:
//
//   module    the module's export or protocol operation, called across the boundary as a host calls it
//   baseline  the same result by a bare loop of system calls, or by the plainest code that gives it
//   peer      the library function that a user would otherwise take
//
// Neighbouring sides are measured one right after the other, and only their ratio is reported: a machine that other
// work slows down slows all sides of a row.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// What the module asked the allocator for while a function ran.
struct Allocations {
  long long count = 0;
  long long peak_bytes = 0;  // held at once, above what was held before
};
Allocations allocations_of(const std::function<void()>& work);

// One side of a row, ready to be done any number of times.
struct Side {
  std::string name;  // "ROW:SIDE"
  std::function<void(long times)> run;
};
std::vector<Side>& all_sides();

class Row {
 public:
  // One doing of the work handles `units` things, by which the allocations are divided.
  explicit Row(std::string name, double units = 1) : name_(std::move(name)), units_(units) {}

  template <class Work>
  Row& module(Work work) {
    return add("module", work, units_);
  }
  template <class Work>
  Row& baseline(Work work) {
    return add("baseline", work, 0);
  }
  template <class Work>
  Row& peer(Work work) {
    return add("peer", work, 0);
  }

 private:
  template <class Work>
  Row& add(const char* side, Work work, double units) {
    const std::string name = name_ + ":" + side;
    all_sides().push_back({name, [work](long times) mutable {
                             for (long i = 0; i < times; ++i) benchmark::DoNotOptimize(work());
                           }});
    benchmark::RegisterBenchmark(name.c_str(), [work, units](benchmark::State& state) mutable {
      benchmark::DoNotOptimize(work());  // makes what the work needs, and warms it
      if (units > 0) {
        const Allocations used = allocations_of([&] { benchmark::DoNotOptimize(work()); });
        state.counters["allocations"] = static_cast<double>(used.count) / units;
        state.counters["peak_bytes"] = static_cast<double>(used.peak_bytes);
      }
      for (auto step : state) {
        static_cast<void>(step);
        benchmark::DoNotOptimize(work());
      }
    });
    return *this;
  }

  std::string name_;
  double units_;
};

void add_listing_rows();
void add_file_rows();
void add_transfer_rows();
void add_time_rows();
void add_text_rows();
void add_settings_and_path_rows();

// For rows in a process that has TZ set; they come last, since it stays set.
void add_file_rows_with_zone();
void add_time_rows_with_zone();

}  // namespace bench
