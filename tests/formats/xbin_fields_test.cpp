// xbin_format's fields of every integer type, std::string and std::vector,
// writing from const data, and the category and place of each reading
// failure.
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "formats/xbin_format.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using namespace std::string_literals;

using test::bytes_of;
using test::code_of;
using test::raised;
using test::raised_by;

// Writes `fill` into a fresh memory stream through an owned-block format
// and returns the bytes.
template <class F>
std::string written(F fill) {
  xmemory_stream m;
  {
    xbin_format f;
    f.open_exclusive(m, xstream_write);
    fill(f);
    f.close();
  }
  return bytes_of(m);
}

// Reads `bytes` back with `read` over a borrowed and over an exclusive
// stream: the two paths of every field.
template <class F>
void read_both_ways(const std::string& bytes, F read) {
  for (const bool exclusive : {false, true}) {
    SCOPED_TRACE(exclusive ? "exclusive" : "borrowed");
    xbuffer_stream s(bytes.data(), static_cast<int>(bytes.size()));
    xbin_format f;
    if (exclusive)
      f.open_exclusive(s, xstream_read);
    else
      f.open_stream(s, xstream_read, false);
    read(f);
  }
}

template <class T>
struct XBinIntegers : ::testing::Test {};

// Each type with the width the format note gives it.
template <class T, int W>
struct width_of {
  using type = T;
  static constexpr int width = W;
};
using integer_types = ::testing::Types<
    width_of<char, 1>, width_of<unsigned char, 1>, width_of<short, 2>, width_of<char16_t, 2>,
    width_of<int, 4>, width_of<wchar_t, 4>, width_of<long, 8>, width_of<unsigned long long, 8>>;
TYPED_TEST_SUITE(XBinIntegers, integer_types);

TYPED_TEST(XBinIntegers, TakeTheirFixedWidthAndRoundTripAtTheirLimits) {
  using T = typename TypeParam::type;
  constexpr int width = TypeParam::width;
  const T values[] = {T(0), T(1), std::numeric_limits<T>::min(), std::numeric_limits<T>::max(),
                      T(0x41)};
  const std::string bytes = written([&](xbin_format& f) {
    for (T v : values) f(v);
  });
  ASSERT_EQ(bytes.size(), std::size(values) * width);
  // Little-endian, and the minimum of a signed type is sign-extended.
  EXPECT_EQ(static_cast<unsigned char>(bytes[4 * width]), 0x41);
  EXPECT_EQ(bytes.substr(4 * width + 1), std::string(width - 1, '\0'));
  EXPECT_EQ(static_cast<unsigned char>(bytes[3 * width - 1]), std::is_signed_v<T> ? 0x80 : 0x00);
  EXPECT_EQ(static_cast<unsigned char>(bytes[4 * width - 1]), std::is_signed_v<T> ? 0x7F : 0xFF);
  read_both_ways(bytes, [&](xbin_format& f) {
    for (T expected : values) {
      T v = T(7);
      f(v);
      EXPECT_EQ(v, expected);
    }
  });
}

TEST(XBinFields, StringsAndVectorsByteForByte) {
  const std::string text = "ab";
  const std::vector<int> numbers = {1, -2};
  const std::vector<std::string> words = {"", "xyz"};
  const std::vector<std::vector<std::uint16_t>> nested = {{}, {0x0102}};
  const std::vector<bool> flags = {true, false, true};
  const std::string expected = std::string("\x02\0\0\0ab", 6) +
                               std::string("\x02\0\0\0\x01\0\0\0\xFE\xFF\xFF\xFF", 12) +
                               std::string("\x02\0\0\0\0\0\0\0\x03\0\0\0xyz", 15) +
                               std::string("\x02\0\0\0\0\0\0\0\x01\0\0\0\x02\x01", 14) +
                               std::string("\x03\0\0\0\x01\x00\x01", 7) + std::string("\x02hi", 3);
  // The const writer and the two-way calls on copies write the same bytes.
  const std::string from_const = written([&](xbin_format& f) {
    f.write(text);
    f.write(numbers);
    f.write(words);
    f.write(nested);
    f.write(flags);
    f.write_short("hi");
  });
  EXPECT_EQ(from_const, expected);
  read_both_ways(expected, [&](xbin_format& f) {
    std::string t = "old", hi;
    std::vector<int> n = {9, 9, 9};  // longer than what is read: shrinks
    std::vector<std::string> w;
    std::vector<std::vector<std::uint16_t>> v;
    std::vector<bool> b;
    f(t), f(n), f(w), f(v), f(b), f.short_str(hi);
    EXPECT_EQ(n, numbers);
    EXPECT_EQ(v, nested);
    EXPECT_EQ(b, flags);
  });
}

