// The UI backend: the one interface behind every interactive act of the
// library, so that the pieces above it work the same with or without a
// screen. This acts are message boxes; forms, file dialogs, the
// clipboard and the keyboard state join the same interface.
//
// Backends:
//   xheadless_backend  the default: writes each box to standard error (or a
//                      stream of the program's choice) and answers it with a
//                      rule the program sets, by default the box's default
//                      button;
//   xscripted_backend  for tests: answers from a queue and records each box.
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
#include <vector>

#include "core/xexport.h"
#include "core/xmessage_box.h"
#include "core/xstr.h"

namespace xum {

class XUM_API xui_backend {
 public:
  virtual ~xui_backend();

  // Shows a message box (flags as in core/xmessage_box.h) and returns the
  // button pressed (IDOK ...). Must not return a button the box lacks.
  virtual int message_box(const xstr& text, const xstr& caption, unsigned flags) = 0;
};

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

  // How boxes are answered; an empty rule answers with the default button.
  // An answer the box does not offer is replaced by the default button.
  void set_rule(rule_fn rule);
  // Where boxes are written; null writes nothing. Default: std::cerr.
  void set_output(std::ostream* out);

  int message_box(const xstr& text, const xstr& caption, unsigned flags) override;

 private:
  rule_fn rule_;
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
  void clear();

  int message_box(const xstr& text, const xstr& caption, unsigned flags) override;

 private:
  std::deque<int> answers_;
  std::vector<box> boxes_;
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
