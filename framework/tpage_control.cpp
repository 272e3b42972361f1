#include "framework/tpage_control.h"

#include <algorithm>

#include "core/xexception.h"
#include "framework/tforms.h"

namespace xum {

TPageControl::TPageControl(TComponent* AOwner) : TWinControl(AOwner) {
  SetBounds(0, 0, 289, 193);
}

int TPageControl::PageCount() const {
  int count = 0;
  for (int i = 0; i < ControlCount(); ++i)
    if (dynamic_cast<TTabSheet*>(Controls(i)) != nullptr) ++count;
  return count;
}

TTabSheet* TPageControl::Pages(int Index) const {
  for (int i = 0, page = 0; i < ControlCount(); ++i)
    if (auto* sheet = dynamic_cast<TTabSheet*>(Controls(i)); sheet && page++ == Index) return sheet;
  throw xexception(xexception::out_of_range);
}

int TPageControl::ActivePageIndex() const {
  if (FActivePage == nullptr) return -1;
  return FActivePage->PageIndex();
}

void TPageControl::SetActivePage(TTabSheet* Page) {
  if (Page != nullptr && Page->Parent() != this)
    throw EInvalidOperation(u"The tab sheet is not a page of this page control");
  if (Page == FActivePage) return;
  FActivePage = Page;
  Realign();
}

void TPageControl::SetActivePageIndex(int Index) {
  SetActivePage(Index >= 0 && Index < PageCount() ? Pages(Index) : nullptr);
}

bool TPageControl::SelectPage(int Index) {
  if (Index < 0 || Index >= PageCount() || Pages(Index) == FActivePage) return false;
  bool allow = true;
  if (OnChanging) OnChanging(this, allow);
  if (!allow) return false;
  SetActivePage(Pages(Index));
  if (OnChange) OnChange(this);
  return true;
}

void TPageControl::SetTabHeight(int Value) {
  FTabHeight = std::max(0, Value);
  Realign();
}

void TPageControl::AlignControls() {
  // The pages as they are now: their order gives each its index.
  std::vector<TTabSheet*> pages;
  for (int i = 0; i < ControlCount(); ++i)
    if (auto* sheet = dynamic_cast<TTabSheet*>(Controls(i))) {
      sheet->SetPageIndex(static_cast<int>(pages.size()));
      pages.push_back(sheet);
    }
  const int count = static_cast<int>(pages.size());
  if (FActivePage != nullptr && std::find(pages.begin(), pages.end(), FActivePage) == pages.end()) {
    // The active page left: the page now in its place, else the nearest
    // one with a tab after it, else before it. (The pointer is compared,
    // never followed: the page may be destroyed.)
    FActivePage = nullptr;
    for (int i = std::max(0, FActiveIndex); i < count && FActivePage == nullptr; ++i)
      if (pages[i]->TabVisible()) FActivePage = pages[i];
    for (int i = std::min(FActiveIndex, count) - 1; i >= 0 && FActivePage == nullptr; --i)
      if (pages[i]->TabVisible()) FActivePage = pages[i];
  } else if (FActivePage == nullptr && count > FPageCount) {
    FActivePage = pages.back();  // a page arrived at a control showing none
  }
  FPageCount = count;
  FActiveIndex = FActivePage != nullptr ? FActivePage->PageIndex() : -1;
  for (TTabSheet* sheet : pages) {
    sheet->SetBounds(0, FTabHeight, Width(), std::max(0, Height() - FTabHeight));
    sheet->SetVisible(sheet == FActivePage);
  }
}

}  // namespace xum
