// The progress bar (TProgressBar, also the bar of TTaskProgressForm) drawn
// as Qt's own QProgressBar: its range and value follow the model at every
// sync, and a marquee bar is Qt's busy bar (a range of 0..0). The bar only
// shows: nothing flows back from it.
#include <QProgressBar>

#include "backends/qt/xqt_widget_kind.h"
#include "framework/tcomctrls.h"

namespace xum {

namespace {

void update_bar(TControl& control, QWidget* widget) {
  auto& bar = static_cast<TProgressBar&>(control);
  auto* w = static_cast<QProgressBar*>(widget);
  if (bar.Style() == pbstMarquee) {
    w->setRange(0, 0);
    return;
  }
  w->setRange(bar.Min(), bar.Max());
  w->setValue(bar.Position());
}

const bool registered = [] {
  xqt_add_widget_kind({[](TControl& c, QWidget* parent, const xqt_act_fn&) -> QWidget* {
                         if (dynamic_cast<TProgressBar*>(&c) == nullptr) return nullptr;
                         auto* w = new QProgressBar(parent);
                         w->setTextVisible(false);
                         return w;
                       },
                       update_bar, false});
  return true;
}();

}  // namespace

}  // namespace xum
