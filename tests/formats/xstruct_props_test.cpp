// xstruct_format for C++ callers, in text form: value kinds and their
// texts, default suppression, conversion errors, file names, the binary flag
// set before the open, the prop template's instances, no save while an
// exception unwinds, the section scope, and bool and enum properties.
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;
using test::bytes_of;
using test::error_of;

// Loads `text` into `f` for reading; the stream lives in `s`.
void load(xstruct_format& f, xbuffer_stream& s, const std::string& text) {
  s.open(text.data(), static_cast<int>(text.size()));
  f.open_stream(s, xstream_read, false);
}

// The text form of what `describe` writes.
std::string text_of(const auto& describe) {
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  describe(f);
  f.close();
  return bytes_of(m);
}

TEST(XstructProps, EachKindHasItsTextForm) {
  EXPECT_EQ(text_of([](xstruct_format& f) {
              f.prop_int64("Count", 5, 5, false);  // equal to its default: not stored
              EXPECT_EQ(f.prop_int64("Big", -9000000000LL, 0, false), -9000000000LL);
              f.real_prop("Ratio", 1.25f, 0.0, false);  // a float is stored as a double
              f.real_prop("Pi", 3.14159265358979, 0.0, false);
              f.real_prop("Zero", 0.0, 0.0, false);  // skipped
              f.str_prop("Name", "x ", "", false);
              f.prop_int64("", 7, 7, false);  // anonymous values are always stored
              f.prop_int64("Forced", 5, 5, true);
            }),
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
  // A program's mistake, not damage: general, naming the key.
  const test::raised twice{xerror_category::general, -1, -1, "Key duplication ! Key: K\nMemory stream."};
  EXPECT_EQ(test::raised_by([&] { f.prop_int64("K", 2, 0, false); }), twice);
  EXPECT_EQ(test::raised_by([&] { f.real_prop("K", 2.0, 0.0, false); }), twice);
  EXPECT_EQ(test::raised_by([&] { f.str_prop("K", "2", "", false); }), twice);
  // Equal to its default, the second write stores nothing and so reports nothing.
  EXPECT_EQ(error_of([&] { f.real_prop("K", 0.0, 0.0, false); }), "(no error)");
}

TEST(XstructFileName, IsStoredRelativeAndFoundAgainAfterTheFolderMoved) {
  const test::temp_dir dir;
  const fs::path& root = dir.path;
  test::put_file(root / "a" / "data.bin", "x");
  test::put_file(root / "a" / "img" / "logo.bmp", "x");
  const std::string settings = (root / "a" / "set.tsf").string();
  {
    xstruct_format f;
    f.open_file(settings.c_str(), xfile_create);
    xstr data = (root / "a" / "data.bin").c_str();
    xstr logo = (root / "a" / "img" / "logo.bmp").c_str();
    xstr none;
    f.file_name("Data", data);
    f.file_name("Logo", logo);
    f.file_name("None", none);
    f.close();
  }
  EXPECT_EQ(test::file_bytes(settings), "TSF\r\nData=data.bin\r\nLogo=img/logo.bmp\r\n");

  fs::rename(root / "a", root / "b");
  xstruct_format f;
  f.open_file((root / "b" / "set.tsf").c_str(), xfile_read);
  xstr data, logo, none = "was set";
  f.file_name("Data", data);
  f.file_name("Logo", logo);
  f.file_name("None", none);
  EXPECT_EQ(data, (root / "b" / "data.bin").c_str());
  EXPECT_EQ(logo, (root / "b" / "img" / "logo.bmp").c_str());
  EXPECT_EQ(none, "");
}

TEST(XstructFileName, FallsBackToTheSearchPathsInOrder) {
  const test::temp_dir dir;
  const fs::path& root = dir.path;
  test::put_file(root / "second" / "x.dat", "x");
  test::put_file(root / "third" / "x.dat", "x");
  test::put_file(root / "set.tsf", "TSF\r\nX=x.dat\r\nY=y.dat\r\n");
  xstruct_format f;
  f.add_search_path((root / "first/").c_str());
  f.add_search_path((root / "second/").c_str());
  f.add_search_path((root / "third/").c_str());
  f.open_file((root / "set.tsf").c_str(), xfile_read);
  xstr x, y;
  f.file_name("X", x);
  f.file_name("Y", y);
  EXPECT_EQ(x, (root / "second" / "x.dat").c_str());
  EXPECT_EQ(y, (root / "y.dat").c_str());  // found nowhere: the base directory
}

TEST(XstructFormatBinaryFlag, SetBeforeTheOpenForWritingSavesTheBinaryForm) {
  // Steps: b set_binary(true), w open for writing, r load a text,
  // s save_to_stream, c close.
  const std::string text = "TSFid\r\nk=1\r\n";
  const std::pair<const char*, bool> rows[] = {
      {"bw", true},    // before the open
      {"rbw", true},   // while reading, for the writer that follows
      {"bs", true},    // before save_to_stream
      {"bcw", false},  // cleared by an explicit close
  };
  for (const auto& [steps, binary] : rows) {
    SCOPED_TRACE(steps);
    xmemory_stream m;
    xbuffer_stream in;
    xstruct_format f;
    for (const char* step = steps; *step; ++step) {
      if (*step == 'b') f.set_binary(true);
      if (*step == 'w') f.open_stream(m, xstream_write, false);
      if (*step == 'r') load(f, in, text);
      if (*step == 's') f.save_to_stream(m);
      if (*step == 'c') f.close();
    }
    f.identifier("id");
    f.prop_int64("k", 1, 0, false);
    f.close();
    EXPECT_EQ(bytes_of(m).substr(0, 3), binary ? "BSF" : "TSF");
    // The flag served one save: the next writer writes text.
    xmemory_stream again;
    f.open_stream(again, xstream_write, false);
    f.close();
    EXPECT_EQ(bytes_of(again).substr(0, 3), "TSF");
  }
}

// Whether prop<T, S> names a callable instance.
template <class T, class S>
concept prop_compiles = requires(xstruct_format& f, const T& v) {
  f.template prop<T, S>(xstr(), v, v, false);
};

TEST(XstructFormatProp, OnlyTheFourInstancesCompile) {
  // Any other pair used to compile and then fail to link.
  static_assert(prop_compiles<xstr, xstr> && prop_compiles<std::int64_t, std::int64_t> &&
                prop_compiles<float, double> && prop_compiles<double, double>);
  static_assert(!prop_compiles<int, int> && !prop_compiles<bool, std::int64_t> &&
                !prop_compiles<float, float> && !prop_compiles<std::int64_t, xstr> &&
                !prop_compiles<std::string, xstr>);
  // The four link.
  EXPECT_EQ(text_of([](xstruct_format& f) { f.prop<float, double>("c", 0.5f, 0.0f, false); }),
            "TSF\r\nc=0.500000\r\n");
}

TEST(XstructFormatUnwinding, AFormatDestroyedByAnExceptionSavesNothing) {
  test::temp_dir dir;
  const fs::path file = dir.path / "settings.txt";
  test::put_file(file, "TSF\r\nold=1\r\n");
  const auto describe = [&](bool fail) {
    xstruct_format f;
    f.open_file(file.c_str(), xfile_create);
    f.prop_int64("new", 1, 0, false);
    if (fail) throw std::runtime_error("half way");
  };
  EXPECT_THROW(describe(true), std::runtime_error);
  EXPECT_EQ(test::file_bytes(file), "TSF\r\nold=1\r\n");
  // Nothing of the abandoned save is left beside the file either.
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path), fs::directory_iterator()), 1);

  // A format opened while the stack already unwinds (in a destructor) is
  // not stopped by that exception: only one thrown after its open counts.
  xmemory_stream m;
  struct saves_on_destruction {
    xmemory_stream& m;
    ~saves_on_destruction() {
      xstruct_format f;
      f.open_stream(m, xstream_write, false);
      f.prop_int64("k", 1, 0, false);
    }
  };
  try {
    saves_on_destruction s{m};
    throw std::runtime_error("unwinding");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(bytes_of(m), "TSF\r\nk=1\r\n");
}

