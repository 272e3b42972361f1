#include "ui/tcolor_selector.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "framework/tforms.h"
#include "framework/xui_backend.h"

namespace xum {
namespace {

constexpr TColor navy = 0x800000, maroon = 0x000080, white = 0xFFFFFF, black = 0, teal = 0x808000;

struct selector_fixture {
  TForm* form = new TForm(nullptr);
  TColorSelector* ink = new TColorSelector(form);
  std::string log;  // x: OnChange, v: OnDropDown, ^: OnCloseUp
  xscripted_backend ui;
  xui_backend_scope use{ui};

  selector_fixture() {
    ink->SetParent(form);
    form->SetActiveControl(ink);
    ink->OnChange = [this](TObject*) { log += 'x'; };
    ink->OnDropDown = [this](TObject*) { log += 'v'; };
    ink->OnCloseUp = [this](TObject*) { log += '^'; };
  }
  ~selector_fixture() { delete form; }
  std::uint16_t key(std::uint16_t k, TShiftState shift = 0) { return form->DispatchKeyDown(k, shift); }
};

TEST(TColorSelector, KeysStepThePaletteAndDriveTheDropDown) {
  struct row {
    const char* name;
    TColor start;
    bool open;
    std::vector<std::pair<std::uint16_t, TShiftState>> keys;
    TColor color;
    bool open_after;
    int hot_after;  // checked while open
    const char* log;
  };
  const std::size_t other = TColorSelector::StandardPalette().size();
  const row rows[] = {
      {"right from black", black, false, {{VK_RIGHT, 0}}, maroon, false, 0, "x"},
      {"up at the first stays", black, false, {{VK_UP, 0}}, black, false, 0, ""},
      {"end then down stays", black, false, {{VK_END, 0}, {VK_DOWN, 0}}, white, false, 0, "x"},
      {"custom: down goes to the first", 0x123456, false, {{VK_DOWN, 0}}, black, false, 0, "x"},
      {"custom: up goes to the last", 0x123456, false, {{VK_UP, 0}}, white, false, 0, "x"},
      {"alt+down opens on the current", navy, false, {{VK_DOWN, ssAlt}}, navy, true, 4, "v"},
      {"F4 opens a custom on the first", 0x123456, false, {{0x73, 0}}, 0x123456, true, 0, "v"},
      {"open: down, enter picks", navy, true, {{VK_DOWN, 0}, {VK_RETURN, 0}}, 0x800080, false, 0, "^x"},
      {"open: up at the top stays", black, true, {{VK_UP, 0}, {VK_SPACE, 0}}, black, false, 0, "^"},
      {"open: escape keeps", navy, true, {{VK_DOWN, 0}, {VK_ESCAPE, 0}}, navy, false, 0, "^"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    selector_fixture f;
    f.ink->SetColor(r.start);
    f.ink->SetDroppedDown(r.open);
    f.log.clear();
    for (const auto& [k, shift] : r.keys) EXPECT_EQ(f.key(k, shift), 0) << "key " << k;
    EXPECT_EQ(f.ink->Color(), r.color);
    EXPECT_EQ(f.ink->DroppedDown(), r.open_after);
    if (r.open_after) {
      EXPECT_EQ(f.ink->HotIndex(), r.hot_after);
    }
    EXPECT_EQ(f.log, r.log);
  }
  // Down stops at "Other..." while open; a key the selector has no use for
  // goes on.
  selector_fixture f;
  f.ink->SetDroppedDown(true);
  for (std::size_t i = 0; i < other + 3; ++i) f.key(VK_DOWN);
  EXPECT_EQ(f.ink->HotIndex(), static_cast<int>(other));
  EXPECT_EQ(f.key('A'), 'A');
}

TEST(TColorSelector, OtherRunsTheColourDialogFromTheCurrentColour) {
  selector_fixture f;
  f.ink->SetColor(teal);
  f.log.clear();
  f.ui.queue_color(0x7F123456);   // the dialog's answer loses any high byte
  f.ui.queue_color_cancel();
  const int other = f.ink->ItemCount() - 1;
  f.ink->SetDroppedDown(true);
  f.ink->Pick(other);
  EXPECT_FALSE(f.ink->DroppedDown());
  EXPECT_EQ(f.ink->Color(), 0x123456);
  EXPECT_EQ(f.ink->ItemIndex(), -1);
  EXPECT_EQ(f.ink->ColorText(), u"#563412");  // red first
  EXPECT_FALSE(f.ink->SelectOther()) << "cancelled";
  EXPECT_FALSE(f.ink->SelectOther()) << "nothing queued: cancelled";
  EXPECT_EQ(f.ink->Color(), 0x123456);
  EXPECT_EQ(f.log, "v^x") << "closed before the colour changed";
  EXPECT_EQ(f.ui.color_dialogs(), (std::vector<TColor>{teal, 0x123456, 0x123456}));

  // Headless: cancelled unless the program's rule chooses.
  xheadless_backend& headless = xheadless_ui();
  xui_backend_scope use(headless);
  EXPECT_FALSE(f.ink->SelectOther());
  headless.set_color_rule([](TColor& c) {
    c = c == 0x123456 ? maroon : white;
    return true;
  });
  EXPECT_TRUE(f.ink->SelectOther());
  EXPECT_EQ(f.ink->Color(), maroon);
  EXPECT_EQ(f.ink->ColorText(), u"Maroon");
  headless.set_color_rule([](TColor& c) {
    c = white;  // a rule that changes its mind and cancels changes nothing
    return false;
  });
  EXPECT_FALSE(f.ink->SelectOther());
  EXPECT_EQ(f.ink->Color(), maroon);
  headless.set_color_rule(nullptr);
}

TEST(TColorSelector, RefusesSystemColoursAndKeepsItsPaletteUsable) {
  selector_fixture f;
  for (const TColor bad : {clBtnFace, clNone, clDefault}) {
    SCOPED_TRACE(bad);
    EXPECT_THROW(f.ink->SetColor(bad), xexception);
    EXPECT_THROW(f.ink->SetPalette({{bad, u"System"}}), xexception);
  }
  EXPECT_EQ(f.ink->Color(), black);
  f.ink->SetPalette({{navy, u"Ink"}, {maroon, u"Rust"}});
  f.ink->SetColor(maroon);
  EXPECT_EQ(f.ink->ColorText(), u"Rust");
  f.ink->SetDroppedDown(true);
  EXPECT_THROW(f.ink->SetHotIndex(3), xexception);
  f.ink->SetHotIndex(2);  // "Other..."
  f.ink->SetPalette({});  // back to the standard sixteen
  EXPECT_EQ(f.ink->ItemIndex(), 1);
  // A mouse press opens and closes; a disabled selector ignores it.
  f.ink->SetDroppedDown(false);
  f.ink->MouseDown(mbLeft, 0, 5, 5);
  EXPECT_TRUE(f.ink->DroppedDown());
  f.ink->MouseDown(mbLeft, 0, 5, 5);
  EXPECT_FALSE(f.ink->DroppedDown());
  f.ink->SetEnabled(false);
  f.ink->MouseDown(mbLeft, 0, 5, 5);
  EXPECT_FALSE(f.ink->DroppedDown());
}

}  // namespace
}  // namespace xum
