#include "core/xdate.h"

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "core/xday_time.h"

namespace {

using namespace std::chrono;
using xum::xdate;

std::string str(const xdate& d) {
  return std::to_string(d.year) + "-" + std::to_string(d.month) + "-" + std::to_string(d.day);
}

// Every day of the years 1-2999 against std::chrono's civil calendar: the day
// number is the chrono day count shifted so that 1 January 1 is day 371, its
// remainder by 7 is the ISO weekday less one (0 = Monday), and converting
// back gives the date itself, except 28 and 29 February of leap years, which
// come back exchanged.
TEST(XdateTest, DayNumbersMatchTheCivilCalendarForEveryDay) {
  const sys_days first{year{1} / 1 / 1};
  const sys_days last{year{2999} / 12 / 31};
  int exchanged = 0;
  for (sys_days day = first; day <= last; day += days{1}) {
    const year_month_day ymd(day);
    const xdate d(static_cast<short>(static_cast<int>(ymd.year())),
                  static_cast<unsigned char>(static_cast<unsigned>(ymd.month())),
                  static_cast<unsigned char>(static_cast<unsigned>(ymd.day())));
    const int n = d.convert_to_days();
    ASSERT_EQ(n, 371 + (day - first).count()) << str(d);
    ASSERT_EQ(n % 7, static_cast<int>(weekday(day).iso_encoding()) - 1) << str(d);
    xdate back;
    back.convert_from_days(n);
    xdate expected = d;
    if (ymd.year().is_leap() && d.month == 2 && d.day >= 28) {
      expected.day = d.day == 28 ? 29 : 28;
      ++exchanged;
    }
    ASSERT_EQ(back, expected) << str(d) << " came back as " << str(back);
  }
  EXPECT_EQ(exchanged, 2 * 727);  // 727 leap years among 1-2999
}

// Days outside the years 1-2999 and dates that are none are refused; the
// packed value orders dates, no date last; the framework's date-time
// counts from the last days of 1899.
TEST(XdateTest, ConversionsRefuseDaysOutsideTheRangeAndPackedValuesOrder) {
  xdate d;
  EXPECT_THROW(d.convert_from_days(370), xum::xexception);
  EXPECT_THROW(d.convert_from_days(xdate(2999, 12, 31).convert_to_days() + 1), xum::xexception);
  EXPECT_FALSE(d.is_set());
  for (const xdate& bad : {xdate(), xdate(3000, 1, 1), xdate(2024, 13, 1)})
    EXPECT_THROW(bad.convert_to_days(), xum::xexception) << str(bad);
  EXPECT_EQ(xdate(2024, 3, 1).value(), 0x07E80301);
  EXPECT_LT(xdate(2999, 12, 31), xdate());
  EXPECT_EQ(static_cast<double>(static_cast<xum::TDateTime>(xdate(2024, 2, 29))), 45351.0);
  EXPECT_EQ(xdate(xum::TDateTime(-1.25)), xdate(1899, 12, 29));
  EXPECT_THROW(static_cast<void>(static_cast<xum::TDateTime>(xdate(2023, 2, 29))), xum::xexception);
  EXPECT_THROW(xdate(xum::TDateTime(1e9)), xum::xexception);
  const auto six_am = sys_days{year{1899} / 12 / 29} + hours{6};
  EXPECT_DOUBLE_EQ(xum::TDateTime::from_sys_time(six_am).Val, -1.25);
}

TEST(XdateTest, SteppingKeepsMonthEndsAndYearLimits) {
  using step = void (xdate::*)();
  const step mf = &xdate::month_forward, mb = &xdate::month_backward, df = &xdate::day_forward,
             db = &xdate::day_backward, yf = &xdate::year_forward, yb = &xdate::year_backward;
  const struct {
    xdate start;
    step go;
    xdate expected;
  } rows[] = {{{2024, 1, 31}, mf, {2024, 2, 29}}, {{2999, 12, 15}, mf, {2999, 12, 31}},
              {{2, 1, 20}, mb, {1, 12, 20}},      {{1, 1, 15}, mb, {1, 1, 1}},
              {{2023, 12, 31}, df, {2024, 1, 1}}, {{2999, 12, 31}, df, {2999, 12, 31}},
              {{2024, 3, 1}, db, {2024, 2, 29}},  {{1, 1, 1}, db, {1, 1, 31}},
              {{2024, 2, 29}, yf, {2025, 2, 28}}, {{2999, 6, 15}, yf, {2999, 6, 15}},
              {{1, 5, 5}, yb, {1, 5, 5}}};
  for (const auto& r : rows) {
    xdate d = r.start;
    (d.*r.go)();
    EXPECT_EQ(d, r.expected) << str(r.start) << " became " << str(d);
  }
  xdate none;
  EXPECT_THROW(none.day_forward(), xum::xexception);
}

// Stepping wraps around midnight; a count set from outside is brought back
// into the day first, without overflowing.
TEST(XdayTimeTest, WrapsAroundMidnight) {
  xum::xday_time t(23.5 * 3600);
  EXPECT_TRUE(t.hour_forward());
  EXPECT_EQ(t.to_str(), "0:30:0");
  EXPECT_FALSE(t.minute_backward());  // no midnight crossed
  EXPECT_EQ(t.to_str(), "0:29:0");
  EXPECT_TRUE(xum::xday_time(30.0).minute_backward());
  EXPECT_EQ(xum::xday_time(-1.0).hundredths, 8639900);
  t.hundredths = INT32_MIN;
  EXPECT_FALSE(t.hour_backward());
  EXPECT_GE(t.hundredths, 0);
}

}  // namespace
