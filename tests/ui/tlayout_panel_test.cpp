#include "ui/tlayout_panel.h"

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "ui/tminimizable_group_box.h"

namespace xum {
namespace {

struct bounds {
  int left, top, width, height;
  friend bool operator==(const bounds&, const bounds&) = default;
};

bounds of(const TControl* c) { return {c->Left(), c->Top(), c->Width(), c->Height()}; }

// A 200 x 100 panel on a form with three children of different sizes.
struct panel_fixture {
  TForm form{nullptr};
  TLayoutPanel* panel = new TLayoutPanel(&form);
  std::vector<TButton*> kids;

  panel_fixture() {
    panel->SetParent(&form);
    panel->SetBounds(0, 0, 200, 100);
    panel->SetMargins({5, 6, 7, 8});
    panel->SetSpacing(3);
    for (int i = 0; i < 3; ++i) {
      auto* b = new TButton(&form);
      b->SetBounds(0, 0, 20 + 10 * i, 10 + 5 * i);  // 20x10, 30x15, 40x20
      b->SetParent(panel);
      kids.push_back(b);
    }
  }
};

TEST(TLayoutPanel, PlacesVisibleChildrenByOrientationAndCrossRule) {
  // Inner area: left 5, top 6, 188 wide, 86 high.
  const std::tuple<TLayoutOrientation, TLayoutCrossAlign, bounds, bounds> rows[] = {
      {loVertical, lcStretch, {5, 6, 188, 10}, {5, 37, 188, 20}},
      {loHorizontal, lcEnd, {5, 82, 20, 10}, {61, 72, 40, 20}},
  };
  for (const auto& [orientation, cross, first, third] : rows) {
    SCOPED_TRACE(std::to_string(orientation) + " cross " + std::to_string(cross));
    panel_fixture f;
    // The column stretched the widths: the children get their own sizes back.
    f.panel->SetOrientation(orientation);
    f.panel->SetCrossAlign(cross);
    for (int i = 0; i < 3; ++i) f.kids[i]->SetBounds(0, 0, 20 + 10 * i, 10 + 5 * i);
    EXPECT_EQ(of(f.kids[0]), first);
    EXPECT_EQ(of(f.kids[2]), third);
  }
}

TEST(TLayoutPanel, FollowsChildrenThatResizeHideAndGo) {
  panel_fixture f;  // a column: tops 6, 19, 37
  f.kids[0]->SetHeight(30);
  EXPECT_EQ(f.kids[2]->Top(), 57);
  f.kids[1]->SetVisible(false);  // takes no place
  EXPECT_EQ(f.kids[2]->Top(), 39);
  delete f.kids[0];
  EXPECT_EQ(f.kids[2]->Top(), 6);
  f.panel->SetMargins({-1, -1, -1, -1});  // count as none
  EXPECT_EQ(f.kids[2]->Top(), 0);
}

// Three boxes 60, 70 and 80 high in a column: tops 4, 68, 142 (margins and
// spacing 4).
TEST(TMinimizableGroupBox, ACollapsedBoxMovesTheBoxesAfterItUpAndItsColumnShrinks) {
  std::vector<std::string> events;  // outlives the form
  TForm form(nullptr);
  auto* column = new TLayoutPanel(&form);
  column->SetParent(&form);
  column->SetBounds(0, 0, 200, 300);
  std::vector<TMinimizableGroupBox*> boxes;
  for (int i = 0; i < 3; ++i) {
    auto* box = new TMinimizableGroupBox(&form);
    box->SetHeight(60 + 10 * i);
    box->SetParent(column);
    box->OnMinimize = [&events, box](TObject*) {
      events.push_back((box->Minimized() ? "-" : "+") + std::to_string(box->Height()));
    };
    boxes.push_back(box);
  }
  const auto tops = [&] {
    return std::vector<int>{boxes[0]->Top(), boxes[1]->Top(), boxes[2]->Top()};
  };
  ASSERT_EQ(boxes[0]->CaptionHeight(), 11 + 9);  // Tahoma 8: 11 pixels
  column->SetAutoSize(true);
  form.SetActiveControl(boxes[1]);
  EXPECT_EQ(form.DispatchKeyDown(VK_SPACE, ssCtrl), VK_SPACE);
  EXPECT_EQ(form.DispatchKeyDown(VK_SPACE, 0), 0) << "the space key toggles";
  EXPECT_EQ(tops(), (std::vector<int>{4, 68, 92}));
  EXPECT_EQ(column->Height(), 92 + 80 + 4);
  boxes[1]->SetMinimized(false);
  boxes[1]->SetMinimized(false);  // the same state again tells nothing
  EXPECT_EQ(tops(), (std::vector<int>{4, 68, 142})) << "back at its own height";
  // Each change told once, the state and height already new.
  EXPECT_EQ(events, (std::vector<std::string>{"-20", "+70"}));
}

}  // namespace
}  // namespace xum
