// The web view under a virtual display: a TWebBrowser on a form, shown by
// the Qt backend as a QWebEngineView, opening local pages (a temporary
// folder and data: addresses). One application, one form and one view serve
// every case, in order, to keep the engine's start-up to one.
#include "backends/web/xweb_view.h"

#include <QWebEnginePage>
#include <QWebEngineView>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xutf.h"
#include "tests/qt/xqt_screenshots.h"
#include "tests/support/xtest_helpers.h"
#include "ui/twebbrowser.h"

namespace xum {
namespace {

std::string u8(const UnicodeString& s) { return xutf16_to_utf8(s); }

// Turns Qt's loop until `done` holds, at most 15 seconds.
bool wait_until(const std::function<bool()>& done) { return QTest::qWaitFor(done, 15000); }

class WebView : public ::testing::Test {
 protected:
  static inline test::temp_dir* dir_;
  static inline TForm* form_;
  static inline TWebBrowser* web_;
  static inline std::vector<std::string> log_;
  static inline bool cancel_ = false;

  static void SetUpTestSuite() {
    dir_ = new test::temp_dir;
    for (auto [name, html] :
         {std::pair{"a.html",
                    "<title>Local page A</title><body style='margin:0;background:white'>"
                    "<a href='b.html' style='display:block;height:120px;color:black;"
                    "font:bold 40px sans-serif'>Hello from page A</a>"},
          {"b.html", "<title>Local page B</title><body style='font:40px sans-serif'>Page B"}})
      test::put_file(dir_->path / name, html);
    use_qt_backend();
    use_web_view();
    form_ = new TForm(nullptr);
    form_->SetBounds(80, 80, 640, 420);
    web_ = test::place(new TWebBrowser(form_), form_, u"Browser", 0, 0, 640, 420);
    web_->OnBeforeNavigate2 = [](TObject*, const UnicodeString& u, bool& cancel) {
      log_.push_back("before " + shorter(u));
      cancel = cancel_;
    };
    const auto note = [](const char* what) {
      return [what](TObject*, const UnicodeString& u) { log_.push_back(what + shorter(u)); };
    };
    web_->OnNavigateComplete2 = note("navigated ");
    web_->OnTitleChange = note("title ");
    web_->OnDocumentComplete = note("document ");
    web_->OnNavigateError = [](TObject*, const UnicodeString& u, const UnicodeString&) {
      log_.push_back("error " + shorter(u));
    };
    form_->Show();
    use_qt_backend().sync();
  }
  static void TearDownTestSuite() {
    delete form_;
    use_qt_backend().sync();
    QApplication::processEvents();
    delete dir_;
  }

  static UnicodeString url(const char* name) {
    return QUrl::fromLocalFile(QString::fromStdString((dir_->path / name).string()))
        .toString()
        .toStdU16String();
  }
  static std::string shorter(const UnicodeString& u) {
    const std::string s = u8(u), base = u8(url(""));
    return s.starts_with(base) ? s.substr(base.size()) : s;
  }
  static QWebEngineView* view() {
    return qobject_cast<QWebEngineView*>(use_qt_backend().widget_of(*web_));
  }
  static bool open(const UnicodeString& address) {
    web_->Navigate(address);
    return wait_until([] { return !web_->Busy(); });
  }
  static std::vector<std::string> take_log() { return std::exchange(log_, {}); }
};

using lines = std::vector<std::string>;

TEST_F(WebView, ALocalPageIsShownAndAClickedLinkAsksFirst) {
  QWebEngineView* v = view();
  ASSERT_NE(v, nullptr) << "the browser is drawn by the web view";
  ASSERT_TRUE(QTest::qWaitForWindowExposed(v->window()));
  ASSERT_TRUE(open(url("a.html")));
  EXPECT_EQ(take_log(),
            (lines{"before a.html", "navigated a.html", "title Local page A", "document a.html"}));
  EXPECT_EQ(v->page()->url().toString().toStdU16String(), url("a.html"));
  // The page's text is on the screen: dark pixels of the big heading in the
  // top band of the view, none in the empty bottom band.
  const auto dark = [](const QImage& image, int top, int bottom) {
    return test::count(
        image, [](QColor c) { return qGray(c.rgb()) < 80; },
        QRect(0, top, image.width(), bottom - top));
  };
  QImage shot;
  ASSERT_TRUE(wait_until([&] {
    shot = test::photograph(v->window(), "web_browser", 0);
    return dark(shot, 0, 120) > 500;
  })) << "no page text in the picture";
  EXPECT_EQ(dark(shot, 300, 420), 0) << "below the text the page is white";

  // A cancelled click leaves the page; then the link is followed.
  for (const bool cancel : {true, false}) {
    cancel_ = cancel;
    QTest::mouseClick(v->focusProxy(), Qt::LeftButton, {}, QPoint(100, 40));
    ASSERT_TRUE(wait_until([] { return !log_.empty() && !web_->Busy(); }));
    QTest::qWait(300);
  }
  ASSERT_TRUE(wait_until([] { return web_->LocationURL() == url("b.html") && !web_->Busy(); }));
  EXPECT_EQ(take_log(), (lines{"before b.html", "before b.html", "navigated b.html",
                               "title Local page B", "document b.html"}));
  EXPECT_EQ(web_->History().size(), 2u);
}

TEST_F(WebView, TheViewsBackAndAMissingFileGoThroughTheModel) {
  // The view's own Back (a mouse button does the same) moves the model's
  // history instead of adding to it; the model's Forward moves the view.
  ASSERT_EQ(web_->LocationURL(), url("b.html"));
  view()->triggerPageAction(QWebEnginePage::Back);
  ASSERT_TRUE(wait_until([] { return web_->LocationName() == u"Local page A" && !web_->Busy(); }));
  EXPECT_EQ(web_->History().size(), 2u);
  web_->GoForward();
  ASSERT_TRUE(wait_until([] { return !web_->Busy(); }));
  EXPECT_EQ(web_->LocationName(), u"Local page B");
  EXPECT_EQ(view()->page()->url().toString().toStdU16String(), url("b.html"));

  // The engine shows its error page in place: the failed address is the
  // page's, then the load ends in an error.
  take_log();
  ASSERT_TRUE(open(url("missing.html")));
  EXPECT_EQ(take_log(),
            (lines{"before missing.html", "navigated missing.html", "error missing.html"}));
  EXPECT_NE(u8(web_->StatusText()).find("missing.html"), std::string::npos);
}

}  // namespace
}  // namespace xum
