// Appending 16-byte records to xmemory_stream against std::vector<char>::insert
// at the end, with a table of std::vector time / memory stream time printed
// after the console report (above 1 means the memory stream is faster).
//
// Each iteration starts from an empty container and appends until it holds
// `size` bytes, so every reallocation on the way is part of the time.
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/ratio_reporter.h"

#include "streams/xmemory_stream.h"

namespace {

// The record appended over and over.
constexpr char record[16] = {'0', '1', '2', '3', '4', '5', '6', '7',
                             '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};

struct StdVector {
  static void fill(std::int64_t size) {
    std::vector<char> v;
    for (std::int64_t n = 0; n < size; n += sizeof record)
      v.insert(v.end(), record, record + sizeof record);
    benchmark::DoNotOptimize(v.data());
  }
};

struct Memory {
  static void fill(std::int64_t size) {
    xum::xmemory_stream m;
    // Through the interface, as the library's writers use it.
    xum::xstream& s = m;
    for (std::int64_t n = 0; n < size; n += sizeof record) s.write(record, sizeof record);
    benchmark::DoNotOptimize(m.data());
  }
};

template <class Side>
void BM_Append16(benchmark::State& state) {
  for (auto _ : state) Side::fill(state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* b) {
  for (std::int64_t n : {64 << 10, 1 << 20, 16 << 20, 256 << 20}) b->Arg(n);
  b->Unit(benchmark::kMicrosecond);
}

BENCHMARK_TEMPLATE(BM_Append16, StdVector)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Append16, Memory)->Apply(sizes);

}  // namespace

int main(int argc, char** argv) {
  return xum::bench::run_with_ratios(argc, argv, {"<Memory>", "std::vector", "memory stream"});
}
