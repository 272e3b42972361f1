#include "framework/xmain_loop.h"

#include <algorithm>

#include "platform/xos.h"

namespace xum {

// The loop hands the platform's event bits through unchanged.
static_assert(xmain_loop::watch_in == platform::poll_in && xmain_loop::watch_out == platform::poll_out &&
              xmain_loop::watch_error == platform::poll_error && xmain_loop::watch_hangup == platform::poll_hangup);

xmain_loop& xmain_loop::instance() {
  // Never destroyed: threads may post while the process shuts down.
  static auto* loop = new xmain_loop();
  return *loop;
}

xmain_loop::xmain_loop() : main_thread_(std::this_thread::get_id()) {
  if (!platform::os().make_wake_pipe(wake_fds_)) wake_fds_[0] = wake_fds_[1] = -1;
}

xmain_loop::~xmain_loop() {
  shutdown();
  platform::os().close_fd(wake_fds_[0]);
  platform::os().close_fd(wake_fds_[1]);
}

void xmain_loop::bind_to_current_thread() {
  std::lock_guard guard(lock_);
  main_thread_ = std::this_thread::get_id();
}

bool xmain_loop::in_main_thread() const {
  std::lock_guard guard(lock_);
  return main_thread_ == std::this_thread::get_id();
}

bool xmain_loop::post(std::function<void()> run, std::function<void()> abandon) {
  {
    std::lock_guard guard(lock_);
    if (shut_) return false;
    queue_.push_back({std::move(run), std::move(abandon)});
  }
  wake();
  return true;
}

void xmain_loop::wake() {
  if (wake_fds_[1] >= 0) platform::os().wake_pipe(wake_fds_[1]);
}

int xmain_loop::watch(int fd, unsigned events, std::function<void(unsigned)> callback) {
  const int id = next_watch_++;
  watches_.push_back({id, fd, events, std::move(callback)});
  return id;
}

void xmain_loop::unwatch(int id) {
  std::erase_if(watches_, [id](const watch_entry& w) { return w.id == id; });
}

int xmain_loop::run_posted() {
  std::deque<posted> batch;
  {
    std::lock_guard guard(lock_);
    batch.swap(queue_);
  }
  int ran = 0;
  while (!batch.empty()) {
    posted call = std::move(batch.front());
    batch.pop_front();
    try {
      call.run();
    } catch (...) {
      // Keep the rest for the next turn, ahead of newer posts.
      std::lock_guard guard(lock_);
      queue_.insert(queue_.begin(), std::make_move_iterator(batch.begin()), std::make_move_iterator(batch.end()));
      throw;
    }
    ++ran;
  }
  return ran;
}

int xmain_loop::run_once(int timeout_ms) {
  int ran = run_posted();
  bool pending;
  {
    std::lock_guard guard(lock_);
    pending = !queue_.empty();
  }
  std::vector<platform::poll_entry> entries;
  entries.push_back({wake_fds_[0], platform::poll_in, 0});
  for (const watch_entry& w : watches_) entries.push_back({w.fd, w.events, 0});
  const int wait = (ran > 0 || pending) ? 0 : timeout_ms;
  if (platform::os().poll(entries.data(), entries.size(), wait) > 0) {
    if (entries[0].revents) platform::os().drain_pipe(wake_fds_[0]);
    // Callbacks may add or remove watches: look each one up again by id.
    std::vector<std::pair<int, unsigned>> ready;
    for (std::size_t i = 1; i < entries.size(); ++i)
      if (entries[i].revents) ready.emplace_back(watches_[i - 1].id, entries[i].revents);
    for (const auto& [ready_id, events] : ready) {
      const int id = ready_id;
      const auto it = std::find_if(watches_.begin(), watches_.end(), [id](const watch_entry& w) { return w.id == id; });
      if (it == watches_.end()) continue;
      const auto callback = it->callback;  // the watch may go away while it runs
      callback(events);
      ++ran;
    }
  }
  return ran + run_posted();
}

void xmain_loop::shutdown() {
  std::deque<posted> abandoned;
  {
    std::lock_guard guard(lock_);
    shut_ = true;
    abandoned.swap(queue_);
  }
  for (posted& call : abandoned)
    if (call.abandon) call.abandon();
}

void xmain_loop::open() {
  std::lock_guard guard(lock_);
  shut_ = false;
}

bool xmain_loop::is_shut_down() const {
  std::lock_guard guard(lock_);
  return shut_;
}

}  // namespace xum
