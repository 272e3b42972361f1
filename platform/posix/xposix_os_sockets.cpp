// TCP sockets of posix_os, and the descriptor and thread counts of the
// process for leak checks.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <string.h>
#include <unistd.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "platform/posix/xposix_os.h"

namespace xum::platform {

namespace {

// A failed name look-up in the error form of the interface.
os_error lookup_error(int code) {
  os_error e;
  e.code = os_errc::not_found;
  e.text = ::gai_strerror(code);
  return e;
}

void set_no_delay(int fd) noexcept {
  // Requests and replies are small and answered at once: waiting to
  // coalesce them (Nagle) would add tens of milliseconds per round trip.
  const int on = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool set_blocking(int fd, bool blocking) noexcept {
  const int flags = ::fcntl(fd, F_GETFL);
  if (flags < 0) return false;
  const int wanted = blocking ? (flags & ~O_NONBLOCK) : (flags | O_NONBLOCK);
  return wanted == flags || ::fcntl(fd, F_SETFL, wanted) == 0;
}

// The addresses of host:port, for a listener (`passive`) or a connection.
int resolve(const char* host, int port, bool passive, addrinfo** out) noexcept {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | (passive ? AI_PASSIVE : 0);
  const std::string service = std::to_string(port);
  const char* node = host != nullptr && *host != '\0' ? host : nullptr;
  return ::getaddrinfo(node, service.c_str(), &hints, out);
}

// Counts the entries of a folder of /proc, without "." and "..".
int count_entries(const char* path) noexcept {
  DIR* dir = ::opendir(path);
  if (dir == nullptr) return -1;
  int n = 0;
  while (const dirent* e = ::readdir(dir))
    if (::strcmp(e->d_name, ".") != 0 && ::strcmp(e->d_name, "..") != 0) ++n;
  ::closedir(dir);
  return n;
}

// The first socket that `setup` accepts among the addresses of host:port,
// tried in the resolver's order (a host may have IPv6 and IPv4 addresses).
// `setup` returns 0, or the errno that makes the next address worth a try;
// a refused socket is closed. On failure `error` says why the last one failed.
template <class Setup>
int first_socket(const char* host, int port, bool passive, int type_flags, os_error& error,
                 Setup setup) noexcept {
  error = {};
  addrinfo* list = nullptr;
  if (const int rc = resolve(host, port, passive, &list); rc != 0) {
    error = lookup_error(rc);
    return -1;
  }
  int fd = -1;
  int last = 0;
  for (addrinfo* a = list; a != nullptr && fd < 0; a = a->ai_next) {
    fd = ::socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC | type_flags, a->ai_protocol);
    if (fd < 0) {
      last = errno;
      continue;
    }
    if (const int failure = setup(fd, *a); failure != 0) {
      last = failure;
      ::close(fd);
      fd = -1;
    }
  }
  ::freeaddrinfo(list);
  if (fd < 0) error = error_from_errno(last);
  return fd;
}

}  // namespace

int posix_os::tcp_listen(const char* address, int port, bool non_blocking,
                         os_error& error) noexcept {
  return first_socket(address, port, true, non_blocking ? SOCK_NONBLOCK : 0, error,
                      [](int fd, const addrinfo& a) {
                        const int on = 1;
                        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
                        if (::bind(fd, a.ai_addr, a.ai_addrlen) != 0 ||
                            ::listen(fd, SOMAXCONN) != 0)
                          return errno;
                        return 0;
                      });
}

int posix_os::tcp_accept(int listener, os_error& error) noexcept {
  error = {};
  for (;;) {
    const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0) {
      set_no_delay(fd);
      return fd;
    }
    if (errno == EINTR || errno == ECONNABORTED) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) error = error_from_errno(errno);
    return -1;
  }
}

