// Side-by-side reporting for the benchmark programs: every benchmark runs
// as "BM_Op<Baseline>/size" and "BM_Op<Subject>/size"; the reporter passes
// all runs to the console reporter and, at the end, prints per operation and
// size the mean real time of both sides and baseline time / subject time.
//
//   int main(int argc, char** argv) {
//     return xum::bench::run_with_ratios(argc, argv, {"<Xstr>", "std::string", "xstr"});
//   }
#ifndef XUM_BENCH_RATIO_REPORTER_H
#define XUM_BENCH_RATIO_REPORTER_H

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace xum::bench {

struct ratio_columns {
  const char* subject_tag;  // template argument that marks the subject, e.g. "<Xstr>"
  const char* baseline;     // column titles
  const char* subject;
  bool rate = false;        // also print the subject's GB/s (size = bytes per run)
};

class RatioReporter : public benchmark::BenchmarkReporter {
 public:
  explicit RatioReporter(ratio_columns columns) : columns_(columns) {}

  bool ReportContext(const Context& context) override { return console_.ReportContext(context); }
  void Finalize() override { console_.Finalize(); }

  void ReportRuns(const std::vector<Run>& runs) override {
    console_.ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
      const std::string& name = run.run_name.function_name;  // "BM_Op<Side>"
      const std::size_t open = name.find('<');
      if (open == std::string::npos || run.run_name.args.empty()) continue;
      const std::string op = name.substr(0, open);
      std::size_t row = 0;
      while (row < ops_.size() && ops_[row] != op) ++row;
      if (row == ops_.size()) ops_.push_back(op);
      Cell& cell = cells_[{row, std::stol(run.run_name.args)}];
      Mean& side = name.compare(open, std::string::npos, columns_.subject_tag) == 0 ? cell.subject
                                                                                   : cell.baseline;
      side.sum += run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
      ++side.count;
    }
  }

  void PrintRatios() const {
    std::printf("\n%s time / %s time (real time; above 1 means %s is faster)\n", columns_.baseline,
                columns_.subject, columns_.subject);
    std::printf("%-16s %10s %15s %15s %9s %9s\n", "operation", "size",
                (std::string(columns_.baseline) + " ns").c_str(),
                (std::string(columns_.subject) + " ns").c_str(), columns_.rate ? "GB/s" : "",
                "ratio");
    for (const auto& [key, cell] : cells_) {
      char ratio[32] = "-", rate[32] = "";
      if (cell.baseline.count && cell.subject.count)
        std::snprintf(ratio, sizeof ratio, "%.2f", cell.baseline.get() / cell.subject.get());
      if (columns_.rate && cell.subject.count)
        std::snprintf(rate, sizeof rate, "%.2f", static_cast<double>(key.second) / cell.subject.get());
      std::printf("%-16s %10ld %15s %15s %9s %9s\n", ops_[key.first].c_str(), key.second,
                  cell.baseline.str().c_str(), cell.subject.str().c_str(), rate, ratio);
    }
  }

 private:
  struct Mean {
    double sum = 0;
    int count = 0;
    double get() const { return sum / count; }
    std::string str() const {
      char text[32] = "-";
      if (count) std::snprintf(text, sizeof text, "%.1f", get());
      return text;
    }
  };
  struct Cell {
    Mean baseline, subject;
  };
  ratio_columns columns_;
  // No colour codes: the report is usually piped or kept in a log.
  benchmark::ConsoleReporter console_{benchmark::ConsoleReporter::OO_Tabular};
  std::vector<std::string> ops_;                        // in the order they ran
  std::map<std::pair<std::size_t, long>, Cell> cells_;  // (operation, size)
};

// Runs the registered benchmarks and prints the ratio table.
inline int run_with_ratios(int argc, char** argv, ratio_columns columns) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter(columns);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
  benchmark::Shutdown();
  return 0;
}

}  // namespace xum::bench

#endif  // XUM_BENCH_RATIO_REPORTER_H
