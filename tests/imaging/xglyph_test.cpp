#include "imaging/xglyph.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "framework/tcomctrls.h"
#include "framework/timglist.h"
#include "framework/tstdctrls.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

// A one-frame glyph of `size` pixels, every pixel `argb`.
xglyph solid(int size, unsigned argb, int frames = 1) {
  xglyph g;
  g.create(size, size * frames, 4);
  g.fill(argb);
  return g;
}

xbmp canvas(int w, int h, unsigned rgb, int bpp = 3) {
  xbmp b;
  b.create(w, h, bpp);
  b.fill(rgb);
  return b;
}

TEST(XglyphAlpha, LargestDifferenceBetweenRenderingsGivesTheAlpha) {
  struct row {
    unsigned on_white, on_black, alpha;
  } rows[] = {
      {0x0000FF, 0x0000FF, 255},  // opaque: the same on both
      {0xFFFFFF, 0x000000, 0},    // fully transparent
      {0xC8C8C8, 0x484848, 127},  // half: difference 128
      {0x80FF40, 0x40F040, 191},  // the largest channel difference (64) counts
      {0x000000, 0x010101, 0},    // black brighter: the low byte of ~(-1)
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.on_white));
    xglyph g = [&] {
      xglyph w;
      w.create(2, 1, 3);
      w.fill(r.on_white);
      return w;
    }();
    g.calculate_alpha(canvas(2, 1, r.on_black));
    EXPECT_EQ(g.bytes_per_pixel(), 4);
    EXPECT_EQ(g.get_pixel(1, 0), r.alpha << 24 | r.on_white);
  }
  xglyph g = solid(2, 0);
  EXPECT_EQ(test::code_of([&] { g.calculate_alpha(canvas(2, 3, 0)); }), 5);
}

TEST(XglyphDraw, BlendsByAlphaWithTruncation) {
  struct row {
    unsigned glyph;  // ARGB
    unsigned dst, want;
  } rows[] = {
      {0x00FFFFFF, 0x102030, 0x102030},  // alpha 0 leaves the destination
      {0xFF123456, 0x102030, 0x123456},  // alpha 255 copies
      {0x80C8C8C8, 0x646464, 0x969696},  // (200*128 + 100*127) / 255 = 150
      {0x01FF0000, 0x000000, 0x010000},  // 255 / 255 = 1
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.glyph));
    for (int bpp : {3, 4}) {
      xbmp dst = canvas(3, 3, r.dst | 0x7F000000u, bpp);
      solid(1, r.glyph).draw_on(dst, 1, 1, 0);
      EXPECT_EQ(dst.get_pixel(1, 1) & 0xFFFFFF, r.want);
      EXPECT_EQ(dst.get_pixel(0, 0) & 0xFFFFFF, r.dst);
      if (bpp == 4) {
        EXPECT_EQ(dst.get_pixel(1, 1) >> 24, 0x7Fu);  // dst's fourth byte kept
      }
    }
  }
}

TEST(XglyphDraw, GreyedLightensOrDarkensThroughAlphaOnly) {
  struct row {
    unsigned alpha;
    int amount;
    unsigned dst, want;
  } rows[] = {
      {255, -100, 200, 122},  // 200 + (200 * -100) / 255
      {255, 100, 200, 255},   // 278 clamps
      {128, -100, 200, 161},  // k = -50; 200 - 39
      {0, -100, 200, 200},
      {255, 50, 100, 119},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.alpha) + " " + std::to_string(r.amount));
    xbmp dst = canvas(1, 1, r.dst * 0x010101u);
    solid(1, r.alpha << 24 | 0xABCDEF).draw_greyed_on(dst, 0, 0, r.amount, 0);
    EXPECT_EQ(dst.get_pixel(0, 0), r.want * 0x010101u);
  }
}

