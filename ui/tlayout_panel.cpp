#include "ui/tlayout_panel.h"

#include <algorithm>

namespace xum {

namespace {

// Where a child goes on the cross axis, and how big it is there.
struct cross_place {
  int start;
  int size;
};

cross_place cross(TLayoutCrossAlign align, int inner_start, int inner_size, int own) {
  switch (align) {
    case lcStretch:
      return {inner_start, inner_size};
    case lcStart:
      return {inner_start, own};
    case lcCenter:
      return {inner_start + (inner_size - own) / 2, own};
    case lcEnd:
      return {inner_start + inner_size - own, own};
  }
  return {inner_start, own};
}

}  // namespace

TLayoutPanel::TLayoutPanel(TComponent* AOwner) : TWinControl(AOwner) {
  SetBounds(0, 0, 185, 105);
}

void TLayoutPanel::SetOrientation(TLayoutOrientation Value) {
  if (Value == FOrientation) return;
  FOrientation = Value;
  Realign();
}

void TLayoutPanel::SetSpacing(int Value) {
  Value = std::max(0, Value);
  if (Value == FSpacing) return;
  FSpacing = Value;
  Realign();
}

void TLayoutPanel::SetMargins(const TLayoutMargins& Value) {
  const TLayoutMargins m{std::max(0, Value.Left), std::max(0, Value.Top), std::max(0, Value.Right),
                         std::max(0, Value.Bottom)};
  if (m == FMargins) return;
  FMargins = m;
  Realign();
}

void TLayoutPanel::SetCrossAlign(TLayoutCrossAlign Value) {
  if (Value == FCrossAlign) return;
  FCrossAlign = Value;
  Realign();
}

void TLayoutPanel::SetAutoSize(bool Value) {
  if (Value == FAutoSize) return;
  FAutoSize = Value;
  Realign();
}

int TLayoutPanel::ContentExtent() const {
  const bool row = FOrientation == loHorizontal;
  int extent = row ? FMargins.Left + FMargins.Right : FMargins.Top + FMargins.Bottom;
  int shown = 0;
  for (int i = 0; i < ControlCount(); ++i) {
    const TControl* c = Controls(i);
    if (!c->Visible()) continue;
    extent += (row ? c->Width() : c->Height()) + (shown > 0 ? FSpacing : 0);
    ++shown;
  }
  return extent;
}

void TLayoutPanel::AlignControls() {
  const bool row = FOrientation == loHorizontal;
  const int inner_width = std::max(0, Width() - FMargins.Left - FMargins.Right);
  const int inner_height = std::max(0, Height() - FMargins.Top - FMargins.Bottom);
  int at = row ? FMargins.Left : FMargins.Top;
  // A child's SetBounds may change the children (a handler that hides or
  // reparents a sibling); the list is read afresh at each step.
  for (int i = 0; i < ControlCount(); ++i) {
    TControl* c = Controls(i);
    if (!c->Visible()) continue;
    if (row) {
      const cross_place p = cross(FCrossAlign, FMargins.Top, inner_height, c->Height());
      c->SetBounds(at, p.start, c->Width(), p.size);
      at += c->Width() + FSpacing;
    } else {
      const cross_place p = cross(FCrossAlign, FMargins.Left, inner_width, c->Width());
      c->SetBounds(p.start, at, p.size, c->Height());
      at += c->Height() + FSpacing;
    }
  }
  // Its own size changes inside the layout run: the resize does not lay the
  // children out again, and the parent's layout follows.
  if (FAutoSize) {
    const int extent = ContentExtent();
    if (row && Width() != extent)
      SetBounds(Left(), Top(), extent, Height());
    else if (!row && Height() != extent)
      SetBounds(Left(), Top(), Width(), extent);
  }
}

TSeparator::TSeparator(TComponent* AOwner) : TGraphicControl(AOwner) { SetBounds(0, 0, 150, 17); }

void TSeparator::SetOrientation(TLayoutOrientation Value) {
  if (Value == FOrientation) return;
  FOrientation = Value;
  SetBounds(Left(), Top(), Height(), Width());
}

TSeparator::TGeometry TSeparator::Geometry(int text_width, int text_height) const {
  TGeometry g;
  const int w = Width(), h = Height();
  const bool titled = !Caption().empty() && text_width > 0;
  if (FOrientation == loHorizontal) {
    const int line_top = (h - line_thickness) / 2;
    if (!titled) {
      g.Lines.push_back({0, line_top, w, line_thickness});
      return g;
    }
    const int tw = std::min(text_width, w);
    int x = FAlignment == saLeft     ? FCaptionIndent
            : FAlignment == saCenter ? (w - tw) / 2
                                     : w - FCaptionIndent - tw;
    x = std::clamp(x, 0, w - tw);
    g.CaptionRect = {x, (h - text_height) / 2, tw, text_height};
    if (x - caption_gap > 0) g.Lines.push_back({0, line_top, x - caption_gap, line_thickness});
    const int after = x + tw + caption_gap;
    if (after < w) g.Lines.push_back({after, line_top, w - after, line_thickness});
    return g;
  }
  const int line_left = (w - line_thickness) / 2;
  if (!titled) {
    g.Lines.push_back({line_left, 0, line_thickness, h});
    return g;
  }
  const int tw = std::min(text_width, w);
  const int th = std::min(text_height, h);
  g.CaptionRect = {(w - tw) / 2, 0, tw, th};
  const int below = th + caption_gap;
  if (below < h) g.Lines.push_back({line_left, below, line_thickness, h - below});
  return g;
}

}  // namespace xum
