// The std::iostream adapter of xstream: a stream buffer that reads and
// writes the wrapped stream through small get and put areas and keeps the
// wrapped stream's position consistent whenever the direction changes or
// the position is asked for.
#include <algorithm>
#include <istream>
#include <streambuf>
#include <vector>

#include "streams/xstream.h"

namespace xum {

namespace {

class xstreambuf final : public std::streambuf {
 public:
  explicit xstreambuf(xstream& s) : stream_(s), get_(4096), put_(4096) {}

  ~xstreambuf() override {
    try {
      flush_put();
    } catch (...) {
      // A destructor must not throw; callers who care call flush() first.
    }
  }

 protected:
  int_type underflow() override {
    flush_put();
    const int n = stream_.read(get_.data(), static_cast<int>(get_.size()));
    if (n <= 0) {
      setg(nullptr, nullptr, nullptr);
      return traits_type::eof();
    }
    setg(get_.data(), get_.data(), get_.data() + n);
    return traits_type::to_int_type(*gptr());
  }

  int_type overflow(int_type c) override {
    drop_get();
    if (pbase() == nullptr) setp(put_.data(), put_.data() + put_.size());
    if (pptr() == epptr()) flush_put();
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
      *pptr() = traits_type::to_char_type(c);
      pbump(1);
    }
    return traits_type::not_eof(c);
  }

  std::streamsize xsputn(const char* s, std::streamsize n) override {
    drop_get();
    if (pbase() == nullptr) setp(put_.data(), put_.data() + put_.size());
    // Large writes go straight through once the put area is flushed.
    if (n >= static_cast<std::streamsize>(put_.size())) {
      flush_put();
      std::streamsize done = 0;
      while (done < n) {
        const int chunk = static_cast<int>(std::min<std::streamsize>(n - done, 1 << 30));
        const int w = stream_.write(s + done, chunk);
        done += w;
        if (w < chunk) break;
      }
      return done;
    }
    return std::streambuf::xsputn(s, n);
  }

  int sync() override {
    flush_put();
    drop_get();
    return 0;
  }

  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
    flush_put();
    const xseek_origin origin =
        dir == std::ios_base::beg ? xseek_begin : dir == std::ios_base::cur ? xseek_current : xseek_end;
    // Relative seeks count from the reader's position, not from the end of
    // what was buffered.
    if (origin == xseek_current && gptr() != nullptr) off -= egptr() - gptr();
    setg(nullptr, nullptr, nullptr);
    return pos_type(stream_.seek(off, origin));
  }

  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
    return seekoff(off_type(pos), std::ios_base::beg, which);
  }

 private:
  void flush_put() {
    if (pbase() == nullptr || pptr() == pbase()) return;
    const int n = static_cast<int>(pptr() - pbase());
    setp(put_.data(), put_.data() + put_.size());
    if (stream_.write(put_.data(), n) < n) throw std::ios_base::failure("short write");
  }

  // Before writing, give back what was read ahead but not consumed.
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
  explicit xstd_iostream(xstream& s) : std::iostream(nullptr), buf_(s) {
    rdbuf(&buf_);
    // Errors of the wrapped stream (xexception, XException) reach the caller
    // instead of only setting badbit.
    exceptions(std::ios_base::badbit);
  }
  // The buffer member flushes what is left when it is destroyed, before the
  // stream base; it swallows errors there, as a destructor must.
  ~xstd_iostream() override = default;

 private:
  xstreambuf buf_;
};

}  // namespace

std::unique_ptr<std::iostream> xstream::std_stream() {
  return std::make_unique<xstd_iostream>(*this);
}

}  // namespace xum
