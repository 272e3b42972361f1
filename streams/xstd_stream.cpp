// The std::iostream adapter of xstream. One stream buffer serves both
// forms: unbuffered (a get area of one byte, for the look-ahead of formatted
// input, and no put area) and buffered (a read block and a write block).
// Whatever it holds that the wrapped stream has not seen yet, or has read
// ahead of the reader, is settled before the direction changes, on a seek or
// tell, and on sync().
// Its blocks are the std::streambuf's own get and put areas rather than an
// xblock_buffer: the standard streams read and move those pointers inline
// (sputc, sgetc), and a short write here keeps the unwritten bytes for a
// later flush, where xblock_buffer forgets them.
#include <algorithm>
#include <climits>
#include <cstring>
#include <istream>
#include <streambuf>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xexceptions.h"
#include "streams/xstream.h"

namespace xum {

namespace {

// The largest single transfer handed to the wrapped stream, whose counts
// are int.
constexpr std::streamsize max_chunk = 1 << 30;

class xstreambuf final : public std::streambuf {
 public:
  // block_size 0: unbuffered.
  xstreambuf(xstream& s, int block_size)
      : stream_(s),
        get_(static_cast<std::size_t>(std::max(block_size, 1))),
        put_(static_cast<std::size_t>(block_size)) {}

  ~xstreambuf() override {
    // A destructor must not throw: what cannot be written or given back
    // here is lost. Callers who care call flush() or sync() first.
    try {
      if (flush_put()) drop_get();
    } catch (...) {
    }
  }

 protected:
  int_type underflow() override {
    if (!flush_put()) return traits_type::eof();
    setp(nullptr, nullptr);  // the next write gives the read-ahead back first
    const int n = stream_.read(get_.data(), static_cast<int>(get_.size()));
    if (n <= 0) {
      setg(nullptr, nullptr, nullptr);
      return traits_type::eof();
    }
    setg(get_.data(), get_.data(), get_.data() + n);
    return traits_type::to_int_type(*gptr());
  }

  std::streamsize xsgetn(char* s, std::streamsize n) override {
    std::streamsize done = 0;
    if (gptr() != nullptr && gptr() < egptr()) {
      done = std::min<std::streamsize>(n, egptr() - gptr());
      std::memcpy(s, gptr(), static_cast<std::size_t>(done));
      gbump(static_cast<int>(done));
    }
    if (done == n) return done;
    // What the block would not hold goes straight to the caller; smaller
    // requests of the buffered form go through the block.
    if (!put_.empty() && n - done < static_cast<std::streamsize>(get_.size()))
      return done + std::streambuf::xsgetn(s + done, n - done);
    if (!flush_put()) return done;
    setp(nullptr, nullptr);
    setg(nullptr, nullptr, nullptr);
    while (done < n) {
      const int r = stream_.read(s + done, static_cast<int>(std::min(n - done, max_chunk)));
      if (r <= 0) break;
      done += r;
    }
    return done;
  }

  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return flush_put() ? traits_type::not_eof(c) : c;
    const char ch = traits_type::to_char_type(c);
    if (put_.empty()) {
      drop_get();
      if (stream_.write(&ch, 1) == 1) return c;
      report_short_write();
      return traits_type::eof();
    }
    if (pbase() == nullptr) start_put();
    if (pptr() == epptr() && !flush_put()) return traits_type::eof();
    *pptr() = ch;
    pbump(1);
    return c;
  }

  std::streamsize xsputn(const char* s, std::streamsize n) override {
    if (!put_.empty() && n < static_cast<std::streamsize>(put_.size())) {
      if (pbase() == nullptr) start_put();
      return std::streambuf::xsputn(s, n);
    }
    // Unbuffered, or larger than the block: straight through, after what
    // the block holds.
    if (!flush_put()) return 0;
    drop_get();
    std::streamsize done = 0;
    while (done < n) {
      const int chunk = static_cast<int>(std::min(n - done, max_chunk));
      const int w = stream_.write(s + done, chunk);
      if (w > 0) done += w;
      if (w < chunk) {
        report_short_write();
        break;
      }
    }
    return done;
  }

  int sync() override {
    if (!flush_put()) return -1;
    drop_get();
    return 0;
  }

  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
    if (!flush_put()) return pos_type(off_type(-1));
    const xseek_origin origin =
        dir == std::ios_base::beg ? xseek_begin : dir == std::ios_base::cur ? xseek_current : xseek_end;
    // Relative seeks count from the reader's position, not from the end of
    // what was read ahead.
    if (origin == xseek_current && gptr() != nullptr) off -= egptr() - gptr();
    setg(nullptr, nullptr, nullptr);
    return pos_type(stream_.seek(off, origin));
  }

  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
    return seekoff(off_type(pos), std::ios_base::beg, which);
  }

 private:
  // The first write into an empty block: the wrapped stream is asked to
  // write nothing, so that a stream that may not be written refuses at this
  // call (xexception 4) rather than when the block is flushed.
  void start_put() {
    drop_get();
    stream_.write(put_.data(), 0);
    setp(put_.data(), put_.data() + put_.size());
  }

  // Writes the block. On a short write the bytes not written stay at its
  // start, the failure is reported and false is returned; an exception of
  // the wrapped stream leaves them all there. Nothing is dropped, so a
  // later flush can retry.
  bool flush_put() {
    if (pbase() == nullptr || pptr() == pbase()) return true;
    const int n = static_cast<int>(pptr() - pbase());
    int w = stream_.write(pbase(), n);
    if (w < 0) w = 0;
    if (w > 0) std::memmove(put_.data(), put_.data() + w, static_cast<std::size_t>(n - w));
    setp(put_.data(), put_.data() + put_.size());
    pbump(n - w);
    if (w == n) return true;
    report_short_write();
    return false;
  }

  // A write the wrapped stream took only in part reads as its write_buffer
  // would report it ("Data writing error !" and the description, an
  // XEIOError); with an error handler that returns, the caller's stream
  // gets badbit instead.
  void report_short_write() { xerror(xerror_category::io, msg::eWriteError.text + "\n" + stream_.description()); }

  // Gives back to the wrapped stream what was read ahead but not consumed,
  // so that it stands where the reader does.
  void drop_get() {
    if (gptr() != nullptr && gptr() < egptr()) stream_.seek(-(egptr() - gptr()), xseek_current);
    setg(nullptr, nullptr, nullptr);
  }

  xstream& stream_;
  std::vector<char> get_;
  std::vector<char> put_;
};

class xstd_iostream final : public std::iostream {
 public:
  xstd_iostream(xstream& s, int block_size) : std::iostream(nullptr), buf_(s, block_size) {
    rdbuf(&buf_);
    // Errors of the wrapped stream (xexception, XException) reach the caller
    // instead of only setting badbit; a short write sets badbit and throws
    // std::ios_base::failure.
    exceptions(std::ios_base::badbit);
  }
  // The buffer member settles what is left when it is destroyed, before the
  // stream base; it swallows errors there, as a destructor must.
  ~xstd_iostream() override = default;

 private:
  xstreambuf buf_;
};

}  // namespace

std::unique_ptr<std::iostream> xstream::std_stream() { return std::make_unique<xstd_iostream>(*this, 0); }

std::unique_ptr<std::iostream> xstream::std_stream(xstd_buffering buffering, int block_size) {
  if (buffering == xstd_buffering::none) return std_stream();
  if (block_size < 1) throw xexception(xexception::out_of_range);
  return std::make_unique<xstd_iostream>(*this, block_size);
}

}  // namespace xum
