#include "platform/xterminal.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

namespace xum::platform {

int open_terminal(const char* device) noexcept {
  return ::open(device, O_RDWR | O_NOCTTY | O_CLOEXEC);
}

bool write_terminal(int fd, std::string_view text) noexcept {
  while (!text.empty()) {
    const ssize_t n = ::write(fd, text.data(), text.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

bool read_terminal_line(int fd, std::string& line) {
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

void close_terminal(int fd) noexcept {
  if (fd >= 0) ::close(fd);
}

}  // namespace xum::platform
