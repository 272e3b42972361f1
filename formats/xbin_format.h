// xbin_format: the library's binary serialiser. One call per field serves
// both directions: opened for reading, each call reads its field into the
// caller's variable; opened for writing, the same call writes it.
//
//   void record(xum::xbin_format& f, settings& s) {
//     f.identifier("SET");          // a signature, checked when reading
//     f.set_version(2);             // newer files are refused
//     f(s.name);                    // 32-bit length + bytes
//     f(s.width);                   // a little-endian 32-bit integer
//     f.vector(s.recent);           // count + strings
//   }
//
// On the stream: short strings are a 1-byte length and the bytes, strings a
// 32-bit length and the bytes, integers little-endian, no terminators, no
// padding. `trailer` records a position that `close` appends to the file
// (4 bytes below 2^31, else 8 bytes and 4 zero bytes), so a reader can find
// a directory written after the data; `start_encoding` scrambles everything
// after it through an xxor_stream.
//
// Fields pass through a 256 KiB block, so a field costs a copy and no call
// to the stream: writing collects bytes until the block is full, reading
// takes them from bytes read ahead. The stream sees the same bytes and, at
// every point where the format hands it over or asks it for a position
// (get_position, get_size, seek, set_position, trailer, start_encoding,
// close), stands where an unbuffered format would leave it: pending bytes
// are written first, and bytes read ahead are given back by seeking the
// stream back over them (folded into the seek the operation makes anyway).
// Code that uses stream() directly in between calls flush() first.
//
// Failures go through xerror: "Invalid data format !" for a wrong signature,
// "Unsupported format version ! Program update needed !" for a newer
// version, the stream's "Data reading error !" for data that ends early or
// a length that points past the end (nothing is allocated for it).
//
// Thread safety: a format and its stream belong to one thread at a time.
#ifndef XUM_FORMATS_XBIN_FORMAT_H
#define XUM_FORMATS_XBIN_FORMAT_H

#include <cstdint>
#include <cstring>
#include <memory>

#include "core/xexport.h"
#include "core/xle.h"
#include "core/xstr.h"
#include "core/xvector.h"
#include "formats/xformat.h"

namespace xum {

class XUM_API xbin_format : public xformat {
 public:
  xbin_format() noexcept = default;
  // open_stream(s, m, owns).
  xbin_format(xstream& s, xstream_mode m, bool owns);
  // Closes; errors of the closing writes are swallowed here, so call
  // close() to see them.
  ~xbin_format() override;

  // Closes the current stream, then uses `s` with an empty block.
  void open_stream(xstream& s, xstream_mode m, bool owns) override;
  using xformat::open_stream;  // and with a std::unique_ptr handed over

  // n raw bytes, as read_buffer / write_buffer of the stream would move
  // them. Throws xexception 4 without a stream.
  void buffer(void* p, int n) {
    if (n > 0 && end_ - pos_ >= n) {
      if (reading_)
        std::memcpy(p, block_.get() + pos_, static_cast<std::size_t>(n));
      else
        std::memcpy(block_.get() + pos_, p, static_cast<std::size_t>(n));
      pos_ += n;
      return;
    }
    buffer_slow(p, n);
  }

  // 1-byte length and the bytes. Writing more than 255 bytes throws
  // xexception 0 before anything is written.
  void short_str(xstr& s);
  // 32-bit length and the bytes.
  void operator()(xstr& s);
  // The value read, or `s` when writing.
  xstr str_prop(const xstr& s);
  xstr short_str_prop(const xstr& s);

  // Little-endian integers and IEEE numbers of their own width.
  void operator()(std::int8_t& v) { number(v); }
  void operator()(std::uint8_t& v) { number(v); }
  void operator()(std::int16_t& v) { number(v); }
  void operator()(std::uint16_t& v) { number(v); }
  void operator()(std::int32_t& v) { number(v); }
  void operator()(std::uint32_t& v) { number(v); }
  void operator()(std::int64_t& v) { number(v); }
  void operator()(std::uint64_t& v) { number(v); }
  void operator()(float& v) { number(v); }
  void operator()(double& v) { number(v); }
  void operator()(bool& v);  // one byte, 0 or 1

