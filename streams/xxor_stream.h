// xxor_stream: scrambles everything written through it to another stream,
// and unscrambles everything read, with a fixed 8-byte key. The binary
// format switches to it after its plain header.
//
//   xum::xxor_stream body(file, false);   // phase 0 here, whatever file's position
//   body.write_buffer(payload, n);
//
// Thread safety: a stream is used by one thread at a time; the wrapper and
// the stream beneath it count as one.
#ifndef XUM_STREAMS_XXOR_STREAM_H
#define XUM_STREAMS_XXOR_STREAM_H

#include <cstdint>
#include <memory>

#include "core/xexport.h"
#include "core/xstr.h"
#include "streams/xstream.h"

namespace xum {

// Byte i of a transfer is XORed with key[(phase + i) mod 8], key being
// 5c 13 a7 e2 09 bd 44 6f. The phase is this stream's own position: 0 when
// opened, whatever the underlying stream's position, then advanced by every
// byte transferred; after any `seek` (get_position and get_size included) it
// becomes the underlying stream's absolute position. A reader must therefore
// reach the data the way the writer did: open at the same point, or seek.
class XUM_API xxor_stream final : public xstream {
 public:
  // See `open`.
  xxor_stream(xstream& stream, bool owns);
  // Calls `close`.
  ~xxor_stream() override;

  xxor_stream(const xxor_stream&) = delete;
  xxor_stream& operator=(const xxor_stream&) = delete;

  // Closes the current stream, then wraps `stream` with phase 0 and its
  // mode. With `owns` set the wrapper destroys `stream` (which must come
  // from `new`) on `close`.
  void open(xstream& stream, bool owns);

  // The underlying stream's description; empty when closed.
  xstr description() const override;
  // Transfer in chunks of 4096 bytes, stopping after the first short one;
  // return the count transferred. A read fills the whole requested length
  // of its last chunk in `buffer`, beyond the returned count too. Throw
  // xexception 0 when count is negative.
  int read(void* buffer, int count) override;
  int write(const void* buffer, int count) override;
  // Forwarded; the phase is left alone. Throws xexception 4 when closed.
  void set_size(std::int64_t size) override;
  // Forwarded; the phase becomes the returned absolute position.
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override;
  // Destroys an owned stream and forgets the stream in every case.
  void close() override;

 private:
  xstream* stream_ = nullptr;  // null when closed
  bool owns_ = false;
  std::int64_t position_ = 0;  // scrambling phase
  // The 4096-byte work buffer, taken as transfers need it. Bytes from
  // `work_ready_` on have never been written and count as zero; they are
  // cleared only when a read reaches them, so a stream that moves a few
  // hundred bytes pays for no more.
  std::unique_ptr<unsigned char[]> work_;
  int work_capacity_ = 0;
  int work_ready_ = 0;

  unsigned char* work_for(int chunk, bool keep_tail);
};

}  // namespace xum

#endif  // XUM_STREAMS_XXOR_STREAM_H
