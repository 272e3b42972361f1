#include "ui/tquery_string_form.h"

#include "core/xcatalogue.h"
#include "framework/tapplication.h"

namespace xum {

namespace {

TQueryStringForm* shared_form = nullptr;

}  // namespace

TQueryStringForm::TQueryStringForm(TComponent* AOwner)
    : TForm(AOwner),
      FPromptLabel(new TLabel(this)),
      FValueEdit(new TEdit(this)),
      FOkBtn(new TButton(this)),
      FCancelBtn(new TButton(this)) {
  SetBorderStyle(bsDialog);
  SetBounds(0, 0, 360, 120);
  FPromptLabel->SetName(u"PromptLabel");
  FPromptLabel->SetParent(this);
  FPromptLabel->SetBounds(8, 8, 340, 13);
  FValueEdit->SetName(u"ValueEdit");
  FValueEdit->SetParent(this);
  FValueEdit->SetBounds(8, 26, 340, 21);
  FPromptLabel->SetFocusControl(FValueEdit);
  FOkBtn->SetName(u"OkBtn");
  FOkBtn->SetParent(this);
  FOkBtn->SetCaption(ToUnicode(msg::OK.text));
  FOkBtn->SetModalResult(mrOk);
  FOkBtn->SetDefault(true);
  FOkBtn->SetBounds(192, 60, 75, 25);
  FCancelBtn->SetName(u"CancelBtn");
  FCancelBtn->SetParent(this);
  FCancelBtn->SetCaption(ToUnicode(msg::Cancel.text));
  FCancelBtn->SetModalResult(mrCancel);
  FCancelBtn->SetCancel(true);
  FCancelBtn->SetBounds(273, 60, 75, 25);
}

TQueryStringForm::~TQueryStringForm() {
  if (shared_form == this) shared_form = nullptr;
}

TQueryStringForm& TQueryStringForm::Shared() {
  if (shared_form == nullptr) {
    shared_form = new TQueryStringForm(Application());
    shared_form->SetName(u"QueryStringForm");
  }
  return *shared_form;
}

}  // namespace xum
