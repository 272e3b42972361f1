#include "ui/ttask_progress_form.h"

#include <atomic>
#include <climits>
#include <memory>
#include <mutex>
#include <utility>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "framework/tapplication.h"
#include "framework/xmain_loop.h"

namespace xum {

// What the work reports, waiting for the main loop. The worker writes under
// the lock; `form` is the main thread's alone (posted calls run there).
struct xtask_progress::state {
  std::atomic<bool> cancelled{false};
  std::mutex lock;
  UnicodeString text;
  bool has_text = false;
  long long done = 0;
  long long total = 0;
  bool has_progress = false;
  bool posted = false;  // an update is queued on the main loop
  TTaskProgressForm* form = nullptr;

  static void deliver(const std::shared_ptr<state>& s);
};

namespace {

using state_ptr = std::shared_ptr<xtask_progress::state>;

// Largest bar range used as it is; larger totals are scaled to it.
constexpr long long scaled_range = 1000000;

}  // namespace

bool xtask_progress::Cancelled() const noexcept { return state_->cancelled.load(); }

void xtask_progress::CheckCancelled() const {
  if (Cancelled()) throw XEAbort(u"The task was cancelled");
}

// Shows the newest values on the form, on the main thread. One update is
// queued at a time: values that arrive before it runs replace each other.
void xtask_progress::state::deliver(const state_ptr& s) {
  UnicodeString text;
  bool has_text, has_progress;
  long long done, total;
  {
    std::lock_guard guard(s->lock);
    s->posted = false;
    has_text = std::exchange(s->has_text, false);
    has_progress = std::exchange(s->has_progress, false);
    text = std::move(s->text);
    done = s->done;
    total = s->total;
  }
  if (s->form != nullptr) s->form->apply(has_text ? &text : nullptr, done, total, has_progress);
}

static void post_update(const state_ptr& s, std::unique_lock<std::mutex>& guard) {
  if (s->posted) return;
  s->posted = true;
  guard.unlock();
  if (!xmain_loop::instance().post([s] { xtask_progress::state::deliver(s); })) {
    // The main loop has shut down: nobody shows progress any more.
    guard.lock();
    s->posted = false;
  }
}

void xtask_progress::SetText(const UnicodeString& Text) {
  std::unique_lock guard(state_->lock);
  state_->text = Text;
  state_->has_text = true;
  post_update(state_, guard);
}

void xtask_progress::SetProgress(long long Done, long long Total) {
  std::unique_lock guard(state_->lock);
  state_->done = Done;
  state_->total = Total;
  state_->has_progress = true;
  post_update(state_, guard);
}

void xtask_progress::Synchronize(const TThreadMethod& Method) { TThread::Synchronize(nullptr, Method); }

// ---- TTaskProgressForm ----

TTaskProgressForm::TTaskProgressForm(TComponent* AOwner)
    : TForm(AOwner),
      FTextLabel(new TLabel(this)),
      FProgressBar(new TProgressBar(this)),
      FCancelBtn(new TButton(this)),
      FStoppingText(u"Stopping...") {
  SetBorderStyle(bsDialog);
  SetBounds(0, 0, 400, 116);
  FTextLabel->SetName(u"TextLabel");
  FTextLabel->SetParent(this);
  FTextLabel->SetBounds(12, 12, 376, 17);
  FProgressBar->SetName(u"ProgressBar");
  FProgressBar->SetParent(this);
  FProgressBar->SetBounds(12, 36, 376, 20);
  FCancelBtn->SetName(u"CancelBtn");
  FCancelBtn->SetParent(this);
  FCancelBtn->SetCaption(ToUnicode(msg::Cancel.text));
  FCancelBtn->SetCancel(true);
  FCancelBtn->SetBounds(313, 72, 75, 25);
  FCancelBtn->OnClick = [this](TObject*) { Cancel(); };
}

TTaskProgressForm::~TTaskProgressForm() = default;

void TTaskProgressForm::apply(const UnicodeString* Text, long long Done, long long Total, bool HasProgress) {
  if (Text != nullptr && !FCancelling) FTextLabel->SetCaption(*Text);
  if (HasProgress) {
    if (Total <= 0) {
      FProgressBar->SetStyle(pbstMarquee);
    } else {
      FProgressBar->SetStyle(pbstNormal);
      const long long done = Done < 0 ? 0 : Done > Total ? Total : Done;
      if (Total <= scaled_range) {
        FProgressBar->SetRange(0, static_cast<int>(Total));
        FProgressBar->SetPosition(static_cast<int>(done));
      } else {
        FProgressBar->SetRange(0, static_cast<int>(scaled_range));
        FProgressBar->SetPosition(
            static_cast<int>(static_cast<long double>(done) * scaled_range / static_cast<long double>(Total)));
      }
    }
  }
  if (OnProgress) OnProgress(this);
}

void TTaskProgressForm::Cancel() {
  if (!FRunning || FEnded || FCancelling) return;
  FCancelling = true;
  FState->cancelled = true;
  FCancelBtn->SetEnabled(false);
  FTextLabel->SetCaption(FStoppingText);
}

bool TTaskProgressForm::CloseQuery() {
  if (FRunning && !FEnded) {
    Cancel();
    return false;
  }
  return TForm::CloseQuery();
}

TTaskOutcome TTaskProgressForm::Run(TTaskWork Work) {
  if (FRunning) throw EInvalidOperation(u"The task progress form runs a task already");
  // Also makes the main loop before the worker could: a loop first reached
  // from the worker would take the worker for the main thread.
  if (!xmain_loop::instance().in_main_thread())
    throw EInvalidOperation(u"A task progress form runs on the main thread only");
  FState = std::make_shared<xtask_progress::state>();
  FState->form = this;
  FCancelling = false;
  FEnded = false;
  FFailure = nullptr;
  FCancelBtn->SetEnabled(true);
  FProgressBar->SetStyle(pbstMarquee);  // until the work tells its size
  FProgressBar->SetPosition(FProgressBar->Min());

  xtask_progress progress(FState);
  // Written by the worker before it ends; read on the main thread after
  // OnTerminate's Synchronize, which orders the two.
  std::exception_ptr failure;
  TThread worker([&Work, &progress, &failure](TThread&) {
    try {
      Work(progress);
    } catch (...) {
      failure = std::current_exception();
    }
  });
  // The work has returned: close the form (on the main thread, while the
  // worker waits).
  worker.OnTerminate = [this, &failure](TObject*) {
    FEnded = true;
    if (!Modal()) return;
    TModalResult result = FState->cancelled ? mrCancel : mrOk;
    if (failure) {
      try {
        std::rethrow_exception(failure);
      } catch (const XEAbort&) {
        result = mrCancel;
      } catch (...) {
        result = mrAbort;
      }
    }
    SetModalResult(result);
  };

  FRunning = true;
  // A task run after the application's run has ended (a last save on the
  // way out) needs the main loop the run shut down: it is open while the
  // task runs.
  xmain_loop& loop = xmain_loop::instance();
  const bool reopened = loop.is_shut_down();
  if (reopened) loop.open();
  // However Run leaves, the work has returned first.
  struct finish {
    TTaskProgressForm& form;
    TThread& worker;
    bool shut_again;
    ~finish() {
      if (!worker.Finished()) form.FState->cancelled = true;
      worker.Stop();
      form.FState->form = nullptr;
      form.FRunning = false;
      if (shut_again) xmain_loop::instance().shutdown();
    }
  } guard{*this, worker, reopened};

  worker.Start();
  const bool terminated_before = Application()->Terminated();
  ShowModal();
  if (!worker.Finished()) {
    // The display ended without the work: an application that terminates
    // stops it; otherwise (a backend without windows) it runs to its end.
    if (!terminated_before && Application()->Terminated()) Cancel();
    worker.WaitFor();
  }
  if (failure) {
    try {
      std::rethrow_exception(failure);
    } catch (const XEAbort&) {
      return toCancelled;
    } catch (...) {
      FFailure = failure;
      return toFailed;
    }
  }
  return FState->cancelled ? toCancelled : toDone;
}

bool RunTask(const UnicodeString& Caption, TTaskProgressForm::TTaskWork Work, const UnicodeString& Text) {
  const std::unique_ptr<TTaskProgressForm> form = std::make_unique<TTaskProgressForm>(nullptr);
  form->SetName(u"TaskProgressForm");
  form->SetCaption(Caption);
  form->TextLabel()->SetCaption(Text);
  const TTaskOutcome outcome = form->Run(std::move(Work));
  if (outcome == toFailed) {
    try {
      std::rethrow_exception(form->Failure());
    } catch (...) {
      Application()->HandleException(form.get());
    }
  }
  return outcome == toDone;
}

}  // namespace xum
