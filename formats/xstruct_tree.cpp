#include "formats/xstruct_tree.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

#include "core/xcatalogue.h"
#include "core/xle.h"

namespace xum {

static_assert(sizeof(xstruct_value) == 16, "values stay small: sections hold them inline");

namespace {

// Truncates toward zero, saturating at the ends of the 64-bit range; NaN
// gives 0. A plain cast would be undefined outside the range.
template <class R>
std::int64_t truncate(R r) noexcept {
  if (std::isnan(r)) return 0;
  if (r >= static_cast<R>(9223372036854775808.0L)) return std::numeric_limits<std::int64_t>::max();
  if (r < static_cast<R>(-9223372036854775808.0L)) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(r);
}

}  // namespace

xstruct_value xstruct_value::int64(int code, std::int64_t v) noexcept {
  xstruct_value r(code, xvalue_kind::int64);
  r.int_ = v;
  return r;
}

xstruct_value xstruct_value::float32(int code, float v) noexcept {
  xstruct_value r(code, xvalue_kind::float32);
  r.float_ = v;
  return r;
}

xstruct_value xstruct_value::real64(int code, double v) noexcept {
  xstruct_value r(code, xvalue_kind::real64);
  r.double_ = v;
  return r;
}

xstruct_value xstruct_value::extended(int code, const unsigned char* bytes) noexcept {
  xstruct_value r(code, xvalue_kind::extended);
  r.mantissa_ = le::load<std::uint64_t>(bytes);
  r.extended_top_ = le::load<std::uint16_t>(bytes + 8);
  return r;
}

void xstruct_value::extended_bytes(unsigned char* out) const noexcept {
  le::store<std::uint64_t>(out, mantissa_);
  le::store<std::uint16_t>(out + 8, extended_top_);
}

xstruct_value::xstruct_value(const xstruct_value& other)
    : code_(other.code_), kind_(other.kind_), extended_top_(other.extended_top_) {
  if (kind_ != xvalue_kind::text)
    int_ = other.int_;  // the 8 bytes of any numeric kind
  else if (other.in_arena_)
    new (&text_) xstr(other.text_view());  // a copy owns its text
  else
    new (&text_) xstr(other.text_);
}

xstruct_value& xstruct_value::operator=(const xstruct_value& other) {
  if (this != &other) *this = xstruct_value(other);
  return *this;
}

xstruct_value& xstruct_value::operator=(xstruct_value&& other) noexcept {
  if (this != &other) {
    this->~xstruct_value();
    new (this) xstruct_value(std::move(other));
  }
  return *this;
}

long double xstruct_value::extended_value() const noexcept {
  // Decoded from its fields rather than reinterpreted, so the result does
  // not depend on the host's long double.
  const bool negative = (extended_top_ & 0x8000u) != 0;
  const int exponent = extended_top_ & 0x7FFF;
  long double r;
  if (exponent == 0x7FFF) {
    r = (mantissa_ << 1) == 0 ? std::numeric_limits<long double>::infinity()
                              : std::numeric_limits<long double>::quiet_NaN();
  } else {
    // The integer bit is explicit; exponent 0 scales like exponent 1.
    r = std::ldexp(static_cast<long double>(mantissa_), (exponent == 0 ? 1 : exponent) - 16383 - 63);
  }
  return negative ? -r : r;
}

xstr xstruct_value::text() const {
  xstr r;
  switch (kind_) {
    case xvalue_kind::text:
      return in_arena_ ? xstr(text_view()) : text_;
    case xvalue_kind::int64:
      r.printf("%Li", static_cast<long long>(int_));
      break;
    case xvalue_kind::float32:
      r.printf("%f", static_cast<double>(float_));
      break;
    case xvalue_kind::real64:
      r.printf("%lf", double_);
      break;
    case xvalue_kind::extended:
      r.printf("%Lf", extended_value());
      break;
  }
  return r;
}

std::int64_t xstruct_value::as_int64() const {
  switch (kind_) {
    case xvalue_kind::int64:
      return int_;
    case xvalue_kind::float32:
      return truncate(float_);
    case xvalue_kind::real64:
      return truncate(double_);
    case xvalue_kind::extended:
      return truncate(extended_value());
    case xvalue_kind::text:
      break;
  }
  long long v = 0;
  if (std::sscanf(c_text(), "%Li", &v) != 1) throw xvalue_conversion_error{&msg::eNonInteger};
  return v;
}

double xstruct_value::as_double() const {
  switch (kind_) {
    case xvalue_kind::int64:
      return static_cast<double>(int_);
    case xvalue_kind::float32:
      return float_;
    case xvalue_kind::real64:
      return double_;
    case xvalue_kind::extended:
      return static_cast<double>(extended_value());
    case xvalue_kind::text:
      break;
  }
  double v = 0;
  if (std::sscanf(c_text(), "%lf", &v) != 1) throw xvalue_conversion_error{&msg::eNonNumber};
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

int code_of(const xstruct_value& v) { return v.code(); }
int code_of(const std::unique_ptr<xstruct_section>& s) { return s->code(); }

// The position stored for `code` in `table`, or -1.
int lookup(const xhash_table_impl& table, int code) {
  const auto key = static_cast<unsigned>(code);
  const int s = table.item_by_code(key);
  return s < 0 ? -1 : table.value(s);
}

}  // namespace

// Position of the first entry with `code` among `items`, using an index for
// long lists (extending it to cover new entries first).
template <class Items>
int xstruct_section::find_by_code(Items& items, index indexes::*which, int code) {
  const int n = static_cast<int>(items.size());
  if (items.size() <= index_threshold) {
    for (int i = 0; i < n; ++i)
      if (code_of(items[static_cast<std::size_t>(i)]) == code) return i;
    return -1;
  }
  if (!indexes_) indexes_ = std::make_unique<indexes>();
  index& ix = indexes_.get()->*which;
  // Every code sits in the table once, with its first position: the table
  // maps codes to positions without chains of equal codes.
  for (; ix.covered < n; ++ix.covered) {
    const int c = code_of(items[static_cast<std::size_t>(ix.covered)]);
    if (lookup(ix.table, c) < 0) ix.table.insert(static_cast<unsigned>(c), ix.covered);
  }
  return lookup(ix.table, code);
}

int xstruct_section::find_value_index(int code) { return find_by_code(values_, &indexes::values, code); }

xstruct_section* xstruct_section::find_child(int code) {
  const int i = find_by_code(children_, &indexes::children, code);
  return i < 0 ? nullptr : children_[static_cast<std::size_t>(i)].get();
}

void xstruct_section::replace_value(int i, xstruct_value v) {
  auto& slot = values_.at(static_cast<std::size_t>(i));
  const bool same_code = slot.code() == v.code();
  slot = std::move(v);
  if (!same_code) drop_index(&indexes::values);
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
  drop_index(&indexes::children);  // positions moved
}

void xstruct_section::clear() {
  values_.clear();
  xstruct_section doomed(0);  // destroys the children without recursion
  doomed.children_ = std::move(children_);
  children_.clear();
  indexes_.reset();
}

}  // namespace xum
