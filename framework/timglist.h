// Image lists: equally sized images addressed by index, as tool bars, menus
// and list views draw them.
//
//   auto* images = new xum::TImageList(form);
//   images->SetSize(16, 16);
//   int i = images->Add(bitmap, nullptr);
//
// Thread safety: belongs to the main thread.
#ifndef XUM_FRAMEWORK_TIMGLIST_H
#define XUM_FRAMEWORK_TIMGLIST_H

#include <memory>
#include <vector>

#include "core/xexport.h"
#include "framework/tcomponent.h"
#include "framework/tgraphics.h"

namespace xum {

class XUM_API TCustomImageList : public TComponent {
 public:
  using TComponent::TComponent;
  ~TCustomImageList() override;

  int Width() const noexcept { return FWidth; }
  int Height() const noexcept { return FHeight; }
  // Changing the size clears the list. Sizes below 1 throw xexception 0.
  void SetSize(int AWidth, int AHeight);
  int Count() const noexcept { return static_cast<int>(FImages.size()); }

  // Adds an image, cut into as many images of the list's width as it holds
  // side by side; returns the index of the first. The image is kept as 32
  // bits; a mask (white = transparent) clears the alpha of its pixels.
  int Add(const TBitmap& Image, const TBitmap* Mask);
  // As Add, with every pixel of MaskColor transparent.
  int AddMasked(const TBitmap& Image, TColor MaskColor);
  void Replace(int Index, const TBitmap& Image);
  void Delete(int Index);
  void Clear();
  // Copies image Index into Image (32 bits); out of range throws xexception 0.
  void GetBitmap(int Index, TBitmap& Image) const;

  TNotifyEvent OnChange;

 private:
  int add(const TBitmap& Image, const TBitmap* Mask, const TColor* MaskColor);
  void changed();
  int FWidth = 16;
  int FHeight = 16;
  std::vector<std::unique_ptr<TBitmap>> FImages;
};

class XUM_API TImageList : public TCustomImageList {
 public:
  using TCustomImageList::TCustomImageList;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TIMGLIST_H
