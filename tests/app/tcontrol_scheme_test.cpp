// Control schemes: actions against the snapshot, the file that lists only
// changes, the key-name table, and the editor and capture forms driven
// through the scripted backend.
#include "app/tcontrol_scheme.h"

#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "app/tcontrol_scheme_editor.h"
#include "framework/tstdctrls.h"
#include "framework/xmodal_loop.h"
#include "framework/xui_backend.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

class ControlScheme : public ::testing::Test {
 protected:
  ControlScheme() { std::memset(TControlScheme::keybState, 0, 256); }
  std::string path(const char* name) const { return (dir.path / name).string(); }
  std::string load(const char* name, const std::string& text) {
    std::ofstream(dir.path / name, std::ios::binary) << text;
    scheme.SaveLoad(path(name), xfile_read);
    return std::to_string(left.key1) + " " + std::to_string(left.key2) + " " +
           std::to_string(fire.key1) + " " + std::to_string(fire.key2);
  }
  // The key button `which` of row `row` of the open editor.
  static TButton* key_button(TCustomForm& f, const char16_t* row, const char16_t* which) {
    return static_cast<TButton*>(f.FindComponent(u"RowsBox")->FindComponent(row)->FindComponent(which));
  }
  // A capture form's script: these keys are down when a key-down arrives,
  // dispatched as a window would while the Cancel button has the focus.
  xscripted_backend::form_step press(std::vector<int> keys) {
    return [this, keys](TCustomForm& form, xmodal_loop& loop) {
      ui.clear_key_states();
      for (int k : keys) ui.set_key_state(k, true);
      loop.act([&] {
        form.SetActiveControl(static_cast<TWinControl*>(form.FindComponent(u"CancelBtn")));
        form.DispatchKeyDown(keys.empty() ? 0x41 : static_cast<std::uint16_t>(keys.back()), 0);
      });
      return mrNone;
    };
  }

  test::temp_dir dir;
  xscripted_backend ui;
  xui_backend_scope use{ui};
  TControlScheme scheme;
  TKeyboardAction left{&scheme, "Left", "Move left", 37, 65};
  TKeyboardAction fire{&scheme, "Fire", "Fire", 32, -1};
};

TEST_F(ControlScheme, ActionTestsOnlyTheSnapshotsHighBit) {
  TKeyboardAction a(&scheme, "A", "A", 65, -1);
  const std::pair<int, int> rows[] = {{65, 0x80}, {65, 0x7F}, {255, 0x80}};
  for (const auto& [code, value] : rows) {
    SCOPED_TRACE(std::to_string(code) + "=" + std::to_string(value));
    std::memset(TControlScheme::keybState, 0, 256);
    TControlScheme::keybState[code] = static_cast<std::uint8_t>(value);
    EXPECT_EQ(static_cast<bool>(a), code == 65 && value >= 0x80);
  }
  std::memset(TControlScheme::keybState, 0, 256);
  ui.set_key_state(65, true);
  EXPECT_FALSE(a);  // the keyboard counts only once copied
  TControlScheme::GetCurrentState();
  EXPECT_TRUE(a);
}

TEST_F(ControlScheme, FileHoldsOnlyChangedKeysAndMissingOnesAreDefaults) {
  scheme.SaveLoad(path("same.tsf"), xfile_create);
  EXPECT_EQ(test::file_bytes(dir.path / "same.tsf").find('='), std::string::npos);
  left.key2 = -1;
  scheme.SaveLoad(path("changed.tsf"), xfile_create);
  EXPECT_EQ(load("changed.tsf", test::file_bytes(dir.path / "changed.tsf")), "37 -1 32 -1");
  EXPECT_EQ(test::file_bytes(dir.path / "changed.tsf"), "TSF\r\nLeft2=-1\r\n");
  fire.key1 = 99;
  EXPECT_EQ(load("only2.tsf", "Fire2=70\r\n"), "37 65 32 70");
  static int errors = 0;
  test::error_hook hook([](const xstr&) { ++errors; });
  EXPECT_EQ(load("bad.tsf", "Fire1=abc\r\n"), "37 65 32 -1");
  EXPECT_EQ(errors, 1);
}

TEST_F(ControlScheme, KeyNamesFollowTheTable) {
  const std::pair<int, const char*> rows[] = {{14, "Pause"}, {19, ""},       {220, "\\"},
                                               {96, "Num. 0"}, {124, ""},      {160, "Left Shift"},
                                               {-1, ""},       {256, ""}};
  for (const auto& [code, name] : rows) EXPECT_EQ(xkey_name(code).view(), name) << code;
  int named = 0;
  for (int c = 0; c < 256; ++c) named += xkey_name(c).empty() ? 0 : 1;
  EXPECT_EQ(named, 37 + 26 + 10 + 10 + 12);
}

TEST_F(ControlScheme, CaptureTakesTheLowestNamedKeyAndCancelClears) {
  const std::pair<std::vector<int>, int> rows[] = {
      {{160, 65}, 65}, {{124, 159}, -1}, {{19, 40}, 40}};
  for (const auto& [keys, captured] : rows) {
    SCOPED_TRACE(::testing::PrintToString(keys));
    fire.key1 = 32;
    ui.queue_steps({[captured](TCustomForm& f, xmodal_loop&) {
      key_button(f, u"Frame1", u"Key1Btn")->Click();
      EXPECT_EQ(key_button(f, u"Frame1", u"Key1Btn")->Caption(),
                UnicodeString(xkey_name(captured).w_str()));
      return mrOk;
    }});
    // Keys without a name leave the form open; the script then cancels it.
    ui.queue_steps({press(keys)});
    EXPECT_TRUE(EditControlScheme(&scheme));
    EXPECT_EQ(fire.key1, captured);
  }
}

TEST_F(ControlScheme, CancellingTheEditorRestoresEveryKey) {
  left.key1 = 10;  // changed before the editor opens
  ui.queue_steps({[](TCustomForm& f, xmodal_loop&) {
    xpress_button(f, u"DefaultBtn");
    key_button(f, u"Frame0", u"Key2Btn")->Click();
    return mrCancel;
  }});
  ui.queue_steps({press({90})});
  EXPECT_FALSE(EditControlScheme(&scheme));
  EXPECT_EQ(std::to_string(left.key1) + " " + std::to_string(left.key2), "10 65");
}

TEST_F(ControlScheme, EditorSavesAndLoadsThenRelabelsTheRows) {
  const UnicodeString file(xstr(path("saved.tsf")).w_str());
  ui.queue_files({file});
  ui.queue_files({file});
  left.key1 = 90;
  ui.queue_steps({[this](TCustomForm& f, xmodal_loop&) {
    xpress_button(f, u"SaveBtn");
    left.key1 = 37;
    xpress_button(f, u"LoadBtn");
    EXPECT_EQ(key_button(f, u"Frame0", u"Key1Btn")->Caption(), u"Z");
    return mrOk;
  }});
  EXPECT_TRUE(EditControlScheme(&scheme));
  EXPECT_EQ(left.key1, 90);
  EXPECT_EQ(test::file_bytes(path("saved.tsf")), "TSF\r\nLeft1=90\r\n");
}

}  // namespace
}  // namespace xum
