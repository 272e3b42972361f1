// The modal loop of a form: what runs while TCustomForm::ShowModal waits
// for the user. ShowModal creates one and hands it to the UI backend's
// show_modal, which presents the form, feeds the user's acts to it and
// turns the loop until it ends; the main loop's posted calls
// (TThread::Synchronize), watched descriptors and timers keep running
// meanwhile, as under the host framework's modal loop.
//
//   int my_backend::show_modal(xum::TCustomForm& form, xum::xmodal_loop& loop) {
//     present(form);
//     while (!loop.turn(-1)) {}     // until the form closes
//     return xum::mrCancel;         // ignored: the form's ModalResult is the result
//   }
//   // a click on a mirrored button:  loop.act([&] { button->Click(); });
//   // the window's close box:        loop.act([&] { form.Close(); });
//
// The form closes when its ModalResult is set (a button with a modal result,
// Close, the program) and its close query accepts: CloseQuery, then OnClose
// (caHide by default; caNone keeps the form open; caFree releases it once
// ShowModal has returned). A refusal sets ModalResult back to mrNone and the
// form stays open. Terminating the application while the loop runs ends
// it with mrCancel. Modal forms nest: a form shown modally from inside
// another's loop runs its own loop, and the outer one goes on afterwards.
//
// Thread safety: the main thread only.
#ifndef XUM_FRAMEWORK_XMODAL_LOOP_H
#define XUM_FRAMEWORK_XMODAL_LOOP_H

#include <functional>

#include "core/xexport.h"

namespace xum {

class TCustomForm;

class XUM_API xmodal_loop {
 public:
  xmodal_loop(const xmodal_loop&) = delete;
  xmodal_loop& operator=(const xmodal_loop&) = delete;

  TCustomForm& form() const noexcept { return form_; }

  // Whether the form's modal display is over. A ModalResult set since the
  // last call is put to the close query here; an exception of the query
  // goes to Application()->HandleException and counts as a refusal.
  bool ended();
  // Sets ModalResult as a button with that result would; returns ended().
  bool close_with(int result);
  // Runs one act of the user on the form (text typed into an edit, a
  // click) as an event of the loop: an exception goes to
  // Application()->HandleException and the form stays open. Returns ended().
  bool act(const std::function<void()>& what);
  // One turn of the main loop: posted calls, ready watches and due timers
  // run, waiting up to timeout_ms (-1: until something happens) when
  // nothing is ready; exceptions go to Application()->HandleException.
  // Off the main thread nothing runs. Returns ended().
  bool turn(int timeout_ms);
  // Turns the loop until the modal display ends or timeout_ms have passed
  // (-1: no limit). Returns ended().
  bool run(int timeout_ms = -1);

 private:
  friend class TCustomForm;
  explicit xmodal_loop(TCustomForm& form);

  TCustomForm& form_;
  bool ended_ = false;
  bool release_ = false;            // OnClose chose caFree
  const unsigned terminations_;     // Application's count when the loop began
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_XMODAL_LOOP_H
