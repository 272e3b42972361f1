#include "framework/xui_backend.h"

#include <iostream>

namespace xum {

namespace {

xui_backend* current_backend = nullptr;

int forward_to_backend(const xstr& text, const xstr& caption, unsigned flags) {
  return xui().message_box(text, caption, flags);
}

bool offers(unsigned flags, int button) {
  int ids[3];
  const int count = xmessage_box_buttons(flags, ids);
  for (int i = 0; i < count; ++i)
    if (ids[i] == button) return true;
  return false;
}

}  // namespace

xui_backend::~xui_backend() = default;

xheadless_backend& xheadless_ui() {
  // Never destroyed: boxes may still be shown while the process shuts down.
  static auto* headless = new xheadless_backend();
  return *headless;
}

xui_backend& xui() { return current_backend ? *current_backend : xheadless_ui(); }

xui_backend* xset_ui_backend(xui_backend* backend) {
  xui_backend* previous = current_backend;
  current_backend = backend;
  return previous;
}

void xinstall_ui_backend_hook() noexcept { xmessage_box_handler = &forward_to_backend; }

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

// --- scripted --------------------------------------------------------------

xscripted_backend::xscripted_backend() = default;
xscripted_backend::~xscripted_backend() = default;

void xscripted_backend::queue_answer(int button) { answers_.push_back(button); }

void xscripted_backend::clear() {
  answers_.clear();
  boxes_.clear();
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
