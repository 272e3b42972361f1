// The system clock and the user's date format: the current local time, local
// time of a calendar time value, and a date written in the user's short date
// format. core/xdate and core/xday_time build on these.
//
//   int hundredths;
//   xum::platform::local_time now = xum::platform::current_local_time(hundredths);
//
// Thread safety: every function may be called from any thread.
#ifndef XUM_PLATFORM_XCLOCK_H
#define XUM_PLATFORM_XCLOCK_H

#include <string>

#include "core/xexport.h"
#include "platform/xfiles.h"

namespace xum::platform {

// The local date and time now; `hundredths` receives the hundredths of the
// current second (0-99).
XUM_API local_time current_local_time(int& hundredths) noexcept;

// The local time of `seconds` since the epoch of the system clock. Returns
// false (leaving `out` alone) when the value cannot be represented.
XUM_API bool local_time_of(long long seconds, local_time& out) noexcept;

// The date written in the user's short date format (LC_TIME of the
// environment: LC_ALL, LC_TIME, LANG), independent of the process locale;
// the C locale's format when the environment names no usable locale.
XUM_API std::string short_date_text(int year, int month, int day);

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XCLOCK_H
