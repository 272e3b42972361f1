// The in-memory tree of the structured format: sections holding keyed values
// and nested sections, both in insertion order.
//
//   xum::xstruct_section root(0);
//   root.add_value(xum::xstruct_value(3, "100"));                  // code 3
//   xum::xstruct_section& panel = root.add_child(4);
//   root.find_value(3)->text();                                     // "100"
//
// Codes are label-table indices (0 or more) or anonymous entries (the
// complement of the entry's number, -1 for #0); see xstruct_format.h.
// Sections with many entries index them by code, so lookups stay constant
// time; deep trees are destroyed without recursion.
//
// Thread safety: a tree belongs to one thread at a time.
#ifndef XUM_FORMATS_XSTRUCT_TREE_H
#define XUM_FORMATS_XSTRUCT_TREE_H

#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <span>
#include <string_view>
#include <vector>

#include "core/xexport.h"
#include "core/xhash_table.h"
#include "core/xstr.h"
#include "core/xtext_arena.h"

namespace xum {

struct xloc_str;

// Thrown by a value that cannot be converted to the asked type: `entry` is
// the catalogue record whose text the property call reports, followed by the
// key ("eNonInteger", "eNonNumber"). A std::exception, as every exception of
// the library: what() is the record's text.
struct XUM_API xvalue_conversion_error : std::exception {
  explicit xvalue_conversion_error(const xloc_str* e) noexcept : entry(e) {}
  const char* what() const noexcept override { return entry != nullptr ? entry->text.get_text() : "conversion"; }
  const xloc_str* entry;
};

// The kind of a stored value. Text comes from the text form and from text
// properties; the numeric kinds from the typed properties and the binary
// form. `extended` is an 80-bit x87 real, which only the binary form holds.
enum class xvalue_kind : std::uint8_t { text, int64, float32, real64, extended };

// A stored value: its code and a payload of one of the kinds. Values are
// one tagged type rather than a class per kind, so that they live inline in
// their section's array. The payload shares 8 bytes between the kinds; an
// extended real keeps its mantissa there and its sign and exponent in the
// bytes that would otherwise pad the code and kind, so every value is 16
// bytes.
//
// A text is held either as an xstr or, for the texts a load reads, as a
// view of a text in the tree's xtext_arena (arena_ref): a load then
// copies each text once into large blocks instead of allocating one string
// per value, and freeing the tree frees a few blocks. text() hands out an
// xstr of its own for such a text, and a copy of the value owns a copy of
// the text, so nothing outside the tree points into the arena.
class XUM_API xstruct_value {
 public:
  // A text value.
  xstruct_value(int code, xstr text) noexcept : code_(code), kind_(xvalue_kind::text) {
    new (&text_) xstr(std::move(text));
  }
  // A text of an xtext_arena, as xtext_arena::add returned it.
  struct arena_ref {
    const char* text;
  };
  // A text value viewing a text of an arena: the arena must outlive this
  // value and every value moved from it (copies own their text).
  xstruct_value(int code, arena_ref text) noexcept
      : code_(code), kind_(xvalue_kind::text), in_arena_(true), arena_(text.text) {}
  // Numeric values of each kind.
  static xstruct_value int64(int code, std::int64_t v) noexcept;
  static xstruct_value float32(int code, float v) noexcept;
  static xstruct_value real64(int code, double v) noexcept;
  // An extended real from its 10 little-endian bytes as the x87 stores them.
  static xstruct_value extended(int code, const unsigned char* bytes) noexcept;

  // A copy of a value in an arena allocates its text.
  xstruct_value(const xstruct_value& other);
  xstruct_value(xstruct_value&& other) noexcept
      : code_(other.code_), kind_(other.kind_), in_arena_(other.in_arena_), extended_top_(other.extended_top_) {
    if (kind_ != xvalue_kind::text)
      int_ = other.int_;  // the 8 bytes of any numeric kind
    else if (in_arena_)
      arena_ = other.arena_;
    else
      new (&text_) xstr(std::move(other.text_));
  }
  xstruct_value& operator=(const xstruct_value& other);
  xstruct_value& operator=(xstruct_value&& other) noexcept;
  ~xstruct_value() {
    if (kind_ == xvalue_kind::text && !in_arena_) text_.~xstr();
  }

  // The value as text: what the text form writes after "=". Numbers use
  // "%Li" (integer), "%f" (float, widened), "%lf" (double), "%Lf" (extended).
  xstr text() const;
  // The text of a text value without a copy, valid while the value lives;
  // empty for the numeric kinds.
  std::string_view text_view() const noexcept {
    if (kind_ != xvalue_kind::text) return std::string_view();
    return in_arena_ ? xtext_arena::view(arena_) : text_.view();
  }
  // The value as a 64-bit integer: reals are truncated (saturating at the
  // range's ends; NaN gives 0); a text is read with sscanf "%Li" and throws
  // xvalue_conversion_error with "eNonInteger" when it is none.
  std::int64_t as_int64() const;
  // The value as a double: a text is read with sscanf "%lf" and throws
  // xvalue_conversion_error with "eNonNumber" when it is none.
  double as_double() const;
  // The payload of each numeric kind; only meaningful for that kind.
  std::int64_t int64_payload() const noexcept { return int_; }
  float float_payload() const noexcept { return float_; }
  double double_payload() const noexcept { return double_; }
  // The 10 bytes of an extended real.
  void extended_bytes(unsigned char* out) const noexcept;
  xvalue_kind kind() const noexcept { return kind_; }
  int code() const noexcept { return code_; }

