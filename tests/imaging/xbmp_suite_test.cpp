// Every "good" image of the public BMP suite: the ones the loader supports
// must show the suite's picture exactly (or within 1 per channel where the
// reference rendering rounds differently), the others must be refused with
// a clear error.
#include "imaging/xbmp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>

#include <stb/stb_image.h>

#include "core/xexceptions.h"

#ifndef XUM_BMPSUITE_DIR
#error "XUM_BMPSUITE_DIR names the folder of the suite's good images"
#endif

namespace xum {
namespace {

namespace fs = std::filesystem;

struct expectation {
  const char* reference;  // a PNG of the suite or another BMP, empty: refused
  int tolerance;
  const char* refusal;    // a part of the error message when refused
};

const std::map<std::string, expectation>& expectations() {
  static const std::map<std::string, expectation> table = {
      {"pal1.bmp", {"pal1.png", 0, ""}},
      {"pal1bg.bmp", {"pal1bg.png", 0, ""}},
      {"pal1wb.bmp", {"pal1.png", 0, ""}},
      {"pal4.bmp", {"pal4.png", 0, ""}},
      {"pal8.bmp", {"pal8.png", 1, ""}},
      {"pal8-0.bmp", {"pal8.png", 1, ""}},
      {"pal8topdown.bmp", {"pal8.png", 1, ""}},
      {"pal8v4.bmp", {"pal8.png", 1, ""}},
      {"pal8v5.bmp", {"pal8.png", 1, ""}},
      {"pal8nonsquare.bmp", {"pal8nonsquare-e.png", 1, ""}},
      {"pal8w124.bmp", {"pal8w124.png", 1, ""}},
      {"pal8w125.bmp", {"pal8w125.png", 1, ""}},
      {"pal8w126.bmp", {"pal8w126.png", 1, ""}},
      {"rgb24.bmp", {"rgb24.png", 0, ""}},
      {"rgb24pal.bmp", {"rgb24.bmp", 0, ""}},
      {"rgb32.bmp", {"rgb24.bmp", 0, ""}},
      {"rgb32bf.bmp", {"rgb24.bmp", 0, ""}},
      {"pal4rle.bmp", {"", 0, "RLE"}},
      {"pal8rle.bmp", {"", 0, "RLE"}},
      {"rgb16.bmp", {"", 0, "16-bit"}},
      {"rgb16-565.bmp", {"", 0, "16-bit"}},
      {"rgb16-565pal.bmp", {"", 0, "16-bit"}},
      {"pal8os2.bmp", {"", 0, "OS/2"}},
  };
  return table;
}

// A picture as rows of 0x00RRGGBB, top row first.
struct picture {
  int width = 0, height = 0;
  std::vector<unsigned> px;
};

picture from_xbmp(const xbmp& b) {
  picture p{b.width(), b.abs_height(), {}};
  for (int y = 0; y < p.height; ++y)
    for (int x = 0; x < p.width; ++x) p.px.push_back(b.get_pixel(x, y) & 0xFFFFFF);
  return p;
}

picture from_png(const fs::path& path) {
  int w = 0, h = 0, n = 0;
  unsigned char* data = stbi_load(path.c_str(), &w, &h, &n, 3);
  picture p{w, h, {}};
  if (data == nullptr) return p;
  for (int i = 0; i < w * h; ++i)
    p.px.push_back(static_cast<unsigned>(data[3 * i] << 16 | data[3 * i + 1] << 8 | data[3 * i + 2]));
  stbi_image_free(data);
  return p;
}

int worst_channel_difference(const picture& a, const picture& b) {
  int worst = 0;
  for (std::size_t i = 0; i < a.px.size(); ++i)
    for (int sh : {0, 8, 16})
      worst = std::max(worst, std::abs(static_cast<int>((a.px[i] >> sh) & 0xFF) - static_cast<int>((b.px[i] >> sh) & 0xFF)));
  return worst;
}

TEST(XbmpSuite, EveryGoodImageDecodesRightOrIsRefusedClearly) {
  const fs::path dir = XUM_BMPSUITE_DIR;
  if (!fs::is_directory(dir)) GTEST_SKIP() << "no suite at " << dir;
  int decoded = 0, refused = 0, seen = 0;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.path().extension() != ".bmp") continue;
    const std::string name = entry.path().filename().string();
    SCOPED_TRACE(name);
    ++seen;
    const auto it = expectations().find(name);
    ASSERT_NE(it, expectations().end()) << "no expectation for a suite file";
    const expectation& want = it->second;
    xbmp b;
    if (*want.reference == '\0') {
      std::string error = "(no error)";
      try {
        b.load(xstr(entry.path().string()));
      } catch (const XEBadData& e) {
        error = e.what();
      }
      EXPECT_NE(error.find(want.refusal), std::string::npos) << error;
      EXPECT_NE(error.find(name), std::string::npos) << error;  // names the file
      EXPECT_TRUE(b.empty());
      refused += error.find(want.refusal) != std::string::npos;
      continue;
    }
    b.load(xstr(entry.path().string()));
    ASSERT_TRUE(b.bit_count() == 24 || (b.bit_count() == 32 && b.compression() == 0));
    const fs::path ref_path = dir / want.reference;
    picture ref;
    if (ref_path.extension() == ".png") {
      ref = from_png(ref_path);
    } else {
      xbmp r;
      r.load(xstr(ref_path.string()));
      ref = from_xbmp(r);
    }
    const picture got = from_xbmp(b);
    ASSERT_EQ(got.width, ref.width);
    ASSERT_EQ(got.height, ref.height);
    const int worst = worst_channel_difference(got, ref);
    EXPECT_LE(worst, want.tolerance);
    decoded += worst <= want.tolerance;
  }
  EXPECT_EQ(seen, static_cast<int>(expectations().size()));
  std::cout << "[ suite    ] " << seen << " images: " << decoded << " decoded right, " << refused
            << " refused with a clear error\n";
}

TEST(XbmpSuite, UnusualBitFieldMasksMatchThe24BitImage) {
  const fs::path dir = XUM_BMPSUITE_DIR;
  if (!fs::is_directory(dir)) GTEST_SKIP() << "no suite at " << dir;
  xbmp fields, plain;
  fields.load(xstr((dir / "rgb32bf.bmp").string()));
  plain.load(xstr((dir / "rgb24.bmp").string()));
  EXPECT_EQ(fields.bit_count(), 24);
  EXPECT_EQ(worst_channel_difference(from_xbmp(fields), from_xbmp(plain)), 0);
}

}  // namespace
}  // namespace xum

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#include <stb/stb_image.h>
