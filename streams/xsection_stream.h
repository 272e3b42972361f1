// xsection_stream: a part of another stream shown as a stream of its own,
// starting where the other stream stood when the section was opened. The
// archive hands out sections for the files stored inside it.
//
//   archive.seek(entry_offset, xum::xseek_begin);
//   xum::xsection_stream entry(archive, entry_size, false);
//   entry.read_buffer(header, 16);    // reads archive bytes entry_offset..+16
//
// Thread safety: a stream is used by one thread at a time; the section and
// the stream beneath it count as one.
#ifndef XUM_STREAMS_XSECTION_STREAM_H
#define XUM_STREAMS_XSECTION_STREAM_H

#include <cstdint>

#include "core/xexport.h"
#include "core/xstr.h"
#include "streams/xstream.h"

namespace xum {

// Reads and writes are clamped to the section and forwarded to the
// underlying stream, which must stand at base + position: the section seeks
// it only in `seek`, so other users of that stream must leave it there.
// `set_size` is not supported (xexception 4).
class XUM_API xsection_stream : public xstream {
 public:
  // See `open`.
  xsection_stream(xstream& stream, std::int64_t size, bool owns);
  // Calls `close`.
  ~xsection_stream() override;

  xsection_stream(const xsection_stream&) = delete;
  xsection_stream& operator=(const xsection_stream&) = delete;

  // Closes the current stream, then shows `size` bytes of `stream` from its
  // current position, with its mode. With `owns` set the section destroys
  // `stream` (which must come from `new`) on `close`. Throws xexception 0
  // when size is negative, before anything changes.
  void open(xstream& stream, std::int64_t size, bool owns);

  // The underlying stream's description; empty when closed.
  xstr description() const override;
  // Forward at most size - position bytes and advance by the count
  // transferred. Throw xexception 0 when count is negative.
  int read(void* buffer, int count) override;
  int write(const void* buffer, int count) override;
  // Clamps the result to 0..size, seeks the underlying stream to
  // base + position and returns the section-relative position.
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override;
  // Destroys an owned stream and forgets the stream in every case; the
  // section is then empty.
  void close() override;

 private:
  xstream* stream_ = nullptr;  // null when closed
  std::int64_t base_ = 0;      // underlying position at `open`
  std::int64_t size_ = 0;
  std::int64_t position_ = 0;  // 0 <= position_ <= size_
  bool owns_ = false;
};

}  // namespace xum

#endif  // XUM_STREAMS_XSECTION_STREAM_H
