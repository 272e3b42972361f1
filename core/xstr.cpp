#include "core/xstr.h"

#include <array>
#include <climits>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <new>
#include <ostream>
#include <string>
#include <vector>

#include "core/xexceptions.h"
#include "core/xresources.h"
#include "core/xutf.h"

namespace xum {

namespace {

// Block header: reference count and length, both 32-bit, then the text.
constexpr std::size_t header_size = 2 * sizeof(std::uint32_t);

[[noreturn]] void out_of_range() { throw xexception(xexception::out_of_range); }

// A new block of n characters with count 1; returns the text pointer. The
// characters are not written; the terminator is.
char* new_block(int n) {
  auto* raw = static_cast<char*>(::operator new(header_size + static_cast<std::size_t>(n) + 1));
  auto* h = reinterpret_cast<std::uint32_t*>(raw);
  h[0] = 1;
  h[1] = static_cast<std::uint32_t>(n);
  char* text = raw + header_size;
  text[n] = '\0';
  return text;
}

void free_block(char* text) noexcept { ::operator delete(text - header_size); }

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Maps every code point to lower or upper case; ill-formed bytes pass
// unchanged.
std::string map_case(std::string_view text, bool upper) {
  std::string out;
  out.reserve(text.size());
  std::size_t pos = 0;
  while (pos < text.size()) {
    const auto b = static_cast<unsigned char>(text[pos]);
    if (b < 0x80) {
      // ASCII fast path, independent of the locale's tables.
      if (upper)
        out.push_back(static_cast<char>(b >= 'a' && b <= 'z' ? b - 32 : b));
      else
        out.push_back(static_cast<char>(b >= 'A' && b <= 'Z' ? b + 32 : b));
      ++pos;
      continue;
    }
    const std::size_t start = pos;
    const long cp = xutf8_next(text, pos);
    if (cp < 0) {
      out.append(text.substr(start, pos - start));
      continue;
    }
    const auto c = static_cast<std::wint_t>(cp);
    const std::wint_t mapped = upper ? std::towupper(c) : std::towlower(c);
    const auto m = static_cast<char32_t>(mapped);
    // Keep the original code point if the C library answers with something
    // that is not a Unicode scalar value.
    if (m > 0x10FFFF || (m >= 0xD800 && m <= 0xDFFF))
      out.append(text.substr(start, pos - start));
    else
      xutf8_append(out, m);
  }
  return out;
}

}  // namespace

// ---------------------------------------------------------------------------
// buffer

xstr_base::buffer::buffer(buffer&& other) noexcept
    : capacity_(other.capacity_), data_(other.data_), target_(other.target_) {
  other.data_ = nullptr;
  other.target_ = nullptr;
}

xstr_base::buffer::~buffer() {
  if (data_ == nullptr) return;
  try {
    target_->from_c(data_);
  } catch (...) {
    // Allocation failure while handing the text over: the string keeps its
    // previous value; a destructor must not throw.
  }
  delete[] data_;
}

xstr_base::buffer::operator char*() {
  if (data_ == nullptr) data_ = new char[static_cast<std::size_t>(capacity_)];
  std::memset(data_, 0, static_cast<std::size_t>(capacity_));
  return data_;
}

// ---------------------------------------------------------------------------
// storage

const char* xstr_base::empty_text() noexcept {
  static const char empty[1] = {0};
  return empty;
}

void xstr_base::release(char* text) noexcept { free_block(text); }

void xstr_base::allocate(int n) {
  if (n < 1) out_of_range();
  char* block = new_block(n);
  clear();
  text_ = block;
}

void xstr_base::make_unique() {
  if (text_ == nullptr || header()[0] < 2) return;
  const int n = length();
  char* block = new_block(n);
  std::memcpy(block, text_, static_cast<std::size_t>(n));
  --header()[0];
  text_ = block;
}

void xstr_base::put_length(int n) {
  if (n < 0) out_of_range();
  const int len = length();
  if (n == 0) {
    clear();
  } else if (n > len) {
    char* block = new_block(n);
    if (len > 0) std::memcpy(block, text_, static_cast<std::size_t>(len));
    std::memset(block + len, ' ', static_cast<std::size_t>(n - len));
    clear();
    text_ = block;
  } else {
    make_unique();
    header()[1] = static_cast<std::uint32_t>(n);
    text_[n] = '\0';
  }
}

void xstr_base::from_c(const char* text) {
  if (text == nullptr || *text == '\0') {
    clear();
    return;
  }
  from_bytes(text, static_cast<int>(std::strlen(text)));
}

void xstr_base::from_c(const char16_t* text) {
  if (text == nullptr || *text == 0) {
    clear();
    return;
  }
  const std::string utf8 = xutf16_to_utf8(std::u16string_view(text));
  from_bytes(utf8.data(), static_cast<int>(utf8.size()));
}

void xstr_base::from_bytes(const char* data, int n) {
  if (n < 0) out_of_range();
  if (n == 0) {
    clear();
    return;
  }
  char* block = new_block(n);
  std::memcpy(block, data, static_cast<std::size_t>(n));
  clear();
  text_ = block;
}

void xstr::from_view(std::string_view bytes) {
  if (bytes.size() > static_cast<std::size_t>(INT_MAX)) out_of_range();
  from_bytes(bytes.data(), static_cast<int>(bytes.size()));
}

std::ostream& operator<<(std::ostream& out, const xstr& s) { return out << s.view(); }

xstr_base::buffer xstr_base::get(int n) {
  if (n < 0) out_of_range();
  return buffer(this, n);
}

// ---------------------------------------------------------------------------
// access

char* xstr_base::tmp_buf() const {
  thread_local std::vector<char> scratch(4096);
  const std::size_t need = static_cast<std::size_t>(length()) + 1;
  if (scratch.size() < need) scratch.resize(need);
  std::memcpy(scratch.data(), get_text(), need);
  return scratch.data();
}

const char16_t* xstr_base::w_str() const {
  // One ring for the process, as callers rely on a returned pointer staying
  // valid across the next four conversions. The index is atomic so that
  // concurrent callers at least receive different slots.
  static std::array<std::u16string, 5>* ring = new std::array<std::u16string, 5>();
  static std::atomic<unsigned> index{0};
  const unsigned slot = (index.fetch_add(1, std::memory_order_relaxed) + 1) % 5;
  std::u16string& out = (*ring)[slot];
  xutf8_to_utf16(view(), out);
  return out.c_str();
}

// ---------------------------------------------------------------------------
// text operations

xstr xstr_base::concat(const xstr& other) const {
  const int a = length();
  const int b = other.length();
  xstr result;
  if (a + b == 0) return result;
  result.allocate(a + b);
  if (a) std::memcpy(result.text_, text_, static_cast<std::size_t>(a));
  if (b) std::memcpy(result.text_ + a, other.text_, static_cast<std::size_t>(b));
  result.text_[a + b] = '\0';
  return result;
}

xstr xstr_base::sub_str(int start, int count) const {
  const int len = length();
  if (start < 0 || count < 0 || start > len - count) out_of_range();
  xstr result;
  if (count == 0) return result;
  if (count == len) {
    result.share(*this);
    return result;
  }
  result.from_bytes(text_ + start, count);
  return result;
}

xstr xstr_base::trim_left() const {
  const int len = length();
  int i = 0;
  while (i < len && is_blank(text_[i])) ++i;
  return sub_str(i, len - i);
}

xstr xstr_base::trim_right() const {
  int n = length();
  while (n > 0 && is_blank(text_[n - 1])) --n;
  return sub_str(0, n);
}

xstr xstr_base::trim() const {
  const int len = length();
  int i = 0;
  while (i < len && is_blank(text_[i])) ++i;
  int n = len;
  while (n > i && is_blank(text_[n - 1])) --n;
  return sub_str(i, n - i);
}

void xstr_base::insert(const xstr& s, int pos) {
  const int len = length();
  if (pos < 0 || pos > len) out_of_range();
  const int add = s.length();
  if (len == 0 && add == 0) return;
  char* block = new_block(len + add);
  if (pos) std::memcpy(block, text_, static_cast<std::size_t>(pos));
  if (add) std::memcpy(block + pos, s.text_, static_cast<std::size_t>(add));
  if (len > pos) std::memcpy(block + pos + add, text_ + pos, static_cast<std::size_t>(len - pos));
  clear();
  text_ = block;
}

void xstr_base::remove(int pos, int count) {
  const int len = length();
  if (pos < 0 || count < 1 || pos > len - count) out_of_range();
  if (count == len) {
    clear();
    return;
  }
  make_unique();
  std::memmove(text_ + pos, text_ + pos + count, static_cast<std::size_t>(len - pos - count));
  put_length(len - count);
}

xstr xstr_base::lower_case() const {
  xstr result;
  const std::string mapped = map_case(view(), false);
  result.from_bytes(mapped.data(), static_cast<int>(mapped.size()));
  return result;
}

xstr xstr_base::upper_case() const {
  xstr result;
  const std::string mapped = map_case(view(), true);
  result.from_bytes(mapped.data(), static_cast<int>(mapped.size()));
  return result;
}

int xstr_base::char_first_pos(char c) const noexcept {
  if (text_ == nullptr) return -1;
  for (const char* p = text_; *p; ++p)
    if (*p == c) return static_cast<int>(p - text_);
  return -1;
}

int xstr_base::char_last_pos(char c) const noexcept {
  for (int i = length() - 1; i >= 0; --i)
    if (text_[i] == c) return i;
  return -1;
}

int xstr_base::str_first_pos(const xstr& s) const noexcept {
  const int len = length();
  const int n = s.length();
  if (len == 0 || n == 0 || n > len) return -1;
  for (int i = 0; i <= len - n; ++i)
    if (std::memcmp(text_ + i, s.text_, static_cast<std::size_t>(n)) == 0) return i;
  return -1;
}

int xstr_base::str_last_pos(const xstr& s) const noexcept {
  const int len = length();
  const int n = s.length();
  if (len == 0 || n == 0 || n > len) return -1;
  for (int i = len - n; i >= 0; --i)
    if (std::memcmp(text_ + i, s.text_, static_cast<std::size_t>(n)) == 0) return i;
  return -1;
}

xstr xstr_base::enquotate() const {
  const std::string_view v = view();
  std::string out;
  out.reserve(v.size() + 2);
  out.push_back('"');
  for (char c : v) {
    if (c == '"') out.push_back('"');
    out.push_back(c);
  }
  out.push_back('"');
  xstr result;
  result.from_bytes(out.data(), static_cast<int>(out.size()));
  return result;
}

// ---------------------------------------------------------------------------
// numbers

xstr_base& xstr_base::printf(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  try {
    vprintf(fmt, args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
  return *this;
}

xstr_base& xstr_base::vprintf(const char* fmt, va_list args) {
  va_list measure;
  va_copy(measure, args);
  const int n = std::vsnprintf(nullptr, 0, fmt, measure);
  va_end(measure);
  // An empty (or failed) result is a contract violation, as allocate(0) is;
  // the string is left as it was. The text is formatted into a new block
  // before the old one is released, so arguments may point into this string.
  if (n < 1) out_of_range();
  char* block = new_block(n);
  std::vsnprintf(block, static_cast<std::size_t>(n) + 1, fmt, args);
  clear();
  text_ = block;
  return *this;
}

void xstr_base::from_integer(long long value) {
  clear();
  printf("%Li", value);
}

void xstr_base::from_unsigned(unsigned long long value) {
  clear();
  printf("%Lu", value);
}

void xstr_base::from_real(double value) {
  clear();
  printf("%.10Lg", static_cast<long double>(value));
}

long double xstr_base::as_number() const {
  long double value = 0;
  if (text_ != nullptr) std::sscanf(text_, "%Lf", &value);
  return value;
}

bool xstr_base::is_number(bool* negative, bool* integer) const {
  bool sign = false, mantissa = false, separator = false, fraction = false;
  bool exponent = false, exp_sign = false, exp_digits = false;
  const int len = length();
  for (int i = 0; i < len; ++i) {
    char c = text_[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    if (c == '-') {
      if (!sign && !mantissa) {
        sign = true;
        continue;
      }
      if (exponent && !exp_sign && !exp_digits) {
        exp_sign = true;
        continue;
      }
    } else if (c == '.' || c == ',') {
      if (mantissa && !separator) {
        separator = true;
        continue;
      }
    } else if (c == 'e') {
      if (mantissa && !exponent && (!separator || fraction)) {
        exponent = true;
        continue;
      }
    }
    if (c < '0' || c > '9') return false;
    if (exponent)
      exp_digits = true;
    else if (separator)
      fraction = true;
    else
      mantissa = true;
  }
  if (!mantissa || (separator && !fraction) || (exponent && !exp_digits)) return false;
  if (negative) *negative = sign;
  if (integer) *integer = !separator && !exponent;
  return true;
}

// ---------------------------------------------------------------------------
// xstr

xstr xstr::load(unsigned id) {
  // Resource names are 16-bit integers; larger ids name nothing.
  if (id > 0xFFFFu) return xstr();
  const xresource_entry* e = xfind_resource(nullptr, xmake_int_resource(id), xrt_string);
  if (!e) return xstr();
  const char* text = reinterpret_cast<const char*>(e->begin);
  const void* zero = std::memchr(text, 0, e->size());
  const std::size_t n = zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - text) : e->size();
  return xstr(std::string_view(text, n));
}

char xstr::at(int i) const {
  if (i < 0 || i >= length()) out_of_range();
  return text_[i];
}

void xstr::put_char(int i, char c) {
  if (i < 0 || i >= length()) out_of_range();
  make_unique();
  text_[i] = c;
}

// ---------------------------------------------------------------------------
// localizable strings and errors

xloc_str::xloc_str(const char* default_text, const char* key_text, xloc_str** head)
    : text(default_text), key(key_text) {
  link_loc_str(head, *this);
}

void link_loc_str(xloc_str** head, xloc_str& s) {
  if (head == nullptr) return;
  s.next = *head;
  *head = &s;
}

xerror_handler_fn xerror_handler = nullptr;

void xerror(const xstr& message) { xerror(xerror_category::general, message); }

}  // namespace xum
