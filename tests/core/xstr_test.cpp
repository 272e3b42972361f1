#include "core/xstr.h"

#include <clocale>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

#include <gtest/gtest.h>

#include <xum/core/xexceptions.h>  // the installed spelling works in the tree too


namespace xum {
namespace {

using namespace std::string_view_literals;
using Op = std::pair<const char*, std::function<void(xstr&)>>;

// The text, the length and the terminator agree.
void expect_text(const xstr& s, std::string_view want) {
  EXPECT_EQ(s.view(), want);
  EXPECT_EQ(s.get_text()[s.length()], '\0');
}

TEST(XStrSharing, CopiesShareTheBlockUntilOneWrites) {
  xstr a = "abc";
  xstr b = a, c;
  c = a;
  EXPECT_EQ(b.get_text(), a.get_text());
  EXPECT_EQ(c.get_text(), a.get_text());
  EXPECT_EQ(a.use_count(), 3u);
  c.clear();
  EXPECT_EQ(a.use_count(), 2u);

  // Each row writes to a copy of "abc"; the first column is the copy's text.
  const Op rows[] = {{"xabc", [](xstr& s) { s.insert("x", 0); }},
                     {"abc", [](xstr& s) { s.insert("", 1); }},
                     {"ab", [](xstr& s) { s.remove(2, 1); }},
                     {"", [](xstr& s) { s.remove(0, 3); }},
                     {"abc  ", [](xstr& s) { s.put_length(5); }},
                     {"aZc", [](xstr& s) { s.put_char(1, 'Z'); }},
                     {"n=7", [](xstr& s) { s.printf("n=%d", 7); }},
                     {"xy", [](xstr& s) { std::strcpy(s.get(2), "xy"); }}};
  for (const auto& [want, write] : rows) {
    SCOPED_TRACE(want);
    const xstr original = "abc";
    xstr copy = original;
    write(copy);
    expect_text(copy, want);
    expect_text(original, "abc");
    EXPECT_NE(copy.get_text(), original.get_text());
    EXPECT_EQ(original.use_count(), 1u);
    EXPECT_EQ(copy.use_count(), *want ? 1u : 0u);
  }
}

TEST(XStrSharing, BuiltResultsAreFreshAndWholeResultsShare) {
  const xstr s = "ab c", blank_end = "ab ";
  for (const xstr& r : {s.concat("d"), s.sub_str(1, 2), s.upper_case(), xstr(" ab ").trim(), s + 'x'}) {
    SCOPED_TRACE(r.get_text());
    EXPECT_EQ(r.use_count(), 1u);
  }
  expect_text(s.sub_str(1, 2), "b ");
  for (const xstr& r : {s.sub_str(0, 4), s.trim(), s.trim_left(), s.trim_right()})
    EXPECT_EQ(r.get_text(), s.get_text());
  EXPECT_EQ(blank_end.trim_left().get_text(), blank_end.get_text());

  xstr self = "abc";
  const xstr& alias = self;
  self = alias;
  xstr& same = self;
  self = std::move(same);
  expect_text(self, "abc");
  EXPECT_EQ(self.use_count(), 1u);
}

TEST(XStrEmpty, OwnsNoBlock) {
  const xstr empty;
  EXPECT_STREQ(empty.get_text(), "");
  ASSERT_NE(empty.w_str(), nullptr);
  EXPECT_EQ(std::u16string_view(empty.w_str()), u"");
  xstr cleared = "abc", grown, padded;
  cleared.put_length(0);
  grown.insert(xstr(), 0);
  const char* null_text = nullptr;
  const xstr results[] = {xstr(null_text), xstr(u""), cleared, grown, xstr(" \t ").trim()};
  for (std::size_t i = 0; i < std::size(results); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(results[i].length(), 0);
    EXPECT_EQ(results[i].use_count(), 0u);
    EXPECT_STREQ(results[i].get_text(), "");
  }
  padded.put_length(2);
  expect_text(padded, "  ");
}

TEST(XStrContract, ViolationsThrowCodeZeroAndLeaveTheReceiver) {
  const Op rows[] = {{"allocate(0)", [](xstr& s) { s.allocate(0); }},
                     {"put_length(-1)", [](xstr& s) { s.put_length(-1); }},
                     {"sub_str(-1,1)", [](xstr& s) { (void)s.sub_str(-1, 1); }},
                     {"sub_str(1,3)", [](xstr& s) { (void)s.sub_str(1, 3); }},
                     {"remove(0,0)", [](xstr& s) { s.remove(0, 0); }},
                     {"remove(2,2)", [](xstr& s) { s.remove(2, 2); }},
                     {"insert at 4", [](xstr& s) { s.insert("x", 4); }},
                     {"empty printf", [](xstr& s) { s.printf("%s", ""); }},
                     {"at(-1)", [](xstr& s) { (void)s.at(-1); }},
                     {"at(3)", [](xstr& s) { (void)s.at(3); }},
                     {"put_char(3)", [](xstr& s) { s.put_char(3, 'x'); }}};
  for (const auto& [name, call] : rows) {
    SCOPED_TRACE(name);
    xstr s = "abc";
    const xstr other = s;
    try {
      call(s);
      ADD_FAILURE() << "no xexception";
    } catch (const xexception& e) {
      EXPECT_EQ(e.code(), 0);
    }
    EXPECT_EQ(s.get_text(), other.get_text());
    expect_text(s, "abc");
    EXPECT_EQ(s.use_count(), 2u);
  }
  xstr empty;
  EXPECT_THROW((void)empty.at(0), xexception);
  EXPECT_THROW(empty.remove(0, 1), xexception);
}

TEST(XStrBuffer, FillsTheStringWhenReleased) {
  xstr s = "old";
  {
    auto buf = s.get(5);
    EXPECT_EQ(buf.capacity(), 6);
    std::memcpy(static_cast<char*>(buf), "ab\0cd", 5);
    expect_text(s, "old");  // handed over only when the buffer goes
  }
  expect_text(s, "ab");
  {
    auto buf = s.get(3);
    std::memcpy(static_cast<char*>(buf), "xyz", 3);
    EXPECT_EQ(static_cast<char*>(buf)[0], '\0');  // every conversion zero-fills
  }
  EXPECT_EQ(s.use_count(), 0u);
}

TEST(XStrSearch, CharAndStringPositions) {
  const xstr s("ab\0cb"sv);
  EXPECT_EQ(s.char_first_pos('b'), 1);
  EXPECT_EQ(s.char_last_pos('b'), 4);
  EXPECT_EQ(s.char_first_pos('c'), -1);  // stops at the zero byte
  EXPECT_EQ(s.char_last_pos('c'), 3);
  EXPECT_EQ(xstr().char_last_pos('\0'), -1);

  const std::tuple<std::string_view, std::string_view, int, int> rows[] = {
      {"abcabc", "bc", 1, 4}, {"aaa", "aa", 0, 1}, {"abc", "abcd", -1, -1},
      {"abc", "", -1, -1},    {"a\0b\0b"sv, "\0b"sv, 1, 3}};
  for (const auto& [text, find, first, last] : rows) {
    SCOPED_TRACE(testing::PrintToString(text) + " / " + testing::PrintToString(find));
    EXPECT_EQ(xstr(text).str_first_pos(xstr(find)), first);
    EXPECT_EQ(xstr(text).str_last_pos(xstr(find)), last);
  }
}

TEST(XStrText, TrimAndEnquotate) {
  // text, trim_left, trim_right, trim
  const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
      {" \tab \t", "ab \t", " \tab", "ab"},
      {"a b", "a b", "a b", "a b"},
      {"\n\v\fab\r", "\n\v\fab\r", "\n\v\fab\r", "\n\v\fab\r"}};
  for (const auto& [text, left, right, both] : rows) {
    SCOPED_TRACE(testing::PrintToString(text));
    expect_text(xstr(text).trim_left(), left);
    expect_text(xstr(text).trim_right(), right);
    expect_text(xstr(text).trim(), both);
  }
  for (const auto& [in, want] : {std::pair{"a\"b", "\"a\"\"b\""}, std::pair{"", "\"\""},
                                 std::pair{"\"\"", "\"\"\"\"\"\""}}) {
    SCOPED_TRACE(in);
    expect_text(xstr(in).enquotate(), want);
  }
}

TEST(XStrText, CaseMapping) {
  const xstr s = "MiXeD 12_z@[";
  expect_text(s.lower_case(), "mixed 12_z@[");
  expect_text(s.upper_case(), "MIXED 12_Z@[");
  expect_text(s, "MiXeD 12_z@[");

  const std::string saved = std::setlocale(LC_CTYPE, nullptr);
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP() << "no C.UTF-8 locale";
  expect_text(xstr("ÄÖÜ Straße").lower_case(), "äöü straße");
  expect_text(xstr("b\xE1\x80z\x80").upper_case(), "B\xE1\x80Z\x80");  // invalid bytes stay
  std::setlocale(LC_CTYPE, saved.c_str());
}

TEST(XStrNumber, Formats) {
  const Op rows[] = {{"0.1", [](xstr& s) { s.from_real(0.1); }},
                     {"1e+20", [](xstr& s) { s.from_real(1e20); }},
                     {"0.3333333333", [](xstr& s) { s.from_real(1.0 / 3); }},
                     {"1.23456789e+10", [](xstr& s) { s.from_real(12345678901.0); }},
                     {"-5", [](xstr& s) { s.from_integer(-5); }},
                     {"-9223372036854775808", [](xstr& s) { s.from_integer(INT64_MIN); }},
                     {"18446744073709551615", [](xstr& s) { s.from_unsigned(UINT64_MAX); }},
                     {"7-x", [](xstr& s) { EXPECT_EQ(&s.printf("%d-%s", 7, "x"), &s); }}};
  for (const auto& [want, format] : rows) {
    SCOPED_TRACE(want);
    xstr s = "previous";
    format(s);
    expect_text(s, want);
  }
  xstr big;
  EXPECT_EQ(big.printf("%s", std::string(5000, 'q').c_str()).length(), 5000);
}

TEST(XStrNumber, ParseAndCheck) {
  for (const auto& [text, want] : {std::pair{"12abc", 12.0L}, std::pair{"abc", 0.0L}}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(xstr(text).as_number(), want);
  }
  // accepted text, negative, integer
  const std::tuple<const char*, bool, bool> accepted[] = {
      {"-12", true, true}, {"1,5", false, false}, {"1E-5", false, false}, {"-0.25e10", true, false}};
  for (const auto& [text, want_negative, want_integer] : accepted) {
    SCOPED_TRACE(text);
    bool negative = !want_negative, integer = !want_integer;
    EXPECT_TRUE(xstr(text).is_number(&negative, &integer));
    EXPECT_EQ(negative, want_negative);
    EXPECT_EQ(integer, want_integer);
  }
  for (const char* text : {"", "-", "+1", " 1", "1.", ".5", "1e", "1e+5", "1.2.3", "1e5e5"}) {
    SCOPED_TRACE(text);
    for (const bool init : {false, true}) {
      bool negative = init, integer = init;
      EXPECT_FALSE(xstr(text).is_number(&negative, &integer));
      EXPECT_EQ(negative, init);  // nothing written on failure
      EXPECT_EQ(integer, init);
    }
  }
}

// --- with the standard library ------------------------------------------------

TEST(XStrStd, BuildsFromAndCopiesOutToStringsKeepingZeroBytes) {
  const std::string with_zero("a\0b", 3);
  const std::string_view rows[] = {"", "a\0b"sv, "\0\0tail"sv};
  for (const std::string_view bytes : rows) {
    SCOPED_TRACE(testing::PrintToString(std::string(bytes)));
    const std::string str(bytes);
    const xstr from_string = str;  // implicit, as from a C string
    const xstr from_view(bytes);
    expect_text(from_string, bytes);
    expect_text(from_view, bytes);
    EXPECT_EQ(from_string.empty(), bytes.empty());  // the empty string owns no block
    EXPECT_EQ(from_string.str(), str);
    EXPECT_EQ(static_cast<std::string>(from_view), str);
  }
  // A library call taking an xstr accepts a std::string as it is.
  const auto length = [](const xstr& s) { return s.length(); };
  EXPECT_EQ(length(with_zero), 3);
}

TEST(XStrStd, ComparesWithStringsViewsAndCStringsBothWays) {
  const xstr s("ab\0c"sv);
  const std::string same("ab\0c", 4);
  const std::string_view shorter = "ab";  // differs only after the zero byte
  EXPECT_TRUE(same == s);
  EXPECT_FALSE(s == shorter);
  EXPECT_TRUE("ab" != s);  // a C string ends at its zero byte

  // xstr("b") <=> each text.
  const std::pair<const char*, std::strong_ordering> rows[] = {
      {"b", std::strong_ordering::equal},
      {"ba", std::strong_ordering::less},
      {"\xE4", std::strong_ordering::less},  // bytes compare unsigned
      {"", std::strong_ordering::greater}};
  const xstr b = "b";
  for (const auto& [right, want] : rows) {
    SCOPED_TRACE(right);
    EXPECT_EQ(b <=> right, want);
    EXPECT_EQ(b <=> xstr(right), want);
    EXPECT_EQ(0 <=> (std::string_view(right) <=> b), want);  // reversed
  }
  EXPECT_TRUE(xstr() == static_cast<const char*>(nullptr));
}

TEST(XStrStd, HashesAsItsBytesAndFindsByView) {
  const std::hash<xstr> h;
  EXPECT_EQ(h(xstr("key")), std::hash<std::string_view>{}("key"));
  EXPECT_NE(h(xstr("a\0b"sv)), h(xstr("a\0c"sv)));  // the bytes after a zero count
  EXPECT_EQ(h(xstr()), h(std::string_view()));

  std::unordered_map<xstr, int, std::hash<xstr>, std::equal_to<>> m;
  m[std::string("t\0o", 3)] = 2;
  EXPECT_EQ(m.find(std::string_view("t\0o", 3))->second, 2);
  EXPECT_EQ(m.find("t"), m.end());
}

}  // namespace
}  // namespace xum
