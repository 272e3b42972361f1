#include "core/xstrings_merger.h"

#include <cstring>
#include <utility>

namespace xum {

namespace {

unsigned hash_of(const xstr& s) { return xcalculate_buffer_hash(s.get_text(), s.length(), 0); }

}  // namespace

xstrings_merger::xstrings_merger(xvector<xstr> strings) : strings_(std::move(strings)) { reindex(); }

xstr& xstrings_merger::operator()(xstr& s) {
  const unsigned code = hash_of(s);
  int index = -1;
  for (int slot = table_.item_by_code(code); slot != -1; slot = table_.next_item_by_code(code, slot)) {
    // Texts compare as C strings: up to the first zero byte.
    if (std::strcmp(strings_[table_.value(slot)].get_text(), s.get_text()) == 0) {
      index = table_.value(slot);
      break;
    }
  }
  if (index < 0) {
    index = strings_.size();
    table_.insert(code, index);
    strings_.push_back(s);
  }
  s = strings_[index];
  return s;
}

void xstrings_merger::clear() noexcept {
  strings_.reset();
  table_.clear();
}

void xstrings_merger::reindex() {
  table_.clear();
  for (int i = 0; i < strings_.size(); ++i) table_.insert(hash_of(strings_[i]), i);
}

void xstrings_merger::reindex(int i) {
  if (i < 0 || i >= strings_.size()) throw xexception(xexception::out_of_range);
  table_.insert(hash_of(strings_[i]), i);
}

}  // namespace xum
