// The in-memory tree of the structured format: sections holding keyed values
// and nested sections, both in insertion order.
//
//   xum::xstruct_section root(0);
//   root.add_value(std::make_unique<xum::xtext_value>(3, "100"));  // code 3
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
#include <memory>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "localization/xhash_table.h"

namespace xum {

struct xloc_str;

// Thrown by a value that cannot be converted to the asked type: `entry` is
// the catalogue record whose text the property call reports, followed by the
// key ("eNonInteger", "eNonNumber").
struct xvalue_conversion_error {
  const xloc_str* entry;
};

// The kind of a stored value; the binary form stores it as the kind byte.
enum class xvalue_kind { text, int64, float32, real64, extended };

// A stored value: its code and a payload of one of the kinds.
class XUM_API xstruct_value {
 public:
  explicit xstruct_value(int code) noexcept : code_(code) {}
  xstruct_value(const xstruct_value&) = delete;
  xstruct_value& operator=(const xstruct_value&) = delete;
  virtual ~xstruct_value();

  // The value as text: what the text form writes after "=".
  virtual xstr text() const = 0;
  // The value as a 64-bit integer (numbers truncate); a text that is no
  // integer throws xvalue_conversion_error with "eNonInteger".
  virtual std::int64_t as_int64() const = 0;
  // The value as a double; a text that is no number throws
  // xvalue_conversion_error with "eNonNumber".
  virtual double as_double() const = 0;
  virtual xvalue_kind kind() const noexcept = 0;

  int code() const noexcept { return code_; }

 private:
  int code_;
};

// A text value: what the text form produces, and `prop` of xstr.
class XUM_API xtext_value final : public xstruct_value {
 public:
  xtext_value(int code, xstr text) noexcept : xstruct_value(code), text_(std::move(text)) {}
  xstr text() const override { return text_; }
  // sscanf "%Li" of the text.
  std::int64_t as_int64() const override;
  // sscanf "%lf" of the text.
  double as_double() const override;
  xvalue_kind kind() const noexcept override { return xvalue_kind::text; }

 private:
  xstr text_;
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
  const xstruct_value& value(int i) const { return *values_.at(static_cast<std::size_t>(i)); }
  int child_count() const noexcept { return static_cast<int>(children_.size()); }
  xstruct_section& child(int i) { return *children_.at(static_cast<std::size_t>(i)); }
  const xstruct_section& child(int i) const { return *children_.at(static_cast<std::size_t>(i)); }
  bool empty() const noexcept { return values_.empty() && children_.empty(); }

  // The position of the first value with `code`, or -1.
  int find_value_index(int code);
  // The first value with `code`, or null; owned by the section.
  const xstruct_value* find_value(int code) {
    const int i = find_value_index(code);
    return i < 0 ? nullptr : values_[static_cast<std::size_t>(i)].get();
  }
  // The child with `code`, or null; owned by the section.
  xstruct_section* find_child(int code);

  // Appends a value (equal codes are allowed; lookups find the first).
  void add_value(std::unique_ptr<xstruct_value> v);
  // Replaces the value at position i.
  void replace_value(int i, std::unique_ptr<xstruct_value> v);
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

  int code_;
  std::vector<std::unique_ptr<xstruct_value>> values_;
  std::vector<std::unique_ptr<xstruct_section>> children_;
  // Code -> position, covering the first count() entries; built lazily.
  xhash_table_impl value_index_;
  xhash_table_impl child_index_;
};

}  // namespace xum

#endif  // XUM_FORMATS_XSTRUCT_TREE_H
