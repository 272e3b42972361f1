#include "core/xhash_table.h"

#include <cstring>

#include "core/xle.h"

namespace xum {

namespace {

// Multiplier of the hash step; with the shift by 12 it spreads every input
// bit over the 32 bits kept.
constexpr std::uint64_t hash_multiplier = 0x0C639675;

inline unsigned hash_step(std::uint32_t word, unsigned h) noexcept {
  const std::uint64_t sum = std::uint64_t{word} + h;  // the carry reaches bit 32
  return static_cast<std::uint32_t>((sum * hash_multiplier) >> 12);
}

}  // namespace

unsigned xcalculate_buffer_hash(const void* data, int length, unsigned seed) {
  const auto* p = static_cast<const unsigned char*>(data);
  unsigned h = seed;
  while (length >= 4) {
    h = hash_step(le::load<std::uint32_t>(p), h);
    p += 4;
    length -= 4;
  }
  if (length > 0) {
    unsigned char tail[4] = {0, 0, 0, 0};
    std::memcpy(tail, p, static_cast<std::size_t>(length));
    h = hash_step(le::load<std::uint32_t>(tail), h);
  }
  return h;
}

void xhash_table_impl::insert(unsigned code, int value) {
  if (count_ * 4 == slots_.size()) extend_table();
  const int mask = slots_.size() - 1;
  int i = static_cast<int>(code & static_cast<unsigned>(mask));
  while (slots_[i].value >= 0) i = (i + 1) & mask;
  slots_[i] = slot{code, value};
  ++count_;
}

int xhash_table_impl::probe(unsigned code, int from) const noexcept {
  const int mask = slots_.size() - 1;
  int i = from & mask;
  // The table is at most a quarter full, so an empty slot ends every chain.
  while (slots_[i].value >= 0) {
    if (slots_[i].code == code) return i;
    i = (i + 1) & mask;
  }
  return -1;
}

int xhash_table_impl::item_by_code(unsigned code) const noexcept {
  if (slots_.empty()) return -1;
  return probe(code, static_cast<int>(code & static_cast<unsigned>(slots_.size() - 1)));
}

int xhash_table_impl::next_item_by_code(unsigned code, int slot) const noexcept {
  if (slots_.empty()) return -1;
  return probe(code, slot + 1);
}

void xhash_table_impl::extend_table() {
  const int old_size = slots_.size();
  if (old_size == 0) {
    slots_.resize(initial_size);
    for (slot& s : slots_) s = slot{0, -1};
    return;
  }
  xvector<slot> old;
  old.swap(slots_);
  const int size = old_size * 2;
  slots_.resize(size);
  for (slot& s : slots_) s = slot{0, -1};
  const unsigned mask = static_cast<unsigned>(size - 1);
  // First pass: every item whose home slot is still free goes there, so
  // colliding items never push an item out of its home slot.
  xvector<unsigned char> moved;
  moved.resize(old_size);
  for (int i = 0; i < old_size; ++i) {
    if (old[i].value < 0) continue;
    slot& home = slots_[static_cast<int>(old[i].code & mask)];
    if (home.value < 0) {
      home = old[i];
      moved[i] = 1;
    }
  }
  // Second pass: the rest probe linearly from their home slot.
  for (int i = 0; i < old_size; ++i) {
    if (old[i].value < 0 || moved[i]) continue;
    int j = static_cast<int>(old[i].code & mask);
    while (slots_[j].value >= 0) j = (j + 1) & static_cast<int>(mask);
    slots_[j] = old[i];
  }
}

void xhash_table_impl::clear() noexcept {
  slots_.reset();
  count_ = 0;
}

}  // namespace xum
