#include "streams/xxor_stream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/xexception.h"

namespace xum {

namespace {

// Size of the work buffer and so of one transfer to the underlying stream.
constexpr int chunk_size = 4096;

// The scrambling key twice over, so that key2 + phase holds the eight key
// bytes for phases phase .. phase + 7 in memory order. Files scrambled by
// the library can only be read back with exactly these bytes.
constexpr unsigned char key2[16] = {0x5c, 0x13, 0xa7, 0xe2, 0x09, 0xbd, 0x44, 0x6f,
                                    0x5c, 0x13, 0xa7, 0xe2, 0x09, 0xbd, 0x44, 0x6f};

// The unit of the fast loop: 16 bytes held in one register where the
// compiler offers vector types, two 64-bit words elsewhere.
#if defined(__GNUC__) || defined(__clang__)
typedef std::uint64_t block __attribute__((vector_size(16)));
#else
struct block {
  std::uint64_t lo, hi;
  block operator^(std::uint64_t k) const { return {lo ^ k, hi ^ k}; }
};
#endif

inline block load(const unsigned char* p) {
  block b;
  std::memcpy(&b, p, sizeof b);
  return b;
}

template <bool with_copy>
inline void store(unsigned char* to, unsigned char* copy, int i, block b) {
  std::memcpy(to + i, &b, sizeof b);
  if constexpr (with_copy) std::memcpy(copy + i, &b, sizeof b);
}

// to[i] = from[i] ^ key[(phase + i) mod 8] for i < n, stored in `copy` as
// well when one is given; `to` or `copy` may equal `from`. Whole words are
// XORed with the key word rotated to their phase; loading both through
// memcpy keeps bytes in memory order on any host, so no byte order arises.
template <bool with_copy>
void scramble(unsigned char* to, unsigned char* copy, const unsigned char* from, int n,
              unsigned phase) {
  int i = 0;
  // Byte by byte up to a 16-byte boundary of `to`.
  for (; i < n && (reinterpret_cast<std::uintptr_t>(to + i) & 15) != 0; ++i) {
    to[i] = from[i] ^ key2[(phase + i) & 7];
    if constexpr (with_copy) copy[i] = to[i];
  }
  std::uint64_t key;
  std::memcpy(&key, key2 + ((phase + i) & 7), 8);
  // 64 bytes per step, then 16, then the tail byte by byte. Each step loads
  // before it stores, as `to` may overlap `from`.
  for (; n - i >= 64; i += 64) {
    const block b0 = load(from + i) ^ key, b1 = load(from + i + 16) ^ key,
                b2 = load(from + i + 32) ^ key, b3 = load(from + i + 48) ^ key;
    store<with_copy>(to, copy, i, b0);
    store<with_copy>(to, copy, i + 16, b1);
    store<with_copy>(to, copy, i + 32, b2);
    store<with_copy>(to, copy, i + 48, b3);
  }
  for (; n - i >= 16; i += 16) store<with_copy>(to, copy, i, load(from + i) ^ key);
  for (; i < n; ++i) {
    to[i] = from[i] ^ key2[(phase + i) & 7];
    if constexpr (with_copy) copy[i] = to[i];
  }
}

}  // namespace

xxor_stream::xxor_stream(xstream& stream, bool owns) { open(stream, owns); }

xxor_stream::~xxor_stream() { close(); }

void xxor_stream::open(xstream& stream, bool owns) {
  // Reopening over the stream already held must not destroy it.
  if (stream_ == &stream) stream_ = nullptr;
  close();
  stream_ = &stream;
  owns_ = owns;
  mode_ = stream.mode();
  position_ = 0;
  // The work buffer and what it holds survive a reopen.
}

unsigned char* xxor_stream::work_for(int chunk, bool keep_tail) {
  if (work_capacity_ < chunk) {
    const int capacity = chunk > chunk_size / 2 ? chunk_size : std::max(chunk, 2 * work_capacity_);
    std::unique_ptr<unsigned char[]> bigger(new unsigned char[static_cast<std::size_t>(capacity)]);
    if (work_ready_ > 0) std::memcpy(bigger.get(), work_.get(), static_cast<std::size_t>(work_ready_));
    work_ = std::move(bigger);
    work_capacity_ = capacity;
  }
  if (work_ready_ < chunk) {
    // A read hands over the unfilled tail of its chunk as well: that part
    // must hold zeros the first time. A write overwrites the whole chunk.
    if (keep_tail) std::memset(work_.get() + work_ready_, 0, static_cast<std::size_t>(chunk - work_ready_));
    work_ready_ = chunk;
  }
  return work_.get();
}

xstr xxor_stream::description() const { return stream_ ? stream_->description() : xstr(); }

int xxor_stream::read(void* buffer, int count) {
  if (count < 0) throw xexception(xexception::out_of_range);
  if (!stream_) return 0;
  auto* out = static_cast<unsigned char*>(buffer);
  int total = 0;
  for (int offset = 0; offset < count; offset += chunk_size) {
    const int chunk = count - offset < chunk_size ? count - offset : chunk_size;
    unsigned char* work = work_for(chunk, true);
    const int done = stream_->read(work, chunk);
    // The whole chunk, filled or not, into the caller's buffer and back into
    // the work buffer, which keeps what the caller received: a later short
    // chunk hands its unfilled tail over the same way.
    scramble<true>(out + offset, work, work, chunk, static_cast<unsigned>(position_));
    total += done;
    position_ += done;
    if (done < chunk) break;
  }
  return total;
}

int xxor_stream::write(const void* buffer, int count) {
  if (count < 0) throw xexception(xexception::out_of_range);
  if (!stream_) return 0;
  // See xsection_stream::write: an empty write is the stream's to refuse.
  if (count == 0) return stream_->write(buffer, 0);
  const auto* in = static_cast<const unsigned char*>(buffer);
  int total = 0;
  for (int offset = 0; offset < count; offset += chunk_size) {
    const int chunk = count - offset < chunk_size ? count - offset : chunk_size;
    unsigned char* work = work_for(chunk, false);
    scramble<false>(work, nullptr, in + offset, chunk, static_cast<unsigned>(position_));
    const int done = stream_->write(work, chunk);
    total += done;
    position_ += done;
    if (done < chunk) break;
  }
  return total;
}

void xxor_stream::set_size(std::int64_t size) {
  if (!stream_) throw xexception(xexception::not_supported);
  stream_->set_size(size);
}

std::int64_t xxor_stream::seek(std::int64_t offset, xseek_origin origin) {
  if (!stream_) return position_ = 0;
  position_ = stream_->seek(offset, origin);
  return position_;
}

void xxor_stream::close() {
  if (owns_ && stream_) delete stream_;
  stream_ = nullptr;
  owns_ = false;
  mode_ = 0;
}

}  // namespace xum
