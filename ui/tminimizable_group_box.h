// TMinimizableGroupBox: a group box with a small button at the right end of
// its caption that collapses the box to its caption line and back. The box
// remembers its full height, and its parent's layout follows: inside a
// TLayoutPanel column the boxes after a collapsed one move up.
//
//   auto* box = new xum::TMinimizableGroupBox(form);
//   box->SetCaption(u"Advanced");
//   box->SetParent(column);                  // a TLayoutPanel, say
//   box->SetHeight(120);
//   box->OnMinimize = [](xum::TObject* s) { ... };
//   box->SetMinimized(true);                 // 120 is kept; the box is
//   box->SetMinimized(false);                // CaptionHeight() high meanwhile
//
// Properties and events
//   Caption        the title (translated by the component localizer, "@Caption").
//   Minimized      collapsed to CaptionHeight(). While collapsed a height set
//                  through SetBounds (by the program or a parent's layout),
//                  other than the collapsed height itself (a layout moving
//                  the box passes that on), becomes the remembered full
//                  height, and the box stays
//                  collapsed; its children stay where they are, cut off by
//                  the box, and come back with it.
//   ExpandedHeight the full height: the current height while expanded, the
//                  remembered one while collapsed.
//   CaptionHeight  the caption line's height: the font's pixel height + 9.
//   ButtonRect()   where the button is: a square CaptionHeight - 4 wide at
//                  the caption line's right end, 2 pixels in.
//   OnMinimize     runs after each change of Minimized (either way); read
//                  Minimized to tell which.
// Input: a left mouse press inside ButtonRect toggles; the space key
// toggles while the box is the form's active control.
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TMINIMIZABLE_GROUP_BOX_H
#define XUM_UI_TMINIMIZABLE_GROUP_BOX_H

#include "core/xexport.h"
#include "framework/tstdctrls.h"
#include "ui/tlayout_panel.h"

namespace xum {

class XUM_API TMinimizableGroupBox : public TCustomGroupBox {
 public:
  explicit TMinimizableGroupBox(TComponent* AOwner);

  bool Minimized() const noexcept { return FMinimized; }
  void SetMinimized(bool Value);
  // Toggles Minimized, as the caption button does.
  void Toggle() { SetMinimized(!FMinimized); }
  int ExpandedHeight() const noexcept { return FMinimized ? FExpandedHeight : Height(); }
  int CaptionHeight() const noexcept;
  TLayoutRect ButtonRect() const noexcept;

  TNotifyEvent OnMinimize;

  void SetBounds(int ALeft, int ATop, int AWidth, int AHeight) override;
  void MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) override;
  void KeyDown(std::uint16_t& Key, TShiftState Shift) override;

 private:
  bool FMinimized = false;
  int FExpandedHeight = 0;
};

}  // namespace xum

#endif  // XUM_UI_TMINIMIZABLE_GROUP_BOX_H
