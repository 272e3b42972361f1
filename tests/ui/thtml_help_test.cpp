// The application's HTML help: which page a topic opens (folder, archive,
// index with an anchor) and what is said when there is none. The opener is
// replaced, so the URLs are recorded instead of opened.
#include "ui/thtml_help.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "formats/xvirtual_file_sys.h"
#include "framework/tapplication.h"
#include "framework/xui_backend.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;

class HtmlHelp : public ::testing::Test {
 protected:
  HtmlHelp() {
    fs::create_directories(dir_.path / "run");
    fs::permissions(dir_.path / "run", fs::perms::owner_all);
    if (const char* old = std::getenv("XDG_RUNTIME_DIR")) old_runtime_ = old;
    setenv("XDG_RUNTIME_DIR", (dir_.path / "run").c_str(), 1);
    previous_ = xum::HtmlHelp().SetOpener([this](const xstr& url) {
      urls_.push_back(url.str());
      return opens_;
    });
    test::put_file(dir_.path / "help/index.html", "<h1>Contents</h1>");
    test::put_file(dir_.path / "help/editing.html", "edit");
    test::put_file(dir_.path / "help/Printing.html", "print");
  }
  ~HtmlHelp() override {
    xum::HtmlHelp().SetOpener(previous_);
    Application()->SetHelpFile(UnicodeString());
    if (old_runtime_.empty())
      unsetenv("XDG_RUNTIME_DIR");
    else
      setenv("XDG_RUNTIME_DIR", old_runtime_.c_str(), 1);
  }

  std::string url(const std::string& rest) const {
    return "file://" + dir_.path.string() + "/" + rest;
  }
  UnicodeString path(const std::string& rest) const {
    return ToUnicode(xstr((dir_.path / rest).c_str()));
  }
  void make_archive(const std::string& name,
                    const std::vector<std::pair<std::string, std::string>>& members) {
    xvirtual_file_sys vfs;
    vfs.create(xstr((dir_.path / name).c_str()));
    for (const auto& [member, bytes] : members) {
      xmemory_stream data;
      data.write(bytes.data(), static_cast<int>(bytes.size()));
      data.seek(0, xseek_begin);
      vfs.add_stream(xstr(member.c_str()), data);
    }
    vfs.close();
  }
  // The last URL opened, or what a box said.
  std::string shown() const { return urls_.empty() ? "(nothing opened)" : urls_.back(); }
  std::string boxed() const {
    return ui_.boxes().empty() ? "(no box)" : ui_.boxes().back().text.str();
  }

  test::temp_dir dir_;
  std::string old_runtime_;
  THtmlHelp::TOpener previous_;
  std::vector<std::string> urls_;
  bool opens_ = true;
  xscripted_backend ui_;
  xui_backend_scope use_{ui_};
};

TEST_F(HtmlHelp, AKeywordOpensItsPageElseTheIndexAtItsAnchor) {
  Application()->SetHelpFile(path("help"));
  xum::HtmlHelp().MapContext(120, u"printing");
  const std::tuple<UnicodeString, int, std::string> rows[] = {
      {u"printing", 0, "help/Printing.html"},          // the name differs in case only
      {u"../index", 0, "help/index.html#..%2Findex"},  // never a page outside the help
      {u"", 0, "help/index.html"},
      {u"", 120, "help/Printing.html"},  // a mapped context
      {u"", 7, "help/index.html#7"},     // an unmapped one by its number
  };
  for (const auto& [keyword, context, page] : rows) {
    SCOPED_TRACE(FromUnicode(keyword).str() + " " + std::to_string(context));
    EXPECT_TRUE(context ? Application()->HelpContext(context)
                        : Application()->HelpKeyword(keyword));
    EXPECT_EQ(shown(), url(page));
  }
  EXPECT_TRUE(ui_.boxes().empty());
  xum::HtmlHelp().MapContext(120, u"");
}

TEST_F(HtmlHelp, AnArchiveIsExtractedWholeAndItsPageOpenedThere) {
  make_archive("help.vfs", {{"index.html", "<a href=\"Editing.html\">"},
                            {"Editing.html", "first"},
                            {"editing.html", "second of the same name"},
                            {"../escape.html", "outside"},
                            {"logo.bmp", "BM"}});
  Application()->SetHelpFile(path("help.vfs"));
  ASSERT_TRUE(Application()->HelpKeyword(u"editing"));
  const std::string prefix = "file://" + (dir_.path / "run").string() + "/help-";
  ASSERT_EQ(shown().rfind(prefix, 0), 0u) << shown();
  const fs::path folder = shown().substr(7, shown().rfind('/') - 7);
  EXPECT_EQ(shown(), "file://" + (folder / "Editing.html").string());
  EXPECT_EQ(test::file_bytes(folder / "Editing.html"), "first");  // the first of a name, as read
  EXPECT_TRUE(fs::exists(folder / "logo.bmp"));  // what the pages link to is there too
  EXPECT_FALSE(fs::exists(folder.parent_path() / "escape.html"));
  // Changed in place: the next topic comes from the new archive.
  make_archive("help.vfs", {{"index.html", "new"}, {"Editing.html", "rewritten page"}});
  ASSERT_TRUE(Application()->HelpKeyword(u"editing"));
  EXPECT_EQ(test::file_bytes(folder / "Editing.html"), "rewritten page");
}

TEST_F(HtmlHelp, WithoutAPageToOpenABoxSaysWhy) {
  test::put_file(dir_.path / "not-an-archive.vfs", "plain text");
  fs::create_directories(dir_.path / "empty");
  const std::string empty = (dir_.path / "empty").string();
  const std::tuple<UnicodeString, UnicodeString, std::string> rows[] = {
      {u"", u"editing", "No help file is set for this application (Application()->HelpFile)"},
      {path("gone"), u"editing", "Help file not found: " + (dir_.path / "gone").string()},
      {path("empty"), u"editing",
       "The help " + empty + " has no page editing.html and no index.html"},
      {path("empty"), u"", "The help " + empty + " has no index.html"},
      {path("not-an-archive.vfs"), u"x",
       "Cannot read the help archive " + (dir_.path / "not-an-archive.vfs").string() +
           ": Invalid data format !"},
  };
  for (const auto& [help_file, keyword, message] : rows) {
    SCOPED_TRACE(message);
    Application()->SetHelpFile(help_file);
    EXPECT_FALSE(Application()->HelpKeyword(keyword));
    EXPECT_EQ(boxed(), message);
    EXPECT_EQ(ui_.boxes().back().caption.str(), "Help");
  }
  // The page exists but the opener cannot open it.
  Application()->SetHelpFile(path("help"));
  opens_ = false;
  EXPECT_FALSE(Application()->HelpKeyword(u"editing"));
  EXPECT_EQ(boxed(), "Cannot open the help page " + url("help/editing.html"));
  // No viewer at all.
  const THelpViewerFn html = xset_default_help_viewer(nullptr);
  EXPECT_FALSE(Application()->HelpContext(3));
  xset_default_help_viewer(html);
  EXPECT_EQ(boxed(), "No help viewer is installed in this application");
}

}  // namespace
}  // namespace xum
