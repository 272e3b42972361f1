#include "framework/tthread.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <system_error>

#include "core/xutf.h"
#include "framework/tapplication.h"
#include "framework/xmain_loop.h"

namespace xum {

namespace {

// Runs the calls posted to the main loop; an exception of one goes to the
// application, as it would from the loop itself, and the rest stay queued
// for the next round.
void run_posted_calls(TObject* sender) noexcept {
  try {
    xmain_loop::instance().run_posted();
  } catch (...) {
    xhandle_exception(sender);
  }
}

}  // namespace

TThread::TThread() = default;

TThread::TThread(TThreadBody Body) : FBody(std::move(Body)) {}

TThread::~TThread() {
  bool running;
  {
    std::lock_guard guard(FLock);
    running = FStarted && !FFinished;
  }
  if (running && !FBody && !on_own_thread()) {
    // The derived part is gone while its Execute may still use it.
    std::fputs(
        "TThread destroyed while its Execute runs: the destructor of the class that overrides Execute must "
        "call Stop() first\n",
        stderr);
    std::abort();
  }
  Stop();
  std::lock_guard guard(FLock);
  if (FThread.joinable()) FThread.detach();  // destroyed from its own thread
}

void TThread::Start() {
  std::lock_guard guard(FLock);
  if (FStarted) return;
  FOnTerminate = OnTerminate;
  try {
    FThread = std::thread([this] { run(); });
  } catch (const std::system_error& e) {
    throw EThread(u"Thread creation error: " + xutf8_to_utf16(e.what()));
  }
  FStarted = true;
}

void TThread::Execute() {
  if (FBody) FBody(*this);
}

void TThread::run() {
  std::exception_ptr fatal;
  try {
    Execute();
  } catch (...) {
    fatal = std::current_exception();
  }
  if (FOnTerminate) {
    // On the main thread while this thread waits: the owner is still in
    // Stop or WaitFor, so the object is whole.
    try {
      Synchronize([this] {
        try {
          FOnTerminate(this);
        } catch (...) {
          Application()->HandleException(this);
        }
      });
    } catch (...) {
      // The main loop has shut down: the handler does not run.
    }
  }
  std::lock_guard guard(FLock);
  FFatal = fatal;
  FFinished = true;
  // The owner joins this thread before the object goes (Stop, WaitFor and
  // the destructor all do), so these last uses of it are safe.
  FDone.notify_all();
}

bool TThread::on_own_thread() {
  std::lock_guard guard(FLock);
  return FThread.get_id() == std::this_thread::get_id();
}

std::exception_ptr TThread::FatalException() const {
  std::lock_guard guard(FLock);
  return FFatal;
}

void TThread::wait_finished() noexcept {
  const bool main = xmain_loop::instance().in_main_thread();
  std::unique_lock guard(FLock);
  while (FStarted && !FFinished) {
    if (!main) {
      FDone.wait(guard);
      continue;
    }
    // The thread may be waiting in Synchronize for this very thread.
    guard.unlock();
    run_posted_calls(this);
    guard.lock();
    FDone.wait_for(guard, std::chrono::milliseconds(2));
  }
}

void TThread::join() noexcept {
  std::lock_guard guard(FLock);
  if (FThread.joinable() && FThread.get_id() != std::this_thread::get_id()) {
    try {
      FThread.join();
    } catch (const std::system_error&) {
      // Only a thread that is not joinable throws, and that was checked.
    }
  }
}

int TThread::WaitFor() {
  if (on_own_thread()) throw EThread(u"A thread cannot wait for itself");
  wait_finished();
  join();
  return ReturnValue;
}

void TThread::Stop() noexcept {
  Terminate();
  if (on_own_thread()) return;
  wait_finished();
  join();
}

void TThread::Synchronize(const TThreadMethod& Method) { Synchronize(this, Method); }

void TThread::Synchronize(TThread*, const TThreadMethod& Method) {
  xmain_loop& loop = xmain_loop::instance();
  if (loop.in_main_thread()) {
    Method();
    return;
  }
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> result = done->get_future();
  const bool queued = loop.post(
      [done, &Method] {
        try {
          Method();
          done->set_value();
        } catch (...) {
          done->set_exception(std::current_exception());
        }
      },
      [done] { done->set_exception(std::make_exception_ptr(EThread(u"The main loop is shutting down"))); });
  if (!queued) throw EThread(u"The main loop is shutting down");
  result.get();
}

}  // namespace xum
