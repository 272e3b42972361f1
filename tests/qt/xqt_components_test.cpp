// The library's visual components drawn by the Qt backend (the layout
// panel, separator, minimizable group box, colour selector, date picker,
// value scroller, XP-style speed button and colour scale): each form is
// shown as a real window, photographed into XUM_SCREENSHOT_DIR in its usual
// states, checked for what a person would see, and driven with synthesized
// keys, wheel turns, drags, pointer moves and clicks whose effect is checked
// in the model.
#include <QCalendarWidget>
#include <QEventLoop>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QTimer>
#include <QToolButton>
#include <QWheelEvent>
#include <cmath>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "framework/tstdctrls.h"
#include "tests/qt/xqt_screenshots.h"
#include "ui/tcolor_scale.h"
#include "ui/tcolor_selector.h"
#include "ui/tdate_picker.h"
#include "ui/tlayout_panel.h"
#include "ui/tminimizable_group_box.h"
#include "ui/tvalue_scroller.h"
#include "ui/txum_speed_button.h"

namespace xum {
namespace {

using test::count;
using test::photograph;

QRect model_rect(const TControl& c) { return QRect(c.Left(), c.Top(), c.Width(), c.Height()); }
bool dark(QColor c) { return qGray(c.rgb()) < 140; }

// Counts the paint events of the widgets it watches.
class paint_count final : public QObject {
 public:
  bool eventFilter(QObject*, QEvent* event) override {
    paints += event->type() == QEvent::Paint;
    return false;
  }
  int paints = 0;
};

class QtPanels : public ::testing::Test {
 protected:
  template <class T>
  T* make(TWinControl* parent, const char16_t* name, QRect at, const char16_t* caption = u"") {
    auto* c = new T(&form);
    c->SetName(name);
    c->SetCaption(caption);
    c->SetBounds(at.x(), at.y(), at.width(), at.height());
    c->SetParent(parent);
    return c;
  }
  QWidget* show(int width, int height) {
    form.SetBounds(100, 100, width, height);
    return test::show_window(ui_, form);
  }
  void sync() {
    ui_.sync();
    QApplication::processEvents();
  }

