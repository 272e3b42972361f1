// xtext_format reading: line breaks and line numbers, character tokens,
// number prefixes, parse failures with their line, lines across read blocks.
#include "formats/xtext_format.h"

#include <memory>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using test::raised;
using test::raised_by;

// A reader over a text held by the test.
class XtextFormatRead : public ::testing::Test {
 protected:
  xtext_format& open(std::string text) {
    text_ = std::move(text);
    stream_ = std::make_unique<xbuffer_stream>(text_.data(), static_cast<int>(text_.size()));
    format_.open_stream(*stream_, xstream_read, false);
    return format_;
  }
  std::string text_;
  std::unique_ptr<xbuffer_stream> stream_;
  xtext_format format_;
};

TEST_F(XtextFormatRead, LineBreakTable) {
  // Text, its second token and the line it is on.
  const std::tuple<const char*, const char*, int> rows[] = {
      {"a\n\rb", "b", 2},       {"a\rb", "b", 2},
      {"a\r\rb c", "c", 3},  // the doubled CR swallows b
      {"a\r\n\n\r\nb", "b", 4}, {"a  \t b", "b", 1},
  };
  for (const auto& [text, second, line] : rows) {
    SCOPED_TRACE(::testing::PrintToString(std::string(text)));
    xtext_format& t = open(text);
    EXPECT_EQ(t.token(true), "a");
    EXPECT_EQ(t.token(true), second);
    EXPECT_EQ(t.line_number(), line);
    xstr rest;
    EXPECT_FALSE(t.read_token(rest, true));
  }
}

TEST_F(XtextFormatRead, CharacterTokensSplittingAndNumberPrefixes) {
  xtext_format& t = open("key=value =x key=v =y");
  t.register_character_tokens("=");
  for (const char* token : {"key", "=", "value", "=", "x"}) EXPECT_EQ(t.token(true), token);
  EXPECT_EQ(t.token(false), "key=v");  // not split
  EXPECT_EQ(t.token(false), "=");      // a marked character starting a token
  EXPECT_EQ(t.token(false), "y");
  open("12; 1,5 -3.9e1x \xc3\xa9 7\xc3\xa9 1e99999");
  EXPECT_EQ(t.integer(), 12);
  EXPECT_EQ(t.token(true), ";");
  EXPECT_EQ(t.number(), 1.5L);
  EXPECT_EQ(t.integer(), -39);  // truncated; "x" is pushed back
  EXPECT_EQ(t.token(true), "x");
  xstr s;
  EXPECT_FALSE(t.read_number_token(s));  // bytes >= 128 are no number characters
  EXPECT_EQ(t.token(true), "\xc3\xa9");
  EXPECT_EQ(t.integer(), 7);
  EXPECT_EQ(t.token(true), "\xc3\xa9");
  EXPECT_EQ(t.integer(), INT64_MAX);  // saturates instead of overflowing
}

TEST_F(XtextFormatRead, ErrorTextsAndReturnsWhenTheHookReturns) {
  // Parse failures are bad data with their line, the texts as they were.
  xtext_format& t = open("\r\nabc");
  const auto bad = xerror_category::bad_data;
  EXPECT_EQ(raised_by([&] { t.number(); }),
            (raised{bad, 2, -1, "Number expected !\nbuffer stream\nLine: 2"}));
  EXPECT_EQ(t.token(true), "abc");  // the failed number left the word
  EXPECT_EQ(raised_by([&] { t.token(true); }),
            (raised{bad, 2, -1, "Unexpected end of text !\nbuffer stream"}));
  test::error_hook returns([](const xstr&) {});
  xtext_format& u = open("word");
  EXPECT_EQ(u.number(), 0.0L);
  EXPECT_EQ(u.token(true), "word");
  EXPECT_EQ(u.token(true), "");
}

TEST_F(XtextFormatRead, LinesAcrossReadBlocks) {
  // Lines of 7 bytes plus CR LF after a first line of `pad` bytes: the 4 MiB
  // block boundary falls at every position of a line and its break, and a
  // line handed out must survive the refill that finding its end causes.
  const int count = xtext_format::read_block / 9 + 4;
  for (int pad = 0; pad < 9; ++pad) {
    SCOPED_TRACE(pad);
    std::string text(static_cast<std::size_t>(pad), 'p');
    text += "\r\n";
    for (int i = 0; i < count; ++i) text += "line" + std::to_string(100 + i % 900) + "\r\n";
    text += std::string(xtext_format::read_block, 'z');  // refills overwrite the whole block
    xtext_format& t = open(text);
    std::string_view v;
    ASSERT_TRUE(t.read_line_view(v, true));
    for (int i = 0; i < count; ++i) {
      ASSERT_TRUE(t.read_line_view(v, true));
      ASSERT_EQ(v, "line" + std::to_string(100 + i % 900)) << i;
    }
  }
}

}  // namespace
}  // namespace xum
