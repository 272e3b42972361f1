// xbin_format against cereal's binary archive and a hand-written memcpy
// baseline: 1,000,000 records of a 64-bit integer, a double and a 16-byte
// string, written and read over memory and over a file. Each table row
// compares one peer with xbin_format over a stream it owns, where fields
// pass through its block (the goal: at least 3x cereal both ways); the size
// column is the bytes of xbin_format's records per run, so GB/s is
// xbin_format's throughput. The "borrowed" rows take xbin_format over a
// borrowed stream as the peer, where every field is a stream call so that
// the lender sees it at once: their ratio is what the block saves.
//   build/default/bench/xbin_format_bench --benchmark_min_time=0.5
// The cereal rows appear only when cereal's headers were found.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#ifdef XUM_HAVE_CEREAL
#include <cereal/archives/binary.hpp>
#include <cereal/types/string.hpp>
#endif

#include "bench/ratio_reporter.h"
#include "formats/xbin_format.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"

namespace {

using namespace xum;

constexpr int records = 1000000;
constexpr long record_bytes = 8 + 8 + 4 + 16;  // as xbin_format writes them

struct xrecord {
  std::int64_t i;
  double d;
  xstr s;
};
struct std_record {
  std::int64_t i;
  double d;
  std::string s;
  template <class Archive>
  void serialize(Archive& a) {
    a(i, d, s);
  }
};

std::string text_of(int k) {
  char t[17];
  std::snprintf(t, sizeof t, "name-%011d", k);
  return std::string(t, 16);
}

const std::vector<xrecord>& xsource() {
  static const std::vector<xrecord> v = [] {
    std::vector<xrecord> r(records);
    for (int k = 0; k < records; ++k) r[k] = {k * 7919LL, k * 0.5, xstr(std::string_view(text_of(k)))};
    return r;
  }();
  return v;
}
const std::vector<std_record>& std_source() {
  static const std::vector<std_record> v = [] {
    std::vector<std_record> r(records);
    for (int k = 0; k < records; ++k) r[k] = {k * 7919LL, k * 0.5, text_of(k)};
    return r;
  }();
  return v;
}

std::string temp_file(const char* name) { return (std::string(P_tmpdir) + "/") + name; }

// ---- xbin_format ----

// Hands a long-lived memory stream to a format that owns what it is given:
// the format owns this forwarder, so it keeps its block, while the bytes
// stay in one memory stream from run to run (as the borrowed rows reuse
// theirs).
class forwarder final : public xstream {
 public:
  explicit forwarder(xstream& inner) : inner_(inner) { mode_ = inner.mode(); }
  xstr description() const override { return inner_.description(); }
  int read(void* buffer, int count) override { return inner_.read(buffer, count); }
  int write(const void* buffer, int count) override { return inner_.write(buffer, count); }
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override { return inner_.seek(offset, origin); }

