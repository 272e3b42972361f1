#include "imaging/xbmp.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <exception>
#include <string>
#include <utility>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xexceptions.h"
#include "core/xle.h"
#include "framework/tgraphics.h"
#include "streams/xfile_stream.h"
#include "streams/xreplace_file_stream.h"
#include "streams/xstream.h"

namespace xum {

namespace {

// Thrown after a reported error when the error hook returned: the reader
// gives up and leaves the image empty.
struct abandon {};

// Reads and writes are cut into pieces an int count can carry.
constexpr std::size_t io_piece = std::size_t{1} << 30;
// Without a known stream size, data is read in pieces of this size, so
// that memory grows only with the bytes that actually arrive.
constexpr std::size_t grow_piece = std::size_t{16} << 20;

constexpr std::uint16_t icon_type = 1;
constexpr int icon_dir_size = 6;
constexpr int icon_entry_size = 16;

bool allowed_info_size(std::uint32_t n) { return n == 40 || n == 52 || n == 56 || n == 108 || n == 124; }

std::size_t pad4(std::uint64_t bytes) { return static_cast<std::size_t>((bytes + 3) & ~std::uint64_t{3}); }

[[noreturn]] void reject(const xstream& s, const std::string& why, std::int64_t offset = -1) {
  xerror(xerror_category::bad_data, msg::eInvalidFormat.text + "\n" + xstr(why) + "\n" + s.description(),
         {.offset = offset});
  throw abandon{};
}

// Reads up to n bytes; returns how many arrived before the end.
std::size_t read_full(xstream& s, unsigned char* p, std::size_t n) {
  std::size_t got = 0;
  while (got < n) {
    const int r = s.read(p + got, static_cast<int>(std::min(n - got, io_piece)));
    if (r <= 0) break;
    got += static_cast<std::size_t>(r);
  }
  return got;
}

// The bytes from the current position to the end, or -1 when the stream
// cannot tell (it does not seek).
std::int64_t remaining(xstream& s) {
  try {
    const std::int64_t at = s.seek(0, xseek_current);
    const std::int64_t end = s.seek(0, xseek_end);
    s.seek(at, xseek_begin);
    return end >= at ? end - at : 0;
  } catch (const std::exception&) {
    return -1;
  }
}

// Reads exactly n bytes into v (replacing its contents). With an unknown
// size the vector grows piece by piece as bytes arrive. Returns false on a
// short read.
bool read_vector(xstream& s, std::vector<unsigned char>& v, std::uint64_t n, bool size_known) {
  if (size_known) {
    v.resize(static_cast<std::size_t>(n));
    return read_full(s, v.data(), v.size()) == v.size();
  }
  v.clear();
  while (v.size() < n) {
    const std::size_t at = v.size();
    const std::size_t piece = static_cast<std::size_t>(std::min<std::uint64_t>(n - at, grow_piece));
    v.resize(at + piece);
    const std::size_t got = read_full(s, v.data() + at, piece);
    if (got < piece) {
      v.resize(at + got);
      return false;
    }
  }
  return true;
}

std::string num(std::int64_t v) { return std::to_string(v); }

// One colour channel of a bit-field pixel: where it sits and how wide it is.
struct channel {
  unsigned shift = 0;
  unsigned bits = 0;
  std::uint32_t mask = 0;

