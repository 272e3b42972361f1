#include "streams/xstream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <istream>
#include <string>

#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using test::bytes_of;

// A memory stream that takes at most `budget` more bytes: a full disk.
class limited_stream final : public xstream {
 public:
  explicit limited_stream(int budget) : budget(budget) { mode_ = xstream_read | xstream_write; }
  xstr description() const override { return "Limited stream."; }
  int read(void* b, int n) override { return bytes.read(b, n); }
  int write(const void* b, int n) override {
    const int k = std::min(n, budget);
    budget -= k;
    return bytes.write(b, k);
  }
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override { return bytes.seek(offset, origin); }

  xmemory_stream bytes;
  int budget;
};

struct form {
  const char* name;
  bool buffered;
};
const form forms[] = {{"unbuffered", false}, {"buffered", true}};

std::unique_ptr<std::iostream> adapter(xstream& s, bool buffered, int block = 8) {
  return buffered ? s.std_stream(xstd_buffering::buffered, block) : s.std_stream();
}

xmemory_stream& filled(xmemory_stream& m, const std::string& text) {
  m.write(text.data(), static_cast<int>(text.size()));
  m.seek(0, xseek_begin);
  return m;
}

// --- the default adapter: thin --------------------------------------------

TEST(XStdStream, ReadsLeaveTheWrappedStreamWhereTheReaderIs) {
  xmemory_stream m;
  auto io = filled(m, "0123456789").std_stream();
  char b[3];
  io->read(b, 3);
  EXPECT_EQ(std::string(b, 3), "012");
  EXPECT_EQ(m.get_position(), 3);

  xmemory_stream lines;
  auto in = filled(lines, "ab\ncd\n").std_stream();
  std::string line;
  std::getline(*in, line);
  EXPECT_EQ(line, "ab");
  EXPECT_EQ(lines.get_position(), 3);
}

TEST(XStdStream, FormattedInputLooksOneByteAheadAndGivesItBack) {
  xmemory_stream m;
  auto io = filled(m, "42 rest").std_stream();
  int n = 0;
  *io >> n;
  EXPECT_EQ(n, 42);
  EXPECT_EQ(m.get_position(), 3);  // the blank that ended the number
  EXPECT_EQ(io->tellg(), 2);
  EXPECT_EQ(m.get_position(), 2);  // given back

  *io >> n;  // fails on "rest" and looks at 'r'
  io.reset();
  EXPECT_EQ(m.get_position(), 3);  // the adapter's end gives the look-ahead back
}

TEST(XStdStream, WritesReachTheWrappedStreamAtTheCall) {
  xmemory_stream m;
  auto io = m.std_stream();
  *io << "value " << 42;
  EXPECT_EQ(bytes_of(m), "value 42");
  io->write(std::string(70000, 'z').data(), 70000);
  EXPECT_EQ(m.size(), 8 + 70000);
}

TEST(XStdStream, AShortWriteRaisesIOErrorAtTheCall) {
  limited_stream s(3);
  auto io = s.std_stream();
  try {
    *io << "abcdef";
    FAIL() << "short write not raised";
  } catch (const XEIOError& e) {
    EXPECT_STREQ(e.what(), "Data writing error !\nLimited stream.");
  }
  EXPECT_TRUE(io->bad());
  EXPECT_EQ(bytes_of(s.bytes), "abc");
}

// --- both forms -------------------------------------------------------------

TEST(XStdStream, AWriteToAReadOnlyStreamThrowsAtTheWrite) {
  const char data[] = "0123";
  for (const form& f : forms) {
    SCOPED_TRACE(f.name);
    xbuffer_stream ro(data, 4);
    auto io = adapter(ro, f.buffered);
    try {
      *io << "x";
      FAIL() << "write to a read-only stream accepted";
    } catch (const xexception& e) {
      EXPECT_EQ(e.code(), xexception::not_supported);
    }
    EXPECT_TRUE(io->bad());
  }
}

TEST(XStdStream, AWriteAfterAReadLandsWhereTheReaderIs) {
  for (const form& f : forms) {
    SCOPED_TRACE(f.name);
    xmemory_stream m;
    auto io = adapter(filled(m, "0123456789"), f.buffered);
    EXPECT_EQ(io->get(), '0');
    EXPECT_EQ(io->peek(), '1');  // looked at, not taken
    *io << "X";
    io->flush();
    EXPECT_EQ(bytes_of(m), "0X23456789");
    EXPECT_EQ(io->get(), '2');  // reading goes on after the write
  }
}

TEST(XStdStream, SeeksAndTellsCountFromTheReader) {
  for (const form& f : forms) {
    SCOPED_TRACE(f.name);
    xmemory_stream m;
    auto io = adapter(filled(m, "0123456789"), f.buffered);
    std::string first;
    first.resize(4);
    io->read(first.data(), 4);
    EXPECT_EQ(io->tellg(), 4);
    io->seekg(-2, std::ios::cur);
    EXPECT_EQ(io->get(), '2');
    io->seekg(-1, std::ios::end);
    EXPECT_EQ(io->get(), '9');
    EXPECT_EQ(io->get(), std::char_traits<char>::eof());
  }
}

// --- the buffered form --------------------------------------------------------

TEST(XStdStreamBuffered, WritesWaitForAFlushAndKeepTheirOrder) {
  xmemory_stream m;
  auto io = adapter(m, true, 8);
  *io << "ab";
  EXPECT_EQ(bytes_of(m), "");
  io->flush();
  EXPECT_EQ(bytes_of(m), "ab");
  *io << "cd";
  io->write("0123456789", 10);  // larger than the block: straight through, after "cd"
  EXPECT_EQ(bytes_of(m), "abcd0123456789");
  *io << "ef" << std::endl;
  EXPECT_EQ(bytes_of(m), "abcd0123456789ef\n");
}

TEST(XStdStreamBuffered, AFailedFlushRaisesAndKeepsTheBytesForALaterOne) {
  limited_stream s(2);
  auto io = adapter(s, true, 16);
  *io << "abcdef";
  EXPECT_THROW(io->flush(), XEIOError);
  EXPECT_TRUE(io->bad());
  EXPECT_EQ(bytes_of(s.bytes), "ab");
  s.budget = 100;  // room again
  io->clear();
  io->flush();
  EXPECT_EQ(bytes_of(s.bytes), "abcdef");
}

TEST(XStdStreamBuffered, ReadAheadIsGivenBackOnSync) {
  xmemory_stream m;
  auto io = adapter(filled(m, "0123456789"), true, 64);
  char b[3];
  io->read(b, 3);
  EXPECT_EQ(m.get_position(), 10);  // read ahead
  io->sync();
  EXPECT_EQ(m.get_position(), 3);
}

TEST(XStdStreamBuffered, ABlockOfLessThanOneByteIsRefused) {
  xmemory_stream m;
  EXPECT_THROW(m.std_stream(xstd_buffering::buffered, 0), xexception);
}

}  // namespace
}  // namespace xum
