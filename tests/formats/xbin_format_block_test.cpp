// xbin_format's block: the stream sees the bytes and positions an
// unbuffered format would give it, across block boundaries, through the XOR
// layer and at close.
#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include "core/xexceptions.h"
#include "formats/xbin_format.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"

namespace xum {
namespace {

using test::error_of;

// A record of every width, written and read by the same calls.
void record(xbin_format& f, std::int64_t& i, double& d, xstr& s, std::uint8_t& b) {
  f(i);
  f(d);
  f(s);
  f(b);
}

TEST(XBinFormatBlock, RecordsAcrossManyBlocksRoundTripThroughAFile) {
  const std::string path = ::testing::TempDir() + "xbin_block_records.bin";
  constexpr int count = 40000;  // about 1.4 MB: many blocks, fields split at their edges
  {
    xbin_format f;
    f.open_file(path.c_str(), xfile_create);
    f.identifier("REC");
    f.start_encoding();
    for (int k = 0; k < count; ++k) {
      std::int64_t i = k * 1000003LL;
      double d = k / 7.0;
      xstr s = xstr(std::string_view(std::string(static_cast<std::size_t>(k % 23), static_cast<char>('a' + k % 26))));
      std::uint8_t b = static_cast<std::uint8_t>(k);
      record(f, i, d, s, b);
    }
    xstr big(std::string_view(std::string(400000, 'z')));  // longer than a block
    f(big);
    f.close();
  }
  xbin_format f;
  f.open_file(path.c_str(), xfile_read);
  f.identifier("REC");
  f.start_encoding();
  std::int64_t i = 0;
  double d = 0;
  xstr s;
  std::uint8_t b = 0;
  for (int k = 0; k < count; ++k) {
    record(f, i, d, s, b);
    ASSERT_EQ(i, k * 1000003LL);
    ASSERT_EQ(d, k / 7.0);
    ASSERT_EQ(s.length(), k % 23);
    ASSERT_EQ(b, static_cast<std::uint8_t>(k));
  }
  xstr big;
  f(big);
  EXPECT_EQ(big.length(), 400000);
  EXPECT_EQ(f.get_position(), f.get_size());
  f.close();
  std::remove(path.c_str());
}

TEST(XBinFormatBlock, TheStreamStandsAfterTheLastFieldAtEveryPositionCallAndAtClose) {
  xmemory_stream m;
  xbin_format w(m, xstream_write, false);
  std::int32_t v = 7;
  w(v);
  EXPECT_EQ(m.size(), 0);  // still in the block
  EXPECT_EQ(w.get_position(), 4);
  EXPECT_EQ(m.size(), 4);
  w(v);
  w.flush();
  EXPECT_EQ(m.get_position(), 8);
  w(v);
  w.close();
  EXPECT_EQ(m.size(), 12);

  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  r(v);
  EXPECT_EQ(r.get_position(), 4);
  EXPECT_EQ(m.get_position(), 4);
  r(v);
  EXPECT_EQ(r.seek(2, xseek_current), 10);  // relative to the last field, not the read-ahead
  r.close();
  EXPECT_EQ(m.get_position(), 10);
  // After start_encoding over a borrowed stream, the plain stream is given
  // the bytes back too.
  m.seek(0, xseek_begin);
  r.open_stream(m, xstream_read, false);
  r.start_encoding();
  r(v);
  r.close();
  EXPECT_EQ(m.get_position(), 4);
}

TEST(XBinFormatBlock, StringsAfterEncodingStartedMidStreamKeepThePhase) {
  // The XOR stream starts its phase where it is laid over the stream;
  // checking lengths must not seek it and so move the phase.
  xmemory_stream m;
  {
    xbin_format f(m, xstream_write, false);
    f.identifier("ABC");
    f.start_encoding();
    xstr s = "sixteen bytes!!!";
    xvector<xstr> list;
    list.push_back("one");
    list.push_back("two");
    f(s);
    f.vector(list);
  }
  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  r.identifier("ABC");
  r.start_encoding();
  xstr s;
  xvector<xstr> list;
  r(s);
  r.vector(list);
  EXPECT_EQ(s, "sixteen bytes!!!");
  ASSERT_EQ(list.size(), 2);
  EXPECT_EQ(list[1], "two");
}

TEST(XBinFormatBlock, LyingLengthsBeyondABlockAreRefused) {
  xmemory_stream m;
  const unsigned char head[] = {0x00, 0x00, 0x08, 0x00};  // 524288 bytes announced, past a block
  m.write(head, 4);
  std::string body(1000, 'q');
  m.write(body.data(), static_cast<int>(body.size()));
  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  xstr s = "old";
  EXPECT_EQ(error_of([&] { r(s); }), "Data reading error ! \nMemory stream.");
  // A reused string of the same length is overwritten in place, but never
  // one shared with another string.
  xmemory_stream two;
  {
    xbin_format w(two, xstream_write, false);
    xstr a = "abc", b = "xyz";
    w(a);
    w(b);
  }
  two.seek(0, xseek_begin);
  xbin_format rr(two, xstream_read, false);
  xstr target = xstr(std::string_view("123"));
  const xstr shared = target;
  rr(target);
  EXPECT_EQ(target, "abc");
  EXPECT_EQ(shared, "123");
  rr(target);
  EXPECT_EQ(target, "xyz");
  // A trailer that points past the end is a damaged file.
  xmemory_stream t;
  t.write("\0\0\0\0\0\0\0\0\x40\0\0\0", 12);
  xbuffer_stream view(t.data(), t.size());
  xbin_format tr(view, xstream_read, false);
  EXPECT_EQ(error_of([&] { tr.trailer(); }), "Data reading error ! \nbuffer stream");
}

}  // namespace
}  // namespace xum
