#include "core/xutf.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace xum {
namespace {

using namespace std::string_view_literals;

struct Pair {
  std::string_view utf8;
  std::u16string_view utf16;
};

TEST(XUtfValid, RoundTripsAtEveryLengthBoundary) {
  const Pair rows[] = {{"", u""},
                       {"a\0b"sv, u"a\0b"sv},
                       {"\xC2\x80", u"\x0080"},
                       {"\xDF\xBF", u"\x07FF"},
                       {"\xE0\xA0\x80", u"\x0800"},
                       {"\xEF\xBF\xBF", u"\xFFFF"},
                       {"\xF0\x90\x80\x80", u"\xD800\xDC00"},
                       {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
                       {"Grüße €😀", u"Grüße €\xD83D\xDE00"}};
  for (const Pair& r : rows) {
    SCOPED_TRACE(testing::PrintToString(r.utf8));
    EXPECT_EQ(xutf8_to_utf16(r.utf8), r.utf16);
    EXPECT_EQ(xutf16_to_utf8(r.utf16), r.utf8);
  }
  std::u16string wide = u"junk";
  xutf8_to_utf16("ok", wide);  // the output is replaced, not appended to
  EXPECT_EQ(wide, u"ok");
}

}  // namespace
}  // namespace xum