  xqt_backend& ui_ = use_qt_backend();
  TForm form{nullptr};
};

// A column of a titled rule and three minimizable group boxes; below it a
// row of a button and an upright rule.
TEST_F(QtPanels, LayoutPanelsPlaceTheirControlsAndFollowACollapsedGroupBox) {
  auto* column = make<TLayoutPanel>(&form, u"Column", {0, 0, 260, 330});
  column->SetMargins({8, 8, 8, 8});
  column->SetSpacing(6);
  auto* rule = make<TSeparator>(column, u"OptionsRule", {0, 0, 0, 17}, u"Options");
  std::vector<TMinimizableGroupBox*> boxes;
  for (const char16_t* caption : {u"Route", u"Map layers", u"Printing"}) {
    const std::u16string n(1, char16_t(u'0' + boxes.size()));
    boxes.push_back(
        make<TMinimizableGroupBox>(column, (u"Box" + n).c_str(), {0, 0, 0, 90}, caption));
    make<TCheckBox>(boxes.back(), (u"Check" + n).c_str(), {10, 24, 150, 20}, u"Show on start");
  }
  auto* row = make<TLayoutPanel>(&form, u"Row", {0, 330, 260, 40});
  row->SetOrientation(loHorizontal);
  row->SetCrossAlign(lcCenter);
  auto* ok = make<TButton>(row, u"OkBtn", {0, 0, 64, 26}, u"OK");
  auto* bar = make<TSeparator>(row, u"ButtonsRule", {0, 0, 9, 30});
  bar->SetOrientation(loVertical);
  bar->SetBounds(0, 0, 9, 30);
  int told = 0;
  boxes[1]->OnMinimize = [&](TObject*) { ++told; };
  QWidget* window = show(260, 370);
  ASSERT_NE(window, nullptr);
  test::expect_laid_out(ui_, {rule, boxes[0], boxes[1], boxes[2], ok, bar});
  // The titled rule: its caption whole on the left (an ellipsis would leave
  // only dots on the baseline at its end), the line beyond it.
  const QImage shot = photograph(window, "layout_panel", 20);
  const QRgb background = shot.pixel(1, 1);
  auto other = [background](QColor c) { return c.rgb() != background; };
  const QRect titled = model_rect(*rule).translated(column->Left(), column->Top());
  const int text_end = titled.left() + rule->CaptionIndent() +
                       QFontMetrics(window->font()).horizontalAdvance(QStringLiteral("Options"));
  EXPECT_GT(count(shot, dark, QRect(text_end - 6, titled.top(), 6, titled.height() / 2 + 1)), 0);
  const int line_y = titled.top() + (rule->Height() - 2) / 2;
  EXPECT_EQ(count(shot, other, QRect(text_end + 8, line_y, 50, 2)), 100);

  // A click on the middle box's caption button collapses it to its caption
  // and the last box moves up into the freed band; a second click opens it.
  auto* middle = qobject_cast<QGroupBox*>(ui_.widget_of(*boxes[1]));
  ASSERT_NE(middle, nullptr);
  auto* button = middle->findChild<QToolButton*>(QStringLiteral("MinimizeBtn"));
  ASSERT_NE(button, nullptr);
  const auto r = boxes[1]->ButtonRect();
  EXPECT_EQ(button->geometry(), QRect(r.Left, r.Top, r.Width, r.Height));
  const QRect last = model_rect(*boxes[2]).translated(column->Left(), column->Top());
  QTest::mouseClick(button, Qt::LeftButton);
  sync();
  EXPECT_EQ(button->arrowType(), Qt::DownArrow);
  EXPECT_EQ(middle->height(), boxes[1]->CaptionHeight());
  test::expect_laid_out(ui_, {boxes[2]});
  EXPECT_EQ(ui_.widget_of(*boxes[2])->y(), last.top() - 90 + boxes[1]->CaptionHeight());
  photograph(window, "group_box_minimized", 20);
  QTest::mouseClick(button, Qt::LeftButton);
  sync();
  EXPECT_EQ(ui_.widget_of(*boxes[2])->y(), last.top());
  EXPECT_EQ(told, 2);
}

// A column of a rule, a group box, an enabled and a disabled colour
// selector and a date picker.
TEST_F(QtPanels, AnIdleWindowRestsAndTheDropDownsPickFromTheirLists) {
  auto* column = make<TLayoutPanel>(&form, u"Column", {0, 0, 240, 200});
  make<TSeparator>(column, u"Rule", {0, 0, 0, 17}, u"Rule");
  make<TMinimizableGroupBox>(column, u"Box", {0, 0, 0, 50}, u"Box");
  auto* ink = make<TColorSelector>(column, u"Ink", {0, 0, 0, 24}, u"Ink:");
  ink->SetColor(0x800000);  // navy
  auto* locked = make<TColorSelector>(column, u"Locked", {0, 0, 0, 24}, u"Locked:");
  locked->SetEnabled(false);
  auto* due = make<TDatePicker>(column, u"Due", {0, 0, 0, 24});
  due->SetDate(xdate(2024, 2, 14));
  QWidget* window = show(240, 200);
  ASSERT_NE(window, nullptr);
  // The loop waits as an application's does (the backend syncs whenever
  // it is about to wait); QTest::qWait never waits so.
  const auto rest = [](int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
  };
  rest(100);  // the first paints settle
  paint_count counter;
  for (QWidget* w : window->findChildren<QWidget*>()) w->installEventFilter(&counter);
  rest(300);
  EXPECT_LT(counter.paints, 5) << "every sync repaints: the event loop never rests";

  const QImage closed = photograph(window, "drop_downs_closed", 20);
  auto exactly = [](QColor want) { return [want](QColor c) { return c.rgb() == want.rgb(); }; };
  EXPECT_GT(count(closed, exactly(QColor(0, 0, 0x80)), model_rect(*ink)), 60) << "a navy swatch";
  EXPECT_EQ(count(closed, exactly(QColor(0, 0, 0)), model_rect(*locked)), 0)
      << "a disabled one has no swatch";
  // Alt+Down opens the colours on the current one; a click on "Red" picks it.
  QWidget* selector = ui_.widget_of(*ink);
  selector->setFocus();
  QTest::keyClick(selector, Qt::Key_Down, Qt::AltModifier);
  sync();
  auto* menu = selector->findChild<QMenu*>(QStringLiteral("ColorMenu"));
  ASSERT_TRUE(menu != nullptr && QTest::qWaitForWindowExposed(menu));
  EXPECT_EQ(menu->activeAction()->text(), QStringLiteral("Navy"));
  EXPECT_EQ(menu->actions().back()->text(), QStringLiteral("Other..."));
  const QImage open = photograph(menu, "color_selector_open");
  EXPECT_GT(count(open, exactly(QColor(0xFF, 0, 0))), 50) << "the red swatch in the list";
  for (QAction* a : menu->actions())
    if (a->text() == QStringLiteral("Red"))
      QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(a).center());
  sync();
  EXPECT_EQ(ink->Color(), 0x0000FF);
  EXPECT_FALSE(menu->isVisible());

