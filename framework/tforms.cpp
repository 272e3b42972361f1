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
