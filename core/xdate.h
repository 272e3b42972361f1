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

}  // namespace xum

#endif  // XUM_CORE_XDATE_H