TEST(XglyphDraw, ClipsAtEveryEdgeAndAddressesFrames) {
  // Frame 1 of a 4-pixel glyph: pixel (i, j) has blue 16 * j + i, opaque.
  xglyph g = solid(4, 0, 2);
  for (int j = 0; j < 4; ++j)
    for (int i = 0; i < 4; ++i) g.set_pixel(i, 4 + j, 0xFF000000u | static_cast<unsigned>(16 * j + i));
  struct row {
    int x, y;
    int di, dj;  // a destination pixel that must show glyph pixel (di - x, dj - y)
  } rows[] = {{-3, 0, 0, 2}, {0, -3, 1, 0}, {1, 1, 2, 2}, {2, 2, 2, 2}};
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.x) + "," + std::to_string(r.y));
    xbmp dst = canvas(3, 3, 0xEEEEEE);
    g.draw_on(dst, r.x, r.y, 1);
    EXPECT_EQ(dst.get_pixel(r.di, r.dj), static_cast<unsigned>(16 * (r.dj - r.y) + r.di - r.x));
    int touched = 0;
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 3; ++x) touched += dst.get_pixel(x, y) != 0xEEEEEE;
    const int w = std::min(3, r.x + 4) - std::max(0, r.x), h = std::min(3, r.y + 4) - std::max(0, r.y);
    EXPECT_EQ(touched, w * h);
  }
}

TEST(XglyphSmall, BoxFilterAveragesBlocks) {
  // Two 32-pixel frames; frame 1 holds a pattern.
  xglyph g = solid(32, 0, 2);
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x) g.set_pixel(x, 32 + y, static_cast<unsigned>(x * 4 + y) * 0x01010101u);
  xglyph s;
  g.make_small(s, 1, 2, 1);
  ASSERT_EQ(s.width(), 16);
  ASSERT_EQ(s.abs_height(), 16);
  ASSERT_EQ(s.frame_count(), 1);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) {
      // Average of (2x, 2y), (2x+1, 2y), (2x, 2y+1), (2x+1, 2y+1):
      // 4 (8x + 2y) + 4 + 4 + 1 + 1, over 4, truncated.
      const unsigned avg = static_cast<unsigned>((4 * (8 * x + 2 * y) + 10) / 4);
      ASSERT_EQ(s.get_pixel(x, y), avg * 0x01010101u) << x << "," << y;
    }

  // Three pixels to two (divisor 3, multiplier 2): output (0, 0) takes
  // source columns and rows 0, 0, 1: weights 4, 2, 2, 1 over 9.
  xglyph t = solid(3, 0);
  t.set_pixel(0, 0, 90);
  t.set_pixel(1, 0, 9);
  t.set_pixel(0, 1, 18);
  t.set_pixel(1, 1, 81);
  xglyph u;
  t.make_small(u, 0, 3, 2);
  ASSERT_EQ(u.width(), 2);
  EXPECT_EQ(u.get_pixel(0, 0), (4u * 90 + 2 * 9 + 2 * 18 + 81) / 9);
  // Doubling repeats each pixel.
  t.make_small(u, 0, 1, 2);
  EXPECT_EQ(u.width(), 6);
  EXPECT_EQ(u.get_pixel(1, 1), 90u);
  EXPECT_EQ(u.get_pixel(3, 2), 81u);
  EXPECT_EQ(test::code_of([&] { t.make_small(u, 0, 4, 1); }), 0);  // nothing left
  EXPECT_EQ(test::code_of([&] { t.make_small(u, 1, 1, 1); }), 0);  // no such frame
}