int posix_os::tcp_connect(const char* host, int port, bool wait, os_error& error) noexcept {
  return first_socket(host, port, false, wait ? 0 : SOCK_NONBLOCK, error,
                      [wait](int fd, const addrinfo& a) {
                        set_no_delay(fd);
                        int rc = ::connect(fd, a.ai_addr, a.ai_addrlen);
                        if (rc != 0 && errno == EINTR && wait) {
                          // The connection goes on in the background: wait
                          // for its outcome.
                          pollfd p{fd, POLLOUT, 0};
                          while (::poll(&p, 1, -1) < 0 && errno == EINTR) {
                          }
                          int so_error = 0;
                          socklen_t len = sizeof so_error;
                          ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &so_error, &len);
                          errno = so_error;
                          rc = so_error == 0 ? 0 : -1;
                        }
                        // A connection still under way is the caller's to await.
                        return rc != 0 && !(errno == EINPROGRESS && !wait) ? errno : 0;
                      });
}

bool posix_os::socket_connect_result(int socket, os_error& error) noexcept {
  error = {};
  int so_error = 0;
  socklen_t len = sizeof so_error;
  if (::getsockopt(socket, SOL_SOCKET, SO_ERROR, &so_error, &len) != 0) so_error = errno;
  if (so_error == 0) {
    sockaddr_storage peer;
    socklen_t peer_len = sizeof peer;
    // Writable without an error but not connected yet cannot happen after
    // poll reported the outcome; a socket asked too early says so here.
    if (::getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &peer_len) != 0) so_error = errno;
  }
  if (so_error != 0) {
    error = error_from_errno(so_error);
    return false;
  }
  set_blocking(socket, true);
  return true;
}

int posix_os::socket_port(int socket) noexcept {
  sockaddr_storage address;
  socklen_t len = sizeof address;
  if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &len) != 0) return -1;
  if (address.ss_family == AF_INET)
    return ntohs(reinterpret_cast<sockaddr_in*>(&address)->sin_port);
  if (address.ss_family == AF_INET6)
    return ntohs(reinterpret_cast<sockaddr_in6*>(&address)->sin6_port);
  return -1;
}

int posix_os::socket_send(int socket, const void* data, int count, os_error* error) noexcept {
  if (error != nullptr) *error = {};
  const char* p = static_cast<const char*>(data);
  int sent = 0;
  while (sent < count) {
    const ssize_t n =
        ::send(socket, p + sent, static_cast<std::size_t>(count - sent), MSG_NOSIGNAL);
    if (n > 0) {
      sent += static_cast<int>(n);
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      // A socket someone made non-blocking: wait until there is room.
      pollfd p_out{socket, POLLOUT, 0};
      ::poll(&p_out, 1, -1);
      continue;
    }
    if (error != nullptr) *error = error_from_errno(n < 0 ? errno : EPIPE);
    break;
  }
  return sent;
}

int posix_os::socket_receive(int socket, void* data, int count, os_error* error) noexcept {
  if (error != nullptr) *error = {};
  for (;;) {
    const ssize_t n =
        ::recv(socket, data, static_cast<std::size_t>(count < 0 ? 0 : count), MSG_DONTWAIT);
    if (n >= 0) return static_cast<int>(n);
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK && error != nullptr)
      *error = error_from_errno(errno);
    return -1;
  }
}

int posix_os::socket_pending(int socket) noexcept {
  int n = 0;
  return ::ioctl(socket, FIONREAD, &n) == 0 ? n : -1;
}

void posix_os::shutdown_socket(int socket) noexcept {
  if (socket >= 0) ::shutdown(socket, SHUT_RDWR);
}

void posix_os::close_socket(int socket) noexcept {
  if (socket >= 0) ::close(socket);
}

int posix_os::open_descriptor_count() noexcept {
  // The listing holds a descriptor of its own while it is read.
  const int n = count_entries("/proc/self/fd");
  return n < 0 ? -1 : n - 1;
}

int posix_os::thread_count() noexcept { return count_entries("/proc/self/task"); }

}  // namespace xum::platform
