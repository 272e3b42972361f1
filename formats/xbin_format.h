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
// Format note. A record is the bytes of its calls back to back, with no
// framing, padding or terminators of its own:
//   buffer(p, n)         n raw bytes
//   bool, int8, uint8    1 byte (bool: 0 or 1; reading takes any non-zero as true)
//   int16, uint16        2 bytes, little-endian
//   int32, uint32        4 bytes, little-endian
//   int64, uint64        8 bytes, little-endian
//   float, double        4 / 8 bytes, IEEE 754, little-endian
//   short_str(s)         len:u8 (0..255), len bytes
//   operator()(xstr s)   len:i32 (0..2^31-1), len bytes
//   vector_size(v)       count:i32
//   vector(v)            count:i32, then count strings as operator()
//   set_version(v)       version:i32
//   identifier(id)       the bytes of id, no length
//   trailer, at close    pos:u32 when pos < 2^31, else pos:u64 and 4 zero bytes
//   start_encoding()     every later byte XOR-scrambled (see xxor_stream.h)
// Limits: a short string holds at most short_str_max (255) bytes, and
// writing a longer one throws xexception 0 before anything is written.
// Reading checks each count before allocating for it: a string's length
// must not exceed the bytes left, nor a `vector` count a quarter of them
// (every element takes at least its 4-byte length); a `vector_size` count
// may exceed the bytes left by at most vector_size_slack (65,536) elements,
// because its elements may be stored in any form, or not at all, after it.
// Negative lengths and counts are damage. All of these report "Data reading
// error !" and read as empty. Readers read exactly what their calls ask for:
// bytes after the last field are left alone, and a reader that wants the
// trailer finds it in the last trailer_bytes (12) bytes of the stream. A
// 4-byte trailer of 0 cannot be told from the long form (its last word is
// zero), so it reads as the 8 bytes before it.
// Example: identifier("REC"), set_version(2), trailer() at 7, short_str
// of "ab" and a uint16 of 0x1234, then close:
//   52 45 43  02 00 00 00  02 61 62  34 12  07 00 00 00
//
// The field block. Over a stream the format owns (open_file, or
// open_stream with `owns`) or one lent to it exclusively (open_exclusive),
// fields pass through a block of block_size (256 KiB) bytes, so a field
// costs a copy rather than a stream call: writing collects bytes until the
// block is full, reading takes them from bytes read ahead. At every point
// where the format asks the stream for a position or hands it over
// (get_position, get_size, seek, set_position, trailer, start_encoding,
// flush, close) the stream stands where an unbuffered format would leave
// it. Over a borrowed stream (open_stream without `owns`) there is no
// block: every field call reads or writes its bytes through the stream at
// the call, so the lender may use the stream between field calls.
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
  // The longest short string.
  static constexpr int short_str_max = 255;
  // How many elements a vector_size count may announce beyond the bytes
  // left: far more than a record whose elements take no bytes holds, and
  // little memory (8 bytes an element) for a count that lies.
  static constexpr int vector_size_slack = 1 << 16;
  // The bytes at the end of a file that hold the trailer in either form.
  static constexpr int trailer_bytes = 12;
  // Bytes collected or read ahead at a time over an owned or exclusively
  // lent stream: writing a file in 64 KiB pieces spent a third of its time
  // in the stream calls.
  static constexpr int block_size = 1 << 18;

  xbin_format() noexcept = default;
  // open_stream(s, m, owns).
  xbin_format(xstream& s, xstream_mode m, bool owns);
  // Closes; errors of the closing writes are swallowed here, so call
  // close() to see them.
  ~xbin_format() override;

  // Closes the current stream, then uses `s`: through the field block when
  // `owns`, else field by field (see the note above).
  void open_stream(xstream& s, xstream_mode m, bool owns) override;
  using xformat::open_stream;  // and with a std::unique_ptr handed over
  // Closes the current stream, then borrows `s` for the format's use alone:
  // the caller reads, writes and seeks `s` only after flush() or close(),
  // which leave it where the fields end. Fields pass through the block as
  // over an owned stream. For code that hands a stream to the format for
  // the length of one call, as the structured format's binary form does.
  void open_exclusive(xstream& s, xstream_mode m);

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

  // 1-byte length and the bytes. Writing more than short_str_max bytes
  // throws xexception 0 before anything is written.
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
  // A count more than vector_size_slack above the bytes left reports "Data
  // reading error !" and reads as 0.
  void vector_size(xvector<xstr>& v);
  // The count, then every element as a string. Reading refuses a count
  // whose 4-byte lengths alone would not fit in the bytes left.
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
  // both directions the stream then stands where the fields end. Nothing
  // to do over a borrowed stream.
  void flush();

  // Writing: writes pending bytes and appends the trailer when one was
  // recorded. Reading: gives back the bytes read ahead to a stream that
  // outlives the format. Then closes (deleting an owned stream).
  void close() override;

 private:
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
  // Reading: a count of elements of which at least `slack` take no bytes
  // and the others at least `element_bytes` each; 0 (reported) when it is
  // negative or the bytes left cannot hold it. Writing: writes `n`.
  std::int32_t count(std::int32_t n, int element_bytes, int slack);
  void read_error();
  // Sets `s` to the n bytes at p, reusing its block when it alone holds one
  // of that length.
  static void assign(xstr& s, const unsigned char* p, int n);

  int version_ = 0;
  std::int64_t trailer_position_ = -1;
  // Whether fields pass through the block: an owned or exclusively lent
  // stream.
  bool buffered_ = false;
  // Reading: bytes [pos_, end_) of the block are read ahead and unconsumed.
  // Writing: bytes [0, pos_) wait to be written and end_ is the block's
  // capacity (0 until it is allocated, without a stream or without the
  // block), so that one test `end_ - pos_ >= n` guards the fast path in
  // both directions and fails whenever the block is not in use.
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
