#include "streams/xfile_stream.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <tuple>

#include "tests/support/xtest_helpers.h"

#include "core/xexceptions.h"
#include "core/xvirtual_fs.h"
#include "streams/xmemory_stream.h"

namespace fs = std::filesystem;

namespace xum {
namespace {

// A fresh folder per test and helpers to put and read whole files.
class XFileStream : public ::testing::Test {
 protected:
  xstr path(const char* name) const { return xstr((dir_.path / name).string().c_str()); }
  void put(const char* name, const std::string& content) const { test::put_file(dir_.path / name, content); }
  std::string get(const char* name) const { return test::file_bytes(dir_.path / name); }
  // The failure that opening `name` in `mode` reports.
  static test::raised opened(const xstr& name, int mode) {
    return test::raised_by([&] { xfile_stream f(name, mode); });
  }
  static std::string open_error(const xstr& name, int mode) { return opened(name, mode).text; }

  test::temp_dir dir_;
};

TEST_F(XFileStream, ModesOpenPositionAndTruncateAsNamed) {
  // Mode, position after the open, the file after writing "ab".
  const std::tuple<int, std::int64_t, const char*> rows[] = {
      {xfile_write, 0, "ab23456789"},      // from the start, no truncation
      {xfile_create, 0, "ab"},             // truncates
      {xfile_append, 10, "0123456789ab"},  // positioned at the end
  };
  for (const auto& [mode, start, after] : rows) {
    SCOPED_TRACE(mode);
    put("f.txt", "0123456789");
    {
      xfile_stream f(path("f.txt"), mode);
      EXPECT_EQ(f.get_position(), start);
      f.write_buffer("ab", 2);
    }
    EXPECT_EQ(get("f.txt"), after);
  }
}

TEST_F(XFileStream, SeeksAnswerAsTheSystemWouldWithOrWithoutAskingIt) {
  put("f.txt", "0123456789");
  {
    xfile_stream f(path("f.txt"), xfile_read_write);
    xfile_stream other(path("f.txt"), xfile_read);
    EXPECT_EQ(f.seek(INT64_MAX, xseek_begin), INT64_MAX);
    EXPECT_EQ(f.seek(1, xseek_current), -1);  // beyond 2^63
    EXPECT_EQ(f.seek(-11, xseek_end), -1);    // before the start
    EXPECT_EQ(f.get_position(), INT64_MAX);
    char b[4] = {};
    f.seek(12, xseek_begin);
    f.write_buffer("C", 1);  // past the end: the gap reads as zeros
    EXPECT_EQ(other.read(b, 3), 3);  // each stream has a position of its own
    EXPECT_EQ(std::string(b, 3), "012");
  }
  EXPECT_EQ(get("f.txt"), std::string("0123456789\0\0C", 13));

  // A pipe has no positions: reads go in order and seeks fail.
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::write(ends[1], "pipe", 4), 4);
  ::close(ends[1]);
  {
    xfile_stream p(xstr(("/dev/fd/" + std::to_string(ends[0])).c_str()), xfile_read);
    char b[8] = {};
    EXPECT_EQ(p.read(b, 8), 4);
    EXPECT_EQ(p.seek(1, xseek_begin), -1);
  }
  ::close(ends[0]);
}

// A known file is opened without asking whether it exists: a directory in
// its place is found by the read, a missing one still by the open.
TEST_F(XFileStream, AKnownFileReopensWithoutASecondLook) {
  xfile_stream f;
  char b[8] = {};
  fs::create_directory(dir_.path / "d");
  f.open_known_file(path("d"));
  EXPECT_EQ(f.read(b, 8), 0);
  EXPECT_EQ(test::error_of([&] { f.open_known_file(path("gone.bin")); }).rfind("File not found !", 0), 0u);
}

TEST_F(XFileStream, OpenFailuresReportTheirCauseAndTheName) {
  put("file", "x");
  fs::create_directory(dir_.path / "sub");
  // Name, mode, cause and the category a program branches on.
  constexpr auto not_found = xerror_category::not_found, permission = xerror_category::permission;
  const std::tuple<const char*, int, const char*, xerror_category> rows[] = {
      {"missing.txt", xfile_read, "File not found !", not_found},
      {"nodir/a.txt", xfile_create, "Path not found !", not_found},
      {"file/a.txt", xfile_read, "Path not found !", not_found},  // a file used as a directory
      {"sub", xfile_create, "Permission denied !", permission},   // a directory is not a file
  };
  for (const auto& [file, mode, cause, category] : rows) {
    SCOPED_TRACE(file);
    const xstr name = path(file);
    EXPECT_EQ(opened(name, mode), (test::raised{category, -1, -1, cause + ("\nFile: " + name.str())}));
  }
  // A read-only file opened for writing (unless running with override rights).
  put("ro.txt", "x");
  fs::permissions(dir_.path / "ro.txt", fs::perms::owner_read);
  if (::access((dir_.path / "ro.txt").c_str(), W_OK) != 0) {
    EXPECT_EQ(open_error(path("ro.txt"), xfile_write), "Permission denied !\nFile: " + (dir_.path / "ro.txt").string());
  }
}

TEST_F(XFileStream, TooManyOpenFilesIsReported) {
#ifdef __SANITIZE_ADDRESS__
  // The sanitizer runtime opens descriptors of its own while checking, so it
  // cannot run with none left.
  GTEST_SKIP() << "needs every descriptor, which the sanitizer runtime competes for";
#endif
  put("f.txt", "x");
  const xstr name = path("f.txt");
  EXPECT_EXIT(
      {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = 8;
        setrlimit(RLIMIT_NOFILE, &limit);
        for (int i = 0; i < 8; ++i) ::dup(0);  // use up the descriptors
        const test::raised got = opened(name, xfile_read);
        if (got.category != xerror_category::io) std::exit(4);
        std::exit(got.text == std::string("Too many open files !\nFile: ") + name.get_text() ? 0 : 3);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(XFileStream, SetSizeCutsOrExtendsWithZerosAndStaysThere) {
  put("f.bin", "0123456789");
  {
    xfile_stream f(path("f.bin"), xfile_read_write);
    f.set_size(4);
    EXPECT_EQ(f.get_position(), 4);
    f.set_size(6);
    EXPECT_EQ(f.get_position(), 6);
  }
  EXPECT_EQ(get("f.bin"), std::string("0123\0\0", 6));
}

// A read-only stream over a fixed text that counts its destruction.
struct text_stream final : xbuffer_stream {
  int* destroyed;
  explicit text_stream(int* d) : xbuffer_stream("archived", 8), destroyed(d) {}
  ~text_stream() override { ++*destroyed; }
};

class fake_archive final : public xvirtual_fs_interface {
 public:
  xstream* get_file_stream(const xstr& name) override {
    ++asked;
    return name.str_last_pos("inside.txt") >= 0 ? new text_stream(&destroyed) : nullptr;
  }
  bool is_file_exists(const xstr& name) override { return name.str_last_pos("inside.txt") >= 0; }
  int asked = 0;
  int destroyed = 0;
};

TEST_F(XFileStream, MissingFileForReadingComesFromTheArchive) {
  fake_archive archive;
  xvirtual_fs_interface::set(&archive);
  put("disk.txt", "on disk");
  char b[16] = {};
  {
    xfile_stream f(path("inside.txt"), xfile_read);
    EXPECT_EQ(f.read(b, 16), 8);
    EXPECT_STREQ(b, "archived");
    xfile_stream disk(path("disk.txt"), xfile_read);  // present on disk: not asked
    EXPECT_EQ(archive.asked, 1);
    f.close();
    EXPECT_EQ(archive.destroyed, 1);
  }
  EXPECT_EQ(open_error(path("inside.txt"), xfile_write).rfind("File not found !", 0), 0u);
  xvirtual_fs_interface::set(nullptr);
}

}  // namespace
}  // namespace xum
