#include "backends/qt/xqt_widget_kind.h"

#include <QEnterEvent>
#include <QEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

#include "framework/tcontrol.h"

namespace xum {

namespace {

std::vector<xqt_widget_kind>& registry() {
  static std::vector<xqt_widget_kind> kinds;
  return kinds;
}

TMouseButton model_button(Qt::MouseButton button) {
  return button == Qt::RightButton ? mbRight : button == Qt::MiddleButton ? mbMiddle : mbLeft;
}

// Forwards the pointer's events on one widget to its control; the control
// is reached through the act only, so a destroyed control (whose widget is
// going) is never touched: the mirror disconnects the filter's widget.
class mouse_feed final : public QObject {
 public:
  mouse_feed(QWidget* widget, TControl& control, xqt_act_fn act)
      : QObject(widget), control_(&control), act_(std::move(act)) {}

  bool eventFilter(QObject*, QEvent* event) override {
    TControl* c = control_;
    switch (event->type()) {
      case QEvent::Enter:
        act_([c] { c->MouseEnter(); });
        break;
      case QEvent::Leave:
        act_([c] { c->MouseLeave(); });
        break;
      case QEvent::MouseButtonPress:
      case QEvent::MouseButtonDblClick:
      case QEvent::MouseButtonRelease: {
        auto* e = static_cast<QMouseEvent*>(event);
        const TMouseButton button = model_button(e->button());
        unsigned shift = xqt_shift_state(e->modifiers().toInt(), e->buttons().toInt());
        if (event->type() == QEvent::MouseButtonDblClick) shift |= ssDouble;
        const int x = static_cast<int>(e->position().x()), y = static_cast<int>(e->position().y());
        if (event->type() == QEvent::MouseButtonRelease)
          act_([=] { c->MouseUp(button, shift, x, y); });
        else
          act_([=] { c->MouseDown(button, shift, x, y); });
        break;
      }
      case QEvent::MouseMove: {
        auto* e = static_cast<QMouseEvent*>(event);
        const unsigned shift = xqt_shift_state(e->modifiers().toInt(), e->buttons().toInt());
        const int x = static_cast<int>(e->position().x()), y = static_cast<int>(e->position().y());
        act_([=] { c->MouseMove(shift, x, y); });
        break;
      }
      case QEvent::Wheel: {
        auto* e = static_cast<QWheelEvent*>(event);
        const unsigned shift = xqt_shift_state(e->modifiers().toInt(), e->buttons().toInt());
        const int delta = e->angleDelta().y();
        const TPoint at{static_cast<int>(e->position().x()), static_cast<int>(e->position().y())};
        bool used = false;
        act_([&] { used = c->MouseWheel(shift, delta, at); });
        return used;
      }
      default:
        break;
    }
    return false;
  }

 private:
  TControl* control_;
  xqt_act_fn act_;
};

}  // namespace

void xqt_add_widget_kind(xqt_widget_kind kind) {
  registry().insert(registry().begin(), std::move(kind));
}

const std::vector<xqt_widget_kind>& xqt_widget_kinds() { return registry(); }

void xqt_feed_mouse(QWidget* widget, TControl& control, const xqt_act_fn& act) {
  widget->setMouseTracking(true);
  widget->installEventFilter(new mouse_feed(widget, control, act));
}

unsigned xqt_shift_state(int modifiers, int buttons) {
  const auto mods = Qt::KeyboardModifiers::fromInt(modifiers);
  const auto held = Qt::MouseButtons::fromInt(buttons);
  unsigned shift = 0;
  if (mods & Qt::ShiftModifier) shift |= ssShift;
  if (mods & Qt::AltModifier) shift |= ssAlt;
  if (mods & Qt::ControlModifier) shift |= ssCtrl;
  if (held & Qt::LeftButton) shift |= ssLeft;
  if (held & Qt::RightButton) shift |= ssRight;
  if (held & Qt::MiddleButton) shift |= ssMiddle;
  return shift;
}

}  // namespace xum
