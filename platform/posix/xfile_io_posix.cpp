#include "platform/xfile_io.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

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

}  // namespace xum::platform
