// xstr: the library's byte string, shared between copies and copied on write.
//
// A string points at the characters of a heap block laid out as
//   [reference count: u32][length: u32][characters: length bytes][0]
// so the text is always a valid C string and copies share one block. The
// empty string owns no block at all. Every operation that writes into an
// existing block first makes it private (`make_unique`); every operation that
// builds a result builds a fresh block with count 1.
//
//   xum::xstr a = "abc";
//   xum::xstr b = a;          // shares a's block, no characters copied
//   b.insert("x", 1);         // b becomes "axbc" in a new block; a is "abc"
//   b.printf("%Li items", 3LL);
//
// With the standard library: constructed from std::string (implicitly) or
// std::string_view (explicitly), any bytes including zero bytes; viewed as a
// std::string_view without copying, copied out by str(); compared with
// both and with C strings byte by byte; written to a std::ostream; hashed by
// std::hash (the same value as the std::string_view of its bytes).
//
// Thread safety: reference counts are plain integers, so a string and all its
// copies belong to one thread at a time. `w_str` uses one ring of five buffers
// shared by the process; `tmp_buf` uses a per-thread scratch area.
//
// Contract violations (negative sizes, positions out of range, an empty
// `printf` result) throw `xexception` 0 before the receiver is changed.
#ifndef XUM_CORE_XSTR_H
#define XUM_CORE_XSTR_H

#include <compare>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "core/xexception.h"
#include "core/xexport.h"

namespace xum {

class xstr;

// The representation and every out-of-line operation of `xstr`.
class XUM_API xstr_base {
 public:
  // Writable character array handed out by `get(n)`. Converting it to
  // `char*` (re)creates a zero-filled array of n + 1 bytes; when the buffer is
  // destroyed after such a conversion, the string receives the array's text up
  // to its first zero byte. A buffer never converted leaves the string alone.
  class XUM_API buffer {
   public:
    buffer(const buffer&) = delete;
    buffer& operator=(const buffer&) = delete;
    buffer(buffer&& other) noexcept;
    buffer& operator=(buffer&&) = delete;
    ~buffer();

    operator char*();
    int capacity() const noexcept { return capacity_; }

   private:
    friend class xstr_base;
    buffer(xstr_base* target, int n) noexcept
        : capacity_(n + 1), data_(nullptr), target_(target) {}

    int capacity_;         // requested length + 1
    char* data_;           // heap array, null until first converted
    xstr_base* target_;    // the string that receives the text
  };

  xstr_base() noexcept = default;
  ~xstr_base() { clear(); }

  // --- storage -----------------------------------------------------------

  // Releases the block (freeing it when this was its last holder).
  void clear() noexcept {
    if (text_ == nullptr) return;
    if (--header()[0] == 0) release(text_);
    text_ = nullptr;
  }

  // Becomes a fresh private block of n characters that the caller fills
  // (characters and terminator are not written). n < 1 throws xexception 0.
  void allocate(int n);

  // Replaces a shared block (count >= 2) by a private copy.
  void make_unique();

  // Sets the length: longer pads with spaces, shorter cuts, 0 clears.
  // n < 0 throws xexception 0.
  void put_length(int n);

  // Shares `other`'s block. Safe when `other` is this string: the new
  // holder is counted before the old block is released.
  void assign(const xstr_base& other) noexcept {
    char* text = other.text_;
    if (text) ++reinterpret_cast<std::uint32_t*>(text)[-2];
    clear();
    text_ = text;
  }

  // A null pointer or an empty text gives the empty string.
  void from_c(const char* text);
  // UTF-16 text converted to UTF-8 (invalid units become U+FFFD).
  void from_c(const char16_t* text);
  // Any bytes, including zero bytes.
  void from_bytes(const char* data, int n);

  // A writable array of up to n characters; see `buffer`. n < 0 throws.
  [[nodiscard]] buffer get(int n);

  // --- access ------------------------------------------------------------

  int length() const noexcept { return text_ ? static_cast<int>(header()[1]) : 0; }
  bool empty() const noexcept { return text_ == nullptr; }
  // Never null: the static empty text for the empty string.
  const char* get_text() const noexcept { return text_ ? text_ : empty_text(); }
  // Holders of the block (0 for the empty string); for diagnostics and tests.
  unsigned use_count() const noexcept { return text_ ? header()[0] : 0; }
  std::string_view view() const noexcept {
    return std::string_view(get_text(), static_cast<std::size_t>(length()));
  }

