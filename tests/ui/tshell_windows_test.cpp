#include "ui/tshell_windows.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

// Stands in for a browser window: it registers while it lives.
class stand_in final : public xbrowser_window {
 public:
  explicit stand_in(std::u16string url, bool registered = true) : url_(std::move(url)) {
    if (registered) cookie = TShellWindows::Register(this);
  }
  ~stand_in() override { TShellWindows::Revoke(this); }
  UnicodeString LocationURL() const override { return url_; }
  UnicodeString LocationName() const override { return u"Page " + url_; }
  int cookie = 0;

 private:
  std::u16string url_;
};

std::vector<std::u16string> urls(const TShellWindows& w) {
  std::vector<std::u16string> out;
  for (int i = 0; i < w.Count(); ++i) out.push_back(w.Item(i)->LocationURL());
  return out;
}

TEST(ShellWindowsTest, WindowsJoinAndLeaveInOrderAndEveryViewHearsWithTheCookie) {
  TShellWindows first(nullptr), second(nullptr);
  std::vector<std::string> heard;
  first.OnWindowRegistered = [&](TObject* s, int c) {
    heard.push_back((s == &first ? "first+" : "?+") + std::to_string(c));
  };
  first.OnWindowRevoked = [&](TObject*, int c) { heard.push_back("first-" + std::to_string(c)); };
  second.OnChange = [&](TObject* s) { heard.push_back(s == &second ? "second" : "?"); };
  {
    stand_in a(u"file:///a.html");
    stand_in b(u"data:text/html,b");
    EXPECT_EQ(urls(first), (std::vector<std::u16string>{u"file:///a.html", u"data:text/html,b"}));
    EXPECT_EQ(second.Count(), 2);
    EXPECT_EQ(second.Item(1)->LocationName(), u"Page data:text/html,b");
    EXPECT_EQ(first.Cookie(0), a.cookie);
    EXPECT_NE(a.cookie, b.cookie);
    EXPECT_EQ(TShellWindows::Register(&a), a.cookie);  // again: no change, no event
    EXPECT_EQ(heard, (std::vector<std::string>{"first+" + std::to_string(a.cookie), "second",
                                               "first+" + std::to_string(b.cookie), "second"}));
    heard.clear();
    EXPECT_TRUE(TShellWindows::Revoke(&a));
    EXPECT_FALSE(TShellWindows::Revoke(&a));
    EXPECT_EQ(urls(first), (std::vector<std::u16string>{u"data:text/html,b"}));
    EXPECT_EQ(heard, (std::vector<std::string>{"first-" + std::to_string(a.cookie), "second"}));
  }
  EXPECT_EQ(first.Count(), 0);
  EXPECT_EQ(test::code_of([&] { first.Item(0); }), xexception::out_of_range);
  EXPECT_EQ(test::code_of([&] { first.Cookie(-1); }), xexception::out_of_range);
  EXPECT_EQ(test::code_of([] { TShellWindows::Register(nullptr); }), xexception::out_of_range);
}

TEST(ShellWindowsTest, HandlersMayChangeTheListAndDestroyViewsNotYetTold) {
  TShellWindows closer(nullptr);          // told first: made first
  auto* doomed = new TShellWindows(nullptr);
  int doomed_calls = 0;
  doomed->OnChange = [&](TObject*) { ++doomed_calls; };
  stand_in popup(u"file:///popup.html", false);
  closer.OnWindowRegistered = [&](TObject*, int) {
    // The view the pop-up would be shown in goes, then the pop-up closes.
    delete doomed;
    TShellWindows::Revoke(&popup);
  };
  TShellWindows::Register(&popup);
  EXPECT_EQ(doomed_calls, 0);
  EXPECT_EQ(closer.Count(), 0);
  closer.OnWindowRegistered = nullptr;
  stand_in page(u"file:///page.html");
  EXPECT_EQ(urls(closer), (std::vector<std::u16string>{u"file:///page.html"}));
}

}  // namespace
}  // namespace xum
