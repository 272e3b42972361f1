// The operating-system interface of the library. Every call into the OS goes
// through a function declared here; the implementation for POSIX systems is
// in platform/posix/, and another system gets a sibling folder.
//
//   if (xum::platform::is_terminal(2)) show_progress();
//
// Thread safety: every function may be called from any thread.
#ifndef XUM_PLATFORM_XPLATFORM_H
#define XUM_PLATFORM_XPLATFORM_H

#include <string>

#include "core/xexport.h"

namespace xum::platform {

// Ends the process at once with `code`: no destructors, no atexit handlers,
// no buffered output flushed (as the platform's process termination does).
[[noreturn]] XUM_API void terminate_process(int code) noexcept;

// Whether the file descriptor refers to a terminal.
XUM_API bool is_terminal(int fd) noexcept;

// Full path of the running executable; empty when it cannot be read.
XUM_API std::string executable_path();

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XPLATFORM_H
