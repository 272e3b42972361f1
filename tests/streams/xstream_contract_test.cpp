// The contract every xstream implementation keeps, run over each of them as
// a typed test, what single streams add to it, and the error paths that a
// failing stream below a wrapper drives. Each case shows the 5000 bytes of
// tests/streams/data/large.bin. The test program embeds tests/streams/data/
// (see tests/CMakeLists.txt): five.bin as "#5" RCDATA, large.bin as "#6"
// RCDATA and as "#6" of type "SAMPLE", and the string table strings.txt.
#include <fcntl.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "core/xexception.h"
#include "core/xexceptions.h"
#include "core/xvector.h"
#include "streams/xbuffered_stream.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"
#include "streams/xreplace_file_stream.h"
#include "streams/xresource_stream.h"
#include "streams/xsection_stream.h"
#include "streams/xstream.h"
#include "streams/xxor_stream.h"
#include "tests/support/xfailing_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

using namespace test;

const std::string& content() {
  static const std::string bytes = test::file_bytes(XUM_TEST_DATA "/large.bin");
  return bytes;
}
const int size = 5000;

std::string read_rest(xstream& s, int piece = 8192) {
  std::string out, buffer(static_cast<std::size_t>(piece), '\0');
  for (int n; (n = s.read(buffer.data(), piece)) > 0;)
    out.append(buffer, 0, static_cast<std::size_t>(n));
  return out;
}

xmemory_stream& filled(xmemory_stream& m, const std::string& bytes, int at) {
  m.write(bytes.data(), static_cast<int>(bytes.size()));
  m.seek(at, xseek_begin);
  return m;
}

// Each case owns a stream `s` over the content, names it as its errors do,
// and gives back what its storage holds once the stream is done.
struct resource_case {
  xresource_stream s{nullptr, 6, xrt_rcdata};  // large.bin, embedded
  std::string description() { return "Resource stream."; }
};

// `Case` holds the stream `s` over the file, closed before the file is read.
template <class Case>
struct on_disk {
  test::temp_dir dir;
  const std::string path = (dir.path / "content.bin").string();
  on_disk() { xfile_stream(path.c_str(), xfile_create).write_buffer(content().data(), size); }
  std::string description() { return "File: " + path; }
  std::string stored() { return static_cast<Case*>(this)->s.close(), test::file_bytes(path); }
};

struct file_case : on_disk<file_case> {
  xfile_stream s{path.c_str(), xfile_read_write};
};

struct read_only_file_case : on_disk<read_only_file_case> {
  xfile_stream s{path.c_str(), xfile_read};
};

// The new file beside an old target, renamed over it by close().
struct replace_file_case : on_disk<replace_file_case> {
  xreplace_file_stream s{path.c_str()};
  replace_file_case() {
    s.write_buffer(content().data(), size);
    s.seek(0, xseek_begin);
  }
};

struct handle_case : on_disk<handle_case> {
  const int fd = ::open(path.c_str(), O_RDWR);
  xhandle_stream s{fd, xstream_read | xstream_write, true};
  std::string description() { return "Handle stream " + std::to_string(fd); }
};

// A memory stream and wrappers over one; the section has seven bytes on either side
// of it that must stay as they are.
struct over_memory {
  xmemory_stream m;
  std::string description() { return "Memory stream."; }
};

struct memory_case : over_memory {
  xmemory_stream& s = filled(m, content(), 0);
  std::string stored() { return bytes_of(m); }
};

struct section_case : over_memory {
  xsection_stream s{filled(m, "<before" + content() + "after>>", 7), size, false};
  std::string stored() {
    const std::string all = bytes_of(m);
    EXPECT_EQ(all.substr(0, 7) + all.substr(7 + size), "<beforeafter>>");
    return all.substr(7, size);
  }
};

struct xor_case : over_memory {
  xxor_stream s{filled(m, scrambled(content()), 0), false};
  std::string stored() { return scrambled(bytes_of(m)); }
};

// A 64-byte block: small transfers gather, larger ones go straight through.
struct buffered_case : over_memory {
  xbuffered_stream s{filled(m, content(), 0), false, 64};
  std::string stored() { return s.close(), bytes_of(m); }
};

