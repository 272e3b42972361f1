// Control schemes: the snapshot test of actions, the file that lists only
// changes, the key-name table, and the editor and capture forms driven
// through the scripted backend.
#include "app/tcontrol_scheme.h"

#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "app/tcontrol_scheme_editor.h"
#include "framework/tapplication.h"
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

  test::temp_dir dir;
  TControlScheme scheme;
  TKeyboardAction left{&scheme, "Left", "Move left", 37, 65};
  TKeyboardAction fire{&scheme, "Fire", "Fire", 32, -1};
};

TEST_F(ControlScheme, ActionReadsOnlyTheSnapshotHighBit) {
  TKeyboardAction a(&scheme, "A", "A", 65, -1);
  struct row {
    int code;
    std::uint8_t value;
    bool down;
  } rows[] = {{65, 0x80, true}, {65, 0xFF, true}, {65, 0x7F, false}, {65, 0x01, false},
              {255, 0x80, false}, {0, 0x80, false}};
  for (const row& r : rows) {
    SCOPED_TRACE(std::to_string(r.code) + " = " + std::to_string(r.value));
    std::memset(TControlScheme::keybState, 0, 256);
    TControlScheme::keybState[r.code] = r.value;
    EXPECT_EQ(static_cast<bool>(a), r.down);
  }
  // The live keyboard is not consulted until GetCurrentState copies it.
  xscripted_backend ui;
  xui_backend_scope use(ui);
  std::memset(TControlScheme::keybState, 0, 256);
  ui.set_key_state(65, true);
  EXPECT_FALSE(a);
  TControlScheme::GetCurrentState();
  EXPECT_TRUE(a);
  ui.set_key_state(32, true);
  TControlScheme::GetCurrentState();
  EXPECT_TRUE(fire);
}

TEST_F(ControlScheme, FileListsOnlyChangedKeysAndMissingOnesKeepDefaults) {
  scheme.SaveLoad(path("same.tsf"), xfile_create);
  const std::string same = test::file_bytes(dir.path / "same.tsf");
  EXPECT_EQ(same.find('='), std::string::npos) << same;

  left.key2 = -1;
  scheme.SaveLoad(path("changed.tsf"), xfile_create);
  const std::string changed = test::file_bytes(dir.path / "changed.tsf");
  EXPECT_NE(changed.find("Left2=-1"), std::string::npos) << changed;
  EXPECT_EQ(changed.find("Left1"), std::string::npos) << changed;
  EXPECT_EQ(changed.find("Fire"), std::string::npos) << changed;

  // A file with only Fire2 changes key 2 and leaves key 1 at its default.
  std::ofstream(dir.path / "only2.tsf", std::ios::binary) << "Fire2=70\r\n";
  fire.key1 = 99;
  scheme.SaveLoad(path("only2.tsf"), xfile_read);
  EXPECT_EQ(fire.key1, 32);
  EXPECT_EQ(fire.key2, 70);
  EXPECT_EQ(left.key2, 65);  // missing: back to the default

  // A value that does not parse keeps the default.
  std::ofstream(dir.path / "bad.tsf", std::ios::binary) << "Fire1=abc\r\n";
  static int errors;
  errors = 0;
  test::error_hook hook([](const xstr&) { ++errors; });
  fire.key1 = 5;
  scheme.SaveLoad(path("bad.tsf"), xfile_read);
  EXPECT_EQ(fire.key1, 32);
  EXPECT_EQ(errors, 1);
}

TEST_F(ControlScheme, KeyNamesFollowTheTable) {
  const struct {
    int code;
    const char* name;
  } rows[] = {{14, "Pause"}, {19, ""},    {188, "<"},       {190, ">"},     {220, "\\"},
              {65, "A"},     {90, "Z"},   {48, "0"},        {57, "9"},      {96, "Num. 0"},
              {105, "Num. 9"}, {112, "F1"}, {123, "F12"},   {124, ""},      {159, ""},
              {160, "Left Shift"}, {164, "Alt"}, {222, "'"}, {-1, ""},      {256, ""},
              {12, "Num center"}, {110, "Num ."}, {255, ""}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.code);
    EXPECT_EQ(std::string(xkey_name(r.code).view()), r.name);
  }
  int named = 0;
  for (int c = 0; c < 256; ++c) named += xkey_name(c).empty() ? 0 : 1;
  EXPECT_EQ(named, 37 + 26 + 10 + 10 + 12);
}

