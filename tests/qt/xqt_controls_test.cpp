// The value scroller, the XP-style speed button and the colour scale drawn
// by the Qt backend: photographed in their usual states and checked for
// what a person would see; synthesized keys, wheel turns, drags, pointer
// moves and clicks reach the model.
#include <QApplication>
#include <QImage>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"

#include "backends/qt/xqt_backend.h"
#include "framework/tforms.h"
#include "imaging/xglyph.h"
#include "ui/tcolor_scale.h"
#include "ui/tvalue_scroller.h"
#include "ui/txum_speed_button.h"

namespace xum {
namespace {

using test::colours;
using test::photograph;

QColor qcolor(TColor c) { return QColor(static_cast<QRgb>(xcolor_to_pixel(c))); }

// A 16 x 16 glyph: a green disc with soft edges on nothing.
void draw_disc(TBitmap& g) {
  g.SetPixelFormat(pf32bit);
  g.SetSize(16, 16);
  for (int y = 0; y < 16; ++y) {
    auto* row = static_cast<std::uint8_t*>(g.ScanLine(y));
    for (int x = 0; x < 16; ++x) {
      const double d = std::hypot(x - 7.5, y - 7.5);
      const int alpha = d < 6 ? 255 : d < 7.5 ? static_cast<int>(255 * (7.5 - d) / 1.5) : 0;
      const std::uint8_t px[4] = {40, 160, 30, static_cast<std::uint8_t>(alpha)};
      std::copy(px, px + 4, row + 4 * x);
    }
  }
}

struct gallery {
  TForm* form = new TForm(nullptr);
  TValueScroller* zoom = new TValueScroller(form);
  TValueScroller* zoom_off = new TValueScroller(form);
  TxumSpeedButton* flat = new TxumSpeedButton(form);
  TxumSpeedButton* hot = new TxumSpeedButton(form);
  TxumSpeedButton* down = new TxumSpeedButton(form);
  TxumSpeedButton* off = new TxumSpeedButton(form);
  TColorScale* legend = new TColorScale(form);
  TColorScale* upright = new TColorScale(form);
  int clicks = 0;

