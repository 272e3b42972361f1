#include "ui/twebbrowser.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexception.h"
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

// A browser over the built-in engine on a folder of local pages; every
// event goes to `log_`, addresses in the folder written as bare names.
class WebBrowserTest : public ::testing::Test {
 protected:
  test::temp_dir dir_;
  std::unique_ptr<TWebBrowser> web_ = std::make_unique<TWebBrowser>(nullptr);
  lines log_;
  bool cancel_ = false;

  void SetUp() override {
    for (const char* page : {"b.html", "c.html", "d.htm"})
      put_file(dir_.path / page, std::string("<title>Page ") + char(page[0] - 32) + "</title>");
    put_file(dir_.path / "a.html", "<html><head><title>Page A &amp; more</title></head>A</html>");
    const auto note = [this](const char* what) {
      return [this, what](TObject*, const UnicodeString& u) { log_.push_back(what + shorter(u)); };
    };
    web_->OnBeforeNavigate2 = [this](TObject*, const UnicodeString& u, bool& cancel) {
      log_.push_back("before " + shorter(u));
      cancel = cancel_;
    };
    web_->OnNavigateComplete2 = note("navigated ");
    web_->OnDocumentComplete = note("document ");
    web_->OnTitleChange = note("title ");
    web_->OnStatusTextChange = note("status ");
    web_->OnNavigateError = [this](TObject*, const UnicodeString& u, const UnicodeString& e) {
      log_.push_back("error " + shorter(u) + " | " + shorter(e));
    };
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
  void synchronous() {
    web_->SetEngine(std::make_unique<xlocal_web_engine>(xlocal_web_engine::synchronous));
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
  xmain_loop::instance().run_posted();
  EXPECT_FALSE(web_->Busy());
  EXPECT_EQ(take_log(),
            (lines{"navigated a.html", "title Page A & more", "status Done", "document a.html"}));
  EXPECT_EQ(web_->LocationURL(), url("a.html"));
  xmain_loop::instance().shutdown();  // a loop that runs nothing more: the page loads at once
  web_->Navigate(url("b.html"));
  xmain_loop::instance().open();
  EXPECT_EQ(web_->LocationName(), u"Page B");
  // Each browser is one of the application's browser windows while it lives.
  TShellWindows windows(nullptr);
  ASSERT_EQ(windows.Count(), 1);
  EXPECT_EQ(windows.Item(0)->LocationName(), u"Page B");
}

TEST_F(WebBrowserTest, BackForwardAndCancelledNavigationsKeepTheHistoryRight) {
  synchronous();
  for (const char* page : {"a.html", "b.html", "c.html"}) web_->Navigate(url(page));
  web_->GoBack();
  EXPECT_EQ(web_->LocationName(), u"Page B");
  cancel_ = true;
  take_log();
  web_->GoForward();
  EXPECT_EQ(take_log(), lines{"before c.html"});
  EXPECT_EQ(history(), "a.html [b.html] c.html ");
  EXPECT_EQ(web_->StatusText(), u"Done");
  cancel_ = false;
  web_->Navigate(url("d.htm"));
  EXPECT_EQ(history(), "a.html b.html [d.htm] ") << "c.html, ahead, is gone";
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
  EXPECT_EQ(history(), "[a.html] ");
  web_->Navigate(url("d.htm"));
  web_.reset();  // the queued load finds its engine gone
  take_log();
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
      {"file://server/a.html", "Not a local file: file://server/a.html"},
      {"file://" + folder, "Not a file: " + folder},
      {"http://example.com/", "Unsupported address: http://example.com/" + only},
      {"data:text/html;base64,@@", "Bad data address: data:text/html;base64,@@"},
  };
  for (const auto& [address, error] : rows) {
    SCOPED_TRACE(address);
    take_log();
    web_->Navigate(u16(address));
    const std::string a = shorter(u16(address)), e = shorter(u16(error));
    EXPECT_EQ(take_log(), (lines{"before " + a, "status Opening " + a, "status " + e,
                                 "error " + a + " | " + e}));
    EXPECT_EQ(web_->LocationName(), u"Page A & more");
    EXPECT_EQ(history(), "[a.html] ");
  }
}

// Stands in for a browser window: it registers while it lives.
class stand_in final : public xbrowser_window {
 public:
  explicit stand_in(std::u16string url, bool registered = true) : url_(std::move(url)) {
    if (registered) cookie = TShellWindows::Register(this);
  }
  ~stand_in() override { TShellWindows::Revoke(this); }
  UnicodeString LocationURL() const override { return url_; }
  UnicodeString LocationName() const override { return url_; }
  int cookie = 0;

 private:
  std::u16string url_;
};

TEST(ShellWindowsTest, WindowsJoinAndLeaveInOrderAndHandlersMayChangeTheListAndViews) {
  TShellWindows first(nullptr);
  lines heard;
  first.OnWindowRegistered = [&](TObject*, int c) { heard.push_back("+" + std::to_string(c)); };
  first.OnWindowRevoked = [&](TObject*, int c) { heard.push_back("-" + std::to_string(c)); };
  {
    stand_in a(u"a"), b(u"b");
    EXPECT_EQ(TShellWindows::Register(&a), a.cookie);  // again: no change, no event
    EXPECT_TRUE(TShellWindows::Revoke(&a));
    ASSERT_EQ(first.Count(), 1);
    EXPECT_EQ(first.Item(0)->LocationURL(), u"b");
    const std::string ca = std::to_string(a.cookie), cb = std::to_string(b.cookie);
    EXPECT_EQ(heard, (lines{"+" + ca, "+" + cb, "-" + ca}));
  }
  EXPECT_EQ(first.Count(), 0);
  EXPECT_EQ(test::code_of([&] { first.Item(0); }), xexception::out_of_range);
  // The first view told destroys a view not yet told and closes the new window.
  auto* doomed = new TShellWindows(nullptr);
  int doomed_calls = 0;
  doomed->OnChange = [&](TObject*) { ++doomed_calls; };
  stand_in popup(u"popup", false);
  first.OnWindowRegistered = [&](TObject*, int) {
    delete doomed;
    TShellWindows::Revoke(&popup);
  };
  TShellWindows::Register(&popup);
  EXPECT_EQ(doomed_calls, 0);
  EXPECT_EQ(first.Count(), 0);
}

}  // namespace
}  // namespace xum
