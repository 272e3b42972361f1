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
//   std::string          as an xstr: len:i32 (0..2^31-1), len bytes
//   std::vector<T>       count:i32, then count fields of T (any field
//                        below, vectors of vectors too; vector<bool>: a
//                        byte per element)
//   set_version(v)       version:i32
//   identifier(id)       the bytes of id, no length
//   trailer, at close    pos:u32 when pos < 2^31, else pos:u64 and 4 zero bytes
//   start_encoding()     every later byte XOR-scrambled (see xxor_stream.h)
// Every other integer type of the language has a fixed width in the
// format, whatever its size in memory, so that a file reads the same on
// every system (std::intN_t and std::uintN_t are among these types):
//   char, signed char, unsigned char, char8_t                  1 byte
//   short, unsigned short, char16_t                            2 bytes
//   int, unsigned, char32_t, wchar_t                           4 bytes
//   long, unsigned long, long long, unsigned long long         8 bytes
// Signed types are stored in two's complement, the others unsigned. A value
// read back that its type cannot hold (possible only where long or wchar_t
// is narrower than its width here) is "Data reading error !" and reads as 0.
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
// Failures go through xerror, each with its category (core/xexceptions.h):
// "Invalid data format !" for a wrong signature (bad data, XEBadData);
// "Unsupported format version ! Program update needed !" for a newer
// version (newer version, XENewerVersion); "Data reading error !" for a
// length, count or trailer that points past the end (bad data, with the
// offset of the field that holds it; nothing is allocated for it) and for
// data that ends early (I/O, XEIOError, as the stream's own short reads).
//
// Thread safety: a format and its stream belong to one thread at a time.
#ifndef XUM_FORMATS_XBIN_FORMAT_H
#define XUM_FORMATS_XBIN_FORMAT_H

#include <concepts>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/xexport.h"
#include "core/xle.h"
#include "core/xstr.h"
#include "core/xvector.h"
#include "formats/xformat.h"

namespace xum {

namespace detail {
template <class T>
struct xbin_vector : std::false_type {};
template <class T, class A>
struct xbin_vector<std::vector<T, A>> : std::true_type {
  using element = T;
};
// The stored width of an integer type (see the format note).
template <class T>
constexpr int xbin_width() {
  if constexpr (std::is_same_v<T, long> || std::is_same_v<T, unsigned long>)
    return 8;
  else if constexpr (std::is_same_v<T, wchar_t>)
    return 4;
  else
    return static_cast<int>(sizeof(T));
}
// Whether T is a field type: a number, bool, a string or a vector of them.
template <class T>
constexpr bool xbin_is_field() {
  if constexpr (std::is_const_v<T> || std::is_volatile_v<T>)
    return false;
  else if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, xstr> || std::is_same_v<T, std::string>)
    return true;
  else if constexpr (xbin_vector<T>::value)
    return xbin_is_field<typename xbin_vector<T>::element>();
  else
    return false;
}
}  // namespace detail

