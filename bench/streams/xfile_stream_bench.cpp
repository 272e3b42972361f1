// Sequential file transfer through xfile_stream against raw read/write on a
// file descriptor, in 64 KiB calls, with a table of raw time / stream time
// printed after the console report (the goal is at least 0.95 at 512 MiB).
//
//   build/default/bench/xfile_stream_bench --benchmark_repetitions=3
//
// The file lives in $TMPDIR (else /tmp) and stays in the page cache between
// runs: both sides measure the same kernel copy, so the ratio shows what the
// stream adds per call. Each write run truncates and rewrites the whole
// file, each read run reads it from the start; open and close are timed.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/ratio_reporter.h"

#include "streams/xfile_stream.h"

namespace {

constexpr int chunk = 64 << 10;

const std::string& bench_file() {
  static const std::string path =
      (std::filesystem::temp_directory_path() / ("xum_file_bench_" + std::to_string(getpid()))).string();
  return path;
}

struct Raw {};
struct Xfile {};

std::vector<char> chunk_bytes() {
  std::vector<char> bytes(chunk);
  for (int i = 0; i < chunk; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<char>(i * 7);
  return bytes;
}

bool raw_write(const std::vector<char>& bytes, std::int64_t size) {
  const int fd = ::open(bench_file().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  bool ok = fd >= 0;
  for (std::int64_t done = 0; ok && done < size; done += chunk) ok = ::write(fd, bytes.data(), chunk) == chunk;
  ::close(fd);
  return ok;
}

void write_file(benchmark::State& state, Raw) {
  const auto bytes = chunk_bytes();
  for (auto _ : state) {
    if (!raw_write(bytes, state.range(0))) state.SkipWithError("write failed");
  }
}

void write_file(benchmark::State& state, Xfile) {
  const auto bytes = chunk_bytes();
  const std::int64_t calls = state.range(0) / chunk;
  for (auto _ : state) {
    xum::xfile_stream f(bench_file().c_str(), xum::xfile_create);
    for (std::int64_t i = 0; i < calls; ++i) f.write_buffer(bytes.data(), chunk);
  }
}

void read_file(benchmark::State& state, Raw) {
  std::vector<char> buffer(chunk);
  for (auto _ : state) {
    const int fd = ::open(bench_file().c_str(), O_RDONLY);
    std::int64_t total = 0;
    for (ssize_t n; (n = ::read(fd, buffer.data(), chunk)) > 0;) total += n;
    ::close(fd);
    if (total != state.range(0)) state.SkipWithError("short file");
  }
}

void read_file(benchmark::State& state, Xfile) {
  std::vector<char> buffer(chunk);
  for (auto _ : state) {
    xum::xfile_stream f(bench_file().c_str(), xum::xfile_read);
    std::int64_t total = 0;
    for (int n; (n = f.read(buffer.data(), chunk)) > 0;) total += n;
    if (total != state.range(0)) state.SkipWithError("short file");
  }
}

template <class Side>
void BM_Write(benchmark::State& state) {
  write_file(state, Side{});
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <class Side>
void BM_Read(benchmark::State& state) {
  // The file of the right size, written once beforehand.
  if (!raw_write(chunk_bytes(), state.range(0))) state.SkipWithError("write failed");
  read_file(state, Side{});
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* b) {
  b->Arg(std::int64_t{512} << 20)->Unit(benchmark::kMillisecond)->Iterations(4);
}

BENCHMARK_TEMPLATE(BM_Write, Raw)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Write, Xfile)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Read, Raw)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Read, Xfile)->Apply(sizes);

}  // namespace

int main(int argc, char** argv) {
  const int rc = xum::bench::run_with_ratios(argc, argv, {"<Xfile>", "read/write", "xfile_stream", true});
  std::filesystem::remove(bench_file());
  return rc;
}
