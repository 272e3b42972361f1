#include "ui/twebbrowser.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xutf.h"
#include "framework/xmain_loop.h"
#include "tests/support/xtest_helpers.h"
#include "ui/xweb_engine.h"

namespace xum {
namespace {

using test::put_file;
using lines = std::vector<std::string>;

std::string u8(const UnicodeString& s) { return xutf16_to_utf8(s); }
UnicodeString u16(const std::string& s) { return xutf8_to_utf16(s); }

// An engine the test drives by hand: it records what it is told, and the
// test makes it report.
class fake_engine final : public xweb_engine {
 public:
  explicit fake_engine(lines* log) : calls_(log) {}
  void load(const UnicodeString& url) override { calls_->push_back("load " + u8(url)); }
  void stop() override { calls_->push_back("stop"); }
  void reload() override { calls_->push_back("reload"); }
  const xweb_engine_events& on() const { return events(); }

 private:
  lines* calls_;
};

// A browser over the built-in engine on a folder of local pages; every
// event goes to `log_`, addresses in the folder written as bare names.
class WebBrowserTest : public ::testing::Test {
 protected:
  test::temp_dir dir_;
  lines calls_;  // what a fake engine was told; outlives the browser
  std::unique_ptr<TWebBrowser> web_ = std::make_unique<TWebBrowser>(nullptr);
  lines log_;
  bool cancel_ = false;

  void SetUp() override {
    for (const char* page : {"b.html", "c.html", "d.htm"})
      put_file(dir_.path / page, std::string("<title>Page ") + char(page[0] - 32) + "</title>");
    put_file(dir_.path / "a.html", "<html><head><title>Page A &amp; more</title></head>A</html>");
    put_file(dir_.path / "notes.txt", "<title>not a title</title>");
    watch(*web_);
  }
  void TearDown() override { xmain_loop::instance().run_posted(); }