// The types xbin_format reads and writes as one field: every arithmetic type
// (bool, the character and integer types, float, double), xstr,
// std::string, and std::vector of any of them.
template <class T>
concept xbin_field = detail::xbin_is_field<T>();

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
  // The other integer types, at the fixed widths of the format note
  // (long long, char, unsigned long long, wchar_t ...).
  template <std::integral T>
    requires(!std::is_same_v<T, bool>)
  void operator()(T& v);
  // long double has no form in the format: store it as a double.
  void operator()(long double& v) = delete;
  // A std::string as an xstr: 32-bit length and the bytes. Writing one of
  // 2^31 bytes or more throws xexception 0 before anything is written.
  void operator()(std::string& s);
  // A 1-byte length and the bytes, as short_str of an xstr.
  void short_str(std::string& s);
  // A 32-bit count, then each element as its own field. Reading checks
  // the count against the bytes left before it allocates (every element
  // takes at least one byte, strings and vectors four) and reads a refused
  // count as an empty vector. Writing more than 2^31-1 elements throws
  // xexception 0 before anything is written.
  template <xbin_field T, class A>
  void operator()(std::vector<T, A>& v);

  // Writes `v` from const data: the same bytes as operator() on a copy of
  // it, for code that saves what it may not change. Throws xexception 4
  // when the format is reading (or has no stream).
  //   void save(xum::xbin_format& f, const Doc& d) { f.write(d.title); f.write(d.pages); }
  template <xbin_field T>
  void write(const T& v);
  // Writes a text as a string field (32-bit length), so that literals and
  // views need no copy: f.write("name").
  void write(std::string_view s);
  // Writes a text as a short string (1-byte length); more than 255 bytes
  // throws xexception 0 before anything is written.
  void write_short(std::string_view s);

  // The stream position of the next field, counting the bytes the block
  // holds, without moving the stream or emptying the block; -1 when the
  // stream cannot tell (a pipe). For error messages and offsets.
  std::int64_t offset() noexcept;

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
  // The report is bad data at the offset `back` bytes before the next
  // field: where the length or count that asked for the bytes stands.
  bool remaining_at_least(std::int64_t n, int back = 0);
  // Reading: a count of elements of which at least `slack` take no bytes
  // and the others at least `element_bytes` each; 0 (reported) when it is
  // negative or the bytes left cannot hold it. Writing: writes `n`.
  std::int32_t count(std::int32_t n, int element_bytes, int slack);
  // "Data reading error !" with the stream description: bad data with the
  // offset `at` (>= 0), or an I/O failure for a stream that ended early.
  void read_error(std::int64_t at);
  void short_read();
  // Writes a 32-bit length and n bytes; n of 2^31 or more throws
  // xexception 0 first.
  void put_bytes32(const char* p, std::size_t n);
  // The minimum bytes a field of type T takes, for the count check.
  template <class T>
  static constexpr int min_bytes() {
    if constexpr (std::is_arithmetic_v<T>)
      return std::is_integral_v<T> && !std::is_same_v<T, bool> ? detail::xbin_width<T>() : static_cast<int>(sizeof(T));
    else
      return 4;
  }
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
  // This block is the format's own rather than a streams/xblock_buffer.h,
  // which the other buffered paths share: the same fast paths through the
  // shared block ran the same instructions (callgrind) but read records 2
  // to 9% slower in xbin_format_bench's owned rows, in every interleaved
  // run, with the block's members reordered or on a cache line of their
  // own, while writing them 7 to 14% faster.
  std::unique_ptr<unsigned char[]> block_;
  int pos_ = 0;
  int end_ = 0;
  // The stream beneath the XOR stream made by start_encoding, and whether
  // that XOR stream owns it: sizes are asked there, where a seek does not
  // move the scrambling phase, and bytes read ahead are given back to it.
  xstream* plain_ = nullptr;
  bool plain_owned_ = false;
};

// Implementation details.

template <std::integral T>
  requires(!std::is_same_v<T, bool>)
void xbin_format::operator()(T& v) {
  constexpr int width = detail::xbin_width<T>();
  using stored = std::conditional_t<
      std::is_signed_v<T>,
      std::conditional_t<width == 1, std::int8_t,
                         std::conditional_t<width == 2, std::int16_t,
                                            std::conditional_t<width == 4, std::int32_t, std::int64_t>>>,
      std::conditional_t<width == 1, std::uint8_t,
                         std::conditional_t<width == 2, std::uint16_t,
                                            std::conditional_t<width == 4, std::uint32_t, std::uint64_t>>>>;
  static_assert(sizeof(stored) >= sizeof(T), "a type wider than its stored width");
  stored s = static_cast<stored>(v);
  if constexpr (sizeof(stored) == sizeof(T)) {
    number(s);
    if (reading_) v = static_cast<T>(s);
  } else {
    // Wider on the stream than in memory: a value the type cannot hold is
    // damage. (Conversions between integer types are modular.)
    const std::int64_t at = reading_ ? offset() : -1;
    number(s);
    if (!reading_) return;
    v = static_cast<T>(s);
    if (static_cast<stored>(v) != s) {
      read_error(at);
      v = 0;
    }
  }
}

template <xbin_field T, class A>
void xbin_format::operator()(std::vector<T, A>& v) {
  if (!reading_ && v.size() > 0x7fffffffu) throw xexception(xexception::out_of_range);
  const std::int32_t n = count(static_cast<std::int32_t>(v.size()), min_bytes<T>(), 0);
  if (reading_) v.resize(static_cast<std::size_t>(n));
  if constexpr (std::is_same_v<T, bool>) {
    // vector<bool> hands out proxies: each element goes through a bool.
    for (std::size_t i = 0; i < v.size(); ++i) {
      bool b = v[i];
      (*this)(b);
      v[i] = b;
    }
  } else {
    for (T& e : v) (*this)(e);
  }
}

template <xbin_field T>
void xbin_format::write(const T& v) {
  if (reading_ || stream_ == nullptr) throw xexception(xexception::not_supported);
  if constexpr (std::is_same_v<T, std::string>) {
    put_bytes32(v.data(), v.size());
  } else if constexpr (detail::xbin_vector<T>::value) {
    if (v.size() > 0x7fffffffu) throw xexception(xexception::out_of_range);
    std::int32_t n = static_cast<std::int32_t>(v.size());
    number(n);
    for (const auto& e : v) write<typename detail::xbin_vector<T>::element>(e);
  } else {
    T copy = v;  // numbers and xstr, whose copy shares its block
    (*this)(copy);
  }
}

}  // namespace xum

#endif  // XUM_FORMATS_XBIN_FORMAT_H
