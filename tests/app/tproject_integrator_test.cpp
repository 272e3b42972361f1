#include "app/tproject_integrator.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/tprj_selector.h"
#include "core/xmessage_box.h"
#include "framework/tapplication.h"
#include "framework/tforms.h"
#include "framework/xui_backend.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

// A project integrator on a main form that records (and refuses) every
// attempt to close it; a scripted UI backend, and a settings store and a
// folder of project files of the test's own.
class IntegratorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("XUM_REGISTRY_ROOT", (dir_.path / "registry").c_str(), 1);
    saved_main_ = Application()->MainForm();
    main_ = new TForm(nullptr);
    main_->OnCloseQuery = [this](TObject*, bool& can_close) {
      ++close_requests_;
      can_close = false;
    };
    Application()->SetMainForm(main_);
    prj_ = new TProjectIntegrator(main_);
    prj_->OnNew = [](TObject*, bool& ok) { ok = true; };
    prj_->OnLoad = [this](TObject*, const UnicodeString& name, bool& ok) {
      loads_.push_back(FromUnicode(name).str());
      ok = load_ok_;
    };
    prj_->OnSave = [this](TObject*, bool& ok) {
      saves_.push_back(FromUnicode(prj_->FileName()).str());
      ok = save_ok_;
    };
    prj_->SetOpenDialog(new TOpenDialog(main_));
    prj_->SetSaveDialog(new TSaveDialog(main_));
  }
  void TearDown() override {
    Application()->SetMainForm(saved_main_);
    delete main_;
    unsetenv("XUM_REGISTRY_ROOT");
  }
  // A project file in the test's folder, written when `contents` is given.
  std::string file(const std::string& name, const char* contents = "x") {
    const std::string path = (dir_.path / name).string();
    if (contents != nullptr) test::put_file(path, contents);
    return path;
  }
  std::string name() const { return FromUnicode(prj_->FileName()).str(); }
  std::vector<std::string> recent() const {
    std::vector<std::string> r;
    for (const xstr& s : prj_->RecentList()) r.push_back(s.str());
    return r;
  }
  void add_recent(const std::string& path) {
    prj_->SetFileName(ToUnicode(xstr(path)));
    prj_->AddRecentFile();
  }
  void save_as(const std::string& path) {
    ui_.queue_files({ToUnicode(xstr(path))});
    prj_->ProcessCommand(pakSaveAs);
  }

  test::temp_dir dir_;
  xscripted_backend ui_;
  xui_backend_scope scope_{ui_};
  TCustomForm* saved_main_ = nullptr;
  TForm* main_ = nullptr;
  int close_requests_ = 0;
  TProjectIntegrator* prj_ = nullptr;
  std::vector<std::string> loads_, saves_;
  bool load_ok_ = true, save_ok_ = true;
};

TEST_F(IntegratorTest, SavingAsksForANameAFailedSaveKeepsTheOldOneAndTheRecentListKeepsTheNewest) {
  prj_->ProcessCommand(pakNew);
  EXPECT_EQ(name(), "Untitled");
  prj_->SetUntitled(u"Nameless");  // an untitled project follows its new name
  EXPECT_EQ(name(), "Nameless");
  prj_->Modify();
  prj_->ProcessCommand(pakSave);  // no file queued: the dialog is cancelled
  EXPECT_EQ(ui_.dialogs().size(), 1u);
  EXPECT_EQ(name(), "Nameless");
  EXPECT_TRUE(saves_.empty());
  const std::string a = file("a.txt");
  ui_.queue_files({ToUnicode(xstr(a))});
  prj_->ProcessCommand(pakSave);
  EXPECT_EQ(name(), a);
  EXPECT_FALSE(prj_->Modified());
  prj_->Modify();
  save_ok_ = false;
  save_as(file("b.txt", nullptr));
  EXPECT_EQ(saves_, (std::vector<std::string>{a, file("b.txt", nullptr)}));
  EXPECT_EQ(name(), a);
  EXPECT_TRUE(prj_->Modified());
  // The recent list keeps the newest within its size, one entry per name in
  // any case.
  save_ok_ = true;
  prj_->SetStorageSize(2);
  const std::string c = file("c.txt"), d = file("d.txt"), upper_d = file("D.TXT", nullptr);
  save_as(c);
  save_as(d);
  EXPECT_EQ(recent(), (std::vector<std::string>{d, c}));
  add_recent(upper_d);
  EXPECT_EQ(recent(), (std::vector<std::string>{upper_d, c}));
}

