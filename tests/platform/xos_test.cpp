// The system's implementation of the interface: how its failures are
// categorised and worded, the safe-replacement steps, and the test hook.
#include "platform/xos.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include "platform/testing/xos_wrapper.h"
#include "tests/support/xtest_helpers.h"

namespace xum::platform {
namespace {

namespace fs = std::filesystem;

class SystemOs : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return (dir_.path / name).string(); }
  void put(const std::string& name, const std::string& bytes) const { test::put_file(dir_.path / name, bytes); }

  xos& os_ = system_os();
  test::temp_dir dir_;
};

TEST_F(SystemOs, OpenFailuresCarryACategoryAndTheSystemText) {
  put("file.txt", "x");
  fs::create_directory(dir_.path / "folder");
  struct row {
    std::string name;
    int mode;
    os_errc code;     // as open_file reports it
    os_errc missing;  // what which_missing then tells (none: not asked)
    const char* text;
  };
  const row rows[] = {
      {path("gone.txt"), 1, os_errc::not_found, os_errc::file_not_found, "No such file or directory"},
      {path("no/gone.txt"), 6, os_errc::not_found, os_errc::path_not_found, "No such file or directory"},
      {path("file.txt/x"), 1, os_errc::path_not_found, os_errc::none, "Not a directory"},
      {path("folder"), 1, os_errc::access_denied, os_errc::none, "Is a directory"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    os_error error;
    EXPECT_EQ(os_.open_file(r.name.c_str(), r.mode, error), invalid_handle);
    EXPECT_EQ(error.code, r.code);
    EXPECT_EQ(error.text, r.text);
    if (r.missing != os_errc::none) {
      EXPECT_EQ(os_.which_missing(r.name.c_str()), r.missing);
    }
  }
}

TEST_F(SystemOs, AFullDeviceIsNoSpaceWithTheSystemsWords) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  os_error error;
  const file_handle f = os_.open_file("/dev/full", 2, error);
  ASSERT_NE(f, invalid_handle) << error.text;
  os_error write_error;
  EXPECT_EQ(os_.write(f, "abc", 3, &write_error), 0);
  EXPECT_EQ(write_error.code, os_errc::no_space);
  // The same words a double stages for the category.
  EXPECT_EQ(make_os_error(os_errc::no_space).text, write_error.text);
  os_.close(f);
}

TEST_F(SystemOs, ReplaceFileLeavesOnlyTheNewContents) {
  put("a.bin", "old");
  fs::permissions(dir_.path / "a.bin", fs::perms::owner_read | fs::perms::owner_write);
  os_error error;
  ASSERT_TRUE(os_.replace_file(path("a.bin").c_str(), "new!", 4, error)) << error.text;
  EXPECT_EQ(test::file_bytes(dir_.path / "a.bin"), "new!");
  EXPECT_EQ(fs::status(dir_.path / "a.bin").permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path), fs::directory_iterator()), 1);

  // A missing folder: nothing made, the category a direct write reports.
  EXPECT_FALSE(os_.replace_file(path("no/a.bin").c_str(), "x", 1, error));
  EXPECT_EQ(error.code, os_errc::path_not_found);
}

TEST_F(SystemOs, TemporaryFilesSitBesideTheirTarget) {
  std::string temp;
  os_error error;
  const file_handle f = os_.create_temp_beside(path("settings.tsf").c_str(), temp, error);
  ASSERT_NE(f, invalid_handle) << error.text;
  const std::string name = fs::path(temp).filename().string();
  EXPECT_EQ(fs::path(temp).parent_path(), dir_.path);
  EXPECT_EQ(name.rfind(".settings.tsf.", 0), 0u) << name;
  EXPECT_EQ(name.size(), std::string(".settings.tsf.XXXXXX.tmp").size()) << name;
  EXPECT_TRUE(os_.close_checked(f, error));
  ASSERT_TRUE(os_.rename_over(temp.c_str(), path("settings.tsf").c_str(), true, error)) << error.text;
  EXPECT_FALSE(os_.rename_over(temp.c_str(), path("other").c_str(), false, error));
  EXPECT_EQ(error.code, os_errc::not_found);
}

