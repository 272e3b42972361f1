// Runs `xum bmp` as a user would and checks exit codes, outputs and files.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "imaging/xbmp.h"
#include "tests/support/xtest_helpers.h"
#include "tests/support/xtool_run.h"

namespace {

namespace fs = std::filesystem;
using xum::test::file_bytes;
using xum::test::has;
using xum::test::temp_dir;

// A shell command line in which $XUM is the tool, its outputs caught.
xum::test::tool_result shell(const std::string& line) { return xum::test::run_tool(line); }

const std::string suite = XUM_BMPSUITE_DIR;
const std::string demo_glyph = XUM_DEMO_GLYPH;

xum::xbmp loaded(const fs::path& p) {
  xum::xbmp b;
  b.load(xum::xstr(p.string()));
  return b;
}

TEST(XumBmp, InfoDescribesHeadersAndWhatTheLoaderDoes) {
  if (!fs::is_directory(suite)) GTEST_SKIP() << "no suite at " << suite;
  struct row {
    std::string file;
    std::string part1, part2;
  } rows[] = {
      {"pal8v5.bmp", "palette at 138", "loader: 127 x 64, 24-bit, converted"},
      {"rgb32bf.bmp", "masks red FF000000 green 00000FF0 blue 00FF0000", "converted"},
      {"pal8rle.bmp", "compression 1 (RLE8)", "loader: refuses it: Invalid data format ! RLE"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.file);
    const auto res = shell("$XUM bmp info " + suite + "/" + r.file);
    EXPECT_EQ(res.code, 0) << res.err;
    EXPECT_TRUE(has(res.out, r.part1)) << res.out;
    EXPECT_TRUE(has(res.out, r.part2)) << res.out;
  }
  const auto text = shell("echo hello | $XUM bmp info -");
  const auto tiny = shell("printf '\\0\\0\\1\\0' | $XUM bmp info -");  // an icon's first 4 bytes, no count
  EXPECT_EQ(tiny.code, 1);
  EXPECT_TRUE(has(tiny.err, "Not a BMP or icon file")) << tiny.out << tiny.err;
  EXPECT_EQ(text.code, 1);
  EXPECT_TRUE(has(text.err, "Not a BMP or icon file\nFile: standard input")) << text.err;
}

TEST(XumBmp, ConvertWritesCheckedAndLeavesTargetsOnFailure) {
  if (!fs::is_directory(suite)) GTEST_SKIP() << "no suite at " << suite;
  temp_dir t;
  const fs::path out = t.path / "out.bmp";
  auto r = shell("$XUM bmp convert " + suite + "/pal4.bmp - --24 | $XUM bmp convert - '" + out.string() + "' --32");
  ASSERT_EQ(r.code, 0) << r.err;
  xum::xbmp ref = loaded(suite + "/pal4.bmp");
  EXPECT_EQ(loaded(out).get_pixel(60, 30), 0xFF000000u | ref.get_pixel(60, 30));

  const std::string before = file_bytes(out);
  r = shell("$XUM bmp convert " + suite + "/rgb16.bmp '" + out.string() + "' --24");
  EXPECT_EQ(r.code, 1);
  EXPECT_TRUE(has(r.err, "16-bit BMP images are not supported\nFile: ")) << r.err;
  EXPECT_EQ(file_bytes(out), before);
  EXPECT_EQ(std::distance(fs::directory_iterator(t.path), fs::directory_iterator()), 1);  // no temporary left
  EXPECT_EQ(shell("$XUM bmp convert a b --24 --32").code, 2);
}

// The pixels are the library's (tests/imaging); the tool's part is its exit
// codes and that a failed command leaves no output behind.
TEST(XumBmp, AlphaAndGlyphWriteOutputsOrExitWithoutOne) {
  temp_dir t;
  xum::xbmp white, black;
  white.create(2, 1, 3);
  black.create(3, 1, 3);
  white.save(xum::xstr((t.path / "w.bmp").string()));
  black.save(xum::xstr((t.path / "b.bmp").string()));
  const std::string d = "'" + t.path.string() + "/";
  auto r = shell("$XUM bmp alpha " + d + "w.bmp' " + d + "w.bmp' " + d + "g.bmp'");
  EXPECT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(loaded(t.path / "g.bmp").width(), 2);
  r = shell("$XUM bmp alpha " + d + "w.bmp' " + d + "b.bmp' " + d + "g2.bmp'");
  EXPECT_EQ(r.code, 1);
  EXPECT_TRUE(has(r.err, "differ in size: 2 x 1 and 3 x 1")) << r.err;
  EXPECT_FALSE(fs::exists(t.path / "g2.bmp"));

  r = shell("$XUM bmp glyph '" + demo_glyph + "' " + d + "s.bmp' --state button");
  EXPECT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(loaded(t.path / "s.bmp").width(), 54);
  EXPECT_EQ(shell("$XUM bmp glyph '" + demo_glyph + "' x.bmp --state button --frame 2").code, 2);
  r = shell("$XUM bmp glyph " + d + "w.bmp' " + d + "x.bmp' --state normal");
  EXPECT_EQ(r.code, 1);
  EXPECT_TRUE(has(r.err, "32 bits per pixel")) << r.err;
  EXPECT_FALSE(fs::exists(t.path / "x.bmp"));
}

}  // namespace
