#include "app/tcontrol_scheme_editor.h"

#include <memory>
#include <string>

#include "core/xfile_utils.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"
#include "framework/tapplication.h"
#include "framework/tdialogs.h"
#include "framework/tstdctrls.h"
#include "framework/xui_backend.h"
#include "localization/xlocalizer.h"
#include "localization/xpackage.h"

namespace xum {

namespace {

UnicodeString u(const xstr& s) { return UnicodeString(s.w_str()); }

template <class C>
C* make(TComponent* owner, TWinControl* parent, const char16_t* name, const char16_t* caption,
        int left, int top, int width, int height) {
  auto* c = new C(owner);
  c->SetName(name);
  c->SetParent(parent);
  if (caption != nullptr) c->SetCaption(caption);
  c->SetBounds(left, top, width, height);
  return c;
}

const UnicodeString scheme_filter = u"Control schemes (*.tsf)|*.tsf|All files (*.*)|*.*";

}  // namespace

TKeyCaptureForm::TKeyCaptureForm(TComponent* AOwner) : TForm(AOwner) {
  SetName(u"KeyCaptureForm");
  SetCaption(u"Press a key");
  SetBorderStyle(bsDialog);
  SetBounds(0, 0, 260, 110);
  make<TLabel>(this, this, u"PromptLabel", u"Press the key for this action.", 12, 12, 236, 20);
  auto* cancel = make<TButton>(this, this, u"CancelBtn", u"Cancel", 92, 60, 75, 25);
  cancel->SetModalResult(mrCancel);
  cancel->SetCancel(true);
  SetKeyPreview(true);  // keys reach the form while Cancel has the focus
  package_localizer().component(this, "KeyCaptureForm");
}

void TKeyCaptureForm::KeyDown(std::uint16_t& Pressed, TShiftState Shift) {
  TForm::KeyDown(Pressed, Shift);
  for (int code = 0; code < 256; ++code) {
    if (xkey_name(code).empty() || GetKeyState(code) >= 0) continue;
    Key = code;
    Pressed = 0;
    SetModalResult(mrOk);
    return;
  }
}

TKeyCaptureForm* xkey_capture_form() {
  TApplication* app = Application();
  if (auto* f = dynamic_cast<TKeyCaptureForm*>(app->FindComponent(u"KeyCaptureForm"))) return f;
  return new TKeyCaptureForm(app);
}

TControlSchemeEditorForm::TControlSchemeEditorForm(TComponent* AOwner) : TForm(AOwner) {
  SetName(u"ControlSchemeEditorForm");
  SetCaption(u"Control scheme");
  SetBorderStyle(bsDialog);
  SetBounds(0, 0, 420, 360);
  rows_ = make<TScrollBox>(this, this, u"RowsBox", nullptr, 8, 8, 404, 280);
  auto* save = make<TButton>(this, this, u"SaveBtn", u"Save...", 8, 296, 75, 25);
  save->OnClick = [this](TObject*) { SaveClick(); };
  auto* load = make<TButton>(this, this, u"LoadBtn", u"Load...", 88, 296, 75, 25);
  load->OnClick = [this](TObject*) { LoadClick(); };
  auto* def = make<TButton>(this, this, u"DefaultBtn", u"Default", 168, 296, 75, 25);
  def->OnClick = [this](TObject*) {
    if (scheme_ == nullptr) return;
    scheme_->Default();
    Fill();
  };
  auto* ok = make<TButton>(this, this, u"OKBtn", u"OK", 256, 328, 75, 25);
  ok->SetModalResult(mrOk);
  ok->SetDefault(true);
  auto* cancel = make<TButton>(this, this, u"CancelBtn", u"Cancel", 337, 328, 75, 25);
  cancel->SetModalResult(mrCancel);
  cancel->SetCancel(true);
  open_ = new TOpenDialog(this);
  open_->SetName(u"OpenDialog");
  open_->SetFilter(scheme_filter);
  save_ = new TSaveDialog(this);
  save_->SetName(u"SaveDialog");
  save_->SetFilter(scheme_filter);
  OnClose = [this](TObject*, TCloseAction&) { ClearRows(); };
  package_localizer().component(this, "ControlSchemeEditorForm");
}

void TControlSchemeEditorForm::ClearRows() { rows_->DestroyComponents(); }

void TControlSchemeEditorForm::Fill() {
  ClearRows();
  if (scheme_ == nullptr) return;
  const auto& actions = scheme_->Actions();
  for (int i = 0; i < static_cast<int>(actions.size()); ++i) {
    TKeyboardAction* a = actions[i];
    const UnicodeString name = u"Frame" + u(xstr(std::to_string(i)));
    auto* row = make<TFrame>(rows_, rows_, name.c_str(), nullptr, 0, i * RowHeight, 380,
                             RowHeight);
    row->SetTag(i);
    make<TLabel>(row, row, u"CaptionLabel", u(a->caption).c_str(), 4, 4, 200, 20);
    auto* k1 = make<TButton>(row, row, u"Key1Btn", u(xkey_name(a->key1)).c_str(), 210, 2, 80, 24);
    auto* k2 = make<TButton>(row, row, u"Key2Btn", u(xkey_name(a->key2)).c_str(), 294, 2, 80, 24);
    k1->OnClick = [this, i, k1](TObject*) { CaptureKey(i, 1, k1); };
    k2->OnClick = [this, i, k2](TObject*) { CaptureKey(i, 2, k2); };
  }
}

void TControlSchemeEditorForm::CaptureKey(int action, int which, TButton* button) {
  TKeyboardAction* a = scheme_->Actions()[action];
  TKeyCaptureForm* capture = xkey_capture_form();
  capture->Key = -1;
  // Cancelling the capture clears the binding: that is how a user removes a key.
  const int key = capture->ShowModal() == mrOk ? capture->Key : -1;
  (which == 1 ? a->key1 : a->key2) = key;
  button->SetCaption(u(xkey_name(key)));
}

void TControlSchemeEditorForm::SaveClick() {
  if (scheme_ == nullptr) return;
  save_->SetInitialDir(u(xextract_file_dir(xexe_name())));
  if (save_->Execute()) scheme_->SaveLoad(xstr(save_->FileName().c_str()), xfile_create);
}

void TControlSchemeEditorForm::LoadClick() {
  if (scheme_ == nullptr) return;
  open_->SetInitialDir(u(xextract_file_dir(xexe_name())));
  if (!open_->Execute()) return;
  scheme_->SaveLoad(xstr(open_->FileName().c_str()), xfile_read);
  Fill();
}

bool EditControlScheme(TControlScheme* scheme) {
  // The snapshot: every key as it is now, kept in memory to restore on cancel.
  xstruct_format snapshot;
  xmemory_stream buffer;
  snapshot.open_stream(buffer, xstream_write, false);
  scheme->ReadWrite(snapshot);
  std::unique_ptr<TControlSchemeEditorForm> form(new TControlSchemeEditorForm(Application()));
  form->SetScheme(scheme);
  form->Fill();
  const bool ok = form->ShowModal() == mrOk;
  if (!ok) {
    snapshot.start_reading();
    scheme->ReadWrite(snapshot);
  }
  snapshot.discard();
  return ok;
}

// The package's start-up makes each form once, so their texts join the
// package's dictionary (localization/xpackage.h).
namespace {
void make_key_capture_form() { delete new TKeyCaptureForm(nullptr); }
void make_control_scheme_editor_form() { delete new TControlSchemeEditorForm(nullptr); }
}  // namespace

}  // namespace xum

XUM_PACKAGE_FORM(key_capture_registration, xum::xpackage_key_capture_form,
                 &xum::make_key_capture_form)
XUM_PACKAGE_FORM(control_scheme_editor_registration, xum::xpackage_control_scheme_editor_form,
                 &xum::make_control_scheme_editor_form)