  // The drop button opens the calendar on the date under the model's
  // title; a day picked with the keys.
  QWidget* picker = ui_.widget_of(*due);
  QTest::mouseClick(picker->findChild<QToolButton*>(QStringLiteral("DropBtn")), Qt::LeftButton);
  sync();
  auto* popup = picker->findChild<QWidget*>(QStringLiteral("CalendarPopup"));
  ASSERT_TRUE(popup != nullptr && QTest::qWaitForWindowExposed(popup));
  auto* title = popup->findChild<QLabel*>(QStringLiteral("MonthTitle"));
  auto* calendar = popup->findChild<QCalendarWidget*>(QStringLiteral("Calendar"));
  ASSERT_TRUE(title && calendar);
  EXPECT_EQ(title->text().toStdU16String(), due->MonthTitle());
  EXPECT_EQ(calendar->selectedDate(), QDate(2024, 2, 14));
  photograph(popup, "date_picker_open", 10);
  calendar->setFocus();
  QWidget* grid = calendar->focusProxy() ? calendar->focusProxy() : calendar;
  QTest::keyClick(grid, Qt::Key_Right);
  QTest::keyClick(grid, Qt::Key_Return);
  sync();
  EXPECT_EQ(due->Date(), xdate(2024, 2, 15));
  EXPECT_FALSE(popup->isVisible());
}

QRgb rgb(TColor c) { return QColor(static_cast<QRgb>(xcolor_to_pixel(c))).rgb(); }

// A form with a scroller, four speed buttons of one
// group (flat, to be hot, down, disabled) with a green disc as glyph, and a
// horizontal and an upright colour scale.
class QtControls : public QtPanels {
 protected:
  void SetUp() override {
    zoom_->SetRange(10, 400);
    zoom_->SetIncrement(10);
    zoom_->SetUnitText(u"%");
    zoom_->SetValue(100);
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
    ASSERT_NE(show(420, 160), nullptr);
  }
  QWidget* widget(TControl* c) { return ui_.widget_of(*c); }
  QString shown(TControl* c) { return widget(c)->accessibleName(); }

