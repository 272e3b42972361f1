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

#include "bench/ratio_reporter.h"

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

}  // namespace

int main(int argc, char** argv) {
  return xum::bench::run_with_ratios(argc, argv, {"<Xstr>", "std::string", "xstr"});
}
