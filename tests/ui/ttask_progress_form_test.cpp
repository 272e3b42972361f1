// The task progress form with real worker threads, headless: what the work
// reports reaches the form, Cancel asks the work to stop and the form waits
// for it, failures are presented after the form has closed, and the form
// is never left open. These run under TSan in CI.
#include "ui/ttask_progress_form.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "core/xexceptions.h"
#include "framework/tapplication.h"
#include "framework/xmain_loop.h"
#include "framework/xmodal_loop.h"
#include "framework/xui_backend.h"

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

TEST_F(TaskProgress, WhatTheWorkReportsReachesTheForm) {
  struct row {
    long long done, total;
    TProgressBarStyle style;
    int max, position;
  };
  const std::vector<row> rows = {
      {3, 10, pbstNormal, 10, 3},
      {-5, 10, pbstNormal, 10, 0},       // kept inside the range
      {15, 10, pbstNormal, 10, 10},
      {0, 0, pbstMarquee, 10, 10},       // size unknown: the bar only moves
      {5000000000LL, 10000000000LL, pbstNormal, 1000000, 500000},  // scaled to fit
  };
  auto text_of = [](std::size_t i) { return u"step " + ToUnicode(xstr(std::to_string(i).c_str())); };
  // Row i is on the form once its text is: the work sets the text last.
  std::atomic<std::size_t> seen{0};
  std::vector<row> shown;
  form_.OnProgress = [&](TObject*) {
    if (seen >= rows.size() || form_.TextLabel()->Caption() != text_of(seen)) return;
    const TProgressBar& bar = *form_.ProgressBar();
    shown.push_back({0, 0, bar.Style(), bar.Max(), bar.Position()});
    ++seen;
  };
  std::thread::id synchronized_on;
  let_it_finish();
  const TTaskOutcome outcome = form_.Run([&](xtask_progress& p) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      p.SetProgress(rows[i].done, rows[i].total);
      p.SetText(text_of(i));
      ASSERT_TRUE(wait_until([&] { return seen > i; }));
    }
    p.Synchronize([&] { synchronized_on = std::this_thread::get_id(); });
  });
  EXPECT_EQ(outcome, toDone);
  EXPECT_EQ(form_.ModalResult(), mrOk);
  EXPECT_EQ(synchronized_on, std::this_thread::get_id()) << "Synchronize ran off the main thread";
  ASSERT_EQ(shown.size(), rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(shown[i].style, rows[i].style);
    EXPECT_EQ(shown[i].max, rows[i].max);
    EXPECT_EQ(shown[i].position, rows[i].position);
  }
  expect_closed(form_);
}

TEST_F(TaskProgress, CancelAsksTheWorkToStopAndTheFormWaitsForIt) {
  struct row {
    const char* how;
    std::function<void(TTaskProgressForm&, xmodal_loop&)> cancel;
  };
  const std::vector<row> rows = {
      {"the Cancel button", [](TTaskProgressForm& f, xmodal_loop&) { xpress_button(f, u"CancelBtn"); }},
      {"the close box", [](TTaskProgressForm& f, xmodal_loop& loop) { loop.act([&] { f.Close(); }); }},
      {"the program", [](TTaskProgressForm& f, xmodal_loop&) { f.Cancel(); }},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.how);
    std::atomic<bool> started{false}, saw_cancel{false}, release{false};
    bool open_while_stopping = false;
    ui_.queue_steps({[&](TCustomForm&, xmodal_loop& loop) {
      EXPECT_TRUE(wait_until([&] { return started.load(); }));
      r.cancel(form_, loop);
      EXPECT_TRUE(form_.Cancelling());
      EXPECT_FALSE(form_.CancelBtn()->Enabled());
      EXPECT_EQ(form_.TextLabel()->Caption(), u"Stopping...");
      // The work has seen the request but not returned: the form stays.
      EXPECT_TRUE(wait_until([&] { return saw_cancel.load(); }));
      open_while_stopping = !loop.run(50) && form_.Modal();
      release = true;
      EXPECT_TRUE(loop.run(10000));
      return mrNone;
    }});
    const TTaskOutcome outcome = form_.Run([&](xtask_progress& p) {
      p.SetText(u"working");
      started = true;
      ASSERT_TRUE(wait_until([&] { return p.Cancelled(); }));
      saw_cancel = true;
      p.SetText(u"hidden by the stopping text");
      ASSERT_TRUE(wait_until([&] { return release.load(); }));
    });
    EXPECT_EQ(outcome, toCancelled);
    EXPECT_EQ(form_.ModalResult(), mrCancel);
    EXPECT_TRUE(open_while_stopping) << "the form closed before the work returned";
    EXPECT_EQ(form_.TextLabel()->Caption(), u"Stopping...");
    expect_closed(form_);
  }
}

