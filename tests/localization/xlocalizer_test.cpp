#include "localization/xlocalizer.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/testing/xfault_os.h"
#include "tests/localization/xloc_fixture.h"
#include "tests/support/xfault_cases.h"

namespace xum {
namespace {

// Entries {key, text} of the section "Main".
using entries = std::vector<std::pair<const char*, std::string>>;

class xlocalizer_test : public test::loc_test {
 protected:
  // Asks for `requests` in German; the texts as the localizer left them.
  static std::vector<std::string> ask(xlocalizer& loc, const entries& requests) {
    loc.open("app", "DEU");
    loc.begin_section("Main");
    std::vector<std::string> out;
    for (const auto& [key, source] : requests) {
      xstr text(source);
      loc.string(key, text);
      out.push_back(text.str());
    }
    loc.end_section();
    return out;
  }
  std::vector<std::string> run(const entries& requests) {
    xlocalizer loc;
    const auto out = ask(loc, requests);
    modified = loc.modified();
    loc.end_writing();
    return out;
  }
  bool modified = false;
};

const char* const dictionary =
    "TSF_Localization\r\n<Main\r\n"
    "  <Title\r\n    o=Settings\r\n    t=Einstellungen\r\n  > (Title)\r\n"
    "  <Same\r\n    o=OK\r\n    t=!@!\r\n  > (Same)\r\n"
    "  <Open\r\n    o=Open\r\n  > (Open)\r\n"
    "> (Main)\r\n";

// Each entry asked for twice in one run over `dictionary`: what is shown,
// what is stored, and whether the file was rewritten. A rewrite drops the
// entries not asked for, translated ones among them: the old file is kept
// as a backup then.
TEST_F(xlocalizer_test, entry_states_of_a_second_run) {
  const struct {
    const char *key, *text, *shown, *stored;  // stored: "o|t|p"
    bool rewritten;
  } rows[] = {
      {"Title", "Settings", "Einstellungen", "Settings|Einstellungen|(none)", false},
      {"Same", "OK", "OK", "OK|!@!|(none)", false},
      {"Title", "Options", "Options", "Options|!#!|Einstellungen", true},
      {"Same", "Okay", "Okay", "Okay|!#!|OK", true},  // "!@!" kept as p
      {"New", "Fresh", "Fresh", "Fresh|!#!|(none)", true},
      // Texts the file cannot hold are shown as they are and never recorded.
      {"Multi", "two\nlines", "two\nlines", "(none)|(none)|(none)", false},
      {"Mark", "a @", "a @", "(none)|(none)|(none)", false},
      {"Key\nbreak", "x", "x", "(none)|(none)|(none)", false},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.key) + "=" + r.text);
    write(dictionary);
    EXPECT_EQ(run({{r.key, r.text}, {r.key, r.text}}),
              (std::vector<std::string>{r.shown, r.shown}));
    EXPECT_EQ(modified, r.rewritten);
    EXPECT_EQ(bytes() != dictionary, r.rewritten);
    EXPECT_EQ(bytes("app_DEU.loc.bak"), r.rewritten ? dictionary : "");
    std::filesystem::remove(file("app_DEU.loc.bak"));
    const std::string at = std::string("Main/") + r.key + "/";
    EXPECT_EQ(stored(at + "o") + "|" + stored(at + "t") + "|" + stored(at + "p"), r.stored);
    const std::string text = bytes();
    EXPECT_EQ(text.find("<" + std::string(r.key)), text.rfind("<" + std::string(r.key)));
  }
}

TEST_F(xlocalizer_test, a_failed_rewrite_keeps_the_old_file_and_can_be_retried) {
  platform::xfault_os faults(sys);
  platform::scoped_os use_faults(faults);
  // Nothing translated is dropped ("Open" never was), so no backup either.
  const entries requests = {
      {"Title", "Settings"}, {"Same", "Settings"}, {"New", "A new entry with some text"}};
  write(dictionary);
  const auto count = test::count_writes(faults, [&] {
    run(requests);
    write(dictionary);
  });
  ASSERT_GT(count.calls, 0);
  for (const auto& c : test::fault_cases(count)) {
    SCOPED_TRACE(c.name);
    faults.reset();
    c.stage(faults);
    xlocalizer loc;
    ask(loc, requests);
    EXPECT_NE(test::error_of([&] { loc.end_writing(); }), "(no error)");
    EXPECT_EQ(bytes(), dictionary);
    faults.reset();
    loc.end_writing();  // the same contents, now on a healthy disk
    EXPECT_EQ(stored("Main/New/o"), "A new entry with some text");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path), {}), 1);
    write(dictionary);
  }
}

}  // namespace
}  // namespace xum
