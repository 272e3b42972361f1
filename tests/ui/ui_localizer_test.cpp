// The component localizer on a browse form: the shell list's columns are
// texts to translate, the folder shown is not, and a translation stays
// when the list reads its folder again.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "framework/tforms.h"
#include "localization/xlocalizer.h"
#include "tests/localization/xloc_fixture.h"
#include "ui/tshell_controls.h"

namespace xum {
namespace {

class ShellListLocalizer : public test::loc_test {
 protected:
  // A list and its combo on a form, walked by the localizer into app_DEU.loc.
  std::unique_ptr<TForm> walked() {
    auto form = std::make_unique<TForm>(nullptr);
    form->SetName(u"Browse");
    auto* list = new TShellListView(form.get());
    list->SetName(u"Files");
    auto* combo = new TShellComboBox(form.get());
    combo->SetName(u"Where");
    list->SetShellComboBox(combo);
    list->SetRoot(ToUnicode(xstr(shown_.path.string())));
    xlocalizer loc;
    loc.open("app", "DEU");
    loc.component(form.get(), nullptr);
    loc.end_writing();
    return form;
  }
  test::temp_dir shown_;
};

TEST_F(ShellListLocalizer, TheWalkRecordsTheColumnsButNoPathsAndTranslationsStay) {
  walked();
  EXPECT_EQ(stored("Browse/Files/@Columns/3/o"), "Modified");
  EXPECT_EQ(stored("Browse/Where/@Text/o"), "(none)");
  std::string text = bytes();
  translate(text, "o=Size\r\n", "Größe");
  write(text);
  const auto form = walked();
  auto* list = static_cast<TShellListView*>(form->FindComponent(u"Files"));
  list->Refresh();
  EXPECT_EQ(list->Columns().Items(1)->Caption(), u"Größe");
}

}  // namespace
}  // namespace xum