TEST_F(TaskProgress, AFailureIsPresentedAfterTheFormHasClosed) {
  struct row {
    const char* name;
    std::function<void(xtask_progress&)> work;
    bool presented;
    const char* message;
  };
  const std::vector<row> rows = {
      {"library error", [](xtask_progress&) { throw XException(u"Disk full"); }, true, "Disk full"},
      {"standard error", [](xtask_progress&) { throw std::runtime_error("bad index"); }, true, "bad index"},
      {"abort counts as cancel", [](xtask_progress&) { throw XEAbort(u"stop"); }, false, ""},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    std::vector<std::string> presented;
    bool form_open_then = true;
    Application()->OnException = [&](TObject*, std::exception_ptr e) {
      form_open_then = Screen().FormCount() > 0 && Screen().Forms(Screen().FormCount() - 1)->Visible();
      try {
        std::rethrow_exception(e);
      } catch (const std::exception& x) {
        presented.push_back(x.what());
      }
    };
    let_it_finish();
    EXPECT_FALSE(RunTask(u"Saving", r.work));
    ASSERT_EQ(presented.size(), r.presented ? 1u : 0u);
    if (r.presented) {
      EXPECT_EQ(presented[0], r.message);
      EXPECT_FALSE(form_open_then) << "presented while the form was open";
    }
  }
  // The form's own Run leaves the failure to the caller.
  let_it_finish();
  EXPECT_EQ(form_.Run([](xtask_progress&) { throw std::runtime_error("kept"); }), toFailed);
  ASSERT_TRUE(form_.Failure());
  EXPECT_THROW(std::rethrow_exception(form_.Failure()), std::runtime_error);
  EXPECT_EQ(form_.ModalResult(), mrAbort);
  expect_closed(form_);
}

TEST_F(TaskProgress, WorkThatEndsAtOnceClosesTheForm) {
  let_it_finish();
  EXPECT_TRUE(RunTask(u"Quick", [](xtask_progress&) {}));
  ASSERT_EQ(ui_.forms().size(), 1u);
  EXPECT_EQ(ui_.forms()[0], u"Quick");
  let_it_finish();
  EXPECT_EQ(form_.Run([](xtask_progress& p) { p.CheckCancelled(); }), toDone);
  expect_closed(form_);
  for (int i = 0; i < Screen().FormCount(); ++i) EXPECT_FALSE(Screen().Forms(i)->Visible());
}

TEST_F(TaskProgress, WhenTheDisplayEndsWithoutTheWorkItRunsOnOrStops) {
  // The scripted backend gives up at once (no step), as the headless one
  // does: the work runs to its end, unwatched.
  std::atomic<int> steps{0};
  EXPECT_EQ(form_.Run([&](xtask_progress& p) {
              for (int i = 0; i < 20 && !p.Cancelled(); ++i) {
                std::this_thread::sleep_for(1ms);
                ++steps;
              }
            }),
            toDone);
  EXPECT_EQ(steps, 20);
  expect_closed(form_);

  // The application told to end while the work runs: the work is cancelled.
  std::atomic<bool> started{false};
  ui_.queue_steps({[&](TCustomForm&, xmodal_loop& loop) {
    EXPECT_TRUE(wait_until([&] { return started.load(); }));
    Application()->Terminate();
    EXPECT_TRUE(loop.run(10000));
    return mrNone;
  }});
  EXPECT_EQ(form_.Run([&](xtask_progress& p) {
              started = true;
              ASSERT_TRUE(wait_until([&] { return p.Cancelled(); }));
            }),
            toCancelled);
  expect_closed(form_);
}

// The application's run ended (its main loop shut down), then a last task:
// its progress and its end still reach the form, and the loop is shut again.
TEST_F(TaskProgress, ATaskAfterTheApplicationsRunStillReachesTheForm) {
  xmain_loop::instance().shutdown();
  UnicodeString shown;
  form_.OnProgress = [&](TObject*) { shown = form_.TextLabel()->Caption(); };
  std::atomic<bool> synchronized{false};
  let_it_finish();
  EXPECT_EQ(form_.Run([&](xtask_progress& p) {
              p.SetText(u"last save");
              p.Synchronize([&] { synchronized = true; });
            }),
            toDone);
  EXPECT_TRUE(synchronized);
  EXPECT_EQ(shown, u"last save");
  EXPECT_TRUE(xmain_loop::instance().is_shut_down());
  xmain_loop::instance().open();
  expect_closed(form_);
}

TEST_F(TaskProgress, ARunningFormRefusesASecondRun) {
  std::string refused;
  ui_.queue_steps({[&](TCustomForm&, xmodal_loop& loop) {
    try {
      form_.Run([](xtask_progress&) {});
    } catch (const EInvalidOperation& e) {
      refused = e.what();
    }
    form_.Cancel();
    EXPECT_TRUE(loop.run(10000));
    return mrNone;
  }});
  EXPECT_EQ(form_.Run([](xtask_progress& p) { ASSERT_TRUE(wait_until([&] { return p.Cancelled(); })); }),
            toCancelled);
  EXPECT_EQ(refused, "The task progress form runs a task already");
  expect_closed(form_);
}

}  // namespace
}  // namespace xum
