// The images part of `xum demo`: a glyph compiled into this program is
// turned into a bit button glyph and a tool bar's image lists, and the
// button's normal part is printed as text.
#include <iostream>
#include <string>

#include "framework/tcomctrls.h"
#include "framework/timglist.h"
#include "framework/tstdctrls.h"
#include "imaging/xglyph.h"
#include "streams/xmemory_stream.h"
#include "tools/xum/demo_sections.h"

namespace xum::tool {

namespace {
// The glyph resource of the xum program (tools/CMakeLists.txt).
constexpr int demo_glyph_id = 100;
}  // namespace

void images_section() {
  std::cout << "Images (a glyph compiled into this program)\n";
  const xglyph glyph(demo_glyph_id);
  std::cout << "  glyph: " << glyph.width() << " x " << glyph.abs_height() << ", " << glyph.bit_count()
            << "-bit with alpha, " << glyph.frame_count() << " frames\n";

  TBitBtn button(nullptr);
  glyph.GenerateButtonGlyph(&button, 0, 1, 1);
  std::cout << "  button glyph: " << button.Glyph().Width() << " x " << button.Glyph().Height() << " in "
            << button.NumGlyphs() << " parts (normal, disabled, pressed)\n";
  TToolBar bar(nullptr);
  glyph.GenerateToolbarImageLists(&bar, 2, 1);
  std::cout << "  tool bar at half size: 3 image lists of " << bar.Images()->Width() << " x "
            << bar.Images()->Height() << ", " << bar.Images()->Count() << " images each\n";

  // The normal part of the button: '#' where the glyph covers the face,
  // '+' where it blends with it, '.' for the face.
  const TBitmap& b = button.Glyph();
  const int part = b.Width() / button.NumGlyphs();
  const TColor face = b.Pixel(0, 0);
  for (int y = 0; y < b.Height(); ++y) {
    std::string line = "    ";
    for (int x = 0; x < part; ++x) {
      const TColor c = b.Pixel(x, y);
      line += c == face ? '.' : c == b.Pixel(part / 2, b.Height() / 2) ? '#' : '+';
    }
    std::cout << line << "\n";
  }
  xbmp image;
  image.assign(&b);
  xmemory_stream saved;
  image.save(saved);
  std::cout << "  as a BMP file: " << saved.size() << " bytes\n\n";
}

}  // namespace xum::tool
