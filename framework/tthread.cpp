#include "framework/tthread.h"

#include <chrono>
#include <future>
#include <memory>

#include "framework/xmain_loop.h"

namespace xum {

TThread::TThread() = default;

TThread::~TThread() {
  Terminate();
  if (FStarted) WaitFor();
  if (FThread.joinable()) FThread.join();
}

void TThread::Start() {
  std::lock_guard guard(FLock);
  if (FStarted) return;
  FStarted = true;
  FThread = std::thread([this] { run(); });
}

void TThread::run() {
  try {
    Execute();
  } catch (...) {
    FFatal = std::current_exception();
  }
  {
    std::lock_guard guard(FLock);
    FFinished = true;
  }
  FDone.notify_all();
  if (OnTerminate) {
    // The handler belongs to the main thread; a loop that has shut down
    // simply does not run it.
    TNotifyEvent handler = OnTerminate;
    xmain_loop::instance().post([handler, this] { handler(this); });
  }
}

int TThread::WaitFor() {
  xmain_loop& loop = xmain_loop::instance();
  const bool main = loop.in_main_thread();
  std::unique_lock guard(FLock);
  while (!FFinished) {
    if (!main) {
      FDone.wait(guard);
      continue;
    }
    // The thread may be waiting in Synchronize for this very thread.
    guard.unlock();
    loop.run_posted();
    guard.lock();
    FDone.wait_for(guard, std::chrono::milliseconds(2));
  }
  guard.unlock();
  if (FThread.joinable()) FThread.join();
  return ReturnValue;
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
