#include "framework/tcontrol.h"

#include <algorithm>

#include "core/xexception.h"
#include "framework/tforms.h"

namespace xum {

TControl::TControl(TComponent* AOwner) : TComponent(AOwner) {}

TControl::~TControl() {
  SetAction(nullptr);
  SetParent(nullptr);
}

void TControl::SetParent(TWinControl* AParent) {
  if (AParent == FParent) return;
  for (const TWinControl* p = AParent; p != nullptr; p = p->FParent)
    if (p == this) throw xexception(xexception::out_of_range);
  TWinControl* old = FParent;
  if (old != nullptr) std::erase(old->FControls, this);
  FParent = AParent;
  if (FParent != nullptr) FParent->FControls.push_back(this);
  // A parent being destroyed is not laid out again.
  if (old != nullptr && !(old->ComponentState() & csDestroying)) old->Realign();
  if (FParent != nullptr && FVisible) FParent->Realign();
}

void TControl::SetBounds(int ALeft, int ATop, int AWidth, int AHeight) {
  if (ALeft == FLeft && ATop == FTop && AWidth == FWidth && AHeight == FHeight) return;
  const bool resized = AWidth != FWidth || AHeight != FHeight;
  FLeft = ALeft;
  FTop = ATop;
  FWidth = AWidth;
  FHeight = AHeight;
  if (resized) Resize();
  if (FParent != nullptr) FParent->Realign();
}

void TControl::Resize() {
  if (auto* self = dynamic_cast<TWinControl*>(this)) self->Realign();
  if (OnResize) OnResize(this);
}

void TControl::SetVisible(bool Value) {
  if (Value == FVisible) return;
  FVisible = Value;
  if (FParent != nullptr) FParent->Realign();
}

void TControl::MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y) {
  if (OnMouseDown) OnMouseDown(this, Button, Shift, X, Y);
}
void TControl::MouseMove(TShiftState Shift, int X, int Y) {
  if (OnMouseMove) OnMouseMove(this, Shift, X, Y);
}
void TControl::MouseUp(TMouseButton Button, TShiftState Shift, int X, int Y) {
  if (OnMouseUp) OnMouseUp(this, Button, Shift, X, Y);
}
void TControl::MouseEnter() {
  if (OnMouseEnter) OnMouseEnter(this);
}
void TControl::MouseLeave() {
  if (OnMouseLeave) OnMouseLeave(this);
}

bool TControl::MouseWheel(TShiftState Shift, int WheelDelta, TPoint MousePos) {
  bool handled = false;
  if (OnMouseWheel) OnMouseWheel(this, Shift, WheelDelta, MousePos, handled);
  if (!handled && FParent != nullptr)
    return FParent->MouseWheel(Shift, WheelDelta,
                               TPoint{MousePos.X + FLeft, MousePos.Y + FTop});
  return handled;
}
void TControl::SetEnabled(bool Value) { FEnabled = Value; }
void TControl::SetCaption(const UnicodeString& Value) { FText = Value; }

void TControl::SetAction(TCustomAction* Value) { SetActionLink(*this, FAction, Value); }

void TControl::ActionReleased(TBasicAction& Action) {
  if (&Action == FAction) FAction = nullptr;
}

void TControl::ActionChanged(TCustomAction& Action) {
  SetCaption(Action.Caption());
  FHint = Action.Hint();
  FHelpKeyword = Action.HelpKeyword();
  SetEnabled(Action.Enabled());
  SetVisible(Action.Visible());
}

void TControl::Click() {
  if (OnClick)
    OnClick(this);
  else if (FAction != nullptr && !(ComponentState() & csDesigning))
    FAction->Execute();
}

TCustomForm* TControl::ParentForm() const {
  const TControl* top = this;
  while (top->FParent != nullptr) top = top->FParent;
  return dynamic_cast<TCustomForm*>(const_cast<TControl*>(top));
}

TWinControl::TWinControl(TComponent* AOwner) : TControl(AOwner) {}

TWinControl::~TWinControl() {
  while (!FControls.empty()) {
    TControl* last = FControls.back();
    // A child that is owned by someone other than this control's own tree
    // is still destroyed: a parent takes its children with it.
    delete last;  // its destructor leaves FControls
  }
}

TControl* TWinControl::Controls(int Index) const {
  if (Index < 0 || Index >= ControlCount()) throw xexception(xexception::out_of_range);
  return FControls[static_cast<std::size_t>(Index)];
}

void TWinControl::KeyDown(std::uint16_t& Key, TShiftState Shift) {
  if (OnKeyDown) OnKeyDown(this, Key, Shift);
}

void TWinControl::KeyPress(char16_t& Key) {
  if (OnKeyPress) OnKeyPress(this, Key);
}

void TWinControl::Realign() {
  if (FAligning || (ComponentState() & csDestroying)) return;
  FAligning = true;
  struct reset {
    bool& flag;
    ~reset() { flag = false; }
  } done{FAligning};
  AlignControls();
}

bool TWinControl::ContainsControl(const TControl* Control) const {
  for (const TControl* c = Control; c != nullptr; c = c->Parent())
    if (c == this) return true;
  return false;
}

}  // namespace xum
