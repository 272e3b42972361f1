// xexception: the integer code thrown by value when a caller breaks an
// operation's contract (an index out of range, an operation the stream's mode
// does not allow, a missing resource). It is deliberately not part of the
// XException family, which carries failures meant for the user, but like
// every exception of the library it is a std::exception: `what()` names the
// code and its meaning.
//
//   try { s.sub_str(5, 1); } catch (const xum::xexception& e) { if (e == 0) ... }
//   try { s.sub_str(5, 1); } catch (const std::exception& e) { log(e.what()); }
//
// Catching by value (`catch (xum::xexception e)`) works as well, but as for
// any std::exception GCC's -Wall (-Wcatch-value) warns about it.
//
// Thread safety: a plain value type.
#ifndef XUM_CORE_XEXCEPTION_H
#define XUM_CORE_XEXCEPTION_H

#include <exception>

#include "core/xexport.h"

namespace xum {

class XUM_API xexception : public std::exception {
 public:
  // Codes used across the library.
  static constexpr int out_of_range = 0;    // argument or index out of range
  static constexpr int not_supported = 4;   // operation not allowed in this mode
  static constexpr int no_resource = 7;     // resource not found

  explicit xexception(int code) noexcept;
  ~xexception() override;

  int code() const noexcept { return code_; }
  operator int() const noexcept { return code_; }

  // The meaning of the code and the code itself, for example
  // "Argument or index out of range (xexception 0)". Valid as long as the
  // object.
  const char* what() const noexcept override;

 private:
  int code_;
  char what_[48];  // the text of a code without a fixed one
};

}  // namespace xum

#endif  // XUM_CORE_XEXCEPTION_H
