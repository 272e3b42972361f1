// xbmp: a device-independent bitmap in memory. It keeps a BMP file's header
// bytes as they are and its pixel rows as they are stored, reads BMP files
// and the first image of 32-bit icon files, turns palette and bit-field
// images into 24-bit colour, widens 24-bit images to 32 bits with an opaque
// alpha byte, gives pixel and row access, pastes rectangles and exchanges
// images with the framework model's TBitmap.
//
//   xum::xbmp image;
//   image.load("picture.bmp");              // 24-bit or 32-bit afterwards
//   unsigned c = image.get_pixel(0, 0);     // 0x00RRGGBB for 24 bits
//   image.make32bit_rgba();                 // B, G, R, 255
//   image.save("copy.bmp");                 // replaced only once complete
//
// Thread safety: an image belongs to one thread at a time.
//
// ---------------------------------------------------------------------------
// BMP format as read and written here (all numbers little-endian)
//
//   file header, 14 bytes
//     0  u16 type            "BM" (0x4D42)
//     2  u32 file size       ignored on reading
//     6  u16 u16 reserved
//    10  u32 pixel offset    where the rows start; the header kept in memory
//                            is exactly this many bytes
//   information header, `info size` bytes at 14
//    14  u32 info size       40, 52, 56, 108 or 124 (12, OS/2: rejected)
//    18  i32 width           > 0
//    22  i32 height          != 0; negative: rows stored top row first
//    26  u16 planes          1
//    28  u16 bit count       1, 2, 4, 8 (palette), 24, 32 (16: rejected)
//    30  u32 compression     0 none; 3 bit fields (32-bit only); 1, 2 RLE,
//                            4 JPEG, 5 PNG: rejected
//    34  u32 image size, 38/42 i32 resolution: ignored on reading
//    46  u32 colours used    0 means 2^bit count
//    50  u32 important colours
//   colour masks: red, green, blue u32 at 54, 58, 62 (inside the 52-byte and
//     larger headers, after the 40-byte one) for compression 3
//   palette: at 14 + info size, 4 bytes an entry (blue, green, red, 0), as
//     many entries as the colours-used count gives and fit before the rows;
//     an index past them is black
//   rows: from the pixel offset, bottom row first (unless the height is
//     negative), each ceil(bit count x width / 8) bytes padded to 4
//
// A reader checks before it allocates: the headers must fit below the pixel
// offset, and rows x row size must be present in the stream; anything it
// cannot decode exactly is rejected with "Invalid data format !" and the
// reason. Bytes after the last row are ignored. Example, a 1 x 1 24-bit
// image (58 bytes): 42 4D 3A 00 00 00 00 00 00 00 36 00 00 00 | 28 00 00 00
// 01 00 00 00 01 00 00 00 01 00 18 00 00 00 00 00 ... | FF 00 00 00 (blue).
//
// Icons (load_icon32): a 6-byte directory (0, type 1, count >= 1), 16-byte
// entries (width, height, colours, 0, planes, bit count, u32 size, u32
// offset); the first entry's image is a 32-bit information header with twice
// the height (colour rows, then the mask, which is not read) followed by
// bottom-up rows of width x 4 bytes. PNG-compressed icon images are rejected.
// ---------------------------------------------------------------------------
#ifndef XUM_IMAGING_XBMP_H
#define XUM_IMAGING_XBMP_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

class xstream;
class TBitmap;

// Byte sizes and offsets of the BMP headers.
namespace bmp {
inline constexpr std::uint16_t type_bm = 0x4D42;       // "BM"
inline constexpr int file_header_size = 14;
inline constexpr int info_header_size = 40;            // the common header
inline constexpr int header_size = file_header_size + info_header_size;  // 54
inline constexpr int masks_offset = 54;                // red, green, blue masks
inline constexpr std::uint32_t created_resolution = 2000;  // pixels per metre of new images
inline constexpr std::uint32_t compression_none = 0;
inline constexpr std::uint32_t compression_bitfields = 3;
// xexception code: the image's pixel format or size does not suit the
// operation (copy_pixels_to on a 32-bit image, glyphs of different sizes).
inline constexpr int wrong_format = 5;
}  // namespace bmp

class XUM_API xbmp {
 public:
  xbmp() = default;
  virtual ~xbmp();
  // Deep copies; `transparent` and `transparent_color` are reset, as
  // parse_header does.
  xbmp(const xbmp& other);
  xbmp& operator=(const xbmp& other);
  // Moves leave `other` empty.
  xbmp(xbmp&& other) noexcept;
  xbmp& operator=(xbmp&& other) noexcept;

  // Clears the derived values (top_down, sizes) but keeps the bytes.
  void init() noexcept;
  // Frees the header and the rows: the image is empty.
  void clear() noexcept;
  bool empty() const noexcept { return header_.empty(); }

  // Reads a BMP. Afterwards the image is 24-bit, or 32-bit uncompressed.
  // A type other than "BM" throws xexception 0; an image this reader cannot
  // decode exactly, or a truncated or inconsistent one, is reported through
  // xerror (XEBadData: "Invalid data format !", the reason and the stream's
  // description). When an error hook returns, the image is left empty.
  void load(xstream& s);
  void load(const xstr& path);
  // Writes the header and the rows exactly as held; nothing is recomputed.
  // The path form writes beside the file and replaces it when complete.
  void save(xstream& s) const;
  void save(const xstr& path) const;

  // Reads the first image of an icon file; it must be 32 bits per pixel.
  // Afterwards the image is 32-bit with the icon's alpha. Errors as `load`.
  void load_icon32(xstream& s);
  void load_icon32(const xstr& path);

