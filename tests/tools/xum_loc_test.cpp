// `xum loc` on dictionaries the localizer wrote, and the .po exchange
// checked by the real msgfmt.
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "localization/xlocalizer.h"
#include "tests/localization/xloc_fixture.h"
#include "tests/support/xtool_run.h"

namespace xum {
namespace {

namespace fs = std::filesystem;


std::string q(const fs::path& p) { return "'" + p.string() + "'"; }

class xum_loc : public test::loc_test {
 protected:
  // A dictionary in every state, made by the localizer itself: a first
  // run collects, a translator's edits follow, a second run changes one
  // source text.
  void SetUp() override {
    collect({"Settings", "Open", "OK", "Close"});
    std::string text = bytes();
    translate(text, "o=Settings\r\n", "Einstellungen");
    translate(text, "o=Open\r\n", "Öffnen \"jetzt\"");
    translate(text, "o=OK\r\n", "!@!");
    write(text);
    collect({"Options", "Open", "OK", "Close"});
  }
  void collect(const std::vector<std::string>& texts) {
    xlocalizer loc;
    loc.open("app", "DEU");
    loc.begin_section("Main");
    const char* keys[] = {"Title", "OpenBtn", "OkBtn", "CloseBtn"};
    for (std::size_t i = 0; i < texts.size(); ++i) {
      xstr t(texts[i]);
      loc.string(keys[i], t);
    }
    loc.end_section();
    xloc_str* head = nullptr;
    xloc_str line("Line: ", "Line", &head);
    loc.strings(head);
    loc.end_writing();
  }
  test::tool_result xum(const std::string& args) { return test::run_tool("$XUM loc " + args); }
};

TEST_F(xum_loc, status_and_todo_tell_the_states_apart) {
  const auto s = xum("status " + q(file()));
  EXPECT_EQ(s.code, 0) << s.err;
  EXPECT_EQ(s.out,
            "Main: 4 entries, 1 translated, 1 same as source, 1 untranslated, 1 changed\n"
            "Strings: 1 entries, 0 translated, 0 same as source, 1 untranslated, 0 changed\n"
            "total: 5 entries, 1 translated, 1 same as source, 2 untranslated, 1 changed\n");
  const auto t = xum("todo " + q(file()));
  EXPECT_EQ(t.out,
            "Main/Title\n  source:   \"Options\"\n  previous: \"Einstellungen\"\n"
            "Main/CloseBtn\n  source:   \"Close\"\n"
            "Strings/Line\n  source:   \"Line: \"\n");
}

TEST_F(xum_loc, set_and_merge_store_exact_translations_only) {
  const std::string before = bytes();
  EXPECT_EQ(xum("set " + q(file()) + " Main/Nothing x").code, 1);
  EXPECT_EQ(bytes(), before);
  EXPECT_EQ(xum("set " + q(file()) + " Main/CloseBtn Schließen").code, 0);
  EXPECT_EQ(stored("Main/CloseBtn/t"), "Schließen");
  EXPECT_EQ(xum("set " + q(file()) + " Main/Title Options").code, 0);
  EXPECT_EQ(stored("Main/Title/t"), "!@!");

  // A newer dictionary: the same close button, a renamed key with the old
  // source text, and a source text that only resembles one.
  write(
      "TSF_Localization\r\n<Main\r\n<CloseBtn\r\no=Close\r\n>\r\n<Quit\r\no=Close\r\n>\r\n"
      "<Opening\r\no=Open @\r\n>\r\n>\r\n",
      "new.loc");
  const auto m = xum("merge " + q(file()) + " " + q(file("new.loc")));
  EXPECT_EQ(m.out, "2 translations carried into " + file("new.loc").string() + "\n") << m.err;
  EXPECT_EQ(stored("Main/CloseBtn/t", "new.loc"), "Schließen");
  EXPECT_EQ(stored("Main/Quit/t", "new.loc"), "Schließen");
  EXPECT_EQ(stored("Main/Opening/t", "new.loc"), "(none)");
}

TEST_F(xum_loc, export_passes_msgfmt_and_imports_back_byte_for_byte) {
  const fs::path po = dir.path / "app.po";
  const auto e = xum("export -o " + q(po) + " " + q(file()));
  ASSERT_EQ(e.code, 0) << e.err;
  const std::string text = test::file_bytes(po);
  EXPECT_NE(
      text.find("# previous: Einstellungen\n#, fuzzy\nmsgctxt \"Main/Title\"\nmsgid \"Options\"\n"
                "msgstr \"Einstellungen\"\n"),
      std::string::npos)
      << text;
  EXPECT_NE(text.find("msgstr \"Öffnen \\\"jetzt\\\"\"\n"), std::string::npos);

  if (test::run_tool("command -v msgfmt").code != 0) GTEST_SKIP() << "msgfmt is not installed";
  const auto check = test::run_tool("msgfmt -c --statistics -o /dev/null " + q(po));
  EXPECT_EQ(check.code, 0) << check.err;
  // status: 1 translated + 1 same as source, 1 changed, 2 untranslated.
  EXPECT_EQ(check.err, "2 translated messages, 1 fuzzy translation, 2 untranslated messages.\n");

  const std::string before = bytes();
  const auto i = xum("import " + q(po) + " " + q(file()));
  EXPECT_EQ(i.code, 0) << i.err;
  EXPECT_EQ(bytes(), before);
}

TEST_F(xum_loc, import_takes_a_translators_edits_and_refuses_what_does_not_fit) {
  const fs::path po = dir.path / "app.po";
  ASSERT_EQ(xum("export -o " + q(po) + " " + q(file())).code, 0);
  std::string text = test::file_bytes(po);
  // The translator confirms the fuzzy entry, translates "Close" and edits
  // a source text by mistake.
  text = std::regex_replace(text, std::regex("#, fuzzy\n"), "");
  text = std::regex_replace(text, std::regex("msgid \"Close\"\nmsgstr \"\""),
                            "msgid \"Close\"\nmsgstr \"Zu\"");
  text = std::regex_replace(text, std::regex("msgid \"Line: \""), "msgid \"Lines: \"");
  std::ofstream(po, std::ios::binary) << text;
  const auto i = xum("import " + q(po) + " " + q(file()));
  EXPECT_EQ(i.code, 1);
  EXPECT_NE(i.err.find("Strings/Line: the source text differs"), std::string::npos) << i.err;
  EXPECT_EQ(stored("Main/CloseBtn/t"), "Zu");
  EXPECT_EQ(stored("Strings/Line/o"), "Line: ");

  const std::string before = bytes();
  std::ofstream(po, std::ios::binary)
      << "msgctxt \"Main/Title\"\nmsgid \"Options\"\nmsgstr \"unterminated\n";
  const auto bad = xum("import " + q(po) + " " + q(file()));
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("Line: 3"), std::string::npos) << bad.err;
  EXPECT_EQ(bytes(), before);
}

}  // namespace
}  // namespace xum