 private:
  xstream& inner_;
};

void xum_records(xbin_format& f, std::vector<xrecord>& v) {
  for (xrecord& r : v) {
    f(r.i);
    f(r.d);
    f(r.s);
  }
}

// Opens `f` over `m`, owned (through a forwarder) or borrowed.
void open_over(xbin_format& f, xmemory_stream& m, xstream_mode mode, bool owned) {
  if (owned)
    f.open_stream(*new forwarder(m), mode, true);
  else
    f.open_stream(m, mode, false);
}

template <bool owned>
void write_xum_memory(benchmark::State& state) {
  std::vector<xrecord> v = xsource();
  xmemory_stream m;
  for (auto _ : state) {
    m.set_size(0);
    xbin_format f;
    open_over(f, m, xstream_write, owned);
    xum_records(f, v);
    f.close();
    benchmark::DoNotOptimize(m.data());
  }
}

template <bool owned>
void read_xum_memory(benchmark::State& state) {
  std::vector<xrecord> v = xsource();
  xmemory_stream m;
  {
    xbin_format f(m, xstream_write, false);
    xum_records(f, v);
  }
  std::vector<xrecord> out(records);
  for (auto _ : state) {
    m.seek(0, xseek_begin);
    xbin_format f;
    open_over(f, m, xstream_read, owned);
    xum_records(f, out);
    benchmark::DoNotOptimize(out.data());
  }
}

// Owned: open_file. Borrowed: a file stream the caller opened.
template <bool owned>
void write_xum_file(benchmark::State& state) {
  std::vector<xrecord> v = xsource();
  const std::string path = temp_file("xbin_bench_xum.bin");
  for (auto _ : state) {
    xbin_format f;
    xfile_stream file;
    if (owned) {
      f.open_file(path.c_str(), xfile_create);
    } else {
      file.open(path.c_str(), xfile_create);
      f.open_stream(file, xstream_write, false);
    }
    xum_records(f, v);
    f.close();
  }
}

template <bool owned>
void read_xum_file(benchmark::State& state) {
  const std::string path = temp_file("xbin_bench_xum.bin");
  {
    std::vector<xrecord> v = xsource();
    xbin_format f;
    f.open_file(path.c_str(), xfile_create);
    xum_records(f, v);
  }
  std::vector<xrecord> out(records);
  for (auto _ : state) {
    xbin_format f;
    xfile_stream file;
    if (owned) {
      f.open_file(path.c_str(), xfile_read);
    } else {
      file.open(path.c_str(), xfile_read);
      f.open_stream(file, xstream_read, false);
    }
    xum_records(f, out);
    benchmark::DoNotOptimize(out.data());
  }
}

// ---- memcpy: what a hand-written encoder into one buffer costs ----

void memcpy_encode(const std::vector<std_record>& v, std::vector<unsigned char>& buf) {
  buf.resize(static_cast<std::size_t>(records * record_bytes));
  unsigned char* p = buf.data();
  for (const std_record& r : v) {
    const auto n = static_cast<std::uint32_t>(r.s.size());
    std::memcpy(p, &r.i, 8);
    std::memcpy(p + 8, &r.d, 8);
    std::memcpy(p + 16, &n, 4);
    std::memcpy(p + 20, r.s.data(), n);
    p += 20 + n;
  }
}

bool memcpy_decode(const std::vector<unsigned char>& buf, std::vector<std_record>& v) {
  const unsigned char* p = buf.data();
  const unsigned char* end = p + buf.size();
  for (std_record& r : v) {
    if (end - p < 20) return false;
    std::uint32_t n;
    std::memcpy(&r.i, p, 8);
    std::memcpy(&r.d, p + 8, 8);
    std::memcpy(&n, p + 16, 4);
    if (static_cast<std::size_t>(end - p - 20) < n) return false;  // checked, like the others
    r.s.assign(reinterpret_cast<const char*>(p + 20), n);
    p += 20 + n;
  }
  return true;
}

void write_memcpy_memory(benchmark::State& state) {
  std::vector<unsigned char> buf;
  for (auto _ : state) {
    memcpy_encode(std_source(), buf);
    benchmark::DoNotOptimize(buf.data());
  }
}

void read_memcpy_memory(benchmark::State& state) {
  std::vector<unsigned char> buf;
  memcpy_encode(std_source(), buf);
  std::vector<std_record> out(records);
  for (auto _ : state) {
    if (!memcpy_decode(buf, out)) state.SkipWithError("short buffer");
    benchmark::DoNotOptimize(out.data());
  }
}

void write_memcpy_file(benchmark::State& state) {
  const std::string path = temp_file("xbin_bench_memcpy.bin");
  std::vector<unsigned char> buf;
  for (auto _ : state) {
    memcpy_encode(std_source(), buf);
    xfile_stream out(path.c_str(), xfile_create);
    out.write_buffer(buf.data(), static_cast<int>(buf.size()));
  }
}

void read_memcpy_file(benchmark::State& state) {
  const std::string path = temp_file("xbin_bench_memcpy.bin");
  std::vector<unsigned char> buf;
  memcpy_encode(std_source(), buf);
  {
    xfile_stream out(path.c_str(), xfile_create);
    out.write_buffer(buf.data(), static_cast<int>(buf.size()));
  }
  std::vector<std_record> out(records);
  for (auto _ : state) {
    xfile_stream in(path.c_str(), xfile_read);
    buf.resize(static_cast<std::size_t>(in.get_size()));
    in.read_buffer(buf.data(), static_cast<int>(buf.size()));
    if (!memcpy_decode(buf, out)) state.SkipWithError("short buffer");
    benchmark::DoNotOptimize(out.data());
  }
}

#ifdef XUM_HAVE_CEREAL
// ---- cereal's binary archive ----

void write_cereal_memory(benchmark::State& state) {
  for (auto _ : state) {
    std::ostringstream out;
    {
      cereal::BinaryOutputArchive a(out);
      for (const std_record& r : std_source()) a(r);
    }
    benchmark::DoNotOptimize(out.tellp());
  }
}

void read_cereal_memory(benchmark::State& state) {
  std::ostringstream out;
  {
    cereal::BinaryOutputArchive a(out);
    for (const std_record& r : std_source()) a(r);
  }
  const std::string bytes = out.str();
  std::vector<std_record> v(records);
  for (auto _ : state) {
    std::istringstream in(bytes);
    cereal::BinaryInputArchive a(in);
    for (std_record& r : v) a(r);
    benchmark::DoNotOptimize(v.data());
  }
}

void write_cereal_file(benchmark::State& state) {
  const std::string path = temp_file("xbin_bench_cereal.bin");
  for (auto _ : state) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    cereal::BinaryOutputArchive a(out);
    for (const std_record& r : std_source()) a(r);
  }
}

