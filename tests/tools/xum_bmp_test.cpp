// Runs `xum bmp` as a user would and checks exit codes, outputs and files.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "imaging/xbmp.h"
#include "tests/support/xtest_helpers.h"

namespace {

namespace fs = std::filesystem;
using xum::test::file_bytes;
using xum::test::temp_dir;

struct run_result {
  int code;
  std::string out;
  std::string err;
};

// A shell command line in which $XUM is the tool, its outputs caught.
run_result shell(const std::string& line) {
  const std::string base = ::testing::TempDir() + "xum_bmp_" + std::to_string(getpid());
  const std::string out = base + "_out.txt", err = base + "_err.txt";
  const std::string full = "export XUM='timeout 60 " XUM_TOOL_PATH "'; { " + line + "; } >" + out + " 2>" + err;
  const int status = std::system(full.c_str());
  run_result r{WIFEXITED(status) ? WEXITSTATUS(status) : -1, file_bytes(out), file_bytes(err)};
  std::remove(out.c_str());
  std::remove(err.c_str());
  return r;
}

const std::string suite = XUM_BMPSUITE_DIR;
const std::string demo_glyph = XUM_DEMO_GLYPH;

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

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
  const auto piped = shell("$XUM bmp info - < " + suite + "/pal1.bmp");
  EXPECT_TRUE(has(piped.out, "colours used 2")) << piped.out;
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

TEST(XumBmp, AlphaFromTwoRenderings) {
  temp_dir t;
  xum::xbmp white, black;
  white.create(2, 1, 3);
  black.create(2, 1, 3);
  white.set_pixel(0, 0, 0x0000FF);  // opaque red
  black.set_pixel(0, 0, 0x0000FF);
  white.set_pixel(1, 0, 0xFFFFFF);  // background
  white.save(xum::xstr((t.path / "w.bmp").string()));
  black.save(xum::xstr((t.path / "b.bmp").string()));
  const std::string d = "'" + t.path.string() + "/";
  auto r = shell("$XUM bmp alpha " + d + "w.bmp' " + d + "b.bmp' " + d + "g.bmp'");
  ASSERT_EQ(r.code, 0) << r.err;
  xum::xbmp g = loaded(t.path / "g.bmp");
  EXPECT_EQ(g.get_pixel(0, 0), 0xFF0000FFu);
  EXPECT_EQ(g.get_pixel(1, 0) >> 24, 0u);
  black.create(3, 1, 3);
  black.save(xum::xstr((t.path / "b.bmp").string()));
  r = shell("$XUM bmp alpha " + d + "w.bmp' " + d + "b.bmp' " + d + "g2.bmp'");
  EXPECT_EQ(r.code, 1);
  EXPECT_TRUE(has(r.err, "differ in size: 2 x 1 and 3 x 1")) << r.err;
  EXPECT_FALSE(fs::exists(t.path / "g2.bmp"));
}

TEST(XumBmp, GlyphDrawsToolbarStatesAndButtons) {
  temp_dir t;
  const fs::path out = t.path / "g.bmp";
  struct row {
    std::string args;
    int width, height;
  } rows[] = {
      {"--state button", 54, 18},
      {"--state normal", 36, 18},  // two frames side by side
      {"--state disabled --divisor 2", 20, 10},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.args);
    const auto res = shell("$XUM bmp glyph '" + demo_glyph + "' '" + out.string() + "' " + r.args);
    ASSERT_EQ(res.code, 0) << res.err;
    xum::xbmp b = loaded(out);
    EXPECT_EQ(b.width(), r.width);
    EXPECT_EQ(b.height(), r.height);
    EXPECT_EQ(b.get_pixel(0, 0), 0xF0F0F0u);  // the button face
  }
  EXPECT_EQ(shell("$XUM bmp glyph '" + demo_glyph + "' x.bmp --state button --frame 2").code, 2);
  if (fs::is_directory(suite)) {
    const auto res = shell("$XUM bmp glyph " + suite + "/rgb24.bmp x.bmp --state normal");
    EXPECT_EQ(res.code, 1);
    EXPECT_TRUE(has(res.err, "32 bits per pixel")) << res.err;
  }
  const auto demo = shell("$XUM demo");
  EXPECT_TRUE(has(demo.out, "button glyph: 54 x 18 in 3 parts")) << demo.err;
}

}  // namespace
