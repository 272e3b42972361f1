#include "imaging/xbmp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "core/xexceptions.h"
#include "core/xle.h"
#include "framework/tgraphics.h"
#include "streams/xmemory_stream.h"
#include "tests/imaging/bmp_builder.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using test::bmp_spec;
using test::build_bmp;

xbmp load_bytes(const std::vector<unsigned char>& bytes) {
  xbuffer_stream s(bytes.data(), static_cast<int>(bytes.size()));
  xbmp b;
  b.load(s);
  return b;
}

std::string load_error(const std::vector<unsigned char>& bytes) {
  return test::error_of([&] { load_bytes(bytes); });
}

std::vector<unsigned char> saved(const xbmp& b) {
  xmemory_stream m;
  b.save(m);
  return std::vector<unsigned char>(m.data(), m.data() + m.size());
}

// A palette whose entry i is the colour 0x00RRGGBB = i * 0x010203 + 0x102030.
std::vector<std::uint32_t> ramp_palette(int n) {
  std::vector<std::uint32_t> p;
  for (int i = 0; i < n; ++i) p.push_back((static_cast<std::uint32_t>(i) * 0x010203u + 0x102030u) & 0xFFFFFF);
  return p;
}

TEST(XbmpPalette, EveryDepthUnpacksMostSignificantBitsFirst) {
  for (int bits : {1, 2, 4, 8}) {
    SCOPED_TRACE("bits " + std::to_string(bits));
    const int w = 10, h = 3, colours = 1 << bits;
    bmp_spec spec{.width = w, .height = h, .bits = bits, .palette = ramp_palette(colours)};
    // Index of pixel (x, y): a pattern that uses every bit position.
    auto index = [&](int x, int y) { return (x * 7 + y * 3 + 1) % colours; };
    spec.pixels = [&](int x, int y) { return static_cast<std::uint32_t>(index(x, y)); };
    xbmp b = load_bytes(build_bmp(spec));
    ASSERT_EQ(b.bit_count(), 24);
    EXPECT_EQ(b.row_size(), 32u);  // 30 bytes rounded up to a multiple of 4
    EXPECT_EQ(b.header().size(), 54u);
    EXPECT_EQ(b.pixel_offset(), 54u);
    EXPECT_EQ(b.file_size(), 54u + 3 * 32);
    EXPECT_EQ(b.compression(), 0u);
    EXPECT_EQ(b.colors_used(), 0u);
    EXPECT_EQ(b.bytes_per_pixel(), 3);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) ASSERT_EQ(b.get_pixel(x, y), spec.palette[index(x, y)]) << x << "," << y;
  }
}

TEST(XbmpPalette, HighNibbleIsTheLeftPixel) {
  bmp_spec spec{.width = 2, .height = 1, .bits = 4, .palette = {0x111111, 0x222222, 0x333333}};
  spec.raw_rows = {{0x21, 0, 0, 0}};
  xbmp b = load_bytes(build_bmp(spec));
  EXPECT_EQ(b.get_pixel(0, 0), 0x333333u);
  EXPECT_EQ(b.get_pixel(1, 0), 0x222222u);
}

TEST(XbmpPalette, PaletteFollowsTheInformationHeaderAndItsCount) {
  struct row {
    int info;
    std::uint32_t used;
    int entries_written;
    std::uint32_t want_index3;
  } rows[] = {
      {108, 0, 4, 0x0000FF},  // palette at 122
      {124, 4, 4, 0x0000FF},  // palette at 138
      {40, 3, 4, 0},          // only 3 used: index 3 is past the palette
      {40, 0, 3, 0},          // 2^bits claimed, only 3 fit before the rows
  };
  for (const auto& r : rows) {
    SCOPED_TRACE("info " + std::to_string(r.info) + " used " + std::to_string(r.used));
    bmp_spec spec{.width = 4, .height = 1, .bits = 2, .info_size = r.info, .colors_used = r.used,
                  .palette = {0x010101, 0x020202, 0x030303, 0x0000FF}};
    spec.palette.resize(static_cast<std::size_t>(r.entries_written));
    spec.raw_rows = {{0x1B, 0, 0, 0}};  // indices 0, 1, 2, 3
    xbmp b = load_bytes(build_bmp(spec));
    EXPECT_EQ(b.get_pixel(0, 0), 0x010101u);
    EXPECT_EQ(b.get_pixel(2, 0), 0x030303u);
    EXPECT_EQ(b.get_pixel(3, 0), r.want_index3);
    EXPECT_EQ(b.header().size(), static_cast<std::size_t>(14 + r.info));
    EXPECT_EQ(b.info_size(), static_cast<std::uint32_t>(r.info));
  }
}

