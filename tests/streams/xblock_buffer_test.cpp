#include "streams/xblock_buffer.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include "streams/xmemory_stream.h"

namespace xum {
namespace {

// A memory stream that notes the size of every call reaching it; reads give
// at most `per_read` bytes, as a pipe may. (The buffered stream's tests
// cover failures and turning between directions.)
class call_log final : public xstream {
 public:
  explicit call_log(const std::string& bytes, int per_read = 1 << 30) : per_read_(per_read) {
    mode_ = 3;
    disk.write_buffer(bytes.data(), static_cast<int>(bytes.size()));
    disk.seek(0, xseek_begin);
  }
  xstr description() const override { return "log"; }
  int read(void* b, int n) override { return note('r', disk.read(b, std::min(n, per_read_))); }
  int write(const void* b, int n) override { return note('w', disk.write(b, n)); }
  std::int64_t seek(std::int64_t o, xseek_origin w) override { return disk.seek(o, w); }
  std::string calls;
  xmemory_stream disk;

 private:
  int note(char what, int n) {
    calls += what + std::to_string(n) + " ";
    return n;
  }
  int per_read_;
};

TEST(XBlockBuffer, WritesGatherAndKeepTheirOrderAroundStraightWrites) {
  call_log log("");
  xblock_buffer out(8, 4);
  out.write(log, "ab", 2);
  out.write(log, "cde", 3);
  out.write(log, "fgh", 3);  // fits exactly: nothing passed on yet
  EXPECT_EQ(log.calls, "");
  out.write(log, "i", 1);         // does not fit: the block goes first
  out.write(log, "JKLMNOPQ", 8);  // nor does this, >= direct_from: straight, after "i"
  std::memcpy(out.reserve(log, 8), "nop", 3);
  out.advance(3);
  out.flush(log);
  out.flush(log);  // nothing left: no call
  EXPECT_EQ(log.calls, "w8 w1 w8 w3 ");
  EXPECT_EQ(test::bytes_of(log.disk), "abcdefghiJKLMNOPQnop");
}

TEST(XBlockBuffer, ReadsFillTheBlockAsAskedAndTakeLargeRestsStraight) {
  call_log trickle("0123456789", 3);
  xblock_buffer in(8);
  char c[16] = {};
  EXPECT_EQ(in.fill(trickle, 1), 3);  // one read when one byte is wanted
  EXPECT_EQ(in.take(c, 2), 2);
  EXPECT_EQ(in.fill(trickle, 8), 8);  // "2" kept, then reads until full
  EXPECT_EQ(in.take(c, 16), 8);
  EXPECT_EQ(std::string(c, 8), "23456789");
  EXPECT_EQ(trickle.calls, "r3 r3 r3 r1 ");

  call_log log("0123456789abcdefghij");
  xblock_buffer direct(8, 6);
  EXPECT_EQ(direct.read(log, c, 3), 3);    // one block read ahead
  EXPECT_EQ(direct.read(log, c, 10), 10);  // 5 read ahead, then 5 < 6: another block
  EXPECT_EQ(std::string(c, 10), "3456789abc");
  EXPECT_EQ(direct.read(log, c, 11), 7);  // 3 read ahead, then 8 straight: 4 left
  EXPECT_EQ(std::string(c, 7), "defghij");
  EXPECT_EQ(direct.read(log, c, 2), 0);
  EXPECT_EQ(log.calls, "r8 r8 r4 r0 ");
}

}  // namespace
}  // namespace xum
