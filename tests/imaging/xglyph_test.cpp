#include "imaging/xglyph.h"

#include <string>

#include <gtest/gtest.h>

#include "framework/tcomctrls.h"
#include "framework/timglist.h"
#include "framework/tstdctrls.h"

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
}

TEST(XglyphDraw, BlendsAndGreysWithIntegerTruncation) {
  struct row {
    unsigned glyph;  // ARGB
    int amount;      // 0: draw_on, else draw_greyed_on
    unsigned dst, want;
  } rows[] = {{0x00FFFFFF, 0, 0x102030, 0x102030},      // alpha 0 leaves the destination
              {0xFF123456, 0, 0x102030, 0x123456},      // alpha 255 copies
              {0x80C8C8C8, 0, 0x646464, 0x969696},      // (200*128 + 100*127) / 255 = 150
              {0xFFABCDEF, -100, 0xC8C8C8, 0x7A7A7A},   // 200 + (200 * -100) / 255 = 122
              {0xFFABCDEF, 100, 0xC8C8C8, 0xFFFFFF},    // 278 clamps
              {0x80ABCDEF, -100, 0xC8C8C8, 0xA1A1A1}};  // k = -50: 200 - 39
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.glyph) + " " + std::to_string(r.amount));
    for (int bpp : {3, 4}) {
      xbmp dst = solid(3, 3, 0x7F000000u | r.dst, bpp);
      const auto g = solid<xglyph>(1, 1, r.glyph);
      r.amount ? g.draw_greyed_on(dst, 1, 1, r.amount, 0) : g.draw_on(dst, 1, 1, 0);
      // The destination's fourth byte is kept.
      EXPECT_EQ(dst.get_pixel(1, 1), r.want | (bpp == 4 ? 0x7F000000u : 0));
      EXPECT_EQ(dst.get_pixel(0, 0) & 0xFFFFFF, r.dst);
    }
  }
}

// A toolbar's three lists and a bit button's three-part glyph from opaque
// grey (128) and green glyphs of 16 pixels, the colours where they differ.
TEST(XglyphFramework, ToolbarListsAndButtonGlyphsAreSizedOwnedAndFilled) {
  TToolBar bar(nullptr);
  bar.SetColor(clWhite);
  TImageList foreign(nullptr);
  bar.SetImages(&foreign);
  solid<xglyph>(16, 48, 0xFF808080).GenerateToolbarImageLists(&bar, 1, 1);  // three frames
  TBitmap lists[3];
  for (int i = 0; TCustomImageList * l : {bar.Images(), bar.HotImages(), bar.DisabledImages()}) {
    ASSERT_EQ(l->Owner(), &bar);
    EXPECT_EQ(l->Width() * 100 + l->Height() * 10 + l->Count(), 1983);  // 18 x 18, 3 images
    l->GetBitmap(2, lists[i++]);
  }
  EXPECT_EQ(bar.ButtonWidth() * 100 + bar.ButtonHeight(), 1818);
  TBitBtn button(nullptr);
  solid<xglyph>(16, 16, 0xFF00FF00).GenerateButtonGlyph(&button, 0, 1, 1);
  const TBitmap& glyph = button.Glyph();
  EXPECT_EQ(glyph.Width() * 100 + glyph.Height() * 10 + button.NumGlyphs(), 5583);  // 54 x 18
  struct row {
    const TBitmap* bitmap;
    int x, y;
    TColor want;
  } rows[] = {{&lists[0], 0, 0, clWhite},     // normal: drawn at (1, 1)
              {&lists[1], 0, 0, 0x999999},    // hot: at (0, 0), then lightened: 128 + 25
              {&lists[1], 17, 17, 0x9B9B9B},  // its shadow at (2, 2): 255 - 100
              {&lists[2], 2, 2, 0xD7D7D7},    // disabled: highlight over shadow, 155 + 60
              {&lists[2], 17, 17, clWhite},   // 255 + 100 clamps
              {&glyph, 1, 1, clLime},         // the button's normal picture at (1, 1)
              {&glyph, 20, 2, 0xCBCBCB},      // disabled: highlight over shadow, 146 + 57
              {&glyph, 35, 17, clWhite},      // highlight on the face: 240 + 94 clamps
              {&glyph, 36, 0, clLime}};       // pressed: the glyph at (36, 0), lightened
  for (const auto& r : rows) EXPECT_EQ(r.bitmap->Pixel(r.x, r.y), r.want) << r.x << "," << r.y;
}

}  // namespace
}  // namespace xum
