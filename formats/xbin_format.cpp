#include "formats/xbin_format.h"

#include <cstring>
#include <memory>
#include <string>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xexceptions.h"
#include "core/xle.h"
#include "streams/xxor_stream.h"

namespace xum {

xbin_format::xbin_format(xstream& s, xstream_mode m, bool owns) { open_stream(s, m, owns); }

xbin_format::~xbin_format() {
  try {
    xbin_format::close();
  } catch (...) {
    // A destructor must not throw; callers who need the error call close().
  }
}

void xbin_format::open_stream(xstream& s, xstream_mode m, bool owns) {
  xformat::open_stream(s, m, owns);
  pos_ = 0;
  end_ = 0;
  // Nobody else sees an owned stream, so the block cannot be observed; a
  // borrowed one may be used by its lender between any two fields.
  buffered_ = owns;
}

void xbin_format::open_exclusive(xstream& s, xstream_mode m) {
  open_stream(s, m, false);
  buffered_ = true;
}

void xbin_format::close() {
  // The reset below runs whether or not the closing writes succeed.
  struct reset {
    xbin_format& f;
    ~reset() {
      f.trailer_position_ = -1;
      f.pos_ = 0;
      f.end_ = 0;
      f.plain_ = nullptr;
      f.plain_owned_ = false;
      f.buffered_ = false;
      f.xformat::close();
    }
  } guard{*this};
  if (stream_ == nullptr) return;
  if (reading_) {
    // A stream that outlives the format is left after the last field read.
    // When the format made an XOR stream, that one goes now: the bytes are
    // given back to the plain stream beneath it, which it alone would not
    // have moved further.
    const int unread = end_ - pos_;
    pos_ = end_ = 0;
    if (unread > 0) {
      if (plain_ != nullptr) {
        if (!plain_owned_) plain_->seek(-unread, xseek_current);
      } else if (!owns_stream_) {
        stream_->seek(-unread, xseek_current);
      }
    }
    return;
  }
  flush();
  if (trailer_position_ >= 0) {
    unsigned char bytes[trailer_bytes] = {};
    const std::int64_t pos = trailer_position_;
    trailer_position_ = -1;
    if (pos < (std::int64_t{1} << 31)) {
      le::store<std::uint32_t>(bytes, static_cast<std::uint32_t>(pos));
      stream_->write_buffer(bytes, 4);
    } else {
      le::store<std::uint64_t>(bytes, static_cast<std::uint64_t>(pos));
      stream_->write_buffer(bytes, trailer_bytes);
    }
  }
}

void xbin_format::read_error(std::int64_t at) {
  xerror(xerror_category::bad_data, msg::eReadError.text + "\n" + stream_description(), {.offset = at});
}

void xbin_format::short_read() {
  xerror(xerror_category::io, msg::eReadError.text + "\n" + stream_description(), {.offset = offset()});
}

std::int64_t xbin_format::offset() noexcept {
  if (stream_ == nullptr) return -1;
  std::int64_t here = -1;
  try {
    here = stream_->seek(0, xseek_current);
  } catch (...) {
    return -1;  // a stream that cannot tell
  }
  if (here < 0) return -1;
  // Reading: the block holds bytes read ahead of the next field; writing:
  // bytes not yet handed to the stream.
  return reading_ ? here - (end_ - pos_) : here + pos_;
}

int xbin_format::drop_block() {
  if (!reading_) {
    if (pos_ > 0) {
      const int n = pos_;
      pos_ = 0;
      stream_->write_buffer(block_.get(), n);
    }
    return 0;
  }
  const int unread = end_ - pos_;
  pos_ = end_ = 0;
  return unread;
}

void xbin_format::flush() {
  if (stream_ == nullptr) return;
  if (const int unread = drop_block(); unread > 0) stream_->seek(-unread, xseek_current);
}

void xbin_format::refill() {
  if (!block_) block_ = std::make_unique_for_overwrite<unsigned char[]>(block_size);
  const int unread = end_ - pos_;
  if (unread > 0 && pos_ > 0) std::memmove(block_.get(), block_.get() + pos_, static_cast<std::size_t>(unread));
  pos_ = 0;
  end_ = unread;
  while (end_ < block_size) {
    const int got = stream_->read(block_.get() + end_, block_size - end_);
    if (got <= 0) break;
    end_ += got;
  }
}

void xbin_format::buffer_slow(void* p, int n) {
  if (stream_ == nullptr) throw xexception(xexception::not_supported);
  if (n <= 0) return;
  auto* bytes = static_cast<unsigned char*>(p);
  if (!buffered_) {
    // Every field reaches a borrowed stream at its call.
    if (reading_)
      stream_->read_buffer(bytes, n);
    else
      stream_->write_buffer(bytes, n);
    return;
  }
  if (!reading_) {
    if (pos_ > 0) drop_block();
    if (n >= block_size / 2) {  // large blocks go straight to the stream
      stream_->write_buffer(bytes, n);
      return;
    }
    if (!block_) block_ = std::make_unique_for_overwrite<unsigned char[]>(block_size);
    end_ = block_size;
    std::memcpy(block_.get(), bytes, static_cast<std::size_t>(n));
    pos_ = n;
    return;
  }
  if (n >= block_size / 2) {
    // Large reads: what is read ahead, then the rest straight from the
    // stream, which reports a short read itself.
    const int unread = end_ - pos_;
    std::memcpy(bytes, block_.get() + pos_, static_cast<std::size_t>(unread));
    pos_ = end_ = 0;
    stream_->read_buffer(bytes + unread, n - unread);
    return;
  }
  refill();
  if (end_ < n) {
    // The stream ended: hand over what there is, as read_buffer does.
    std::memcpy(bytes, block_.get(), static_cast<std::size_t>(end_));
    pos_ = end_;
    short_read();
    return;
  }
  std::memcpy(bytes, block_.get(), static_cast<std::size_t>(n));
  pos_ = n;
}

bool xbin_format::remaining_at_least(std::int64_t n, int back) {
  if (n <= 0 || end_ - pos_ >= n) return true;
  if (buffered_ && n <= block_size) {
    // A full block settles it: what does not fit now is not in the stream.
    refill();
    if (end_ - pos_ >= n) return true;
  } else {
    // Asked where a seek does not disturb the scrambling phase.
    xstream& s = plain_ != nullptr ? *plain_ : *stream_;
    const std::int64_t here = s.seek(0, xseek_current);
    const std::int64_t size = s.seek(0, xseek_end);
    s.seek(here, xseek_begin);
    if (size - here + (end_ - pos_) >= n) return true;
  }
  const std::int64_t at = offset();
  read_error(at < 0 ? -1 : at - back);
  return false;
}

void xbin_format::assign(xstr& s, const unsigned char* p, int n) {
  if (s.length() == n && s.use_count() == 1) {
    // The block is this string's alone and heap memory: overwriting it in
    // place saves an allocation per string when records are read again
    // into the same variables.
    std::memcpy(const_cast<char*>(s.get_text()), p, static_cast<std::size_t>(n));
    return;
  }
  s = xstr(std::string_view(reinterpret_cast<const char*>(p), static_cast<std::size_t>(n)));
}

void xbin_format::short_str(xstr& s) {
  if (reading_) {
    std::uint8_t n = 0;
    number(n);
    if (n == 0) {
      s.clear();
      return;
    }
    if (end_ - pos_ >= n) {
      assign(s, block_.get() + pos_, n);
      pos_ += n;
      return;
    }
    unsigned char bytes[short_str_max] = {};
    buffer_slow(bytes, n);
    assign(s, bytes, n);
    return;
  }
  if (s.length() > short_str_max) throw xexception(xexception::out_of_range);
  std::uint8_t n = static_cast<std::uint8_t>(s.length());
  number(n);
  buffer(const_cast<char*>(s.get_text()), n);
}

void xbin_format::operator()(xstr& s) {
  if (reading_) {
    std::int32_t n = 0;
    number(n);
    if (n <= 0) {
      // A negative length is as wrong as one past the end.
      if (n < 0) read_error(offset() - 4);
      s.clear();
      return;
    }
    // The length is checked against what the stream still holds before
    // anything is allocated for it.
    if (!remaining_at_least(n, 4)) {
      s.clear();
      return;
    }
    if (end_ - pos_ >= n) {
      assign(s, block_.get() + pos_, n);
      pos_ += n;
      return;
    }
    std::string bytes(static_cast<std::size_t>(n), '\0');
    buffer_slow(bytes.data(), n);
    s = xstr(std::string_view(bytes));
    return;
  }
  std::int32_t n = s.length();
  number(n);
  buffer(const_cast<char*>(s.get_text()), n);
}

void xbin_format::put_bytes32(const char* p, std::size_t n) {
  if (n > 0x7fffffffu) throw xexception(xexception::out_of_range);
  std::int32_t length = static_cast<std::int32_t>(n);
  number(length);
  buffer(const_cast<char*>(p), length);
}

void xbin_format::operator()(std::string& s) {
  if (!reading_) {
    put_bytes32(s.data(), s.size());
    return;
  }
  // Through an xstr, whose reading checks the length against the bytes
  // left before anything is allocated.
  xstr t;
  (*this)(t);
  s.assign(t.view());
}

void xbin_format::short_str(std::string& s) {
  if (!reading_) {
    write_short(s);
    return;
  }
  xstr t;
  short_str(t);
  s.assign(t.view());
}

void xbin_format::write(std::string_view s) {
  if (reading_ || stream_ == nullptr) throw xexception(xexception::not_supported);
  put_bytes32(s.data(), s.size());
}

void xbin_format::write_short(std::string_view s) {
  if (reading_ || stream_ == nullptr) throw xexception(xexception::not_supported);
  if (s.size() > static_cast<std::size_t>(short_str_max)) throw xexception(xexception::out_of_range);
  std::uint8_t n = static_cast<std::uint8_t>(s.size());
  number(n);
  buffer(const_cast<char*>(s.data()), n);
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

void xbin_format::operator()(bool& v) {
  std::uint8_t b = v ? 1 : 0;
  number(b);
  v = b != 0;
}

std::int32_t xbin_format::count(std::int32_t n, int element_bytes, int slack) {
  number(n);
  if (!reading_) return n;
  // A count the rest of the stream cannot hold is refused before anything
  // grows for it.
  if (n < 0) {
    read_error(offset() - 4);
    return 0;
  }
  const std::int64_t needed = (std::int64_t{n} - slack) * element_bytes;
  return remaining_at_least(needed, 4) ? n : 0;
}

void xbin_format::vector_size(xvector<xstr>& v) {
  // The elements may follow in any form (short strings, or nothing at all),
  // so only a count far beyond the bytes left is refused.
  const std::int32_t n = count(v.size(), 1, vector_size_slack);
  if (!reading_) return;
  v.resize(n);
  for (int i = 0; i < n; ++i) v[i].clear();
}

void xbin_format::vector(xvector<xstr>& v) {
  // Every element takes at least its 4-byte length.
  const std::int32_t n = count(v.size(), 4, 0);
  if (reading_) {
    v.resize(n);
    for (int i = 0; i < n; ++i) v[i].clear();
  }
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
  if (std::memcmp(bytes.get(), id.get_text(), static_cast<std::size_t>(n)) != 0) {
    const std::int64_t at = offset();
    xerror(xerror_category::bad_data, msg::eInvalidFormat.text + "\n" + stream_description(),
           {.offset = at < 0 ? -1 : at - n});
  }
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
  if (v < version_) {
    const std::int64_t at = offset();
    xerror(xerror_category::newer_version, msg::eNewerVersion.text + "\n" + stream_description(),
           {.offset = at < 0 ? -1 : at - 4});
  }
}

std::int64_t xbin_format::get_position() { return seek(0, xseek_current); }

std::int64_t xbin_format::get_size() {
  const std::int64_t pos = get_position();
  const std::int64_t size = stream_->seek(0, xseek_end);
  stream_->seek(pos, xseek_begin);
  return size;
}

void xbin_format::set_position(std::int64_t pos) { seek(pos, xseek_begin); }

std::int64_t xbin_format::seek(std::int64_t offset, xseek_origin origin) {
  if (stream_ == nullptr) throw xexception(xexception::not_supported);
  // The bytes read ahead are given back in the same seek: the stream sees
  // exactly the one seek an unbuffered format would make.
  const int unread = drop_block();
  if (origin == xseek_current) offset -= unread;
  return stream_->seek(offset, origin);
}

std::int64_t xbin_format::trailer() {
  if (!reading_) {
    trailer_position_ = get_position();
    return trailer_position_;
  }
  unsigned char bytes[trailer_bytes] = {};
  const std::int64_t size = get_size();
  if (size < trailer_bytes) {
    read_error(0);
    return -1;
  }
  seek(-trailer_bytes, xseek_end);
  buffer(bytes, trailer_bytes);
  const std::uint32_t last = le::load<std::uint32_t>(bytes + 8);
  // A zero last word marks the long form; the short form is sign-extended.
  const std::int64_t pos = last != 0 ? std::int64_t{static_cast<std::int32_t>(last)}
                                     : static_cast<std::int64_t>(le::load<std::uint64_t>(bytes));
  // A position outside the file is a damaged file, not a caller's mistake:
  // it is reported rather than handed to a stream that may refuse it.
  if (pos < 0 || pos > size) {
    read_error(last != 0 ? size - 4 : size - trailer_bytes);
    return -1;
  }
  return seek(pos, xseek_begin);
}

void xbin_format::start_encoding() {
  if (stream_ == nullptr) throw xexception(xexception::not_supported);
  // The plain stream must stand after the last field before the XOR stream
  // takes it over, since that one starts its phase there.
  flush();
  auto* scrambler = new xxor_stream(*stream_, owns_stream_);
  // The XOR stream now owns the inner stream (when the format did); the
  // format owns the XOR stream.
  if (plain_ == nullptr) {
    plain_ = stream_;
    plain_owned_ = owns_stream_;
  }
  stream_ = scrambler;
  owns_stream_ = true;
}

}  // namespace xum
