#include "core/xutf.h"

#include <string>
#include <string_view>
#include <tuple>

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
                       {"\xED\x9F\xBF", u"\xD7FF"},
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
  std::string narrow = "junk";
  xutf16_to_utf8(u"ü", narrow);
  EXPECT_EQ(narrow, "ü");
  std::string big;
  for (int i = 0; i < 3000; ++i) big += "€";
  EXPECT_EQ(xutf8_to_utf16(big), std::u16string(3000, u'€'));
}

TEST(XUtfInvalid, EachMaximalSubpartBecomesOneReplacement) {
  const Pair rows[] = {
      {"\x80", u"\xFFFD"},
      {"\xBF\x80", u"\xFFFD\xFFFD"},
      {"\xE0\x80", u"\xFFFD\xFFFD"},
      {"\xE1\x80z", u"\xFFFDz"},
      {"\xC3(", u"\xFFFD("},
      {"a\xC3", u"a\xFFFD"},
      {"\xE0\xA0", u"\xFFFD"},
      {"\xF0\x9F\x98", u"\xFFFD"},
      {"\xF0\x9F\x98z", u"\xFFFDz"},
      {"\xC0\xAF", u"\xFFFD\xFFFD"},
      {"\xE0\x9F\xBF", u"\xFFFD\xFFFD\xFFFD"},
      {"\xF0\x8F\xBF\xBF", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {"\xED\xA0\x80", u"\xFFFD\xFFFD\xFFFD"},
      {"\xF4\x90\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {"\xF5\x80\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {"\xC2\xC2\x80", u"\xFFFD\x0080"},
      // The mixed sequence the Unicode standard uses to illustrate the practice.
      {"a\xF1\x80\x80\xE1\x80\xC2x\x80y\x80\xBFz", u"a\xFFFD\xFFFD\xFFFDx\xFFFDy\xFFFD\xFFFDz"}};
  for (const Pair& r : rows) {
    SCOPED_TRACE(testing::PrintToString(r.utf8));
    EXPECT_EQ(xutf8_to_utf16(r.utf8), r.utf16);
  }
}

TEST(XUtfInvalid, NextReportsTheSubpartItSkipped) {
  // text, start, code point (-1 when ill-formed), position after it
  const std::tuple<std::string_view, std::size_t, long, std::size_t> rows[] = {
      {"A", 0, 'A', 1},
      {"\xF0\x9F\x98\x80x", 0, 0x1F600, 4},
      {"x\xE2\x82\xAC", 1, 0x20AC, 4},
      {"\xE1\x80z", 0, -1, 2},
      {"\xF0\x9F\x98", 0, -1, 3},
      {"\xC0\xAF", 0, -1, 1},
      {"\xFF", 0, -1, 1},
      {"\xED\xA0\x80", 0, -1, 1}};
  for (const auto& [text, from, cp, to] : rows) {
    SCOPED_TRACE(testing::PrintToString(text));
    std::size_t pos = from;
    EXPECT_EQ(xutf8_next(text, pos), cp);
    EXPECT_EQ(pos, to);
  }
}

TEST(XUtfInvalid, LoneSurrogatesBecomeReplacements) {
  const Pair rows[] = {{"\xEF\xBF\xBD", u"\xD800"},
                       {"x\xEF\xBF\xBDz", u"x\xDC00z"},
                       {"\xEF\xBF\xBD\xF0\x9F\x98\x80", u"\xD800\xD83D\xDE00"},
                       {"\xEF\xBF\xBD\xEF\xBF\xBD", u"\xDE00\xD83D"},
                       {"x\xEF\xBF\xBD", u"x\xD83D"}};
  for (const Pair& r : rows) {
    SCOPED_TRACE(testing::PrintToString(std::u16string(r.utf16)));
    EXPECT_EQ(xutf16_to_utf8(r.utf16), r.utf8);
  }
}

}  // namespace
}  // namespace xum
