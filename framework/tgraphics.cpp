#include "framework/tgraphics.h"

#include <algorithm>
#include <cstring>

#include "core/xexception.h"

namespace xum {

// ---- TFont ----

TFont::~TFont() = default;

void TFont::changed() {
  if (OnChange) OnChange(this);
}

void TFont::SetName(const UnicodeString& Value) {
  FName = Value;
  changed();
}
void TFont::SetCharset(std::uint8_t Value) {
  FCharset = Value;
  changed();
}
void TFont::SetSize(int Value) {
  FSize = Value;
  changed();
}
int TFont::Height() const noexcept { return -((FSize * 96 + 36) / 72); }
void TFont::SetHeight(int Value) {
  const int pixels = Value < 0 ? -Value : Value;
  FSize = (pixels * 72 + 48) / 96;
  changed();
}
void TFont::SetColor(TColor Value) {
  FColor = Value;
  changed();
}
void TFont::SetStyle(TFontStyles Value) {
  FStyle = Value & 0xFu;
  changed();
}

void TFont::Assign(const TFont& Source) {
  if (&Source == this) return;
  FName = Source.FName;
  FCharset = Source.FCharset;
  FSize = Source.FSize;
  FColor = Source.FColor;
  FStyle = Source.FStyle;
  changed();
}

// ---- TBitmap ----

TBitmap::~TBitmap() = default;

int TBitmap::BitsPerPixel() const noexcept {
  switch (FPixelFormat) {
    case pf1bit: return 1;
    case pf4bit: return 4;
    case pf8bit: return 8;
    case pf15bit:
    case pf16bit: return 16;
    case pf32bit: return 32;
    default: return 24;
  }
}

int TBitmap::RowBytes() const noexcept {
  const std::int64_t bits = std::int64_t{FWidth} * BitsPerPixel();
  return static_cast<int>(((bits + 31) / 32) * 4);
}

void TBitmap::SetSize(int AWidth, int AHeight) {
  if (AWidth < 0 || AHeight < 0) throw xexception(xexception::out_of_range);
  if (AWidth == FWidth && AHeight == FHeight) return;
  const int old_row = RowBytes();
  const int old_height = FHeight;
  std::vector<std::uint8_t> old = std::move(FBits);
  FWidth = AWidth;
  FHeight = AHeight;
  const int row = RowBytes();
  FBits.assign(static_cast<std::size_t>(row) * static_cast<std::size_t>(FHeight), 0);
  const int keep_rows = std::min(old_height, FHeight);
  const int keep_bytes = std::min(old_row, row);
  for (int y = 0; y < keep_rows; ++y)
    std::memcpy(FBits.data() + std::size_t(y) * row, old.data() + std::size_t(y) * old_row, std::size_t(keep_bytes));
}

void TBitmap::SetPixelFormat(TPixelFormat Value) {
  if (Value == FPixelFormat) return;
  const TPixelFormat from = FPixelFormat;
  const std::vector<std::uint8_t> old = FBits;
  const int old_row = RowBytes();
  FPixelFormat = Value;
  const int row = RowBytes();
  FBits.assign(static_cast<std::size_t>(row) * static_cast<std::size_t>(FHeight), 0);
  const bool convertible = (from == pf24bit || from == pf32bit) && (Value == pf24bit || Value == pf32bit);
  if (!convertible) return;
  const int in_step = from == pf32bit ? 4 : 3;
  const int out_step = Value == pf32bit ? 4 : 3;
  for (int y = 0; y < FHeight; ++y) {
    const std::uint8_t* in = old.data() + std::size_t(y) * old_row;
    std::uint8_t* out = FBits.data() + std::size_t(y) * row;
    for (int x = 0; x < FWidth; ++x, in += in_step, out += out_step) {
      out[0] = in[0];
      out[1] = in[1];
      out[2] = in[2];
      if (out_step == 4) out[3] = 255;
    }
  }
}

void* TBitmap::ScanLine(int Row) {
  if (Row < 0 || Row >= FHeight) throw xexception(xexception::out_of_range);
  return FBits.data() + std::size_t(Row) * std::size_t(RowBytes());
}

const void* TBitmap::ScanLine(int Row) const { return const_cast<TBitmap*>(this)->ScanLine(Row); }

TColor TBitmap::Pixel(int X, int Y) const {
  if (X < 0 || X >= FWidth) throw xexception(xexception::out_of_range);
  if (FPixelFormat != pf24bit && FPixelFormat != pf32bit) return 0;
  const auto* p = static_cast<const std::uint8_t*>(ScanLine(Y)) + X * (FPixelFormat == pf32bit ? 4 : 3);
  return p[2] | (p[1] << 8) | (p[0] << 16);
}

void TBitmap::SetPixel(int X, int Y, TColor Color) {
  if (X < 0 || X >= FWidth) throw xexception(xexception::out_of_range);
  if (FPixelFormat != pf24bit && FPixelFormat != pf32bit) return;
  auto* p = static_cast<std::uint8_t*>(ScanLine(Y)) + X * (FPixelFormat == pf32bit ? 4 : 3);
  p[0] = static_cast<std::uint8_t>(Color >> 16);
  p[1] = static_cast<std::uint8_t>(Color >> 8);
  p[2] = static_cast<std::uint8_t>(Color);
}

TColor TBitmap::TransparentColor() const noexcept {
  if (FTransparentColor != clDefault) return FTransparentColor;
  if (Empty()) return clDefault;
  try {
    return Pixel(0, FHeight - 1);
  } catch (...) {
    return clDefault;
  }
}

void TBitmap::Assign(const TBitmap& Source) {
  if (&Source == this) return;
  FWidth = Source.FWidth;
  FHeight = Source.FHeight;
  FPixelFormat = Source.FPixelFormat;
  FBits = Source.FBits;
  FTransparent = Source.FTransparent;
  FTransparentColor = Source.FTransparentColor;
}

}  // namespace xum
