#include "streams/xreplace_file_stream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/xtest_helpers.h"

namespace fs = std::filesystem;

namespace xum {
namespace {

using test::error_of;
using test::file_bytes;

void put(const fs::path& p, const std::string& bytes) { test::put_file(p, bytes); }

// The folder's entries other than `keep`: what a failed or abandoned
// replacement must not leave behind.
int strays(const fs::path& dir, const fs::path& keep) {
  int n = 0;
  for (const auto& e : fs::directory_iterator(dir)) n += e.path() != keep;
  return n;
}

TEST(XReplaceFileStream, ReplacesOnlyAtCloseAndKeepsPermissions) {
  test::temp_dir dir;
  const fs::path target = dir.path / "settings.txt";
  const auto perms = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
  put(target, "old contents");
  fs::permissions(target, perms);
  {
    xreplace_file_stream out(target.c_str());
    out.write_buffer("lost", 4);
  }  // abandoned, as when an exception in the writer unwinds through here
  {
    xreplace_file_stream out(target.c_str());
    out.write_buffer("lost", 4);
    out.discard();
    out.close();  // nothing left to replace
  }
  EXPECT_EQ(file_bytes(target), "old contents");
  EXPECT_EQ(strays(dir.path, target), 0);
  xreplace_file_stream out(target.c_str());
  out.write_buffer("new", 3);
  // Until close the target holds the old bytes, and the new ones sit beside it.
  EXPECT_EQ(file_bytes(target), "old contents");
  EXPECT_EQ(fs::path(out.temp_name().get_text()).parent_path(), dir.path);
  out.close();
  EXPECT_EQ(file_bytes(target), "new");
  EXPECT_EQ(fs::status(target).permissions() & fs::perms::all, perms);
  EXPECT_EQ(strays(dir.path, target), 0);
}

TEST(XReplaceFileStream, CreatesAMissingFileAndRefusesWhatADirectWriteWould) {
  test::temp_dir dir;
  const fs::path fresh = dir.path / "new.txt";
  xreplace_file_stream out(fresh.c_str());
  out.write_buffer("x", 1);
  out.close();
  EXPECT_EQ(file_bytes(fresh), "x");

  EXPECT_EQ(error_of([&] { xreplace_file_stream((dir.path / "no/such.txt").c_str()); }),
            "Path not found !\nFile: " + (dir.path / "no/such.txt").string());
  EXPECT_EQ(error_of([&] { xreplace_file_stream(dir.path.c_str()); }),
            "Permission denied !\nFile: " + dir.path.string());
  if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
  fs::permissions(fresh, fs::perms::owner_read);
  EXPECT_EQ(error_of([&] { xreplace_file_stream(fresh.c_str()); }),
            "Permission denied !\nFile: " + fresh.string());
  EXPECT_EQ(file_bytes(fresh), "x");
}

TEST(XReplaceFileStream, FollowsALinkUnlessToldToReplaceIt) {
  test::temp_dir dir;
  const fs::path real = dir.path / "real.txt", link = dir.path / "link.txt";
  put(real, "1");
  fs::create_symlink("real.txt", link);
  xreplace_file_stream follow(link.c_str());
  follow.write_buffer("2", 1);
  follow.close();
  EXPECT_EQ(file_bytes(real), "2");

  xreplace_file_stream replace(link.c_str(), xlink_policy::replace);
  replace.write_buffer("3", 1);
  replace.close();
  EXPECT_FALSE(fs::is_symlink(link));
  EXPECT_EQ(file_bytes(real), "2");
}

}  // namespace
}  // namespace xum