  gallery() {
    form->SetName(u"ControlsGallery");
    form->SetCaption(u"Controls");
    form->SetBounds(80, 80, 420, 160);
    auto place = [this](TControl* c, const char16_t* name, int l, int t, int w, int h) {
      c->SetName(name);
      c->SetParent(form);
      c->SetBounds(l, t, w, h);
    };
    place(zoom, u"Zoom", 10, 10, 160, 24);
    place(zoom_off, u"ZoomOff", 10, 44, 160, 24);
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
    draw_disc(glyph);
    int left = 200;
    for (auto [b, name] : {std::pair{flat, u"Flat"}, {hot, u"Hot"}, {down, u"Down"}, {off, u"Off"}}) {
      place(b, name, left, 10, 28, 28);
      b->SetGlyph(glyph);
      b->SetGroupIndex(1);
      b->OnClick = [this](TObject*) { ++clicks; };
      left += 34;
    }
    down->SetDown(true);
    off->SetEnabled(false);
    place(legend, u"Legend", 10, 90, 400, 50);
    legend->SetRange(-10, 30);
    legend->AddStop(0, 0xFF0000);
    legend->AddStop(0.25, clWhite);
    legend->AddStop(1, clRed);
    legend->SetTickStep(10);
    place(upright, u"Upright", 350, 6, 64, 78);
    upright->SetOrientation(soVertical);
    upright->SetRange(0, 100);
    upright->SetTickCount(3);
    upright->AddStop(0, clBlack);
    upright->AddStop(1, clLime);
  }
  ~gallery() { delete form; }
};

class QtControls : public ::testing::Test {
 protected:
  void SetUp() override {
    g_.form->Show();
    ui_.sync();
    window_ = ui_.window_of(*g_.form);
    ASSERT_NE(window_, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_));
  }
  QWidget* widget(TControl* c) { return ui_.widget_of(*c); }
  // Lets Qt deliver what is queued and brings the widgets in line.
  void settle() {
    QApplication::processEvents();
    ui_.sync();
    QApplication::processEvents();
  }
  xqt_backend& ui_ = use_qt_backend();
  gallery g_;
  QWidget* window_ = nullptr;
};

TEST_F(QtControls, TheGalleryShowsEveryControlWhereTheModelPutsIt) {
  const QImage shot = photograph(window_, "controls_gallery");
  EXPECT_EQ(shot.size(), QSize(420, 160));
  EXPECT_GT(colours(shot), 40) << "the window looks blank";
  for (TControl* c : std::initializer_list<TControl*>{g_.zoom, g_.hot, g_.legend}) {
    SCOPED_TRACE(QString::fromStdU16String(c->Name()).toStdString());
    ASSERT_NE(widget(c), nullptr);
    EXPECT_EQ(widget(c)->geometry(), QRect(c->Left(), c->Top(), c->Width(), c->Height()));
  }
  EXPECT_EQ(widget(g_.zoom)->accessibleName(), QStringLiteral("100 %"));
  EXPECT_EQ(widget(g_.legend)->accessibleName(), QStringLiteral("-10 0 10 20 30"));
}

TEST_F(QtControls, TheScrollerShowsItsValueAndLooksDisabledWhenItIs) {
  const QImage normal = photograph(widget(g_.zoom), "value_scroller_normal");
  const QImage disabled = photograph(widget(g_.zoom_off), "value_scroller_disabled");
  EXPECT_EQ(normal.size(), QSize(160, 24));
  EXPECT_GT(colours(normal), 4) << "text, band and arrows";
  EXPECT_FALSE(widget(g_.zoom_off)->isEnabled());
  EXPECT_EQ(widget(g_.zoom_off)->accessibleName(), QStringLiteral("250 %"));
  // The field's background at the far left (inside the border): the
  // window colour with the value's band when enabled, the greyed face when
  // not; dark arrows only when enabled.
  EXPECT_NE(normal.pixelColor(2, 20), disabled.pixelColor(2, 20));
  auto dark_arrows = [](const QImage& shot) {
    int n = 0;
    for (int y = 2; y < shot.height() - 2; ++y)
      for (int x = shot.width() - 14; x < shot.width() - 2; ++x) n += qGray(shot.pixel(x, y)) < 60;
    return n;
  };
  EXPECT_GT(dark_arrows(normal), 4);
  EXPECT_EQ(dark_arrows(disabled), 0);
}

TEST_F(QtControls, KeysTheWheelAndADragChangeTheScrollersValue) {
  QWidget* w = widget(g_.zoom);
  int changes = 0;
  g_.zoom->OnChange = [&](TObject*) { ++changes; };
  QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(20, 12));  // focus, no move
  EXPECT_TRUE(w->hasFocus());
  EXPECT_EQ(g_.zoom->Value(), 100);
  struct row {
    Qt::Key key;
    double to;
  };
  for (const row& r : {row{Qt::Key_Up, 110}, row{Qt::Key_PageUp, 160}, row{Qt::Key_Left, 150},
                       row{Qt::Key_End, 400}, row{Qt::Key_Home, 10}}) {
    SCOPED_TRACE(r.key);
    QTest::keyClick(w, r.key);
    EXPECT_EQ(g_.zoom->Value(), r.to);
  }
  settle();
  EXPECT_EQ(w->accessibleName(), QStringLiteral("10 %"));
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
  EXPECT_EQ(g_.zoom->Value(), 130);
  EXPECT_EQ(changes, 8);
  settle();
  EXPECT_EQ(w->accessibleName(), QStringLiteral("130 %"));
}