// Presses keys, then tells the capture form that a key went down.
xscripted_backend::form_step press_keys(xscripted_backend& ui, std::vector<int> keys) {
  return [&ui, keys](TCustomForm& form, xmodal_loop& loop) {
    EXPECT_EQ(form.Name(), u"KeyCaptureForm");
    ui.clear_key_states();
    for (int k : keys) ui.set_key_state(k, true);
    loop.act([&] { static_cast<TKeyCaptureForm&>(form).KeyDown(); });
    return mrNone;
  };
}

TEST_F(ControlScheme, CaptureTakesTheLowestNamedKeyAndCancelClears) {
  xscripted_backend ui;
  xui_backend_scope use(ui);
  const struct {
    std::vector<int> keys;
    int captured;  // -1: the form stays open and the script cancels it
  } rows[] = {{{160, 65}, 65}, {{162, 160}, 160}, {{124, 159}, -1}, {{}, -1}, {{19, 40}, 40}};
  for (const auto& r : rows) {
    SCOPED_TRACE(::testing::PrintToString(r.keys));
    fire.key1 = 32;
    ui.queue_steps({[captured = r.captured](TCustomForm& f, xmodal_loop&) {
                      auto* row = f.FindComponent(u"RowsBox")->FindComponent(u"Frame1");
                      EXPECT_NE(row, nullptr);
                      EXPECT_EQ(row->Tag(), 1);
                      static_cast<TButton*>(row->FindComponent(u"Key1Btn"))->Click();
                      const auto* b = static_cast<TButton*>(row->FindComponent(u"Key1Btn"));
                      EXPECT_EQ(b->Caption(), UnicodeString(xkey_name(captured).w_str()));
                      return mrOk;
                    }});
    ui.queue_steps({press_keys(ui, r.keys)});
    EXPECT_TRUE(EditControlScheme(&scheme));
    EXPECT_EQ(fire.key1, r.captured);
  }
}

TEST_F(ControlScheme, CancellingTheEditorRestoresEveryKey) {
  xscripted_backend ui;
  xui_backend_scope use(ui);
  left.key1 = 10;  // already changed before the editor opens
  ui.queue_steps({[](TCustomForm& f, xmodal_loop&) {
                    xpress_button(f, u"DefaultBtn");
                    auto* row = f.FindComponent(u"RowsBox")->FindComponent(u"Frame0");
                    static_cast<TButton*>(row->FindComponent(u"Key2Btn"))->Click();
                    return mrCancel;
                  }});
  ui.queue_steps({press_keys(ui, {90})});
  EXPECT_FALSE(EditControlScheme(&scheme));
  EXPECT_EQ(left.key1, 10);
  EXPECT_EQ(left.key2, 65);
  EXPECT_EQ(fire.key1, 32);
  EXPECT_EQ(fire.key2, -1);
}

TEST_F(ControlScheme, EditorSavesLoadsAndRelabelsRows) {
  xscripted_backend ui;
  xui_backend_scope use(ui);
  const std::string file = path("saved.tsf");
  left.key1 = 90;
  UnicodeString label;
  ui.queue_files({UnicodeString(xstr(file).w_str())});
  ui.queue_files({UnicodeString(xstr(file).w_str())});
  ui.queue_steps({[&](TCustomForm& f, xmodal_loop&) {
    xpress_button(f, u"SaveBtn");
    left.key1 = 37;
    xpress_button(f, u"LoadBtn");
    auto* row = f.FindComponent(u"RowsBox")->FindComponent(u"Frame0");
    label = static_cast<TButton*>(row->FindComponent(u"Key1Btn"))->Caption();
    return mrOk;
  }});
  EXPECT_TRUE(EditControlScheme(&scheme));
  EXPECT_EQ(left.key1, 90);
  EXPECT_EQ(label, u"Z");
  EXPECT_NE(test::file_bytes(file).find("Left1=90"), std::string::npos);
}

}  // namespace
}  // namespace xum
