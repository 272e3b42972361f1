#include "streams/xstream.h"

#include <algorithm>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xexceptions.h"

namespace xum {

namespace {
// Chunk size of the copy operations.
constexpr int copy_chunk = 8192;
}  // namespace

xstream::~xstream() = default;

void xstream::set_size(std::int64_t) { throw xexception(xexception::not_supported); }

int xstream::write(const void*, int) { throw xexception(xexception::not_supported); }

void xstream::close() {}

std::int64_t xstream::get_position() { return seek(0, xseek_current); }

std::int64_t xstream::get_size() {
  const std::int64_t position = seek(0, xseek_current);
  const std::int64_t size = seek(0, xseek_end);
  seek(position, xseek_begin);
  return size;
}

void xstream::write_buffer(const void* buffer, int count) {
  if (write(buffer, count) < count) xerror(xerror_category::io, msg::eWriteError.text + "\n" + description());
}

void xstream::read_buffer(void* buffer, int count) {
  if (read(buffer, count) < count) xerror(xerror_category::io, msg::eReadError.text + "\n" + description());
}

void xstream::copy_to(xstream& target) {
  std::vector<char> buffer(copy_chunk);
  for (;;) {
    const int n = read(buffer.data(), copy_chunk);
    if (n <= 0) break;
    target.write_buffer(buffer.data(), n);
  }
}

void xstream::copy_to(xstream& target, int count) {
  std::vector<char> buffer(copy_chunk);
  while (count > 0) {
    const int n = std::min(count, copy_chunk);
    read_buffer(buffer.data(), n);
    target.write_buffer(buffer.data(), n);
    count -= n;
  }
}

}  // namespace xum
