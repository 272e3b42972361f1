// The category and place of the formats' failures: what a program catches
// by class (XEBadData, XENewerVersion, XEIOError) and where it learns the
// line or offset, while the texts stay as they were.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "core/xexceptions.h"
#include "formats/xstruct_format.h"
#include "formats/xvirtual_file_sys.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;
using c = xerror_category;

using test::raised;
using test::raised_by;

std::string le32(std::uint32_t v) { return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; }

TEST(XVirtualFileSysErrors, DamageIsBadDataWithItsOffset) {
  test::temp_dir dir;
  const std::string head = "VFS" + le32(2) + le32(0) + "0123456789";  // data: bytes 11 to 20
  const fs::path file = dir.path / "a.vfs";
  const std::string bad = "Invalid data format !\nFile: " + file.string(),
                    cut = "Data reading error ! \nFile: " + file.string();
  const std::tuple<const char*, std::string, raised> rows[] = {
      {"trailer past the end",
       test::vfs_scrambled(head + le32(0) + le32(400)),
       {c::bad_data, -1, 25, cut}},
      {"table count beyond the table",
       test::vfs_scrambled(head + le32(1000) + le32(21)),
       {c::bad_data, -1, 21, cut}},
      {"newer version",
       "VFS" + le32(3) + std::string(20, '\0'),
       {c::newer_version, -1, 3,
        "Unsupported format version ! Program update needed !\nFile: " + file.string()}},
      {"wrong signature", "VFX" + le32(2) + std::string(20, '\0'), {c::bad_data, -1, 0, bad}},
  };
  for (const auto& [what, bytes, want] : rows) {
    SCOPED_TRACE(what);
    test::put_file(file, bytes);
    xvirtual_file_sys a;
    EXPECT_EQ(raised_by([&] { a.open(file.c_str()); }), want);
    EXPECT_TRUE(a.files().empty());
  }
}

}  // namespace
}  // namespace xum
