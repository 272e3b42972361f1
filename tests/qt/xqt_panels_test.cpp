// The layout panel, separator, minimizable group box, colour selector and
// date picker drawn by the Qt backend: each form is shown as a real window,
// photographed into XUM_SCREENSHOT_DIR in its usual states, checked for
// what a person would see, and driven with synthesized mouse and key events
// whose effect is checked in the model.
#include <QCalendarWidget>
#include <QEventLoop>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>

#include "framework/tstdctrls.h"
#include "tests/qt/xqt_screenshots.h"
#include "ui/tcolor_selector.h"
#include "ui/tdate_picker.h"
#include "ui/tlayout_panel.h"
#include "ui/tminimizable_group_box.h"

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

TEST_F(QtPanels, LayoutPanelsPlaceARowAndAColumnWithSeparators) {
  auto* column = make<TLayoutPanel>(&form, u"Column", {0, 0, 220, 230});
  column->SetMargins({8, 8, 8, 8});
  column->SetSpacing(6);
  auto* edit = make<TEdit>(column, u"NameEdit", {0, 0, 0, 22}, u"Along the river");
  auto* rule = make<TSeparator>(column, u"OptionsRule", {0, 0, 0, 17}, u"Options");
  auto* loop = make<TCheckBox>(column, u"LoopCheck", {0, 0, 0, 20}, u"Round trip");
  auto* note = make<TLabel>(column, u"NoteLabel", {0, 0, 0, 16}, u"Saved with the route");
  auto* row = make<TLayoutPanel>(&form, u"Row", {0, 230, 220, 40});
  row->SetOrientation(loHorizontal);
  row->SetCrossAlign(lcCenter);
  auto* ok = make<TButton>(row, u"OkBtn", {0, 0, 64, 26}, u"OK");
  auto* bar = make<TSeparator>(row, u"ButtonsRule", {0, 0, 9, 30});
  bar->SetOrientation(loVertical);
  bar->SetBounds(0, 0, 9, 30);
  auto* cancel = make<TButton>(row, u"CancelBtn", {0, 0, 64, 26}, u"Cancel");
  QWidget* window = show(220, 270);
  ASSERT_NE(window, nullptr);
  const QImage shot = photograph(window, "layout_panel", 20);
  test::expect_laid_out(ui_, {edit, rule, loop, note, ok, bar, cancel});
  // The titled rule: its caption whole on the left (an ellipsis would leave
  // only dots on the baseline at its end), the line beyond it; the upright
  // rule between the buttons.
  const QRgb background = shot.pixel(1, 1);
  auto other = [background](QColor c) { return c.rgb() != background; };
  const QRect titled = model_rect(*rule).translated(column->Left(), column->Top());
  const int text_end = titled.left() + rule->CaptionIndent() +
                       QFontMetrics(window->font()).horizontalAdvance(QStringLiteral("Options"));
  EXPECT_GT(count(shot, dark, QRect(text_end - 6, titled.top(), 6, titled.height() / 2 + 1)), 0);
  const int line_y = titled.top() + (rule->Height() - 2) / 2;
  EXPECT_EQ(count(shot, other, QRect(text_end + 8, line_y, 50, 2)), 100);
  const QRect down = model_rect(*bar).translated(row->Left(), row->Top());
  EXPECT_EQ(count(shot, other, QRect(down.left() + 3, down.top(), 2, down.height())),
            2 * down.height());
  loop->SetVisible(false);  // the model moves the rest up; the widgets follow
  sync();
  test::expect_laid_out(ui_, {loop, note});
}