void read_cereal_file(benchmark::State& state) {
  const std::string path = temp_file("xbin_bench_cereal.bin");
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    cereal::BinaryOutputArchive a(out);
    for (const std_record& r : std_source()) a(r);
  }
  std::vector<std_record> v(records);
  for (auto _ : state) {
    std::ifstream in(path, std::ios::binary);
    cereal::BinaryInputArchive a(in);
    for (std_record& r : v) a(r);
    benchmark::DoNotOptimize(v.data());
  }
}
#endif

// Registers one row: a peer against xbin_format, sized in xbin_format bytes.
void row(const std::string& op, void (*peer)(benchmark::State&), void (*subject)(benchmark::State&)) {
  constexpr long bytes = records * record_bytes;
  benchmark::RegisterBenchmark((op + "<Peer>").c_str(), peer)->Arg(bytes)->Unit(benchmark::kMillisecond)->UseRealTime();
  benchmark::RegisterBenchmark((op + "<Xum>").c_str(), subject)->Arg(bytes)->Unit(benchmark::kMillisecond)->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
  xsource();
  std_source();
#ifdef XUM_HAVE_CEREAL
  row("write-mem/cereal", write_cereal_memory, write_xum_memory<true>);
  row("read-mem/cereal", read_cereal_memory, read_xum_memory<true>);
  row("write-file/cereal", write_cereal_file, write_xum_file<true>);
  row("read-file/cereal", read_cereal_file, read_xum_file<true>);
#endif
  row("write-mem/memcpy", write_memcpy_memory, write_xum_memory<true>);
  row("read-mem/memcpy", read_memcpy_memory, read_xum_memory<true>);
  row("write-file/memcpy", write_memcpy_file, write_xum_file<true>);
  row("read-file/memcpy", read_memcpy_file, read_xum_file<true>);
  row("write-mem/borrowed", write_xum_memory<false>, write_xum_memory<true>);
  row("read-mem/borrowed", read_xum_memory<false>, read_xum_memory<true>);
  row("write-file/borrowed", write_xum_file<false>, write_xum_file<true>);
  row("read-file/borrowed", read_xum_file<false>, read_xum_file<true>);
  const int rc = xum::bench::run_with_ratios(argc, argv, {"<Xum>", "peer", "xbin_format", true});
  for (const char* f : {"xbin_bench_xum.bin", "xbin_bench_memcpy.bin", "xbin_bench_cereal.bin"})
    std::remove(temp_file(f).c_str());
  return rc;
}
