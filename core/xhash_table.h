// The buffer hash and the open-addressing table that the library uses to
// find strings by their hash code in constant time: the structured format's
// label index and the strings merger are built on it.
//
//   xum::xhash_table_impl t;
//   const unsigned code = xum::xcalculate_buffer_hash("Width", 5, 0);
//   t.insert(code, 0);                       // value: an index into a vector
//   for (int s = t.item_by_code(code); s != -1; s = t.next_item_by_code(code, s))
//     if (labels[t.value(s)] == "Width") ...
//
// The table maps a 32-bit code to a non-negative value; equal codes are all
// kept and found one after another. It is never more than a quarter full:
// it starts at 128 slots on the first insert and doubles whenever an insert
// finds it one quarter full, so probe chains stay short.
//
// Thread safety: none; a table belongs to one thread at a time.
#ifndef XUM_CORE_XHASH_TABLE_H
#define XUM_CORE_XHASH_TABLE_H

#include <cstdint>

#include "core/xexport.h"
#include "core/xvector.h"

namespace xum {

// The 32-bit hash of `length` bytes at `data` (zero bytes included),
// starting from `seed`. Each little-endian 32-bit word w (a last partial
// word padded with zero bytes above it) updates h to bits 12..43 of
// (w + h) * 0x0C639675, the sum formed in 64 bits so that its carry counts.
// A length of 0 returns `seed`. Requires length >= 0.
XUM_API unsigned xcalculate_buffer_hash(const void* data, int length, unsigned seed);

class XUM_API xhash_table_impl {
 public:
  // One slot: the code and the value stored with it; a negative value marks
  // an empty slot (whose code means nothing).
  struct slot {
    std::uint32_t code;
    std::int32_t value;
  };

  // The table of a fresh object or after `clear` has no slots at all.
  static constexpr int initial_size = 128;

  // Adds (code, value); value must be >= 0. Equal codes are all kept.
  // Grows the table first when it is a quarter full.
  void insert(unsigned code, int value);

  // The slot of the first item with `code` in probe order, or -1.
  int item_by_code(unsigned code) const noexcept;
  // The slot of the next item with `code` after `slot`, which must come
  // from item_by_code or next_item_by_code; -1 at the end of the chain.
  int next_item_by_code(unsigned code, int slot) const noexcept;

  // The value stored in a slot returned by the find operations.
  int value(int slot) const noexcept { return slots_[slot].value; }

  // Creates the 128-slot table, or doubles it and re-inserts every item:
  // first each item whose home slot is free, then the colliding ones. Called
  // by insert.
  void extend_table();

  // Frees the slots; the next insert starts a 128-slot table again.
  void clear() noexcept;

  // Items inserted since the last clear.
  int count() const noexcept { return count_; }
  // Number of slots: 0 or a power of two >= 128.
  int size() const noexcept { return slots_.size(); }

 private:
  // First slot, from `from` on, that is empty or holds `code`.
  int probe(unsigned code, int from) const noexcept;

  xvector<slot> slots_;
  int count_ = 0;
};

}  // namespace xum

#endif  // XUM_CORE_XHASH_TABLE_H
