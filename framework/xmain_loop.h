// The main loop: the one thread that runs the user interface also runs the
// calls other threads post to it (TThread::Synchronize) and the callbacks of
// file descriptors it watches (sockets, the application link).
//
//   xum::xmain_loop& loop = xum::xmain_loop::instance();
//   int id = loop.watch(fd, xum::xmain_loop::watch_in, [](unsigned events) { ... });
//   loop.run_once(100);                  // at most 100 ms of waiting
//   loop.unwatch(id);
//
// The main thread is the first thread that runs the loop (or binds it).
// When the loop shuts down, calls still waiting are abandoned: each learns
// it through its own abandon handler, so no thread is left waiting forever.
//
// Thread safety: post() and wake() from any thread; everything else from
// the main thread.
#ifndef XUM_FRAMEWORK_XMAIN_LOOP_H
#define XUM_FRAMEWORK_XMAIN_LOOP_H

#include <deque>
#include <functional>
#include <mutex>
#include <thread>
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
  // one of `events` (watch_in / watch_out; errors and hang-ups are always
  // reported). Returns an id for unwatch.
  int watch(int fd, unsigned events, std::function<void(unsigned events)> callback);
  void unwatch(int id);

  // Runs the posted calls, then waits up to timeout_ms (-1: until something
  // happens; 0: not at all) for watched descriptors or new posts and runs
  // what became ready. Exceptions of calls and callbacks propagate; the
  // rest of the work stays queued. Returns the number of calls run.
  int run_once(int timeout_ms);
  // Runs only the posted calls queued now.
  int run_posted();

  // Refuses new posts and abandons the queued ones. open() accepts posts
  // again (a new run of the application).
  void shutdown();
  void open();
  bool is_shut_down() const;

 private:
  struct posted {
    std::function<void()> run;
    std::function<void()> abandon;
  };
  struct watch_entry {
    int id;
    int fd;
    unsigned events;
    std::function<void(unsigned)> callback;
  };

  mutable std::mutex lock_;
  std::deque<posted> queue_;
  bool shut_ = false;
  std::thread::id main_thread_;
  std::vector<watch_entry> watches_;
  int next_watch_ = 1;
  int wake_fds_[2] = {-1, -1};
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_XMAIN_LOOP_H
