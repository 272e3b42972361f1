#include "formats/xtext_format.h"

#include <bit>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xle.h"

namespace xum {

namespace {

constexpr char lf = 10;
constexpr char cr = 13;
constexpr char vertical_tab = 11;
// Characters a number token may hold; "," counts only while the comma flag
// is set.
constexpr std::string_view number_characters = "0123456789+-.,eE";
// Initial capacity of the line and token buffers: ordinary lines and tokens
// never reallocate.
constexpr std::size_t line_capacity = 256;
// next_line looks at no more than this many bytes after the break byte that
// ended a line, so a line viewed in the read buffer survives it when this
// many bytes are still buffered.
constexpr std::int64_t next_line_lookahead = 4;

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Line breaks are found 16 bytes at a time with the compiler's vector
// extensions (SSE2 or NEON where there is one): a lane compares equal to
// LF or CR, and the first such lane is the first byte of the mask in memory
// order that is set.
using bytes16 = unsigned char __attribute__((vector_size(16)));
constexpr std::uint64_t byte_ones = 0x0101010101010101ull;
constexpr std::uint64_t byte_highs = 0x8080808080808080ull;

// Of the set bytes of a word taken from memory, the one first in memory.
inline int first_set_byte(std::uint64_t w) {
  if constexpr (std::endian::native == std::endian::little)
    return std::countr_zero(w) / 8;
  else
    return std::countl_zero(w) / 8;
}

// The offset of the first LF or CR among the 16 bytes at p, or 16.
inline int line_break_in_16(const char* p) {
  bytes16 v;
  std::memcpy(&v, p, sizeof v);
  const bytes16 lfs = bytes16{} + static_cast<unsigned char>(lf);
  const bytes16 crs = bytes16{} + static_cast<unsigned char>(cr);
  const auto hits = (v == lfs) | (v == crs);  // 0xFF in every matching lane
  std::uint64_t half[2];
  std::memcpy(half, &hits, sizeof half);
  if (half[0] != 0) return first_set_byte(half[0]);
  return half[1] != 0 ? 8 + first_set_byte(half[1]) : 16;
}

// The offset of the first LF or CR among the 8 bytes of `w` (little-endian),
// or 8: a byte equal to the pattern becomes zero after the XOR, and
// (x - 1) & ~x sets the high bit of the first zero byte (later ones may be
// wrong, the first never is).
inline int line_break_in_8(std::uint64_t w) {
  const std::uint64_t a = w ^ (byte_ones * lf);
  const std::uint64_t b = w ^ (byte_ones * cr);
  const std::uint64_t hits = (((a - byte_ones) & ~a) | ((b - byte_ones) & ~b)) & byte_highs;
  return hits != 0 ? std::countr_zero(hits) / 8 : 8;
}

// The first LF or CR in [p, end), or end.
const char* find_line_break(const char* p, const char* end) {
  for (; end - p >= 16; p += 16) {
    const int i = line_break_in_16(p);
    if (i < 16) return p + i;
  }
  if (end - p >= 8) {
    const int i = line_break_in_8(le::load<std::uint64_t>(reinterpret_cast<const unsigned char*>(p)));
    if (i < 8) return p + i;
    p += 8;
  }
  while (p < end && *p != lf && *p != cr) ++p;
  return p;
}

}  // namespace

xtext_format::xtext_format() { xtext_format::close(); }

xtext_format::xtext_format(const xstr& name, xfile_mode fm) : xtext_format() { open_file(name, fm); }

xtext_format::xtext_format(xstream& s, xstream_mode m, bool own) : xtext_format() {
  open_stream(s, m, own);
}

xtext_format::~xtext_format() { xtext_format::close(); }

void xtext_format::close() {
  xformat::close();
  comma_ = true;
  number_chars_.fill(false);
  for (char c : number_characters) number_chars_[static_cast<unsigned char>(c)] = true;
  line_buf_.clear();
  line_buf_.reserve(line_capacity);
  token_buf_.clear();
  token_buf_.reserve(line_capacity);
  consumed_ = 0;
  unused_counter_ = 0;
  in_.reset();
  line_ = 1;
  end_of_text_ = end_of_line_ = lf_seen_ = cr_seen_ = false;
}

bool xtext_format::refill() {
  // One read of the stream per block: a stream that delivers text as it
  // comes (a pipe, a terminal) is not waited on for more than it has.
  if (stream_ != nullptr && in_.fill(*stream_, 1) > 0) return true;
  end_of_text_ = true;
  return false;
}

bool xtext_format::read_byte(char& c, bool consume) {
  if (end_of_text_) return false;
  if (in_.span() == 0 && !refill()) return false;
  c = next()[0];
  if (consume) {
    in_.advance(1);
    ++consumed_;
  }
  return true;
}

bool xtext_format::read_symbol(char& c, bool consume) {
  if (end_of_line_) return false;
  char b;
  if (!read_byte(b, consume)) {
    end_of_line_ = true;
    return false;
  }
  if (b == lf || b == cr) {
    (b == lf ? lf_seen_ : cr_seen_) = true;
    end_of_line_ = true;
    if (!consume) read_byte(b, true);
    return false;
  }
  c = b;
  return true;
}

bool xtext_format::next_line() {
  if (mode_ != xstream_read) {
    if (!stream_) throw xexception(xexception::not_supported);
    stream_->write_buffer("\r\n", 2);
    ++line_;
    return true;
  }
  char c;
  while (read_symbol(c, true)) {
  }
  if (end_of_text_) return false;
  for (;;) {
    // Looks at the buffered byte directly; read_byte refills when needed.
    if (in_.span() > 0) {
      c = next()[0];
    } else if (!read_byte(c, false)) {
      ++line_;
      return false;
    }
    if (c != lf && c != cr) {
      end_of_line_ = lf_seen_ = cr_seen_ = false;
      ++line_;
      return true;
    }
    in_.advance(1);  // consume the break byte looked at
    ++consumed_;
    if (c == lf) {
      if (lf_seen_) {  // a second LF: an empty line follows
        cr_seen_ = false;
        ++line_;
        return true;
      }
      lf_seen_ = true;
    } else {
      if (cr_seen_) {
        // A second CR: an empty line follows, and the byte behind the CR is
        // swallowed, so that CR LF CR LF is one break and one empty line.
        lf_seen_ = false;
        read_byte(c, true);
        ++line_;
        return true;
      }
      cr_seen_ = true;
    }
  }
}

void xtext_format::skip_lines(int n) {
  for (int i = 0; i < n; ++i) next_line();
}

void xtext_format::take_line(std::string_view& out) {
  out = {};
  if (end_of_line_) return;
  // The line is scanned in place in the read buffer; only a line that runs
  // over the end of a block is copied into the line buffer.
  bool in_buffer = true;
  const char* start = nullptr;
  std::size_t length = 0;
  line_buf_.clear();
  for (;;) {
    if (in_.span() == 0 && (end_of_text_ || !refill())) {
      end_of_line_ = true;
      break;
    }
    const char* p = next();
    const char* const end = p + in_.span();
    const char* q = find_line_break(p, end);
    const auto n = static_cast<std::size_t>(q - p);
    if (in_buffer) {
      start = p;
      length = n;
    } else {
      line_buf_.append(p, n);
    }
    in_.advance(static_cast<int>(n));
    consumed_ += static_cast<std::int64_t>(n);
    if (q < end) {
      (*q == lf ? lf_seen_ : cr_seen_) = true;
      end_of_line_ = true;
      in_.advance(1);
      ++consumed_;
      break;
    }
    if (in_buffer) {
      line_buf_.assign(start, length);
      in_buffer = false;
    }
  }
  out = in_buffer ? std::string_view(start ? start : "", length) : std::string_view(line_buf_);
}

bool xtext_format::read_line_view(std::string_view& s, bool advance) {
  // The usual line, in one step: it starts a line (no break seen yet), it
  // and its break are in the buffer, and so are the byte after a break of
  // two and the first byte of the next line, which is no break. What this
  // does is exactly what take_line and the break below do for it.
  if (advance && mode_ == xstream_read && !end_of_line_ && !end_of_text_) {
    const char* const p = next();
    const char* const end = p + in_.span();
    const char* const q = find_line_break(p, end);
    if (end - q >= 3) {
      const int taken = q[1] == (*q == lf ? cr : lf) ? 2 : 1;
      if (q[taken] != lf && q[taken] != cr) {
        const auto n = static_cast<int>(q + taken - p);
        in_.advance(n);
        consumed_ += n;
        ++line_;
        s = std::string_view(p, static_cast<std::size_t>(q - p));
        return true;
      }
    }
  }
  take_line(s);
  if (advance) {
    // next_line may refill the buffer that `s` points into.
    if (!s.empty() && s.data() != line_buf_.data() && in_.span() < next_line_lookahead) {
      line_buf_.assign(s);
      s = line_buf_;
    }
    // The usual break (one CR, LF, CR LF or LF CR, then a character) handled
    // in place, with exactly the steps next_line takes for it.
    if (mode_ == xstream_read && end_of_line_ && !end_of_text_ && lf_seen_ != cr_seen_ &&
        in_.span() >= 2) {
      const char* p = next();
      const char other = lf_seen_ ? cr : lf;
      int taken = 0;
      if (p[0] == other) taken = 1;
      if (p[taken] != lf && p[taken] != cr) {
        in_.advance(taken);
        consumed_ += taken;
        end_of_line_ = lf_seen_ = cr_seen_ = false;
        ++line_;
        return true;
      }
    }
    if (next_line()) return true;
  }
  return !s.empty();
}

bool xtext_format::read_line(xstr& s, bool advance) {
  std::string_view v;
  const bool result = read_line_view(v, advance);
  s = xstr(v);
  return result;
}

xstr xtext_format::line() {
  xstr s;
  read_line(s, true);
  return s;
}

bool xtext_format::read_token(xstr& t, bool split) {
  if (!pushed_.empty()) {
    t = std::move(pushed_.back());
    pushed_.pop_back();
    return true;
  }
  t = xstr();
  token_buf_.clear();
  char c;
  while (token_buf_.empty()) {
    if (!read_symbol(c, false)) {
      if (end_of_text_) return false;
      if (end_of_line_) next_line();
      continue;
    }
    read_symbol(c, true);
    if (is_blank(c)) continue;
    token_buf_ += c;
    if (is_char_token(c)) break;
    while (read_symbol(c, false) && !is_blank(c) && !(split && is_char_token(c))) {
      token_buf_ += c;
      read_symbol(c, true);
    }
  }
  t = xstr(std::string_view(token_buf_));
  return true;
}

void xtext_format::push_token(const xstr& t) { pushed_.push_back(t); }

xstr xtext_format::token(bool split) {
  xstr t;
  if (!read_token(t, split)) {
    xerror(xerror_category::bad_data, msg::eUnexpectedEOT.text + "\n" + stream_description(), {.line = line_});
    return xstr();
  }
  return t;
}

xstr xtext_format::token_l() { return token(true).lower_case(); }

void xtext_format::register_character_tokens(const xstr& chars) {
  char_tokens_.fill(false);
  char_tokens_set_ = true;
  for (char c : chars.view()) char_tokens_[static_cast<unsigned char>(c)] = true;
}

bool xtext_format::read_number_token(xstr& s) {
  xstr t;
  if (!read_token(t, true)) return false;
  number_chars_[static_cast<unsigned char>(',')] = comma_;
  const int n = t.length();
  int i = 0;
  // Bytes of 128 and above are outside the table: they end the prefix.
  while (i < n && static_cast<signed char>(t[i]) >= 0 && number_chars_[static_cast<unsigned char>(t[i])]) {
    if (t[i] == ',') t.put_char(i, '.');
    ++i;
  }
  if (i < n) push_token(t.sub_str(i, n - i));
  if (i == 0) return false;
  s = t.sub_str(0, i);
  return true;
}

bool xtext_format::_read_number(long double& v) {
  xstr s;
  if (!read_number_token(s)) return false;
  return std::sscanf(s.get_text(), "%Lf", &v) != 0;
}

long double xtext_format::number() {
  long double v = 0;
  if (!_read_number(v)) {
    xstr line;
    line.from_integer(line_);
    xerror(xerror_category::bad_data, msg::eNumberExpected.text + "\n" + stream_description() + "\n" + msg::Line.text + line,
           {.line = line_});
    return 0.0L;
  }
  return v;
}

std::int64_t xtext_format::integer() {
  const long double v = number();
  // A conversion of an out-of-range value is undefined in C++; saturate.
  constexpr long double limit = 9223372036854775808.0L;  // 2^63
  if (std::isnan(v)) return 0;
  if (v >= limit) return std::numeric_limits<std::int64_t>::max();
  if (v < -limit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(v);
}

bool xtext_format::goto_next_token() {
  char c;
  for (;;) {
    if (read_symbol(c, false)) {
      if (!is_blank(c)) return true;
      read_symbol(c, true);
    } else if (!next_line()) {
      return false;
    }
  }
}

xstr xtext_format::quotated_string() {
  char c;
  for (;;) {
    if (read_symbol(c, false)) {
      // Unlike read_token, the vertical tab counts as a blank here.
      if (!is_blank(c) && c != vertical_tab) break;
      read_symbol(c, true);
    } else if (end_of_line_ && !end_of_text_) {
      next_line();
    } else {
      return xstr();
    }
  }
  read_symbol(c, true);
  xstr s = read_to_delimiter(c);
  char closing;
  read_symbol(closing, true);
  return s;
}

xstr xtext_format::read_to_delimiter(char d) {
  std::string text;
  char c;
  while (read_symbol(c, false) && c != d) {
    text += c;
    read_symbol(c, true);
  }
  return xstr(std::string_view(text));
}

void xtext_format::write_string(const xstr& s) {
  if (s.empty()) return;
  if (!stream_) throw xexception(xexception::not_supported);
  std::string_view rest = s.view();
  for (;;) {
    const std::size_t at = rest.find(lf);
    const std::string_view piece = rest.substr(0, at);
    if (!piece.empty()) stream_->write_buffer(piece.data(), static_cast<int>(piece.size()));
    if (at == std::string_view::npos) break;
    next_line();
    rest.remove_prefix(at + 1);
  }
}

void xtext_format::write_line(const xstr& s) {
  write_string(s);
  next_line();
}

int xtext_format::printf(const char* fmt, ...) {
  xstr s;
  va_list args;
  va_start(args, fmt);
  try {
    s.vprintf(fmt, args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
  write_string(s);
  return s.length();
}

}  // namespace xum
