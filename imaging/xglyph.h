// xglyph: square button pictures with an alpha channel, stacked vertically
// in one 32-bit image (frame k is rows k x width to (k + 1) x width - 1),
// and the images of tool bars and bit buttons generated from them in their
// normal, hot and disabled looks: alpha blending, embossing and box-filter
// scaling, all in integer arithmetic per byte.
//
//   xum::xglyph g;
//   g.load("open.bmp");                        // 32-bit, B, G, R, A
//   g.GenerateButtonGlyph(button, 0, 1, 1);    // 54 x 18 for a 16-pixel glyph
//   g.GenerateToolbarImageLists(bar, 2, 1);    // half size, 10 x 10 images
//
// A glyph is made from two renderings of one picture, on white and on black:
//   xum::xglyph g; g.load("white.bmp"); xum::xbmp b; b.load("black.bmp");
//   g.calculate_alpha(b);
//
// Thread safety: a glyph belongs to one thread at a time; the framework
// operations belong to the main thread.
#ifndef XUM_IMAGING_XGLYPH_H
#define XUM_IMAGING_XGLYPH_H

#include "core/xexport.h"
#include "core/xresources.h"
#include "framework/tgraphics.h"
#include "imaging/xbmp.h"

namespace xum {

class TCustomImageList;
class TToolBar;
class TBitBtn;

enum xglyph_state { glyph_normal = 0, glyph_hot = 1, glyph_disabled = 2, glyph_raised = 3 };

// A framework colour as 0x00RRGGBB (the xbmp pixel of a 24-bit image):
// system colours take the classic desktop values (clBtnFace: light grey
// F0F0F0), others drop their high byte and swap red and blue.
XUM_API unsigned xcolor_to_pixel(TColor color) noexcept;

class XUM_API xglyph : public xbmp {
 public:
  xglyph() = default;
  // Loads the BMP resource `id` of type RT_RCDATA (10) from `module` (null:
  // the executable). A missing resource throws xexception 7.
  explicit xglyph(int id, xmodule module = nullptr);

  // Frames: |height| / width (0 for an empty image).
  int frame_count() const noexcept;

  // This image is the picture drawn on white, `on_black` the same picture
  // drawn on black. Makes this image 32-bit; each alpha byte becomes
  // 255 - the largest difference of blue, green and red (as the low byte of
  // its complement). Different sizes throw xexception 5.
  void calculate_alpha(const xbmp& on_black);

  // Alpha-blends frame `frame` onto `dst` (24- or 32-bit) with its top-left
  // corner at (x, y), clipped to `dst`; dst's fourth byte is kept.
  // This glyph must be 32-bit, else xexception 5.
  void draw_on(xbmp& dst, int x, int y, int frame) const;
  // Lightens (amount > 0) or darkens (amount < 0) `dst` through the frame's
  // alpha: c + c x k / 255 with k = alpha x amount / 255, clamped to 0..255.
  void draw_greyed_on(xbmp& dst, int x, int y, int amount, int frame) const;
  // Writes frame `frame` scaled by multiplier / divisor into `dst` (one
  // frame, (width x multiplier / divisor) pixels square), each output byte
  // the average of a divisor x divisor block. Arguments giving an empty
  // result, or below 1, throw xexception 0.
  void make_small(xglyph& dst, int frame, int divisor, int multiplier) const;

  // The images the framework operations build, without the framework:
  // a `size` x `size` 32-bit image of `background` (0x00RRGGBB) with frame
  // `frame` drawn in `state` (scaled first when divisor > 1) ...
  xbmp state_image(int frame, xglyph_state state, unsigned background, int size, int divisor,
                   int multiplier) const;
  // ... and the 24-bit button picture: three parts (normal, disabled,
  // pressed) of (width + 2) pixels square side by side on `face`.
  xbmp button_image(int frame, int divisor, int multiplier, unsigned face) const;

  // Clears `list` and adds every frame in `state` on `color`.
  void Fill(TCustomImageList* list, TColor color, xglyph_state state, int divisor, int multiplier) const;
  // Gives the tool bar its normal, hot and disabled image lists (made and
  // owned by the tool bar unless it already owns them), images of
  // (width x multiplier / divisor + 2) pixels square, and buttons that size.
  void GenerateToolbarImageLists(TToolBar* bar, int divisor, int multiplier) const;
  // Sets the button's glyph to the three-part picture of frame `frame`
  // (made small first when divisor >= 2) and NumGlyphs to 3.
  void GenerateButtonGlyph(TBitBtn* button, int frame, int divisor, int multiplier) const;

 private:
  void require_rgba() const;
};

}  // namespace xum

#endif  // XUM_IMAGING_XGLYPH_H
