#include "streams/xmemory_stream.h"

#include <climits>
#include <cstdint>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include "core/xexception.h"
#include "core/xvector.h"

namespace xum {
namespace {

using test::code_of;

std::string read_up_to(xstream& s, int count) {
  std::string out(static_cast<std::size_t>(count), '?');
  out.resize(static_cast<std::size_t>(s.read(out.data(), count)));
  return out;
}

TEST(XVector, GrowsByHalfOrToTheRequestAndZeroesWhatItRegrows) {
  xvector<int> v;
  for (int i = 0; i < 10; ++i) v.push_back(i + 1);
  EXPECT_EQ(v.capacity(), 13);  // 1, 2, 3, 4, 6, 9, 13: by half, at least one
  v.resize(100);  // above 13 + 6: the request wins
  EXPECT_EQ(v.capacity(), 100);
  v.resize(3);
  v.resize(10);  // the old 4..10 must not come back
  for (int i = 0; i < 10; ++i) EXPECT_EQ(v[i], i < 3 ? i + 1 : 0) << i;
  EXPECT_EQ(code_of([&] { v.resize(-1); }), xexception::out_of_range);
  EXPECT_EQ(v.size(), 10);
}

TEST(XVector, PushBackOfItsOwnElementSurvivesReallocation) {
  xvector<std::string> v;
  v.push_back(std::string(40, 'a'));  // too long for the small-string buffer
  v.push_back(v[0]);                  // full: v[0] moves while being copied
  EXPECT_EQ(v[1], std::string(40, 'a'));
}

TEST(XMemoryStream, WritesGrowAndSetSizeRewinds) {
  xmemory_stream m;
  EXPECT_EQ(m.write("0123456789", 10), 10);
  m.seek(8, xseek_begin);  // overwrites 2 bytes, appends 2
  EXPECT_EQ(m.write("abcd", 4), 4);
  m.seek(0, xseek_begin);
  EXPECT_EQ(read_up_to(m, 20), "01234567abcd");

  m.set_size(4);
  EXPECT_EQ(m.get_position(), 0);
  m.seek(0, xseek_end);
  m.set_size(8);  // the old "4567" must not come back
  EXPECT_EQ(read_up_to(m, 20), std::string("0123\0\0\0\0", 8));
  for (std::int64_t bad : {std::int64_t{-1}, std::int64_t{INT_MAX} + 1}) {
    EXPECT_EQ(code_of([&] { m.set_size(bad); }), xexception::out_of_range);
    EXPECT_EQ(m.get_size(), 8);
  }
}

// Seeks from position 4 of a 10-byte stream. Results past the end extend a
// memory stream (up to INT_MAX) and throw xexception 4 on a buffer stream.
TEST(XBufferStream, SeekUsesTheLow32BitsClampsAtZeroAndGrowsOnlyMemory) {
  // Origin, offset, result. Rows 2-4 count only through the low 32 bits of
  // the offset (3, 0, -1 and 0); the last lands at INT_MAX + 4.
  const std::tuple<xseek_origin, std::int64_t, std::int64_t> rows[] = {
      {xseek_current, -100, 0}, {xseek_begin, 0x100000003, 3}, {xseek_begin, 0xffffffff, 0},
      {xseek_current, INT64_MIN, 4}, {xseek_end, 5, 15}, {xseek_current, INT_MAX, 0x80000003}};
  const char text[] = "0123456789";
  for (const auto& [origin, offset, want] : rows) {
    SCOPED_TRACE(testing::Message() << origin << " " << offset);
    xbuffer_stream b(text, 10);
    xmemory_stream m;
    m.write(text, 10);
    b.seek(4, xseek_begin);
    m.seek(4, xseek_begin);
    const bool grows = want > 10, too_far = want > INT_MAX;  // for a memory stream
    EXPECT_EQ(code_of([&] { EXPECT_EQ(b.seek(offset, origin), want); }),
              grows ? xexception::not_supported : -1);
    EXPECT_EQ(b.get_position(), grows ? 4 : want);
    EXPECT_EQ(code_of([&] { EXPECT_EQ(m.seek(offset, origin), want); }),
              too_far ? xexception::out_of_range : -1);
    EXPECT_EQ(m.get_size(), grows && !too_far ? want : 10);
  }
}

// Reading and refused writes are in the contract suite.
TEST(XBufferStream, RefusesToResizeOrToShowANegativeSize) {
  const char text[] = "abcdef";
  xbuffer_stream b(text, 6);
  EXPECT_EQ(code_of([&] { b.set_size(2); }), xexception::not_supported);
  EXPECT_EQ(code_of([&] { b.open(text, -1); }), xexception::out_of_range);
}

}  // namespace
}  // namespace xum
