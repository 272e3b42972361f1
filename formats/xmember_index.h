// xmember_index: the archive's lookup from a member's lower-case name to
// the first member of that name. An open-addressing table of 16-byte slots
// whose keys sit back to back in one buffer: a lookup touches one slot and
// one key, where a node-based map follows three pointers, which is what
// counts with tens of thousands of members read in random order.
//
//   xum::xmember_index index;
//   index.insert("readme.txt", 0);
//   index.insert("readme.txt", 7);     // ignored: the first member wins
//   int member = index.find("readme.txt");   // 0; -1 when absent
//
// Thread safety: one writer, or any number of readers.
#ifndef XUM_FORMATS_XMEMBER_INDEX_H
#define XUM_FORMATS_XMEMBER_INDEX_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/xexport.h"

namespace xum {

class XUM_API xmember_index {
 public:
  void clear() noexcept;
  // Room for `members` keys without growing.
  void reserve(std::size_t members);
  // Adds `key` for `member` unless the key is already present.
  void insert(std::string_view key, int member);
  // The member stored for `key`, or -1.
  int find(std::string_view key) const noexcept;
  std::size_t size() const noexcept { return count_; }

 private:
  struct slot {
    std::uint32_t hash;
    std::int32_t member;  // -1: empty
    std::uint32_t key_at;
    std::uint32_t key_length;
  };

  // The slot holding `key`, or the empty slot where it would go.
  std::size_t probe(std::string_view key, std::uint32_t hash) const noexcept;
  void rehash(std::size_t slot_count);

  std::vector<slot> slots_;  // a power of two in size, at most half full
  std::string keys_;
  std::size_t count_ = 0;
};

}  // namespace xum

#endif  // XUM_FORMATS_XMEMBER_INDEX_H
