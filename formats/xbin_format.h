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
// Failures go through xerror: "Invalid data format !" for a wrong signature,
// "Unsupported format version ! Program update needed !" for a newer
// version, the stream's "Data reading error !" for data that ends early or
// a length that points past the end (nothing is allocated for it).
//
// Thread safety: a format and its stream belong to one thread at a time.
#ifndef XUM_FORMATS_XBIN_FORMAT_H
#define XUM_FORMATS_XBIN_FORMAT_H

#include <cstdint>

#include "core/xexport.h"
#include "core/xstr.h"
#include "core/xvector.h"
#include "formats/xformat.h"

namespace xum {

class XUM_API xbin_format : public xformat {
 public:
  xbin_format() noexcept = default;
  // open_stream(s, m, owns).
  xbin_format(xstream& s, xstream_mode m, bool owns);
  ~xbin_format() override;

  // n raw bytes (read_buffer / write_buffer of the stream).
  void buffer(void* p, int n);

  // 1-byte length and the bytes. Writing more than 255 bytes throws
  // xexception 0 before anything is written.
  void short_str(xstr& s);
  // 32-bit length and the bytes.
  void operator()(xstr& s);
  // The value read, or `s` when writing.
  xstr str_prop(const xstr& s);
  xstr short_str_prop(const xstr& s);

  // Little-endian integers and IEEE numbers of their own width.
  void operator()(std::int8_t& v);
  void operator()(std::uint8_t& v);
  void operator()(std::int16_t& v);
  void operator()(std::uint16_t& v);
  void operator()(std::int32_t& v);
  void operator()(std::uint32_t& v);
  void operator()(std::int64_t& v);
  void operator()(std::uint64_t& v);
  void operator()(float& v);
  void operator()(double& v);
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
  // seeks there and returns the result.
  std::int64_t trailer();
  // From here on every byte goes through an XOR stream laid over the
  // current stream, which takes over the format's ownership of it.
  void start_encoding();

  // Appends the trailer when writing and one was recorded, then closes.
  void close() override;

 private:
  template <class T>
  void number(T& v);
  // Reports and returns false when fewer than `n` bytes remain to be read.
  bool remaining_at_least(std::int64_t n);
  void read_error();

  int version_ = 0;
  std::int64_t trailer_position_ = -1;
};

}  // namespace xum

#endif  // XUM_FORMATS_XBIN_FORMAT_H
