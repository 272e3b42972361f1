// xformat: the common base of the library's data formats. It binds a format
// object to one stream, which it owns or borrows, and remembers the direction
// the stream is used in: derived formats read when the reading flag is set
// and write otherwise, so one call per field serves both directions.
//
//   xum::xtext_format f("notes.txt", xum::xfile_read);   // a derived format
//   f.reading();                                          // true
//
// Thread safety: a format and its stream belong to one thread at a time.
#ifndef XUM_FORMATS_XFORMAT_H
#define XUM_FORMATS_XFORMAT_H

#include <memory>

#include "core/xexport.h"
#include "core/xstr.h"
#include "streams/xfile_stream.h"
#include "streams/xstream.h"

namespace xum {

class XUM_API xformat {
 public:
  xformat() noexcept = default;
  xformat(const xformat&) = delete;
  xformat& operator=(const xformat&) = delete;
  // Deletes a stream the format still owns. Derived formats call their own
  // `close` in their destructors.
  virtual ~xformat();

  // Deletes the stream if the format owns it, and forgets it in any case.
  virtual void close();

  // Calls the virtual `close` first, then uses `s` in mode `m` (1 read,
  // 2 write); with `own` the format deletes `s` when it is closed. The
  // reading flag becomes m != 2. `s` must outlive the format unless owned.
  virtual void open_stream(xstream& s, xstream_mode m, bool own);
  // The same with the stream handed over: the format owns it from here and
  // deletes it on close; when the open fails before the format holds it,
  // it is deleted before the exception leaves. A null `s` throws
  // xexception 0.
  void open_stream(std::unique_ptr<xstream> s, xstream_mode m);

  // Opens `name` as an owned file stream in mode `fm`, used in the stream
  // mode fm & 3. A file that cannot be opened reports through xerror (see
  // xfile_stream).
  void open_file(const xstr& name, xfile_mode fm);

  // The stream in use (null when closed); the format keeps ownership.
  xstream* stream() const noexcept { return stream_; }
  xstream_mode mode() const noexcept { return mode_; }
  bool reading() const noexcept { return reading_; }

 protected:
  // The stream's description, or "" without a stream: the location part of
  // error messages.
  xstr stream_description() const;

  xstream* stream_ = nullptr;
  bool owns_stream_ = false;
  xstream_mode mode_ = xstream_read;
  bool reading_ = false;
};

}  // namespace xum

#endif  // XUM_FORMATS_XFORMAT_H
