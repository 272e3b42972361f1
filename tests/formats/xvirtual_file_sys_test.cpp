// The archive: its bytes, lookups and the index over many names, the
// archive compiled into the program, safe replacement of an existing
// archive, failed writes and reads while packing, and damaged tables.
#include "formats/xvirtual_file_sys.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xfailing_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;
using c = xerror_category;
using test::file_bytes;
using test::raised;
using test::raised_by;

std::string le32(std::uint32_t v) { return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; }
std::string le64(std::uint64_t v) { return le32(std::uint32_t(v)) + le32(std::uint32_t(v >> 32)); }

std::string read_all(xstream& s) {
  std::string out;
  char b[7];
  for (int n; (n = s.read(b, sizeof b)) > 0;) out.append(b, std::size_t(n));
  return out;
}

class XVirtualFileSys : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return (temp_.path / name).string(); }
  void put(const std::string& name, const std::string& content) const {
    test::put_file(temp_.path / name, content);
  }
  // The folder's entries other than `keep`: a temporary file left behind.
  int strays(const std::string& keep) const {
    int n = 0;
    for (const auto& e : fs::directory_iterator(temp_.path)) n += e.path() != keep;
    return n;
  }
  test::temp_dir temp_;
};

TEST_F(XVirtualFileSys, ByteLayoutAndLookupsThatIgnoreCaseAndDirectory) {
  put("sub/One.txt", "first");
  put("two.bin", "0123456789");
  put("one.txt", "second");
  xvirtual_file_sys a;
  a.set_header_value(0x01020304);
  a.create(path("small.vfs").c_str());
  for (const char* f : {"sub/One.txt", "two.bin", "one.txt"}) a.add_file(path(f).c_str());
  EXPECT_THROW(a.open(path("missing.vfs").c_str()), XException);  // closes first: complete
  const std::string want = "VFS" + le32(2) + le32(0x01020304) + "first0123456789second" + le32(3) +
                           le32(7) + "One.txt" + le64(11) + le64(5) + le32(7) + "two.bin" +
                           le64(16) + le64(10) + le32(7) + "one.txt" + le64(26) + le64(6) +
                           le32(32);
  EXPECT_EQ(test::vfs_scrambled(file_bytes(path("small.vfs"))), want);
  a.open(path("small.vfs").c_str());
  EXPECT_TRUE(a.is_file_exists("docs\\TWO.bin"));
  std::unique_ptr<xstream> s(a.get_file_stream("docs/ONE.TXT"));
  EXPECT_EQ(read_all(*s), "first");  // the first of two equal names
}

TEST_F(XVirtualFileSys, TheIndexKeepsTheFirstOfThousandsOfNames) {
  // Enough names for the index to grow many times, each added twice in
  // another case; both while writing and after reading the table back.
  xvirtual_file_sys a;
  a.create(path("many.vfs").c_str());
  xbuffer_stream none(nullptr, 0);
  for (int i = 0; i < 6000; ++i)
    a.add_stream(xstr(((i < 3000 ? "file_" : "FILE_") + std::to_string(i % 3000)).c_str()), none);
  a.add_stream("dir/stored.txt", none);  // a name the format would not store
  for (const bool read_back : {false, true}) {
    if (read_back) a.close(), a.open(path("many.vfs").c_str());
    for (int i = 0; i < 3000; i += 7)
      EXPECT_EQ(a.find(xstr(("File_" + std::to_string(i)).c_str())), i);
    EXPECT_EQ(a.find("dir/stored.txt"), -1);  // compared without the directory
  }
}

TEST_F(XVirtualFileSys, TheArchiveCompiledIntoTheProgramReads) {
  // tests/formats/data/sample.vfs is embedded as resource "#40", type 10
  // (see tests/CMakeLists.txt).
  xresource_file_sys r(nullptr, 40, xrt_rcdata);
  r.open("");
  std::unique_ptr<xstream> g(r.get_file_stream("greeting.txt"));
  ASSERT_TRUE(g);
  EXPECT_EQ(read_all(*g), "Hello from inside the program.\n");
}

TEST_F(XVirtualFileSys, AnExistingArchiveIsReplacedOnlyAtClose) {
  const std::string target = path("a.vfs"), input = path("in/one.txt");
  put("a.vfs", "old archive");
  put("in/one.txt", "one");
  xvirtual_file_sys a;
  // Abandoned (discard, or the destructor of an archive whose close cannot
  // succeed): the old archive stays.
  for (const bool complete : {false, true}) {
    a.create(target.c_str());
    a.add_file(input.c_str());
    EXPECT_EQ(file_bytes(target), "old archive");
    EXPECT_EQ(strays(target), 2);  // "in" and the new archive beside the old
    if (!complete) a.discard();
    a.close();
    EXPECT_EQ(strays(target), 1);
  }
  a.open(target.c_str());
  EXPECT_EQ(a.files().size(), 1u);
}

