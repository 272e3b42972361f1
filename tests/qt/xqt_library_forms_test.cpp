// The library's own forms under the Qt backend: the start-up project
// selector, the shared string-input form, the control-scheme editor and its
// key capture, each shown as a real window,
// photographed into XUM_SCREENSHOT_DIR, checked for what a person would see
// and driven with synthesized key and mouse events.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"

#include "app/tcontrol_scheme.h"
#include "app/tcontrol_scheme_editor.h"
#include "app/tprj_selector.h"
#include "app/tproject_integrator.h"
#include "framework/tapplication.h"
#include "ui/tquery_string_form.h"
#include "ui/uiutils.h"

namespace xum {
namespace {

using test::child;
using test::colours;
using test::expect_laid_out;
using test::photograph;

class QtLibraryForms : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(dir_.isValid());
    setenv("XUM_REGISTRY_ROOT", (dir_.path() + QStringLiteral("/registry")).toUtf8().constData(),
           1);
  }
  void TearDown() override { unsetenv("XUM_REGISTRY_ROOT"); }
  std::string file(const char* name) {
    const std::string path = (dir_.path() + u'/' + QString::fromUtf8(name)).toStdString();
    std::ofstream(path) << "x";
    return path;
  }

  xqt_backend& ui_ = use_qt_backend();
  QTemporaryDir dir_;
};

TEST_F(QtLibraryForms, StringInputShowsItsPromptAndReturnsWhatTheUserTyped) {
  const struct {
    const char16_t* button;
    bool accepted;
    const char* value_after;
  } rows[] = {{u"OkBtn", true, "Walk by the river"}, {u"CancelBtn", false, "Walk"}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.accepted);
    QString initial;
    QTimer::singleShot(0, [&] {
      TQueryStringForm& form = TQueryStringForm::Shared();
      QWidget* window = ui_.window_of(form);
      ASSERT_NE(window, nullptr);
      ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
      auto* edit = child<QLineEdit>(window, u"ValueEdit");
      ASSERT_NE(edit, nullptr);
      initial = edit->text();
      if (r.accepted) {
        const QImage shot = photograph(window, "query_string");
        EXPECT_EQ(shot.size(), QSize(form.Width(), form.Height()));
        EXPECT_GT(colours(shot), 20) << "the window looks blank";
        EXPECT_EQ(window->windowTitle(), QStringLiteral("Rename route"));
        EXPECT_EQ(child<QLabel>(window, u"PromptLabel")->text(), QStringLiteral("New name:"));
        EXPECT_EQ(child<QPushButton>(window, u"CancelBtn")->text(), QStringLiteral("Cancel"));
        expect_laid_out(ui_, {form.PromptLabel(), form.ValueEdit(), form.OkBtn(), form.CancelBtn()});
      }
      // The user appends to the proposed text, as a person would.
      edit->setFocus();
      edit->end(false);
      QTest::keyClicks(edit, " by the river");
      QTest::mouseClick(child<QPushButton>(window, r.button), Qt::LeftButton);
    });
    xstr value("Walk");
    EXPECT_EQ(QueryString(xstr("Rename route"), xstr("New name:"), value), r.accepted);
    EXPECT_EQ(value.str(), std::string(r.value_after));
    EXPECT_EQ(initial, QStringLiteral("Walk")) << "the edit starts with the given value";
    EXPECT_FALSE(ui_.window_of(TQueryStringForm::Shared())->isVisible());
  }
}