  TValueScroller* zoom_ = make<TValueScroller>(&form, u"Zoom", {10, 10, 160, 24});
  TxumSpeedButton* flat_ = make<TxumSpeedButton>(&form, u"Flat", {200, 10, 28, 28});
  TxumSpeedButton* hot_ = make<TxumSpeedButton>(&form, u"Hot", {234, 10, 28, 28});
  TxumSpeedButton* down_ = make<TxumSpeedButton>(&form, u"Down", {268, 10, 28, 28});
  TxumSpeedButton* off_ = make<TxumSpeedButton>(&form, u"Off", {302, 10, 28, 28});
  TColorScale* legend_ = make<TColorScale>(&form, u"Legend", {10, 90, 400, 50});
  TColorScale* upright_ = make<TColorScale>(&form, u"Upright", {360, 6, 56, 78});
  int clicks_ = 0;
};

TEST_F(QtControls, EachControlIsDrawnAsLaidOutInEachState) {
  photograph(ui_.window_of(form), "controls_gallery", 40);
  test::expect_laid_out(ui_, {zoom_, hot_, legend_, upright_});
  std::map<std::string, QImage> shots;
  const std::pair<TControl*, const char*> states[] = {
      {zoom_, "value_scroller"},    {flat_, "speed_button_flat"},
      {down_, "speed_button_down"}, {off_, "speed_button_disabled"},
      {legend_, "color_scale"},     {upright_, "color_scale_vertical"}};
  for (auto [c, name] : states) shots[name] = photograph(widget(c), name);
  // The scroller: its value with the unit, dark text and arrows.
  EXPECT_EQ(shown(zoom_), QStringLiteral("100 %"));
  const QImage& scroller = shots["value_scroller"];
  auto dark = [](QColor c) { return c.lightness() < 60; };
  EXPECT_GT(count(scroller, dark, QRect(146, 2, 12, 20)), 4);
  EXPECT_GT(count(scroller, dark, QRect(2, 2, 140, 20)), 20);
  // The speed button: no edge while flat, a dark one when down; the green
  // disc, grey when disabled.
  const QColor face(rgb(clBtnFace));
  EXPECT_EQ(shots["speed_button_flat"].pixelColor(0, 0), face);
  EXPECT_LT(shots["speed_button_down"].pixelColor(0, 0).lightness(), face.lightness());
  auto green = [](QColor c) { return c.green() > c.red() + 60; };
  EXPECT_GT(count(shots["speed_button_flat"], green), 50);
  EXPECT_EQ(count(shots["speed_button_disabled"], green), 0);
  // The colour scales: the first line inside the black frame is exactly the
  // colour of Min on the left, of Max at the top.
  EXPECT_EQ(shown(legend_) + u'|' + shown(upright_), QStringLiteral("-10 0 10 20 30|0 50 100"));
  const QImage &across = shots["color_scale"], &up = shots["color_scale_vertical"];
  auto frame = [](const QImage& shot, QPoint from, QPoint step) {
    while (shot.rect().contains(from) && qGray(shot.pixel(from)) > 20) from += step;
    return from;
  };
  const QPoint left = frame(across, {0, 10}, {1, 0}), top = frame(up, {4, 0}, {0, 1});
  EXPECT_EQ(across.pixel(left + QPoint(1, 0)), rgb(legend_->ColorAt(-10)));
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
  QTest::mouseMove(widget(hot_), QPoint(14, 14));
  ASSERT_TRUE(QTest::qWaitFor([this] { return hot_->MouseInControl(); }, 1000));
  ui_.sync();
  const QImage hot = photograph(widget(hot_), "speed_button_hot");
  EXPECT_GT(hot.pixelColor(0, 0).lightness(), QColor(rgb(clBtnFace)).lightness());
  QTest::mouseMove(widget(flat_), QPoint(14, 14));
  EXPECT_TRUE(QTest::qWaitFor([this] { return !hot_->MouseInControl(); }, 1000));
  QTest::mouseClick(widget(flat_), Qt::LeftButton, {}, QPoint(14, 14));
  EXPECT_TRUE(flat_->Down());
  EXPECT_FALSE(down_->Down()) << "one of the group";
  EXPECT_EQ(clicks_, 1);
}

}  // namespace
}  // namespace xum
