#include "framework/tcomctrls.h"

#include "core/xexception.h"

namespace xum {

namespace {

template <class T>
T* item_at(const std::vector<std::unique_ptr<T>>& items, int Index) {
  if (Index < 0 || Index >= static_cast<int>(items.size())) throw xexception(xexception::out_of_range);
  return items[static_cast<std::size_t>(Index)].get();
}

template <class T>
void erase_at(std::vector<std::unique_ptr<T>>& items, int Index) {
  if (Index < 0 || Index >= static_cast<int>(items.size())) throw xexception(xexception::out_of_range);
  items.erase(items.begin() + Index);
}

}  // namespace

TListColumn* TListColumns::Items(int Index) const { return item_at(FItems, Index); }
TListColumn* TListColumns::Add() { return FItems.emplace_back(std::make_unique<TListColumn>()).get(); }
void TListColumns::Delete(int Index) { erase_at(FItems, Index); }

TListItem* TListItems::Item(int Index) const { return item_at(FItems, Index); }
TListItem* TListItems::Add() { return FItems.emplace_back(std::make_unique<TListItem>()).get(); }
void TListItems::Delete(int Index) { erase_at(FItems, Index); }

int TCustomListView::ItemIndex() const {
  for (int i = 0; i < FItems.Count(); ++i)
    if (FItems.Item(i)->Selected()) return i;
  return -1;
}

void TCustomListView::SetItemIndex(int Value) {
  if (Value < -1 || Value >= FItems.Count()) throw xexception(xexception::out_of_range);
  for (int i = 0; i < FItems.Count(); ++i) FItems.Item(i)->SetSelected(i == Value);
}

int TCustomListView::SelCount() const {
  int n = 0;
  for (int i = 0; i < FItems.Count(); ++i) n += FItems.Item(i)->Selected();
  return MultiSelect() ? n : (n > 0 ? 1 : 0);
}

TListItem* TCustomListView::Selected() const {
  const int i = ItemIndex();
  return i < 0 ? nullptr : FItems.Item(i);
}

TTreeNode* TTreeNode::Item(int Index) const { return item_at(FChildren, Index); }

namespace {

// Every node below `level`, depth first, in order.
void walk_node(TTreeNode* node, std::vector<TTreeNode*>& out) {
  out.push_back(node);
  for (int i = 0; i < node->Count(); ++i) walk_node(node->Item(i), out);
}

void walk(const std::vector<std::unique_ptr<TTreeNode>>& level, std::vector<TTreeNode*>& out) {
  for (const auto& node : level) walk_node(node.get(), out);
}

}  // namespace

int TTreeNodes::Count() const {
  std::vector<TTreeNode*> all;
  walk(FRoots, all);
  return static_cast<int>(all.size());
}

TTreeNode* TTreeNodes::Item(int Index) const {
  std::vector<TTreeNode*> all;
  walk(FRoots, all);
  if (Index < 0 || Index >= static_cast<int>(all.size())) throw xexception(xexception::out_of_range);
  return all[static_cast<std::size_t>(Index)];
}

TTreeNode* TTreeNodes::AddChild(TTreeNode* Parent, const UnicodeString& S) {
  auto node = std::make_unique<TTreeNode>();
  node->FText = S;
  node->FParent = Parent;
  auto& level = Parent ? Parent->FChildren : FRoots;
  return level.emplace_back(std::move(node)).get();
}

TTreeNode* TTreeNodes::Add(TTreeNode* Sibling, const UnicodeString& S) {
  return AddChild(Sibling ? Sibling->FParent : nullptr, S);
}

void TTreeNodes::Delete(TTreeNode* Node) {
  if (Node == nullptr) return;
  // The view's current node may be the deleted one or below it.
  if (FView != nullptr) {
    for (TTreeNode* n = FView->FSelected; n != nullptr; n = n->FParent)
      if (n == Node) FView->FSelected = nullptr;
  }
  auto& level = Node->FParent ? Node->FParent->FChildren : FRoots;
  std::erase_if(level, [Node](const std::unique_ptr<TTreeNode>& n) { return n.get() == Node; });
}

void TTreeNodes::Clear() {
  FRoots.clear();
  if (FView != nullptr) FView->FSelected = nullptr;
}


TCustomTreeView::TCustomTreeView(TComponent* AOwner) : TWinControl(AOwner) {}

void TCustomTreeView::Select(TTreeNode* Node, bool Add) {
  if (!(FMultiSelect && Add)) ClearSelection();
  FSelected = Node;
  if (Node != nullptr) Node->FSelected = true;
}

void TCustomTreeView::ClearSelection() {
  std::vector<TTreeNode*> all;
  walk(FItems.FRoots, all);
  for (TTreeNode* n : all) n->FSelected = false;
  FSelected = nullptr;
}

int TCustomTreeView::SelectionCount() const {
  std::vector<TTreeNode*> all;
  walk(FItems.FRoots, all);
  int n = 0;
  for (TTreeNode* node : all) n += node->FSelected;
  return n;
}

void TToolButton::ActionChanged(TCustomAction& Action) {
  TGraphicControl::ActionChanged(Action);
  FImageIndex = Action.ImageIndex();
}

TToolBar::TToolBar(TComponent* AOwner) : TWinControl(AOwner) {}

void TToolBar::set_list(TCustomImageList*& field, TCustomImageList* Value) {
  if (field == Value) return;
  TCustomImageList* old = field;
  field = Value;
  // Another of the three lists may still point at the old one.
  if (old != nullptr && old != FImages && old != FHotImages && old != FDisabledImages) RemoveFreeNotification(old);
  if (Value != nullptr) FreeNotification(Value);
}

int TToolBar::ButtonCount() const {
  int n = 0;
  for (int i = 0; i < ControlCount(); ++i) n += dynamic_cast<TToolButton*>(Controls(i)) != nullptr;
  return n;
}

TToolButton* TToolBar::Buttons(int Index) const {
  for (int i = 0; i < ControlCount(); ++i) {
    auto* b = dynamic_cast<TToolButton*>(Controls(i));
    if (b != nullptr && Index-- == 0) return b;
  }
  throw xexception(xexception::out_of_range);
}

void TToolBar::Notification(TComponent* AComponent, TOperation Operation) {
  TWinControl::Notification(AComponent, Operation);
  if (Operation != opRemove) return;
  if (AComponent == FImages) FImages = nullptr;
  if (AComponent == FHotImages) FHotImages = nullptr;
  if (AComponent == FDisabledImages) FDisabledImages = nullptr;
}

TValueListEditor::TValueListEditor(TComponent* AOwner) : TWinControl(AOwner) {
  FTitleCaptions.Add(u"Key");
  FTitleCaptions.Add(u"Value");
}

// ---- TProgressBar ----

TProgressBar::TProgressBar(TComponent* AOwner) : TWinControl(AOwner) { SetBounds(0, 0, 150, 17); }

void TProgressBar::SetRange(int AMin, int AMax) noexcept {
  FMin = AMin;
  FMax = AMax < AMin ? AMin : AMax;
  SetPosition(FPosition);
}

void TProgressBar::SetPosition(int Value) noexcept { FPosition = Value < FMin ? FMin : Value > FMax ? FMax : Value; }

void TProgressBar::StepBy(int Delta) noexcept {
  const long long next = static_cast<long long>(FPosition) + Delta;
  SetPosition(next < FMin ? FMin : next > FMax ? FMax : static_cast<int>(next));
}

}  // namespace xum
