// Forms and frames: the windows of an application and the reusable panels
// placed on them.
//
//   auto* form = new xum::TForm(xum::Application());
//   auto* ok = new xum::TButton(form);
//   ok->SetParent(form);
//   ok->SetName(u"OkBtn");
//   ok->SetModalResult(xum::mrOk);
//   form->OnCloseQuery = [&](xum::TObject*, bool& can_close) { can_close = valid(); };
//   if (form->ShowModal() == xum::mrOk) ...   // the UI backend runs the form
//
// ShowModal runs the form's modal loop (framework/xmodal_loop.h): the main
// loop keeps running while the form is open, and a modal result closes the
// form only when its close query accepts.
//
// Thread safety: forms belong to the main thread.
#ifndef XUM_FRAMEWORK_TFORMS_H
#define XUM_FRAMEWORK_TFORMS_H

#include <functional>

#include "core/xexport.h"
#include "framework/tcontrol.h"

namespace xum {

// Results of modal forms and the buttons that close them.
using TModalResult = int;
inline constexpr TModalResult mrNone = 0;
inline constexpr TModalResult mrOk = 1;
inline constexpr TModalResult mrCancel = 2;
inline constexpr TModalResult mrAbort = 3;
inline constexpr TModalResult mrRetry = 4;
inline constexpr TModalResult mrIgnore = 5;
inline constexpr TModalResult mrYes = 6;
inline constexpr TModalResult mrNo = 7;
inline constexpr TModalResult mrAll = 8;
inline constexpr TModalResult mrNoToAll = 9;
inline constexpr TModalResult mrYesToAll = 10;
inline constexpr TModalResult mrClose = 11;

enum TFormBorderStyle { bsNone = 0, bsSingle = 1, bsSizeable = 2, bsDialog = 3, bsToolWindow = 4, bsSizeToolWin = 5 };
enum TWindowState { wsNormal = 0, wsMinimized = 1, wsMaximized = 2 };
enum TCloseAction { caNone, caHide, caFree, caMinimize };

using TCloseEvent = std::function<void(TObject* Sender, TCloseAction& Action)>;
using TCloseQueryEvent = std::function<void(TObject* Sender, bool& CanClose)>;

// Raised for an operation the object's state does not allow (showing a
// visible or disabled form modally).
class XUM_API EInvalidOperation : public Exception {
 public:
  using Exception::Exception;
};

class XUM_API TScrollingWinControl : public TWinControl {
 public:
  using TWinControl::TWinControl;
};

class XUM_API TScrollBox : public TScrollingWinControl {
 public:
  using TScrollingWinControl::TScrollingWinControl;
};

class XUM_API TCustomForm : public TScrollingWinControl {
 public:
  // Forms start hidden; the screen lists them while they exist.
  explicit TCustomForm(TComponent* AOwner);
  ~TCustomForm() override;

  TFormBorderStyle BorderStyle() const noexcept { return FBorderStyle; }
  void SetBorderStyle(TFormBorderStyle Value) noexcept { FBorderStyle = Value; }
  TWindowState WindowState() const noexcept { return FWindowState; }
  void SetWindowState(TWindowState Value) noexcept { FWindowState = Value; }

  TModalResult ModalResult() const noexcept { return FModalResult; }
  // On a modal form, a result other than mrNone asks to close it; the
  // modal loop puts the request to the close query after the current event.
  void SetModalResult(TModalResult Value) noexcept { FModalResult = Value; }
  bool Modal() const noexcept { return FModal; }

  // Shows the form and runs its modal loop through the UI backend until a
  // modal result closes it (see framework/xmodal_loop.h); returns that
  // result, mrCancel when the form was simply closed. A form that is
  // visible, disabled or already modal raises EInvalidOperation.
  virtual TModalResult ShowModal();
  void Show();
  void Hide() { SetVisible(false); }
  // A modal form is asked to end with mrCancel (its modal loop consults
  // the close query); another asks OnCloseQuery, then OnClose decides what
  // happens (hide by default; caFree destroys it from the main loop).
  // Closing the main form ends the application.
  void Close();
  // OnCloseQuery's answer (true when there is none).
  virtual bool CloseQuery();

  // The control that has the keyboard focus (null: the form itself). A
  // windowing backend keeps it in step with the focused widget. A control
  // that leaves the form, or is destroyed, stops being active.
  TWinControl* ActiveControl() const noexcept { return FActiveControl; }
  void SetActiveControl(TWinControl* Control);
  // When set, the form sees each key before its active control does.
  bool KeyPreview() const noexcept { return FKeyPreview; }
  void SetKeyPreview(bool Value) noexcept { FKeyPreview = Value; }

  // A key went down (or a character was typed) in the form: the form's own
  // KeyDown first when KeyPreview is set, then the active control's (the
  // form's when none is active), each only while the key is not consumed
  // (set to 0). Returns the key as the
  // handlers left it (0: consumed).
  // F1 without Ctrl, Alt or Shift that no handler consumed opens help
  // (and is consumed): the topic of the active control (its HelpKeyword,
  // else its HelpContext), else of the nearest parent that has one, else
  // the form's; with none, the help's contents (Application()->HelpKeyword).
  std::uint16_t DispatchKeyDown(std::uint16_t Key, TShiftState Shift);
  char16_t DispatchKeyPress(char16_t Key);

  void Notification(TComponent* AComponent, TOperation Operation) override;

  TNotifyEvent OnShow;
  TCloseEvent OnClose;
  TCloseQueryEvent OnCloseQuery;

 private:
  TWinControl* key_target();
  void show_help(const TWinControl* target);

  TFormBorderStyle FBorderStyle = bsSizeable;
  TWindowState FWindowState = wsNormal;
  TModalResult FModalResult = mrNone;
  bool FModal = false;
  bool FKeyPreview = false;
  TWinControl* FActiveControl = nullptr;
};

class XUM_API TForm : public TCustomForm {
 public:
  using TCustomForm::TCustomForm;
};

class XUM_API TCustomFrame : public TScrollingWinControl {
 public:
  using TScrollingWinControl::TScrollingWinControl;
};

class XUM_API TFrame : public TCustomFrame {
 public:
  using TCustomFrame::TCustomFrame;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TFORMS_H
