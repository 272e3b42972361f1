#include "formats/xvirtual_file_sys.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "formats/xstruct_format.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xfailing_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;

// The archive's bytes made plain by an independent rule (XOR is its own
// inverse).
std::string plain(const std::string& b) { return test::vfs_scrambled(b); }

std::string le32(std::uint32_t v) { return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; }
std::string le64(std::uint64_t v) { return le32(std::uint32_t(v)) + le32(std::uint32_t(v >> 32)); }

class XVirtualFileSys : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(dir_ / "sub"); }
  void TearDown() override { xvirtual_fs_interface::set(nullptr); }
  xstr path(const std::string& name) const { return xstr((dir_ / name).string().c_str()); }
  void put(const std::string& name, const std::string& content) const {
    test::put_file(dir_ / name, content);
  }
  std::string file(const std::string& name) const { return test::file_bytes(dir_ / name); }

 public:
  static std::string read_all(xstream& s) {
    std::string out;
    char b[7];
    for (int n; (n = s.read(b, sizeof b)) > 0;) out.append(b, std::size_t(n));
    return out;
  }
  test::temp_dir temp_;
  const fs::path dir_ = temp_.path;
};

TEST_F(XVirtualFileSys, ByteLayoutOfAnEmptyAndASmallArchive) {
  xvirtual_file_sys a;
  a.set_header_value(0x01020304);
  a.create(path("empty.vfs"));
  a.close();
  EXPECT_EQ(plain(file("empty.vfs")), "VFS" + le32(2) + le32(0x01020304) + le32(0) + le32(11));

  put("sub/One.txt", "first");
  put("two.bin", "");
  a.create(path("small.vfs"));
  a.add_file(path("sub/One.txt"));
  a.add_file(path("two.bin"));
  EXPECT_THROW(a.open(path("missing.vfs")), XException);  // closes first: the archive is complete
  EXPECT_FALSE(a.writing());
  const std::string want = "VFS" + le32(2) + le32(0x01020304) + "first" + le32(2) + le32(7) +
                           "One.txt" + le64(11) + le64(5) + le32(7) + "two.bin" + le64(16) +
                           le64(0) + le32(16);
  EXPECT_EQ(plain(file("small.vfs")), want);

  a.open(path("small.vfs"));
  ASSERT_EQ(a.files().size(), 2u);
  EXPECT_EQ(a.files()[1]->offset, 16u);
}

TEST_F(XVirtualFileSys, LookupsIgnoreCaseAndDirectory) {
  put("readme.txt", "read me");
  put("Data.BIN", "0123456789");
  put("sub/readme.txt", "a second readme");
  put("empty.dat", "");
  {
    xvirtual_file_sys a;
    a.create(path("a.vfs"));
    for (const char* f : {"readme.txt", "Data.BIN", "sub/readme.txt", "empty.dat"})
      a.add_file(path(f));
  }
  xvirtual_file_sys a;
  a.open(path("a.vfs"));
  EXPECT_TRUE(a.is_file_exists("Readme.TXT"));
  EXPECT_TRUE(a.is_file_exists("docs\\readme.txt"));
  EXPECT_FALSE(a.is_file_exists("readme"));
  std::unique_ptr<xstream> s(a.get_file_stream("docs/README.txt"));
  ASSERT_TRUE(s);
  EXPECT_EQ(read_all(*s), "read me");  // the first of two equal names
  xstr name;
  EXPECT_TRUE(a.file_by_ext(".bin", name));
  EXPECT_EQ(name, "Data.BIN");  // as added

  // Two member streams read alternately give their own bytes.
  std::unique_ptr<xstream> x(a.get_file_stream("data.bin")), y(a.get_file_stream("data.bin"));
  std::string from_x, from_y;
  char b[3];
  for (int i = 0; i < 4; ++i) {
    from_x.append(b, std::size_t(x->read(b, 3)));
    from_y.append(b, std::size_t(y->read(b, 2)));
  }
  EXPECT_EQ(from_x, "0123456789");
  EXPECT_EQ(from_y, "01234567");
}

TEST_F(XVirtualFileSys, TheIndexKeepsTheFirstOfThousandsOfNames) {
  // Enough names for the index to grow many times, each added twice in
  // another case; both while writing and after reading the table back.
  constexpr int kNames = 3000;
  xvirtual_file_sys a;
  a.create(path("many.vfs"));
  for (int round = 0; round < 2; ++round)
    for (int i = 0; i < kNames; ++i) {
      const std::string name = (round ? "FILE_" : "file_") + std::to_string(i) + ".txt";
      const std::string body = std::to_string(round * kNames + i);
      xbuffer_stream data(body.data(), int(body.size()));
      a.add_stream(xstr(name.c_str()), data);
    }
  xbuffer_stream none(nullptr, 0);
  a.add_stream("dir/stored.txt", none);  // a name the format would not store
  for (int pass = 0; pass < 2; ++pass) {
    SCOPED_TRACE(pass ? "read back" : "while writing");
    for (int i = 0; i < kNames; i += 7)
      EXPECT_EQ(a.find(xstr(("File_" + std::to_string(i) + ".TXT").c_str())), i);
    EXPECT_EQ(a.find("dir/stored.txt"), -1);  // compared without the directory
    if (pass == 0) a.close(), a.open(path("many.vfs"));
  }
}

