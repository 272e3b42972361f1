// File descriptors for the library's handle and file streams.
//
// Open failures come back as the error codes the streams report, so the
// streams stay independent of the system's errno values:
//   2 file not found (its directory exists), 3 path not found, 4 too many
//   open files, 5 access denied (a directory counts), 12 invalid access,
//   0 anything else.
//
//   int error = 0;
//   int fd = xum::platform::open_file("a.txt", 1, error);   // -1 on failure
//
// Thread safety: every function may be called from any thread.
#ifndef XUM_PLATFORM_XFILE_IO_H
#define XUM_PLATFORM_XFILE_IO_H

#include <cstdint>

#include "core/xexport.h"

namespace xum::platform {

inline constexpr int invalid_fd = -1;

// Opens `name` the way a file mode asks: 1 read, 2 write from the start
// without truncating, 3 read and write, 6 create or truncate and write, 10 as
// 2 (the caller positions at the end); any other value opens the existing
// file without access rights. Returns the descriptor, or invalid_fd with
// `error` set to one of the codes above. `regular`, when given, is set to
// whether the descriptor is a regular file (which the positioned calls
// below can serve).
XUM_API int open_file(const char* name, int file_mode, int& error, bool* regular = nullptr) noexcept;

// Opens for reading a file the caller has already opened as a regular file
// once (an archive it reads again and again), without looking again at
// what it is: one system call instead of two. Should a directory have taken
// the file's place meanwhile, the reads fail instead of the open.
XUM_API int open_known_file(const char* name, int& error) noexcept;

// The error open_file gives for a file that does not exist, before it is
// told apart: missing_file_error then says 2 (the directory exists) or 3
// (the path does not).
inline constexpr int missing_file = -2;
XUM_API int missing_file_error(const char* name) noexcept;

// Bytes read or written; 0 when the call fails. Interrupted calls are
// retried; a short count is returned as it is.
XUM_API int read_file(int fd, void* buffer, int count) noexcept;
XUM_API int write_file(int fd, const void* buffer, int count) noexcept;

// The same at an explicit position of a regular file, leaving the
// descriptor's own position alone.
XUM_API int read_file_at(int fd, void* buffer, int count, std::int64_t position) noexcept;
XUM_API int write_file_at(int fd, const void* buffer, int count, std::int64_t position) noexcept;

// Moves the position (origin 0 begin, 1 current, 2 end); returns the new
// position, or -1 when the call fails.
XUM_API std::int64_t seek_file(int fd, std::int64_t offset, int origin) noexcept;

// Cuts or extends the file to `size` bytes; false when the call fails.
XUM_API bool truncate_file(int fd, std::int64_t size) noexcept;

XUM_API void close_file(int fd) noexcept;

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XFILE_IO_H
