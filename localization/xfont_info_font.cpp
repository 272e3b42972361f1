// The framework half of xfont_info: copying the record to and from TFont.
// It lives here, where both formats/ and framework/ may be included, so that
// the font record itself stays below the framework.
#include <string>

#include "core/xutf.h"
#include "formats/xfont_info.h"
#include "framework/tgraphics.h"

namespace xum {

namespace {

// Record bit -> framework style; underline and strike-out swap places.
struct style_bit {
  std::int32_t record;
  TFontStyle framework;
};
constexpr style_bit style_bits[] = {
    {xfont_info::bold, fsBold},
    {xfont_info::italic, fsItalic},
    {xfont_info::underline, fsUnderline},
    {xfont_info::strike_out, fsStrikeOut},
};

}  // namespace

void xfont_info::AssignTo(TFont* font) const {
  font->SetName(xutf8_to_utf16(name.view()));
  font->SetCharset(charset);
  font->SetSize(size);
  font->SetColor(color);
  TFontStyles styles = 0;
  for (const style_bit& b : style_bits)
    if (style & b.record) styles = styles | b.framework;
  font->SetStyle(styles);
}

void xfont_info::Assign(const TFont* font) {
  name = xstr(std::string_view(xutf16_to_utf8(font->Name())));
  charset = font->Charset();
  size = font->Size();
  color = font->Color();
  for (const style_bit& b : style_bits) {
    if (HasStyle(font->Style(), b.framework))
      style |= b.record;
    else
      style &= ~b.record;
  }
}

}  // namespace xum
