// The Qt drawing of the library's value scroller, XP-style speed button and
// colour scale. Each is a widget of its own whose paintEvent draws a copy
// of what the model showed at the last sync: a widget never reads its
// control while painting, so a control destroyed between a sync and a paint
// is never touched. Pointer events reach the model through xqt_feed_mouse;
// keys reach the focused scroller through the form's key dispatch.
#include <QFocusEvent>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QPolygon>
#include <QWidget>
#include <algorithm>
#include <cstring>
#include <qdrawutil.h>

#include "backends/qt/xqt_text.h"
#include "backends/qt/xqt_widget_kind.h"
#include "imaging/xglyph.h"
#include "ui/tcolor_scale.h"
#include "ui/tvalue_scroller.h"
#include "ui/txum_speed_button.h"

namespace xum {

namespace {

QColor qcolor(TColor color) { return QColor(static_cast<QRgb>(xcolor_to_pixel(color))); }

// A 32-bit model bitmap (B, G, R, A rows) as an image of the same bytes.
QImage to_image(const TBitmap& bitmap) {
  if (bitmap.Empty() || bitmap.PixelFormat() != pf32bit) return {};
  QImage image(bitmap.Width(), bitmap.Height(), QImage::Format_ARGB32);
  for (int y = 0; y < bitmap.Height(); ++y)
    std::memcpy(image.scanLine(y), bitmap.ScanLine(y), static_cast<std::size_t>(bitmap.Width()) * 4);
  return image;
}

// ---------------------------------------------------------------- scroller

class value_scroller_widget final : public QWidget {
 public:
  struct shown {
    QString text;
    double position = 0;
    QColor color;
    friend bool operator==(const shown&, const shown&) = default;
  };

  explicit value_scroller_widget(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
  }

  void show_state(const shown& s) {
    if (s == shown_) return;
    shown_ = s;
    setAccessibleName(s.text);
    update();
  }
  const shown& state() const { return shown_; }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    const bool on = isEnabled();
    const QRect all = rect();
    const int bw = TValueScroller::ButtonWidth;
    const QRect field(0, 0, std::max(0, width() - bw), height());
    p.fillRect(all, on ? shown_.color : palette().color(QPalette::Disabled, QPalette::Window));
    // How far the value lies between the bounds: a band along the field.
    if (on && field.width() > 2) {
      QColor band = palette().color(QPalette::Highlight);
      band.setAlpha(60);
      const int w = static_cast<int>(shown_.position * (field.width() - 2) + 0.5);
      p.fillRect(QRect(1, 1, w, height() - 2), band);
    }
    p.setPen(palette().color(on ? QPalette::Active : QPalette::Disabled, QPalette::Text));
    p.drawText(field.adjusted(4, 0, -4, 0), Qt::AlignVCenter | Qt::AlignRight, shown_.text);
    // The arrow buttons.
    const QRect up(width() - bw, 0, bw, height() / 2), down(width() - bw, height() / 2, bw,
                                                            height() - height() / 2);
    for (const QRect& r : {up, down}) {
      qDrawShadePanel(&p, r, palette(), false, 1, &palette().brush(QPalette::Button));
      const QPoint c = r.center();
      const int d = r == up ? -1 : 1;
      const QPolygon arrow({QPoint(c.x() - 3, c.y() - d), QPoint(c.x() + 3, c.y() - d),
                            QPoint(c.x(), c.y() + 2 * d)});
      p.setBrush(palette().color(on ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
      p.setPen(Qt::NoPen);
      p.drawPolygon(arrow);
    }
    p.setBrush(Qt::NoBrush);
    p.setPen(hasFocus() ? palette().color(QPalette::Highlight) : palette().color(QPalette::Mid));
    p.drawRect(all.adjusted(0, 0, -1, -1));
  }
  void focusInEvent(QFocusEvent* e) override {
    QWidget::focusInEvent(e);
    update();
  }
  void focusOutEvent(QFocusEvent* e) override {
    QWidget::focusOutEvent(e);
    update();
  }

 private:
  shown shown_;
};

// ----------------------------------------------------------- speed button

class speed_button_widget final : public QWidget {
 public:
  struct shown {
    QString caption;
    QImage image;
    TSpeedButtonFrame frame = sbfFlat;
    QColor face;
    friend bool operator==(const shown& a, const shown& b) {
      return a.caption == b.caption && a.image == b.image && a.frame == b.frame &&
             a.face == b.face;
    }
  };

