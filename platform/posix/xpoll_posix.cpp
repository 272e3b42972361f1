#include "platform/xpoll.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <vector>

namespace xum::platform {

int poll_fds(poll_entry* entries, std::size_t count, int timeout_ms) noexcept {
  std::vector<pollfd> fds(count);
  for (std::size_t i = 0; i < count; ++i) {
    fds[i].fd = entries[i].fd;
    fds[i].events = static_cast<short>(((entries[i].events & poll_in) ? POLLIN : 0) |
                                       ((entries[i].events & poll_out) ? POLLOUT : 0));
    fds[i].revents = 0;
  }
  const int n = ::poll(fds.data(), count, timeout_ms);
  for (std::size_t i = 0; i < count; ++i) {
    const short r = n > 0 ? fds[i].revents : 0;
    entries[i].revents = ((r & POLLIN) ? poll_in : 0u) | ((r & POLLOUT) ? poll_out : 0u) |
                         ((r & (POLLERR | POLLNVAL)) ? poll_error : 0u) | ((r & POLLHUP) ? poll_hangup : 0u);
  }
  return n < 0 ? 0 : n;
}

bool make_wake_pipe(int fds[2]) noexcept { return ::pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0; }

void wake_pipe(int write_fd) noexcept {
  const char byte = 1;
  while (::write(write_fd, &byte, 1) < 0 && errno == EINTR) {
  }
}

void drain_pipe(int read_fd) noexcept {
  char buffer[256];
  while (::read(read_fd, buffer, sizeof buffer) > 0) {
  }
}

void close_fd(int fd) noexcept {
  if (fd >= 0) ::close(fd);
}

}  // namespace xum::platform