  // A 32-bit element count; reading resizes `v` to it with empty strings.
  void vector_size(xvector<xstr>& v);
  // vector_size, then every element as a string.
  void vector(xvector<xstr>& v);

  // The bytes of `id`, without a length; reading compares them.
  void identifier(const xstr& id);
  // Writing stores and writes `v`; reading reads the stored version into
  // version() and reports a version newer than `v`.
  void set_version(int v);
  int version() const noexcept { return version_; }

  std::int64_t get_position();
  std::int64_t get_size();  // keeps the position
  void set_position(std::int64_t pos);
  std::int64_t seek(std::int64_t offset, xseek_origin origin);

  // Writing: remembers the current position for `close` to append, and
  // returns it. Reading: reads the position stored at the end of the file,
  // seeks there and returns the result; a file shorter than 12 bytes or a
  // position outside the file reports "Data reading error !" and gives -1.
  std::int64_t trailer();
  // From here on every byte goes through an XOR stream laid over the
  // current stream, which takes over the format's ownership of it.
  void start_encoding();

  // Reading: whether at least `n` more bytes can be read, counting those
  // read ahead; reports "Data reading error !" when not. Readers call it
  // before they allocate for a count. Writing: true.
  bool has_bytes(std::int64_t n) { return reading_ ? remaining_at_least(n) : true; }

  // Writing: hands the collected bytes to the stream. Reading: gives the
  // bytes read ahead back to the stream (seeking it back over them). In
  // both directions the stream then stands where the fields end.
  void flush();

  // Writing: writes pending bytes and appends the trailer when one was
  // recorded. Reading: gives back the bytes read ahead to a stream that
  // outlives the format. Then closes.
  void close() override;

 private:
  // Bytes collected or read ahead at a time.
  static constexpr int block_size = 1 << 18;

  template <class T>
  void number(T& v) {
    constexpr int n = sizeof(T);
    if (end_ - pos_ >= n) {  // the usual case: inside the block
      if (reading_)
        v = le::load<T>(block_.get() + pos_);
      else
        le::store<T>(block_.get() + pos_, v);
      pos_ += n;
      return;
    }
    unsigned char bytes[n] = {};
    if (!reading_) le::store<T>(bytes, v);
    buffer_slow(bytes, n);
    if (reading_) v = le::load<T>(bytes);
  }
  // `buffer` when the block cannot serve the request.
  void buffer_slow(void* p, int n);
  // Moves the unread bytes to the front of the block and reads until the
  // block is full or the stream ends.
  void refill();
  // Forgets the bytes read ahead and returns how many there were; writing:
  // writes the pending bytes and returns 0.
  int drop_block();
  // Reports and returns false when fewer than `n` bytes remain to be read,
  // counting the bytes read ahead. Asks the stream for its size only when
  // the block cannot settle it.
  bool remaining_at_least(std::int64_t n);
  void read_error();
  // Sets `s` to the n bytes at p, reusing its block when it alone holds one
  // of that length.
  static void assign(xstr& s, const unsigned char* p, int n);

  int version_ = 0;
  std::int64_t trailer_position_ = -1;
  // Reading: bytes [pos_, end_) of the block are read ahead and unconsumed.
  // Writing: bytes [0, pos_) wait to be written and end_ is the block's
  // capacity (0 until it is allocated or without a stream), so that one
  // test `end_ - pos_ >= n` guards the fast path in both directions.
  std::unique_ptr<unsigned char[]> block_;
  int pos_ = 0;
  int end_ = 0;
  // The stream beneath the XOR stream made by start_encoding, and whether
  // that XOR stream owns it: sizes are asked there, where a seek does not
  // move the scrambling phase, and bytes read ahead are given back to it.
  xstream* plain_ = nullptr;
  bool plain_owned_ = false;
};

}  // namespace xum

#endif  // XUM_FORMATS_XBIN_FORMAT_H
