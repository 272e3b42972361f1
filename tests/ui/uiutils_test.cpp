#include "ui/uiutils.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "core/xmessage_box.h"
#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/tdialogs.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "framework/xui_backend.h"
#include "tests/support/xtest_helpers.h"
#include "ui/tfile_selector.h"
#include "ui/tnumber_edit.h"
#include "ui/tquery_string_form.h"

namespace xum {
namespace {

struct units_scope {
  explicit units_scope(int system) { unitsSystem = system; }
  ~units_scope() { unitsSystem = 0; }
};

TEST(UnitTexts, FollowTheTablesOfBothSystems) {
  struct row {
    int system;
    char kind;  // d distance, r rounded distance, s square, v speed
    double value;
    const char* text;
  };
  const row rows[] = {
      {0, 'd', 4999, "4999.0 m"},      {0, 'd', 5000, "5.00 km"},
      {0, 'r', 995, "990 m"},          {0, 'r', 1000, "1.0 km"},
      {0, 'r', 4999, "5.0 km"},        {0, 'r', 7300, "7 km"},
      {0, 'r', 9.99, "0 m"},           {1, 'd', 100, "109.4 yards"},
      {1, 'd', 8045, "5.00 miles"},    {1, 'r', 1609, "1.0 miles"},
      {1, 'r', 804, "870 yards"},      {1, 'r', 804.5, "0.5 miles"},
      {0, 's', 999999, "999999.0 m2"}, {0, 's', 1000000, "1.000 km2"},
      {1, 's', 836, "1000.0 yards2"},  {1, 's', 20234.5, "5.00 acres"},
      {0, 'v', 10, "36.0 km/h"},       {1, 'v', 10, "22.4 miles/h"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(std::string(1, r.kind) + std::to_string(r.value) +
                 (r.system ? " imperial" : " metric"));
    units_scope units(r.system);
    const xstr got = r.kind == 'd'   ? DistanceText(r.value, false)
                     : r.kind == 'r' ? DistanceText(r.value, true)
                     : r.kind == 's' ? SquareText(r.value)
                                     : SpeedText(r.value);
    EXPECT_EQ(got.str(), r.text);
  }
}

TEST(UnitTexts, UseTheCurrentCatalogueTextAndIgnoreConversionsInIt) {
  const xstr saved = msg::kilometers.text;
  msg::kilometers.text = "%s%n km";  // a broken translation must not be read as a format
  EXPECT_EQ(DistanceText(12500, false).str(), "12.50 %s%n km");
  msg::kilometers.text = saved;
}

class UiTest : public ::testing::Test {
 protected:
  xscripted_backend ui_;
  xui_backend_scope scope_{ui_};
  TForm* form_ = new TForm(nullptr);
  void TearDown() override { delete form_; }
  template <class C>
  C* add(TWinControl* parent, const char16_t* hint = u"") {
    auto* c = new C(form_);
    c->SetParent(parent);
    c->SetHint(hint);
    return c;
  }
  static std::string message_of(TControl* c) {
    try {
      ValidateControl(c);
    } catch (const XEValidation& e) {
      EXPECT_EQ(FromUnicode(e.caption).str(), "Input error");
      return e.what();
    }
    return "(valid)";
  }
};

TEST_F(UiTest, ValidationChecksNestedChildrenFirstAndOnlyRaisesWhenAsked) {
  auto* panel = add<TGroupBox>(form_);
  auto* inner = add<TGroupBox>(panel);
  auto* combo = add<TComboBox>(inner, u"Colour");
  auto* list = add<TListBox>(panel, u"Size");
  list->Items().Add(u"a");
  EXPECT_FALSE(IsControlsValid(form_, nullptr));  // must not throw
  bool (*c_variadic)(TControl*, ...) = IsControlsValid;
  EXPECT_FALSE(c_variadic(form_, static_cast<TControl*>(nullptr)));
  EXPECT_EQ(message_of(panel), "Input field: Colour\nValue is not entered !");
  combo->SetStyle(csDropDownList);
  EXPECT_EQ(message_of(panel), "Input field: Colour\nItem is not selected !");
  combo->SetText(u"  \t");
  EXPECT_FALSE(IsControlValid(combo));
  combo->SetText(u"red");
  EXPECT_EQ(message_of(panel), "Input field: Size\nItem is not selected !");
  list->SetItemIndex(0);
  EXPECT_TRUE(IsControlsValid(panel, combo, list, nullptr));
  list->SetMultiSelect(true);
  EXPECT_FALSE(IsControlValid(list));
  list->SetSelected(0, true);
  auto* tree = add<TTreeView>(form_);
  EXPECT_EQ(message_of(tree), "Item is not selected !");  // no hint: no field line
  tree->Select(tree->Items().AddChild(nullptr, u"n"));
  EXPECT_NO_THROW(ValidateControls(panel, tree, nullptr));
}

TEST_F(UiTest, ValidateAnyCheckedNeedsOneCheckedItem) {
  auto* box = add<TCheckListBox>(form_, u"Days");
  box->Items().Add(u"Mon");
  EXPECT_EQ(test::error_of([&] { ValidateAnyChecked(box); }),
            "Input field: Days\nNo items are checked !");
  box->SetChecked(0, true);
  EXPECT_NO_THROW(ValidateAnyChecked(box));
}

TEST_F(UiTest, NumberEditRules) {
  struct row {
    const char16_t* text;
    bool integer, non_negative, allow_empty;
    double min, max;
    const char* message;
  };
  const row rows[] = {
      {u"", false, false, false, 0, 0, "Number expected !"},
      {u"", true, false, false, 0, 0, "Integer number expected !"},
      {u"  ", false, false, true, 0, 0, "(valid)"},
      {u"1,5", false, false, false, 0, 0, "Bad number format !"},
      {u"nan", false, false, false, 0, 0, "Bad number format !"},
      {u" 1.5 ", false, false, false, 0, 0, "(valid)"},
      {u"1.5", true, false, false, 0, 0, "Integer number expected !"},
      {u"99999999999999999999", true, false, false, 0, 0, "Integer number expected !"},
      {u"+7", true, true, false, 0, 0, "(valid)"},
      {u"-1", true, true, false, 0, 0, "Nonnegative number expected !"},
      {u"101", true, false, false, 1, 100, "Number in interval from 1 to 100 expected !"},
      {u"100", true, false, false, 1, 100, "(valid)"},
      {u"0.25", false, false, false, 0.5, 2.5, "Number in interval from 0.5 to 2.5 expected !"},
      {u"1e3", false, false, false, 5, 5, "(valid)"},  // no range while min == max
  };
  for (const row& r : rows) {
    SCOPED_TRACE(FromUnicode(r.text).str());
    auto* e = add<TNumberEdit>(form_);
    e->SetText(r.text);
    e->SetInteger(r.integer);
    e->SetNonNegative(r.non_negative);
    e->SetAllowEmpty(r.allow_empty);
    e->SetRange(r.min, r.max);
    EXPECT_EQ(message_of(e), r.message);
    EXPECT_EQ(e->IsValid(false), std::string(r.message) == "(valid)");
  }
}

TEST_F(UiTest, FileSelectorBrowsesAndChecksItsName) {
  test::temp_dir dir;
  const std::string file = (dir.path / "a.txt").string();
  test::put_file(file, "x");
  auto* sel = add<TFileSelector>(form_, u"Input");
  EXPECT_EQ(message_of(sel), "Input field: Input\nFile name is not selected !");
  ui_.queue_files({ToUnicode(xstr(file))});
  sel->BrowseBtn()->Click();
  EXPECT_EQ(FromUnicode(sel->FileName()).str(), file);
  EXPECT_TRUE(IsControlValid(sel));
  sel->SetFileName(ToUnicode(xstr(dir.path.string())));  // a directory is not a file
  EXPECT_EQ(message_of(sel), "Input field: Input\nFile not found !\nFile: " + dir.path.string());
  sel->SetSelectDirectory(true);
  EXPECT_TRUE(IsControlValid(sel));
  sel->SetFileName(ToUnicode(xstr(file)));  // a file is not a directory
  EXPECT_FALSE(IsControlValid(sel));
  sel->SetFileName(u"");
  EXPECT_EQ(message_of(sel), "Input field: Input\nDirectory name is not selected !");
}

TEST_F(UiTest, QueryStringKeepsTheValueUnlessOk) {
  xstr value = "old";
  ui_.queue_form([](TCustomForm& f) {
    dynamic_cast<TEdit*>(f.FindComponent(u"ValueEdit"))->SetText(u"typed");
    return mrCancel;
  });
  EXPECT_FALSE(QueryString("Rename", "Name:", value));
  EXPECT_EQ(value.str(), "old");
  UnicodeString seen;
  ui_.queue_form([&](TCustomForm& f) {
    auto* edit = dynamic_cast<TEdit*>(f.FindComponent(u"ValueEdit"));
    seen = f.Caption() + u"|" + dynamic_cast<TLabel*>(f.FindComponent(u"PromptLabel"))->Caption() +
           u"|" + edit->Text();
    edit->SetText(u"new");
    return xpress_button(f, u"OkBtn");
  });
  EXPECT_TRUE(QueryString("Rename", "Name:", value));
  EXPECT_EQ(FromUnicode(seen).str(), "Rename|Name:|old");
  EXPECT_EQ(value.str(), "new");
}

TEST_F(UiTest, BoxesAndExceptionHandler) {
  ui_.queue_answer(IDNO);
  EXPECT_EQ(ErrorBox("bad", MB_YESNO), IDNO);
  WarningBox("careful", MB_OK | MB_ICONWARNING);
  ASSERT_EQ(ui_.boxes().size(), 2u);
  EXPECT_EQ(ui_.boxes()[0].caption.str(), "Error");
  EXPECT_EQ(ui_.boxes()[1].caption.str(), "Warning");
  SetExceptionHandler();
  try {
    throw XException(u"boom");
  } catch (...) {
    Application()->HandleException(nullptr);
  }
  Application()->OnException = nullptr;
  ASSERT_EQ(ui_.boxes().size(), 3u);
  EXPECT_EQ(ui_.boxes()[2].text.str(), "boom");
}

TEST_F(UiTest, SaveOpenFileRemembersTheChosenDirectory) {
  test::temp_dir root;
  setenv("XUM_REGISTRY_ROOT", root.path.c_str(), 1);
  TOpenDialog dialog(nullptr);
  dialog.SetInitialDir(u"/start");
  EXPECT_FALSE(SaveOpenFile(&dialog, "Software\\Notes", "LastDir"));  // cancelled: nothing stored
  EXPECT_EQ(FromUnicode(dialog.InitialDir()).str(), "/start");
  ui_.queue_files({u"/data/notes/a.txt"});
  EXPECT_TRUE(SaveOpenFile(&dialog, "Software\\Notes", "LastDir"));
  TOpenDialog next(nullptr);
  EXPECT_FALSE(SaveOpenFile(&next, "Software\\Notes", "LastDir"));
  EXPECT_EQ(FromUnicode(next.InitialDir()).str(), xextract_file_dir("/data/notes/a.txt").str());
  unsetenv("XUM_REGISTRY_ROOT");
}

}  // namespace
}  // namespace xum
