#include "ui/tcolor_selector.h"

#include <cstdio>

#include "core/xexception.h"
#include "framework/xui_backend.h"
#include "localization/xcomponent_localizer.h"

namespace xum {

namespace {

void bind_localizer_row() {
  static const bool bound = [] {
    xbind_localizer_class(
        xlocalizer_class::color_selector,
        [](const TComponent* c) { return dynamic_cast<const TColorSelector*>(c) != nullptr; },
        {{"@Caption", [](TComponent* c) { return static_cast<TControl*>(c)->Caption(); },
          [](TComponent* c, const UnicodeString& v) { static_cast<TControl*>(c)->SetCaption(v); }}});
    return true;
  }();
  (void)bound;
}

constexpr std::uint16_t vk_f4 = VK_F1 + 3;

void require(bool condition) {
  if (!condition) throw xexception(xexception::out_of_range);
}

}  // namespace

const std::vector<TColorEntry>& TColorSelector::StandardPalette() {
  static const std::vector<TColorEntry> palette = {
      {0x000000, u"Black"},  {0x000080, u"Maroon"}, {0x008000, u"Green"},   {0x008080, u"Olive"},
      {0x800000, u"Navy"},   {0x800080, u"Purple"}, {0x808000, u"Teal"},    {0x808080, u"Gray"},
      {0xC0C0C0, u"Silver"}, {0x0000FF, u"Red"},    {0x00FF00, u"Lime"},    {0x00FFFF, u"Yellow"},
      {0xFF0000, u"Blue"},   {0xFF00FF, u"Fuchsia"}, {0xFFFF00, u"Aqua"},   {0xFFFFFF, u"White"}};
  return palette;
}

TColorSelector::TColorSelector(TComponent* AOwner)
    : TWinControl(AOwner), FPalette(StandardPalette()) {
  bind_localizer_row();
  SetBounds(0, 0, 160, 23);
}

void TColorSelector::SetColor(TColor Value) {
  require((Value & ~0xFFFFFF) == 0);
  if (Value == FSelected) return;
  FSelected = Value;
  if (OnChange) OnChange(this);
}

void TColorSelector::SetPalette(std::vector<TColorEntry> Value) {
  for (const TColorEntry& e : Value) require((e.Color & ~0xFFFFFF) == 0);
  FPalette = Value.empty() ? StandardPalette() : std::move(Value);
  if (FHotIndex >= ItemCount()) FHotIndex = ItemCount() - 1;
}

int TColorSelector::ItemIndex() const {
  for (std::size_t i = 0; i < FPalette.size(); ++i)
    if (FPalette[i].Color == FSelected) return static_cast<int>(i);
  return -1;
}

UnicodeString TColorSelector::ColorText() const {
  const int index = ItemIndex();
  if (index >= 0) return FPalette[static_cast<std::size_t>(index)].Name;
  char text[8];
  std::snprintf(text, sizeof text, "#%02X%02X%02X", FSelected & 0xFF, (FSelected >> 8) & 0xFF,
                (FSelected >> 16) & 0xFF);
  return UnicodeString(text, text + 7);
}

bool TColorSelector::SelectOther() {
  TColor chosen = FSelected;
  if (!xui().color_dialog(chosen)) return false;
  SetColor(chosen & 0xFFFFFF);
  return true;
}

void TColorSelector::SetDroppedDown(bool Value) {
  if (Value == FDroppedDown) return;
  FDroppedDown = Value;
  if (Value) FHotIndex = ItemIndex() < 0 ? 0 : ItemIndex();
  const TNotifyEvent& event = Value ? OnDropDown : OnCloseUp;
  if (event) event(this);
}

void TColorSelector::SetHotIndex(int Value) {
  require(Value >= 0 && Value < ItemCount());
  FHotIndex = Value;
}

void TColorSelector::Pick(int Index) {
  require(Index >= 0 && Index < ItemCount());
  SetDroppedDown(false);
  if (Index == ItemCount() - 1)
    SelectOther();
  else
    SetColor(FPalette[static_cast<std::size_t>(Index)].Color);
}

void TColorSelector::step(int delta) {
  const int last = static_cast<int>(FPalette.size()) - 1;
  const int index = ItemIndex();
  int next = index < 0 ? (delta > 0 ? 0 : last) : index + delta;
  if (next < 0) next = 0;
  if (next > last) next = last;
  SetColor(FPalette[static_cast<std::size_t>(next)].Color);
}

void TColorSelector::KeyDown(std::uint16_t& Key, TShiftState Shift) {
  TWinControl::KeyDown(Key, Shift);
  if (Key == 0 || !Enabled()) return;
  const bool alt = (Shift & ssAlt) != 0;
  const std::uint16_t key = Key;
  Key = 0;  // consumed unless the switch below says otherwise
  if (FDroppedDown) {
    if (key == VK_ESCAPE || key == vk_f4 || (alt && key == VK_UP))
      SetDroppedDown(false);
    else if (key == VK_UP)
      FHotIndex = FHotIndex > 0 ? FHotIndex - 1 : 0;
    else if (key == VK_DOWN)
      FHotIndex = FHotIndex < ItemCount() - 1 ? FHotIndex + 1 : ItemCount() - 1;
    else if (key == VK_RETURN || key == VK_SPACE)
      Pick(FHotIndex);
    else
      Key = key;
    return;
  }
  if (key == vk_f4 || (alt && key == VK_DOWN))
    SetDroppedDown(true);
  else if (key == VK_UP || key == VK_LEFT)
    step(-1);
  else if (key == VK_DOWN || key == VK_RIGHT)
    step(1);
  else if (key == VK_HOME)
    SetColor(FPalette.front().Color);
  else if (key == VK_END)
    SetColor(FPalette.back().Color);
  else
    Key = key;
}

void TColorSelector::MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) {
  TWinControl::MouseDown(Button, Shift, X, Y);
  if (Button == mbLeft && Enabled()) SetDroppedDown(!FDroppedDown);
}

}  // namespace xum
