// TColorScale: a legend that maps a range of values to colours through
// colour stops, drawn as a colour bar with tick labels. ColorAt gives a
// value's colour without any drawing, for painting maps and charts with the
// same colours the legend shows.
//
//   auto* legend = new xum::TColorScale(form);
//   legend->SetParent(form);
//   legend->SetBounds(8, 200, 240, 40);
//   legend->SetRange(-10, 30);                 // degrees
//   legend->AddStop(0.0, 0xFF0000);            // blue at -10 (0x00BBGGRR)
//   legend->AddStop(0.25, xum::clWhite);       // white at 0
//   legend->AddStop(1.0, xum::clRed);          // red at 30
//   legend->SetTickStep(10);                   // labels -10, 0, 10, 20, 30
//   cell.colour = legend->ColorAt(reading);
//
// Properties
//   Min, Max     the value range shown (0 and 1 at first); both finite, else
//                xexception 0. Min may exceed Max: the bar then runs from
//                the larger value down to the smaller.
//   Stops        colour stops at positions 0 (Min) to 1 (Max), kept ordered
//                by position; stops at one position keep the order they were
//                added in and make a hard edge there: the later stop's colour
//                starts at the position. AddStop refuses a position outside
//                0..1 or NaN (xexception 0). A system colour (such as
//                clBtnFace) is taken as the classic desktop's value.
//   MissingColor the colour of a NaN value and of every value while there
//                are no stops (clNone at first: nothing to paint).
//   TickCount    labels spread evenly from Min to Max, both ends included
//                (5 at first; 1 labels Min only, 0 none; outside 0..1000
//                xexception 0) - used while TickStep is 0. An empty range
//                (Min == Max) has one label.
//   TickStep     > 0: labels at Min, Min + step, ... up to Max (at most 1000
//                labels); 0 (the start): TickCount decides. Negative or not
//                finite: xexception 0.
//   Orientation  soHorizontal: Min at the left, labels below the bar;
//                soVertical: Min at the bottom, labels right of the bar.
//
// ColorAt(value): t = (value - Min) / (Max - Min) clamped to 0..1 (with
// Min == Max: 0 at or below Min, 1 above); before the first stop the first
// stop's colour, after the last the last's, between two stops each of red,
// green and blue interpolated linearly and rounded to the nearest integer.
// A single stop colours every value. ±infinity is clamped like any value.
//
// Tick labels: the fewest decimals (up to 6) that write every tick's value
// exactly (to 1e-9 of the largest of |Min|, |Max| and the span); when none
// does (thirds), the fewest that put each label within 1/200 of the
// spacing of the ticks. "-0" is written "0"; the decimal point is '.'.
//
// Thread safety: the main thread only, as every control; ColorAt is a
// const function and may be called from any thread while nothing changes
// the scale.
#ifndef XUM_UI_TCOLOR_SCALE_H
#define XUM_UI_TCOLOR_SCALE_H

#include <vector>

#include "core/xexport.h"
#include "framework/tcontrol.h"

namespace xum {

struct TColorStop {
  double Position = 0;
  TColor Color = clBlack;
};

struct TColorScaleTick {
  double Value = 0;
  UnicodeString Text;
};

enum TScaleOrientation { soHorizontal, soVertical };

class XUM_API TColorScale : public TGraphicControl {
 public:
  explicit TColorScale(TComponent* AOwner);

  double Min() const noexcept { return FMin; }
  double Max() const noexcept { return FMax; }
  void SetRange(double AMin, double AMax);

  const std::vector<TColorStop>& Stops() const noexcept { return FStops; }
  void AddStop(double Position, TColor Color);
  void ClearStops() noexcept { FStops.clear(); }

  TColor MissingColor() const noexcept { return FMissingColor; }
  void SetMissingColor(TColor Value) noexcept { FMissingColor = Value; }
  int TickCount() const noexcept { return FTickCount; }
  void SetTickCount(int Value);
  double TickStep() const noexcept { return FTickStep; }
  void SetTickStep(double Value);
  TScaleOrientation Orientation() const noexcept { return FOrientation; }
  void SetOrientation(TScaleOrientation Value) noexcept { FOrientation = Value; }

  // The colour of `value` (see the header's notes).
  TColor ColorAt(double Value) const noexcept;
  // The ticks with their labels, from Min towards Max.
  std::vector<TColorScaleTick> Ticks() const;
  // Where `value` falls along a bar `length` pixels long: 0 at Min, length - 1
  // at Max, clamped (the pixel a backend draws its tick at).
  int PixelOf(double Value, int Length) const noexcept;

 private:
  double FMin = 0;
  double FMax = 1;
  std::vector<TColorStop> FStops;
  TColor FMissingColor = clNone;
  int FTickCount = 5;
  double FTickStep = 0;
  TScaleOrientation FOrientation = soHorizontal;
};

}  // namespace xum

#endif  // XUM_UI_TCOLOR_SCALE_H
