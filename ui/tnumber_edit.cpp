#include "ui/tnumber_edit.h"

#include <charconv>
#include <cmath>
#include <string>

#include "core/xcatalogue.h"
#include "ui/uiutils.h"

namespace xum {

namespace {

struct parsed {
  bool number = false;
  bool integer = false;  // written as an integer that fits 64 bits
  double value = 0;
  std::int64_t int_value = 0;
};

// Locale-independent: the decimal point is always '.'.
parsed parse(std::string_view s) {
  parsed p;
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return p;
  const char* end = s.data() + s.size();
  auto r = std::from_chars(s.data(), end, p.value);
  if (r.ec == std::errc::result_out_of_range) {
    // A huge real is still a number; its value does not fit a double.
    p.value = s.front() == '-' ? -HUGE_VAL : HUGE_VAL;
  } else if (r.ec != std::errc() || r.ptr != end) {
    return p;
  }
  p.number = true;
  auto i = std::from_chars(s.data(), end, p.int_value);
  p.integer = i.ec == std::errc() && i.ptr == end;
  return p;
}

// Fills the first two conversions of a catalogue text ("%Ld", "%lg" or any
// other) with `a` and `b`; "%%" gives '%'. Done by hand so that a
// translation with other conversions cannot misread the arguments.
xstr fill_two(const xstr& text, const std::string& a, const std::string& b) {
  std::string out;
  const std::string_view t = text.view();
  int used = 0;
  for (std::size_t i = 0; i < t.size(); ++i) {
    if (t[i] != '%') {
      out += t[i];
      continue;
    }
    if (i + 1 < t.size() && t[i + 1] == '%') {
      out += '%';
      ++i;
      continue;
    }
    std::size_t j = i + 1;
    while (j < t.size() &&
           std::string_view("-+ #0123456789.lLhqjzt").find(t[j]) != std::string_view::npos)
      ++j;
    out += used == 0 ? a : used == 1 ? b : std::string();
    ++used;
    i = j < t.size() ? j : t.size() - 1;
  }
  return xstr(out);
}

std::string real_bound(double v) {
  xstr s;
  s.printf("%lg", v);
  return s.str();
}

std::string int_bound(double v) {
  const double t = std::trunc(v);
  const long long i = t >= 9.2e18    ? 9223372036854775807LL
                      : t <= -9.2e18 ? -9223372036854775807LL - 1
                                     : static_cast<long long>(t);
  return std::to_string(i);
}

}  // namespace

TNumberEdit::TNumberEdit(TComponent* AOwner) : TCustomEdit(AOwner) {}

double TNumberEdit::AsFloat() const {
  const parsed p = parse(FromUnicode(Text()).trim().view());
  return p.number ? p.value : 0;
}

std::int64_t TNumberEdit::AsInteger() const {
  const parsed p = parse(FromUnicode(Text()).trim().view());
  if (p.integer) return p.int_value;
  if (!p.number || std::isnan(p.value)) return 0;
  const double t = std::trunc(p.value);
  return t >= 9.2e18 ? INT64_MAX : t <= -9.2e18 ? INT64_MIN : static_cast<std::int64_t>(t);
}

void TNumberEdit::SetAsFloat(double Value) {
  xstr s;
  s.from_real(Value);
  SetText(ToUnicode(s));
}

void TNumberEdit::SetAsInteger(std::int64_t Value) {
  xstr s;
  s.from_integer(Value);
  SetText(ToUnicode(s));
}

const xloc_str* TNumberEdit::Problem() const {
  const xstr text = FromUnicode(Text()).trim();
  if (text.length() == 0) {
    if (FAllowEmpty) return nullptr;
    return FInteger ? &msg::IntegerExpected : &msg::NumberExpected;
  }
  const parsed p = parse(text.view());
  if (!p.number || std::isnan(p.value)) return &msg::BadNumberFormat;
  if (FInteger && !p.integer) return &msg::IntegerExpected;
  const double v = FInteger ? static_cast<double>(p.int_value) : p.value;
  if (FNonNegative && (FInteger ? p.int_value < 0 : v < 0)) return &msg::NegativeNumber;
  if (FMinValue < FMaxValue && (v < FMinValue || v > FMaxValue))
    return FInteger ? &msg::IntegerInterval : &msg::RealInterval;
  return nullptr;
}

bool TNumberEdit::IsValid(bool raise) const {
  const xloc_str* problem = Problem();
  if (problem == nullptr) return true;
  if (!raise) return false;
  if (problem == &msg::IntegerInterval)
    ThrowValidation(this, fill_two(problem->text, int_bound(FMinValue), int_bound(FMaxValue)));
  if (problem == &msg::RealInterval)
    ThrowValidation(this, fill_two(problem->text, real_bound(FMinValue), real_bound(FMaxValue)));
  ThrowValidation(this, problem->text);
}

}  // namespace xum