TEST(XBinFields, WritingFromConstDataRefusesAReaderAndOverlongShortStrings) {
  const std::string bytes(8, '\0');
  xbuffer_stream s(bytes.data(), 8);
  xbin_format f(s, xstream_read, false);
  EXPECT_EQ(code_of([&] { f.write(std::int32_t{1}); }), xexception::not_supported);
  xbin_format closed;
  EXPECT_EQ(code_of([&] { closed.write(1.5); }), xexception::not_supported);
  xmemory_stream m;
  xbin_format w(m, xstream_write, false);
  std::string long_short(256, 'a');
  EXPECT_EQ(code_of([&] { w.short_str(long_short); }), xexception::out_of_range);
  EXPECT_EQ(m.size(), 0);  // refused before a byte was written
}

// One field of type T, read.
template <class T>
void read_one(xbin_format& f) {
  T v{};
  f(v);
}

// Reads the fields `steps` names: b uint8, c char, h int16, i int32, s
// std::string, x xstr, S short_str, v vector of int32, L vector of xstr,
// I identifier("VFS"), V set_version(4), T trailer.
void read_fields(xbin_format& f, const std::string& steps) {
  static const std::map<char, void (*)(xbin_format&)> step = {
      {'b', read_one<std::uint8_t>}, {'c', read_one<char>}, {'h', read_one<std::int16_t>},
      {'i', read_one<std::int32_t>}, {'s', read_one<std::string>}, {'x', read_one<xstr>},
      {'v', read_one<std::vector<std::int32_t>>},
      {'S', [](xbin_format& f) { f.short_str(*std::make_unique<xstr>()); }},
      {'L', [](xbin_format& f) { f.vector(*std::make_unique<xvector<xstr>>()); }},
      {'I', [](xbin_format& f) { f.identifier("VFS"); }},
      {'V', [](xbin_format& f) { f.set_version(4); }}, {'T', [](xbin_format& f) { f.trailer(); }},
  };
  for (const char c : steps) step.at(c)(f);
}

// Lengths and counts that the bytes left cannot back are refused before
// anything is allocated (2 GiB announced in 5 bytes must not be reserved).
TEST(XBinFields, ReadingFailuresCarryTheirTextCategoryAndTheOffsetOfTheBadField) {
  using c = xerror_category;
  const std::string bad = "Data reading error ! \nbuffer stream",
                    invalid = "Invalid data format !\nbuffer stream",
                    newer = "Unsupported format version ! Program update needed !\nbuffer stream";
  struct row {
    const char* what;
    std::string input;
    const char* steps;
    raised expected;
  };
  const row rows[] = {
      {"signature after a field", "\x01VFX"s, "bI", {c::bad_data, -1, 1, invalid}},
      {"newer version", "VFS\x05\0\0\0"s, "IV", {c::newer_version, -1, 3, newer}},
      {"string length past the end", "\0\0\x09\0\0\0abc"s, "hs", {c::bad_data, -1, 2, bad}},
      {"negative string length", "\0\0\0\x80"s, "x", {c::bad_data, -1, 0, bad}},
      {"2 GiB string in 5 bytes", "\xFF\xFF\xFF\x7F\x61"s, "x", {c::bad_data, -1, 0, bad}},
      {"short string that ends early", "\x03\x61"s, "S", {c::io, -1, -2, bad}},
      {"vector count past the end", "x\xFF\0\0\0\1\0\0\0"s, "cv", {c::bad_data, -1, 1, bad}},
      {"2^30 strings in 4 bytes", "\0\0\0\x40\0\0\0\0"s, "L", {c::bad_data, -1, 0, bad}},
      {"data that ends early", "\1\2\3"s, "i", {c::io, -1, -2, bad}},
      {"trailer past the end", "\0\0\0\0\0\0\0\0\x40\0\0\0"s, "T", {c::bad_data, -1, 8, bad}},
  };

  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    read_both_ways(r.input, [&](xbin_format& f) {
      raised got = raised_by([&] { read_fields(f, r.steps); });
      // A short read's place is where the stream stopped, whichever layer
      // noticed it; only the category matters.
      if (r.expected.offset == -2) got.offset = -2;
      EXPECT_EQ(got, r.expected);
    });
  }
  // A version up to the one asked for is accepted and kept.
  for (const char stored : {3, 4}) {
    const std::string bytes = {stored, 0, 0, 0};
    xbuffer_stream s(bytes.data(), 4);
    xbin_format f(s, xstream_read, false);
    EXPECT_EQ(raised_by([&] { f.set_version(4); }).text, "(no error)");
    EXPECT_EQ(f.version(), stored);
  }
}

}  // namespace
}  // namespace xum
