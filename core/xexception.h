// xexception: the integer code thrown by value when a caller breaks an
// operation's contract (an index out of range, an operation the stream's mode
// does not allow, a missing resource). It is deliberately not part of the
// XException family, which carries failures meant for the user.
//
//   try { s.sub_str(5, 1); } catch (xum::xexception e) { if (e == 0) ... }
//
// Thread safety: a plain value type.
#ifndef XUM_CORE_XEXCEPTION_H
#define XUM_CORE_XEXCEPTION_H

#include "core/xexport.h"

namespace xum {

class XUM_API xexception {
 public:
  // Codes used across the library.
  static constexpr int out_of_range = 0;    // argument or index out of range
  static constexpr int not_supported = 4;   // operation not allowed in this mode
  static constexpr int no_resource = 7;     // resource not found

  constexpr explicit xexception(int code) noexcept : code_(code) {}
  constexpr int code() const noexcept { return code_; }
  constexpr operator int() const noexcept { return code_; }

 private:
  int code_;
};

}  // namespace xum

#endif  // XUM_CORE_XEXCEPTION_H
