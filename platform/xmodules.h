// Loaded binaries (the executable and the shared libraries of the process)
// as the resource table sees them: a module is named by the address at
// which its file is mapped, which stays the same for the life of the
// mapping and is what every address inside the module reports.
//
// Thread safety: every function may be called from any thread.
#ifndef XUM_PLATFORM_XMODULES_H
#define XUM_PLATFORM_XMODULES_H

#include "core/xexport.h"

namespace xum::platform {

// The load address of the binary that contains `address`; null when the
// address belongs to no loaded binary (heap, stack, null).
XUM_API const void* module_base_of(const void* address) noexcept;

// The load address of the process executable.
XUM_API const void* executable_base() noexcept;

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XMODULES_H
