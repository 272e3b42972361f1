#include "core/xthread.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <thread>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

// The counters live outside the thread object so that the body never uses a
// member of a derived part that is already destroyed.
struct probe {
  std::atomic<long> ticks{0};
  std::atomic<int> starts{0};
  std::atomic<bool> saw_terminate{false};
  bool throws = false;
};

class counter_thread final : public xum::xthread {
 public:
  explicit counter_thread(probe& p) : p_(p) {}
  ~counter_thread() override { stop(); }  // the body uses p_

 private:
  void execute() override {
    ++p_.starts;
    if (p_.throws) throw std::runtime_error("body failed");
    while (!terminate_requested()) p_.ticks.fetch_add(1, std::memory_order_relaxed);
    p_.saw_terminate = true;
  }
  probe& p_;
};

// Whether the body's counter moves on within five seconds.
bool advances(const probe& p) {
  const long before = p.ticks.load();
  const auto end = std::chrono::steady_clock::now() + 5s;
  for (; std::chrono::steady_clock::now() < end; std::this_thread::sleep_for(1ms))
    if (p.ticks.load() > before) return true;
  return false;
}

// Runs `work` on another thread; a hang ends the test program with a
// message instead of blocking the suite.
void within_ten_seconds(const char* what, std::function<void()> work) {
  auto done = std::async(std::launch::async, std::move(work));
  if (done.wait_for(10s) != std::future_status::ready) {
    std::fprintf(stderr, "%s did not finish within 10 s\n", what);
    std::_Exit(1);
  }
  done.get();
}

// Never started, a thread is suspended and suspending it is an error (1).
// Every suspend needs its resume_suspended; resume() only starts a thread,
// so on a started one it neither lifts a suspension nor starts it again.
TEST(XthreadTest, StartsLazilyOnceAndSuspensionHoldsUntilEverySuspendIsResumed) {
  probe p;
  within_ten_seconds("start, suspend and resume", [&] {
    counter_thread t(p);
    EXPECT_TRUE(t.is_suspended());
    try {
      t.suspend();
      ADD_FAILURE() << "suspending a thread never started must throw";
    } catch (const std::exception& e) {
      EXPECT_STREQ(e.what(), "The thread has not been started (xthread 1)");
    }
    t.wait_for();
    EXPECT_EQ(p.starts, 0);
    t.resume();
    ASSERT_TRUE(advances(p));
    t.suspend();
    t.suspend();
    t.resume();
    t.resume_suspended();  // count 1: still stopped
    const long frozen = p.ticks.load();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(p.ticks.load(), frozen);
    EXPECT_TRUE(t.is_suspended());
    t.resume_suspended();
    EXPECT_TRUE(advances(p));
    t.suspend();
    t.suspend();
  });  // the destructor lifts the whole suspension itself and waits
  EXPECT_EQ(p.starts, 1);
  EXPECT_TRUE(p.saw_terminate);
}

// Destroyed before the worker has even started, the body still runs, sees
// the flag and ends; nothing hangs. An exception escaping the body marks the
// thread failed and ends it; a second run starts afresh.
TEST(XthreadTest, EndsWhenDestroyedBeforeItRunsAndWhenTheBodyThrows) {
  probe p;
  for (int i = 0; i < 10; ++i)
    within_ten_seconds("destroying a fresh thread", [&] { counter_thread(p).resume(); });
  EXPECT_EQ(p.starts, 10);
  EXPECT_TRUE(p.saw_terminate);
  p.throws = true;
  within_ten_seconds("failing body", [&] {
    counter_thread t(p);
    t.resume();
    t.wait_for();
    EXPECT_TRUE(t.failed());
    p.throws = false;
    t.resume();
    EXPECT_TRUE(advances(p));
    EXPECT_FALSE(t.failed());
  });
  EXPECT_EQ(p.starts, 12);
}

}  // namespace
