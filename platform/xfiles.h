// File-system services of the operating system: existence tests, modification
// times, directory listings, temporary files and deletion. core/xfile_utils
// builds the library's path and file helpers on these.
//
//   if (xum::platform::file_exists("/etc/hosts")) xum::platform::remove_file(tmp);
//
// Thread safety: every function may be called from any thread; one
// directory_stream belongs to one thread at a time.
#ifndef XUM_PLATFORM_XFILES_H
#define XUM_PLATFORM_XFILES_H

#include <string>

#include "core/xexport.h"

namespace xum::platform {

// Whether anything (file, directory, device ...) exists under `path`.
XUM_API bool file_exists(const char* path) noexcept;

// Broken-down local time: year (e.g. 2024), month 1-12, day 1-31, hour 0-23,
// minute 0-59, second 0-60.
struct local_time {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// Writes the local time of the last modification of the file `path` to `out`
// and returns true. Returns false (leaving `out` alone) when the file cannot
// be opened for reading or is a directory.
XUM_API bool file_modification_time(const char* path, local_time& out) noexcept;

// An open directory listing (opaque).
struct directory_stream;

// Opens the directory `path` for listing; null when it cannot be opened.
XUM_API directory_stream* open_directory(const char* path) noexcept;
// The next entry's name (without directory), valid until the next call or
// until the stream is closed; null at the end. "." and ".." come first, the
// other entries follow in the file system's order.
XUM_API const char* read_directory(directory_stream* dir) noexcept;
// Closes the listing; null is ignored.
XUM_API void close_directory(directory_stream* dir) noexcept;

// The directory for temporary files with a trailing '/': $TMPDIR when set
// and not empty, otherwise /tmp.
XUM_API std::string temp_directory();

// Creates a new empty file named `dir` + `prefix` + six unique characters +
// `suffix` (`dir` ends with a separator or is empty) and returns its name;
// empty when no file could be created.
XUM_API std::string create_unique_file(const std::string& dir, const std::string& prefix,
                                       const std::string& suffix);

// Deletes the file `path`; returns whether it was deleted.
XUM_API bool remove_file(const char* path) noexcept;

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XFILES_H
