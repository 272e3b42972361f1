#include "ui/txum_speed_button.h"

#include <string>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "framework/tforms.h"

namespace xum {
namespace {

void click(TxumSpeedButton* b) {
  b->MouseDown(mbLeft, ssLeft, 5, 5);
  b->MouseUp(mbLeft, 0, 5, 5);
}

// Three buttons of group 1 and one of group 2 on a panel, and a button of
// group 1 on another panel; each counts its clicks.
struct speed_group : ::testing::Test {
  TForm form{nullptr};
  TWinControl* panel = new TWinControl(&form);
  TWinControl* other_panel = new TWinControl(&form);
  TxumSpeedButton* b[5];
  int clicks[5] = {};
  speed_group() {
    panel->SetParent(&form);
    other_panel->SetParent(&form);
    for (int i = 0; i < 5; ++i) {
      b[i] = new TxumSpeedButton(&form);
      b[i]->SetParent(i == 4 ? other_panel : panel);
      b[i]->SetBounds(24 * i, 0, 24, 24);
      b[i]->SetGroupIndex(i == 3 ? 2 : 1);
      b[i]->OnClick = [this, i](TObject*) { ++clicks[i]; };
    }
  }
  std::string downs() const {
    std::string out;
    for (const TxumSpeedButton* x : b) out += x->Down() ? 'D' : '.';
    return out;
  }
};

TEST_F(speed_group, AGroupUnderOneParentKeepsAtMostOneButtonDown) {
  click(b[0]);
  click(b[3]);
  click(b[4]);
  EXPECT_EQ(downs(), "D..DD") << "other groups and other parents are apart";
  click(b[1]);
  EXPECT_EQ(downs(), ".D.DD");
  click(b[1]);
  EXPECT_EQ(downs(), ".D.DD") << "a down button clicked again stays down";
  EXPECT_EQ(clicks[1], 2) << "and is still clicked";
  b[1]->SetDown(false);
  EXPECT_EQ(downs(), ".D.DD") << "the group keeps one button down";
  b[2]->SetAllowAllUp(true);  // for the whole group
  EXPECT_TRUE(b[0]->AllowAllUp());
  EXPECT_FALSE(b[4]->AllowAllUp());
  click(b[1]);
  EXPECT_EQ(downs(), "...DD");
  b[2]->SetDown(true);
  EXPECT_EQ(downs(), "..DDD");
  b[3]->SetGroupIndex(1);  // joins group 1 while down
  EXPECT_EQ(downs(), "...DD");
}

TEST_F(speed_group, GroupIndexZeroNeverStaysDownButClicks) {
  b[0]->SetGroupIndex(0);
  b[1]->SetDown(true);
  b[1]->SetGroupIndex(0);
  EXPECT_FALSE(b[1]->Down());
  click(b[0]);
  b[0]->SetDown(true);
  EXPECT_FALSE(b[0]->Down());
  EXPECT_EQ(clicks[0], 1);
}

TEST_F(speed_group, ThePointerMakesItHotAndAPressLowersItUntilReleasedOutside) {
  TxumSpeedButton* x = b[0];
  x->SetGroupIndex(0);
  struct step {
    const char* what;
    TSpeedButtonFrame frame;
    xglyph_state look;
  };
  auto check = [&](const step& s) {
    SCOPED_TRACE(s.what);
    EXPECT_EQ(x->Frame(), s.frame);
    EXPECT_EQ(x->Look(), s.look);
  };
  check({"at rest", sbfFlat, glyph_normal});
  x->MouseEnter();
  check({"pointer over", sbfRaised, glyph_hot});
  x->MouseDown(mbLeft, ssLeft, 3, 3);
  check({"pressed", sbfLowered, glyph_hot});
  x->MouseMove(ssLeft, 40, 3);
  check({"dragged outside", sbfRaised, glyph_hot});
  x->MouseUp(mbLeft, 0, 40, 3);
  EXPECT_EQ(clicks[0], 0) << "released outside";
  x->MouseDown(mbRight, ssRight, 3, 3);
  x->MouseUp(mbRight, 0, 3, 3);
  EXPECT_EQ(clicks[0], 0) << "another button";
  x->MouseLeave();
  check({"pointer gone", sbfFlat, glyph_normal});
  x->MouseEnter();
  x->SetEnabled(false);
  check({"disabled", sbfFlat, glyph_disabled});
  x->MouseEnter();
  click(x);
  check({"disabled, pointer over", sbfFlat, glyph_disabled});
  EXPECT_EQ(clicks[0], 0);
  x->SetEnabled(true);
  x->SetFlat(false);
  check({"not flat", sbfRaised, glyph_normal});
}

TEST(SpeedButtonLooks, AreMadeFromOneGlyphOnTheButtonFace) {
  // A red 8 x 8 square on a fuchsia background that is transparent.
  TBitmap glyph;
  glyph.SetSize(16, 12);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 16; ++x) glyph.SetPixel(x, y, x >= 4 && x < 12 && y >= 2 && y < 10 ? clRed : clFuchsia);
  TxumSpeedButton button(nullptr);
  EXPECT_TRUE(button.LookImage(glyph_normal).Empty());
  button.SetGlyph(glyph);
  const TColor face = 0xF0F0F0;
  const TBitmap& normal = button.LookImage(glyph_normal);
  ASSERT_EQ(normal.Width(), 18) << "the larger side + 2";
  ASSERT_EQ(normal.Height(), 18);
  EXPECT_EQ(normal.Pixel(1, 1), face) << "the transparent corner shows the face";
  EXPECT_EQ(normal.Pixel(9, 9), clRed) << "drawn one pixel in, the 16 x 12 centred";
  const TBitmap& hot = button.LookImage(glyph_hot);
  EXPECT_NE(hot.Pixel(13, 13), normal.Pixel(13, 13)) << "the hot look casts a shadow";
  const TBitmap& disabled = button.LookImage(glyph_disabled);
  for (int y = 0; y < 18; ++y)
    for (int x = 0; x < 18; ++x) ASSERT_NE(disabled.Pixel(x, y), clRed) << x << "," << y;
  button.SetColor(clWhite);
  EXPECT_EQ(button.LookImage(glyph_normal).Pixel(1, 1), clWhite) << "made again for a new colour";
  TBitmap palette;
  palette.SetPixelFormat(pf8bit);
  palette.SetSize(4, 4);
  EXPECT_THROW(button.SetGlyph(palette), xexception);
}

}  // namespace
}  // namespace xum
