// A dialog form for framework tests: an edit named "Answer", an OK button
// ("OkBtn", the default, mrOk) and a Cancel button ("CancelBtn", mrCancel),
// all shown in the form, which the object deletes when it goes.
//
//   xum::test::dialog d;
//   ui.queue_press({u"OkBtn"});
//   d.form->ShowModal();   // mrOk
//
// Thread safety: none; the main thread's, as forms are.
#ifndef XUM_TESTS_SUPPORT_XDIALOG_H
#define XUM_TESTS_SUPPORT_XDIALOG_H

#include "framework/tforms.h"
#include "framework/tstdctrls.h"

namespace xum::test {

struct dialog {
  TForm* form = new TForm(nullptr);
  TEdit* edit = new TEdit(form);
  TButton* ok = new TButton(form);
  TButton* cancel = new TButton(form);
  dialog() {
    for (TControl* c :
         {static_cast<TControl*>(edit), static_cast<TControl*>(ok), static_cast<TControl*>(cancel)})
      c->SetParent(form);
    edit->SetName(u"Answer");
    ok->SetName(u"OkBtn");
    ok->SetModalResult(mrOk);
    ok->SetDefault(true);
    cancel->SetName(u"CancelBtn");
    cancel->SetModalResult(mrCancel);
  }
  ~dialog() { delete form; }
  dialog(const dialog&) = delete;
  dialog& operator=(const dialog&) = delete;
};

}  // namespace xum::test

#endif  // XUM_TESTS_SUPPORT_XDIALOG_H
