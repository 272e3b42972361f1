#include "framework/xmodal_loop.h"

#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tapplication.h"
#include "framework/tstdctrls.h"
#include "framework/tthread.h"
#include "framework/xmain_loop.h"
#include "framework/xui_backend.h"
#include "platform/xos.h"

namespace xum {
namespace {

constexpr int kPatience = 10000;  // ms a test waits for work that should come at once

// A dialog on the scripted backend: an edit, an OK button ("OkBtn", the
// default, mrOk) and a Cancel button ("CancelBtn", mrCancel).
class ModalLoop : public ::testing::Test {
 protected:
  void SetUp() override {
    xmain_loop::instance().bind_to_current_thread();
    xmain_loop::instance().open();
    form_->SetName(u"Dialog");
    edit_->SetParent(form_.get());
    for (const auto& [b, name, result] :
         {std::tuple{ok_, u"OkBtn", mrOk}, {cancel_, u"CancelBtn", mrCancel}}) {
      b->SetParent(form_.get());
      b->SetName(name);
      b->SetModalResult(result);
    }
    ok_->SetDefault(true);
  }

  xscripted_backend ui_;
  xui_backend_scope use_{ui_};
  std::unique_ptr<TForm> form_ = std::make_unique<TForm>(nullptr);
  TEdit* edit_ = new TEdit(form_.get());
  TButton* ok_ = new TButton(form_.get());
  TButton* cancel_ = new TButton(form_.get());
};

TEST_F(ModalLoop, PostedCallsWatchesTimersAndWorkersRunWhileTheFormIsOpen) {
  xmain_loop& loop = xmain_loop::instance();
  std::vector<std::string> seen;
  const auto note = [&](const char* what) {
    seen.push_back(std::string(what) + (form_->Modal() ? " modal" : ""));
  };
  // Already waiting when the form opens: the backend runs them before it
  // answers.
  loop.post([&] { note("posted"); });
  int fds[2];
  ASSERT_TRUE(platform::os().make_wake_pipe(fds));
  platform::os().wake_pipe(fds[1]);
  const int watch = loop.watch(fds[0], xmain_loop::watch_in, [&](unsigned) {
    platform::os().drain_pipe(fds[0]);
    note("watch");
  });
  ui_.queue_press({u"OkBtn"});
  EXPECT_EQ(form_->ShowModal(), mrOk);
  loop.unwatch(watch);
  EXPECT_EQ(seen, (std::vector<std::string>{"posted modal", "watch modal"}));

  // A timer comes due while the user waits, and its work closes the form.
  seen.clear();
  const int timer = loop.add_timer(1, [&] {
    note("timer");
    form_->Close();
  });
  const auto wait = [](TCustomForm&, xmodal_loop& modal) {
    return modal.run(kPatience) ? mrNone : mrAbort;
  };
  ui_.queue_steps({wait});
  EXPECT_EQ(form_->ShowModal(), mrCancel);
  loop.remove_timer(timer);
  // A worker reports through the main thread, then closes the form from
  // there: its first call completed with the form still open, or the
  // second could not close it.
  std::thread worker([&] {
    TThread::Synchronize(nullptr, [&] { note("worker"); });
    TThread::Synchronize(nullptr, [&] { form_->SetModalResult(mrYes); });
  });
  ui_.queue_steps({wait});
  EXPECT_EQ(form_->ShowModal(), mrYes);
  worker.join();
  EXPECT_EQ(seen, (std::vector<std::string>{"timer modal", "worker modal"}));
  platform::os().close_fd(fds[0]);
  platform::os().close_fd(fds[1]);
}

TEST_F(ModalLoop, CloseQueryAndOnCloseDecideWhetherAndHowTheFormCloses) {
  // Validation of OK: an empty answer is refused; Cancel always closes.
  std::vector<int> asked;
  form_->OnCloseQuery = [&](TObject*, bool& can_close) {
    asked.push_back(form_->ModalResult());
    can_close = form_->ModalResult() != mrOk || !edit_->Text().empty();
  };
  // Refused: the form stays open and the script goes on with the next press.
  ui_.queue_press({u"OkBtn", u"CancelBtn"});
  EXPECT_EQ(form_->ShowModal(), mrCancel);
  EXPECT_EQ(asked, (std::vector<int>{mrOk, mrCancel}));

  // After a refusal the result is mrNone again; the user corrects the input
  // and the press holds.
  asked.clear();
  ui_.queue_steps({
      [](TCustomForm& f, xmodal_loop&) { return xpress_button(f, u"OkBtn"); },
      [&](TCustomForm& f, xmodal_loop&) {
        EXPECT_EQ(f.ModalResult(), mrNone);
        edit_->SetText(u"valid");
        return xpress_button(f, u"OkBtn");
      },
  });
  EXPECT_EQ(form_->ShowModal(), mrOk);
  EXPECT_EQ(asked, (std::vector<int>{mrOk, mrOk}));

  // OnClose: caNone keeps the form open.
  form_->OnCloseQuery = nullptr;
  TCloseAction next = caNone;
  form_->OnClose = [&](TObject*, TCloseAction& action) {
    action = next;
    next = caHide;
  };
  ui_.queue_press({u"CancelBtn", u"OkBtn"});
  EXPECT_EQ(form_->ShowModal(), mrOk);
  // caFree: the form is released after ShowModal, not before the caller
  // could read its result.
  auto* owned = new TForm(Application());
  const int forms = Screen().FormCount();
  owned->OnClose = [](TObject*, TCloseAction& action) { action = caFree; };
  ui_.queue_form([](TCustomForm& f) {
    f.Close();
    return static_cast<int>(mrNone);
  });
  EXPECT_EQ(owned->ShowModal(), mrCancel);
  EXPECT_EQ(Screen().FormCount(), forms);
  xmain_loop::instance().run_once(0);
  EXPECT_EQ(Screen().FormCount(), forms - 1);

  // The headless backend's default button is refused: the form ends.
  xheadless_backend headless;
  headless.set_output(nullptr);
  xui_backend_scope use(headless);
  form_->OnClose = nullptr;
  form_->OnCloseQuery = [](TObject*, bool& can_close) { can_close = false; };
  EXPECT_EQ(form_->ShowModal(), mrCancel);
}

TEST_F(ModalLoop, NestedFormsRunTheirOwnLoops) {
  TForm inner(nullptr);
  inner.SetCaption(u"Inner");
  auto* inner_ok = new TButton(&inner);
  inner_ok->SetParent(&inner);
  inner_ok->SetName(u"InnerOk");
  inner_ok->SetModalResult(mrOk);
  TModalResult inner_result = mrNone;
  bool outer_open_after_inner = false;
  ui_.queue_steps({
      [&](TCustomForm& outer, xmodal_loop&) {
        EXPECT_THROW(outer.ShowModal(), EInvalidOperation);  // already modal
        inner_result = inner.ShowModal();
        outer_open_after_inner = outer.Modal();
        return static_cast<int>(mrNone);
      },
      [](TCustomForm& outer, xmodal_loop&) { return xpress_button(outer, u"CancelBtn"); },
  });
  // The outer form's result is set while the inner one is open: the outer
  // form ends only when the inner one has returned, before its next step.
  ui_.queue_steps({[&](TCustomForm& f, xmodal_loop& loop) {
    xmain_loop::instance().post([&] { form_->SetModalResult(mrRetry); });
    loop.turn(0);
    EXPECT_TRUE(form_->Modal());
    return xpress_button(f, u"InnerOk");
  }});
  EXPECT_EQ(form_->ShowModal(), mrRetry);
  EXPECT_EQ(inner_result, mrOk);
  EXPECT_TRUE(outer_open_after_inner);

  // Terminating the application ends every open modal form with mrCancel.
  ui_.queue_steps({[&](TCustomForm&, xmodal_loop& loop) {
    inner_result = inner.ShowModal();
    return loop.ended() ? mrNone : mrAbort;
  }});
  ui_.queue_steps({[](TCustomForm& f, xmodal_loop& loop) {
    std::thread([] { Application()->Terminate(); }).join();
    return loop.run(kPatience) ? mrNone : xpress_button(f, u"InnerOk");
  }});
  EXPECT_EQ(form_->ShowModal(), mrCancel);
  EXPECT_EQ(inner_result, mrCancel);
}

}  // namespace
}  // namespace xum
