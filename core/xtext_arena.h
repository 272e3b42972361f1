// xtext_arena: many texts kept back to back in a few large blocks and freed
// together, for tables that hold a text per entry for as long as they live
// (the labels and the loaded value texts of the structured format).
//
//   xum::xtext_arena arena;
//   const char* t = arena.add("Width");        // a copy: "Width", then a 0 byte
//   xum::xtext_arena::view(t);                 // "Width"
//   arena.clear();                             // t is gone with every other text
//
// Each text costs its bytes, a terminating zero and a 32-bit length before
// it, rounded up to 4 bytes: no allocation of its own, no header of the heap
// and no reference count. Blocks start small (a table of a few texts stays
// small) and double up to max_block, at least until a new text takes at
// most a quarter of one; a longer text gets a block of its own. So at most
// half a block is left unused when the next one starts. Texts never move
// until clear().
//
// Thread safety: none; an arena belongs to one thread at a time.
#ifndef XUM_CORE_XTEXT_ARENA_H
#define XUM_CORE_XTEXT_ARENA_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "core/xexport.h"

namespace xum {

class XUM_API xtext_arena {
 public:
  // Size of the first block and the largest a block grows to (texts longer
  // than a quarter of it still get a block of their own).
  static constexpr std::size_t first_block = 256;
  static constexpr std::size_t max_block = 256 * 1024;

  xtext_arena() = default;
  xtext_arena(const xtext_arena&) = delete;
  xtext_arena& operator=(const xtext_arena&) = delete;

  // Copies `text` (any bytes, zero bytes included) into the arena and returns
  // its first byte; a zero byte follows it and its length precedes it. Valid
  // until clear() or the arena's end. Throws std::bad_alloc.
  const char* add(std::string_view text);

  // The text that add() returned as `text`.
  static std::string_view view(const char* text) noexcept {
    std::uint32_t n;
    std::memcpy(&n, text - sizeof n, sizeof n);
    return std::string_view(text, n);
  }

  // Frees every block; the next text starts a first-size block again.
  void clear() noexcept;

  // Bytes of the blocks held.
  std::size_t capacity() const noexcept { return held_; }

 private:
  // Starts a block for at least `need` bytes.
  char* new_block(std::size_t need);

  std::vector<std::unique_ptr<char[]>> blocks_;
  char* next_ = nullptr;   // the free end of the current block
  std::size_t left_ = 0;   // bytes free there
  std::size_t block_ = 0;  // size of the current growing block
  std::size_t held_ = 0;
};

}  // namespace xum

#endif  // XUM_CORE_XTEXT_ARENA_H