struct over_buffer {
  xbuffer_stream b{content().data(), size};
  std::string description() { return "buffer stream"; }
};

struct buffer_case : over_buffer {
  xbuffer_stream& s = b;
};

// The buffered stream over a read-only one refuses a write at the call, also
// the empty write that the iostream adapter probes with, not when a block is
// passed on (where the destructor would swallow the failure).
struct read_only_buffered_case : over_buffer {
  xbuffered_stream s{b, false, 64};
};

template <typename Case>
class XStreamContract : public testing::Test {
 protected:
  Case c;
  xstream& s = c.s;
};
template <typename Case>
using XWritableStreamContract = XStreamContract<Case>;
template <typename Case>
using XReadOnlyStreamContract = XStreamContract<Case>;

using writable_cases = testing::Types<memory_case, file_case, replace_file_case, handle_case,
                                      section_case, xor_case, buffered_case>;
using read_only_cases =
    testing::Types<buffer_case, resource_case, read_only_file_case, read_only_buffered_case>;
using all_cases = testing::Types<memory_case, file_case, replace_file_case, handle_case,
                                 section_case, xor_case, buffered_case, buffer_case, resource_case,
                                 read_only_file_case, read_only_buffered_case>;
TYPED_TEST_SUITE(XStreamContract, all_cases);
TYPED_TEST_SUITE(XWritableStreamContract, writable_cases);
TYPED_TEST_SUITE(XReadOnlyStreamContract, read_only_cases);

// Pieces around the XOR stream's 4096-byte chunk and larger than the content.
TYPED_TEST(XStreamContract, ReadsInPiecesOfAnySizeAndSeeksFromEachOrigin) {
  for (int piece : {1, 7, 64, 4095, 4096, 4097, 6000}) {
    SCOPED_TRACE(piece);
    ASSERT_EQ(this->s.seek(0, xseek_begin), 0);
    EXPECT_EQ(read_rest(this->s, piece), content());
    EXPECT_EQ(this->s.get_position(), size);
  }
  // Each row starts at 1000; get_size answers 5000 and leaves the position.
  const std::tuple<xseek_origin, std::int64_t, std::size_t> rows[] = {{xseek_begin, 4096, 4096},
                                                                      {xseek_current, -1000, 0},
                                                                      {xseek_current, 0, 1000},
                                                                      {xseek_end, -1, 4999},
                                                                      {xseek_end, 0, 5000}};
  for (const auto& [origin, offset, want] : rows) {
    SCOPED_TRACE(testing::Message() << origin << " " << offset);
    this->s.seek(1000, xseek_begin);
    EXPECT_EQ(this->s.seek(offset, origin), static_cast<std::int64_t>(want));
    EXPECT_EQ(this->s.get_size(), size);
    EXPECT_EQ(this->s.get_position(), static_cast<std::int64_t>(want));
    EXPECT_EQ(read_rest(this->s, 8).substr(0, 8), content().substr(want, 8));
  }
}

// Both forms of the iostream adapter; the buffered one with a block of 16.
std::unique_ptr<std::iostream> adapter(xstream& s, bool buffered) {
  return buffered ? s.std_stream(xstd_buffering::buffered, 16) : s.std_stream();
}

