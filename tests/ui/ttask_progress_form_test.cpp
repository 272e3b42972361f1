// The task progress form with real worker threads, headless: what the work
// reports reaches the form, Cancel asks the work to stop and the form waits
// for it, failures are presented after the form has closed, and the form
// is never left open. These run under TSan in CI.
#include "ui/ttask_progress_form.h"

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "framework/tapplication.h"
#include "framework/xmain_loop.h"
#include "framework/xmodal_loop.h"
#include "framework/xui_backend.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using namespace std::chrono_literals;

// Waits on the worker until `done` says so; false after ten seconds, so a
// broken form fails the test instead of hanging it.
bool wait_until(const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + 10s;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

// The form is closed and forgets its run.
void expect_closed(const TTaskProgressForm& form) {
  EXPECT_FALSE(form.Visible());
  EXPECT_FALSE(form.Modal());
  EXPECT_FALSE(form.Running());
}

class TaskProgress : public ::testing::Test {
 protected:
  TaskProgress() { xmain_loop::instance().bind_to_current_thread(); }
  ~TaskProgress() override { Application()->OnException = nullptr; }

  // One scripted step that turns the loop until the form closes.
  void let_it_finish() {
    ui_.queue_steps({[](TCustomForm&, xmodal_loop& loop) {
      EXPECT_TRUE(loop.run(10000)) << "the form did not close by itself";
      return mrNone;
    }});
  }

  xscripted_backend ui_;
  xui_backend_scope use_{ui_};
  TTaskProgressForm form_{nullptr};
};

TEST_F(TaskProgress, TheCloseBoxAsksTheWorkToStopAndTheFormWaitsForIt) {
  std::atomic<bool> started{false}, saw_cancel{false}, release{false};
  bool open_while_stopping = false;
  ui_.queue_steps({[&](TCustomForm&, xmodal_loop& loop) {
    EXPECT_TRUE(wait_until([&] { return started.load(); }));
    loop.act([&] { form_.Close(); });
    EXPECT_EQ(form_.TextLabel()->Caption(), u"Stopping...");
    // The work has seen the request but not returned: the form stays.
    EXPECT_TRUE(wait_until([&] { return saw_cancel.load(); }));
    open_while_stopping = !loop.run(50) && form_.Modal();
    release = true;
    EXPECT_TRUE(loop.run(10000));
    return mrNone;
  }});
  EXPECT_EQ(form_.Run([&](xtask_progress& p) {
    started = true;
    ASSERT_TRUE(wait_until([&] { return p.Cancelled(); }));
    saw_cancel = true;
    p.SetText(u"hidden by the stopping text");
    ASSERT_TRUE(wait_until([&] { return release.load(); }));
  }),
            toCancelled);
  EXPECT_TRUE(open_while_stopping) << "the form closed before the work returned";
  EXPECT_EQ(form_.TextLabel()->Caption(), u"Stopping...");
  expect_closed(form_);
}

TEST_F(TaskProgress, AFailureIsPresentedAfterTheFormHasClosed) {
  const std::tuple<const char*, std::function<void(xtask_progress&)>, const char*> rows[] = {
      {"standard error", [](xtask_progress&) { throw std::runtime_error("bad index"); },
       "bad index"},
      {"abort counts as cancel", [](xtask_progress&) { throw XEAbort(u"stop"); }, nullptr},
  };
  for (const auto& [name, work, message] : rows) {
    SCOPED_TRACE(name);
    std::vector<std::string> presented;
    bool form_open_then = true;
    Application()->OnException = [&](TObject*, std::exception_ptr e) {
      form_open_then =
          Screen().FormCount() > 0 && Screen().Forms(Screen().FormCount() - 1)->Visible();
      try {
        std::rethrow_exception(e);
      } catch (const std::exception& x) {
        presented.push_back(x.what());
      }
    };
    let_it_finish();
    EXPECT_FALSE(RunTask(u"Saving", work));
    EXPECT_EQ(ui_.forms().back(), u"Saving");
    EXPECT_EQ(presented, message ? std::vector<std::string>{message} : std::vector<std::string>{});
    EXPECT_FALSE(message && form_open_then) << "presented while the form was open";
  }
}

TEST_F(TaskProgress, ARunningFormRefusesASecondRunAndTheApplicationEndingCancelsTheWork) {
  std::string refused;
  std::atomic<bool> started{false};
  ui_.queue_steps({[&](TCustomForm&, xmodal_loop& loop) {
    refused = test::error_of([&] { form_.Run([](xtask_progress&) {}); });
    EXPECT_TRUE(wait_until([&] { return started.load(); }));
    Application()->Terminate();  // while the work runs: the work is cancelled
    EXPECT_TRUE(loop.run(10000));
    return mrNone;
  }});
  EXPECT_EQ(form_.Run([&](xtask_progress& p) {
    started = true;
    ASSERT_TRUE(wait_until([&] { return p.Cancelled(); }));
  }),
            toCancelled);
  EXPECT_EQ(refused, "The task progress form runs a task already");
  expect_closed(form_);
}

// The application's run ended (its main loop shut down), then a last task:
// its progress and its end still reach the form, and the loop is shut again.
TEST_F(TaskProgress, ATaskAfterTheApplicationsRunStillReachesTheForm) {
  xmain_loop::instance().shutdown();
  UnicodeString shown;
  form_.OnProgress = [&](TObject*) { shown = form_.TextLabel()->Caption(); };
  std::thread::id synchronized_on;
  let_it_finish();
  EXPECT_EQ(form_.Run([&](xtask_progress& p) {
    p.SetText(u"last save");
    p.Synchronize([&] { synchronized_on = std::this_thread::get_id(); });
  }),
            toDone);
  EXPECT_EQ(synchronized_on, std::this_thread::get_id()) << "Synchronize ran off the main thread";
  EXPECT_EQ(shown, u"last save");
  EXPECT_TRUE(xmain_loop::instance().is_shut_down());
  xmain_loop::instance().open();
}

}  // namespace
}  // namespace xum
