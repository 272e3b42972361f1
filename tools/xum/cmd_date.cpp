// xum date: today's date or a given one with its day number, names and the
// user's short format; a day number back to its date.
#include <charconv>
#include <cstdio>
#include <iostream>
#include <string>

#include "core/xdate.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

// Parses the whole of `text` as an integer.
bool parse_int(const std::string& text, int& out) {
  const char* end = text.data() + text.size();
  const auto r = std::from_chars(text.data(), end, out);
  return r.ec == std::errc() && r.ptr == end;
}

// YYYY-MM-DD, a real calendar date of the years 1-2999.
xdate parse_date(const std::string& text) {
  const std::size_t a = text.find('-'), b = text.find('-', a == std::string::npos ? a : a + 1);
  int y = 0, m = 0, d = 0;
  if (a == std::string::npos || b == std::string::npos || !parse_int(text.substr(0, a), y) ||
      !parse_int(text.substr(a + 1, b - a - 1), m) || !parse_int(text.substr(b + 1), d) ||
      y < xdate::first_year || y > xdate::last_year || m < 1 || m > 12 || d < 1)
    throw cli::usage_error("'" + text + "' is not a date YYYY-MM-DD of the years 1-2999");
  const xdate date(static_cast<short>(y), static_cast<unsigned char>(m), static_cast<unsigned char>(d));
  if (d > date.days_in_month()) throw cli::usage_error("'" + text + "' is not a day of the calendar");
  return date;
}

void print(const xdate& d) {
  char iso[16];
  std::snprintf(iso, sizeof iso, "%04d-%02d-%02d", d.year, d.month, d.day);
  std::cout << "date   " << iso << "\n"
            << "days   " << d.convert_to_days() << "\n"
            << "day    " << d.day_name().view() << "\n"
            << "month  " << d.month_name().view() << "\n"
            << "short  " << d.short_format().view() << "\n";
}

}  // namespace

cli::command date_command() {
  cli::command c;
  c.name = "date";
  c.summary = "Show a date with its day number and names, or the date of a day number";
  c.usage = "[YYYY-MM-DD | --days N]";
  c.help =
      "Without arguments shows today (local time); with a date of the years\n"
      "1-2999 shows that date. Each is printed with its day number (1 January\n"
      "of year 1 is 371; numbers divisible by 7 are Mondays), its day and\n"
      "month name from the message catalogue and the user's short date format.\n"
      "\n"
      "Options:\n"
      "  --days N   show the date of day number N. In leap years the numbers of\n"
      "             28 and 29 February give those two dates exchanged, as the\n"
      "             library's conversion does.\n";
  c.run = [](cli::arguments& a) {
    const auto days = a.option("--days");
    const auto rest = a.positionals(0, days ? 0 : 1);
    xdate d;
    if (days) {
      int n = 0;
      const int low = xdate(1, 1, 1).convert_to_days(), high = xdate(2999, 12, 31).convert_to_days();
      if (!parse_int(*days, n) || n < low || n > high)
        throw cli::usage_error("day number '" + *days + "' is not in " + std::to_string(low) + "-" +
                               std::to_string(high));
      d.convert_from_days(n);
    } else if (rest.empty()) {
      d.get_current();
    } else {
      d = parse_date(rest[0]);
    }
    print(d);
    return cli::exit_ok;
  };
  return c;
}

}  // namespace xum::tool
