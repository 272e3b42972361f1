// The progress bar's position stays inside its range, whatever moves it.
#include "framework/tcomctrls.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <vector>

namespace xum {
namespace {

TEST(ProgressBar, PositionStaysInsideTheRange) {
  struct row {
    const char* what;
    std::function<void(TProgressBar&)> act;
    int min, max, position;
  };
  // Each row starts from 0..100 at 50.
  const std::vector<row> rows = {
      {"StepIt adds Step", [](TProgressBar& b) { b.StepIt(); }, 0, 100, 60},
      {"StepIt stops at Max", [](TProgressBar& b) { for (int i = 0; i < 9; ++i) b.StepIt(); }, 0, 100, 100},
      {"StepBy below Min", [](TProgressBar& b) { b.StepBy(-80); }, 0, 100, 0},
      {"StepBy without overflow", [](TProgressBar& b) { b.StepBy(INT_MAX); }, 0, 100, 100},
      {"a range moved above", [](TProgressBar& b) { b.SetRange(60, 70); }, 60, 70, 60},
      {"a range moved below", [](TProgressBar& b) { b.SetRange(0, 20); }, 0, 20, 20},
      {"Max below Min is raised", [](TProgressBar& b) { b.SetRange(30, 10); }, 30, 30, 30},
      {"Min above Max takes Max along", [](TProgressBar& b) { b.SetMin(120); }, 120, 120, 120},
      {"a position outside", [](TProgressBar& b) { b.SetPosition(-1); }, 0, 100, 0},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    TProgressBar bar(nullptr);
    bar.SetPosition(50);
    r.act(bar);
    EXPECT_EQ(bar.Min(), r.min);
    EXPECT_EQ(bar.Max(), r.max);
    EXPECT_EQ(bar.Position(), r.position);
  }
}

}  // namespace
}  // namespace xum
