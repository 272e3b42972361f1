// TQueryStringForm: the shared string-input form behind QueryString
// (ui/uiutils.h): a caption, a prompt label, one edit and OK / Cancel.
//
//   xum::TQueryStringForm& f = xum::TQueryStringForm::Shared();
//   f.SetCaption(u"Rename");  f.PromptLabel()->SetCaption(u"New name:");
//   if (f.ShowModal() == xum::mrOk) use(f.ValueEdit()->Text());
//
// The form is built in code from the framework's controls and named
// "QueryStringForm" with the controls "PromptLabel", "ValueEdit", "OkBtn"
// (default, mrOk) and "CancelBtn" (cancel, mrCancel), so the component
// localizer translates it like any other form. Shared() creates it owned by
// the application on first use and keeps it; once it is destroyed (with the
// application's components) the next call creates another.
//
// Thread safety: the main thread only.
#ifndef XUM_UI_TQUERY_STRING_FORM_H
#define XUM_UI_TQUERY_STRING_FORM_H

#include "core/xexport.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"

namespace xum {

class XUM_API TQueryStringForm : public TForm {
 public:
  explicit TQueryStringForm(TComponent* AOwner);
  ~TQueryStringForm() override;

  TLabel* PromptLabel() const noexcept { return FPromptLabel; }
  TEdit* ValueEdit() const noexcept { return FValueEdit; }
  TButton* OkBtn() const noexcept { return FOkBtn; }
  TButton* CancelBtn() const noexcept { return FCancelBtn; }

  // The application's shared instance, created on first use.
  static TQueryStringForm& Shared();

 private:
  TLabel* FPromptLabel;
  TEdit* FValueEdit;
  TButton* FOkBtn;
  TButton* FCancelBtn;
};

}  // namespace xum

#endif  // XUM_UI_TQUERY_STRING_FORM_H
