// The value scroller, the XP-style speed button and the colour scale drawn
// by the Qt backend: photographed in their usual states and checked for
// what a person would see; synthesized keys, wheel turns, drags, pointer
// moves and clicks reach the model.
#include <QWheelEvent>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"

#include "imaging/xglyph.h"
#include "ui/tcolor_scale.h"
#include "ui/tvalue_scroller.h"
#include "ui/txum_speed_button.h"

namespace xum {
namespace {

using test::colours;
using test::count;
using test::photograph;

QRgb rgb(TColor c) { return QColor(static_cast<QRgb>(xcolor_to_pixel(c))).rgb(); }

// A form with an enabled and a disabled scroller, four speed buttons of one
// group (flat, to be hot, down, disabled) with a green disc as glyph, and a
// horizontal and an upright colour scale.
struct gallery {
  TForm* form = new TForm(nullptr);
  TValueScroller *zoom = new TValueScroller(form), *zoom_off = new TValueScroller(form);
  TxumSpeedButton *flat = new TxumSpeedButton(form), *hot = new TxumSpeedButton(form),
                  *down = new TxumSpeedButton(form), *off = new TxumSpeedButton(form);
  TColorScale *legend = new TColorScale(form), *upright = new TColorScale(form);
  int clicks = 0;

  gallery() {
    form->SetName(u"ControlsGallery");
    form->SetBounds(80, 80, 420, 160);
    test::place(zoom, form, u"Zoom", 10, 10, 160, 24);
    test::place(zoom_off, form, u"ZoomOff", 10, 44, 160, 24);
    for (TValueScroller* s : {zoom, zoom_off}) {
      s->SetRange(10, 400);
      s->SetIncrement(10);
      s->SetPageIncrement(50);
      s->SetUnitText(u"%");
    }
    zoom->SetValue(100);
    zoom_off->SetValue(250);
    zoom_off->SetEnabled(false);
    TBitmap glyph;
    glyph.SetPixelFormat(pf32bit);
    glyph.SetSize(16, 16);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x) {
        const double d = std::hypot(x - 7.5, y - 7.5);
        const std::uint8_t px[4] = {40, 160, 30, d < 6 ? std::uint8_t{255} : std::uint8_t{0}};
        std::copy(px, px + 4, static_cast<std::uint8_t*>(glyph.ScanLine(y)) + 4 * x);
      }
    int left = 166;
    for (auto [b, name] : {std::pair{flat, u"Flat"}, {hot, u"Hot"}, {down, u"Down"}, {off, u"Off"}}) {
      test::place(b, form, name, left += 34, 10, 28, 28);
      b->SetGlyph(glyph);
      b->SetGroupIndex(1);
      b->OnClick = [this](TObject*) { ++clicks; };
    }
    down->SetDown(true);
    off->SetEnabled(false);
    test::place(legend, form, u"Legend", 10, 90, 400, 50);
    legend->SetRange(-10, 30);
    legend->AddStop(0, 0xFF0000);
    legend->AddStop(0.25, clWhite);
    legend->AddStop(1, clRed);
    legend->SetTickStep(10);
    test::place(upright, form, u"Upright", 360, 6, 56, 78);
    upright->SetOrientation(soVertical);
    upright->SetTickCount(3);
    upright->SetRange(0, 100);
    upright->AddStop(0, clBlack);
    upright->AddStop(1, clLime);
  }
  ~gallery() { delete form; }
};

class QtControls : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(test::show_window(ui_, *g_.form), nullptr); }
  QWidget* widget(TControl* c) { return ui_.widget_of(*c); }
  QString shown(TControl* c) { return widget(c)->accessibleName(); }
  // The pointer is moved through the X server: its enter and leave events
  // come when they come.
  static void wait_until(const std::function<bool()>& done) {
    for (int i = 0; i < 50 && !done(); ++i) QTest::qWait(20);
  }
  // Lets Qt deliver what is queued and brings the widgets in line.
  void settle() {
    QApplication::processEvents();
    ui_.sync();
  }
  xqt_backend& ui_ = use_qt_backend();
  gallery g_;
};

TEST_F(QtControls, TheGalleryAndTheScrollerInBothStatesAreDrawnAsLaidOut) {
  const QImage shot = photograph(ui_.window_of(*g_.form), "controls_gallery");
  EXPECT_EQ(shot.size(), QSize(420, 160));
  EXPECT_GT(colours(shot), 40) << "the window looks blank";
  test::expect_laid_out(ui_, {g_.zoom, g_.hot, g_.legend, g_.upright});
  EXPECT_EQ(shown(g_.zoom), QStringLiteral("100 %"));
  EXPECT_EQ(shown(g_.zoom_off), QStringLiteral("250 %"));
  const QImage normal = photograph(widget(g_.zoom), "value_scroller_normal");
  const QImage disabled = photograph(widget(g_.zoom_off), "value_scroller_disabled");
  // The value's band at the left on the window colour, or the greyed face;
  // dark text and arrows only when enabled.
  EXPECT_NE(normal.pixelColor(2, 20), disabled.pixelColor(2, 20));
  auto dark = [](QColor c) { return c.lightness() < 60; };
  EXPECT_GT(count(normal, dark, QRect(146, 2, 12, 20)), 4);
  EXPECT_GT(count(normal, dark, QRect(2, 2, 140, 20)), 20);
  EXPECT_EQ(count(disabled, dark), 0);
}

