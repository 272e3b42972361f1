// The in-memory file system under the library's file users: the file
// stream, the replacing stream, the settings store, listings and temporary
// files behave and report as they do on a disk.
#include "platform/testing/xmemory_os.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "core/xfile_utils.h"
#include "core/xreg_key.h"
#include "platform/xos.h"
#include "streams/xfile_stream.h"
#include "streams/xreplace_file_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum::platform {
namespace {

using test::error_of;

class MemoryOs : public ::testing::Test {
 protected:
  std::string get(const std::string& path) const {
    std::string bytes;
    return memory_.get(path, bytes) ? bytes : "(no file)";
  }

  xmemory_os memory_{system_os()};
  scoped_os use_{memory_};
};

TEST_F(MemoryOs, FileStreamReadsWritesAndPositions) {
  ASSERT_TRUE(memory_.make_directories("/data"));
  {
    xfile_stream f("/data/a.bin", xfile_create);
    f.write_buffer("0123456789", 10);
    f.set_size(6);
  }
  EXPECT_EQ(get("/data/a.bin"), "012345");
  {
    xfile_stream f("/data/a.bin", xfile_append);
    f.write_buffer("ab", 2);
  }
  xfile_stream f("data/../data/./a.bin", xfile_read);  // relative to the root
  char buffer[4] = {};
  EXPECT_EQ(f.seek(-4, xseek_end), 4);
  EXPECT_EQ(f.read(buffer, 4), 4);
  EXPECT_EQ(std::string(buffer, 4), "45ab");
  EXPECT_EQ(f.read(buffer, 4), 0);
  EXPECT_EQ(f.seek(-1, xseek_begin), -1);
  EXPECT_GT(xfile_age("/data/a.bin"), 0);
}

TEST_F(MemoryOs, OpenFailuresReadAsOnADisk) {
  memory_.put("/data/file.txt", "x");
  memory_.put("/data/locked.txt", "x");
  memory_.set_writable("/data/locked.txt", false);
  struct row {
    const char* name;
    int mode;
    const char* cause;
  };
  const row rows[] = {
      {"/data/gone.txt", xfile_read, "File not found !"},
      {"/nowhere/gone.txt", xfile_create, "Path not found !"},
      {"/data/file.txt/x", xfile_read, "Path not found !"},
      {"/data", xfile_read, "Permission denied !"},
      {"/data/locked.txt", xfile_write, "Permission denied !"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    EXPECT_EQ(error_of([&] { xfile_stream f(r.name, r.mode); }), std::string(r.cause) + "\nFile: " + r.name);
  }
  EXPECT_EQ(memory_.open_handles(), 0);
}

TEST_F(MemoryOs, ReplaceStreamFollowsLinksAndRefusesWhatADiskRefuses) {
  memory_.put("/data/real.txt", "1");
  ASSERT_TRUE(memory_.make_link("/data/link.txt", "real.txt"));
  {
    xreplace_file_stream out("/data/link.txt");
    out.write_buffer("2", 1);
    out.close();
  }
  EXPECT_TRUE(os().is_symbolic_link("/data/link.txt"));
  EXPECT_EQ(get("/data/real.txt"), "2");
  {
    xreplace_file_stream out("/data/link.txt", xlink_policy::replace);
    out.write_buffer("3", 1);
    out.close();
  }
  EXPECT_FALSE(os().is_symbolic_link("/data/link.txt"));
  EXPECT_EQ(get("/data/link.txt"), "3");
  EXPECT_EQ(get("/data/real.txt"), "2");

  // A read-only target and a read-only folder are refused before anything
  // is written, as a direct write would be.
  memory_.set_writable("/data/real.txt", false);
  EXPECT_EQ(error_of([] { xreplace_file_stream out("/data/real.txt"); }),
            "Permission denied !\nFile: /data/real.txt");
  memory_.set_writable("/data", false);
  EXPECT_EQ(error_of([] { xreplace_file_stream out("/data/new.txt"); }),
            "Permission denied !\nFile: /data/new.txt");
  EXPECT_EQ(memory_.entries("/data"), (std::vector<std::string>{"link.txt", "real.txt"}));
}

TEST_F(MemoryOs, AFullDiskLeavesTheReplacedFileWhole) {
  memory_.put("/data/a.txt", "old contents");
  memory_.set_capacity(20);  // 12 used: 8 more bytes fit
  const std::string message = error_of([] {
    xreplace_file_stream out("/data/a.txt");
    out.write_buffer("new contents", 12);
    out.close();
  });
  EXPECT_EQ(message, "Data writing error !\nFile: /data/a.txt\nNo space left on device");
  EXPECT_EQ(get("/data/a.txt"), "old contents");
  EXPECT_EQ(memory_.entries("/data"), std::vector<std::string>{"a.txt"});
  EXPECT_EQ(memory_.open_handles(), 0);
}

TEST_F(MemoryOs, SettingsStoreKeysAndValuesList) {
  setenv("XUM_REGISTRY_ROOT", "/home/u/registry/", 1);
  {
    xreg_key app("Software\\App", false);
    app.str_prop("Title", "Report", "");
    std::int32_t zoom = 120;
    app.binary("Zoom", &zoom, nullptr, sizeof zoom);
    xreg_key window(app, "Window/Main");
    window.str_prop("Left", "12", "");
  }
  xreg_key app("Software/App", true);
  EXPECT_EQ(app.str_prop("Title", "", "def"), "Report");
  EXPECT_EQ(app.value_names(), (std::vector<xstr>{"Title", "Zoom"}));
  EXPECT_EQ(app.key_names(), std::vector<xstr>{"Window"});
  EXPECT_EQ(get("/home/u/registry/Software/App/Window/Main/@Left"), std::string("XRV\x01" "12", 6) + '\0');
  unsetenv("XUM_REGISTRY_ROOT");
}

TEST_F(MemoryOs, ListingsMatchMasksAfterTheDots) {
  for (const char* name : {"/in/b.txt", "/in/a.TXT", "/in/c.bin", "/in/sub/d.txt"}) memory_.put(name, "");
  std::vector<std::string> found;
  xfiles_enumerator e("/in/*.txt");
  while (e.search()) found.push_back(e.get_file_name().get_text());
  EXPECT_EQ(found, (std::vector<std::string>{"a.TXT", "b.txt"}));
  xfiles_enumerator all("/in/*");
  ASSERT_TRUE(all.search());
  EXPECT_EQ(all.get_file_name(), "a.TXT");  // "." and ".." skipped by the first search
}

TEST_F(MemoryOs, OpenFilesOutliveTheirNamesAndForeignHandlesPassThrough) {
  memory_.put("/a.txt", "kept");
  xfile_stream f("/a.txt", xfile_read);
  ASSERT_TRUE(os().remove_file("/a.txt"));
  EXPECT_FALSE(os().file_exists("/a.txt"));
  char buffer[4];
  f.read_buffer(buffer, 4);
  EXPECT_EQ(std::string(buffer, 4), "kept");

  // A descriptor of the real system goes on to it.
  test::temp_dir dir;
  os_error error;
  const std::string real = (dir.path / "real.txt").string();
  const file_handle h = system_os().open_file(real.c_str(), 6, error);
  ASSERT_NE(h, invalid_handle);
  EXPECT_EQ(os().write(h, "disk", 4), 4);
  os().close(h);
  EXPECT_EQ(test::file_bytes(real), "disk");
  std::string ignored;
  EXPECT_FALSE(memory_.get(real, ignored));
}

TEST_F(MemoryOs, TemporaryFilesLiveInTheMemoryTmp) {
  std::string name;
  {
    xtemp_file t;
    name = t.get_file_name().get_text();
    EXPECT_EQ(name.rfind("/tmp/xtf", 0), 0u) << name;
    EXPECT_TRUE(os().file_exists(name.c_str()));
  }
  EXPECT_FALSE(os().file_exists(name.c_str()));
}

}  // namespace
}  // namespace xum::platform
