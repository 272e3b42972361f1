// xbin_format: field layouts byte for byte and back through both paths (a
// borrowed stream and the field block), the stream's place after each
// field, counts that the bytes left cannot back, the place and category of
// each reading failure, and a handed-over stream deleted once.
#include "formats/xbin_format.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using namespace std::string_literals;
using test::bytes_of;
using test::error_of;
using test::raised;
using test::raised_by;

// Reads `bytes` with `read` over a borrowed and over an exclusive stream:
// the two paths of every field.
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

// Fields of each kind, written and read by the same calls. Integers take
// the format's width whatever their size in memory, signed ones sign-extended.
struct record {
  xstr ab = "ab", empty, longest = xstr(std::string(255, 'x'));
  std::uint16_t u16 = 0x1234;
  long low = std::numeric_limits<long>::min();
  wchar_t wide = L'A';
  char16_t high = 0xFFFF;
  signed char minus = -1;
  double d = 1.0;
  xvector<xstr> list;
  std::vector<int> numbers = {1, -2};
  std::vector<std::string> words = {"", "xyz"};
  std::vector<std::vector<std::uint16_t>> nested = {{}, {0x0102}};
  std::vector<bool> flags = {true, false, true};
  void fields(xbin_format& f) {
    f.identifier("REC");
    f.set_version(2);
    f.short_str(ab);
    f(u16);
    f(low);
    f(wide);
    f(high);
    f(minus);
    f(empty);
    f(d);
    f.vector(list);
    longest = f.short_str_prop(longest);  // 255 bytes are the limit, not past it
    f(numbers);
    f(words);
    f(nested);
    f(flags);
  }
};

TEST(XBinFormat, FieldEncodingsByteForByteAndBackOnBothPaths) {
  xmemory_stream m;
  record out;
  out.list.push_back("a");
  out.list.push_back("");
  {
    xbin_format f(m, xstream_write, false);
    out.fields(f);
    EXPECT_EQ(f.trailer(), 356);  // written at close
  }
  // The first 12 bytes are the format note's example.
  const std::string want = "REC\2\0\0\0\2ab\x34\x12"s + "\0\0\0\0\0\0\0\x80"s +
                           "A\0\0\0\xFF\xFF\xFF"s + "\0\0\0\0"s + "\0\0\0\0\0\0\xF0\x3F"s +
                           "\2\0\0\0\1\0\0\0a\0\0\0\0"s + "\xFF"s + std::string(255, 'x') +
                           "\2\0\0\0\1\0\0\0\xFE\xFF\xFF\xFF"s + "\2\0\0\0\0\0\0\0\3\0\0\0xyz"s +
                           "\2\0\0\0\0\0\0\0\1\0\0\0\2\1"s + "\3\0\0\0\1\0\1"s + "\x64\1\0\0"s;
  EXPECT_EQ(bytes_of(m), want);
  read_both_ways(want, [&](xbin_format& f) {
    record in;
    in.ab = in.empty = in.longest = "old";
    in.low = in.wide = in.high = in.minus = 0;
    in.numbers = {9, 9, 9};  // longer than what is read: shrinks
    in.fields(f);
    EXPECT_EQ(f.trailer(), 356);
    // Every field read back writes the same bytes again.
    xmemory_stream again;
    xbin_format w(again, xstream_write, false);
    in.fields(w);
    w.trailer();
    w.close();
    EXPECT_EQ(bytes_of(again), want);
  });
}

TEST(XBinFormat, ABorrowedStreamHoldsEveryFieldAtItsCall) {
  // The lender writes and reads the stream between field calls, and sees
  // each field's bytes where an unbuffered format puts them.
  xmemory_stream m;
  xstr longest(std::string(255, 'x'));
  std::int32_t v = 7;
  {
    xbin_format w(m, xstream_write, false);
    w.short_str(longest);
    m.write_buffer("|", 1);
    w(v);
    w.start_encoding();
    w(v);
  }
  EXPECT_EQ(bytes_of(m), "\xFF"s + std::string(255, 'x') + "|\7\0\0\0"s + "\x5b\x13\xa7\xe2");
  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  r.short_str(longest);
  EXPECT_EQ(m.get_position(), 256);
  m.seek(1, xseek_current);
  r(v);
  EXPECT_EQ(m.get_position(), 261);
}

TEST(XBinFormat, VectorSizeAloneReadsItsCountWithoutTheElementsBehindIt) {
  const auto count = [](std::uint32_t n) {
    return std::string{char(n), char(n >> 8), char(n >> 16), char(n >> 24)};
  };
  constexpr int slack = xbin_format::vector_size_slack;
  struct row {
    std::string input;
    bool whole_vector;  // vector rather than vector_size
    int size;           // read back; -1: refused
  };
  const row rows[] = {
      {count(4), false, 4},                          // nothing after the count
      {count(slack + 1) + "\0"s, false, slack + 1},  // one byte for the one beyond the slack
      {count(slack + 1), false, -1},
      {count(0x7FFFFFFF), false, -1},
      {count(4), true, -1},  // vector needs 4 bytes per element
      {count(1) + count(0), true, 1},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(testing::Message() << r.size << (r.whole_vector ? " vector" : " vector_size"));
    xbuffer_stream s(r.input.data(), static_cast<int>(r.input.size()));
    xbin_format f(s, xstream_read, false);
    xvector<xstr> v;
    v.push_back("old");
    const std::string error = error_of([&] { r.whole_vector ? f.vector(v) : f.vector_size(v); });
    EXPECT_EQ(error, r.size < 0 ? "Data reading error ! \nbuffer stream" : "(no error)");
    if (r.size > 0) {
      ASSERT_EQ(v.size(), r.size);
      EXPECT_TRUE(v[0].empty());
    }
  }
}