// A short read_buffer or copy_to takes what there is and names the stream;
// both forms of the iostream adapter read and seek through.
TYPED_TEST(XStreamContract, CopiesAndReadsThroughTheIostreamAdapterAndShortReadsFail) {
  xmemory_stream rest, part;
  this->s.seek(100, xseek_begin);
  this->s.copy_to(rest);
  EXPECT_EQ(bytes_of(rest), content().substr(100));
  this->s.seek(10, xseek_begin);
  this->s.copy_to(part, 4500);
  EXPECT_EQ(bytes_of(part), content().substr(10, 4500));
  this->s.seek(4990, xseek_begin);
  EXPECT_EQ(error_of([&] { this->s.copy_to(part, 11); }),
            "Data reading error ! \n" + this->c.description());
  char b[4] = {};
  this->s.seek(-3, xseek_end);
  EXPECT_THROW(this->s.read_buffer(b, 4), XEIOError);  // a kind a program can branch on
  EXPECT_EQ(std::string(b, 3), content().substr(size - 3));
  for (const bool buffered : {false, true}) {
    SCOPED_TRACE(buffered ? "buffered" : "thin");
    auto io = adapter(this->s, buffered);
    io->seekg(-10, std::ios::end);
    EXPECT_EQ(io->tellg(), 4990);
    char b[20];
    io->read(b, 20);
    EXPECT_EQ(std::string(b, static_cast<std::size_t>(io->gcount())), content().substr(4990));
    io->clear();
    io->seekg(4000);
    io->read(b, 2);
    io->seekg(2, std::ios::cur);  // counts from what was taken, not what was read ahead
    io->read(b + 2, 2);
    EXPECT_EQ(std::string(b, 4), content().substr(4000, 2) + content().substr(4004, 2));
  }
}

// One write through the thin adapter across the XOR stream's 4096-byte
// chunk, small ones at the edges, then through the buffered adapter a
// gathered write and one larger than its block that must follow it. A write
// after a read lands where the reader stands, though the buffered stream
// and adapter read ahead, and reading goes on after it.
TYPED_TEST(XWritableStreamContract, WritesReplaceBytesInPlaceUpToTheStorage) {
  std::string want(content().rbegin(), content().rend());
  {
    auto io = this->s.std_stream();
    io->write(want.data(), size);
    io->flush();
    EXPECT_EQ(this->s.get_position(), size);
  }
  const std::pair<int, std::string> rows[] = {{0, "AB"},     {4095, "CD"},  {4999, "E"},
                                              {2000, "xyz"}, {1000, "abc"}, {1100, "def"}};
  for (const auto& [at, bytes] : rows) {
    SCOPED_TRACE(at);
    EXPECT_EQ(this->s.seek(at, xseek_begin), at);
    this->s.write_buffer(bytes.data(), static_cast<int>(bytes.size()));
    want.replace(static_cast<std::size_t>(at), bytes.size(), bytes);
  }
  {
    auto io = adapter(this->s, true);
    io->seekp(3000);
    *io << "io" << 42;
    io->write("0123456789abcdefghij", 20);
    io->flush();
    want.replace(3000, 24, "io420123456789abcdefghij");
  }
  for (const bool buffered : {false, true}) {
    SCOPED_TRACE(buffered ? "buffered" : "thin");
    const int at = buffered ? 1100 : 1000;  // at "def" or "abc"
    auto io = adapter(this->s, buffered);
    io->seekg(at);
    EXPECT_EQ(io->get(), buffered ? 'd' : 'a');
    EXPECT_EQ(io->peek(), buffered ? 'e' : 'b');  // looked at, not taken
    *io << 'Y';
    io->flush();
    EXPECT_EQ(io->get(), buffered ? 'f' : 'c');
    want[at + 1] = 'Y';
  }
  char b[5];
  this->s.seek(4000, xseek_begin);
  this->s.read_buffer(b, 5);
  this->s.write_buffer("X", 1);
  want[4005] = 'X';
  this->s.seek(0, xseek_begin);
  EXPECT_EQ(read_rest(this->s), want);
  EXPECT_EQ(this->c.stored(), want);
}

TYPED_TEST(XReadOnlyStreamContract, WritesThrowCode4AndChangeNothing) {
  EXPECT_EQ(code_of([&] { this->s.write("x", 1); }), xexception::not_supported);
  for (const auto buffering : {xstd_buffering::none, xstd_buffering::buffered}) {
    auto io = this->s.std_stream(buffering);
    EXPECT_EQ(code_of([&] { *io << 'x'; }), xexception::not_supported);  // at the write itself
  }
  this->s.seek(0, xseek_begin);
  EXPECT_EQ(read_rest(this->s), content());
}

// ---- What single streams add ----

