// The structured property file against Boost.PropertyTree's INFO syntax on
// the same settings (when Boost is found), and the format's label table
// against std::unordered_map<std::string, int>, with a table of peer time /
// xum time printed after the console report.
//
// The settings: 1,500 top-level sections x 20 nested sections x 20 keys,
// 600,000 keys whose values are integers, reals and 4-12 letter words (about
// 15 MB in the text form). Every run reports MB/s (bytes_per_second) and
// keys/s (items_per_second).
//
//   build/default/bench/xstruct_format_bench --benchmark_min_time=0.5
#include <cstdint>
#include <cstdio>
#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include <benchmark/benchmark.h>

#ifdef XUM_HAVE_BOOST_PTREE
#include <boost/property_tree/info_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#endif

#include "bench/ratio_reporter.h"

#include "core/xhash_table.h"
#include "core/xlabel_table.h"
#include "core/xstr.h"
#include "streams/xmemory_stream.h"
#include "formats/xstruct_format.h"

namespace {

constexpr int top_sections = 1500;
constexpr int nested_sections = 20;
constexpr int keys_per_section = 20;
constexpr std::int64_t key_count = std::int64_t{top_sections} * nested_sections * keys_per_section;

// Names and values, built once; the describe-once code below uses the
// prebuilt names as an application uses its string constants.
struct settings_data {
  std::vector<xum::xstr> top_names, nested_names, key_names;
  std::vector<xum::xstr> values;  // in file order
  std::string text;               // the text form
#ifdef XUM_HAVE_BOOST_PTREE
  std::string info;  // the same data in Boost's INFO syntax
#endif

