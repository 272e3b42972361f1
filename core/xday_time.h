// xday_time: a time of day in hundredths of a second since midnight, always
// kept within one day (0 to 8 639 999). Stepping by hours and minutes wraps
// around midnight and says when it did.
//
//   xum::xday_time t(23.5 * 3600);       // 23:30:00
//   bool wrapped = t.hour_forward();     // 0:30:0, wrapped == true
//   long double s = t - xum::xday_time(); // 1800 seconds after midnight
//   xum::xstr text = t.to_str();         // "0:30:0"
//
// Thread safety: a plain value type.
#ifndef XUM_CORE_XDAY_TIME_H
#define XUM_CORE_XDAY_TIME_H

#include <compare>
#include <cstdint>

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

struct XUM_API xday_time {
  // Hundredths of a second in one day.
  static constexpr std::int32_t day_length = 8640000;
  static constexpr std::int32_t hour = 360000;
  static constexpr std::int32_t minute = 6000;

  // Hundredths since midnight; `test_range` brings a value set from outside
  // back into 0 .. day_length - 1.
  std::int32_t hundredths = 0;

  // Midnight.
  constexpr xday_time() noexcept = default;
  // Seconds, rounded to hundredths and wrapped into the day (so -1 is
  // 23:59:59); NaN and infinities give midnight.
  explicit xday_time(double seconds) noexcept;
  // The local time of day of a calendar time value (seconds since the epoch
  // of the system clock), in whole seconds; midnight when it has none.
  explicit xday_time(long calendar_time) noexcept;

  friend constexpr bool operator==(const xday_time&, const xday_time&) noexcept = default;
  friend constexpr auto operator<=>(const xday_time&, const xday_time&) noexcept = default;

  // Sets the time to the current local time of day, hundredths included.
  void get_current() noexcept;

  // Adds a day while negative and subtracts one while a day or more.
  void test_range() noexcept;

  // Plus or minus one hour or minute; true when the step crossed midnight.
  bool hour_forward() noexcept { return step(hour); }
  bool hour_backward() noexcept { return step(-hour); }
  bool minute_forward() noexcept { return step(minute); }
  bool minute_backward() noexcept { return step(-minute); }

  // Hours, minutes and seconds without leading zeros: 9:05:03 is "9:5:3".
  xstr to_str() const;

 private:
  bool step(std::int32_t delta) noexcept;
};

// Seconds from `b` forwards to `a`, crossing midnight when `a` is earlier:
// always in [0, 86 400).
XUM_API long double operator-(const xday_time& a, const xday_time& b) noexcept;

}  // namespace xum

#endif  // XUM_CORE_XDAY_TIME_H