  // The text with its terminator copied into a per-thread scratch area that
  // the next call on the same thread overwrites. The area grows as needed.
  char* tmp_buf() const;

  // A UTF-16 copy of the text in the next slot of a process-wide ring of five
  // buffers: the pointer stays valid until five further calls. Any length.
  const char16_t* w_str() const;

  // --- text operations (const ones return a new string) ------------------

  xstr concat(const xstr& other) const;
  // start < 0, count < 0 or start + count > length throws xexception 0.
  xstr sub_str(int start, int count) const;
  xstr trim_left() const;    // blanks are exactly space and tab
  xstr trim_right() const;
  xstr trim() const;
  // pos < 0 or pos > length throws xexception 0.
  void insert(const xstr& s, int pos);
  // pos < 0, count < 1 or pos + count > length throws xexception 0.
  void remove(int pos, int count);
  // Case mapping of the process locale over UTF-8 text (LC_CTYPE); bytes
  // that are not valid UTF-8 are kept as they are.
  xstr lower_case() const;
  xstr upper_case() const;

  // First c, stopping at the first zero byte; -1 when absent.
  int char_first_pos(char c) const noexcept;
  // Last c over the full length (zero bytes do not stop it); -1 when absent.
  int char_last_pos(char c) const noexcept;
  // Byte-exact search; -1 when either string is empty, s is longer, or absent.
  int str_first_pos(const xstr& s) const noexcept;
  int str_last_pos(const xstr& s) const noexcept;
  // The text in double quotes with every inner quote doubled.
  xstr enquotate() const;

  // --- numbers -----------------------------------------------------------

  // Formats into the string. An empty result throws xexception 0 (and
  // leaves the string unchanged).
  xstr_base& printf(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  xstr_base& vprintf(const char* fmt, va_list args) __attribute__((format(printf, 2, 0)));
  void from_integer(long long value);          // "%Li"
  void from_unsigned(unsigned long long value);  // "%Lu"
  void from_real(double value);                // "%.10Lg"
  // The leading number as sscanf "%Lf" reads it; 0 when there is none.
  long double as_number() const;
  // Strict check of the whole text: optional '-', digits, optional '.' or
  // ',' with digits, optional 'e' with optional '-' and digits. On success
  // writes the sign and "no separator and no exponent" through the non-null
  // pointers; on failure writes nothing.
  bool is_number(bool* negative = nullptr, bool* integer = nullptr) const;

 protected:
  char* text_ = nullptr;

  std::uint32_t* header() const noexcept {
    return reinterpret_cast<std::uint32_t*>(text_) - 2;
  }
  void share(const xstr_base& other) noexcept {
    if (other.text_) ++other.header()[0];
    text_ = other.text_;
  }
  void steal(xstr_base& other) noexcept {
    text_ = other.text_;
    other.text_ = nullptr;
  }
  static const char* empty_text() noexcept;
  static void release(char* text) noexcept;  // frees a block
};

// The string type itself: construction, assignment and operators.
class XUM_API xstr : public xstr_base {
 public:
  xstr() noexcept = default;
  xstr(const char* text) { from_c(text); }
  xstr(const char16_t* text) { from_c(text); }
  // Any bytes, zero bytes included. More than 2^31 - 1 bytes throws
  // xexception 0.
  explicit xstr(std::string_view bytes) { from_view(bytes); }
  xstr(const std::string& bytes) { from_view(bytes); }
  xstr(const xstr& other) noexcept : xstr_base() { share(other); }
  xstr(xstr&& other) noexcept : xstr_base() { steal(other); }

  xstr& operator=(const xstr& other) noexcept {
    assign(other);
    return *this;
  }
  xstr& operator=(xstr&& other) noexcept {
    if (this != &other) {
      clear();
      steal(other);
    }
    return *this;
  }
  xstr& operator=(const char* text) {
    from_c(text);
    return *this;
  }

