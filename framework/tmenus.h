// Menu items: captions with sub-items, click handlers, images and actions.
// A menu item lists its sub-items (and destroys them with itself) apart from
// who owns it, as on the host framework.
//
//   auto* recent = new xum::TMenuItem(form);
//   auto* item = new xum::TMenuItem(recent);
//   item->SetCaption(u"&0: report");
//   item->OnClick = [](xum::TObject* sender) { ... };
//   recent->Add(item);
//
// Thread safety: belongs to the main thread.
#ifndef XUM_FRAMEWORK_TMENUS_H
#define XUM_FRAMEWORK_TMENUS_H

#include <vector>

#include "core/xexport.h"
#include "framework/tactions.h"
#include "framework/tcomponent.h"

namespace xum {

class XUM_API TMenuItem : public TComponent, public TActionClient {
 public:
  explicit TMenuItem(TComponent* AOwner);
  // Leaves its parent item and destroys its sub-items.
  ~TMenuItem() override;

  const UnicodeString& Caption() const noexcept { return FCaption; }
  void SetCaption(const UnicodeString& Value) { FCaption = Value; }
  const UnicodeString& Hint() const noexcept { return FHint; }
  void SetHint(const UnicodeString& Value) { FHint = Value; }
  bool Enabled() const noexcept { return FEnabled; }
  void SetEnabled(bool Value) noexcept { FEnabled = Value; }
  bool Visible() const noexcept { return FVisible; }
  void SetVisible(bool Value) noexcept { FVisible = Value; }
  bool Checked() const noexcept { return FChecked; }
  void SetChecked(bool Value) noexcept { FChecked = Value; }
  int ImageIndex() const noexcept { return FImageIndex; }
  void SetImageIndex(int Value) noexcept { FImageIndex = Value; }
  // A separator line has the caption "-".
  bool IsLine() const { return FCaption == u"-"; }

  TCustomAction* Action() const noexcept { return FAction; }
  void SetAction(TCustomAction* Value);

  TMenuItem* Parent() const noexcept { return FParent; }
  int Count() const noexcept { return static_cast<int>(FItems.size()); }
  // Sub-item i; out of range throws xexception 0.
  TMenuItem* Items(int Index) const;
  void Add(TMenuItem* Item);
  void Insert(int Index, TMenuItem* Item);
  // Takes sub-item i out (it is not destroyed).
  void Delete(int Index);
  void Remove(TMenuItem* Item);
  int IndexOf(const TMenuItem* Item) const;
  // Destroys every sub-item.
  void Clear();

  // OnClick when set; otherwise the action's Execute.
  virtual void Click();
  TNotifyEvent OnClick;

  void ActionChanged(TCustomAction& Action) override;
  void ActionReleased(TBasicAction& Action) override;

 private:
  UnicodeString FCaption;
  UnicodeString FHint;
  bool FEnabled = true;
  bool FVisible = true;
  bool FChecked = false;
  int FImageIndex = -1;
  TCustomAction* FAction = nullptr;
  TMenuItem* FParent = nullptr;
  std::vector<TMenuItem*> FItems;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TMENUS_H
