// The project actions. Actions that find their owner's integrator and run
// its commands: examples/notes (run by examples/run_examples.sh).
#include "app/tproject_action.h"

#include <string>

#include <gtest/gtest.h>

namespace xum {
namespace {

TEST(ProjectAction, SetKindTakesTheKindsTextsUnlessLoading) {
  TProjectAction action(nullptr);
  const struct {
    TProjectActionKind kind;
    const char *caption, *hint;
  } rows[] = {{pakSave, "Save project", "Save changes in project"},
              {pakOpen, "Open project...", "Open existing project"},
              {pakSaveAs, "Save project as...", "Assign new name for project"},
              {pakNew, "New project", "Create new project"}};
  for (const auto& r : rows) {
    action.SetKind(r.kind);
    EXPECT_EQ(FromUnicode(action.Caption()).str() + "|" + FromUnicode(action.Hint()).str(),
              std::string(r.caption) + "|" + r.hint);
  }
  action.SetCaption(u"Mine");
  action.SetKind(pakNew);  // unchanged kind: texts stay
  EXPECT_EQ(FromUnicode(action.Caption()).str(), "Mine");
  action.BeginLoading();
  action.SetKind(pakOpen);
  action.EndLoading();
  EXPECT_EQ(action.Kind(), pakOpen);
  EXPECT_EQ(FromUnicode(action.Caption()).str(), "Mine");
}

}  // namespace
}  // namespace xum
