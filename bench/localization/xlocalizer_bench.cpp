// The localizer against GNU gettext on the same dictionary: 20,000 entries
// in 200 sections, every one translated. Both sides are built in the
// benchmark's own temporary folder: the dictionary by the localizer's
// format, the .mo catalogue by msgfmt from an equivalent .po file (context =
// key path, as `xum loc export` writes it).
//
//   BM_Run<Xum>      open + 20,000 `string` calls + end_writing, nothing
//                    modified: a whole collecting run of an application.
//   BM_Lookup<...>   20,000 translations after writing is done: `string`
//                    against dgettext with the same context and source text.
//
// BM_Run reports where its time goes (open, the calls, end_writing) as
// counters, and the program ends with the ratios and the allocations per
// `string` call after end_writing, counted by a replaced operator new.
//   build/default/bench/xlocalizer_bench --benchmark_min_time=0.2
#include <libintl.h>

#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/ratio_reporter.h"
#include "core/xstr.h"
#include "formats/xstruct_format.h"
#include "localization/xlocalizer.h"

namespace {

std::atomic<long long> allocations{0};

}  // namespace

// Counts every allocation of the process (the library's included: its
// calls to operator new bind to this one). GCC takes the free() below for a
// mismatch with inlined new-expressions; it is the matching release.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t n) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(n == 0 ? 1 : n)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

namespace fs = std::filesystem;

constexpr int sections = 200;
constexpr int per_section = 100;
constexpr int entries = sections * per_section;
constexpr const char* domain = "xumbench";

struct Xum {};
struct Gettext {};

// The dictionary of both sides and the texts a program asks for.
struct fixture {
  fs::path dir;
  xum::xstr dictionary;
  std::vector<xum::xstr> section_names, keys, sources;
  std::vector<std::string> gettext_ids;  // "S12/K34" "\004" source
  bool have_gettext = false;

  fixture() {
    dir = fs::temp_directory_path() / ("xum_loc_bench_" + std::to_string(std::rand()));
    fs::create_directories(dir / "de" / "LC_MESSAGES");
    dictionary = xum::xstr((dir / "bench_DEU.loc").string());
    xum::xstruct_format f;
    f.open_file(dictionary, xum::xfile_create);
    f.identifier("_Localization");
    std::string po = "msgid \"\"\nmsgstr \"\"\n\"Content-Type: text/plain; charset=UTF-8\\n\"\n";
    for (int s = 0; s < sections; ++s) {
      section_names.emplace_back("Form" + std::to_string(s));
      f.begin_section(section_names.back());
      for (int k = 0; k < per_section; ++k) {
        const int n = s * per_section + k;
        keys.emplace_back("Control" + std::to_string(k));
        sources.emplace_back("Source text number " + std::to_string(n));
        const std::string translation = "Übersetzter Text Nummer " + std::to_string(n);
        f.begin_section(keys.back());
        f.str_prop("o", sources.back(), "", false);
        f.str_prop("t", xum::xstr(translation), "", false);
        f.end_section();
        const std::string context = section_names.back().str() + "/" + keys.back().str();
        gettext_ids.push_back(context + '\004' + sources.back().str());
        po += "\nmsgctxt \"" + context + "\"\nmsgid \"" + sources.back().str() + "\"\nmsgstr \"" +
              translation + "\"\n";
      }
      f.end_section();
    }
    f.close();
    std::ofstream(dir / "bench.po") << po;
    const std::string mo = (dir / "de" / "LC_MESSAGES" / (std::string(domain) + ".mo")).string();
    have_gettext =
        std::system(("msgfmt -o '" + mo + "' '" + (dir / "bench.po").string() + "'").c_str()) == 0;
    if (have_gettext) {
      setenv("LANGUAGE", "de", 1);
      std::setlocale(LC_ALL, "C.UTF-8");
      bindtextdomain(domain, dir.string().c_str());
      have_gettext =
          std::string(dgettext(domain, gettext_ids[5].c_str())) == "Übersetzter Text Nummer 5";
    }
  }
};

