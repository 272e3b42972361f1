// xmemory_os: a file system in memory behind the operating-system interface,
// so that tests of file streams, safe replacement, the settings store and
// folder listings run without touching the disk, and can stage what a disk
// rarely does (a full disk with set_capacity, a read-only file or folder).
//
//   xum::platform::xmemory_os memory;
//   xum::platform::scoped_os use(memory);
//   memory.put("/data/a.txt", "old");
//   { xum::xreplace_file_stream out("/data/a.txt"); out.write_buffer("new", 3); out.close(); }
//   std::string bytes;
//   memory.get("/data/a.txt", bytes);   // "new"
//
// Files, folders and symbolic links live in one tree under "/"; a relative
// path starts there too, "." and ".." are understood, and links are
// followed as the system follows them (40 at most in a row). A file keeps
// its bytes while a handle holds it, also after it was removed or replaced.
// Permissions know only "writable" (the owner's write bit): a file that is
// not may not be opened for writing, and nothing may be made, renamed or
// removed in a folder that is not. The temporary folder is "/tmp/".
// Everything that is no file (the clock, threads, the environment, the
// terminal, pipes, sockets) and every handle it did not make go on to the
// implementation given at construction.
//
// Part of the test-only library xum_platform_testing, never installed.
//
// Thread safety: every member may be called from any thread.
#ifndef XUM_PLATFORM_TESTING_XMEMORY_OS_H
#define XUM_PLATFORM_TESTING_XMEMORY_OS_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/testing/xos_wrapper.h"

namespace xum::platform {

class xmemory_os final : public xos_wrapper {
 public:
  // An empty file system holding only "/tmp"; everything else goes to `rest`.
  explicit xmemory_os(xos& rest);
  ~xmemory_os() override;

  // --- For the test ---
  // Writes the file `path`, making the folders on the way; false when a
  // file stands where a folder should.
  bool put(const std::string& path, std::string_view bytes);
  // The bytes of the file `path` (links followed); false when there is none.
  bool get(const std::string& path, std::string& bytes) const;
  // The names in the folder `path`, sorted, without "." and "..".
  std::vector<std::string> entries(const std::string& path) const;
  // Makes a symbolic link at `path` that points to `target`.
  bool make_link(const std::string& path, const std::string& target);
  // Gives the file or folder `path` (links followed) the owner's write bit
  // or takes it away.
  bool set_writable(const std::string& path, bool writable);
  // All files together may hold at most `bytes` bytes; a write past that
  // writes what fits and fails with no_space. Negative: no limit.
  void set_capacity(std::int64_t bytes);
  // How many handles of this file system are open.
  int open_handles() const;

  // --- The interface ---
  file_handle open_file(const char* name, int file_mode, os_error& error,
                        bool* regular) noexcept override;
  file_handle open_known_file(const char* name, os_error& error) noexcept override;
  os_errc which_missing(const char* name) noexcept override;
  int read(file_handle f, void* buffer, int count, os_error* error) noexcept override;
  int write(file_handle f, const void* buffer, int count, os_error* error) noexcept override;
  int read_at(file_handle f, void* buffer, int count, std::int64_t position,
              os_error* error) noexcept override;
  int write_at(file_handle f, const void* buffer, int count, std::int64_t position,
               os_error* error) noexcept override;
  std::int64_t seek(file_handle f, std::int64_t offset, int origin) noexcept override;
  bool truncate(file_handle f, std::int64_t size, os_error* error) noexcept override;
  bool sync(file_handle f, os_error& error) noexcept override;
  void close(file_handle f) noexcept override;
  bool close_checked(file_handle f, os_error& error) noexcept override;
  bool file_exists(const char* path) noexcept override;
  bool is_directory(const char* path) noexcept override;
  bool is_symbolic_link(const char* path) noexcept override;
  std::string follow_links(const char* path) override;
  bool file_modification_time(const char* path, local_time& out) noexcept override;
  bool entry_modification_time(const char* path, local_time& out) noexcept override;
  bool read_whole_file(const char* path, std::string& bytes) override;
  bool remove_file(const char* path) noexcept override;
  file_handle create_temp_beside(const char* target, std::string& temp_name,
                                 os_error& error) override;
  bool copy_permissions(const char* like, file_handle f, os_error& error) noexcept override;
  bool rename_over(const char* from, const char* to, bool sync_folder,
                   os_error& error) noexcept override;
  std::unique_ptr<os_directory> open_directory(const char* path) override;
  bool make_directories(const char* path) override;
  std::string temp_directory() override;
  std::string create_unique_file(const std::string& dir, const std::string& prefix,
                                 const std::string& suffix) override;

 private:
  struct node;
  using node_ptr = std::shared_ptr<node>;
  struct found;
  struct open_file_state;

  // Handles of this file system start here, above any descriptor the
  // system hands out.
  static constexpr file_handle first_handle = 1 << 30;

  found find(std::string_view path, bool follow_last) const;
  found find(std::string_view path, bool follow_last, int depth) const;
  node_ptr make_file(const found& where);
  bool make_folders(std::string_view path);
  file_handle add_handle(node_ptr file, bool read, bool write);
  open_file_state* handle(file_handle f);
  // Writes at `position` what the capacity allows; the count written.
  int put_bytes(node& file, const void* buffer, int count, std::int64_t position, os_error* error);
  std::string unique_name();
  std::int64_t used() const;
  void touch(node& n) const;

  mutable std::mutex lock_;
  node_ptr root_;
  std::map<file_handle, std::unique_ptr<open_file_state>> handles_;
  file_handle next_handle_ = first_handle;
  std::int64_t capacity_ = -1;
  unsigned long long names_made_ = 0;
};

}  // namespace xum::platform

#endif  // XUM_PLATFORM_TESTING_XMEMORY_OS_H
