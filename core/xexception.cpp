#include "core/xexception.h"

#include <cstdio>

namespace xum {

namespace {

const char* fixed_text(int code) noexcept {
  switch (code) {
    case xexception::out_of_range: return "Argument or index out of range (xexception 0)";
    case xexception::not_supported:
      return "Operation not supported by the stream or not allowed in its mode (xexception 4)";
    case xexception::no_resource: return "Resource not found (xexception 7)";
    default: return nullptr;
  }
}

}  // namespace

xexception::xexception(int code) noexcept : code_(code), what_{} {
  // Other codes get their number formatted now, so that what() only reads
  // and may be called from several threads on one caught exception.
  if (fixed_text(code) == nullptr) std::snprintf(what_, sizeof what_, "Contract violation (xexception %d)", code);
}

xexception::~xexception() = default;

const char* xexception::what() const noexcept {
  const char* text = fixed_text(code_);
  return text != nullptr ? text : what_;
}

}  // namespace xum
