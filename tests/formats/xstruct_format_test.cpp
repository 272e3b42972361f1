// xstruct_format's text form: the tree read and written back, value and
// section syntax, load failures with their category and line, hostile
// files (no signature, deep nesting, long lines), refused saves, and
// exactly the keys and values that the text form reads back.
#include "formats/xstruct_format.h"

#include <filesystem>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xfailing_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using c = xerror_category;
using test::error_of;
using test::raised;
using test::raised_by;

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
    streams_.push_back(std::make_unique<xbuffer_stream>(texts_.back()->data(),
                                                        static_cast<int>(texts_.back()->size())));
    f_.open_stream(*streams_.back(), xstream_read, false);
  }
  // Writes the contents of f_ as the closing save does.
  std::string save() {
    xmemory_stream m;
    f_.save_to_stream(m);
    f_.close();
    return test::bytes_of(m);
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
  f_.end_section();
  EXPECT_FALSE(f_.begin_section(""));  // only one anonymous section
  f_.end_section();
  f_.end_section();
  EXPECT_THROW(f_.end_section(), xexception);
  EXPECT_EQ(save(), layout);
}

TEST_F(XstructFormat, ValueSyntax) {
  load("Name = x\na=abc   @\nb=abc@\nc=a @\nd= @\ne=\t x \t\nf=k=v\rg=\r\n");
  // Each line's key and value.
  const std::pair<const char*, const char*> rows[] = {
      {"Name ", " x"}, {"a", "abc   "}, {"b", "abc@"}, {"c", "a "},
      {"d", " "},      {"e", "\t x"},   {"f", "k=v"},  {"g", ""}};
  ASSERT_EQ(f_.root().value_count(), 8);
  for (int i = 0; i < 8; ++i) {
    SCOPED_TRACE(rows[i].first);
    EXPECT_EQ(f_.label_by_code(f_.root().value(i).code()), rows[i].first);
    EXPECT_EQ(f_.root().value(i).text(), rows[i].second);
  }
  EXPECT_EQ(f_.value_by_key("Name"), nullptr);  // the blank belongs to the key
}

TEST_F(XstructFormat, SectionsMergeCloseSilentlyAndPackDropsTheEmpty) {
  load("<Panel\n a=1\n>\n<Other\n>\n<Panel\n b=2\n<Inner\n c=3\n");
  EXPECT_EQ(save(),
            "TSF\r\n<Panel\r\n  a=1\r\n  b=2\r\n  <Inner\r\n    c=3\r\n  > (Inner)\r\n> (Panel)\r\n"
            "<Other\r\n> (Other)\r\n");
  load("a=1\n> anything\nb=2\n");  // a top-level closer ends the file
  EXPECT_EQ(f_.root().value_count(), 1);
  load("<Keep\n v=1\n <Empty\n >\n>\n<Gone\n <Empty1\n  <Empty2\n  >\n >\n>\n<Empty3\n>\n");
  f_.pack();
  f_.assign_str("a", "x\ny");  // the LF is written as a break
  EXPECT_EQ(save(), "TSF\r\na=x\r\ny\r\n<Keep\r\n  v=1\r\n> (Keep)\r\n");
}

// Every load failure is bad data with its line (text) or offset (binary),
// except a file cut short, which is a failed read.
TEST_F(XstructFormat, LoadFailuresAreBadDataWithTheirLine) {
  const std::string in = "\nbuffer stream", invalid = "Invalid data format !" + in;
  const std::string start(120, 'a');  // errors quote only the start of a long line
  const std::pair<std::string, raised> rows[] = {
      {"TSF\r\nok=1\r\njunk line\r\n",
       {c::bad_data, 3, -1, "Key without value ! Key: junk line" + in}},
      {"a=1\n\n=5 \n", {c::bad_data, 3, -1, "Value without key ! Value: 5" + in}},
      {"<S\n k=1\n k=2", {c::bad_data, 3, -1, "Key duplication ! Key: k" + in}},  // no last break
      {"TSF\n" + start + std::string(10 << 20, 'b') + "\n",
       {c::bad_data, 2, -1, "Key without value ! Key: " + start + "..." + in}},
      {"TSF\n=" + start + "c\n",
       {c::bad_data, 2, -1, "Value without key ! Value: " + start + "..." + in}},
      {"\x01\x02\x03\x04", {c::bad_data, -1, 0, invalid}},                 // no signature, no text
      {"BSF\0\0\0\0\0\x01\0\x05\0\x01"s, {c::bad_data, -1, 10, invalid}},  // no label 5
      {"BSF", {c::io, -1, 3, "Data reading error ! " + in}},  // ends after its signature
  };
  for (const auto& [bytes, want] : rows) {
    SCOPED_TRACE(bytes.substr(0, 20));
    EXPECT_EQ(raised_by([&] { load(bytes); }), want);
  }
}

TEST(XstructFormatErrors, AValueThatDoesNotConvertNamesItsFileAndLine) {
  test::temp_dir dir;
  const fs::path file = dir.path / "settings.txt";
  // The same section twice is merged; the key "n " holds a blank.
  test::put_file(file,
                 "TSFid\r\n\r\n<S\r\n  x=1\r\n>\r\n\r\n<S\r\n  n = 3\r\n  n=oops\r\n> (S)\r\n");
  xstruct_format f;
  f.open_file(file.c_str(), xfile_read);
  ASSERT_TRUE(f.begin_section("S"));
  EXPECT_EQ(raised_by([&] { f.real_prop("n", 0.0, 0.0, false); }),
            (raised{c::bad_data, 9, -1, "Number expected ! Key: n\nFile: " + file.string()}));
}

