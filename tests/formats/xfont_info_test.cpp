// The font record: defaults, default suppression in the property file, and
// the style mapping to and from the framework font.
#include "formats/xfont_info.h"

#include <gtest/gtest.h>

#include <string>

#include "formats/xstruct_format.h"
#include "framework/tgraphics.h"
#include "streams/xmemory_stream.h"

namespace xum {
namespace {

std::string saved(const xfont_info& font) {
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  xfont_info copy = font;
  copy.read_write(f);
  f.close();
  return std::string(reinterpret_cast<const char*>(m.data()), static_cast<std::size_t>(m.size()));
}

TEST(XfontInfo, OnlyChangedFieldsAreWrittenAndAnEmptySectionReadsTheDefaults) {
  EXPECT_EQ(saved(xfont_info()), "TSF\r\n");
  xfont_info font;
  font.name = "Mono";
  font.charset = 0;
  font.color = 0xFF;
  font.style = xfont_info::bold | xfont_info::strike_out;
  EXPECT_EQ(saved(font), "TSF\r\nName=Mono\r\nCharset=0\r\nColor=255\r\nStyle=5\r\n");
  xstruct_format f;
  f.start_reading();
  font.read_write(f);
  EXPECT_EQ(font.name, "Areal");  // the name files rely on when they omit it
  EXPECT_EQ(font.style, xfont_info().style);
  EXPECT_EQ(font.color, xfont_info().color);
}

TEST(XfontInfo, UnderlineAndStrikeOutSwapPlacesWithTheFramework) {
  xfont_info font;
  font.name = "Grüße";
  font.size = 11;
  font.color = 0x123456;
  font.style = xfont_info::underline | xfont_info::strike_out;  // 12
  TFont t;
  font.AssignTo(&t);
  EXPECT_EQ(t.Name(), u"Grüße");
  EXPECT_EQ(t.Style(), FontStyles({fsUnderline, fsStrikeOut}));
  t.SetStyle(FontStyles({fsBold, fsUnderline}));
  xfont_info back;
  back.style = 0x100 | xfont_info::italic;  // bits beyond the four are kept
  back.Assign(&t);
  EXPECT_EQ(back.size, 11);
  EXPECT_EQ(back.style, 0x100 | xfont_info::bold | xfont_info::underline);
}

}  // namespace
}  // namespace xum
