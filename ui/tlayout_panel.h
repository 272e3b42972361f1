// TLayoutPanel: a panel that places its visible children one after another
// in a row or a column; TSeparator: a horizontal or vertical rule with an
// optional caption written on it.
//
//   auto* panel = new xum::TLayoutPanel(form);
//   panel->SetParent(form);
//   panel->SetBounds(0, 0, 300, 400);
//   panel->SetOrientation(xum::loVertical);       // a column
//   panel->SetSpacing(6);
//   panel->SetMargins({8, 8, 8, 8});
//   auto* rule = new xum::TSeparator(form);
//   rule->SetCaption(u"Options");
//   rule->SetParent(panel);                        // placed below what came before
//
// TLayoutPanel
//   Orientation  loHorizontal (a row, left to right) or loVertical (a column,
//                top to bottom), in the order of the panel's children.
//   Spacing      pixels between two neighbours (negative counts as 0).
//   Margins      pixels kept free inside each edge (negative counts as 0).
//   CrossAlign   the rule for the other axis: lcStretch (the default) gives
//                each child the panel's inner height in a row (inner width
//                in a column); lcStart, lcCenter and lcEnd keep the child's
//                own size and put it at the top/left, the middle, or the
//                bottom/right of the inner area.
//   Along the main axis every child keeps its own size: a child that grows,
//   shrinks, hides, shows, comes or goes moves the ones after it. Children
//   that do not fit run past the far edge (they are not shrunk). Hidden
//   children take no room and are left where they are.
//   ContentExtent() gives the main-axis size the children need, margins
//   included.
//   AutoSize     when set, the panel's own main-axis size (its height in a
//                column, its width in a row) follows ContentExtent(), so a
//                panel inside another layout shrinks when a child collapses.
//                Off by default.
//   The layout runs whenever the framework asks (TWinControl::AlignControls:
//   the panel resized, a child changed size or visibility, came or went),
//   and after each property change.
//
// TSeparator
//   Orientation  loHorizontal (the default: a line across, centred in the
//                height) or loVertical (a line down, centred in the width).
//   Caption      written on the line: a horizontal rule leaves a gap for it
//                at the place Alignment says (saLeft: CaptionIndent pixels
//                from the left end; saCenter; saRight: CaptionIndent from
//                the right end), a
//                vertical one writes it across the top and starts the line
//                below it. Empty: the line runs the whole length.
//   Geometry()   where the line pieces and the caption go, for the size the
//                backend measures the caption at (xui().text_width).
//
// Thread safety: the main thread only, as every control.
#ifndef XUM_UI_TLAYOUT_PANEL_H
#define XUM_UI_TLAYOUT_PANEL_H

#include <vector>

#include "core/xexport.h"
#include "framework/tcontrol.h"

namespace xum {

enum TLayoutOrientation { loHorizontal, loVertical };
enum TLayoutCrossAlign { lcStretch, lcStart, lcCenter, lcEnd };

struct TLayoutMargins {
  int Left = 0;
  int Top = 0;
  int Right = 0;
  int Bottom = 0;
  friend bool operator==(const TLayoutMargins&, const TLayoutMargins&) = default;
};

class XUM_API TLayoutPanel : public TWinControl {
 public:
  explicit TLayoutPanel(TComponent* AOwner);

  TLayoutOrientation Orientation() const noexcept { return FOrientation; }
  void SetOrientation(TLayoutOrientation Value);
  int Spacing() const noexcept { return FSpacing; }
  void SetSpacing(int Value);
  const TLayoutMargins& Margins() const noexcept { return FMargins; }
  void SetMargins(const TLayoutMargins& Value);
  TLayoutCrossAlign CrossAlign() const noexcept { return FCrossAlign; }
  void SetCrossAlign(TLayoutCrossAlign Value);
  bool AutoSize() const noexcept { return FAutoSize; }
  void SetAutoSize(bool Value);

  // The main-axis extent the visible children need, margins included (the
  // two margins alone when no child is visible).
  int ContentExtent() const;

 protected:
  void AlignControls() override;

 private:
  TLayoutOrientation FOrientation = loVertical;
  int FSpacing = 4;
  TLayoutMargins FMargins{4, 4, 4, 4};
  TLayoutCrossAlign FCrossAlign = lcStretch;
  bool FAutoSize = false;
};

// Where a horizontal separator writes its caption.
enum TSeparatorAlignment { saLeft, saCenter, saRight };

// A rectangle in a control's own pixels.
struct TLayoutRect {
  int Left = 0;
  int Top = 0;
  int Width = 0;
  int Height = 0;
  friend bool operator==(const TLayoutRect&, const TLayoutRect&) = default;
};

class XUM_API TSeparator : public TGraphicControl {
 public:
  explicit TSeparator(TComponent* AOwner);

  TLayoutOrientation Orientation() const noexcept { return FOrientation; }
  // Turning the separator turns its bounds too (width and height exchanged).
  void SetOrientation(TLayoutOrientation Value);
  TSeparatorAlignment Alignment() const noexcept { return FAlignment; }
  void SetAlignment(TSeparatorAlignment Value) noexcept { FAlignment = Value; }
  int CaptionIndent() const noexcept { return FCaptionIndent; }
  void SetCaptionIndent(int Value) noexcept { FCaptionIndent = Value < 0 ? 0 : Value; }

  // The pixels between the caption and the line on either side.
  static constexpr int caption_gap = 4;
  // The line's thickness (a dark and a light pixel, etched).
  static constexpr int line_thickness = 2;

  struct TGeometry {
    std::vector<TLayoutRect> Lines;  // the line's pieces, in order
    TLayoutRect CaptionRect;         // empty without a caption
  };
  // For a caption `text_width` pixels wide and `text_height` high; a caption
  // wider than the room is given the room (and the line disappears there).
  TGeometry Geometry(int text_width, int text_height) const;

 private:
  TLayoutOrientation FOrientation = loHorizontal;
  TSeparatorAlignment FAlignment = saLeft;
  int FCaptionIndent = 8;
};

}  // namespace xum

#endif  // XUM_UI_TLAYOUT_PANEL_H
