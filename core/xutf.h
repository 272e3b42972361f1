// UTF-8 <-> UTF-16 conversion, the library's stand-in for the platform's
// multi-byte and wide-character conversions.
//
// Invalid UTF-8 never fails: each maximal ill-formed subpart becomes one
// U+FFFD, as the Unicode standard recommends; unpaired UTF-16 surrogates
// become U+FFFD as well. Any length is accepted.
//
//   std::u16string w = xum::xutf8_to_utf16("Grüße");
//   std::string u = xum::xutf16_to_utf8(w);
//
// Thread safety: pure functions.
#ifndef XUM_CORE_XUTF_H
#define XUM_CORE_XUTF_H

#include <cstddef>
#include <string>
#include <string_view>

#include "core/xexport.h"

namespace xum {

inline constexpr char32_t xreplacement_char = 0xFFFD;

// Decodes one code point at `pos` of `text` and advances `pos` past it.
// Returns -1 for an ill-formed sequence, with `pos` advanced past its
// maximal subpart (at least one byte). Precondition: pos < text.size().
XUM_API long xutf8_next(std::string_view text, std::size_t& pos) noexcept;

// Appends the UTF-8 form of `cp` (a Unicode scalar value) to `out`.
XUM_API void xutf8_append(std::string& out, char32_t cp);

// Replaces the contents of `out` with the conversion of `text`.
XUM_API void xutf8_to_utf16(std::string_view text, std::u16string& out);
XUM_API void xutf16_to_utf8(std::u16string_view text, std::string& out);

XUM_API std::u16string xutf8_to_utf16(std::string_view text);
XUM_API std::string xutf16_to_utf8(std::u16string_view text);

}  // namespace xum

#endif  // XUM_CORE_XUTF_H
