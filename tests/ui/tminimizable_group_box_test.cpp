#include "ui/tminimizable_group_box.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "localization/xlocalizer.h"
#include "tests/localization/xloc_fixture.h"
#include "ui/tcolor_selector.h"
#include "ui/tdate_picker.h"
#include "ui/tlayout_panel.h"

namespace xum {
namespace {

// Three boxes 60, 70 and 80 high in a column: tops 4, 68, 142 (margins and
// spacing 4).
struct column_fixture {
  TForm* form = new TForm(nullptr);
  TLayoutPanel* column = new TLayoutPanel(form);
  std::vector<TMinimizableGroupBox*> boxes;
  std::vector<std::string> events;

  column_fixture() {
    column->SetParent(form);
    column->SetBounds(0, 0, 200, 300);
    for (int i = 0; i < 3; ++i) {
      auto* box = new TMinimizableGroupBox(form);
      box->SetName(u"Box" + std::u16string(1, char16_t(u'0' + i)));
      box->SetHeight(60 + 10 * i);
      box->SetParent(column);
      box->OnMinimize = [this, box](TObject* sender) {
        EXPECT_EQ(sender, box);
        events.push_back(std::to_string(box->Name()[3] - u'0') + (box->Minimized() ? "-" : "+") +
                         std::to_string(box->Height()));
      };
      boxes.push_back(box);
    }
  }
  ~column_fixture() { delete form; }
  std::vector<int> tops() const {
    std::vector<int> t;
    for (const auto* b : boxes) t.push_back(b->Top());
    return t;
  }
};

TEST(TMinimizableGroupBox, ACollapsedBoxInALayoutPanelMovesTheBoxesAfterItUp) {
  column_fixture f;
  const int caption = f.boxes[0]->CaptionHeight();
  ASSERT_EQ(caption, 11 + 9);  // Tahoma 8: 11 pixels
  EXPECT_EQ(f.tops(), (std::vector<int>{4, 68, 142}));
  f.boxes[0]->SetMinimized(true);
  EXPECT_EQ(f.tops(), (std::vector<int>{4, 4 + caption + 4, 4 + caption + 4 + 70 + 4}));
  f.boxes[1]->SetMinimized(true);
  EXPECT_EQ(f.tops(), (std::vector<int>{4, 28, 52}));
  // A column that sizes itself to its boxes shrinks with them.
  f.column->SetAutoSize(true);
  EXPECT_EQ(f.column->Height(), 52 + 80 + 4);
  f.boxes[0]->SetMinimized(false);
  f.boxes[1]->SetMinimized(false);
  EXPECT_EQ(f.tops(), (std::vector<int>{4, 68, 142})) << "each box back at its own height";
  EXPECT_EQ(f.column->Height(), 142 + 80 + 4);
  // Each change told once, the state and height already new; setting the
  // same state again tells nothing.
  f.boxes[1]->SetMinimized(false);
  EXPECT_EQ(f.events, (std::vector<std::string>{"0-20", "1-20", "0+60", "1+70"}));
}

TEST(TMinimizableGroupBox, HeightsSetWhileCollapsedAreRememberedNotShown) {
  column_fixture f;
  f.column->SetOrientation(loHorizontal);  // a row stretches each box to 292 high
  auto* box = f.boxes[1];
  EXPECT_EQ(box->Height(), 292);
  box->SetMinimized(true);
  EXPECT_EQ(box->Height(), 20) << "the row's stretch must not open it again";
  EXPECT_EQ(box->ExpandedHeight(), 292);
  f.column->SetHeight(200);  // the row now stretches to 192
  EXPECT_EQ(box->Height(), 20);
  box->SetBounds(box->Left(), box->Top(), box->Width(), 150);
  EXPECT_EQ(box->Height(), 20);
  box->SetMinimized(false);
  EXPECT_EQ(box->Height(), 192) << "the row's stretch wins once it is open";
}

TEST(TMinimizableGroupBox, TheCaptionButtonAndTheSpaceKeyToggle) {
  column_fixture f;
  auto* box = f.boxes[0];
  const TLayoutRect b = box->ButtonRect();
  EXPECT_EQ(b.Left + b.Width, box->Width() - 2);
  struct row {
    const char* name;
    TMouseButton button;
    int x, y;
    bool toggles;
  };
  const row rows[] = {
      {"last pixel", mbLeft, b.Left + b.Width - 1, b.Top + b.Height - 1, true},
      {"left of it", mbLeft, b.Left - 1, b.Top + 1, false},
      {"below it", mbLeft, b.Left + 1, b.Top + b.Height, false},
      {"right button", mbRight, b.Left + 1, b.Top + 1, false},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    const bool before = box->Minimized();
    box->MouseDown(r.button, 0, r.x, r.y);
    EXPECT_EQ(box->Minimized(), before != r.toggles);
  }
  f.form->SetActiveControl(box);
  const bool before = box->Minimized();
  EXPECT_EQ(f.form->DispatchKeyDown(VK_SPACE, 0), 0) << "the space key is used";
  EXPECT_NE(box->Minimized(), before);
  EXPECT_EQ(f.form->DispatchKeyDown(VK_SPACE, ssCtrl), VK_SPACE);
  EXPECT_NE(box->Minimized(), before);
}

// The component localizer's rows of the three classes.
class PanelsLocalizer : public test::loc_test {};

TEST_F(PanelsLocalizer, RecordsBoxAndSelectorCaptionsAndSkipsDatePickersWithWhatTheyOwn) {
  TForm form(nullptr);
  form.SetName(u"Main");
  const auto add = [](TControl* c, const char16_t* name, const char16_t* caption) {
    c->SetName(name);
    c->SetCaption(caption);
  };
  add(new TMinimizableGroupBox(&form), u"Advanced", u"Advanced options");
  add(new TColorSelector(&form), u"Ink", u"Ink colour:");
  auto* due = new TDatePicker(&form);
  due->SetName(u"Due");
  add(new TLabel(due), u"DueLabel", u"never recorded");
  xlocalizer loc;
  loc.open("app", "DEU");
  loc.component(&form, nullptr);
  loc.end_writing();
  EXPECT_EQ(stored("Main/Advanced/@Caption/o"), "Advanced options");
  EXPECT_EQ(stored("Main/Ink/@Caption/o"), "Ink colour:");
  const std::string text = bytes();
  EXPECT_EQ(text.find("Advanced options"), text.rfind("Advanced options")) << "recorded once";
  EXPECT_EQ(text.find("<Due"), std::string::npos);
  EXPECT_EQ(text.find("never recorded"), std::string::npos);
}

}  // namespace
}  // namespace xum
