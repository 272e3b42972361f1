// Threads of posix_os, with real, asynchronous suspension.
#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <linux/futex.h>
#include <mutex>
#include <new>
#include <sys/resource.h>
#include <sys/syscall.h>

#include "platform/posix/xposix_os.h"

namespace xum::platform {

namespace {

// Where a thread stands with respect to suspension. A suspender moves
// running -> requested and signals; the handler moves requested -> parked
// and waits; the resumer moves parked -> released, and the handler leaves
// with released -> running. A suspender that finds the handler not yet gone
// (released) takes it back to parked without a new signal. finished is set
// by the thread itself, with the signal blocked, as it ends.
enum : int { running, requested, parked, released, finished };

}  // namespace

struct os_thread {
  os_thread(thread_body b, void* a, int p) noexcept : body(b), arg(a), priority(p) {}

  const thread_body body;
  void* const arg;
  const int priority;
  std::atomic<int> holds{2};  // the starter and the thread itself
  std::atomic<int> state{running};
  std::mutex lock;  // orders suspend counting; held while signalling
  int count = 0;    // the suspend count, under lock
  pthread_t id{};   // written under lock before the thread runs
};

namespace {

// The library claims one real-time signal for suspension.
int the_suspend_signal() noexcept { return SIGRTMIN + 4; }

// The state word doubles as a futex: waiters sleep on its current value.
int* word(std::atomic<int>& a) noexcept { return reinterpret_cast<int*>(&a); }

void futex_wait(std::atomic<int>& a, int value) noexcept {
  syscall(SYS_futex, word(a), FUTEX_WAIT_PRIVATE, value, nullptr, nullptr, 0);
}

void futex_wake(std::atomic<int>& a) noexcept {
  syscall(SYS_futex, word(a), FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

// The signal handler stops the thread here: only atomics and futex calls,
// all safe inside a handler.
void on_suspend_signal(int, siginfo_t* info, void*) {
  const int saved_errno = errno;
  os_thread* t = static_cast<os_thread*>(info->si_value.sival_ptr);
  int expected = requested;
  if (t != nullptr && t->state.compare_exchange_strong(expected, parked)) {
    futex_wake(t->state);
    for (;;) {
      int s = t->state.load();
      if (s == released) {
        if (t->state.compare_exchange_strong(s, running)) break;
      } else if (s == parked) {
        futex_wait(t->state, parked);
      } else {
        break;
      }
    }
    futex_wake(t->state);
  }
  errno = saved_errno;
}

void install_handler() {
  static std::once_flag installed;
  std::call_once(installed, [] {
    struct sigaction sa;
    std::memset(&sa, 0, sizeof sa);
    sa.sa_sigaction = on_suspend_signal;
    sa.sa_flags = SA_SIGINFO | SA_RESTART;
    sigfillset(&sa.sa_mask);  // nothing else runs on a parked thread
    sigaction(the_suspend_signal(), &sa, nullptr);
  });
}

void drop(os_thread* t) noexcept {
  if (t->holds.fetch_sub(1) == 1) delete t;
}

// Windows priorities as nice values: each step of the five normal levels is
// five nice steps; idle and time-critical go to the ends of the range.
int nice_of(int priority) noexcept {
  const int nice = -5 * priority;
  return nice < -20 ? -20 : nice > 19 ? 19 : nice;
}

void* trampoline(void* arg) {
  os_thread* t = static_cast<os_thread*>(arg);
  { std::lock_guard<std::mutex> wait_for_id(t->lock); }
  if (t->priority != 0)
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), nice_of(t->priority));
  t->body(t->arg);
  // Once the signal is blocked, no suspension can start; a signal already
  // queued stays pending and dies with the thread.
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, the_suspend_signal());
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  {
    std::lock_guard<std::mutex> guard(t->lock);
    t->state.store(finished);
  }
  futex_wake(t->state);
  drop(t);
  return nullptr;
}

}  // namespace

int posix_os::suspend_signal() noexcept { return the_suspend_signal(); }

os_thread* posix_os::start_thread(thread_body body, void* arg, int priority) {
  install_handler();
  os_thread* t = new os_thread(body, arg, priority);
  {
    std::lock_guard<std::mutex> guard(t->lock);
    if (pthread_create(&t->id, nullptr, trampoline, t) != 0) {
      delete t;
      return nullptr;
    }
  }
  pthread_detach(t->id);
  return t;
}

void posix_os::release_thread(os_thread* t) noexcept {
  if (t != nullptr) drop(t);
}

int posix_os::suspend_thread(os_thread* t) noexcept {
  std::unique_lock<std::mutex> guard(t->lock);
  const int before = t->count;
  if (before >= max_suspend_count) return -1;
  ++t->count;
  if (before != 0) return before;
  int s = t->state.load();
  bool signal = false;
  for (;;) {
    if (s == running && t->state.compare_exchange_weak(s, requested)) {
      signal = true;
      break;
    }
    if (s == released && t->state.compare_exchange_weak(s, parked)) break;
    if (s != running && s != released) break;
  }
  if (!signal) return before;
  sigval value;
  value.sival_ptr = t;
  // The thread cannot end while the lock is held, so its id stays valid for
  // the signal. A thread suspending itself is stopped inside the call, so
  // it must not hold the lock then.
  if (pthread_equal(t->id, pthread_self())) guard.unlock();
  pthread_sigqueue(t->id, the_suspend_signal(), value);
  if (guard.owns_lock()) guard.unlock();
  for (int now = t->state.load(); now == requested; now = t->state.load())
    futex_wait(t->state, requested);
  return before;
}

int posix_os::resume_thread(os_thread* t) noexcept {
  std::lock_guard<std::mutex> guard(t->lock);
  const int before = t->count;
  if (before == 0) return 0;
  if (--t->count == 0) {
    int s = t->state.load();
    // parked: let the handler go; requested: the signal has not been
    // handled yet, so the handler will find nothing to do.
    while ((s == parked && !t->state.compare_exchange_weak(s, released)) ||
           (s == requested && !t->state.compare_exchange_weak(s, running))) {
    }
    futex_wake(t->state);
  }
  return before;
}

void posix_os::sleep_ms(int ms) noexcept {
  struct timespec left = {ms / 1000, static_cast<long>(ms % 1000) * 1000000L};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

void posix_os::set_current_thread_name(const char* name) noexcept {
  char text[16] = {};
  if (name != nullptr) std::strncpy(text, name, sizeof text - 1);
  pthread_setname_np(pthread_self(), text);
}

}  // namespace xum::platform