// Setting the size rewinds; bytes cut off must not come back when it grows.
TEST(XMemoryStream, SetSizeRewindsAndGrowsWithZeros) {
  xmemory_stream m;
  m.write("0123456789", 10);
  m.set_size(4);
  EXPECT_EQ(m.get_position(), 0);
  m.set_size(8);
  EXPECT_EQ(bytes_of(m), std::string("0123\0\0\0\0", 8));
  for (std::int64_t bad : {std::int64_t{-1}, std::int64_t{INT_MAX} + 1}) {
    EXPECT_EQ(code_of([&] { m.set_size(bad); }), xexception::out_of_range);
    EXPECT_EQ(m.get_size(), 8);
  }
  EXPECT_EQ(code_of([] { xbuffer_stream("abc", 3).set_size(2); }), xexception::not_supported);
}

TEST(XVector, PushBackOfItsOwnElementSurvivesReallocation) {
  xvector<std::string> v;
  v.push_back(std::string(40, 'a'));  // too long for the small-string buffer
  v.push_back(v[0]);                  // full: v[0] moves while being copied
  EXPECT_EQ(v[1], std::string(40, 'a'));
}

// A section of 10 bytes from position 4 of "0123456789abcdefghij": seeks
// clamp to it, moving the stream below, and writes stop at its end.
TEST(XSectionStream, SeeksClampAndWritesStopAtTheSectionEnd) {
  xmemory_stream m;
  xsection_stream s(filled(m, "0123456789abcdefghij", 4), 10, false);
  EXPECT_EQ(s.seek(-5, xseek_begin), 0);
  EXPECT_EQ(s.seek(INT64_MAX, xseek_begin), 10);
  EXPECT_EQ(s.seek(-2, xseek_current), 8);
  EXPECT_EQ(m.get_position(), 12);
  EXPECT_EQ(s.write("XYZ", 3), 2);
  EXPECT_EQ(bytes_of(m), "0123456789abXYefghij");
}

// Bytes written after a 3-byte header by an XOR stream opened there start at
// key[0]; a reader must open at the same point, as seeking gives phase 3.
TEST(XXorStream, PhaseStartsAtZeroOnOpenAndFollowsTheAbsolutePositionAfterSeek) {
  const std::string payload = "payload of sixteen";
  xmemory_stream m;
  m.write("HDR", 3);
  xxor_stream(m, false).write_buffer(payload.data(), 18);
  EXPECT_EQ(bytes_of(m), "HDR" + scrambled(payload));
  m.seek(3, xseek_begin);
  xxor_stream reader(m, false);
  EXPECT_EQ(read_rest(reader), payload);
  m.seek(3, xseek_begin);
  xxor_stream asked(m, false);
  EXPECT_EQ(asked.get_position(), 3);  // asking the position is a seek too
  asked.write_buffer(payload.data(), 18);
  EXPECT_EQ(bytes_of(m).substr(3), scrambled(payload, 3));
}

// Resources and string resources are found in the executable that embeds them.
TEST(XResourceStream, FindsResourcesByDecimalIdAndTypeIgnoringCaseAndStrings) {
  EXPECT_EQ(xresource_stream(xexecutable_module(), 6, "sample").get_size(), size);
  EXPECT_NE(xfind_resource(nullptr, "#005", xrt_rcdata), nullptr);
  EXPECT_EQ(xfind_resource(nullptr, "5", "#10"), nullptr);  // a name, not an id
  // Resources belong to the binary that embeds them: the library has none.
  EXPECT_EQ(code_of([] { xresource_stream s(xlibrary_module(), 5, xrt_rcdata); }),
            xexception::no_resource);
  EXPECT_EQ(xstr::load(2), "Two lines\nsecond; with [brackets] and a \\ backslash");
  EXPECT_EQ(xstr::load(65535), "last id");
  EXPECT_TRUE(xstr::load(65536 + 1).empty());  // ids are 16-bit: no wrap to 1
}

// ---- Failures below a stream ----

