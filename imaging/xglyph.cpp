#include "imaging/xglyph.h"

#include <algorithm>
#include <utility>

#include "core/xexception.h"
#include "framework/tcomctrls.h"
#include "framework/timglist.h"
#include "framework/tstdctrls.h"
#include "streams/xresource_stream.h"

namespace xum {

namespace {

// Amounts of the embossed looks: a shadow of the glyph's shape, a highlight.
constexpr int shadow = -100;
constexpr int highlight = 100;
constexpr int hot_glow = 50;

constexpr unsigned char clamp_byte(int v) noexcept {
  return static_cast<unsigned char>(v < 0 ? 0 : v > 255 ? 255 : v);
}

// The part of a width x width frame that falls inside `dst` at (x, y):
// glyph columns [i0, i1) and rows [j0, j1).
struct clip {
  int i0, i1, j0, j1;
  clip(int size, const xbmp& dst, int x, int y)
      : i0(std::max(0, -x)),
        i1(static_cast<int>(std::min<long long>(size, static_cast<long long>(dst.width()) - x))),
        j0(std::max(0, -y)),
        j1(static_cast<int>(std::min<long long>(size, static_cast<long long>(dst.abs_height()) - y))) {}
};

}  // namespace

unsigned xcolor_to_pixel(TColor color) noexcept {
  auto c = static_cast<unsigned>(color);
  if ((c >> 24) == 0xFF) {
    // The classic desktop's system colours (index in the low byte).
    switch (c & 0xFF) {
      case 5:   // window
        return 0xFFFFFF;
      case 8:   // window text
        return 0x000000;
      case 15:  // button face
      default:
        return 0xF0F0F0;
    }
  }
  return (c & 0x00FF00) | (c & 0xFF) << 16 | (c >> 16 & 0xFF);
}

xglyph::xglyph(int id, xmodule module) {
  xresource_stream s(module, id, xrt_rcdata);
  load(s);
}

int xglyph::frame_count() const noexcept { return empty() || width() <= 0 ? 0 : abs_height() / width(); }

void xglyph::require_rgba() const {
  if (bytes_per_pixel() != 4) throw xexception(bmp::wrong_format);
}

void xglyph::calculate_alpha(const xbmp& on_black) {
  if (width() != on_black.width() || abs_height() != on_black.abs_height() || on_black.bytes_per_pixel() < 3)
    throw xexception(bmp::wrong_format);
  make32bit_rgba();
  const int w = width(), h = abs_height();
  for (int y = 0; y < h; ++y) {
    unsigned char* p = get_scan_line(y);
    const unsigned char* q = on_black.get_scan_line(y);
    const int qs = on_black.bytes_per_pixel();
    for (int x = 0; x < w; ++x, p += 4, q += qs) {
      const int m = std::max({p[0] - q[0], p[1] - q[1], p[2] - q[2]});
      p[3] = static_cast<unsigned char>(~m & 0xFF);
    }
  }
}

// Runs blend(source RGBA pixel, destination pixel) for every pixel of
// frame `frame` that lands inside `dst` when drawn at x, y.
template <class Blend>
void blend_frame(const xglyph& g, xbmp& dst, int x, int y, int frame, Blend blend) {
  const int size = g.width();
  const clip c(size, dst, x, y);
  const int ds = dst.bytes_per_pixel();
  for (int j = c.j0; j < c.j1; ++j) {
    const unsigned char* s = g.get_scan_line(frame * size + j) + 4 * c.i0;
    unsigned char* d = dst.get_scan_line(y + j) + static_cast<std::ptrdiff_t>(ds) * (x + c.i0);
    for (int i = c.i0; i < c.i1; ++i, s += 4, d += ds) blend(s, d);
  }
}

void xglyph::draw_on(xbmp& dst, int x, int y, int frame) const {
  require_rgba();
  blend_frame(*this, dst, x, y, frame, [](const unsigned char* s, unsigned char* d) {
    const int a = s[3];
    for (int k = 0; k < 3; ++k) d[k] = static_cast<unsigned char>((s[k] * a + d[k] * (255 - a)) / 255);
  });
}

void xglyph::draw_greyed_on(xbmp& dst, int x, int y, int amount, int frame) const {
  require_rgba();
  blend_frame(*this, dst, x, y, frame, [amount](const unsigned char* s, unsigned char* d) {
    const int k = s[3] * amount / 255;
    for (int n = 0; n < 3; ++n) d[n] = clamp_byte(d[n] + d[n] * k / 255);
  });
}

void xglyph::make_small(xglyph& dst, int frame, int divisor, int multiplier) const {
  require_rgba();
  if (divisor < 1 || multiplier < 1 || frame < 0 || frame >= frame_count()) throw xexception(xexception::out_of_range);
  const int size = width();
  const int n = static_cast<int>(static_cast<long long>(size) * multiplier / divisor);
  if (n < 1) throw xexception(xexception::out_of_range);
  dst.create(n, n, 4);
  const int area = divisor * divisor;
  for (int r = 0; r < n; ++r) {
    unsigned char* out = dst.get_scan_line(r);
    for (int c = 0; c < n; ++c, out += 4) {
      int sum[4] = {0, 0, 0, 0};
      for (int sy = 0; sy < divisor; ++sy) {
        const int row = static_cast<int>((static_cast<long long>(divisor) * r + sy) / multiplier) + frame * size;
        const unsigned char* line = get_scan_line(row);
        for (int sx = 0; sx < divisor; ++sx) {
          const unsigned char* p = line + 4 * ((static_cast<long long>(divisor) * c + sx) / multiplier);
          for (int k = 0; k < 4; ++k) sum[k] += p[k];
        }
      }
      for (int k = 0; k < 4; ++k) out[k] = static_cast<unsigned char>(sum[k] / area);
    }
  }
}

xbmp xglyph::state_image(int frame, xglyph_state state, unsigned background, int size, int divisor,
                         int multiplier) const {
  xbmp work;
  work.create(size, size, 4);
  work.fill(background);
  xglyph small;
  const xglyph* g = this;
  if (divisor > 1) {
    make_small(small, frame, divisor, multiplier);
    g = &small;
    frame = 0;
  }
  switch (state) {
    case glyph_normal:
      g->draw_on(work, 1, 1, frame);
      break;
    case glyph_hot:
      g->draw_greyed_on(work, 2, 2, shadow, frame);
      g->draw_on(work, 0, 0, frame);
      g->draw_greyed_on(work, 0, 0, hot_glow, frame);
      break;
    case glyph_disabled:
      g->draw_greyed_on(work, 1, 1, shadow, frame);
      g->draw_greyed_on(work, 2, 2, highlight, frame);
      break;
    case glyph_raised:
      g->draw_on(work, 0, 0, frame);
      break;
  }
  return work;
}

xbmp xglyph::button_image(int frame, int divisor, int multiplier, unsigned face) const {
  if (divisor >= 2) {
    xglyph small;
    make_small(small, frame, divisor, multiplier);
    return small.button_image(0, 0, 1, face);
  }
  require_rgba();
  const int s = width() + 2;
  xbmp work;
  work.create(3 * s, s, 3);
  work.fill(face);
  draw_on(work, 1, 1, frame);                          // normal
  draw_greyed_on(work, s + 1, 1, shadow, frame);       // disabled: embossed
  draw_greyed_on(work, s + 2, 2, highlight, frame);
  draw_greyed_on(work, 2 * s + 2, 2, shadow, frame);   // pressed: lifted with a shadow
  draw_on(work, 2 * s, 0, frame);
  draw_greyed_on(work, 2 * s, 0, hot_glow, frame);
  return work;
}

void xglyph::Fill(TCustomImageList* list, TColor color, xglyph_state state, int divisor, int multiplier) const {
  const int frames = frame_count();
  list->Clear();
  // The background is opaque, so that a list that honours the alpha of its
  // 32-bit images shows it as the tool bar's colour.
  const unsigned background = xcolor_to_pixel(color) | 0xFF000000u;
  TBitmap bitmap;
  for (int i = 0; i < frames; ++i) {
    xbmp work = state_image(i, state, background, list->Width(), divisor, multiplier);
    if (list->Height() != list->Width()) {
      xbmp sized;
      sized.create(list->Width(), list->Height(), 4);
      sized.fill(background);
      sized.copy_from(work, 0, 0);
      work = std::move(sized);
    }
    work.assign_to(&bitmap);
    list->Add(bitmap, nullptr);
  }
}

void xglyph::GenerateToolbarImageLists(TToolBar* bar, int divisor, int multiplier) const {
  if (divisor < 1 || multiplier < 1) throw xexception(xexception::out_of_range);
  const int size = static_cast<int>(static_cast<long long>(width()) * multiplier / divisor) + 2;
  auto own = [bar, size](TCustomImageList* list, void (TToolBar::*set)(TCustomImageList*)) {
    if (list == nullptr || list->Owner() != bar) {
      list = new TImageList(bar);
      (bar->*set)(list);
    }
    list->Clear();
    list->SetSize(size, size);
    return list;
  };
  TCustomImageList* normal = own(bar->Images(), &TToolBar::SetImages);
  TCustomImageList* hot = own(bar->HotImages(), &TToolBar::SetHotImages);
  TCustomImageList* disabled = own(bar->DisabledImages(), &TToolBar::SetDisabledImages);
  Fill(normal, bar->Color(), glyph_normal, divisor, multiplier);
  Fill(hot, bar->Color(), glyph_hot, divisor, multiplier);
  Fill(disabled, bar->Color(), glyph_disabled, divisor, multiplier);
  bar->SetButtonWidth(size);
  bar->SetButtonHeight(size);
}

void xglyph::GenerateButtonGlyph(TBitBtn* button, int frame, int divisor, int multiplier) const {
  const xbmp work = button_image(frame, divisor, multiplier, xcolor_to_pixel(clBtnFace));
  TBitmap bitmap;
  work.copy_pixels_to(&bitmap);
  button->SetGlyph(bitmap);
  button->SetNumGlyphs(3);
}

}  // namespace xum
