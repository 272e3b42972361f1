#include "imaging/xglyph.h"

#include <gtest/gtest.h>

#include <string>

#include "framework/tcomctrls.h"
#include "framework/timglist.h"
#include "framework/tstdctrls.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

// An image of `w` x `h` pixels of `bpp` bytes, every pixel `value`.
template <class T = xbmp>
T solid(int w, int h, unsigned value, int bpp = 4) {
  T b;
  b.create(w, h, bpp);
  b.fill(value);
  return b;
}

TEST(XglyphAlpha, LargestDifferenceBetweenRenderingsGivesTheAlpha) {
  struct row {
    unsigned on_white, on_black, alpha;
  } rows[] = {{0x0000FF, 0x0000FF, 255},  // the same on both: opaque
              {0xFFFFFF, 0x000000, 0},    // fully transparent
              {0x80FF40, 0x40F040, 191},  // the largest channel difference (64) counts
              {0x000000, 0x010101, 0}};   // black brighter: the low byte of ~(-1)
  for (const auto& r : rows) {
    SCOPED_TRACE(r.on_white);
    auto g = solid<xglyph>(2, 1, r.on_white, 3);
    g.calculate_alpha(solid(2, 1, r.on_black, 3));
    EXPECT_EQ(g.get_pixel(1, 0), r.alpha << 24 | r.on_white);
  }
  auto g = solid<xglyph>(2, 1, 0);
  EXPECT_EQ(test::code_of([&] { g.calculate_alpha(solid(2, 3, 0)); }), 5);
}

TEST(XglyphDraw, BlendsAndGreysWithIntegerTruncation) {
  struct row {
    unsigned glyph;  // ARGB
    int amount;      // 0: draw_on, else draw_greyed_on
    unsigned dst, want;
  } rows[] = {{0x00FFFFFF, 0, 0x102030, 0x102030},  // alpha 0 leaves the destination
              {0xFF123456, 0, 0x102030, 0x123456},  // alpha 255 copies
              {0x80C8C8C8, 0, 0x646464, 0x969696},  // (200*128 + 100*127) / 255 = 150
              {0xFFABCDEF, -100, 0xC8C8C8, 0x7A7A7A},  // 200 + (200 * -100) / 255 = 122
              {0xFFABCDEF, 100, 0xC8C8C8, 0xFFFFFF},   // 278 clamps
              {0x80ABCDEF, -100, 0xC8C8C8, 0xA1A1A1}};  // k = -50: 200 - 39
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.glyph) + " " + std::to_string(r.amount));
    for (int bpp : {3, 4}) {
      xbmp dst = solid(3, 3, 0x7F000000u | r.dst, bpp);
      const auto g = solid<xglyph>(1, 1, r.glyph);
      r.amount ? g.draw_greyed_on(dst, 1, 1, r.amount, 0) : g.draw_on(dst, 1, 1, 0);
      EXPECT_EQ(dst.get_pixel(1, 1), r.want | (bpp == 4 ? 0x7F000000u : 0));  // dst's fourth byte kept
      EXPECT_EQ(dst.get_pixel(0, 0) & 0xFFFFFF, r.dst);
    }
  }
}

TEST(XglyphDraw, ClipsAtEveryEdgeAndAddressesFrames) {
  // Frame 1 of a 4-pixel glyph: pixel (i, j) has blue 16 * j + i, opaque.
  auto g = solid<xglyph>(4, 8, 0);
  for (int j = 0; j < 4; ++j)
    for (int i = 0; i < 4; ++i) g.set_pixel(i, 4 + j, 0xFF000000u | static_cast<unsigned>(16 * j + i));
  for (auto [x, y] : {std::pair{-3, 0}, {0, -3}, {2, 2}, {-4, 0}}) {
    SCOPED_TRACE(std::to_string(x) + "," + std::to_string(y));
    xbmp dst = solid(3, 3, 0xEEEEEE, 3);
    g.draw_on(dst, x, y, 1);
    int touched = 0;
    for (int v = 0; v < 3; ++v)
      for (int u = 0; u < 3; ++u) {
        const bool inside = u >= x && u < x + 4 && v >= y && v < y + 4;
        EXPECT_EQ(dst.get_pixel(u, v), inside ? static_cast<unsigned>(16 * (v - y) + u - x) : 0xEEEEEEu);
        touched += inside;
      }
    EXPECT_EQ(touched, std::max(0, std::min(3, x + 4) - std::max(0, x)) * std::max(0, std::min(3, y + 4) - std::max(0, y)));
  }
}