TEST(XglyphFramework, ToolbarListsAreSizedOwnedAndFilled) {
  TToolBar bar(nullptr);
  bar.SetColor(clWhite);
  TImageList foreign(nullptr);
  bar.SetImages(&foreign);
  xglyph g = solid(16, 0xFF808080, 3);  // three opaque grey (128) frames
  g.GenerateToolbarImageLists(&bar, 1, 1);
  for (TCustomImageList* l : {bar.Images(), bar.HotImages(), bar.DisabledImages()}) {
    ASSERT_NE(l, nullptr);
    EXPECT_EQ(l->Owner(), &bar);
    EXPECT_EQ(l->Width(), 18);
    EXPECT_EQ(l->Height(), 18);
    EXPECT_EQ(l->Count(), 3);
  }
  EXPECT_NE(bar.Images(), &foreign);
  EXPECT_EQ(bar.ButtonWidth(), 18);
  EXPECT_EQ(bar.ButtonHeight(), 18);
  struct row {
    TCustomImageList* list;
    int x, y;
    TColor want;
  } rows[] = {
      {bar.Images(), 0, 0, clWhite},      // normal: drawn at (1, 1)
      {bar.Images(), 1, 1, 0x808080},
      {bar.Images(), 17, 17, clWhite},
      {bar.HotImages(), 0, 0, 0x999999},  // at (0, 0), lightened: 128 + 25
      {bar.HotImages(), 17, 17, 0x9B9B9B},  // the shadow at (2, 2): 255 - 100
      {bar.DisabledImages(), 1, 1, 0x9B9B9B},  // shadow at (1, 1)
      {bar.DisabledImages(), 2, 2, 0xD7D7D7},  // then highlight at (2, 2): 155 + 60
      {bar.DisabledImages(), 17, 17, clWhite},  // 255 + 100 clamps
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.x) + "," + std::to_string(r.y));
    TBitmap b;
    r.list->GetBitmap(2, b);
    EXPECT_EQ(b.Pixel(r.x, r.y), r.want);
  }

  TCustomImageList* kept = bar.Images();
  g.GenerateToolbarImageLists(&bar, 2, 1);  // half size: 10 x 10
  EXPECT_EQ(bar.Images(), kept);
  EXPECT_EQ(kept->Width(), 10);
  EXPECT_EQ(bar.ButtonWidth(), 10);
}

TEST(XglyphFramework, ButtonGlyphHasThreeParts) {
  TBitBtn button(nullptr);
  xglyph g = solid(16, 0xFF00FF00);
  g.GenerateButtonGlyph(&button, 0, 1, 1);
  const TBitmap& b = button.Glyph();
  EXPECT_EQ(b.Width(), 54);
  EXPECT_EQ(b.Height(), 18);
  EXPECT_EQ(button.NumGlyphs(), 3);
  struct row {
    int x, y;
    TColor want;
  } rows[] = {
      {0, 0, 0xF0F0F0},   // the button face
      {1, 1, clLime},     // part 1: the glyph at (1, 1)
      {16, 16, clLime},
      {19, 1, 0x929292},  // part 2: shadow at (19, 1): 240 - 94
      {20, 2, 0xCBCBCB},  // then highlight at (20, 2): 146 + 57
      {35, 17, clWhite},  // highlight on the face: 240 + 94 clamps
      {36, 0, clLime},    // part 3: the glyph at (36, 0), lightened
      {53, 17, 0x929292},  // its shadow at (38, 2)
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.x) + "," + std::to_string(r.y));
    EXPECT_EQ(b.Pixel(r.x, r.y), r.want);
  }
  button.SetNumGlyphs(1);
  g.GenerateButtonGlyph(&button, 0, 2, 1);
  EXPECT_EQ(button.Glyph().Width(), 30);
  EXPECT_EQ(button.Glyph().Height(), 10);
}

TEST(XglyphResource, LoadsFramesFromTheBinary) {
  xglyph g(300);
  EXPECT_EQ(g.width(), 2);
  EXPECT_EQ(g.frame_count(), 2);
  EXPECT_EQ(g.get_pixel(0, 0), 0xFFFF0000u);
  EXPECT_EQ(g.get_pixel(1, 3), 0x400D0C0Bu);
  EXPECT_EQ(test::code_of([] { xglyph missing(301); }), 7);
}

}  // namespace
}  // namespace xum
