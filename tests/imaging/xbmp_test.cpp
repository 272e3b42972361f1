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

using bytes = std::vector<unsigned char>;
using test::bmp_spec;

xbmp load_bytes(const bytes& b, bool icon = false) {
  xbuffer_stream s(b.data(), static_cast<int>(b.size()));
  xbmp image;
  icon ? image.load_icon32(s) : image.load(s);
  return image;
}

bytes saved(const xbmp& b) {
  xmemory_stream m;
  b.save(m);
  return bytes(m.data(), m.data() + m.size());
}

std::vector<std::uint32_t> ramp(int n) {
  std::vector<std::uint32_t> p;
  for (int i = 0; i < n; ++i) p.push_back((static_cast<std::uint32_t>(i) * 0x010203u + 0x102030u) & 0xFFFFFF);
  return p;
}

TEST(XbmpPalette, EveryDepthUnpacksMostSignificantBitsFirstTo24Bit) {
  for (int bits : {1, 2, 4, 8}) {
    SCOPED_TRACE(bits);
    const int colours = 1 << bits;
    auto index = [&](int x, int y) { return static_cast<std::uint32_t>((x * 7 + y * 3 + 1) % colours); };
    const xbmp b =
        load_bytes(test::build_bmp({.width = 10, .height = 3, .bits = bits, .palette = ramp(colours), .pixels = index}));
    ASSERT_EQ(b.bit_count(), 24);
    EXPECT_EQ(b.file_size(), 54u + 3 * 32);  // rows of 30 bytes padded to 32
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 10; ++x) ASSERT_EQ(b.get_pixel(x, y), ramp(colours)[index(x, y)]) << x << "," << y;
  }
}

TEST(XbmpPalette, PaletteFollowsTheInformationHeaderAndItsCount) {
  struct row {
    int info;
    std::uint32_t used;
    std::size_t written;
    std::uint32_t want3;
  } rows[] = {{108, 0, 4, 0x0000FF},  // palette at 122
              {124, 4, 4, 0x0000FF},  // at 138
              {40, 3, 4, 0},          // 3 used: index 3 is past the palette, black
              {40, 0, 3, 0}};         // 2^bits claimed, 3 fit before the rows
  for (const auto& r : rows) {
    SCOPED_TRACE(r.info * 100 + static_cast<int>(r.used));
    std::vector<std::uint32_t> pal = {0x010101, 0x020202, 0x030303, 0x0000FF};
    pal.resize(r.written);
    const xbmp b = load_bytes(test::build_bmp({.width = 4, .height = 1, .bits = 2, .info_size = r.info,
                                               .colors_used = r.used, .palette = pal,
                                               .pixels = [](int x, int) { return static_cast<std::uint32_t>(x); }}));
    EXPECT_EQ(b.get_pixel(2, 0), 0x030303u);
    EXPECT_EQ(b.get_pixel(3, 0), r.want3);
    EXPECT_EQ(b.header().size(), static_cast<std::size_t>(14 + r.info));  // the palette dropped
  }
}

TEST(XbmpBitfields, MasksDecideTheChannelsAndPlain32BitStays) {
  struct row {
    std::uint32_t r, g, b, pixel, want;
  } rows[] = {{0x00FF0000, 0x0000FF00, 0x000000FF, 0xAA123456, 0x123456},  // usual: the fourth byte drops
              {0x00007C00, 0x000003E0, 0x0000001F, 0x00004210, 0x848484}};  // 16 of 31 -> 132
  for (const auto& r : rows) {
    SCOPED_TRACE(r.pixel);
    const xbmp b = load_bytes(test::build_bmp({.width = 1, .height = 1, .bits = 32, .compression = 3,
                                               .masks = {r.r, r.g, r.b}, .pixels = [&](int, int) { return r.pixel; }}));
    EXPECT_EQ(b.pixel_offset(), 66u);  // the masks stay in the header
    EXPECT_EQ(b.get_pixel(0, 0), r.want);
  }
  const xbmp plain = load_bytes(test::build_bmp({.width = 3, .height = 2, .bits = 32, .pixels = [](int x, int y) {
                                                   return 0x80000000u | static_cast<std::uint32_t>(x * 16 + y);
                                                 }}));
  EXPECT_EQ(plain.bytes_per_pixel(), 4);
  EXPECT_EQ(plain.get_pixel(2, 1), 0x80000021u);
}

