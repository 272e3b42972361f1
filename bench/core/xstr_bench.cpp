// xstr against std::string doing the same work, with a table of
// std::string time / xstr time printed after the console report.
//
// Every operation is a template over a small "ops" struct, so both sides run
// the very same loop; only the string type and its spelling of the operation
// differ. Sizes are the text length in bytes.
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/xstr.h"

namespace {

// A text of state.range(0) letters.
template <class S>
S text_of(const benchmark::State& state) {
  std::string s(static_cast<std::size_t>(state.range(0)), ' ');
  for (std::size_t i = 0; i < s.size(); ++i) s[i] = static_cast<char>('a' + i % 26);
  return S(std::string_view(s));
}

struct Std {
  using S = std::string;
  static S whole(const S& s) { return s.substr(0); }
  // xstr::printf measures with vsnprintf, formats into a new block and then
  // releases the old one; the fair equivalent is a measuring snprintf, a
  // string of that size, a second snprintf and a move into the receiver.
  // (std::to_string is no match: it cannot give "%.3f".)
  static void format(S& out, const S& s, int i, double d) {
    const int n = std::snprintf(nullptr, 0, "%s-%d-%.3f", s.c_str(), i, d);
    S text(static_cast<std::size_t>(n), '\0');
    std::snprintf(text.data(), text.size() + 1, "%s-%d-%.3f", s.c_str(), i, d);
    out = std::move(text);
  }
};

struct Xstr {
  using S = xum::xstr;
  // The whole text: xstr shares the block, std::string copies it.
  static S whole(const S& s) { return s.sub_str(0, s.length()); }
  static void format(S& out, const S& s, int i, double d) {
    out.printf("%s-%d-%.3f", s.get_text(), i, d);
  }
};

template <class Ops>
void BM_Copy(benchmark::State& state) {
  const auto src = text_of<typename Ops::S>(state);
  for (auto _ : state) {
    typename Ops::S copy(src);
    benchmark::DoNotOptimize(copy);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <class Ops>
void BM_Assign(benchmark::State& state) {
  // Two different sources, so no assignment is a self-assignment.
  const auto a = text_of<typename Ops::S>(state);
  const auto b = text_of<typename Ops::S>(state);
  typename Ops::S target;
  for (auto _ : state) {
    target = a;
    benchmark::DoNotOptimize(target);
    target = b;
    benchmark::DoNotOptimize(target);
  }
  state.SetBytesProcessed(state.iterations() * 2 * state.range(0));
}

template <class Ops>
void BM_SubStrWhole(benchmark::State& state) {
  const auto src = text_of<typename Ops::S>(state);
  for (auto _ : state) {
    auto part = Ops::whole(src);
    benchmark::DoNotOptimize(part);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <class Ops>
void BM_Concat(benchmark::State& state) {
  const auto a = text_of<typename Ops::S>(state);
  const auto b = text_of<typename Ops::S>(state);
  for (auto _ : state) {
    auto joined = a + b;
    benchmark::DoNotOptimize(joined);
  }
  state.SetBytesProcessed(state.iterations() * 2 * state.range(0));
}

template <class Ops>
void BM_Printf(benchmark::State& state) {
  // The size is the length of the "%s" argument.
  const auto arg = text_of<typename Ops::S>(state);
  typename Ops::S out;
  int i = 0;
  for (auto _ : state) {
    Ops::format(out, arg, ++i, 3.14159);
    benchmark::DoNotOptimize(out);
  }
  const auto length = static_cast<std::int64_t>(std::string_view(out).size());
  state.SetBytesProcessed(state.iterations() * length);
}

void sizes(benchmark::internal::Benchmark* b) {
  for (int n : {8, 64, 1024, 65536}) b->Arg(n);
}

BENCHMARK_TEMPLATE(BM_Copy, Std)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Copy, Xstr)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Assign, Std)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Assign, Xstr)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_SubStrWhole, Std)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_SubStrWhole, Xstr)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Concat, Std)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Concat, Xstr)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Printf, Std)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Printf, Xstr)->Apply(sizes);

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
      const std::string& name = run.run_name.function_name;  // "BM_Copy<Xstr>"
      const std::size_t open = name.find('<');
      if (open == std::string::npos || run.run_name.args.empty()) continue;
      const std::string op = name.substr(0, open);
      std::size_t row = 0;
      while (row < ops_.size() && ops_[row] != op) ++row;
      if (row == ops_.size()) ops_.push_back(op);
      Cell& cell = cells_[{row, std::stol(run.run_name.args)}];
      Mean& side = name.compare(open, std::string::npos, "<Xstr>") == 0 ? cell.xstr : cell.std;
      side.sum += run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
      ++side.count;
    }
  }

  void PrintRatios() const {
    std::printf("\nstd::string time / xstr time (real time; above 1 means xstr is faster)\n");
    std::printf("%-16s %8s %15s %11s %9s\n", "operation", "size", "std::string ns", "xstr ns",
                "ratio");
    for (const auto& [key, cell] : cells_) {
      char ratio[32] = "-";
      if (cell.std.count && cell.xstr.count)
        std::snprintf(ratio, sizeof ratio, "%.2f", cell.std.get() / cell.xstr.get());
      std::printf("%-16s %8ld %15s %11s %9s\n", ops_[key.first].c_str(), key.second,
                  cell.std.str().c_str(), cell.xstr.str().c_str(), ratio);
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
    Mean std, xstr;
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
