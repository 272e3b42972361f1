#include "platform/testing/xos_wrapper.h"

#include <cstdlib>

namespace xum::platform {

file_handle xos_wrapper::open_file(const char* name, int file_mode, os_error& error,
                                   bool* regular) noexcept {
  return target_.open_file(name, file_mode, error, regular);
}

file_handle xos_wrapper::open_known_file(const char* name, os_error& error) noexcept {
  return target_.open_known_file(name, error);
}

os_errc xos_wrapper::which_missing(const char* name) noexcept {
  return target_.which_missing(name);
}

int xos_wrapper::read(file_handle f, void* buffer, int count, os_error* error) noexcept {
  return target_.read(f, buffer, count, error);
}

int xos_wrapper::write(file_handle f, const void* buffer, int count, os_error* error) noexcept {
  return target_.write(f, buffer, count, error);
}

int xos_wrapper::read_at(file_handle f, void* buffer, int count, std::int64_t position,
                         os_error* error) noexcept {
  return target_.read_at(f, buffer, count, position, error);
}

int xos_wrapper::write_at(file_handle f, const void* buffer, int count, std::int64_t position,
                          os_error* error) noexcept {
  return target_.write_at(f, buffer, count, position, error);
}

std::int64_t xos_wrapper::seek(file_handle f, std::int64_t offset, int origin) noexcept {
  return target_.seek(f, offset, origin);
}

bool xos_wrapper::truncate(file_handle f, std::int64_t size, os_error* error) noexcept {
  return target_.truncate(f, size, error);
}

bool xos_wrapper::sync(file_handle f, os_error& error) noexcept { return target_.sync(f, error); }

void xos_wrapper::close(file_handle f) noexcept { target_.close(f); }

bool xos_wrapper::close_checked(file_handle f, os_error& error) noexcept {
  return target_.close_checked(f, error);
}

bool xos_wrapper::file_exists(const char* path) noexcept { return target_.file_exists(path); }

bool xos_wrapper::is_directory(const char* path) noexcept { return target_.is_directory(path); }

bool xos_wrapper::is_symbolic_link(const char* path) noexcept {
  return target_.is_symbolic_link(path);
}

std::string xos_wrapper::follow_links(const char* path) { return target_.follow_links(path); }

bool xos_wrapper::file_modification_time(const char* path, local_time& out) noexcept {
  return target_.file_modification_time(path, out);
}

bool xos_wrapper::entry_modification_time(const char* path, local_time& out) noexcept {
  return target_.entry_modification_time(path, out);
}

bool xos_wrapper::read_whole_file(const char* path, std::string& bytes) {
  return target_.read_whole_file(path, bytes);
}

bool xos_wrapper::remove_file(const char* path) noexcept { return target_.remove_file(path); }

file_handle xos_wrapper::create_temp_beside(const char* target, std::string& temp_name,
                                            os_error& error) {
  return target_.create_temp_beside(target, temp_name, error);
}

bool xos_wrapper::copy_permissions(const char* like, file_handle f, os_error& error) noexcept {
  return target_.copy_permissions(like, f, error);
}

bool xos_wrapper::rename_over(const char* from, const char* to, bool sync_folder,
                              os_error& error) noexcept {
  return target_.rename_over(from, to, sync_folder, error);
}

std::unique_ptr<os_directory> xos_wrapper::open_directory(const char* path) {
  return target_.open_directory(path);
}

bool xos_wrapper::make_directories(const char* path) { return target_.make_directories(path); }

std::string xos_wrapper::temp_directory() { return target_.temp_directory(); }

std::string xos_wrapper::create_unique_file(const std::string& dir, const std::string& prefix,
                                            const std::string& suffix) {
  return target_.create_unique_file(dir, prefix, suffix);
}

std::string xos_wrapper::environment(const char* name) { return target_.environment(name); }

std::string xos_wrapper::home_directory() { return target_.home_directory(); }
bool xos_wrapper::superuser() noexcept { return target_.superuser(); }

std::string xos_wrapper::executable_path() { return target_.executable_path(); }

bool xos_wrapper::is_terminal(int fd) noexcept { return target_.is_terminal(fd); }

bool xos_wrapper::start_detached_process(const std::vector<std::string>& argv, os_error& error) {
  return target_.start_detached_process(argv, error);
}

void xos_wrapper::terminate_process(int code) noexcept {
  target_.terminate_process(code);
  std::abort();  // the compiler does not carry [[noreturn]] through a virtual call
}

const void* xos_wrapper::module_base_of(const void* address) noexcept {
  return target_.module_base_of(address);
}

const void* xos_wrapper::executable_base() noexcept { return target_.executable_base(); }

local_time xos_wrapper::current_local_time(int& hundredths) noexcept {
  return target_.current_local_time(hundredths);
}

bool xos_wrapper::local_time_of(long long seconds, local_time& out) noexcept {
  return target_.local_time_of(seconds, out);
}

std::string xos_wrapper::short_date_text(int year, int month, int day) {
  return target_.short_date_text(year, month, day);
}

os_thread* xos_wrapper::start_thread(thread_body body, void* arg, int priority) {
  return target_.start_thread(body, arg, priority);
}

void xos_wrapper::release_thread(os_thread* t) noexcept { target_.release_thread(t); }

int xos_wrapper::suspend_thread(os_thread* t) noexcept { return target_.suspend_thread(t); }

int xos_wrapper::resume_thread(os_thread* t) noexcept { return target_.resume_thread(t); }

int xos_wrapper::suspend_signal() noexcept { return target_.suspend_signal(); }

void xos_wrapper::sleep_ms(int ms) noexcept { target_.sleep_ms(ms); }

void xos_wrapper::set_current_thread_name(const char* name) noexcept {
  target_.set_current_thread_name(name);
}

int xos_wrapper::poll(poll_entry* entries, std::size_t count, int timeout_ms) noexcept {
  return target_.poll(entries, count, timeout_ms);
}

bool xos_wrapper::make_wake_pipe(int fds[2]) noexcept { return target_.make_wake_pipe(fds); }

void xos_wrapper::wake_pipe(int write_fd) noexcept { target_.wake_pipe(write_fd); }

void xos_wrapper::drain_pipe(int read_fd) noexcept { target_.drain_pipe(read_fd); }

void xos_wrapper::close_fd(int fd) noexcept { target_.close_fd(fd); }

int xos_wrapper::tcp_listen(const char* address, int port, bool non_blocking, os_error& error) noexcept {
  return target_.tcp_listen(address, port, non_blocking, error);
}

int xos_wrapper::tcp_accept(int listener, os_error& error) noexcept {
  return target_.tcp_accept(listener, error);
}

int xos_wrapper::tcp_connect(const char* host, int port, bool wait, os_error& error) noexcept {
  return target_.tcp_connect(host, port, wait, error);
}

bool xos_wrapper::socket_connect_result(int socket, os_error& error) noexcept {
  return target_.socket_connect_result(socket, error);
}

int xos_wrapper::socket_port(int socket) noexcept { return target_.socket_port(socket); }

int xos_wrapper::socket_send(int socket, const void* data, int count, os_error* error) noexcept {
  return target_.socket_send(socket, data, count, error);
}

int xos_wrapper::socket_receive(int socket, void* data, int count, os_error* error) noexcept {
  return target_.socket_receive(socket, data, count, error);
}

int xos_wrapper::socket_pending(int socket) noexcept { return target_.socket_pending(socket); }

void xos_wrapper::shutdown_socket(int socket) noexcept { target_.shutdown_socket(socket); }

void xos_wrapper::close_socket(int socket) noexcept { target_.close_socket(socket); }

int xos_wrapper::open_descriptor_count() noexcept { return target_.open_descriptor_count(); }

int xos_wrapper::thread_count() noexcept { return target_.thread_count(); }

int xos_wrapper::open_terminal(const char* device) noexcept {
  return target_.open_terminal(device);
}

bool xos_wrapper::write_terminal(int fd, std::string_view text) noexcept {
  return target_.write_terminal(fd, text);
}

bool xos_wrapper::read_terminal_line(int fd, std::string& line) {
  return target_.read_terminal_line(fd, line);
}

void xos_wrapper::close_terminal(int fd) noexcept { target_.close_terminal(fd); }

int xos_wrapper::local_listen(const char* path, os_error& error) noexcept {
  return target_.local_listen(path, error);
}

int xos_wrapper::local_accept(int listener, os_error& error) noexcept {
  return target_.local_accept(listener, error);
}

int xos_wrapper::local_connect(const char* path, os_error& error) noexcept {
  return target_.local_connect(path, error);
}

void xos_wrapper::local_remove(const char* path) noexcept { target_.local_remove(path); }

std::string xos_wrapper::runtime_directory(os_error& error) { return target_.runtime_directory(error); }

}  // namespace xum::platform