TEST_F(QtControls, KeysTheWheelAndADragChangeTheScrollersValue) {
  QWidget* w = widget(g_.zoom);
  int changes = 0;
  g_.zoom->OnChange = [&](TObject*) { ++changes; };
  QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(20, 12));  // focus, no move
  EXPECT_TRUE(w->hasFocus());
  QTest::keyClick(w, Qt::Key_Up);
  EXPECT_EQ(g_.zoom->Value(), 110);
  QTest::keyClick(w, Qt::Key_Home);
  EXPECT_EQ(g_.zoom->Value(), 10);
  QWheelEvent turn(QPointF(30, 12), w->mapToGlobal(QPointF(30, 12)), QPoint(), QPoint(0, 240),
                   Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(w, &turn);
  EXPECT_EQ(g_.zoom->Value(), 30) << "two notches";
  // 36 pixels of the 160-pixel scroller: 36 x 390 / 160 = 87.75, 9 steps.
  QTest::mousePress(w, Qt::LeftButton, {}, QPoint(20, 12));
  QTest::mouseMove(w, QPoint(56, 12));
  QTest::mouseRelease(w, Qt::LeftButton, {}, QPoint(56, 12));
  EXPECT_EQ(g_.zoom->Value(), 120);
  QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(152, 4));  // the up arrow
  EXPECT_EQ(changes, 5);
  settle();
  EXPECT_EQ(shown(g_.zoom), QStringLiteral("130 %"));
}

TEST_F(QtControls, TheSpeedButtonRisesUnderThePointerAndShowsEachState) {
  const QImage flat = photograph(widget(g_.hot), "speed_button_flat");
  const QColor face(rgb(clBtnFace));
  EXPECT_EQ(flat.pixelColor(0, 0), face) << "no edge while flat";
  QTest::mouseMove(widget(g_.hot), QPoint(14, 14));  // the pointer enters
  wait_until([this] { return g_.hot->MouseInControl(); });
  settle();
  ASSERT_TRUE(g_.hot->MouseInControl());
  const QImage hot = photograph(widget(g_.hot), "speed_button_hot");
  EXPECT_GT(hot.pixelColor(0, 0).lightness(), face.lightness()) << "raised: a light edge";
  int differing = 0;
  for (int y = 0; y < hot.height(); ++y)
    for (int x = 0; x < hot.width(); ++x) differing += hot.pixel(x, y) != flat.pixel(x, y);
  EXPECT_GT(differing, 60) << "an edge and the lifted picture";
  const QImage down = photograph(widget(g_.down), "speed_button_down");
  EXPECT_LT(down.pixelColor(0, 0).lightness(), face.lightness()) << "lowered: a dark edge";
  const QImage off = photograph(widget(g_.off), "speed_button_disabled");
  auto green = [](QColor c) { return c.green() > c.red() + 60; };
  EXPECT_GT(count(flat, green), 50) << "the green disc";
  EXPECT_EQ(count(off, green), 0) << "the disabled look is grey";

  QTest::mouseMove(widget(g_.flat), QPoint(14, 14));  // from Hot to Flat
  wait_until([this] { return !g_.hot->MouseInControl(); });
  QTest::mouseClick(widget(g_.flat), Qt::LeftButton, {}, QPoint(14, 14));
  EXPECT_FALSE(g_.hot->MouseInControl());
  EXPECT_TRUE(g_.flat->Down());
  EXPECT_FALSE(g_.down->Down()) << "one of the group";
  EXPECT_EQ(g_.clicks, 1);
}

TEST_F(QtControls, TheColourScalesDrawTheModelsColoursAndLabels) {
  EXPECT_EQ(shown(g_.legend), QStringLiteral("-10 0 10 20 30"));
  EXPECT_EQ(shown(g_.upright), QStringLiteral("0 50 100"));
  const QImage across = photograph(widget(g_.legend), "color_scale");
  const QImage up = photograph(widget(g_.upright), "color_scale_vertical");
  // The first and last lines inside the black frame are exactly the
  // colours of Min and Max: left to right, and bottom to top.
  auto frame = [](const QImage& shot, QPoint from, QPoint step) {
    while (shot.rect().contains(from) && qGray(shot.pixel(from)) > 20) from += step;
    return from;
  };
  const QPoint left = frame(across, {0, 10}, {1, 0}), right = frame(across, {399, 10}, {-1, 0});
  ASSERT_LT(left.x() + 10, right.x());
  EXPECT_EQ(across.pixel(left + QPoint(1, 0)), rgb(g_.legend->ColorAt(-10)));
  EXPECT_EQ(across.pixel(right - QPoint(1, 0)), rgb(g_.legend->ColorAt(30)));
  EXPECT_GT(count(across, [](QColor c) { return c.lightness() > 250; }, QRect(left, right)), 0)
      << "white at 0";
  EXPECT_GT(count(across, [](QColor c) { return c.lightness() < 100; }, QRect(0, 36, 400, 14)), 40)
      << "ticks and labels below the bar";
  const QPoint top = frame(up, {4, 0}, {0, 1}), bottom = frame(up, {4, 77}, {0, -1});
  ASSERT_LT(top.y() + 10, bottom.y());
  EXPECT_EQ(up.pixel(bottom - QPoint(0, 1)), rgb(g_.upright->ColorAt(0)));
  EXPECT_EQ(up.pixel(top + QPoint(0, 1)), rgb(g_.upright->ColorAt(100)));
}

}  // namespace
}  // namespace xum
