#include "ui/tvalue_scroller.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "framework/tforms.h"
#include "ui/uiutils.h"

namespace xum {
namespace {

// A form whose active control is a 200-pixel scroller from 0 to 100 by 5
// (page 20) that counts its changes.
struct scroller_form : ::testing::Test {
  TForm form{nullptr};
  TValueScroller* s = new TValueScroller(&form);
  int changes = 0;
  scroller_form() {
    s->SetParent(&form);
    s->SetBounds(10, 10, 200, 24);
    s->SetIncrement(5);
    s->SetPageIncrement(20);
    form.SetActiveControl(s);
    s->OnChange = [this](TObject*) { ++changes; };
  }
  void start_at(double v) {
    s->SetValue(v);
    changes = 0;
  }
};

TEST_F(scroller_form, KeysStepPageAndJumpToTheBoundsOnceEachAndAreConsumed) {
  struct row {
    double from;
    std::uint16_t key;
    double to;
  } const rows[] = {
      {50, VK_UP, 55},    {50, VK_RIGHT, 55}, {50, VK_DOWN, 45},   {50, VK_LEFT, 45},
      {50, VK_PRIOR, 70}, {50, VK_NEXT, 30},  {50, VK_HOME, 0},    {50, VK_END, 100},
      {100, VK_UP, 100},  {0, VK_DOWN, 0},    {90, VK_PRIOR, 100}, {0, VK_HOME, 0},
  };
  for (const row& r : rows) {
    SCOPED_TRACE("from " + std::to_string(r.from) + " key " + std::to_string(r.key));
    start_at(r.from);
    EXPECT_EQ(form.DispatchKeyDown(r.key, 0), 0) << "consumed, even at a bound";
    EXPECT_EQ(s->Value(), r.to);
    EXPECT_EQ(changes, r.to != r.from ? 1 : 0);
  }
  EXPECT_EQ(form.DispatchKeyDown('A', 0), 'A') << "other keys go on";
}

TEST_F(scroller_form, AKeyConsumedByOnKeyDownOrADisabledScrollerChangesNothing) {
  start_at(50);
  s->OnKeyDown = [](TObject*, std::uint16_t& key, TShiftState) { key = key == VK_UP ? 0 : key; };
  form.DispatchKeyDown(VK_UP, 0);
  s->SetEnabled(false);
  form.DispatchKeyDown(VK_DOWN, 0);
  EXPECT_FALSE(s->MouseWheel(0, 120, {})) << "the wheel goes on to the parent";
  s->MouseDown(mbLeft, ssLeft, 20, 5);
  s->MouseMove(ssLeft, 180, 5);
  EXPECT_EQ(changes, 0);
}

TEST_F(scroller_form, BoundsKeepMinBelowMaxAndClampTheValueWithOneChange) {
  s->SetValue(150);
  s->SetValue(100);  // a clamp to the value it has is no change
  EXPECT_EQ(changes, 1);
  s->SetMax(60);
  EXPECT_EQ(s->Value(), 60);
  s->SetMin(80);  // above Max: Max follows
  EXPECT_EQ(s->Max(), 80);
  EXPECT_EQ(s->Value(), 80);
  s->SetMax(-5);  // below Min: Min follows
  EXPECT_EQ(s->Min(), -5);
  EXPECT_EQ(s->Value(), -5);
  EXPECT_EQ(changes, 4);
  const std::pair<double, double> bad_ranges[] = {{10, 0}, {0, INFINITY}, {NAN, 1}};
  for (auto [min, max] : bad_ranges) {
    SCOPED_TRACE(min);
    EXPECT_THROW(s->SetRange(min, max), xexception);
    EXPECT_EQ(s->Max(), -5) << "nothing changed";
  }
  EXPECT_THROW(s->SetValue(NAN), xexception);
  EXPECT_THROW(s->SetIncrement(0), xexception);
  EXPECT_THROW(s->SetDecimals(10), xexception);
}

TEST_F(scroller_form, RealValuesAreRoundedToTheirDecimalsAndEveryStepMoves) {
  s->SetRange(-10, 10);
  s->SetDecimals(1);
  s->SetIncrement(0.1);
  start_at(0);
  for (int i = 0; i < 3; ++i) s->StepBy(1);
  EXPECT_EQ(s->Value(), 0.3) << "no drift from adding tenths";
  s->SetValue(2.25);
  EXPECT_EQ(s->Value(), 2.3) << "half away from zero";
  s->SetValue(-0.04);
  EXPECT_EQ(s->DisplayText(), u"0.0") << "no negative zero";
  start_at(1.3);
  s->SetDecimals(0);
  EXPECT_EQ(changes, 1);
  s->SetIncrement(0.4);  // below the precision: one unit per step
  s->StepBy(1);
  EXPECT_EQ(s->Value(), 2);
}

TEST(ValueScrollerWheel, StepsPerNotchAddingUpFineTurnsEvenAcrossASidewaysTurnAndPagesWithCtrl) {
  struct row {
    int deltas[3];
    TShiftState shift;
    double to;
  } const rows[] = {
      {{120, 0, 0}, 0, 55}, {{-240, 0, 0}, 0, 40}, {{60, 60, 0}, 0, 55},
      {{60, -60, 0}, 0, 50}, {{90, 90, 90}, 0, 60}, {{120, 0, 0}, ssCtrl, 70},
      {{60, 0, 60}, 0, 55},  // a turn of nothing (a sideways wheel) keeps what was turned
  };
  for (const row& r : rows) {
    SCOPED_TRACE(std::to_string(r.deltas[0]) + "," + std::to_string(r.deltas[1]));
    TValueScroller w(nullptr);
    w.SetIncrement(5);
    w.SetPageIncrement(20);
    w.SetValue(50);
    for (int d : r.deltas) w.MouseWheel(r.shift, d, {});
    EXPECT_EQ(w.Value(), r.to);
  }
  TValueScroller w(nullptr);
  w.OnMouseWheel = [](TObject*, TShiftState, int, TPoint, bool& handled) { handled = true; };
  EXPECT_TRUE(w.MouseWheel(0, 120, {}));
  EXPECT_EQ(w.Value(), 0) << "OnMouseWheel handled it";
}

TEST_F(scroller_form, DraggingAcrossTheWidthCoversTheRangeInWholeStepsAndArrowsStep) {
  start_at(50);
  form.SetActiveControl(nullptr);
  s->MouseDown(mbLeft, ssLeft, 40, 12);
  EXPECT_EQ(form.ActiveControl(), s) << "a press takes the focus";
  const std::pair<int, double> moves[] = {{80, 70}, {47, 55}, {-400, 0}};  // 40 px of 200 = 20
  for (auto [x, value] : moves) {
    s->MouseMove(ssLeft, x, 12);
    EXPECT_EQ(s->Value(), value) << x;
  }
  s->MouseUp(mbLeft, 0, -400, 12);
  s->MouseMove(0, 200, 12);
  EXPECT_EQ(changes, 3) << "the drag ended";
  EXPECT_EQ(form.DispatchKeyDown(VK_ESCAPE, 0), VK_ESCAPE) << "no drag to cancel";
  s->MouseDown(mbLeft, ssLeft, 40, 12);
  s->MouseMove(ssLeft, 120, 12);
  EXPECT_EQ(form.DispatchKeyDown(VK_ESCAPE, 0), 0);
  s->MouseMove(ssLeft, 160, 12);
  EXPECT_EQ(s->Value(), 0) << "cancelled: back to the value at the press";
  EXPECT_EQ(changes, 5);
  s->MouseDown(mbLeft, ssLeft, 195, 3);  // upper arrow
  EXPECT_EQ(s->Value(), 5);
  s->MouseDown(mbLeft, ssLeft, 190, 20);  // lower arrow
  EXPECT_EQ(s->Value(), 0);
  EXPECT_FALSE(s->Dragging());
}

TEST(ValueScrollerText, ShowsTheValueWithItsUnitOrTheUnitSystemsText) {
  struct row {
    TValueUnits units;
    int decimals;
    const char16_t* unit;
    double value;
    int system;
    const char16_t* text;
  } const rows[] = {
      {vuNone, 1, u"mm", 12.5, 0, u"12.5 mm"},    {vuNone, 2, u"", -3, 0, u"-3.00"},
      {vuDistance, 0, u"", 8045, 1, u"5.00 miles"},  // the unit texts' own table checks the rest
      {vuSpeed, 0, u"", 10, 0, u"36.0 km/h"},     {vuArea, 0, u"", 1000000, 0, u"1.000 km2"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.value);
    unitsSystem = r.system;
    TValueScroller s(nullptr);
    s.SetRange(-1e7, 1e7);
    s.SetDecimals(r.decimals);
    s.SetUnits(r.units);
    s.SetUnitText(r.unit);
    s.SetValue(r.value);
    EXPECT_EQ(s.DisplayText(), r.text);
  }
  unitsSystem = 0;
}

}  // namespace
}  // namespace xum
