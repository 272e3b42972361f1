#include "platform/xmodules.h"

#include <dlfcn.h>
#include <sys/auxv.h>

namespace xum::platform {

const void* module_base_of(const void* address) noexcept {
  if (address == nullptr) return nullptr;
  Dl_info info{};
  if (dladdr(address, &info) == 0) return nullptr;
  return info.dli_fbase;
}

const void* executable_base() noexcept {
  // The program headers of the executable lie inside its first mapping, so
  // the binary that contains them is the executable itself, whether or not
  // it was linked as position independent.
  static const void* const base =
      module_base_of(reinterpret_cast<const void*>(getauxval(AT_PHDR)));
  return base;
}

}  // namespace xum::platform
