#include "framework/tstdctrls.h"

#include "core/xexception.h"

namespace xum {

void TCustomEdit::SetCaption(const UnicodeString& Value) {
  if (Value == Text()) return;
  TWinControl::SetCaption(Value);
  if (OnChange) OnChange(this);
}

void TCustomLabel::SetFocusControl(TWinControl* Value) {
  if (FFocusControl != nullptr) RemoveFreeNotification(FFocusControl);
  FFocusControl = Value;
  if (Value != nullptr) FreeNotification(Value);
}

void TCustomLabel::Notification(TComponent* AComponent, TOperation Operation) {
  TGraphicControl::Notification(AComponent, Operation);
  if (Operation == opRemove && AComponent == FFocusControl) FFocusControl = nullptr;
}

void TButton::Click() {
  if (TCustomForm* form = ParentForm(); form != nullptr && FModalResult != mrNone)
    form->SetModalResult(FModalResult);
  TButtonControl::Click();
}

void TCustomCheckBox::SetState(TCheckBoxState Value) { FState = Value; }

void TCustomCheckBox::Click() {
  SetChecked(!Checked());
  TButtonControl::Click();
}

void TRadioButton::SetChecked(bool Value) {
  FChecked = Value;
  if (!Value || Parent() == nullptr) return;
  for (int i = 0; i < Parent()->ControlCount(); ++i) {
    auto* other = dynamic_cast<TRadioButton*>(Parent()->Controls(i));
    if (other != nullptr && other != this) other->FChecked = false;
  }
}

void TRadioButton::Click() {
  SetChecked(true);
  TButtonControl::Click();
}

void TCustomRadioGroup::SetItemIndex(int Value) {
  if (Value < -1 || Value >= FItems.Count()) throw xexception(xexception::out_of_range);
  FItemIndex = Value;
}

void TCustomListControl::SetItemIndex(int Value) {
  if (Value < -1 || Value >= ItemCount()) throw xexception(xexception::out_of_range);
  FItemIndex = Value;
}

TCustomListBox::TCustomListBox(TComponent* AOwner) : TCustomMultiSelectListControl(AOwner) {
  FItems.OnChange = [this](TObject*) { items_changed(); };
}

void TCustomListBox::items_changed() {
  FSelected.resize(static_cast<std::size_t>(FItems.Count()), false);
  if (FItemIndex >= FItems.Count()) FItemIndex = -1;
}

bool TCustomListBox::Selected(int Index) const {
  if (Index < 0 || Index >= FItems.Count()) throw xexception(xexception::out_of_range);
  return MultiSelect() ? bool(FSelected[static_cast<std::size_t>(Index)]) : Index == FItemIndex;
}

void TCustomListBox::SetSelected(int Index, bool Value) {
  if (Index < 0 || Index >= FItems.Count()) throw xexception(xexception::out_of_range);
  if (MultiSelect()) {
    FSelected[static_cast<std::size_t>(Index)] = Value;
  } else if (Value) {
    FItemIndex = Index;
  } else if (FItemIndex == Index) {
    FItemIndex = -1;
  }
}

int TCustomListBox::SelCount() const {
  if (!MultiSelect()) return FItemIndex >= 0 ? 1 : 0;
  int n = 0;
  for (bool s : FSelected) n += s;
  return n;
}

void TCustomListBox::SetItemIndex(int Value) {
  TCustomMultiSelectListControl::SetItemIndex(Value);
  if (MultiSelect() && Value >= 0) FSelected[static_cast<std::size_t>(Value)] = true;
}

TCheckListBox::TCheckListBox(TComponent* AOwner) : TCustomListBox(AOwner) {}

bool TCheckListBox::Checked(int Index) const {
  if (Index < 0 || Index >= Items().Count()) throw xexception(xexception::out_of_range);
  return static_cast<std::size_t>(Index) < FChecked.size() && FChecked[static_cast<std::size_t>(Index)];
}

void TCheckListBox::SetChecked(int Index, bool Value) {
  if (Index < 0 || Index >= Items().Count()) throw xexception(xexception::out_of_range);
  if (FChecked.size() < static_cast<std::size_t>(Items().Count())) FChecked.resize(static_cast<std::size_t>(Items().Count()));
  FChecked[static_cast<std::size_t>(Index)] = Value;
}

TCustomCombo::TCustomCombo(TComponent* AOwner) : TCustomListControl(AOwner) {
  FItems.OnChange = [this](TObject*) {
    if (FItemIndex >= FItems.Count()) FItemIndex = -1;
  };
}

void TCustomCombo::SetItemIndex(int Value) {
  TCustomListControl::SetItemIndex(Value);
  SetText(Value >= 0 ? FItems[Value] : UnicodeString());
  if (OnChange) OnChange(this);
}

}  // namespace xum
