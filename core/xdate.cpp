#include "core/xdate.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>

#include "core/xcatalogue.h"
#include "platform/xos.h"

namespace xum {

namespace {

constexpr int days_in_month_table[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
// Entry 3000 closes year 2999 so that finding a year never reads past the end.
constexpr int year_table_size = xdate::last_year + 2;
std::int32_t year_table_entries[year_table_size];
std::once_flag year_table_built;

void require(bool condition) {
  if (!condition) throw xexception(xexception::out_of_range);
}

// The framework's date range.
constexpr bool framework_year(int y) noexcept { return y >= 1 && y <= 9999; }

}  // namespace

namespace detail {

std::atomic<const std::int32_t*> year_table_ready{nullptr};

const std::int32_t* build_year_table() {
  std::call_once(year_table_built, [] {
    year_table_entries[0] = 4;
    for (int y = 0; y + 1 < year_table_size; ++y)
      year_table_entries[y + 1] = year_table_entries[y] + (is_leap(y) ? 366 : 365);
    year_table_ready.store(year_table_entries, std::memory_order_release);
  });
  return year_table_entries;
}

void throw_out_of_range() { throw xexception(xexception::out_of_range); }

}  // namespace detail

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
  const platform::local_time now = platform::os().current_local_time(hundredths);
  *this = xdate(static_cast<short>(now.year), static_cast<unsigned char>(now.month),
                static_cast<unsigned char>(now.day));
}

int xdate::days_in_month() const {
  require(month >= 1 && month <= 12);
  return month == 2 && is_leap_year() ? 29 : days_in_month_table[month];
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
  return xstr(platform::os().short_date_text(year, month, day).c_str());
}

}  // namespace xum
