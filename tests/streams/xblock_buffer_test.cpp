#include "streams/xblock_buffer.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/xfailing_stream.h"
#include "tests/support/xtest_helpers.h"

#include "streams/xmemory_stream.h"

namespace xum {
namespace {

using test::bytes_of;
using test::error_of;

// Over a memory stream, noting the size of every call that reaches it;
// reads give at most `per_read` bytes, as a pipe may.
class call_log final : public xstream {
 public:
  explicit call_log(xmemory_stream& m, int per_read = 1 << 30) : m_(m), per_read_(per_read) { mode_ = 3; }
  xstr description() const override { return "log"; }
  int read(void* b, int n) override { return note('r', m_.read(b, std::min(n, per_read_))); }
  int write(const void* b, int n) override { return note('w', m_.write(b, n)); }
  std::int64_t seek(std::int64_t o, xseek_origin w) override { return note('s', static_cast<int>(m_.seek(o, w))); }
  std::string calls;

 private:
  int note(char what, int n) {
    calls += what + std::to_string(n) + " ";
    return n;
  }
  xmemory_stream& m_;
  int per_read_;
};

TEST(XBlockBuffer, WritesGatherAndKeepTheirOrderAroundStraightWrites) {
  xmemory_stream m;
  call_log log(m);
  xblock_buffer out(8, 4);
  out.write(log, "ab", 2);
  out.write(log, "cde", 3);
  EXPECT_EQ(log.calls, "");
  out.write(log, "fgh", 3);    // 5 + 3 fits exactly
  out.write(log, "i", 1);      // does not: the block goes first
  out.write(log, "JKLMNOPQ", 8);  // does not fit either, and >= direct_from:
                                  // straight, after the pending byte
  unsigned char* p = out.reserve(log, 8);  // the whole block, empty
  std::memcpy(p, "nop", 3);
  out.advance(3);
  EXPECT_EQ(out.pending(), 3);
  out.flush(log);
  out.flush(log);  // nothing left: no call
  EXPECT_EQ(log.calls, "w8 w1 w8 w3 ");
  EXPECT_EQ(bytes_of(m), "abcdefghiJKLMNOPQnop");
}

TEST(XBlockBuffer, AFailedFlushLosesThePendingBytesAndLeavesTheBlockUsable) {
  xmemory_stream m;
  test::xfailing_stream full(m, 3);
  xblock_buffer out(8);
  out.write(full, "abcde", 5);
  EXPECT_EQ(error_of([&] { out.flush(full); }), "Data writing error !\nfailing stream");
  EXPECT_EQ(out.pending(), 0);
  EXPECT_EQ(out.span(), 8);
  EXPECT_EQ(bytes_of(m), "abc");
}

TEST(XBlockBuffer, FillReadsUntilItHasWhatIsWantedAndKeepsTheUnreadBytes) {
  xmemory_stream m;
  m.write_buffer("0123456789", 10);
  m.seek(0, xseek_begin);
  call_log log(m, 3);
  xblock_buffer in(8);
  EXPECT_EQ(in.fill(log, 1), 3);  // one read when one byte is wanted
  char c[8] = {};
  EXPECT_EQ(in.take(c, 2), 2);
  EXPECT_EQ(in.fill(log, 8), 8);  // "2" kept, then reads until full
  EXPECT_EQ(log.calls, "r3 r3 r3 r1 ");
  EXPECT_EQ(in.take(c, 8), 8);
  EXPECT_EQ(std::string(c, 8), "23456789");
  EXPECT_EQ(in.fill(log, 8), 0);  // the end
}

TEST(XBlockBuffer, ReadTakesTheReadAheadThenReadsLargeRestsStraight) {
  xmemory_stream m;
  m.write_buffer("0123456789abcdefghij", 20);
  m.seek(0, xseek_begin);
  call_log log(m);
  xblock_buffer in(8, 6);
  char c[32] = {};
  EXPECT_EQ(in.read(log, c, 3), 3);    // one block read ahead
  EXPECT_EQ(in.read(log, c, 10), 10);  // 5 read ahead, then 5 < 6: another block
  EXPECT_EQ(std::string(c, 10), "3456789abc");
  EXPECT_EQ(in.read(log, c, 11), 7);   // 3 read ahead, then 8 straight: 4 left
  EXPECT_EQ(std::string(c, 7), "defghij");
  EXPECT_EQ(log.calls, "r8 r8 r4 ");
  EXPECT_EQ(in.read(log, c, 2), 0);
}

TEST(XBlockBuffer, GivingBackTheReadAheadPutsTheStreamWhereTheReaderIs) {
  xmemory_stream m;
  m.write_buffer("0123456789", 10);
  m.seek(0, xseek_begin);
  xblock_buffer block(8);
  char c[2];
  block.read(m, c, 2);
  EXPECT_EQ(block.read_ahead(), 6);
  block.give_back(m);
  EXPECT_EQ(m.get_position(), 2);
  block.write(m, "XY", 2);  // turns to writing
  EXPECT_EQ(block.drop_read_ahead(), 0);
  block.flush(m);
  EXPECT_EQ(block.read(m, c, 2), 2);  // and back to reading
  EXPECT_EQ(bytes_of(m), "01XY456789");
  EXPECT_EQ(std::string(c, 2), "45");
}

}  // namespace
}  // namespace xum
