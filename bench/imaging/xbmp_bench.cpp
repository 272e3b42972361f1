// BMP loading and saving at photo size (4000 x 3000, 24 and 32 bits)
// against the floor - a plain row-by-row read of the same file into row
// buffers - and against stb_image decoding the file from memory; then the
// glyph operations over a toolbar's worth of glyphs. Ends with two ratio
// tables (the "size" column is the bit count):
//   build/default/bench/xbmp_bench --benchmark_min_time=0.5
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <stb/stb_image.h>

#include "bench/ratio_reporter.h"
#include "core/xstr.h"
#include "imaging/xbmp.h"
#include "imaging/xglyph.h"
#include "streams/xfile_stream.h"

namespace {

constexpr int photo_width = 4000;
constexpr int photo_height = 3000;

// The test pictures, written once to the temporary folder.
std::string created[2];

std::string photo_path(int bits) {
  std::string& p = created[bits == 32];
  if (p.empty()) {
    p = (std::filesystem::temp_directory_path() / ("xum_bench_" + std::to_string(bits) + ".bmp")).string();
    xum::xbmp b;
    b.create(photo_width, photo_height, bits / 8);
    for (int y = 0; y < photo_height; ++y) {
      unsigned char* row = b.get_scan_line(y);
      for (std::size_t i = 0; i < b.row_size(); ++i) row[i] = static_cast<unsigned char>(i * 7 + y);
    }
    b.save(xum::xstr(p));
  }
  return p;
}

std::vector<unsigned char> file_bytes(const std::string& path) {
  std::vector<unsigned char> v;
  if (std::FILE* f = std::fopen(path.c_str(), "rb")) {
    unsigned char block[1 << 16];
    for (std::size_t n; (n = std::fread(block, 1, sizeof block, f)) > 0;) v.insert(v.end(), block, block + n);
    std::fclose(f);
  }
  return v;
}

// The floor: the header, then one fread per row into its own buffer.
void BM_LoadVsRead_Read(benchmark::State& state) {
  const int bits = static_cast<int>(state.range(0));
  const std::string path = photo_path(bits);
  const std::size_t line = static_cast<std::size_t>(photo_width) * (bits / 8);
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    unsigned char header[54];
    if (std::fread(header, 1, sizeof header, f) != sizeof header) state.SkipWithError("short read");
    std::vector<std::vector<unsigned char>> rows(photo_height);
    for (auto& r : rows) {
      r.resize(line);
      if (std::fread(r.data(), 1, line, f) != line) state.SkipWithError("short read");
    }
    std::fclose(f);
    benchmark::DoNotOptimize(rows.data());
  }
}

void BM_Load_Xbmp(benchmark::State& state) {
  const std::string path = photo_path(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    xum::xbmp b;
    b.load(xum::xstr(path));
    benchmark::DoNotOptimize(b.get_scan_line(0));
  }
}

void BM_LoadVsStb_Stb(benchmark::State& state) {
  const std::vector<unsigned char> bytes = file_bytes(photo_path(static_cast<int>(state.range(0))));
  for (auto _ : state) {
    int w = 0, h = 0, n = 0;
    unsigned char* p = stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()), &w, &h, &n, 0);
    if (p == nullptr) state.SkipWithError("stb_image refused the file");
    benchmark::DoNotOptimize(p);
    stbi_image_free(p);
  }
}

void BM_SaveVsWrite_Write(benchmark::State& state) {
  const int bits = static_cast<int>(state.range(0));
  xum::xbmp b;
  b.load(xum::xstr(photo_path(bits)));
  const std::string out = photo_path(bits) + ".out";
  for (auto _ : state) {
    std::FILE* f = std::fopen(out.c_str(), "wb");
    std::fwrite(b.header().data(), 1, b.header().size(), f);
    for (int i = b.row_count() - 1; i >= 0; --i) std::fwrite(b.row(i), 1, b.row_size(), f);
    std::fclose(f);
  }
  std::remove(out.c_str());
}

void BM_SaveVsWrite_Xbmp(benchmark::State& state) {
  const int bits = static_cast<int>(state.range(0));
  xum::xbmp b;
  b.load(xum::xstr(photo_path(bits)));
  const std::string out = photo_path(bits) + ".out";
  for (auto _ : state) {
    xum::xfile_stream f(xum::xstr(out), xum::xfile_create);
    b.save(f);
    f.close();
  }
  std::remove(out.c_str());
}

// A tool bar of 24 glyphs of 16 pixels (32 for make_small), drawn onto a
// 24-bit strip as the image lists and button glyphs are.
xum::xglyph toolbar_glyphs(int size) {
  xum::xglyph g;
  g.create(size, size * 24, 4);
  for (int y = 0; y < g.abs_height(); ++y)
    for (int x = 0; x < size; ++x) g.set_pixel(x, y, static_cast<unsigned>((x * y) << 24 | (x * 9 + y)));
  return g;
}

void BM_DrawOnToolbar(benchmark::State& state) {
  const xum::xglyph g = toolbar_glyphs(16);
  xum::xbmp strip;
  strip.create(18 * 24, 18, 3);
  for (auto _ : state) {
    for (int i = 0; i < 24; ++i) g.draw_on(strip, 18 * i + 1, 1, i);
    benchmark::DoNotOptimize(strip.get_scan_line(0));
  }
  state.SetItemsProcessed(state.iterations() * 24);
}

void BM_MakeSmallToolbar(benchmark::State& state) {
  const xum::xglyph g = toolbar_glyphs(32);
  xum::xglyph small;
  for (auto _ : state) {
    for (int i = 0; i < 24; ++i) g.make_small(small, i, 2, 1);
    benchmark::DoNotOptimize(small.get_scan_line(0));
  }
  state.SetItemsProcessed(state.iterations() * 24);
}

}  // namespace

// Names as the ratio reporter reads them: "BM_Op<Side>/bits".
BENCHMARK(BM_LoadVsRead_Read)->Name("BM_LoadVsRead<Read>")->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Load_Xbmp)->Name("BM_LoadVsRead<Xbmp>")->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadVsStb_Stb)->Name("BM_LoadVsStb<Stb>")->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Load_Xbmp)->Name("BM_LoadVsStb<Xbmp>")->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveVsWrite_Write)->Name("BM_SaveVsWrite<Write>")->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveVsWrite_Xbmp)->Name("BM_SaveVsWrite<Xbmp>")->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DrawOnToolbar);
BENCHMARK(BM_MakeSmallToolbar);

int main(int argc, char** argv) {
  const int code = xum::bench::run_with_ratios(argc, argv, {"<Xbmp>", "peer", "xbmp"});
  for (const std::string& p : created)
    if (!p.empty()) std::remove(p.c_str());
  return code;
}

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_BMP
#include <stb/stb_image.h>
