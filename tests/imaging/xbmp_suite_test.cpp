// Every "good" image of the public BMP suite: the ones the loader supports
// must show the suite's picture exactly (or within 1 per channel where the
// reference rendering rounds differently), the others must be refused with
// a clear error naming the file.
#include "imaging/xbmp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <stb/stb_image.h>

#include "core/xexceptions.h"

namespace xum {
namespace {

namespace fs = std::filesystem;

// A picture as width, height and 0x00RRGGBB pixels, top row first.
struct picture {
  int w = 0, h = 0;
  std::vector<unsigned> px;
};

picture decoded(const fs::path& path) {
  picture p;
  if (path.extension() == ".png") {
    int n = 0;
    unsigned char* d = stbi_load(path.c_str(), &p.w, &p.h, &n, 3);
    for (int i = 0; d && i < p.w * p.h; ++i) p.px.push_back(static_cast<unsigned>(d[3 * i] << 16 | d[3 * i + 1] << 8 | d[3 * i + 2]));
    stbi_image_free(d);
    return p;
  }
  xbmp b;
  b.load(xstr(path.string()));
  p = {b.width(), b.abs_height(), {}};
  for (int y = 0; y < p.h; ++y)
    for (int x = 0; x < p.w; ++x) p.px.push_back(b.get_pixel(x, y) & 0xFFFFFF);
  return p;
}

int worst_difference(const picture& a, const picture& b) {
  int worst = 0;
  for (std::size_t i = 0; i < a.px.size(); ++i)
    for (int sh : {0, 8, 16})
      worst = std::max(worst, std::abs(static_cast<int>((a.px[i] >> sh & 0xFF)) - static_cast<int>((b.px[i] >> sh & 0xFF))));
  return worst;
}

TEST(XbmpSuite, EveryGoodImageDecodesRightOrIsRefusedClearly) {
  const fs::path dir = XUM_BMPSUITE_DIR;
  if (!fs::is_directory(dir)) GTEST_SKIP() << "no suite at " << dir;
  // File -> its reference (a PNG of the suite or a BMP) and tolerance, or
  // the refusal's reason.
  const std::map<std::string, std::pair<std::string, int>> expected = {
      {"pal1.bmp", {"pal1.png", 0}},          {"pal1bg.bmp", {"pal1bg.png", 0}},
      {"pal1wb.bmp", {"pal1.png", 0}},        {"pal4.bmp", {"pal4.png", 0}},
      {"pal8.bmp", {"pal8.png", 1}},          {"pal8-0.bmp", {"pal8.png", 1}},
      {"pal8topdown.bmp", {"pal8.png", 1}},   {"pal8v4.bmp", {"pal8.png", 1}},
      {"pal8v5.bmp", {"pal8.png", 1}},        {"pal8nonsquare.bmp", {"pal8nonsquare-e.png", 1}},
      {"pal8w124.bmp", {"pal8w124.png", 1}},  {"pal8w125.bmp", {"pal8w125.png", 1}},
      {"pal8w126.bmp", {"pal8w126.png", 1}},  {"rgb24.bmp", {"rgb24.png", 0}},
      {"rgb24pal.bmp", {"rgb24.bmp", 0}},     {"rgb32.bmp", {"rgb24.bmp", 0}},
      {"rgb32bf.bmp", {"rgb24.bmp", 0}},  // unusual masks: only decoding them matches
      {"pal4rle.bmp", {"RLE", -1}},           {"pal8rle.bmp", {"RLE", -1}},
      {"rgb16.bmp", {"16-bit", -1}},          {"rgb16-565.bmp", {"16-bit", -1}},
      {"rgb16-565pal.bmp", {"16-bit", -1}},   {"pal8os2.bmp", {"OS/2", -1}},
  };
  int seen = 0, right = 0, refused = 0;
  for (const auto& entry : fs::directory_iterator(dir)) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".bmp") continue;
    SCOPED_TRACE(name);
    ++seen;
    ASSERT_EQ(expected.count(name), 1u) << "no expectation for a suite file";
    const auto& [reference, tolerance] = expected.at(name);
    if (tolerance < 0) {
      std::string error = "(no error)";
      try {
        decoded(entry.path());
      } catch (const XEBadData& e) {
        error = e.what();
      }
      EXPECT_NE(error.find(reference), std::string::npos) << error;
      EXPECT_NE(error.find("File: " + entry.path().string()), std::string::npos) << error;
      refused += error.find(reference) != std::string::npos;
      continue;
    }
    const picture got = decoded(entry.path()), want = decoded(dir / reference);
    ASSERT_EQ(got.w * 10000 + got.h, want.w * 10000 + want.h);
    EXPECT_LE(worst_difference(got, want), tolerance);
    right += worst_difference(got, want) <= tolerance;
  }
  EXPECT_EQ(seen, static_cast<int>(expected.size()));
  std::cout << "[ suite    ] " << seen << " images: " << right << " decoded right, " << refused << " refused clearly\n";
}

}  // namespace
}  // namespace xum

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#include <stb/stb_image.h>
