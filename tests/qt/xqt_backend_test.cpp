// The Qt backend under a real (virtual) display: forms of the model shown
// as windows, photographed into XUM_SCREENSHOT_DIR and checked for what a
// person would see; synthesized key and mouse events reach the model.
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTabBar>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/timglist.h"
#include "framework/tmenus.h"
#include "framework/tpage_control.h"
#include "framework/tstdctrls.h"
#include "tests/qt/xqt_screenshots.h"

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
  EXPECT_NE(&xui(), static_cast<xui_backend*>(&xheadless_ui()));
  const int width = Screen().Width();  // the first use makes the Qt application
  ASSERT_NE(QGuiApplication::primaryScreen(), nullptr);
  EXPECT_EQ(width, QGuiApplication::primaryScreen()->size().width());
  EXPECT_EQ(&xui(), static_cast<xui_backend*>(&use_qt_backend()));
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

  // The user resizes the window, the program places it.
  window->resize(500, 340);
  QApplication::processEvents();
  EXPECT_EQ(QSize(d.form->Width(), d.form->Height()), QSize(500, 340));
  d.form->SetBounds(120, 90, 500, 340);
  ui_.sync();
  EXPECT_EQ(window->pos(), QPoint(120, 90));
  QTest::mouseClick(child<QCheckBox>(window, u"Whole"), Qt::LeftButton);
  EXPECT_TRUE(check->Checked());

  // Held and lock keys as real key events leave them; F1 asks the
  // application's help for the focused control's topic (its form's here).
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
  QTest::keyPress(edit, Qt::Key_Shift);
  EXPECT_LT(GetKeyState(0x10), 0) << "Shift is down";
  QTest::keyRelease(edit, Qt::Key_Shift);
  EXPECT_GE(GetKeyState(0x10), 0);
  QTest::keyClick(edit, Qt::Key_CapsLock);
  EXPECT_EQ(GetKeyState(0x14) & 1, 1) << "a lock key toggles on press";

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

// A menu bar and a tool bar whose button shows an image of the list; below
// them a page control with a hidden page, whose tab clicks ask the model.
TEST_F(QtBackend, MenusToolButtonsAndTabsRunTheModelsHandlers) {
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
  auto* pages = place(new TPageControl(&form), &form, u"Pages", 8, 56, 344, 204);
  for (const char16_t* caption : {u"General", u"Network", u"Hidden", u"Advanced"}) {
    auto* sheet = new TTabSheet(&form);
    sheet->SetCaption(caption);
    sheet->SetParent(pages);
    place(new TLabel(&form), sheet, (caption + std::u16string(u"Label")).c_str(), 12, 12, 200, 20)
        ->SetCaption(caption);
  }
  pages->Pages(2)->SetTabVisible(false);
  bool allow = true;
  pages->OnChanging = [&](TObject*, bool& ok) { ok = allow; };
  QWidget* window = test::show_window(ui_, form);
  photograph(window, "menu_toolbar_pages", 10);
  auto* menu_bar = window->findChild<QMenuBar*>();
  ASSERT_NE(menu_bar, nullptr);
  ASSERT_EQ(menu_bar->actions().size(), 1);
  EXPECT_EQ(menu_bar->actions()[0]->text(), QStringLiteral("&File"));
  // The menu bar sits above the client area, whose controls keep the
  // model's coordinates below it.
  EXPECT_EQ(window->height(), 320 + menu_bar->height());
  auto* tools = child<QToolBar>(window, u"Tools");
  EXPECT_EQ(tools->mapTo(window, QPoint(0, 0)), QPoint(0, menu_bar->height()));
  child<QAction>(window, u"OpenItem")->trigger();
  EXPECT_EQ(opened, 1);
  QTest::mouseClick(child(tools, u"SaveButton"), Qt::LeftButton);
  EXPECT_EQ(saved, 1);
  EXPECT_FALSE(tools->actions()[0]->icon().isNull()) << "the tool button shows its image";

  auto* tabs = child(window, u"Pages")->findChild<QTabBar*>();
  ASSERT_NE(tabs, nullptr);
  ASSERT_EQ(tabs->count(), 3) << "a page without a tab has none";
  QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(2).center());
  ui_.sync();
  EXPECT_EQ(pages->ActivePageIndex(), 3) << "the third tab is the fourth page";
  EXPECT_TRUE(child(window, u"AdvancedLabel")->isVisible());
  EXPECT_FALSE(child(window, u"GeneralLabel")->isVisible());
  allow = false;  // a refused change leaves the page and puts the bar back
  QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(0).center());
  ui_.sync();
  EXPECT_EQ(tabs->currentIndex(), 2);
  form.Hide();
}

TEST_F(QtBackend, ClipboardScreenAndTextWidthsAreTheDisplays) {
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
