// Controls: components with a place on the screen. A control sits in a
// parent windowed control (TWinControl), which lists its children in order
// and destroys the ones still inside it when it is destroyed; ownership
// (who destroys a component) and parenthood (where it is shown) are separate,
// as on the host framework.
//
//   auto* box = new xum::TGroupBox(form);
//   box->SetParent(form);
//   auto* edit = new xum::TEdit(form);   // owned by the form ...
//   edit->SetParent(box);                 // ... shown inside the box
//   edit->SetBounds(8, 20, 120, 21);
//
// A control with an action takes its caption, hint, help keyword, enabled
// and visible states from the action, and clicking it executes the action.
//
// Thread safety: controls belong to the main thread.
#ifndef XUM_FRAMEWORK_TCONTROL_H
#define XUM_FRAMEWORK_TCONTROL_H

#include <vector>

#include "core/xexport.h"
#include "framework/tactions.h"
#include "framework/tcomponent.h"
#include "framework/tgraphics.h"

namespace xum {

class TWinControl;
class TCustomForm;

class XUM_API TControl : public TComponent, public TActionClient {
 public:
  explicit TControl(TComponent* AOwner);
  ~TControl() override;

  TWinControl* Parent() const noexcept { return FParent; }
  // Moves the control to the end of the new parent's children (null: out
  // of every parent). A control cannot be its own ancestor (xexception 0).
  virtual void SetParent(TWinControl* AParent);

  int Left() const noexcept { return FLeft; }
  int Top() const noexcept { return FTop; }
  int Width() const noexcept { return FWidth; }
  int Height() const noexcept { return FHeight; }
  virtual void SetBounds(int ALeft, int ATop, int AWidth, int AHeight);
  void SetLeft(int Value) { SetBounds(Value, FTop, FWidth, FHeight); }
  void SetTop(int Value) { SetBounds(FLeft, Value, FWidth, FHeight); }
  void SetWidth(int Value) { SetBounds(FLeft, FTop, Value, FHeight); }
  void SetHeight(int Value) { SetBounds(FLeft, FTop, FWidth, Value); }

  bool Visible() const noexcept { return FVisible; }
  virtual void SetVisible(bool Value);
  bool Enabled() const noexcept { return FEnabled; }
  virtual void SetEnabled(bool Value);

  // The control's text: shown as Caption by labels and buttons, as Text by
  // edits and combo boxes; both names reach the same text.
  const UnicodeString& Caption() const noexcept { return FText; }
  virtual void SetCaption(const UnicodeString& Value);
  const UnicodeString& Text() const noexcept { return FText; }
  void SetText(const UnicodeString& Value) { SetCaption(Value); }

  const UnicodeString& Hint() const noexcept { return FHint; }
  void SetHint(const UnicodeString& Value) { FHint = Value; }
  const UnicodeString& HelpKeyword() const noexcept { return FHelpKeyword; }
  void SetHelpKeyword(const UnicodeString& Value) { FHelpKeyword = Value; }

  TCustomAction* Action() const noexcept { return FAction; }
  void SetAction(TCustomAction* Value);

  TFont& Font() noexcept { return FFont; }
  const TFont& Font() const noexcept { return FFont; }
  TColor Color() const noexcept { return FColor; }
  void SetColor(TColor Value) noexcept { FColor = Value; }

  // OnClick when set; otherwise the linked action's Execute.
  virtual void Click();
  TNotifyEvent OnClick;

  // The form this control is shown in (its top parent when that is a form).
  TCustomForm* ParentForm() const;

  void ActionChanged(TCustomAction& Action) override;
  void ActionReleased(TBasicAction& Action) override;

 private:
  TWinControl* FParent = nullptr;
  int FLeft = 0, FTop = 0, FWidth = 0, FHeight = 0;
  bool FVisible = true;
  bool FEnabled = true;
  UnicodeString FText;
  UnicodeString FHint;
  UnicodeString FHelpKeyword;
  TCustomAction* FAction = nullptr;
  TFont FFont;
  TColor FColor = clBtnFace;
};

// A control drawn on its parent's surface (labels, tool buttons).
class XUM_API TGraphicControl : public TControl {
 public:
  using TControl::TControl;
};

// A control that holds other controls.
class XUM_API TWinControl : public TControl {
 public:
  explicit TWinControl(TComponent* AOwner);
  // Destroys the child controls still inside, last first, before the owned
  // components go.
  ~TWinControl() override;

  int ControlCount() const noexcept { return static_cast<int>(FControls.size()); }
  // Child i in order; out of range throws xexception 0.
  TControl* Controls(int Index) const;
  bool ContainsControl(const TControl* Control) const;

 private:
  friend class TControl;
  std::vector<TControl*> FControls;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TCONTROL_H
