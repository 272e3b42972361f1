#include "ui/tdate_picker.h"

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "framework/tforms.h"
#include "platform/testing/xos_wrapper.h"

namespace xum {
namespace {

// A user whose short date format and today the test chooses.
class date_os final : public platform::xos_wrapper {
 public:
  date_os() : xos_wrapper(platform::system_os()) {}
  std::string short_date_text(int year, int month, int day) override {
    char text[64];
    if (format == 'D')
      std::snprintf(text, sizeof text, "%02d.%02d.%04d", day, month, year);
    else if (format == 'U')
      std::snprintf(text, sizeof text, "%d/%d/%04d", month, day, year);
    else if (format == 'Y')
      std::snprintf(text, sizeof text, "%04d-%02d-%02d", year, month, day);
    else  // the C locale's %x
      std::snprintf(text, sizeof text, "%02d/%02d/%02d", month, day, year % 100);
    return text;
  }
  platform::local_time current_local_time(int& hundredths) noexcept override {
    hundredths = 0;
    platform::local_time t;
    t.year = today.year;
    t.month = today.month;
    t.day = today.day;
    return t;
  }
  char format = 'D';
  xdate today{2024, 6, 15};
};

std::string text_of(xdate d) {
  return d.is_set() ? std::to_string(d.year) + "-" + std::to_string(d.month) + "-" +
                          std::to_string(d.day)
                    : "none";
}

class TDatePickerTest : public ::testing::Test {
 protected:
  TDatePickerTest() {
    picker->SetParent(form);
    form->SetActiveControl(picker);
    picker->OnChange = [this](TObject*) { changes.push_back(text_of(picker->Date())); };
  }
  ~TDatePickerTest() override { delete form; }
  std::uint16_t key(std::uint16_t k, TShiftState shift = 0) { return form->DispatchKeyDown(k, shift); }

