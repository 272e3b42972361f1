// TValueScroller: a number between a minimum and a maximum that the user
// scrolls with the keyboard, the mouse wheel, the arrow buttons at its right
// edge and by dragging, shown with an optional unit after it.
//
//   auto* zoom = new xum::TValueScroller(form);
//   zoom->SetParent(form);
//   zoom->SetBounds(8, 8, 120, 24);
//   zoom->SetRange(10, 400);
//   zoom->SetIncrement(10);
//   zoom->SetPageIncrement(50);
//   zoom->SetUnitText(u"%");               // shown as "100 %"
//   zoom->SetValue(100);
//   zoom->OnChange = [&](xum::TObject*) { view.zoom(zoom->Value()); };
//
// Properties
//   Value          the number, always in [Min, Max] and rounded to Decimals
//                  places (half away from zero) before it is clamped.
//                  Setting it clamps; a NaN is refused (xexception 0).
//   Min, Max       the bounds (0 and 100 at first). SetMin above Max raises
//                  Max to it and SetMax below Min lowers Min to it, so
//                  properties can be set in any order; SetRange(a, b) with
//                  a > b, or a bound that is not finite, is refused
//                  (xexception 0) and changes nothing. A bound change that
//                  moves Value clamps it.
//   Increment      the step of the arrow keys, the wheel, the arrow buttons
//                  and dragging (1); PageIncrement the step of Page Up and
//                  Page Down and of Ctrl with the wheel (10). Both must be
//                  positive and finite (else xexception 0); a step is
//                  rounded to Decimals places and is at least one unit of
//                  the last place, so that a step always moves.
//   Decimals       places kept and shown: 0 (the start) makes an integer
//                  scroller; at most 9. Changing it rounds Value.
//   Units          what the value measures: vuNone shows the value with
//                  Decimals places and UnitText after it ("12.5 mm");
//                  vuDistance (metres), vuArea (square metres) and vuSpeed
//                  (metres per second) show the unit texts of ui/uiutils.h
//                  in the current unit system ("1.2 km", "3.4 miles/h").
//   DisplayText    the text a backend draws.
//
// Input (through the framework's key and mouse virtuals; a disabled
// scroller ignores all of it):
//   Up, Right +Increment; Down, Left -Increment; Page Up +PageIncrement;
//   Page Down -PageIncrement; Home Min; End Max. These keys are consumed
//   (set to 0) even at a bound, so they never move the focus. OnKeyDown
//   sees each key first and may consume it.
//   The wheel: one Increment per notch (120 units; finer wheels add up
//   until a notch is complete, a turn the other way starts afresh, a turn
//   of 0 changes nothing), up increases; with Ctrl, PageIncrement.
//   The wheel is used (not passed to the parent) unless OnMouseWheel
//   handles it first.
//   The left button on the arrow buttons (the rightmost ButtonWidth
//   pixels; upper half +Increment, lower half -Increment) steps once; on
//   the rest of the control it starts a drag: moving the pointer
//   horizontally by the control's width changes the value by Max - Min,
//   in whole Increments from the value at the press; Escape during the
//   drag ends it and puts the value back. A scroller without width does
//   not drag. The press also makes the scroller the form's
//   active control.
//
// Events
//   OnChange       once per change of Value, from any source; never for a
//                  request that leaves it as it was (a step at a bound, a
//                  clamp to the value it already had).
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TVALUE_SCROLLER_H
#define XUM_UI_TVALUE_SCROLLER_H

#include "core/xexport.h"
#include "framework/tcontrol.h"

namespace xum {

enum TValueUnits { vuNone, vuDistance, vuArea, vuSpeed };

class XUM_API TValueScroller : public TWinControl {
 public:
  // Width of the arrow buttons at the right edge, in pixels.
  static constexpr int ButtonWidth = 16;

  explicit TValueScroller(TComponent* AOwner);

  double Value() const noexcept { return FValue; }
  void SetValue(double Value);
  double Min() const noexcept { return FMin; }
  double Max() const noexcept { return FMax; }
  void SetMin(double Value);
  void SetMax(double Value);
  void SetRange(double AMin, double AMax);
  double Increment() const noexcept { return FIncrement; }
  void SetIncrement(double Value);
  double PageIncrement() const noexcept { return FPageIncrement; }
  void SetPageIncrement(double Value);
  int Decimals() const noexcept { return FDecimals; }
  void SetDecimals(int Value);
  TValueUnits Units() const noexcept { return FUnits; }
  void SetUnits(TValueUnits Value) noexcept { FUnits = Value; }
  const UnicodeString& UnitText() const noexcept { return FUnitText; }
  void SetUnitText(const UnicodeString& Value) { FUnitText = Value; }

  UnicodeString DisplayText() const;
  // Where Value lies between Min and Max, 0 to 1 (0 when Min == Max).
  double Position() const noexcept;
  // Moves Value by `steps` Increments (negative: down).
  void StepBy(int steps) { step(steps, false); }
  void PageBy(int pages) { step(pages, true); }
  // Whether a drag started by the left button is under way.
  bool Dragging() const noexcept { return FDragging; }

  void KeyDown(std::uint16_t& Key, TShiftState Shift) override;
  void MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) override;
  void MouseMove(TShiftState Shift, int X, int Y) override;
  void MouseUp(TMouseButton Button, TShiftState Shift, int X, int Y) override;
  bool MouseWheel(TShiftState Shift, int WheelDelta, TPoint MousePos) override;

  TNotifyEvent OnChange;

 private:
  double rounded(double v) const;
  double effective_step(double step) const;
  void step(int count, bool page);
  // Rounds and clamps `v`, stores it and runs OnChange when it differs.
  void change_to(double v);

  double FValue = 0;
  double FMin = 0;
  double FMax = 100;
  double FIncrement = 1;
  double FPageIncrement = 10;
  int FDecimals = 0;
  TValueUnits FUnits = vuNone;
  UnicodeString FUnitText;
  int FWheelRest = 0;
  bool FDragging = false;
  int FDragX = 0;
  double FDragValue = 0;
};

}  // namespace xum

#endif  // XUM_UI_TVALUE_SCROLLER_H
