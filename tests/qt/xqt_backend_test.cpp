// The Qt backend under a real (virtual) display: forms of the model shown
// as windows, photographed into XUM_SCREENSHOT_DIR and checked for what a
// person would see; synthesized key and mouse events reach the model.

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QTabBar>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"

#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/tdialogs.h"
#include "framework/timglist.h"
#include "framework/tmenus.h"
#include "framework/tpage_control.h"
#include "framework/tstdctrls.h"
#include "framework/tthread.h"
#include "framework/xmain_loop.h"

namespace xum {
namespace {

using test::child;
using test::colours;
using test::photograph;
using test::place;

// A find dialog: an edit, a drop-down list, a list view with columns, OK
// and Cancel.
struct find_dialog {
  TForm* form = new TForm(nullptr);
  TEdit* edit = new TEdit(form);
  TComboBox* scope = new TComboBox(form);
  TListView* results = new TListView(form);
  TButton* ok = new TButton(form);
  TButton* cancel = new TButton(form);

  find_dialog() {
    form->SetName(u"FindDialog");
    form->SetCaption(u"Find records");
    form->SetBounds(100, 100, 420, 300);
    place(edit, form, u"Pattern", 10, 10, 250, 24);
    place(scope, form, u"Scope", 270, 10, 140, 24);
    place(results, form, u"Results", 10, 44, 400, 200);
    place(ok, form, u"OkButton", 240, 260, 80, 28);
    place(cancel, form, u"CancelButton", 330, 260, 80, 28);
    edit->SetText(u"invoice");
    scope->SetStyle(csDropDownList);
    for (const char16_t* s : {u"All files", u"This folder"}) scope->Items().Add(s);
    scope->SetItemIndex(1);
    for (const char16_t* c : {u"Name", u"Size", u"Modified"}) {
      TListColumn* column = results->Columns().Add();
      column->SetCaption(c);
      column->SetWidth(120);
    }
    for (int i = 0; i < 3; ++i) {
      TListItem* item = results->Items().Add();
      item->SetCaption(u"invoice-" + UnicodeString(1, static_cast<char16_t>(u'1' + i)) + u".pdf");
      item->SubItems().Add(u"12 KB");
      item->SubItems().Add(u"2026-11-0" + UnicodeString(1, static_cast<char16_t>(u'1' + i)));
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
  EXPECT_NE(&xui(), static_cast<xui_backend*>(&xheadless_ui()));
  const int width = Screen().Width();  // the first use makes the Qt application
  ASSERT_NE(QGuiApplication::primaryScreen(), nullptr);
  EXPECT_EQ(width, QGuiApplication::primaryScreen()->size().width());
  EXPECT_EQ(&xui(), static_cast<xui_backend*>(&use_qt_backend()))
      << "the first use put the real backend in place";
}

class QtBackend : public ::testing::Test {
 protected:
  void SetUp() override { ui_.clear_key_states(); }
  xqt_backend& ui_ = use_qt_backend();
};

TEST_F(QtBackend, ADialogIsDrawnAsLaidOutAndChangesFlowBothWays) {
  find_dialog d;
  auto* check = place(new TCheckBox(d.form), d.form, u"Whole", 10, 250, 200, 24);
  check->SetCaption(u"Whole words");
  QWidget* window = test::show_window(ui_, *d.form);
  const QImage shot = photograph(window, "find_dialog");
  EXPECT_EQ(shot.size(), QSize(420, 300));
  EXPECT_GT(colours(shot), 20) << "the window looks blank";
  EXPECT_EQ(window->windowTitle(), QStringLiteral("Find records"));
  EXPECT_EQ(child<QLineEdit>(window, u"Pattern")->text(), QStringLiteral("invoice"));
  EXPECT_FALSE(child<QComboBox>(window, u"Scope")->isEditable()) << "drop-down list style";
  auto* results = child<QTreeWidget>(window, u"Results");
  EXPECT_EQ(results->headerItem()->text(2), QStringLiteral("Modified"));
  EXPECT_EQ(results->topLevelItem(2)->text(1), QStringLiteral("12 KB"));
  EXPECT_EQ(child<QPushButton>(window, u"OkButton")->text(), QStringLiteral("OK"));
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

  // Sizes and moves go both ways: the user resizes and moves the window,
  // the program places it.
  window->resize(500, 340);
  QApplication::processEvents();
  EXPECT_EQ(d.form->Width(), 500);
  EXPECT_EQ(d.form->Height(), 340);
  d.form->SetBounds(120, 90, 500, 340);
  ui_.sync();
  EXPECT_EQ(window->pos(), QPoint(120, 90));
  window->move(200, 150);
  QApplication::processEvents();
  EXPECT_EQ(d.form->Left(), 200);
  EXPECT_EQ(d.form->Top(), 150);
  QTest::mouseClick(child<QCheckBox>(window, u"Whole"), Qt::LeftButton);
  EXPECT_TRUE(check->Checked());
  results->setCurrentItem(results->topLevelItem(1));
  EXPECT_EQ(d.results->ItemIndex(), 1);

  // Held and lock keys as real key events leave them.
  QWidget* edit = ui_.widget_of(*d.edit);
  QTest::keyPress(edit, Qt::Key_Shift);
  EXPECT_LT(GetKeyState(0x10), 0) << "Shift is down";
  QTest::keyRelease(edit, Qt::Key_Shift);
  EXPECT_GE(GetKeyState(0x10), 0);
  QTest::keyClick(edit, Qt::Key_CapsLock);
  EXPECT_EQ(GetKeyState(0x14) & 1, 1) << "a lock key toggles on press";
  QTest::keyClick(edit, Qt::Key_CapsLock);
  EXPECT_EQ(GetKeyState(0x14) & 1, 0);

  // An edit laid out several lines high is a text area that keeps line breaks.
  auto* notes = place(new TEdit(d.form), d.form, u"Notes", 10, 44, 400, 200);
  notes->SetText(u"first\r\nsecond");
  int changes = 0;
  notes->OnChange = [&](TObject*) { ++changes; };
  ui_.sync();
  auto* area = child<QPlainTextEdit>(window, u"Notes");
  ASSERT_NE(area, nullptr);
  EXPECT_EQ(area->blockCount(), 2);
  ui_.sync();
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
  struct row {
    const char* name;
    std::function<void(QWidget* window)> user;
    TModalResult expected;
  };
  const std::vector<row> rows = {
      {"click OK",
       [](QWidget* w) { QTest::mouseClick(child<QPushButton>(w, u"OkButton"), Qt::LeftButton); },
       mrOk},
      {"Enter presses the default button", [](QWidget* w) { QTest::keyClick(w, Qt::Key_Return); },
       mrOk},
      {"Escape presses the cancel button", [](QWidget* w) { QTest::keyClick(w, Qt::Key_Escape); },
       mrCancel},
      {"the close box", [](QWidget* w) { w->close(); }, mrCancel},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
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
      r.user(window);
    });
    EXPECT_EQ(d.form->ShowModal(), r.expected);
    EXPECT_EQ(seen_during_modal, u"receipt");
    EXPECT_FALSE(ui_.window_of(*d.form)->isVisible());
  }
}

TEST_F(QtBackend, AFormWithMenuAndToolBarRunsTheModelsHandlers) {
  TForm form(nullptr);
  form.SetName(u"Editor");
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
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) glyph.SetPixel(x, y, (x + y) % 4 < 2 ? clRed : clBlack);
  images->Add(glyph, nullptr);
  auto* bar = place(new TToolBar(&form), &form, u"Tools", 0, 0, 480, 48);
  bar->SetImages(images);
  auto* save = new TToolButton(&form);
  save->SetName(u"SaveButton");
  save->SetParent(bar);
  save->SetImageIndex(0);
  save->OnClick = [&](TObject*) { ++saved; };
  QWidget* window = test::show_window(ui_, form);
  EXPECT_GT(colours(photograph(window, "notes_menu_toolbar")), 10);
  auto* menu_bar = window->findChild<QMenuBar*>();
  ASSERT_NE(menu_bar, nullptr);
  ASSERT_EQ(menu_bar->actions().size(), 1);
  EXPECT_EQ(menu_bar->actions()[0]->text(), QStringLiteral("&File"));
  // The menu bar sits above the client area, whose controls keep the
  // model's coordinates below it.
  EXPECT_GT(menu_bar->height(), 10);
  EXPECT_EQ(window->height(), 320 + menu_bar->height());
  auto* tools = child<QToolBar>(window, u"Tools");
  EXPECT_EQ(tools->mapTo(window, QPoint(0, 0)), QPoint(0, menu_bar->height()));
  child<QAction>(window, u"OpenItem")->trigger();
  EXPECT_EQ(opened, 1);
  QTest::mouseClick(child(tools, u"SaveButton"), Qt::LeftButton);
  EXPECT_EQ(saved, 1);
  EXPECT_FALSE(tools->actions()[0]->icon().isNull()) << "the tool button shows its image";
  form.Hide();
}

TEST_F(QtBackend, TheMainLoopsWorkRunsOnQtsLoopWhileAFormIsModal) {
  find_dialog d;
  std::atomic<bool> synchronized{false};
  int ticks = 0;
  const int timer = xmain_loop::instance().add_timer(5, [&] { ++ticks; });
  std::thread worker([&] { TThread::Synchronize(nullptr, [&] { synchronized = true; }); });
  // The form closes itself once the worker's call and a few ticks ran.
  const int closer = xmain_loop::instance().add_timer(10, [&] {
    if (synchronized && ticks >= 3) d.form->SetModalResult(mrOk);
  });
  EXPECT_EQ(d.form->ShowModal(), mrOk);
  worker.join();
  xmain_loop::instance().remove_timer(timer);
  xmain_loop::instance().remove_timer(closer);
  EXPECT_TRUE(synchronized);
  EXPECT_GE(ticks, 3);
}

TEST_F(QtBackend, EveryStandardControlHasItsNaturalWidget) {
  TForm form(nullptr);
  form.SetName(u"Gallery");
  form.SetCaption(u"Controls");
  form.SetBounds(0, 0, 520, 360);
  auto* bit = place(new TBitBtn(&form), &form, u"Apply", 10, 10, 110, 32);
  bit->SetCaption(u"Apply");
  TBitmap glyph;
  glyph.SetPixelFormat(pf24bit);
  glyph.SetSize(32, 16);  // two glyphs: the first is shown
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 32; ++x)
      glyph.SetPixel(x, y, y == 15 || x == 0 ? clWhite : x < 16 ? clLime : clRed);
  bit->SetGlyph(glyph);
  bit->SetNumGlyphs(2);
  auto* checks = place(new TCheckListBox(&form), &form, u"Options", 10, 50, 160, 90);
  for (const char16_t* s : {u"Backup", u"Compress", u"Verify"}) checks->Items().Add(s);
  checks->SetChecked(1, true);
  auto* radios = place(new TRadioGroup(&form), &form, u"Level", 180, 50, 150, 110);
  radios->SetCaption(u"Level");
  for (const char16_t* s : {u"Fast", u"Best"}) radios->Items().Add(s);
  radios->SetItemIndex(1);
  auto* tree = place(new TTreeView(&form), &form, u"Folders", 340, 10, 170, 150);
  TTreeNode* home = tree->Items().Add(nullptr, u"home");
  tree->Items().AddChild(home, u"ann");
  tree->Items().AddChild(home, u"bob");
  auto* scroll = place(new TScrollBox(&form), &form, u"Pane", 10, 170, 200, 100);
  place(new TLabel(&form), scroll, u"Far", 10, 300, 80, 20)->SetCaption(u"&Far away");
  auto* values = place(new TValueListEditor(&form), &form, u"Props", 220, 170, 290, 100);
  values->SetValues(u"Width", u"640");
  values->SetValues(u"Height", u"480");
  QWidget* window = test::show_window(ui_, form);
  EXPECT_GT(colours(photograph(window, "gallery")), 20);