TEST(XVirtualFileSysWriting, AFailedWriteEndsTheArchiveAndNothingMoreReachesTheTarget) {
  // 3 MiB of data: the 1 MiB buffer under the format passes blocks on while
  // members are added, and the rest at close.
  std::string data(3 << 20, '\0');
  for (std::size_t i = 0; i < data.size(); ++i) data[i] = char(i * 131 >> 5);
  const auto save = [&](xmemory_stream& disk, std::int64_t room) {
    test::xfailing_stream target(disk, room);
    xvirtual_file_sys a;
    const std::string error = test::error_of([&] {
      a.create(target);
      xbuffer_stream in(data.data(), int(data.size()));
      a.add_stream("big.bin", in);
      a.close();
    });
    EXPECT_FALSE(a.writing());
    EXPECT_TRUE(a.files().empty());
    a.close();  // nothing left to do
    return std::pair(error, target.failures());
  };
  xmemory_stream all;
  ASSERT_EQ(save(all, test::xfailing_stream::unlimited).first, "(no error)");
  const std::string whole = test::bytes_of(all);
  const std::int64_t size = std::int64_t(whole.size());
  for (const std::int64_t room :
       {std::int64_t{0}, std::int64_t{11}, std::int64_t{(1 << 20) + 7}, size - 30, size - 1}) {
    SCOPED_TRACE(room);
    xmemory_stream disk;
    // One failed transfer: no pending block, no trailer after the failure.
    EXPECT_EQ(save(disk, room), std::pair(std::string("Data writing error !\nfailing stream"), 1));
    EXPECT_TRUE(test::bytes_of(disk) == whole.substr(0, std::size_t(room)));
  }
}

TEST_F(XVirtualFileSys, AFileThatReadsOtherThanItsSizeIsNotAddedAndTheArchiveGoesOn) {
  // A /proc file claims 0 bytes and reads many: no faithful copy, and a
  // failed read, not damage.
  put("ok.txt", "fine");
  xvirtual_file_sys a;
  a.create(path("a.vfs").c_str());
  EXPECT_EQ(
      raised_by([&] { a.add_file("/proc/self/status"); }),
      (raised{xerror_category::io, -1, -1, "Data reading error ! \nFile: /proc/self/status"}));
  ASSERT_TRUE(a.writing());
  a.add_file(path("ok.txt").c_str());
  a.close();
  a.open(path("a.vfs").c_str());
  ASSERT_EQ(a.files().size(), 1u);
  std::unique_ptr<xstream> s(a.get_file_stream("ok.txt"));
  EXPECT_EQ(read_all(*s), "fine");
}

// ---- Damaged archives -------------------------------------------------------

const std::string head = "VFS" + le32(2) + le32(0) + "0123456789";  // data: bytes 11 to 20

TEST_F(XVirtualFileSys, DamageIsBadDataWithItsOffset) {
  const std::string file = path("a.vfs");
  const std::string bad = "Invalid data format !\nFile: " + file,
                    cut = "Data reading error ! \nFile: " + file,
                    newer = "Unsupported format version ! Program update needed !\nFile: " + file;
  const auto scrambled = test::vfs_scrambled<std::string>;
  const std::tuple<const char*, std::string, raised> rows[] = {
      {"trailer past the end", scrambled(head + le32(0) + le32(400)), {c::bad_data, -1, 25, cut}},
      {"count past the table", scrambled(head + le32(1000) + le32(21)), {c::bad_data, -1, 21, cut}},
      {"newer version", "VFS" + le32(3) + std::string(20, '\0'), {c::newer_version, -1, 3, newer}},
      {"wrong signature", "VFX" + le32(2) + std::string(20, '\0'), {c::bad_data, -1, 0, bad}},
  };
  for (const auto& [what, bytes, want] : rows) {
    SCOPED_TRACE(what);
    put("a.vfs", bytes);
    xvirtual_file_sys a;
    EXPECT_EQ(raised_by([&] { a.open(file.c_str()); }), want);
    EXPECT_TRUE(a.files().empty());
  }
}

TEST_F(XVirtualFileSys, MembersOutsideTheDataAreaAreFlagged) {
  // A member's offset and size, and whether they lie in the data area:
  // bytes 11 to 20 (the table starts at 21).
  const std::tuple<const char*, std::uint64_t, std::uint64_t, bool> rows[] = {
      {"the whole data", 11, 10, true},
      {"empty at the table", 21, 0, true},
      {"in the header", 7, 4, false},
      {"into the table", 16, 6, false},
      {"offset and size overflow", ~0ull, 2, false}};
  for (const auto& [what, offset, size, inside] : rows) {
    SCOPED_TRACE(what);
    put("t.vfs",
        test::vfs_scrambled(head + le32(1) + le32(1) + "m" + le64(offset) + le64(size) + le32(21)));
    xvirtual_file_sys a;
    a.open(path("t.vfs").c_str());
    EXPECT_EQ(a.member_in_bounds(0), inside);
    // Even a member outside reads only bytes of the file (50 of them).
    std::unique_ptr<xstream> s(a.get_member_stream(0));
    EXPECT_EQ(
        read_all(*s).size(),
        inside ? size : std::min<std::uint64_t>(size, 50 - std::min<std::uint64_t>(offset, 50)));
  }
}

}  // namespace
}  // namespace xum
