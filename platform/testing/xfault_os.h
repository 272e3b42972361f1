// xfault_os: passes every call on to another operating-system interface,
// but makes chosen calls fail as a full disk, a failing device or a refused
// rename would. Tests install it to drive the error paths of code that
// writes files.
//
//   xum::platform::xfault_os faults(xum::platform::os());
//   xum::platform::scoped_os use(faults);
//   faults.fail_write(3, xum::platform::os_errc::no_space);  // the 3rd write from now
//   save_settings("a.tsf");                  // reports "No space left on device"
//   EXPECT_EQ(faults.failures(), 1);         // the fault was reached
//
// Writes count over the write calls (write, write_at, and socket_send: a
// connection that breaks after some bytes is fill_after) and bytes, from the
// last call of a write setter (fail_write, short_write, fill_after) or
// reset(). A failed call writes nothing and reports
// the error; a short write writes the first half of its bytes and then
// reports it, as the system does when a disk fills during a call. Staged
// failures of sync, close, rename and temporary-file creation hit every
// such call until reset(). Errors carry the system's text for the category
// (make_os_error).
//
// Part of the test-only library xum_platform_testing, never installed.
//
// Thread safety: every member may be called from any thread.
#ifndef XUM_PLATFORM_TESTING_XFAULT_OS_H
#define XUM_PLATFORM_TESTING_XFAULT_OS_H

#include <cstdint>
#include <mutex>
#include <optional>

#include "platform/testing/xos_wrapper.h"

namespace xum::platform {

class xfault_os final : public xos_wrapper {
 public:
  explicit xfault_os(xos& target) noexcept : xos_wrapper(target) {}

  // The `nth` write call from now (1: the next one) writes nothing and fails
  // with `code`; the calls after it succeed.
  void fail_write(int nth, os_errc code = os_errc::no_space);
  // The `nth` write call from now writes half its bytes (rounded down) and
  // then fails with `code`.
  void short_write(int nth, os_errc code = os_errc::no_space);
  // `bytes` more bytes can be written; the write that passes the limit
  // writes up to it and fails with `code`, and so does every write after
  // it (a full disk stays full).
  void fill_after(std::int64_t bytes, os_errc code = os_errc::no_space);
  // Every call of sync, close_checked (which still closes the file),
  // rename_over or create_temp_beside fails with `code`.
  void fail_sync(os_errc code = os_errc::io_error);
  void fail_close(os_errc code = os_errc::io_error);
  void fail_rename(os_errc code = os_errc::access_denied);
  void fail_temp_creation(os_errc code = os_errc::access_denied);
  // No staged failures; the counters start again at 0.
  void reset();

  // Write calls and bytes asked to be written since the last write setter
  // or reset(); staged failures that happened since reset().
  int writes() const;
  std::int64_t bytes() const;
  int failures() const;

  int write(file_handle f, const void* buffer, int count, os_error* error) noexcept override;
  int write_at(file_handle f, const void* buffer, int count, std::int64_t position,
               os_error* error) noexcept override;
  int socket_send(int socket, const void* data, int count, os_error* error) noexcept override;
  bool sync(file_handle f, os_error& error) noexcept override;
  bool close_checked(file_handle f, os_error& error) noexcept override;
  bool rename_over(const char* from, const char* to, bool sync_folder,
                   os_error& error) noexcept override;
  file_handle create_temp_beside(const char* target, std::string& temp_name,
                                 os_error& error) override;

 private:
  enum class write_fault { none, fail, half, fill };

  // How many of `count` bytes the next write may pass on, and the error it
  // then reports (none when it passes all of them).
  int admit(int count, os_errc& code);
  // Whether a staged failure of one call applies; counts it.
  bool hit(const std::optional<os_errc>& staged, os_errc& code);
  void restart_counts();

  mutable std::mutex lock_;
  write_fault write_fault_ = write_fault::none;
  os_errc write_code_ = os_errc::none;
  int nth_ = 0;
  std::int64_t room_ = 0;
  int writes_ = 0;
  std::int64_t bytes_ = 0;
  int failures_ = 0;
  std::optional<os_errc> sync_, close_, rename_, temp_;
};

}  // namespace xum::platform

#endif  // XUM_PLATFORM_TESTING_XFAULT_OS_H
