#include "framework/tforms.h"

#include "framework/tapplication.h"
#include "framework/xmodal_loop.h"
#include "framework/xui_backend.h"

namespace xum {

TCustomForm::TCustomForm(TComponent* AOwner) : TScrollingWinControl(AOwner) {
  SetVisible(false);
  Screen().add_form(this);
}

TCustomForm::~TCustomForm() {
  Screen().remove_form(this);
  if (Application()->MainForm() == this) Application()->SetMainForm(nullptr);
}

TModalResult TCustomForm::ShowModal() {
  if (FModal || Visible() || !Enabled()) throw EInvalidOperation(u"Cannot make a visible window modal");
  FModalResult = mrNone;
  FModal = true;
  struct end_modal {
    TCustomForm* form;
    ~end_modal() {
      form->FModal = false;
      form->SetVisible(false);
    }
  } guard{this};
  SetVisible(true);
  if (OnShow) OnShow(this);
  xmodal_loop loop(*this);
  const TModalResult answer = xui().show_modal(*this, loop);
  // A backend that gave up (no more input) ends the form without asking
  // again, unless a result it left is accepted now.
  if (!loop.ended()) FModalResult = answer == mrNone ? mrCancel : answer;
  if (loop.release_) Application()->Release(this);
  return FModalResult;
}

void TCustomForm::Show() {
  SetVisible(true);
  if (OnShow) OnShow(this);
}

void TCustomForm::SetActiveControl(TWinControl* Control) {
  if (Control == FActiveControl) return;
  if (Control != nullptr && (Control == this || !ContainsControl(Control)))
    throw EInvalidOperation(u"Cannot focus a control that is not on the form");
  if (FActiveControl != nullptr) RemoveFreeNotification(FActiveControl);
  FActiveControl = Control;
  if (FActiveControl != nullptr) FreeNotification(FActiveControl);
}

void TCustomForm::Notification(TComponent* AComponent, TOperation Operation) {
  TScrollingWinControl::Notification(AComponent, Operation);
  if (Operation == opRemove && AComponent == FActiveControl) FActiveControl = nullptr;
}

std::uint16_t TCustomForm::DispatchKeyDown(std::uint16_t Key, TShiftState Shift) {
  TWinControl* target = key_target();
  if (FKeyPreview && target != this) KeyDown(Key, Shift);
  if (Key != 0) target->KeyDown(Key, Shift);
  if (Key == VK_F1 && (Shift & (ssShift | ssCtrl | ssAlt)) == 0) {
    Key = 0;
    show_help(target);
  }
  return Key;
}

void TCustomForm::show_help(const TWinControl* target) {
  for (const TControl* c = target; c != nullptr; c = c->Parent()) {
    if (!c->HelpKeyword().empty()) {
      Application()->HelpKeyword(c->HelpKeyword());
      return;
    }
    if (c->HelpContext() != 0) {
      Application()->HelpContext(c->HelpContext());
      return;
    }
    if (c == this) break;
  }
  Application()->HelpKeyword(UnicodeString());
}

char16_t TCustomForm::DispatchKeyPress(char16_t Key) {
  TWinControl* target = key_target();
  if (FKeyPreview && target != this) KeyPress(Key);
  if (Key != 0) target->KeyPress(Key);
  return Key;
}

TWinControl* TCustomForm::key_target() {
  // A control moved off the form since it was focused no longer gets keys:
  // the form itself does, as it does when nothing is focused.
  if (FActiveControl != nullptr && ContainsControl(FActiveControl)) return FActiveControl;
  return this;
}

bool TCustomForm::CloseQuery() {
  bool can_close = true;
  if (OnCloseQuery) OnCloseQuery(this, can_close);
  return can_close;
}

void TCustomForm::Close() {
  if (FModal) {
    FModalResult = mrCancel;
    return;
  }
  if (!CloseQuery()) return;
  TCloseAction action = caHide;
  if (OnClose) OnClose(this, action);
  if (action == caNone) return;
  if (Application()->MainForm() == this) {
    Application()->Terminate();
    Hide();
    return;
  }
  switch (action) {
    case caHide:
      Hide();
      break;
    case caMinimize:
      SetWindowState(wsMinimized);
      break;
    case caFree:
      Hide();
      Application()->Release(this);
      break;
    default:
      break;
  }
}

}  // namespace xum
