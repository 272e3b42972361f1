// TAsincTimer: raises a flag at a fixed interval from a background thread,
// for programs that poll (once per frame, per loop turn) instead of
// handling timer events.
//
//   auto* timer = new xum::TAsincTimer(form);
//   timer->SetInterval(40);
//   timer->SetEnabled(true);          // first flag one full interval from now
//   ...
//   if (timer->Elapsed) { timer->Elapsed = false; step(); }
//
// The thread (an xthread) is made when the timer is and started on the
// first enabling outside the form designer. Each turn it sleeps Interval
// milliseconds (read at the start of the sleep, at least 1), sets Elapsed,
// and, when the timer is no longer enabled, waits until it is enabled again
// or destroyed; so after disabling, the flag is set once more at the end of
// the current interval. The component never clears the flag. A timer being
// designed (csDesigning) never starts its thread. Destruction wakes a
// sleeping thread and waits for it, at most one interval.
//
// Thread safety: Elapsed is written by the timer's thread and read and
// cleared by the program's (an atomic flag, never locked by the program);
// SetEnabled, SetInterval and destruction belong to the owning thread.
#ifndef XUM_APP_TASINC_TIMER_H
#define XUM_APP_TASINC_TIMER_H

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "core/xexport.h"
#include "core/xthread.h"
#include "framework/tcomponent.h"

namespace xum {

class TAsincTimer;

class XUM_API TAsincTimerThread final : public xthread {
 public:
  explicit TAsincTimerThread(TAsincTimer* timer) : Timer(timer) {}
  ~TAsincTimerThread() override;

  // Asks the body to end and wakes it wherever it waits.
  void RequestStop();
  // Wakes a thread that waits to be enabled again.
  void Wake();

  std::atomic<bool> Stop{false};
  TAsincTimer* const Timer;

 private:
  void execute() override;

  std::mutex lock_;
  std::condition_variable wake_;
};

class XUM_API TAsincTimer : public TComponent {
 public:
  explicit TAsincTimer(TComponent* AOwner);
  ~TAsincTimer() override;

  int Interval() const noexcept { return interval_.load(); }
  void SetInterval(int Value) noexcept { interval_.store(Value); }
  bool Enabled() const noexcept { return enabled_.load(); }
  void SetEnabled(bool Value);

  // Set by the thread at the end of each interval; cleared by the program.
  std::atomic<bool> Elapsed{false};

  // Whether the thread has been started (for tests of the designer rule).
  bool ThreadStarted() const noexcept { return started_; }

 private:
  friend class TAsincTimerThread;
  std::atomic<int> interval_{1000};
  std::atomic<bool> enabled_{false};
  bool started_ = false;
  std::unique_ptr<TAsincTimerThread> thread_;
};

}  // namespace xum

#endif  // XUM_APP_TASINC_TIMER_H
