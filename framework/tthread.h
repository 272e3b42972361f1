// Framework threads: Execute runs on a thread of its own, and Synchronize
// runs a call on the main thread while the calling thread waits.
//
//   class worker : public xum::TThread {
//    public:
//     void Execute() override {
//       while (!Terminated()) Synchronize([&] { label->SetCaption(u"tick"); });
//     }
//   };
//   worker w;
//   w.Start();   // C++ cannot run Execute of a half-built object: threads
//                // start when told, after construction
//
// Synchronize from the main thread runs the call at once. A call the main
// loop abandons because it shuts down raises EThread in the waiting thread,
// so a thread never waits forever; an exception of the call itself is
// raised again in the waiting thread.
//
// Thread safety: Terminate, Terminated and Synchronize from any thread.
#ifndef XUM_FRAMEWORK_TTHREAD_H
#define XUM_FRAMEWORK_TTHREAD_H

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

#include "core/xexceptions.h"
#include "core/xexport.h"
#include "framework/tcomponent.h"

namespace xum {

class XUM_API EThread : public Exception {
 public:
  using Exception::Exception;
};

using TThreadMethod = std::function<void()>;

class XUM_API TThread : public TObject {
 public:
  TThread();
  // Terminates, then waits for the thread (running the main loop's posted
  // calls meanwhile when called on the main thread).
  ~TThread() override;

  // Starts the thread; later calls do nothing.
  void Start();
  // Sets the flag Execute is expected to poll.
  void Terminate() noexcept { FTerminated = true; }
  bool Terminated() const noexcept { return FTerminated; }
  // Waits until Execute has returned and gives ReturnValue. On the main
  // thread, calls posted by Synchronize keep running while it waits.
  int WaitFor();
  bool Finished() const noexcept { return FFinished; }
  // The exception that escaped Execute, if any.
  std::exception_ptr FatalException() const { return FFatal; }

  // Runs Method on the main thread and waits for it.
  void Synchronize(const TThreadMethod& Method);
  static void Synchronize(TThread* Thread, const TThreadMethod& Method);

  // Called on the main thread when Execute has returned (through the loop).
  TNotifyEvent OnTerminate;

 protected:
  virtual void Execute() = 0;
  int ReturnValue = 0;

 private:
  void run();

  std::atomic<bool> FTerminated{false};
  std::atomic<bool> FFinished{false};
  std::exception_ptr FFatal;
  std::thread FThread;
  std::mutex FLock;
  std::condition_variable FDone;
  bool FStarted = false;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TTHREAD_H
