#include "streams/xbuffered_stream.h"

#include <algorithm>
#include <cstring>

#include "core/xexception.h"

namespace xum {

xbuffered_stream::xbuffered_stream(xstream& inner, bool owns, int size)
    : inner_(&inner), owns_(owns), block_(static_cast<std::size_t>(size < 1 ? 1 : size)) {
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
  if (pending_ == 0 || inner_ == nullptr) return;
  const int n = pending_;
  pending_ = 0;
  inner_->write_buffer(block_.data(), n);
}

void xbuffered_stream::drop_read_ahead() {
  // The inner stream stands after the read-ahead: step back to the
  // caller's position.
  if (read_len_ > read_pos_) inner_->seek(read_pos_ - read_len_, xseek_current);
  read_pos_ = read_len_ = 0;
}

int xbuffered_stream::read(void* buffer, int count) {
  if (inner_ == nullptr) return 0;
  if (count < 0) throw xexception(xexception::out_of_range);
  flush();
  char* out = static_cast<char*>(buffer);
  int done = 0;
  while (done < count) {
    if (read_pos_ == read_len_) {
      read_pos_ = read_len_ = 0;
      const int want = count - done;
      if (want >= static_cast<int>(block_.size())) {  // large reads go straight through
        const int n = inner_->read(out + done, want);
        return done + std::max(n, 0);
      }
      const int n = inner_->read(block_.data(), static_cast<int>(block_.size()));
      if (n <= 0) break;
      read_len_ = n;
    }
    const int n = std::min(read_len_ - read_pos_, count - done);
    std::memcpy(out + done, block_.data() + read_pos_, static_cast<std::size_t>(n));
    read_pos_ += n;
    done += n;
  }
  return done;
}

int xbuffered_stream::write(const void* buffer, int count) {
  // Refused at the call, as the inner stream would refuse it: bytes taken
  // into the block could otherwise be lost when it is passed on.
  if (inner_ == nullptr || !(mode_ & xstream_write)) throw xexception(xexception::not_supported);
  if (count < 0) throw xexception(xexception::out_of_range);
  drop_read_ahead();
  if (pending_ + count > static_cast<int>(block_.size())) flush();
  if (count >= static_cast<int>(block_.size())) return inner_->write(buffer, count);
  std::memcpy(block_.data() + pending_, buffer, static_cast<std::size_t>(count));
  pending_ += count;
  return count;
}

std::int64_t xbuffered_stream::seek(std::int64_t offset, xseek_origin origin) {
  if (inner_ == nullptr) return 0;
  if (offset == 0 && origin == xseek_current) {
    // Asking where the caller stands moves nothing: answered without
    // passing the block on, so that noting positions between small writes
    // (an archive does it for every member) keeps the writes gathered.
    const std::int64_t inner = inner_->seek(0, xseek_current);
    return inner < 0 ? inner : inner + pending_ - (read_len_ - read_pos_);
  }
  flush();
  drop_read_ahead();
  return inner_->seek(offset, origin);
}

void xbuffered_stream::set_size(std::int64_t size) {
  if (inner_ == nullptr) throw xexception(xexception::not_supported);
  flush();
  drop_read_ahead();
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
  read_pos_ = read_len_ = 0;
  if (owns_) delete inner;
}

}  // namespace xum
