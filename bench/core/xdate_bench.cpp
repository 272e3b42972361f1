// xdate's day numbers against std::chrono's civil calendar arithmetic, over
// every day of the years 1-2999 in one run, with a table of
// chrono time / xdate time printed after the console report.
//
//   build/default/bench/xdate_bench --benchmark_min_time=0.2
#include <chrono>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/ratio_reporter.h"

#include "core/xdate.h"

namespace {

using namespace std::chrono;

// The size argument: all days of the years 1-2999.
constexpr long all_days = 1095362;

// Both sides get the same inputs: the dates and their day numbers.
struct inputs {
  std::vector<xum::xdate> dates;
  std::vector<int> numbers;

  inputs() {
    for (sys_days d{year{1} / 1 / 1}; d <= sys_days{year{2999} / 12 / 31}; d += days{1}) {
      const year_month_day ymd(d);
      dates.emplace_back(static_cast<short>(static_cast<int>(ymd.year())),
                         static_cast<unsigned char>(static_cast<unsigned>(ymd.month())),
                         static_cast<unsigned char>(static_cast<unsigned>(ymd.day())));
      numbers.push_back(dates.back().convert_to_days());
    }
  }
};

const inputs& data() {
  static const inputs* in = new inputs;
  return *in;
}

// The number in each side's own day count (chrono counts from 1970).
struct Chrono {
  static int to_days(const xum::xdate& d) {
    return static_cast<int>(
        sys_days{year{d.year} / month{d.month} / day{d.day}}.time_since_epoch().count());
  }
  static xum::xdate from_days(int n) {
    const year_month_day ymd{sys_days{days{n}}};
    return xum::xdate(static_cast<short>(static_cast<int>(ymd.year())),
                      static_cast<unsigned char>(static_cast<unsigned>(ymd.month())),
                      static_cast<unsigned char>(static_cast<unsigned>(ymd.day())));
  }
  // chrono's day number of the same day.
  static int shift(int n) { return n - 719533; }
};

struct Xdate {
  static int to_days(const xum::xdate& d) { return d.convert_to_days(); }
  static xum::xdate from_days(int n) {
    xum::xdate d;
    d.convert_from_days(n);
    return d;
  }
  static int shift(int n) { return n; }
};

template <class Ops>
void BM_ToDays(benchmark::State& state) {
  const auto& dates = data().dates;
  for (auto _ : state) {
    long sum = 0;
    for (const xum::xdate& d : dates) sum += Ops::to_days(d);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<long>(dates.size()));
}

template <class Ops>
void BM_FromDays(benchmark::State& state) {
  std::vector<int> numbers = data().numbers;
  for (int& n : numbers) n = Ops::shift(n);
  for (auto _ : state) {
    long sum = 0;
    for (int n : numbers) sum += Ops::from_days(n).value();
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<long>(numbers.size()));
}

BENCHMARK(BM_ToDays<Chrono>)->Arg(all_days);
BENCHMARK(BM_ToDays<Xdate>)->Arg(all_days);
BENCHMARK(BM_FromDays<Chrono>)->Arg(all_days);
BENCHMARK(BM_FromDays<Xdate>)->Arg(all_days);

}  // namespace

int main(int argc, char** argv) {
  return xum::bench::run_with_ratios(argc, argv, {"<Xdate>", "std::chrono", "xdate"});
}