TEST_F(XstructFormat, NestingDeeperThanTheLimitIsRefusedWhereItStarts) {
  const auto nested = [](int depth) {
    std::string text = "TSF\n";
    for (int i = 0; i < depth; ++i) text += "<s\n";
    return text + "leaf=1\n";
  };
  load(nested(xstruct_format::max_depth));
  f_.pack();
  const xstruct_section* s = &f_.root();
  for (int i = 0; i < xstruct_format::max_depth; ++i) {
    ASSERT_EQ(s->child_count(), 1);
    s = &s->child(0);
  }
  EXPECT_EQ(s->value(0).text(), "1");
  // The 129th open is refused on its line (the signature is line 1), and
  // nothing after it is read: 100,000 levels cost no more than 129.
  for (const int depth : {xstruct_format::max_depth + 1, 100000}) {
    SCOPED_TRACE(depth);
    EXPECT_EQ(
        error_of([&] { load(nested(depth)); }),
        "Invalid data format !\nSections are nested more than 128 deep.\nbuffer stream\nLine: 130");
  }
}

TEST_F(XstructFormat, AFileWithoutASignatureIsRefusedByItsFirstBytes) {
  // Zeros, of which no more than the first sniff_bytes may be read.
  const std::string zeros(2 * xstruct_format::sniff_bytes, '\0');
  xbuffer_stream data(zeros.data(), static_cast<int>(zeros.size()));
  test::xfailing_stream capped(data, 0, xstruct_format::sniff_bytes, true);
  EXPECT_EQ(error_of([&] { f_.open_stream(capped, xstream_read, false); }),
            "Invalid data format !\nfailing stream");
  const std::pair<std::string, bool> rows[] = {
      {"k=v\n", true},
      {"", true},
      {std::string(5000, '\n') + "junk", true},  // nothing but blank lines up front
      {"junk line\nk=v\n", false},
      {"key" + std::string(5000, 'y') + "=v", false},  // no "=" in the first bytes
      {"k=v\0"s, false},
      {"k=\x01", false},
      {"BS", false},
  };
  for (const auto& [text, loads] : rows) {
    SCOPED_TRACE(text.substr(0, 20));
    EXPECT_EQ(error_of([&] { load(text); }) == "Invalid data format !\nbuffer stream", !loads);
  }
  // A long line needs no recursion.
  load("k=" + std::string(50 << 20, 'v') + "\n");
  EXPECT_EQ(f_.value_by_key("k")->text().length(), 50 << 20);
}

// A save cut short at every write keeps the old file (platform's
// xsafe_rewrite_test; the tool's tests under a file-size limit); so does a
// tree deeper than a file may be, refused by either form before it writes
// anything, and a save abandoned by an exception.
TEST(XstructFormatSave, ARefusedOrAbandonedSaveLeavesTheOldFileAndNoNewOne) {
  test::temp_dir dir;
  const std::string path = (dir.path / "settings.txt").string();
  const std::string old_text = "TSFold\r\nkeep=1\r\n";
  test::put_file(path, old_text);
  std::string deep = "s";
  for (int i = 0; i < xstruct_format::max_depth; ++i) deep += "/s";
  for (const int way : {0, 1, 2}) {  // text, binary, abandoned
    SCOPED_TRACE(way);
    const auto save = [&] {
      xstruct_format f;
      f.open_file(path.c_str(), xfile_create);
      f.set_binary(way == 1);
      f.prop_int64("new", 1, 0, false);
      if (way == 2) throw std::runtime_error("half way");
      for (int i = 0; i <= xstruct_format::max_depth; ++i) f.begin_section("s");
      f.close();
    };
    if (way == 2)
      EXPECT_THROW(save(), std::runtime_error);
    else
      EXPECT_EQ(error_of(save), "Invalid data format !\nKey: " + deep +
                                    "\nSections are nested more than 128 deep.\nFile: " + path);
    EXPECT_EQ(test::file_bytes(path), old_text);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path), {}), 1);
  }
}

TEST(XstructTextMisfit, ExactlyTheKeysAndValuesThatFitReadBack) {
  struct row {
    std::string key, value;
    const char* reason;      // "": fits
    std::string shown = "";  // the key in the message, when not as given
  };
  const row rows[] = {
      {"Title", "Sales report", ""},
      {"Title=x", "v", "The key holds '='."},
      {">", "v", "The key starts with '>'."},
      {"<Sec", "v", "The key starts with '<'."},
      {"a<b>", "v", ""},
      {"#0", "v", ""},                                         // the first anonymous value
      {"k\nx", "v", "The name holds a line break.", "k\\nx"},  // shown escaped
      {"k", "a\nb", "The value holds a line break."},
      {"k", "a\t", "The value ends in a tab."},
      {"k", "a\t ", ""},
      {"k", "a @", "The value ends in a blank and '@'."},
      {"k", "a@", ""},
      {"k", "\x01\x7f\xff", ""},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.key + " = " + r.value);
    xmemory_stream m;
    xstruct_format f;
    f.open_stream(m, xstream_write, false);
    f.assign_str(xstr(r.key), xstr(r.value));
    const auto misfit = f.first_misfit(xstruct_form::text);
    EXPECT_EQ(misfit ? std::string(misfit->message().view()) : "",
              *r.reason ? "Key: " + (r.shown.empty() ? r.key : r.shown) + "\n" + r.reason : "");
    f.close();
    m.seek(0, xseek_begin);
    xstruct_format g;
    const bool loads = error_of([&] { g.open_stream(m, xstream_read, false); }) == "(no error)";
    const bool same = loads && g.root().value_count() == 1 && g.root().child_count() == 0 &&
                      g.label_by_code(g.root().value(0).code()) == xstr(r.key) &&
                      g.root().value(0).text() == xstr(r.value);
    EXPECT_EQ(same, *r.reason == '\0');
  }
}

}  // namespace
}  // namespace xum
