// xdate: a calendar date of the proleptic Gregorian calendar for the years 1
// to 2999, with stepping by day, month and year, a day-number conversion and
// day and month names taken from the message catalogue.
//
// A date packs into one 32-bit value (day in the lowest byte, then month, then
// the year in the upper half), and dates compare by that value, which orders
// them chronologically. A default-constructed date is "no date", the value
// 0x7FFFFFFF, which sorts after every real date.
//
//   xum::xdate d(2024, 2, 29);
//   int n = d.convert_to_days();        // day number; n % 7 == 0 is a Monday
//   d.month_forward();                  // 29 March 2024
//   xum::xstr name = d.day_name();      // "Friday" (or its translation)
//
// Day numbers count from 1 January of year 0 as day 5, so 1 January of year 1
// is day 371. In leap years `convert_from_days` gives back 28 and 29 February
// exchanged: the day number of 28 February yields 29 February and the other
// way round. Stored day numbers depend on this, so it is kept.
//
// Thread safety: a plain value type. The year table behind the day numbers is
// built once, on first use, safely from any thread.
#ifndef XUM_CORE_XDATE_H
#define XUM_CORE_XDATE_H

#include <atomic>
#include <compare>
#include <cstdint>

#include "core/tdatetime.h"
#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

struct XUM_API xdate {
  // The packed value of "no date".
  static constexpr std::int32_t no_date = 0x7FFFFFFF;
  // The range of years for day numbers and stepping.
  static constexpr int first_year = 1;
  static constexpr int last_year = 2999;

  unsigned char day;
  unsigned char month;
  short year;

  // No date.
  constexpr xdate() noexcept : day(0xFF), month(0xFF), year(0x7FFF) {}
  // The fields are taken as given; nothing is checked.
  constexpr xdate(short y, unsigned char m, unsigned char d) noexcept : day(d), month(m), year(y) {}
  // The calendar day of a framework date-time value (its whole part).
  // A year outside 1-9999 throws xexception 0.
  explicit xdate(TDateTime t);

  // The framework's date-time value at midnight of this date. A date that is
  // not a valid calendar date of the years 1-9999 throws xexception 0.
  explicit operator TDateTime() const;

  // The packed 32-bit value: day | month << 8 | year << 16.
  constexpr std::int32_t value() const noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint16_t>(year)) << 16 |
                                     static_cast<std::uint32_t>(month) << 8 | day);
  }
  // Whether this holds a date rather than "no date".
  constexpr bool is_set() const noexcept { return value() != no_date; }

  friend constexpr bool operator==(const xdate& a, const xdate& b) noexcept {
    return a.value() == b.value();
  }
  friend constexpr std::strong_ordering operator<=>(const xdate& a, const xdate& b) noexcept {
    return a.value() <=> b.value();
  }

  // Sets the date to today in local time.
  void get_current();

  // Divisible by 4 and either not by 100 or by 400.
  constexpr bool is_leap_year() const noexcept {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  }
  // Days of this month (29 for February of a leap year). A month outside
  // 1-12 throws xexception 0.
  int days_in_month() const;

  // The day number. A year outside 1-2999 or a month outside 1-12 throws
  // xexception 0.
  int convert_to_days() const;
  // Sets the date from a day number (see the note on leap years above). A
  // number outside the years 1-2999 throws xexception 0.
  void convert_from_days(int n);

  // Stepping keeps the year within 1 and 2999: a month step beyond the limit
  // stops at 31 December 2999 or 1 January 1; a year step beyond it does
  // nothing. A day that does not exist in the new month becomes its last day.
  // A month outside 1-12 throws xexception 0.
  void day_forward();
  void day_backward();
  void month_forward();
  void month_backward();
  void year_forward();
  void year_backward();

  // Word number `month` of the catalogue text "MonthNames"; empty when the
  // text has fewer words.
  xstr month_name() const;
  // Word number (convert_to_days() % 7) + 1 of "DayNames", Monday first.
  xstr day_name() const;
  // The date in the user's short date format; throws like the conversion to
  // TDateTime.
  xstr short_format() const;
};

// Word number k (counting from 1) of a text of words separated by single
// blanks; empty when the text has fewer words.
XUM_API xstr xword(const xstr& text, int k);

// --- implementation details --------------------------------------------
// The day-number conversions are inline: callers convert whole ranges of
// days, and a call into the shared library per day would cost more than the
// arithmetic.

namespace detail {

// Entry y is the day number of 31 December of year y - 1 (entry 0 is 4);
// entry 3000 closes year 2999. Null until built.
XUM_API extern std::atomic<const std::int32_t*> year_table_ready;
// Builds the table once (std::call_once) and returns it.
XUM_API const std::int32_t* build_year_table();
[[noreturn]] XUM_API void throw_out_of_range();

inline const std::int32_t* year_table() {
  const std::int32_t* table = year_table_ready.load(std::memory_order_acquire);
  return table ? table : build_year_table();
}

inline constexpr int days_before_month[14] = {0, 0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

constexpr bool is_leap(int y) noexcept { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

// The month of each day of a common year (index 1-365): the settled result
// of estimating the month and stepping between month starts, looked up.
struct month_of_day_table {
  unsigned char month[366] = {};
  constexpr month_of_day_table() {
    for (int r = 1; r <= 365; ++r) {
      int m = 1;
      while (r > days_before_month[m + 1]) ++m;
      month[r] = static_cast<unsigned char>(m);
    }
  }
};
inline constexpr month_of_day_table month_of_day{};

}  // namespace detail

inline int xdate::convert_to_days() const {
  if (year < first_year || year > last_year || month < 1 || month > 12) detail::throw_out_of_range();
  return detail::year_table()[year] + detail::days_before_month[month] + day +
         (month >= 3 && is_leap_year() ? 1 : 0);
}

inline void xdate::convert_from_days(int n) {
  const std::int32_t* table = detail::year_table();
  if (n <= table[first_year] || n > table[last_year + 1]) detail::throw_out_of_range();
  // The year estimated from the mean Gregorian year (146 097 days in 400
  // years) counted from day 5, 1 January of year 0, and clamped to the
  // table; the steps then settle on the one year with
  // table[y] < n <= table[y + 1]. The estimate is off by at most one, and
  // only in the first or last days of a year.
  int y = static_cast<int>((static_cast<std::int64_t>(n) - 5) * 400 / 146097);
  if (y < first_year) y = first_year;
  if (y > last_year) y = last_year;
  while (n <= table[y]) --y;
  while (n > table[y + 1]) ++y;
  int r = n - table[y];
  year = static_cast<short>(y);
  if (detail::is_leap(y)) {
    // Day 59 of a leap year is given to 29 February and day 60 to
    // 28 February: the inverse of convert_to_days with the two exchanged.
    if (r == 59) {
      month = 2;
      day = 29;
      return;
    }
    if (r > 59) --r;
  }
  const int m = detail::month_of_day.month[r];
  month = static_cast<unsigned char>(m);
  day = static_cast<unsigned char>(r - detail::days_before_month[m]);
}

}  // namespace xum

#endif  // XUM_CORE_XDATE_H
