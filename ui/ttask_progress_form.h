// TTaskProgressForm: a modal progress window for long work that runs on a
// worker thread: a caption, a line of text, a progress bar and Cancel.
//
//   bool saved = xum::RunTask(u"Saving", [&](xum::xtask_progress& p) {
//     for (int i = 0; i < n && !p.Cancelled(); ++i) {
//       p.SetText(u"Writing " + names[i]);
//       p.SetProgress(i, n);
//       write(i);                                   // on the worker thread
//     }
//   });
//
// or, with a form of one's own (to keep its size, texts or events):
//
//   xum::TTaskProgressForm form(nullptr);
//   form.SetCaption(u"Indexing");
//   switch (form.Run(work)) { case xum::toDone: ...; case xum::toCancelled: ...;
//                             case xum::toFailed: std::rethrow_exception(form.Failure()); }
//
// Run starts the work on a thread of its own (framework/tthread.h) and shows
// the form modally while it runs; the main loop keeps running, so the work
// reaches the user-interface thread through its xtask_progress:
//   SetText, SetProgress  never wait: they record the newest values and
//                         post one update to the main loop, which shows
//                         them (updates that come faster than the loop
//                         turns show only the latest); OnProgress runs
//                         after each update reached the form;
//   Synchronize           runs a call on the main thread and waits for it.
// Cancel (the button, Esc, the window's close box, or the program) asks the
// work to stop: Cancelled() turns true, CheckCancelled() throws XEAbort,
// the button is disabled and the text says StoppingText ("Stopping...")
// from then on; the form stays open until the work has returned. When the
// work returns, the form closes by itself (ModalResult mrOk when done,
// mrCancel when cancelled, mrAbort when it failed). Run returns only then,
// with the outcome:
//   toDone       the work returned and nobody asked it to stop;
//   toCancelled  Cancel was asked (the work returned or threw XEAbort);
//   toFailed     another exception escaped the work: Failure() holds it.
// RunTask presents a failure through Application()->HandleException after
// the form has closed (it is not raised again) and returns true only for
// toDone.
//
// Ends without the user: the form's modal display may end before the work
// does. When the application is told to terminate, the work is cancelled
// and waited for. A backend that shows no window (the headless one) ends
// the display at once: the work then runs to its end while Run waits, as
// if nobody watched. Either way Run never returns while the work runs, and
// never leaves the form open. After the application's run has ended (a last
// save on the way out), Run opens the main loop again while the task runs.
//
// Controls (named for the component localizer): "TextLabel" (TLabel),
// "ProgressBar" (TProgressBar, 0..Total of the latest SetProgress, or a
// moving bar while no total is known) and "CancelBtn" (TButton, Cancel).
//
// Thread safety: the form, Run and RunTask belong to the main thread; the
// xtask_progress handed to the work may be used from any thread while the
// work runs.
#ifndef XUM_UI_TTASK_PROGRESS_FORM_H
#define XUM_UI_TTASK_PROGRESS_FORM_H

#include <exception>
#include <functional>
#include <memory>

#include "core/xexport.h"
#include "framework/tcomctrls.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "framework/tthread.h"

namespace xum {

class TTaskProgressForm;

// The work's side of a progress form.
class XUM_API xtask_progress {
 public:
  // Whether the work was asked to stop; the work polls it.
  bool Cancelled() const noexcept;
  // Throws XEAbort when the work was asked to stop: a way out of deep
  // work that counts as cancelled, not as a failure.
  void CheckCancelled() const;
  // The line of text the form shows; ignored once the work stops.
  void SetText(const UnicodeString& Text);
  // Done of Total; a Total of 0 or less means the size is not known (the
  // bar moves without an amount). Done is kept within 0..Total.
  void SetProgress(long long Done, long long Total);
  // Runs Method on the main thread and waits for it (TThread::Synchronize).
  void Synchronize(const TThreadMethod& Method);

  struct state;  // shared with the form; opaque

 private:
  friend class TTaskProgressForm;
  explicit xtask_progress(std::shared_ptr<state> s) : state_(std::move(s)) {}
  std::shared_ptr<state> state_;
};

enum TTaskOutcome { toDone, toCancelled, toFailed };

class XUM_API TTaskProgressForm : public TForm {
 public:
  using TTaskWork = std::function<void(xtask_progress& Progress)>;

  explicit TTaskProgressForm(TComponent* AOwner);
  ~TTaskProgressForm() override;

  TLabel* TextLabel() const noexcept { return FTextLabel; }
  TProgressBar* ProgressBar() const noexcept { return FProgressBar; }
  TButton* CancelBtn() const noexcept { return FCancelBtn; }
  // What the text says once Cancel was asked; "Stopping..." at first.
  const UnicodeString& StoppingText() const noexcept { return FStoppingText; }
  void SetStoppingText(const UnicodeString& Value) { FStoppingText = Value; }

  // Runs Work on a worker thread with the form shown modally; returns when
  // the work has returned and the form is closed (see the header notes).
  // Raises EInvalidOperation while it runs already or off the main thread,
  // EThread when no thread can be started (the work does not run then).
  TTaskOutcome Run(TTaskWork Work);
  // Asks the running work to stop; nothing when none runs or it stops
  // already.
  void Cancel();
  bool Running() const noexcept { return FRunning; }
  bool Cancelling() const noexcept { return FCancelling; }
  // The exception that ended the last run, when it failed.
  std::exception_ptr Failure() const { return FFailure; }

  // The form closes only once the work has returned; until then a request
  // to close it asks the work to stop.
  bool CloseQuery() override;

  // After a SetText or SetProgress of the work has reached the form.
  TNotifyEvent OnProgress;

 private:
  friend struct xtask_progress::state;
  void apply(const UnicodeString* Text, long long Done, long long Total, bool HasProgress);
  void work_ended();

  TLabel* FTextLabel;
  TProgressBar* FProgressBar;
  TButton* FCancelBtn;
  UnicodeString FStoppingText;
  std::shared_ptr<xtask_progress::state> FState;
  bool FRunning = false;
  bool FCancelling = false;
  bool FEnded = false;
  std::exception_ptr FFailure;
};

// Runs Work under a new progress form titled Caption (Text its first line);
// true when the work ran to its end. A failure is presented after the form
// has closed (see above). Main thread only.
XUM_API bool RunTask(const UnicodeString& Caption, TTaskProgressForm::TTaskWork Work,
                     const UnicodeString& Text = UnicodeString());

}  // namespace xum

#endif  // XUM_UI_TTASK_PROGRESS_FORM_H
