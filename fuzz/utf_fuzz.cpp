// Feeds arbitrary bytes to the UTF-8 <-> UTF-16 codec, read once as UTF-8
// and once as little-endian UTF-16 code units.
//
// The results are compared with a separate decoder that follows the
// WHATWG "UTF-8 decode" steps, which replace each maximal ill-formed subpart
// with one U+FFFD exactly as the Unicode standard recommends. Any broken
// invariant stops the run with __builtin_trap().
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/xstr.h"
#include "core/xutf.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

bool is_surrogate(char32_t u) { return u >= 0xD800 && u <= 0xDFFF; }

void put_utf16(std::u16string& out, char32_t cp) {
  if (cp < 0x10000) {
    out.push_back(static_cast<char16_t>(cp));
  } else {
    out.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
  }
}

// Also tells whether `bytes` is well-formed, i.e. nothing was replaced.
std::u16string reference_decode(std::string_view bytes, bool* well_formed = nullptr) {
  std::u16string out;
  bool errors = false;
  char32_t cp = 0;
  int needed = 0, seen = 0;
  unsigned lower = 0x80, upper = 0xBF;
  for (std::size_t i = 0; i < bytes.size();) {
    const unsigned b = static_cast<unsigned char>(bytes[i]);
    if (needed == 0) {
      ++i;
      if (b <= 0x7F) {
        out.push_back(static_cast<char16_t>(b));
      } else if (b >= 0xC2 && b <= 0xDF) {
        needed = 1;
        cp = b & 0x1F;
      } else if (b >= 0xE0 && b <= 0xEF) {
        if (b == 0xE0) lower = 0xA0;
        if (b == 0xED) upper = 0x9F;
        needed = 2;
        cp = b & 0x0F;
      } else if (b >= 0xF0 && b <= 0xF4) {
        if (b == 0xF0) lower = 0x90;
        if (b == 0xF4) upper = 0x8F;
        needed = 3;
        cp = b & 0x07;
      } else {
        out.push_back(u'\uFFFD');
        errors = true;
      }
      continue;
    }
    if (b < lower || b > upper) {
      // The subpart ends here; the byte is looked at again as a lead byte.
      needed = seen = 0;
      lower = 0x80;
      upper = 0xBF;
      out.push_back(u'\uFFFD');
      errors = true;
      continue;
    }
    ++i;
    lower = 0x80;
    upper = 0xBF;
    cp = (cp << 6) | (b & 0x3F);
    if (++seen == needed) {
      put_utf16(out, cp);
      needed = seen = 0;
    }
  }
  if (needed != 0) {
    out.push_back(u'\uFFFD');
    errors = true;
  }
  if (well_formed) *well_formed = !errors;
  return out;
}

bool valid_utf8(std::string_view bytes) {
  bool well_formed = false;
  reference_decode(bytes, &well_formed);
  return well_formed;
}

// Each unpaired surrogate replaced by U+FFFD; pairs kept.
std::u16string without_lone_surrogates(std::u16string_view units) {
  std::u16string out(units);
  for (std::size_t i = 0; i < out.size(); ++i) {
    if (out[i] >= 0xD800 && out[i] <= 0xDBFF && i + 1 < out.size() && out[i + 1] >= 0xDC00 &&
        out[i + 1] <= 0xDFFF) {
      ++i;
    } else if (is_surrogate(out[i])) {
      out[i] = u'\uFFFD';
    }
  }
  return out;
}

void check_utf8_input(std::string_view bytes) {
  bool well_formed = false;
  const std::u16string wide = xum::xutf8_to_utf16(bytes);
  check(wide == reference_decode(bytes, &well_formed));
  check(without_lone_surrogates(wide) == wide);

  // The overload with an output argument replaces what it held.
  std::u16string reused = u"left over";
  xum::xutf8_to_utf16(bytes, reused);
  check(reused == wide);

  // After one pass the text is valid UTF-8 and stays the same.
  const std::string once = xum::xutf16_to_utf8(wide);
  check(xum::xutf8_to_utf16(once) == wide);
  check(xum::xutf16_to_utf8(xum::xutf8_to_utf16(once)) == once);
  check(valid_utf8(once));
  if (well_formed) check(once == bytes);  // well-formed input comes back unchanged

  // Stepping with xutf8_next gives the same code points.
  std::string stepped;
  for (std::size_t pos = 0; pos < bytes.size();) {
    const std::size_t before = pos;
    const long cp = xum::xutf8_next(bytes, pos);
    check(pos > before && pos - before <= 4 && pos <= bytes.size());
    check(cp == -1 || (cp >= 0 && cp <= 0x10FFFF && !is_surrogate(static_cast<char32_t>(cp))));
    xum::xutf8_append(stepped, cp < 0 ? xum::xreplacement_char : static_cast<char32_t>(cp));
  }
  check(stepped == once);
}

void check_utf16_input(std::u16string_view units) {
  const std::string narrow = xum::xutf16_to_utf8(units);
  check(valid_utf8(narrow));
  const std::u16string back = xum::xutf8_to_utf16(narrow);
  check(back == without_lone_surrogates(units));  // exact when nothing is lone

  std::string reused = "left over";
  xum::xutf16_to_utf8(units, reused);
  check(reused == narrow);

  // xstr reads a char16_t text up to its first zero unit.
  const std::u16string terminated(units.substr(0, units.find(u'\0')));
  const xum::xstr s(terminated.c_str());
  check(s.view() == xum::xutf16_to_utf8(terminated));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  check_utf8_input(bytes);

  std::u16string units(size / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i)
    units[i] = static_cast<char16_t>(data[2 * i] | (data[2 * i + 1] << 8));
  check_utf16_input(units);
  return 0;
}