// A file's time needs the file opened for reading, so a folder has none;
// an entry's time is any entry's, folders included, links followed.
TEST_F(SystemOs, ModificationTimesOfFilesAndOfAnyEntry) {
  put("a.txt", "x");
  fs::create_directory(dir_.path / "sub");
  const auto stamp = [](const local_time& t) {
    return ((t.year * 100LL + t.month) * 100 + t.day) * 1000000LL + t.hour * 10000 + t.minute * 100 +
           t.second;
  };
  // 2021-03-04 05:06:07 local time on both.
  local_time set{};
  ASSERT_TRUE(os_.local_time_of(1614834367, set));
  for (const char* name : {"a.txt", "sub"})
    fs::last_write_time(dir_.path / name, fs::file_time_type::clock::from_sys(
                                              std::chrono::sys_seconds(std::chrono::seconds(1614834367))));
  local_time t{};
  EXPECT_FALSE(os_.file_modification_time(path("sub").c_str(), t));
  ASSERT_TRUE(os_.entry_modification_time(path("sub").c_str(), t));
  EXPECT_EQ(stamp(t), stamp(set));
  ASSERT_TRUE(os_.file_modification_time(path("a.txt").c_str(), t));
  EXPECT_EQ(stamp(t), stamp(set));
  fs::create_symlink(dir_.path / "sub", dir_.path / "link");
  ASSERT_TRUE(os_.entry_modification_time(path("link").c_str(), t));
  EXPECT_EQ(stamp(t), stamp(set)) << "the link's target's time";
  EXPECT_FALSE(os_.entry_modification_time(path("missing").c_str(), t));
}

// The started program runs on after the call, in a session of its own, with
// its arguments as given; what cannot be started says why.
TEST_F(SystemOs, DetachedProcessesRunWithTheirArgumentsAndFailuresSayWhy) {
  put("plain.txt", "not a program");
  const std::string out = path("out.txt");
  os_error error;
  ASSERT_TRUE(os_.start_detached_process(
      {"sh", "-c", "printf '%s|%s' \"$1\" \"$(cut -d' ' -f6 /proc/$$/stat)\" > \"$0.part\" && mv \"$0.part\" \"$0\"",
       out, "two words"},
      error))
      << error.text;
  EXPECT_FALSE(error);
  for (int i = 0; i < 500 && !fs::exists(out); ++i) os_.sleep_ms(10);
  std::string got;
  ASSERT_TRUE(os_.read_whole_file(out.c_str(), got)) << "the program never ran";
  const std::string own_session = std::to_string(getsid(0));
  EXPECT_EQ(got.substr(0, got.find('|')), "two words");
  EXPECT_NE(got.substr(got.find('|') + 1), own_session) << "still in the caller's session";

  struct row {
    std::vector<std::string> argv;
    os_errc code;
  };
  const row rows[] = {
      {{"xum-no-such-program-anywhere"}, os_errc::not_found},
      {{path("gone")}, os_errc::not_found},
      {{path("plain.txt")}, os_errc::access_denied},
      {{}, os_errc::invalid_access},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.argv.empty() ? "(no program)" : r.argv[0]);
    os_error failed;
    EXPECT_FALSE(os_.start_detached_process(r.argv, failed));
    EXPECT_EQ(failed.code, r.code);
    EXPECT_FALSE(failed.text.empty());
  }
}

// A double that only counts the existence tests it answers.
class counting_os final : public xos_wrapper {
 public:
  using xos_wrapper::xos_wrapper;
  bool file_exists(const char* path) noexcept override {
    ++asked;
    return xos_wrapper::file_exists(path);
  }
  int asked = 0;
};

TEST(ScopedOs, InstallsAndRestoresInNestedOrder) {
  xos_wrapper outer(system_os()), inner(system_os());
  EXPECT_EQ(&os(), &system_os());
  {
    scoped_os use_outer(outer);
    {
      scoped_os use_inner(inner);
      EXPECT_EQ(&os(), &inner);
    }
    EXPECT_EQ(&os(), &outer);
  }
  EXPECT_EQ(&os(), &system_os());
}

}  // namespace
}  // namespace xum::platform