  // The bit button shows the first glyph, its corner colour transparent.
  const QImage icon = child<QPushButton>(window, u"Apply")->icon().pixmap(16, 16).toImage();
  ASSERT_EQ(icon.size(), QSize(16, 16));
  EXPECT_EQ(QColor(icon.pixel(8, 8)), QColor(Qt::green));
  EXPECT_EQ(qAlpha(icon.pixel(8, 15)), 0);
  const QImage disabled =
      child<QPushButton>(window, u"Apply")->icon().pixmap(QSize(16, 16), QIcon::Disabled).toImage();
  EXPECT_EQ(QColor(disabled.pixel(8, 8)), QColor(Qt::red))
      << "the second part is the disabled glyph";
  auto* list = child<QListWidget>(window, u"Options");
  EXPECT_EQ(list->item(1)->checkState(), Qt::Checked);
  list->item(2)->setCheckState(Qt::Checked);
  EXPECT_TRUE(checks->Checked(2)) << "a tick in the widget reaches the model";
  const auto buttons = child<QGroupBox>(window, u"Level")->findChildren<QRadioButton*>();
  ASSERT_EQ(buttons.size(), 2);
  EXPECT_TRUE(buttons[1]->isChecked());
  // A radio button reacts to clicks on its circle and text only.
  QTest::mouseClick(buttons[0], Qt::LeftButton, {}, QPoint(8, buttons[0]->height() / 2));
  EXPECT_EQ(radios->ItemIndex(), 0);
  auto* folders = child<QTreeWidget>(window, u"Folders");
  ASSERT_EQ(folders->topLevelItem(0)->childCount(), 2);
  folders->setCurrentItem(folders->topLevelItem(0)->child(1));
  ASSERT_NE(tree->Selected(), nullptr);
  EXPECT_EQ(tree->Selected()->Text(), u"bob");
  auto* pane = child<QScrollArea>(window, u"Pane");
  EXPECT_EQ(pane->widget()->height(), 320) << "the page holds the control laid out below the view";
  EXPECT_EQ(child<QLabel>(window, u"Far")->text(), QStringLiteral("Far away"));
  auto* table = child<QTableWidget>(window, u"Props");
  table->item(1, 1)->setText(QStringLiteral("600"));
  EXPECT_EQ(values->Strings().Values(u"Height"), u"600");
  form.Hide();
}

