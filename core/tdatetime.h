// TDateTime: the host framework's date-time value, a double counting days
// since 30 December 1899 with the time of day as the fraction. Before that
// epoch the whole part still names the day and the fraction the time, so
// -1.25 is 29 December 1899, 06:00 (the framework's convention).
//
//   xum::TDateTime t = xum::TDateTime::from_sys_days(std::chrono::sys_days{2024y / 2 / 29});
//   std::chrono::sys_days d = t.sys_days();   // back to the calendar day
//
// Thread safety: a plain value type.
#ifndef XUM_CORE_TDATETIME_H
#define XUM_CORE_TDATETIME_H

#include <chrono>
#include <cmath>

namespace xum {

struct TDateTime {
  // 30 December 1899 as a std::chrono day: the framework's day 0.
  static constexpr std::chrono::sys_days epoch =
      std::chrono::sys_days{std::chrono::year{1899} / 12 / 30};

  double Val = 0;

  constexpr TDateTime() noexcept = default;
  constexpr explicit TDateTime(double value) noexcept : Val(value) {}
  constexpr operator double() const noexcept { return Val; }

  // The day at midnight.
  static constexpr TDateTime from_sys_days(std::chrono::sys_days day) noexcept {
    return TDateTime(static_cast<double>((day - epoch).count()));
  }
  // A point in time (UTC on the system clock), with the time of day as the
  // fraction of the day.
  template <class Duration>
  static TDateTime from_sys_time(std::chrono::sys_time<Duration> t) noexcept {
    const auto day = std::chrono::floor<std::chrono::days>(t);
    const std::chrono::duration<double, std::chrono::days::period> part = t - day;
    const double whole = static_cast<double>((day - epoch).count());
    // Before the epoch the fraction counts forwards from the day's start
    // but carries the sign of the whole part.
    return TDateTime(whole < 0 ? whole - part.count() : whole + part.count());
  }

  // The calendar day: the whole part of the value, truncated towards zero.
  // Values beyond a million years either way (and NaN) are clamped so that
  // the conversion never overflows.
  std::chrono::sys_days sys_days() const noexcept {
    constexpr double limit = 365.2425e6;
    const double whole = std::isnan(Val) ? 0 : std::trunc(std::fmax(-limit, std::fmin(limit, Val)));
    return epoch + std::chrono::days{static_cast<long>(whole)};
  }
};

}  // namespace xum

#endif  // XUM_CORE_TDATETIME_H
