#include "platform/xos.h"

#include <atomic>
#include <cassert>

namespace xum::platform {

namespace {

// The implementation a scoped_os installed; null means the system's.
// Constant-initialised, so it holds before any dynamic initialisation runs.
constinit std::atomic<xos*> installed{nullptr};

}  // namespace

xos& os() noexcept {
  xos* const replacement = installed.load(std::memory_order_acquire);
  return replacement != nullptr ? *replacement : system_os();
}

scoped_os::scoped_os(xos& replacement) noexcept
    : replacement_(&replacement),
      previous_(installed.exchange(&replacement, std::memory_order_acq_rel)) {}

scoped_os::~scoped_os() {
  [[maybe_unused]] xos* const was = installed.exchange(previous_, std::memory_order_acq_rel);
  assert(was == replacement_ && "scoped_os objects must go in the reverse order of their making");
}

bool xos::replace_file(const char* path, const void* data, std::size_t size, os_error& error) {
  std::string temp;
  const file_handle f = create_temp_beside(path, temp, error);
  if (f == invalid_handle) return false;
  // Each step must succeed before the next: the data is on the disk before
  // the rename makes it the file.
  bool ok = true;
  const char* bytes = static_cast<const char*>(data);
  for (std::size_t left = size; ok && left > 0;) {
    // Calls of at most 1 GiB, so that the count fits an int.
    const int chunk = static_cast<int>(left < (std::size_t{1} << 30) ? left : std::size_t{1} << 30);
    const int n = write(f, bytes, chunk, &error);
    ok = n == chunk;
    bytes += n;
    left -= static_cast<std::size_t>(n);
  }
  if (!ok && !error) error = make_os_error(os_errc::io_error);
  ok = ok && copy_permissions(path, f, error) && sync(f, error);
  os_error close_error;
  const bool closed = close_checked(f, close_error);
  if (ok && !closed) error = close_error;
  ok = ok && closed && rename_over(temp.c_str(), path, true, error);
  if (!ok) remove_file(temp.c_str());
  return ok;
}

std::string xos::registry_root() {
  std::string root = environment("XUM_REGISTRY_ROOT");
  if (root.empty()) {
    const std::string config = environment("XDG_CONFIG_HOME");
    root = (config.empty() ? home_directory() + "/.config" : config) + "/xum/registry";
  }
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  return root;
}

}  // namespace xum::platform
