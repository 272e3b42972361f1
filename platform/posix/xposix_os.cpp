#include "platform/posix/xposix_os.h"

#include <dlfcn.h>
#include <errno.h>
#include <limits.h>
#include <pwd.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <sys/auxv.h>
#include <vector>

namespace xum::platform {

xos& system_os() noexcept {
  // Never destroyed: code that runs during static destruction still
  // reaches the system.
  static xos* const instance = new posix_os();
  return *instance;
}

os_error error_from_errno(int err) {
  os_errc code;
  switch (err) {
    case 0:
      return {};
    case ENOENT:
      code = os_errc::not_found;
      break;
    case ENOTDIR:
    case ENAMETOOLONG:
      code = os_errc::path_not_found;
      break;
    case EMFILE:
    case ENFILE:
      code = os_errc::too_many_open_files;
      break;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
      code = os_errc::access_denied;
      break;
    case EINVAL:
      code = os_errc::invalid_access;
      break;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      code = os_errc::no_space;
      break;
    case EIO:
      code = os_errc::io_error;
      break;
    default:
      code = os_errc::other;
      break;
  }
  char buffer[256];
  // The GNU strerror_r: thread-safe, returns the text (perhaps not `buffer`).
  return {code, ::strerror_r(err, buffer, sizeof buffer)};
}

os_error make_os_error(os_errc code) {
  switch (code) {
    case os_errc::none:
      return {};
    case os_errc::not_found:
    case os_errc::file_not_found:
    case os_errc::path_not_found: {
      os_error e = error_from_errno(ENOENT);
      e.code = code;
      return e;
    }
    case os_errc::too_many_open_files:
      return error_from_errno(EMFILE);
    case os_errc::access_denied:
      return error_from_errno(EACCES);
    case os_errc::invalid_access:
      return error_from_errno(EINVAL);
    case os_errc::no_space:
      return error_from_errno(ENOSPC);
    case os_errc::io_error:
      return error_from_errno(EIO);
    case os_errc::other:
      break;
  }
  return error_from_errno(ENOTSUP);
}

std::string posix_os::environment(const char* name) {
  const char* value = ::getenv(name);
  return value != nullptr ? value : "";
}

bool posix_os::superuser() noexcept { return ::geteuid() == 0; }

std::string posix_os::home_directory() {
  std::string home = environment("HOME");
  if (!home.empty()) return home;
  std::vector<char> buffer(16384);
  struct passwd entry;
  struct passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr && found->pw_dir != nullptr)
    return found->pw_dir;
  return "";
}

std::string posix_os::executable_path() {
  std::string path(PATH_MAX, '\0');
  const ssize_t n = ::readlink("/proc/self/exe", path.data(), path.size());
  if (n <= 0) return std::string();
  path.resize(static_cast<std::size_t>(n));
  return path;
}

bool posix_os::is_terminal(int fd) noexcept { return ::isatty(fd) == 1; }

void posix_os::terminate_process(int code) noexcept { ::_exit(code); }

const void* posix_os::module_base_of(const void* address) noexcept {
  if (address == nullptr) return nullptr;
  Dl_info info{};
  if (::dladdr(address, &info) == 0) return nullptr;
  return info.dli_fbase;
}

const void* posix_os::executable_base() noexcept {
  // The program headers of the executable lie inside its first mapping, so
  // the binary that contains them is the executable itself, whether or not
  // it was linked as position independent.
  static const void* const base =
      module_base_of(reinterpret_cast<const void*>(::getauxval(AT_PHDR)));
  return base;
}

}  // namespace xum::platform
