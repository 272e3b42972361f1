#include "core/xlabel_table.h"

#include <cstring>
#include <limits>
#include <stdexcept>

#include "core/xhash_table.h"

namespace xum {

namespace {

std::uint32_t hash_of(std::string_view label) noexcept {
  return xcalculate_buffer_hash(label.data(), static_cast<int>(label.size()), 0);
}

}  // namespace

std::string_view xlabel_table::text_of(const slot& s) noexcept {
  if (s.length != long_text) return std::string_view(s.bytes, s.length);
  const char* text;
  std::memcpy(&text, s.bytes + long_at, sizeof text);
  return xtext_arena::view(text);
}

std::size_t xlabel_table::probe(std::string_view label, std::uint32_t hash) const noexcept {
  // At most half the slots are in use, so an empty slot ends every chain.
  // A short label is compared in the slot; a long one only matches a slot
  // that points into the arena.
  const bool is_short = label.size() <= static_cast<std::size_t>(inline_max);
  std::size_t i = hash & mask_;
  for (;;) {
    const slot& s = slots_[i];
    if (s.code < 0) return i;
    if (s.hash == hash) {
      if (is_short ? s.length == label.size() && std::memcmp(s.bytes, label.data(), label.size()) == 0
                   : s.length == long_text && text_of(s) == label)
        return i;
    }
    i = (i + 1) & mask_;
  }
}

int xlabel_table::find(std::string_view label) const noexcept {
  if (!slots_) return -1;
  return slots_[probe(label, hash_of(label))].code;
}

int xlabel_table::find_or_add(std::string_view label) {
  const std::uint32_t hash = hash_of(label);
  std::size_t at = 0;
  if (slots_) {
    at = probe(label, hash);
    if (slots_[at].code >= 0) return slots_[at].code;
  }
  return add(label, hash, at);
}

int xlabel_table::append(std::string_view label) {
  const std::uint32_t hash = hash_of(label);
  std::size_t at = 0;
  if (slots_) {
    at = probe(label, hash);
    if (slots_[at].code >= 0) {
      // A repeated text is not indexed again (lookups find the first); its
      // code reads the first one's slot.
      where_.push_back(static_cast<std::uint32_t>(at));
      return size() - 1;
    }
  }
  return add(label, hash, at);
}

int xlabel_table::add(std::string_view label, std::uint32_t hash, std::size_t at) {
  const int code = size();
  if (!slots_ || 2 * (static_cast<std::size_t>(indexed_) + 1) > mask_ + 1) {
    grow();
    at = probe(label, hash);
  }
  // Everything that may fail comes before the slot is written: a failure
  // leaves at most an unused text in the arena.
  const char* text = label.size() > static_cast<std::size_t>(inline_max) ? arena_.add(label) : nullptr;
  where_.push_back(static_cast<std::uint32_t>(at));
  slot& s = slots_[at];
  s.hash = hash;
  s.code = code;
  if (text != nullptr) {
    s.length = long_text;
    std::memcpy(s.bytes + long_at, &text, sizeof text);
  } else {
    s.length = static_cast<std::uint8_t>(label.size());
    if (!label.empty()) std::memcpy(s.bytes, label.data(), label.size());
  }
  ++indexed_;
  return code;
}

void xlabel_table::grow() {
  const std::size_t old_count = slots_ ? mask_ + 1 : 0;
  const std::size_t count = slots_ ? 2 * old_count : static_cast<std::size_t>(first_slots);
  if (count - 1 > std::numeric_limits<std::uint32_t>::max()) throw std::length_error("xlabel_table: too many labels");
  auto slots = std::make_unique_for_overwrite<slot[]>(count);
  for (std::size_t i = 0; i < count; ++i) slots[i].code = -1;
  const std::size_t mask = count - 1;
  // Where each old slot went, to move the codes' places along.
  auto moved = std::make_unique_for_overwrite<std::uint32_t[]>(old_count);
  for (std::size_t i = 0; i < old_count; ++i) {
    if (slots_[i].code < 0) continue;
    std::size_t j = slots_[i].hash & mask;
    while (slots[j].code >= 0) j = (j + 1) & mask;
    slots[j] = slots_[i];
    moved[i] = static_cast<std::uint32_t>(j);
  }
  for (std::uint32_t& w : where_) w = moved[w];
  slots_ = std::move(slots);
  mask_ = mask;
}

void xlabel_table::clear() noexcept {
  slots_.reset();
  mask_ = 0;
  indexed_ = 0;
  where_ = std::vector<std::uint32_t>();  // frees the codes' array too
  arena_.clear();
}

}  // namespace xum
