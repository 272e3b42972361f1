#include "core/xdate.h"

#include <chrono>
#include <cstdint>
#include <mutex>

#include "core/xcatalogue.h"
#include "platform/xclock.h"

namespace xum {

namespace {

constexpr int days_in_month_table[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr int days_before_month[13] = {0, 0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

// Entry y is the day number of 31 December of year y - 1; entry 0 is 4.
// Entry 3000 closes year 2999 so that finding a year never reads past the end.
constexpr int year_table_size = xdate::last_year + 2;
std::int32_t year_table[year_table_size];
std::once_flag year_table_built;

constexpr bool leap(int y) noexcept { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

const std::int32_t* years() {
  std::call_once(year_table_built, [] {
    year_table[0] = 4;
    for (int y = 0; y + 1 < year_table_size; ++y) year_table[y + 1] = year_table[y] + (leap(y) ? 366 : 365);
  });
  return year_table;
}

void require(bool condition) {
  if (!condition) throw xexception(xexception::out_of_range);
}

// The framework's date range.
constexpr bool framework_year(int y) noexcept { return y >= 1 && y <= 9999; }

}  // namespace

xstr xword(const xstr& text, int k) {
  const std::string_view s = text.view();
  std::size_t start = 0;
  for (int skip = 1; skip < k; ++skip) {
    const std::size_t blank = s.find(' ', start);
    if (blank == std::string_view::npos) return xstr();
    start = blank + 1;
  }
  if (k < 1) return xstr();
  const std::size_t end = s.find(' ', start);
  return xstr(s.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
}

xdate::xdate(TDateTime t) {
  const std::chrono::year_month_day ymd(t.sys_days());
  const int y = static_cast<int>(ymd.year());
  require(framework_year(y));
  year = static_cast<short>(y);
  month = static_cast<unsigned char>(static_cast<unsigned>(ymd.month()));
  day = static_cast<unsigned char>(static_cast<unsigned>(ymd.day()));
}

xdate::operator TDateTime() const {
  const std::chrono::year_month_day ymd{std::chrono::year{year}, std::chrono::month{month},
                                        std::chrono::day{day}};
  require(framework_year(year) && ymd.ok());
  return TDateTime::from_sys_days(std::chrono::sys_days{ymd});
}

void xdate::get_current() {
  int hundredths;
  const platform::local_time now = platform::current_local_time(hundredths);
  *this = xdate(static_cast<short>(now.year), static_cast<unsigned char>(now.month),
                static_cast<unsigned char>(now.day));
}

int xdate::days_in_month() const {
  require(month >= 1 && month <= 12);
  return month == 2 && is_leap_year() ? 29 : days_in_month_table[month];
}

int xdate::convert_to_days() const {
  require(year >= first_year && year <= last_year && month >= 1 && month <= 12);
  const std::int32_t* table = years();
  return table[year] + days_before_month[month] + day + (month >= 3 && is_leap_year() ? 1 : 0);
}

void xdate::convert_from_days(int n) {
  const std::int32_t* table = years();
  require(n > table[first_year] && n <= table[last_year + 1]);
  // n / 365.25 in integers, clamped to the table; the steps then settle on
  // the one year with table[y] < n <= table[y + 1]. (Stepping down only
  // while n < table[y] would stop on 31 December with day 0 of the next year.)
  int y = static_cast<int>(static_cast<std::int64_t>(n) * 4 / 1461);
  if (y < first_year) y = first_year;
  if (y > last_year) y = last_year;
  while (n <= table[y]) --y;
  while (n > table[y + 1]) ++y;
  int r = n - table[y];
  year = static_cast<short>(y);
  if (leap(y)) {
    // Day 59 of a leap year is given to 29 February and day 60 to
    // 28 February: the inverse of convert_to_days with the two exchanged.
    if (r == 59) {
      month = 2;
      day = 29;
      return;
    }
    if (r > 59) --r;
  }
  int m = r * 10 / 306 + 1;  // r / 30.6 + 1
  while (r <= days_before_month[m]) --m;
  while (m < 12 && r > days_before_month[m + 1]) ++m;
  month = static_cast<unsigned char>(m);
  day = static_cast<unsigned char>(r - days_before_month[m]);
}

void xdate::month_forward() {
  require(month >= 1 && month <= 12);
  if (month < 12) {
    ++month;
  } else if (year >= last_year) {
    day = 31;
    return;
  } else {
    month = 1;
    ++year;
  }
  if (day > days_in_month()) day = static_cast<unsigned char>(days_in_month());
}

void xdate::month_backward() {
  require(month >= 1 && month <= 12);
  if (month > 1) {
    --month;
  } else if (year < 2) {
    day = 1;
    return;
  } else {
    month = 12;
    --year;
  }
  if (day > days_in_month()) day = static_cast<unsigned char>(days_in_month());
}

void xdate::day_forward() {
  if (day >= days_in_month()) {
    day = 1;
    month_forward();
  } else {
    ++day;
  }
}

void xdate::day_backward() {
  if (day <= 1) {
    month_backward();
    day = static_cast<unsigned char>(days_in_month());
  } else {
    --day;
  }
}

void xdate::year_forward() {
  if (year >= last_year) return;
  ++year;
  if (day > days_in_month()) --day;
}

void xdate::year_backward() {
  if (year < 2) return;
  --year;
  if (day > days_in_month()) --day;
}

xstr xdate::month_name() const { return xword(msg::MonthNames.text, month); }

xstr xdate::day_name() const { return xword(msg::DayNames.text, convert_to_days() % 7 + 1); }

xstr xdate::short_format() const {
  static_cast<void>(static_cast<TDateTime>(*this));  // the same range check as the conversion
  return xstr(platform::short_date_text(year, month, day).c_str());
}

}  // namespace xum
