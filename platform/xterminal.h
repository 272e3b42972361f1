// The controlling terminal, for the terminal UI backend: open it, write
// prompts, read answers a line at a time.
//
// Thread safety: a descriptor belongs to one thread at a time.
#ifndef XUM_PLATFORM_XTERMINAL_H
#define XUM_PLATFORM_XTERMINAL_H

#include <string>
#include <string_view>

#include "core/xexport.h"

namespace xum::platform {

// Opens a terminal device for reading and writing ("/dev/tty" is the
// controlling terminal); -1 when there is none.
XUM_API int open_terminal(const char* device) noexcept;

// Writes all of `text`; false on an error.
XUM_API bool write_terminal(int fd, std::string_view text) noexcept;

// Reads one line up to its line feed; carriage returns are dropped. False
// at end of input or on an error, with `line` holding what came before.
XUM_API bool read_terminal_line(int fd, std::string& line);

XUM_API void close_terminal(int fd) noexcept;

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XTERMINAL_H