TEST_F(QtPanels, AClickOnTheCaptionButtonCollapsesTheBoxAndTheNextMovesUp) {
  auto* column = make<TLayoutPanel>(&form, u"Column", {0, 0, 260, 330});
  std::vector<TMinimizableGroupBox*> boxes;
  for (const char16_t* caption : {u"Route", u"Map layers", u"Printing"}) {
    const std::u16string n(1, char16_t(u'0' + boxes.size()));
    boxes.push_back(
        make<TMinimizableGroupBox>(column, (u"Box" + n).c_str(), {0, 0, 0, 90}, caption));
    make<TCheckBox>(boxes.back(), (u"Check" + n).c_str(), {10, 24, 150, 20}, u"Show on start");
  }
  int told = 0;
  boxes[1]->OnMinimize = [&](TObject*) { ++told; };
  QWidget* window = show(260, 330);
  ASSERT_NE(window, nullptr);
  auto* middle = qobject_cast<QGroupBox*>(ui_.widget_of(*boxes[1]));
  ASSERT_NE(middle, nullptr);
  EXPECT_EQ(middle->title(), QStringLiteral("Map layers"));
  auto* button = middle->findChild<QToolButton*>(QStringLiteral("MinimizeBtn"));
  ASSERT_NE(button, nullptr);
  const auto r = boxes[1]->ButtonRect();
  EXPECT_EQ(button->geometry(), QRect(r.Left, r.Top, r.Width, r.Height));
  const int last_top = ui_.widget_of(*boxes[2])->y();
  // Below where the last box moves up to: empty window once the middle one
  // is collapsed.
  const int shift = 90 - boxes[1]->CaptionHeight();
  const QRect freed(0, boxes[2]->Top() - shift + boxes[2]->Height() + 2, 260, 40);
  for (const auto& [arrow, name, moved_up] : {std::tuple{Qt::UpArrow, "group_box_normal", 0},
                                              {Qt::DownArrow, "group_box_minimized", shift}}) {
    SCOPED_TRACE(name);
    if (moved_up) {
      QTest::mouseClick(button, Qt::LeftButton);
      sync();
    }
    const QImage shot = photograph(window, name, 20);
    EXPECT_EQ(button->arrowType(), arrow);
    EXPECT_EQ(ui_.widget_of(*boxes[2])->y(), last_top - moved_up);
    EXPECT_EQ(count(shot, dark, freed) == 0, moved_up != 0);
  }
  EXPECT_EQ(middle->height(), boxes[1]->CaptionHeight());
  QTest::mouseClick(button, Qt::LeftButton);
  sync();
  EXPECT_EQ(ui_.widget_of(*boxes[2])->y(), last_top);
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
  for (QWidget* w : window->findChildren<QWidget*>()) w->removeEventFilter(&counter);

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
  const QImage open = photograph({window, menu}, "color_selector_open");
  EXPECT_GT(count(open, exactly(QColor(0xFF, 0, 0))), 50) << "the red swatch in the list";
  for (QAction* a : menu->actions())
    if (a->text() == QStringLiteral("Red"))
      QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(a).center());
  sync();
  EXPECT_EQ(ink->Color(), 0x0000FF);
  EXPECT_FALSE(menu->isVisible());

  // The drop button opens the calendar on the date under the model's
  // title; the next month's button, then a day picked with the keys.
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
  photograph({window, popup}, "date_picker_open");
  QTest::mouseClick(popup->findChild<QToolButton*>(QStringLiteral("NextMonthBtn")), Qt::LeftButton);
  sync();
  EXPECT_EQ(title->text().toStdU16String(), due->MonthTitle());
  calendar->setFocus();
  QWidget* grid = calendar->focusProxy() ? calendar->focusProxy() : calendar;
  QTest::keyClick(grid, Qt::Key_Right);
  QTest::keyClick(grid, Qt::Key_Return);
  sync();
  EXPECT_EQ(due->Date(), xdate(2024, 3, 15));
  EXPECT_FALSE(popup->isVisible());
  // A typed text is taken on Enter; a bad one is refused and the date's
  // text comes back.
  auto* edit = picker->findChild<QLineEdit*>(QStringLiteral("DateEdit"));
  const QString typed = QString::fromUtf8(xdate(2024, 3, 9).short_format().get_text());
  for (const QString& text : {typed, QStringLiteral("soon")}) {
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, text);
    QTest::keyClick(edit, Qt::Key_Return);
    sync();
    EXPECT_EQ(due->Date(), xdate(2024, 3, 9));
    EXPECT_EQ(edit->text(), typed);
  }
}

}  // namespace
}  // namespace xum
