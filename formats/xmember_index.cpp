#include "formats/xmember_index.h"

#include <algorithm>
#include <bit>
#include <functional>

#include "core/xexception.h"

namespace xum {

namespace {

std::uint32_t hash_of(std::string_view key) noexcept {
  const std::size_t h = std::hash<std::string_view>{}(key);
  return static_cast<std::uint32_t>(h ^ (h >> 32));
}

}  // namespace

void xmember_index::clear() noexcept {
  slots_.clear();
  keys_.clear();
  count_ = 0;
}

void xmember_index::reserve(std::size_t members) {
  const std::size_t wanted = std::bit_ceil(members * 2 < 16 ? 16 : members * 2);
  if (wanted > slots_.size()) rehash(wanted);
}

std::size_t xmember_index::probe(std::string_view key, std::uint32_t hash) const noexcept {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
    const slot& s = slots_[i];
    if (s.member < 0) return i;
    if (s.hash == hash && s.key_length == key.size() &&
        std::string_view(keys_.data() + s.key_at, s.key_length) == key)
      return i;
  }
}

void xmember_index::insert(std::string_view key, int member) {
  if ((count_ + 1) * 2 > slots_.size()) reserve(std::max(count_ + 1, slots_.size()));
  const std::uint32_t hash = hash_of(key);
  slot& s = slots_[probe(key, hash)];
  if (s.member >= 0) return;  // the first member of a name wins
  // Keys are addressed by 32-bit offsets; a table can hold at most 2 GiB of
  // names, so only a lower case far longer than its name could get here.
  if (keys_.size() + key.size() > UINT32_MAX) throw xexception(xexception::out_of_range);
  s = {hash, member, static_cast<std::uint32_t>(keys_.size()), static_cast<std::uint32_t>(key.size())};
  keys_.append(key);
  ++count_;
}

int xmember_index::find(std::string_view key) const noexcept {
  if (count_ == 0) return -1;
  return slots_[probe(key, hash_of(key))].member;
}

void xmember_index::rehash(std::size_t slot_count) {
  std::vector<slot> old(slot_count, slot{0, -1, 0, 0});
  old.swap(slots_);
  const std::size_t mask = slot_count - 1;
  for (const slot& s : old) {
    if (s.member < 0) continue;
    std::size_t i = s.hash & mask;
    while (slots_[i].member >= 0) i = (i + 1) & mask;
    slots_[i] = s;
  }
}

}  // namespace xum
