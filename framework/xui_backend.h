// The UI backend: the one interface behind every interactive act of the
// library, so that the pieces above it work the same with or without a
// screen: message boxes, modal forms, file and colour dialogs, the
// clipboard, the screen size, text measurement and the keyboard state.
//
// Backends:
//   xheadless_backend  the default: writes each box to standard error (or a
//                      stream of the program's choice) and answers it with a
//                      rule the program sets, by default the box's default
//                      button;
//   xscripted_backend  for tests: answers from queues (boxes, forms, file
//                      dialogs, colour dialogs) and records what was
//                      shown.
//
// A modal form runs its modal loop in the backend (framework/xmodal_loop.h):
// the headless and scripted backends run the main loop's waiting work
// (posted calls, watches, timers) before each answer, so a worker's
// Synchronize completes while the form is open.
//
// The interface names the model's types (forms, dialogs, fonts) only by
// declaration: the model calls into it, and the backends that know the
// model's controls (xstock_backends.cpp, backends/qt/) sit beside it.
//
// The keyboard state lives in the backend: a windowing backend feeds it
// from key events; headless and scripted backends from set_key_state.
//
//   xum::xscripted_backend ui;
//   xum::xui_backend_scope use(ui);
//   ui.queue_answer(xum::IDRETRY);
//
// Thread safety: the current backend belongs to the user-interface thread;
// install backends before other threads can show boxes.
#ifndef XUM_FRAMEWORK_XUI_BACKEND_H
#define XUM_FRAMEWORK_XUI_BACKEND_H

#include <deque>
#include <functional>
#include <iosfwd>
#include <optional>
#include <vector>

#include <array>
#include <cstdint>

#include "core/xexceptions.h"
#include "core/xexport.h"
#include "core/xmessage_box.h"
#include "core/xstr.h"

namespace xum {

class TCustomForm;
class TOpenDialog;
class xmodal_loop;
class TFont;

// A colour as 0x00BBGGRR (the same type as framework/tgraphics.h's).
using TColor = std::int32_t;

struct xscreen_size {
  int width;
  int height;
};

class XUM_API xui_backend {
 public:
  virtual ~xui_backend();

  // Shows a message box (flags as in core/xmessage_box.h) and returns the
  // button pressed (IDOK ...). Must not return a button the box lacks.
  virtual int message_box(const xstr& text, const xstr& caption, unsigned flags) = 0;

  // Presents `form` modally and runs its modal loop: turns `loop`, so the
  // main loop's work keeps running, and feeds the user's acts to the form
  // through loop.act, until loop.ended(); the form's ModalResult is then
  // the result and the return value is ignored. A backend that cannot go
  // on (its input or script is used up, its window was destroyed) returns
  // early with the result to use (mrNone: mrCancel); the form then ends
  // without asking its close query again. The base runs the waiting work
  // and answers mrCancel: the form was closed without a choice.
  virtual int show_modal(TCustomForm& form, xmodal_loop& loop);
  // One turn of the application's main loop (TApplication::Run,
  // ProcessMessages, HandleMessage): runs the main loop's ready work,
  // waiting up to timeout_ms (-1: until something happens) when nothing is
  // ready. A windowing backend turns its own event loop here, with the main
  // loop's descriptors, posted calls and timers delivered on it; exceptions
  // of the work propagate. The base runs xmain_loop::run_once.
  virtual void turn(int timeout_ms);
  // Shows a file dialog (open or save: dialog.IsSaveDialog()) and, when
  // the user chooses, fills the dialog's FileName and Files and returns
  // true. The base cancels.
  virtual bool file_dialog(TOpenDialog& dialog);
  // Shows a colour dialog that starts at `color` (0x00BBGGRR) and, when the
  // user chooses, puts the choice into `color` (high byte 0) and returns
  // true; a cancelled dialog leaves `color` alone. The base cancels.
  virtual bool color_dialog(TColor& color);

  // The clipboard's text; the base keeps it in the process.
  virtual UnicodeString clipboard_text();
  virtual void set_clipboard_text(const UnicodeString& text);

  // The base reports a 1920 x 1080 screen unless told otherwise.
  virtual xscreen_size screen_size();
  void set_screen_size(xscreen_size size) noexcept { screen_ = size; }
  // Width in pixels of `text` in `font`. The base estimates from the
  // font's pixel height: an average character is 11/20 of it wide.
  virtual int text_width(const TFont& font, const UnicodeString& text);

  // Key states of virtual-key codes 0-255 as the platform reports them:
  // bit 7 set while the key is down, bit 0 toggled (for lock keys).
  virtual std::uint8_t key_state(int vk);
  void set_key_state(int vk, bool down, bool toggled = false) noexcept;
  void clear_key_states() noexcept { keys_.fill(0); }

 private:
  UnicodeString clipboard_;
  xscreen_size screen_{1920, 1080};
  std::array<std::uint8_t, 256> keys_{};
};

// Presses the button (any control) named `name` on `form`, as a user would:
// it is clicked, which sets the form's modal result for a button that has
// one. Throws Exception "No control named <name> on form <form>" when the
// form has no such control. Returns the form's modal result afterwards
// (on a modal form, before its close query has decided).
XUM_API int xpress_button(TCustomForm& form, const UnicodeString& name);

// The state of one key (negative while it is down) and of all 256 keys,
// from the current backend.
XUM_API std::int16_t GetKeyState(int vk);
XUM_API bool GetKeyboardState(std::uint8_t state[256]);

// The current backend: the process-wide headless one unless another is set.
XUM_API xui_backend& xui();

// Makes `backend` current (not owned; it must outlive its use). Null restores
// the headless backend. Returns the previous one.
XUM_API xui_backend* xset_ui_backend(xui_backend* backend);

// The headless backend that `xui()` falls back to.
class xheadless_backend;
XUM_API xheadless_backend& xheadless_ui();

// Routes core's message boxes to the current backend (done at library load).
XUM_API void xinstall_ui_backend_hook() noexcept;

class XUM_API xheadless_backend final : public xui_backend {
 public:
  using rule_fn = std::function<int(const xstr& text, const xstr& caption, unsigned flags)>;

