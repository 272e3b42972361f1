// Builds BMP files byte by byte for the imaging tests, with any header
// field set to what a test needs (valid or not).
#ifndef XUM_TESTS_IMAGING_BMP_BUILDER_H
#define XUM_TESTS_IMAGING_BMP_BUILDER_H

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include "core/xle.h"

namespace xum::test {

struct bmp_spec {
  int width = 1;
  int height = 1;
  int bits = 24;
  std::uint32_t compression = 0;
  int planes = 1;
  int info_size = 40;
  std::uint32_t colors_used = 0;
  std::vector<std::uint32_t> palette = {};  // 0x00RRGGBB each
  std::vector<std::uint32_t> masks = {};    // red, green, blue
  std::uint32_t offset = 0;            // 0: right after the palette
  // The value of pixel (x, y), y = 0 at the top: a palette index or the
  // pixel's bytes little-endian. Without it (and without raw_rows) no rows
  // are written.
  std::function<std::uint32_t(int, int)> pixels = {};
  std::vector<std::vector<unsigned char>> raw_rows = {};  // top row first, as stored
};

inline std::vector<unsigned char> build_bmp(const bmp_spec& s) {
  const bool masks_after = s.info_size == 40 && !s.masks.empty();
  std::uint32_t offset = static_cast<std::uint32_t>(14 + s.info_size + (masks_after ? 12 : 0) + 4 * s.palette.size());
  if (s.offset != 0) offset = s.offset;
  std::vector<unsigned char> out(std::max<std::size_t>(offset, 14 + static_cast<std::size_t>(std::max(s.info_size, 4))), 0);
  le::store<std::uint16_t>(&out[0], 0x4D42);
  le::store<std::uint32_t>(&out[10], offset);
  le::store<std::uint32_t>(&out[14], static_cast<std::uint32_t>(s.info_size));
  if (s.info_size >= 16) {
    le::store<std::int32_t>(&out[18], s.width);
    le::store<std::int32_t>(&out[22], s.height);
    le::store<std::uint16_t>(&out[26], static_cast<std::uint16_t>(s.planes));
    le::store<std::uint16_t>(&out[28], static_cast<std::uint16_t>(s.bits));
  }
  if (s.info_size >= 40) {
    le::store<std::uint32_t>(&out[30], s.compression);
    le::store<std::uint32_t>(&out[46], s.colors_used);
  }
  std::size_t at = 54;
  for (std::uint32_t m : s.masks)
    if (at + 4 <= out.size()) le::store<std::uint32_t>(&out[at], m), at += 4;
  at = 14 + static_cast<std::size_t>(s.info_size) + (masks_after ? 12 : 0);
  for (std::uint32_t c : s.palette)
    if (at + 4 <= out.size()) le::store<std::uint32_t>(&out[at], c), at += 4;
  out.resize(offset);

  const int h = s.height < 0 ? -s.height : s.height;
  const std::size_t line = (static_cast<std::size_t>(s.bits) * static_cast<std::size_t>(s.width) + 31) / 32 * 4;
  std::vector<std::vector<unsigned char>> rows = s.raw_rows;  // top row first
  if (s.pixels) {
    for (int y = 0; y < h; ++y) {
      std::vector<unsigned char> r(line, 0);
      for (int x = 0; x < s.width; ++x) {
        const std::uint32_t v = s.pixels(x, y);
        if (s.bits < 8) {
          const std::size_t bit = static_cast<std::size_t>(x) * static_cast<std::size_t>(s.bits);
          r[bit / 8] |= static_cast<unsigned char>(v << (8 - s.bits - bit % 8));
        } else {
          for (int i = 0; i < s.bits / 8; ++i)
            r[static_cast<std::size_t>(x) * static_cast<std::size_t>(s.bits / 8) + static_cast<std::size_t>(i)] =
                static_cast<unsigned char>(v >> (8 * i));
        }
      }
      rows.push_back(r);
    }
  }
  if (s.height > 0)
    for (auto it = rows.rbegin(); it != rows.rend(); ++it) out.insert(out.end(), it->begin(), it->end());
  else
    for (const auto& r : rows) out.insert(out.end(), r.begin(), r.end());
  le::store<std::uint32_t>(&out[2], static_cast<std::uint32_t>(out.size()));
  return out;
}

}  // namespace xum::test

#endif  // XUM_TESTS_IMAGING_BMP_BUILDER_H
