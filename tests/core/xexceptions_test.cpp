#include "core/xexceptions.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <typeindex>
#include <typeinfo>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xmessage_box.h"
#include "core/xstr.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

// The severity flags only matter to the presenter, which is tested with them.
TEST(XExceptionFamily, WhatGivesTheMessageAsUtf8ThroughStdException) {
  try {
    throw XEValidation(u"Gr\u00fc\u00dfe \U0001F600");
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "Gr\xc3\xbc\xc3\x9f" "e \xf0\x9f\x98\x80");
  }
  XException e(u"before");
  EXPECT_STREQ(e.what(), "before");
  e.Message = u"changed";
  EXPECT_STREQ(e.what(), "changed");
}

// A box shown for a failure keeps the catch-all that follows silent once.
TEST(XExceptionShow, ShowsInAnErrorBoxAndUnknownExceptionStaysSilentOnceAfterIt) {
  using box = std::tuple<std::string, std::string, unsigned>;  // text, caption, flags
  static std::vector<box> boxes;
  boxes.clear();
  const xmessage_box_fn saved = xmessage_box_handler;
  xmessage_box_handler = [](const xstr& text, const xstr& caption, unsigned flags) {
    boxes.emplace_back(std::string(text.view()), std::string(caption.view()), flags);
    return IDOK;
  };
  XException::messageShowed = false;
  XException::Show("File not found !", true);
  EXPECT_TRUE(XException::messageShowed);
  XException::UnknownException();
  EXPECT_FALSE(XException::messageShowed);
  XException::UnknownException();
  XECritical(u"Disk \u00e9tat").Show();  // its own message, as UTF-8
  xmessage_box_handler = saved;
  XException::messageShowed = false;
  constexpr unsigned flags = MB_OK | MB_ICONEXCLAMATION;
  EXPECT_EQ(boxes, (std::vector<box>{{"File not found !", "Error", flags},
                                     {"Unknown internal error !", "Error", flags},
                                     {"Disk \xc3\xa9tat", "Error", flags}}));
}

// --- one root: std::exception ------------------------------------------------

TEST(XExceptionRoot, ContractCodesAreStdExceptionsNamingTheirMeaning) {
  const std::tuple<int, const char*> rows[] = {
      {0, "Argument or index out of range (xexception 0)"},
      {-3, "Contract violation (xexception -3)"},
  };
  for (const auto& [code, text] : rows) {
    SCOPED_TRACE(code);
    try {
      throw xexception(code);
    } catch (const std::exception& e) {
      EXPECT_STREQ(e.what(), text);
      const auto* x = dynamic_cast<const xexception*>(&e);
      ASSERT_NE(x, nullptr);
      EXPECT_EQ(x->code(), code);
    }
  }
}

// --- categories ----------------------------------------------------------------

struct category_row {
  xerror_category category;
  std::type_index thrown;
};
const category_row category_rows[] = {
    {xerror_category::general, typeid(XException)},
    {xerror_category::not_found, typeid(XENotFound)},
    {xerror_category::permission, typeid(XEPermission)},
    {xerror_category::bad_data, typeid(XEBadData)},
    {xerror_category::newer_version, typeid(XENewerVersion)},
    {xerror_category::io, typeid(XEIOError)},
};

// Raised through xerror with no hook and through the throwing hook the
// package installs at load, a failure keeps its class, category, text and
// place.
TEST(XErrorCategory, XerrorThrowsTheCategorysClassWithOrWithoutTheThrowingHook) {
  for (const xerror_handler_fn hook : {xerror_handler_fn{}, &xthrow_error}) {
    test::error_hook use(hook);
    for (const auto& r : category_rows) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(r.category) << (hook ? " hook" : ""));
      try {
        xerror(r.category, "Data reading error ! \nFile: a.bin", {.line = 12, .offset = 345});
        FAIL() << "nothing thrown";
      } catch (const XException& e) {
        EXPECT_EQ(std::type_index(typeid(e)), r.thrown);
        EXPECT_EQ(test::raised_by([&] { throw; }),
                  (test::raised{r.category, 12, 345, "Data reading error ! \nFile: a.bin"}));
      }
    }
  }
}

TEST(XErrorCategory, ThePlainXerrorIsGeneralAndAReturningHookSeesTheCategory) {
  std::optional<test::error_hook> hook(std::in_place, nullptr);
  EXPECT_EQ(test::raised_by([] { xerror("Some error !"); }),
            (test::raised{xerror_category::general, -1, -1, "Some error !"}));

  static std::vector<std::tuple<std::string, xerror_category, std::int64_t>> seen;
  seen.clear();
  hook.emplace([](const xstr& m) {
    seen.emplace_back(std::string(m.view()), xerror_current_category(), xerror_current_where().line);
  });
  xerror(xerror_category::bad_data, "Bad !", {.line = 7});
  xerror("Plain !");
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0], std::make_tuple(std::string("Bad !"), xerror_category::bad_data, std::int64_t{7}));
  EXPECT_EQ(seen[1], std::make_tuple(std::string("Plain !"), xerror_category::general, std::int64_t{-1}));
  EXPECT_EQ(xerror_current_category(), xerror_category::general);  // nothing raised now
}

}  // namespace
}  // namespace xum
