// The page control: which page shows as pages come and go, and where its
// sheets are laid out. A user's choice of a tab: tests/qt.
#include "framework/tpage_control.h"

#include <gtest/gtest.h>

#include "framework/tforms.h"

namespace xum {
namespace {

struct PageControl : ::testing::Test {
  TTabSheet* add(const char16_t* caption) {
    auto* sheet = new TTabSheet(&form);
    sheet->SetCaption(caption);
    sheet->SetParent(pages);
    return sheet;
  }
  // Which sheets are visible, as "1.." per page in order.
  std::string shown() const {
    std::string out;
    for (int i = 0; i < pages->PageCount(); ++i) out += pages->Pages(i)->Visible() ? '1' : '.';
    return out;
  }
  TForm form{nullptr};
  TPageControl* pages = [this] {
    auto* p = new TPageControl(&form);
    p->SetParent(&form);
    p->SetBounds(0, 0, 300, 200);
    return p;
  }();
};

TEST_F(PageControl, TheFirstPageShowsAndEachSheetFillsTheAreaBelowTheTabs) {
  TTabSheet* a = add(u"General");
  TTabSheet* b = add(u"Advanced");
  EXPECT_EQ(pages->ActivePage(), a);
  EXPECT_EQ(shown(), "1.");
  EXPECT_EQ(b->PageIndex(), 1);
  EXPECT_EQ(b->Top(), 24);
  EXPECT_EQ(b->Height(), 176);
  pages->SetBounds(0, 0, 400, 300);  // a resize lays the sheets out again
  EXPECT_EQ(a->Width(), 400);
  EXPECT_EQ(a->Height(), 276);
  b->SetVisible(true);  // only the active page may show
  EXPECT_EQ(shown(), "1.");
  EXPECT_THROW(pages->Pages(2), xexception);
}

TEST_F(PageControl, ALeavingActivePageHandsOverToItsNeighbourWithATab) {
  TTabSheet* a = add(u"A");
  TTabSheet* b = add(u"B");
  TTabSheet* c = add(u"C");
  TTabSheet* d = add(u"D");
  c->SetTabVisible(false);
  pages->SetActivePage(b);
  delete b;  // C has no tab: D is next
  EXPECT_EQ(pages->ActivePage(), d);
  EXPECT_EQ(c->PageIndex(), 1);
  d->SetParent(nullptr);  // the last page left: the nearest before it with a tab
  EXPECT_EQ(pages->ActivePage(), a);
  delete d;
  pages->SetActivePageIndex(7);  // out of range: none
  EXPECT_EQ(pages->ActivePageIndex(), -1);
  EXPECT_EQ(shown(), "..");
  TTabSheet* e = add(u"E");  // arrives while none shows
  EXPECT_EQ(pages->ActivePage(), e);
  TForm other(nullptr);
  auto* stranger = new TTabSheet(&other);
  EXPECT_THROW(pages->SetActivePage(stranger), EInvalidOperation);
}

}  // namespace
}  // namespace xum
