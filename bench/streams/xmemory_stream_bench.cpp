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
      const std::string& name = run.run_name.function_name;  // "BM_Append16<Memory>"
      const std::size_t open = name.find('<');
      if (open == std::string::npos || run.run_name.args.empty()) continue;
      const std::string op = name.substr(0, open);
      std::size_t row = 0;
      while (row < ops_.size() && ops_[row] != op) ++row;
      if (row == ops_.size()) ops_.push_back(op);
      Cell& cell = cells_[{row, std::stol(run.run_name.args)}];
      Mean& side = name.compare(open, std::string::npos, "<Memory>") == 0 ? cell.memory : cell.std;
      side.sum += run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
      ++side.count;
    }
  }

  void PrintRatios() const {
    std::printf(
        "\nstd::vector time / xmemory_stream time (real time; above 1 means xmemory_stream is "
        "faster)\n");
    std::printf("%-12s %10s %14s %14s %9s\n", "operation", "bytes", "std::vector ns", "memory ns",
                "ratio");
    for (const auto& [key, cell] : cells_) {
      char ratio[32] = "-";
      if (cell.std.count && cell.memory.count)
        std::snprintf(ratio, sizeof ratio, "%.2f", cell.std.get() / cell.memory.get());
      std::printf("%-12s %10ld %14s %14s %9s\n", ops_[key.first].c_str(), key.second,
                  cell.std.str().c_str(), cell.memory.str().c_str(), ratio);
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
    Mean std, memory;
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