// RLE, 16-bit, OS/2 headers and unusual masks are refused or decoded in
// the suite test (xbmp_suite_test.cpp) with the suite's own files.
TEST(XbmpLoad, RefusesWhatItCannotDecodeWithAClearError) {
  struct row {
    bmp_spec spec;
    const char* message;
  } rows[] = {
      {{.compression = 5}, "PNG"},
      {{.bits = 3}, "bit count 3"},
      {{.planes = 2}, "planes"},
      {{.info_size = 41}, "41 bytes"},
      {{.width = 0}, "width"},
      {{.height = INT_MIN}, "height"},
      {{.compression = 3}, "bit fields"},
      {{.bits = 32, .compression = 3, .masks = {0xF0F0, 0xFF, 0}}, "mask"},
      {{.width = INT_MAX, .height = INT_MAX, .bits = 32}, "truncated"},
      {{.offset = 30}, "inside the headers"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.message);
    const std::string e = test::error_of([&] { load_bytes(test::build_bmp(r.spec)); });
    EXPECT_EQ(e.find("Invalid data format !\n"), 0u) << e;
    EXPECT_NE(e.find(r.message), std::string::npos) << e;
    EXPECT_EQ(std::count(e.begin(), e.end(), '\n'), 2) << e;  // message, reason, where
  }
}

TEST(XbmpLoad, EveryTruncationFailsCleanlyAndNotBmpIsCodeZero) {
  const bytes whole = test::build_bmp(
      {.width = 3, .height = 2, .bits = 8, .palette = ramp(4), .pixels = [](int x, int y) { return (x + y) % 4u; }});
  for (std::size_t n = 0; n < whole.size(); ++n) {
    SCOPED_TRACE(n);
    xbuffer_stream s(whole.data(), static_cast<int>(n));
    xbmp b;
    EXPECT_THROW(b.load(s), XEBadData);
    EXPECT_TRUE(b.empty());
  }
  EXPECT_EQ(load_bytes(whole).get_pixel(2, 1), ramp(4)[3]);
  bytes other = whole;
  other[0] = 'X';
  EXPECT_EQ(test::code_of([&] { load_bytes(other); }), 0);
}

// A stream that cannot seek, as a pipe: the reader cannot ask for its size.
class pipe_stream final : public xstream {
 public:
  explicit pipe_stream(const bytes& b) : inner_(b.data(), static_cast<int>(b.size())) { mode_ = xstream_read; }
  xstr description() const override { return "pipe"; }
  int read(void* buffer, int count) override { return inner_.read(buffer, count); }
  std::int64_t seek(std::int64_t, xseek_origin) override { throw xexception(xexception::not_supported); }

 private:
  xbuffer_stream inner_;
};

TEST(XbmpLoad, StreamsWithoutASizeLoadAndStillRefuseMissingRows) {
  const bytes good = test::build_bmp({.width = 5, .height = 2, .pixels = [](int x, int y) { return x * 16u + y; }});
  pipe_stream p(good);
  xbmp b;
  b.load(p);
  EXPECT_EQ(b.get_pixel(4, 1), 0x41u);
  const bytes claim = test::build_bmp({.width = 100000, .height = 100000});  // 30 GB of rows, none present
  pipe_stream huge(claim);
  EXPECT_NE(test::error_of([&] { b.load(huge); }).find("truncated in its pixel rows\npipe"), std::string::npos);
}

TEST(XbmpLoad, TopDownRowsMapThroughTheAbsoluteHeightAndSurviveAddRows) {
  xbmp b = load_bytes(test::build_bmp(
      {.width = 2, .height = -3, .pixels = [](int x, int y) { return static_cast<std::uint32_t>(0x100 * y + x); }}));
  EXPECT_TRUE(b.top_down());
  for (int y = 0; y < 3; ++y) EXPECT_EQ(b.get_pixel(1, y), static_cast<unsigned>(0x100 * y + 1));
  b.add_rows(2);  // a bottom-up image now, with the same picture above the new rows
  EXPECT_FALSE(b.top_down());
  EXPECT_EQ(b.height(), 5);
  EXPECT_EQ(b.file_size(), 54u + 5 * 8);
  const xbmp again = load_bytes(saved(b));
  for (int y = 0; y < 3; ++y) EXPECT_EQ(again.get_pixel(1, y), static_cast<unsigned>(0x100 * y + 1));
  EXPECT_EQ(again.get_pixel(1, 4), 0u);
}

TEST(XbmpCreate, ThreeByTwoSaves78BytesRoundTripsAndWidens) {
  xbmp b;
  b.create(3, 2, 3);
  b.set_pixel(2, 1, 0xABCDEF);
  const bytes first = saved(b);
  ASSERT_EQ(first.size(), 78u);  // rows of 12 bytes
  EXPECT_EQ(le::load<std::uint32_t>(&first[2]), 78u);
  EXPECT_EQ(first[54 + 6], 0xEF);  // the bottom row comes first in the file
  EXPECT_EQ(saved(load_bytes(first)), first);
  b.create(5, 2, 3);
  b.fill(0x102030);
  b.make32bit_rgba();
  EXPECT_EQ(b.file_size(), 54u + 2 * 5 * 4);
  EXPECT_EQ(saved(load_bytes(saved(b))), saved(b));
  EXPECT_EQ(test::code_of([&] { b.create(0, 1, 3); }) + test::code_of([&] { b.create(1, 1, 2); }), 0);
  xbmp moved = std::move(b);
  EXPECT_TRUE(b.empty());
  b.fill(0);  // a moved-from image is empty, not broken
  EXPECT_EQ(moved.get_pixel(4, 1), 0xFF102030u);
}

