#include "ui/txum_speed_button.h"

#include <algorithm>

#include "core/xexception.h"
#include "imaging/xbmp.h"

namespace xum {

TxumSpeedButton::TxumSpeedButton(TComponent* AOwner) : TGraphicControl(AOwner) {}

TxumSpeedButton::~TxumSpeedButton() = default;

void TxumSpeedButton::SetGlyph(const TBitmap& Value) {
  if (!Value.Empty() && Value.PixelFormat() != pf24bit && Value.PixelFormat() != pf32bit)
    throw xexception(bmp::wrong_format);
  FGlyph.Assign(Value);
  FLooksMade = false;
}

void TxumSpeedButton::make_looks() const {
  FLooksMade = true;
  FLooksColor = Color();
  for (TBitmap& look : FLooks) look.SetSize(0, 0);
  if (FGlyph.Empty()) return;
  xbmp source;
  source.assign(&FGlyph);
  const int w = source.width(), h = source.abs_height();
  const bool has_alpha = source.bytes_per_pixel() == 4;
  const unsigned clear = source.get_pixel(0, h - 1);
  // The glyph functions take square frames with straight alpha.
  const int side = std::max(w, h);
  xglyph frame;
  frame.create(side, side, 4);
  const int ox = (side - w) / 2, oy = (side - h) / 2;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const unsigned p = source.get_pixel(x, y);
      frame.set_pixel(ox + x, oy + y, has_alpha ? p : p == clear ? 0u : p | 0xFF000000u);
    }
  const unsigned background = xcolor_to_pixel(Color()) | 0xFF000000u;
  for (xglyph_state state : {glyph_normal, glyph_hot, glyph_disabled})
    frame.state_image(0, state, background, side + 2, 1, 1).assign_to(&FLooks[state]);
}

const TBitmap& TxumSpeedButton::LookImage(xglyph_state Look) const {
  if (Look < glyph_normal || Look > glyph_disabled) throw xexception(xexception::out_of_range);
  if (!FLooksMade || FLooksColor != Color()) make_looks();
  return FLooks[Look];
}

xglyph_state TxumSpeedButton::Look() const noexcept {
  if (!Enabled()) return glyph_disabled;
  return FMouseInControl ? glyph_hot : glyph_normal;
}

TSpeedButtonFrame TxumSpeedButton::Frame() const noexcept {
  if (FDown || (FPressed && FPressInside)) return sbfLowered;
  if (!FFlat || (Enabled() && FMouseInControl)) return sbfRaised;
  return sbfFlat;
}

std::vector<TxumSpeedButton*> TxumSpeedButton::group() const {
  std::vector<TxumSpeedButton*> out;
  if (FGroupIndex == 0 || Parent() == nullptr) return out;
  for (int i = 0; i < Parent()->ControlCount(); ++i)
    if (auto* b = dynamic_cast<TxumSpeedButton*>(Parent()->Controls(i));
        b != nullptr && b != this && b->FGroupIndex == FGroupIndex)
      out.push_back(b);
  return out;
}

void TxumSpeedButton::SetDown(bool Value) {
  if (FGroupIndex == 0) Value = false;
  if (Value == FDown) return;
  if (FDown && !FAllowAllUp) return;  // the group keeps its down button
  FDown = Value;
  if (FDown)
    for (TxumSpeedButton* b : group()) b->FDown = false;
}

void TxumSpeedButton::SetGroupIndex(int Value) {
  FGroupIndex = Value;
  if (FGroupIndex == 0)
    FDown = false;
  else if (FDown)
    for (TxumSpeedButton* b : group()) b->FDown = false;
}

void TxumSpeedButton::SetAllowAllUp(bool Value) {
  FAllowAllUp = Value;
  for (TxumSpeedButton* b : group()) b->FAllowAllUp = Value;
}

bool TxumSpeedButton::inside(int X, int Y) const noexcept {
  return X >= 0 && Y >= 0 && X < Width() && Y < Height();
}

void TxumSpeedButton::SetEnabled(bool Value) {
  TGraphicControl::SetEnabled(Value);
  if (!Value) {
    FMouseInControl = false;
    FPressed = false;
  }
}

void TxumSpeedButton::MouseEnter() {
  TGraphicControl::MouseEnter();
  if (Enabled()) FMouseInControl = true;
}

void TxumSpeedButton::MouseLeave() {
  TGraphicControl::MouseLeave();
  FMouseInControl = false;
}

void TxumSpeedButton::MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) {
  TGraphicControl::MouseDown(Button, Shift, X, Y);
  if (Button != mbLeft || !Enabled()) return;
  FPressed = true;
  FPressInside = inside(X, Y);
}

void TxumSpeedButton::MouseMove(TShiftState Shift, int X, int Y) {
  TGraphicControl::MouseMove(Shift, X, Y);
  if (FPressed) FPressInside = inside(X, Y);
}

void TxumSpeedButton::MouseUp(TMouseButton Button, TShiftState Shift, int X, int Y) {
  TGraphicControl::MouseUp(Button, Shift, X, Y);
  if (Button != mbLeft || !FPressed) return;
  FPressed = false;
  if (!Enabled() || !inside(X, Y)) return;
  if (FGroupIndex != 0) SetDown(!FDown);
  Click();
}

}  // namespace xum