TEST(XbmpBitfields, MasksDecideTheChannels) {
  struct row {
    std::uint32_t r, g, b;
    std::uint32_t pixel;
    std::uint32_t want;
  } rows[] = {
      {0x00FF0000, 0x0000FF00, 0x000000FF, 0xAA123456, 0x123456},  // the usual masks: the fourth byte drops
      {0xFF000000, 0x00000FF0, 0x00FF0000, 0x12345678, 0x126734},  // unusual masks, 8 bits each
      {0x00007C00, 0x000003E0, 0x0000001F, 0x00007FFF, 0xFFFFFF},  // 5 bits scale up to 255
      {0x00007C00, 0x000003E0, 0x0000001F, 0x00004210, 0x848484},  // 16 of 31 -> 132
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.pixel));
    bmp_spec spec{.width = 1, .height = 1, .bits = 32, .compression = 3, .masks = {r.r, r.g, r.b}};
    spec.pixels = [&](int, int) { return r.pixel; };
    xbmp b = load_bytes(build_bmp(spec));
    ASSERT_EQ(b.bit_count(), 24);
    EXPECT_EQ(b.compression(), 0u);
    EXPECT_EQ(b.header().size(), 66u);  // the masks stay in the header
    EXPECT_EQ(b.pixel_offset(), 66u);
    EXPECT_EQ(b.get_pixel(0, 0), r.want);
  }
}

TEST(XbmpBitfields, Uncompressed32BitStays32Bit) {
  bmp_spec spec{.width = 3, .height = 2, .bits = 32};
  spec.pixels = [](int x, int y) { return 0x80000000u | static_cast<std::uint32_t>(x * 16 + y); };
  xbmp b = load_bytes(build_bmp(spec));
  EXPECT_EQ(b.bit_count(), 32);
  EXPECT_EQ(b.bytes_per_pixel(), 4);
  EXPECT_EQ(b.get_pixel(2, 1), 0x80000021u);
}

