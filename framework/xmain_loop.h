// The main loop: the one thread that runs the user interface also runs the
// calls other threads post to it (TThread::Synchronize), the callbacks of
// file descriptors it watches (sockets, the application link) and timers.
//
//   xum::xmain_loop& loop = xum::xmain_loop::instance();
//   int id = loop.watch(fd, xum::xmain_loop::watch_in, [](unsigned events) { ... });
//   int tick = loop.add_timer(500, [] { ... });   // every 500 ms
//   loop.run_once(100);                  // at most 100 ms of waiting
//   loop.unwatch(id);
//   loop.remove_timer(tick);
//
// The main thread is the first thread that runs the loop (or binds it).
// When the loop shuts down, calls still waiting are abandoned: each learns
// it through its own abandon handler, so no thread is left waiting forever.
//
// The loop may be turned again from inside its own work: a posted call,
// watch callback or timer that shows a modal form runs the loop while the
// form is open (framework/xmodal_loop.h). Posted calls keep their order
// across such nesting; a watch or timer whose callback is still running is
// left out of the nested turns, so it is not re-entered.
//
// Thread safety: post() and wake() from any thread; everything else from
// the main thread.
#ifndef XUM_FRAMEWORK_XMAIN_LOOP_H
#define XUM_FRAMEWORK_XMAIN_LOOP_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "core/xexport.h"

namespace xum {

class XUM_API xmain_loop {
 public:
  // The process-wide loop.
  static xmain_loop& instance();

  xmain_loop();
  ~xmain_loop();
  xmain_loop(const xmain_loop&) = delete;
  xmain_loop& operator=(const xmain_loop&) = delete;

  // Makes the calling thread the main thread.
  void bind_to_current_thread();
  // Whether the caller is the main thread (before any binding, the thread
  // that created the loop).
  bool in_main_thread() const;

  // Queues `run` for the main thread. `abandon` (may be empty) runs instead
  // if the loop shuts down first. Returns false, running nothing, when the
  // loop is already shut down.
  bool post(std::function<void()> run, std::function<void()> abandon = {});
  // Wakes a waiting run_once.
  void wake();

  // What a watched descriptor is ready for, in requests and callbacks.
  static constexpr unsigned watch_in = 0x1, watch_out = 0x2, watch_error = 0x4, watch_hangup = 0x8;

  // Calls `callback(events)` on the main thread whenever fd is ready for
  // one of `events` (watch_in / watch_out; errors and hang-ups are
  // always reported). Returns an id for unwatch.
  int watch(int fd, unsigned events, std::function<void(unsigned events)> callback);
  void unwatch(int id);

  // Calls `callback` on the main thread every `interval_ms` milliseconds
  // (at least 1), the first time one interval from now. A turn runs a due
  // timer once however late it is; the next interval counts from then.
  // Returns an id for remove_timer.
  int add_timer(int interval_ms, std::function<void()> callback);
  void remove_timer(int id);

  // Runs the posted calls, then waits up to timeout_ms (-1: until something
  // happens; 0: not at all) for watched descriptors, due timers or new
  // posts and runs what became ready. Exceptions of calls and callbacks
  // propagate; the rest of the work stays queued. Returns the number of
  // calls, callbacks and timers run.
  int run_once(int timeout_ms);
  // Runs the posted calls that were queued when it was called, in order.
  int run_posted();

  // For a loop of another toolkit that drives this one: the descriptors
  // run_once would wait on (the loop's own wake-up pipe first), as pairs
  // of descriptor and events, and how long it may wait before work is due
  // (0: posted calls wait; -1: no timer is set). Such a loop waits on
  // these itself and calls run_once(0) when one is ready or time is up.
  std::vector<std::pair<int, unsigned>> descriptors() const;
  int next_wait_ms() const;

  // Refuses new posts and abandons the queued ones. open() accepts posts
  // again (a new run of the application).
  void shutdown();
  void open();
  bool is_shut_down() const;

 private:
  using clock = std::chrono::steady_clock;
  struct posted {
    std::uint64_t serial;
    std::function<void()> run;
    std::function<void()> abandon;
  };
  struct watch_entry {
    int id;
    int fd;
    unsigned events;
    std::function<void(unsigned)> callback;
    bool running;
  };
  struct timer_entry {
    int id;
    std::chrono::milliseconds interval;
    clock::time_point due;
    std::function<void()> callback;
    bool running;
  };

  int run_watch(int id, unsigned events);
  int run_due_timers();
  int wait_for_timers(int timeout_ms) const;

  mutable std::mutex lock_;
  std::deque<posted> queue_;
  std::uint64_t next_serial_ = 0;
  bool shut_ = false;
  std::thread::id main_thread_;
  std::vector<watch_entry> watches_;
  std::vector<timer_entry> timers_;
  int next_id_ = 1;
  int wake_fds_[2] = {-1, -1};
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_XMAIN_LOOP_H
