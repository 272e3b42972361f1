// xbin_format: field layouts byte for byte, signatures, versions, trailers,
// the scrambled tail, damaged input, and the block in front of the stream,
// which must leave the stream where an unbuffered format would.
#include "formats/xbin_format.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"

namespace xum {
namespace {

using test::error_of;

using bytes = std::vector<unsigned char>;

bytes contents(const xmemory_stream& m) { return bytes(m.data(), m.data() + m.size()); }

void put(xmemory_stream& m, const bytes& b) {
  m.set_size(0);
  m.write(b.data(), static_cast<int>(b.size()));
  m.seek(0, xseek_begin);
}

// Strings, lists and a double, written and read by the same calls (the
// integers of every width: xbin_fields_test).
void fields(xbin_format& f, xstr& empty, xstr& abc, double& d, xvector<xstr>& v, xstr& longest) {
  f.identifier("VFS");
  f.set_version(2);
  f.short_str(empty);
  f(empty);
  f.short_str(abc);
  f(abc);
  f(d);
  f.vector(v);
  longest = f.short_str_prop(longest);  // 255 bytes are the limit, not past it
}

TEST(XBinFormat, FieldEncodingsByteForByte) {
  xmemory_stream m;
  {
    xbin_format f(m, xstream_write, false);
    xstr empty, abc = "abc", longest(std::string_view(std::string(255, 'x')));
    double d = 1.0;
    xvector<xstr> v;
    v.push_back("a");
    v.push_back("");
    fields(f, empty, abc, d, v, longest);
  }
  bytes want = {'V', 'F', 'S', 2, 0, 0, 0, 0, 0, 0, 0, 0, 3, 'a', 'b', 'c', 3, 0, 0, 0, 'a', 'b', 'c',
                0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 2, 0, 0, 0, 1, 0, 0, 0, 'a', 0, 0, 0, 0, 255};
  want.insert(want.end(), 255, 'x');
  EXPECT_EQ(contents(m), want);

  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  xstr empty = "old", abc, longest;
  double d = 0;
  xvector<xstr> v;
  fields(r, empty, abc, d, v, longest);
  EXPECT_TRUE(empty.empty());
  EXPECT_EQ(d, 1.0);
  ASSERT_EQ(v.size(), 2);
  EXPECT_EQ(longest.length(), 255);
}

TEST(XBinFormat, TheFormatNoteExampleIsWhatTheWriterWrites) {
  xmemory_stream m;
  {
    xbin_format f(m, xstream_write, false);
    f.identifier("REC");
    f.set_version(2);
    EXPECT_EQ(f.trailer(), 7);
    xstr ab = "ab";
    std::uint16_t v = 0x1234;
    f.short_str(ab);
    f(v);
  }
  EXPECT_EQ(contents(m), (bytes{0x52, 0x45, 0x43, 2, 0, 0, 0, 2, 0x61, 0x62, 0x34, 0x12, 7, 0, 0, 0}));
}

// (The short form's bytes: the format note example above.)
TEST(XBinFormat, TrailerInBothSizesReadsBackExactly) {
  // At 2^31 the position takes 8 bytes and 4 zero bytes (a sparse file).
  const std::string path = ::testing::TempDir() + "xbin_long_trailer.bin";
  {
    xbin_format f;
    f.open_file(path.c_str(), xfile_create);
    f.set_position(std::int64_t{1} << 31);
    f.trailer();
  }
  {
    xbin_format f;
    f.open_file(path.c_str(), xfile_read);
    EXPECT_EQ(f.get_size(), (std::int64_t{1} << 31) + 12);
    EXPECT_EQ(f.trailer(), std::int64_t{1} << 31);
  }
  std::remove(path.c_str());

  // The long form is read back when the last word is zero.
  xmemory_stream l;
  put(l, {1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  xbin_format lr(l, xstream_read, false);
  EXPECT_EQ(lr.trailer(), 5);
}

TEST(XBinFormat, EncodingScramblesFromItsStartAndTheTrailerFromItsAbsolutePosition) {
  xmemory_stream m;
  {
    xbin_format f(m, xstream_write, false);
    f.identifier("ABC");
    f.start_encoding();
    xstr s = "sixteen bytes!!!";
    xvector<xstr> list;
    list.push_back("one");
    list.push_back("two");
    std::uint32_t zero = 0;
    f(s);
    f.vector(list);
    f(zero);
    EXPECT_EQ(f.trailer(), 45);
  }
  // The key (5c 13 a7 e2 09 bd 44 6f) starts at phase 0 where encoding
  // starts: the length 16 becomes 4c 13 a7 e2. Asking the XOR stream for its
  // position (trailer) moves its phase to the absolute position 45, so the
  // trailer 2d 00 00 00 uses key[5], key[6], key[7], key[0].
  const bytes all = contents(m);
  ASSERT_EQ(all.size(), 49u);
  EXPECT_EQ(bytes(all.begin(), all.begin() + 7), (bytes{'A', 'B', 'C', 0x4c, 0x13, 0xa7, 0xe2}));
  EXPECT_EQ(bytes(all.end() - 4, all.end()), (bytes{0x2d ^ 0xbd, 0x44, 0x6f, 0x5c}));
  // Reading checks each length against the plain stream's size; seeking the
  // XOR stream for it would move the phase and garble what follows.
  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  r.identifier("ABC");
  r.start_encoding();
  xstr s;
  xvector<xstr> list;
  r(s);
  r.vector(list);
  ASSERT_EQ(list.size(), 2);
  EXPECT_EQ(list[1], "two");
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
  bytes want = {255};
  want.insert(want.end(), 255, 'x');
  want.insert(want.end(), {'|', 7, 0, 0, 0, 7 ^ 0x5c, 0x13, 0xa7, 0xe2});
  EXPECT_EQ(contents(m), want);

  m.seek(0, xseek_begin);
  xbin_format r(m, xstream_read, false);
  xstr s;
  r.short_str(s);
  EXPECT_EQ(m.get_position(), 256);
  m.seek(1, xseek_current);
  r(v);
  EXPECT_EQ(m.get_position(), 261);
}

TEST(XBinFormat, VectorSizeAloneReadsItsCountWithoutTheElementsBehindIt) {
  const auto count_bytes = [](std::uint32_t n) {
    return bytes{static_cast<unsigned char>(n), static_cast<unsigned char>(n >> 8),
                 static_cast<unsigned char>(n >> 16), static_cast<unsigned char>(n >> 24)};
  };
  constexpr int slack = xbin_format::vector_size_slack;
  struct row {
    bytes input;
    bool whole_vector;  // vector rather than vector_size
    int size;           // read back; -1: refused
  };
  bytes slack_and_one = count_bytes(slack + 1);
  slack_and_one.push_back(0);
  const row rows[] = {
      {count_bytes(4), false, 4},                 // nothing after the count
      {slack_and_one, false, slack + 1},          // one byte for the one beyond the slack
      {count_bytes(slack + 1), false, -1},
      {count_bytes(0x7FFFFFFF), false, -1},
      {count_bytes(4), true, -1},                 // vector needs 4 bytes per element
      {{1, 0, 0, 0, 0, 0, 0, 0}, true, 1},
  };
  xmemory_stream m;
  for (const row& r : rows) {
    SCOPED_TRACE(testing::Message() << r.size << (r.whole_vector ? " vector" : " vector_size"));
    put(m, r.input);
    xbin_format f(m, xstream_read, false);
    xvector<xstr> v;
    v.push_back("old");
    const std::string error = error_of([&] { r.whole_vector ? f.vector(v) : f.vector_size(v); });
    EXPECT_EQ(error, r.size < 0 ? "Data reading error ! \nMemory stream." : "(no error)");
    if (r.size > 0) {
      ASSERT_EQ(v.size(), r.size);
      EXPECT_TRUE(v[0].empty());
    }
  }
}

TEST(XBinFormat, ReadingIntoASharedStringLeavesTheOtherCopy) {
  xmemory_stream m;
  put(m, {3, 0, 0, 0, 'a', 'b', 'c', 3, 0, 0, 0, 'x', 'y', 'z'});
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

TEST(XBinFormatBlock, RecordsAcrossManyBlocksRoundTripThroughAFile) {
  const std::string path = ::testing::TempDir() + "xbin_block_records.bin";
  constexpr int count = 40000;  // about 0.9 MB: many blocks, fields split at their edges
  for (const bool reading : {false, true}) {
    xbin_format f;
    f.open_file(path.c_str(), reading ? xfile_read : xfile_create);
    f.identifier("REC");
    f.start_encoding();
    for (int k = 0; k < count; ++k) {
      std::int64_t i = reading ? 0 : k * 1000003LL;
      xstr s = reading ? xstr() : xstr(std::string(static_cast<std::size_t>(k % 23), 'a'));
      f(i);
      f(s);
      if (reading) {
        ASSERT_EQ(i, k * 1000003LL);
        ASSERT_EQ(s.length(), k % 23);
      }
    }
    xstr big = reading ? xstr() : xstr(std::string(400000, 'z'));  // longer than a block
    f(big);
    if (reading) {
      EXPECT_EQ(big.length(), 400000);
    }
    EXPECT_EQ(f.get_position(), f.get_size());
    f.close();
  }
  std::remove(path.c_str());
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

  m.seek(0, xseek_begin);
  xbin_format r;
  r.open_exclusive(m, xstream_read);
  r(v);
  r(v);
  EXPECT_EQ(r.seek(2, xseek_current), 10);  // relative to the last field, not the read-ahead
  r.close();
  EXPECT_EQ(m.get_position(), 10);
  // After start_encoding over a lent stream, the plain stream is given the
  // bytes back too.
  m.seek(0, xseek_begin);
  r.open_exclusive(m, xstream_read);
  r.start_encoding();
  r(v);
  r.close();
  EXPECT_EQ(m.get_position(), 4);
}

}  // namespace
}  // namespace xum
