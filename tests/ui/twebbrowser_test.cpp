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
using test::temp_dir;

std::string u8(const UnicodeString& s) { return xutf16_to_utf8(s); }
UnicodeString u16(const std::string& s) { return xutf8_to_utf16(s); }

// An engine the test drives by hand: it records what it was told and
// reports what the test makes it report.
class fake_engine final : public xweb_engine {
 public:
  std::vector<std::string>* calls;
  explicit fake_engine(std::vector<std::string>* log) : calls(log) {}
  void load(const UnicodeString& url) override { calls->push_back("load " + u8(url)); }
  void stop() override { calls->push_back("stop"); }
  void reload() override { calls->push_back("reload"); }
  const xweb_engine_events& on() const { return events(); }
};

// A browser over the built-in engine on a folder of local pages, with
// every event written to `log` (addresses in the folder as their names).
class WebBrowserTest : public ::testing::Test {
 protected:
  temp_dir dir_;
  std::vector<std::string> calls_;  // what a fake engine was told; outlives the browser
  std::unique_ptr<TWebBrowser> web_ = std::make_unique<TWebBrowser>(nullptr);
  std::vector<std::string> log_;

  void SetUp() override {
    put_file(dir_.path / "a.html", "<html><head><title>Page A &amp; more</title></head>A</html>");
    put_file(dir_.path / "b.html", "<title>Page B</title>");
    put_file(dir_.path / "c.html", "<title>Page C</title>");
    put_file(dir_.path / "d.htm", "<title>Page D</title>");
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
    w.OnBeforeNavigate2 = [this](TObject*, const UnicodeString& u, bool&) {
      log_.push_back("before " + shorter(u));
    };
    w.OnNavigateComplete2 = [this](TObject*, const UnicodeString& u) {
      log_.push_back("navigated " + shorter(u));
    };
    w.OnDocumentComplete = [this](TObject*, const UnicodeString& u) {
      log_.push_back("document " + shorter(u));
    };
    w.OnNavigateError = [this](TObject*, const UnicodeString& u, const UnicodeString& e) {
      log_.push_back("error " + shorter(u) + " | " + shorter(e));
    };
    w.OnTitleChange = [this](TObject*, const UnicodeString& t) { log_.push_back("title " + u8(t)); };
    w.OnStatusTextChange = [this](TObject*, const UnicodeString& t) {
      log_.push_back("status " + shorter(t));
    };
  }
  void synchronous() {
    web_->SetEngine(std::make_unique<xlocal_web_engine>(xlocal_web_engine::synchronous));
  }
  void cancel_everything() {
    web_->OnBeforeNavigate2 = [this](TObject*, const UnicodeString& u, bool& cancel) {
      log_.push_back("before " + shorter(u));
      cancel = true;
    };
  }
  std::string history() const {
    std::string s;
    const std::vector<UnicodeString> h = web_->History();
    for (std::size_t i = 0; i < h.size(); ++i)
      s += (static_cast<int>(i) == web_->HistoryIndex() ? "[" : "") + shorter(h[i]) +
           (static_cast<int>(i) == web_->HistoryIndex() ? "] " : " ");
    return s;
  }
  std::vector<std::string> take_log() { return std::exchange(log_, {}); }
};

using lines = std::vector<std::string>;

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
  EXPECT_EQ(web_->StatusText(), u"Done");
  EXPECT_EQ(history(), "[a.html] ");
}

