// xblock_buffer: one block of memory between a reader or writer and a
// stream, so that many small transfers cost copies and the stream sees few
// large calls. The library's buffered paths use it: the buffered stream,
// the structured format's text writer and the text tokenizer's reader.
// (The binary format keeps a block of its own; formats/xbin_format.h says
// why.)
//
//   xum::xblock_buffer out(1 << 20);
//   out.write(file, "abc", 3);   // copied into the block
//   out.flush(file);             // one write_buffer of what was collected
//
//   xum::xblock_buffer in(1 << 20);
//   char b[3];
//   in.read(file, b, 3);         // one large read ahead, 3 bytes copied
//
// The block serves one direction at a time. Writing, it holds bytes not
// yet passed to the stream; reading, bytes read from the stream and not yet
// taken. It seeks the stream only when asked to give the read-ahead back:
// an owner that changes direction first passes pending bytes on (flush) or
// gives the read-ahead back (give_back), which the calls below require.
// The stream is named at every call that touches it, so an owner may change
// streams while the block holds nothing.
// The block's memory is allocated at its first use and kept until the
// object goes.
//
// Hot paths of an owner may use the block in place: span() bytes lie at
// cursor() (reading: read ahead and not taken; writing: free room), and
// advance() marks them taken or filled.
//
// Thread safety: a block belongs to one thread at a time, with its stream.
#ifndef XUM_STREAMS_XBLOCK_BUFFER_H
#define XUM_STREAMS_XBLOCK_BUFFER_H

#include <cassert>
#include <cstring>
#include <memory>

#include "core/xexport.h"
#include "streams/xstream.h"

namespace xum {

class XUM_API xblock_buffer {
 public:
  // A block of `capacity` bytes (less than 1 counts as 1). Transfers that
  // the block cannot serve at once and of at least `direct_from` bytes (at
  // most the capacity; 0 or less: the capacity) go straight between the
  // caller and the stream, after what the block holds.
  explicit xblock_buffer(int capacity, int direct_from = 0);
  xblock_buffer(const xblock_buffer&) = delete;
  xblock_buffer& operator=(const xblock_buffer&) = delete;

  int capacity() const noexcept { return capacity_; }
  // Reading: the bytes read ahead and not taken; writing: the free room.
  int span() const noexcept { return static_cast<int>(end_ - pos_); }
  // Where those bytes lie. Valid while span() > 0.
  unsigned char* cursor() noexcept { return pos_; }
  // Marks `n` (at most span()) bytes at cursor() as taken or filled.
  void advance(int n) noexcept { pos_ += n; }
  // Bytes written into the block and not passed on.
  int pending() const noexcept { return writing_ ? static_cast<int>(pos_ - data_.get()) : 0; }
  // Bytes read ahead and not taken: the stream stands that far ahead of
  // the reader.
  int read_ahead() const noexcept { return writing_ ? 0 : span(); }

  // Writing. Requires read_ahead() == 0.
  // Copies `n` bytes into the block. When they do not fit, the block is
  // passed on first, and then they are copied, or written to `s` with
  // write_buffer when n >= direct_from. A failure of `s` is its own
  // exception.
  void write(xstream& s, const void* p, int n) {
    // Reading, span() is 0 here (see the requirement): the test of the
    // size alone tells whether the block takes the bytes as it stands.
    assert(writing_ || pos_ == end_);
    if (n > 0 && n <= span()) {
      std::memcpy(pos_, p, static_cast<std::size_t>(n));
      pos_ += n;
      return;
    }
    write_slow(s, p, n);
  }
  // Makes room for `n` bytes (1 to capacity()), passing the block on first
  // when it lacks them, and returns where they go; advance() by as many as
  // are put there.
  unsigned char* reserve(xstream& s, int n) {
    assert(writing_ || pos_ == end_);
    if (n <= span()) return cursor();
    return reserve_slow(s, n);
  }
  // Passes the pending bytes to `s` with one write_buffer. They leave the
  // block before that call, so after a failure (the stream's exception)
  // they are gone and the block is empty.
  void flush(xstream& s);

  // Reading. Requires pending() == 0.
  // Moves the unread bytes to the front and reads from `s` into the room
  // behind them, each read asking for all of it, until at least `want`
  // bytes (at most capacity()) are read ahead or `s` gives nothing.
  // Returns the bytes read ahead.
  int fill(xstream& s, int want);
  // Copies up to `n` bytes to `p` as xstream::read does, and returns how
  // many: the read-ahead first, then blocks of one read of `s` each, and
  // a rest of at least direct_from bytes read straight from `s` (one
  // read). Fewer than `n` only when `s` gives nothing (or a straight read
  // gives less).
  int read(xstream& s, void* p, int n);
  // Copies up to `n` read-ahead bytes to `p` without touching a stream;
  // returns how many.
  int take(void* p, int n);
  // Forgets the read-ahead and returns how many bytes it held; pending
  // bytes are not touched (returns 0).
  int drop_read_ahead() noexcept;
  // drop_read_ahead(), then seeks `s` back over the bytes dropped, so that
  // it stands where the reader does.
  void give_back(xstream& s);

  // Forgets everything the block holds, pending bytes included.
  void reset() noexcept { pos_ = end_ = data_.get(), writing_ = false; }

 private:
  void write_slow(xstream& s, const void* p, int n);
  unsigned char* reserve_slow(xstream& s, int n);
  void allocate();
  // Allocates the block on first use and turns it to writing.
  void start_writing();

  std::unique_ptr<unsigned char[]> data_;
  const int capacity_;
  const int direct_from_;
  // Reading: bytes [pos_, end_) are read ahead. Writing: bytes
  // [data_, pos_) are pending and end_ is the end of the block, so that
  // span() is the room and one test `n <= span()` guards the fast path in
  // both directions; it fails before the first use (both null). Pointers
  // rather than offsets: the fast paths load two values, as a hand-written
  // buffer would.
  unsigned char* pos_ = nullptr;
  unsigned char* end_ = nullptr;
  bool writing_ = false;
};

}  // namespace xum

#endif  // XUM_STREAMS_XBLOCK_BUFFER_H
