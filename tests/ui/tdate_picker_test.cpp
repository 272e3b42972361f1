#include "ui/tdate_picker.h"

#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "framework/tforms.h"
#include "platform/testing/xos_wrapper.h"

namespace xum {
namespace {

// A user whose short date format the test chooses.
class date_os final : public platform::xos_wrapper {
 public:
  date_os() : xos_wrapper(platform::system_os()) {}
  std::string short_date_text(int year, int month, int day) override {
    char text[64];
    if (format == 'D')
      std::snprintf(text, sizeof text, "%02d.%02d.%04d", day, month, year);
    else if (format == 'U')
      std::snprintf(text, sizeof text, "%d/%d/%04d", month, day, year);
    else  // the C locale's %x
      std::snprintf(text, sizeof text, "%02d/%02d/%02d", month, day, year % 100);
    return text;
  }
  char format = 'D';
};

std::string text_of(xdate d) {
  return d.is_set()
             ? std::to_string(d.year) + "-" + std::to_string(d.month) + "-" + std::to_string(d.day)
             : "none";
}

class TDatePickerTest : public ::testing::Test {
 protected:
  TDatePickerTest() {
    picker->SetParent(&form);
    form.SetActiveControl(picker);
    picker->OnChange = [this](TObject*) { changes.push_back(text_of(picker->Date())); };
  }

  date_os sys;
  platform::scoped_os use{sys};
  std::vector<std::string> changes;  // outlives the form
  TForm form{nullptr};
  TDatePicker* picker = new TDatePicker(&form);
};

TEST_F(TDatePickerTest, ReadsDatesInTheUsersShortFormat) {
  const std::tuple<char, const char*, const char*> rows[] = {
      {'D', "29.02.2023", "bad"}, {'D', "1.1.49", "2049-1-1"},     {'D', "1.1.50", "1950-1-1"},
      {'D', "1.1.2024.5", "bad"}, {'D', "2024-03-09", "2024-3-9"}, {'U', "12/31/24", "2024-12-31"},
  };
  for (const auto& [format, text, date] : rows) {
    SCOPED_TRACE(text);
    sys.format = format;
    xdate d(1, 1, 1);
    const bool ok = xparse_short_date(xstr(text), d);
    EXPECT_EQ(ok ? text_of(d) : std::string("bad"), date);
    EXPECT_TRUE(ok || d == xdate(1, 1, 1)) << "a refused text leaves the date alone";
  }
}

TEST_F(TDatePickerTest, TypedTextIsTakenOrRefusedWithoutLosingTheDate) {
  picker->SetRange({xdate(2024, 1, 1), xdate(2024, 12, 31)});
  picker->SetDate(xdate(2024, 5, 1));
  picker->SetText(u"being typed");  // what the edit part shows meanwhile
  EXPECT_FALSE(picker->EnterText(u"1.1.2025")) << "after the range";
  EXPECT_EQ(picker->Text(), u"01.05.2024");
  picker->SetAllowEmpty(false);
  EXPECT_FALSE(picker->EnterText(u"  ")) << "no empty date allowed";
  picker->SetAllowEmpty(true);
  EXPECT_TRUE(picker->EnterText(u""));
  EXPECT_EQ(changes, (std::vector<std::string>{"2024-5-1", "none"}));
  // Its own text, given back unchanged, keeps a date whose short format
  // has a two-digit year.
  sys.format = 'C';
  picker->SetRange({});
  picker->SetDate(xdate(1930, 7, 4));
  EXPECT_TRUE(picker->EnterText(picker->Text()));
  EXPECT_EQ(text_of(picker->Date()), "1930-7-4");
  picker->SetRange({xdate(2024, 1, 10), {}});
  EXPECT_EQ(text_of(picker->Date()), "2024-1-10") << "a new range brings the date in";
}

TEST_F(TDatePickerTest, KeysStepTheDateAndMoveTheCalendarCursorInsideTheRange) {
  picker->SetRange({xdate(2024, 1, 1), xdate(2024, 3, 31)});
  // Keys from 31 January 2024, closed; the date, then the cursor ("": closed).
  const std::tuple<std::vector<std::pair<std::uint16_t, TShiftState>>, const char*, const char*>
      rows[] = {
          {{{VK_PRIOR, ssCtrl}}, "2024-3-31", ""},                // a year up, clamped
          {{{0x73, 0}, {VK_PRIOR, 0}}, "2024-1-31", "2024-1-1"},  // stays in the range
          {{{0x73, 0}, {VK_NEXT, 0}, {VK_ESCAPE, 0}}, "2024-1-31", ""},
      };
  for (const auto& [keys, date, cursor] : rows) {
    SCOPED_TRACE(std::string(date) + " " + cursor);
    picker->SetDroppedDown(false);
    picker->SetDate(xdate(2024, 1, 31));
    for (const auto& [k, shift] : keys) EXPECT_EQ(form.DispatchKeyDown(k, shift), 0) << "key " << k;
    EXPECT_EQ(text_of(picker->Date()), date);
    EXPECT_EQ(picker->DroppedDown() ? text_of(picker->CalendarCursor()) : "", cursor);
  }
  // A pick closes the drop-down before the date changes.
  picker->SetDroppedDown(true);
  changes.clear();
  picker->OnCloseUp = [this](TObject*) { changes.push_back("closed"); };
  EXPECT_TRUE(picker->PickDate(xdate(2024, 3, 30)));
  EXPECT_EQ(changes, (std::vector<std::string>{"closed", "2024-3-30"}));
}

}  // namespace
}  // namespace xum
