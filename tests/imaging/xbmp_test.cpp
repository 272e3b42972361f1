// The BMP reader and writer on files built byte by byte for each header
// field, and on every "good" image of the public BMP suite: the ones it
// supports must show the suite's picture (within 1 per channel where the
// reference rendering rounds differently), the others must be refused with
// a clear error naming the file.
#include "imaging/xbmp.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <filesystem>
#include <map>
#include <stb/stb_image.h>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "core/xle.h"
#include "streams/xmemory_stream.h"
#include "tests/imaging/bmp_builder.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;
using bytes = std::vector<unsigned char>;
using test::bmp_spec;

xbmp load_bytes(const bytes& b) {
  xbuffer_stream s(b.data(), static_cast<int>(b.size()));
  xbmp image;
  image.load(s);
  return image;
}

bytes saved(const xbmp& b) {
  xmemory_stream m;
  b.save(m);
  return bytes(m.data(), m.data() + m.size());
}

// What the suite's files do not show: 2-bit indices, palettes shorter than
// the depth allows, 5-5-5 masks in 32 bits, and headers the reader refuses.
TEST(XbmpLoad, DecodesWhatTheHeaderSaysOrRefusesWithAClearError) {
  const std::vector<std::uint32_t> pal = {0x010101, 0x020202, 0x030303, 0x0000FF};
  const std::vector<std::uint32_t> r_g_b = {0xFF0000, 0xFF00, 0xFF}, r555 = {0x7C00, 0x3E0, 0x1F};
  struct row {
    bmp_spec spec;
    std::uint32_t want;
    const char* refused = nullptr;
  } rows[] = {
      {{.width = 4, .bits = 2, .palette = pal}, 0x0000FF},             // MSB first
      {{.width = 4, .bits = 2, .colors_used = 3, .palette = pal}, 0},  // past the palette
      {{.width = 4, .bits = 2, .palette = {1, 2, 3}}, 0},              // 3 fit before the rows
      {{.bits = 32, .compression = 3, .masks = r_g_b, .pixel = 0xAA123456}, 0x123456},
      {{.bits = 32, .compression = 3, .masks = r555, .pixel = 0x4210}, 0x848484},  // 16 of 31
      {{.bits = 32, .pixel = 0x80000021}, 0x80000021},  // plain 32-bit keeps its fourth byte
      {{.compression = 5}, 0, "PNG"},
      {{.bits = 3}, 0, "bit count 3"},
      {{.planes = 2}, 0, "planes"},
      {{.info_size = 41}, 0, "41 bytes"},
      {{.width = 0}, 0, "width"},
      {{.height = INT_MIN}, 0, "height"},
      {{.compression = 3}, 0, "bit fields"},
      {{.bits = 32, .compression = 3, .masks = {0xF0F0, 0xFF, 0}}, 0, "mask"},
      {{.width = INT_MAX, .height = INT_MAX, .bits = 32}, 0, "truncated"},
      {{.offset = 30}, 0, "inside the headers"},
  };
  for (auto& r : rows) {
    SCOPED_TRACE(testing::Message() << r.spec.bits << " " << r.want << " " << r.refused);
    r.spec.rows = r.refused == nullptr;
    if (r.refused) {
      const std::string e = test::error_of([&] { load_bytes(test::build_bmp(r.spec)); });
      EXPECT_EQ(e.find("Invalid data format !\n"), 0u) << e;
      EXPECT_NE(e.find(r.refused), std::string::npos) << e;
      EXPECT_EQ(std::count(e.begin(), e.end(), '\n'), 2) << e;  // message, reason, where
      continue;
    }
    EXPECT_EQ(load_bytes(test::build_bmp(r.spec)).get_pixel(r.spec.width - 1, 0), r.want);
  }
}

TEST(XbmpLoad, EveryTruncationFailsCleanlyAndNotBmpIsCodeZero) {
  const bytes whole = test::build_bmp({.width = 3, .height = 2, .bits = 8, .palette = {1, 2, 3}});
  EXPECT_EQ(load_bytes(whole).get_pixel(2, 1), 3u);
  for (std::size_t n = 0; n < whole.size(); ++n) {
    xbuffer_stream s(whole.data(), static_cast<int>(n));
    xbmp b;
    EXPECT_THROW(b.load(s), XEBadData) << n << " bytes";
    EXPECT_TRUE(b.empty()) << n << " bytes";
  }
  EXPECT_EQ(test::code_of([&] { load_bytes(bytes(whole.size(), 'X')); }), 0);
}

