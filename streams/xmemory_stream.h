// Streams over bytes in memory: `xbuffer_stream` reads a block that belongs
// to someone else, `xmemory_stream` is a growable in-memory file that owns
// its bytes. Both keep 32-bit sizes and positions.
//
//   xum::xmemory_stream m;
//   m.write_buffer("abcdef", 6);
//   xum::xbuffer_stream view(m.data(), m.size());   // reads the same bytes
//
// Thread safety: a stream is used by one thread at a time.
#ifndef XUM_STREAMS_XMEMORY_STREAM_H
#define XUM_STREAMS_XMEMORY_STREAM_H

#include <cstdint>

#include "core/xexport.h"
#include "core/xstr.h"
#include "core/xvector.h"
#include "streams/xstream.h"

namespace xum {

// A read-only stream over a block it does not own. The block must outlive
// the stream (or the next `open`). Seeking past the end calls `set_size`,
// which a buffer stream does not support, so it throws xexception 4; so do
// `write` and `set_size`.
//
// Not final: the memory and resource streams derive from it and set the
// protected fields themselves.
class XUM_API xbuffer_stream : public xstream {
 public:
  // An empty stream without a block (size 0, mode 0).
  xbuffer_stream() noexcept = default;
  // A read-only stream over `size` bytes at `data`; see `open`.
  xbuffer_stream(const void* data, int size);
  ~xbuffer_stream() override;

  // Shows `size` bytes at `data` from position 0 and sets the mode to read.
  // Throws xexception 0 when size is negative, or positive with null data.
  void open(const void* data, int size);

  // The first byte of the block (null when there is none) and its length.
  const unsigned char* data() const noexcept { return data_; }
  int size() const noexcept { return size_; }

  // "buffer stream".
  xstr description() const override;
  // Copies min(count, size - position) bytes and advances. Throws
  // xexception 0 when count is negative.
  int read(void* buffer, int count) override;
  // Uses the low 32 bits of `offset`; a negative result becomes 0 and a
  // result past the end calls set_size(result) through the virtual slot and
  // then lands at the (new) size. Returns the position.
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override;
  // Keeps the block.
  void close() override;

 protected:
  int size_ = 0;                         // bytes in the block
  int position_ = 0;                     // 0 <= position_ <= size_
  const unsigned char* data_ = nullptr;  // first byte, null when empty
};

// A growable in-memory file, readable and writable (mode 3). Writes past the
// end grow it, and so does a seek past the end; new bytes are zero. Sizes
// above INT_MAX are refused with xexception 0.
class XUM_API xmemory_stream final : public xbuffer_stream {
 public:
  xmemory_stream() noexcept;
  ~xmemory_stream() override;

  // A memory stream always shows its own bytes.
  void open(const void* data, int size) = delete;

  // "Memory stream."
  xstr description() const override;
  // Writes all `count` bytes at the position, growing the stream as needed,
  // and advances. Never writes short. Throws xexception 0 when count is
  // negative or the end would pass INT_MAX.
  int write(const void* buffer, int count) override;
  // Resizes to n bytes (new bytes zero) and moves the position to 0.
  // Throws xexception 0 when n is negative or above INT_MAX.
  void set_size(std::int64_t n) override;
  // Frees the bytes; the stream is then empty and still writable.
  void close() override;

 private:
  xvector<unsigned char> bytes_;
};

}  // namespace xum

#endif  // XUM_STREAMS_XMEMORY_STREAM_H
