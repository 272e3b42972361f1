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

#include "tests/qt/xqt_screenshots.h"

#include "framework/tstdctrls.h"
#include "ui/tcolor_selector.h"
#include "ui/tdate_picker.h"
#include "ui/tlayout_panel.h"
#include "ui/tminimizable_group_box.h"

namespace xum {
namespace {

using test::colours;
using test::count;
using test::photograph;

template <class T>
T* make(TComponent* owner, TWinControl* parent, const char16_t* name, int width, int height,
        const char16_t* caption = u"") {
  auto* c = new T(owner);
  c->SetName(name);
  c->SetCaption(caption);
  c->SetBounds(0, 0, width, height);
  c->SetParent(parent);
  return c;
}

QRect model_rect(const TControl& c) { return QRect(c.Left(), c.Top(), c.Width(), c.Height()); }

// Pixels of `colour`; pixels darker than the window (text and lines);
// pixels other than `background`.
std::function<bool(QColor)> exactly(QColor colour) {
  return [colour](QColor c) { return c.rgb() == colour.rgb(); };
}
bool dark(QColor c) { return qGray(c.rgb()) < 140; }
std::function<bool(QColor)> not_(QRgb background) {
  return [background](QColor c) { return c.rgb() != background; };
}

// The screen around `windows`: a form and its open drop-down are separate
// windows, which a person sees together.
QImage photograph_screen(std::initializer_list<QWidget*> windows, const char* name) {
  QApplication::processEvents();
  QRect area;
  for (QWidget* w : windows) area |= w->frameGeometry();
  const QImage image =
      QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(), area.height()).toImage();
  std::filesystem::create_directories(XUM_SCREENSHOT_DIR);
  image.save(QString::fromUtf8(XUM_SCREENSHOT_DIR) + u'/' + QString::fromUtf8(name) +
             QStringLiteral(".png"));
  return image;
}

class QtPanels : public ::testing::Test {
 protected:
  ~QtPanels() override { delete form; }
  QWidget* show(int width, int height, const char16_t* caption) {
    form->SetCaption(caption);
    form->SetBounds(100, 100, width, height);
    return test::show_window(ui_, *form);
  }
  void sync() {
    ui_.sync();
    QApplication::processEvents();
  }
  void expect_laid_out(std::initializer_list<const TControl*> controls) {
    test::expect_laid_out(ui_, controls);
  }

