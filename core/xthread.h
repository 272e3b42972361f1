// xthread: a worker thread whose body is the virtual `execute` of a derived
// class. The thread starts on the first `resume()` and stops cooperatively:
// the destructor sets the terminate flag, which the body polls, and waits
// until the body has returned.
//
//   class counter final : public xum::xthread {
//     void execute() override { while (!terminate_requested()) ++ticks; }
//    public:
//     std::atomic<long> ticks{0};
//   };
//   counter c;
//   c.resume();          // starts the thread
//   c.suspend();         // stops it where it is, at once
//   c.resume();          // lets it go on
//   c.stop();            // terminate, resume while suspended, wait
//
// Suspension counts as on Windows: each `suspend()` needs one `resume()`
// before the thread runs again. An exception escaping `execute` ends the
// thread and sets `failed()`.
//
// Thread safety: `resume`, `suspend`, `is_suspended`, `wait_for` and the
// destructor belong to the owning thread; `execute` runs on the worker and
// reads the terminate flag. The xthread destructor stops the body only after
// the derived part is destroyed, so a derived class whose body uses its own
// members calls `stop()` in its destructor.
#ifndef XUM_CORE_XTHREAD_H
#define XUM_CORE_XTHREAD_H

#include <atomic>

#include "core/xexport.h"

namespace xum {

class XUM_API xthread {
 public:
  // Codes thrown by value.
  enum exceptions : int {
    not_started = 1,  // the operation needs a started thread
  };

  xthread() noexcept = default;
  xthread(const xthread&) = delete;
  xthread& operator=(const xthread&) = delete;
  // stop(), unless the derived destructor has done so already.
  virtual ~xthread();

  // Starts the thread when it is not running (again after its body has
  // returned). On a running thread it undoes one `suspend()`, and does
  // nothing when the thread is not suspended. When the system cannot create
  // a thread, reports "Out of system resources !" through xerror.
  void resume();
  // Stops the thread wherever it is and adds one to its suspend count;
  // returns when the thread is stopped. Throws `not_started` when the
  // thread is not running.
  void suspend();
  // True when the thread is not running or is suspended. Checks by
  // suspending it once and resuming it once.
  bool is_suspended();
  // Returns when the body has returned, checking every 100 ms. Never call
  // it on a thread suspended by `suspend()`: it would wait for ever.
  void wait_for();

  // Sets terminate, resumes the thread while it is suspended, then waits
  // until the body has returned. The body must poll the flag.
  void stop();
  // Asks the body to return (it polls `terminate_requested`).
  void request_terminate() noexcept { terminate_.store(true); }
  // Whether the body is running (it has been started and not returned).
  bool running() const noexcept { return running_.load(); }
  // Whether the last run of the body ended by an exception.
  bool failed() const noexcept { return failed_.load(); }

  // Names the calling thread for debuggers and process listings (the first
  // 15 bytes count). A null name is ignored.
  static void _set_debug_name(const char* name) noexcept;

 protected:
  // The thread body. The base version does nothing: a worker that reaches
  // the call only after the derived part of the object is gone (destroyed
  // right after `resume()`) lands here and ends at once, rather than on a
  // pure virtual call.
  virtual void execute() {}

  // Set by the destructor or `request_terminate`; the body returns soon after.
  bool terminate_requested() const noexcept { return terminate_.load(); }
  // The Windows priority (-2 lowest .. 2 highest, 0 normal) given to the
  // thread when it starts; best effort.
  void set_priority(int priority) noexcept { priority_ = priority; }

 private:
  static void run(void* self);

  void* thread_ = nullptr;              // the platform's last started thread, owner side
  std::atomic<bool> running_{false};    // set on start, cleared by the worker at the end
  std::atomic<bool> terminate_{false};
  std::atomic<bool> failed_{false};
  int priority_ = 0;
};

}  // namespace xum

#endif  // XUM_CORE_XTHREAD_H