TEST(XbmpLoad, RejectsWhatItCannotDecodeWithAClearError) {
  struct row {
    const char* what;
    bmp_spec spec;
    const char* message;
  } rows[] = {
      {"RLE8", {.width = 4, .height = 1, .bits = 8, .compression = 1, .palette = {0}}, "RLE"},
      {"RLE4", {.width = 4, .height = 1, .bits = 4, .compression = 2, .palette = {0}}, "RLE"},
      {"JPEG", {.width = 4, .height = 1, .bits = 24, .compression = 4}, "JPEG"},
      {"PNG", {.width = 4, .height = 1, .bits = 24, .compression = 5}, "PNG"},
      {"16-bit", {.width = 4, .height = 1, .bits = 16}, "16-bit"},
      {"bit count 3", {.width = 4, .height = 1, .bits = 3}, "bit count 3"},
      {"planes", {.width = 4, .height = 1, .bits = 24, .planes = 2}, "planes"},
      {"OS/2", {.width = 4, .height = 1, .bits = 24, .info_size = 12}, "OS/2"},
      {"info 41", {.width = 4, .height = 1, .bits = 24, .info_size = 41}, "41 bytes"},
      {"width 0", {.width = 0, .height = 1, .bits = 24}, "width"},
      {"width -5", {.width = -5, .height = 1, .bits = 24}, "width"},
      {"height 0", {.width = 1, .height = 0, .bits = 24}, "height"},
      {"height INT_MIN", {.width = 1, .height = INT_MIN, .bits = 24}, "height"},
      {"fields on 24 bits", {.width = 1, .height = 1, .bits = 24, .compression = 3}, "bit fields"},
      {"split mask", {.width = 1, .height = 1, .bits = 32, .compression = 3, .masks = {0xF0F0, 0xFF, 0}}, "mask"},
      {"huge", {.width = 0x7FFFFFFF, .height = 0x7FFFFFFF, .bits = 32}, "truncated"},
      {"offset low", {.width = 1, .height = 1, .bits = 24, .offset = 30}, "inside the headers"},
      {"offset past end", {.width = 1, .height = 1, .bits = 24, .offset = 100000}, "truncated"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    const std::string e = load_error(build_bmp(r.spec));
    EXPECT_NE(e.find("Invalid data format !"), std::string::npos) << e;
    EXPECT_NE(e.find(r.message), std::string::npos) << e;
    EXPECT_EQ(std::count(e.begin(), e.end(), '\n'), 2) << e;  // message, reason, where
  }
}

TEST(XbmpLoad, NotABmpThrowsCodeZero) {
  std::vector<unsigned char> bytes = build_bmp({.width = 1, .height = 1, .bits = 24});
  bytes[0] = 'X';
  EXPECT_EQ(test::code_of([&] { load_bytes(bytes); }), 0);
}

TEST(XbmpLoad, EveryTruncationFailsCleanlyAndLeavesTheImageEmpty) {
  const std::vector<unsigned char> whole =
      build_bmp({.width = 3, .height = 2, .bits = 8, .palette = ramp_palette(4),
                 .pixels = [](int x, int y) { return static_cast<std::uint32_t>((x + y) % 4); }});
  for (std::size_t n = 0; n < whole.size(); ++n) {
    SCOPED_TRACE(n);
    std::vector<unsigned char> part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
    xbuffer_stream s(part.data(), static_cast<int>(part.size()));
    xbmp b;
    EXPECT_THROW(b.load(s), XEBadData);
    EXPECT_TRUE(b.empty());
  }
  EXPECT_EQ(load_bytes(whole).get_pixel(2, 1), ramp_palette(4)[3]);
}

TEST(XbmpLoad, TopDownRowsMapThroughTheAbsoluteHeight) {
  bmp_spec spec{.width = 2, .height = -3, .bits = 24};
  spec.pixels = [](int x, int y) { return static_cast<std::uint32_t>(0x100 * y + x); };
  xbmp b = load_bytes(build_bmp(spec));
  EXPECT_TRUE(b.top_down());
  for (int y = 0; y < 3; ++y) EXPECT_EQ(b.get_pixel(1, y), static_cast<unsigned>(0x100 * y + 1));
  // Growing turns it bottom-up with the same picture above the new rows.
  b.add_rows(2);
  EXPECT_FALSE(b.top_down());
  EXPECT_EQ(b.height(), 5);
  EXPECT_EQ(b.file_size(), 54u + 5 * 8);
  for (int y = 0; y < 3; ++y) EXPECT_EQ(b.get_pixel(1, y), static_cast<unsigned>(0x100 * y + 1));
  EXPECT_EQ(b.get_pixel(1, 4), 0u);
  xbmp again = load_bytes(saved(b));
  EXPECT_EQ(again.get_pixel(1, 2), 0x201u);
}

TEST(XbmpCreate, ThreeByTwo24BitSavesExactly78Bytes) {
  xbmp b;
  b.create(3, 2, 3);
  EXPECT_EQ(b.row_size(), 12u);
  EXPECT_EQ(b.file_size(), 78u);
  EXPECT_EQ(b.x_resolution(), 2000u);
  EXPECT_EQ(b.y_resolution(), 2000u);
  b.set_pixel(2, 1, 0xABCDEF);
  const auto bytes = saved(b);
  ASSERT_EQ(bytes.size(), 78u);
  // Row 1 (the bottom one) comes first in the file: pixel 2 at 54 + 6.
  EXPECT_EQ(bytes[60], 0xEF);
  EXPECT_EQ(bytes[62], 0xAB);
  EXPECT_EQ(test::code_of([&] { b.create(0, 1, 3); }), 0);
  EXPECT_EQ(test::code_of([&] { b.create(1, 1, 2); }), 0);
}

TEST(XbmpCreate, SaveAndReloadKeepsHeaderAndRows) {
  for (int bpp : {3, 4}) {
    SCOPED_TRACE(bpp);
    xbmp b;
    b.create(5, 3, bpp);
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 5; ++x) b.set_pixel(x, y, static_cast<unsigned>(0x01020304 * (x + 5 * y + 1)));
    const auto first = saved(b);
    xbmp again = load_bytes(first);
    EXPECT_EQ(saved(again), first);
    EXPECT_EQ(again.get_pixel(4, 2), b.get_pixel(4, 2));
  }
}

