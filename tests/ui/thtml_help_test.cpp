// The application's HTML help: which page a topic opens (folder, archive,
// index with an anchor), what is said when there is none, and F1 on a form
// finding the topic of the focused control or its parents. The opener is
// replaced, so the URLs are recorded instead of opened.
#include "ui/thtml_help.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "formats/xvirtual_file_sys.h"
#include "framework/tapplication.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
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
    const char* old = std::getenv("XDG_RUNTIME_DIR");
    if (old != nullptr) old_runtime_ = old;
    setenv("XDG_RUNTIME_DIR", (dir_.path / "run").c_str(), 1);
    previous_ = xum::HtmlHelp().SetOpener([this](const xstr& url) {
      urls_.push_back(url.str());
      return opens_;
    });
    fs::create_directories(dir_.path / "help");
    put("help/index.html", "<h1>Contents</h1>");
    put("help/editing.html", "edit");
    put("help/Printing.html", "print");
  }
  ~HtmlHelp() override {
    xum::HtmlHelp().SetOpener(previous_);
    Application()->SetHelpFile(UnicodeString());
    if (old_runtime_.empty())
      unsetenv("XDG_RUNTIME_DIR");
    else
      setenv("XDG_RUNTIME_DIR", old_runtime_.c_str(), 1);
  }

  void put(const std::string& name, const std::string& bytes) const {
    std::ofstream(dir_.path / name, std::ios::binary) << bytes;
  }
  std::string url(const std::string& rest) const { return "file://" + dir_.path.string() + "/" + rest; }
  UnicodeString path(const std::string& rest) const { return ToUnicode(xstr((dir_.path / rest).c_str())); }
  void make_archive(const std::string& name, const std::vector<std::pair<std::string, std::string>>& members) {
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
  std::string boxed() const { return ui_.boxes().empty() ? "(no box)" : ui_.boxes().back().text.str(); }

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
  struct row {
    UnicodeString keyword;
    int context;
    std::string url;
  };
  const std::vector<row> rows = {
      {u"editing", 0, "help/editing.html"},
      {u"printing", 0, "help/Printing.html"},  // the name differs in case only
      {u"saving", 0, "help/index.html#saving"},
      {u"two words", 0, "help/index.html#two%20words"},
      {u"../index", 0, "help/index.html#..%2Findex"},  // never a page outside the help
      {u".hidden", 0, "help/index.html#.hidden"},
      {u"", 0, "help/index.html"},
      {u"", 120, "help/Printing.html"},  // a mapped context
      {u"", 7, "help/index.html#7"},     // an unmapped one by its number
  };
  for (const row& r : rows) {
    SCOPED_TRACE(FromUnicode(r.keyword).str() + " " + std::to_string(r.context));
    EXPECT_TRUE(r.context ? Application()->HelpContext(r.context) : Application()->HelpKeyword(r.keyword));
    EXPECT_EQ(shown(), url(r.url));
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
  auto read = [](const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  EXPECT_EQ(read(folder / "Editing.html"), "first");  // the first member of a name, as the archive reads
  EXPECT_EQ(read(folder / "logo.bmp"), "BM");          // what the pages link to is there too
  EXPECT_FALSE(fs::exists(folder.parent_path() / "escape.html"));
  EXPECT_FALSE(fs::exists(folder / "editing.html"));

  ASSERT_TRUE(Application()->HelpKeyword(u"missing"));
  EXPECT_EQ(shown(), "file://" + (folder / "index.html").string() + "#missing");

  // Changed in place: the next topic comes from the new archive.
  make_archive("help.vfs", {{"index.html", "new"}, {"Editing.html", "rewritten page"}, {"new.html", "x"}});
  ASSERT_TRUE(Application()->HelpKeyword(u"new"));
  EXPECT_EQ(shown(), "file://" + (folder / "new.html").string());
  EXPECT_EQ(read(folder / "Editing.html"), "rewritten page");
}

TEST_F(HtmlHelp, WithoutAPageToOpenABoxSaysWhy) {
  put("not-an-archive.vfs", "plain text");
  fs::create_directories(dir_.path / "empty");
  struct row {
    UnicodeString help_file;
    UnicodeString keyword;
    std::string message;
  };
  const std::vector<row> rows = {
      {u"", u"editing", "No help file is set for this application (Application()->HelpFile)"},
      {path("gone"), u"editing", "Help file not found: " + (dir_.path / "gone").string()},
      {path("empty"), u"editing",
       "The help " + (dir_.path / "empty").string() + " has no page editing.html and no index.html"},
      {path("empty"), u"", "The help " + (dir_.path / "empty").string() + " has no index.html"},
      {path("not-an-archive.vfs"), u"x",
       "Cannot read the help archive " + (dir_.path / "not-an-archive.vfs").string() + ": Invalid data format !"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.message);
    Application()->SetHelpFile(r.help_file);
    EXPECT_FALSE(Application()->HelpKeyword(r.keyword));
    EXPECT_EQ(boxed(), r.message);
    EXPECT_EQ(ui_.boxes().back().caption.str(), "Help");
  }
  EXPECT_TRUE(urls_.empty()) << "opened " << shown();

  // The page exists but the opener cannot open it.
  Application()->SetHelpFile(path("help"));
  opens_ = false;
  EXPECT_FALSE(Application()->HelpKeyword(u"editing"));
  EXPECT_EQ(boxed(), "Cannot open the help page " + url("help/editing.html"));
}

TEST_F(HtmlHelp, F1OpensTheTopicOfTheFocusedControlOrItsNearestParent) {
  Application()->SetHelpFile(path("help"));
  xum::HtmlHelp().MapContext(120, u"printing");
  TForm form(nullptr);
  auto* box = new TGroupBox(&form);
  box->SetParent(&form);
  auto* panel = new TGroupBox(&form);  // a parent without a topic
  panel->SetParent(box);
  auto* edit = new TEdit(&form);
  edit->SetParent(panel);
  form.SetActiveControl(edit);
  struct row {
    const char* name;
    UnicodeString form_keyword, box_keyword, edit_keyword;
    int edit_context;
    std::string url;
  };
  const std::vector<row> rows = {
      {"the control's own keyword", u"saving", u"editing", u"printing", 0, "help/Printing.html"},
      {"the control's context", u"saving", u"editing", u"", 120, "help/Printing.html"},
      {"a parent's, past one without", u"saving", u"editing", u"", 0, "help/editing.html"},
      {"the form's", u"saving", u"", u"", 0, "help/index.html#saving"},
      {"none at all: the contents", u"", u"", u"", 0, "help/index.html"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    form.SetHelpKeyword(r.form_keyword);
    box->SetHelpKeyword(r.box_keyword);
    edit->SetHelpKeyword(r.edit_keyword);
    edit->SetHelpContext(r.edit_context);
    urls_.clear();
    EXPECT_EQ(form.DispatchKeyDown(VK_F1, 0), 0) << "F1 is consumed";
    EXPECT_EQ(shown(), url(r.url));
  }
  // F1 with a modifier, or one a handler consumed, opens nothing.
  urls_.clear();
  EXPECT_EQ(form.DispatchKeyDown(VK_F1, ssShift), VK_F1);
  edit->OnKeyDown = [](TObject*, std::uint16_t& key, TShiftState) { key = 0; };
  EXPECT_EQ(form.DispatchKeyDown(VK_F1, 0), 0);
  EXPECT_TRUE(urls_.empty()) << "opened " << shown();
  xum::HtmlHelp().MapContext(120, u"");
}

TEST(ApplicationHelp, TheApplicationsViewerElseTheDefaultElseABox) {
  xscripted_backend ui;
  xui_backend_scope use(ui);
  const THelpViewerFn html = xset_default_help_viewer(nullptr);
  EXPECT_FALSE(Application()->HelpKeyword(u"x"));
  EXPECT_FALSE(Application()->HelpContext(3));
  ASSERT_EQ(ui.boxes().size(), 2u);
  EXPECT_EQ(ui.boxes()[0].text.str(), "No help viewer is installed in this application");
  // The application's own viewer comes before the default one.
  xset_default_help_viewer(html);
  std::vector<std::pair<std::string, int>> asked;
  Application()->SetHelpViewer([&](const UnicodeString& keyword, THelpContext context) {
    asked.emplace_back(FromUnicode(keyword).str(), context);
    return true;
  });
  EXPECT_TRUE(Application()->HelpContext(9));
  EXPECT_TRUE(Application()->HelpKeyword(u"k"));
  EXPECT_EQ(asked, (std::vector<std::pair<std::string, int>>{{"", 9}, {"k", 0}}));
  Application()->SetHelpViewer({});
}

}  // namespace
}  // namespace xum
