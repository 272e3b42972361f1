// The layout panel, separator, minimizable group box, colour selector and
// date picker drawn by the Qt backend: each form is shown as a real window,
// photographed into XUM_SCREENSHOT_DIR in its usual states, checked for
// what a person would see, and driven with synthesized mouse and key events
// whose effect is checked in the model.
#include <QCalendarWidget>
#include <QColorDialog>
#include <QEventLoop>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QTimer>
#include <QToolButton>
#include <filesystem>

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

// The screen around `windows`: a form and its open drop-down are separate
// windows, which a person sees together.
QImage photograph_screen(std::initializer_list<QWidget*> windows, const char* name) {
  QApplication::processEvents();
  QRect a;
  for (QWidget* w : windows) a |= w->frameGeometry();
  const QImage image = QGuiApplication::primaryScreen()
                           ->grabWindow(0, a.x(), a.y(), a.width(), a.height())
                           .toImage();
  std::filesystem::create_directories(XUM_SCREENSHOT_DIR);
  image.save(QStringLiteral(XUM_SCREENSHOT_DIR "/%1.png").arg(QString::fromUtf8(name)));
  return image;
}

class QtPanels : public ::testing::Test {
 protected:
  ~QtPanels() override { delete form; }
  template <class T>
  T* make(TWinControl* parent, const char16_t* name, int width, int height,
          const char16_t* caption = u"") {
    auto* c = new T(form);
    c->SetName(name);
    c->SetCaption(caption);
    c->SetBounds(0, 0, width, height);
    c->SetParent(parent);
    return c;
  }
  QWidget* show(int width, int height) {
    form->SetBounds(100, 100, width, height);
    return test::show_window(ui_, *form);
  }
  void sync() {
    ui_.sync();
    QApplication::processEvents();
  }

  xqt_backend& ui_ = use_qt_backend();
  TForm* form = [] {
    auto* f = new TForm(nullptr);
    f->SetName(u"PanelsForm");
    return f;
  }();
};

TEST_F(QtPanels, LayoutPanelsPlaceARowAndAColumnWithSeparators) {
  auto* column = make<TLayoutPanel>(form, u"Column", 220, 230);
  column->SetMargins({8, 8, 8, 8});
  column->SetSpacing(6);
  auto* edit = make<TEdit>(column, u"NameEdit", 0, 22, u"Along the river");
  auto* rule = make<TSeparator>(column, u"OptionsRule", 0, 17, u"Options");
  auto* loop = make<TCheckBox>(column, u"LoopCheck", 0, 20, u"Round trip");
  auto* note = make<TLabel>(column, u"NoteLabel", 0, 16, u"Saved with the route");
  auto* row = make<TLayoutPanel>(form, u"Row", 220, 40);
  row->SetTop(230);
  row->SetOrientation(loHorizontal);
  row->SetCrossAlign(lcCenter);
  auto* ok = make<TButton>(row, u"OkBtn", 64, 26, u"OK");
  auto* bar = make<TSeparator>(row, u"ButtonsRule", 9, 30);
  bar->SetOrientation(loVertical);
  bar->SetBounds(0, 0, 9, 30);
  auto* cancel = make<TButton>(row, u"CancelBtn", 64, 26, u"Cancel");
  QWidget* window = show(220, 270);
  ASSERT_NE(window, nullptr);
  const QImage shot = photograph(window, "layout_panel");
  EXPECT_GT(test::colours(shot), 20) << "the window looks blank";
  test::expect_laid_out(ui_, {edit, rule, loop, note, ok, bar, cancel});
  // The titled rule: its caption whole on the left (an ellipsis would leave
  // only dots on the baseline at its end), the line beyond it.
  const QRgb background = shot.pixel(1, 1);
  auto other = [background](QColor c) { return c.rgb() != background; };
  const QRect titled = model_rect(*rule).translated(column->Left(), column->Top());
  const int text_end = titled.left() + rule->CaptionIndent() +
                       QFontMetrics(window->font()).horizontalAdvance(QStringLiteral("Options"));
  EXPECT_GT(count(shot, dark, QRect(text_end - 6, titled.top(), 6, titled.height() / 2 + 1)), 0);
  const int line_y = titled.top() + (rule->Height() - 2) / 2;
  EXPECT_EQ(count(shot, other, QRect(text_end + 8, line_y, 50, 2)), 100) << "the line";
  EXPECT_EQ(count(shot, other, QRect(text_end + 8, titled.top(), 50, 3)), 0);
  const QRect down = model_rect(*bar).translated(row->Left(), row->Top());
  EXPECT_EQ(count(shot, other, QRect(down.left() + 3, down.top(), 2, down.height())),
            2 * down.height())
      << "the vertical rule between the buttons";
  loop->SetVisible(false);  // the model moves the rest up; the widgets follow
  sync();
  test::expect_laid_out(ui_, {loop, note});
}

