// xlabel_table: texts numbered in the order they were first added (a text's
// number is its code), found by their bytes in constant time. The
// structured format keeps its section names and keys in one.
//
//   xum::xlabel_table labels;
//   labels.find_or_add("Width");   // 0, added
//   labels.find_or_add("Height");  // 1, added
//   labels.find_or_add("Width");   // 0, found
//   labels.find("Depth");          // -1
//   labels[1];                     // "Height"
//
// The index is keyed by xcalculate_buffer_hash (seed 0) of a text's bytes,
// as the hash table of xhash_table.h is, but a slot holds the hash, the code
// and the text itself when it is short (up to inline_max bytes), so a lookup
// that hits reads one slot, where an xhash_table_impl of codes over a vector
// of strings reads the slot, the vector and then the string. Longer texts
// sit in an xtext_arena and the slot points at them. Slots are 24 bytes, at
// most half of them in use (the slot array doubles when an insert would pass
// that), so probe chains stay short: per text the index costs 48 to 96
// bytes and the code's place 4 more.
//
// Thread safety: none; a table belongs to one thread at a time.
#ifndef XUM_CORE_XLABEL_TABLE_H
#define XUM_CORE_XLABEL_TABLE_H

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "core/xexport.h"
#include "core/xtext_arena.h"

namespace xum {

class XUM_API xlabel_table {
 public:
  // Slots of the first index.
  static constexpr int first_slots = 16;
  // The longest text kept in its slot.
  static constexpr int inline_max = 15;

  xlabel_table() = default;
  xlabel_table(const xlabel_table&) = delete;
  xlabel_table& operator=(const xlabel_table&) = delete;

  // Number of texts: the codes are 0 to size() - 1.
  int size() const noexcept { return static_cast<int>(where_.size()); }
  // The text of a code in [0, size()); valid until the next text is added
  // (a short text lives in the index, which moves when it grows) or clear().
  std::string_view operator[](int code) const noexcept {
    return text_of(slots_[where_[static_cast<std::size_t>(code)]]);
  }

  // The code of the first text equal to `label` (every byte counts), or -1.
  int find(std::string_view label) const noexcept;
  // The code of `label`, added under the next code when it is new.
  int find_or_add(std::string_view label);
  // Adds `label` under the next code even when it is there already; lookups
  // keep finding the first. Returns the new code.
  int append(std::string_view label);

  // Removes every text; codes start at 0 again.
  void clear() noexcept;

 private:
  // length_ of a slot whose text is in the arena; its address is kept in
  // the first bytes of bytes_ + long_at.
  static constexpr std::uint8_t long_text = 0xFF;
  static constexpr int long_at = 7;  // puts the address 8-byte aligned
  struct slot {
    std::uint32_t hash;
    std::int32_t code;  // -1: an empty slot
    std::uint8_t length;
    char bytes[inline_max];
  };
  static_assert(sizeof(slot) == 24, "three slots share a pair of cache lines");

  static std::string_view text_of(const slot& s) noexcept;
  // The slot holding `label` (with `hash`), or the empty slot where its
  // chain ends.
  std::size_t probe(std::string_view label, std::uint32_t hash) const noexcept;
  // Adds the text under the next code and indexes it in slot `at`, which
  // probe() gave for it; grows the index first when needed.
  int add(std::string_view label, std::uint32_t hash, std::size_t at);
  // Doubles the slot array (or makes the first) and re-indexes every text.
  void grow();

  std::unique_ptr<slot[]> slots_;
  std::size_t mask_ = 0;  // slot count - 1; 0 while there are no slots
  int indexed_ = 0;       // occupied slots
  // Per code, the slot that holds its text (for a repeated text, the slot
  // of the first).
  std::vector<std::uint32_t> where_;
  xtext_arena arena_;
};

}  // namespace xum

#endif  // XUM_CORE_XLABEL_TABLE_H
