#include "ui/uiutils.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "core/xreg_key.h"
#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/tdialogs.h"
#include "framework/tstdctrls.h"
#include "framework/xexception_presenter.h"
#include "ui/tfile_selector.h"
#include "ui/tnumber_edit.h"
#include "ui/tquery_string_form.h"

namespace xum {

std::int32_t unitsSystem = 0;

namespace {

// Conversion factors. The mile is deliberately 1609 m and the acre and the
// square yard are rounded: the texts must match what earlier versions of
// applications built on the library showed.
constexpr double meters_per_mile = 1609;
constexpr double meters_per_yard = 0.9144;
constexpr double square_meters_per_acre = 4046.9;
constexpr double square_meters_per_square_yard = 0.836;
constexpr double kph_per_mps = 3.6;
constexpr double mph_per_mps = 3600 / meters_per_mile;

// A numeric format, one blank and a unit's current text (with '%' doubled,
// so a translation cannot add conversions), plus `suffix`.
xstr unit_format(const char* number, const xloc_str& unit, const char* suffix = "") {
  std::string f = number;
  f += ' ';
  for (char c : unit.text.view()) {
    f += c;
    if (c == '%') f += '%';
  }
  f += suffix;
  return xstr(f);
}

xstr real_text(const xstr& format, double value) {
  xstr s;
  s.printf(format.get_text(), value);
  return s;
}

// Integer formats take the value truncated toward zero; values beyond the
// int range are held at its ends rather than overflowing.
xstr int_text(const xstr& format, double value) {
  const double t = std::trunc(value);
  const int i = std::isnan(t)        ? 0
                : t >= 2147483647.0  ? 2147483647
                : t <= -2147483648.0 ? -2147483647 - 1
                                     : static_cast<int>(t);
  xstr s;
  s.printf(format.get_text(), i);
  return s;
}

bool is_metric() { return unitsSystem == 0; }

// The one check behind the four validation functions.
bool check(TControl* control, bool raise) {
  if (control == nullptr) return true;
  if (auto* win = dynamic_cast<TWinControl*>(control)) {
    for (int i = 0; i < win->ControlCount(); ++i)
      if (!check(win->Controls(i), raise)) return false;
  }
  const xloc_str* message = nullptr;
  if (auto* number = dynamic_cast<TNumberEdit*>(control)) {
    return number->IsValid(raise);
  } else if (auto* selector = dynamic_cast<TFileSelector*>(control)) {
    return selector->IsValid(raise);
  } else if (auto* combo = dynamic_cast<TComboBox*>(control)) {
    if (FromUnicode(combo->Text()).trim().length() == 0)
      message = combo->Style() == csDropDownList ? &msg::ItemNotSelected : &msg::ValueNotEntered;
  } else if (auto* list = dynamic_cast<TCustomMultiSelectListControl*>(control)) {
    if (list->MultiSelect() ? list->SelCount() == 0 : list->ItemIndex() < 0)
      message = &msg::ItemNotSelected;
  } else if (auto* tree = dynamic_cast<TCustomTreeView*>(control)) {
    if (tree->MultiSelect() ? tree->SelectionCount() == 0 : tree->Selected() == nullptr)
      message = &msg::ItemNotSelected;
  }
  if (message == nullptr) return true;
  if (raise) ThrowValidation(control, message->text);
  return false;
}

bool check_list(TControl* first, va_list args, bool raise) {
  for (TControl* c = first; c != nullptr; c = va_arg(args, TControl*))
    if (!check(c, raise)) return false;
  return true;
}

}  // namespace

xstr DistanceText(double meters, bool rounded) {
  if (is_metric()) {
    if (!rounded) {
      if (meters < 5000) return real_text(unit_format("%.1lf", msg::meters), meters);
      return real_text(unit_format("%.2lf", msg::kilometers), meters * 0.001);
    }
    const double tens = std::trunc(meters * 0.1) * 10;
    if (tens < 1000) return int_text(unit_format("%i", msg::meters), tens);
    if (meters < 5000) return real_text(unit_format("%.1lf", msg::kilometers), meters * 0.001);
    return int_text(unit_format("%i", msg::kilometers), meters * 0.001);
  }
  const double miles = meters / meters_per_mile;
  if (!rounded) {
    if (miles < 5) return real_text(unit_format("%.1lf", msg::yards), meters / meters_per_yard);
    return real_text(unit_format("%.2lf", msg::miles), miles);
  }
  if (miles < 0.5) return int_text(unit_format("%i", msg::yards), std::trunc(meters / 9.144) * 10);
  return real_text(unit_format("%.1lf", msg::miles), miles);
}

xstr SquareText(double squareMeters) {
  if (is_metric()) {
    if (squareMeters * 0.000001 < 1)
      return real_text(unit_format("%.1lf", msg::meters, "2"), squareMeters);
    return real_text(unit_format("%.3lf", msg::kilometers, "2"), squareMeters * 0.000001);
  }
  const double acres = squareMeters / square_meters_per_acre;
  if (acres < 5)
    return real_text(unit_format("%.1lf", msg::yards, "2"),
                     squareMeters / square_meters_per_square_yard);
  return real_text(unit_format("%.2lf", msg::acres), acres);
}

xstr SpeedText(double metersPerSecond) {
  if (is_metric()) return real_text(unit_format("%.1lf", msg::KPH), metersPerSecond * kph_per_mps);
  return real_text(unit_format("%.1lf", msg::MPH), metersPerSecond * mph_per_mps);
}

bool SaveOpenFile(TOpenDialog* dialog, const xstr& registryKey, const xstr& valueName) {
  {
    xreg_key key(registryKey, true);
    const xstr initial = FromUnicode(dialog->InitialDir());
    dialog->SetInitialDir(ToUnicode(key.str_prop(valueName, initial, initial)));
  }
  if (!dialog->Execute()) return false;
  const UnicodeString& chosen =
      dialog->Files().Count() > 0 ? dialog->Files()[0] : dialog->FileName();
  xreg_key key(registryKey, false);
  xstr dir = xextract_file_dir(FromUnicode(chosen));
  key.str(valueName, dir, dir);
  return true;
}

void CopyTextToClipboard(const xstr& text) { Clipboard().SetTextBuf(ToUnicode(text).c_str()); }

bool QueryString(const xstr& caption, const xstr& prompt, xstr& value) {
  TQueryStringForm& form = TQueryStringForm::Shared();
  form.SetCaption(ToUnicode(caption));
  form.PromptLabel()->SetCaption(ToUnicode(prompt));
  form.ValueEdit()->SetText(ToUnicode(value));
  if (form.ShowModal() != mrOk) return false;
  value = FromUnicode(form.ValueEdit()->Text());
  return true;
}

int ErrorBox(const xstr& text, int flags) {
  return Application()->MessageBox(text, msg::Error.text, static_cast<unsigned>(flags));
}

int WarningBox(const xstr& text, int flags) {
  return Application()->MessageBox(text, msg::Warning.text, static_cast<unsigned>(flags));
}

void ValidateControl(TControl* control) { check(control, true); }

bool IsControlValid(TControl* control) { return check(control, false); }

void ValidateControls(TControl* first, ...) {
  va_list args;
  va_start(args, first);
  try {
    check_list(first, args, true);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
}

bool IsControlsValid(TControl* first, ...) {
  va_list args;
  va_start(args, first);
  const bool valid = check_list(first, args, false);
  va_end(args);
  return valid;
}

bool CheckControlList(std::initializer_list<TControl*> controls, bool raise) {
  for (TControl* c : controls) {
    if (c == nullptr) break;
    if (!check(c, raise)) return false;
  }
  return true;
}

void ValidateAnyChecked(TCheckListBox* box) {
  for (int i = 0; i < box->ItemCount(); ++i)
    if (box->Checked(i)) return;
  ThrowValidation(box, msg::NoChecked.text);
}

void ThrowValidation(const TControl* control, const xstr& message) {
  xstr text = message;
  if (control != nullptr && !control->Hint().empty())
    text = msg::FieldName.text + FromUnicode(control->Hint()) + "\n" + message;
  XEValidation e(ToUnicode(text));
  e.caption = ToUnicode(msg::InputError.text);
  throw e;
}

void SetExceptionHandler() {
  Application()->OnException = [](TObject*, std::exception_ptr e) { xpresent_exception(e); };
}

}  // namespace xum
