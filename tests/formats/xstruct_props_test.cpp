// xstruct_format for C++ callers, in text form: value kinds and their
// texts, default suppression, saturating conversions, keys written twice,
// the section scope left while an exception unwinds, enums read back, and
// the font record kept in a section.
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "formats/xfont_info.h"
#include "formats/xstruct_format.h"
#include "framework/tgraphics.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using test::bytes_of;
using test::error_of;

// The text form of what `describe` writes.
std::string text_of(const auto& describe) {
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  describe(f);
  f.close();
  return bytes_of(m);
}

enum class mode : std::uint8_t { fast = 1, safe = 2, odd = 200 };
enum plain_enum : long long { low = -5, high = 1LL << 40 };

TEST(XstructProps, EachKindHasItsTextFormAndIsWrittenOnce) {
  EXPECT_EQ(text_of([](xstruct_format& f) {
              f.prop_int64("Count", 5, 5, false);  // equal to its default: not stored
              EXPECT_EQ(f.prop_int64("Big", -9000000000LL, 0, false), -9000000000LL);
              f.real_prop("Ratio", 1.25f, 0.0, false);  // a float is stored as a double
              f.real_prop("Pi", 3.14159265358979, 0.0, false);
              f.real_prop("Zero", 0.0, 0.0, false);  // skipped
              f.str_prop("Name", "x ", "", false);
              f.prop_int64("", 7, 7, false);  // anonymous values are always stored
              f.prop_int64("Forced", 5, 5, true);
              f.prop_bool("On", true, false, false);
              f.prop_bool("Off", false, false, false);  // its default: not stored
              f.prop_enum("Mode", mode::safe, mode::fast, false);
              f.prop_enum("Named", mode::safe, mode::fast, false,
                          {{mode::fast, "fast"}, {mode::safe, "safe"}});
              f.prop_enum("Unnamed", mode::odd, mode::fast, false, {{mode::fast, "fast"}});
              // Writing a key twice is a program's mistake, not damage:
              // general, naming the key; unless the second write stores nothing.
              EXPECT_EQ(test::raised_by([&] { f.str_prop("On", "2", "", false); }),
                        (test::raised{xerror_category::general, -1, -1,
                                      "Key duplication ! Key: On\nMemory stream."}));
              EXPECT_EQ(error_of([&] { f.real_prop("On", 0.0, 0.0, false); }), "(no error)");
            }),
            "TSF\r\nBig=-9000000000\r\nRatio=1.250000\r\nPi=3.141593\r\nName=x "
            "@\r\n#0=7\r\nForced=5\r\nOn=1\r\nMode=2\r\nNamed=safe\r\nUnnamed=200\r\n");
  // Conversions saturate.
  EXPECT_EQ(xstruct_value::real64(0, 1e300).as_int64(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(xstruct_value::real64(0, std::nan("")).as_int64(), 0);
  EXPECT_EQ(xstruct_value::int64(0, INT64_MIN).text(), "-9223372036854775808");
}

TEST(XstructFormatUnwinding, ASectionScopeIsLeftAlsoWhenAnExceptionPasses) {
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
}

TEST(XstructProps, EnumsReadByNameOrNumber) {
  const std::string text = "m=2\nn=safe\nu=200\nw=fastest\nl=-5\n";
  xbuffer_stream in(text.data(), static_cast<int>(text.size()));
  xstruct_format f;
  f.open_stream(in, xstream_read, false);
  EXPECT_EQ(f.prop_enum("m", mode::fast, mode::fast, false), mode::safe);
  const std::initializer_list<std::pair<mode, std::string_view>> names = {{mode::fast, "fast"},
                                                                          {mode::safe, "safe"}};
  EXPECT_EQ(f.prop_enum("n", mode::fast, mode::fast, false, names), mode::safe);
  EXPECT_EQ(f.prop_enum("u", mode::fast, mode::fast, false, names), mode::odd);  // an integer
  EXPECT_EQ(error_of([&] { f.prop_enum("w", mode::fast, mode::fast, false, names); }),
            "Integer number expected ! Key: w\nbuffer stream");
  EXPECT_EQ(f.prop_enum("l", high, high, false), low);
}

// Only changed fields are written, and underline and strike-out swap places with the framework's
// font.
TEST(XfontInfo, KeepsOnlyChangesAndMapsItsStyleToTheFramework) {
  xfont_info font;
  EXPECT_EQ(text_of([&](xstruct_format& f) { font.read_write(f); }), "TSF\r\n");
  font.name = "Grüße";
  font.charset = 0;
  font.color = 0xFF;
  font.size = 11;
  font.style = xfont_info::underline | xfont_info::strike_out;  // 12
  EXPECT_EQ(text_of([&](xstruct_format& f) { xfont_info(font).read_write(f); }),
            "TSF\r\nName=Grüße\r\nCharset=0\r\nSize=11\r\nColor=255\r\nStyle=12\r\n");
  TFont t;
  font.AssignTo(&t);
  EXPECT_EQ(t.Name(), u"Grüße");
  EXPECT_EQ(t.Style(), FontStyles({fsUnderline, fsStrikeOut}));
  t.SetStyle(FontStyles({fsBold, fsUnderline}));
  xfont_info back;
  back.style = 0x100 | xfont_info::italic;  // bits beyond the four are kept
  back.Assign(&t);
  EXPECT_EQ(back.size, 11);
  EXPECT_EQ(back.style, 0x100 | xfont_info::bold | xfont_info::underline);
}

}  // namespace
}  // namespace xum
