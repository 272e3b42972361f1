// A stream that gathers small transfers into large ones (an xblock_buffer):
// writes collect in a block that goes to the inner stream when full (or on
// a seek that moves, a read and close), and reads fill the block with one
// large read. Layered under an
// XOR stream, which works in 4 KiB chunks, it turns thousands of small file
// calls into a few large ones; the bytes that reach the file are the same.
//
//   xum::xbuffered_stream b(file, false);
//   xum::xxor_stream x(b, false);
//
// Failures of the inner stream surface when the block is written: as the
// inner stream's "Data writing error !" with its description.
//
// Thread safety: a stream is used by one thread at a time.
#ifndef XUM_STREAMS_XBUFFERED_STREAM_H
#define XUM_STREAMS_XBUFFERED_STREAM_H

#include "core/xexport.h"
#include "streams/xblock_buffer.h"
#include "streams/xstream.h"

namespace xum {

class XUM_API xbuffered_stream final : public xstream {
 public:
  // Over `inner` (deleted on close when `owns`), with a block of `size`
  // bytes (at least 1).
  xbuffered_stream(xstream& inner, bool owns, int size = 1 << 20);
  // Writes what is pending; a failure there is not raised from here.
  ~xbuffered_stream() override;

  xstr description() const override;
  int read(void* buffer, int count) override;
  int write(const void* buffer, int count) override;
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override;
  void set_size(std::int64_t size) override;
  // Writes what is pending, then forgets (or deletes) the inner stream.
  void close() override;
  // Writes what is pending to the inner stream.
  void flush();

 private:
  xstream* inner_;
  bool owns_;
  xblock_buffer block_;
};

}  // namespace xum

#endif  // XUM_STREAMS_XBUFFERED_STREAM_H
