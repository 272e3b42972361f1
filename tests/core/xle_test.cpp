#include "core/xle.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>

namespace xum {
namespace {

// The first `n` bytes of `b` hold the low `n` bytes of `v`, lowest first.
void expect_bytes(const unsigned char* b, int n, std::uint64_t v) {
  for (int i = 0; i < n; ++i) EXPECT_EQ(b[i], (v >> 8 * i) & 0xFF) << "byte " << i;
}

TEST(XLittleEndian, StoresLowestByteFirstAndRoundTripsAtTheEdgesOfEveryWidth) {
  unsigned char b[8];
  for (std::uint64_t v : {0ull, 1ull, 0x7Full, 0x80ull, 0xFFull, 0x100ull, 0x7FFFull, 0x8000ull,
                          0x11223344ull, 0xFFFFFFFFull, 0x100000000ull, 0x0102030405060708ull, ~0ull}) {
    SCOPED_TRACE(v);
    le::store<std::uint64_t>(b, v);
    expect_bytes(b, 8, v);
    EXPECT_EQ(le::load<std::uint64_t>(b), v);
    le::store<std::uint32_t>(b, static_cast<std::uint32_t>(v));
    expect_bytes(b, 4, v);
    EXPECT_EQ(le::load<std::uint32_t>(b), static_cast<std::uint32_t>(v));
    le::store<std::int16_t>(b, static_cast<std::int16_t>(v));
    expect_bytes(b, 2, v);
    EXPECT_EQ(le::load<std::int16_t>(b), static_cast<std::int16_t>(v));
  }
  le::store<double>(b, 1.0);
  expect_bytes(b, 8, 0x3FF0000000000000ull);
  le::store<float>(b, -0.15625f);
  EXPECT_EQ(le::load<float>(b), -0.15625f);
  le::store<std::int64_t>(b, std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(le::load<std::int64_t>(b), std::numeric_limits<std::int64_t>::min());
}

TEST(XLittleEndian, BoundedAccessRefusesTruncationAtEveryLength) {
  const std::array<unsigned char, 4> bytes{1, 2, 3, 4};
  for (std::size_t start = 0; start <= 5; ++start) {
    SCOPED_TRACE(start);
    std::size_t pos = start;
    if (start == 0) {
      EXPECT_EQ(le::read<std::uint32_t>(bytes, pos), 0x04030201u);
      EXPECT_EQ(pos, 4u);
    } else {
      EXPECT_THROW(le::read<std::uint32_t>(bytes, pos), xexception);
      EXPECT_EQ(pos, start);
    }
  }
  std::array<unsigned char, 3> out{};
  std::size_t pos = 1;
  le::write<std::uint16_t>(out, pos, 0xBEEF);
  EXPECT_EQ(out[1], 0xEF);
  EXPECT_THROW(le::write<std::uint16_t>(out, pos, 1), xexception);
}

}  // namespace
}  // namespace xum