 private:
  xstruct_value(int code, xvalue_kind kind) noexcept : code_(code), kind_(kind), int_(0) {}
  long double extended_value() const noexcept;
  // A text value's characters, followed by a zero byte.
  const char* c_text() const noexcept { return in_arena_ ? arena_ : text_.get_text(); }

  int code_;
  xvalue_kind kind_;
  bool in_arena_ = false;           // a text held as arena_
  std::uint16_t extended_top_ = 0;  // sign and exponent of an extended real
  union {
    xstr text_;
    const char* arena_;
    std::int64_t int_;
    float float_;
    double double_;
    std::uint64_t mantissa_;  // of an extended real
  };
};

class XUM_API xstruct_section {
 public:
  explicit xstruct_section(int code) noexcept : code_(code) {}
  xstruct_section(const xstruct_section&) = delete;
  xstruct_section& operator=(const xstruct_section&) = delete;
  // Destroys the subtree iteratively: any depth is safe.
  ~xstruct_section();

  int code() const noexcept { return code_; }

  int value_count() const noexcept { return static_cast<int>(values_.size()); }
  const xstruct_value& value(int i) const { return values_.at(static_cast<std::size_t>(i)); }
  int child_count() const noexcept { return static_cast<int>(children_.size()); }
  xstruct_section& child(int i) { return *children_.at(static_cast<std::size_t>(i)); }
  const xstruct_section& child(int i) const { return *children_.at(static_cast<std::size_t>(i)); }
  bool empty() const noexcept { return values_.empty() && children_.empty(); }

  // The sections above a section met by `walk`, below the one walked, and
  // that section itself, outermost first.
  using path = std::span<const xstruct_section* const>;
  // Visits the sections below this one depth first, in order, without
  // recursion (any depth is safe): enter(s, p) on reaching a section s,
  // before its children, and leave(s, p) after them, p being s's path.
  // `enter` returns false to stop the walk, which then returns false; true
  // when every section was visited. The tree must not change meanwhile.
  template <class Enter, class Leave>
  bool walk(Enter&& enter, Leave&& leave) const;
  template <class Enter>
  bool walk(Enter&& enter) const {
    return walk(enter, [](const xstruct_section&, path) {});
  }

  // The position of the first value with `code`, or -1.
  int find_value_index(int code);
  // The first value with `code`, or null; owned by the section and valid
  // until a value is added to it.
  const xstruct_value* find_value(int code) {
    const int i = find_value_index(code);
    return i < 0 ? nullptr : &values_[static_cast<std::size_t>(i)];
  }
  // The child with `code`, or null; owned by the section.
  xstruct_section* find_child(int code);

  // Appends a value (equal codes are allowed; lookups find the first).
  void add_value(xstruct_value v) { values_.push_back(std::move(v)); }
  // Appends a text value viewing a text of an arena, built in place.
  void add_value(int code, xstruct_value::arena_ref text) { values_.emplace_back(code, text); }
  // Makes room for n values in all, so that adding up to n grows nothing.
  void reserve_values(int n) { values_.reserve(static_cast<std::size_t>(n)); }
  // Replaces the value at position i.
  void replace_value(int i, xstruct_value v);
  // Appends a new empty child with `code` and returns it.
  xstruct_section& add_child(int code);
  // The child with `code`, appended when there is none.
  xstruct_section& find_or_add_child(int code);
  // Removes every child that holds nothing (after its own children went).
  void remove_empty_children();
  // Removes all values and children.
  void clear();

 private:
  // Sections with more entries than this index them by code; smaller ones
  // are searched linearly, which is faster for them and needs no table.
  static constexpr std::size_t index_threshold = 32;

  // Code -> position of the first entry with that code, over the first
  // `covered` entries; a later entry with a code already there is left
  // out, so that many equal codes make no long probe chain.
  struct index {
    xhash_table_impl table;
    int covered = 0;
  };
  // Both indexes, made when a section first grows past the threshold: most
  // sections never do, and a file of many small sections then costs
  // little more than its bytes.
  struct indexes {
    index values, children;
  };

  int code_;
  std::vector<xstruct_value> values_;
  std::vector<std::unique_ptr<xstruct_section>> children_;
  std::unique_ptr<indexes> indexes_;

  template <class Items>
  int find_by_code(Items& items, index indexes::*which, int code);
  // Forgets one index (positions moved).
  void drop_index(index indexes::*which) noexcept {
    if (indexes_) indexes_.get()->*which = index{};
  }
};

// Implementation details.

template <class Enter, class Leave>
bool xstruct_section::walk(Enter&& enter, Leave&& leave) const {
  std::vector<const xstruct_section*> sections;  // the path of `top`
  std::vector<std::size_t> next{0};              // next child of each, this one first
  const xstruct_section* top = this;
  for (;;) {
    if (next.back() < top->children_.size()) {
      const xstruct_section& child = *top->children_[next.back()++];
      sections.push_back(&child);
      if (!enter(child, path(sections))) return false;
      next.push_back(0);
      top = &child;
      continue;
    }
    if (sections.empty()) return true;
    leave(*top, path(sections));
    sections.pop_back();
    next.pop_back();
    top = sections.empty() ? this : sections.back();
  }
}

}  // namespace xum

#endif  // XUM_FORMATS_XSTRUCT_TREE_H