fixture& data() {
  static fixture* const f = new fixture();
  return *f;
}

// Every entry through `string`, section by section; the number of texts
// that came back translated.
int ask_all(xum::xlocalizer& loc) {
  const fixture& d = data();
  int translated = 0;
  for (int s = 0; s < sections; ++s) {
    loc.begin_section(d.section_names[static_cast<std::size_t>(s)]);
    for (int k = 0; k < per_section; ++k) {
      const std::size_t n = static_cast<std::size_t>(s * per_section + k);
      xum::xstr text = d.sources[n];
      loc.string(d.keys[n], text);
      translated += text.get_text() != d.sources[n].get_text();
      benchmark::DoNotOptimize(text);
    }
    loc.end_section();
  }
  return translated;
}

template <class Side>
void BM_Run(benchmark::State& state) {
  fixture& d = data();
  using clock = std::chrono::steady_clock;
  double open_ms = 0, calls_ms = 0, end_ms = 0;
  for (auto _ : state) {
    xum::xlocalizer loc;
    const auto t0 = clock::now();
    loc.open_file(d.dictionary, "DEU");
    const auto t1 = clock::now();
    const int translated = ask_all(loc);
    const auto t2 = clock::now();
    loc.end_writing();
    const auto t3 = clock::now();
    if (translated != entries || loc.modified())
      state.SkipWithError("the dictionary did not translate everything");
    open_ms += std::chrono::duration<double, std::milli>(t1 - t0).count();
    calls_ms += std::chrono::duration<double, std::milli>(t2 - t1).count();
    end_ms += std::chrono::duration<double, std::milli>(t3 - t2).count();
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["open_ms"] = open_ms / n;
  state.counters["strings_ms"] = calls_ms / n;
  state.counters["end_writing_ms"] = end_ms / n;
  state.SetItemsProcessed(state.iterations() * entries);
}

template <class Side>
void BM_Lookup(benchmark::State& state);

template <>
void BM_Lookup<Xum>(benchmark::State& state) {
  xum::xlocalizer loc;
  loc.open_file(data().dictionary, "DEU");
  loc.end_writing();
  for (auto _ : state) benchmark::DoNotOptimize(ask_all(loc));
  state.SetItemsProcessed(state.iterations() * entries);
}

template <>
void BM_Lookup<Gettext>(benchmark::State& state) {
  const fixture& d = data();
  if (!d.have_gettext) {
    state.SkipWithError("msgfmt or the gettext catalogue is not available");
    for (auto _ : state) {
    }
    return;
  }
  for (auto _ : state) {
    for (const std::string& id : d.gettext_ids)
      benchmark::DoNotOptimize(dgettext(domain, id.c_str()));
  }
  state.SetItemsProcessed(state.iterations() * entries);
}

BENCHMARK(BM_Run<Xum>)->Arg(entries)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Lookup<Gettext>)->Arg(entries)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Lookup<Xum>)->Arg(entries)->Unit(benchmark::kMicrosecond)->UseRealTime();

// The allocations of 20,000 `string` calls after end_writing.
void report_allocations() {
  xum::xlocalizer loc;
  loc.open_file(data().dictionary, "DEU");
  loc.end_writing();
  ask_all(loc);  // warm
  const long long before = allocations.load();
  ask_all(loc);
  const long long made = allocations.load() - before;
  std::printf("\nallocations per string call after end_writing: %.3f (%lld in %d calls)\n",
              static_cast<double>(made) / entries, made, entries);
}

}  // namespace

int main(int argc, char** argv) {
  data();
  const int rc = xum::bench::run_with_ratios(argc, argv, {"<Xum>", "dgettext", "xlocalizer"});
  report_allocations();
  std::error_code ignored;
  fs::remove_all(data().dir, ignored);
  return rc;
}
