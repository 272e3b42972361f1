// The task progress form under the Qt backend with a real worker thread:
// photographed mid-way (the bar partly filled, the work's text shown), then
// stopped by a synthesized click on Cancel while the work still runs. And
// F1 pressed in a real window asks the application's help for the focused
// control's topic.
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"

#include "backends/qt/xqt_backend.h"
#include "framework/tapplication.h"
#include "framework/tstdctrls.h"
#include "ui/ttask_progress_form.h"

namespace xum {
namespace {

using test::colours;
using test::photograph;

template <class W>
W* child(QWidget* window, const char16_t* name) {
  W* w = window->findChild<W*>(QString::fromStdU16String(name));
  EXPECT_NE(w, nullptr) << "no widget named " << QString::fromStdU16String(name).toStdString();
  return w;
}

// Waits on the worker, at most ten seconds, so a broken form fails the test
// instead of hanging it.
bool wait_until(const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

TEST(QtTaskProgress, MidWayTheBarIsPartlyFilledAndCancelStopsTheWorker) {
  xqt_backend& ui = use_qt_backend();
  TTaskProgressForm form(nullptr);
  form.SetName(u"TaskProgressForm");
  form.SetCaption(u"Copying photos");
  std::atomic<bool> release{false};
  bool looked = false;
  QTimer::singleShot(0, [&] {
    QWidget* window = ui.window_of(form);
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    auto* bar = child<QProgressBar>(window, u"ProgressBar");
    auto* text = child<QLabel>(window, u"TextLabel");
    auto* cancel = child<QPushButton>(window, u"CancelBtn");
    ASSERT_TRUE(bar && text && cancel);
    // Inside this callback Qt's loop never waits, which is when the backend
    // syncs by itself: the test syncs.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
          ui.sync();
          return bar->maximum() == 10 && bar->value() == 4;
        },
        5000))
        << "the bar shows " << bar->value() << " of " << bar->maximum();

    const QImage shot = photograph(window, "task_progress_midway");
    EXPECT_EQ(shot.size(), QSize(form.Width(), form.Height()));
    EXPECT_GT(colours(shot), 10) << "the window looks blank";
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Copying photos"));
    EXPECT_EQ(text->text(), QStringLiteral("Copying photo 4 of 10"));
    EXPECT_EQ(cancel->text(), QStringLiteral("Cancel"));
    EXPECT_EQ(bar->geometry(), QRect(12, 36, 376, 20));
    // Filled up to 40%: the left of the bar differs from its right.
    const QImage drawn = bar->grab().toImage();
    const int y = drawn.height() / 2;
    EXPECT_EQ(drawn.pixel(drawn.width() * 15 / 100, y), drawn.pixel(drawn.width() * 30 / 100, y));
    EXPECT_EQ(drawn.pixel(drawn.width() * 60 / 100, y), drawn.pixel(drawn.width() * 85 / 100, y));
    EXPECT_NE(drawn.pixel(drawn.width() * 30 / 100, y), drawn.pixel(drawn.width() * 60 / 100, y))
        << "the bar looks empty or full";

    QTest::mouseClick(cancel, Qt::LeftButton);
    EXPECT_TRUE(form.Cancelling());
    ui.sync();
    EXPECT_FALSE(cancel->isEnabled());
    EXPECT_EQ(text->text(), QStringLiteral("Stopping..."));
    EXPECT_TRUE(window->isVisible()) << "the form closed before the work returned";
    photograph(window, "task_progress_stopping");
    looked = true;
    release = true;
  });
  std::atomic<bool> saw_cancel{false};
  const TTaskOutcome outcome = form.Run([&](xtask_progress& p) {
    p.SetText(u"Copying photo 4 of 10");
    p.SetProgress(4, 10);
    saw_cancel = wait_until([&] { return p.Cancelled(); });
    wait_until([&] { return release.load(); });
  });
  EXPECT_TRUE(looked);
  EXPECT_TRUE(saw_cancel) << "the worker never learnt of the click";
  EXPECT_EQ(outcome, toCancelled);
  QWidget* window = ui.window_of(form);
  EXPECT_TRUE(window == nullptr || !window->isVisible()) << "the form was left open";
}

TEST(QtHtmlHelp, F1InAWindowOpensTheFocusedControlsTopic) {
  xqt_backend& ui = use_qt_backend();
  TForm form(nullptr);
  form.SetName(u"HelpForm");
  form.SetBounds(0, 0, 240, 80);
  auto* box = new TGroupBox(&form);
  box->SetName(u"Options");
  box->SetParent(&form);
  box->SetBounds(8, 8, 220, 60);
  box->SetHelpKeyword(u"options");
  auto* edit = new TEdit(&form);
  edit->SetName(u"NameEdit");
  edit->SetParent(box);
  edit->SetBounds(8, 20, 200, 21);
  std::vector<std::string> asked;
  const THelpViewer viewer = Application()->SetHelpViewer([&](const UnicodeString& keyword, THelpContext) {
    asked.push_back(FromUnicode(keyword).str());
    return true;
  });
  form.Show();
  ui.sync();
  QWidget* window = ui.window_of(form);
  ASSERT_NE(window, nullptr);
  ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
  auto* line = child<QLineEdit>(window, u"NameEdit");
  ASSERT_NE(line, nullptr);
  line->setFocus();
  QTest::keyClick(line, Qt::Key_F1);
  QTest::keyClick(line, Qt::Key_F1, Qt::ShiftModifier);  // not help
  EXPECT_EQ(asked, std::vector<std::string>{"options"}) << "the edit's parent group box has the topic";
  form.Hide();
  ui.sync();
  Application()->SetHelpViewer(viewer);
}

}  // namespace
}  // namespace xum
