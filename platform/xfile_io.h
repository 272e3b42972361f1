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
#include <string>

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

// --- Replacing a file safely --------------------------------------------------
// A file is replaced by writing a new one beside it and renaming it over the
// old one once complete, so that a full disk, an I/O error or a crash leaves
// either the old or the new contents, never a mixture. The calls below fill
// `detail` with the system's own text of a failure.

// Creates a new, empty file for reading and writing in the folder of
// `target`, named "." + the target's name + "." + six unique characters +
// ".tmp". Returns the descriptor and sets `temp_name`, or returns invalid_fd
// with `error` set to one of the open codes above (5 when the folder may not
// be written).
XUM_API int create_temp_beside(const char* target, std::string& temp_name, int& error,
                               std::string& detail);

// Writes the file's data and metadata through to the disk.
XUM_API bool sync_file(int fd, std::string& detail) noexcept;

// Closes a descriptor and reports whether the system accepted the close (a
// network file system may report a failed write only here).
XUM_API bool close_file_checked(int fd, std::string& detail) noexcept;

// Gives the file behind `fd` the permission bits of the file `like`, when it
// exists (a replaced file keeps its permissions). True when there is
// nothing to copy.
XUM_API bool copy_permissions(const char* like, int fd, std::string& detail) noexcept;

// Renames `from` over `to` in one step; with `sync_folder`, writes the
// folder's new entry through to the disk as well.
XUM_API bool rename_over(const char* from, const char* to, bool sync_folder, std::string& detail) noexcept;

// The path that `path` names after following symbolic links in its last
// part (a replaced settings file behind a link stays behind the link);
// `path` itself when it is no link or the link cannot be read.
XUM_API std::string follow_links(const char* path);

// The system's text for the last call of this thread that failed (read
// right after the failure: any later system call may change it).
XUM_API std::string last_error_text();

// Whether `path` is itself a symbolic link.
XUM_API bool is_symbolic_link(const char* path) noexcept;

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XFILE_IO_H
