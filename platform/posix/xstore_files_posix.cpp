#include "platform/xstore_files.h"

#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace xum::platform {

namespace {

std::string env(const char* name) {
  const char* value = getenv(name);
  return value && *value ? value : "";
}

std::string home() {
  std::string h = env("HOME");
  if (!h.empty()) return h;
  std::vector<char> buf(16384);
  struct passwd pw;
  struct passwd* found = nullptr;
  if (getpwuid_r(getuid(), &pw, buf.data(), buf.size(), &found) == 0 && found && found->pw_dir)
    return found->pw_dir;
  return "";
}

bool write_all(int fd, const char* data, std::size_t size) noexcept {
  while (size > 0) {
    const ssize_t n = write(fd, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

std::string registry_root() {
  std::string root = env("XUM_REGISTRY_ROOT");
  if (root.empty()) {
    const std::string config = env("XDG_CONFIG_HOME");
    root = (config.empty() ? home() + "/.config" : config) + "/xum/registry";
  }
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  return root;
}

bool is_directory(const std::string& path) noexcept {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool make_directories(const std::string& path) {
  if (path.empty() || is_directory(path)) return !path.empty();
  const std::size_t slash = path.find_last_of('/');
  if (slash != std::string::npos && slash > 0 && !make_directories(path.substr(0, slash))) return false;
  return (mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) && is_directory(path);
}

bool read_file(const std::string& path, std::string& bytes) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat st;
  bool ok = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
  bytes.clear();
  char buf[4096];
  while (ok) {
    const ssize_t n = read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ok = n == 0;
      break;
    }
    bytes.append(buf, static_cast<std::size_t>(n));
  }
  close(fd);
  return ok;
}

bool replace_file(const std::string& path, const void* data, std::size_t size) {
  const std::size_t slash = path.find_last_of('/');
  // Temporary names start with a dot, which stored names never do.
  std::string temp = path.substr(0, slash == std::string::npos ? 0 : slash + 1) + ".tmp.XXXXXX";
  const int fd = mkostemp(temp.data(), O_CLOEXEC);
  if (fd < 0) return false;
  bool ok = write_all(fd, static_cast<const char*>(data), size) && fsync(fd) == 0;
  ok = close(fd) == 0 && ok;
  if (ok && rename(temp.c_str(), path.c_str()) == 0) return true;
  unlink(temp.c_str());
  return false;
}

}  // namespace xum::platform
