// Helpers shared by the test programs.
#ifndef XUM_TESTS_SUPPORT_XTEST_HELPERS_H
#define XUM_TESTS_SUPPORT_XTEST_HELPERS_H

#include <string>

#include "core/xexception.h"
#include "core/xexceptions.h"
#include "streams/xmemory_stream.h"

namespace xum::test {

// The message of the library exception `f` raises, or "(no error)".
inline std::string error_of(const auto& f) {
  try {
    f();
  } catch (const Exception& e) {
    return e.what();
  }
  return "(no error)";
}

// The xexception code `f` throws, or -1 when it returns.
inline int code_of(const auto& f) {
  try {
    f();
  } catch (xexception e) {
    return e.code();
  }
  return -1;
}

// The bytes of a memory stream.
inline std::string bytes_of(const xmemory_stream& m) {
  return std::string(reinterpret_cast<const char*>(m.data()), static_cast<std::size_t>(m.size()));
}

}  // namespace xum::test

#endif  // XUM_TESTS_SUPPORT_XTEST_HELPERS_H