// A wrapper (or none) over the failing stream; `scrambles` when the bytes
// at rest are the XOR stream's.
struct wrapper {
  const char* name;
  std::function<std::unique_ptr<xstream>(xstream&)> over;
  bool scrambles;
};
const wrapper wrappers[] = {
    {"none", [](xstream&) { return nullptr; }, false},
    {"xor", [](xstream& s) { return std::make_unique<xxor_stream>(s, false); }, true},
    {"section", [](xstream& s) { return std::make_unique<xsection_stream>(s, size, false); },
     false},
    {"buffered", [](xstream& s) { return std::make_unique<xbuffered_stream>(s, false, 64); },
     false},
};

// A budget of N bytes lets exactly N through, then the failure reaches the
// caller: the short count as "Data writing error !" or "Data reading
// error !" with the failing stream's name, or the failing stream's own
// error unchanged.
TEST(XStreamFailures, ShortTransfersBelowAWrapperReachTheCaller) {
  for (const wrapper& w : wrappers) {
    for (int budget : {0, 1, 63, 4095, 4096, 4097}) {
      for (bool reports : {false, true}) {
        SCOPED_TRACE(testing::Message()
                     << w.name << " budget " << budget << (reports ? " reporting" : ""));
        const std::string at_rest = w.scrambles ? scrambled(content()) : content();
        xmemory_stream disk;
        xfailing_stream failing(disk, budget, xfailing_stream::unlimited, reports);
        std::unique_ptr<xstream> wrapped = w.over(failing);
        xstream& s = wrapped ? *wrapped : failing;
        EXPECT_EQ(
            error_of([&] { s.write_buffer(content().data(), size); }),
            reports ? "Device failure !\nfailing stream" : "Data writing error !\nfailing stream");
        EXPECT_EQ(bytes_of(disk), at_rest.substr(0, static_cast<std::size_t>(budget)));

        xmemory_stream full;
        filled(full, at_rest, 0);
        xfailing_stream cut(full, 0, budget, reports);
        wrapped = w.over(cut);
        xstream& r = wrapped ? *wrapped : cut;
        std::string got(size, '\0');
        EXPECT_EQ(
            error_of([&] { r.read_buffer(got.data(), size); }),
            reports ? "Device failure !\nfailing stream" : "Data reading error ! \nfailing stream");
        // The bytes before a short count arrive; after a raised error the
        // XOR stream has not unscrambled the chunk that failed.
        if (!reports) {
          EXPECT_EQ(got.substr(0, budget), content().substr(0, budget));
        }
      }
    }
  }
}

// Small writes wait in the block: the failure surfaces when the block is
// passed on (a later write, flush or close); the destructor swallows it.
TEST(XStreamFailures, BufferedWritesAndTheIostreamAdapterReportFailuresWhenABlockIsPassedOn) {
  xmemory_stream disk;
  xfailing_stream failing(disk, 4);
  {
    xbuffered_stream b(failing, false, 8);
    b.write_buffer("abcdef", 6);
    EXPECT_EQ(error_of([&] { b.write_buffer("ghi", 3); }), "Data writing error !\nfailing stream");
    EXPECT_EQ(bytes_of(disk), "abcd");
    b.write_buffer("lm", 2);
    EXPECT_EQ(error_of([&] { b.close(); }), "Data writing error !\nfailing stream");
    EXPECT_EQ(failing.failures(), 2);
  }
  {
    xbuffered_stream b(failing, false, 8);
    b.write_buffer("no", 2);
  }  // the last attempt, in the destructor, fails without escaping
  EXPECT_EQ(failing.failures(), 3);
  EXPECT_EQ(bytes_of(disk), "abcd");
  // The iostream adapter raises a short write as an I/O error at the call
  // (thin) or at the flush that passes its block on (buffered).
  for (const bool buffered : {false, true}) {
    SCOPED_TRACE(buffered ? "buffered" : "thin");
    xmemory_stream to;
    xfailing_stream s(to, 2);
    auto io = adapter(s, buffered);
    EXPECT_EQ(test::raised_by([&] {
                *io << "abcdef";
                io->flush();
              }),
              (test::raised{xerror_category::io, -1, -1, "Data writing error !\nfailing stream"}));
    EXPECT_TRUE(io->bad());
    EXPECT_EQ(bytes_of(to), "ab");
  }
}

}  // namespace
}  // namespace xum
