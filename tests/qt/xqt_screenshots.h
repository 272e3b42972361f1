// What the Qt tests share for looking at a window as a person would: a
// screenshot kept under XUM_SCREENSHOT_DIR and the number of colours in it.
#ifndef XUM_TESTS_QT_XQT_SCREENSHOTS_H
#define XUM_TESTS_QT_XQT_SCREENSHOTS_H

#include <QApplication>
#include <QImage>
#include <QWidget>
#include <filesystem>
#include <set>

namespace xum::test {

// Distinct colours of a picture (every other pixel): a blank window has
// one or two.
inline int colours(const QImage& image) {
  std::set<QRgb> seen;
  for (int y = 0; y < image.height(); y += 2)
    for (int x = 0; x < image.width(); x += 2) seen.insert(image.pixel(x, y));
  return static_cast<int>(seen.size());
}

// `window` as drawn now, also saved as <name>.png for people to look at.
inline QImage photograph(QWidget* window, const char* name) {
  QApplication::processEvents();
  const QImage image = window->grab().toImage();
  std::filesystem::create_directories(XUM_SCREENSHOT_DIR);
  image.save(QString::fromUtf8(XUM_SCREENSHOT_DIR) + u'/' + QString::fromUtf8(name) +
             QStringLiteral(".png"));
  return image;
}

}  // namespace xum::test

#endif