  operator std::string_view() const noexcept { return view(); }
  // A std::string copy of the bytes.
  std::string str() const { return std::string(view()); }
  explicit operator std::string() const { return str(); }

  // Unchecked read; i == length() gives the terminator.
  char operator[](int i) const noexcept { return get_text()[i]; }
  // Checked read: i outside [0, length) throws xexception 0.
  char at(int i) const;
  // Checked write of one character (makes the block private first).
  void put_char(int i, char c);

  xstr& operator+=(const xstr& s) { return *this = concat(s); }
  xstr& operator+=(const char* s) { return *this = concat(xstr(s)); }
  xstr& operator+=(char c) { return *this = concat(xstr(std::string_view(&c, 1))); }

  friend xstr operator+(const xstr& a, const xstr& b) { return a.concat(b); }
  friend xstr operator+(const xstr& a, const char* b) { return a.concat(xstr(b)); }
  friend xstr operator+(const char* a, const xstr& b) { return xstr(a).concat(b); }
  friend xstr operator+(const xstr& a, char c) { return a.concat(xstr(std::string_view(&c, 1))); }

  // The string resource `id` of the executable (type 6, embedded with
  // `xum_add_string_resources`), up to its first zero byte; the empty
  // string when there is none.
  static xstr load(unsigned id);

  // Byte-wise comparisons with strings, views and C strings (a null C
  // string reads as empty), in either order.
  friend bool operator==(const xstr& a, const xstr& b) noexcept { return a.view() == b.view(); }
  friend bool operator==(const xstr& a, const char* b) noexcept { return a.view() == c_view(b); }
  friend bool operator==(const xstr& a, std::string_view b) noexcept { return a.view() == b; }
  friend bool operator==(const xstr& a, const std::string& b) noexcept { return a.view() == std::string_view(b); }
  friend std::strong_ordering operator<=>(const xstr& a, const xstr& b) noexcept {
    return a.view() <=> b.view();
  }
  friend std::strong_ordering operator<=>(const xstr& a, const char* b) noexcept { return a.view() <=> c_view(b); }
  friend std::strong_ordering operator<=>(const xstr& a, std::string_view b) noexcept { return a.view() <=> b; }
  friend std::strong_ordering operator<=>(const xstr& a, const std::string& b) noexcept {
    return a.view() <=> std::string_view(b);
  }

 private:
  static std::string_view c_view(const char* s) noexcept { return std::string_view(s ? s : ""); }
  void from_view(std::string_view bytes);
};

// Writes the bytes (zero bytes included), honouring the stream's width and
// fill as a std::string_view does.
XUM_API std::ostream& operator<<(std::ostream& out, const xstr& s);

// A localizable text: the shown text, the link of its list and the stable
// key a localizer looks it up by. Records are meant to be long-lived globals.
struct XUM_API xloc_str {
  xstr text;
  xloc_str* next = nullptr;
  xstr key;

  // Builds both strings and pushes the record onto the list `*head`.
  xloc_str(const char* default_text, const char* key, xloc_str** head);
  xloc_str(const xloc_str&) = delete;
  xloc_str& operator=(const xloc_str&) = delete;
};

// Pushes `s` at the head of the list: the list runs newest first. A null
// `head` does nothing.
XUM_API void link_loc_str(xloc_str** head, xloc_str& s);

// The error hook: when set, `xerror` calls it and returns; otherwise `xerror`
// throws XException with the message.
using xerror_handler_fn = void (*)(const xstr& message);
XUM_API extern xerror_handler_fn xerror_handler;

// The one way library code raises a text a user may see.
XUM_API void xerror(const xstr& message);

}  // namespace xum

// Hashes the bytes as std::hash<std::string_view> does, and is transparent:
// an unordered container keyed by xstr with std::equal_to<> finds entries by
// a std::string_view, std::string or C string without building an xstr.
template <>
struct std::hash<xum::xstr> {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
  std::size_t operator()(const xum::xstr& s) const noexcept { return (*this)(s.view()); }
  std::size_t operator()(const std::string& s) const noexcept { return (*this)(std::string_view(s)); }
  std::size_t operator()(const char* s) const noexcept { return (*this)(std::string_view(s ? s : "")); }
};

#endif  // XUM_CORE_XSTR_H
