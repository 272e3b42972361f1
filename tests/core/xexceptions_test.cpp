#include "core/xexceptions.h"

#include <string>
#include <tuple>
#include <typeindex>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xmessage_box.h"
#include "core/xstr.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

// A box shown for a failure keeps the catch-all that follows silent once;
// then the catch-all says "Unknown internal error !" in a box of its own.
TEST(XException, ShowsInAnErrorBoxAndWhatGivesTheMessageAsUtf8) {
  static std::vector<std::string> boxes;
  boxes.clear();
  const xmessage_box_fn saved = xmessage_box_handler;
  xmessage_box_handler = [](const xstr& text, const xstr& caption, unsigned flags) {
    boxes.push_back(text.str() + "|" + caption.str() + "|" + std::to_string(flags));
    return IDOK;
  };
  XException::Show("File not found !", true);
  XException::UnknownException();
  XException::UnknownException();
  xmessage_box_handler = saved;
  const std::string flags = std::to_string(MB_OK | MB_ICONEXCLAMATION);
  EXPECT_EQ(boxes, (std::vector<std::string>{"File not found !|Error|" + flags,
                                             "Unknown internal error !|Error|" + flags}));
  // Every exception is a std::exception: the family's what() gives the
  // message as UTF-8, also after it changes; a contract code names its meaning.
  XEValidation e(u"Gr\u00fc\u00dfe \U0001F600");
  const std::exception& as_std = e;
  EXPECT_STREQ(as_std.what(), "Gr\xc3\xbc\xc3\x9f\x65 \xf0\x9f\x98\x80");
  e.Message = u"changed";
  EXPECT_STREQ(as_std.what(), "changed");
  EXPECT_STREQ(xexception(0).what(), "Argument or index out of range (xexception 0)");
  EXPECT_STREQ(xexception(-3).what(), "Contract violation (xexception -3)");
}

// --- categories ----------------------------------------------------------------

// Raised through xerror with no hook and through the throwing hook the
// package installs at load, a failure keeps its class, category, text and
// place.
TEST(XErrorCategory, XerrorRaisesTheCategorysClassAndHooksSeeTheCategory) {
  using enum xerror_category;
  const std::pair<xerror_category, std::type_index> rows[] = {
      {general, typeid(XException)},           {not_found, typeid(XENotFound)},
      {permission, typeid(XEPermission)},      {bad_data, typeid(XEBadData)},
      {newer_version, typeid(XENewerVersion)}, {io, typeid(XEIOError)}};
  for (const xerror_handler_fn hook : {xerror_handler_fn{}, &xthrow_error}) {
    test::error_hook use(hook);
    for (const auto& [category, thrown] : rows) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(category) << (hook ? " hook" : ""));
      try {
        xerror(category, "Data reading error ! \nFile: a.bin", {.line = 12, .offset = 345});
        FAIL() << "nothing thrown";
      } catch (const XException& e) {
        EXPECT_EQ(std::type_index(typeid(e)), thrown);
        EXPECT_EQ(test::raised_by([&] { throw; }),
                  (test::raised{category, 12, 345, "Data reading error ! \nFile: a.bin"}));
      }
    }
  }
  // A hook that returns sees each failure's category and place while it is
  // raised; the plain xerror is general.
  using row = std::tuple<std::string, xerror_category, std::int64_t>;
  static std::vector<row> seen;
  seen.clear();
  {
    test::error_hook hook([](const xstr& m) {
      seen.emplace_back(std::string(m.view()), xerror_current_category(),
                        xerror_current_where().line);
    });
    xerror(xerror_category::bad_data, "Bad !", {.line = 7});
    xerror("Plain !");
  }
  EXPECT_EQ(seen, (std::vector<row>{{"Bad !", xerror_category::bad_data, 7},
                                    {"Plain !", xerror_category::general, -1}}));
  EXPECT_EQ(xerror_current_category(), xerror_category::general);  // nothing raised now
}

}  // namespace
}  // namespace xum