TEST_F(XVirtualFileSys, VersionOneHasNoHeaderValue) {
  // Version 1: no header value; the rest is keyed by absolute position.
  // (Newer versions are refused in xformat_errors_test.)
  put("v1.vfs",
      "VFS" + le32(1) +
          test::scrambled("hello" + le32(1) + le32(5) + "a.txt" + le64(7) + le64(5) + le32(12), 7));
  xvirtual_file_sys a;
  a.open(path("v1.vfs"));
  EXPECT_EQ(a.header_value(), 100);
  std::unique_ptr<xstream> s(a.get_file_stream("A.TXT"));
  EXPECT_EQ(read_all(*s), "hello");
}

TEST_F(XVirtualFileSys, ArchiveCompiledIntoTheProgram) {
  // tests/formats/data/sample.vfs is embedded as resource "#40", type 10
  // (see tests/CMakeLists.txt).
  xresource_file_sys a(nullptr, 40, xrt_rcdata);
  a.open("");
  ASSERT_TRUE(a.is_file_exists("greeting.txt"));
  std::unique_ptr<xstream> s(a.get_file_stream("greeting.txt"));
  EXPECT_EQ(read_all(*s), "Hello from inside the program.\n");
}

// ---- Writing safely ---------------------------------------------------------

// The folder's entries other than `keep`: a temporary file left behind.
int strays(const fs::path& dir, const fs::path& keep) {
  int n = 0;
  for (const auto& e : fs::directory_iterator(dir)) n += e.path() != keep;
  return n;
}

std::string pattern(std::size_t n) {
  std::string s(n, '\0');
  for (std::size_t i = 0; i < n; ++i) s[i] = char(i * 131 >> 5);
  return s;
}

TEST(XVirtualFileSysWriting, AnExistingArchiveIsReplacedOnlyAtClose) {
  test::temp_dir dir;
  const fs::path target = dir.path / "a.vfs", input = dir.path / "in" / "one.txt";
  test::put_file(target, "old archive");
  test::put_file(input, "one");
  xvirtual_file_sys a;
  a.create(target.c_str());
  a.add_file(input.c_str());
  EXPECT_EQ(test::file_bytes(target), "old archive");
  EXPECT_EQ(strays(dir.path, target), 2);  // "in" and the new archive beside the old
  a.close();
  a.open(target.c_str());
  ASSERT_EQ(a.files().size(), 1u);
  EXPECT_EQ(strays(dir.path, target), 1);
  // Abandoned: the destructor of an archive whose close cannot succeed, or
  // discard(), leaves the old archive.
  const std::string complete = test::file_bytes(target);
  a.create(target.c_str());
  a.add_file(input.c_str());
  a.discard();
  EXPECT_FALSE(a.writing());
  a.close();
  EXPECT_EQ(test::file_bytes(target), complete);
  EXPECT_EQ(strays(dir.path, target), 1);
}

TEST(XVirtualFileSysWriting, AFailedWriteEndsTheArchiveAndNothingMoreReachesTheTarget) {
  // 3 MiB of data: the 1 MiB buffer under the format passes blocks on while
  // members are added, and the rest at close.
  const std::string data = pattern(3 << 20);
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
  for (std::int64_t room :
       {std::int64_t{0}, std::int64_t{11}, std::int64_t{(1 << 20) + 7}, size - 30, size - 1}) {
    SCOPED_TRACE(room);
    xmemory_stream disk;
    // One failed transfer: no pending block, no trailer after the failure.
    EXPECT_EQ(save(disk, room), std::pair(std::string("Data writing error !\nfailing stream"), 1));
    EXPECT_TRUE(test::bytes_of(disk) == whole.substr(0, std::size_t(room)));
  }
}

TEST(XVirtualFileSysWriting, AFileThatReadsOtherThanItsSizeIsNotAdded) {
  // A /proc file claims 0 bytes and reads many: no faithful copy.
  test::temp_dir dir;
  const fs::path target = dir.path / "a.vfs", ok = dir.path / "ok.txt";
  std::ofstream(ok) << "fine";
  xvirtual_file_sys a;
  a.create(target.c_str());
  // A failed read, not damage.
  EXPECT_EQ(test::raised_by([&] { a.add_file("/proc/self/status"); }),
            (test::raised{xerror_category::io, -1, -1,
                          "Data reading error ! \nFile: /proc/self/status"}));
  ASSERT_TRUE(a.writing());  // the archive goes on
  a.add_file(ok.c_str());
  a.close();
  a.open(target.c_str());
  EXPECT_EQ(a.files().size(), 1u);
}

// ---- Damaged tables ---------------------------------------------------------

TEST_F(XVirtualFileSys, MembersOutsideTheDataAreaAreFlagged) {
  // A member's offset and size, and whether they lie in the data area of
  // the archive below: bytes 11 to 20 (the table starts at 21).
  const std::tuple<const char*, std::uint64_t, std::uint64_t, bool> rows[] = {
      {"the whole data", 11, 10, true},
      {"empty at the table", 21, 0, true},
      {"in the header", 7, 4, false},
      {"into the table", 16, 6, false},
      {"offset and size overflow", ~0ull, 2, false}};
  for (const auto& [what, offset, size, inside] : rows) {
    SCOPED_TRACE(what);
    const std::string table = le32(1) + le32(1) + "m" + le64(offset) + le64(size);
    put("t.vfs", plain("VFS" + le32(2) + le32(0) + "0123456789" + table + le32(21)));
    xvirtual_file_sys a;
    a.open(path("t.vfs"));
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
