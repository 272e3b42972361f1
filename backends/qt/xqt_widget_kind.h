// Widget kinds: how controls beyond the framework's stock ones are drawn by
// the Qt backend. A component library (the library's own visual
// components, the web browser target) registers one kind per family of
// controls; the mirror asks the registered kinds, newest first, before its
// stock mapping, so a kind may also take over a stock control's subclass.
//
//   namespace {
//   const bool registered = [] {
//     xum::xqt_add_widget_kind({
//         [](xum::TControl& c, QWidget* parent, const xum::xqt_act_fn& act) -> QWidget* {
//           auto* scale = dynamic_cast<xum::TColorScale*>(&c);
//           if (scale == nullptr) return nullptr;           // not this kind
//           return new color_scale_widget(*scale, act, parent);
//         },
//         [](xum::TControl& c, QWidget* w) { w->update(); }});  // model -> widget
//     return true;
//   }();
//   }
//
// `create` makes the widget (the mirror names it after the control, places
// and shows it); `update` runs at every sync after the mirror has set the
// widget's bounds, visibility, enabled state and hint, under a signal
// blocker; it brings the rest of the widget in line with the model. A
// widget's user acts reach the model only through `act`, which runs them as
// acts of the form (its modal loop, or HandleException). The children of a
// windowed control are mirrored into the widget, unless `children` says the
// kind draws them itself.
//
// xqt_feed_mouse forwards a widget's pointer events (enter, leave, press,
// move, release, wheel) to the control's Mouse... virtuals, for kinds that
// react to the pointer in the model.
//
// Thread safety: register before the first window is shown (static
// initialisation of the registering library is the usual place); the
// registry is read on the main thread only.
#ifndef XUM_BACKENDS_QT_XQT_WIDGET_KIND_H
#define XUM_BACKENDS_QT_XQT_WIDGET_KIND_H

#include <functional>
#include <vector>

#include "backends/qt/xqt_backend.h"

class QWidget;

namespace xum {

class TControl;

using xqt_act_fn = std::function<void(const std::function<void()>& what)>;

struct xqt_widget_kind {
  std::function<QWidget*(TControl& control, QWidget* parent, const xqt_act_fn& act)> create;
  std::function<void(TControl& control, QWidget* widget)> update;
  bool children = true;  // the mirror places the control's children in the widget
};

XUM_QT_API void xqt_add_widget_kind(xqt_widget_kind kind);
// The registered kinds, newest first.
XUM_QT_API const std::vector<xqt_widget_kind>& xqt_widget_kinds();

XUM_QT_API void xqt_feed_mouse(QWidget* widget, TControl& control, const xqt_act_fn& act);

// The model's shift state (ssShift ...) of Qt's keyboard modifiers and mouse
// buttons (Qt::KeyboardModifiers, Qt::MouseButtons as integers).
XUM_QT_API unsigned xqt_shift_state(int modifiers, int buttons);

}  // namespace xum

#endif  // XUM_BACKENDS_QT_XQT_WIDGET_KIND_H