TEST(XbmpPixels, CopyFromClipsOnEverySide) {
  xbmp src;  // pixel (x, y) is 0x10 (y + 1) + x + 1
  src.create(3, 3, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 3; ++x) src.set_pixel(x, y, static_cast<unsigned>(0x10 * (y + 1) + x + 1));
  for (auto [x, y] : {std::pair{-1, 0}, {2, -2}, {3, 3}, {-3, 0}}) {
    SCOPED_TRACE(std::to_string(x) + "," + std::to_string(y));
    xbmp dst;
    dst.create(4, 4, 3);
    dst.copy_from(src, x, y);
    for (int v = 0; v < 4; ++v)
      for (int u = 0; u < 4; ++u) {
        const bool inside = u >= x && u < x + 3 && v >= y && v < y + 3;
        EXPECT_EQ(dst.get_pixel(u, v), inside ? static_cast<unsigned>(0x10 * (v - y + 1) + u - x + 1) : 0u) << u << "," << v;
      }
  }
}

// A 3 x 2 32-bit icon whose image follows `entries` directory entries and
// `gap` bytes; pixel (x, y) is B = x, G = y, R = 0x80, A = 0 on the diagonal.
bytes icon(int bits, int entries, std::size_t gap = 0) {
  bytes out(6 + 16 * static_cast<std::size_t>(entries) + gap, 0);
  bytes info(40, 0);
  le::store<std::uint16_t>(&out[2], 1);
  le::store<std::uint16_t>(&out[4], static_cast<std::uint16_t>(entries));
  le::store<std::uint32_t>(&out[14], 40 + 24 + 8);
  le::store<std::uint32_t>(&out[18], static_cast<std::uint32_t>(out.size()));
  for (auto [at, v] : {std::pair{0, 40}, {4, 3}, {8, 4}, {12, 1}, {14, bits}}) le::store<std::uint32_t>(&info[at], v);
  out.insert(out.end(), info.begin(), info.end());
  for (int y = 1; y >= 0; --y)
    for (int x = 0; x < 3; ++x) out.insert(out.end(), {static_cast<unsigned char>(x), static_cast<unsigned char>(y), 0x80,
                                                        static_cast<unsigned char>(x == y ? 0 : 255)});
  out.resize(out.size() + 8, 0);  // the mask, not read
  return out;
}

TEST(XbmpIcon, ReadsTheFirstImageWhereItsEntrySaysAndRefusesTheRest) {
  for (int entries : {1, 3}) {
    const xbmp b = load_bytes(icon(32, entries, 10), true);
    ASSERT_EQ(b.width() * 10 + b.height(), 32);
    EXPECT_EQ(b.get_pixel(2, 1), 0xFF800102u);
    EXPECT_EQ(b.get_pixel(1, 1), 0x00800101u);
  }
  bytes truncated = icon(32, 1), png = icon(32, 1), inside = icon(32, 1), cursor = icon(32, 1);
  truncated.resize(truncated.size() - 20);
  std::copy_n("\x89PNG\r\n\x1a\n", 8, png.begin() + 22);
  le::store<std::uint32_t>(&inside[18], 10);
  cursor[2] = 2;
  const std::pair<bytes, const char*> rows[] = {{icon(24, 1), "only 32-bit"}, {truncated, "truncated"},
                                                {png, "PNG"},                 {inside, "inside the directory"},
                                                {cursor, "Not an icon"},      {{}, "truncated"}};
  for (const auto& [b, message] : rows) {
    SCOPED_TRACE(message);
    const std::string e = test::error_of([&] { load_bytes(b, true); });
    EXPECT_NE(e.find(message), std::string::npos) << e;
  }
}

TEST(XbmpFramework, ExchangesPixelsWithTBitmap) {
  xbmp b, back;
  b.create(3, 2, 3);
  b.set_pixel(2, 1, 0x123456);
  TBitmap t;
  b.copy_pixels_to(&t);
  EXPECT_EQ(t.Pixel(2, 1), 0x563412);  // TColor is 0x00BBGGRR
  back.assign(&t);
  EXPECT_EQ(back.get_pixel(2, 1), 0x123456u);
  t.SetPixelFormat(pf4bit);
  EXPECT_EQ(test::code_of([&] { back.assign(&t); }), 5);
}

}  // namespace
}  // namespace xum
