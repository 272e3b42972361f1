// Colours, fonts and bitmaps of the framework: what controls describe
// themselves with and what images are exchanged as.
//
//   xum::TFont f;                       // "Tahoma", character set 1, size 8
//   f.SetStyle(f.Style() | xum::fsBold);
//   xum::TBitmap b;
//   b.SetPixelFormat(xum::pf32bit);
//   b.SetSize(16, 16);
//   auto* row = static_cast<std::uint8_t*>(b.ScanLine(0));   // B, G, R, A
//
// Thread safety: belongs to one thread at a time.
#ifndef XUM_FRAMEWORK_TGRAPHICS_H
#define XUM_FRAMEWORK_TGRAPHICS_H

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "core/xexceptions.h"
#include "core/xexport.h"
#include "framework/tcomponent.h"

namespace xum {

// 0x00BBGGRR, or a system colour (high byte 0xFF) resolved by a backend.
using TColor = std::int32_t;
inline constexpr TColor clBlack = 0x000000;
inline constexpr TColor clWhite = 0xFFFFFF;
inline constexpr TColor clRed = 0x0000FF;
inline constexpr TColor clLime = 0x00FF00;
inline constexpr TColor clBlue = 0xFF0000;
inline constexpr TColor clFuchsia = 0xFF00FF;
inline constexpr TColor clNone = 0x1FFFFFFF;
inline constexpr TColor clDefault = 0x20000000;
inline constexpr TColor clBtnFace = static_cast<TColor>(0xFF00000F);
inline constexpr TColor clWindow = static_cast<TColor>(0xFF000005);
inline constexpr TColor clWindowText = static_cast<TColor>(0xFF000008);

// Font styles as a set: each value is a bit number.
enum TFontStyle { fsBold = 0, fsItalic = 1, fsUnderline = 2, fsStrikeOut = 3 };
using TFontStyles = unsigned;
constexpr TFontStyles operator|(TFontStyles s, TFontStyle f) noexcept { return s | (1u << f); }
constexpr TFontStyles FontStyles(std::initializer_list<TFontStyle> styles) noexcept {
  TFontStyles s = 0;
  for (TFontStyle f : styles) s |= 1u << f;
  return s;
}
constexpr bool HasStyle(TFontStyles s, TFontStyle f) noexcept { return (s >> f) & 1u; }

inline constexpr std::uint8_t DEFAULT_CHARSET = 1;

class XUM_API TFont : public TObject {
 public:
  TFont() = default;
  ~TFont() override;

  const UnicodeString& Name() const noexcept { return FName; }
  void SetName(const UnicodeString& Value);
  std::uint8_t Charset() const noexcept { return FCharset; }
  void SetCharset(std::uint8_t Value);
  // Size in points; Height is the matching pixel height at 96 dpi, negative
  // as the host framework reports character heights.
  int Size() const noexcept { return FSize; }
  void SetSize(int Value);
  int Height() const noexcept;
  void SetHeight(int Value);
  TColor Color() const noexcept { return FColor; }
  void SetColor(TColor Value);
  TFontStyles Style() const noexcept { return FStyle; }
  void SetStyle(TFontStyles Value);

  void Assign(const TFont& Source);

  TNotifyEvent OnChange;

 private:
  void changed();
  UnicodeString FName = u"Tahoma";
  std::uint8_t FCharset = DEFAULT_CHARSET;
  int FSize = 8;
  TColor FColor = clWindowText;
  TFontStyles FStyle = 0;
};

// Bits per pixel of a bitmap's rows.
enum TPixelFormat { pfDevice, pf1bit, pf4bit, pf8bit, pf15bit, pf16bit, pf24bit, pf32bit, pfCustom };

// An image in memory: rows of pixels, top row first, each row padded to a
// multiple of 4 bytes. 24-bit pixels are B, G, R; 32-bit pixels B, G, R, A.
// Formats below 24 bits keep their bytes but are not interpreted here.
class XUM_API TBitmap : public TObject {
 public:
  TBitmap() = default;
  ~TBitmap() override;

  int Width() const noexcept { return FWidth; }
  int Height() const noexcept { return FHeight; }
  void SetWidth(int Value) { SetSize(Value, FHeight); }
  void SetHeight(int Value) { SetSize(FWidth, Value); }
  // Resizes; pixels that stay inside keep their values, new ones are 0.
  // Negative sizes throw xexception 0.
  void SetSize(int AWidth, int AHeight);

  TPixelFormat PixelFormat() const noexcept { return FPixelFormat; }
  // Changes the row layout; 24 <-> 32 bits convert the pixels (alpha 255
  // when added); other changes clear the image.
  void SetPixelFormat(TPixelFormat Value);
  int BitsPerPixel() const noexcept;
  int RowBytes() const noexcept;

  // The first byte of row Row (0 = top); out of range throws xexception 0.
  void* ScanLine(int Row);
  const void* ScanLine(int Row) const;

  bool Transparent() const noexcept { return FTransparent; }
  void SetTransparent(bool Value) noexcept { FTransparent = Value; }
  // The colour drawn as transparent; clDefault means the bottom-left pixel.
  TColor TransparentColor() const noexcept;
  void SetTransparentColor(TColor Value) noexcept { FTransparentColor = Value; }

  // A 24- or 32-bit pixel as a colour (0x00BBGGRR); other formats give 0.
  TColor Pixel(int X, int Y) const;
  void SetPixel(int X, int Y, TColor Color);

  void Assign(const TBitmap& Source);
  bool Empty() const noexcept { return FWidth == 0 || FHeight == 0; }

 private:
  int FWidth = 0;
  int FHeight = 0;
  TPixelFormat FPixelFormat = pf24bit;
  std::vector<std::uint8_t> FBits;
  bool FTransparent = false;
  TColor FTransparentColor = clDefault;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TGRAPHICS_H
