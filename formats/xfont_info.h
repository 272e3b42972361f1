// xfont_info: a font described as plain values, independent of any window
// system object, so that a font choice can be kept in a structured property
// file and copied to and from the framework's TFont.
//
//   xum::xfont_info font;                 // "Areal", character set 1, size 8
//   font.style = xum::xfont_info::bold | xum::xfont_info::underline;
//   font.read_write(settings);            // either direction
//   font.AssignTo(&label_font);           // needs localization/xfont_info_font.cpp
//
// The style bits are 1 bold, 2 italic, 4 strike-out, 8 underline: the last
// two are in the opposite order from TFont's style set, and files keep this
// order.
//
// Thread safety: a plain value.
#ifndef XUM_FORMATS_XFONT_INFO_H
#define XUM_FORMATS_XFONT_INFO_H

#include <cstdint>

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

class xstruct_format;
class TFont;

class XUM_API xfont_info {
 public:
  static constexpr std::int32_t bold = 1;
  static constexpr std::int32_t italic = 2;
  static constexpr std::int32_t strike_out = 4;
  static constexpr std::int32_t underline = 8;

  xfont_info() = default;

  // Exchanges the record with the current section of `f` in the format's
  // direction, under the keys Name, Charset, Size, Color and Style. Values
  // equal to the defaults ("Areal", 1, 8, 0, 0) are not written; absent
  // keys read as those defaults. The character set keeps its low 8 bits.
  void read_write(xstruct_format& f);

  // Copies the record into the framework font and back. These two sit with
  // the framework model (localization/xfont_info_font.cpp), so this header
  // and formats/ stay free of framework/. Assign keeps style bits other than
  // the four above.
  void AssignTo(TFont* font) const;
  void Assign(const TFont* font);

  friend bool operator==(const xfont_info&, const xfont_info&) = default;

  // The face name. "Areal" is the library's default as it has always been
  // written to files; it is not a misspelt "Arial" to be corrected.
  xstr name = "Areal";
  std::uint8_t charset = 1;
  std::int32_t size = 8;    // points
  std::int32_t color = 0;   // a TColor value
  std::int32_t style = 0;   // the bits above
};

}  // namespace xum

#endif  // XUM_FORMATS_XFONT_INFO_H