  settings_data() {
    for (int i = 0; i < top_sections; ++i) top_names.emplace_back(("Section" + std::to_string(i)).c_str());
    for (int i = 0; i < nested_sections; ++i) nested_names.emplace_back(("Group" + std::to_string(i)).c_str());
    for (int i = 0; i < keys_per_section; ++i) key_names.emplace_back(("Property" + std::to_string(i)).c_str());
    std::mt19937 random(42);
    values.reserve(static_cast<std::size_t>(key_count));
    for (std::int64_t i = 0; i < key_count; ++i) {
      char v[32];
      switch (random() % 3) {
        case 0:
          std::snprintf(v, sizeof v, "%d", static_cast<int>(random() % 2000000) - 1000000);
          break;
        case 1:
          std::snprintf(v, sizeof v, "%lf", static_cast<double>(random() % 10000000) / 1000.0);
          break;
        default: {
          const int n = 4 + static_cast<int>(random() % 9);
          for (int c = 0; c < n; ++c) v[c] = static_cast<char>('a' + random() % 26);
          v[n] = 0;
        }
      }
      values.emplace_back(v);
    }
    xum::xmemory_stream m;
    xum::xstruct_format f;
    f.open_stream(m, xum::xstream_write, false);
    std::size_t k = 0;
    for (const auto& top : top_names) {
      f.begin_section(top);
      for (const auto& nested : nested_names) {
        f.begin_section(nested);
        for (const auto& key : key_names) f.str_prop(key, values[k++], xum::xstr(), true);
        f.end_section();
      }
      f.end_section();
    }
    f.close();
    text.assign(reinterpret_cast<const char*>(m.data()), static_cast<std::size_t>(m.size()));
#ifdef XUM_HAVE_BOOST_PTREE
    boost::property_tree::ptree tree;
    k = 0;
    for (const auto& top : top_names) {
      auto& t = tree.add_child(std::string(top.view()), {});
      for (const auto& nested : nested_names) {
        auto& n = t.add_child(std::string(nested.view()), {});
        for (const auto& key : key_names) n.add(std::string(key.view()), std::string(values[k++].view()));
      }
    }
    std::ostringstream out;
    boost::property_tree::write_info(out, tree);
    info = out.str();
#endif
  }
};

const settings_data& data() {
  static const settings_data* d = new settings_data;
  return *d;
}

// Reads every key once, in file order, as describe-once code does.
std::int64_t read_all(xum::xstruct_format& f) {
  const settings_data& d = data();
  const xum::xstr none;
  xum::xstr value;
  std::int64_t bytes = 0;
  for (const auto& top : d.top_names) {
    f.begin_section(top);
    for (const auto& nested : d.nested_names) {
      f.begin_section(nested);
      for (const auto& key : d.key_names) {
        f.str(key, value, none, false);
        bytes += value.length();
      }
      f.end_section();
    }
    f.end_section();
  }
  return bytes;
}

struct Xum {};
struct Boost {};

void set_rates(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
  state.SetItemsProcessed(state.iterations() * key_count);
}

template <class Side>
void BM_Load(benchmark::State& state);

template <>
void BM_Load<Xum>(benchmark::State& state) {
  const std::string& text = data().text;
  for (auto _ : state) {
    xum::xstruct_format f;
    xum::xbuffer_stream in(text.data(), static_cast<int>(text.size()));
    f.open_stream(in, xum::xstream_read, false);
    benchmark::DoNotOptimize(f.root().child_count());
    state.PauseTiming();  // freeing the tree is not part of loading
    f.close();
    state.ResumeTiming();
  }
  set_rates(state, text.size());
}

template <class Side>
void BM_Save(benchmark::State& state);

template <>
void BM_Save<Xum>(benchmark::State& state) {
  const std::string& text = data().text;
  xum::xstruct_format f;
  xum::xmemory_stream out;
  {
    xum::xbuffer_stream in(text.data(), static_cast<int>(text.size()));
    f.open_stream(in, xum::xstream_read, false);
    f.save_to_stream(out);  // keeps the loaded tree, now for writing
  }
  for (auto _ : state) {
    out.set_size(0);
    f.save_contents();
  }
  if (out.size() != static_cast<int>(text.size()) || std::memcmp(out.data(), text.data(), text.size()) != 0)
    state.SkipWithError("the saved text differs from the loaded one");
  set_rates(state, text.size());
  out.set_size(0);
}

// Load, then one str call per key in file order.
void BM_LoadAndDescribe(benchmark::State& state) {
  const std::string& text = data().text;
  for (auto _ : state) {
    xum::xstruct_format f;
    xum::xbuffer_stream in(text.data(), static_cast<int>(text.size()));
    f.open_stream(in, xum::xstream_read, false);
    benchmark::DoNotOptimize(read_all(f));
    state.PauseTiming();
    f.close();
    state.ResumeTiming();
  }
  set_rates(state, text.size());
}

// What an application pays for its settings: load, one str call per key,
// and the close that frees the tree.
void BM_LoadDescribeClose(benchmark::State& state) {
  const std::string& text = data().text;
  for (auto _ : state) {
    xum::xstruct_format f;
    xum::xbuffer_stream in(text.data(), static_cast<int>(text.size()));
    f.open_stream(in, xum::xstream_read, false);
    benchmark::DoNotOptimize(read_all(f));
    f.close();
  }
  set_rates(state, text.size());
}

// The str calls alone, on a tree already in memory.
void BM_Describe(benchmark::State& state) {
  xum::xstruct_format f;
  const std::string& text = data().text;
  xum::xbuffer_stream in(text.data(), static_cast<int>(text.size()));
  f.open_stream(in, xum::xstream_read, false);
  for (auto _ : state) {
    f.start_reading();
    benchmark::DoNotOptimize(read_all(f));
  }
  set_rates(state, text.size());
}

#ifdef XUM_HAVE_BOOST_PTREE
template <>
void BM_Load<Boost>(benchmark::State& state) {
  const std::string& info = data().info;
  for (auto _ : state) {
    std::istringstream in(info);
    boost::property_tree::ptree tree;
    boost::property_tree::read_info(in, tree);
    benchmark::DoNotOptimize(tree.size());
    state.PauseTiming();
    tree.clear();
    state.ResumeTiming();
  }
  set_rates(state, info.size());
}

template <>
void BM_Save<Boost>(benchmark::State& state) {
  std::istringstream in(data().info);
  boost::property_tree::ptree tree;
  boost::property_tree::read_info(in, tree);
  for (auto _ : state) {
    std::ostringstream out;
    boost::property_tree::write_info(out, tree);
    benchmark::DoNotOptimize(out.tellp());
  }
  set_rates(state, data().info.size());
}

BENCHMARK(BM_Load<Boost>)->Arg(top_sections)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Save<Boost>)->Arg(top_sections)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

// The same settings in the binary form against the text form: the rows
// BM_FormLoad and BM_FormSave put the text form in the peer column and the
// binary form in the xum column, so their ratio is text time / binary time.
struct Text {};

// The settings saved in the binary form.
const std::string& binary_settings() {
  static const std::string bytes = [] {
    const std::string& text = data().text;
    xum::xstruct_format f;
    xum::xbuffer_stream in(text.data(), static_cast<int>(text.size()));
    f.open_stream(in, xum::xstream_read, false);
    xum::xmemory_stream out;
    f.save_to_stream(out);
    f.set_binary(true);
    f.close();
    return std::string(reinterpret_cast<const char*>(out.data()), static_cast<std::size_t>(out.size()));
  }();
  return bytes;
}