TEST(XbmpConvert, Make32BitAddsOpaqueAlphaAndCountsFourBytes) {
  xbmp b;
  b.create(3, 2, 3);
  b.fill(0x102030);
  b.make32bit_rgba();
  EXPECT_EQ(b.bit_count(), 32);
  EXPECT_EQ(b.bytes_per_pixel(), 4);
  EXPECT_EQ(b.line_size(), 12u);  // kept at its 24-bit value
  EXPECT_EQ(b.row_size(), 12u);
  EXPECT_EQ(b.file_size(), 54u + 2 * 3 * 4);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x) EXPECT_EQ(b.get_pixel(x, y), 0xFF102030u);
  xbmp odd;
  odd.create(5, 1, 3);
  odd.make32bit_rgba();
  EXPECT_EQ(odd.row_size(), 20u);
  EXPECT_EQ(odd.line_size(), 16u);
  EXPECT_EQ(saved(odd).size(), 54u + 20);
}

TEST(XbmpPixels, CopyFromClipsOnEverySide) {
  xbmp src;
  src.create(3, 3, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 3; ++x) src.set_pixel(x, y, static_cast<unsigned>(0x10 * (y + 1) + x + 1));
  struct row {
    int x, y;
    std::vector<unsigned> want;  // the 4 x 4 target, row by row
  } rows[] = {
      {-1, 0, {0x12, 0x13, 0, 0, 0x22, 0x23, 0, 0, 0x32, 0x33, 0, 0, 0, 0, 0, 0}},
      {2, -2, {0, 0, 0x31, 0x32, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {3, 3, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x11}},
      {-3, 0, std::vector<unsigned>(16, 0)},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.x) + "," + std::to_string(r.y));
    xbmp dst;
    dst.create(4, 4, 3);
    dst.copy_from(src, r.x, r.y);
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 4; ++x) EXPECT_EQ(dst.get_pixel(x, y), r.want[static_cast<std::size_t>(4 * y + x)]);
  }
}

TEST(XbmpPixels, CopiesAreDeep) {
  xbmp a;
  a.create(2, 2, 3);
  a.set_pixel(0, 0, 0x111111);
  xbmp b = a;
  b.set_pixel(0, 0, 0x222222);
  EXPECT_EQ(a.get_pixel(0, 0), 0x111111u);
  a = b;
  b.set_pixel(0, 0, 0x333333);
  EXPECT_EQ(a.get_pixel(0, 0), 0x222222u);
}

std::vector<unsigned char> icon(int w, int h, int bits, int entries, std::size_t gap = 0) {
  std::vector<unsigned char> out(6 + 16 * static_cast<std::size_t>(entries) + gap, 0);
  le::store<std::uint16_t>(&out[2], 1);
  le::store<std::uint16_t>(&out[4], static_cast<std::uint16_t>(entries));
  const std::size_t rows = static_cast<std::size_t>(w) * 4 * static_cast<std::size_t>(h);
  const std::size_t mask = static_cast<std::size_t>((w + 31) / 32 * 4 * h);
  out[6] = static_cast<unsigned char>(w);
  out[7] = static_cast<unsigned char>(h);
  le::store<std::uint32_t>(&out[6 + 8], static_cast<std::uint32_t>(40 + rows + mask));
  le::store<std::uint32_t>(&out[6 + 12], static_cast<std::uint32_t>(out.size()));
  std::vector<unsigned char> info(40, 0);
  le::store<std::uint32_t>(&info[0], 40);
  le::store<std::int32_t>(&info[4], w);
  le::store<std::int32_t>(&info[8], 2 * h);
  le::store<std::uint16_t>(&info[12], 1);
  le::store<std::uint16_t>(&info[14], static_cast<std::uint16_t>(bits));
  out.insert(out.end(), info.begin(), info.end());
  for (int y = h - 1; y >= 0; --y)  // bottom row first
    for (int x = 0; x < w; ++x)
      for (unsigned char c : {static_cast<unsigned char>(x), static_cast<unsigned char>(y), static_cast<unsigned char>(0x80),
                              static_cast<unsigned char>(x == y ? 0 : 255)})
        out.push_back(c);
  out.insert(out.end(), mask, 0);
  return out;
}

