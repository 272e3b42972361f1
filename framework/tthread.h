// Framework threads: Execute runs on a thread of its own, and Synchronize
// runs a call on the main thread while the calling thread waits.
//
//   class worker : public xum::TThread {
//    public:
//     explicit worker(xum::TLabel* label) : label_(label) {}
//     ~worker() override { Stop(); }  // first of all: Execute uses the members
//
//    protected:
//     void Execute() override {
//       while (!Terminated()) {
//         ++ticks_;
//         Synchronize([&] { label_->SetCaption(ticks_ % 2 ? u"tick" : u"tock"); });
//       }
//     }
//
//    private:
//     xum::TLabel* label_;
//     long ticks_ = 0;
//   };
//   worker w(label);
//   w.Start();   // C++ cannot run Execute of a half-built object: threads
//                // start when told, after construction
//
// A body needs no class of its own; the thread then owns it and stops it:
//
//   xum::TThread t([&](xum::TThread& self) { while (!self.Terminated()) step(); });
//   t.Start();
//
// Destruction runs in this order, and throws nothing:
//   1. The destructor of the class that overrides Execute calls Stop():
//      Terminate, then wait until Execute has returned and OnTerminate has
//      run. Waiting on the main thread keeps the main loop's posted calls
//      running (the thread may wait in Synchronize); an exception of one of
//      them goes to Application()->HandleException, as in the main loop.
//   2. That class's members are destroyed; nothing uses them any more.
//   3. ~TThread stops a body given to the constructor the same way (the
//      body is still whole then). An overridden Execute that still runs at
//      this point means step 1 was left out and Execute may be using members
//      that are gone: ~TThread says so on standard error and aborts the
//      process rather than go on with freed memory, as std::thread does for
//      a thread nobody joined. A class further down that overrides Execute
//      again calls Stop() in its own destructor too; Stop() may be called
//      any number of times.
// Never destroy a thread object from its own Execute or OnTerminate.
//
// Synchronize from the main thread runs the call at once. A call the main
// loop abandons because it shuts down raises EThread in the waiting thread,
// so a thread never waits forever; an exception of the call itself is
// raised again in the waiting thread.
//
// Thread safety: Terminate, Terminated and Synchronize from any thread;
// Start, WaitFor, Stop and the destructor from any thread but the thread's
// own; OnTerminate is set before Start.
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

// A thread could not be started or waited for, or the main loop shut down
// under a waiting Synchronize. A std::exception: what() gives the message.
class XUM_API EThread : public Exception {
 public:
  using Exception::Exception;
};

using TThreadMethod = std::function<void()>;

class XUM_API TThread : public TObject {
 public:
  using TThreadBody = std::function<void(TThread& Self)>;

  // A thread whose body is the Execute of a derived class.
  TThread();
  // A thread whose body is `Body` (Execute runs it unless overridden).
  explicit TThread(TThreadBody Body);
  // Stops a body given to the constructor (see the order above).
  ~TThread() override;

  // Starts the thread; later calls do nothing. Raises EThread when the
  // system cannot start one.
  void Start();
  // Sets the flag Execute is expected to poll.
  void Terminate() noexcept { FTerminated = true; }
  bool Terminated() const noexcept { return FTerminated; }
  // Waits until Execute has returned and OnTerminate has run, and gives
  // ReturnValue; returns at once when the thread was never started. On the
  // main thread, calls posted to the main loop keep running while it waits.
  // Raises EThread when called from the thread itself.
  int WaitFor();
  // Terminate, then WaitFor; from the thread itself only Terminate. Throws
  // nothing.
  void Stop() noexcept;
  // Whether Execute has returned and OnTerminate has run.
  bool Finished() const noexcept { return FFinished; }
  // The exception that escaped Execute, if any.
  std::exception_ptr FatalException() const;

  // Runs Method on the main thread and waits for it.
  void Synchronize(const TThreadMethod& Method);
  static void Synchronize(TThread* Thread, const TThreadMethod& Method);

  // Called on the main thread when Execute has returned, through
  // Synchronize: the thread (and WaitFor, Stop) waits until it has run, so
  // the object is whole while it runs. Taken when Start is called; not run
  // when the main loop has shut down. Its exceptions go to
  // Application()->HandleException.
  TNotifyEvent OnTerminate;

 protected:
  // The thread body; this one runs the body given to the constructor.
  virtual void Execute();
  int ReturnValue = 0;

 private:
  void run();
  bool on_own_thread();
  void wait_finished() noexcept;
  void join() noexcept;

  TThreadBody FBody;
  TNotifyEvent FOnTerminate;  // OnTerminate as Start found it
  std::atomic<bool> FTerminated{false};
  std::atomic<bool> FFinished{false};
  std::exception_ptr FFatal;
  std::thread FThread;
  mutable std::mutex FLock;
  std::condition_variable FDone;
  bool FStarted = false;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TTHREAD_H