  // Recomputes bytes_per_pixel, line_size, top_down and the rows (|height|
  // rows of line_size bytes; existing bytes kept, new ones zero) from the
  // header; clears the transparency. The header must hold at least 54 bytes
  // and a positive width, else xexception 0.
  void parse_header();
  // Palette and bit-field images become 24-bit (make24bit).
  void test_format();
  // Palette (1, 2, 4, 8 bits) and 32-bit images become 24-bit; the header
  // is rewritten (bit count 24, compression 0, offset = header length).
  // 16-bit images throw xexception 0.
  void make24bit();
  // Makes the image 32-bit with alpha 255. line_size keeps its 24-bit value
  // (as images converted this way always did); rows hold width x 4 bytes.
  void make32bit_rgba();

  // A blank (zero) image; bytes_per_pixel 3 or 4, width > 0, height != 0,
  // else xexception 0.
  void create(int width, int height, int bytes_per_pixel);

  // Pixel access, (0, 0) top left; no bounds are checked. Colours are the
  // pixel's bytes little-endian: 0x00RRGGBB, or 0xAARRGGBB for 32 bits.
  void set_pixel(int x, int y, unsigned color) noexcept {
    unsigned char* p = row_of(y) + static_cast<std::size_t>(x) * bytes_per_pixel_;
    for (int i = 0; i < bytes_per_pixel_; ++i) p[i] = static_cast<unsigned char>(color >> (8 * i));
  }
  unsigned get_pixel(int x, int y) const noexcept {
    const unsigned char* p = row_of(y) + static_cast<std::size_t>(x) * bytes_per_pixel_;
    unsigned c = 0;
    for (int i = 0; i < bytes_per_pixel_; ++i) c |= static_cast<unsigned>(p[i]) << (8 * i);
    return c;
  }
  // The bytes of image row y (0 = top).
  unsigned char* get_scan_line(int y) noexcept { return row_of(y); }
  const unsigned char* get_scan_line(int y) const noexcept { return row_of(y); }
  void fill(unsigned color) noexcept;

  // Adds `count` zero rows below the image; a top-down image becomes a
  // bottom-up one with the same picture. count < 0 throws xexception 0.
  void add_rows(int count);
  // Pastes `src` with its top-left corner at (x, y), clipped to this image.
  void copy_from(const xbmp& src, int x, int y);

  // Exchange with the framework model. The model's bitmap keeps 24- or
  // 32-bit rows itself, so the pixels are copied row by row. `assign` of a
  // bitmap in another pixel format throws xexception 5; an empty bitmap
  // empties the image.
  void assign(const TBitmap* bitmap);
  void assign_to(TBitmap* bitmap) const;
  // The fast path for 24-bit images; other images throw xexception 5.
  void copy_pixels_to(TBitmap* bitmap) const;

  // The header fields (see the format note).
  std::span<const unsigned char> header() const noexcept { return header_; }
  std::uint32_t file_size() const noexcept { return u32(2); }
  std::uint32_t pixel_offset() const noexcept { return u32(10); }
  std::uint32_t info_size() const noexcept { return u32(14); }
  int width() const noexcept { return static_cast<int>(u32(18)); }
  int height() const noexcept { return static_cast<int>(u32(22)); }   // signed field
  int abs_height() const noexcept { return height() < 0 ? -height() : height(); }
  int bit_count() const noexcept { return header_.size() >= 30 ? header_[28] | header_[29] << 8 : 0; }
  std::uint32_t compression() const noexcept { return u32(30); }
  std::uint32_t image_size() const noexcept { return u32(34); }
  std::uint32_t x_resolution() const noexcept { return u32(38); }
  std::uint32_t y_resolution() const noexcept { return u32(42); }
  std::uint32_t colors_used() const noexcept { return u32(46); }
  std::uint32_t colors_important() const noexcept { return u32(50); }

  // Rows as stored: row(0) is the last row of the file (the top row of a
  // bottom-up image); each holds row_size() bytes.
  int row_count() const noexcept { return rows_; }
  std::size_t row_size() const noexcept { return row_len_; }
  unsigned char* row(int i) noexcept { return pixels_.data() + (rows_ - 1 - i) * row_len_; }
  const unsigned char* row(int i) const noexcept { return pixels_.data() + (rows_ - 1 - i) * row_len_; }

  int bytes_per_pixel() const noexcept { return bytes_per_pixel_; }
  std::size_t line_size() const noexcept { return line_size_; }
  bool top_down() const noexcept { return top_down_; }

  // Not part of the BMP data: carried to and from framework bitmaps.
  bool transparent = false;
  unsigned transparent_color = 0;

 private:
  std::uint32_t u32(std::size_t at) const noexcept;
  void set_u32(std::size_t at, std::uint32_t v) noexcept;
  void set_u16(std::size_t at, std::uint16_t v) noexcept;
  unsigned char* row_of(int y) noexcept { return row(top_down_ ? rows_ - 1 - y : y); }
  const unsigned char* row_of(int y) const noexcept { return row(top_down_ ? rows_ - 1 - y : y); }
  void load_checked(xstream& s);
  void load_icon_checked(xstream& s);
  void convert_palette();
  void convert_bitfields();

  // header_: the file's bytes up to the pixel offset. pixels_: the rows in
  // file order (the last row of the file, row(0), at the end), row_len_
  // bytes each, so that a file's rows are read and written in one piece.
  std::vector<unsigned char> header_;
  std::vector<unsigned char> pixels_;
  std::size_t row_len_ = 0;
  std::size_t line_size_ = 0;
  int rows_ = 0;
  int bytes_per_pixel_ = 0;
  bool top_down_ = false;
};

}  // namespace xum

#endif  // XUM_IMAGING_XBMP_H
