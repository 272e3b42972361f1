// The value scroller, the XP-style speed button and the colour scale drawn
// by the Qt backend: photographed in their usual states and checked for
// what a person would see; synthesized keys, wheel turns, drags, pointer
// moves and clicks reach the model.
#include <QWheelEvent>
#include <cmath>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"
#include "ui/tcolor_scale.h"
#include "ui/tvalue_scroller.h"
#include "ui/txum_speed_button.h"

namespace xum {
namespace {

using test::count;
using test::photograph;

QRgb rgb(TColor c) { return QColor(static_cast<QRgb>(xcolor_to_pixel(c))).rgb(); }

// A form with an enabled and a disabled scroller, four speed buttons of one
// group (flat, to be hot, down, disabled) with a green disc as glyph, and a
// horizontal and an upright colour scale.
class QtControls : public ::testing::Test {
 protected:
  void SetUp() override {
    form_->SetBounds(80, 80, 420, 160);
    for (TValueScroller* s : {zoom_, zoom_off_}) {
      s->SetRange(10, 400);
      s->SetIncrement(10);
      s->SetUnitText(u"%");
    }
    zoom_->SetValue(100);
    zoom_off_->SetValue(250);
    zoom_off_->SetEnabled(false);
    TBitmap glyph;  // a green disc on white, the transparent colour of its corner
    glyph.SetSize(16, 16);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x)
        glyph.SetPixel(x, y, std::hypot(x - 7.5, y - 7.5) < 6 ? 0x1EA028 : clWhite);
    for (TxumSpeedButton* b : {flat_, hot_, down_, off_}) {
      b->SetGlyph(glyph);
      b->SetGroupIndex(1);
      b->OnClick = [this](TObject*) { ++clicks_; };
    }
    down_->SetDown(true);
    off_->SetEnabled(false);
    legend_->SetRange(-10, 30);
    legend_->AddStop(0, 0xFF0000);
    legend_->AddStop(1, clRed);
    legend_->SetTickStep(10);
    upright_->SetOrientation(soVertical);
    upright_->SetTickCount(3);
    upright_->SetRange(0, 100);
    upright_->AddStop(0, clBlack);
    upright_->AddStop(1, clLime);
    ASSERT_NE(test::show_window(ui_, *form_), nullptr);
  }
  ~QtControls() override { delete form_; }
  QWidget* widget(TControl* c) { return ui_.widget_of(*c); }
  QString shown(TControl* c) { return widget(c)->accessibleName(); }

