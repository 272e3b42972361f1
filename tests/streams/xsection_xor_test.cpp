#include "streams/xsection_stream.h"
#include "streams/xxor_stream.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using bytes = std::vector<unsigned char>;

bytes pattern(int n, int seed = 1) {
  bytes out(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) out[i] = static_cast<unsigned char>((i * 7 + seed) % 251);
  return out;
}

// What a stream scrambled from `phase` on must contain, byte by byte.
bytes scrambled(const bytes& in, std::int64_t phase) { return test::scrambled(in, static_cast<std::size_t>(phase)); }

bytes contents(xstream& s, std::int64_t from, int n) {
  s.seek(from, xseek_begin);
  bytes out(static_cast<std::size_t>(n));
  out.resize(static_cast<std::size_t>(s.read(out.data(), n)));
  return out;
}

// A read-only stream that hands out at most `max_read` bytes per read and
// counts the live instances.
struct probe_stream final : xstream {
  static inline int live = 0;
  bytes data;
  int max_read, at = 0;
  explicit probe_stream(bytes d = {}, int m = INT_MAX) : data(std::move(d)), max_read(m) {
    mode_ = xstream_read;
    ++live;
  }
  ~probe_stream() override { --live; }
  xstr description() const override { return "probe"; }
  int read(void* buffer, int count) override {
    const int n = std::max(0, std::min({count, max_read, static_cast<int>(data.size()) - at}));
    if (n) std::memcpy(buffer, data.data() + at, static_cast<std::size_t>(n));
    at += n;
    return n;
  }
  int write(const void*, int) override { return 0; }  // takes nothing
  // From the start or the current position only.
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override {
    return at = static_cast<int>(offset + (origin == xseek_current ? at : 0));
  }
};

// A 2000-byte memory stream standing at 1000, where the sections open.
class XSectionStream : public testing::Test {
 protected:
  void SetUp() override {
    m.write(original.data(), 2000);
    m.seek(1000, xseek_begin);
  }
  const bytes original = pattern(2000);
  xmemory_stream m;
};

TEST_F(XSectionStream, SeekClampsToTheSectionAndMovesTheUnderlyingStream) {
  // From position 20 of a 100-byte section: origin, offset, result.
  const std::tuple<xseek_origin, std::int64_t, std::int64_t> rows[] = {
      {xseek_begin, -5, 0}, {xseek_current, 30, 50},        {xseek_end, -1, 99},
      {xseek_end, 1, 100},  {xseek_begin, INT64_MAX, 100}, {xseek_end, INT64_MIN, 0}};
  for (const auto& [origin, offset, want] : rows) {
    SCOPED_TRACE(testing::Message() << origin << " " << offset);
    m.seek(1000, xseek_begin);
    xsection_stream s(m, 100, false);
    s.seek(20, xseek_begin);
    EXPECT_EQ(s.seek(offset, origin), want);
    EXPECT_EQ(m.get_position(), 1000 + want);
  }
}

// Reads that stop at the section end are in the contract suite.
TEST_F(XSectionStream, WritesStopAtTheSectionEnd) {
  xsection_stream s(m, 100, false);
  s.seek(90, xseek_begin);
  const bytes ones(20, 1);
  EXPECT_EQ(s.write(ones.data(), 20), 10);
  EXPECT_EQ(s.write(ones.data(), 20), 0);
  EXPECT_EQ(contents(m, 1090, 10), bytes(10, 1));
  EXPECT_EQ(contents(m, 1100, 10), bytes(original.begin() + 1100, original.begin() + 1110));
  EXPECT_THROW(s.set_size(5), xexception);
  EXPECT_THROW(s.open(m, -1, false), xexception);
}

TEST(XStreamWrappers, DestroyOwnedStreamsOnceAndBorrowedOnesNever) {
  probe_stream borrowed;
  { xxor_stream x(borrowed, false); }
  { xxor_stream x(*new probe_stream, true); }
  auto* owned = new probe_stream;
  {
    xsection_stream s(*owned, 10, true);
    s.open(*owned, 5, true);  // reopening over its own stream keeps it
    EXPECT_EQ(probe_stream::live, 2);
    s.close();
    EXPECT_EQ(probe_stream::live, 1);
    s.open(*new probe_stream, 5, true);
    s.open(borrowed, 5, false);  // releases the owned one
    EXPECT_EQ(probe_stream::live, 1);
  }  // closes again, destroying nothing
  EXPECT_EQ(probe_stream::live, 1);
}

// Bytes written after a 3-byte header by an XOR stream opened there start at
// key[0]; a reader must open at the same point, as seeking gives phase 3.
TEST(XXorStream, PhaseStartsAtZeroOnOpenAndFollowsTheAbsolutePositionAfterSeek) {
  xmemory_stream m;
  m.write("HDR", 3);
  const bytes payload = pattern(16);
  xxor_stream writer(m, false);
  EXPECT_EQ(writer.write(payload.data(), 16), 16);
  EXPECT_EQ(contents(m, 3, 16), scrambled(payload, 0));

  m.seek(3, xseek_begin);
  xxor_stream opened_there(m, false);
  bytes got(16);
  EXPECT_EQ(opened_there.read(got.data(), 16), 16);
  EXPECT_EQ(got, payload);

  m.seek(3, xseek_begin);
  xxor_stream asked(m, false);
  EXPECT_EQ(asked.get_position(), 3);  // asking the position is a seek too
  asked.write(bytes(8).data(), 8);
  EXPECT_EQ(contents(m, 3, 8), scrambled(bytes(8), 3));
}

TEST(XXorStream, ShortUnderlyingReadsStopTheTransferAndKeepThePhase) {
  const bytes in = pattern(200);
  probe_stream capped(scrambled(in, 0), 100);
  xxor_stream x(capped, false);
  bytes got(5000, 0xee);
  EXPECT_EQ(x.read(got.data(), 5000), 100);
  EXPECT_TRUE(std::equal(in.begin(), in.begin() + 100, got.begin()));
  // The rest of the 4096-byte chunk is handed over too: the fresh, zeroed
  // work buffer unscrambled. Nothing lands beyond the chunk.
  const bytes key_run = scrambled(bytes(4096), 0);
  EXPECT_TRUE(std::equal(key_run.begin() + 100, key_run.end(), got.begin() + 100));
  EXPECT_EQ(got[4096], 0xee);
  EXPECT_EQ(x.read(got.data(), 5000), 100);
  EXPECT_TRUE(std::equal(in.begin() + 100, in.begin() + 200, got.begin()));
}

TEST(XXorStream, ATailBeyondEverythingTransferredReadsAsZeros) {
  // A write leaves its scrambled chunk in the work buffer; a later read
  // that gets nothing hands that over unscrambled, then zeros, each at the
  // read's phase.
  probe_stream empty;
  xxor_stream x(empty, false);
  const bytes in = pattern(8);
  x.write(in.data(), 8);  // the probe takes nothing, but the chunk was made
  bytes got(16, 0xee);
  EXPECT_EQ(x.read(got.data(), 16), 0);
  bytes work = scrambled(in, 0);
  work.resize(16, 0);
  EXPECT_EQ(got, scrambled(work, 0));
}

}  // namespace
}  // namespace xum
