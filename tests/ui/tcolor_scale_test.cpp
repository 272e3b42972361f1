#include "ui/tcolor_scale.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "core/xexception.h"

namespace xum {
namespace {

constexpr TColor blue = 0xFF0000;  // 0x00BBGGRR

TEST(ColorScale, InterpolatesEachChannelAndClampsOutsideTheRange) {
  TColorScale scale(nullptr);
  scale.SetRange(0, 10);
  scale.AddStop(1, clRed);  // added out of order
  scale.AddStop(0, blue);
  struct row {
    double value;
    TColor color;
  };
  const row rows[] = {
      {0, blue},          {10, clRed},    {5, 0x800080},  // 127.5 rounds up
      {2.5, 0xBF0040},    {-5, blue},     {15, clRed},
      {INFINITY, clRed},  {-INFINITY, blue},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.value);
    EXPECT_EQ(scale.ColorAt(r.value), r.color);
  }
  EXPECT_EQ(scale.ColorAt(NAN), clNone);
  scale.SetMissingColor(clWhite);
  EXPECT_EQ(scale.ColorAt(NAN), clWhite);
  scale.SetRange(10, 0);  // runs downward
  EXPECT_EQ(scale.ColorAt(10), blue);
  EXPECT_EQ(scale.ColorAt(0), clRed);
  EXPECT_EQ(scale.PixelOf(2.5, 101), 75) << "downward: Min at the far end";
  scale.SetRange(3, 3);
  EXPECT_EQ(scale.ColorAt(3), blue) << "an empty range: at Min the first stop";
  EXPECT_EQ(scale.ColorAt(3.01), clRed);
  scale.SetRange(0, 10);
  const int pixels[][3] = {{5, 101, 50}, {-3, 101, 0}, {99, 101, 100}, {5, 0, 0}};
  for (const auto& [value, length, pixel] : pixels) EXPECT_EQ(scale.PixelOf(value, length), pixel) << value;
}

TEST(ColorScale, SingleNoAndCoincidingStops) {
  TColorScale scale(nullptr);
  scale.SetRange(0, 10);
  EXPECT_EQ(scale.ColorAt(5), clNone) << "no stops: the missing colour";
  scale.AddStop(0.3, clBtnFace);
  for (double v : {-1.0, 0.0, 3.0, 10.0}) EXPECT_EQ(scale.ColorAt(v), 0xF0F0F0) << v;
  scale.ClearStops();
  scale.AddStop(0, clBlack);
  scale.AddStop(0.5, clBlack);
  scale.AddStop(0.5, clWhite);  // a hard edge at 5
  scale.AddStop(1, clWhite);
  EXPECT_EQ(scale.ColorAt(4.99), clBlack);
  EXPECT_EQ(scale.ColorAt(5), clWhite);
  for (double bad : {-0.01, 1.01, static_cast<double>(NAN)}) {
    SCOPED_TRACE(bad);
    EXPECT_THROW(scale.AddStop(bad, clRed), xexception);
  }
  EXPECT_EQ(scale.Stops().size(), 4u);
  EXPECT_THROW(scale.SetRange(0, INFINITY), xexception);
  EXPECT_THROW(scale.SetTickStep(-1), xexception);
}

TEST(ColorScale, TickLabelsUseTheFewestDecimalsThatShowThem) {
  struct row {
    double min, max;
    int count;
    double step;
    const char* labels;
  };
  const row rows[] = {
      {0, 100, 5, 0, "0|25|50|75|100|"},
      {0, 1, 5, 0, "0.00|0.25|0.50|0.75|1.00|"},
      {0, 1, 4, 0, "0.000|0.333|0.667|1.000|"},
      {-10, 30, 5, 10, "-10|0|10|20|30|"},
      {0, 0.3, 5, 0.1, "0.0|0.1|0.2|0.3|"},
      {-0.9, 0.9, 5, 0.3, "-0.9|-0.6|-0.3|0.0|0.3|0.6|0.9|"},
      {10, 0, 5, 4, "10|6|2|"},
      {0, 7, 0, 0, ""},
      {0, 7, 1, 0, "0|"},
      {2, 2, 5, 0, "2|"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(std::to_string(r.min) + ".." + std::to_string(r.max));
    TColorScale scale(nullptr);
    scale.SetRange(r.min, r.max);
    scale.SetTickCount(r.count);
    scale.SetTickStep(r.step);
    std::u16string got;
    for (const TColorScaleTick& t : scale.Ticks()) got += t.Text + u"|";
    EXPECT_EQ(std::string(got.begin(), got.end()), r.labels);
  }
  TColorScale scale(nullptr);
  scale.SetRange(0, 1e6);
  scale.SetTickStep(1);
  EXPECT_EQ(scale.Ticks().size(), 1000u) << "capped";
}

}  // namespace
}  // namespace xum