  xqt_backend& ui_ = use_qt_backend();
  TForm* form = [] {
    auto* f = new TForm(nullptr);
    f->SetName(u"PanelsForm");
    return f;
  }();
};

TEST_F(QtPanels, LayoutPanelsPlaceARowAndAColumnWithSeparators) {
  auto* column = make<TLayoutPanel>(form, form, u"Column", 220, 230);
  column->SetMargins({8, 8, 8, 8});
  column->SetSpacing(6);
  auto* name = make<TLabel>(form, column, u"NameLabel", 0, 16, u"Route name:");
  auto* edit = make<TEdit>(form, column, u"NameEdit", 0, 22, u"Along the river");
  auto* rule = make<TSeparator>(form, column, u"OptionsRule", 0, 17, u"Options");
  auto* loop = make<TCheckBox>(form, column, u"LoopCheck", 0, 20, u"Round trip");
  auto* night = make<TCheckBox>(form, column, u"NightCheck", 0, 20, u"Walk at night");
  auto* plain = make<TSeparator>(form, column, u"PlainRule", 0, 9);
  auto* note = make<TLabel>(form, column, u"NoteLabel", 0, 16, u"Saved with the route");
  auto* row = make<TLayoutPanel>(form, form, u"Row", 220, 40);
  row->SetTop(230);
  row->SetOrientation(loHorizontal);
  row->SetCrossAlign(lcCenter);
  auto* ok = make<TButton>(form, row, u"OkBtn", 64, 26, u"OK");
  auto* bar = make<TSeparator>(form, row, u"ButtonsRule", 17, 30);
  bar->SetOrientation(loVertical);
  bar->SetBounds(0, 0, 9, 30);
  auto* cancel = make<TButton>(form, row, u"CancelBtn", 64, 26, u"Cancel");
  QWidget* window = show(220, 270, u"Layout panels");
  ASSERT_NE(window, nullptr);

  const QImage shot = photograph(window, "layout_panel");
  EXPECT_EQ(shot.size(), QSize(220, 270));
  EXPECT_GT(colours(shot), 20) << "the window looks blank";
  expect_laid_out({name, edit, rule, loop, night, plain, note, ok, bar, cancel});
  // The titled rule: its caption whole on the left, the line beyond it.
  EXPECT_EQ(window->findChild<QWidget*>(QStringLiteral("OptionsRule"))->accessibleName(),
            QStringLiteral("Options"));
  const QRgb background = shot.pixel(1, 1);
  const QRect titled = model_rect(*rule).translated(column->Left(), column->Top());
  const QFontMetrics metrics(window->font());
  const int text_end =
      titled.left() + rule->CaptionIndent() + metrics.horizontalAdvance(QStringLiteral("Options"));
  EXPECT_GT(count(shot, dark, QRect(titled.left() + 8, titled.top(), text_end - titled.left() - 8,
                                    titled.height())),
            20)
      << "the caption's letters";
  // An ellipsis would leave only dots on the baseline there.
  EXPECT_GT(count(shot, dark, QRect(text_end - 6, titled.top(), 6, titled.height() / 2 + 1)), 0)
      << "its last letter is not cut off";
  const int line_y = titled.top() + (rule->Height() - 2) / 2;
  EXPECT_EQ(count(shot, not_(background), QRect(text_end + 8, line_y, 50, 2)), 100) << "the line";
  EXPECT_EQ(count(shot, not_(background), QRect(text_end + 8, titled.top(), 50, 3)), 0)
      << "nothing above the line";
  const QRect down = model_rect(*bar).translated(row->Left(), row->Top());
  EXPECT_EQ(count(shot, not_(background), QRect(down.left() + 3, down.top(), 2, down.height())),
            2 * down.height())
      << "the vertical rule between the buttons";

  // The model moves the rest up when a child hides; the widgets follow.
  loop->SetVisible(false);
  sync();
  expect_laid_out({loop, night, plain, note});
}

TEST_F(QtPanels, AClickOnTheCaptionButtonCollapsesTheBoxAndTheNextMovesUp) {
  auto* column = make<TLayoutPanel>(form, form, u"Column", 260, 330);
  std::vector<TMinimizableGroupBox*> boxes;
  for (const char16_t* caption : {u"Route", u"Map layers", u"Printing"}) {
    const std::u16string n(1, char16_t(u'0' + boxes.size()));
    auto* box = make<TMinimizableGroupBox>(form, column, (u"Box" + n).c_str(), 0, 90, caption);
    make<TCheckBox>(form, box, (u"Check" + n).c_str(), 150, 20, u"Show on start")->SetBounds(10, 24, 150, 20);
    make<TEdit>(form, box, (u"Edit" + n).c_str(), 150, 22)->SetBounds(10, 50, 150, 22);
    boxes.push_back(box);
  }
  int told = 0;
  boxes[1]->OnMinimize = [&](TObject*) { ++told; };
  QWidget* window = show(260, 330, u"Minimizable group boxes");
  ASSERT_NE(window, nullptr);
  const QImage normal = photograph(window, "group_box_normal");
  EXPECT_GT(colours(normal), 20);
  expect_laid_out({boxes[0], boxes[1], boxes[2]});
  auto* middle = qobject_cast<QGroupBox*>(ui_.widget_of(*boxes[1]));
  ASSERT_NE(middle, nullptr);
  EXPECT_EQ(middle->title(), QStringLiteral("Map layers"));
  auto* button = middle->findChild<QToolButton*>(QStringLiteral("MinimizeBtn"));
  ASSERT_NE(button, nullptr);
  EXPECT_EQ(button->geometry(), QRect(boxes[1]->ButtonRect().Left, boxes[1]->ButtonRect().Top,
                                      boxes[1]->ButtonRect().Width, boxes[1]->ButtonRect().Height));
  EXPECT_EQ(button->arrowType(), Qt::UpArrow);

  const int last_top = ui_.widget_of(*boxes[2])->y();
  QTest::mouseClick(button, Qt::LeftButton);
  sync();
  EXPECT_EQ(told, 1);
  EXPECT_EQ(middle->height(), boxes[1]->CaptionHeight());
  EXPECT_EQ(button->arrowType(), Qt::DownArrow);
  EXPECT_EQ(ui_.widget_of(*boxes[2])->y(), last_top - (90 - boxes[1]->CaptionHeight()))
      << "the box after the collapsed one moves up";
  const QImage collapsed = photograph(window, "group_box_minimized");
  // Where the middle box's contents were, the last box's title now is; the
  // band below the last box is empty window.
  const QRect freed(0, boxes[2]->Top() + boxes[2]->Height() + 2, 260, 40);
  EXPECT_EQ(count(collapsed, dark, freed), 0);
  EXPECT_GT(count(normal, dark, freed), 0) << "the last box was there before";

  QTest::mouseClick(button, Qt::LeftButton);
  sync();
  EXPECT_EQ(ui_.widget_of(*boxes[2])->y(), last_top);
  EXPECT_EQ(told, 2);
}

TEST_F(QtPanels, TheColourSelectorShowsItsSwatchAndPicksFromItsDropDown) {
  const TColor navy = 0x800000;
  auto* ink = make<TColorSelector>(form, form, u"InkSelector", 220, 24, u"Ink:");
  ink->SetBounds(10, 10, 220, 24);
  ink->SetColor(navy);
  auto* paper = make<TColorSelector>(form, form, u"PaperSelector", 220, 24, u"Paper:");
  paper->SetBounds(10, 44, 220, 24);
  paper->SetColor(0x3366CC);  // not in the palette
  auto* locked = make<TColorSelector>(form, form, u"LockedSelector", 220, 24, u"Locked:");
  locked->SetBounds(10, 78, 220, 24);
  locked->SetEnabled(false);
  int changes = 0;
  ink->OnChange = [&](TObject*) { ++changes; };
  QWidget* window = show(240, 112, u"Colour selectors");
  ASSERT_NE(window, nullptr);
  const QImage closed = photograph(window, "color_selector_closed");
  EXPECT_GT(colours(closed), 20);
  expect_laid_out({ink, paper, locked});
  EXPECT_GT(count(closed, exactly(QColor(0, 0, 0x80)), model_rect(*ink)), 60) << "a navy swatch";
  EXPECT_GT(count(closed, exactly(QColor(0xCC, 0x66, 0x33)), model_rect(*paper)), 60)
      << "its own colour";
  EXPECT_EQ(count(closed, exactly(QColor(0, 0, 0)), model_rect(*locked)), 0)
      << "a disabled one has no swatch";
  EXPECT_EQ(ui_.widget_of(*paper)->accessibleName(), QStringLiteral("Paper: #CC6633"));

  // Alt+Down opens the drop-down on the current colour.
  QWidget* widget = ui_.widget_of(*ink);
  widget->setFocus();
  QTest::keyClick(widget, Qt::Key_Down, Qt::AltModifier);
  sync();
  ASSERT_TRUE(ink->DroppedDown());
  auto* menu = widget->findChild<QMenu*>(QStringLiteral("ColorMenu"));
  ASSERT_NE(menu, nullptr);
  ASSERT_TRUE(QTest::qWaitForWindowExposed(menu));
  QStringList texts;
  for (QAction* a : menu->actions())
    if (!a->isSeparator()) texts << a->text();
  EXPECT_EQ(texts.back(), QStringLiteral("Other..."));
  EXPECT_EQ(menu->activeAction()->text(), QStringLiteral("Navy"));
  const QImage open = photograph_screen({window, menu}, "color_selector_open");
  EXPECT_GT(count(open, exactly(QColor(0xFF, 0, 0))), 50) << "the red swatch in the list";

  // A click on "Red" picks it and closes the drop-down.
  QAction* red = menu->actions().at(static_cast<int>(texts.indexOf(QStringLiteral("Red"))));
  QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(red).center());
  sync();
  EXPECT_EQ(ink->Color(), 0x0000FF);
  EXPECT_FALSE(menu->isVisible());
  EXPECT_EQ(changes, 1);

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
  user.stop();
  EXPECT_EQ(started, QColor(0xFF, 0, 0));
  EXPECT_EQ(ink->Color(), 0x563412);
  EXPECT_EQ(changes, 2);
}

