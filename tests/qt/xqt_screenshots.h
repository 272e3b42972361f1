// What the Qt tests share for looking at a window as a person would: a
// screenshot kept under XUM_SCREENSHOT_DIR, the number of colours in it,
// pixels of a kind counted, widgets found by name and compared with where
// the model lays its controls out.
#ifndef XUM_TESTS_QT_XQT_SCREENSHOTS_H
#define XUM_TESTS_QT_XQT_SCREENSHOTS_H

#include <QApplication>
#include <QImage>
#include <QTest>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <set>

#include <gtest/gtest.h>

#include "backends/qt/xqt_backend.h"
#include "framework/tforms.h"

namespace xum::test {

// Distinct colours of a picture (every other pixel): a blank window has
// one or two.
inline int colours(const QImage& image) {
  std::set<QRgb> seen;
  for (int y = 0; y < image.height(); y += 2)
    for (int x = 0; x < image.width(); x += 2) seen.insert(image.pixel(x, y));
  return static_cast<int>(seen.size());
}

// Pixels of `image` inside `area` (all of it when empty) that `is` picks.
inline int count(const QImage& image, const std::function<bool(QColor)>& is, QRect area = {}) {
  area = area.isEmpty() ? image.rect() : area & image.rect();
  int n = 0;
  for (int y = area.top(); y <= area.bottom(); ++y)
    for (int x = area.left(); x <= area.right(); ++x) n += is(image.pixelColor(x, y));
  return n;
}

// `window` as drawn now, saved as <name>.png for people to look at; fails
// the test when it has `min_colours` colours or fewer (a blank picture has
// one; a window with a frame but nothing drawn in it has two or three).
inline QImage photograph(QWidget* window, const char* name, int min_colours = 1) {
  QApplication::processEvents();
  const QImage image = window->grab().toImage();
  std::filesystem::create_directories(XUM_SCREENSHOT_DIR);
  image.save(QStringLiteral(XUM_SCREENSHOT_DIR "/%1.png").arg(QString::fromUtf8(name)));
  EXPECT_GT(colours(image), min_colours) << name << " looks blank";
  return image;
}

// The widget named `name` below `parent`; a missing one fails the test.
template <class W = QWidget>
W* child(QWidget* parent, const std::u16string& name) {
  W* w = parent->findChild<W*>(QString::fromStdU16String(name));
  EXPECT_NE(w, nullptr) << "no widget named " << QString::fromStdU16String(name).toStdString();
  return w;
}

// `c` named `name` on `parent` at the given bounds.
template <class C>
C* place(C* c, TWinControl* parent, const char16_t* name, int left, int top, int width,
         int height) {
  c->SetName(name);
  c->SetParent(parent);
  c->SetBounds(left, top, width, height);
  return c;
}

// Shows `form` and waits until its window is on the screen.
inline QWidget* show_window(xqt_backend& ui, TCustomForm& form) {
  form.Show();
  ui.sync();
  QWidget* window = ui.window_of(form);
  EXPECT_TRUE(window != nullptr && QTest::qWaitForWindowExposed(window));
  return window;
}

// Each control's widget sits where the model lays it out, shown as the model says.
inline void expect_laid_out(xqt_backend& ui, std::initializer_list<const TControl*> controls) {
  for (const TControl* c : controls) {
    SCOPED_TRACE(QString::fromStdU16String(c->Name()).toStdString());
    QWidget* w = ui.widget_of(*c);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->geometry(), QRect(c->Left(), c->Top(), c->Width(), c->Height()));
    EXPECT_EQ(w->isVisible(), c->Visible());
  }
}

}  // namespace xum::test

#endif
