// posix_os: the operating-system interface (platform/xos.h) on Linux and
// other POSIX systems. Only system_os() makes one; the members are split
// over the xposix_os*.cpp files by subject.
//
// Thread safety: as the interface.
#ifndef XUM_PLATFORM_POSIX_XPOSIX_OS_H
#define XUM_PLATFORM_POSIX_XPOSIX_OS_H

#include "platform/xos.h"

namespace xum::platform {

// The one place where an errno value becomes the library's error: its
// category and the system's text.
os_error error_from_errno(int err);

class posix_os final : public xos {
 public:
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

  std::string environment(const char* name) override;
  std::string home_directory() override;
  bool superuser() noexcept override;
  std::string executable_path() override;
  bool is_terminal(int fd) noexcept override;
  [[noreturn]] void terminate_process(int code) noexcept override;
  bool start_detached_process(const std::vector<std::string>& argv, os_error& error) override;
  const void* module_base_of(const void* address) noexcept override;
  const void* executable_base() noexcept override;

  local_time current_local_time(int& hundredths) noexcept override;
  bool local_time_of(long long seconds, local_time& out) noexcept override;
  std::string short_date_text(int year, int month, int day) override;

  os_thread* start_thread(thread_body body, void* arg, int priority) override;
  void release_thread(os_thread* t) noexcept override;
  int suspend_thread(os_thread* t) noexcept override;
  int resume_thread(os_thread* t) noexcept override;
  int suspend_signal() noexcept override;
  void sleep_ms(int ms) noexcept override;
  void set_current_thread_name(const char* name) noexcept override;

  int poll(poll_entry* entries, std::size_t count, int timeout_ms) noexcept override;
  bool make_wake_pipe(int fds[2]) noexcept override;
  void wake_pipe(int write_fd) noexcept override;
  void drain_pipe(int read_fd) noexcept override;
  void close_fd(int fd) noexcept override;

  int tcp_listen(const char* address, int port, bool non_blocking, os_error& error) noexcept override;
  int tcp_accept(int listener, os_error& error) noexcept override;
  int tcp_connect(const char* host, int port, bool wait, os_error& error) noexcept override;
  bool socket_connect_result(int socket, os_error& error) noexcept override;
  int socket_port(int socket) noexcept override;
  int socket_send(int socket, const void* data, int count, os_error* error) noexcept override;
  int socket_receive(int socket, void* data, int count, os_error* error) noexcept override;
  int socket_pending(int socket) noexcept override;
  void shutdown_socket(int socket) noexcept override;
  void close_socket(int socket) noexcept override;
  int local_listen(const char* path, os_error& error) noexcept override;
  int local_accept(int listener, os_error& error) noexcept override;
  int local_connect(const char* path, os_error& error) noexcept override;
  void local_remove(const char* path) noexcept override;
  std::string runtime_directory(os_error& error) override;
  int open_descriptor_count() noexcept override;
  int thread_count() noexcept override;
  int open_terminal(const char* device) noexcept override;
  bool write_terminal(int fd, std::string_view text) noexcept override;
  bool read_terminal_line(int fd, std::string& line) override;
  void close_terminal(int fd) noexcept override;
};

}  // namespace xum::platform

#endif  // XUM_PLATFORM_POSIX_XPOSIX_OS_H
