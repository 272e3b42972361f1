#include "streams/xbuffered_stream.h"

#include "core/xexception.h"

namespace xum {

xbuffered_stream::xbuffered_stream(xstream& inner, bool owns, int size)
    : inner_(&inner), owns_(owns), block_(size) {
  mode_ = inner.mode();
}

xbuffered_stream::~xbuffered_stream() {
  try {
    close();
  } catch (...) {
  }
}

xstr xbuffered_stream::description() const { return inner_ ? inner_->description() : xstr(); }

void xbuffered_stream::flush() {
  if (inner_ != nullptr) block_.flush(*inner_);
}

int xbuffered_stream::read(void* buffer, int count) {
  if (inner_ == nullptr) return 0;
  if (count < 0) throw xexception(xexception::out_of_range);
  flush();
  return block_.read(*inner_, buffer, count);
}

int xbuffered_stream::write(const void* buffer, int count) {
  // Refused at the call, as the inner stream would refuse it: bytes taken
  // into the block could otherwise be lost when it is passed on.
  if (inner_ == nullptr || !(mode_ & xstream_write)) throw xexception(xexception::not_supported);
  if (count < 0) throw xexception(xexception::out_of_range);
  // The inner stream stands after the read-ahead: back to the caller's
  // position first.
  block_.give_back(*inner_);
  if (count >= block_.capacity()) {
    // Larger than the block: straight through, with the inner stream's own
    // count.
    block_.flush(*inner_);
    return inner_->write(buffer, count);
  }
  block_.write(*inner_, buffer, count);
  return count;
}

std::int64_t xbuffered_stream::seek(std::int64_t offset, xseek_origin origin) {
  if (inner_ == nullptr) return 0;
  if (offset == 0 && origin == xseek_current) {
    // Asking where the caller stands moves nothing: answered without
    // passing the block on, so that noting positions between small writes
    // (an archive does it for every member) keeps the writes gathered.
    const std::int64_t inner = inner_->seek(0, xseek_current);
    return inner < 0 ? inner : inner + block_.pending() - block_.read_ahead();
  }
  flush();
  block_.give_back(*inner_);
  return inner_->seek(offset, origin);
}

void xbuffered_stream::set_size(std::int64_t size) {
  if (inner_ == nullptr) throw xexception(xexception::not_supported);
  flush();
  block_.give_back(*inner_);
  inner_->set_size(size);
}

void xbuffered_stream::close() {
  if (inner_ == nullptr) return;
  xstream* inner = inner_;
  try {
    flush();
  } catch (...) {
    inner_ = nullptr;
    if (owns_) delete inner;
    throw;
  }
  inner_ = nullptr;
  block_.reset();
  if (owns_) delete inner;
}

}  // namespace xum
