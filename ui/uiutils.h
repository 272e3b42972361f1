// Functions that desktop applications built on the library share: texts for
// distances, areas and speeds in the chosen unit system, message boxes with
// the catalogue's captions, a file dialog that remembers its directory in
// the settings store, a one-line string query, clipboard text, validation of
// form controls and the application-wide exception presentation.
//
//   xum::unitsSystem = 1;                          // imperial
//   status->SetCaption(xum::ToUnicode(xum::DistanceText(1609, true)));  // "1.0 miles"
//   xum::ValidateControls(name_edit, count_edit, nullptr);   // throws XEValidation
//
// Unit names and messages are the catalogue's current texts (core/
// xcatalogue.h), so they follow the loaded translation.
//
// Thread safety: the user-interface thread only (unitsSystem and the shared
// string-input form are process-wide and unlocked).
#ifndef XUM_UI_UIUTILS_H
#define XUM_UI_UIUTILS_H

#include <cstdint>
#include <initializer_list>
#include <type_traits>

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

class TCheckListBox;
class TControl;
class TOpenDialog;

// 0 selects metric units (the initial value), anything else imperial.
XUM_API extern std::int32_t unitsSystem;

// A distance in metres as text: metric below 5000 m in metres with one
// decimal, else kilometres with two; imperial below 5 miles in yards with
// one decimal, else miles with two (a mile is 1609 m). `rounded` gives whole
// tens of metres below 1 km, kilometres with one decimal below 5 km and
// whole kilometres above; whole tens of yards below half a mile, else miles
// with one decimal.
XUM_API xstr DistanceText(double meters, bool rounded);
// An area in square metres: "m2" with one decimal below 1 km2, else "km2"
// with three; imperial "yards2" (0.836 m2 each) below 5 acres, else acres
// (4046.9 m2 each) with two decimals.
XUM_API xstr SquareText(double squareMeters);
// A speed in metres per second as km/h or miles/h, one decimal.
XUM_API xstr SpeedText(double metersPerSecond);

// Runs `dialog` starting in the directory stored as the text value
// `valueName` of the settings key `registryKey` (the dialog's own initial
// directory when there is none). When the user chooses, stores the chosen
// file's directory there and returns true; false when cancelled. A failed
// store write reports through xerror.
XUM_API bool SaveOpenFile(TOpenDialog* dialog, const xstr& registryKey, const xstr& valueName);

// Puts `text` on the clipboard.
XUM_API void CopyTextToClipboard(const xstr& text);

// Asks for one line of text in the shared string-input form (created on
// first use, owned by the application and kept): its caption, the prompt
// and `value` as the initial text. OK stores the edited text in `value` and
// returns true; Cancel or closing leaves `value` and returns false.
XUM_API bool QueryString(const xstr& caption, const xstr& prompt, xstr& value);

// The application's message box with the "Error" / "Warning" caption of the
// catalogue and the caller's flags (core/xmessage_box.h); returns the
// button pressed.
XUM_API int ErrorBox(const xstr& text, int flags);
XUM_API int WarningBox(const xstr& text, int flags);

// Validation of input controls. A windowed control's children are checked
// first, in order; then the control itself by class: a number edit or a
// file selector by its IsValid; a combo box needs a non-blank text
// ("ItemNotSelected" for a drop-down list, else "ValueNotEntered"); a list
// control with selection and a tree view need a selected item
// ("ItemNotSelected"); anything else is valid. The Validate forms throw
// XEValidation for the first invalid control (see ThrowValidation); the Is
// forms only answer. The list forms end with a null pointer and stop at the
// first invalid control. A null control is valid.
XUM_API void ValidateControl(TControl* control);
XUM_API bool IsControlValid(TControl* control);
XUM_API void ValidateControls(TControl* first, ...);
XUM_API bool IsControlsValid(TControl* first, ...);

// The list of `controls` up to the first null, checked as above: `raise`
// chooses between the Validate and the Is behaviour.
XUM_API bool CheckControlList(std::initializer_list<TControl*> controls, bool raise);

// Calls with typed pointers (ValidateControls(edit, combo, nullptr)) take
// these overloads, which convert each pointer to TControl* as C++ does; the
// C variadic forms above read every argument as a TControl* as it is.
template <class... Controls>
requires(std::is_convertible_v<Controls, TControl*>&&...) void ValidateControls(TControl* first,
                                                                                Controls... rest) {
  CheckControlList({first, static_cast<TControl*>(rest)...}, true);
}
template <class... Controls>
requires(std::is_convertible_v<Controls, TControl*>&&...) bool IsControlsValid(TControl* first,
                                                                               Controls... rest) {
  return CheckControlList({first, static_cast<TControl*>(rest)...}, false);
}

// Throws XEValidation "NoChecked" (see ThrowValidation) when no item of the
// box is checked.
XUM_API void ValidateAnyChecked(TCheckListBox* box);

// Throws XEValidation with `message`, preceded by the "FieldName" text, the
// control's hint and a line feed when the hint is not empty; its caption is
// the "InputError" text. The library's controls report their own checks
// through it.
[[noreturn]] XUM_API void ThrowValidation(const TControl* control, const xstr& message);

// Makes the library's exception presentation (framework/
// xexception_presenter.h) the application's exception event.
XUM_API void SetExceptionHandler();

}  // namespace xum

#endif  // XUM_UI_UIUTILS_H
