// The task progress form under the Qt backend with a real worker thread:
// photographed mid-way (the bar partly filled, the work's text shown), then
// stopped by a synthesized click on Cancel while the work still runs.
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"
#include "ui/ttask_progress_form.h"

namespace xum {
namespace {

using test::child;

TEST(QtTaskProgress, MidWayTheBarIsPartlyFilledAndCancelStopsTheWorker) {
  xqt_backend& ui = use_qt_backend();
  TTaskProgressForm form(nullptr);
  form.SetName(u"TaskProgressForm");
  form.SetCaption(u"Copying photos");
  std::atomic<bool> looked{false};
  QTimer::singleShot(0, [&] {
    QWidget* window = ui.window_of(form);
    ASSERT_TRUE(window != nullptr && QTest::qWaitForWindowExposed(window));
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
    const QImage shot = test::photograph(window, "task_progress_midway");
    EXPECT_EQ(shot.size(), QSize(form.Width(), form.Height()));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Copying photos"));
    EXPECT_EQ(text->text(), QStringLiteral("Copying photo 4 of 10"));
    EXPECT_EQ(cancel->text(), QStringLiteral("Cancel"));
    EXPECT_EQ(bar->geometry(), QRect(12, 36, 376, 20));
    // Filled up to 40%: the left of the bar differs from its right.
    const QImage drawn = bar->grab().toImage();
    const auto at = [&](int percent) { return drawn.pixel(drawn.width() * percent / 100, 10); };
    EXPECT_EQ(at(15), at(30));
    EXPECT_EQ(at(60), at(85));
    EXPECT_NE(at(30), at(60)) << "the bar looks empty or full";

    QTest::mouseClick(cancel, Qt::LeftButton);
    ui.sync();
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
  QWidget* window = ui.window_of(form);
  EXPECT_TRUE(window == nullptr || !window->isVisible()) << "the form was left open";
}

}  // namespace
}  // namespace xum