TEST_F(WebBrowserTest, BackAndForwardWalkTheHistoryAndANewPageDropsTheEntriesAhead) {
  synchronous();
  web_->GoBack();
  web_->GoForward();
  EXPECT_TRUE(take_log().empty()) << "nothing behind or ahead at the start";
  EXPECT_FALSE(web_->CanGoBack());

  for (const char* page : {"a.html", "b.html", "c.html"}) web_->Navigate(url(page));
  EXPECT_EQ(history(), "a.html b.html [c.html] ");
  EXPECT_TRUE(web_->CanGoBack());
  EXPECT_FALSE(web_->CanGoForward());
  take_log();

  web_->GoBack();
  EXPECT_EQ(take_log(), (lines{"before b.html", "status Opening b.html", "navigated b.html",
                               "title Page B", "status Done", "document b.html"}));
  web_->GoBack();
  EXPECT_EQ(history(), "[a.html] b.html c.html ");
  EXPECT_EQ(web_->LocationName(), u"Page A & more");
  EXPECT_FALSE(web_->CanGoBack());
  EXPECT_TRUE(web_->CanGoForward());
  take_log();
  web_->GoBack();
  EXPECT_TRUE(take_log().empty());

  web_->GoForward();
  EXPECT_EQ(history(), "a.html [b.html] c.html ");
  web_->Navigate(url("d.htm"));
  EXPECT_EQ(history(), "a.html b.html [d.htm] ") << "c.html, ahead, is gone";
  EXPECT_FALSE(web_->CanGoForward());
  EXPECT_EQ(web_->LocationName(), u"Page D");
}

TEST_F(WebBrowserTest, ACancelledNavigationChangesNothing) {
  synchronous();
  for (const char* page : {"a.html", "b.html", "c.html"}) web_->Navigate(url(page));
  web_->GoBack();
  web_->SetHomePage(url("d.htm"));
  cancel_everything();
  take_log();
  struct row {
    const char* what;
    void (TWebBrowser::*act)();
    const char* asked;
  };
  const row rows[] = {{"GoBack", &TWebBrowser::GoBack, "before a.html"},
                      {"GoForward", &TWebBrowser::GoForward, "before c.html"},
                      {"GoHome", &TWebBrowser::GoHome, "before d.htm"}};
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    (web_.get()->*r.act)();
    EXPECT_EQ(take_log(), lines{r.asked});
    EXPECT_EQ(history(), "a.html [b.html] c.html ");
    EXPECT_EQ(web_->LocationName(), u"Page B");
    EXPECT_EQ(web_->StatusText(), u"Done");
  }
  web_->Navigate(url("d.htm"));
  EXPECT_EQ(take_log(), lines{"before d.htm"});
  EXPECT_EQ(history(), "a.html [b.html] c.html ") << "a new page would have dropped c.html";
}

TEST_F(WebBrowserTest, ACancelledNavigationLeavesTheLoadUnderWayGoingOn) {
  web_->Navigate(url("a.html"));
  cancel_everything();
  web_->Navigate(url("b.html"));
  EXPECT_TRUE(web_->Busy());
  xmain_loop::instance().run_posted();
  EXPECT_EQ(web_->LocationURL(), url("a.html"));
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
  EXPECT_TRUE(take_log().empty());
  EXPECT_EQ(web_->LocationURL(), url("a.html"));
  EXPECT_EQ(history(), "[a.html] ");
  web_->Stop();
  EXPECT_TRUE(take_log().empty()) << "stopping an idle browser reports nothing";

  // A second navigation replaces the first: only it arrives.
  web_->Navigate(url("b.html"));
  web_->Navigate(url("c.html"));
  xmain_loop::instance().run_posted();
  EXPECT_EQ(history(), "a.html [c.html] ");

  // A browser destroyed with a load queued: the queued load finds no engine.
  web_->Navigate(url("d.htm"));
  take_log();
  web_.reset();
  xmain_loop::instance().run_posted();
  EXPECT_TRUE(take_log().empty());
}

