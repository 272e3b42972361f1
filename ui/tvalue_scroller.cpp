#include "ui/tvalue_scroller.h"

#include <cmath>

#include "core/xexception.h"
#include "core/xstr.h"
#include "framework/tforms.h"
#include "ui/uiutils.h"

namespace xum {

namespace {

constexpr int wheel_notch = 120;
constexpr int max_decimals = 9;

void require(bool ok) {
  if (!ok) throw xexception(xexception::out_of_range);
}

}  // namespace

TValueScroller::TValueScroller(TComponent* AOwner) : TWinControl(AOwner) {
  SetColor(clWindow);
}

double TValueScroller::rounded(double v) const {
  const double scale = std::pow(10.0, FDecimals);
  const double r = std::round(v * scale) / scale;
  // A value too large to scale keeps what it has; -0 becomes 0, so that
  // it is never shown with a sign.
  return (std::isfinite(r) ? r : v) + 0.0;
}

double TValueScroller::effective_step(double step) const {
  const double unit = std::pow(10.0, -FDecimals);
  const double s = rounded(step);
  return s < unit ? unit : s;
}

void TValueScroller::change_to(double v) {
  v = rounded(v);
  if (v < FMin) v = FMin;
  if (v > FMax) v = FMax;
  if (v == FValue) return;
  FValue = v;
  if (OnChange) OnChange(this);
}

void TValueScroller::SetValue(double Value) {
  require(!std::isnan(Value));
  change_to(Value);
}

void TValueScroller::SetMin(double Value) {
  require(std::isfinite(Value));
  FMin = Value;
  if (FMax < FMin) FMax = FMin;
  change_to(FValue);
}

void TValueScroller::SetMax(double Value) {
  require(std::isfinite(Value));
  FMax = Value;
  if (FMin > FMax) FMin = FMax;
  change_to(FValue);
}

void TValueScroller::SetRange(double AMin, double AMax) {
  require(std::isfinite(AMin) && std::isfinite(AMax) && AMin <= AMax);
  FMin = AMin;
  FMax = AMax;
  change_to(FValue);
}

void TValueScroller::SetIncrement(double Value) {
  require(std::isfinite(Value) && Value > 0);
  FIncrement = Value;
}

void TValueScroller::SetPageIncrement(double Value) {
  require(std::isfinite(Value) && Value > 0);
  FPageIncrement = Value;
}

void TValueScroller::SetDecimals(int Value) {
  require(Value >= 0 && Value <= max_decimals);
  FDecimals = Value;
  change_to(FValue);
}

UnicodeString TValueScroller::DisplayText() const {
  switch (FUnits) {
    case vuDistance:
      return ToUnicode(DistanceText(FValue, false));
    case vuArea:
      return ToUnicode(SquareText(FValue));
    case vuSpeed:
      return ToUnicode(SpeedText(FValue));
    case vuNone:
      break;
  }
  xstr number;
  number.printf("%.*f", FDecimals, FValue);
  UnicodeString text = ToUnicode(number);
  if (!FUnitText.empty()) text += u' ' + FUnitText;
  return text;
}

double TValueScroller::Position() const noexcept {
  return FMax > FMin ? (FValue - FMin) / (FMax - FMin) : 0.0;
}

void TValueScroller::step(int count, bool page) {
  change_to(FValue + count * effective_step(page ? FPageIncrement : FIncrement));
}

void TValueScroller::KeyDown(std::uint16_t& Key, TShiftState Shift) {
  TWinControl::KeyDown(Key, Shift);
  if (Key == 0 || !Enabled()) return;
  switch (Key) {
    case VK_UP:
    case VK_RIGHT:
      step(1, false);
      break;
    case VK_DOWN:
    case VK_LEFT:
      step(-1, false);
      break;
    case VK_PRIOR:
      step(1, true);
      break;
    case VK_NEXT:
      step(-1, true);
      break;
    case VK_HOME:
      change_to(FMin);
      break;
    case VK_END:
      change_to(FMax);
      break;
    case VK_ESCAPE:
      if (!FDragging) return;  // not ours: the form's cancel button may want it
      FDragging = false;
      change_to(FDragValue);
      break;
    default:
      return;
  }
  Key = 0;
}

void TValueScroller::MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) {
  TWinControl::MouseDown(Button, Shift, X, Y);
  if (!Enabled() || Button != mbLeft) return;
  if (TCustomForm* form = ParentForm(); form != nullptr)
    form->SetActiveControl(this);
  if (X >= Width() - ButtonWidth && X < Width()) {
    step(Y < Height() / 2 ? 1 : -1, false);
    return;
  }
  FDragging = true;
  FDragX = X;
  FDragValue = FValue;
}

void TValueScroller::MouseMove(TShiftState Shift, int X, int Y) {
  TWinControl::MouseMove(Shift, X, Y);
  if (!FDragging) return;
  // A release that never reached the control ends the drag.
  if (!(Shift & ssLeft) || !Enabled()) {
    FDragging = false;
    return;
  }
  if (Width() <= 0) return;
  const double s = effective_step(FIncrement);
  const double moved = (X - FDragX) * (FMax - FMin) / Width();
  change_to(FDragValue + std::round(moved / s) * s);
}

void TValueScroller::MouseUp(TMouseButton Button, TShiftState Shift, int X, int Y) {
  TWinControl::MouseUp(Button, Shift, X, Y);
  if (Button == mbLeft) FDragging = false;
}

bool TValueScroller::MouseWheel(TShiftState Shift, int WheelDelta, TPoint MousePos) {
  bool handled = false;
  if (OnMouseWheel) OnMouseWheel(this, Shift, WheelDelta, MousePos, handled);
  if (handled) return true;
  if (!Enabled()) {
    if (Parent() == nullptr) return false;
    return Parent()->MouseWheel(Shift, WheelDelta, TPoint{MousePos.X + Left(), MousePos.Y + Top()});
  }
  if (WheelDelta == 0) return true;  // a sideways turn: nothing to add
  // A turn the other way starts a new notch.
  if (FWheelRest != 0 && (WheelDelta > 0) != (FWheelRest > 0)) FWheelRest = 0;
  const long long turned = static_cast<long long>(FWheelRest) + WheelDelta;  // never overflows
  const int notches = static_cast<int>(turned / wheel_notch);
  FWheelRest = static_cast<int>(turned - static_cast<long long>(notches) * wheel_notch);
  if (notches != 0) step(notches, (Shift & ssCtrl) != 0);
  return true;
}

}  // namespace xum