TEST_F(QtBackend, APageControlShowsItsTabsAndATabClickAsksTheModel) {
  TForm form(nullptr);
  form.SetName(u"Options");
  form.SetCaption(u"Options");
  form.SetBounds(0, 0, 360, 220);
  auto* pages = place(new TPageControl(&form), &form, u"Pages", 8, 8, 344, 204);
  for (const char16_t* caption : {u"General", u"Network", u"Hidden", u"Advanced"}) {
    auto* sheet = new TTabSheet(&form);
    sheet->SetName(UnicodeString(caption) + u"Sheet");
    sheet->SetCaption(caption);
    sheet->SetParent(pages);
    auto* label = place(new TLabel(&form), sheet, (caption + std::u16string(u"Label")).c_str(), 12,
                        12, 200, 20);
    label->SetCaption(UnicodeString(u"Settings: ") + caption);
  }
  pages->Pages(2)->SetTabVisible(false);
  bool allow = true;
  pages->OnChanging = [&](TObject*, bool& ok) { ok = allow; };
  QWidget* window = test::show_window(ui_, form);
  auto* bar = child(window, u"Pages")->findChild<QTabBar*>();
  ASSERT_NE(bar, nullptr);
  ASSERT_EQ(bar->count(), 3) << "a page without a tab has none";
  EXPECT_EQ(bar->tabText(2), QStringLiteral("Advanced"));
  EXPECT_TRUE(child<QLabel>(window, u"GeneralLabel")->isVisible());
  EXPECT_FALSE(child<QLabel>(window, u"AdvancedLabel")->isVisible());

  // The third tab is the fourth page.
  QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(2).center());
  ui_.sync();
  EXPECT_EQ(pages->ActivePageIndex(), 3);
  EXPECT_TRUE(child<QLabel>(window, u"AdvancedLabel")->isVisible());
  EXPECT_FALSE(child<QLabel>(window, u"GeneralLabel")->isVisible());
  EXPECT_GT(colours(photograph(window, "page_control")), 20);
  // A refused change leaves the page and puts the bar back.
  allow = false;
  QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(0).center());
  ui_.sync();
  EXPECT_EQ(bar->currentIndex(), 2);
  form.Hide();
}