TEST(XbmpIcon, ReadsTheFirstImageWhereItsEntrySays) {
  for (int entries : {1, 3}) {
    SCOPED_TRACE(entries);
    const auto bytes = icon(3, 2, 32, entries, 10);
    xbuffer_stream s(bytes.data(), static_cast<int>(bytes.size()));
    xbmp b;
    b.load_icon32(s);
    ASSERT_EQ(b.width(), 3);
    ASSERT_EQ(b.height(), 2);
    EXPECT_EQ(b.bytes_per_pixel(), 4);
    EXPECT_EQ(b.get_pixel(2, 1), 0xFF800102u);
    EXPECT_EQ(b.get_pixel(1, 1), 0x00800101u);
  }
}

TEST(XbmpIcon, RejectsWhatItCannotRead) {
  auto bad_bits = icon(2, 2, 24, 1);
  auto truncated = icon(2, 2, 32, 1);
  truncated.resize(truncated.size() - 30);
  auto png = icon(2, 2, 32, 1);
  const unsigned char sig[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  std::copy(sig, sig + 8, png.begin() + 22);
  auto inside = icon(2, 2, 32, 1);
  le::store<std::uint32_t>(&inside[18], 10);
  auto not_icon = icon(2, 2, 32, 1);
  not_icon[2] = 2;
  struct row {
    const char* what;
    std::vector<unsigned char> bytes;
    const char* message;
  } rows[] = {{"24-bit", bad_bits, "only 32-bit"}, {"truncated", truncated, "truncated"},
              {"png", png, "PNG"},                 {"offset", inside, "inside the directory"},
              {"cursor", not_icon, "Not an icon"}, {"empty", {}, "truncated"}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    xbuffer_stream s(r.bytes.data(), static_cast<int>(r.bytes.size()));
    xbmp b;
    const std::string e = test::error_of([&] { b.load_icon32(s); });
    EXPECT_NE(e.find(r.message), std::string::npos) << e;
    EXPECT_TRUE(b.empty());
  }
}

TEST(XbmpFramework, ExchangesPixelsWithTBitmap) {
  xbmp b;
  b.create(3, 2, 3);
  b.set_pixel(2, 1, 0x123456);
  b.transparent = true;
  b.transparent_color = 0x00FF00FF;
  TBitmap t;
  b.copy_pixels_to(&t);
  EXPECT_EQ(t.PixelFormat(), pf24bit);
  EXPECT_EQ(t.Width(), 3);
  EXPECT_EQ(t.Height(), 2);
  EXPECT_EQ(t.Pixel(2, 1), 0x563412);  // TColor is 0x00BBGGRR
  EXPECT_TRUE(t.Transparent());
  EXPECT_EQ(t.TransparentColor(), 0x00FF00FF);
  xbmp back;
  back.assign(&t);
  EXPECT_EQ(back.get_pixel(2, 1), 0x123456u);
  EXPECT_TRUE(back.transparent);

  b.make32bit_rgba();
  EXPECT_EQ(test::code_of([&] { b.copy_pixels_to(&t); }), 5);
  b.assign_to(&t);
  EXPECT_EQ(t.PixelFormat(), pf32bit);
  EXPECT_EQ(static_cast<const std::uint8_t*>(t.ScanLine(1))[2 * 4 + 3], 255);
  TBitmap four;
  four.SetPixelFormat(pf4bit);
  four.SetSize(2, 2);
  EXPECT_EQ(test::code_of([&] { back.assign(&four); }), 5);
}

}  // namespace
}  // namespace xum