TEST(XstructScope, LeavesItsSectionAlsoWhenAnExceptionPasses) {
  EXPECT_EQ(text_of([](xstruct_format& f) {
              try {
                auto a = f.section("A");
                EXPECT_TRUE(a);
                f.prop_int64("x", 1, 0, false);
                auto b = f.section("B");
                throw std::runtime_error("fails inside B");
              } catch (const std::runtime_error&) {
              }
              f.prop_int64("y", 2, 0, false);  // back at the root
            }),
            "TSF\r\ny=2\r\n<A\r\n  x=1\r\n  <B\r\n  > (B)\r\n> (A)\r\n");

  xstruct_format f;
  xbuffer_stream in;
  const std::string text = "TSF\r\nx=1\r\n<A\r\nx=5\r\n>\r\n";
  load(f, in, text);
  {
    auto missing = f.section("Nope");
    auto inner = f.section("A");  // exists, but not inside a missing section
    EXPECT_FALSE(inner);
    EXPECT_EQ(f.missing_depth(), 2);
    EXPECT_EQ(f.prop_int64("x", 0, 9, false), 9);  // nor do the root's values show through
    EXPECT_EQ(f.value_by_key("x"), nullptr);
  }
  EXPECT_EQ(f.missing_depth(), 0);
  EXPECT_EQ(f.prop_int64("x", 0, 9, false), 1);
  {
    auto a = f.section("A");
    f.close();  // the format is closed under the scope
  }
}