TEST_F(QtBackend, ApplicationRunTurnsQtsLoopUntilTerminated) {
  TForm* main = nullptr;
  Application()->CreateForm(main);
  main->SetCaption(u"Main");
  main->SetBounds(0, 0, 200, 100);
  bool shown = false;
  xmain_loop::instance().post([&] {
    shown = ui_.window_of(*main) != nullptr && ui_.window_of(*main)->isVisible();
    Application()->Terminate();
  });
  Application()->Run();
  EXPECT_TRUE(shown);
  Application()->SetMainForm(nullptr);
  delete main;
}

TEST_F(QtBackend, FileDialogFillsTheChosenFile) {
  TOpenDialog dialog(nullptr);
  dialog.SetTitle(u"Open notes");
  dialog.SetFilter(u"Notes|*.txt|All files|*.*");
  const QTemporaryDir folder;
  ASSERT_TRUE(folder.isValid());
  const QString dir = folder.path();
  QFile notes(dir + QStringLiteral("/notes.txt"));
  ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
  notes.close();
  // The user: waits for the chooser, picks a file and presses Open.
  QStringList filters;
  QTimer user;
  QObject::connect(&user, &QTimer::timeout, [&] {
    for (QWidget* w : QApplication::topLevelWidgets())
      if (auto* chooser = qobject_cast<QFileDialog*>(w); chooser && chooser->isVisible()) {
        // Types the name and presses Enter, until the chooser has taken it.
        filters = chooser->nameFilters();
        auto* name = chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_NE(name, nullptr);
        name->setText(dir + QStringLiteral("/notes.txt"));
        QTest::keyClick(name, Qt::Key_Return);
      }
  });
  user.start(20);
  dialog.SetInitialDir(dir.toStdU16String());
  dialog.SetFilterIndex(2);
  ASSERT_TRUE(dialog.Execute());
  EXPECT_EQ(dialog.FileName(), (dir + QStringLiteral("/notes.txt")).toStdU16String());
  EXPECT_EQ(dialog.Files().Count(), 1);
  EXPECT_EQ(filters,
            QStringList({QStringLiteral("Notes (*.txt)"), QStringLiteral("All files (*)")}));
}

TEST_F(QtBackend, ClipboardAndScreenAreTheDisplays) {
  Clipboard().SetAsText(u"copied text");
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("copied text"));
  QGuiApplication::clipboard()->setText(QStringLiteral("from another program"));
  EXPECT_EQ(Clipboard().AsText(), u"from another program");
  EXPECT_EQ(Screen().Height(), QGuiApplication::primaryScreen()->size().height());
  TFont font;
  EXPECT_LT(ui_.text_width(font, u"ii"), ui_.text_width(font, u"WWWW"));
}

}  // namespace
}  // namespace xum