  unsigned char scale(std::uint32_t px) const {
    if (bits == 0) return 0;
    const std::uint32_t v = (px & mask) >> shift;
    if (bits >= 8) return static_cast<unsigned char>(v >> (bits - 8));
    const std::uint32_t max = (1u << bits) - 1;
    return static_cast<unsigned char>((v * 255 + max / 2) / max);
  }
};

// A mask must be one run of bits (or empty: the channel is then 0).
bool make_channel(std::uint32_t mask, channel& c) {
  c.mask = mask;
  if (mask == 0) return true;
  c.shift = static_cast<unsigned>(std::countr_zero(mask));
  const std::uint32_t run = mask >> c.shift;
  if ((run & (run + 1)) != 0) return false;
  c.bits = static_cast<unsigned>(std::popcount(run));
  return true;
}

}  // namespace

xbmp::~xbmp() = default;

xbmp::xbmp(const xbmp& other)
    : header_(other.header_), pixels_(other.pixels_), row_len_(other.row_len_), rows_(other.rows_) {
  if (!header_.empty()) parse_header();
}

xbmp& xbmp::operator=(const xbmp& other) {
  if (this == &other) return *this;
  header_ = other.header_;
  pixels_ = other.pixels_;
  row_len_ = other.row_len_;
  rows_ = other.rows_;
  line_size_ = other.line_size_;
  bytes_per_pixel_ = other.bytes_per_pixel_;
  top_down_ = other.top_down_;
  transparent = false;
  transparent_color = 0;
  if (!header_.empty()) parse_header();
  return *this;
}

xbmp::xbmp(xbmp&& other) noexcept { *this = std::move(other); }

xbmp& xbmp::operator=(xbmp&& other) noexcept {
  if (this == &other) return *this;
  header_ = std::move(other.header_);
  pixels_ = std::move(other.pixels_);
  row_len_ = other.row_len_;
  line_size_ = other.line_size_;
  rows_ = other.rows_;
  bytes_per_pixel_ = other.bytes_per_pixel_;
  top_down_ = other.top_down_;
  transparent = other.transparent;
  transparent_color = other.transparent_color;
  other.clear();
  return *this;
}

std::uint32_t xbmp::u32(std::size_t at) const noexcept {
  return header_.size() >= at + 4 ? le::load<std::uint32_t>(header_.data() + at) : 0;
}

void xbmp::set_u32(std::size_t at, std::uint32_t v) noexcept {
  if (header_.size() >= at + 4) le::store<std::uint32_t>(header_.data() + at, v);
}

void xbmp::set_u16(std::size_t at, std::uint16_t v) noexcept {
  if (header_.size() >= at + 2) le::store<std::uint16_t>(header_.data() + at, v);
}

void xbmp::init() noexcept {
  top_down_ = false;
  bytes_per_pixel_ = 0;
  line_size_ = 0;
}

void xbmp::clear() noexcept {
  std::vector<unsigned char>().swap(header_);  // frees the storage
  std::vector<unsigned char>().swap(pixels_);
  row_len_ = 0;
  rows_ = 0;
  init();
}

void xbmp::parse_header() {
  const int w = width();
  const int h = height();
  if (header_.size() < static_cast<std::size_t>(bmp::header_size) || w <= 0 || h == 0 || h == INT_MIN)
    throw xexception(xexception::out_of_range);
  const int bits = bit_count();
  bytes_per_pixel_ = bits / 8;
  line_size_ = pad4((static_cast<std::uint64_t>(bits) * static_cast<std::uint64_t>(w) + 7) / 8);
  top_down_ = h < 0;
  const int n = h < 0 ? -h : h;
  if (n != rows_ || line_size_ != row_len_) {
    if (line_size_ != 0 && static_cast<std::size_t>(n) > SIZE_MAX / 2 / line_size_)
      throw xexception(xexception::out_of_range);
    std::vector<unsigned char> next(static_cast<std::size_t>(n) * line_size_);
    const std::size_t keep = std::min(line_size_, row_len_);
    for (int i = 0; i < std::min(n, rows_); ++i)
      std::memcpy(next.data() + static_cast<std::size_t>(n - 1 - i) * line_size_, row(i), keep);
    pixels_ = std::move(next);
    rows_ = n;
    row_len_ = line_size_;
  }
  transparent_color = 0;
  transparent = false;
}

// ---------------------------------------------------------------------------
// Reading

void xbmp::load(xstream& s) {
  clear();
  try {
    load_checked(s);
  } catch (const abandon&) {
    clear();
  } catch (...) {
    clear();
    throw;
  }
}

void xbmp::load(const xstr& path) {
  xfile_stream f(path, 1);
  load(f);
}

void xbmp::load_checked(xstream& s) {
  std::int64_t avail = remaining(s);
  const bool sized = avail >= 0;

  unsigned char head[bmp::file_header_size + 4];
  const std::size_t got = read_full(s, head, sizeof head);
  if (got >= 2 && le::load<std::uint16_t>(head) != bmp::type_bm) throw xexception(xexception::out_of_range);
  if (got < sizeof head) reject(s, "BMP file truncated in its header (" + num(static_cast<std::int64_t>(got)) + " bytes)", 0);

  const std::uint32_t offset = le::load<std::uint32_t>(head + 10);
  const std::uint32_t info = le::load<std::uint32_t>(head + 14);
  if (info == 12 || info == 16 || info == 64)
    reject(s, "OS/2 BMP information header (" + num(info) + " bytes) is not supported", 14);
  if (!allowed_info_size(info))
    reject(s, "BMP information header of " + num(info) + " bytes is not supported (40, 52, 56, 108 or 124)", 14);
  if (offset < bmp::file_header_size + info)
    reject(s, "BMP pixel data offset " + num(offset) + " lies inside the headers", 10);
  if (sized && offset > avail)
    reject(s, "BMP file truncated: pixel data offset " + num(offset) + " beyond its " + num(avail) + " bytes", 10);

  std::vector<unsigned char> rest;
  if (!read_vector(s, rest, offset - sizeof head, sized))
    reject(s, "BMP file truncated in its header", static_cast<std::int64_t>(sizeof head + rest.size()));
  header_.resize(offset);
  std::memcpy(header_.data(), head, sizeof head);
  if (!rest.empty()) std::memcpy(header_.data() + sizeof head, rest.data(), rest.size());
  rest = {};

  const int w = width();
  const int h = height();
  const int bits = bit_count();
  const std::uint32_t comp = compression();
  if (w <= 0) reject(s, "BMP width " + num(w) + " is not positive", 18);
  if (h == 0 || h == INT_MIN) reject(s, "BMP height " + num(h) + " cannot be honoured", 22);
  if ((header_[26] | header_[27] << 8) != 1)
    reject(s, "BMP with " + num(header_[26] | header_[27] << 8) + " planes is not supported", 26);
  if (bits == 16) reject(s, "16-bit BMP images are not supported", 28);
  if (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 24 && bits != 32)
    reject(s, "BMP bit count " + num(bits) + " is not supported", 28);
  switch (comp) {
    case bmp::compression_none:
      break;
    case bmp::compression_bitfields:
      if (bits != 32) reject(s, "BMP bit fields with " + num(bits) + " bits per pixel are not supported", 30);
      if (header_.size() < bmp::masks_offset + 12) reject(s, "BMP colour masks are missing", 30);
      {
        channel c;
        for (int i = 0; i < 3; ++i)
          if (!make_channel(le::load<std::uint32_t>(header_.data() + bmp::masks_offset + 4 * i), c))
            reject(s, "BMP colour mask is not one run of bits", bmp::masks_offset + 4 * i);
      }
      break;
    case 1:
    case 2:
      reject(s, "RLE-compressed BMP images (compression " + num(comp) + ") are not supported", 30);
    case 4:
      reject(s, "BMP images holding JPEG data are not supported", 30);
    case 5:
      reject(s, "BMP images holding PNG data are not supported", 30);
    default:
      reject(s, "BMP compression " + num(comp) + " is not supported", 30);
  }

  // Rows x row size must be present before anything is allocated for them.
  const std::uint64_t line = pad4((static_cast<std::uint64_t>(bits) * static_cast<std::uint64_t>(w) + 7) / 8);
  const std::uint64_t n = static_cast<std::uint64_t>(h < 0 ? -static_cast<std::int64_t>(h) : h);
  const std::uint64_t limit = sized ? static_cast<std::uint64_t>(avail - offset) : SIZE_MAX / 4;
  if (n > limit / line)
    reject(s, "BMP file truncated: " + num(static_cast<std::int64_t>(n)) + " rows of " +
                  num(static_cast<std::int64_t>(line)) + " bytes are not present",
           static_cast<std::int64_t>(offset));

  std::vector<unsigned char> data;
  if (!read_vector(s, data, n * line, sized))
    reject(s, "BMP file truncated in its pixel rows", static_cast<std::int64_t>(offset + data.size()));
  pixels_ = std::move(data);
  rows_ = static_cast<int>(n);
  row_len_ = static_cast<std::size_t>(line);
  parse_header();
  test_format();
}

void xbmp::load_icon32(xstream& s) {
  clear();
  try {
    load_icon_checked(s);
  } catch (const abandon&) {
    clear();
  } catch (...) {
    clear();
    throw;
  }
}

void xbmp::load_icon32(const xstr& path) {
  xfile_stream f(path, 1);
  load_icon32(f);
}

void xbmp::load_icon_checked(xstream& s) {
  const std::int64_t avail = remaining(s);
  const bool sized = avail >= 0;
  unsigned char dir[icon_dir_size + icon_entry_size];
  if (read_full(s, dir, sizeof dir) != sizeof dir) reject(s, "Icon file truncated in its directory", 0);
  const unsigned count = le::load<std::uint16_t>(dir + 4);
  if (le::load<std::uint16_t>(dir) != 0 || le::load<std::uint16_t>(dir + 2) != icon_type || count == 0)
    reject(s, "Not an icon file", 0);
  const std::uint32_t size = le::load<std::uint32_t>(dir + icon_dir_size + 8);
  const std::uint32_t at = le::load<std::uint32_t>(dir + icon_dir_size + 12);
  const std::uint64_t dir_end = icon_dir_size + static_cast<std::uint64_t>(icon_entry_size) * count;
  if (at < dir_end) reject(s, "Icon image offset " + num(at) + " lies inside the directory", 18);
  if (size < bmp::info_header_size) reject(s, "Icon image of " + num(size) + " bytes is too small", 14);
  if (sized && static_cast<std::uint64_t>(at) + size > static_cast<std::uint64_t>(avail))
    reject(s, "Icon file truncated: its image needs " + num(static_cast<std::int64_t>(at) + size) + " bytes, " +
                  num(avail) + " present",
           18);

  std::vector<unsigned char> skip;
  if (!read_vector(s, skip, at - sizeof dir, sized)) reject(s, "Icon file truncated before its image", at);
  skip = {};
  std::vector<unsigned char> img;
  if (!read_vector(s, img, size, sized)) reject(s, "Icon file truncated in its image", at);

  static constexpr unsigned char png_signature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  if (std::memcmp(img.data(), png_signature, 8) == 0)
    reject(s, "PNG-compressed icon images are not supported", at);
  const std::uint32_t info = le::load<std::uint32_t>(img.data());
  const int w = le::load<std::int32_t>(img.data() + 4);
  const int h2 = le::load<std::int32_t>(img.data() + 8);
  const int planes = le::load<std::uint16_t>(img.data() + 12);
  const int bits = le::load<std::uint16_t>(img.data() + 14);
  const std::uint32_t comp = le::load<std::uint32_t>(img.data() + 16);
  if (!allowed_info_size(info) || info > size)
    reject(s, "Icon image header of " + num(info) + " bytes is not supported", at);
  if (bits != 32) reject(s, "Icon image has " + num(bits) + " bits per pixel; only 32-bit icons are read", at + 14);
  if (planes != 1 || comp != bmp::compression_none) reject(s, "Icon image layout is not supported", at + 12);
  if (w <= 0 || h2 < 2) reject(s, "Icon image size " + num(w) + " x " + num(h2) + " cannot be honoured", at + 4);
  const int h = h2 / 2;  // colour rows, then as many mask rows
  const std::uint64_t bytes = static_cast<std::uint64_t>(w) * 4 * static_cast<std::uint64_t>(h);
  if (bytes > size - info) reject(s, "Icon image truncated in its pixel rows", at);

  create(w, h, 4);
  std::memcpy(pixels_.data(), img.data() + info, static_cast<std::size_t>(bytes));
}

// ---------------------------------------------------------------------------
// Writing

void xbmp::save(xstream& s) const {
  s.write_buffer(header_.data(), static_cast<int>(header_.size()));
  for (std::size_t at = 0; at < pixels_.size(); at += io_piece)
    s.write_buffer(pixels_.data() + at, static_cast<int>(std::min(io_piece, pixels_.size() - at)));
}

void xbmp::save(const xstr& path) const {
  xreplace_file_stream out(path);
  save(out);
  out.close();
}

// ---------------------------------------------------------------------------
// Conversions

void xbmp::test_format() {
  const int bits = bit_count();
  if (bits < 24 || (bits == 32 && compression() == bmp::compression_bitfields)) make24bit();
}

void xbmp::make24bit() {
  const int bits = bit_count();
  if (bits == 24) return;
  if (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 32) throw xexception(xexception::out_of_range);
  if (bits == 32)
    convert_bitfields();
  else
    convert_palette();
  const std::size_t line = row_len_;
  const int n = abs_height();
  set_u32(2, static_cast<std::uint32_t>(static_cast<std::uint64_t>(n) * line + header_.size()));
  set_u32(10, static_cast<std::uint32_t>(header_.size()));
  set_u16(28, 24);
  set_u32(30, bmp::compression_none);
  set_u32(34, 0);
  set_u32(46, 0);
  set_u32(50, 0);
  parse_header();
}

void xbmp::convert_palette() {
  const int bits = bit_count();
  const int w = width();
  const std::size_t start = bmp::file_header_size + info_size();
  // The palette holds what the colours-used count gives (0: 2^bits), no more
  // than fits before the rows; indices past it stay black.
  std::uint64_t entries = colors_used();
  if (entries == 0 || entries > (1u << bits)) entries = 1u << bits;
  const std::size_t fit = header_.size() > start ? (header_.size() - start) / 4 : 0;
  entries = std::min<std::uint64_t>(entries, fit);
  unsigned char lut[256][3] = {};
  for (std::size_t i = 0; i < entries; ++i) std::memcpy(lut[i], header_.data() + start + 4 * i, 3);

  const std::size_t out_len = pad4(static_cast<std::uint64_t>(w) * 3);
  std::vector<unsigned char> out(out_len * static_cast<std::size_t>(rows_));
  const unsigned index_mask = (1u << bits) - 1;
  for (std::size_t k = 0; k < static_cast<std::size_t>(rows_); ++k) {
    const unsigned char* src = pixels_.data() + k * row_len_;
    unsigned char* dst = out.data() + k * out_len;
    if (bits == 8) {
      for (int x = 0; x < w; ++x, dst += 3) std::memcpy(dst, lut[src[x]], 3);
    } else {
      // Most significant bits first: the high nibble of a 4-bit byte is the
      // left pixel.
      for (int x = 0; x < w; ++x, dst += 3) {
        const std::size_t bit = static_cast<std::size_t>(x) * static_cast<std::size_t>(bits);
        const unsigned shift = 8 - static_cast<unsigned>(bits) - static_cast<unsigned>(bit & 7);
        std::memcpy(dst, lut[(src[bit >> 3] >> shift) & index_mask], 3);
      }
    }
  }
  pixels_ = std::move(out);
  row_len_ = out_len;
  // The palette and anything between it and the rows are dropped.
  header_.resize(start);
}

void xbmp::convert_bitfields() {
  const int w = width();
  const bool fields = compression() == bmp::compression_bitfields;
  channel r, g, b;
  if (fields) {
    make_channel(u32(bmp::masks_offset), r);
    make_channel(u32(bmp::masks_offset + 4), g);
    make_channel(u32(bmp::masks_offset + 8), b);
  }
  const bool plain = !fields || (r.mask == 0x00FF0000 && g.mask == 0x0000FF00 && b.mask == 0x000000FF);
  const std::size_t out_len = pad4(static_cast<std::uint64_t>(w) * 3);
  std::vector<unsigned char> out(out_len * static_cast<std::size_t>(rows_));
  for (std::size_t k = 0; k < static_cast<std::size_t>(rows_); ++k) {
    const unsigned char* src = pixels_.data() + k * row_len_;
    unsigned char* dst = out.data() + k * out_len;
    for (int x = 0; x < w; ++x, src += 4, dst += 3) {
      if (plain) {
        dst[0] = src[0];
        dst[1] = src[1];
        dst[2] = src[2];
      } else {
        const std::uint32_t px = le::load<std::uint32_t>(src);
        dst[0] = b.scale(px);
        dst[1] = g.scale(px);
        dst[2] = r.scale(px);
      }
    }
  }
  pixels_ = std::move(out);
  row_len_ = out_len;
}

void xbmp::make32bit_rgba() {
  test_format();
  if (bit_count() == 32) return;
  const int w = width();
  const std::size_t out_len = static_cast<std::size_t>(w) * 4;
  std::vector<unsigned char> out(out_len * static_cast<std::size_t>(rows_));
  for (std::size_t k = 0; k < static_cast<std::size_t>(rows_); ++k) {
    const unsigned char* src = pixels_.data() + k * row_len_;
    unsigned char* dst = out.data() + k * out_len;
    for (int x = 0; x < w; ++x, src += 3, dst += 4) {
      dst[0] = src[0];
      dst[1] = src[1];
      dst[2] = src[2];
      dst[3] = 255;
    }
  }
  pixels_ = std::move(out);
  row_len_ = out_len;
  set_u16(28, 32);
  set_u32(2, static_cast<std::uint32_t>(static_cast<std::uint64_t>(abs_height()) * out_len + header_.size()));
  bytes_per_pixel_ = 4;
  // line_size_ keeps its 24-bit value.
}

// ---------------------------------------------------------------------------
// Building and pixels

void xbmp::create(int width, int height, int bytes_per_pixel) {
  if (width <= 0 || height == 0 || height == INT_MIN || bytes_per_pixel < 3 || bytes_per_pixel > 4)
    throw xexception(xexception::out_of_range);
  clear();
  const std::uint64_t line = pad4(static_cast<std::uint64_t>(width) * static_cast<unsigned>(bytes_per_pixel));
  const std::uint64_t n = static_cast<std::uint64_t>(height < 0 ? -static_cast<std::int64_t>(height) : height);
  header_.assign(bmp::header_size, 0);
  set_u16(0, bmp::type_bm);
  set_u32(2, static_cast<std::uint32_t>(bmp::header_size + line * n));
  set_u32(10, bmp::header_size);
  set_u32(14, bmp::info_header_size);
  set_u32(18, static_cast<std::uint32_t>(width));
  set_u32(22, static_cast<std::uint32_t>(height));
  set_u16(26, 1);
  set_u16(28, static_cast<std::uint16_t>(bytes_per_pixel * 8));
  set_u32(38, bmp::created_resolution);
  set_u32(42, bmp::created_resolution);
  parse_header();
}

void xbmp::fill(unsigned color) noexcept {
  if (rows_ == 0 || bytes_per_pixel_ == 0) return;
  // One row is painted, the others copied from it.
  unsigned char* first = pixels_.data();
  const int w = width();
  for (int x = 0; x < w; ++x)
    for (int i = 0; i < bytes_per_pixel_; ++i)
      first[static_cast<std::size_t>(x) * bytes_per_pixel_ + i] = static_cast<unsigned char>(color >> (8 * i));
  const std::size_t used = static_cast<std::size_t>(w) * bytes_per_pixel_;
  for (int k = 1; k < rows_; ++k) std::memcpy(first + static_cast<std::size_t>(k) * row_len_, first, used);
}

void xbmp::add_rows(int count) {
  if (count < 0 || empty()) throw xexception(xexception::out_of_range);
  if (count > INT_MAX - rows_) throw xexception(xexception::out_of_range);
  if (top_down_) {
    // Stored top row first: turn the rows round so that the positive
    // height keeps the picture upright.
    for (int a = 0, b = rows_ - 1; a < b; ++a, --b)
      std::swap_ranges(pixels_.begin() + static_cast<std::ptrdiff_t>(a * row_len_),
                       pixels_.begin() + static_cast<std::ptrdiff_t>((a + 1) * row_len_),
                       pixels_.begin() + static_cast<std::ptrdiff_t>(b * row_len_));
    top_down_ = false;
  }
  // New bottom rows come first in file order.
  pixels_.insert(pixels_.begin(), static_cast<std::size_t>(count) * row_len_, 0);
  rows_ += count;
  set_u32(22, static_cast<std::uint32_t>(rows_));
  set_u32(2, static_cast<std::uint32_t>(static_cast<std::uint64_t>(rows_) * row_len_ + header_.size()));
}

void xbmp::copy_from(const xbmp& src, int x, int y) {
  const int j_end = static_cast<int>(std::min<std::int64_t>(abs_height(), std::int64_t{src.abs_height()} + y));
  const int i_end = static_cast<int>(std::min<std::int64_t>(width(), std::int64_t{src.width()} + x));
  for (int j = std::max(y, 0); j < j_end; ++j)
    for (int i = std::max(x, 0); i < i_end; ++i) set_pixel(i, j, src.get_pixel(i - x, j - y));
}

// ---------------------------------------------------------------------------
// The framework model

void xbmp::assign(const TBitmap* bitmap) {
  clear();
  if (bitmap == nullptr || bitmap->Empty()) return;
  const TPixelFormat pf = bitmap->PixelFormat();
  if (pf != pf24bit && pf != pf32bit) throw xexception(bmp::wrong_format);
  const int bpp = pf == pf24bit ? 3 : 4;
  create(bitmap->Width(), bitmap->Height(), bpp);
  const std::size_t used = static_cast<std::size_t>(bitmap->Width()) * static_cast<std::size_t>(bpp);
  for (int y = 0; y < bitmap->Height(); ++y) std::memcpy(get_scan_line(y), bitmap->ScanLine(y), used);
  transparent = bitmap->Transparent();
  transparent_color = static_cast<unsigned>(bitmap->TransparentColor());
}

namespace {
void copy_rows(const xbmp& image, TBitmap* bitmap, TPixelFormat pf, int bpp) {
  bitmap->SetPixelFormat(pf);
  bitmap->SetSize(image.width(), image.abs_height());
  const std::size_t used = static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(bpp);
  for (int y = 0; y < image.abs_height(); ++y) std::memcpy(bitmap->ScanLine(y), image.get_scan_line(y), used);
  bitmap->SetTransparent(image.transparent);
  if (image.transparent) bitmap->SetTransparentColor(static_cast<TColor>(image.transparent_color));
}
}  // namespace

void xbmp::assign_to(TBitmap* bitmap) const {
  if (bitmap == nullptr) throw xexception(xexception::out_of_range);
  if (empty()) {
    bitmap->SetSize(0, 0);
    return;
  }
  if (bytes_per_pixel_ != 3 && bytes_per_pixel_ != 4) throw xexception(bmp::wrong_format);
  copy_rows(*this, bitmap, bytes_per_pixel_ == 3 ? pf24bit : pf32bit, bytes_per_pixel_);
}

void xbmp::copy_pixels_to(TBitmap* bitmap) const {
  if (bytes_per_pixel_ != 3) throw xexception(bmp::wrong_format);
  if (bitmap == nullptr) throw xexception(xexception::out_of_range);
  copy_rows(*this, bitmap, pf24bit, 3);
}

}  // namespace xum
