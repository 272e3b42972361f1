#include "core/xle.h"

#include <array>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace xum {
namespace {

// Every width stores its bytes lowest first; signed and floating values go
// by their bit patterns; bounded reads refuse truncation at every length.
TEST(XLittleEndian, StoresLowestByteFirstAndBoundedReadsRefuseTruncation) {
  unsigned char b[8];
  le::store<std::uint64_t>(b, 0x0102030405060708ull);
  EXPECT_EQ(std::string(b, b + 8), "\x08\x07\x06\x05\x04\x03\x02\x01");
  le::store<std::int16_t>(b, -2);
  EXPECT_EQ(le::load<std::uint16_t>(b), 0xFFFEu);
  EXPECT_EQ(le::load<std::int16_t>(b), -2);
  le::store<double>(b, 1.0);
  EXPECT_EQ(le::load<std::uint64_t>(b), 0x3FF0000000000000ull);
  // Bounded reads refuse to run past the end and leave the position.
  const std::array<unsigned char, 4> bytes{1, 2, 3, 4};
  std::size_t pos = 0;
  EXPECT_EQ(le::read<std::uint32_t>(bytes, pos), 0x04030201u);
  EXPECT_EQ(pos, 4u);
  for (std::size_t start = 1; start <= 5; ++start) {
    pos = start;
    EXPECT_THROW(le::read<std::uint32_t>(bytes, pos), xexception) << start;
    EXPECT_EQ(pos, start);
  }
}

}  // namespace
}  // namespace xum
