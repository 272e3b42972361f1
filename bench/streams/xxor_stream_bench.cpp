// Scrambling through xxor_stream over a memory stream against a plain memcpy
// of the same bytes, with a table of memcpy time / xor time printed after the
// console report (the goal is at least 0.5 for 256 MiB).
//
// Both sides copy `size` bytes between two buffers that are already touched,
// so page faults stay out of the timing; the xor side also scrambles and
// passes through the streams' virtual calls and the 4096-byte work buffer.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/ratio_reporter.h"

#include "streams/xmemory_stream.h"
#include "streams/xxor_stream.h"

namespace {

int size_of(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

std::vector<unsigned char> source_of(int size) {
  std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 31);
  return bytes;
}

struct Memcpy {};
struct Xor {};

// The baseline of both operations: the same bytes copied once.
void copy_bytes(benchmark::State& state) {
  const auto src = source_of(size_of(state));
  std::vector<unsigned char> dst(src.size(), 1);
  for (auto _ : state) {
    std::memcpy(dst.data(), src.data(), src.size());
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
}

void write_side(benchmark::State& state, Memcpy) { copy_bytes(state); }

// Caller's bytes scrambled into a memory stream of the right size.
void write_side(benchmark::State& state, Xor) {
  const auto src = source_of(size_of(state));
  xum::xmemory_stream m;
  m.set_size(size_of(state));
  xum::xxor_stream x(m, false);
  for (auto _ : state) {
    x.seek(0, xum::xseek_begin);
    benchmark::DoNotOptimize(x.write(src.data(), size_of(state)));
    benchmark::ClobberMemory();
  }
}

void read_side(benchmark::State& state, Memcpy) { copy_bytes(state); }

// A memory stream's bytes unscrambled into the caller's buffer.
void read_side(benchmark::State& state, Xor) {
  const auto src = source_of(size_of(state));
  xum::xmemory_stream m;
  m.write(src.data(), size_of(state));
  xum::xxor_stream x(m, false);
  std::vector<unsigned char> dst(src.size(), 1);
  for (auto _ : state) {
    x.seek(0, xum::xseek_begin);
    benchmark::DoNotOptimize(x.read(dst.data(), size_of(state)));
    benchmark::ClobberMemory();
  }
}

template <class Side>
void BM_Write(benchmark::State& state) {
  write_side(state, Side{});
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <class Side>
void BM_Read(benchmark::State& state) {
  read_side(state, Side{});
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* b) {
  for (std::int64_t n : {64 << 10, 1 << 20, 16 << 20, 256 << 20}) b->Arg(n);
  b->Unit(benchmark::kMicrosecond);
}

BENCHMARK_TEMPLATE(BM_Write, Memcpy)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Write, Xor)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Read, Memcpy)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Read, Xor)->Apply(sizes);

}  // namespace

int main(int argc, char** argv) {
  return xum::bench::run_with_ratios(argc, argv, {"<Xor>", "memcpy", "xor stream", true});
}