  explicit speed_button_widget(QWidget* parent) : QWidget(parent) {}

  void show_state(const shown& s) {
    if (s == shown_) return;
    shown_ = s;
    setAccessibleName(s.caption);
    update();
  }
  const shown& state() const { return shown_; }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    // The face is the looks' own background, so the picture blends in.
    p.fillRect(rect(), shown_.face);
    const int shift = shown_.frame == sbfLowered ? 1 : 0;
    const QImage& image = shown_.image;
    const QFontMetrics fm = fontMetrics();
    const int text_w = shown_.caption.isEmpty() ? 0 : fm.horizontalAdvance(shown_.caption) + 4;
    const int content_w = image.width() + text_w;
    int x = (width() - content_w) / 2 + shift;
    if (!image.isNull()) {
      p.drawImage(QPoint(x, (height() - image.height()) / 2 + shift), image);
      x += image.width();
    }
    if (text_w > 0) {
      p.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled,
                               QPalette::ButtonText));
      p.drawText(QRect(x + 4, shift, text_w, height()), Qt::AlignVCenter | Qt::AlignLeft,
                 shown_.caption);
    }
    if (shown_.frame != sbfFlat)
      qDrawShadePanel(&p, rect(), palette(), shown_.frame == sbfLowered, 1);
  }

 private:
  shown shown_;
};

// ------------------------------------------------------------ colour scale

class color_scale_widget final : public QWidget {
 public:
  explicit color_scale_widget(QWidget* parent) : QWidget(parent), copy_(nullptr) {}

  // Takes what the legend shows; repaints when that changed.
  void show_scale(const TColorScale& s) {
    QString print = QString::number(s.Min(), 'g', 17) + u' ' + QString::number(s.Max(), 'g', 17) +
                    u' ' + QString::number(s.TickCount()) + u' ' +
                    QString::number(s.TickStep(), 'g', 17) + u' ' +
                    QString::number(s.Orientation()) + u' ' + QString::number(s.MissingColor());
    for (const TColorStop& stop : s.Stops())
      print += u' ' + QString::number(stop.Position, 'g', 17) + u':' + QString::number(stop.Color);
    if (print == print_) return;
    print_ = print;
    copy_.SetRange(s.Min(), s.Max());
    copy_.ClearStops();
    for (const TColorStop& stop : s.Stops()) copy_.AddStop(stop.Position, stop.Color);
    copy_.SetTickCount(s.TickCount());
    copy_.SetTickStep(s.TickStep());
    copy_.SetOrientation(s.Orientation());
    copy_.SetMissingColor(s.MissingColor());
    QStringList labels;
    for (const TColorScaleTick& t : copy_.Ticks()) labels << qstr(t.Text);
    setAccessibleName(labels.join(u' '));
    update();
  }

