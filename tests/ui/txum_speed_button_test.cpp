#include "ui/txum_speed_button.h"

#include <string>

#include <gtest/gtest.h>

#include "framework/tforms.h"

namespace xum {
namespace {

void click(TxumSpeedButton* b) {
  b->MouseDown(mbLeft, ssLeft, 5, 5);
  b->MouseUp(mbLeft, 0, 5, 5);
}

// Buttons 0-2 of group 1 and button 3 of group 2 on a panel, button 4 of
// group 1 on another panel; each counts its clicks.
struct speed_group : ::testing::Test {
  TForm form{nullptr};
  TWinControl *panel = new TWinControl(&form), *other_panel = new TWinControl(&form);
  TxumSpeedButton* b[5];
  int clicks[5] = {};
  speed_group() {
    for (int i = 0; i < 5; ++i) {
      b[i] = new TxumSpeedButton(&form);
      b[i]->SetParent(i == 4 ? other_panel : panel);
      b[i]->SetBounds(24 * i, 0, 24, 24);
      b[i]->SetGroupIndex(i == 3 ? 2 : 1);
      b[i]->OnClick = [this, i](TObject*) { ++clicks[i]; };
    }
  }
  std::string downs() const {
    std::string out;
    for (const TxumSpeedButton* x : b) out += x->Down() ? 'D' : '.';
    return out;
  }
};

TEST_F(speed_group, AGroupUnderOneParentKeepsAtMostOneButtonDown) {
  for (int i : {0, 3, 4}) click(b[i]);
  EXPECT_EQ(downs(), "D..DD") << "other groups and other parents are apart";
  click(b[1]);
  click(b[1]);
  EXPECT_EQ(downs(), ".D.DD") << "the group keeps its down button";
  EXPECT_EQ(clicks[1], 2) << "clicked again, still clicked";
  b[2]->SetAllowAllUp(true);  // for the whole group
  click(b[1]);
  EXPECT_EQ(downs(), "...DD");
  b[0]->SetGroupIndex(0);
  b[0]->SetDown(true);
  EXPECT_EQ(downs(), "...DD") << "GroupIndex 0 never stays down";
}

}  // namespace
}  // namespace xum
