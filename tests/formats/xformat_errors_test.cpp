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

// Every load failure is bad data with its line (text) or offset (binary),
// except a file cut short, which is a failed read; the texts stay as they
// were.
TEST(XstructFormatErrors, LoadFailuresAreBadDataWithTheirLine) {
  const std::string in = "\nbuffer stream", invalid = "Invalid data format !" + in;
  const std::pair<std::string, raised> rows[] = {
      {"TSF\r\nok=1\r\njunk line\r\n",
       {c::bad_data, 3, -1, "Key without value ! Key: junk line" + in}},
      {"a=1\n\n=5 \n", {c::bad_data, 3, -1, "Value without key ! Value: 5" + in}},
      {"<S\n k=1\n k=2", {c::bad_data, 3, -1, "Key duplication ! Key: k" + in}},  // no last break
      {std::string("\x01\x02\x03\x04", 4), {c::bad_data, -1, 0, invalid}},  // no signature, no text
      {std::string("BSF\0\0\0\0\0\x01\0\x05\0\x01", 13),
       {c::bad_data, -1, 10, invalid}},                       // no label 5
      {"BSF", {c::io, -1, 3, "Data reading error ! " + in}},  // ends after its signature: cut short
  };
  for (const auto& [bytes, want] : rows) {
    SCOPED_TRACE(bytes.substr(0, 20));
    xbuffer_stream s(bytes.data(), static_cast<int>(bytes.size()));
    xstruct_format f;
    EXPECT_EQ(raised_by([&] { f.open_stream(s, xstream_read, false); }), want);
  }
}

TEST(XstructFormatErrors, AValueThatDoesNotConvertNamesItsFileAndLine) {
  test::temp_dir dir;
  const fs::path file = dir.path / "settings.txt";
  std::ofstream(file, std::ios::binary) << "TSFid\r\n"
                                           "Count=abc\r\n"
                                           "<S\r\n"
                                           "  x=1\r\n"
                                           ">\r\n"
                                           "\r\n"
                                           "<S\r\n"  // the same section again: merged
                                           "  <#0\r\n"
                                           "    #0=seven\r\n"
                                           "  > (#0)\r\n"
                                           "  n = 3\r\n"  // the key "n " holds a blank
                                           "  n=oops\r\n"
                                           "> (S)\r\n";
  xstruct_format f;
  f.open_file(file.c_str(), xfile_read);
  const std::string where = "\nFile: " + file.string();
  raised got = raised_by([&] { f.prop_int64("Count", 0, 0, false); });
  EXPECT_EQ(got.category, c::bad_data);
  EXPECT_EQ(got.text, "Integer number expected ! Key: Count" + where);
  EXPECT_EQ(got.line, 2);
  ASSERT_TRUE(f.begin_section("S"));
  got = raised_by([&] { f.real_prop("n", 0.0, 0.0, false); });
  EXPECT_EQ(got.text, "Number expected ! Key: n" + where);
  EXPECT_EQ(got.line, 12);
  f.end_section();
  // The file gone, the line is unknown; the message still names it.
  fs::remove(file);
  got = raised_by([&] { f.prop_int64("Count", 0, 0, false); });
  EXPECT_EQ(got.line, -1);
  EXPECT_EQ(got.text, "Integer number expected ! Key: Count" + where);
}

TEST(XstructValueErrors, AValueThatDoesNotConvertThrowsAStdException) {
  const xstruct_value v(0, "abc");
  for (const bool as_integer : {true, false}) {
    try {
      as_integer ? static_cast<double>(v.as_int64()) : v.as_double();
      ADD_FAILURE() << "converted";
    } catch (const std::exception& e) {
      EXPECT_STREQ(e.what(),
                   as_integer ? "Integer number expected ! Key: " : "Number expected ! Key: ");
    }
  }
}

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
