#include "formats/xstruct_format.h"

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"

namespace xum {
namespace {

using test::error_of;

const char* const layout =
    "TSFMainLayout\r\n"
    "Width=100\r\n"
    "<Panel\r\n"
    "  Left=10\r\n"
    "  <#0\r\n"
    "    #0=first\r\n"
    "  > (#0)\r\n"
    "> (Panel)\r\n";

class XstructFormat : public ::testing::Test {
 protected:
  // Loads `text` into f_; the text and its stream, which the format keeps
  // for its error messages, live as long as the fixture.
  void load(std::string text) {
    texts_.push_back(std::make_unique<std::string>(std::move(text)));
    streams_.push_back(
        std::make_unique<xbuffer_stream>(texts_.back()->data(), static_cast<int>(texts_.back()->size())));
    f_.open_stream(*streams_.back(), xstream_read, false);
  }
  // Writes the contents of f_ as the closing save does.
  std::string save() {
    xmemory_stream m;
    f_.save_to_stream(m);
    f_.close();
    return std::string(reinterpret_cast<const char*>(m.data()), m.size());
  }
  xstr get(const char* key) { return f_.str_prop(key, "", "-", false); }

  std::vector<std::unique_ptr<std::string>> texts_;
  std::vector<std::unique_ptr<xbuffer_stream>> streams_;
  xstruct_format f_;
};

TEST_F(XstructFormat, ReadsTheTreeAndWritesItBackByteForByte) {
  load(layout);
  f_.identifier("MainLayout");
  EXPECT_EQ(get("Width"), "100");
  ASSERT_TRUE(f_.begin_section("Panel"));
  EXPECT_EQ(get(" Left "), "10");
  ASSERT_TRUE(f_.begin_section(""));  // the anonymous section #0
  EXPECT_EQ(get(""), "first");
  EXPECT_EQ(get(""), "-");
  f_.end_section();
  EXPECT_FALSE(f_.begin_section(""));  // only one anonymous section
  f_.end_section();
  f_.end_section();
  EXPECT_THROW(f_.end_section(), xexception);
  EXPECT_EQ(save(), layout);
}

TEST_F(XstructFormat, WritingDescribesTheSameTree) {
  xmemory_stream m;
  f_.open_stream(m, xstream_write, false);
  f_.identifier("MainLayout");
  f_.str_prop("Width", "100", "0", false);
  f_.str_prop("Height", "0", "0", false);  // equal to its default: not stored
  f_.begin_section("Panel");
  f_.str_prop("Left", "10", "", false);
  f_.begin_section("");
  f_.str_prop("", "first", "first", false);  // anonymous values are always stored
  f_.end_section();
  EXPECT_TRUE(f_.get_keys_left());
  f_.end_section();
  f_.close();
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(m.data()), m.size()), layout);
  EXPECT_EQ(f_.label_count(), 0);  // a close after writing discards the contents
}

TEST_F(XstructFormat, ValueSyntax) {
  load(
      "Name = x\n"
      "a=abc   @\n"
      "b=abc@\n"
      "c=a @\n"
      "d= @\n"
      "e=\t x \t\n"
      "f=k=v\r"
      "g=\r\n");
  struct row {
    const char* key;
    const char* value;
  };
  const row rows[] = {{"Name ", " x"}, {"a", "abc   "}, {"b", "abc@"}, {"c", "a "}, {"d", " "},
                      {"e", "\t x"},   {"f", "k=v"},    {"g", ""}};
  ASSERT_EQ(f_.root().value_count(), 8);
  for (int i = 0; i < 8; ++i) {
    SCOPED_TRACE(rows[i].key);
    EXPECT_EQ(f_.label_by_code(f_.root().value(i).code()), rows[i].key);
    EXPECT_EQ(f_.root().value(i).text(), rows[i].value);
  }
  EXPECT_EQ(f_.value_by_key("Name"), nullptr);  // the blank belongs to the key
  EXPECT_EQ(f_.stored_identifier(), "");         // no header: left as it was
  EXPECT_EQ(error_of([&] { f_.identifier("X"); }), "Invalid data format !\nbuffer stream");
  const std::string out = save();
  EXPECT_NE(out.find("\r\na=abc   @\r\n"), std::string::npos);
  EXPECT_NE(out.find("\r\nd= @\r\ne=\t x\r\n"), std::string::npos);
}

TEST_F(XstructFormat, SectionsMergeAndCloseSilently) {
  load("<Panel\n a=1\n>\n<Other\n>\n<Panel\n b=2\n<Inner\n c=3\n");
  EXPECT_EQ(save(),
            "TSF\r\n<Panel\r\n  a=1\r\n  b=2\r\n  <Inner\r\n    c=3\r\n  > (Inner)\r\n> (Panel)\r\n"
            "<Other\r\n> (Other)\r\n");
  load("a=1\n> anything\nb=2\n");  // a top-level closer ends the file
  EXPECT_EQ(f_.root().value_count(), 1);
}

