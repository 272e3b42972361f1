// Typed properties of the structured format in text form: value kinds and
// their texts, default suppression, conversion errors and file names.
#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

#include "core/xexceptions.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"

namespace xum {
namespace {

using test::error_of;
using test::bytes_of;

namespace fs = std::filesystem;

// Loads `text` into `f` for reading; the stream lives in `s`.
void load(xstruct_format& f, xbuffer_stream& s, const std::string& text) {
  s.open(text.data(), static_cast<int>(text.size()));
  f.open_stream(s, xstream_read, false);
}

TEST(XstructProps, EachKindHasItsTextForm) {
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  f.prop_int64("Count", 5, 5, false);  // equal to its default: not stored
  EXPECT_EQ(f.prop_int64("Big", -9000000000LL, 0, false), -9000000000LL);
  f.real_prop("Ratio", 1.25f, 0.0, false);  // a float is stored as a double
  f.real_prop("Pi", 3.14159265358979, 0.0, false);
  f.real_prop("Zero", 0.0, 0.0, false);  // skipped
  f.str_prop("Name", "x ", "", false);
  f.prop_int64("", 7, 7, false);  // anonymous values are always stored
  f.prop_int64("Forced", 5, 5, true);
  f.close();
  EXPECT_EQ(bytes_of(m),
            "TSF\r\nBig=-9000000000\r\nRatio=1.250000\r\nPi=3.141593\r\nName=x @\r\n#0=7\r\nForced=5\r\n");
}

TEST(XstructProps, NumbersReadBackInEveryWidthAndConvertBetweenKinds) {
  xstruct_format f;
  xmemory_stream m;
  f.open_stream(m, xstream_write, false);
  f.prop_int64("I", -42, 0, false);
  f.real_prop("D", 2.75, 0.0, false);
  f.str_prop("T", "12", "", false);
  f.start_reading();
  EXPECT_EQ(f.real_prop("I", 0.0, 1.0, false), -42.0);
  EXPECT_EQ(f.prop_int64("D", 0, 1, false), 2);  // truncated
  float narrow = 0;
  f.real("D", narrow, 1.0, false);
  EXPECT_EQ(narrow, 2.75f);
  EXPECT_EQ(f.prop_int64("T", 0, 1, false), 12);
}

TEST(XstructProps, ValueKindsConvertAtTheirLimits) {
  // 1.5 as an x87 extended real: mantissa 0xC000..., exponent 0x3FFF.
  const unsigned char one_and_half[10] = {0, 0, 0, 0, 0, 0, 0, 0xC0, 0xFF, 0x3F};
  const xstruct_value e = xstruct_value::extended(0, one_and_half);
  EXPECT_EQ(e.text(), "1.500000");
  EXPECT_EQ(e.as_double(), 1.5);
  unsigned char back[10];
  e.extended_bytes(back);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(back), 10), std::string(reinterpret_cast<const char*>(one_and_half), 10));
  const unsigned char minus_inf[10] = {0, 0, 0, 0, 0, 0, 0, 0x80, 0xFF, 0xFF};
  EXPECT_EQ(xstruct_value::extended(0, minus_inf).as_double(), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(xstruct_value::extended(0, minus_inf).as_int64(), std::numeric_limits<std::int64_t>::min());

  EXPECT_EQ(xstruct_value::real64(0, 1e300).as_int64(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(xstruct_value::real64(0, std::nan("")).as_int64(), 0);
  EXPECT_EQ(xstruct_value::int64(0, INT64_MIN).text(), "-9223372036854775808");
}

TEST(XstructProps, MalformedNumbersAreReportedWithTheKeyAndGiveTheDefault) {
  xstruct_format f;
  xbuffer_stream s;
  load(f, s, "Count=abc\n#0=x\n");
  // (Each kind's text, file and line: xformat_errors_test.)
  EXPECT_EQ(error_of([&] { f.real_prop(" Count ", 0.0, 3.0, false); }), "Number expected ! Key: Count\nbuffer stream");
  static std::string seen;
  test::error_hook hook([](const xstr& m) { seen = std::string(m.view()); });
  f.start_reading();
  EXPECT_EQ(f.prop_int64("Count", 0, 3, false), 3);
  EXPECT_EQ(f.real_prop("", 0.0, 2.5, false), 2.5);
  EXPECT_FALSE(f.get_keys_left());  // the failed anonymous read still advanced
  EXPECT_EQ(seen, "Number expected ! Key: #0\nbuffer stream");
}

TEST(XstructProps, WritingAKeyTwiceIsReportedForEveryKind) {
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  f.prop_int64("K", 1, 0, false);
  EXPECT_NE(error_of([&] { f.real_prop("K", 2.0, 0.0, false); }), "(no error)");
  EXPECT_NE(error_of([&] { f.str_prop("K", "2", "", false); }), "(no error)");
  // Equal to its default, the second write stores nothing and so reports nothing.
  EXPECT_EQ(error_of([&] { f.real_prop("K", 0.0, 0.0, false); }), "(no error)");
}

class XstructFileName : public ::testing::Test {
 protected:
  void touch(const fs::path& p) {
    fs::create_directories(p.parent_path());
    std::ofstream(p) << "x";
  }
  test::temp_dir dir_;
  const fs::path root_ = dir_.path;
};

TEST_F(XstructFileName, IsStoredRelativeAndFoundAgainAfterTheFolderMoved) {
  touch(root_ / "a" / "data.bin");
  touch(root_ / "a" / "img" / "logo.bmp");
  const std::string settings = (root_ / "a" / "set.tsf").string();
  {
    xstruct_format f;
    f.open_file(settings.c_str(), xfile_create);
    xstr data = (root_ / "a" / "data.bin").c_str();
    xstr logo = (root_ / "a" / "img" / "logo.bmp").c_str();
    xstr none;
    f.file_name("Data", data);
    f.file_name("Logo", logo);
    f.file_name("None", none);
    f.close();
  }
  EXPECT_EQ(test::file_bytes(settings), "TSF\r\nData=data.bin\r\nLogo=img/logo.bmp\r\n");

  fs::rename(root_ / "a", root_ / "b");
  xstruct_format f;
  f.open_file((root_ / "b" / "set.tsf").c_str(), xfile_read);
  xstr data, logo, none = "was set";
  f.file_name("Data", data);
  f.file_name("Logo", logo);
  f.file_name("None", none);
  EXPECT_EQ(data, (root_ / "b" / "data.bin").c_str());
  EXPECT_EQ(logo, (root_ / "b" / "img" / "logo.bmp").c_str());
  EXPECT_EQ(none, "");
}

TEST_F(XstructFileName, FallsBackToTheSearchPathsInOrder) {
  touch(root_ / "second" / "x.dat");
  touch(root_ / "third" / "x.dat");
  const std::string text = "TSF\r\nX=x.dat\r\nY=y.dat\r\n";
  std::ofstream(root_ / "set.tsf") << text;
  xstruct_format f;
  f.add_search_path((root_ / "first/").c_str());
  f.add_search_path((root_ / "second/").c_str());
  f.add_search_path((root_ / "third/").c_str());
  f.open_file((root_ / "set.tsf").c_str(), xfile_read);
  xstr x, y;
  f.file_name("X", x);
  f.file_name("Y", y);
  EXPECT_EQ(x, (root_ / "second" / "x.dat").c_str());
  EXPECT_EQ(y, (root_ / "y.dat").c_str());  // found nowhere: the base directory
}

}  // namespace
}  // namespace xum