  xheadless_backend();
  ~xheadless_backend() override;

  using form_rule_fn = std::function<int(TCustomForm& form)>;
  using file_rule_fn = std::function<bool(TOpenDialog& dialog)>;
  using color_rule_fn = std::function<bool(TColor& color)>;

  // How boxes are answered; an empty rule answers with the default button.
  // An answer the box does not offer is replaced by the default button.
  void set_rule(rule_fn rule);
  // How modal forms are answered, after the main loop's waiting work has
  // run: the rule may fill edits and press buttons; what it returns closes
  // a form that has no result yet, as a button with that result would. An
  // empty rule presses the form's default button (a button with Default()
  // set) when it has one. A form that is still open then (no default
  // button, or its close query refused) ends with mrCancel.
  void set_form_rule(form_rule_fn rule);
  // How file dialogs are answered; an empty rule cancels.
  void set_file_rule(file_rule_fn rule);
  // How colour dialogs are answered (the rule may change the colour and
  // returns whether it was chosen); an empty rule cancels.
  void set_color_rule(color_rule_fn rule);
  // Where boxes are written; null writes nothing. Default: std::cerr.
  void set_output(std::ostream* out);

  int message_box(const xstr& text, const xstr& caption, unsigned flags) override;
  int show_modal(TCustomForm& form, xmodal_loop& loop) override;
  bool file_dialog(TOpenDialog& dialog) override;
  bool color_dialog(TColor& color) override;

 private:
  rule_fn rule_;
  form_rule_fn form_rule_;
  file_rule_fn file_rule_;
  color_rule_fn color_rule_;
  std::ostream* out_;
};

class XUM_API xscripted_backend final : public xui_backend {
 public:
  struct box {
    xstr text;
    xstr caption;
    unsigned flags;
    int answer;
    bool scripted;  // false when the queue was empty and the default was used
  };

  xscripted_backend();
  ~xscripted_backend() override;

  // Queues the answer to the next box.
  void queue_answer(int button);
  std::size_t pending() const { return answers_.size(); }
  // Every box shown so far, oldest first.
  const std::vector<box>& boxes() const { return boxes_; }

  // A step of a scripted modal form. It gets the form and its modal loop,
  // may fill edits, press buttons (xpress_button) or let time pass with
  // the loop running (loop.run(ms)), and returns a result that closes a
  // form without one, as a button with that result would (mrNone: none).
  using form_step = std::function<int(TCustomForm& form, xmodal_loop& loop)>;

  // Scripts for the next modal forms, one each, in the order the forms are
  // shown. The steps run in order until the form closes; a step whose
  // result the close query refuses is followed by the next one. Before
  // every step and after the last, the main loop's waiting work runs. A
  // form still open when its steps are used up, or shown with no script
  // left, ends with mrCancel without asking its close query again. An
  // exception of a step leaves ShowModal.

  // Presses the controls named, in order, until the form closes.
  void queue_press(std::vector<UnicodeString> names);
  // One step that gets only the form.
  void queue_form(std::function<int(TCustomForm& form)> answer);
  void queue_steps(std::vector<form_step> steps);
  // Captions of the modal forms shown so far, oldest first.
  const std::vector<UnicodeString>& forms() const { return forms_; }

  // The next file dialog chooses these files (none: it is cancelled).
  void queue_files(std::vector<UnicodeString> files);
  // Titles of the file dialogs shown so far.
  const std::vector<UnicodeString>& dialogs() const { return dialogs_; }

  // The next colour dialog chooses `color` (queue_color_cancel: it is
  // cancelled); with nothing queued a colour dialog is cancelled.
  void queue_color(TColor color);
  void queue_color_cancel();
  // The colours the colour dialogs shown so far started at.
  const std::vector<TColor>& color_dialogs() const { return color_dialogs_; }

  void clear();

  int message_box(const xstr& text, const xstr& caption, unsigned flags) override;
  int show_modal(TCustomForm& form, xmodal_loop& loop) override;
  bool file_dialog(TOpenDialog& dialog) override;
  bool color_dialog(TColor& color) override;

 private:
  std::deque<int> answers_;
  std::vector<box> boxes_;
  std::deque<std::vector<form_step>> form_answers_;
  std::vector<UnicodeString> forms_;
  std::deque<std::vector<UnicodeString>> files_;
  std::vector<UnicodeString> dialogs_;
  std::deque<std::optional<TColor>> colors_;
  std::vector<TColor> color_dialogs_;
};

// Makes a backend current for the lifetime of the scope.
class XUM_API xui_backend_scope {
 public:
  explicit xui_backend_scope(xui_backend& backend) : previous_(xset_ui_backend(&backend)) {}
  ~xui_backend_scope() { xset_ui_backend(previous_); }
  xui_backend_scope(const xui_backend_scope&) = delete;
  xui_backend_scope& operator=(const xui_backend_scope&) = delete;

 private:
  xui_backend* previous_;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_XUI_BACKEND_H
