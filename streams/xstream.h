// xstream: the library's one byte-stream interface, with 64-bit positions.
// Every reader and writer of the library works on it; files, memory blocks,
// sections of other streams and scrambling wrappers implement it.
//
//   xum::xmemory_stream m;
//   m.write_buffer("abc", 3);          // reports a short write through xerror
//   m.seek(0, xum::xseek_begin);
//   char b[3]; m.read_buffer(b, 3);    // reports a short read through xerror
//
// `read` and `write` return counts and never report; `read_buffer` and
// `write_buffer` turn a short count into the "eReadError"/"eWriteError"
// catalogue texts with the stream's description. Operations a stream does not
// support throw xexception 4.
//
// Thread safety: a stream is used by one thread at a time.
#ifndef XUM_STREAMS_XSTREAM_H
#define XUM_STREAMS_XSTREAM_H

#include <cstdint>
#include <iosfwd>
#include <memory>

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

// Origins of `seek`.
enum xseek_origin : int { xseek_begin = 0, xseek_current = 1, xseek_end = 2 };

// Access bits of a stream: 1 read, 2 write, 3 both.
enum xstream_mode : int { xstream_read = 1, xstream_write = 2 };

// How the std::iostream adapter of a stream passes bytes on.
enum class xstd_buffering {
  none,      // every read and write goes to the wrapped stream at the call
  buffered,  // reads and writes gather in blocks (see std_stream)
};

class XUM_API xstream {
 public:
  xstream(const xstream&) = delete;
  xstream& operator=(const xstream&) = delete;

  // A text naming the stream in error messages.
  virtual xstr description() const = 0;
  virtual ~xstream();
  // Reads up to `count` bytes; returns how many were read, 0 at the end.
  virtual int read(void* buffer, int count) = 0;
  // Changes the size. Throws xexception 4 unless the stream supports it.
  virtual void set_size(std::int64_t size);
  // Writes up to `count` bytes; returns how many were written. Throws
  // xexception 4 unless the stream supports writing.
  virtual int write(const void* buffer, int count);
  // Moves the position; returns the new absolute position.
  virtual std::int64_t seek(std::int64_t offset, xseek_origin origin) = 0;
  // Releases what the stream holds; does nothing by default.
  virtual void close();

  // seek(0, current).
  std::int64_t get_position();
  // The size, found by seeking to the end; the position is kept.
  std::int64_t get_size();
  // `write`, reporting a short count as "eWriteError" + "\n" + description.
  void write_buffer(const void* buffer, int count);
  // `read`, reporting a short count as "eReadError" + "\n" + description.
  void read_buffer(void* buffer, int count);
  // Copies everything from the position to the end into `target`, in chunks
  // of 8192 bytes.
  void copy_to(xstream& target);
  // Copies exactly `count` bytes (read_buffer/write_buffer, 8192 at a time).
  void copy_to(xstream& target, int count);

  // A std::iostream over this stream, which it does not own and must not
  // outlive. Reads, writes and seeks go straight to this stream at the call,
  // and this stream's exceptions (xexception, XException) reach the caller
  // there. A write this stream takes only in part raises XEIOError
  // ("Data writing error !" and the description). Formatted input may look
  // one byte ahead to see where a word or number ends; a seek, a write,
  // sync() and the adapter's end give that byte back.
  std::unique_ptr<std::iostream> std_stream();
  // The same adapter; `xstd_buffering::buffered` gives it a read block and
  // a write block of `block_size` bytes each (< 1 throws xexception 0), for
  // many small transfers:
  //  - writes reach this stream when the block is full, on flush()
  //    (std::flush, std::endl), on a seek or tell, and before a read. A
  //    failure there raises at that call, and the bytes not written stay
  //    in the block, so a later flush can still write them. A stream that
  //    may not be written refuses (xexception 4) at the first write.
  //  - reads take up to `block_size` bytes ahead, so this stream stands
  //    ahead of the adapter until a seek, a write or sync() gives the
  //    unread bytes back.
  //  - the adapter's destructor writes what is left but can only swallow a
  //    failure there: call flush() before letting it go.
  // `xstd_buffering::none` gives std_stream().
  std::unique_ptr<std::iostream> std_stream(xstd_buffering buffering, int block_size = 65536);

  // The access bits (xstream_mode).
  int mode() const noexcept { return mode_; }

 protected:
  xstream() = default;
  int mode_ = 0;
};

}  // namespace xum

#endif  // XUM_STREAMS_XSTREAM_H
