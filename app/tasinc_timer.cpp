#include "app/tasinc_timer.h"

#include <chrono>

#include "platform/xos.h"

namespace xum {

TAsincTimerThread::~TAsincTimerThread() {
  RequestStop();
  // The body returns as soon as it is woken; looking for that every
  // millisecond keeps a short interval's timer from waiting the thread
  // wrapper's coarser polling.
  while (running()) platform::os().sleep_ms(1);
  stop();
}

void TAsincTimerThread::RequestStop() {
  {
    std::lock_guard<std::mutex> hold(lock_);
    Stop.store(true);
  }
  wake_.notify_all();
}

void TAsincTimerThread::Wake() {
  { std::lock_guard<std::mutex> hold(lock_); }
  wake_.notify_all();
}

void TAsincTimerThread::execute() {
  std::unique_lock<std::mutex> hold(lock_);
  while (!Stop.load()) {
    const int ms = Timer->Interval() > 0 ? Timer->Interval() : 1;
    // Sleeps the interval; only a stop request cuts it short.
    if (wake_.wait_for(hold, std::chrono::milliseconds(ms), [this] { return Stop.load(); })) break;
    Timer->Elapsed.store(true);
    // Disabled: the thread rests here until it is enabled again or stopped.
    wake_.wait(hold, [this] { return Stop.load() || Timer->Enabled(); });
  }
}

TAsincTimer::TAsincTimer(TComponent* AOwner)
    : TComponent(AOwner), thread_(std::make_unique<TAsincTimerThread>(this)) {}

TAsincTimer::~TAsincTimer() {
  thread_->RequestStop();
  thread_.reset();
}

void TAsincTimer::SetEnabled(bool Value) {
  if (enabled_.load() == Value) return;
  enabled_.store(Value);
  if (!Value || (ComponentState() & csDesigning) != 0) return;
  if (!started_) {
    started_ = true;
    thread_->resume();
  } else {
    thread_->Wake();
  }
}

}  // namespace xum
