// A read-only stream over a resource compiled into a binary (see
// core/xresources.h and the CMake function `xum_add_resources`).
//
//   xum::xresource_stream s(nullptr, 5, xum::xrt_rcdata);  // "#5", type 10
//   xum::xbmp image; image.load(s);
//
// Thread safety: a stream is used by one thread at a time.
#ifndef XUM_STREAMS_XRESOURCE_STREAM_H
#define XUM_STREAMS_XRESOURCE_STREAM_H

#include "core/xexport.h"
#include "core/xresources.h"
#include "streams/xmemory_stream.h"

namespace xum {

class XUM_API xresource_stream final : public xbuffer_stream {
 public:
  // Opens resource "#" + id of `type` in `module` (null: the executable).
  xresource_stream(xmodule module, int id, const char* type);
  ~xresource_stream() override;

  // A resource stream always shows its resource.
  void open(const void* data, int size) = delete;

  // Closes, then finds resource "#" + id of `type` in `module` and shows its
  // bytes for reading from position 0. A missing resource throws
  // xexception 7 (the stream is then closed and empty).
  void open(xmodule module, int id, const char* type);

  // "Resource stream."
  xstr description() const override;
  // Releases the resource; the embedded bytes themselves live as long as
  // their binary.
  void close() override;

  // The resource found by the last `open`, null after `close`.
  const xresource_entry* resource() const noexcept { return loaded_; }

 private:
  const xresource_entry* found_ = nullptr;   // the resource looked up
  const xresource_entry* loaded_ = nullptr;  // the resource in use, null when none
};

}  // namespace xum

#endif  // XUM_STREAMS_XRESOURCE_STREAM_H
