// A page control: tab sheets stacked in one place, one shown at a time,
// chosen by a row of tabs along the top.
//
//   auto* pages = new xum::TPageControl(form);
//   pages->SetParent(form);
//   pages->SetBounds(8, 8, 400, 300);
//   auto* general = new xum::TTabSheet(form);
//   general->SetCaption(u"General");
//   general->SetParent(pages);           // the first sheet becomes active
//   pages->OnChanging = [&](xum::TObject*, bool& allow) { allow = page_is_valid(); };
//
// The pages are the page control's children that are tab sheets, in order;
// each one's PageIndex follows that order. The control lays its sheets out
// itself: every sheet fills the area below the tabs (TabHeight high), and
// only the active page is visible. A sheet whose TabVisible is false has no
// tab but stays a page. A page that arrives while no page is active
// becomes active. When the active page leaves the control, or is destroyed,
// the next page with a tab becomes active (else the nearest one before it),
// or none.
//
// SelectPage is what a click on a tab does: OnChanging may refuse, then the
// page changes and OnChange runs. SetActivePage / SetActivePageIndex are
// the program's own changes and run no events.
//
// Thread safety: the main thread only, as all controls.
#ifndef XUM_FRAMEWORK_TPAGE_CONTROL_H
#define XUM_FRAMEWORK_TPAGE_CONTROL_H

#include <functional>

#include "core/xexport.h"
#include "framework/tcontrol.h"
#include "framework/tstdctrls.h"

namespace xum {

using TTabChangingEvent = std::function<void(TObject* Sender, bool& AllowChange)>;

class XUM_API TPageControl : public TWinControl {
 public:
  explicit TPageControl(TComponent* AOwner);

  int PageCount() const;
  // Page `Index` in order; out of range throws xexception 0.
  TTabSheet* Pages(int Index) const;

  TTabSheet* ActivePage() const noexcept { return FActivePage; }
  // `Page` must be one of the pages (EInvalidOperation otherwise); null
  // shows none.
  void SetActivePage(TTabSheet* Page);
  // -1 when no page is active.
  int ActivePageIndex() const;
  // An index out of range shows none.
  void SetActivePageIndex(int Index);

  // A user's choice of the page at `Index`: OnChanging first, which may
  // refuse; then the page shows and OnChange runs. True when it changed.
  bool SelectPage(int Index);

  int TabHeight() const noexcept { return FTabHeight; }
  void SetTabHeight(int Value);

  TTabChangingEvent OnChanging;
  TNotifyEvent OnChange;

 protected:
  void AlignControls() override;

 private:
  TTabSheet* FActivePage = nullptr;
  int FActiveIndex = -1;  // the active page's index at the last layout
  int FPageCount = 0;     // pages at the last layout
  int FTabHeight = 24;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TPAGE_CONTROL_H