TEST_F(QtControls, TheSpeedButtonRisesUnderThePointerAndShowsEachState) {
  const QImage flat = photograph(widget(g_.hot), "speed_button_flat");
  const QColor face = qcolor(clBtnFace);
  EXPECT_EQ(flat.pixelColor(0, 0), face) << "no edge while flat";
  QTest::mouseMove(widget(g_.hot), QPoint(14, 14));  // the pointer enters
  for (int i = 0; i < 50 && !g_.hot->MouseInControl(); ++i) QTest::qWait(20);
  settle();
  ASSERT_TRUE(g_.hot->MouseInControl());
  const QImage hot = photograph(widget(g_.hot), "speed_button_hot");
  EXPECT_NE(hot.pixelColor(0, 0), face) << "raised: a light edge";
  int differing = 0;
  for (int y = 0; y < hot.height(); ++y)
    for (int x = 0; x < hot.width(); ++x) differing += hot.pixel(x, y) != flat.pixel(x, y);
  EXPECT_GT(differing, 60) << "an edge and the lifted picture";

  const QImage down = photograph(widget(g_.down), "speed_button_down");
  EXPECT_LT(down.pixelColor(0, 0).lightness(), face.lightness()) << "lowered: a dark edge";
  const QImage off = photograph(widget(g_.off), "speed_button_disabled");
  auto green = [](const QImage& shot) {
    int n = 0;
    for (int y = 0; y < shot.height(); ++y)
      for (int x = 0; x < shot.width(); ++x) {
        const QColor c = shot.pixelColor(x, y);
        n += c.green() > c.red() + 60;
      }
    return n;
  };
  EXPECT_GT(green(flat), 50) << "the green disc";
  EXPECT_EQ(green(off), 0) << "the disabled look is grey";

  QTest::mouseMove(widget(g_.flat), QPoint(14, 14));  // from Hot to Flat
  settle();
  EXPECT_FALSE(g_.hot->MouseInControl());
  QTest::mouseClick(widget(g_.flat), Qt::LeftButton, {}, QPoint(14, 14));
  EXPECT_TRUE(g_.flat->Down());
  EXPECT_FALSE(g_.down->Down()) << "one of the group";
  EXPECT_EQ(g_.clicks, 1);
}

TEST_F(QtControls, TheColourScaleDrawsTheModelsColoursAndLabels) {
  const QImage shot = photograph(widget(g_.legend), "color_scale");
  EXPECT_EQ(shot.size(), QSize(400, 50));
  // The bar's first and last columns inside its border are exactly the
  // colours of Min and Max; white (at 0) lies in between.
  const int row = 10;
  int left = 0, right = shot.width() - 1;
  while (left < right && qGray(shot.pixel(left, row)) > 20) ++left;     // the border
  while (right > left && qGray(shot.pixel(right, row)) > 20) --right;
  ASSERT_LT(left + 10, right) << "a bar with a border";
  EXPECT_EQ(shot.pixel(left + 1, row), qcolor(g_.legend->ColorAt(-10)).rgb());
  EXPECT_EQ(shot.pixel(right - 1, row), qcolor(g_.legend->ColorAt(30)).rgb());
  bool white = false;
  for (int x = left; x < right; ++x) white |= qGray(shot.pixel(x, row)) > 250;
  EXPECT_TRUE(white);
  int dark_below = 0;  // tick marks and labels under the bar
  for (int y = 36; y < 50; ++y)
    for (int x = 0; x < shot.width(); ++x) dark_below += qGray(shot.pixel(x, y)) < 100;
  EXPECT_GT(dark_below, 40);

  // Upright: Min at the bottom, labels to the right.
  const QImage up = photograph(widget(g_.upright), "color_scale_vertical");
  const int column = 4;
  int top = 0, bottom = up.height() - 1;
  while (top < bottom && qGray(up.pixel(column, top)) > 20) ++top;  // the frame
  while (bottom > top && qGray(up.pixel(column, bottom)) > 20) --bottom;
  ASSERT_LT(top + 10, bottom);
  EXPECT_EQ(up.pixel(column, bottom - 1), qcolor(g_.upright->ColorAt(0)).rgb());
  EXPECT_EQ(up.pixel(column, top + 1), qcolor(g_.upright->ColorAt(100)).rgb());
  EXPECT_EQ(widget(g_.upright)->accessibleName(), QStringLiteral("0 50 100"));
}

}  // namespace
}  // namespace xum
