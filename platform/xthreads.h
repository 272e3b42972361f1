// Threads of the operating system with suspension that counts as the
// Windows thread calls do: every suspend adds one to the thread's suspend
// count, every resume takes one away, and the thread runs only while the
// count is 0. Suspension is real and asynchronous: the thread is stopped
// wherever it is, by a signal whose handler waits until the count is back
// at 0. core/xthread builds the library's worker thread on these.
//
//   xum::platform::thread* t = xum::platform::start_thread(body, arg, 0);
//   xum::platform::suspend_thread(t);   // returns 0: it was running
//   xum::platform::resume_thread(t);    // returns 1: it runs again
//   xum::platform::release_thread(t);
//
// The library claims one real-time signal (`suspend_signal()`); a thread that
// blocks it cannot be suspended, and suspend_thread then waits until the
// thread unblocks it or ends.
//
// Thread safety: every function may be called from any thread.
#ifndef XUM_PLATFORM_XTHREADS_H
#define XUM_PLATFORM_XTHREADS_H

#include "core/xexport.h"

namespace xum::platform {

// A started thread (opaque). It lives until both the thread has ended and
// the starter has called release_thread.
struct thread;

using thread_body = void (*)(void* arg);

// The most suspensions a thread can hold, as on Windows.
inline constexpr int max_suspend_count = 127;

// Starts a detached thread that runs body(arg) with the system's default
// stack. `priority` is a Windows thread priority (-15 idle, -2 lowest, 0
// normal, 2 highest, 15 time-critical) applied as the thread's nice value,
// best effort: a raise the process may not make is ignored. Returns null
// when no thread can be created.
XUM_API thread* start_thread(thread_body body, void* arg, int priority);

// Drops the starter's hold on `t`; null is ignored.
XUM_API void release_thread(thread* t) noexcept;

// Adds one to the suspend count and returns the count before; when it was
// 0, the thread is stopped before this returns (a thread suspending itself
// stops here until another thread resumes it). At max_suspend_count nothing
// changes and -1 is returned. A thread that has ended only counts.
XUM_API int suspend_thread(thread* t) noexcept;

// Takes one from the suspend count and returns the count before; the thread
// runs again when the count reaches 0. At 0 nothing changes and 0 is
// returned.
XUM_API int resume_thread(thread* t) noexcept;

// The signal that suspends threads.
XUM_API int suspend_signal() noexcept;

// Sleeps the calling thread for `ms` milliseconds.
XUM_API void sleep_ms(int ms) noexcept;

// Names the calling thread for debuggers and process listings (the system
// keeps the first 15 bytes).
XUM_API void set_current_thread_name(const char* name) noexcept;

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XTHREADS_H
