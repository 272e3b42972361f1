#include "framework/xmain_loop.h"

#include <algorithm>
#include <utility>

#include "platform/xos.h"

namespace xum {

// The loop hands the platform's event bits through unchanged.
static_assert(xmain_loop::watch_in == platform::poll_in && xmain_loop::watch_out == platform::poll_out &&
              xmain_loop::watch_error == platform::poll_error && xmain_loop::watch_hangup == platform::poll_hangup);

namespace {

template <class Entry>
Entry* find_by_id(std::vector<Entry>& entries, int id) {
  const auto it = std::find_if(entries.begin(), entries.end(), [id](const Entry& e) { return e.id == id; });
  return it == entries.end() ? nullptr : &*it;
}

// Runs `action` when the scope ends, also by an exception.
template <class F>
class on_exit {
 public:
  explicit on_exit(F action) : action_(std::move(action)) {}
  ~on_exit() { action_(); }
  on_exit(const on_exit&) = delete;
  on_exit& operator=(const on_exit&) = delete;

 private:
  F action_;
};

}  // namespace

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
    queue_.push_back({next_serial_++, std::move(run), std::move(abandon)});
  }
  wake();
  return true;
}

void xmain_loop::wake() {
  if (wake_fds_[1] >= 0) platform::os().wake_pipe(wake_fds_[1]);
}

int xmain_loop::watch(int fd, unsigned events, std::function<void(unsigned)> callback) {
  const int id = next_id_++;
  watches_.push_back({id, fd, events, std::move(callback), false});
  return id;
}

void xmain_loop::unwatch(int id) {
  std::erase_if(watches_, [id](const watch_entry& w) { return w.id == id; });
}

int xmain_loop::add_timer(int interval_ms, std::function<void()> callback) {
  const int id = next_id_++;
  const std::chrono::milliseconds interval(interval_ms < 1 ? 1 : interval_ms);
  timers_.push_back({id, interval, clock::now() + interval, std::move(callback), false});
  return id;
}

void xmain_loop::remove_timer(int id) {
  std::erase_if(timers_, [id](const timer_entry& t) { return t.id == id; });
}

int xmain_loop::run_posted() {
  // One call at a time from the front of the shared queue: a call that
  // turns the loop again (a modal form) runs the calls behind it in order,
  // and whatever it leaves stays for this run. Calls posted after this run
  // began wait for the next one, so a call that posts itself cannot keep
  // the loop here.
  std::uint64_t end;
  {
    std::lock_guard guard(lock_);
    end = next_serial_;
  }
  int ran = 0;
  for (;;) {
    posted call;
    {
      std::lock_guard guard(lock_);
      if (queue_.empty() || queue_.front().serial >= end) break;
      call = std::move(queue_.front());
      queue_.pop_front();
    }
    call.run();  // an exception leaves the rest queued
    ++ran;
  }
  return ran;
}

int xmain_loop::run_watch(int id, unsigned events) {
  watch_entry* w = find_by_id(watches_, id);
  if (w == nullptr || w->running) return 0;
  const auto callback = w->callback;  // the watch may go away while it runs
  w->running = true;
  // Callbacks may add or remove watches: look the watch up again by id.
  const on_exit clear([this, id] {
    if (watch_entry* again = find_by_id(watches_, id)) again->running = false;
  });
  callback(events);
  return 1;
}

int xmain_loop::run_due_timers() {
  const clock::time_point now = clock::now();
  std::vector<int> due;
  for (const timer_entry& t : timers_)
    if (!t.running && t.due <= now) due.push_back(t.id);
  int ran = 0;
  for (const int id : due) {
    timer_entry* t = find_by_id(timers_, id);
    if (t == nullptr || t->running) continue;
    const auto callback = t->callback;
    t->running = true;
    const on_exit rearm([this, id] {
      if (timer_entry* again = find_by_id(timers_, id)) {
        again->running = false;
        again->due = clock::now() + again->interval;
      }
    });
    callback();
    ++ran;
  }
  return ran;
}

int xmain_loop::wait_for_timers(int timeout_ms) const {
  const clock::time_point now = clock::now();
  for (const timer_entry& t : timers_) {
    if (t.running) continue;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(t.due - now).count();
    const int ms = left <= 0 ? 0 : static_cast<int>(std::min<long long>(left, 1 << 30));
    if (timeout_ms < 0 || ms < timeout_ms) timeout_ms = ms;
  }
  return timeout_ms;
}

int xmain_loop::run_once(int timeout_ms) {
  int ran = run_posted();
  bool pending;
  {
    std::lock_guard guard(lock_);
    pending = !queue_.empty();
  }
  std::vector<platform::poll_entry> entries;
  std::vector<int> ids;
  entries.push_back({wake_fds_[0], platform::poll_in, 0});
  for (const watch_entry& w : watches_) {
    if (w.running) continue;  // its callback turns this loop: do not call it again
    entries.push_back({w.fd, w.events, 0});
    ids.push_back(w.id);
  }
  const int wait = (ran > 0 || pending) ? 0 : wait_for_timers(timeout_ms);
  if (platform::os().poll(entries.data(), entries.size(), wait) > 0) {
    if (entries[0].revents) platform::os().drain_pipe(wake_fds_[0]);
    std::vector<std::pair<int, unsigned>> ready;
    for (std::size_t i = 1; i < entries.size(); ++i)
      if (entries[i].revents) ready.emplace_back(ids[i - 1], entries[i].revents);
    for (const auto& [id, events] : ready) ran += run_watch(id, events);
  }
  ran += run_due_timers();
  return ran + run_posted();
}

std::vector<std::pair<int, unsigned>> xmain_loop::descriptors() const {
  std::vector<std::pair<int, unsigned>> out;
  out.emplace_back(wake_fds_[0], watch_in);
  for (const watch_entry& w : watches_)
    if (!w.running) out.emplace_back(w.fd, w.events);
  return out;
}

int xmain_loop::next_wait_ms() const {
  {
    std::lock_guard guard(lock_);
    if (!queue_.empty()) return 0;
  }
  return wait_for_timers(-1);
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
