#include "ui/tminimizable_group_box.h"

#include <cstdlib>

#include "localization/xcomponent_localizer.h"

namespace xum {

namespace {

// The component localizer translates the box's caption; the row is bound
// when the first box is made, before any walk can meet one.
void bind_localizer_row() {
  static const bool bound = [] {
    xbind_localizer_class(
        xlocalizer_class::minimizable_group_box,
        [](const TComponent* c) { return dynamic_cast<const TMinimizableGroupBox*>(c) != nullptr; },
        {{"@Caption", [](TComponent* c) { return static_cast<TControl*>(c)->Caption(); },
          [](TComponent* c, const UnicodeString& v) { static_cast<TControl*>(c)->SetCaption(v); }}});
    return true;
  }();
  (void)bound;
}

// Room above and below the caption's text.
constexpr int caption_padding = 9;
constexpr int button_inset = 2;

}  // namespace

TMinimizableGroupBox::TMinimizableGroupBox(TComponent* AOwner) : TCustomGroupBox(AOwner) {
  bind_localizer_row();
  SetBounds(0, 0, 185, 105);
}

int TMinimizableGroupBox::CaptionHeight() const noexcept {
  return std::abs(Font().Height()) + caption_padding;
}

TLayoutRect TMinimizableGroupBox::ButtonRect() const noexcept {
  const int side = CaptionHeight() - 2 * button_inset;
  return {Width() - button_inset - side, button_inset, side, side};
}

void TMinimizableGroupBox::SetBounds(int ALeft, int ATop, int AWidth, int AHeight) {
  if (FMinimized) {
    // A layout that moves the collapsed box passes its collapsed height on:
    // that is no new height to remember.
    if (AHeight != Height()) FExpandedHeight = AHeight;
    AHeight = CaptionHeight();
  }
  TCustomGroupBox::SetBounds(ALeft, ATop, AWidth, AHeight);
}

void TMinimizableGroupBox::SetMinimized(bool Value) {
  if (Value == FMinimized) return;
  // The state changes first: a parent's layout that runs inside the bounds
  // change sets the height through SetBounds, which must see it.
  if (Value) {
    FExpandedHeight = Height();
    FMinimized = true;
    TCustomGroupBox::SetBounds(Left(), Top(), Width(), CaptionHeight());
  } else {
    FMinimized = false;
    TCustomGroupBox::SetBounds(Left(), Top(), Width(), FExpandedHeight);
  }
  if (OnMinimize) OnMinimize(this);
}

void TMinimizableGroupBox::MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) {
  TCustomGroupBox::MouseDown(Button, Shift, X, Y);
  const TLayoutRect b = ButtonRect();
  if (Button == mbLeft && X >= b.Left && X < b.Left + b.Width && Y >= b.Top && Y < b.Top + b.Height)
    Toggle();
}

void TMinimizableGroupBox::KeyDown(std::uint16_t& Key, TShiftState Shift) {
  TCustomGroupBox::KeyDown(Key, Shift);
  if (Key == VK_SPACE && Shift == 0) {
    Toggle();
    Key = 0;
  }
}

}  // namespace xum