TEST_F(QtLibraryForms, TheSelectorShowsTheRecentProjectsAndNewStartsAProject) {
  const std::string older = file("river.notes"), newer = file("hill.notes");
  auto* host = new TForm(nullptr);
  host->SetName(u"SelectorHost");
  host->SetCaption(u"Notes");
  auto* selector = new TPrjSelector(host);
  selector->SetParent(host);
  host->SetBounds(0, 0, selector->Width(), selector->Height());
  auto project = std::make_unique<TProjectIntegrator>(nullptr);
  project->SetRegistryKey(u"Software\\XUMComps\\QtTest");
  project->SetRegistrySection(u"Recent");
  project->SetStorageSize(4);
  project->SetUntitled(u"Untitled");
  for (const std::string& p : {older, newer}) {
    project->SetFileName(ToUnicode(xstr(p)));
    project->AddRecentFile();
  }
  project->SetFileName(u"");
  project->SetProjectSelector(selector);
  int news = 0;
  project->OnNew = [&](TObject*, bool& ok) { ok = ++news > 0; };
  std::vector<TModalResult> results;
  project->OnShowSelector = [&](TObject*) { results.push_back(host->ShowModal()); };

  QTimer::singleShot(0, [&] {
    QWidget* window = ui_.window_of(*host);
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    const QImage shot = photograph(window, "project_selector");
    EXPECT_EQ(shot.size(), QSize(selector->Width(), selector->Height()));
    EXPECT_GT(colours(shot), 20) << "the window looks blank";
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Notes"));
    EXPECT_EQ(child<QLabel>(window, u"OpenOtherLabel")->text(),
              QStringLiteral("Open another existing project"));
    EXPECT_EQ(child<QPushButton>(window, u"OpenOtherBtn")->text(), QStringLiteral("Open..."));
    EXPECT_TRUE(child<QPushButton>(window, u"OpenLastBtn")->isEnabled())
        << "a recent project can be opened";
    auto* box = child<QComboBox>(window, u"LastProjectsBox");
    ASSERT_NE(box, nullptr);
    ASSERT_EQ(box->count(), 2);
    // The newest first, shortened from the front when it does not fit.
    EXPECT_TRUE(box->currentText().endsWith(QStringLiteral("/hill.notes")));
    EXPECT_EQ(box->toolTip(), QString::fromStdString(newer));
    expect_laid_out(ui_, {selector, selector->OpenLastLabel, selector->LastProjectsBox,
                          selector->CreateNewBtn, selector->ExitBtn});
    QTest::mouseClick(child<QPushButton>(window, u"CreateNewBtn"), Qt::LeftButton);
  });
  project->Start();

  ASSERT_EQ(results.size(), 1u) << "one choice was enough";
  EXPECT_NE(results[0], mrNone) << "the button closed the form";
  EXPECT_EQ(selector->Choice(), 3);
  EXPECT_EQ(news, 1);
  EXPECT_FALSE(ui_.window_of(*host)->isVisible());
  project.reset();
  delete host;
}

// The editor lists the actions with their keys; a key button opens the
// capture form on top, and a real key press there becomes the action's key.
TEST_F(QtLibraryForms, TheControlSchemeEditorTakesAKeyPressedInTheCaptureForm) {
  TControlScheme scheme;
  TKeyboardAction left{&scheme, "Left", "Move left", 0x25, 0x41};
  TKeyboardAction fire{&scheme, "Fire", "Fire", 0x20, -1};
  bool captured = false;
  QTimer::singleShot(0, [&] {
    QWidget* editor = nullptr;
    for (int i = 0; i < Screen().FormCount() && editor == nullptr; ++i)
      if (Screen().Forms(i)->Name() == u"ControlSchemeEditorForm")
        editor = ui_.window_of(*Screen().Forms(i));
    ASSERT_NE(editor, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(editor));
    const QImage shot = photograph(editor, "control_scheme_editor");
    EXPECT_EQ(shot.size(), QSize(420, 360));
    EXPECT_GT(colours(shot), 20) << "the window looks blank";
    EXPECT_EQ(editor->windowTitle(), QStringLiteral("Control scheme"));
    QWidget* row = child<QWidget>(editor, u"Frame1");
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(child<QLabel>(row, u"CaptionLabel")->text(), QStringLiteral("Fire"));
    auto* key1 = child<QPushButton>(row, u"Key1Btn");
    ASSERT_NE(key1, nullptr);
    EXPECT_EQ(key1->text(), QStringLiteral("Space"));
    EXPECT_TRUE(key1->isVisible());
    QTimer::singleShot(0, [this, &captured, editor, key1] {
      TKeyCaptureForm* capture = xkey_capture_form();
      QWidget* window = ui_.window_of(*capture);
      ASSERT_NE(window, nullptr);
      ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
      const QImage capture_shot = photograph(window, "key_capture");
      EXPECT_GT(colours(capture_shot), 10) << "the window looks blank";
      EXPECT_EQ(window->windowTitle(), QStringLiteral("Press a key"));
      EXPECT_EQ(child<QLabel>(window, u"PromptLabel")->text(),
                QStringLiteral("Press the key for this action."));
      // The key goes where Qt sends it, to the focused Cancel button: the
      // form previews it and takes it.
      auto* cancel = child<QPushButton>(window, u"CancelBtn");
      ASSERT_NE(cancel, nullptr);
      cancel->setFocus();
      QTest::keyPress(cancel, Qt::Key_F);
      captured = true;
      QTest::keyRelease(cancel, Qt::Key_F);
      // The editor's own loop runs this, after the capture form closed.
      QTimer::singleShot(0, [editor, key1] {
        EXPECT_EQ(key1->text(), QStringLiteral("F"));
        QTest::mouseClick(child<QPushButton>(editor, u"OKBtn"), Qt::LeftButton);
      });
    });
    QTest::mouseClick(key1, Qt::LeftButton);
  });
  EXPECT_TRUE(EditControlScheme(&scheme));
  EXPECT_TRUE(captured);
  EXPECT_EQ(fire.key1, 0x46) << "the pressed F is Fire's first key";
  EXPECT_EQ(left.key1, 0x25);
}

}  // namespace
}  // namespace xum
