#include "formats/xfont_info.h"

#include "formats/xstruct_format.h"

namespace xum {

void xfont_info::read_write(xstruct_format& f) {
  f.str("Name", name, "Areal", false);
  charset = static_cast<std::uint8_t>(f.prop_int64("Charset", charset, 1, false));
  size = static_cast<std::int32_t>(f.prop_int64("Size", size, 8, false));
  color = static_cast<std::int32_t>(f.prop_int64("Color", color, 0, false));
  style = static_cast<std::int32_t>(f.prop_int64("Style", style, 0, false));
}

}  // namespace xum