enum class mode : std::uint8_t { fast = 1, safe = 2, odd = 200 };
enum plain_enum : long long { low = -5, high = 1LL << 40 };

TEST(XstructProps, BoolAndEnumStoredFormsAndWhatReadsBack) {
  EXPECT_EQ(text_of([](xstruct_format& f) {
              f.prop_bool("On", true, false, false);
              f.prop_bool("Off", false, false, false);  // its default: not stored
              f.prop_enum("Mode", mode::safe, mode::fast, false);
              f.prop_enum("Named", mode::safe, mode::fast, false,
                          {{mode::fast, "fast"}, {mode::safe, "safe"}});
              f.prop_enum("Unnamed", mode::odd, mode::fast, false, {{mode::fast, "fast"}});
            }),
            "TSF\r\nOn=1\r\nMode=2\r\nNamed=safe\r\nUnnamed=200\r\n");

  xstruct_format f;
  xbuffer_stream in;
  const std::pair<const char*, bool> flags[] = {
      {"0", false}, {"-3", true}, {" TRUE", true}, {"False", false}, {"2.9", true}};
  for (const auto& [stored, flag] : flags) {
    SCOPED_TRACE(stored);
    const std::string text = std::string("b=") + stored + "\n";
    load(f, in, text);
    EXPECT_EQ(f.prop_bool("b", !flag, !flag, false), flag);
  }
  const std::string text = "b=yes\nm=2\nn=safe\nu=200\nw=fastest\nl=-5\n";
  load(f, in, text);
  EXPECT_EQ(error_of([&] { f.prop_bool("b", false, true, false); }),
            "Integer number expected ! Key: b\nbuffer stream");
  EXPECT_EQ(f.prop_enum("m", mode::fast, mode::fast, false), mode::safe);
  const std::initializer_list<std::pair<mode, std::string_view>> names = {{mode::fast, "fast"},
                                                                          {mode::safe, "safe"}};
  EXPECT_EQ(f.prop_enum("n", mode::fast, mode::fast, false, names), mode::safe);
  EXPECT_EQ(f.prop_enum("u", mode::fast, mode::fast, false, names), mode::odd);  // an integer
  EXPECT_EQ(error_of([&] { f.prop_enum("w", mode::fast, mode::fast, false, names); }),
            "Integer number expected ! Key: w\nbuffer stream");
  EXPECT_EQ(f.prop_enum("l", high, high, false), low);
}

}  // namespace
}  // namespace xum
