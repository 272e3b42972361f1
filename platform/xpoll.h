// Waiting on file descriptors, for the main loop: sockets and the loop's
// own wake-up pipe.
//
// Thread safety: every function may be called from any thread.
#ifndef XUM_PLATFORM_XPOLL_H
#define XUM_PLATFORM_XPOLL_H

#include <cstddef>

#include "core/xexport.h"

namespace xum::platform {

// Event bits, the same in requests and results.
enum : unsigned { poll_in = 0x1, poll_out = 0x2, poll_error = 0x4, poll_hangup = 0x8 };

struct poll_entry {
  int fd;
  unsigned events;   // what to wait for
  unsigned revents;  // what happened (filled in)
};

// Waits up to timeout_ms (-1: without limit) until one of the descriptors
// is ready; returns how many are. An interrupted wait returns 0.
XUM_API int poll_fds(poll_entry* entries, std::size_t count, int timeout_ms) noexcept;

// A non-blocking pipe that wakes a waiting poll: fds[0] is read, fds[1]
// written. False when it cannot be made.
XUM_API bool make_wake_pipe(int fds[2]) noexcept;
// Writes one byte (a full pipe already wakes the reader).
XUM_API void wake_pipe(int write_fd) noexcept;
// Reads whatever is pending.
XUM_API void drain_pipe(int read_fd) noexcept;
XUM_API void close_fd(int fd) noexcept;

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XPOLL_H