TEST_F(QtPanels, AClickOnTheCaptionButtonCollapsesTheBoxAndTheNextMovesUp) {
  auto* column = make<TLayoutPanel>(form, u"Column", 260, 330);
  std::vector<TMinimizableGroupBox*> boxes;
  for (const char16_t* caption : {u"Route", u"Map layers", u"Printing"}) {
    const std::u16string n(1, char16_t(u'0' + boxes.size()));
    boxes.push_back(make<TMinimizableGroupBox>(column, (u"Box" + n).c_str(), 0, 90, caption));
    make<TCheckBox>(boxes.back(), (u"Check" + n).c_str(), 150, 20, u"Show on start")
        ->SetBounds(10, 24, 150, 20);
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
    const QImage shot = photograph(window, name);
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

TEST_F(QtPanels, TheColourSelectorShowsItsSwatchAndPicksFromItsDropDown) {
  auto* ink = make<TColorSelector>(form, u"InkSelector", 220, 24, u"Ink:");
  ink->SetColor(0x800000);  // navy
  auto* paper = make<TColorSelector>(form, u"PaperSelector", 220, 24, u"Paper:");
  paper->SetTop(34);
  paper->SetColor(0x3366CC);  // not in the palette
  auto* locked = make<TColorSelector>(form, u"LockedSelector", 220, 24, u"Locked:");
  locked->SetTop(68);
  locked->SetEnabled(false);
  int changes = 0;
  ink->OnChange = [&](TObject*) { ++changes; };
  QWidget* window = show(240, 102);
  ASSERT_NE(window, nullptr);
  const QImage closed = photograph(window, "color_selector_closed");
  auto exactly = [](QColor want) { return [want](QColor c) { return c.rgb() == want.rgb(); }; };
  EXPECT_GT(count(closed, exactly(QColor(0, 0, 0x80)), model_rect(*ink)), 60) << "a navy swatch";
  EXPECT_GT(count(closed, exactly(QColor(0xCC, 0x66, 0x33)), model_rect(*paper)), 60);
  EXPECT_EQ(count(closed, exactly(QColor(0, 0, 0)), model_rect(*locked)), 0)
      << "a disabled one has no swatch";
  EXPECT_EQ(ui_.widget_of(*paper)->accessibleName(), QStringLiteral("Paper: #CC6633"));

  // Alt+Down opens the drop-down on the current colour; a click on "Red"
  // picks it and closes it.
  QWidget* widget = ui_.widget_of(*ink);
  widget->setFocus();
  QTest::keyClick(widget, Qt::Key_Down, Qt::AltModifier);
  sync();
  auto* menu = widget->findChild<QMenu*>(QStringLiteral("ColorMenu"));
  ASSERT_TRUE(menu != nullptr && QTest::qWaitForWindowExposed(menu));
  EXPECT_EQ(menu->activeAction()->text(), QStringLiteral("Navy"));
  EXPECT_EQ(menu->actions().back()->text(), QStringLiteral("Other..."));
  const QImage open = photograph_screen({window, menu}, "color_selector_open");
  EXPECT_GT(count(open, exactly(QColor(0xFF, 0, 0))), 50) << "the red swatch in the list";
  for (QAction* a : menu->actions())
    if (a->text() == QStringLiteral("Red"))
      QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(a).center());
  sync();
  EXPECT_EQ(ink->Color(), 0x0000FF);
  EXPECT_FALSE(menu->isVisible());

  // "Other..." asks Qt's colour dialog, starting at the current colour.
  QColor started;
  QTimer user;
  QObject::connect(&user, &QTimer::timeout, [&] {
    for (QWidget* w : QApplication::topLevelWidgets())
      if (auto* dialog = qobject_cast<QColorDialog*>(w); dialog && dialog->isVisible()) {
        started = dialog->currentColor();
        dialog->setCurrentColor(QColor(0x12, 0x34, 0x56));
        dialog->accept();
      }
  });
  user.start(20);
  ink->Pick(ink->ItemCount() - 1);
  EXPECT_EQ(started, QColor(0xFF, 0, 0));
  EXPECT_EQ(ink->Color(), 0x563412);
  EXPECT_EQ(changes, 2);
}

TEST_F(QtPanels, TheDatePickerTakesTypedDatesAndPicksFromItsCalendar) {
  auto* due = make<TDatePicker>(form, u"DuePicker", 130, 24);
  due->SetDate(xdate(2024, 2, 14));
  auto* start = make<TDatePicker>(form, u"StartPicker", 130, 24);
  start->SetTop(34);  // empty: no date yet
  QWidget* window = show(260, 70);
  ASSERT_NE(window, nullptr);
  photograph(window, "date_picker_closed_and_empty");
  QWidget* due_widget = ui_.widget_of(*due);
  auto* start_edit = ui_.widget_of(*start)->findChild<QLineEdit*>(QStringLiteral("DateEdit"));
  ASSERT_NE(start_edit, nullptr);
  EXPECT_EQ(start_edit->text(), QString());

  // The drop button opens the calendar on the date, with the catalogue's
  // names; the next month's button, then a day picked with the keys.
  QTest::mouseClick(due_widget->findChild<QToolButton*>(QStringLiteral("DropBtn")), Qt::LeftButton);
  sync();
  auto* popup = due_widget->findChild<QWidget*>(QStringLiteral("CalendarPopup"));
  ASSERT_TRUE(popup != nullptr && QTest::qWaitForWindowExposed(popup));
  auto* title = popup->findChild<QLabel*>(QStringLiteral("MonthTitle"));
  EXPECT_EQ(title->text(), QStringLiteral("Febrary 2024"));
  EXPECT_EQ(popup->findChild<QLabel*>(QStringLiteral("Day0"))->text(), QStringLiteral("Mo"));
  auto* calendar = popup->findChild<QCalendarWidget*>(QStringLiteral("Calendar"));
  ASSERT_NE(calendar, nullptr);
  EXPECT_EQ(calendar->selectedDate(), QDate(2024, 2, 14));
  EXPECT_GT(test::colours(photograph_screen({window, popup}, "date_picker_open")), 20);
  QTest::mouseClick(popup->findChild<QToolButton*>(QStringLiteral("NextMonthBtn")), Qt::LeftButton);
  sync();
  EXPECT_EQ(title->text(), QStringLiteral("March 2024"));
  calendar->setFocus();
  QWidget* grid = calendar->focusProxy() ? calendar->focusProxy() : calendar;
  QTest::keyClick(grid, Qt::Key_Right);
  QTest::keyClick(grid, Qt::Key_Return);
  sync();
  EXPECT_EQ(due->Date(), xdate(2024, 3, 15));
  EXPECT_FALSE(popup->isVisible());

  // Typed in the user's short format; a bad text is refused and the date's
  // text comes back; Up is a day later.
  const QString typed = QString::fromUtf8(xdate(2024, 3, 9).short_format().get_text());
  for (const QString& text : {typed, QStringLiteral("soon")}) {
    start_edit->setFocus();
    start_edit->selectAll();
    QTest::keyClicks(start_edit, text);
    QTest::keyClick(start_edit, Qt::Key_Return);
    sync();
    EXPECT_EQ(start->Date(), xdate(2024, 3, 9));
    EXPECT_EQ(start_edit->text(), typed);
  }
  QTest::keyClick(start_edit, Qt::Key_Up);
  sync();
  EXPECT_EQ(start->Date(), xdate(2024, 3, 10));
}

// Counts the paint events of a widget and its children.
class paint_count final : public QObject {
 public:
  bool eventFilter(QObject*, QEvent* event) override {
    paints += event->type() == QEvent::Paint;
    return false;
  }
  int paints = 0;
};

TEST_F(QtPanels, AnIdleWindowIsNotRepaintedOverAndOver) {
  auto* column = make<TLayoutPanel>(form, u"Column", 240, 200);
  make<TSeparator>(column, u"Rule", 0, 17, u"Rule");
  make<TMinimizableGroupBox>(column, u"Box", 0, 60, u"Box");
  make<TColorSelector>(column, u"Ink", 0, 24, u"Ink:");
  make<TDatePicker>(column, u"Due", 0, 24)->SetDate(xdate(2024, 2, 14));
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
}

}  // namespace
}  // namespace xum
