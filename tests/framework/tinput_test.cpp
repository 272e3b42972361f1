// Key dispatch through a form and the re-layout a windowed control gets
// when its children change. The mouse wheel's way up: tests/ui (scroller).
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "framework/tforms.h"
#include "framework/tstdctrls.h"

namespace xum {
namespace {

struct key_log {
  std::string text;
  TKeyEvent record(const char* who, bool consume) {
    return [this, who, consume](TObject*, std::uint16_t& key, TShiftState) {
      text += std::string(who) + ":" + std::to_string(key) + " ";
      if (consume) key = 0;
    };
  }
};

TEST(KeyDispatch, KeysAndCharactersGoThroughThePreviewToTheActiveControl) {
  TForm form(nullptr);
  auto* edit = new TEdit(&form);
  edit->SetParent(&form);
  key_log log;
  form.OnKeyDown = log.record("form", false);
  edit->OnKeyDown = log.record("edit", false);

  // Nothing focused: the form itself gets the key.
  EXPECT_EQ(form.DispatchKeyDown(VK_SPACE, 0), VK_SPACE);
  form.SetActiveControl(edit);
  form.DispatchKeyDown(VK_LEFT, ssShift);
  EXPECT_EQ(log.text, "form:32 edit:37 ");

  log.text.clear();
  form.SetKeyPreview(true);
  form.OnKeyDown = log.record("form", true);
  EXPECT_EQ(form.DispatchKeyDown(VK_RETURN, 0), 0);
  EXPECT_EQ(log.text, "form:13 ") << "a key the form consumed never reaches the control";
  // Characters take the same route; the form's preview may change them.
  std::u16string typed;
  form.OnKeyPress = [&](TObject*, char16_t& c) {
    if (c == u'x') c = u'y';
  };
  edit->OnKeyPress = [&](TObject*, char16_t& c) { typed += c; };
  form.DispatchKeyPress(u'x');
  form.DispatchKeyPress(u'a');
  EXPECT_EQ(typed, u"ya");

  // A control that left the form, or was destroyed, no longer gets keys.
  log.text.clear();
  form.SetKeyPreview(false);
  form.OnKeyDown = log.record("form", false);
  edit->SetParent(nullptr);
  form.DispatchKeyDown(VK_UP, 0);
  EXPECT_EQ(log.text, "form:38 ");
  edit->SetParent(&form);
  delete edit;
  EXPECT_EQ(form.ActiveControl(), nullptr);

  TForm other(nullptr);
  auto* stranger = new TEdit(&other);
  stranger->SetParent(&other);
  EXPECT_THROW(form.SetActiveControl(stranger), EInvalidOperation);
}

// Counts its layouts and moves its first child while laying out: a layout
// must not re-enter itself through the bounds it sets.
class counting_panel : public TGroupBox {
 public:
  using TGroupBox::TGroupBox;
  int layouts = 0;

 protected:
  void AlignControls() override {
    ++layouts;
    if (ControlCount() > 0) Controls(0)->SetBounds(layouts, 0, 10, 10);
  }
};

TEST(Realign, RunsOnceForEachChangeOfAChild) {
  TForm form(nullptr);
  auto* panel = new counting_panel(&form);
  panel->SetParent(&form);
  auto* child = new TLabel(&form);
  child->SetParent(panel);
  EXPECT_EQ(panel->layouts, 1);  // a child came
  child->SetVisible(false);
  child->SetVisible(false);  // no change: no layout
  EXPECT_EQ(panel->layouts, 2);
  child->SetBounds(child->Left(), child->Top(), 30, 10);
  EXPECT_EQ(panel->layouts, 3);
  int resized = 0;
  panel->OnResize = [&](TObject*) { ++resized; };
  panel->SetBounds(0, 0, 200, 100);
  panel->SetBounds(5, 5, 200, 100);  // a move is not a resize
  EXPECT_EQ(panel->layouts, 4);
  EXPECT_EQ(resized, 1);
  child->SetParent(nullptr);
  EXPECT_EQ(panel->layouts, 5);  // a child went
  delete child;
}

}  // namespace
}  // namespace xum