TEST_F(XstructFormat, MissingSectionsReturnDefaults) {
  load("<A\n x=1\n <B\n  y=2\n >\n>\n");
  EXPECT_FALSE(f_.begin_section("Nope"));
  EXPECT_FALSE(f_.begin_section("B"));  // exists, but inside a missing one
  EXPECT_EQ(get("x"), "-");
  EXPECT_FALSE(f_.get_keys_left());
  EXPECT_EQ(f_.missing_depth(), 2);
  f_.end_section();
  f_.end_section();
  ASSERT_TRUE(f_.begin_section("A"));
  EXPECT_EQ(get("x"), "1");
  ASSERT_TRUE(f_.begin_section("B"));
  EXPECT_EQ(get("y"), "2");
}

TEST_F(XstructFormat, AnonymousListsStopAtTheFirstGap) {
  load("#0=a\n#1=b\n#3=d\nnamed=n\n#x2=z\n");
  std::vector<std::string> seen;
  while (f_.get_keys_left()) seen.emplace_back(get("").view());
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(get("#3"), "d");
  EXPECT_EQ(f_.code_by_label("#3"), ~3);
  EXPECT_EQ(f_.code_by_label("#0x10"), ~16);  // "%i" reads hex and octal
  EXPECT_GE(f_.code_by_label("#-1"), 0);      // negative numbers are plain labels
  EXPECT_GE(f_.code_by_label("#x"), 0);
  EXPECT_EQ(f_.label_by_code(~2), "#2");
}

TEST_F(XstructFormat, PackRemovesSectionsHoldingNothing) {
  load("<Keep\n v=1\n <Empty\n >\n>\n<Gone\n <Empty1\n  <Empty2\n  >\n >\n>\n<Empty3\n>\n");
  f_.pack();
  EXPECT_EQ(save(), "TSF\r\n<Keep\r\n  v=1\r\n> (Keep)\r\n");
}

TEST_F(XstructFormat, ErrorTexts) {
  EXPECT_EQ(error_of([&] { load("ok=1\njunk line\n"); }), "Key without value ! Key: junk line\nbuffer stream");
  EXPECT_EQ(error_of([&] { load("=5 \n"); }), "Value without key ! Value: 5\nbuffer stream");
  EXPECT_EQ(error_of([&] { load("<S\n k=1\n k=2\n"); }), "Key duplication ! Key: k");
  // A binary form that ends after its signature.
  EXPECT_EQ(error_of([&] { load("BSF"); }), "Data reading error ! \nbuffer stream");
  // With a hook that returns, loading goes on: a duplicate is kept behind the
  // first, which reads find; bad lines are skipped.
  static int reports;
  const auto reports_loading = [&](const std::string& text) {
    const xerror_handler_fn saved = xerror_handler;
    reports = 0;
    xerror_handler = [](const xstr&) { ++reports; };
    load(text);
    xerror_handler = saved;
    return reports;
  };
  EXPECT_EQ(reports_loading("k=1\nk=2\nbad\n=x\nz=3\n"), 3);
  EXPECT_EQ(get("k"), "1");
  EXPECT_EQ(save(), "TSF\r\nk=1\r\nk=2\r\nz=3\r\n");
  // Sections long enough to be indexed find the first of equal keys too.
  std::string many;
  for (int i = 0; i < 100; ++i) many += "k" + std::to_string(i % 60) + "=" + std::to_string(i) + "\n";
  EXPECT_EQ(reports_loading(many), 40);
  for (int i = 0; i < 60; ++i) EXPECT_EQ(get(("k" + std::to_string(i)).c_str()), std::to_string(i).c_str());
}

TEST_F(XstructFormat, ContentsSurviveOnlyTheCloseOfSaveToStream) {
  load("a=1\n");
  f_.close();  // a reading close discards
  EXPECT_EQ(f_.root().value_count(), 0);
  load("a=1\n");
  f_.assign_str("a", "x\ny");  // replaces; the LF is written as a break
  f_.assign_str("b", "2");
  EXPECT_EQ(save(), "TSF\r\na=x\r\ny\r\nb=2\r\n");
  f_.str_prop("k", "v", "", true);  // closed: the writing direction
  f_.start_reading();
  EXPECT_EQ(get("k"), "v");
}

TEST_F(XstructFormat, DeepNestingAndLongLinesNeedNoRecursion) {
  const int depth = 100000;
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<s\n";
  text += "leaf=1\n";
  load(text);
  f_.pack();
  const xstruct_section* s = &f_.root();
  for (int i = 0; i < depth; ++i) {
    ASSERT_EQ(s->child_count(), 1);
    s = &s->child(0);
  }
  EXPECT_EQ(s->value(0).text(), "1");
  f_.close();  // destroys the chain
  load("k=" + std::string(50 << 20, 'v') + "\n");
  EXPECT_EQ(f_.value_by_key("k")->text().length(), 50 << 20);
  // A long text with line feeds is written in pieces, each LF as CR LF.
  std::string big(3 << 20, 'v'), expected = "TSF\r\nbig=";
  for (std::size_t i = 0; i < big.size(); i += 999) big[i] = '\n';
  for (char c : big) expected += c == '\n' ? "\r\n" : std::string(1, c);
  f_.close();
  xmemory_stream m;
  f_.open_stream(m, xstream_write, false);
  f_.str_prop("big", xstr(std::string_view(big)), "", false);
  f_.close();
  EXPECT_TRUE(std::string(reinterpret_cast<const char*>(m.data()), m.size()) == expected + "\r\n");
}

}  // namespace
}  // namespace xum
