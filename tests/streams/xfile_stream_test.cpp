#include "streams/xfile_stream.h"

#include <unistd.h>

#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <tuple>

#include <gtest/gtest.h>

#include "streams/xreplace_file_stream.h"
#include "tests/support/xtest_helpers.h"

namespace fs = std::filesystem;

namespace xum {
namespace {

// A fresh folder per test and helpers to put and read whole files.
class XFileStream : public ::testing::Test {
 protected:
  xstr path(const char* name) const { return xstr((dir_.path / name).string().c_str()); }
  void put(const char* name, const std::string& content) const {
    test::put_file(dir_.path / name, content);
  }
  std::string get(const char* name) const { return test::file_bytes(dir_.path / name); }
  // The failure that opening `name` in `mode` reports.
  static test::raised opened(const xstr& name, int mode) {
    return test::raised_by([&] { xfile_stream f(name, mode); });
  }

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

// The new bytes sit beside the target until close renames them over it,
// keeping its permissions and, unless told to replace it, a link to it.
TEST_F(XFileStream, AReplacementAppearsAtCloseKeepingPermissionsAndLinks) {
  const auto perms = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
  put("real.txt", "old");
  fs::permissions(dir_.path / "real.txt", perms);
  fs::create_symlink("real.txt", dir_.path / "link.txt");
  xreplace_file_stream follow(path("link.txt"));
  follow.write_buffer("new", 3);
  EXPECT_EQ(get("real.txt"), "old");
  follow.close();
  EXPECT_EQ(get("real.txt"), "new");
  EXPECT_EQ(fs::status(dir_.path / "real.txt").permissions() & fs::perms::all, perms);
  xreplace_file_stream replace(path("link.txt"), xlink_policy::replace);
  replace.write_buffer("3", 1);
  replace.close();
  EXPECT_FALSE(fs::is_symlink(dir_.path / "link.txt"));
  EXPECT_EQ(get("real.txt"), "new");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path), {}), 2);  // no temporary file left
  // A missing folder is refused before anything is written.
  EXPECT_EQ(test::error_of([&] { xreplace_file_stream(path("no/such.txt")); }),
            "Path not found !\nFile: " + path("no/such.txt").str());
}

}  // namespace
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
        std::exit(got.text == std::string("Too many open files !\nFile: ") + name.get_text() ? 0
                                                                                             : 3);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace xum
