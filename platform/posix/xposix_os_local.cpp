// Unix-domain sockets of posix_os and the user's run-time directory.
#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>

#include "platform/posix/xposix_os.h"

namespace xum::platform {

namespace {

// Fills `a` with `path`; false (ENAMETOOLONG) when it does not fit.
bool make_address(const char* path, sockaddr_un& a) noexcept {
  ::memset(&a, 0, sizeof a);
  a.sun_family = AF_UNIX;
  const std::size_t n = ::strlen(path);
  if (n == 0 || n >= sizeof a.sun_path) {
    errno = ENAMETOOLONG;
    return false;
  }
  ::memcpy(a.sun_path, path, n);
  return true;
}

int connect_to(const sockaddr_un& a) noexcept {
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  int rc;
  do rc = ::connect(fd, reinterpret_cast<const sockaddr*>(&a), sizeof a);
  while (rc != 0 && errno == EINTR);
  if (rc != 0) {
    const int saved = errno;
    ::close(fd);
    errno = saved;
    return -1;
  }
  return fd;
}

}  // namespace

int posix_os::local_listen(const char* path, os_error& error) noexcept {
  error = {};
  sockaddr_un a;
  if (!make_address(path, a)) {
    error = error_from_errno(errno);
    return -1;
  }
  for (int attempt = 0; attempt < 2; ++attempt) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) break;
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&a), sizeof a) == 0) {
      if (::listen(fd, SOMAXCONN) == 0) return fd;
      const int saved = errno;
      ::close(fd);
      ::unlink(path);
      errno = saved;
      break;
    }
    const int saved = errno;
    ::close(fd);
    errno = saved;
    if (saved != EADDRINUSE || attempt > 0) break;
    // The file exists. A live listener answers a connection; a file left by
    // a program that died refuses it and is taken over.
    const int probe = connect_to(a);
    if (probe >= 0) {
      ::close(probe);
      errno = EADDRINUSE;
      break;
    }
    if (errno != ECONNREFUSED) break;
    struct stat st;
    if (::lstat(path, &st) != 0 || !S_ISSOCK(st.st_mode)) {
      errno = EADDRINUSE;
      break;
    }
    ::unlink(path);
  }
  error = error_from_errno(errno);
  return -1;
}

int posix_os::local_accept(int listener, os_error& error) noexcept {
  error = {};
  for (;;) {
    const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0) return fd;
    if (errno == EINTR || errno == ECONNABORTED) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) error = error_from_errno(errno);
    return -1;
  }
}

int posix_os::local_connect(const char* path, os_error& error) noexcept {
  error = {};
  sockaddr_un a;
  const int fd = make_address(path, a) ? connect_to(a) : -1;
  if (fd < 0) error = error_from_errno(errno);
  return fd;
}

void posix_os::local_remove(const char* path) noexcept {
  struct stat st;
  if (::lstat(path, &st) == 0 && S_ISSOCK(st.st_mode)) ::unlink(path);
}

std::string posix_os::runtime_directory(os_error& error) {
  error = {};
  struct stat st;
  std::string dir = environment("XDG_RUNTIME_DIR");
  if (!dir.empty() && ::stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return dir;
  dir = "/tmp/xum-" + std::to_string(::getuid());
  if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
    error = error_from_errno(errno);
    return {};
  }
  // Another user may have made the name first: never use a directory that
  // is not ours alone.
  if (::lstat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::getuid() ||
      (st.st_mode & 077) != 0) {
    error = error_from_errno(EACCES);
    error.text += ": " + dir;
    return {};
  }
  return dir;
}

}  // namespace xum::platform
