// Feeds arbitrary bytes to xstr::is_number and xstr::as_number.
//
// is_number is compared with a separate matcher of the number grammar:
//   number   = ['-'] digits [('.' | ',') digits] [('e' | 'E') ['-'] digits]
//   digits   = one or more of '0'..'9'
// and nothing else (no blanks, no '+', no zero bytes). as_number reads the
// leading number as sscanf "%Lf" does, in the "C" locale of the fuzzer
// process. Any broken invariant stops the run with __builtin_trap().
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/xstr.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// What the grammar says about `text`; `sign` and `plain` are meaningful on
// success only. `separator` is the '.' or ',' found, or 0.
struct Expected {
  bool number = false;
  bool sign = false;
  bool plain = false;  // no separator and no exponent
  char separator = 0;
  bool exponent = false;
  std::size_t int_digits = 0;  // digits before the separator or exponent
};

Expected match(std::string_view text) {
  Expected e;
  std::size_t i = 0;
  auto digits = [&] {
    const std::size_t begin = i;
    while (i < text.size() && is_digit(text[i])) ++i;
    return i - begin;
  };
  if (i < text.size() && text[i] == '-') {
    e.sign = true;
    ++i;
  }
  e.int_digits = digits();
  if (e.int_digits == 0) return e;
  if (i < text.size() && (text[i] == '.' || text[i] == ',')) {
    e.separator = text[i++];
    if (digits() == 0) return e;
  }
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    e.exponent = true;
    ++i;
    if (i < text.size() && text[i] == '-') ++i;
    if (digits() == 0) return e;
  }
  e.plain = e.separator == 0 && !e.exponent;
  e.number = i == text.size();
  return e;
}

// The exact value of up to 18 decimal digits.
long double small_integer(std::string_view digits) {
  long long v = 0;
  for (char c : digits) v = v * 10 + (c - '0');
  return static_cast<long double>(v);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 1 << 16) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const xum::xstr s(text);
  const Expected e = match(text);

  // The verdict and both flags agree with the grammar. On failure the
  // flags are left alone, whatever they held before.
  bool negative = true, integer = true;
  const bool number = s.is_number(&negative, &integer);
  check(number == e.number);
  if (number) {
    check(negative == e.sign && integer == e.plain);
  } else {
    check(negative && integer);
  }
  bool negative2 = false, integer2 = false;
  check(s.is_number(&negative2, &integer2) == number);
  check(number ? (negative2 == negative && integer2 == integer) : (!negative2 && !integer2));
  check(s.is_number() == number);

  if (number) {
    if (integer) {
      check(text.find_first_of(".,eE") == std::string_view::npos);
    }
    check(negative == (text.front() == '-'));
  }

  const long double value = s.as_number();

  // Texts that cannot start a number read as 0.
  if (text.empty() || std::string_view(" \t\n\v\f\r+-.0123456789iInN").find(text.front()) ==
                          std::string_view::npos) {
    check(value == 0);
  }
  if (!number) return 0;

  check(!std::isnan(value));
  check(negative ? value <= 0 : (value >= 0 && !std::signbit(value)));

  const std::size_t first = negative ? 1 : 0;
  const std::string_view int_part = text.substr(first, e.int_digits);
  const long double magnitude = std::fabs(value);
  if (integer && int_part.size() <= 18) check(magnitude == small_integer(int_part));

  if (e.separator == ',') {
    // "%Lf" stops at the comma: the value is that of the integer part.
    const xum::xstr head(text.substr(0, first + e.int_digits));
    check(value == head.as_number());
    if (int_part.size() <= 18) check(magnitude == small_integer(int_part));
  } else {
    // The same conversion strtold performs.
    const std::string copy(text);
    check(value == std::strtold(copy.c_str(), nullptr));
    if (e.separator == '.' && !e.exponent && int_part.size() <= 18) {
      const long double whole = small_integer(int_part);
      check(magnitude >= whole && magnitude <= whole + 1);
    }
  }
  return 0;
}
