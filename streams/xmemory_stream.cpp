#include "streams/xmemory_stream.h"

#include <climits>
#include <cstring>

#include "core/xexception.h"

namespace xum {

// ---- xbuffer_stream ----

xbuffer_stream::xbuffer_stream(const void* data, int size) { open(data, size); }

xbuffer_stream::~xbuffer_stream() = default;

void xbuffer_stream::open(const void* data, int size) {
  if (size < 0 || (size > 0 && !data)) throw xexception(xexception::out_of_range);
  data_ = size ? static_cast<const unsigned char*>(data) : nullptr;
  size_ = size;
  position_ = 0;
  mode_ = xstream_read;
}

xstr xbuffer_stream::description() const { return "buffer stream"; }

int xbuffer_stream::read(void* buffer, int count) {
  if (count < 0) throw xexception(xexception::out_of_range);
  const int n = count < size_ - position_ ? count : size_ - position_;
  if (n == 0) return 0;
  std::memcpy(buffer, data_ + position_, static_cast<std::size_t>(n));
  position_ += n;
  return n;
}

std::int64_t xbuffer_stream::seek(std::int64_t offset, xseek_origin origin) {
  // Positions are 32-bit: only the low half of the offset counts. The sum is
  // formed in 64 bits so that it cannot wrap.
  const std::int64_t low = static_cast<std::int32_t>(offset);
  std::int64_t target;
  switch (origin) {
    case xseek_begin:
      target = low;
      break;
    case xseek_current:
      target = position_ + low;
      break;
    case xseek_end:
      target = size_ + low;
      break;
    default:
      throw xexception(xexception::out_of_range);
  }
  if (target < 0) target = 0;
  if (target > size_) {
    set_size(target);
    position_ = size_;
  } else {
    position_ = static_cast<int>(target);
  }
  return position_;
}

void xbuffer_stream::close() {}

// ---- xmemory_stream ----

xmemory_stream::xmemory_stream() noexcept { mode_ = xstream_read | xstream_write; }

xmemory_stream::~xmemory_stream() = default;

xstr xmemory_stream::description() const { return "Memory stream."; }

int xmemory_stream::write(const void* buffer, int count) {
  if (count < 0) throw xexception(xexception::out_of_range);
  if (count == 0) return 0;
  const std::int64_t end = std::int64_t{position_} + count;
  if (end > size_) {
    if (end > INT_MAX) throw xexception(xexception::out_of_range);
    // The new bytes lie in [size_, end), inside the range written below
    // (position_ <= size_), so they need no zeroing first.
    bytes_.resize_for_overwrite(static_cast<int>(end));
    size_ = static_cast<int>(end);
    data_ = bytes_.data();
  }
  std::memcpy(bytes_.data() + position_, buffer, static_cast<std::size_t>(count));
  position_ += count;
  return count;
}

void xmemory_stream::set_size(std::int64_t n) {
  if (n < 0 || n > INT_MAX) throw xexception(xexception::out_of_range);
  bytes_.resize(static_cast<int>(n));
  position_ = 0;
  size_ = static_cast<int>(n);
  data_ = n ? bytes_.data() : nullptr;
}

void xmemory_stream::close() {
  bytes_.reset();
  size_ = 0;
  position_ = 0;
  data_ = nullptr;
}

}  // namespace xum
