// The terminal UI backend: asks the user on a terminal. A message box
// prints its caption and text and offers its buttons as numbered choices;
// a modal form asks for each of its edit boxes, then offers the buttons
// that close it; a file dialog asks for a file name.
//
//   xum::xterminal_backend ui;           // the controlling terminal
//   if (ui.is_open()) xum::xset_ui_backend(&ui);
//
// An empty answer takes the default (the box's default button, the edit's
// current text, the form's default button); an answer that names no choice
// asks again; the end of input takes the default (a dialog is cancelled).
//
// Thread safety: like every backend, it belongs to the main thread.
#ifndef XUM_FRAMEWORK_XTERMINAL_BACKEND_H
#define XUM_FRAMEWORK_XTERMINAL_BACKEND_H

#include <string>
#include <vector>

#include "core/xexport.h"
#include "framework/xui_backend.h"

namespace xum {

class XUM_API xterminal_backend final : public xui_backend {
 public:
  // Opens `device` ("/dev/tty": the controlling terminal).
  explicit xterminal_backend(const char* device = "/dev/tty");
  ~xterminal_backend() override;
  xterminal_backend(const xterminal_backend&) = delete;
  xterminal_backend& operator=(const xterminal_backend&) = delete;

  // False when there is no terminal; every act then answers as closed.
  bool is_open() const noexcept { return fd_ >= 0; }

  int message_box(const xstr& text, const xstr& caption, unsigned flags) override;
  int show_modal(TCustomForm& form, xmodal_loop& loop) override;
  bool file_dialog(TOpenDialog& dialog) override;

 private:
  struct choice {
    std::string label;
    int value;
  };
  // Offers the choices and returns the value chosen (the default at the
  // end of input).
  int choose(const std::vector<choice>& choices, std::size_t default_index);
  bool ask(const std::string& prompt, std::string& answer);
  void say(const std::string& text);

  int fd_;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_XTERMINAL_BACKEND_H
