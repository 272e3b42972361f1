#include "app/tproject_integrator.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/tprj_selector.h"
#include "core/xmessage_box.h"
#include "core/xreg_key.h"
#include "tests/app/app_fixture.h"

namespace xum {
namespace {

std::string text_of(const UnicodeString& s) { return FromUnicode(s).str(); }

class IntegratorTest : public test::AppTest {
 protected:
  void SetUp() override {
    AppTest::SetUp();
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
    open_ = new TOpenDialog(main_);
    save_ = new TSaveDialog(main_);
    prj_->SetOpenDialog(open_);
    prj_->SetSaveDialog(save_);
  }
  std::string name() const { return FromUnicode(prj_->FileName()).str(); }
  std::vector<std::string> recent() const {
    std::vector<std::string> r;
    for (const xstr& s : prj_->RecentList()) r.push_back(s.str());
    return r;
  }
  void save_as(const std::string& path) {
    ui_.queue_files({ToUnicode(xstr(path))});
    prj_->ProcessCommand(pakSaveAs);
  }

  TProjectIntegrator* prj_ = nullptr;
  TOpenDialog* open_ = nullptr;
  TSaveDialog* save_ = nullptr;
  std::vector<std::string> loads_, saves_;
  bool load_ok_ = true, save_ok_ = true;
};

TEST_F(IntegratorTest, SavingAnUntitledProjectAsksForANameAndCancelKeepsItUntitled) {
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
  EXPECT_EQ(recent(), std::vector<std::string>{a});
}

TEST_F(IntegratorTest, AFailedSaveAsRestoresTheOldName) {
  const std::string a = file("a.txt");
  ASSERT_TRUE(prj_->OpenProject(ToUnicode(xstr(a))));
  prj_->Modify();
  save_ok_ = false;
  save_as(file("b.txt", nullptr));
  EXPECT_EQ(saves_, std::vector<std::string>{file("b.txt", nullptr)});
  EXPECT_EQ(name(), a);
  EXPECT_TRUE(prj_->Modified());
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
  EXPECT_EQ(ui_.boxes()[0].text.str(), "Save changes in project before exit?");
  EXPECT_EQ(ui_.boxes()[0].caption.str(), "");
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

TEST_F(IntegratorTest, RecentListIgnoresCaseAndKeepsTheNewestWithinStorageSize) {
  prj_->SetStorageSize(3);
  const std::string names[] = {file("a.txt"), file("b.txt"), file("c.txt"), file("d.txt")};
  for (const std::string& n : names) save_as(n);
  EXPECT_EQ(recent(), (std::vector<std::string>{names[3], names[2], names[1]}));
  std::string upper = names[1];
  upper.replace(upper.size() - 5, 5, "B.TXT");
  prj_->SetFileName(ToUnicode(xstr(upper)));
  prj_->AddRecentFile();
  EXPECT_EQ(recent(), (std::vector<std::string>{upper, names[3], names[2]}));
}

TEST_F(IntegratorTest, MenuNumbersItemsByListIndexSkippingMissingFiles) {
  auto* popup = new TMenuItem(main_);
  popup->SetEnabled(false);
  prj_->SetRecentPopup(popup);
  prj_->SetStorageSize(12);
  std::vector<std::string> paths;
  for (int i = 11; i >= 0; --i)
    paths.push_back(file("p" + std::to_string(i) + ".txt", i == 1 ? nullptr : "x"));
  for (const std::string& p : paths) {
    prj_->SetFileName(ToUnicode(xstr(p)));
    prj_->AddRecentFile();
  }
  EXPECT_TRUE(popup->Enabled());
  ASSERT_EQ(popup->Count(), 11);
  EXPECT_EQ(FromUnicode(popup->Items(0)->Caption()).str(), "&0: p0");
  EXPECT_EQ(FromUnicode(popup->Items(1)->Caption()).str(), "&2: p2");
  EXPECT_EQ(FromUnicode(popup->Items(9)->Caption()).str(), "p10");  // no accelerator past 9
  popup->Items(1)->Click();  // reopens p2 and rebuilds the menu it is in
  EXPECT_EQ(loads_.back(), paths[9]);
  EXPECT_EQ(FromUnicode(popup->Items(0)->Caption()).str(), "&0: p2");
  delete popup;  // the integrator forgets it
  EXPECT_EQ(prj_->RecentPopup(), nullptr);
}

TEST_F(IntegratorTest, RecentListPersistsAcrossLifetimesAndStopsAtTheFirstMissingValue) {
  const std::string a = file("a.txt"), b = file("b.txt");
  for (const auto& [n, v] : {std::pair{"0", a}, {"1", b}, {"3", file("c.txt")}}) {
    xstr value(v);
    xreg_key("Software\\Test\\Notes\\RecentProjects", false).str(n, value, value);
  }
  std::vector<xstr> loaded[2];
  for (auto& list : loaded) {  // two lifetimes; each adds b and saves when it goes
    TProjectIntegrator p(nullptr);
    p.SetRegistryKey(u"Software\\Test\\Notes");
    p.LoadRecentsList();
    list = p.RecentList();
    p.SetFileName(ToUnicode(xstr(b)));
    p.AddRecentFile();
  }
  EXPECT_EQ(loaded[0], (std::vector<xstr>{xstr(a), xstr(b)}));
  EXPECT_EQ(loaded[1], (std::vector<xstr>{xstr(b), xstr(a)}));
  // "3" is erased with the section.
  EXPECT_EQ(xreg_key("Software\\Test\\Notes\\RecentProjects", true).value_names(),
            (std::vector<xstr>{"0", "1"}));
}

class StartTest : public IntegratorTest {
 protected:
  void SetUp() override {
    IntegratorTest::SetUp();
    host_ = new TForm(main_);
    selector_ = new TPrjSelector(host_);
    selector_->SetParent(host_);
    prj_->SetProjectSelector(selector_);
    prj_->OnShowSelector = [this](TObject*) {
      ++shown_;
      if (next_choice_ >= 0) {
        selector_->SetChoice(next_choice_);
        next_choice_ = -1;
      } else {
        host_->ShowModal();
      }
    };
  }
  TForm* host_ = nullptr;
  TPrjSelector* selector_ = nullptr;
  int shown_ = 0;
  int next_choice_ = -1;
};

TEST_F(StartTest, TheSelectorLoopRunsUntilAProjectIsOpenOrTheUserLeaves) {
  const std::string a = file("a.txt"), b = file("b.txt");
  for (const std::string& p : {b, file("gone.txt", nullptr), a}) {
    prj_->SetFileName(ToUnicode(xstr(p)));
    prj_->AddRecentFile();
  }
  prj_->SetFileName(u"");
  next_choice_ = 9;                    // any other value: show again
  ui_.queue_press({u"OpenOtherBtn"});  // 2: the open dialog, cancelled
  ui_.queue_steps({[](TCustomForm& f, xmodal_loop&) {
                     auto* box = dynamic_cast<TComboBox*>(
                         f.FindComponent(u"PrjSelectorFrm")->FindComponent(u"LastProjectsBox"));
                     box->SetItemIndex(1);
                     return mrNone;
                   },
                   [](TCustomForm& f, xmodal_loop&) {
                     return xpress_button(f, u"OpenLastBtn");  // 1: the second entry
                   }});
  prj_->Start();
  EXPECT_EQ(shown_, 3);
  EXPECT_EQ(loads_, std::vector<std::string>{b});
  EXPECT_TRUE(prj_->CloseNonconstructed());  // restored
  EXPECT_EQ(close_requests_, 0);
}

TEST_F(StartTest, LongPathsLoseTheirBeginningToFitTheBox) {
  const std::string a = file("a.txt");
  prj_->SetFileName(ToUnicode(xstr(a)));
  prj_->AddRecentFile();
  TComboBox* box = selector_->LastProjectsBox;
  box->SetWidth(25 + xui().text_width(box->Font(), u"/a.txt"));
  prj_->Start();
  ASSERT_EQ(box->Items().Count(), 1);
  EXPECT_EQ(text_of(box->Items()[0]), "/a.txt");
  EXPECT_EQ(text_of(box->Hint()), a);
}

TEST_F(StartTest, NewAndExitChoices) {
  prj_->Start();  // nothing scripted: the selector is closed, which is exit
  EXPECT_EQ(close_requests_, 1);
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