TEST_F(WebBrowserTest, APageThatCannotBeOpenedReportsWhyAndChangesNothingElse) {
  synchronous();
  web_->Navigate(url("a.html"));
  const std::string folder = dir_.path.string();
  struct row {
    std::string address;
    std::string error;
  };
  const row rows[] = {
      {u8(url("missing.html")), "File not found: " + folder + "/missing.html"},
      {"file://" + folder, "Not a file: " + folder},
      {"file://server/share/a.html", "Not a local file: file://server/share/a.html"},
      {"http://example.com/", "Unsupported address: http://example.com/ (without a web engine only "
                              "file:, data: and about:blank pages open)"},
      {"", "Unsupported address:  (without a web engine only file:, data: and about:blank pages open)"},
      {"data:text/html;base64,@@@", "Bad data address: data:text/html;base64,@@@"},
      {"data:no comma", "Bad data address: data:no comma"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.address);
    take_log();
    web_->Navigate(u16(r.address));
    const lines log = take_log();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(log[2], "status " + shorter(u16(r.error)));
    EXPECT_EQ(log[3], "error " + shorter(u16(r.address)) + " | " + shorter(u16(r.error)));
    EXPECT_FALSE(web_->Busy());
    EXPECT_EQ(web_->LocationURL(), url("a.html"));
    EXPECT_EQ(web_->LocationName(), u"Page A & more");
    EXPECT_EQ(history(), "[a.html] ");
  }
}

TEST_F(WebBrowserTest, GoHomeOpensTheHomePageOrABlankPageWithoutOne) {
  synchronous();
  web_->GoHome();
  EXPECT_EQ(take_log(), (lines{"before about:blank", "status Opening about:blank",
                               "navigated about:blank", "status Done", "document about:blank"}));
  EXPECT_EQ(web_->LocationName(), u"about:blank") << "no title: the name is the address";
  web_->SetHomePage(url("b.html"));
  web_->GoHome();
  EXPECT_EQ(history(), "about:blank [b.html] ");
}

TEST_F(WebBrowserTest, RefreshReadsThePageAgainWithoutTouchingTheHistory) {
  synchronous();
  web_->Navigate(url("a.html"));
  web_->Navigate(url("b.html"));
  put_file(dir_.path / "b.html", "<title>Page B, changed</title>");
  take_log();
  web_->Refresh();
  EXPECT_EQ(take_log(), (lines{"status Opening b.html", "title Page B, changed", "status Done",
                               "document b.html"}));
  EXPECT_EQ(history(), "a.html [b.html] ");

  auto fresh = std::make_unique<TWebBrowser>(nullptr);
  watch(*fresh);
  fresh->Refresh();
  EXPECT_TRUE(take_log().empty()) << "nothing to refresh before the first page";
}

TEST_F(WebBrowserTest, TheTitleComesFromHtmlDocumentsOnly) {
  synchronous();
  struct row {
    const char* address;
    const char16_t* name;
  };
  const row rows[] = {
      {"data:text/html,<title>Caf%C3%A9</title>", u"Caf\u00e9"},
      {"data:text/html;charset=utf-8;base64,PFRJVExFIGxhbmc9ZW4+IFggPC9USVRMRT4=", u"X"},
      {"data:text/html,<TITLE lang=en>  One%0A  two &#65;&#x42;&bogus;</TITLE>", u"One two AB&bogus;"},
      {"data:text/html,<titles>no</titles>", u"data:text/html,<titles>no</titles>"},
      {"data:text/plain,<title>plain</title>", u"data:text/plain,<title>plain</title>"},
      {"DATA:text/html,<title>upper</title>", u"upper"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.address);
    web_->Navigate(u16(r.address));
    EXPECT_EQ(web_->LocationName(), r.name);
    EXPECT_EQ(web_->LocationURL(), u16(r.address));
  }
  web_->Navigate(url("notes.txt"));
  EXPECT_EQ(web_->LocationName(), url("notes.txt"));
  web_->Navigate(u16(u8(url("a.html")) + "?q=1#top"));
  EXPECT_EQ(web_->LocationName(), u"Page A & more") << "query and fragment are not the file's";
}

