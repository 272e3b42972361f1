#include "ui/tlayout_panel.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tforms.h"
#include "framework/tstdctrls.h"

namespace xum {
namespace {

struct bounds {
  int left, top, width, height;
  friend bool operator==(const bounds&, const bounds&) = default;
};

bounds of(const TControl* c) { return {c->Left(), c->Top(), c->Width(), c->Height()}; }

void PrintTo(const bounds& b, std::ostream* os) {
  *os << "(" << b.left << "," << b.top << " " << b.width << "x" << b.height << ")";
}
}  // namespace

void PrintTo(const TLayoutRect& r, std::ostream* os) {
  *os << "(" << r.Left << "," << r.Top << " " << r.Width << "x" << r.Height << ")";
}

namespace {

// A 200 x 100 panel on a form with three children of different sizes.
struct panel_fixture {
  TForm* form = new TForm(nullptr);
  TLayoutPanel* panel = new TLayoutPanel(form);
  std::vector<TButton*> kids;

  panel_fixture() {
    panel->SetParent(form);
    panel->SetBounds(0, 0, 200, 100);
    panel->SetMargins({5, 6, 7, 8});
    panel->SetSpacing(3);
    for (int i = 0; i < 3; ++i) {
      auto* b = new TButton(form);
      b->SetBounds(0, 0, 20 + 10 * i, 10 + 5 * i);  // 20x10, 30x15, 40x20
      b->SetParent(panel);
      kids.push_back(b);
    }
  }
  ~panel_fixture() { delete form; }
};

TEST(TLayoutPanel, PlacesVisibleChildrenByOrientationAndCrossRule) {
  struct row {
    TLayoutOrientation orientation;
    TLayoutCrossAlign cross;
    bounds first, second, third;
  };
  // Inner area: left 5, top 6, 188 wide, 86 high.
  const row rows[] = {
      {loVertical, lcStretch, {5, 6, 188, 10}, {5, 19, 188, 15}, {5, 37, 188, 20}},
      {loVertical, lcCenter, {89, 6, 20, 10}, {84, 19, 30, 15}, {79, 37, 40, 20}},
      {loHorizontal, lcStretch, {5, 6, 20, 86}, {28, 6, 30, 86}, {61, 6, 40, 86}},
      {loHorizontal, lcEnd, {5, 82, 20, 10}, {28, 77, 30, 15}, {61, 72, 40, 20}},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(std::to_string(r.orientation) + " cross " + std::to_string(r.cross));
    panel_fixture f;
    // The column stretched the widths: the children get their own sizes back.
    f.panel->SetOrientation(r.orientation);
    f.panel->SetCrossAlign(r.cross);
    for (int i = 0; i < 3; ++i) f.kids[i]->SetBounds(0, 0, 20 + 10 * i, 10 + 5 * i);
    EXPECT_EQ(of(f.kids[0]), r.first);
    EXPECT_EQ(of(f.kids[1]), r.second);
    EXPECT_EQ(of(f.kids[2]), r.third);
  }
}

TEST(TLayoutPanel, FollowsChildrenThatResizeHideShowComeAndGo) {
  panel_fixture f;  // a column: tops 6, 19, 37
  const struct step {
    const char* what;
    std::function<void()> act;
    std::vector<int> tops;  // of the children still there, in order
  } steps[] = {
      {"first grows", [&] { f.kids[0]->SetHeight(30); }, {6, 39, 57}},
      {"second hides", [&] { f.kids[1]->SetVisible(false); }, {6, 39, 39}},
      {"first goes, second shows",
       [&] {
         delete f.kids[0];
         f.kids.erase(f.kids.begin());
         f.kids[0]->SetVisible(true);
       },
       {6, 24}},
      {"a new one comes last",
       [&] {
         auto* b = new TButton(f.form);
         b->SetHeight(5);
         b->SetParent(f.panel);
         f.kids.push_back(b);
       },
       {6, 24, 47}},
      {"spacing widens", [&] { f.panel->SetSpacing(10); }, {6, 31, 61}},
      {"negative margins count as none", [&] { f.panel->SetMargins({-1, -1, -1, -1}); }, {0, 25, 55}},
      {"back", [&] { f.panel->SetMargins({5, 6, 7, 8}); }, {6, 31, 61}},
      {"moved to another parent", [&] { f.kids[0]->SetParent(f.form); f.kids.erase(f.kids.begin()); },
       {6, 36}},
  };
  for (const step& s : steps) {
    SCOPED_TRACE(s.what);
    s.act();
    ASSERT_EQ(f.kids.size(), s.tops.size());
    for (std::size_t i = 0; i < s.tops.size(); ++i)
      if (f.kids[i]->Visible()) {
        EXPECT_EQ(f.kids[i]->Top(), s.tops[i]) << "child " << i;
      }
  }
  // A hidden child keeps its place and takes none.
  EXPECT_EQ(f.panel->ContentExtent(), 6 + 20 + 10 + 5 + 8);
  f.kids[1]->SetVisible(false);
  EXPECT_EQ(f.panel->ContentExtent(), 6 + 20 + 8);
}

TEST(TSeparator, GeometryLeavesRoomForTheCaptionOnTheLine) {
  struct row {
    const char* name;
    TLayoutOrientation orientation;
    TSeparatorAlignment alignment;
    const char16_t* caption;
    int text_width;
    std::vector<TLayoutRect> lines;
    TLayoutRect caption_rect;
  };
  // 150 x 17 horizontal (line at y 7), 17 x 150 vertical (line at x 7);
  // a caption 40 x 13; indent 8, gap 4.
  const row rows[] = {
      {"plain", loHorizontal, saLeft, u"", 40, {{0, 7, 150, 2}}, {}},
      {"left", loHorizontal, saLeft, u"Title", 40, {{0, 7, 4, 2}, {52, 7, 98, 2}}, {8, 2, 40, 13}},
      {"centre", loHorizontal, saCenter, u"Title", 40, {{0, 7, 51, 2}, {99, 7, 51, 2}},
       {55, 2, 40, 13}},
      {"right", loHorizontal, saRight, u"Title", 40, {{0, 7, 98, 2}, {146, 7, 4, 2}},
       {102, 2, 40, 13}},
      {"too wide", loHorizontal, saLeft, u"A long title", 400, {}, {0, 2, 150, 13}},
      {"vertical titled", loVertical, saLeft, u"V", 9, {{7, 17, 2, 133}}, {4, 0, 9, 13}},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    TSeparator s(nullptr);
    s.SetOrientation(r.orientation);
    s.SetAlignment(r.alignment);
    s.SetCaption(r.caption);
    const TSeparator::TGeometry g = s.Geometry(r.text_width, 13);
    EXPECT_EQ(g.Lines, r.lines);
    EXPECT_EQ(g.CaptionRect, r.caption_rect);
  }
}

}  // namespace
}  // namespace xum
