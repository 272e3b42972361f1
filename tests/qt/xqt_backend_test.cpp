// The Qt backend under a real (virtual) display: forms of the model and the
// task progress form shown as windows, photographed into XUM_SCREENSHOT_DIR
// and checked for what a person would see; synthesized key and mouse events
// reach the model.
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>
#include <atomic>
#include <chrono>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/timglist.h"
#include "framework/tmenus.h"
#include "framework/tstdctrls.h"
#include "tests/qt/xqt_screenshots.h"
#include "ui/ttask_progress_form.h"

namespace xum {
namespace {

using test::child;
using test::photograph;
using test::place;

// A find dialog: an edit, a drop-down list, a list view with columns, OK
// and Cancel.
struct find_dialog {
  TForm* form = new TForm(nullptr);
  TEdit* edit = place(new TEdit(form), form, u"Pattern", 10, 10, 250, 24);
  TComboBox* scope = place(new TComboBox(form), form, u"Scope", 270, 10, 140, 24);
  TListView* results = place(new TListView(form), form, u"Results", 10, 44, 400, 200);
  TButton* ok = place(new TButton(form), form, u"OkButton", 240, 260, 80, 28);
  TButton* cancel = place(new TButton(form), form, u"CancelButton", 330, 260, 80, 28);

  find_dialog() {
    form->SetCaption(u"Find records");
    form->SetBounds(100, 100, 420, 300);
    edit->SetText(u"invoice");
    scope->SetStyle(csDropDownList);
    for (const char16_t* s : {u"All files", u"This folder"}) scope->Items().Add(s);
    scope->SetItemIndex(1);
    for (const char16_t* c : {u"Name", u"Size"}) results->Columns().Add()->SetCaption(c);
    results->Columns().Items(0)->SetWidth(150);
    for (const char16_t* name : {u"invoice-1.pdf", u"invoice-2.pdf", u"invoice-3.pdf"}) {
      TListItem* item = results->Items().Add();
      item->SetCaption(name);
      item->SubItems().Add(u"12 KB");
    }
    ok->SetCaption(u"OK");
    ok->SetModalResult(mrOk);
    ok->SetDefault(true);
    cancel->SetCaption(u"Cancel");
    cancel->SetModalResult(mrCancel);
    cancel->SetCancel(true);
  }
  ~find_dialog() { delete form; }
};

// Run by CTest with XUM_BACKEND=qt (QtBackendChosenByTheEnvironment): the
// library made the Qt backend current when it loaded, before any call.
TEST(QtBackendSelection, XumBackendQtSelectsItWhenTheLibraryLoads) {
  if (qEnvironmentVariable("XUM_BACKEND") != QStringLiteral("qt"))
    GTEST_SKIP() << "XUM_BACKEND=qt not set";
  const int width = Screen().Width();  // the first use makes the Qt application
  ASSERT_NE(QGuiApplication::primaryScreen(), nullptr);
  EXPECT_EQ(width, QGuiApplication::primaryScreen()->size().width());
  EXPECT_EQ(&xui(), static_cast<xui_backend*>(&use_qt_backend()));
}

class QtBackend : public ::testing::Test {
 protected:
  xqt_backend& ui_ = use_qt_backend();
};

TEST_F(QtBackend, ADialogIsDrawnAsLaidOutAndChangesFlowBothWays) {
  find_dialog d;
  auto* check = place(new TCheckBox(d.form), d.form, u"Whole", 10, 250, 200, 24);
  check->SetCaption(u"Whole words");
  QWidget* window = test::show_window(ui_, *d.form);
  EXPECT_EQ(photograph(window, "find_dialog", 20).size(), QSize(420, 300));
  EXPECT_EQ(window->windowTitle(), QStringLiteral("Find records"));
  EXPECT_EQ(child<QLineEdit>(window, u"Pattern")->text(), QStringLiteral("invoice"));
  auto* results = child<QTreeWidget>(window, u"Results");
  EXPECT_EQ(results->topLevelItem(2)->text(1), QStringLiteral("12 KB"));
  test::expect_laid_out(ui_, {d.edit, d.results, d.ok, check});

  d.edit->SetText(u"changed by the program");
  d.scope->SetItemIndex(0);
  d.results->Items().Add()->SetCaption(u"new.pdf");
  d.ok->SetEnabled(false);
  ui_.sync();
  EXPECT_EQ(child<QLineEdit>(window, u"Pattern")->text(), QStringLiteral("changed by the program"));
  EXPECT_EQ(child<QComboBox>(window, u"Scope")->currentText(), QStringLiteral("All files"));
  EXPECT_EQ(results->topLevelItemCount(), 4);
  EXPECT_FALSE(child<QPushButton>(window, u"OkButton")->isEnabled());

  QTest::mouseClick(child<QCheckBox>(window, u"Whole"), Qt::LeftButton);
  EXPECT_TRUE(check->Checked());

  // F1 asks the application's help for the focused control's topic (its
  // form's here).
  QWidget* edit = ui_.widget_of(*d.edit);
  d.form->SetHelpKeyword(u"find");
  std::vector<UnicodeString> asked;
  const THelpViewer viewer =
      Application()->SetHelpViewer([&](const UnicodeString& keyword, THelpContext) {
        asked.push_back(keyword);
        return true;
      });
  edit->setFocus();
  QTest::keyClick(edit, Qt::Key_F1);
  QTest::keyClick(edit, Qt::Key_F1, Qt::ShiftModifier);  // not help
  Application()->SetHelpViewer(viewer);
  EXPECT_EQ(asked, std::vector<UnicodeString>{u"find"});

  // An edit laid out several lines high is a text area that keeps line breaks.
  auto* notes = place(new TEdit(d.form), d.form, u"Notes", 10, 44, 400, 200);
  ui_.sync();  // the area is made; the program's text comes to it at the next
  notes->SetText(u"first\r\nsecond");
  int changes = 0;
  notes->OnChange = [&](TObject*) { ++changes; };
  ui_.sync();
  auto* area = child<QPlainTextEdit>(window, u"Notes");
  ASSERT_NE(area, nullptr);
  EXPECT_EQ(area->blockCount(), 2);
  EXPECT_EQ(changes, 0) << "showing the text is no change";
  area->setFocus();
  area->moveCursor(QTextCursor::End);
  QTest::keyClick(area, Qt::Key_Return);
  QTest::keyClicks(area, "third");
  EXPECT_EQ(notes->Text(), u"first\nsecond\nthird");

  // A control destroyed in the model loses its widget.
  QPointer<QWidget> gone = ui_.widget_of(*check);
  delete check;
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_TRUE(gone.isNull());
  d.form->Hide();
}

TEST_F(QtBackend, ShowModalReturnsTheButtonsResultAndTypedTextReachesTheModel) {
  // The key the user presses, none for the close box.
  const std::tuple<const char*, Qt::Key, TModalResult> rows[] = {
      {"Enter presses the default button", Qt::Key_Return, mrOk},
      {"Escape presses the cancel button", Qt::Key_Escape, mrCancel},
      {"the close box", Qt::Key_unknown, mrCancel},
  };
  for (const auto& [name, key, expected] : rows) {
    SCOPED_TRACE(name);
    find_dialog d;
    UnicodeString seen_during_modal;
    QTimer::singleShot(0, [&] {
      QWidget* window = ui_.window_of(*d.form);
      ASSERT_NE(window, nullptr);
      auto* edit = child<QLineEdit>(window, u"Pattern");
      edit->setFocus();
      edit->selectAll();
      QTest::keyClicks(edit, "receipt");
      seen_during_modal = d.edit->Text();
      if (key == Qt::Key_unknown)
        window->close();
      else
        QTest::keyClick(window, key);
    });
    EXPECT_EQ(d.form->ShowModal(), expected);
    EXPECT_EQ(seen_during_modal, u"receipt");
    EXPECT_FALSE(ui_.window_of(*d.form)->isVisible());
  }
}

// A menu bar and a tool bar whose button shows an image of the list.
TEST_F(QtBackend, MenusAndToolButtonsRunTheModelsHandlers) {
  TForm form(nullptr);
  form.SetBounds(0, 0, 480, 320);
  int opened = 0, saved = 0;
  auto* file = new TMenuItem(&form);
  file->SetCaption(u"&File");
  auto* open = new TMenuItem(&form);
  open->SetName(u"OpenItem");
  open->OnClick = [&](TObject*) { ++opened; };
  file->Add(open);
  auto* images = new TImageList(&form);
  images->SetSize(16, 16);
  TBitmap glyph;
  glyph.SetPixelFormat(pf32bit);
  glyph.SetSize(16, 16);
  for (int i = 0; i < 16 * 16; ++i) glyph.SetPixel(i % 16, i / 16, clRed);
  images->Add(glyph, nullptr);
  auto* bar = place(new TToolBar(&form), &form, u"Tools", 0, 0, 480, 48);
  bar->SetImages(images);
  auto* save = new TToolButton(&form);
  save->SetName(u"SaveButton");
  save->SetParent(bar);
  save->SetImageIndex(0);
  save->OnClick = [&](TObject*) { ++saved; };
  QWidget* window = test::show_window(ui_, form);
  photograph(window, "menu_toolbar", 10);
  auto* menu_bar = window->findChild<QMenuBar*>();
  ASSERT_NE(menu_bar, nullptr);
  ASSERT_EQ(menu_bar->actions().size(), 1);
  EXPECT_EQ(menu_bar->actions()[0]->text(), QStringLiteral("&File"));
  // The menu bar sits above the client area, whose controls keep the
  // model's coordinates below it.
  auto* tools = child<QToolBar>(window, u"Tools");
  EXPECT_EQ(tools->mapTo(window, QPoint(0, 0)), QPoint(0, menu_bar->height()));
  child<QAction>(window, u"OpenItem")->trigger();
  EXPECT_EQ(opened, 1);
  QTest::mouseClick(child(tools, u"SaveButton"), Qt::LeftButton);
  EXPECT_EQ(saved, 1);
  EXPECT_FALSE(tools->actions()[0]->icon().isNull()) << "the tool button shows its image";

  form.Hide();
}

TEST_F(QtBackend, TheClipboardIsTheDisplays) {
  Clipboard().SetAsText(u"copied text");
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("copied text"));
  QGuiApplication::clipboard()->setText(QStringLiteral("from another program"));
  EXPECT_EQ(Clipboard().AsText(), u"from another program");
}

// The task progress form with a real worker thread: photographed mid-way
// (the bar at 4 of 10, the work's text shown), then stopped by a click on
// Cancel while the work still runs.
TEST_F(QtBackend, TaskProgressMidWayShowsTheWorkAndCancelStopsTheWorker) {
  TTaskProgressForm form(nullptr);
  form.SetCaption(u"Copying photos");
  std::atomic<bool> looked{false};
  QTimer::singleShot(0, [&] {
    QWidget* window = ui_.window_of(form);
    ASSERT_TRUE(window != nullptr && QTest::qWaitForWindowExposed(window));
    auto* bar = child<QProgressBar>(window, u"ProgressBar");
    auto* text = child<QLabel>(window, u"TextLabel");
    auto* cancel = child<QPushButton>(window, u"CancelBtn");
    ASSERT_TRUE(bar && text && cancel);
    // Inside this callback Qt's loop never waits, which is when the backend
    // syncs by itself: the test syncs.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
          ui_.sync();
          return bar->maximum() == 10 && bar->value() == 4;
        },
        5000))
        << "the bar shows " << bar->value() << " of " << bar->maximum();
    test::photograph(window, "task_progress_midway", 10);
    EXPECT_EQ(text->text(), QStringLiteral("Copying photo 4 of 10"));

    QTest::mouseClick(cancel, Qt::LeftButton);
    ui_.sync();
    EXPECT_FALSE(cancel->isEnabled());
    EXPECT_EQ(text->text(), QStringLiteral("Stopping..."));
    EXPECT_TRUE(window->isVisible()) << "the form closed before the work returned";
    test::photograph(window, "task_progress_stopping");
    looked = true;
  });
  bool saw_cancel = false;
  const TTaskOutcome outcome = form.Run([&](xtask_progress& p) {
    p.SetText(u"Copying photo 4 of 10");
    p.SetProgress(4, 10);
    // At most ten seconds, so a broken form fails the test instead of hanging it.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!looked && std::chrono::steady_clock::now() < end) {
      saw_cancel = p.Cancelled();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  EXPECT_TRUE(saw_cancel) << "the worker never learnt of the click";
  EXPECT_EQ(outcome, toCancelled);
  QWidget* window = ui_.window_of(form);
  EXPECT_TRUE(window == nullptr || !window->isVisible()) << "the form was left open";
}

}  // namespace
}  // namespace xum