  date_os sys;
  platform::scoped_os use{sys};
  TForm* form = new TForm(nullptr);
  TDatePicker* picker = new TDatePicker(form);
  std::vector<std::string> changes;
};

TEST_F(TDatePickerTest, ReadsDatesInTheUsersShortFormat) {
  struct row {
    char format;
    const char* text;
    const char* date;  // "bad": refused
  };
  const row rows[] = {
      {'D', "31.12.2024", "2024-12-31"},  {'D', " 1.2.24 ", "2024-2-1"},
      {'D', "29.02.2024", "2024-2-29"},   {'D', "29.02.2023", "bad"},
      {'D', "31.04.2024", "bad"},         {'D', "0.1.2024", "bad"},
      {'D', "1.13.2024", "bad"},          {'D', "1.1.3000", "bad"},
      {'D', "1.1.49", "2049-1-1"},        {'D', "1.1.50", "1950-1-1"},
      {'D', "1.1.999", "999-1-1"},
      {'D', "1.1.00012", "bad"},          {'D', "001.1.2024", "bad"},
      {'D', "1.1", "bad"},                {'D', "1.1.2024.5", "bad"},
      {'D', "1a.1.2024", "bad"},          {'D', "1. Mai 2024", "bad"},
      {'D', "", "bad"},                   {'D', "2024-03-09", "2024-3-9"},
      {'U', "3/9/2024", "2024-3-9"},      {'U', "12/31/24", "2024-12-31"},
      {'U', "31/12/2024", "bad"},         {'C', "03/09/24", "2024-3-9"},
      {'Y', "2024-03-09", "2024-3-9"},    {'D', "1 / 2 - 2024", "2024-2-1"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(std::string(1, r.format) + " " + r.text);
    sys.format = r.format;
    xdate d(1, 1, 1);
    const bool ok = xparse_short_date(xstr(r.text), d);
    EXPECT_EQ(ok ? text_of(d) : std::string("bad"), r.date);
    if (!ok) {
      EXPECT_EQ(d, xdate(1, 1, 1)) << "a refused text leaves the date alone";
    }
  }
}

TEST_F(TDatePickerTest, TypedTextIsTakenOrRefusedWithoutLosingTheDate) {
  picker->SetRange({xdate(2024, 1, 1), xdate(2024, 12, 31)});
  picker->SetDate(xdate(2024, 5, 1));
  EXPECT_EQ(picker->Text(), u"01.05.2024");
  struct row {
    const char16_t* typed;
    bool allow_empty;
    bool taken;
    const char* date;
    const char16_t* shown;
  };
  const row rows[] = {
      {u"7.6.24", true, true, "2024-6-7", u"07.06.2024"},
      {u"31.6.2024", true, false, "2024-6-7", u"07.06.2024"},
      {u"1.1.2025", true, false, "2024-6-7", u"07.06.2024"},  // after the range
      {u"  ", false, false, "2024-6-7", u"07.06.2024"},
      {u"", true, true, "none", u""},
      {u"x", true, false, "none", u""},
      {u"31.12.2024", true, true, "2024-12-31", u"31.12.2024"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(std::string(r.date));
    picker->SetAllowEmpty(r.allow_empty);
    picker->SetText(u"being typed");  // what the edit part shows meanwhile
    EXPECT_EQ(picker->EnterText(r.typed), r.taken);
    EXPECT_EQ(text_of(picker->Date()), r.date);
    EXPECT_EQ(picker->Text(), r.shown);
  }
  EXPECT_EQ(changes, (std::vector<std::string>{"2024-5-1", "2024-6-7", "none", "2024-12-31"}));
  // Its own text, given back unchanged, keeps a date whose short format
  // has a two-digit year.
  sys.format = 'C';
  picker->SetRange({});
  picker->SetDate(xdate(1930, 7, 4));
  EXPECT_TRUE(picker->EnterText(picker->Text()));
  EXPECT_EQ(text_of(picker->Date()), "1930-7-4");
}

TEST_F(TDatePickerTest, BoundsClampSetDatesAndRefuseBadOnes) {
  picker->SetDate(xdate(2020, 3, 3));
  picker->SetRange({xdate(2024, 1, 10), {}});
  EXPECT_EQ(text_of(picker->Date()), "2024-1-10") << "a new range brings the date in";
  picker->SetDate(xdate(1990, 1, 1));
  EXPECT_EQ(text_of(picker->Date()), "2024-1-10");
  picker->SetDate(xdate(2999, 12, 31));
  EXPECT_EQ(text_of(picker->Date()), "2999-12-31") << "open above";
  EXPECT_THROW(picker->SetRange({xdate(2024, 2, 1), xdate(2024, 1, 31)}), xexception);
  EXPECT_THROW(picker->SetDate(xdate(2023, 2, 29)), xexception);
  EXPECT_THROW(picker->SetDate(xdate(3000, 1, 1)), xexception);
  EXPECT_EQ(text_of(picker->Date()), "2999-12-31");
  // Unchecking remembers; checking brings it back, or today (in the range).
  picker->SetChecked(false);
  EXPECT_EQ(picker->Text(), u"");
  picker->SetChecked(true);
  EXPECT_EQ(text_of(picker->Date()), "2999-12-31");
  EXPECT_EQ(changes, (std::vector<std::string>{"2020-3-3", "2024-1-10", "2999-12-31", "none",
                                               "2999-12-31"}));
}

TEST_F(TDatePickerTest, TheCalendarPageStartsOnMondayWithTheCataloguesNames) {
  picker->SetDate(xdate(2024, 2, 14));
  picker->SetDroppedDown(true);
  EXPECT_EQ(picker->MonthTitle(), u"Febrary 2024");
  const auto page = picker->CalendarPage();
  EXPECT_EQ(text_of(page.front()), "2024-1-29");  // 1 February 2024 is a Thursday
  EXPECT_EQ(text_of(page[31]), "2024-2-29");
  EXPECT_EQ(text_of(page.back()), "2024-3-10");
  EXPECT_EQ(TDatePicker::DayCaption(0), u"Mo");
  EXPECT_EQ(TDatePicker::DayCaption(6), u"Su");
  picker->ShowMonth(2024, 13);
  EXPECT_EQ(picker->MonthTitle(), u"January 2025");
  picker->ShowMonth(2024, 0);
  EXPECT_EQ(picker->MonthTitle(), u"December 2023");
  picker->ShowMonth(1, 1);  // the first page of all starts on its first day
  EXPECT_EQ(text_of(picker->CalendarPage().front()), "1-1-1");

  const xstr months = msg::MonthNames.text, days = msg::DayNames.text;
  msg::MonthNames.text = "Jan Feb Mar Apr Mai Jun Jul Aug Sep Okt Nov Dez";
  msg::DayNames.text = "Montag Dienstag Mittwoch Donnerstag Freitag Samstag Sonntag";
  picker->ShowMonth(2024, 5);
  EXPECT_EQ(picker->MonthTitle(), u"Mai 2024");
  EXPECT_EQ(TDatePicker::DayCaption(2), u"Mi");
  msg::MonthNames.text = months;
  msg::DayNames.text = days;
}

TEST_F(TDatePickerTest, KeysStepTheDateAndMoveTheCalendarCursorInsideTheRange) {
  picker->SetRange({xdate(2024, 1, 1), xdate(2024, 3, 31)});
  struct row {
    const char* name;
    std::vector<std::pair<std::uint16_t, TShiftState>> keys;
    const char* date;
    bool open;
    const char* cursor;  // while open
  };
  // Each row starts at 31 January 2024, closed.
  const row rows[] = {
      {"up a day", {{VK_UP, 0}}, "2024-2-1", false, ""},
      {"page up, then down twice below the range", {{VK_PRIOR, 0}, {VK_NEXT, 0}, {VK_NEXT, 0}},
       "2024-1-1", false, ""},
      {"ctrl+page up a year, clamped", {{VK_PRIOR, ssCtrl}}, "2024-3-31", false, ""},
      {"alt+down opens on the date", {{VK_DOWN, ssAlt}}, "2024-1-31", true, "2024-1-31"},
      {"open: down a week", {{0x73, 0}, {VK_DOWN, 0}}, "2024-1-31", true, "2024-2-7"},
      {"open: page up stays in the range", {{0x73, 0}, {VK_PRIOR, 0}}, "2024-1-31", true,
       "2024-1-1"},
      {"open: right, enter picks", {{0x73, 0}, {VK_RIGHT, 0}, {VK_RETURN, 0}}, "2024-2-1", false, ""},
      {"open: page down, escape keeps", {{0x73, 0}, {VK_NEXT, 0}, {VK_ESCAPE, 0}}, "2024-1-31",
       false, ""},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    picker->SetDroppedDown(false);
    picker->SetDate(xdate(2024, 1, 31));
    for (const auto& [k, shift] : r.keys) EXPECT_EQ(key(k, shift), 0) << "key " << k;
    EXPECT_EQ(text_of(picker->Date()), r.date);
    EXPECT_EQ(picker->DroppedDown(), r.open);
    if (r.open) {
      EXPECT_EQ(text_of(picker->CalendarCursor()), r.cursor);
      EXPECT_EQ(picker->CalendarMonth(), picker->CalendarCursor().month);
    }
  }
  // Editing keys go on to the edit part; from no date a step gives today.
  EXPECT_EQ(key(VK_DELETE), VK_DELETE);
  EXPECT_EQ(key(VK_HOME), VK_HOME);
  picker->SetRange({});
  picker->SetChecked(false);
  key(VK_UP);
  EXPECT_EQ(text_of(picker->Date()), "2024-6-15");
  // A click outside the range is refused and leaves the drop-down open; a
  // pick closes it before the date changes.
  picker->SetRange({xdate(2024, 6, 1), xdate(2024, 6, 30)});
  picker->SetDroppedDown(true);
  EXPECT_FALSE(picker->PickDate(xdate(2024, 7, 1)));
  EXPECT_TRUE(picker->DroppedDown());
  changes.clear();
  picker->OnCloseUp = [this](TObject*) { changes.push_back("closed"); };
  EXPECT_TRUE(picker->PickDate(xdate(2024, 6, 30)));
  EXPECT_EQ(changes, (std::vector<std::string>{"closed", "2024-6-30"}));
}

}  // namespace
}  // namespace xum
