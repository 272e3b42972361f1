// The std::iostream adapter of xstream: formatted writes and reads of
// integers through the thin adapter (every transfer reaches the stream at
// the call) and the buffered one (blocks of 64 KiB), over a memory stream,
// next to std::stringstream doing the same work:
//   build/default/bench/xstd_stream_bench --benchmark_min_time=0.2
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>

#include "streams/xmemory_stream.h"
#include "streams/xstream.h"

namespace {

// "0 1 2 ... n-1 ", the text every case writes and reads back.
std::int64_t text_size(std::int64_t n) {
  std::int64_t size = 0;
  for (std::int64_t i = 0; i < n; ++i) size += static_cast<std::int64_t>(std::to_string(i).size()) + 1;
  return size;
}

void write_numbers(std::ostream& out, std::int64_t n) {
  for (std::int64_t i = 0; i < n; ++i) out << i << ' ';
  out.flush();
}

std::int64_t read_numbers(std::istream& in) {
  std::int64_t sum = 0, v = 0;
  while (in >> v) sum += v;
  return sum;
}

std::unique_ptr<std::iostream> adapter(xum::xstream& s, bool buffered) {
  return buffered ? s.std_stream(xum::xstd_buffering::buffered) : s.std_stream();
}

template <bool Buffered>
void BM_AdapterWriteNumbers(benchmark::State& state) {
  for (auto _ : state) {
    xum::xmemory_stream m;
    write_numbers(*adapter(m, Buffered), state.range(0));
    benchmark::DoNotOptimize(m.data());
  }
  state.SetBytesProcessed(state.iterations() * text_size(state.range(0)));
}

template <bool Buffered>
void BM_AdapterReadNumbers(benchmark::State& state) {
  xum::xmemory_stream m;
  write_numbers(*m.std_stream(xum::xstd_buffering::buffered), state.range(0));
  for (auto _ : state) {
    m.seek(0, xum::xseek_begin);
    benchmark::DoNotOptimize(read_numbers(*adapter(m, Buffered)));
  }
  state.SetBytesProcessed(state.iterations() * text_size(state.range(0)));
}

void BM_StringStreamWriteNumbers(benchmark::State& state) {
  for (auto _ : state) {
    std::stringstream s;
    write_numbers(s, state.range(0));
    benchmark::DoNotOptimize(s.rdbuf());
  }
  state.SetBytesProcessed(state.iterations() * text_size(state.range(0)));
}

void BM_StringStreamReadNumbers(benchmark::State& state) {
  std::stringstream text;
  write_numbers(text, state.range(0));
  const std::string bytes = text.str();
  for (auto _ : state) {
    std::istringstream s(bytes);
    benchmark::DoNotOptimize(read_numbers(s));
  }
  state.SetBytesProcessed(state.iterations() * text_size(state.range(0)));
}

void counts(benchmark::internal::Benchmark* b) {
  for (std::int64_t n : {1 << 10, 1 << 16, 1 << 20}) b->Arg(n);
  b->Unit(benchmark::kMicrosecond);
}

BENCHMARK_TEMPLATE(BM_AdapterWriteNumbers, false)->Apply(counts);
BENCHMARK_TEMPLATE(BM_AdapterWriteNumbers, true)->Apply(counts);
BENCHMARK(BM_StringStreamWriteNumbers)->Apply(counts);
BENCHMARK_TEMPLATE(BM_AdapterReadNumbers, false)->Apply(counts);
BENCHMARK_TEMPLATE(BM_AdapterReadNumbers, true)->Apply(counts);
BENCHMARK(BM_StringStreamReadNumbers)->Apply(counts);

}  // namespace

BENCHMARK_MAIN();
