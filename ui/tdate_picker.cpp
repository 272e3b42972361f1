#include "ui/tdate_picker.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "localization/xcomponent_localizer.h"

namespace xum {

namespace {

constexpr std::uint16_t vk_f4 = VK_F1 + 3;

// A date picker has no texts to translate: the walk skips it and all it
// owns. The row is bound when the first picker is made.
void bind_localizer_row() {
  static const bool bound = [] {
    xbind_localizer_class(xlocalizer_class::date_picker, [](const TComponent* c) {
      return dynamic_cast<const TDatePicker*>(c) != nullptr;
    });
    return true;
  }();
  (void)bound;
}

bool is_calendar_date(xdate d) {
  if (d.year < xdate::first_year || d.year > xdate::last_year || d.month < 1 || d.month > 12)
    return false;
  return d.day >= 1 && d.day <= d.days_in_month();
}

// The positions of day (0), month (1) and year (2) in the user's short
// format, learnt from a date whose three numbers differ: 22 November 2033.
std::array<int, 3> short_format_order() {
  const xstr probe = xdate(2033, 11, 22).short_format();
  const std::string_view s = probe.view();
  std::size_t at[3] = {s.find("22"), s.find("11"), s.find("2033")};
  if (at[2] == std::string_view::npos) at[2] = s.find("33");
  std::array<int, 3> order{0, 1, 2};
  if (at[0] == std::string_view::npos || at[1] == std::string_view::npos ||
      at[2] == std::string_view::npos)
    return order;  // a format with month names: day, month, year is the likeliest
  std::sort(order.begin(), order.end(), [&](int a, int b) { return at[a] < at[b]; });
  return order;
}

int year_of(const std::string& digits) {
  const int y = std::stoi(digits);
  if (digits.size() > 2) return y;
  return y < 50 ? 2000 + y : 1900 + y;
}

}  // namespace

bool xparse_short_date(const xstr& text, xdate& out) {
  std::vector<std::string> numbers;
  std::string current;
  for (const char ch : text.view()) {
    const auto c = static_cast<unsigned char>(ch);
    if (std::isdigit(c)) {
      current += ch;
      continue;
    }
    if (std::isalpha(c) || c >= 0x80) return false;  // letters are never separators
    if (!current.empty()) numbers.push_back(std::move(current));
    current.clear();
  }
  if (!current.empty()) numbers.push_back(std::move(current));
  if (numbers.size() != 3) return false;
  std::string day, month, year;
  if (numbers[0].size() == 4) {
    year = numbers[0];
    month = numbers[1];
    day = numbers[2];
  } else {
    const std::array<int, 3> order = short_format_order();
    std::string* field[3] = {&day, &month, &year};
    for (int i = 0; i < 3; ++i) *field[order[static_cast<std::size_t>(i)]] = numbers[static_cast<std::size_t>(i)];
  }
  if (day.size() > 2 || month.size() > 2 || year.size() > 4) return false;
  const xdate d(static_cast<short>(year_of(year)), static_cast<unsigned char>(std::stoi(month)),
                static_cast<unsigned char>(std::stoi(day)));
  if (!is_calendar_date(d)) return false;
  out = d;
  return true;
}

TDatePicker::TDatePicker(TComponent* AOwner) : TWinControl(AOwner) {
  bind_localizer_row();
  SetBounds(0, 0, 120, 21);
  FCursor = start_date();
  FPageYear = FCursor.year;
  FPageMonth = FCursor.month;
}

xdate TDatePicker::clamp(xdate d) const noexcept {
  if (FRange.from.is_set() && d < FRange.from) return FRange.from;
  if (FRange.to.is_set() && d > FRange.to) return FRange.to;
  return d;
}

xdate TDatePicker::start_date() const {
  if (FDate.is_set()) return FDate;
  xdate today;
  today.get_current();
  return clamp(today);
}

void TDatePicker::show_text() {
  SetCaption(FDate.is_set() ? ToUnicode(FDate.short_format()) : UnicodeString());
}

void TDatePicker::SetDate(xdate Value) {
  if (Value.is_set()) {
    if (!is_calendar_date(Value)) throw xexception(xexception::out_of_range);
    Value = clamp(Value);
  }
  if (Value.is_set()) FRemembered = Value;
  if (Value == FDate) {
    show_text();  // a refused text shows the date again
    return;
  }
  FDate = Value;
  show_text();
  if (OnChange) OnChange(this);
}

void TDatePicker::SetChecked(bool Value) {
  if (Value == Checked()) return;
  if (!Value) {
    const xdate keep = FDate;
    SetDate(xdate());
    FRemembered = keep;
    return;
  }
  SetDate(FRemembered.is_set() ? clamp(FRemembered) : start_date());
}

void TDatePicker::SetRange(const xdates_interval& Value) {
  if (Value.from.is_set() && !is_calendar_date(Value.from)) throw xexception(xexception::out_of_range);
  if (Value.to.is_set() && !is_calendar_date(Value.to)) throw xexception(xexception::out_of_range);
  if (Value.from.is_set() && Value.to.is_set() && Value.from > Value.to)
    throw xexception(xexception::out_of_range);
  FRange = Value;
  FCursor = clamp(FCursor);
  if (FDate.is_set()) SetDate(FDate);
}

bool TDatePicker::EnterText(const UnicodeString& Text) {
  // The shown text itself keeps the date: read back, a short format with a
  // two-digit year could name another century.
  if (FDate.is_set() && Text == ToUnicode(FDate.short_format())) return true;
  const xstr typed = FromUnicode(Text).trim();
  if (typed.length() == 0) {
    if (FAllowEmpty) {
      SetDate(xdate());
      return true;
    }
    show_text();
    return false;
  }
  xdate d;
  if (!xparse_short_date(typed, d) || !FRange.test(d)) {
    show_text();
    return false;
  }
  SetDate(d);
  return true;
}

void TDatePicker::SetDroppedDown(bool Value) {
  if (Value == FDroppedDown) return;
  FDroppedDown = Value;
  if (Value) SetCalendarCursor(start_date());
  const TNotifyEvent& event = Value ? OnDropDown : OnCloseUp;
  if (event) event(this);
}

void TDatePicker::ShowMonth(int Year, int Month) {
  Year += (Month - 1 >= 0 ? (Month - 1) / 12 : (Month - 12) / 12);
  Month = ((Month - 1) % 12 + 12) % 12 + 1;
  if (Year < xdate::first_year || Year > xdate::last_year) return;
  FPageYear = Year;
  FPageMonth = Month;
}

void TDatePicker::SetCalendarCursor(xdate Value) {
  if (!Value.is_set() || !is_calendar_date(Value)) throw xexception(xexception::out_of_range);
  FCursor = clamp(Value);
  FPageYear = FCursor.year;
  FPageMonth = FCursor.month;
}

std::array<xdate, 42> TDatePicker::CalendarPage() const {
  xdate d(static_cast<short>(FPageYear), static_cast<unsigned char>(FPageMonth), 1);
  const int weekday = d.convert_to_days() % 7;  // 0: Monday
  // 1 January of year 1 is a Monday: stepping back never leaves the years.
  for (int i = 0; i < weekday; ++i) d.day_backward();
  std::array<xdate, 42> page;
  for (xdate& cell : page) {
    cell = d;
    d.day_forward();
  }
  return page;
}

UnicodeString TDatePicker::MonthTitle() const {
  const xdate first(static_cast<short>(FPageYear), static_cast<unsigned char>(FPageMonth), 1);
  return ToUnicode(first.month_name() + " " + xstr(std::to_string(FPageYear).c_str()));
}

UnicodeString TDatePicker::DayCaption(int Weekday) {
  const UnicodeString name = ToUnicode(xword(msg::DayNames.text, Weekday + 1));
  return name.substr(0, std::min<std::size_t>(2, name.size()));
}

bool TDatePicker::PickDate(xdate Value) {
  if (!Value.is_set() || !is_calendar_date(Value) || !FRange.test(Value)) return false;
  SetDroppedDown(false);
  SetDate(Value);
  return true;
}

void TDatePicker::KeyDown(std::uint16_t& Key, TShiftState Shift) {
  TWinControl::KeyDown(Key, Shift);
  if (Key == 0 || !Enabled()) return;
  const bool alt = (Shift & ssAlt) != 0, ctrl = (Shift & ssCtrl) != 0;
  const std::uint16_t key = Key;
  Key = 0;
  if (FDroppedDown) {
    xdate c = FCursor;
    if (key == VK_ESCAPE || key == vk_f4 || (alt && key == VK_UP)) {
      SetDroppedDown(false);
      return;
    }
    if (key == VK_RETURN) {
      PickDate(FCursor);
      return;
    }
    if (key == VK_LEFT)
      c.day_backward();
    else if (key == VK_RIGHT)
      c.day_forward();
    else if (key == VK_UP)
      for (int i = 0; i < 7; ++i) c.day_backward();
    else if (key == VK_DOWN)
      for (int i = 0; i < 7; ++i) c.day_forward();
    else if (key == VK_PRIOR)
      c.month_backward();
    else if (key == VK_NEXT)
      c.month_forward();
    else {
      Key = key;
      return;
    }
    SetCalendarCursor(c);
    return;
  }
  if (key == vk_f4 || (alt && key == VK_DOWN)) {
    SetDroppedDown(true);
    return;
  }
  xdate d = start_date();
  if (key == VK_UP)
    d.day_forward();
  else if (key == VK_DOWN)
    d.day_backward();
  else if (key == VK_PRIOR)
    ctrl ? d.year_forward() : d.month_forward();
  else if (key == VK_NEXT)
    ctrl ? d.year_backward() : d.month_backward();
  else {
    Key = key;
    return;
  }
  // From no date the first step lands on today itself.
  SetDate(FDate.is_set() ? d : start_date());
}

}  // namespace xum
