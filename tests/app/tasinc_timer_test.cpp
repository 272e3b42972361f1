// The asynchronous timer: the first flag after one full interval, the
// designer rule, one more flag after disabling, and a destruction that
// waits at most one interval.
#include "app/tasinc_timer.h"

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

namespace xum {
namespace {

using clock_type = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Waits up to `limit` for the flag; the time it took, or -1.
long long wait_flag(TAsincTimer& t, milliseconds limit = milliseconds(5000)) {
  const auto start = clock_type::now();
  while (!t.Elapsed.load()) {
    if (clock_type::now() - start > limit) return -1;
    std::this_thread::sleep_for(milliseconds(1));
  }
  return std::chrono::duration_cast<milliseconds>(clock_type::now() - start).count();
}

TEST(AsincTimer, FirstFlagComesAfterOneFullIntervalAndRepeats) {
  TAsincTimer t(nullptr);
  EXPECT_EQ(t.Interval(), 1000);
  t.SetInterval(60);
  t.SetEnabled(true);
  const long long first = wait_flag(t);
  EXPECT_GE(first, 55);
  t.Elapsed = false;
  EXPECT_GE(wait_flag(t), 0);  // it goes on ticking until the flag is cleared
  EXPECT_TRUE(t.Enabled());
}

TEST(AsincTimer, DesignedTimerNeverStartsItsThread) {
  TAsincTimer t(nullptr);
  t.SetDesigning(true);
  t.SetInterval(10);
  t.SetEnabled(true);
  EXPECT_TRUE(t.Enabled());
  EXPECT_FALSE(t.ThreadStarted());
  std::this_thread::sleep_for(milliseconds(50));
  EXPECT_FALSE(t.Elapsed.load());
}

TEST(AsincTimer, DisablingSetsTheFlagOnceMoreThenRests) {
  TAsincTimer t(nullptr);
  t.SetInterval(30);
  t.SetEnabled(true);
  ASSERT_GE(wait_flag(t), 0);
  t.Elapsed = false;
  t.SetEnabled(false);
  EXPECT_GE(wait_flag(t, milliseconds(2000)), 0);  // the current interval still ends
  t.Elapsed = false;
  EXPECT_EQ(wait_flag(t, milliseconds(150)), -1);  // then nothing
  // Enabling again starts a fresh full interval.
  t.SetEnabled(true);
  EXPECT_GE(wait_flag(t), 25);
}

TEST(AsincTimer, DestroyingWaitsAtMostOneInterval) {
  for (const bool enabled : {true, false}) {
    SCOPED_TRACE(enabled);
    auto t = std::make_unique<TAsincTimer>(nullptr);
    t->SetInterval(3000);
    t->SetEnabled(true);
    if (!enabled) t->SetEnabled(false);
    std::this_thread::sleep_for(milliseconds(20));
    const auto start = clock_type::now();
    t.reset();
    EXPECT_LT(clock_type::now() - start, milliseconds(3000));
  }
  TAsincTimer never_started(nullptr);  // a thread that never ran ends too
}

}  // namespace
}  // namespace xum