TEST_F(QtPanels, TheDatePickerTakesTypedDatesAndPicksFromItsCalendar) {
  auto* due = make<TDatePicker>(form, form, u"DuePicker", 130, 24);
  due->SetBounds(10, 10, 130, 24);
  due->SetDate(xdate(2024, 2, 14));
  auto* start = make<TDatePicker>(form, form, u"StartPicker", 130, 24);
  start->SetBounds(10, 44, 130, 24);  // empty: no date yet
  QWidget* window = show(260, 80, u"Date pickers");
  ASSERT_NE(window, nullptr);
  const QImage shot = photograph(window, "date_picker_closed_and_empty");
  EXPECT_GT(colours(shot), 10);
  expect_laid_out({due, start});
  QWidget* due_widget = ui_.widget_of(*due);
  auto* due_edit = due_widget->findChild<QLineEdit*>(QStringLiteral("DateEdit"));
  auto* start_edit = ui_.widget_of(*start)->findChild<QLineEdit*>(QStringLiteral("DateEdit"));
  ASSERT_TRUE(due_edit && start_edit);
  EXPECT_EQ(due_edit->text(), QString::fromUtf8(xdate(2024, 2, 14).short_format().get_text()));
  EXPECT_EQ(start_edit->text(), QString());

  // The drop button opens the calendar on the date, with the catalogue's names.
  QTest::mouseClick(due_widget->findChild<QToolButton*>(QStringLiteral("DropBtn")), Qt::LeftButton);
  sync();
  ASSERT_TRUE(due->DroppedDown());
  auto* popup = due_widget->findChild<QWidget*>(QStringLiteral("CalendarPopup"));
  ASSERT_NE(popup, nullptr);
  ASSERT_TRUE(QTest::qWaitForWindowExposed(popup));
  EXPECT_EQ(popup->findChild<QLabel*>(QStringLiteral("MonthTitle"))->text(),
            QStringLiteral("Febrary 2024"));
  EXPECT_EQ(popup->findChild<QLabel*>(QStringLiteral("Day0"))->text(), QStringLiteral("Mo"));
  auto* calendar = popup->findChild<QCalendarWidget*>(QStringLiteral("Calendar"));
  ASSERT_NE(calendar, nullptr);
  EXPECT_EQ(calendar->selectedDate(), QDate(2024, 2, 14));
  const QImage open = photograph_screen({window, popup}, "date_picker_open");
  EXPECT_GT(colours(open), 20);

  // The next month's button, then a day picked with the keys: they move
  // from the same day of the month shown.
  QTest::mouseClick(popup->findChild<QToolButton*>(QStringLiteral("NextMonthBtn")), Qt::LeftButton);
  sync();
  EXPECT_EQ(popup->findChild<QLabel*>(QStringLiteral("MonthTitle"))->text(),
            QStringLiteral("March 2024"));
  calendar->setFocus();
  QWidget* grid = calendar->focusProxy() ? calendar->focusProxy() : calendar;
  QTest::keyClick(grid, Qt::Key_Right);
  QTest::keyClick(grid, Qt::Key_Return);
  sync();
  EXPECT_EQ(due->Date(), xdate(2024, 3, 15));
  EXPECT_FALSE(popup->isVisible());

  // Typing into the empty picker, in the user's short format; a bad text
  // is refused and the date it had comes back.
  const QString typed = QString::fromUtf8(xdate(2024, 3, 9).short_format().get_text());
  start_edit->setFocus();
  QTest::keyClicks(start_edit, typed);
  QTest::keyClick(start_edit, Qt::Key_Return);
  sync();
  EXPECT_EQ(start->Date(), xdate(2024, 3, 9));
  start_edit->selectAll();
  QTest::keyClicks(start_edit, "soon");
  QTest::keyClick(start_edit, Qt::Key_Return);
  sync();
  EXPECT_EQ(start_edit->text(), typed) << "refused: the date's text is back";
  // The model's keys work through the edit: Up is a day later.
  QTest::keyClick(start_edit, Qt::Key_Up);
  sync();
  EXPECT_EQ(start->Date(), xdate(2024, 3, 10));
}

// Counts the paint events of a widget and its children.
class paint_count final : public QObject {
 public:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++paints;
    return false;
  }
  int paints = 0;
};

TEST_F(QtPanels, AnIdleWindowIsNotRepaintedOverAndOver) {
  auto* column = make<TLayoutPanel>(form, form, u"Column", 240, 200);
  make<TSeparator>(form, column, u"Rule", 0, 17, u"Rule");
  make<TMinimizableGroupBox>(form, column, u"Box", 0, 60, u"Box");
  make<TColorSelector>(form, column, u"Ink", 0, 24, u"Ink:");
  make<TDatePicker>(form, column, u"Due", 0, 24)->SetDate(xdate(2024, 2, 14));
  QWidget* window = show(240, 200, u"Idle");
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
