// File services of the per-user settings store: where the store lives,
// creating key folders, reading a value file whole and replacing one
// atomically. core/xreg_key builds the registry keys on these.
//
//   std::string dir = xum::platform::registry_root() + "/Software";
//   xum::platform::make_directories(dir);
//   xum::platform::replace_file(dir + "/@Name", bytes.data(), bytes.size());
//
// Thread safety: every function may be called from any thread and from
// several processes at once; a reader sees a file either whole before or
// whole after a replacement.
#ifndef XUM_PLATFORM_XSTORE_FILES_H
#define XUM_PLATFORM_XSTORE_FILES_H

#include <cstddef>
#include <string>

#include "core/xexport.h"

namespace xum::platform {

// The folder of the current user's store, without a trailing '/':
// $XUM_REGISTRY_ROOT, else $XDG_CONFIG_HOME/xum/registry, else
// ~/.config/xum/registry (the home folder from $HOME or the user database).
// Empty variables count as unset.
XUM_API std::string registry_root();

// Creates `path` and every missing parent folder; true when it then exists
// as a folder (also when another process created it meanwhile).
XUM_API bool make_directories(const std::string& path);

// Whether `path` is a folder.
XUM_API bool is_directory(const std::string& path) noexcept;

// Reads the whole file into `bytes`; false when it cannot be read.
XUM_API bool read_file(const std::string& path, std::string& bytes);

// Writes a new file beside `path`, flushes it to the disk and renames it
// over `path`, so that readers and a crash leave either the old or the new
// contents, never a mixture. False (and no change) when it fails.
XUM_API bool replace_file(const std::string& path, const void* data, std::size_t size);

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XSTORE_FILES_H