TEST(XglyphSmall, BoxFilterAveragesBlocks) {
  auto g = solid<xglyph>(32, 64, 0);  // frame 1 holds a pattern
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x) g.set_pixel(x, 32 + y, static_cast<unsigned>(x * 4 + y) * 0x01010101u);
  xglyph s;
  g.make_small(s, 1, 2, 1);
  ASSERT_EQ(s.width() * 100 + s.height(), 1616);
  // The 2 x 2 block at (2x, 2y): 4 (8x + 2y) + 4 + 4 + 1 + 1, over 4.
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) ASSERT_EQ(s.get_pixel(x, y), static_cast<unsigned>(8 * x + 2 * y + 2) * 0x01010101u);
  // Three pixels to two: output (0, 0) takes source columns and rows 0, 0,
  // 1, so weights 4, 2, 2, 1 over 9; doubling repeats pixels.
  auto t = solid<xglyph>(3, 3, 0);
  t.set_pixel(0, 0, 90);
  t.set_pixel(1, 0, 9);
  t.set_pixel(0, 1, 18);
  t.set_pixel(1, 1, 81);
  t.make_small(s, 0, 3, 2);
  EXPECT_EQ(s.get_pixel(0, 0), (4u * 90 + 2 * 9 + 2 * 18 + 81) / 9);
  t.make_small(s, 0, 1, 2);
  EXPECT_EQ(s.get_pixel(1, 1) * 1000 + s.get_pixel(3, 2), 90081u);
  EXPECT_EQ(test::code_of([&] { t.make_small(s, 0, 4, 1); }), 0);  // nothing left
  EXPECT_EQ(test::code_of([&] { t.make_small(s, 1, 1, 1); }), 0);  // no such frame
}

TEST(XglyphFramework, ToolbarListsAreSizedOwnedAndFilled) {
  TToolBar bar(nullptr);
  bar.SetColor(clWhite);
  TImageList foreign(nullptr);
  bar.SetImages(&foreign);
  const auto g = solid<xglyph>(16, 48, 0xFF808080);  // three opaque grey (128) frames
  g.GenerateToolbarImageLists(&bar, 1, 1);
  for (TCustomImageList* l : {bar.Images(), bar.HotImages(), bar.DisabledImages()}) {
    ASSERT_EQ(l->Owner(), &bar);
    EXPECT_EQ(l->Width() * 100 + l->Height(), 1818);
    EXPECT_EQ(l->Count(), 3);
  }
  EXPECT_EQ(bar.ButtonWidth() * 100 + bar.ButtonHeight(), 1818);
  struct row {
    TCustomImageList* list;
    int x, y;
    TColor want;
  } rows[] = {{bar.Images(), 0, 0, clWhite},             // normal: drawn at (1, 1)
              {bar.HotImages(), 0, 0, 0x999999},         // at (0, 0), then lightened: 128 + 25
              {bar.HotImages(), 17, 17, 0x9B9B9B},       // its shadow at (2, 2): 255 - 100
              {bar.DisabledImages(), 2, 2, 0xD7D7D7},    // highlight over shadow: 155 + 60
              {bar.DisabledImages(), 17, 17, clWhite}};  // 255 + 100 clamps
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.x) + "," + std::to_string(r.y));
    TBitmap b;
    r.list->GetBitmap(2, b);
    EXPECT_EQ(b.Pixel(r.x, r.y), r.want);
  }
}

TEST(XglyphFramework, ButtonGlyphHasThreeParts) {
  TBitBtn button(nullptr);
  solid<xglyph>(16, 16, 0xFF00FF00).GenerateButtonGlyph(&button, 0, 1, 1);
  const TBitmap& b = button.Glyph();
  EXPECT_EQ(b.Width() * 100 + b.Height(), 5418);
  EXPECT_EQ(button.NumGlyphs(), 3);
  struct row {
    int x, y;
    TColor want;
  } rows[] = {{1, 1, clLime},       // normal picture: the glyph at (1, 1)
              {20, 2, 0xCBCBCB},    // disabled picture: highlight over shadow, 146 + 57
              {35, 17, clWhite},    // highlight on the face: 240 + 94 clamps
              {36, 0, clLime}};     // pressed picture: the glyph at (36, 0), lightened
  for (const auto& r : rows) EXPECT_EQ(b.Pixel(r.x, r.y), r.want) << r.x << "," << r.y;
}

TEST(XglyphResource, LoadsFramesFromTheBinary) {
  const xglyph g(300);  // tests/imaging/data/glyph2x2.bmp
  EXPECT_EQ(g.frame_count(), 2);
  EXPECT_EQ(g.get_pixel(0, 0), 0xFFFF0000u);
  EXPECT_EQ(g.get_pixel(1, 3), 0x400D0C0Bu);
  EXPECT_EQ(test::code_of([] { xglyph missing(301); }), 7);
}

}  // namespace
}  // namespace xum
