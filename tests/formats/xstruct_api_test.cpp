// xstruct_format for C++ callers: the binary flag set before the open, the
// prop template's instances, no save while an exception unwinds, the
// section scope, bool and enum properties and lookups through a const
// format.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <initializer_list>
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

// Loads `text` into `f`; the stream lives in `s`.
void load(xstruct_format& f, xbuffer_stream& s, const std::string& text) {
  s.open(text.data(), static_cast<int>(text.size()));
  f.open_stream(s, xstream_read, false);
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
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  f.prop<float, double>("c", 0.5f, 0.0f, false);
  f.close();
  EXPECT_EQ(bytes_of(m), "TSF\r\nc=0.500000\r\n");
}

TEST(XstructFormatUnwinding, AFormatDestroyedByAnExceptionSavesNothing) {
  test::temp_dir dir;
  const fs::path file = dir.path / "settings.txt";
  std::ofstream(file, std::ios::binary) << "TSF\r\nold=1\r\n";
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
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  try {
    auto a = f.section("A");
    EXPECT_TRUE(a);
    f.prop_int64("x", 1, 0, false);
    auto b = f.section("B");
    throw std::runtime_error("fails inside B");
  } catch (const std::runtime_error&) {
  }
  f.prop_int64("y", 2, 0, false);  // back at the root
  f.close();
  EXPECT_EQ(bytes_of(m), "TSF\r\ny=2\r\n<A\r\n  x=1\r\n  <B\r\n  > (B)\r\n> (A)\r\n");

  xbuffer_stream in;
  const std::string text = "TSF\r\n<A\r\nx=5\r\n>\r\n";
  load(f, in, text);
  {
    auto missing = f.section("Nope");
    auto inner = f.section("A");  // still missing: nested
    EXPECT_FALSE(inner);
  }
  EXPECT_EQ(f.missing_depth(), 0);
  {
    auto a = f.section("A");
    f.close();  // the format is closed under the scope
  }
}

enum class mode : std::uint8_t { fast = 1, safe = 2, odd = 200 };
enum plain_enum : long long { low = -5, high = 1LL << 40 };

TEST(XstructProps, BoolAndEnumStoredFormsAndWhatReadsBack) {
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  f.prop_bool("On", true, false, false);
  f.prop_bool("Off", false, false, false);  // its default: not stored
  f.prop_enum("Mode", mode::safe, mode::fast, false);
  f.prop_enum("Named", mode::safe, mode::fast, false, {{mode::fast, "fast"}, {mode::safe, "safe"}});
  f.prop_enum("Unnamed", mode::odd, mode::fast, false, {{mode::fast, "fast"}});
  f.close();
  EXPECT_EQ(bytes_of(m),
            "TSF\r\nOn=1\r\nMode=2\r\nNamed=safe\r\nUnnamed=200\r\n");

  struct row {
    const char* stored;
    bool flag;
  };
  const row flags[] = {{"0", false}, {"-3", true}, {" TRUE", true}, {"False", false}, {"2.9", true}};
  xbuffer_stream in;
  for (const row& r : flags) {
    SCOPED_TRACE(r.stored);
    const std::string text = std::string("b=") + r.stored + "\n";
    load(f, in, text);
    EXPECT_EQ(f.prop_bool("b", !r.flag, !r.flag, false), r.flag);
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
