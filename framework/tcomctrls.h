// The common controls: list views with columns, tree views with selection,
// tool bars and their buttons, the value list editor and the progress bar.
//
//   auto* view = new xum::TListView(form);
//   view->Columns().Add()->SetCaption(u"Name");
//   view->Items().Add()->SetCaption(u"first");
//
// Thread safety: controls belong to the main thread.
#ifndef XUM_FRAMEWORK_TCOMCTRLS_H
#define XUM_FRAMEWORK_TCOMCTRLS_H

#include <memory>
#include <vector>

#include "core/xexport.h"
#include "framework/timglist.h"
#include "framework/tstdctrls.h"
#include "framework/tstrings.h"

namespace xum {

class XUM_API TListColumn {
 public:
  const UnicodeString& Caption() const noexcept { return FCaption; }
  void SetCaption(const UnicodeString& Value) { FCaption = Value; }
  int Width() const noexcept { return FWidth; }
  void SetWidth(int Value) noexcept { FWidth = Value; }

 private:
  UnicodeString FCaption;
  int FWidth = 50;
};

class XUM_API TListColumns {
 public:
  int Count() const noexcept { return static_cast<int>(FItems.size()); }
  // Column i; out of range throws xexception 0.
  TListColumn* Items(int Index) const;
  TListColumn* Add();
  void Delete(int Index);
  void Clear() { FItems.clear(); }

 private:
  std::vector<std::unique_ptr<TListColumn>> FItems;
};

class XUM_API TListItem {
 public:
  const UnicodeString& Caption() const noexcept { return FCaption; }
  void SetCaption(const UnicodeString& Value) { FCaption = Value; }
  TStrings& SubItems() noexcept { return FSubItems; }
  bool Selected() const noexcept { return FSelected; }
  void SetSelected(bool Value) noexcept { FSelected = Value; }
  void* Data() const noexcept { return FData; }
  void SetData(void* Value) noexcept { FData = Value; }

 private:
  UnicodeString FCaption;
  TStringList FSubItems;
  bool FSelected = false;
  void* FData = nullptr;
};

class XUM_API TListItems {
 public:
  int Count() const noexcept { return static_cast<int>(FItems.size()); }
  TListItem* Item(int Index) const;
  TListItem* Add();
  void Delete(int Index);
  void Clear() { FItems.clear(); }

 private:
  std::vector<std::unique_ptr<TListItem>> FItems;
};

enum TViewStyle { vsIcon, vsSmallIcon, vsList, vsReport };

class XUM_API TCustomListView : public TCustomMultiSelectListControl {
 public:
  using TCustomMultiSelectListControl::TCustomMultiSelectListControl;
  TListColumns& Columns() noexcept { return FColumns; }
  const TListColumns& Columns() const noexcept { return FColumns; }
  TListItems& Items() noexcept { return FItems; }
  const TListItems& Items() const noexcept { return FItems; }
  TViewStyle ViewStyle() const noexcept { return FViewStyle; }
  void SetViewStyle(TViewStyle Value) noexcept { FViewStyle = Value; }

  int ItemCount() const override { return FItems.Count(); }
  // The first selected item, or -1.
  int ItemIndex() const override;
  // Selects only item Value (-1 clears the selection).
  void SetItemIndex(int Value) override;
  int SelCount() const override;
  TListItem* Selected() const;

 private:
  TListColumns FColumns;
  TListItems FItems;
  TViewStyle FViewStyle = vsReport;
};

class XUM_API TListView : public TCustomListView {
 public:
  using TCustomListView::TCustomListView;
};

class XUM_API TTreeNode {
 public:
  const UnicodeString& Text() const noexcept { return FText; }
  void SetText(const UnicodeString& Value) { FText = Value; }
  TTreeNode* Parent() const noexcept { return FParent; }
  int Count() const noexcept { return static_cast<int>(FChildren.size()); }
  TTreeNode* Item(int Index) const;
  bool Selected() const noexcept { return FSelected; }
  void* Data() const noexcept { return FData; }
  void SetData(void* Value) noexcept { FData = Value; }

 private:
  friend class TTreeNodes;
  friend class TCustomTreeView;
  UnicodeString FText;
  TTreeNode* FParent = nullptr;
  std::vector<std::unique_ptr<TTreeNode>> FChildren;
  bool FSelected = false;
  void* FData = nullptr;
};

class TCustomTreeView;

class XUM_API TTreeNodes {
 public:
  explicit TTreeNodes(TCustomTreeView* View = nullptr) : FView(View) {}
  // Every node, depth first, in order.
  int Count() const;
  TTreeNode* Item(int Index) const;
  // A new last child of Parent (null: a new root node).
  TTreeNode* AddChild(TTreeNode* Parent, const UnicodeString& S);
  // A new last sibling of Sibling (null: a new root node).
  TTreeNode* Add(TTreeNode* Sibling, const UnicodeString& S);
  void Delete(TTreeNode* Node);
  void Clear();

