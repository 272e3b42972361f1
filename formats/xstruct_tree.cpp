#include "formats/xstruct_tree.h"

#include <cstdio>
#include <utility>

#include "core/xcatalogue.h"

namespace xum {

std::int64_t xstruct_value::as_int64() const {
  long long v = 0;
  if (std::sscanf(text_.get_text(), "%Li", &v) != 1) throw xvalue_conversion_error{&msg::eNonInteger};
  return v;
}

double xstruct_value::as_double() const {
  double v = 0;
  if (std::sscanf(text_.get_text(), "%lf", &v) != 1) throw xvalue_conversion_error{&msg::eNonNumber};
  return v;
}

xstruct_section::~xstruct_section() {
  // Detach the children first, so that no destructor below recurses.
  std::vector<std::unique_ptr<xstruct_section>> pending = std::move(children_);
  while (!pending.empty()) {
    std::unique_ptr<xstruct_section> s = std::move(pending.back());
    pending.pop_back();
    for (auto& c : s->children_) pending.push_back(std::move(c));
    s->children_.clear();
  }
}

namespace {

// Position of the first entry with `code` among `items`, using `index` for
// long lists (extending it to cover new entries first).
int code_of(const xstruct_value& v) { return v.code(); }
int code_of(const std::unique_ptr<xstruct_section>& s) { return s->code(); }

template <class Items>
int find_by_code(Items& items, xhash_table_impl& index, std::size_t threshold, int code) {
  const int n = static_cast<int>(items.size());
  if (items.size() <= threshold) {
    for (int i = 0; i < n; ++i)
      if (code_of(items[static_cast<std::size_t>(i)]) == code) return i;
    return -1;
  }
  for (int i = index.count(); i < n; ++i)
    index.insert(static_cast<unsigned>(code_of(items[static_cast<std::size_t>(i)])), i);
  // Equal codes may sit in any order along their chain: take the first.
  int found = -1;
  const auto key = static_cast<unsigned>(code);
  for (int s = index.item_by_code(key); s != -1; s = index.next_item_by_code(key, s))
    if (found < 0 || index.value(s) < found) found = index.value(s);
  return found;
}

}  // namespace

int xstruct_section::find_value_index(int code) {
  return find_by_code(values_, value_index_, index_threshold, code);
}

xstruct_section* xstruct_section::find_child(int code) {
  const int i = find_by_code(children_, child_index_, index_threshold, code);
  return i < 0 ? nullptr : children_[static_cast<std::size_t>(i)].get();
}

void xstruct_section::add_value(xstruct_value v) {
  // Settings sections usually hold a handful of values or more: skip the
  // smallest growth steps.
  if (values_.empty()) values_.reserve(8);
  values_.push_back(std::move(v));
}

void xstruct_section::replace_value(int i, xstruct_value v) {
  auto& slot = values_.at(static_cast<std::size_t>(i));
  const bool same_code = slot.code() == v.code();
  slot = std::move(v);
  if (!same_code) value_index_.clear();
}

xstruct_section& xstruct_section::add_child(int code) {
  children_.push_back(std::make_unique<xstruct_section>(code));
  return *children_.back();
}

xstruct_section& xstruct_section::find_or_add_child(int code) {
  xstruct_section* c = find_child(code);
  return c ? *c : add_child(code);
}

void xstruct_section::remove_empty_children() {
  std::erase_if(children_, [](const std::unique_ptr<xstruct_section>& c) { return c->empty(); });
  child_index_.clear();  // positions moved
}

void xstruct_section::clear() {
  values_.clear();
  xstruct_section doomed(0);  // destroys the children without recursion
  doomed.children_ = std::move(children_);
  children_.clear();
  value_index_.clear();
  child_index_.clear();
}

}  // namespace xum