template <class Side>
void BM_FormLoad(benchmark::State& state) {
  const std::string& bytes = std::is_same_v<Side, Text> ? data().text : binary_settings();
  for (auto _ : state) {
    xum::xstruct_format f;
    xum::xbuffer_stream in(bytes.data(), static_cast<int>(bytes.size()));
    f.open_stream(in, xum::xstream_read, false);
    benchmark::DoNotOptimize(f.root().child_count());
    state.PauseTiming();
    f.close();
    state.ResumeTiming();
  }
  set_rates(state, bytes.size());
}

template <class Side>
void BM_FormSave(benchmark::State& state) {
  const std::string& bytes = binary_settings();
  xum::xstruct_format f;
  xum::xmemory_stream out;
  xum::xbuffer_stream in(bytes.data(), static_cast<int>(bytes.size()));
  f.open_stream(in, xum::xstream_read, false);
  f.save_to_stream(out);
  for (auto _ : state) {
    out.set_size(0);
    f.set_binary(!std::is_same_v<Side, Text>);
    f.save_contents();
  }
  set_rates(state, static_cast<std::size_t>(out.size()));
  f.set_binary(false);
  out.set_size(0);
}

BENCHMARK(BM_FormLoad<Text>)->Arg(top_sections)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FormLoad<Xum>)->Arg(top_sections)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FormSave<Text>)->Arg(top_sections)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FormSave<Xum>)->Arg(top_sections)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK(BM_Load<Xum>)->Arg(top_sections)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Save<Xum>)->Arg(top_sections)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LoadAndDescribe)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LoadDescribeClose)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Describe)->Unit(benchmark::kMillisecond)->UseRealTime();

// Label lookups: n distinct labels "label<i>", looked up in a shuffled order
// through copies that share no storage with the stored texts.
struct label_set {
  std::vector<std::string> names;
  std::vector<std::size_t> order;
  explicit label_set(std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) names.push_back("label" + std::to_string(i * 7919));
    order.resize(n);
    for (std::size_t i = 0; i < n; ++i) order[i] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(7));
  }
};

template <class Side>
void BM_Lookup(benchmark::State& state);

// The structured format's label table (find, as the format's lookups do
// once a label is known).
template <>
void BM_Lookup<Xum>(benchmark::State& state) {
  const label_set set(static_cast<std::size_t>(state.range(0)));
  xum::xlabel_table labels;
  for (const auto& n : set.names) labels.find_or_add(n);
  std::vector<xum::xstr> probes;
  for (std::size_t i : set.order) probes.emplace_back(std::string_view(set.names[i]));
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (const auto& p : probes) sum += labels.find(p.view());
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// For reference: the general hash table of codes over a vector of strings,
// searched as its interface describes (outside the ratio table).
void BM_HashTableLookup(benchmark::State& state) {
  const label_set set(static_cast<std::size_t>(state.range(0)));
  xum::xvector<xum::xstr> labels;
  xum::xhash_table_impl index;
  for (const auto& n : set.names) {
    index.insert(xum::xcalculate_buffer_hash(n.data(), static_cast<int>(n.size()), 0), labels.size());
    labels.push_back(xum::xstr(std::string_view(n)));
  }
  std::vector<xum::xstr> probes;
  for (std::size_t i : set.order) probes.emplace_back(std::string_view(set.names[i]));
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (const auto& p : probes) {
      const unsigned code = xum::xcalculate_buffer_hash(p.get_text(), p.length(), 0);
      for (int s = index.item_by_code(code); s != -1; s = index.next_item_by_code(code, s)) {
        if (labels[index.value(s)].view() == p.view()) {
          sum += index.value(s);
          break;
        }
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <>
void BM_Lookup<std::unordered_map<std::string, int>>(benchmark::State& state) {
  const label_set set(static_cast<std::size_t>(state.range(0)));
  std::unordered_map<std::string, int> map;
  for (std::size_t i = 0; i < set.names.size(); ++i) map.emplace(set.names[i], static_cast<int>(i));
  std::vector<std::string> probes;
  for (std::size_t i : set.order) probes.push_back(set.names[i]);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (const auto& p : probes) sum += map.find(p)->second;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(BM_Lookup<std::unordered_map<std::string, int>>)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lookup<Xum>)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HashTableLookup)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  data();  // build the inputs before any timing
  std::printf("settings: %zu bytes in the text form", data().text.size());
#ifdef XUM_HAVE_BOOST_PTREE
  std::printf(", %zu bytes in Boost's INFO syntax", data().info.size());
#else
  std::printf("; Boost.PropertyTree not found, no comparison");
#endif
  std::printf(", %lld keys\n", static_cast<long long>(key_count));
  return xum::bench::run_with_ratios(argc, argv, {"<Xum>", "peer", "xum"});
}