  xqt_backend& ui_ = use_qt_backend();
  TForm* form_ = new TForm(nullptr);
  TValueScroller* zoom_ = test::place(new TValueScroller(form_), form_, u"Zoom", 10, 10, 160, 24);
  TValueScroller* zoom_off_ =
      test::place(new TValueScroller(form_), form_, u"ZoomOff", 10, 44, 160, 24);
  TxumSpeedButton* flat_ = test::place(new TxumSpeedButton(form_), form_, u"Flat", 200, 10, 28, 28);
  TxumSpeedButton* hot_ = test::place(new TxumSpeedButton(form_), form_, u"Hot", 234, 10, 28, 28);
  TxumSpeedButton* down_ = test::place(new TxumSpeedButton(form_), form_, u"Down", 268, 10, 28, 28);
  TxumSpeedButton* off_ = test::place(new TxumSpeedButton(form_), form_, u"Off", 302, 10, 28, 28);
  TColorScale* legend_ = test::place(new TColorScale(form_), form_, u"Legend", 10, 90, 400, 50);
  TColorScale* upright_ = test::place(new TColorScale(form_), form_, u"Upright", 360, 6, 56, 78);
  int clicks_ = 0;
};

TEST_F(QtControls, EachControlIsDrawnAsLaidOutInEachState) {
  photograph(ui_.window_of(*form_), "controls_gallery", 40);
  test::expect_laid_out(ui_, {zoom_, hot_, legend_, upright_});
  std::map<std::string, QImage> shots;
  const std::pair<TControl*, const char*> states[] = {
      {zoom_, "value_scroller_normal"},  {zoom_off_, "value_scroller_disabled"},
      {flat_, "speed_button_flat"},      {down_, "speed_button_down"},
      {off_, "speed_button_disabled"},   {legend_, "color_scale"},
      {upright_, "color_scale_vertical"}};
  for (auto [c, name] : states) shots[name] = photograph(widget(c), name);
  EXPECT_EQ(shown(zoom_) + shown(zoom_off_), QStringLiteral("100 %250 %"));
  // The scroller: the value's band on the window colour, or the greyed
  // face; dark text and arrows only when enabled.
  const QImage &normal = shots["value_scroller_normal"],
               &disabled = shots["value_scroller_disabled"];
  EXPECT_NE(normal.pixelColor(2, 20), disabled.pixelColor(2, 20));
  auto dark = [](QColor c) { return c.lightness() < 60; };
  EXPECT_GT(count(normal, dark, QRect(146, 2, 12, 20)), 4);
  EXPECT_GT(count(normal, dark, QRect(2, 2, 140, 20)), 20);
  EXPECT_EQ(count(disabled, dark), 0);
  // The speed button: no edge while flat, a dark one when down; the green
  // disc, grey when disabled.
  const QColor face(rgb(clBtnFace));
  EXPECT_EQ(shots["speed_button_flat"].pixelColor(0, 0), face);
  EXPECT_LT(shots["speed_button_down"].pixelColor(0, 0).lightness(), face.lightness());
  auto green = [](QColor c) { return c.green() > c.red() + 60; };
  EXPECT_GT(count(shots["speed_button_flat"], green), 50);
  EXPECT_EQ(count(shots["speed_button_disabled"], green), 0);
  // The colour scales: the first and last lines inside the black frame are
  // exactly the colours of Min and Max, left to right and bottom to top.
  EXPECT_EQ(shown(legend_) + u'|' + shown(upright_), QStringLiteral("-10 0 10 20 30|0 50 100"));
  const QImage &across = shots["color_scale"], &up = shots["color_scale_vertical"];
  auto frame = [](const QImage& shot, QPoint from, QPoint step) {
    while (shot.rect().contains(from) && qGray(shot.pixel(from)) > 20) from += step;
    return from;
  };
  const QPoint left = frame(across, {0, 10}, {1, 0}), right = frame(across, {399, 10}, {-1, 0});
  ASSERT_LT(left.x() + 10, right.x());
  EXPECT_EQ(across.pixel(left + QPoint(1, 0)), rgb(legend_->ColorAt(-10)));
  EXPECT_EQ(across.pixel(right - QPoint(1, 0)), rgb(legend_->ColorAt(30)));
  const QPoint top = frame(up, {4, 0}, {0, 1}), bottom = frame(up, {4, 77}, {0, -1});
  ASSERT_LT(top.y() + 10, bottom.y());
  EXPECT_EQ(up.pixel(bottom - QPoint(0, 1)), rgb(upright_->ColorAt(0)));
  EXPECT_EQ(up.pixel(top + QPoint(0, 1)), rgb(upright_->ColorAt(100)));
}

TEST_F(QtControls, KeysWheelDragsAndThePointerReachTheModel) {
  QWidget* w = widget(zoom_);
  QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(20, 12));  // focus, no move
  QTest::keyClick(w, Qt::Key_Up);
  EXPECT_EQ(zoom_->Value(), 110);
  QWheelEvent turn(QPointF(30, 12), w->mapToGlobal(QPointF(30, 12)), QPoint(), QPoint(0, 240),
                   Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(w, &turn);
  EXPECT_EQ(zoom_->Value(), 130) << "two notches";
  // 36 pixels of the 160-pixel scroller: 36 x 390 / 160 = 87.75, 9 steps.
  QTest::mousePress(w, Qt::LeftButton, {}, QPoint(20, 12));
  QTest::mouseMove(w, QPoint(56, 12));
  QTest::mouseRelease(w, Qt::LeftButton, {}, QPoint(56, 12));
  EXPECT_EQ(zoom_->Value(), 220);
  ui_.sync();
  EXPECT_EQ(shown(zoom_), QStringLiteral("220 %"));

  // The pointer is moved through the X server: its enter and leave events
  // come when they come. Under it the button rises: a light edge.
  const QImage flat = photograph(widget(hot_), "speed_button_flat");
  QTest::mouseMove(widget(hot_), QPoint(14, 14));
  ASSERT_TRUE(QTest::qWaitFor([this] { return hot_->MouseInControl(); }, 1000));
  ui_.sync();
  const QImage hot = photograph(widget(hot_), "speed_button_hot");
  EXPECT_GT(hot.pixelColor(0, 0).lightness(), flat.pixelColor(0, 0).lightness());
  QTest::mouseMove(widget(flat_), QPoint(14, 14));
  EXPECT_TRUE(QTest::qWaitFor([this] { return !hot_->MouseInControl(); }, 1000));
  QTest::mouseClick(widget(flat_), Qt::LeftButton, {}, QPoint(14, 14));
  EXPECT_TRUE(flat_->Down());
  EXPECT_FALSE(down_->Down()) << "one of the group";
  EXPECT_EQ(clicks_, 1);
}

}  // namespace
}  // namespace xum
