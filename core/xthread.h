// xthread: a worker thread whose body is the virtual `execute` of a derived
// class. The thread starts on the first `resume()` and stops cooperatively:
// `stop()` and the destructor set the terminate flag, which the body polls,
// lift any suspension and wait until the body has returned.
//
//   class counter final : public xum::xthread {
//    public:
//     ~counter() override { stop(); }  // first, while the derived part is whole
//     std::atomic<long> ticks{0};
//
//    private:
//     void execute() override { while (!terminate_requested()) ++ticks; }
//   };
//   counter c;
//   c.resume();            // starts the thread
//   c.suspend();           // stops it where it is, at once
//   c.resume();            // does nothing: the thread has been started
//   c.resume_suspended();  // takes the suspension away: it goes on
//
// Suspension counts as on Windows: each `suspend()` needs one
// `resume_suspended()` before the thread runs again. `resume()` only ever
// starts the thread. An exception escaping `execute` ends the thread and
// sets `failed()`.
//
// Destruction: C++ destroys the derived part first, and the worker reaches
// `execute` through the object's virtual functions, so every derived class
// calls `stop()` first in its destructor; the xthread destructor then finds
// the body ended. Without that call the xthread destructor still stops the
// body (a worker that had not yet begun lands in the empty base `execute`),
// but a body already running may be using a part that is gone. Neither ever
// hangs on a suspended thread: every suspension is lifted first.
//
// Thread safety: `resume`, `resume_suspended`, `suspend`, `is_suspended`,
// `wait_for`, `stop` and the destructor belong to the owning thread;
// `execute` runs on the worker and reads the terminate flag.
#ifndef XUM_CORE_XTHREAD_H
#define XUM_CORE_XTHREAD_H

#include <atomic>
#include <exception>

#include "core/xexport.h"

namespace xum {

class XUM_API xthread {
 public:
  // Thrown when a call breaks the thread's contract: a std::exception
  // (what() names the failure and its code) that keeps the integer code the
  // calls have always thrown, and converts to it:
  //   try { t.suspend(); } catch (const xum::xthread::exceptions& e) { if (e == xum::xthread::not_started) ... }
  // Catching it by value works too, but GCC's -Wall warns, as for any
  // polymorphic exception.
  class XUM_API exceptions : public std::exception {
   public:
    enum code_t : int {
      not_started = 1,  // the operation needs a started thread
    };
    explicit exceptions(code_t code) noexcept : code_(code) {}
    ~exceptions() override;
    code_t code() const noexcept { return code_; }
    operator code_t() const noexcept { return code_; }
    // "The thread has not been started (xthread 1)".
    const char* what() const noexcept override;

   private:
    code_t code_;
  };
  static constexpr exceptions::code_t not_started = exceptions::not_started;

  xthread() noexcept = default;
  xthread(const xthread&) = delete;
  xthread& operator=(const xthread&) = delete;
  // stop(), unless the derived destructor has done so already.
  virtual ~xthread();

  // Starts the thread when it is not running (again after its body has
  // returned). On a running thread it does nothing: it does not lift a
  // suspension. When the system cannot create a thread, reports "Out of
  // system resources !" through xerror.
  void resume();
  // Stops the thread wherever it is and adds one to its suspend count;
  // returns when the thread is stopped. Throws `not_started` when the
  // thread is not running.
  void suspend();
  // Undoes one `suspend()`: the thread runs again when every suspension has
  // been undone. Does nothing on a thread that is not suspended; throws
  // `not_started` when the thread is not running.
  void resume_suspended();
  // True when the thread is not running or is suspended. Checks by
  // suspending it once and resuming it once.
  bool is_suspended();
  // Returns when the body has returned, checking every 100 ms. Never call
  // it on a thread suspended by `suspend()`: it would wait for ever.
  void wait_for();

  // Sets terminate, lifts every suspension, then waits until the body has
  // returned. The body must poll the flag. Any number of calls.
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
