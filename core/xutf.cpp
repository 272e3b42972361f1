#include "core/xutf.h"

namespace xum {

namespace {

bool in(unsigned char b, unsigned char lo, unsigned char hi) { return b >= lo && b <= hi; }

}  // namespace

long xutf8_next(std::string_view text, std::size_t& pos) noexcept {
  const auto* s = reinterpret_cast<const unsigned char*>(text.data());
  const std::size_t n = text.size();
  const unsigned char b0 = s[pos];
  if (b0 < 0x80) {
    ++pos;
    return b0;
  }
  // The allowed range of the second byte depends on the lead byte; this
  // rejects overlong forms, surrogates and values above U+10FFFF.
  int extra;
  unsigned char lo = 0x80, hi = 0xBF;
  long cp;
  if (in(b0, 0xC2, 0xDF)) {
    extra = 1;
    cp = b0 & 0x1F;
  } else if (in(b0, 0xE0, 0xEF)) {
    extra = 2;
    cp = b0 & 0x0F;
    if (b0 == 0xE0) lo = 0xA0;
    if (b0 == 0xED) hi = 0x9F;
  } else if (in(b0, 0xF0, 0xF4)) {
    extra = 3;
    cp = b0 & 0x07;
    if (b0 == 0xF0) lo = 0x90;
    if (b0 == 0xF4) hi = 0x8F;
  } else {
    ++pos;
    return -1;
  }
  std::size_t p = pos + 1;
  for (int i = 0; i < extra; ++i, ++p) {
    if (p >= n || !in(s[p], lo, hi)) {
      pos = p;  // the maximal subpart ends before the offending byte
      return -1;
    }
    cp = (cp << 6) | (s[p] & 0x3F);
    lo = 0x80;
    hi = 0xBF;
  }
  pos = p;
  return cp;
}

void xutf8_append(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

void xutf8_to_utf16(std::string_view text, std::u16string& out) {
  out.clear();
  out.reserve(text.size());
  std::size_t pos = 0;
  while (pos < text.size()) {
    // ASCII runs are the common case and need no decoding.
    const auto b = static_cast<unsigned char>(text[pos]);
    if (b < 0x80) {
      out.push_back(b);
      ++pos;
      continue;
    }
    const long cp = xutf8_next(text, pos);
    if (cp < 0) {
      out.push_back(static_cast<char16_t>(xreplacement_char));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char16_t>(cp));
    } else {
      const long v = cp - 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 | (v >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 | (v & 0x3FF)));
    }
  }
}

void xutf16_to_utf8(std::u16string_view text, std::string& out) {
  out.clear();
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t u = text[i];
    if (u >= 0xD800 && u <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      u = 0x10000 + ((u - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    } else if (u >= 0xD800 && u <= 0xDFFF) {
      u = xreplacement_char;
    }
    xutf8_append(out, u);
  }
}

std::u16string xutf8_to_utf16(std::string_view text) {
  std::u16string out;
  xutf8_to_utf16(text, out);
  return out;
}

std::string xutf16_to_utf8(std::u16string_view text) {
  std::string out;
  xutf16_to_utf8(text, out);
  return out;
}

}  // namespace xum
