// TxumSpeedButton: a flat tool-bar button in the XP style: it lies flat on
// its parent until the pointer is over it, then rises; its picture has a
// normal, a hot and a disabled look, all made from one image by the glyph
// functions (imaging/xglyph.h). Buttons with the same GroupIndex under one
// parent behave as a group of speed buttons: at most one of them is down.
//
//   auto* bold = new xum::TxumSpeedButton(form);
//   bold->SetParent(toolbar_panel);
//   bold->SetBounds(4, 4, 24, 24);
//   bold->SetGlyph(bold_picture);           // 32-bit with alpha, or 24-bit
//   bold->SetGroupIndex(1);                 // a group of its own ...
//   bold->SetAllowAllUp(true);              // ... that may be all up: a toggle
//   bold->OnClick = [&](xum::TObject*) { editor.set_bold(bold->Down()); };
//
// Properties
//   Glyph        the picture. A 32-bit image keeps its alpha; in a 24-bit
//                image the bottom-left pixel's colour is transparent, as
//                classic button glyphs are drawn. A picture that is not
//                square is centred in a square of its larger side. Formats
//                below 24 bits are refused (xexception 5).
//   LookImage    the picture in one look (glyph_normal, glyph_hot,
//                glyph_disabled) on the button's Color: (side + 2) pixels
//                square, as xglyph::state_image makes it; empty without a
//                glyph. Made on first use after the glyph or the colour
//                changed.
//   Look         the look to draw now: disabled when not Enabled, hot while
//                the pointer is over the button, else normal.
//   Frame        the edge to draw now: lowered while Down or while the left
//                button is held on the button with the pointer inside it;
//                raised while the pointer is over an enabled button, or
//                always when Flat is false; else flat (no edge).
//   GroupIndex   0 (the start): the button never stays down. Otherwise the
//                buttons of its parent with the same GroupIndex form a group
//                in which at most one is down: putting one down puts the
//                others up.
//   Down         set through SetDown or by a click. A down button of a
//                group goes up only when AllowAllUp is set (a click, or
//                SetDown(false)); otherwise the request is refused and it
//                stays down. Joining a group while down puts the group's
//                other buttons up.
//   AllowAllUp   whether the whole group may be up; setting it on one
//                button sets it on every button of the group.
//
// Input: MouseEnter and MouseLeave make the button hot and cold; a left
// press and a release inside the button is a click: in a group the button
// goes down (or up, as above), then Click runs OnClick or the action. A
// release outside, a disabled button or another mouse button does not
// click. Disabling the button ends its hot and pressed states.
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TXUM_SPEED_BUTTON_H
#define XUM_UI_TXUM_SPEED_BUTTON_H

#include <vector>

#include "core/xexport.h"
#include "framework/tcontrol.h"
#include "framework/tgraphics.h"
#include "imaging/xglyph.h"

namespace xum {

enum TSpeedButtonFrame { sbfFlat, sbfRaised, sbfLowered };

class XUM_API TxumSpeedButton : public TGraphicControl {
 public:
  explicit TxumSpeedButton(TComponent* AOwner);
  ~TxumSpeedButton() override;

  const TBitmap& Glyph() const noexcept { return FGlyph; }
  void SetGlyph(const TBitmap& Value);
  const TBitmap& LookImage(xglyph_state Look) const;
  xglyph_state Look() const noexcept;
  TSpeedButtonFrame Frame() const noexcept;

  int GroupIndex() const noexcept { return FGroupIndex; }
  void SetGroupIndex(int Value);
  bool Down() const noexcept { return FDown; }
  void SetDown(bool Value);
  bool AllowAllUp() const noexcept { return FAllowAllUp; }
  void SetAllowAllUp(bool Value);
  bool Flat() const noexcept { return FFlat; }
  void SetFlat(bool Value) noexcept { FFlat = Value; }

  // The pointer is over the button (between MouseEnter and MouseLeave).
  bool MouseInControl() const noexcept { return FMouseInControl; }
  // The left button was pressed on the button and is still held.
  bool Pressed() const noexcept { return FPressed; }

  void SetEnabled(bool Value) override;
  void MouseEnter() override;
  void MouseLeave() override;
  void MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) override;
  void MouseMove(TShiftState Shift, int X, int Y) override;
  void MouseUp(TMouseButton Button, TShiftState Shift, int X, int Y) override;

 private:
  std::vector<TxumSpeedButton*> group() const;
  bool inside(int X, int Y) const noexcept;
  void make_looks() const;

  TBitmap FGlyph;
  int FGroupIndex = 0;
  bool FDown = false;
  bool FAllowAllUp = false;
  bool FFlat = true;
  bool FMouseInControl = false;
  bool FPressed = false;
  bool FPressInside = false;
  // The looks, made for FLooksColor; FLooksMade is cleared by a new glyph.
  mutable TBitmap FLooks[3];
  mutable bool FLooksMade = false;
  mutable TColor FLooksColor = clNone;
};

}  // namespace xum

#endif  // XUM_UI_TXUM_SPEED_BUTTON_H
