#include "core/xtext_arena.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace xum {

namespace {

constexpr std::size_t length_bytes = sizeof(std::uint32_t);

}  // namespace

char* xtext_arena::new_block(std::size_t need) {
  // Each new block doubles, and more while the text would fill more than a
  // quarter of it, up to max_block.
  std::size_t grown = block_ == 0 ? first_block : std::min(2 * block_, max_block);
  while (need > grown / 4 && grown < max_block) grown *= 2;
  if (need > grown / 4) {
    // A long text: a block of its own, and the current block goes on.
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(need));
    held_ += need;
    return blocks_.back().get();
  }
  blocks_.push_back(std::make_unique_for_overwrite<char[]>(grown));
  held_ += grown;
  block_ = grown;
  next_ = blocks_.back().get() + need;
  left_ = grown - need;
  return blocks_.back().get();
}

const char* xtext_arena::add(std::string_view text) {
  if (text.size() > std::numeric_limits<std::uint32_t>::max() - 2 * length_bytes)
    throw std::length_error("xtext_arena: text too long");
  // Length, bytes and the zero, rounded up so that every length is aligned.
  const std::size_t need = (length_bytes + text.size() + 1 + length_bytes - 1) & ~(length_bytes - 1);
  char* p;
  if (need <= left_) {
    p = next_;
    next_ += need;
    left_ -= need;
  } else {
    p = new_block(need);
  }
  const auto n = static_cast<std::uint32_t>(text.size());
  std::memcpy(p, &n, length_bytes);
  if (!text.empty()) std::memcpy(p + length_bytes, text.data(), text.size());
  p[length_bytes + text.size()] = 0;
  return p + length_bytes;
}

void xtext_arena::clear() noexcept {
  blocks_.clear();
  next_ = nullptr;
  left_ = 0;
  block_ = 0;
  held_ = 0;
}

}  // namespace xum
