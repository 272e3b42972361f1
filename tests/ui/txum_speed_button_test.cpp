#include "ui/txum_speed_button.h"

#include <string>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "framework/tforms.h"
#include "localization/xlocalizer.h"
#include "tests/localization/xloc_fixture.h"
#include "ui/tcolor_scale.h"
#include "ui/tvalue_scroller.h"

namespace xum {
namespace {

void click(TxumSpeedButton* b) {
  b->MouseDown(mbLeft, ssLeft, 5, 5);
  b->MouseUp(mbLeft, 0, 5, 5);
}

// Buttons 0-2 of group 1 and button 3 of group 2 on a panel, button 4 of
// group 1 on another panel; each counts its clicks.
struct speed_group : ::testing::Test {
  TForm form{nullptr};
  TWinControl *panel = new TWinControl(&form), *other_panel = new TWinControl(&form);
  TxumSpeedButton* b[5];
  int clicks[5] = {};
  speed_group() {
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
  for (int i : {0, 3, 4}) click(b[i]);
  EXPECT_EQ(downs(), "D..DD") << "other groups and other parents are apart";
  click(b[1]);
  EXPECT_EQ(downs(), ".D.DD");
  click(b[1]);
  b[1]->SetDown(false);
  EXPECT_EQ(downs(), ".D.DD") << "the group keeps its down button";
  EXPECT_EQ(clicks[1], 2) << "clicked again, still clicked";
  b[2]->SetAllowAllUp(true);  // for the whole group
  EXPECT_FALSE(b[4]->AllowAllUp());
  click(b[1]);
  EXPECT_EQ(downs(), "...DD");
  b[2]->SetDown(true);
  b[3]->SetGroupIndex(1);  // joins group 1 while down
  EXPECT_EQ(downs(), "...DD");
  b[0]->SetGroupIndex(0);
  click(b[0]);
  b[0]->SetDown(true);
  EXPECT_EQ(downs(), "...DD") << "GroupIndex 0 never stays down";
  EXPECT_EQ(clicks[0], 2);
}

TEST_F(speed_group, ThePointerMakesItHotAndAPressLowersItUntilReleasedOutside) {
  TxumSpeedButton* x = b[0];
  x->SetGroupIndex(0);
  auto is = [x](const char* what, TSpeedButtonFrame frame, xglyph_state look) {
    SCOPED_TRACE(what);
    EXPECT_EQ(x->Frame(), frame);
    EXPECT_EQ(x->Look(), look);
  };
  is("at rest", sbfFlat, glyph_normal);
  x->MouseEnter();
  is("pointer over", sbfRaised, glyph_hot);
  x->MouseDown(mbLeft, ssLeft, 3, 3);
  is("pressed", sbfLowered, glyph_hot);
  x->MouseMove(ssLeft, 40, 3);
  is("dragged outside", sbfRaised, glyph_hot);
  x->MouseUp(mbLeft, 0, 40, 3);
  x->MouseDown(mbRight, ssRight, 3, 3);
  x->MouseUp(mbRight, 0, 3, 3);
  EXPECT_EQ(clicks[0], 0) << "released outside; another button";
  x->MouseLeave();
  is("pointer gone", sbfFlat, glyph_normal);
  x->MouseEnter();
  x->SetEnabled(false);
  is("disabled", sbfFlat, glyph_disabled);
  x->MouseEnter();
  click(x);
  is("disabled, pointer over", sbfFlat, glyph_disabled);
  EXPECT_EQ(clicks[0], 0);
  x->SetEnabled(true);
  x->SetFlat(false);
  is("not flat", sbfRaised, glyph_normal);
}

TEST(SpeedButtonLooks, AreMadeFromOneGlyphOnTheButtonFace) {
  // A red 8 x 8 square in a 16 x 12 glyph whose fuchsia is transparent.
  TBitmap glyph;
  glyph.SetSize(16, 12);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 16; ++x)
      glyph.SetPixel(x, y, x >= 4 && x < 12 && y >= 2 && y < 10 ? clRed : clFuchsia);
  TxumSpeedButton button(nullptr);
  EXPECT_TRUE(button.LookImage(glyph_normal).Empty());
  button.SetGlyph(glyph);
  const TBitmap& normal = button.LookImage(glyph_normal);
  ASSERT_EQ(normal.Width(), 18) << "the larger side + 2";
  ASSERT_EQ(normal.Height(), 18);
  EXPECT_EQ(normal.Pixel(1, 1), 0xF0F0F0) << "the transparent corner shows the face";
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

// The library's scroller, speed button and colour scale have no row of
// their own in the component localizer: only their hint and help keyword
// are texts to translate, never a speed button's caption.
class ControlsLocalized : public test::loc_test {};

TEST_F(ControlsLocalized, OnlyTheirHintsAndHelpKeywordsAreRecorded) {
  TForm form(nullptr);
  form.SetName(u"Main");
  TControl* controls[] = {new TValueScroller(&form), new TxumSpeedButton(&form), new TColorScale(&form)};
  const char16_t* names[] = {u"Zoom", u"Bold", u"Legend"};
  for (int i = 0; i < 3; ++i) {
    controls[i]->SetName(names[i]);
    controls[i]->SetCaption(u"Caption text");
    controls[i]->SetHint(u"Hint text");
    controls[i]->SetHelpKeyword(u"help-key");
  }
  xlocalizer loc;
  loc.open("app", "DEU");
  loc.component(&form, nullptr);
  loc.end_writing();
  for (const std::string name : {"Zoom", "Bold", "Legend"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(stored("Main/" + name + "/@Hint/o"), "Hint text");
    EXPECT_EQ(stored("Main/" + name + "/@HelpKeyword/o"), "help-key");
    EXPECT_EQ(stored("Main/" + name + "/@Caption/o"), "(none)");
  }
}

}  // namespace
}  // namespace xum
