// Files, folders and temporary files of posix_os.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <random>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "platform/posix/xposix_os.h"

namespace xum::platform {

namespace {

// Sets `*error` (when given) from errno and returns `result`.
template <class T>
T failed(os_error* error, T result) {
  if (error != nullptr) *error = error_from_errno(errno);
  return result;
}

// The folder part of `name` ("." for a bare name).
std::string parent_of(const char* name) {
  const char* slash = ::strrchr(name, '/');
  if (slash == nullptr) return ".";
  if (slash == name) return "/";
  return std::string(name, static_cast<std::size_t>(slash - name));
}

// The folder (with its '/') and the last part of `path`.
std::pair<std::string, std::string> split_last(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {std::string(), path};
  return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

file_handle open_descriptor(const char* name, int flags, os_error& error) noexcept {
  int fd;
  do {
    fd = ::open(name, flags | O_CLOEXEC, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd >= 0) return fd;
  error = error_from_errno(errno);
  // An empty name has no folder to look at: the path is what is missing.
  if (error.code == os_errc::not_found && *name == '\0') error.code = os_errc::path_not_found;
  return invalid_handle;
}

class posix_directory final : public os_directory {
 public:
  explicit posix_directory(DIR* dir) noexcept : dir_(dir) {}
  ~posix_directory() override { ::closedir(dir_); }
  posix_directory(const posix_directory&) = delete;
  posix_directory& operator=(const posix_directory&) = delete;

  const char* next() noexcept override {
    // readdir returns entries in the file system's order, which on hashed
    // folders puts "." and ".." anywhere. Every POSIX folder has both, so
    // hand them out first and drop them from the rest of the listing.
    if (dots_ < 2) return ++dots_ == 1 ? "." : "..";
    const dirent* entry;
    do {
      entry = ::readdir(dir_);
    } while (entry && (::strcmp(entry->d_name, ".") == 0 || ::strcmp(entry->d_name, "..") == 0));
    return entry ? entry->d_name : nullptr;
  }

 private:
  DIR* const dir_;
  int dots_ = 0;  // how many of "." and ".." have been handed out
};

}  // namespace

file_handle posix_os::open_file(const char* name, int file_mode, os_error& error,
                                bool* regular) noexcept {
  int flags;
  switch (file_mode) {
    case 1:
      flags = O_RDONLY;
      break;
    case 2:
      flags = O_WRONLY;
      break;
    case 3:
      flags = O_RDWR;
      break;
    case 6:
      flags = O_WRONLY | O_CREAT | O_TRUNC;
      break;
    case 10:
      flags = O_WRONLY;
      break;
    default:
      flags = O_PATH;
      break;  // the file, but no right to read or write it
  }
  const int fd = open_descriptor(name, flags, error);
  if (fd < 0) return invalid_handle;
  // A folder is not a file: refuse it as the platform's file API does.
  struct stat st;
  const bool known = ::fstat(fd, &st) == 0;
  if (known && S_ISDIR(st.st_mode)) {
    ::close(fd);
    error = error_from_errno(EISDIR);
    return invalid_handle;
  }
  if (regular != nullptr) *regular = known && S_ISREG(st.st_mode);
  return fd;
}

file_handle posix_os::open_known_file(const char* name, os_error& error) noexcept {
  return open_descriptor(name, O_RDONLY, error);
}

os_errc posix_os::which_missing(const char* name) noexcept {
  if (*name == '\0') return os_errc::path_not_found;
  return is_directory(parent_of(name).c_str()) ? os_errc::file_not_found : os_errc::path_not_found;
}

namespace {

// Writes `count` bytes through `call(done)`, which writes from byte `done`
// on: interrupted calls are retried, a call that writes nothing is an I/O
// error. Returns the bytes written.
template <class Call>
int write_all(int count, os_error* error, Call call) noexcept {
  int done = 0;
  while (done < count) {
    const ssize_t n = call(done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return failed(error, done);
    if (n == 0) {
      if (error != nullptr) *error = make_os_error(os_errc::io_error);
      return done;
    }
    done += static_cast<int>(n);
  }
  return done;
}

}  // namespace

int posix_os::read(file_handle f, void* buffer, int count, os_error* error) noexcept {
  if (count <= 0) return 0;
  ssize_t n;
  do {
    n = ::read(f, buffer, static_cast<std::size_t>(count));
  } while (n < 0 && errno == EINTR);
  return n < 0 ? failed(error, 0) : static_cast<int>(n);
}

int posix_os::write(file_handle f, const void* buffer, int count, os_error* error) noexcept {
  // A regular file takes everything in one call; a pipe or socket may not.
  return write_all(count, error, [&](int done) {
    return ::write(f, static_cast<const char*>(buffer) + done, static_cast<std::size_t>(count - done));
  });
}

int posix_os::read_at(file_handle f, void* buffer, int count, std::int64_t position,
                      os_error* error) noexcept {
  if (count <= 0) return 0;
  ssize_t n;
  do {
    n = ::pread(f, buffer, static_cast<std::size_t>(count), static_cast<off_t>(position));
  } while (n < 0 && errno == EINTR);
  return n < 0 ? failed(error, 0) : static_cast<int>(n);
}

int posix_os::write_at(file_handle f, const void* buffer, int count, std::int64_t position,
                       os_error* error) noexcept {
  return write_all(count, error, [&](int done) {
    return ::pwrite(f, static_cast<const char*>(buffer) + done, static_cast<std::size_t>(count - done),
                    static_cast<off_t>(position + done));
  });
}

std::int64_t posix_os::seek(file_handle f, std::int64_t offset, int origin) noexcept {
  const int whence = origin == 1 ? SEEK_CUR : origin == 2 ? SEEK_END : SEEK_SET;
  return static_cast<std::int64_t>(::lseek(f, static_cast<off_t>(offset), whence));
}

bool posix_os::truncate(file_handle f, std::int64_t size, os_error* error) noexcept {
  int r;
  do {
    r = ::ftruncate(f, static_cast<off_t>(size));
  } while (r < 0 && errno == EINTR);
  return r == 0 || failed(error, false);
}

bool posix_os::sync(file_handle f, os_error& error) noexcept {
  int r;
  do {
    r = ::fsync(f);
  } while (r < 0 && errno == EINTR);
  return r == 0 || failed(&error, false);
}

void posix_os::close(file_handle f) noexcept {
  if (f >= 0) ::close(f);
}

bool posix_os::close_checked(file_handle f, os_error& error) noexcept {
  // Linux releases the descriptor even when close reports EINTR: never retry.
  return ::close(f) == 0 || errno == EINTR || failed(&error, false);
}

bool posix_os::file_exists(const char* path) noexcept { return ::access(path, F_OK) == 0; }

bool posix_os::is_directory(const char* path) noexcept {
  struct stat st;
  return ::stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

bool posix_os::is_symbolic_link(const char* path) noexcept {
  struct stat st;
  return ::lstat(path, &st) == 0 && S_ISLNK(st.st_mode);
}

std::string posix_os::follow_links(const char* path) {
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

bool posix_os::file_modification_time(const char* path, local_time& out) noexcept {
  // Non-blocking so that opening a FIFO without a writer does not hang.
  const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat st;
  const bool ok = ::fstat(fd, &st) == 0 && !S_ISDIR(st.st_mode);
  ::close(fd);
  return ok && local_time_of(st.st_mtime, out);
}

bool posix_os::entry_modification_time(const char* path, local_time& out) noexcept {
  struct stat st;
  return ::stat(path, &st) == 0 && local_time_of(st.st_mtime, out);
}

bool posix_os::read_whole_file(const char* path, std::string& bytes) {
  // Non-blocking, and regular files only: a pipe in its place never hangs.
  const int fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat st;
  bool ok = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
  bytes.clear();
  char buffer[4096];
  while (ok) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ok = n == 0;
      break;
    }
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return ok;
}

bool posix_os::remove_file(const char* path) noexcept { return ::unlink(path) == 0; }

file_handle posix_os::create_temp_beside(const char* target, std::string& temp_name,
                                         os_error& error) {
  const auto [dir, base] = split_last(target);
  static constexpr char letters[] =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
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
    if (fd >= 0) return fd;
    if (errno == EEXIST) continue;
    error = error_from_errno(errno);
    if (error.code == os_errc::not_found)
      error.code = os_errc::path_not_found;  // the folder is missing
    temp_name.clear();
    return invalid_handle;
  }
  error = {os_errc::other, "no unused temporary name"};
  temp_name.clear();
  return invalid_handle;
}

bool posix_os::copy_permissions(const char* like, file_handle f, os_error& error) noexcept {
  struct stat st;
  if (::stat(like, &st) != 0) return true;
  return ::fchmod(f, st.st_mode & 07777) == 0 || failed(&error, false);
}

bool posix_os::rename_over(const char* from, const char* to, bool sync_folder,
                           os_error& error) noexcept {
  if (::rename(from, to) != 0) return failed(&error, false);
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

std::unique_ptr<os_directory> posix_os::open_directory(const char* path) {
  DIR* dir = ::opendir(path);
  if (dir == nullptr) return nullptr;
  return std::make_unique<posix_directory>(dir);
}

bool posix_os::make_directories(const char* path) {
  const std::string p = path;
  if (p.empty() || is_directory(path)) return !p.empty();
  const std::size_t slash = p.find_last_of('/');
  if (slash != std::string::npos && slash > 0 && !make_directories(p.substr(0, slash).c_str()))
    return false;
  return (::mkdir(path, 0700) == 0 || errno == EEXIST) && is_directory(path);
}

std::string posix_os::temp_directory() {
  std::string dir = environment("TMPDIR");
  if (dir.empty()) dir = "/tmp";
  if (dir.back() != '/') dir += '/';
  return dir;
}

std::string posix_os::create_unique_file(const std::string& dir, const std::string& prefix,
                                         const std::string& suffix) {
  const std::string pattern = dir + prefix + "XXXXXX" + suffix;
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd;
  do {
    fd = ::mkstemps(name.data(), static_cast<int>(suffix.size()));
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return std::string();
  ::close(fd);
  return std::string(name.data());
}

}  // namespace xum::platform
