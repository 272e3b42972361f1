// Helpers shared by the test programs.
#ifndef XUM_TESTS_SUPPORT_XTEST_HELPERS_H
#define XUM_TESTS_SUPPORT_XTEST_HELPERS_H

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
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

// What a call raised: the category, place and text of a library exception.
struct raised {
  xerror_category category = xerror_category::general;
  std::int64_t line = -2, offset = -2;
  std::string text = "(no error)";
  bool operator==(const raised&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const raised& r) {
    return out << "category " << static_cast<int>(r.category) << " line " << r.line << " offset "
               << r.offset << ": " << r.text;
  }
};
inline raised raised_by(const auto& f) {
  try {
    f();
  } catch (const XException& e) {
    return {e.category(), e.line(), e.offset(), e.what()};
  }
  return {};
}

// Installs `hook` as the error hook while it lives (null: xerror throws).
struct error_hook {
  xerror_handler_fn saved = xerror_handler;
  explicit error_hook(xerror_handler_fn hook) { xerror_handler = hook; }
  ~error_hook() { xerror_handler = saved; }
  error_hook(const error_hook&) = delete;
  error_hook& operator=(const error_hook&) = delete;
};

// The library's scrambling key: files written by the library depend on it.
inline constexpr unsigned char xor_key[8] = {0x5c, 0x13, 0xa7, 0xe2, 0x09, 0xbd, 0x44, 0x6f};

// Each byte XORed with the key at its phase, counted from `phase` for the
// first byte (applying it twice gives the bytes back).
template <class Bytes>
Bytes scrambled(Bytes b, std::size_t phase = 0) {
  for (std::size_t i = 0; i < b.size(); ++i)
    b[i] ^= static_cast<typename Bytes::value_type>(xor_key[(phase + i) % 8]);
  return b;
}

// An archive's bytes as stored (or made plain again): the header value at
// bytes 7-10 keyed from phase 0, every later byte by its absolute position.
template <class Bytes>
Bytes vfs_scrambled(Bytes b) {
  for (std::size_t i = 7; i < b.size(); ++i)
    b[i] ^= static_cast<typename Bytes::value_type>(xor_key[i < 11 ? i - 7 : i % 8]);
  return b;
}

// `bytes` as a file at `path`, its folders made first.
inline void put_file(const std::filesystem::path& path, const std::string& bytes) {
  if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
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
