#include "platform/xfile_io.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>

namespace xum::platform {

namespace {

bool is_directory(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The directory part of `name` ("." for a bare name).
std::string parent_of(const char* name) {
  const char* slash = std::strrchr(name, '/');
  if (slash == nullptr) return ".";
  if (slash == name) return "/";
  return std::string(name, static_cast<std::size_t>(slash - name));
}

// errno after a failed open, as the stream error codes.
int map_open_error(int err, const char* name) {
  switch (err) {
    case ENOENT:
      // 2 or 3 is decided by missing_file_error when the failure is reported:
      // callers that fall back to an archive never need the extra stat.
      return *name == '\0' ? 3 : missing_file;
    case ENOTDIR:
    case ENAMETOOLONG:
      return 3;
    case EMFILE:
    case ENFILE:
      return 4;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
      return 5;
    case EINVAL:
      return 12;
    default:
      return 0;
  }
}

int open_descriptor(const char* name, int flags, int& error) noexcept {
  int fd;
  do {
    fd = ::open(name, flags | O_CLOEXEC, 0666);
  } while (fd < 0 && errno == EINTR);
  error = fd < 0 ? map_open_error(errno, name) : 0;
  return fd < 0 ? invalid_fd : fd;
}

}  // namespace

int missing_file_error(const char* name) noexcept {
  if (*name == '\0') return 3;
  return is_directory(parent_of(name)) ? 2 : 3;
}

int open_file(const char* name, int file_mode, int& error, bool* regular) noexcept {
  int flags;
  switch (file_mode) {
    case 1: flags = O_RDONLY; break;
    case 2: flags = O_WRONLY; break;
    case 3: flags = O_RDWR; break;
    case 6: flags = O_WRONLY | O_CREAT | O_TRUNC; break;
    case 10: flags = O_WRONLY; break;
    default: flags = O_PATH; break;  // the file, but no right to read or write it
  }
  const int fd = open_descriptor(name, flags, error);
  if (fd < 0) return invalid_fd;
  // A directory is not a file: refuse it as the platform's file API does.
  struct stat st;
  const bool known = ::fstat(fd, &st) == 0;
  if (known && S_ISDIR(st.st_mode)) {
    ::close(fd);
    error = 5;
    return invalid_fd;
  }
  if (regular != nullptr) *regular = known && S_ISREG(st.st_mode);
  return fd;
}

int open_known_file(const char* name, int& error) noexcept {
  return open_descriptor(name, O_RDONLY, error);
}

int read_file(int fd, void* buffer, int count) noexcept {
  if (count <= 0) return 0;
  ssize_t n;
  do {
    n = ::read(fd, buffer, static_cast<std::size_t>(count));
  } while (n < 0 && errno == EINTR);
  return n < 0 ? 0 : static_cast<int>(n);
}

int write_file(int fd, const void* buffer, int count) noexcept {
  if (count <= 0) return 0;
  // A regular file takes everything in one call; a pipe or socket may not.
  int done = 0;
  while (done < count) {
    const ssize_t n = ::write(fd, static_cast<const char*>(buffer) + done,
                              static_cast<std::size_t>(count - done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<int>(n);
  }
  return done;
}

int read_file_at(int fd, void* buffer, int count, std::int64_t position) noexcept {
  if (count <= 0) return 0;
  ssize_t n;
  do {
    n = ::pread(fd, buffer, static_cast<std::size_t>(count), static_cast<off_t>(position));
  } while (n < 0 && errno == EINTR);
  return n < 0 ? 0 : static_cast<int>(n);
}

int write_file_at(int fd, const void* buffer, int count, std::int64_t position) noexcept {
  if (count <= 0) return 0;
  int done = 0;
  while (done < count) {
    const ssize_t n = ::pwrite(fd, static_cast<const char*>(buffer) + done,
                               static_cast<std::size_t>(count - done),
                               static_cast<off_t>(position + done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<int>(n);
  }
  return done;
}

std::int64_t seek_file(int fd, std::int64_t offset, int origin) noexcept {
  const int whence = origin == 1 ? SEEK_CUR : origin == 2 ? SEEK_END : SEEK_SET;
  return static_cast<std::int64_t>(::lseek(fd, static_cast<off_t>(offset), whence));
}

bool truncate_file(int fd, std::int64_t size) noexcept {
  int r;
  do {
    r = ::ftruncate(fd, static_cast<off_t>(size));
  } while (r < 0 && errno == EINTR);
  return r == 0;
}

void close_file(int fd) noexcept {
  if (fd >= 0) ::close(fd);
}

namespace {

bool fail(std::string& detail) {
  detail = std::strerror(errno);
  return false;
}

// The folder and the last part of `path`, split at the last '/'.
std::pair<std::string, std::string> split_last(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {std::string(), path};
  return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

}  // namespace

int create_temp_beside(const char* target, std::string& temp_name, int& error, std::string& detail) {
  const auto [dir, base] = split_last(target);
  static constexpr char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  thread_local std::minstd_rand random(std::random_device{}());
  // A name a few bytes longer than the target's may pass NAME_MAX where the
  // target does not: shorten the visible part then.
  const std::string shown = base.size() > 200 ? base.substr(0, 200) : base;
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::string unique(6, 'x');
    for (char& c : unique) c = letters[random() % (sizeof letters - 1)];
    temp_name = dir + "." + shown + "." + unique + ".tmp";
    int fd;
    do {
      fd = ::open(temp_name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd >= 0) {
      error = 0;
      return fd;
    }
    if (errno == EEXIST) continue;
    fail(detail);
    error = map_open_error(errno, temp_name.c_str());
    if (error == missing_file) error = 3;  // the folder itself is missing
    temp_name.clear();
    return invalid_fd;
  }
  detail = "no unused temporary name";
  error = 0;
  temp_name.clear();
  return invalid_fd;
}

bool sync_file(int fd, std::string& detail) noexcept {
  int r;
  do {
    r = ::fsync(fd);
  } while (r < 0 && errno == EINTR);
  return r == 0 || fail(detail);
}

bool close_file_checked(int fd, std::string& detail) noexcept {
  // Linux releases the descriptor even when close reports EINTR: never retry.
  return ::close(fd) == 0 || errno == EINTR || fail(detail);
}

bool copy_permissions(const char* like, int fd, std::string& detail) noexcept {
  struct stat st;
  if (::stat(like, &st) != 0) return true;
  return ::fchmod(fd, st.st_mode & 07777) == 0 || fail(detail);
}

bool rename_over(const char* from, const char* to, bool sync_folder, std::string& detail) noexcept {
  if (::rename(from, to) != 0) return fail(detail);
  if (!sync_folder) return true;
  // The rename is durable only once the folder's entry is on the disk; a
  // folder that cannot be opened or synced still holds the new file.
  const std::string dir = parent_of(to);
  const int dfd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dfd >= 0) {
    ::fsync(dfd);
    ::close(dfd);
  }
  return true;
}

std::string follow_links(const char* path) {
  std::string current = path;
  // A chain of links ends within the system's own limit of 40.
  for (int depth = 0; depth < 40; ++depth) {
    struct stat st;
    if (::lstat(current.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return current;
    std::string target(static_cast<std::size_t>(st.st_size > 0 ? st.st_size : PATH_MAX), '\0');
    const ssize_t n = ::readlink(current.c_str(), target.data(), target.size());
    if (n <= 0) return current;
    target.resize(static_cast<std::size_t>(n));
    current = target.front() == '/' ? target : split_last(current).first + target;
  }
  return current;
}

std::string last_error_text() { return errno == 0 ? std::string() : std::strerror(errno); }

bool is_symbolic_link(const char* path) noexcept {
  struct stat st;
  return ::lstat(path, &st) == 0 && S_ISLNK(st.st_mode);
}

}  // namespace xum::platform
