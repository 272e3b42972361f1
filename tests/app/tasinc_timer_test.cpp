// The asynchronous timer: the first flag after one full interval, one more
// flag after disabling, and a destruction that waits at most one interval.
#include "app/tasinc_timer.h"

#include <chrono>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

namespace xum {
namespace {

using std::chrono::milliseconds;
using steady = std::chrono::steady_clock;

// How long the flag took to come, waiting at most `limit` ms; -1: it did not.
long long wait_flag(TAsincTimer& t, long long limit = 5000) {
  const auto start = steady::now();
  while (!t.Elapsed.load()) {
    if (steady::now() - start > milliseconds(limit)) return -1;
    std::this_thread::sleep_for(milliseconds(1));
  }
  return std::chrono::duration_cast<milliseconds>(steady::now() - start).count();
}

TEST(AsincTimer, TicksAfterFullIntervalsOnceMoreAfterDisablingAndStopsWithinOneInterval) {
  auto t = std::make_unique<TAsincTimer>(nullptr);
  t->SetInterval(40);
  t->SetEnabled(true);
  EXPECT_GE(wait_flag(*t), 35);
  t->Elapsed = false;
  t->SetEnabled(false);
  EXPECT_GE(wait_flag(*t), 0);  // the current interval still ends with the flag
  t->Elapsed = false;
  EXPECT_EQ(wait_flag(*t, 150), -1);  // then it rests
  t->SetInterval(3000);
  t->SetEnabled(true);
  EXPECT_EQ(wait_flag(*t, 100), -1);  // a fresh full interval
  const auto start = steady::now();
  t.reset();  // in the middle of the interval
  EXPECT_LT(steady::now() - start, milliseconds(3000));
}

}  // namespace
}  // namespace xum
