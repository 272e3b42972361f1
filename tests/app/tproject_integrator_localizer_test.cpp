#include <gtest/gtest.h>

#include "app/tproject_integrator.h"
#include "framework/tforms.h"
#include "localization/xlocalizer.h"
#include "tests/localization/xloc_fixture.h"

namespace xum {
namespace {

using ProjectIntegratorLocalizerTest = test::loc_test;

TEST_F(ProjectIntegratorLocalizerTest, TheWalkRecordsTheSaveQuestionAndTheUntitledName) {
  TForm form(nullptr);
  form.SetName(u"Main");
  auto* project = new TProjectIntegrator(&form);
  project->SetName(u"Project");
  project->SetUntitled(u"Nameless");
  xlocalizer loc;
  loc.open("app", "DEU");
  loc.component(&form, nullptr);
  loc.end_writing();
  EXPECT_EQ(stored("Main/Project/@SaveQuest/o"), "Save changes in project before exit?");
  EXPECT_EQ(stored("Main/Project/@Untitled/o"), "Nameless");
}

}  // namespace
}  // namespace xum
