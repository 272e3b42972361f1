#include "framework/tapplication.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tdialogs.h"
#include "framework/tstdctrls.h"
#include "framework/tthread.h"
#include "framework/xmain_loop.h"
#include "framework/xui_backend.h"
#include "platform/xos.h"

namespace xum {
namespace {

// The main loop, bound to this thread and open.
xmain_loop& open_loop() {
  xmain_loop& loop = xmain_loop::instance();
  loop.bind_to_current_thread();
  loop.open();
  return loop;
}

TEST(Synchronize, RunsEveryCallOnceOnTheMainThreadUnderContention) {
  open_loop();
  std::atomic<int> in_main{0};
  {
    std::vector<std::unique_ptr<TThread>> threads;
    for (int i = 0; i < 8; ++i)
      threads.push_back(std::make_unique<TThread>([&](TThread& self) {
        for (int call = 0; call < 200; ++call)
          self.Synchronize([&] { in_main += xmain_loop::instance().in_main_thread(); });
      }));
    for (auto& t : threads) t->Start();
    // WaitFor on the main thread keeps running the posted calls.
    for (auto& t : threads) t->WaitFor();
    for (auto& t : threads) EXPECT_EQ(t->FatalException(), nullptr);
  }
  EXPECT_EQ(in_main.load(), 8 * 200);
}

TEST(Synchronize, ShutdownReleasesWaitingThreadsWithAnError) {
  xmain_loop& loop = open_loop();
  const auto refused = [] {
    try {
      TThread::Synchronize(nullptr, [] {});
    } catch (const EThread&) {
      return true;
    }
    return false;
  };
  std::atomic<int> failed{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i) waiters.emplace_back([&] { failed += refused(); });
  // Let them queue; nobody runs the loop, then it shuts down.
  for (int i = 0; i < 200 && failed.load() < 4; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (i == 20) loop.shutdown();
  }
  for (auto& t : waiters) t.join();
  EXPECT_EQ(failed.load(), 4);
  // After the shutdown a new call fails at once; the main thread's own
  // calls still run.
  bool late = false;
  std::thread([&] { late = refused(); }).join();
  EXPECT_TRUE(late);
  bool ran = false;
  TThread::Synchronize(nullptr, [&] { ran = true; });
  EXPECT_TRUE(ran);
  loop.open();
}

// The example of framework/tthread.h as written there, with a count of the
// calls that reached the main thread.
class header_example_worker : public TThread {
 public:
  header_example_worker(TLabel* label, long& shown) : label_(label), shown_(shown) {}
  ~header_example_worker() override {
    Stop();
    EXPECT_EQ(ticks_, shown_);  // the call of every tick ran, the last one too
  }

 protected:
  void Execute() override {
    while (!Terminated()) {
      ++ticks_;
      Synchronize([&] {
        label_->SetCaption(ticks_ % 2 ? u"tick" : u"tock");
        ++shown_;
      });
    }
  }

 private:
  TLabel* label_;
  long& shown_;
  long ticks_ = 0;
};

// Destroyed at once after Start, a thread must stop before its body's data
// goes: the derived class's members for an overridden Execute, the callable
// itself for a body given to the constructor. Under the sanitizers any use of
// freed memory or unordered access fails the test.
TEST(TThread, DestroyedRightAfterStartStopsBeforeTheBodyIsGone) {
  xmain_loop& loop = open_loop();
  TLabel label(nullptr);
  for (int i = 0; i < 100; ++i) {
    long shown = 0;
    header_example_worker w(&label, shown);
    w.Start();
  }
  std::atomic<int> ran{0};
  for (int i = 0; i < 100; ++i) {
    TThread t([&ran, steps = std::vector<int>(64, 1)](TThread& self) {
      long sum = 0;
      while (!self.Terminated())
        for (int step : steps) sum += step;
      ran += sum >= 0;
    });
    t.Start();
  }
  EXPECT_EQ(ran.load(), 100);  // each body ran to its end before its thread went
  EXPECT_EQ(loop.run_posted(), 0);
}

// A thread that only ends when told and then reports to the main thread once
// more, so that whoever waits for it must keep the main loop's calls running.
// One told to forget is destroyed without being stopped.
class reporting_thread : public TThread {
 public:
  ~reporting_thread() override {
    if (forget_) return;
    Terminate();
    WaitFor();
    alive_ = false;
  }
  bool alive_ = true;
  bool forget_ = false;
  std::atomic<bool> entered_{false};

