// The clock and the user's date format of posix_os.
#include <locale.h>
#include <time.h>

#include "platform/posix/xposix_os.h"

namespace xum::platform {

namespace {

void fill(const struct tm& tm, local_time& out) noexcept {
  out.year = tm.tm_year + 1900;
  out.month = tm.tm_mon + 1;
  out.day = tm.tm_mday;
  out.hour = tm.tm_hour;
  out.minute = tm.tm_min;
  out.second = tm.tm_sec;
}

// The user's LC_TIME locale, made once and kept for the life of the process;
// the C locale when the environment names a locale the system does not have.
locale_t user_time_locale() noexcept {
  static const locale_t loc = [] {
    locale_t l = ::newlocale(LC_TIME_MASK, "", static_cast<locale_t>(nullptr));
    return l ? l : ::newlocale(LC_TIME_MASK, "C", static_cast<locale_t>(nullptr));
  }();
  return loc;
}

// Day of the week, 0 = Sunday, of a proleptic Gregorian date (any year >= 1).
int weekday(int year, int month, int day) noexcept {
  static constexpr int offset[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
  if (month < 3) --year;
  return (year + year / 4 - year / 100 + year / 400 + offset[(month + 11) % 12] + day) % 7;
}

}  // namespace

local_time posix_os::current_local_time(int& hundredths) noexcept {
  struct timespec ts;
  ::clock_gettime(CLOCK_REALTIME, &ts);
  local_time out;
  struct tm tm;
  if (::localtime_r(&ts.tv_sec, &tm) != nullptr) fill(tm, out);
  hundredths = static_cast<int>(ts.tv_nsec / 10000000);
  return out;
}

bool posix_os::local_time_of(long long seconds, local_time& out) noexcept {
  const time_t t = static_cast<time_t>(seconds);
  struct tm tm;
  if (::localtime_r(&t, &tm) == nullptr) return false;
  fill(tm, out);
  return true;
}

std::string posix_os::short_date_text(int year, int month, int day) {
  struct tm tm = {};
  tm.tm_year = year - 1900;
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  if (month >= 1 && month <= 12) tm.tm_wday = weekday(year, month, day);
  char text[128];
  const locale_t loc = user_time_locale();
  const std::size_t n = loc ? ::strftime_l(text, sizeof text, "%x", &tm, loc) : 0;
  return std::string(text, n);
}

}  // namespace xum::platform
