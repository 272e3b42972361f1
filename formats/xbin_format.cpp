#include "formats/xbin_format.h"

#include <cstring>
#include <memory>
#include <string>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xle.h"
#include "streams/xxor_stream.h"

namespace xum {

xbin_format::xbin_format(xstream& s, xstream_mode m, bool owns) { open_stream(s, m, owns); }

xbin_format::~xbin_format() { xbin_format::close(); }

void xbin_format::close() {
  if (stream_ != nullptr && !reading_ && trailer_position_ >= 0) {
    unsigned char bytes[12] = {};
    const std::int64_t pos = trailer_position_;
    trailer_position_ = -1;
    if (pos < (std::int64_t{1} << 31)) {
      le::store<std::uint32_t>(bytes, static_cast<std::uint32_t>(pos));
      stream_->write_buffer(bytes, 4);
    } else {
      le::store<std::uint64_t>(bytes, static_cast<std::uint64_t>(pos));
      stream_->write_buffer(bytes, 12);
    }
  }
  trailer_position_ = -1;
  xformat::close();
}

void xbin_format::read_error() { xerror(msg::eReadError.text + "\n" + stream_description()); }

bool xbin_format::remaining_at_least(std::int64_t n) {
  if (n <= 0) return true;
  if (n <= get_size() - get_position()) return true;
  read_error();
  return false;
}

void xbin_format::buffer(void* p, int n) {
  if (stream_ == nullptr) throw xexception(xexception::not_supported);
  if (reading_)
    stream_->read_buffer(p, n);
  else
    stream_->write_buffer(p, n);
}

void xbin_format::short_str(xstr& s) {
  if (reading_) {
    std::uint8_t n = 0;
    buffer(&n, 1);
    if (n == 0) {
      s.clear();
      return;
    }
    char bytes[255];
    std::memset(bytes, 0, n);
    buffer(bytes, n);
    s = xstr(std::string_view(bytes, n));
    return;
  }
  if (s.length() > 255) throw xexception(xexception::out_of_range);
  std::uint8_t n = static_cast<std::uint8_t>(s.length());
  buffer(&n, 1);
  if (n) buffer(const_cast<char*>(s.get_text()), n);
}

void xbin_format::operator()(xstr& s) {
  if (reading_) {
    std::int32_t n = 0;
    number(n);
    if (n <= 0) {
      // A negative length is as wrong as one past the end.
      if (n < 0) read_error();
      s.clear();
      return;
    }
    // The length is checked against what the stream still holds before
    // anything is allocated for it.
    if (!remaining_at_least(n)) {
      s.clear();
      return;
    }
    std::string bytes(static_cast<std::size_t>(n), '\0');
    buffer(bytes.data(), n);
    s = xstr(std::string_view(bytes));
    return;
  }
  std::int32_t n = s.length();
  number(n);
  if (n) buffer(const_cast<char*>(s.get_text()), n);
}

xstr xbin_format::str_prop(const xstr& s) {
  xstr copy = s;
  (*this)(copy);
  return copy;
}

xstr xbin_format::short_str_prop(const xstr& s) {
  xstr copy = s;
  short_str(copy);
  return copy;
}

template <class T>
void xbin_format::number(T& v) {
  unsigned char bytes[sizeof(T)];
  if (reading_) {
    std::memset(bytes, 0, sizeof bytes);
    buffer(bytes, sizeof bytes);
    v = le::load<T>(bytes);
  } else {
    le::store<T>(bytes, v);
    buffer(bytes, sizeof bytes);
  }
}

void xbin_format::operator()(std::int8_t& v) { number(v); }
void xbin_format::operator()(std::uint8_t& v) { number(v); }
void xbin_format::operator()(std::int16_t& v) { number(v); }
void xbin_format::operator()(std::uint16_t& v) { number(v); }
void xbin_format::operator()(std::int32_t& v) { number(v); }
void xbin_format::operator()(std::uint32_t& v) { number(v); }
void xbin_format::operator()(std::int64_t& v) { number(v); }
void xbin_format::operator()(std::uint64_t& v) { number(v); }
void xbin_format::operator()(float& v) { number(v); }
void xbin_format::operator()(double& v) { number(v); }

void xbin_format::operator()(bool& v) {
  std::uint8_t b = v ? 1 : 0;
  number(b);
  v = b != 0;
}

void xbin_format::vector_size(xvector<xstr>& v) {
  std::int32_t n = v.size();
  number(n);
  if (!reading_) return;
  // Every element takes at least its 4-byte length: a count the rest of
  // the stream cannot hold is refused before the vector grows.
  if (n < 0) {
    read_error();
    n = 0;
  } else if (!remaining_at_least(std::int64_t{n} * 4)) {
    n = 0;
  }
  v.resize(n);
  for (int i = 0; i < n; ++i) v[i].clear();
}

void xbin_format::vector(xvector<xstr>& v) {
  vector_size(v);
  for (int i = 0; i < v.size(); ++i) (*this)(v[i]);
}

void xbin_format::identifier(const xstr& id) {
  const int n = id.length();
  if (n == 0) return;
  if (!reading_) {
    buffer(const_cast<char*>(id.get_text()), n);
    return;
  }
  std::unique_ptr<char[]> bytes(new char[static_cast<std::size_t>(n)]());
  buffer(bytes.get(), n);
  if (std::memcmp(bytes.get(), id.get_text(), static_cast<std::size_t>(n)) != 0)
    xerror(msg::eInvalidFormat.text + "\n" + stream_description());
}

void xbin_format::set_version(int v) {
  if (!reading_) {
    version_ = v;
    std::int32_t stored = v;
    number(stored);
    return;
  }
  std::int32_t stored = 0;
  number(stored);
  version_ = stored;
  if (v < version_) xerror(msg::eNewerVersion.text + "\n" + stream_description());
}

std::int64_t xbin_format::get_position() {
  if (stream_ == nullptr) throw xexception(xexception::not_supported);
  return stream_->seek(0, xseek_current);
}

std::int64_t xbin_format::get_size() {
  const std::int64_t pos = get_position();
  const std::int64_t size = stream_->seek(0, xseek_end);
  stream_->seek(pos, xseek_begin);
  return size;
}

void xbin_format::set_position(std::int64_t pos) { seek(pos, xseek_begin); }

std::int64_t xbin_format::seek(std::int64_t offset, xseek_origin origin) {
  if (stream_ == nullptr) throw xexception(xexception::not_supported);
  return stream_->seek(offset, origin);
}

std::int64_t xbin_format::trailer() {
  if (!reading_) {
    trailer_position_ = get_position();
    return trailer_position_;
  }
  unsigned char bytes[12] = {};
  seek(-12, xseek_end);
  buffer(bytes, 12);
  const std::uint32_t last = le::load<std::uint32_t>(bytes + 8);
  // A zero last word marks the long form; the short form is sign-extended.
  const std::int64_t pos = last != 0 ? std::int64_t{static_cast<std::int32_t>(last)}
                                     : static_cast<std::int64_t>(le::load<std::uint64_t>(bytes));
  return seek(pos, xseek_begin);
}

void xbin_format::start_encoding() {
  if (stream_ == nullptr) throw xexception(xexception::not_supported);
  auto* scrambler = new xxor_stream(*stream_, owns_stream_);
  // The XOR stream now owns the inner stream (when the format did); the
  // format owns the XOR stream.
  stream_ = scrambler;
  owns_stream_ = true;
}

}  // namespace xum
