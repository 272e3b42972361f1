// Builds BMP files byte by byte for the imaging tests, with any header
// field set to what a test needs (valid or not).
#ifndef XUM_TESTS_IMAGING_BMP_BUILDER_H
#define XUM_TESTS_IMAGING_BMP_BUILDER_H

#include <algorithm>
#include <cstdlib>
#include <cstdint>
#include <functional>
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
  // Pixel (x, y), y = 0 at the top: a palette index or the pixel's bytes
  // little-endian. Without it no rows are written.
  std::function<std::uint32_t(int, int)> pixels = {};
};

inline std::vector<unsigned char> build_bmp(const bmp_spec& s) {
  const std::size_t masks_at = 14 + static_cast<std::size_t>(std::max(s.info_size, 40));
  const std::size_t palette_at = 14 + static_cast<std::size_t>(s.info_size) + (s.info_size == 40 ? 4 * s.masks.size() : 0);
  const std::uint32_t offset = s.offset ? s.offset : static_cast<std::uint32_t>(palette_at + 4 * s.palette.size());
  std::vector<unsigned char> out(std::max<std::size_t>({offset, masks_at, palette_at + 4 * s.palette.size()}), 0);
  le::store<std::uint16_t>(&out[0], 0x4D42);
  le::store<std::uint32_t>(&out[10], offset);
  le::store<std::uint32_t>(&out[14], static_cast<std::uint32_t>(s.info_size));
  le::store<std::int32_t>(&out[18], s.width);
  le::store<std::int32_t>(&out[22], s.height);
  le::store<std::uint16_t>(&out[26], static_cast<std::uint16_t>(s.planes));
  le::store<std::uint16_t>(&out[28], static_cast<std::uint16_t>(s.bits));
  le::store<std::uint32_t>(&out[30], s.compression);
  le::store<std::uint32_t>(&out[46], s.colors_used);
  for (std::size_t i = 0; i < s.masks.size(); ++i) le::store<std::uint32_t>(&out[54 + 4 * i], s.masks[i]);
  for (std::size_t i = 0; i < s.palette.size(); ++i) le::store<std::uint32_t>(&out[palette_at + 4 * i], s.palette[i]);
  out.resize(offset);
  const int h = s.pixels ? std::abs(s.height) : 0;  // no rows (and no INT_MIN) without pixels
  const std::size_t line = (static_cast<std::size_t>(s.bits) * static_cast<std::size_t>(s.width) + 31) / 32 * 4;
  for (int k = 0; k < h; ++k) {
    const int y = s.height > 0 ? h - 1 - k : k;  // file order
    std::vector<unsigned char> r(line, 0);
    for (int x = 0; x < s.width; ++x) {
      const std::uint32_t v = s.pixels(x, y);
      const std::size_t bit = static_cast<std::size_t>(x) * static_cast<std::size_t>(s.bits);
      if (s.bits < 8) r[bit / 8] |= static_cast<unsigned char>(v << (8 - s.bits - bit % 8));
      for (int i = 0; s.bits >= 8 && i < s.bits / 8; ++i) r[bit / 8 + static_cast<std::size_t>(i)] = static_cast<unsigned char>(v >> (8 * i));
    }
    out.insert(out.end(), r.begin(), r.end());
  }
  le::store<std::uint32_t>(&out[2], static_cast<std::uint32_t>(out.size()));
  return out;
}

}  // namespace xum::test

#endif  // XUM_TESTS_IMAGING_BMP_BUILDER_H
