#include "streams/xstream.h"

#include <gtest/gtest.h>

#include <istream>
#include <string>

#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xfailing_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using test::bytes_of;

std::unique_ptr<std::iostream> adapter(xstream& s, bool buffered, int block = 8) {
  return buffered ? s.std_stream(xstd_buffering::buffered, block) : s.std_stream();
}

xmemory_stream& filled(xmemory_stream& m, const std::string& text) {
  m.write(text.data(), static_cast<int>(text.size()));
  m.seek(0, xseek_begin);
  return m;
}

// --- the default adapter: thin --------------------------------------------

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

TEST(XStdStream, AShortWriteRaisesIOErrorAtTheCall) {
  xmemory_stream disk;
  test::xfailing_stream s(disk, 3);
  auto io = s.std_stream();
  EXPECT_EQ(test::raised_by([&] { *io << "abcdef"; }),
            (test::raised{xerror_category::io, -1, -1, "Data writing error !\nfailing stream"}));
  EXPECT_TRUE(io->bad());
  EXPECT_EQ(bytes_of(disk), "abc");
}

// --- both forms (the contract suite runs both over every stream) -----------

TEST(XStdStream, AWriteAfterAReadLandsWhereTheReaderIs) {
  for (const bool buffered : {false, true}) {
    SCOPED_TRACE(buffered ? "buffered" : "unbuffered");
    xmemory_stream m;
    auto io = adapter(filled(m, "0123456789"), buffered);
    EXPECT_EQ(io->get(), '0');
    EXPECT_EQ(io->peek(), '1');  // looked at, not taken
    *io << "X";
    io->flush();
    EXPECT_EQ(bytes_of(m), "0X23456789");
    EXPECT_EQ(io->get(), '2');  // reading goes on after the write
  }
}

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
}

TEST(XStdStreamBuffered, AFailedFlushRaisesAndKeepsTheBytesForALaterOne) {
  xmemory_stream disk;
  test::xfailing_stream s(disk, 2);
  auto io = adapter(s, true, 16);
  *io << "abcdef";
  EXPECT_THROW(io->flush(), XEIOError);
  EXPECT_TRUE(io->bad());
  EXPECT_EQ(bytes_of(disk), "ab");
  s.set_write_budget(100);  // room again
  io->clear();
  io->flush();
  EXPECT_EQ(bytes_of(disk), "abcdef");
}

TEST(XStdStreamBuffered, ABlockOfLessThanOneByteIsRefused) {
  xmemory_stream m;
  EXPECT_THROW(m.std_stream(xstd_buffering::buffered, 0), xexception);
}

}  // namespace
}  // namespace xum