TEST_F(IntegratorTest, CloseQueryAsksOnlyAboutChangesAndHonoursTheThreeAnswers) {
  const std::string a = file("a.txt");
  int tests = 0;
  prj_->OnTestChanges = [&](TObject*) { ++tests; };
  prj_->OpenProject(ToUnicode(xstr(a)));
  EXPECT_TRUE(ui_.boxes().empty());  // nothing to ask before the first project
  prj_->Modify();
  ui_.queue_answer(IDCANCEL);
  EXPECT_FALSE(prj_->CloseQuery());
  ASSERT_EQ(ui_.boxes().size(), 1u);
  EXPECT_EQ(ui_.boxes()[0].flags, 35u);
  save_ok_ = false;
  ui_.queue_answer(IDYES);
  EXPECT_FALSE(prj_->CloseQuery());  // the save failed
  EXPECT_EQ(saves_.size(), 1u);
  save_ok_ = true;
  ui_.queue_answer(IDYES);
  EXPECT_TRUE(prj_->CloseQuery());
  EXPECT_EQ(saves_.size(), 2u);
  EXPECT_EQ(name(), "");
  prj_->OpenProject(ToUnicode(xstr(a)));
  prj_->Modify();
  ui_.queue_answer(IDNO);
  EXPECT_TRUE(prj_->CloseQuery());
  EXPECT_EQ(saves_.size(), 2u);
  EXPECT_EQ(tests, 6);
}

TEST_F(IntegratorTest, FailedOpenOrNewEmptiesTheNameAndClosesTheApplicationWhenAsked) {
  prj_->OpenProject(ToUnicode(xstr(file("missing.txt", nullptr))));
  EXPECT_TRUE(loads_.empty());  // a missing file is a silent failure
  EXPECT_EQ(close_requests_, 1);
  load_ok_ = false;
  prj_->SetCloseNonconstructed(false);
  EXPECT_FALSE(prj_->OpenProject(ToUnicode(xstr(file("a.txt")))));
  EXPECT_FALSE(prj_->LastResult());
  prj_->OnNew = [](TObject*, bool& ok) { ok = false; };
  prj_->ProcessCommand(pakNew);
  EXPECT_EQ(name(), "");
  EXPECT_EQ(close_requests_, 1);
  prj_->SetCloseNonconstructed(true);
  prj_->ProcessCommand(pakNew);
  EXPECT_EQ(close_requests_, 2);
}

// Start shows the selector until a project is open or the user leaves.
TEST_F(IntegratorTest, TheSelectorLoopRunsUntilAProjectIsOpenOrTheUserLeaves) {
  auto* host = new TForm(main_);
  auto* selector = new TPrjSelector(host);
  selector->SetParent(host);
  prj_->SetProjectSelector(selector);
  int shown = 0;
  prj_->OnShowSelector = [&](TObject*) {
    ++shown;
    host->ShowModal();
  };
  prj_->Start();  // nothing scripted: the selector is closed, which is exit
  EXPECT_EQ(close_requests_, 1);

  const std::string a = file("a.txt"), b = file("b.txt");
  for (const std::string& p : {b, file("gone.txt", nullptr), a}) add_recent(p);
  prj_->SetFileName(u"");
  ui_.queue_press({u"OpenOtherBtn"});  // the open dialog, cancelled
  ui_.queue_steps({[](TCustomForm& f, xmodal_loop&) {
    dynamic_cast<TComboBox*>(f.FindComponent(u"PrjSelectorFrm")->FindComponent(u"LastProjectsBox"))
        ->SetItemIndex(1);
    return xpress_button(f, u"OpenLastBtn");  // the second entry
  }});
  prj_->Start();
  EXPECT_EQ(shown, 3);
  EXPECT_EQ(loads_, std::vector<std::string>{b});
  EXPECT_TRUE(prj_->CloseNonconstructed());  // restored
  EXPECT_EQ(close_requests_, 1);

  prj_->DoClear();
  ui_.queue_press({u"CreateNewBtn"});
  ui_.queue_press({u"CreateNewBtn"});
  int news = 0;  // the first new fails, which returns to the selector
  prj_->OnNew = [&](TObject*, bool& ok) { ok = ++news == 2; };
  prj_->Start();
  EXPECT_EQ(news, 2);
  EXPECT_EQ(name(), "Untitled");
  prj_->DoClear();
  prj_->Modify();
  prj_->Start();  // exit: no question about the changes
  EXPECT_EQ(close_requests_, 2);
  EXPECT_TRUE(ui_.boxes().empty());
}

}  // namespace
}  // namespace xum
