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
  if (FParent != nullptr) std::erase(FParent->FControls, this);
  FParent = AParent;
  if (FParent != nullptr) FParent->FControls.push_back(this);
}

void TControl::SetBounds(int ALeft, int ATop, int AWidth, int AHeight) {
  FLeft = ALeft;
  FTop = ATop;
  FWidth = AWidth;
  FHeight = AHeight;
}

void TControl::SetVisible(bool Value) { FVisible = Value; }
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

bool TWinControl::ContainsControl(const TControl* Control) const {
  for (const TControl* c = Control; c != nullptr; c = c->Parent())
    if (c == this) return true;
  return false;
}

}  // namespace xum