TEST_F(WebBrowserTest, APageFollowingALinkAsksFirstAndAnAnchorAddsAnEntry) {
  std::vector<std::string>& calls = calls_;
  auto owned = std::make_unique<fake_engine>(&calls);
  fake_engine& engine = *owned;
  web_->SetEngine(std::move(owned));
  web_->Navigate(u"data:,one");
  engine.on().finished(u"data:,one", u"");  // no commit reported: finishing commits
  EXPECT_EQ(history(), "[data:,one] ");
  take_log();

  cancel_everything();
  EXPECT_FALSE(engine.on().navigation_requested(u"data:,two"));
  EXPECT_FALSE(web_->Busy());
  watch(*web_);
  EXPECT_TRUE(engine.on().navigation_requested(u"data:,two"));
  EXPECT_TRUE(web_->Busy());
  engine.on().committed(u"data:,two");
  engine.on().title_changed(u"Two");
  engine.on().status_text(u"data:,link");
  engine.on().finished(u"data:,two", u"");
  EXPECT_EQ(take_log(), (lines{"before data:,two", "before data:,two", "status Opening data:,two",
                               "navigated data:,two", "title Two", "status data:,link",
                               "status Done", "document data:,two"}));
  engine.on().committed(u"data:,two#part");
  EXPECT_EQ(history(), "data:,one data:,two [data:,two#part] ");
  engine.on().finished(u"data:,late", u"");
  EXPECT_EQ(take_log(), lines{"navigated data:,two#part"}) << "a finish while idle is ignored";
  EXPECT_EQ(calls, lines{"load data:,one"}) << "the page's own navigations load by themselves";
}

TEST_F(WebBrowserTest, ANewWindowIsCancelledOpenedInTheGivenBrowserOrHere) {
  std::vector<std::string>& calls = calls_;
  auto owned = std::make_unique<fake_engine>(&calls);
  fake_engine& engine = *owned;
  web_->SetEngine(std::move(owned));
  TWebBrowser other(nullptr);
  int asked = 0;
  struct row {
    bool cancel;
    bool elsewhere;
    const char* here;
  };
  const row rows[] = {{true, false, ""}, {false, true, ""}, {false, false, "load data:,w"}};
  for (const row& r : rows) {
    SCOPED_TRACE(asked);
    web_->OnNewWindow2 = [&](TObject* sender, const UnicodeString& u, TWebBrowser*& browser,
                             bool& cancel) {
      ++asked;
      EXPECT_EQ(sender, web_.get());
      EXPECT_EQ(u, u"data:,w");
      cancel = r.cancel;
      if (r.elsewhere) browser = &other;
    };
    calls.clear();
    engine.on().new_window(u"data:,w");
    EXPECT_EQ(calls.empty() ? "" : calls.back(), std::string(r.here));
    EXPECT_EQ(other.Busy(), r.elsewhere);
    other.Stop();
  }
  EXPECT_EQ(asked, 3);
}

TEST_F(WebBrowserTest, AHandlerMayNavigateAgainFromDocumentComplete) {
  synchronous();
  web_->OnDocumentComplete = [this](TObject*, const UnicodeString& u) {
    if (u == url("a.html")) web_->Navigate(url("b.html"));
  };
  web_->Navigate(url("a.html"));
  EXPECT_FALSE(web_->Busy());
  EXPECT_EQ(history(), "a.html [b.html] ");
}

TEST_F(WebBrowserTest, AnEngineFactoryGivesEveryNewBrowserItsEngine) {
  std::vector<std::string> calls;
  auto previous = TWebBrowser::SetEngineFactory(
      [&](TWebBrowser&) { return std::make_unique<fake_engine>(&calls); });
  {
    TWebBrowser made(nullptr);
    made.Navigate(u"data:,x");
  }
  TWebBrowser::SetEngineFactory(previous);
  EXPECT_EQ(calls, (lines{"load data:,x", "stop"}));
}

}  // namespace
}  // namespace xum
