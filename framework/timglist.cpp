#include "framework/timglist.h"

#include <algorithm>

#include "core/xexception.h"

namespace xum {

TCustomImageList::~TCustomImageList() = default;

void TCustomImageList::changed() {
  if (OnChange) OnChange(this);
}

void TCustomImageList::SetSize(int AWidth, int AHeight) {
  if (AWidth < 1 || AHeight < 1) throw xexception(xexception::out_of_range);
  if (AWidth == FWidth && AHeight == FHeight) return;
  FWidth = AWidth;
  FHeight = AHeight;
  Clear();
}

int TCustomImageList::Add(const TBitmap& Image, const TBitmap* Mask) { return add(Image, Mask, nullptr); }

int TCustomImageList::AddMasked(const TBitmap& Image, TColor MaskColor) {
  return add(Image, nullptr, &MaskColor);
}

int TCustomImageList::add(const TBitmap& Image, const TBitmap* Mask, const TColor* MaskColor) {
  TBitmap source;
  source.Assign(Image);
  source.SetPixelFormat(pf32bit);
  const int first = Count();
  const int pieces = std::max(1, source.Width() / FWidth);
  for (int piece = 0; piece < pieces; ++piece) {
    auto image = std::make_unique<TBitmap>();
    image->SetPixelFormat(pf32bit);
    image->SetSize(FWidth, FHeight);
    for (int y = 0; y < std::min(FHeight, source.Height()); ++y) {
      for (int x = 0; x < FWidth; ++x) {
        const int sx = piece * FWidth + x;
        if (sx >= source.Width()) break;
        const auto* in = static_cast<const std::uint8_t*>(source.ScanLine(y)) + sx * 4;
        auto* out = static_cast<std::uint8_t*>(image->ScanLine(y)) + x * 4;
        std::copy(in, in + 4, out);
        bool transparent = false;
        if (MaskColor) transparent = source.Pixel(sx, y) == (*MaskColor & 0xFFFFFF);
        if (Mask && sx < Mask->Width() && y < Mask->Height() &&
            (Mask->PixelFormat() == pf24bit || Mask->PixelFormat() == pf32bit))
          transparent = Mask->Pixel(sx, y) == clWhite;
        if (transparent) out[3] = 0;
      }
    }
    FImages.push_back(std::move(image));
  }
  changed();
  return first;
}

void TCustomImageList::Replace(int Index, const TBitmap& Image) {
  if (Index < 0 || Index >= Count()) throw xexception(xexception::out_of_range);
  TCustomImageList one(nullptr);
  one.SetSize(FWidth, FHeight);
  one.Add(Image, nullptr);
  FImages[static_cast<std::size_t>(Index)] = std::move(one.FImages.front());
  changed();
}

void TCustomImageList::Delete(int Index) {
  if (Index < 0 || Index >= Count()) throw xexception(xexception::out_of_range);
  FImages.erase(FImages.begin() + Index);
  changed();
}

void TCustomImageList::Clear() {
  if (FImages.empty()) return;
  FImages.clear();
  changed();
}

void TCustomImageList::GetBitmap(int Index, TBitmap& Image) const {
  if (Index < 0 || Index >= Count()) throw xexception(xexception::out_of_range);
  Image.Assign(*FImages[static_cast<std::size_t>(Index)]);
}

}  // namespace xum
