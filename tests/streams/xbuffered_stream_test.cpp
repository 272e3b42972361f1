#include "streams/xbuffered_stream.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include "streams/xmemory_stream.h"

namespace xum {
namespace {

using test::bytes_of;

TEST(XBufferedStream, GathersWritesAndReadsAheadWithoutChangingTheBytes) {
  xmemory_stream m;
  {
    xbuffered_stream b(m, false, 8);
    b.write("abc", 3);
    b.write("defgh", 5);  // fills the block: passed on
    EXPECT_EQ(bytes_of(m), "");
    b.write("ij", 2);
    EXPECT_EQ(bytes_of(m), "abcdefgh");
    EXPECT_EQ(b.seek(0, xseek_current), 10);  // asking the position passes nothing on
    EXPECT_EQ(bytes_of(m), "abcdefgh");
    EXPECT_EQ(b.seek(10, xseek_begin), 10);   // a seek does
    EXPECT_EQ(bytes_of(m), "abcdefghij");
    b.write("ij", 2);
    EXPECT_EQ(b.seek(-2, xseek_current), 10);
    b.write("0123456789", 10);                // larger than the block: straight through
    b.write("K", 1);
  }  // closing passes on the rest
  EXPECT_EQ(bytes_of(m), "abcdefghij0123456789K");

  m.seek(0, xseek_begin);
  xbuffered_stream b(m, false, 4);
  char c[16] = {};
  EXPECT_EQ(b.read(c, 5), 5);  // reads ahead by whole blocks
  b.write("X", 1);             // writes land where the caller stands
  EXPECT_EQ(b.read(c, 16), 15);
  EXPECT_EQ(std::string(c, 15), "ghij0123456789K");
  b.flush();
  EXPECT_EQ(bytes_of(m), "abcdeXghij0123456789K");
}

}  // namespace
}  // namespace xum
