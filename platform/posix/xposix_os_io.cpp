// Waiting on descriptors, wake-up pipes and the controlling terminal of
// posix_os.
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <vector>

#include "platform/posix/xposix_os.h"

namespace xum::platform {

int posix_os::poll(poll_entry* entries, std::size_t count, int timeout_ms) noexcept {
  // Most waits are on one or two descriptors: no allocation for those.
  pollfd few[4];
  std::vector<pollfd> many(count > 4 ? count : 0);
  pollfd* fds = count > 4 ? many.data() : few;
  for (std::size_t i = 0; i < count; ++i) {
    fds[i].fd = entries[i].fd;
    fds[i].events = static_cast<short>(((entries[i].events & poll_in) ? POLLIN : 0) |
                                       ((entries[i].events & poll_out) ? POLLOUT : 0));
    fds[i].revents = 0;
  }
  const int n = ::poll(fds, count, timeout_ms);
  for (std::size_t i = 0; i < count; ++i) {
    const short r = n > 0 ? fds[i].revents : 0;
    entries[i].revents = ((r & POLLIN) ? poll_in : 0u) | ((r & POLLOUT) ? poll_out : 0u) |
                         ((r & (POLLERR | POLLNVAL)) ? poll_error : 0u) |
                         ((r & POLLHUP) ? poll_hangup : 0u);
  }
  return n < 0 ? 0 : n;
}

bool posix_os::make_wake_pipe(int fds[2]) noexcept {
  return ::pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0;
}

void posix_os::wake_pipe(int write_fd) noexcept {
  const char byte = 1;
  while (::write(write_fd, &byte, 1) < 0 && errno == EINTR) {
  }
}

void posix_os::drain_pipe(int read_fd) noexcept {
  char buffer[256];
  while (::read(read_fd, buffer, sizeof buffer) > 0) {
  }
}

void posix_os::close_fd(int fd) noexcept {
  if (fd >= 0) ::close(fd);
}

int posix_os::open_terminal(const char* device) noexcept {
  return ::open(device, O_RDWR | O_NOCTTY | O_CLOEXEC);
}

bool posix_os::write_terminal(int fd, std::string_view text) noexcept {
  while (!text.empty()) {
    const ssize_t n = ::write(fd, text.data(), text.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

bool posix_os::read_terminal_line(int fd, std::string& line) {
  line.clear();
  // Byte by byte: whatever follows the line stays for the next reader.
  for (char c;;) {
    const ssize_t n = ::read(fd, &c, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    if (c == '\n') return true;
    if (c == '\r') continue;  // a terminal in canonical mode sends CR LF or LF
    line.push_back(c);
  }
}

void posix_os::close_terminal(int fd) noexcept {
  if (fd >= 0) ::close(fd);
}

}  // namespace xum::platform