 private:
  friend class TCustomTreeView;
  TCustomTreeView* FView;
  std::vector<std::unique_ptr<TTreeNode>> FRoots;
};

class XUM_API TCustomTreeView : public TWinControl {
 public:
  explicit TCustomTreeView(TComponent* AOwner);
  TTreeNodes& Items() noexcept { return FItems; }
  bool MultiSelect() const noexcept { return FMultiSelect; }
  void SetMultiSelect(bool Value) noexcept { FMultiSelect = Value; }
  // The current node (the last one selected), or null.
  TTreeNode* Selected() const noexcept { return FSelected; }
  // Selects Node; with multi-selection, Add keeps the other selected nodes.
  void Select(TTreeNode* Node, bool Add = false);
  void ClearSelection();
  int SelectionCount() const;

 private:
  friend class TTreeNodes;
  TTreeNodes FItems{this};
  TTreeNode* FSelected = nullptr;
  bool FMultiSelect = false;
};

class XUM_API TTreeView : public TCustomTreeView {
 public:
  using TCustomTreeView::TCustomTreeView;
};

class XUM_API TToolButton : public TGraphicControl {
 public:
  using TGraphicControl::TGraphicControl;
  int ImageIndex() const noexcept { return FImageIndex; }
  void SetImageIndex(int Value) noexcept { FImageIndex = Value; }
  void ActionChanged(TCustomAction& Action) override;

 private:
  int FImageIndex = -1;
};

// A bar of tool buttons drawn from up to three image lists.
class XUM_API TToolBar : public TWinControl {
 public:
  explicit TToolBar(TComponent* AOwner);
  TCustomImageList* Images() const noexcept { return FImages; }
  void SetImages(TCustomImageList* Value) { set_list(FImages, Value); }
  TCustomImageList* HotImages() const noexcept { return FHotImages; }
  void SetHotImages(TCustomImageList* Value) { set_list(FHotImages, Value); }
  TCustomImageList* DisabledImages() const noexcept { return FDisabledImages; }
  void SetDisabledImages(TCustomImageList* Value) { set_list(FDisabledImages, Value); }
  int ButtonWidth() const noexcept { return FButtonWidth; }
  int ButtonHeight() const noexcept { return FButtonHeight; }
  void SetButtonWidth(int Value) noexcept { FButtonWidth = Value; }
  void SetButtonHeight(int Value) noexcept { FButtonHeight = Value; }
  // The tool buttons among the children, in order.
  int ButtonCount() const;
  TToolButton* Buttons(int Index) const;

  void Notification(TComponent* AComponent, TOperation Operation) override;

 private:
  void set_list(TCustomImageList*& field, TCustomImageList* Value);
  TCustomImageList* FImages = nullptr;
  TCustomImageList* FHotImages = nullptr;
  TCustomImageList* FDisabledImages = nullptr;
  int FButtonWidth = 23;
  int FButtonHeight = 22;
};

// A bar that fills as work advances: Position between Min and Max (0 and
// 100 at first), always kept inside them. StepIt adds Step (10), StepBy
// any amount; Style pbstMarquee shows activity without an amount, for work
// whose size is not known.
enum TProgressBarStyle { pbstNormal, pbstMarquee };

class XUM_API TProgressBar : public TWinControl {
 public:
  explicit TProgressBar(TComponent* AOwner);
  int Min() const noexcept { return FMin; }
  int Max() const noexcept { return FMax; }
  int Position() const noexcept { return FPosition; }
  // A Max below Min is raised to Min; Position moves inside the new range.
  void SetRange(int AMin, int AMax) noexcept;
  void SetMin(int Value) noexcept { SetRange(Value, FMax < Value ? Value : FMax); }
  void SetMax(int Value) noexcept { SetRange(FMin, Value); }
  void SetPosition(int Value) noexcept;
  int Step() const noexcept { return FStep; }
  void SetStep(int Value) noexcept { FStep = Value; }
  void StepIt() noexcept { StepBy(FStep); }
  void StepBy(int Delta) noexcept;
  TProgressBarStyle Style() const noexcept { return FStyle; }
  void SetStyle(TProgressBarStyle Value) noexcept { FStyle = Value; }

 private:
  int FMin = 0;
  int FMax = 100;
  int FPosition = 0;
  int FStep = 10;
  TProgressBarStyle FStyle = pbstNormal;
};

// A two-column grid of "Key=Value" lines.
class XUM_API TValueListEditor : public TWinControl {
 public:
  explicit TValueListEditor(TComponent* AOwner);
  TStrings& Strings() noexcept { return FStrings; }
  // The column titles, "Key" and "Value" by default.
  TStrings& TitleCaptions() noexcept { return FTitleCaptions; }
  UnicodeString Values(const UnicodeString& Key) const { return FStrings.Values(Key); }
  void SetValues(const UnicodeString& Key, const UnicodeString& Value) { FStrings.SetValues(Key, Value); }

 private:
  TStringList FStrings;
  TStringList FTitleCaptions;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TCOMCTRLS_H
