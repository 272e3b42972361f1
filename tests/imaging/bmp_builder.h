// Builds BMP files byte by byte for the imaging tests, with any header
// field set to what a test needs (valid or not).
#ifndef XUM_TESTS_IMAGING_BMP_BUILDER_H
#define XUM_TESTS_IMAGING_BMP_BUILDER_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "core/xle.h"

namespace xum::test {

struct bmp_spec {
  int width = 1, height = 1, bits = 24;
  std::uint32_t compression = 0;
  int planes = 1, info_size = 40;
  std::uint32_t colors_used = 0;
  std::vector<std::uint32_t> palette = {};  // 0x00RRGGBB each
  std::vector<std::uint32_t> masks = {};    // red, green, blue
  std::uint32_t offset = 0;                 // 0: right after the palette
  // Every pixel's index or bytes (little-endian), or when 0 (x, y), y = 0
  // at the top, as x + 0x100 y: the index of its column in a one-row image.
  std::uint32_t pixel = 0;
  bool rows = true;
};

inline std::vector<unsigned char> build_bmp(const bmp_spec& s) {
  using u32 = std::uint32_t;
  const std::size_t palette_at =
      14 + static_cast<std::size_t>(s.info_size) + (s.info_size == 40 ? 4 * s.masks.size() : 0);
  const std::size_t end = palette_at + 4 * s.palette.size();
  const u32 offset = s.offset ? s.offset : static_cast<u32>(end);
  std::vector<unsigned char> out(std::max<std::size_t>(offset, end), 0);
  const u32 fields[][2] = {
      {0, 0x4D42},         {10, offset},        {14, u32(s.info_size)},
      {18, u32(s.width)},  {22, u32(s.height)}, {26, u32(s.planes | s.bits << 16)},
      {30, s.compression}, {46, s.colors_used}};
  for (const auto& [at, v] : fields) le::store<u32>(&out[at], v);
  for (std::size_t i = 0; i < s.masks.size(); ++i) le::store<u32>(&out[54 + 4 * i], s.masks[i]);
  for (std::size_t i = 0; i < s.palette.size(); ++i)
    le::store<u32>(&out[palette_at + 4 * i], s.palette[i]);
  out.resize(offset);
  const int h = s.rows ? std::abs(s.height) : 0;
  const auto line =
      (static_cast<std::size_t>(s.bits) * static_cast<std::size_t>(s.width) + 31) / 32 * 4;
  for (int k = 0; k < h; ++k) {
    const int y = s.height > 0 ? h - 1 - k : k;  // file order
    std::vector<unsigned char> r(line, 0);
    for (int x = 0; x < s.width; ++x) {
      const u32 v = s.pixel ? s.pixel : static_cast<u32>(x + 0x100 * y);
      const auto bit = static_cast<std::size_t>(x) * static_cast<std::size_t>(s.bits);
      if (s.bits < 8) r[bit / 8] |= static_cast<unsigned char>(v << (8 - s.bits - bit % 8));
      for (int i = 0; s.bits >= 8 && i < s.bits / 8; ++i)
        r[bit / 8 + static_cast<std::size_t>(i)] = static_cast<unsigned char>(v >> (8 * i));
    }
    out.insert(out.end(), r.begin(), r.end());
  }
  le::store<std::uint32_t>(&out[2], static_cast<std::uint32_t>(out.size()));
  return out;
}

}  // namespace xum::test

#endif  // XUM_TESTS_IMAGING_BMP_BUILDER_H