TEST(XBinFormatBlock, TheStreamStandsAfterTheLastFieldAtEveryPositionCallAndAtClose) {
  xmemory_stream m;
  xbin_format w;
  w.open_exclusive(m, xstream_write);
  std::int32_t v = 7;
  w(v);
  EXPECT_EQ(m.size(), 0);  // still in the block
  EXPECT_EQ(w.get_position(), 4);
  EXPECT_EQ(m.size(), 4);
  w(v);
  w.close();
  EXPECT_EQ(m.size(), 8);
  for (const bool encoded : {false, true}) {
    m.seek(0, xseek_begin);
    xbin_format r;
    r.open_exclusive(m, xstream_read);
    if (encoded) {
      r.start_encoding();  // the plain stream is given the bytes back too
    } else {
      r(v);
      EXPECT_EQ(r.seek(-2, xseek_current), 2);  // relative to the last field, not the read-ahead
    }
    r(v);
    r.close();
    EXPECT_EQ(m.get_position(), encoded ? 4 : 6);
  }
}

// One field of type T, read.
template <class T>
void read_one(xbin_format& f) {
  T v{};
  f(v);
}

// Reads the fields `steps` names: b uint8, i int32, s std::string,
// x xstr, S short_str, v vector of int32, L vector of xstr, I
// identifier("VFS"), V set_version(4), T trailer.
void read_fields(xbin_format& f, const std::string& steps) {
  static const std::map<char, void (*)(xbin_format&)> step = {
      {'b', read_one<std::uint8_t>},
      {'i', read_one<std::int32_t>},
      {'s', read_one<std::string>},
      {'x', read_one<xstr>},
      {'v', read_one<std::vector<std::int32_t>>},
      {'S', [](xbin_format& f) { f.short_str(*std::make_unique<xstr>()); }},
      {'L', [](xbin_format& f) { f.vector(*std::make_unique<xvector<xstr>>()); }},
      {'I', [](xbin_format& f) { f.identifier("VFS"); }},
      {'V', [](xbin_format& f) { f.set_version(4); }},
      {'T', [](xbin_format& f) { f.trailer(); }},
  };
  for (const char c : steps) step.at(c)(f);
}

TEST(XBinFormat, ReadingIntoASharedStringLeavesTheOtherCopy) {
  xmemory_stream m;
  const std::string input = "\3\0\0\0abc\3\0\0\0xyz"s;
  m.write(input.data(), static_cast<int>(input.size()));
  m.seek(0, xseek_begin);
  xbin_format r;
  r.open_exclusive(m, xstream_read);  // through the block, which overwrites in place
  xstr target = xstr(std::string_view("123"));
  const xstr shared = target;
  r(target);
  EXPECT_EQ(target, "abc");
  EXPECT_EQ(shared, "123");
  r(target);  // now unshared: overwritten in place
  EXPECT_EQ(target, "xyz");
}

// Lengths and counts that the bytes left cannot back are refused before
// anything is allocated (2 GiB announced in 5 bytes must not be reserved).
TEST(XBinFormat, ReadingFailuresCarryTheirTextCategoryAndTheOffsetOfTheBadField) {
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
      {"the version asked for", "VFS\x04\0\0\0"s, "IV", {}},
      {"string length past the end", "\0\0\x09\0\0\0abc"s, "bbs", {c::bad_data, -1, 2, bad}},
      {"negative string length", "\0\0\0\x80"s, "x", {c::bad_data, -1, 0, bad}},
      {"2 GiB string in 5 bytes", "\xFF\xFF\xFF\x7F\x61"s, "x", {c::bad_data, -1, 0, bad}},
      {"short string that ends early", "\x03\x61"s, "S", {c::io, -1, -2, bad}},
      {"vector count past the end", "x\xFF\0\0\0\1\0\0\0"s, "bv", {c::bad_data, -1, 1, bad}},
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
}

// A stream over some bytes that counts its destructions.
struct counted_stream final : xbuffer_stream {
  counted_stream(int& deaths, const char* text)
      : xbuffer_stream(text, static_cast<int>(std::strlen(text))), deaths_(deaths) {}
  ~counted_stream() override { ++deaths_; }
  int& deaths_;
};

TEST(XFormatOwned, AHandedOverStreamIsDeletedOnceWhenOpeningFails) {
  int deaths = 0;
  // A reading structured format loads at open: bad contents throw, and the
  // stream it was given goes exactly once (ASan sees a leak or a double
  // delete).
  {
    xstruct_format f;
    EXPECT_THROW(
        f.open_stream(std::make_unique<counted_stream>(deaths, "not settings"), xstream_read),
        XException);
  }
  EXPECT_EQ(deaths, 1);
}

}  // namespace
}  // namespace xum
