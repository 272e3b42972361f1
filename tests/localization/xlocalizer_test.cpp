#include "localization/xlocalizer.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "platform/testing/xfault_os.h"
#include "tests/localization/xloc_fixture.h"
#include "tests/support/xfault_cases.h"

namespace xum {
namespace {

using test::loc_test;

// One run in German over the entries {section, key, text}; the texts as the
// localizer left them.
struct request {
  const char* section;
  const char* key;
  std::string text;
};

class xlocalizer_test : public loc_test {
 protected:
  std::vector<std::string> run(std::vector<request> requests, bool as_translation = false) {
    xlocalizer loc;
    loc.open("app", "DEU");
    loc.text_is_translation = as_translation;
    std::vector<std::string> out;
    for (const auto& r : requests) {
      loc.begin_section(r.section);
      xstr text(r.text);
      loc.string(r.key, text);
      loc.end_section();
      out.push_back(text.str());
    }
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

TEST_F(xlocalizer_test, entry_states_of_a_second_run) {
  const struct {
    const char *key, *text, *shown, *o, *t, *p;
  } rows[] = {
      {"Title", "Settings", "Einstellungen", "Settings", "Einstellungen", "(none)"},  // translated
      {"Same", "OK", "OK", "OK", "!@!", "(none)"},           // same as source
      {"Open", "Open", "Open", "Open", "(none)", "(none)"},  // missing t: unchanged, not rewritten
      {"Title", "Options", "Options", "Options", "!#!", "Einstellungen"},  // source changed
      {"Same", "Okay", "Okay", "Okay", "!#!", "OK"},                       // "!@!" kept as p
      {"New", "Fresh", "Fresh", "Fresh", "!#!", "(none)"},                 // new
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.key) + "=" + r.text);
    write(dictionary);
    EXPECT_EQ(run({{"Main", r.key, r.text}}), std::vector<std::string>{r.shown});
    const std::string at = std::string("Main/") + r.key + "/";
    EXPECT_EQ(stored(at + "o"), r.o);
    EXPECT_EQ(stored(at + "t"), r.t);
    EXPECT_EQ(stored(at + "p"), r.p);
  }
}

TEST_F(xlocalizer_test, text_as_translation_keeps_the_stored_source) {
  write(dictionary);
  EXPECT_EQ(run({{"Main", "Title", "Einstellungen!"}, {"Main", "New", "Neu"}}, true),
            (std::vector<std::string>{"Einstellungen!", "Neu"}));
  EXPECT_EQ(stored("Main/Title/o"), "Settings");
  EXPECT_EQ(stored("Main/New/o"), "!#!");
}

TEST_F(xlocalizer_test, an_unchanged_run_leaves_the_file_alone_and_two_runs_are_identical) {
  run({{"Main", "Title", "Settings"}, {"Tools", "Sort", "Sort"}});
  const std::string first = bytes();
  run({{"Main", "Title", "Settings"}, {"Tools", "Sort", "Sort"}});
  EXPECT_FALSE(modified);
  EXPECT_EQ(bytes(), first);
  // A translator's edit survives the next run untouched.
  write(dictionary);
  run({{"Main", "Title", "Settings"}, {"Main", "Same", "OK"}});
  EXPECT_FALSE(modified);
  EXPECT_EQ(bytes(), dictionary);
}

TEST_F(xlocalizer_test, a_key_asked_for_twice_is_recorded_once) {
  write(dictionary);
  EXPECT_EQ(run({{"Main", "Title", "Settings"},
                 {"Main", "Title", "Settings"},
                 {"Main", "X", "x"},
                 {"Main", "X", "x"}}),
            (std::vector<std::string>{"Einstellungen", "Einstellungen", "x", "x"}));
  const std::string text = bytes();
  EXPECT_EQ(text.find("<X"), text.rfind("<X"));
}

TEST_F(xlocalizer_test, texts_the_file_cannot_hold_are_left_alone_and_the_file_stays_readable) {
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    EXPECT_EQ(run({{"Main", "Multi", "two\nlines"},
                   {"Main", "Tab", "tab\t"},
                   {"Main", "Mark", "a @"},
                   {"Main", "Plain", "plain"},
                   {"Main", "Key\nbreak", "x"},
                   {"Sec\ntion", "K", "y"}}),
              (std::vector<std::string>{"two\nlines", "tab\t", "a @", "plain", "x", "y"}));
    EXPECT_EQ(modified, round == 0);
  }
  EXPECT_EQ(stored("Main/Plain/o"), "plain");
  EXPECT_EQ(stored("Main/Multi/o"), "(none)");
}

TEST_F(xlocalizer_test, file_names_follow_the_executable_and_the_language) {
  const struct {
    const char *exe, *name, *language, *file;
  } rows[] = {
      {"app", "app.exe", "de_DE.UTF-8", "app_DEU.loc"},
      {"prog", "XUMComps.bpl", "sr_RS.UTF-8@latin", "XUMComps_SRM.loc"},
      {"prog", "noext", "FRA", "noext_FRA.loc"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.file);
    sys.exe = (dir.path / r.exe).string();
    sys.vars = {{"XUM_LANGUAGE", r.language}};
    xlocalizer loc;
    loc.open(r.name);
    EXPECT_EQ(loc.file_name(), (dir.path / r.file).string());
  }
  sys.vars = {{"LANG", "C.UTF-8"}};
  xlocalizer loc;
  loc.open("app");
  EXPECT_FALSE(loc.active());
}

TEST_F(xlocalizer_test, after_end_writing_strings_translate_and_nothing_is_written) {
  write(dictionary);
  xlocalizer loc;
  loc.open("app", "DEU");
  loc.end_writing();
  EXPECT_TRUE(loc.write_done());
  loc.begin_section("Main");
  xstr title("Settings"), changed("Other"), fresh("New");
  loc.string("Title", title);
  loc.string("Same", changed);
  loc.string("Nowhere", fresh);
  loc.end_section();
  loc.end_writing();
  EXPECT_EQ(title, "Einstellungen");
  EXPECT_EQ(changed, "Other");
  EXPECT_EQ(bytes(), dictionary);
}

TEST_F(xlocalizer_test, dropped_translations_are_kept_in_a_backup) {
  write(dictionary);
  run({{"Main", "Title", "Settings"}, {"Main", "New", "x"}});  // "Same" held "!@!" and goes
  EXPECT_EQ(bytes("app_DEU.loc.bak"), dictionary);
  EXPECT_EQ(stored("Main/Same/t"), "(none)");
  std::filesystem::remove(file("app_DEU.loc.bak"));
  // Nothing translated is dropped now ("Open" never was): no backup.
  run({{"Main", "Title", "Settings"}, {"Main", "Other", "y"}});
  EXPECT_FALSE(std::filesystem::exists(file("app_DEU.loc.bak")));
}

TEST_F(xlocalizer_test, broken_dictionaries_fail_open_with_the_formats_error) {
  for (const auto& [text, error] : {std::pair{"TSFOther\r\n", "Invalid data format !"},
                                    {"TSF_Localization\r\njunk\r\n", "Key without value ! Key: junk"}}) {
    SCOPED_TRACE(error);
    write(text);
    xlocalizer loc;
    EXPECT_NE(test::error_of([&] { loc.open("app", "DEU"); }).find(error), std::string::npos);
  }
}

TEST_F(xlocalizer_test, a_failed_rewrite_keeps_the_old_file_and_can_be_retried) {
  write(dictionary);
  platform::xfault_os faults(sys);
  platform::scoped_os use_faults(faults);
  auto collect = [](xlocalizer& loc) {
    loc.open("app", "DEU");
    loc.begin_section("Main");
    xstr t("Settings"), n("A new entry with some text");
    loc.string("Title", t);
    loc.string("Same", t);
    loc.string("New", n);
    loc.end_section();
  };
  const auto count = test::count_writes(faults, [&] {
    xlocalizer loc;
    collect(loc);
    loc.end_writing();
    write(dictionary);
  });
  ASSERT_GT(count.calls, 0);
  for (const auto& c : test::fault_cases(count)) {
    SCOPED_TRACE(c.name);
    faults.reset();
    c.stage(faults);
    xlocalizer loc;
    collect(loc);
    EXPECT_NE(test::error_of([&] { loc.end_writing(); }), "(no error)");
    EXPECT_FALSE(loc.write_done());
    EXPECT_EQ(bytes(), dictionary);
    faults.reset();
    loc.end_writing();  // the same contents, now on a healthy disk
    EXPECT_EQ(stored("Main/New/o"), "A new entry with some text");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path), {}), 1);
    write(dictionary);
  }
}

TEST_F(xlocalizer_test, a_dictionary_that_may_not_be_written_is_refused_like_a_direct_write) {
  write(dictionary);
  sys.read_only = file().string();
  xlocalizer loc;
  loc.open("app", "DEU");
  xstr t("Changed");
  loc.begin_section("Main");
  loc.string("Title", t);
  loc.end_section();
  const std::string error = test::error_of([&] { loc.end_writing(); });
  EXPECT_NE(error.find("Permission denied !"), std::string::npos) << error;
  EXPECT_NE(error.find("File: " + file().string()), std::string::npos) << error;
  EXPECT_EQ(bytes(), dictionary);
}

}  // namespace
}  // namespace xum
