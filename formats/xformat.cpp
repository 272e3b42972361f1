#include "formats/xformat.h"

#include <memory>

namespace xum {

xformat::~xformat() { xformat::close(); }

void xformat::close() {
  xstream* s = stream_;
  const bool owned = owns_stream_;
  stream_ = nullptr;
  owns_stream_ = false;
  if (owned) delete s;
}

void xformat::open_stream(xstream& s, xstream_mode m, bool own) {
  close();
  stream_ = &s;
  owns_stream_ = own;
  mode_ = m;
  reading_ = m != xstream_write;
}

void xformat::open_stream(std::unique_ptr<xstream> s, xstream_mode m) {
  if (s == nullptr) throw xexception(xexception::out_of_range);
  xstream* raw = s.get();
  try {
    open_stream(*s.release(), m, true);
  } catch (...) {
    // As in open_file: once the format holds the stream, close deletes it.
    if (stream_ != raw) delete raw;
    throw;
  }
}

void xformat::open_file(const xstr& name, xfile_mode fm) {
  auto file = std::make_unique<xfile_stream>(name, fm);
  xstream* raw = file.get();
  try {
    open_stream(*file.release(), static_cast<xstream_mode>(fm & 3), true);
  } catch (...) {
    // A failure before the format took the stream over (closing the previous
    // stream) must not leak it; after that the format deletes it on close.
    if (stream_ != raw) delete raw;
    throw;
  }
}

xstr xformat::stream_description() const { return stream_ ? stream_->description() : xstr(); }

}  // namespace xum
