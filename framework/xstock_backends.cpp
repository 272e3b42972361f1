#include <iostream>

#include "framework/tapplication.h"
#include "framework/tcontrol.h"
#include "framework/tdialogs.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "framework/xmodal_loop.h"
#include "framework/xui_backend.h"

// The backends that answer without a screen (headless, scripted) and the
// helper that presses a form's button: the part of the UI backend that
// knows the model's forms and controls. The interface itself
// (xui_backend.cpp) names them only by declaration.

namespace xum {

namespace {

bool offers(unsigned flags, int button) {
  int ids[3];
  const int count = xmessage_box_buttons(flags, ids);
  for (int i = 0; i < count; ++i)
    if (ids[i] == button) return true;
  return false;
}

TControl* find_control(TComponent& root, const UnicodeString& name) {
  for (int i = 0; i < root.ComponentCount(); ++i) {
    TComponent* c = root.Components(i);
    if (auto* control = dynamic_cast<TControl*>(c); control && SameText(c->Name(), name)) return control;
    if (TControl* inner = find_control(*c, name)) return inner;  // frames own their controls
  }
  return nullptr;
}

// The form's default button, if any.
TButton* default_button(TComponent& root) {
  for (int i = 0; i < root.ComponentCount(); ++i) {
    TComponent* c = root.Components(i);
    if (auto* b = dynamic_cast<TButton*>(c); b && b->Default() && b->Visible() && b->Enabled()) return b;
    if (TButton* inner = default_button(*c)) return inner;
  }
  return nullptr;
}

}  // namespace

int xpress_button(TCustomForm& form, const UnicodeString& name) {
  TControl* control = find_control(form, name);
  if (control == nullptr)
    throw Exception(u"No control named " + name + u" on form " + form.Name());
  control->Click();
  return form.ModalResult();
}

// --- headless --------------------------------------------------------------

xheadless_backend::xheadless_backend() : out_(&std::cerr) {}
xheadless_backend::~xheadless_backend() = default;

void xheadless_backend::set_rule(rule_fn rule) { rule_ = std::move(rule); }
void xheadless_backend::set_output(std::ostream* out) { out_ = out; }

int xheadless_backend::message_box(const xstr& text, const xstr& caption, unsigned flags) {
  int answer = rule_ ? rule_(text, caption, flags) : xmessage_box_default(flags);
  if (!offers(flags, answer)) answer = xmessage_box_default(flags);
  if (out_ != nullptr) {
    int ids[3];
    const int count = xmessage_box_buttons(flags, ids);
    std::ostream& out = *out_;
    out << "== " << caption.view() << " ==\n" << text.view() << "\n[";
    for (int i = 0; i < count; ++i) out << (i ? " " : "") << xmessage_box_button_name(ids[i]);
    out << "] -> " << xmessage_box_button_name(answer) << std::endl;
  }
  return answer;
}

void xheadless_backend::set_form_rule(form_rule_fn rule) { form_rule_ = std::move(rule); }
void xheadless_backend::set_file_rule(file_rule_fn rule) { file_rule_ = std::move(rule); }

int xheadless_backend::show_modal(TCustomForm& form, xmodal_loop& loop) {
  if (!loop.turn(0)) {  // the work already waiting runs first
    if (form_rule_) {
      const int answer = form_rule_(form);
      if (form.ModalResult() == mrNone && answer != mrNone) form.SetModalResult(answer);
      loop.ended();
    } else if (TButton* b = default_button(form)) {
      loop.act([b] { b->Click(); });
    }
  }
  const int result = loop.ended() ? form.ModalResult() : static_cast<int>(mrCancel);
  if (out_ != nullptr)
    *out_ << "== " << FromUnicode(form.Caption()).view() << " == (form " << FromUnicode(form.Name()).view()
          << ") -> " << result << std::endl;
  return result;
}

bool xheadless_backend::file_dialog(TOpenDialog& dialog) { return file_rule_ ? file_rule_(dialog) : false; }

void xheadless_backend::set_color_rule(color_rule_fn rule) { color_rule_ = std::move(rule); }

bool xheadless_backend::color_dialog(TColor& color) {
  if (!color_rule_) return false;
  TColor chosen = color;  // a rule that cancels leaves the caller's colour alone
  if (!color_rule_(chosen)) return false;
  color = chosen & 0xFFFFFF;
  return true;
}

// --- scripted --------------------------------------------------------------

xscripted_backend::xscripted_backend() = default;
xscripted_backend::~xscripted_backend() = default;

void xscripted_backend::queue_answer(int button) { answers_.push_back(button); }

void xscripted_backend::clear() {
  answers_.clear();
  boxes_.clear();
  form_answers_.clear();
  forms_.clear();
  files_.clear();
  dialogs_.clear();
  colors_.clear();
  color_dialogs_.clear();
}

void xscripted_backend::queue_press(std::vector<UnicodeString> names) {
  std::vector<form_step> steps;
  for (UnicodeString& name : names)
    steps.push_back([name = std::move(name)](TCustomForm& form, xmodal_loop&) { return xpress_button(form, name); });
  form_answers_.push_back(std::move(steps));
}

void xscripted_backend::queue_form(std::function<int(TCustomForm&)> answer) {
  form_answers_.push_back({[answer = std::move(answer)](TCustomForm& form, xmodal_loop&) { return answer(form); }});
}

void xscripted_backend::queue_steps(std::vector<form_step> steps) { form_answers_.push_back(std::move(steps)); }

int xscripted_backend::show_modal(TCustomForm& form, xmodal_loop& loop) {
  forms_.push_back(form.Caption());
  std::vector<form_step> steps;
  if (!form_answers_.empty()) {
    steps = std::move(form_answers_.front());
    form_answers_.pop_front();
  }
  for (const form_step& step : steps) {
    if (loop.turn(0)) return form.ModalResult();
    const int answer = step(form, loop);
    // A pressed button has set the result already; a step's own answer
    // counts only when nothing has.
    if (form.ModalResult() == mrNone && answer != mrNone) form.SetModalResult(answer);
    if (loop.ended()) return form.ModalResult();
  }
  return loop.turn(0) ? form.ModalResult() : static_cast<int>(mrCancel);
}

void xscripted_backend::queue_files(std::vector<UnicodeString> files) { files_.push_back(std::move(files)); }

bool xscripted_backend::file_dialog(TOpenDialog& dialog) {
  dialogs_.push_back(dialog.Title());
  if (files_.empty()) return false;
  std::vector<UnicodeString> chosen = std::move(files_.front());
  files_.pop_front();
  if (chosen.empty()) return false;
  dialog.Files().Clear();
  for (const UnicodeString& f : chosen) dialog.Files().Add(f);
  dialog.SetFileName(chosen.front());
  return true;
}

void xscripted_backend::queue_color(TColor color) { colors_.emplace_back(color); }
void xscripted_backend::queue_color_cancel() { colors_.emplace_back(std::nullopt); }

bool xscripted_backend::color_dialog(TColor& color) {
  color_dialogs_.push_back(color);
  if (colors_.empty()) return false;
  const std::optional<TColor> chosen = colors_.front();
  colors_.pop_front();
  if (!chosen) return false;
  color = *chosen & 0xFFFFFF;
  return true;
}

int xscripted_backend::message_box(const xstr& text, const xstr& caption, unsigned flags) {
  box b{text, caption, flags, xmessage_box_default(flags), false};
  if (!answers_.empty()) {
    b.answer = answers_.front();
    b.scripted = true;
    answers_.pop_front();
  }
  boxes_.push_back(b);
  return b.answer;
}

}  // namespace xum