  // The bar's rectangle inside the widget.
  QRect bar() const {
    const QFontMetrics fm = fontMetrics();
    if (copy_.Orientation() == soVertical) {
      const int half = fm.height() / 2;
      return QRect(0, half, std::min(24, width() / 3), std::max(1, height() - 2 * half));
    }
    const int side = fm.horizontalAdvance(QStringLiteral("0000")) / 2;
    return QRect(side, 0, std::max(1, width() - 2 * side),
                 std::max(1, height() - fm.height() - tick_));
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    const QRect frame = bar();
    const QRect b = frame.adjusted(1, 1, -1, -1);  // the colours, inside the frame
    const bool vertical = copy_.Orientation() == soVertical;
    const int length = vertical ? b.height() : b.width();
    const double min = copy_.Min(), max = copy_.Max();
    for (int i = 0; i < length; ++i) {
      const double v = length > 1 ? min + (max - min) * i / (length - 1) : min;
      const TColor c = copy_.ColorAt(v);
      if (c == clNone) continue;
      p.setPen(qcolor(c));
      if (vertical)
        p.drawLine(b.left(), b.bottom() - i, b.right(), b.bottom() - i);
      else
        p.drawLine(b.left() + i, b.top(), b.left() + i, b.bottom());
    }
    p.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled,
                             QPalette::WindowText));
    p.setBrush(Qt::NoBrush);
    p.drawRect(frame.adjusted(0, 0, -1, -1));
    const QFontMetrics fm = fontMetrics();
    for (const TColorScaleTick& t : copy_.Ticks()) {
      const QString text = qstr(t.Text);
      const int at = copy_.PixelOf(t.Value, length);
      if (vertical) {
        const int y = b.bottom() - at;
        p.drawLine(frame.right() + 1, y, frame.right() + tick_, y);
        p.drawText(QRect(frame.right() + tick_ + 3, y - fm.height() / 2, width(), fm.height()),
                   Qt::AlignLeft | Qt::AlignVCenter, text);
      } else {
        const int x = b.left() + at;
        p.drawLine(x, frame.bottom() + 1, x, frame.bottom() + tick_);
        const int w = fm.horizontalAdvance(text);
        const int left = std::clamp(x - w / 2, 0, std::max(0, width() - w));
        p.drawText(QRect(left, frame.bottom() + tick_ + 1, w + 1, fm.height()),
                   Qt::AlignLeft | Qt::AlignTop, text);
      }
    }
  }

 private:
  static constexpr int tick_ = 4;
  TColorScale copy_;
  QString print_;
};

template <class W>
W* as(QWidget* w) {
  return static_cast<W*>(w);
}

const bool registered = [] {
  xqt_add_widget_kind(
      {[](TControl& c, QWidget* parent, const xqt_act_fn& act) -> QWidget* {
         if (dynamic_cast<TValueScroller*>(&c) == nullptr) return nullptr;
         auto* w = new value_scroller_widget(parent);
         xqt_feed_mouse(w, c, act);
         return w;
       },
       [](TControl& c, QWidget* w) {
         auto& s = static_cast<TValueScroller&>(c);
         as<value_scroller_widget>(w)->show_state(
             {qstr(s.DisplayText()), s.Position(), qcolor(s.Color())});
       },
       false});
  xqt_add_widget_kind(
      {[](TControl& c, QWidget* parent, const xqt_act_fn& act) -> QWidget* {
         if (dynamic_cast<TxumSpeedButton*>(&c) == nullptr) return nullptr;
         auto* w = new speed_button_widget(parent);
         xqt_feed_mouse(w, c, act);
         return w;
       },
       [](TControl& c, QWidget* w) {
         auto& b = static_cast<TxumSpeedButton&>(c);
         as<speed_button_widget>(w)->show_state({qstr(b.Caption()), to_image(b.LookImage(b.Look())),
                                                 b.Frame(), qcolor(b.Color())});
       },
       false});
  xqt_add_widget_kind({[](TControl& c, QWidget* parent, const xqt_act_fn&) -> QWidget* {
                         if (dynamic_cast<TColorScale*>(&c) == nullptr) return nullptr;
                         return new color_scale_widget(parent);
                       },
                       [](TControl& c, QWidget* w) {
                         as<color_scale_widget>(w)->show_scale(static_cast<TColorScale&>(c));
                       },
                       false});
  return true;
}();

}  // namespace

}  // namespace xum
