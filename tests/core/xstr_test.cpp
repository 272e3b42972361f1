#include "core/xstr.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <xum/core/xexceptions.h>  // the installed spelling works in the tree too

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

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
  xstr a = "abc", b = a, c;
  c = a;
  EXPECT_EQ(c.get_text(), b.get_text());
  EXPECT_EQ(a.use_count(), 3u);

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
  // Assigning a text to itself, or moving it onto itself, keeps it.
  xstr self = "abc";  // the only owner of its block
  const xstr& alias = self;
  self = alias;
  xstr& same = self;
  self = std::move(same);
  expect_text(self, "abc");
  EXPECT_EQ(self.use_count(), 1u);
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
    EXPECT_EQ(test::code_of([&] { call(s); }), 0);
    EXPECT_EQ(s.get_text(), other.get_text());
    expect_text(s, "abc");
    EXPECT_EQ(s.use_count(), 2u);
  }
  EXPECT_THROW((void)xstr().at(0), xexception);
}

TEST(XStrText, FindsTrimsAndEnquotes) {
  // text, the text to find, its first and last position
  const std::tuple<std::string_view, std::string_view, int, int> searches[] = {
      {"abcabc", "bc", 1, 4},
      {"aaa", "aa", 0, 1},
      {"abc", "abcd", -1, -1},
      {"abc", "", -1, -1},
      {"a\0b\0b"sv, "\0b"sv, 1, 3}};
  for (const auto& [text, find, first, last] : searches) {
    SCOPED_TRACE(testing::PrintToString(text) + " / " + testing::PrintToString(find));
    EXPECT_EQ(xstr(text).str_first_pos(xstr(find)), first);
    EXPECT_EQ(xstr(text).str_last_pos(xstr(find)), last);
  }
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

// --- with the standard library ------------------------------------------------

TEST(XStrStd, BuildsFromCopiesOutToHashesAndComparesAsStringsKeepingZeroBytes) {
  for (const std::string_view bytes : {""sv, "a\0b"sv, "\0\0tail"sv}) {
    SCOPED_TRACE(testing::PrintToString(std::string(bytes)));
    const std::string str(bytes);
    const xstr from_string = str;  // implicit, as from a C string
    expect_text(from_string, bytes);
    expect_text(xstr(bytes), bytes);
    EXPECT_EQ(from_string.str(), str);
    EXPECT_EQ(static_cast<std::string>(xstr(bytes)), str);
  }
  // Hashed as its bytes, it is found in a map by a view.
  const std::hash<xstr> h;
  EXPECT_EQ(h(xstr("key")), std::hash<std::string_view>{}("key"));
  EXPECT_NE(h(xstr("a\0b"sv)), h(xstr("a\0c"sv)));  // the bytes after a zero count

  std::unordered_map<xstr, int, std::hash<xstr>, std::equal_to<>> m;
  m[std::string("t\0o", 3)] = 2;
  EXPECT_EQ(m.find(std::string_view("t\0o", 3))->second, 2);
  EXPECT_EQ(m.find("t"), m.end());
  // Comparisons count every byte, unsigned, except a C string's, which ends at
  // its zero byte; each order holds both ways.
  const xstr s("ab\0c"sv);
  EXPECT_TRUE(std::string("ab\0c", 4) == s);
  EXPECT_FALSE(s == "ab"sv);
  EXPECT_TRUE("ab" != s);
  // xstr("b") <=> each text.
  using std::strong_ordering;
  const std::pair<const char*, strong_ordering> orders[] = {{"b", strong_ordering::equal},
                                                            {"ba", strong_ordering::less},
                                                            {"\xE4", strong_ordering::less},
                                                            {"", strong_ordering::greater}};
  for (const auto& [right, want] : orders) {
    SCOPED_TRACE(right);
    EXPECT_EQ(xstr("b") <=> right, want);
    EXPECT_EQ(xstr("b") <=> xstr(right), want);
    EXPECT_EQ(0 <=> (std::string_view(right) <=> xstr("b")), want);  // reversed
  }
}

}  // namespace
}  // namespace xum
