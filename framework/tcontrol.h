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
// Input: a windowing backend (or a test) feeds keys to a form through
// TCustomForm::DispatchKeyDown / DispatchKeyPress, which reach the form
// first when its KeyPreview is set and then its active control, and mouse
// acts straight to the control under the pointer (MouseDown, MouseMove,
// MouseUp, MouseEnter, MouseLeave, MouseWheel). Each virtual runs the
// matching On... event; components override them to react. A handler that
// sets Key to 0 consumes the key.
//
// Layout: a windowed control is told when its children change place, size
// or visibility, come or go, or when it is resized itself: AlignControls
// runs (once at a time: bounds it sets on its children do not re-enter).
//
// Thread safety: controls belong to the main thread.
#ifndef XUM_FRAMEWORK_TCONTROL_H
#define XUM_FRAMEWORK_TCONTROL_H

#include <cstdint>
#include <functional>
#include <vector>

#include "core/xexport.h"
#include "framework/tactions.h"
#include "framework/tcomponent.h"
#include "framework/tgraphics.h"

namespace xum {

class TWinControl;
class TCustomForm;

// Keys are the platform's virtual-key codes (the Qt backend maps its keys
// onto them; see xqt_virtual_key).
inline constexpr std::uint16_t VK_BACK = 0x08, VK_TAB = 0x09, VK_RETURN = 0x0D,
                               VK_SHIFT = 0x10, VK_CONTROL = 0x11, VK_MENU = 0x12,
                               VK_ESCAPE = 0x1B, VK_SPACE = 0x20, VK_PRIOR = 0x21,
                               VK_NEXT = 0x22, VK_END = 0x23, VK_HOME = 0x24, VK_LEFT = 0x25,
                               VK_UP = 0x26, VK_RIGHT = 0x27, VK_DOWN = 0x28,
                               VK_DELETE = 0x2E, VK_F1 = 0x70;

// Modifier keys and mouse buttons held during an input event (a set).
using TShiftState = unsigned;
inline constexpr TShiftState ssShift = 1, ssAlt = 2, ssCtrl = 4, ssLeft = 8, ssRight = 16,
                             ssMiddle = 32, ssDouble = 64;
enum TMouseButton { mbLeft, mbRight, mbMiddle };

// A topic number of the application's help.
using THelpContext = int;

struct TPoint {
  int X = 0;
  int Y = 0;
  friend bool operator==(const TPoint&, const TPoint&) = default;
};

using TKeyEvent = std::function<void(TObject* Sender, std::uint16_t& Key, TShiftState Shift)>;
using TKeyPressEvent = std::function<void(TObject* Sender, char16_t& Key)>;
using TMouseEvent =
    std::function<void(TObject* Sender, TMouseButton Button, TShiftState Shift, int X, int Y)>;
using TMouseMoveEvent = std::function<void(TObject* Sender, TShiftState Shift, int X, int Y)>;
// WheelDelta: 120 per notch, positive away from the user.
using TMouseWheelEvent = std::function<void(TObject* Sender, TShiftState Shift, int WheelDelta,
                                            TPoint MousePos, bool& Handled)>;

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
  // The control's topic in the application's help (F1 on a form, see
  // TCustomForm::DispatchKeyDown): its HelpKeyword when set, else its
  // HelpContext when not 0.
  const UnicodeString& HelpKeyword() const noexcept { return FHelpKeyword; }
  void SetHelpKeyword(const UnicodeString& Value) { FHelpKeyword = Value; }
  THelpContext HelpContext() const noexcept { return FHelpContext; }
  void SetHelpContext(THelpContext Value) noexcept { FHelpContext = Value; }

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

  // Mouse input in the control's own coordinates. MouseWheel returns
  // whether the wheel was used (OnMouseWheel's Handled, or the control's
  // own use of it); an unused wheel goes on to the parent.
  virtual void MouseDown(TMouseButton Button, TShiftState Shift, int X, int Y);
  virtual void MouseMove(TShiftState Shift, int X, int Y);
  virtual void MouseUp(TMouseButton Button, TShiftState Shift, int X, int Y);
  virtual void MouseEnter();
  virtual void MouseLeave();
  virtual bool MouseWheel(TShiftState Shift, int WheelDelta, TPoint MousePos);
  // Runs after the control's size changed (OnResize).
  virtual void Resize();

  TMouseEvent OnMouseDown;
  TMouseMoveEvent OnMouseMove;
  TMouseEvent OnMouseUp;
  TNotifyEvent OnMouseEnter;
  TNotifyEvent OnMouseLeave;
  TMouseWheelEvent OnMouseWheel;
  TNotifyEvent OnResize;

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
  THelpContext FHelpContext = 0;
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

  // Key input (see the header's notes). KeyDown runs OnKeyDown, KeyPress
  // OnKeyPress.
  virtual void KeyDown(std::uint16_t& Key, TShiftState Shift);
  virtual void KeyPress(char16_t& Key);
  TKeyEvent OnKeyDown;
  TKeyPressEvent OnKeyPress;

  // Lays the children out again: runs AlignControls unless it is already
  // running for this control.
  void Realign();

 protected:
  // Places the children; the base leaves them where they are.
  virtual void AlignControls() {}

 private:
  friend class TControl;
  std::vector<TControl*> FControls;
  bool FAligning = false;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TCONTROL_H
