#include "ui/tvalue_scroller.h"

#include <cmath>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "framework/tforms.h"

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
  const std::tuple<double, std::uint16_t, double> rows[] = {
      {50, VK_LEFT, 45}, {50, VK_NEXT, 30},   {50, VK_END, 100},
      {100, VK_UP, 100}, {90, VK_PRIOR, 100},
  };
  for (const auto& [from, key, to] : rows) {
    SCOPED_TRACE("from " + std::to_string(from) + " key " + std::to_string(key));
    start_at(from);
    EXPECT_EQ(form.DispatchKeyDown(key, 0), 0) << "consumed, even at a bound";
    EXPECT_EQ(s->Value(), to);
    EXPECT_EQ(changes, to != from ? 1 : 0);
  }
  EXPECT_EQ(form.DispatchKeyDown('A', 0), 'A') << "other keys go on";
}

TEST_F(scroller_form, BoundsKeepMinBelowMaxAndValuesAreRoundedToTheirDecimals) {
  s->SetValue(150);
  s->SetValue(100);  // a clamp to the value it has is no change
  s->SetMin(120);    // above Max: Max follows
  EXPECT_EQ(s->Max(), 120);
  EXPECT_EQ(s->Value(), 120);
  EXPECT_EQ(changes, 2);
  EXPECT_THROW(s->SetRange(0, INFINITY), xexception);
  EXPECT_EQ(s->Max(), 120) << "nothing changed";
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
}

}  // namespace
}  // namespace xum
