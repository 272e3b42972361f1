#include "core/xday_time.h"

#include <cmath>

#include "platform/xos.h"

namespace xum {

namespace {

std::int32_t of_clock(const platform::local_time& t) noexcept {
  return ((t.hour * 60 + t.minute) * 60 + t.second) * 100;
}

}  // namespace

xday_time::xday_time(double seconds) noexcept {
  const double h = std::round(seconds * 100);
  if (!std::isfinite(h)) return;
  // The remainder is what adding or subtracting whole days would leave, and
  // it is exact for every double.
  double r = std::fmod(h, static_cast<double>(day_length));
  if (r < 0) r += day_length;
  hundredths = static_cast<std::int32_t>(r);
  test_range();  // r + day_length may round up to day_length itself
}

xday_time::xday_time(long calendar_time) noexcept {
  platform::local_time t;
  if (platform::os().local_time_of(calendar_time, t)) hundredths = of_clock(t);
  test_range();  // a leap second (second 60) of 23:59 would reach a day
}

void xday_time::get_current() noexcept {
  int h;
  const platform::local_time t = platform::os().current_local_time(h);
  hundredths = of_clock(t) + h;
  test_range();
}

void xday_time::test_range() noexcept {
  hundredths %= day_length;
  if (hundredths < 0) hundredths += day_length;
}

bool xday_time::step(std::int32_t delta) noexcept {
  test_range();  // a value set from outside must not overflow below
  hundredths += delta;
  if (hundredths < 0) {
    hundredths += day_length;
    return true;
  }
  if (hundredths >= day_length) {
    hundredths -= day_length;
    return true;
  }
  return false;
}

xstr xday_time::to_str() const {
  const int seconds = hundredths / 100;
  xstr s;
  s.printf("%d:%d:%d", seconds / 3600, seconds / 60 % 60, seconds % 60);
  return s;
}

long double operator-(const xday_time& a, const xday_time& b) noexcept {
  std::int64_t d = std::int64_t{a.hundredths} - b.hundredths;
  if (d < 0) d += xday_time::day_length;
  return d * 0.01L;
}

}  // namespace xum