  UnicodeString url(const std::string& name) const {
    return u16("file://" + (dir_.path / name).string());
  }
  std::string shorter(const UnicodeString& u) const {
    std::string s = u8(u);
    const std::string base = "file://" + dir_.path.string() + "/";
    for (std::size_t at; (at = s.find(base)) != std::string::npos;) s.erase(at, base.size());
    return s;
  }
  void watch(TWebBrowser& w) {
    const auto note = [this](const char* what) {
      return [this, what](TObject*, const UnicodeString& u) { log_.push_back(what + shorter(u)); };
    };
    w.OnBeforeNavigate2 = [this](TObject*, const UnicodeString& u, bool& cancel) {
      log_.push_back("before " + shorter(u));
      cancel = cancel_;
    };
    w.OnNavigateComplete2 = note("navigated ");
    w.OnDocumentComplete = note("document ");
    w.OnTitleChange = note("title ");
    w.OnStatusTextChange = note("status ");
    w.OnNavigateError = [this](TObject*, const UnicodeString& u, const UnicodeString& e) {
      log_.push_back("error " + shorter(u) + " | " + shorter(e));
    };
  }
  void synchronous() {
    web_->SetEngine(std::make_unique<xlocal_web_engine>(xlocal_web_engine::synchronous));
  }
  fake_engine& fake() {
    auto owned = std::make_unique<fake_engine>(&calls_);
    fake_engine& engine = *owned;
    web_->SetEngine(std::move(owned));
    return engine;
  }
  // The history, the current entry in brackets.
  std::string history() const {
    std::string s;
    const std::vector<UnicodeString> h = web_->History();
    for (int i = 0; i < static_cast<int>(h.size()); ++i)
      s += i == web_->HistoryIndex() ? "[" + shorter(h[i]) + "] " : shorter(h[i]) + " ";
    return s;
  }
  lines take_log() { return std::exchange(log_, {}); }
};

TEST_F(WebBrowserTest, NavigateLoadsThroughTheMainLoopReportingEachStepInOrder) {
  web_->Navigate(url("a.html"));
  EXPECT_TRUE(web_->Busy());
  EXPECT_EQ(take_log(), (lines{"before a.html", "status Opening a.html"}));
  EXPECT_EQ(web_->LocationURL(), u"") << "nothing shown until the page came";

  xmain_loop::instance().run_posted();
  EXPECT_FALSE(web_->Busy());
  EXPECT_EQ(take_log(), (lines{"navigated a.html", "title Page A & more", "status Done",
                               "document a.html"}));
  EXPECT_EQ(web_->LocationURL(), url("a.html"));
  EXPECT_EQ(web_->LocationName(), u"Page A & more");
  EXPECT_EQ(history(), "[a.html] ");

  xmain_loop::instance().shutdown();  // a loop that runs nothing more: the page loads at once
  web_->Navigate(url("b.html"));
  xmain_loop::instance().open();
  EXPECT_FALSE(web_->Busy());
  EXPECT_EQ(web_->LocationName(), u"Page B");

  // Each browser is one of the application's browser windows while it lives.
  TShellWindows windows(nullptr);
  ASSERT_EQ(windows.Count(), 1);
  EXPECT_EQ(windows.Item(0)->LocationName(), u"Page B");
  web_.reset();
  EXPECT_EQ(windows.Count(), 0);
  web_ = std::make_unique<TWebBrowser>(nullptr);
}

TEST_F(WebBrowserTest, BackAndForwardWalkTheHistoryAndANewPageDropsTheEntriesAhead) {
  synchronous();
  web_->GoBack();
  web_->GoForward();
  EXPECT_TRUE(take_log().empty()) << "nothing behind or ahead at the start";

  for (const char* page : {"a.html", "b.html", "c.html"}) web_->Navigate(url(page));
  web_->GoBack();
  EXPECT_EQ(web_->LocationName(), u"Page B");
  web_->GoBack();
  EXPECT_EQ(history(), "[a.html] b.html c.html ");
  EXPECT_FALSE(web_->CanGoBack());
  EXPECT_TRUE(web_->CanGoForward());
  take_log();
  web_->GoBack();
  EXPECT_TRUE(take_log().empty());

  web_->GoForward();
  web_->Navigate(url("d.htm"));
  EXPECT_EQ(history(), "a.html b.html [d.htm] ") << "c.html, ahead, is gone";
  EXPECT_FALSE(web_->CanGoForward());
}

TEST_F(WebBrowserTest, ACancelledNavigationChangesNothing) {
  synchronous();
  for (const char* page : {"a.html", "b.html", "c.html"}) web_->Navigate(url(page));
  web_->GoBack();
  web_->SetHomePage(url("d.htm"));
  cancel_ = true;
  take_log();
  const std::pair<void (TWebBrowser::*)(), const char*> rows[] = {
      {&TWebBrowser::GoBack, "before a.html"},
      {&TWebBrowser::GoForward, "before c.html"},
      {&TWebBrowser::GoHome, "before d.htm"}};
  for (const auto& [act, asked] : rows) {
    SCOPED_TRACE(asked);
    (web_.get()->*act)();
    EXPECT_EQ(take_log(), lines{asked});
    EXPECT_EQ(history(), "a.html [b.html] c.html ");
    EXPECT_EQ(web_->LocationName(), u"Page B");
    EXPECT_EQ(web_->StatusText(), u"Done");
  }
  web_->Navigate(url("d.htm"));
  EXPECT_EQ(history(), "a.html [b.html] c.html ") << "a new page would have dropped c.html";

  // A load under way goes on when a second navigation is cancelled.
  web_->SetEngine(nullptr);
  cancel_ = false;
  web_->Navigate(url("a.html"));
  cancel_ = true;
  web_->Navigate(url("d.htm"));
  xmain_loop::instance().run_posted();
  EXPECT_EQ(take_log().back(), "document a.html");
}

TEST_F(WebBrowserTest, StopWhileBusyEndsTheLoadAndNothingOfItArrivesLater) {
  synchronous();
  web_->Navigate(url("a.html"));
  web_->SetEngine(nullptr);  // the built-in engine through the main loop
  web_->Navigate(url("b.html"));
  take_log();
  web_->Stop();
  EXPECT_FALSE(web_->Busy());
  EXPECT_EQ(take_log(), lines{"status "});
  xmain_loop::instance().run_posted();
  web_->Stop();
  EXPECT_TRUE(take_log().empty()) << "nothing more; stopping while idle reports nothing";
  EXPECT_EQ(history(), "[a.html] ");

  web_->Navigate(url("b.html"));
  web_->Navigate(url("c.html"));  // replaces the load of b.html
  xmain_loop::instance().run_posted();
  EXPECT_EQ(history(), "a.html [c.html] ");

  web_->Navigate(url("d.htm"));
  take_log();
  web_.reset();  // the queued load finds its engine gone
  xmain_loop::instance().run_posted();
  EXPECT_TRUE(take_log().empty());
}

TEST_F(WebBrowserTest, APageThatCannotBeOpenedReportsWhyAndChangesNothingElse) {
  synchronous();
  web_->Navigate(url("a.html"));
  const std::string folder = dir_.path.string();
  const std::string only = " (without a web engine only file:, data: and about:blank pages open)";
  const std::pair<std::string, std::string> rows[] = {
      {u8(url("missing.html")), "File not found: " + folder + "/missing.html"},
      {"file://" + folder, "Not a file: " + folder},
      {"file://server/a.html", "Not a local file: file://server/a.html"},
      {"http://example.com/", "Unsupported address: http://example.com/" + only},
      {"", "Unsupported address: " + only},
      {"data:text/html;base64,@@", "Bad data address: data:text/html;base64,@@"},
      {"data:no comma", "Bad data address: data:no comma"},
  };
  for (const auto& [address, error] : rows) {
    SCOPED_TRACE(address);
    take_log();
    web_->Navigate(u16(address));
    const std::string a = shorter(u16(address)), e = shorter(u16(error));
    EXPECT_EQ(take_log(), (lines{"before " + a, "status Opening " + a, "status " + e,
                                 "error " + a + " | " + e}));
    EXPECT_FALSE(web_->Busy());
    EXPECT_EQ(web_->LocationName(), u"Page A & more");
    EXPECT_EQ(history(), "[a.html] ");
  }
}

TEST_F(WebBrowserTest, GoHomeOpensTheHomePageOrABlankPageAndRefreshKeepsTheHistory) {
  synchronous();
  web_->Refresh();
  EXPECT_TRUE(take_log().empty()) << "nothing to refresh before the first page";
  web_->GoHome();
  EXPECT_EQ(web_->LocationName(), u"about:blank") << "no title: the name is the address";
  web_->SetHomePage(url("b.html"));
  web_->GoHome();
  put_file(dir_.path / "b.html", "<title>Page B, changed</title>");
  take_log();
  web_->Refresh();
  EXPECT_EQ(take_log(), (lines{"status Opening b.html", "title Page B, changed", "status Done",
                               "document b.html"}));
  EXPECT_EQ(history(), "about:blank [b.html] ");
}

TEST_F(WebBrowserTest, TheTitleComesFromHtmlDocumentsOnly) {
  synchronous();
  const std::pair<std::string, const char16_t*> rows[] = {
      {"data:text/html,<title>Caf%C3%A9</title>", u"Caf\u00e9"},
      {"data:text/html;charset=utf-8;base64,PFRJVExFIGxhbmc9ZW4+IFggPC9USVRMRT4=", u"X"},
      {"data:text/html,<TITLE lang=en> One%0A two &#65;&#x42;&bogus;</TITLE>", u"One two AB&bogus;"},
      {"DATA:text/html,<title>upper</title>", u"upper"},
      {"data:text/html,<titles>no</titles>", nullptr},
      {"data:text/plain,<title>plain</title>", nullptr},
      {u8(url("notes.txt")), nullptr},
      {u8(url("a.html")) + "?q=1#top", u"Page A & more"},  // not part of the file's name
  };
  for (const auto& [address, name] : rows) {
    SCOPED_TRACE(address);
    web_->Navigate(u16(address));
    EXPECT_EQ(web_->LocationURL(), u16(address));
    EXPECT_EQ(web_->LocationName(), name ? UnicodeString(name) : u16(address));
  }
}

TEST_F(WebBrowserTest, APageFollowingALinkAsksFirstAndAnAnchorAddsAnEntry) {
  fake_engine& engine = fake();
  web_->Navigate(u"data:,one");
  engine.on().finished(u"data:,one", u"");  // no commit reported: finishing commits
  EXPECT_EQ(history(), "[data:,one] ");
  cancel_ = true;
  EXPECT_FALSE(engine.on().navigation_requested(u"data:,two"));
  EXPECT_FALSE(web_->Busy());
  cancel_ = false;
  take_log();
  EXPECT_TRUE(engine.on().navigation_requested(u"data:,two"));
  engine.on().committed(u"data:,two");
  engine.on().title_changed(u"Two");
  engine.on().status_text(u"data:,link");
  engine.on().finished(u"data:,two", u"");
  EXPECT_EQ(take_log(), (lines{"before data:,two", "status Opening data:,two", "navigated data:,two",
                               "title Two", "status data:,link", "status Done",
                               "document data:,two"}));
  engine.on().committed(u"data:,two#part");
  engine.on().finished(u"data:,late", u"");
  EXPECT_EQ(history(), "data:,one data:,two [data:,two#part] ");
  EXPECT_EQ(take_log(), lines{"navigated data:,two#part"}) << "a finish while idle is ignored";
  EXPECT_EQ(calls_, lines{"load data:,one"}) << "the page's own navigations load by themselves";

  // The engine's own back and forward move this history: a neighbour with
  // the address asked for, else a new page.
  engine.on().history_requested(u"data:,two");
  EXPECT_EQ(calls_.back(), "load data:,two");
  engine.on().finished(u"data:,two", u"");
  EXPECT_EQ(history(), "data:,one [data:,two] data:,two#part ");
  engine.on().history_requested(u"data:,two#part");
  engine.on().finished(u"data:,two#part", u"");
  EXPECT_EQ(history(), "data:,one data:,two [data:,two#part] ");
  engine.on().history_requested(u"data:,elsewhere");
  EXPECT_EQ(calls_.back(), "load data:,elsewhere");
}

TEST_F(WebBrowserTest, ANewWindowIsCancelledOpenedInTheGivenBrowserOrHere) {
  fake_engine& engine = fake();
  TWebBrowser other(nullptr);
  const struct {
    bool cancel, elsewhere;
    lines here;
  } rows[] = {{true, false, {}}, {false, true, {}}, {false, false, {"load data:,w"}}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.here.size() + 2 * r.elsewhere);
    web_->OnNewWindow2 = [&](TObject* sender, const UnicodeString& u, TWebBrowser*& browser,
                             bool& cancel) {
      EXPECT_EQ(sender, web_.get());
      EXPECT_EQ(u, u"data:,w");
      cancel = r.cancel;
      if (r.elsewhere) browser = &other;
    };
    calls_.clear();
    engine.on().new_window(u"data:,w");
    EXPECT_EQ(calls_, r.here);
    EXPECT_EQ(other.Busy(), r.elsewhere);
    other.Stop();
  }
}

TEST_F(WebBrowserTest, AHandlerMayNavigateAgainFromDocumentCompleteAndFactoriesMakeEngines) {
  synchronous();
  web_->OnDocumentComplete = [this](TObject*, const UnicodeString& u) {
    if (u == url("a.html")) web_->Navigate(url("b.html"));
  };
  web_->Navigate(url("a.html"));
  EXPECT_FALSE(web_->Busy());
  EXPECT_EQ(history(), "a.html [b.html] ");

  auto previous = TWebBrowser::SetEngineFactory(
      [this](TWebBrowser&) { return std::make_unique<fake_engine>(&calls_); });
  std::make_unique<TWebBrowser>(nullptr)->Navigate(u"data:,x");
  TWebBrowser::SetEngineFactory(previous);
  EXPECT_EQ(calls_, (lines{"load data:,x", "stop"}));
}

}  // namespace
}  // namespace xum
