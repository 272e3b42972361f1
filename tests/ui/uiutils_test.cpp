#include "ui/uiutils.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "framework/tapplication.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "framework/xui_backend.h"
#include "tests/support/xtest_helpers.h"
#include "ui/tfile_selector.h"
#include "ui/tnumber_edit.h"

namespace xum {
namespace {

TEST(UnitTexts, FollowTheTablesOfBothSystemsAndIgnoreConversionsInTheCatalogue) {
  // The system (1: imperial), the kind (d distance, r rounded distance,
  // s square, v speed), the value in metres, the text.
  const std::tuple<int, char, double, const char*> rows[] = {
      {0, 'd', 4999, "4999.0 m"},   {0, 'r', 995, "990 m"},         {0, 'r', 4999, "5.0 km"},
      {0, 'r', 7300, "7 km"},       {1, 'd', 100, "109.4 yards"},   {1, 'r', 804.5, "0.5 miles"},
      {1, 'v', 10, "22.4 miles/h"}, {0, 's', 1000000, "1.000 km2"}, {1, 's', 20234.5, "5.00 acres"},
  };
  for (const auto& [system, kind, value, text] : rows) {
    SCOPED_TRACE(text);
    unitsSystem = system;
    const xstr got = kind == 'd'   ? DistanceText(value, false)
                     : kind == 'r' ? DistanceText(value, true)
                     : kind == 's' ? SquareText(value)
                                   : SpeedText(value);
    EXPECT_EQ(got.str(), text);
  }
  unitsSystem = 0;
  const xstr saved = msg::kilometers.text;
  msg::kilometers.text = "%s%n km";  // a broken translation must not be read as a format
  EXPECT_EQ(DistanceText(12500, false).str(), "12.50 %s%n km");
  msg::kilometers.text = saved;
}

class UiTest : public ::testing::Test {
 protected:
  xscripted_backend ui_;
  xui_backend_scope scope_{ui_};
  TForm form_{nullptr};
  template <class C>
  C* add(TWinControl* parent, const char16_t* hint = u"") {
    auto* c = new C(&form_);
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
  auto* panel = add<TGroupBox>(&form_);
  auto* inner = add<TGroupBox>(panel);
  auto* combo = add<TComboBox>(inner, u"Colour");
  auto* list = add<TListBox>(panel, u"Size");
  list->Items().Add(u"a");
  EXPECT_FALSE(IsControlsValid(&form_, nullptr));  // must not throw
  EXPECT_EQ(message_of(panel), "Input field: Colour\nValue is not entered !");
  combo->SetText(u"red");
  EXPECT_EQ(message_of(panel), "Input field: Size\nItem is not selected !");
  list->SetItemIndex(0);
  EXPECT_TRUE(IsControlsValid(panel, combo, list, nullptr));
  auto* box = add<TCheckListBox>(&form_, u"Days");
  box->Items().Add(u"Mon");
  EXPECT_EQ(test::error_of([&] { ValidateAnyChecked(box); }),
            "Input field: Days\nNo items are checked !");
}

TEST_F(UiTest, NumberEditRules) {
  // The text, integer, non-negative, empty allowed, the range, the message.
  const std::tuple<const char16_t*, bool, bool, bool, double, double, const char*> rows[] = {
      {u"", false, false, false, 0, 0, "Number expected !"},
      {u"  ", false, false, true, 0, 0, "(valid)"},
      {u"nan", false, false, false, 0, 0, "Bad number format !"},
      {u"99999999999999999999", true, false, false, 0, 0, "Integer number expected !"},
      {u"-1", true, true, false, 0, 0, "Nonnegative number expected !"},
      {u"0.25", false, false, false, 0.5, 2.5, "Number in interval from 0.5 to 2.5 expected !"},
      {u"1e3", false, false, false, 5, 5, "(valid)"},  // no range while min == max
  };
  for (const auto& [text, integer, non_negative, allow_empty, min, max, message] : rows) {
    SCOPED_TRACE(message);
    auto* e = add<TNumberEdit>(&form_);
    e->SetText(text);
    e->SetInteger(integer);
    e->SetNonNegative(non_negative);
    e->SetAllowEmpty(allow_empty);
    e->SetRange(min, max);
    EXPECT_EQ(message_of(e), message);
  }
}

TEST_F(UiTest, FileSelectorBrowsesAndChecksItsName) {
  test::temp_dir dir;
  const std::string file = (dir.path / "a.txt").string();
  test::put_file(file, "x");
  auto* sel = add<TFileSelector>(&form_, u"Input");
  EXPECT_EQ(message_of(sel), "Input field: Input\nFile name is not selected !");
  ui_.queue_files({ToUnicode(xstr(file))});
  sel->BrowseBtn()->Click();
  EXPECT_TRUE(IsControlValid(sel));
  sel->SetFileName(ToUnicode(xstr(dir.path.string())));  // a directory is not a file
  EXPECT_EQ(message_of(sel), "Input field: Input\nFile not found !\nFile: " + dir.path.string());
  sel->SetSelectDirectory(true);
  EXPECT_TRUE(IsControlValid(sel));
  sel->SetFileName(u"");
  EXPECT_EQ(message_of(sel), "Input field: Input\nDirectory name is not selected !");
}

TEST_F(UiTest, TheExceptionHandlerShowsTheMessageInABox) {
  SetExceptionHandler();
  try {
    throw XException(u"boom");
  } catch (...) {
    Application()->HandleException(nullptr);
  }
  Application()->OnException = nullptr;
  ASSERT_EQ(ui_.boxes().size(), 1u);
  EXPECT_EQ(ui_.boxes()[0].text.str(), "boom");
}

}  // namespace
}  // namespace xum
