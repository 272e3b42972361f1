// The contract every xstream implementation keeps, run over each of them as
// a typed test, and the error paths that a failing stream below a wrapper
// drives. Each case shows the 5000 bytes of tests/streams/data/large.bin.
#include "streams/xstream.h"

#include <fcntl.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/xfailing_stream.h"
#include "tests/support/xtest_helpers.h"

#include "core/xexception.h"
#include "core/xexceptions.h"
#include "streams/xbuffered_stream.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"
#include "streams/xreplace_file_stream.h"
#include "streams/xresource_stream.h"
#include "streams/xsection_stream.h"
#include "streams/xxor_stream.h"

namespace xum {
namespace {

using test::bytes_of;
using test::code_of;
using test::error_of;
using test::xfailing_stream;

const std::string& content() {
  static const std::string bytes = test::file_bytes(XUM_TEST_DATA "/large.bin");
  return bytes;
}
const int size = 5000;

using test::scrambled;

// Equal bytes, or where they first differ (instead of thousands of bytes).
testing::AssertionResult same_bytes(const std::string& got, const std::string& want) {
  const auto diff = std::mismatch(got.begin(), got.end(), want.begin(), want.end());
  if (diff.first == got.end() && diff.second == want.end()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "sizes " << got.size() << " and " << want.size()
                                     << ", first difference at " << (diff.first - got.begin());
}

std::string read_rest(xstream& s, int piece = 8192) {
  std::string out, buffer(static_cast<std::size_t>(piece), '\0');
  for (int n; (n = s.read(buffer.data(), piece)) > 0;)
    out.append(buffer, 0, static_cast<std::size_t>(n));
  return out;
}

// Seven bytes on either side of the content, outside the sections.
const std::string before = "<before", after = "after>>";

xmemory_stream& filled(xmemory_stream& m, const std::string& bytes, int at) {
  m.write(bytes.data(), static_cast<int>(bytes.size()));
  m.seek(at, xseek_begin);
  return m;
}

// Each case owns a stream over the content, names it as its errors do, and
// gives back what its storage holds once the stream is done.
struct memory_case {
  static constexpr const char* name = "Memory";
  xmemory_stream s;
  memory_case() { filled(s, content(), 0); }
  std::string description() { return "Memory stream."; }
  std::string stored() { return bytes_of(s); }
};

struct buffer_case {
  static constexpr const char* name = "Buffer";
  xbuffer_stream s{content().data(), size};
  std::string description() { return "buffer stream"; }
};

struct resource_case {
  static constexpr const char* name = "Resource";
  xresource_stream s{nullptr, 6, xrt_rcdata};  // large.bin, embedded
  std::string description() { return "Resource stream."; }
};

struct on_disk {
  test::temp_dir dir;
  const std::string path = (dir.path / "content.bin").string();
  on_disk() { xfile_stream(path.c_str(), xfile_create).write_buffer(content().data(), size); }
  std::string stored() { return test::file_bytes(path); }
};

struct file_case : on_disk {
  static constexpr const char* name = "File";
  xfile_stream s{path.c_str(), xfile_read_write};
  std::string description() { return "File: " + path; }
  std::string stored() { return s.close(), on_disk::stored(); }
};

struct read_only_file_case : on_disk {
  static constexpr const char* name = "ReadOnlyFile";
  xfile_stream s{path.c_str(), xfile_read};
  std::string description() { return "File: " + path; }
};

// The new file beside an old target, renamed over it by close().
struct replace_file_case : on_disk {
  static constexpr const char* name = "ReplaceFile";
  xreplace_file_stream s{path.c_str()};
  replace_file_case() {
    s.write_buffer(content().data(), size);
    s.seek(0, xseek_begin);
  }
  std::string description() { return "File: " + path; }
  std::string stored() { return s.close(), on_disk::stored(); }
};

struct handle_case : on_disk {
  static constexpr const char* name = "Handle";
  const int fd = ::open(path.c_str(), O_RDWR);
  xhandle_stream s{fd, xstream_read | xstream_write, true};
  std::string description() { return "Handle stream " + std::to_string(fd); }
  std::string stored() { return s.close(), on_disk::stored(); }
};

struct section_case {
  static constexpr const char* name = "Section";
  xmemory_stream m;
  xsection_stream s{filled(m, before + content() + after, 7), size, false};
  std::string description() { return "Memory stream."; }
  std::string stored() {
    const std::string all = bytes_of(m);
    EXPECT_EQ(all.substr(0, 7) + all.substr(7 + size), before + after);
    return all.substr(7, size);
  }
};

struct xor_case {
  static constexpr const char* name = "Xor";
  xmemory_stream m;
  xxor_stream s{filled(m, scrambled(content()), 0), false};
  std::string description() { return "Memory stream."; }
  std::string stored() { return scrambled(bytes_of(m)); }
};

// A 64-byte block: small transfers gather, larger ones go straight through.
struct buffered_case {
  static constexpr const char* name = "Buffered";
  xmemory_stream m;
  xbuffered_stream s{filled(m, content(), 0), false, 64};
  std::string description() { return "Memory stream."; }
  std::string stored() { return s.close(), bytes_of(m); }
};

// Over a read-only stream a write is refused at the call, not when the
// block is passed on (where the destructor would swallow the failure).
struct read_only_buffered_case {
  static constexpr const char* name = "ReadOnlyBuffered";
  const std::string bytes = content();
  xbuffer_stream b{bytes.data(), size};
  xbuffered_stream s{b, false, 64};
  std::string description() { return "buffer stream"; }
};

// Sections and XOR streams pass the refusal of a read-only stream below
// them through, also for the empty write that the buffered adapter probes
// with.
struct read_only_section_case {
  static constexpr const char* name = "ReadOnlySection";
  const std::string bytes = content();
  xbuffer_stream b{bytes.data(), size};
  xsection_stream s{b, size, false};
  std::string description() { return "buffer stream"; }
};

struct read_only_xor_case {
  static constexpr const char* name = "ReadOnlyXor";
  const std::string bytes = scrambled(content());
  xbuffer_stream b{bytes.data(), size};
  xxor_stream s{b, false};
  std::string description() { return "buffer stream"; }
};

struct case_names {
  template <typename Case>
  static std::string GetName(int) {
    return Case::name;
  }
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
using read_only_cases = testing::Types<buffer_case, resource_case, read_only_file_case,
                                       read_only_buffered_case, read_only_section_case,
                                       read_only_xor_case>;
using all_cases =
    testing::Types<memory_case, file_case, replace_file_case, handle_case, section_case, xor_case,
                   buffered_case, buffer_case, resource_case, read_only_file_case,
                   read_only_buffered_case>;
TYPED_TEST_SUITE(XStreamContract, all_cases, case_names);
TYPED_TEST_SUITE(XWritableStreamContract, writable_cases, case_names);
TYPED_TEST_SUITE(XReadOnlyStreamContract, read_only_cases, case_names);

// Pieces around the XOR stream's 4096-byte chunk and larger than the content.
TYPED_TEST(XStreamContract, ReadsTheContentInPiecesOfAnySize) {
  for (int piece : {1, 7, 64, 4095, 4096, 4097, 6000}) {
    SCOPED_TRACE(piece);
    ASSERT_EQ(this->s.seek(0, xseek_begin), 0);
    EXPECT_TRUE(same_bytes(read_rest(this->s, piece), content()));
    EXPECT_EQ(this->s.get_position(), size);
  }
}

// Each row starts at 1000; get_size answers 5000 and leaves the position.
TYPED_TEST(XStreamContract, SeeksFromEachOriginAndGetSizeKeepsThePosition) {
  const struct {
    xseek_origin origin;
    std::int64_t offset, want;
  } rows[] = {{xseek_begin, 4096, 4096}, {xseek_current, -1000, 0}, {xseek_current, 0, 1000},
              {xseek_end, -1, 4999},     {xseek_end, 0, 5000}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.origin << " " << row.offset);
    this->s.seek(1000, xseek_begin);
    EXPECT_EQ(this->s.seek(row.offset, row.origin), row.want);
    EXPECT_EQ(this->s.get_size(), size);
    EXPECT_EQ(this->s.get_position(), row.want);
    EXPECT_EQ(read_rest(this->s, 8).substr(0, 8),
              content().substr(static_cast<std::size_t>(row.want), 8));
  }
}

TYPED_TEST(XStreamContract, AShortReadBufferTakesTheRestAndNamesTheStream) {
  char b[4] = {};
  this->s.seek(-3, xseek_end);
  this->s.read_buffer(b, 3);
  this->s.seek(-3, xseek_end);
  EXPECT_EQ(error_of([&] { this->s.read_buffer(b, 4); }),
            "Data reading error ! \n" + this->c.description());
  EXPECT_EQ(std::string(b, 3), content().substr(size - 3));
  EXPECT_THROW(this->s.read_buffer(b, 1), XEIOError);  // a kind a program can branch on
}

TYPED_TEST(XStreamContract, CopyToMovesTheRestOrExactlyTheCountAsked) {
  xmemory_stream rest, part;
  this->s.seek(100, xseek_begin);
  this->s.copy_to(rest);
  EXPECT_TRUE(same_bytes(bytes_of(rest), content().substr(100)));
  this->s.seek(10, xseek_begin);
  this->s.copy_to(part, 4500);
  EXPECT_TRUE(same_bytes(bytes_of(part), content().substr(10, 4500)));
  this->s.seek(4990, xseek_begin);
  EXPECT_EQ(error_of([&] { this->s.copy_to(part, 11); }),
            "Data reading error ! \n" + this->c.description());
}

// Both forms of the iostream adapter; the buffered one with a block of 16.
std::unique_ptr<std::iostream> adapter(xstream& s, bool buffered) {
  return buffered ? s.std_stream(xstd_buffering::buffered, 16) : s.std_stream();
}

TYPED_TEST(XStreamContract, StdStreamReadsAndSeeksThrough) {
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

// One write through the iostream adapter across the XOR stream's 4096-byte
// chunk, then small ones at the edges; the storage holds them all.
TYPED_TEST(XWritableStreamContract, WritesReplaceBytesInPlaceUpToTheStorage) {
  std::string want(content().rbegin(), content().rend());
  {
    auto io = this->s.std_stream();
    io->write(want.data(), size);
    io->flush();
    EXPECT_EQ(this->s.get_position(), size);
  }
  const struct {
    int at;
    std::string bytes;
  } rows[] = {{0, "AB"}, {4095, "CD"}, {4999, "E"}, {2000, "xyz"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.at);
    EXPECT_EQ(this->s.seek(row.at, xseek_begin), row.at);
    this->s.write_buffer(row.bytes.data(), static_cast<int>(row.bytes.size()));
    want.replace(static_cast<std::size_t>(row.at), row.bytes.size(), row.bytes);
  }
  {
    auto io = this->s.std_stream();
    io->seekp(3000);
    *io << "io" << 42;
    io->flush();
    want.replace(3000, 4, "io42");
  }
  this->s.seek(0, xseek_begin);
  EXPECT_TRUE(same_bytes(read_rest(this->s), want));
  EXPECT_TRUE(same_bytes(this->c.stored(), want));
}

TYPED_TEST(XReadOnlyStreamContract, WritesThrowCode4AndChangeNothing) {
  EXPECT_EQ(code_of([&] { this->s.write("x", 1); }), xexception::not_supported);
  for (const auto buffering : {xstd_buffering::none, xstd_buffering::buffered}) {
    auto io = this->s.std_stream(buffering);
    EXPECT_EQ(code_of([&] { *io << 'x'; }), xexception::not_supported);  // at the write itself
  }
  this->s.seek(0, xseek_begin);
  EXPECT_TRUE(same_bytes(read_rest(this->s), content()));
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
        EXPECT_TRUE(
            same_bytes(bytes_of(disk), at_rest.substr(0, static_cast<std::size_t>(budget))));

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
          EXPECT_TRUE(same_bytes(got.substr(0, budget), content().substr(0, budget)));
        }
      }
    }
  }
}

// Small writes wait in the block: the failure surfaces when the block is
// passed on (a later write, flush or close); the destructor swallows it.
TEST(XStreamFailures, BufferedStreamReportsTheFailureWhenItPassesTheBlockOn) {
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
}

}  // namespace
}  // namespace xum