 protected:
  void Execute() override {
    entered_ = true;
    while (!Terminated()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Synchronize([] {});
  }
};

TEST(TThread, OnTerminateRunsOnTheMainThreadWhileTheObjectIsWhole) {
  xmain_loop& loop = open_loop();
  int calls = 0;
  bool whole = false;
  {
    reporting_thread t;
    t.OnTerminate = [&](TObject* sender) {
      ++calls;
      whole = sender == &t && t.alive_ && loop.in_main_thread();
    };
    t.Start();
  }
  EXPECT_EQ(calls, 1);  // before the destructor returned
  EXPECT_TRUE(whole);
  EXPECT_EQ(loop.run_posted(), 0);  // nothing left to run on a freed object
}

// An overridden Execute still running when ~TThread is reached has lost the
// members it may use: that is reported and ends the process, every time,
// rather than going on with freed memory.
TEST(TThreadDeathTest, DestroyingARunningExecuteWithoutStopAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        reporting_thread t;
        t.forget_ = true;
        t.Start();
        while (!t.entered_) std::this_thread::yield();
      },
      "must call Stop\\(\\) first");
}

// (Watches, timers and posted calls running: ModalLoop tests.)
TEST(MainLoop, RoutesExceptionsToTheApplicationAndKeepsTheRestForTheNextTurn) {
  xmain_loop& loop = open_loop();
  std::exception_ptr caught;
  Application()->OnException = [&](TObject*, std::exception_ptr e) { caught = e; };
  loop.post([] { throw Exception(u"boom"); });
  bool later = false;
  loop.post([&] { later = true; });
  Application()->ProcessMessages();
  EXPECT_NE(caught, nullptr);
  EXPECT_FALSE(later);  // kept for the next turn
  Application()->ProcessMessages();
  EXPECT_TRUE(later);
  // A thread's destructor waits running the posted calls: the one that
  // throws goes to the application and the calls after it run too.
  caught = nullptr;
  later = false;
  {
    reporting_thread t;
    t.Start();
    loop.post([] { throw Exception(u"posted"); });
    loop.post([&] { later = true; });
  }
  Application()->OnException = nullptr;
  ASSERT_NE(caught, nullptr);
  EXPECT_THROW(std::rethrow_exception(caught), Exception);
  EXPECT_TRUE(later);
}

TEST(MainLoop, NestedTurnsKeepPostOrderAndDoNotReenterACallback) {
  xmain_loop& loop = open_loop();
  // A call that turns the loop itself (as a modal form does) runs the calls
  // queued behind it there, in order, and they do not run twice.
  std::vector<std::string> order;
  loop.post([&] {
    order.push_back("a");
    loop.run_once(0);
    order.push_back("a done");
  });
  loop.post([&] { order.push_back("b"); });
  loop.post([&] { order.push_back("c"); });
  loop.run_once(0);
  EXPECT_EQ(order, (std::vector<std::string>{"a", "b", "c", "a done"}));

  // A watch or timer whose callback turns the loop is not called again
  // from inside itself, though its descriptor is still ready.
  int fds[2];
  ASSERT_TRUE(platform::os().make_wake_pipe(fds));
  platform::os().wake_pipe(fds[1]);
  int depth = 0, deepest = 0, calls = 0;
  const auto nested = [&] {
    ++calls;
    deepest = std::max(deepest, ++depth);
    if (depth < 3) loop.run_once(0);  // bounded, so a fault shows as a count
    --depth;
  };
  const int watch = loop.watch(fds[0], xmain_loop::watch_in, [&](unsigned) { nested(); });
  loop.run_once(0);
  EXPECT_EQ(deepest, 1);
  loop.unwatch(watch);
  const int timer = loop.add_timer(1, nested);
  while (calls < 2) loop.run_once(1000);
  EXPECT_EQ(deepest, 1);
  loop.remove_timer(timer);
  platform::os().close_fd(fds[0]);
  platform::os().close_fd(fds[1]);
}

TEST(Application, RunEndsWhenTheMainFormClosesAndAtOnceWithoutOne) {
  xscripted_backend ui;
  xui_backend_scope use(ui);
  TForm* main_form = nullptr;
  Application()->CreateForm(main_form);
  auto* other = new TForm(Application());
  other->OnClose = [](TObject*, TCloseAction& a) { a = caFree; };
  xmain_loop::instance().post([&] {
    other->Close();  // freed from the loop, after this call
    main_form->Close();
  });
  Application()->Run();
  EXPECT_TRUE(Application()->Terminated());
  EXPECT_EQ(Screen().FormCount(), 1);  // the other form is gone
  delete main_form;
  // Without a main form Run returns at once. Should it wait, a timer ends it
  // after a while, so the test fails instead of hanging.
  ASSERT_EQ(Application()->MainForm(), nullptr);
  bool rescued = false;
  const int timer = open_loop().add_timer(5000, [&] {
    rescued = true;
    Application()->Terminate();
  });
  Application()->Run();
  xmain_loop::instance().remove_timer(timer);
  EXPECT_FALSE(rescued);
}

// Writes its destruction to standard error, where the death test reads it.
class exit_probe : public TForm {
 public:
  explicit exit_probe(TComponent* owner, const char16_t* name = u"Main") : TForm(owner) {
    SetName(name);
  }
  ~exit_probe() override {
    std::fprintf(stderr, "~%s ", std::string(FromUnicode(Name()).view()).c_str());
  }
};

TEST(ApplicationDeathTest, OwnedFormsAreDestroyedAtExitLastCreatedFirst) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a fresh process and application
  EXPECT_EXIT(
      {
        exit_probe* main_form = nullptr;
        Application()->CreateForm(main_form);
        auto* dialog = new exit_probe(Application(), u"Dialog");
        new exit_probe(dialog, u"Owned");  // goes with the form that owns it
        new exit_probe(Application(), u"Last");
        std::fprintf(stderr, "exit: ");
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "exit: ~Last ~Dialog ~Owned ~Main $");
}

}  // namespace
}  // namespace xum
