// TDatePicker: a calendar date (or no date) typed in the user's short date
// format or picked from a drop-down calendar, kept within optional bounds.
//
//   auto* due = new xum::TDatePicker(form);
//   due->SetParent(form);
//   due->SetRange({xum::xdate(2024, 1, 1), {}});   // from 1 January 2024 on
//   due->SetDate(xum::xdate(2024, 5, 31));
//   due->OnChange = [&](xum::TObject*) { ... due->Date() ... };
//   if (!due->EnterText(u"31.02.2024")) { /* refused; the date is unchanged */ }
//
// Properties and events
//   Date        the date, or "no date" (xdate()). SetDate of a date outside
//               Range takes the nearest bound; a date that is not a calendar
//               date of the years 1-2999 throws xexception 0.
//   Checked     whether a date is set. Unchecking forgets the date but
//               remembers it; checking again brings it back (today, brought
//               into Range, when there was none).
//   AllowEmpty  whether typing an empty text clears the date (on by default).
//   Range       an xdates_interval of inclusive bounds, either open; a range
//               whose `from` is later than its `to` throws xexception 0.
//               Setting it brings the date into the new bounds.
//   Text        the shown text: the date in the user's short format
//               (xdate::short_format), empty for no date.
//   OnChange    runs after Date changed, however it changed.
//   OnDropDown, OnCloseUp  run after the calendar opened or closed (a picked
//               day closes it before OnChange runs).
// EnterText(text) takes what the user typed: the date's own short-format
// text keeps the date as it is (a two-digit year read back could name
// another century); empty (with AllowEmpty) clears the date; a date in the
// short format (see xparse_short_date) inside Range becomes the date. Anything else is refused: false, the date is kept and the
// text shows it again.
//
// The calendar drop-down (DroppedDown): a page of six weeks from Monday
// (CalendarPage) for the month CalendarYear/CalendarMonth, titled with the
// catalogue's month name (MonthTitle) and headed by the catalogue's day
// names (DayCaption), with a cursor day (CalendarCursor) always inside
// Range. Opening puts the cursor on the date (today when there is none,
// brought into Range) and shows its month; PickDate chooses a day and closes.
//
// Keys while closed: Up/Down a day later/earlier, PageUp/PageDown a month,
// Ctrl+PageUp/Ctrl+PageDown a year (from no date the first step gives
// today, brought into Range), Alt+Down or F4 opens; other
// keys go on (to the edit part). While open: Left/Right move the cursor a
// day, Up/Down a week, PageUp/PageDown a month, Enter picks the cursor day,
// Escape, Alt+Up or F4 close without a change.
//
// The component localizer skips a date picker and everything it owns.
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TDATE_PICKER_H
#define XUM_UI_TDATE_PICKER_H

#include <array>

#include "core/xdate.h"
#include "core/xdates_interval.h"
#include "core/xexport.h"
#include "framework/tcontrol.h"

namespace xum {

// Reads `text` as a date written in the user's short date format: three
// numbers in the order that format puts day, month and year in (learnt from
// how xdate::short_format writes a known date), separated by any run of
// characters other than letters and digits; a first number of four digits
// reads as year, month, day instead. A year of one or two digits is taken
// as 1950-2049 (00-49: 2000-2049). Returns false (and leaves `out` alone)
// for anything else, for a day the month does not have and for years
// outside 1-2999.
XUM_API bool xparse_short_date(const xstr& text, xdate& out);

class XUM_API TDatePicker : public TWinControl {
 public:
  explicit TDatePicker(TComponent* AOwner);

  xdate Date() const noexcept { return FDate; }
  void SetDate(xdate Value);
  bool Checked() const noexcept { return FDate.is_set(); }
  void SetChecked(bool Value);
  bool AllowEmpty() const noexcept { return FAllowEmpty; }
  void SetAllowEmpty(bool Value) noexcept { FAllowEmpty = Value; }
  const xdates_interval& Range() const noexcept { return FRange; }
  void SetRange(const xdates_interval& Value);

  bool EnterText(const UnicodeString& Text);

  bool DroppedDown() const noexcept { return FDroppedDown; }
  void SetDroppedDown(bool Value);
  int CalendarYear() const noexcept { return FPageYear; }
  int CalendarMonth() const noexcept { return FPageMonth; }
  // Shows another month (years 1-2999; the month wraps into the year).
  void ShowMonth(int Year, int Month);
  xdate CalendarCursor() const noexcept { return FCursor; }
  // Moves the cursor (brought into Range) and shows its month; no date or
  // a date that is not a calendar date throws xexception 0.
  void SetCalendarCursor(xdate Value);
  // The 42 days of the shown page, Monday first, starting on or before the
  // 1st of the month.
  std::array<xdate, 42> CalendarPage() const;
  // "<month name> <year>" of the shown month.
  UnicodeString MonthTitle() const;
  // The first two letters of day name `Weekday` (0 Monday .. 6 Sunday).
  static UnicodeString DayCaption(int Weekday);
  // Chooses `Value` as a click on its day does: a day outside Range is
  // refused (false); otherwise it becomes the date and the drop-down closes.
  bool PickDate(xdate Value);

  TNotifyEvent OnChange;
  TNotifyEvent OnDropDown;
  TNotifyEvent OnCloseUp;

  void KeyDown(std::uint16_t& Key, TShiftState Shift) override;

 private:
  xdate clamp(xdate d) const noexcept;
  xdate start_date() const;
  void show_text();

  xdate FDate;
  xdate FRemembered;
  xdates_interval FRange;
  bool FAllowEmpty = true;
  bool FDroppedDown = false;
  xdate FCursor;
  int FPageYear = 2000;
  int FPageMonth = 1;
};

}  // namespace xum

#endif  // XUM_UI_TDATE_PICKER_H
