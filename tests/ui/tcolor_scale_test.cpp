#include "ui/tcolor_scale.h"

#include <cmath>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "core/xexception.h"

namespace xum {
namespace {

constexpr TColor blue = 0xFF0000, navy = 0x800000;

TEST(ColorScale, InterpolatesEachChannelAndClampsOutsideTheRange) {
  TColorScale scale(nullptr);
  scale.SetRange(0, 10);
  scale.AddStop(1, clRed);  // added out of order
  scale.AddStop(0, blue);
  const std::pair<double, TColor> rows[] = {
      {5, 0x800080}, {2.5, 0xBF0040}, {-5, blue}, {INFINITY, clRed}, {NAN, clNone}};
  for (const auto& [value, color] : rows) {
    SCOPED_TRACE(value);
    EXPECT_EQ(scale.ColorAt(value), color);  // 127.5 rounds up
  }
  EXPECT_EQ(scale.PixelOf(2.5, 101), 25);
  scale.AddStop(0.5, clBlack);
  scale.AddStop(0.5, clWhite);  // a hard edge at 5
  EXPECT_EQ(scale.ColorAt(2.5), navy);
  EXPECT_EQ(scale.ColorAt(5), clWhite);
  EXPECT_EQ(scale.ColorAt(7.5), 0x8080FF);
  EXPECT_THROW(scale.AddStop(1.01, clRed), xexception);
}

TEST(ColorScale, TickLabelsUseTheFewestDecimalsThatShowThem) {
  // Min, Max, the count of ticks or else their step, the labels.
  const std::tuple<double, double, int, double, const char*> rows[] = {
      {0, 1, 4, 0, "0.000|0.333|0.667|1.000|"},
      {-0.9, 0.9, 5, 0.3, "-0.9|-0.6|-0.3|0.0|0.3|0.6|0.9|"},
  };
  for (const auto& [min, max, count, step, labels] : rows) {
    SCOPED_TRACE(labels);
    TColorScale scale(nullptr);
    scale.SetRange(min, max);
    scale.SetTickCount(count);
    scale.SetTickStep(step);
    std::u16string got;
    for (const TColorScaleTick& t : scale.Ticks()) got += t.Text + u"|";
    EXPECT_EQ(std::string(got.begin(), got.end()), labels);
  }
  TColorScale scale(nullptr);
  scale.SetRange(0, 1e6);
  scale.SetTickStep(1);
  EXPECT_EQ(scale.Ticks().size(), 1000u) << "capped";
}

}  // namespace
}  // namespace xum
