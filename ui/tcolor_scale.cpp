#include "ui/tcolor_scale.h"

#include <algorithm>
#include <cmath>

#include "core/xexception.h"
#include "core/xstr.h"
#include "imaging/xglyph.h"

namespace xum {

namespace {

constexpr int max_ticks = 1000;
constexpr int max_label_decimals = 6;

void require(bool ok) {
  if (!ok) throw xexception(xexception::out_of_range);
}

// A stop's colour as plain 0x00BBGGRR.
std::uint32_t plain(TColor color) {
  const unsigned pixel = xcolor_to_pixel(color);  // 0x00RRGGBB
  return (pixel >> 16 & 0xFF) | (pixel & 0xFF00) | (pixel & 0xFF) << 16;
}

double rounded(double v, int decimals) {
  const double scale = std::pow(10.0, decimals);
  return std::round(v * scale) / scale;
}

}  // namespace

TColorScale::TColorScale(TComponent* AOwner) : TGraphicControl(AOwner) {}

void TColorScale::SetRange(double AMin, double AMax) {
  require(std::isfinite(AMin) && std::isfinite(AMax));
  FMin = AMin;
  FMax = AMax;
}

void TColorScale::AddStop(double Position, TColor Color) {
  require(Position >= 0 && Position <= 1);  // false for NaN too
  // After every stop at the same position: the later one starts there.
  auto at = std::upper_bound(FStops.begin(), FStops.end(), Position,
                             [](double p, const TColorStop& s) { return p < s.Position; });
  FStops.insert(at, TColorStop{Position, Color});
}

void TColorScale::SetTickCount(int Value) {
  require(Value >= 0 && Value <= max_ticks);
  FTickCount = Value;
}

void TColorScale::SetTickStep(double Value) {
  require(std::isfinite(Value) && Value >= 0);
  FTickStep = Value;
}

namespace {
double fraction(double v, double min, double max) {
  double t = max != min ? (v - min) / (max - min) : (v <= min ? 0.0 : 1.0);
  return t < 0 ? 0.0 : t > 1 ? 1.0 : t;
}
}  // namespace

TColor TColorScale::ColorAt(double Value) const noexcept {
  if (FStops.empty() || std::isnan(Value)) return FMissingColor;
  const double t = fraction(Value, FMin, FMax);
  // The last stop at or before t.
  auto after = std::upper_bound(FStops.begin(), FStops.end(), t,
                                [](double p, const TColorStop& s) { return p < s.Position; });
  if (after == FStops.begin()) return static_cast<TColor>(plain(FStops.front().Color));
  if (after == FStops.end()) return static_cast<TColor>(plain(FStops.back().Color));
  const TColorStop& a = *(after - 1);
  const TColorStop& b = *after;  // b.Position > t >= a.Position
  const double f = (t - a.Position) / (b.Position - a.Position);
  const std::uint32_t ca = plain(a.Color), cb = plain(b.Color);
  std::uint32_t out = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    const int x = static_cast<int>(ca >> shift & 0xFF), y = static_cast<int>(cb >> shift & 0xFF);
    out |= static_cast<std::uint32_t>(std::lround(x + (y - x) * f)) << shift;
  }
  return static_cast<TColor>(out);
}

int TColorScale::PixelOf(double Value, int Length) const noexcept {
  if (Length <= 1 || std::isnan(Value)) return 0;
  return static_cast<int>(std::lround(fraction(Value, FMin, FMax) * (Length - 1)));
}

std::vector<TColorScaleTick> TColorScale::Ticks() const {
  std::vector<double> values;
  const double span = FMax - FMin;
  if (span == 0) {
    if (FTickStep > 0 || FTickCount > 0) values.push_back(FMin);
  } else if (FTickStep > 0) {
    const double direction = span > 0 ? 1 : -1;
    const double steps = std::floor(std::fabs(span) / FTickStep + 1e-9);
    const int count = static_cast<int>(std::min<double>(steps + 1, max_ticks));
    for (int i = 0; i < count; ++i) values.push_back(FMin + direction * i * FTickStep);
  } else if (FTickCount == 1) {
    values.push_back(FMin);
  } else {
    for (int i = 0; i < FTickCount; ++i)
      values.push_back(i == FTickCount - 1 ? FMax : FMin + span * i / (FTickCount - 1));
  }
  // The fewest decimals that write every value exactly; failing that, the
  // fewest that put each within 1/200 of the spacing of the labels.
  const double scale = std::max({std::fabs(FMin), std::fabs(FMax), std::fabs(span)});
  const double spacing = values.size() > 1 ? std::fabs(values[1] - values[0]) : scale;
  auto fits = [&](int d, double tolerance) {
    return std::all_of(values.begin(), values.end(),
                       [&](double v) { return std::fabs(rounded(v, d) - v) <= tolerance; });
  };
  int decimals = -1;
  for (int d = 0; d <= max_label_decimals && decimals < 0; ++d)
    if (fits(d, 1e-9 * scale)) decimals = d;
  for (int d = 0; d <= max_label_decimals && decimals < 0; ++d)
    if (fits(d, spacing / 200)) decimals = d;
  if (decimals < 0) decimals = max_label_decimals;
  std::vector<TColorScaleTick> ticks;
  for (double v : values) {
    xstr text;
    text.printf("%.*f", decimals, v);
    if (text.length() > 1 && text[0] == '-' &&
        text.str().find_first_not_of("0.", 1) == std::string::npos)
      text = text.str().substr(1).c_str();
    ticks.push_back(TColorScaleTick{v, ToUnicode(text)});
  }
  return ticks;
}

}  // namespace xum
