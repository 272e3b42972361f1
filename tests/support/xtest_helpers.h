// Helpers shared by the test programs.
#ifndef XUM_TESTS_SUPPORT_XTEST_HELPERS_H
#define XUM_TESTS_SUPPORT_XTEST_HELPERS_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
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
  } catch (const xexception& e) {
    return e.code();
  }
  return -1;
}

// The bytes of a memory stream.
inline std::string bytes_of(const xmemory_stream& m) {
  return std::string(reinterpret_cast<const char*>(m.data()), static_cast<std::size_t>(m.size()));
}

// The bytes of a file; empty when it cannot be read.
inline std::string file_bytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// A fresh folder under the system's temporary directory, removed with all
// it holds when the object goes.
struct temp_dir {
  std::filesystem::path path;
  temp_dir() {
    std::string t = (std::filesystem::temp_directory_path() / "xum-XXXXXX").string();
    if (mkdtemp(t.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path = t;
  }
  ~temp_dir() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  temp_dir(const temp_dir&) = delete;
  temp_dir& operator=(const temp_dir&) = delete;
};

}  // namespace xum::test

#endif  // XUM_TESTS_SUPPORT_XTEST_HELPERS_H
