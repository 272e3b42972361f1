#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <sys/stat.h>
#include <vector>

#include "platform/xfiles.h"

#include "platform/xclock.h"

namespace xum::platform {

struct directory_stream {
  DIR* dir;
  int dots;  // how many of "." and ".." have been handed out
};

bool file_exists(const char* path) noexcept { return access(path, F_OK) == 0; }

bool file_modification_time(const char* path, local_time& out) noexcept {
  // Non-blocking so that opening a FIFO without a writer does not hang.
  const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat st;
  const bool ok = fstat(fd, &st) == 0 && !S_ISDIR(st.st_mode);
  close(fd);
  if (!ok) return false;
  return local_time_of(st.st_mtime, out);
}

directory_stream* open_directory(const char* path) noexcept {
  DIR* dir = opendir(path);
  if (dir == nullptr) return nullptr;
  auto* stream = new (std::nothrow) directory_stream{dir, 0};
  if (stream == nullptr) closedir(dir);
  return stream;
}

const char* read_directory(directory_stream* dir) noexcept {
  if (dir == nullptr) return nullptr;
  // readdir returns entries in the file system's order, which on hashed
  // directories puts "." and ".." anywhere. Every POSIX directory has both,
  // so hand them out first and drop them from the rest of the listing.
  if (dir->dots < 2) return ++dir->dots == 1 ? "." : "..";
  const dirent* entry;
  do {
    entry = readdir(dir->dir);
  } while (entry &&
           (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0));
  return entry ? entry->d_name : nullptr;
}

void close_directory(directory_stream* dir) noexcept {
  if (dir == nullptr) return;
  closedir(dir->dir);
  delete dir;
}

std::string temp_directory() {
  const char* env = getenv("TMPDIR");
  std::string dir = env && *env ? env : "/tmp";
  if (dir.back() != '/') dir += '/';
  return dir;
}

std::string create_unique_file(const std::string& dir, const std::string& prefix,
                               const std::string& suffix) {
  const std::string pattern = dir + prefix + "XXXXXX" + suffix;
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd;
  do {
    fd = mkstemps(name.data(), static_cast<int>(suffix.size()));
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return std::string();
  close(fd);
  return std::string(name.data());
}

bool remove_file(const char* path) noexcept { return unlink(path) == 0; }

}  // namespace xum::platform
