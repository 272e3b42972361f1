#include "platform/testing/xfault_os.h"

namespace xum::platform {

void xfault_os::restart_counts() {
  writes_ = 0;
  bytes_ = 0;
}

void xfault_os::fail_write(int nth, os_errc code) {
  std::lock_guard guard(lock_);
  write_fault_ = write_fault::fail;
  nth_ = nth;
  write_code_ = code;
  restart_counts();
}

void xfault_os::short_write(int nth, os_errc code) {
  std::lock_guard guard(lock_);
  write_fault_ = write_fault::half;
  nth_ = nth;
  write_code_ = code;
  restart_counts();
}

void xfault_os::fill_after(std::int64_t bytes, os_errc code) {
  std::lock_guard guard(lock_);
  write_fault_ = write_fault::fill;
  room_ = bytes;
  write_code_ = code;
  restart_counts();
}

void xfault_os::fail_sync(os_errc code) {
  std::lock_guard guard(lock_);
  sync_ = code;
}

void xfault_os::fail_close(os_errc code) {
  std::lock_guard guard(lock_);
  close_ = code;
}

void xfault_os::fail_rename(os_errc code) {
  std::lock_guard guard(lock_);
  rename_ = code;
}

void xfault_os::fail_temp_creation(os_errc code) {
  std::lock_guard guard(lock_);
  temp_ = code;
}

void xfault_os::reset() {
  std::lock_guard guard(lock_);
  write_fault_ = write_fault::none;
  sync_.reset();
  close_.reset();
  rename_.reset();
  temp_.reset();
  failures_ = 0;
  restart_counts();
}

int xfault_os::writes() const {
  std::lock_guard guard(lock_);
  return writes_;
}

std::int64_t xfault_os::bytes() const {
  std::lock_guard guard(lock_);
  return bytes_;
}

int xfault_os::failures() const {
  std::lock_guard guard(lock_);
  return failures_;
}

int xfault_os::admit(int count, os_errc& code) {
  std::lock_guard guard(lock_);
  ++writes_;
  bytes_ += count;
  code = os_errc::none;
  int allowed = count;
  switch (write_fault_) {
    case write_fault::none:
      break;
    case write_fault::fail:
      if (writes_ == nth_) allowed = 0;
      break;
    case write_fault::half:
      if (writes_ == nth_) allowed = count / 2;
      break;
    case write_fault::fill:
      if (count > room_) allowed = static_cast<int>(room_ < 0 ? 0 : room_);
      room_ -= allowed;
      break;
  }
  if (allowed < count) {
    code = write_code_;
    ++failures_;
  }
  return allowed;
}

bool xfault_os::hit(const std::optional<os_errc>& staged, os_errc& code) {
  std::lock_guard guard(lock_);
  if (!staged) return false;
  code = *staged;
  ++failures_;
  return true;
}

int xfault_os::write(file_handle f, const void* buffer, int count, os_error* error) noexcept {
  if (count <= 0) return xos_wrapper::write(f, buffer, count, error);
  os_errc code;
  const int allowed = admit(count, code);
  const int n = allowed > 0 ? xos_wrapper::write(f, buffer, allowed, error) : 0;
  if (n == allowed && code != os_errc::none && error != nullptr) *error = make_os_error(code);
  return n;
}

int xfault_os::write_at(file_handle f, const void* buffer, int count, std::int64_t position,
                        os_error* error) noexcept {
  if (count <= 0) return xos_wrapper::write_at(f, buffer, count, position, error);
  os_errc code;
  const int allowed = admit(count, code);
  const int n = allowed > 0 ? xos_wrapper::write_at(f, buffer, allowed, position, error) : 0;
  if (n == allowed && code != os_errc::none && error != nullptr) *error = make_os_error(code);
  return n;
}

bool xfault_os::sync(file_handle f, os_error& error) noexcept {
  os_errc code;
  if (!hit(sync_, code)) return xos_wrapper::sync(f, error);
  error = make_os_error(code);
  return false;
}

bool xfault_os::close_checked(file_handle f, os_error& error) noexcept {
  os_errc code;
  const bool staged = hit(close_, code);
  // The handle goes either way, as with the system's close.
  const bool closed = xos_wrapper::close_checked(f, error);
  if (!staged) return closed;
  error = make_os_error(code);
  return false;
}

bool xfault_os::rename_over(const char* from, const char* to, bool sync_folder,
                            os_error& error) noexcept {
  os_errc code;
  if (!hit(rename_, code)) return xos_wrapper::rename_over(from, to, sync_folder, error);
  error = make_os_error(code);
  return false;
}

file_handle xfault_os::create_temp_beside(const char* target, std::string& temp_name,
                                          os_error& error) {
  os_errc code;
  if (!hit(temp_, code)) return xos_wrapper::create_temp_beside(target, temp_name, error);
  temp_name.clear();
  error = make_os_error(code);
  return invalid_handle;
}

int xfault_os::socket_send(int socket, const void* data, int count, os_error* error) noexcept {
  if (count <= 0) return xos_wrapper::socket_send(socket, data, count, error);
  os_errc code;
  const int allowed = admit(count, code);
  const int n = allowed > 0 ? xos_wrapper::socket_send(socket, data, allowed, error) : 0;
  if (n == allowed && code != os_errc::none && error != nullptr) *error = make_os_error(code);
  return n;
}

}  // namespace xum::platform
