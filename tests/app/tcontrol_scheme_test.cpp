// Control schemes: actions against the snapshot, the file that lists only
// changes, and the editor's cancel driven through the scripted backend. The
// key names: tests/tools (xum keys list); a key captured in the editor:
// tests/qt.
#include "app/tcontrol_scheme.h"

#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "app/tcontrol_scheme_editor.h"
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

  test::temp_dir dir;
  xscripted_backend ui;
  xui_backend_scope use{ui};
  TControlScheme scheme;
  TKeyboardAction left{&scheme, "Left", "Move left", 37, 65};
  TKeyboardAction fire{&scheme, "Fire", "Fire", 32, -1};
};

TEST_F(ControlScheme, ActionTestsOnlyTheSnapshotsHighBit) {
  TKeyboardAction a(&scheme, "A", "A", 65, -1);
  for (const auto& [code, value] : {std::pair{65, 0x80}, {65, 0x7F}, {255, 0x80}}) {
    SCOPED_TRACE(std::to_string(code) + "=" + std::to_string(value));
    TControlScheme::keybState[code] = static_cast<std::uint8_t>(value);
    EXPECT_EQ(static_cast<bool>(a), code == 65 && value >= 0x80);
    TControlScheme::keybState[code] = 0;
  }
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

TEST_F(ControlScheme, CancellingTheEditorRestoresEveryKey) {
  left.key1 = 10;  // changed before the editor opens
  left.key2 = 11;
  ui.queue_steps({[](TCustomForm& f, xmodal_loop&) {
    xpress_button(f, u"DefaultBtn");
    return mrCancel;
  }});
  EXPECT_FALSE(EditControlScheme(&scheme));
  EXPECT_EQ(std::to_string(left.key1) + " " + std::to_string(left.key2), "10 11");
}

}  // namespace
}  // namespace xum
