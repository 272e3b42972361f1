// TColorSelector: a colour chosen from a drop-down palette of named colours,
// or any colour through the UI backend's colour dialog ("Other...").
//
//   auto* ink = new xum::TColorSelector(form);
//   ink->SetParent(form);
//   ink->SetCaption(u"Ink:");
//   ink->SetColor(0x800000);                     // navy: 0x00BBGGRR
//   ink->OnChange = [&](xum::TObject*) { redraw(ink->Color()); };
//   ink->SelectOther();                          // what "Other..." does
//
// Properties and events
//   Color         the chosen colour, 0x00BBGGRR (it stands for the control's
//                 background colour, which a selector does not use). A value
//                 with a high byte (system colours, clNone) throws xexception 0.
//   Caption       a label written before the swatch (translated by the
//                 component localizer, "@Caption").
//   Palette       the drop-down's colours with their names; StandardPalette()
//                 (the default) is the sixteen standard colours: Black,
//                 Maroon, Green, Olive, Navy, Purple, Teal, Gray, Silver, Red,
//                 Lime, Yellow, Blue, Fuchsia, Aqua, White. An empty palette
//                 restores the standard one.
//   ItemIndex     the palette entry of Color; -1 for a colour not in it.
//   ColorText()   the palette name of Color, else "#RRGGBB".
//   OtherCaption  the drop-down's last item, "Other..." by default.
//   DroppedDown   whether the drop-down is open; HotIndex is its highlighted
//                 item (0 .. Palette size - 1, then Palette size for "Other...").
//   OnChange      runs after Color changed (not when set to what it was).
//   OnDropDown, OnCloseUp  run after the drop-down opened or closed (a pick
//                 closes it before the colour changes).
// SelectOther() runs xui().color_dialog from Color: a chosen colour becomes
// Color (true), a cancelled dialog changes nothing (false).
// Keys while closed: Up/Left and Down/Right step through the palette (from a
// colour outside it Down goes to the first entry, Up to the last), Home and
// End go to its ends, Alt+Down or F4 opens. While open: Up/Down move the
// highlight (stopping at the ends), Enter or Space picks it, Escape, Alt+Up
// or F4 closes without a change. A left mouse press opens or closes.
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TCOLOR_SELECTOR_H
#define XUM_UI_TCOLOR_SELECTOR_H

#include <vector>

#include "core/xexport.h"
#include "framework/tcontrol.h"

namespace xum {

struct TColorEntry {
  TColor Color;
  UnicodeString Name;
};

class XUM_API TColorSelector : public TWinControl {
 public:
  explicit TColorSelector(TComponent* AOwner);

  static const std::vector<TColorEntry>& StandardPalette();

  TColor Color() const noexcept { return FSelected; }
  void SetColor(TColor Value);
  const std::vector<TColorEntry>& Palette() const noexcept { return FPalette; }
  void SetPalette(std::vector<TColorEntry> Value);
  int ItemIndex() const;
  UnicodeString ColorText() const;
  const UnicodeString& OtherCaption() const noexcept { return FOtherCaption; }
  void SetOtherCaption(const UnicodeString& Value) { FOtherCaption = Value; }

  bool SelectOther();

  // The drop-down's items: the palette, then "Other...".
  int ItemCount() const noexcept { return static_cast<int>(FPalette.size()) + 1; }
  bool DroppedDown() const noexcept { return FDroppedDown; }
  // Opening highlights the current colour's entry (the first when it has none).
  void SetDroppedDown(bool Value);
  int HotIndex() const noexcept { return FHotIndex; }
  // Out of 0 .. ItemCount() - 1 throws xexception 0.
  void SetHotIndex(int Value);
  // Chooses item `index` as a click in the drop-down does: a palette colour
  // becomes Color, the last item runs SelectOther; the drop-down closes
  // first. Out of range throws xexception 0.
  void Pick(int Index);

  TNotifyEvent OnChange;
  TNotifyEvent OnDropDown;
  TNotifyEvent OnCloseUp;

  void KeyDown(std::uint16_t& Key, TShiftState Shift) override;
  void MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) override;

 private:
  void step(int delta);

  TColor FSelected = clBlack;
  std::vector<TColorEntry> FPalette;
  UnicodeString FOtherCaption = u"Other...";
  bool FDroppedDown = false;
  int FHotIndex = 0;
};

}  // namespace xum

#endif  // XUM_UI_TCOLOR_SELECTOR_H