TEST(XbmpCreate, SavesRoundTripsAndAddsRowsBelowATopDownPicture) {
  xbmp b;
  b.create(3, 2, 3);
  b.set_pixel(2, 1, 0xABCDEF);
  const bytes first = saved(b);
  ASSERT_EQ(first.size(), 78u);  // rows of 12 bytes
  EXPECT_EQ(le::load<std::uint32_t>(&first[2]), 78u);
  EXPECT_EQ(first[54 + 6], 0xEF);  // the bottom row comes first in the file
  EXPECT_EQ(saved(load_bytes(first)), first);

  b = load_bytes(test::build_bmp({.width = 2, .height = -3}));
  ASSERT_TRUE(b.top_down());
  b.add_rows(2);  // a bottom-up image now, with the same picture above the new rows
  EXPECT_EQ(b.file_size(), 54u + 5 * 8);
  const xbmp again = load_bytes(saved(b));
  for (int y = 0; y < 3; ++y) EXPECT_EQ(again.get_pixel(1, y), 0x100u * y + 1);
  EXPECT_EQ(again.get_pixel(1, 4), 0u);
}

// A suite file's width, height and 0x00RRGGBB pixels, top row first.
std::vector<unsigned> pixels_of(const fs::path& path) {
  xbmp b;
  int w = 0, h = 0, n = 0;
  unsigned char* png =
      path.extension() == ".png" ? stbi_load(path.c_str(), &w, &h, &n, 3) : nullptr;
  if (!png) {
    b.load(xstr(path.string()));
    w = b.width();
    h = b.abs_height();
  }
  std::vector<unsigned> p = {unsigned(w), unsigned(h)};
  for (int i = 0; i < w * h; ++i)
    p.push_back(png ? png[3 * i] << 16 | png[3 * i + 1] << 8 | png[3 * i + 2]
                    : b.get_pixel(i % w, i / w) & 0xFFFFFF);
  stbi_image_free(png);
  return p;
}

TEST(XbmpSuite, EveryGoodImageDecodesRightOrIsRefusedClearly) {
  const fs::path dir = XUM_BMPSUITE_DIR;
  if (!fs::is_directory(dir)) GTEST_SKIP() << "no suite at " << dir;
  // File -> its reference (a PNG of the suite or a BMP) and tolerance, or
  // the refusal's reason and -1.
  const std::map<std::string, std::pair<std::string, int>> expected = {
      {"pal1.bmp", {"pal1.png", 0}},         {"pal1bg.bmp", {"pal1bg.png", 0}},
      {"pal1wb.bmp", {"pal1.png", 0}},       {"pal4.bmp", {"pal4.png", 0}},
      {"pal8.bmp", {"pal8.png", 1}},         {"pal8-0.bmp", {"pal8.png", 1}},
      {"pal8topdown.bmp", {"pal8.png", 1}},  {"pal8v4.bmp", {"pal8.png", 1}},
      {"pal8v5.bmp", {"pal8.png", 1}},       {"pal8nonsquare.bmp", {"pal8nonsquare-e.png", 1}},
      {"pal8w124.bmp", {"pal8w124.png", 1}}, {"pal8w125.bmp", {"pal8w125.png", 1}},
      {"pal8w126.bmp", {"pal8w126.png", 1}}, {"rgb24.bmp", {"rgb24.png", 0}},
      {"rgb24pal.bmp", {"rgb24.bmp", 0}},    {"rgb32.bmp", {"rgb24.bmp", 0}},
      {"rgb32bf.bmp", {"rgb24.bmp", 0}},  // unusual masks: only decoding them matches
      {"pal4rle.bmp", {"RLE", -1}},          {"pal8rle.bmp", {"RLE", -1}},
      {"rgb16.bmp", {"16-bit", -1}},         {"rgb16-565.bmp", {"16-bit", -1}},
      {"rgb16-565pal.bmp", {"16-bit", -1}},  {"pal8os2.bmp", {"OS/2", -1}},
  };
  std::size_t seen = 0;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.path().extension() != ".bmp") continue;
    const std::string name = entry.path().filename().string();
    SCOPED_TRACE(name);
    ++seen;
    ASSERT_EQ(expected.count(name), 1u) << "no expectation for a suite file";
    const auto& [reference, tolerance] = expected.at(name);
    if (tolerance < 0) {
      const std::string error = test::error_of([&] { pixels_of(entry.path()); });
      EXPECT_NE(error.find(reference), std::string::npos) << error;
      EXPECT_NE(error.find("File: " + entry.path().string()), std::string::npos) << error;
      continue;
    }
    const auto got = pixels_of(entry.path()), want = pixels_of(dir / reference);
    ASSERT_TRUE(got.size() == want.size() && got[0] == want[0]) << got[0] << " x " << got[1];
    int worst = 0;
    for (std::size_t i = 0; i < got.size(); ++i)
      for (int sh : {0, 8, 16})
        worst = std::max(worst, std::abs(int(got[i] >> sh & 0xFF) - int(want[i] >> sh & 0xFF)));
    EXPECT_LE(worst, tolerance);
  }
  EXPECT_EQ(seen, expected.size());
}

}  // namespace
}  // namespace xum

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#include <stb/stb_image.h>
