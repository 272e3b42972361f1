#include "streams/xsection_stream.h"

#include <algorithm>

#include "core/xexception.h"

namespace xum {

xsection_stream::xsection_stream(xstream& stream, std::int64_t size, bool owns) {
  open(stream, size, owns);
}

xsection_stream::~xsection_stream() { close(); }

void xsection_stream::open(xstream& stream, std::int64_t size, bool owns) {
  if (size < 0) throw xexception(xexception::out_of_range);
  // Reopening over the stream already held must not destroy it.
  if (stream_ == &stream) stream_ = nullptr;
  close();
  stream_ = &stream;
  owns_ = owns;
  mode_ = stream.mode();
  position_ = 0;
  size_ = size;
  base_ = stream.get_position();
}

xstr xsection_stream::description() const { return stream_ ? stream_->description() : xstr(); }

int xsection_stream::read(void* buffer, int count) {
  if (count < 0) throw xexception(xexception::out_of_range);
  const int n = static_cast<int>(std::min<std::int64_t>(count, size_ - position_));
  if (n == 0) return 0;
  const int done = stream_->read(buffer, n);
  position_ += done;
  return done;
}

int xsection_stream::write(const void* buffer, int count) {
  if (count < 0) throw xexception(xexception::out_of_range);
  // An empty write still reaches the stream below, so that a stream that
  // may not be written refuses it here as it would any other write (the
  // buffered std::iostream adapter probes with one before it gathers).
  if (count == 0) return stream_->write(buffer, 0);
  const int n = static_cast<int>(std::min<std::int64_t>(count, size_ - position_));
  if (n == 0) return 0;
  const int done = stream_->write(buffer, n);
  position_ += done;
  return done;
}

std::int64_t xsection_stream::seek(std::int64_t offset, xseek_origin origin) {
  std::int64_t from;
  switch (origin) {
    case xseek_begin:
      from = 0;
      break;
    case xseek_current:
      from = position_;
      break;
    case xseek_end:
      from = size_;
      break;
    default:
      throw xexception(xexception::out_of_range);
  }
  // Clamp before adding: 0 <= from <= size_, so neither bound can overflow.
  if (offset < -from)
    position_ = 0;
  else if (offset > size_ - from)
    position_ = size_;
  else
    position_ = from + offset;
  if (stream_) stream_->seek(base_ + position_, xseek_begin);
  return position_;
}

void xsection_stream::close() {
  if (owns_ && stream_) delete stream_;
  stream_ = nullptr;
  owns_ = false;
  base_ = size_ = position_ = 0;
  mode_ = 0;
}

}  // namespace xum
