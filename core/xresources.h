// Resources compiled into a binary. The CMake function `xum_add_resources`
// embeds files into an executable or shared library under a name ("#" + an
// integer id) and a type; the generated code registers them here when the
// binary is loaded, and the resource stream and `xstr::load` find them.
//
// A module handle names one loaded binary, as on Windows: it is the address
// at which the binary is mapped. The null handle means the executable.
//
//   xum::xresource_stream s(nullptr, 5, xum::xrt_rcdata);   // "#5", type 10
//   const xum::xresource_entry* e =
//       xum::xfind_resource(xum::xmodule_of(&some_function), "#5", "#10");
//
// Names and types are either texts (compared without regard to case, as on
// Windows; "#" + digits means the integer) or small integers carried in the
// pointer itself, made with `xmake_int_resource`.
//
// Thread safety: registration and lookup may run on any thread; the bytes
// of a resource are read-only and live as long as their binary is loaded.
#ifndef XUM_CORE_XRESOURCES_H
#define XUM_CORE_XRESOURCES_H

#include <cstddef>
#include <cstdint>

#include "core/xexport.h"

namespace xum {

// Names a loaded binary; null is the executable.
using xmodule = const void*;

// One embedded resource: its name and type as texts ("#5", "#10", or a
// name), and its bytes [begin, end).
struct xresource_entry {
  const char* name;
  const char* type;
  const unsigned char* begin;
  const unsigned char* end;

  std::size_t size() const noexcept { return static_cast<std::size_t>(end - begin); }
};

// An integer name or type carried in a pointer (values below 65536), so
// that calls read as they would with an integer resource type.
inline const char* xmake_int_resource(unsigned id) noexcept {
  return reinterpret_cast<const char*>(static_cast<std::uintptr_t>(id & 0xFFFFu));
}
inline bool xis_int_resource(const char* p) noexcept {
  return (reinterpret_cast<std::uintptr_t>(p) >> 16) == 0;
}

// The standard types used by the library: strings (6) and raw data (10).
inline const char* const xrt_string = xmake_int_resource(6);
inline const char* const xrt_rcdata = xmake_int_resource(10);

// The module that contains `address` (a function or object of a binary);
// null for addresses outside every loaded binary.
XUM_API xmodule xmodule_of(const void* address) noexcept;

// The executable's module (what the null handle stands for).
XUM_API xmodule xexecutable_module() noexcept;

// The module of the XUMComps library itself.
XUM_API xmodule xlibrary_module() noexcept;

// Registers the `count` entries of one generated table. The table itself
// must lie in the binary that owns the resources: its address decides the
// module. Called by code that `xum_add_resources` generates.
XUM_API void xregister_resources(const xresource_entry* entries, std::size_t count);
// Forgets a table again (its binary is being unloaded).
XUM_API void xunregister_resources(const xresource_entry* entries) noexcept;

// The resource of `module` (null: the executable) with this name and type,
// or null when there is none. When a binary registers one name and type
// twice, the first registered wins.
XUM_API const xresource_entry* xfind_resource(xmodule module, const char* name,
                                              const char* type);

// Registers a generated table for the life of the binary that holds it.
class xresource_registration {
 public:
  xresource_registration(const xresource_entry* entries, std::size_t count)
      : entries_(entries) {
    xregister_resources(entries, count);
  }
  ~xresource_registration() { xunregister_resources(entries_); }
  xresource_registration(const xresource_registration&) = delete;
  xresource_registration& operator=(const xresource_registration&) = delete;

 private:
  const xresource_entry* entries_;
};

}  // namespace xum

#endif  // XUM_CORE_XRESOURCES_H
