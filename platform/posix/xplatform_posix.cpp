#include "platform/xplatform.h"

#include <limits.h>
#include <unistd.h>

namespace xum::platform {

void terminate_process(int code) noexcept { _exit(code); }

bool is_terminal(int fd) noexcept { return isatty(fd) == 1; }

std::string executable_path() {
  std::string path(PATH_MAX, '\0');
  const ssize_t n = readlink("/proc/self/exe", path.data(), path.size());
  if (n <= 0) return std::string();
  path.resize(static_cast<std::size_t>(n));
  return path;
}

}  // namespace xum::platform
