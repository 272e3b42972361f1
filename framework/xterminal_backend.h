// The terminal UI backend: asks the user on a terminal. A message box
// prints its caption and text and offers its buttons as numbered choices;
// a modal form asks for each of its edit and combo boxes, then offers the
// buttons that close it; a file dialog asks for a file name.
//
//   xum::xterminal_backend ui;           // the controlling terminal
//   if (ui.is_open()) xum::xset_ui_backend(&ui);
//
// A choice is made by its number or the start of its label ("y" for Yes);
// a combo box offers its items so, and an editable one also takes any
// other text. An empty answer takes the default (the box's default button,
// the edit's or combo box's current text, the form's default button); an
// answer that names no choice asks again. A form whose close query refuses
// says so and asks again. The end of input cancels: a box answers with its
// Cancel button (else No, else Abort, else its only button), a form ends
// with mrCancel and a file dialog is cancelled; without a terminal every
// act answers so at once.
//
// While it waits for a line on the main thread, the main loop keeps
// running (the terminal is watched through it): posted calls, watches and
// timers run, and a form closed meanwhile stops asking.
//
// Thread safety: like every backend, it belongs to the main thread; on
// another thread it waits for the terminal alone.
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
  // What a question got: a line, the end of input, or nothing because the
  // modal form it was for closed meanwhile.
  enum class reply { line, end, closed };

  // Offers the labels as numbered choices; `chosen` receives the index.
  // An empty answer takes default_index.
  reply choose(const std::vector<std::string>& labels, std::size_t default_index, std::size_t& chosen,
               xmodal_loop* modal);
  reply ask(const std::string& prompt, std::string& answer, xmodal_loop* modal);
  // Waits until a line can be read, turning the main loop meanwhile; false
  // when `modal` ended first.
  bool wait_for_input(xmodal_loop* modal);
  void say(const std::string& text);
  // One pass over the form's edits, combo boxes and buttons.
  reply ask_form(TCustomForm& form, xmodal_loop& loop);

  int fd_;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_XTERMINAL_BACKEND_H
