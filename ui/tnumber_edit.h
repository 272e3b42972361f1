// TNumberEdit: an edit for one number, integer or real, that checks its text
// on request.
//
//   auto* count = new xum::TNumberEdit(form);
//   count->SetInteger(true);
//   count->SetRange(1, 100);          // "Number in interval from 1 to 100 expected !"
//   count->SetHint(u"Copies");        // names the field in the message
//   xum::ValidateControl(count);      // throws XEValidation when not valid
//
// The rules, in order, for the trimmed text:
//   empty            valid when AllowEmpty, else "IntegerExpected" (integer
//                    edits) or "NumberExpected";
//   not a number     "BadNumberFormat" (decimal point '.', an optional sign
//                    and exponent; any other character is bad);
//   a real number in an integer edit, or an integer beyond 64 bits
//                    "IntegerExpected";
//   below zero with NonNegative
//                    "NegativeNumber";
//   outside [MinValue, MaxValue] when a range is set (MinValue < MaxValue)
//                    "IntegerInterval" with the bounds as integers, or
//                    "RealInterval" with the bounds as reals.
// Messages are the catalogue's texts; ValidateControl adds the field name
// from the hint (ui/uiutils.h).
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TNUMBER_EDIT_H
#define XUM_UI_TNUMBER_EDIT_H

#include <cstdint>

#include "core/xexport.h"
#include "core/xstr.h"
#include "framework/tstdctrls.h"

namespace xum {

class XUM_API TNumberEdit : public TCustomEdit {
 public:
  explicit TNumberEdit(TComponent* AOwner);

  bool Integer() const noexcept { return FInteger; }
  void SetInteger(bool Value) noexcept { FInteger = Value; }
  bool NonNegative() const noexcept { return FNonNegative; }
  void SetNonNegative(bool Value) noexcept { FNonNegative = Value; }
  bool AllowEmpty() const noexcept { return FAllowEmpty; }
  void SetAllowEmpty(bool Value) noexcept { FAllowEmpty = Value; }
  // The range is checked only while MinValue < MaxValue (both 0 at first).
  double MinValue() const noexcept { return FMinValue; }
  double MaxValue() const noexcept { return FMaxValue; }
  void SetRange(double Min, double Max) noexcept {
    FMinValue = Min;
    FMaxValue = Max;
  }

  // The text's value; 0 when it is empty or not a number.
  double AsFloat() const;
  std::int64_t AsInteger() const;
  // Sets the text: "%Li" for integers, "%.10Lg" for reals.
  void SetAsFloat(double Value);
  void SetAsInteger(std::int64_t Value);

  // Whether the text passes the rules above; when it does not and `raise`
  // is set, throws XEValidation through ThrowValidation.
  bool IsValid(bool raise) const;

  // The first rule the text breaks, or null when it is valid.
  const xloc_str* Problem() const;

 private:
  bool FInteger = false;
  bool FNonNegative = false;
  bool FAllowEmpty = false;
  double FMinValue = 0;
  double FMaxValue = 0;
};

}  // namespace xum

#endif  // XUM_UI_TNUMBER_EDIT_H
