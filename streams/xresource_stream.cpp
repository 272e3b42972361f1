#include "streams/xresource_stream.h"

#include <climits>

#include "core/xexception.h"

namespace xum {

xresource_stream::xresource_stream(xmodule module, int id, const char* type) {
  open(module, id, type);
}

xresource_stream::~xresource_stream() { close(); }

void xresource_stream::open(xmodule module, int id, const char* type) {
  close();
  size_ = 0;
  position_ = 0;
  data_ = nullptr;
  mode_ = 0;
  xstr number;
  number.from_integer(id);
  const xstr name = "#" + number;
  found_ = xfind_resource(module, name.get_text(), type);
  if (!found_) throw xexception(xexception::no_resource);
  // Positions are 32-bit; a resource too large for them cannot be streamed.
  if (found_->size() > static_cast<std::size_t>(INT_MAX)) {
    found_ = nullptr;
    throw xexception(xexception::not_supported);
  }
  loaded_ = found_;
  size_ = static_cast<int>(loaded_->size());
  data_ = size_ ? loaded_->begin : nullptr;
  mode_ = xstream_read;
  position_ = 0;
}

xstr xresource_stream::description() const { return "Resource stream."; }

void xresource_stream::close() { loaded_ = nullptr; }

}  // namespace xum
