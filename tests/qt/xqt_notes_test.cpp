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

    bool asked = false;
    // Qt's loop turns once Run has shown the main form.
    QTimer::singleShot(0, [&] {
      ui.sync();
      QWidget* window = ui.window_of(*app.MainForm);
      ASSERT_TRUE(window != nullptr && QTest::qWaitForWindowExposed(window));
      // The editor is laid out many lines high: a text area, Enter breaks
      // the line.
      auto* editor = test::child<QPlainTextEdit>(window, u"Editor");
      ASSERT_NE(editor, nullptr);
      editor->setFocus();
      QTest::keyClicks(editor, "1200 along the river");
      QTest::keyClick(editor, Qt::Key_Return);
      QTest::keyClicks(editor, "800 back");
      ui.sync();
      EXPECT_EQ(app.Editor->Text(), u"1200 along the river\n800 back") << "typed text reached the model";
      EXPECT_EQ(test::child<QLabel>(window, u"StatusLine")->text(),
                QStringLiteral("Untitled | 2 lines | 2.0 km"));
      const QImage shot = test::photograph(window, "notes_main");
      EXPECT_GT(test::colours(shot), 20) << "the window looks blank";
      auto* menus = window->findChild<QMenuBar*>();
      ASSERT_NE(menus, nullptr);
      EXPECT_EQ(menus->actions().size(), 2) << "the File and Edit menus";
      EXPECT_GT(menus->height(), 10);
      EXPECT_EQ(shot.size(), QSize(app.MainForm->Width(), app.MainForm->Height() + menus->height()))
          << "the model's client area below the menu bar";
      EXPECT_EQ(test::child<QToolBar>(window, u"ToolBar")->actions().size(), 4)
          << "New, Open, Save, Save as";
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
    EXPECT_EQ(app.Editor->Text(), u"") << "No dropped the changes";
    EXPECT_TRUE(asked) << "quitting a changed note asks first";
    EXPECT_FALSE(ui.window_of(*app.MainForm)->isVisible());
  }
  EXPECT_TRUE(std::filesystem::exists(folder + "/notes.tsf")) << "the form positions were kept";
  unsetenv("XUM_REGISTRY_ROOT");
}

}  // namespace
}  // namespace xum
