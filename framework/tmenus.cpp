#include "framework/tmenus.h"

#include <algorithm>

#include "core/xexception.h"

namespace xum {

TMenuItem::TMenuItem(TComponent* AOwner) : TComponent(AOwner) {}

TMenuItem::~TMenuItem() {
  SetAction(nullptr);
  if (FParent != nullptr) FParent->Remove(this);
  Clear();
}

void TMenuItem::SetAction(TCustomAction* Value) { SetActionLink(*this, FAction, Value); }

void TMenuItem::ActionReleased(TBasicAction& Action) {
  if (&Action == FAction) FAction = nullptr;
}

void TMenuItem::ActionChanged(TCustomAction& Action) {
  FCaption = Action.Caption();
  FHint = Action.Hint();
  FEnabled = Action.Enabled();
  FVisible = Action.Visible();
  FChecked = Action.Checked();
  FImageIndex = Action.ImageIndex();
}

TMenuItem* TMenuItem::Items(int Index) const {
  if (Index < 0 || Index >= Count()) throw xexception(xexception::out_of_range);
  return FItems[static_cast<std::size_t>(Index)];
}

void TMenuItem::Add(TMenuItem* Item) { Insert(Count(), Item); }

void TMenuItem::Insert(int Index, TMenuItem* Item) {
  if (Item == nullptr) return;
  if (Index < 0 || Index > Count()) throw xexception(xexception::out_of_range);
  for (const TMenuItem* p = this; p != nullptr; p = p->FParent)
    if (p == Item) throw xexception(xexception::out_of_range);  // would contain itself
  if (Item->FParent != nullptr) {
    Item->FParent->Remove(Item);
    Index = std::min(Index, Count());
  }
  FItems.insert(FItems.begin() + Index, Item);
  Item->FParent = this;
}

void TMenuItem::Delete(int Index) {
  TMenuItem* item = Items(Index);
  FItems.erase(FItems.begin() + Index);
  item->FParent = nullptr;
}

void TMenuItem::Remove(TMenuItem* Item) {
  const int i = IndexOf(Item);
  if (i >= 0) Delete(i);
}

int TMenuItem::IndexOf(const TMenuItem* Item) const {
  const auto it = std::find(FItems.begin(), FItems.end(), Item);
  return it == FItems.end() ? -1 : static_cast<int>(it - FItems.begin());
}

void TMenuItem::Clear() {
  while (!FItems.empty()) delete FItems.back();  // each leaves the list itself
}

void TMenuItem::Click() {
  if (!FEnabled) return;
  if (OnClick)
    OnClick(this);
  else if (FAction != nullptr)
    FAction->Execute();
}

}  // namespace xum
