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

// Passes everything to a console reporter and keeps the mean real time of
// each "BM_Op<Side>/size" so the two sides can be compared at the end.
class RatioReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override { return console_.ReportContext(context); }
  void Finalize() override { console_.Finalize(); }

  void ReportRuns(const std::vector<Run>& runs) override {
    console_.ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
      const std::string& name = run.run_name.function_name;  // "BM_Write<Xor>"
      const std::size_t open = name.find('<');
      if (open == std::string::npos || run.run_name.args.empty()) continue;
      const std::string op = name.substr(0, open);
      std::size_t row = 0;
      while (row < ops_.size() && ops_[row] != op) ++row;
      if (row == ops_.size()) ops_.push_back(op);
      Cell& cell = cells_[{row, std::stol(run.run_name.args)}];
      Mean& side = name.compare(open, std::string::npos, "<Xor>") == 0 ? cell.xor_ : cell.memcpy;
      side.sum += run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
      ++side.count;
    }
  }

  void PrintRatios() const {
    std::printf(
        "\nmemcpy time / xor stream time (real time; 0.5 means half of memcpy's throughput)\n");
    std::printf("%-10s %10s %14s %14s %9s %9s\n", "operation", "bytes", "memcpy ns", "xor ns",
                "xor GB/s", "ratio");
    for (const auto& [key, cell] : cells_) {
      char ratio[32] = "-", rate[32] = "-";
      if (cell.memcpy.count && cell.xor_.count)
        std::snprintf(ratio, sizeof ratio, "%.2f", cell.memcpy.get() / cell.xor_.get());
      if (cell.xor_.count)
        std::snprintf(rate, sizeof rate, "%.2f", static_cast<double>(key.second) / cell.xor_.get());
      std::printf("%-10s %10ld %14s %14s %9s %9s\n", ops_[key.first].c_str(), key.second,
                  cell.memcpy.str().c_str(), cell.xor_.str().c_str(), rate, ratio);
    }
  }

 private:
  struct Mean {
    double sum = 0;
    int count = 0;
    double get() const { return sum / count; }
    std::string str() const {
      char text[32] = "-";
      if (count) std::snprintf(text, sizeof text, "%.0f", get());
      return text;
    }
  };
  struct Cell {
    Mean memcpy, xor_;
  };
  // No colour codes: the report is usually piped or kept in a log.
  benchmark::ConsoleReporter console_{benchmark::ConsoleReporter::OO_Tabular};
  std::vector<std::string> ops_;                        // in the order they ran
  std::map<std::pair<std::size_t, long>, Cell> cells_;  // (operation, size)
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
  benchmark::Shutdown();
  return 0;
}
