// The in-memory file system reports open failures as a disk does, so that
// the safe-rewrite tests, which run on both, expect the same texts.
#include "platform/testing/xmemory_os.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "platform/xos.h"
#include "streams/xfile_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum::platform {
namespace {

using test::error_of;

class MemoryOs : public ::testing::Test {
 protected:
  xmemory_os memory_{system_os()};
  scoped_os use_{memory_};
};

TEST_F(MemoryOs, OpenFailuresReadAsOnADisk) {
  memory_.put("/data/file.txt", "x");
  memory_.put("/data/locked.txt", "x");
  memory_.set_writable("/data/locked.txt", false);
  const std::tuple<const char*, int, const char*> rows[] = {
      {"/data/gone.txt", xfile_read, "File not found !"},
      {"/nowhere/gone.txt", xfile_create, "Path not found !"},
      {"/data/file.txt/x", xfile_read, "Path not found !"},
      {"/data", xfile_read, "Permission denied !"},
      {"/data/locked.txt", xfile_write, "Permission denied !"},
  };
  for (const auto& [name, mode, cause] : rows)
    EXPECT_EQ(error_of([&] { xfile_stream f(name, mode); }), std::string(cause) + "\nFile: " + name);
  EXPECT_EQ(memory_.open_handles(), 0);
}

}  // namespace
}  // namespace xum::platform
