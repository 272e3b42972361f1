#include "app/tproject_action.h"

#include <string>

#include <gtest/gtest.h>

#include "app/tprj_selector.h"
#include "tests/app/app_fixture.h"

namespace xum {
namespace {

using ProjectActionTest = test::AppTest;

TEST_F(ProjectActionTest, ActionsFindTheFirstIntegratorOfTheirOwner) {
  auto* open = new TOpenProjectAction(main_);
  auto* first = new TProjectIntegrator(main_);
  new TProjectIntegrator(main_);
  auto* dialog = new TOpenDialog(main_);
  first->SetOpenDialog(dialog);
  EXPECT_TRUE(open->Execute());
  EXPECT_EQ(ui_.dialogs().size(), 1u);  // the first integrator asked
  auto* added = new TNewProjectAction(main_);
  added->Execute();
  EXPECT_EQ(FromUnicode(first->FileName()).str(), "Untitled");
}

TEST_F(ProjectActionTest, SaveIsOfferedForChangedOrUntitledProjectsOnly) {
  auto* prj = new TProjectIntegrator(main_);
  auto* save = new TSaveProjectAction(main_);
  auto* save_as = new TSaveProjectAsAction(main_);
  struct row {
    const char16_t* name;
    bool modified, enabled;
  };
  const row rows[] = {{u"/a.txt", false, false},
                      {u"/a.txt", true, true},
                      {u"Untitled", false, true}};
  for (const row& r : rows) {
    SCOPED_TRACE(FromUnicode(r.name).str() + (r.modified ? " modified" : ""));
    prj->DoClear();
    prj->SetFileName(r.name);
    if (r.modified) prj->Modify();
    save->Update();
    save_as->Update();
    EXPECT_EQ(save->Enabled(), r.enabled);
    EXPECT_TRUE(save_as->Enabled());
  }
}

TEST_F(ProjectActionTest, SetKindTakesTheKindsTextsUnlessLoading) {
  TProjectAction action(nullptr);
  EXPECT_EQ(FromUnicode(action.Caption()).str(), "New project");
  EXPECT_EQ(FromUnicode(action.Hint()).str(), "Create new project");
  action.SetKind(pakSave);
  EXPECT_EQ(FromUnicode(action.Caption()).str(), "Save project");
  action.SetKind(pakOpen);
  EXPECT_EQ(FromUnicode(action.Caption()).str(), "Open project...");
  action.SetCaption(u"Mine");
  action.SetKind(pakOpen);  // unchanged kind: texts stay
  EXPECT_EQ(FromUnicode(action.Caption()).str(), "Mine");
  action.SetKind(pakSaveAs);
  EXPECT_EQ(FromUnicode(action.Hint()).str(), "Assign new name for project");
  action.BeginLoading();
  action.SetKind(pakNew);
  action.EndLoading();
  EXPECT_EQ(action.Kind(), pakNew);
  EXPECT_EQ(FromUnicode(action.Caption()).str(), "Save project as...");
}

TEST_F(ProjectActionTest, SelectorButtonsStoreTheirTagAndTheBoxHintFollowsLaterEntries) {
  auto* host = new TForm(main_);
  auto* sel = new TPrjSelector(host);
  sel->SetParent(host);
  const char16_t* buttons[] = {u"ExitBtn", u"OpenLastBtn", u"OpenOtherBtn", u"CreateNewBtn"};
  for (int tag = 0; tag < 4; ++tag) {
    SCOPED_TRACE(tag);
    sel->SetChoice(-1);
    ui_.queue_press({buttons[tag]});
    host->ShowModal();
    EXPECT_EQ(sel->Choice(), tag);
  }
  sel->Paths() = {"/first.txt", "/second.txt"};
  sel->LastProjectsBox->Items().Add(u"first");
  sel->LastProjectsBox->Items().Add(u"second");
  sel->LastProjectsBox->SetHint(u"/first.txt");
  sel->LastProjectsBox->SetItemIndex(1);
  sel->LastProjectsBox->SetItemIndex(0);
  EXPECT_EQ(FromUnicode(sel->LastProjectsBox->Hint()).str(), "/second.txt");
}

}  // namespace
}  // namespace xum
