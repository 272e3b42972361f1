#include "streams/xblock_buffer.h"

#include <algorithm>
#include <cassert>

namespace xum {

xblock_buffer::xblock_buffer(int capacity, int direct_from)
    : capacity_(capacity < 1 ? 1 : capacity),
      direct_from_(direct_from < 1 || direct_from > capacity_ ? capacity_ : direct_from) {}

void xblock_buffer::allocate() {
  if (!data_) data_ = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(capacity_));
}

void xblock_buffer::start_writing() {
  if (writing_) return;
  assert(end_ == pos_ && "xblock_buffer: bytes read ahead must be given back before writing");
  allocate();
  writing_ = true;
  pos_ = data_.get();
  end_ = pos_ + capacity_;
}

void xblock_buffer::write_slow(xstream& s, const void* p, int n) {
  if (n <= 0) return;
  start_writing();
  if (n >= direct_from_ || n > span()) flush(s);
  if (n >= direct_from_) {
    s.write_buffer(p, n);
    return;
  }
  std::memcpy(pos_, p, static_cast<std::size_t>(n));
  pos_ += n;
}

unsigned char* xblock_buffer::reserve_slow(xstream& s, int n) {
  start_writing();
  if (n > span()) flush(s);
  return cursor();
}

void xblock_buffer::flush(xstream& s) {
  const int n = pending();
  if (n == 0) return;
  pos_ = data_.get();
  s.write_buffer(pos_, n);
}

int xblock_buffer::fill(xstream& s, int want) {
  if (writing_) {
    assert(pending() == 0 && "xblock_buffer: pending bytes must be passed on before reading");
    writing_ = false;
    pos_ = end_ = data_.get();
  }
  allocate();
  unsigned char* const block = data_.get();
  int have = span();
  if (have > 0 && pos_ != block) std::memmove(block, pos_, static_cast<std::size_t>(have));
  pos_ = block;
  want = std::min(want, capacity_);
  while (have < want) {
    const int got = s.read(block + have, capacity_ - have);
    if (got <= 0) break;
    have += got;
  }
  end_ = block + have;
  return have;
}

int xblock_buffer::read(xstream& s, void* p, int n) {
  auto* out = static_cast<unsigned char*>(p);
  int done = take(out, n);
  while (done < n) {
    // The read-ahead is used up here.
    const int want = n - done;
    if (want >= direct_from_) {
      const int got = s.read(out + done, want);
      return done + std::max(got, 0);
    }
    if (fill(s, 1) == 0) break;
    done += take(out + done, want);
  }
  return done;
}

int xblock_buffer::take(void* p, int n) {
  const int k = std::min(read_ahead(), n);
  if (k <= 0) return 0;
  std::memcpy(p, cursor(), static_cast<std::size_t>(k));
  pos_ += k;
  return k;
}

int xblock_buffer::drop_read_ahead() noexcept {
  if (writing_) return 0;
  const int k = span();
  pos_ = end_ = data_.get();
  return k;
}

void xblock_buffer::give_back(xstream& s) {
  if (const int k = drop_read_ahead(); k > 0) s.seek(-k, xseek_current);
}

}  // namespace xum
