// The notes example in real windows: its start-up selector answered with a
// click, its main window photographed and checked (menu, tool bar, text
// area, status line), typed into, and quit through the File menu's Exit
// with No to the save question.
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"

#include "framework/tapplication.h"
#include "notes_app.h"

namespace xum {
namespace {

TEST(QtNotesExample, TheEditorRunsInRealWindowsAndQuitsFromItsMenu) {
  xqt_backend& ui = use_qt_backend();
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const std::string folder = dir.path().toStdString();
  setenv("XUM_REGISTRY_ROOT", (folder + "/registry").c_str(), 1);
  {
    notes::NotesApp app(folder + "/notes.tsf", u"Software\\XUMComps\\NotesQtTest");
    // The user picks "New" in the selector.
    QTimer::singleShot(0, [&] {
      QWidget* selector = ui.window_of(*app.SelectorForm);
      ASSERT_TRUE(selector != nullptr && QTest::qWaitForWindowExposed(selector));
      QTest::mouseClick(test::child<QPushButton>(selector, u"CreateNewBtn"), Qt::LeftButton);
    });
    app.Start();
    ASSERT_TRUE(app.Project->LastResult());

    QImage shot;
    QString status, editor_text;
    UnicodeString model_text;
    int menus = 0, tools = 0, menu_height = 0;
    bool asked = false;
    // Qt's loop turns once Run has shown the main form.
    QTimer::singleShot(0, [&] {
      ui.sync();
      QWidget* window = ui.window_of(*app.MainForm);
      ASSERT_NE(window, nullptr);
      ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
      // The editor is laid out many lines high: a text area, Enter breaks
      // the line.
      auto* editor = test::child<QPlainTextEdit>(window, u"Editor");
      ASSERT_NE(editor, nullptr);
      editor->setFocus();
      QTest::keyClicks(editor, "1200 along the river");
      QTest::keyClick(editor, Qt::Key_Return);
      QTest::keyClicks(editor, "800 back");
      ui.sync();
      editor_text = editor->toPlainText();
      model_text = app.Editor->Text();
      status = test::child<QLabel>(window, u"StatusLine")->text();
      shot = test::photograph(window, "notes_main");
      if (auto* bar = window->findChild<QMenuBar*>()) {
        menus = static_cast<int>(bar->actions().size());
        menu_height = bar->height();
      }
      if (auto* bar = window->findChild<QToolBar*>(QStringLiteral("ToolBar")))
        tools = static_cast<int>(bar->actions().size());
      // Exit from the File menu; the changes are not wanted.
      QTimer::singleShot(0, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        asked = true;
        QTest::mouseClick(box->button(QMessageBox::No), Qt::LeftButton);
      });
      test::child<QAction>(window, u"ExitItem")->trigger();
    });
    Application()->Run();  // returns once the main form has closed

    EXPECT_GT(menu_height, 10);
    EXPECT_EQ(shot.size(), QSize(app.MainForm->Width(), app.MainForm->Height() + menu_height))
        << "the model's client area below the menu bar";
    EXPECT_GT(test::colours(shot), 20) << "the window looks blank";
    EXPECT_EQ(menus, 1) << "the File menu";
    EXPECT_EQ(tools, 4) << "New, Open, Save, Save as";
    EXPECT_EQ(editor_text, QStringLiteral("1200 along the river\n800 back"));
    EXPECT_EQ(model_text, u"1200 along the river\n800 back") << "typed text reached the model";
    EXPECT_EQ(app.Editor->Text(), u"") << "No dropped the changes";
    EXPECT_EQ(status, QStringLiteral("Untitled | 2 lines | 2.0 km"));
    EXPECT_TRUE(asked) << "quitting a changed note asks first";
    EXPECT_FALSE(ui.window_of(*app.MainForm)->isVisible());
  }
  EXPECT_TRUE(std::filesystem::exists(folder + "/notes.tsf")) << "the form positions were kept";
  unsetenv("XUM_REGISTRY_ROOT");
}

}  // namespace
}  // namespace xum
