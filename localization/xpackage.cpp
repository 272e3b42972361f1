#include "localization/xpackage.h"

#include <new>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "framework/xui_backend.h"
#include "localization/xlocalizer.h"

namespace xum {

namespace {

bool attached = false;

void out_of_memory() { throw XException(msg::eOutOfMemory.text.w_str()); }

// Runs the attach steps when the shared library is loaded.
struct load_time_attach {
  load_time_attach() { xpackage_attach(); }
};
const load_time_attach on_load;

}  // namespace

void xpackage_attach() {
  if (attached) return;
  attached = true;
  std::set_new_handler(&out_of_memory);
  xerror_handler = &xthrow_error;  // typed errors stay typed
  xinstall_ui_backend_hook();
}

xlocalizer& package_localizer() {
  static xlocalizer* const localizer = new xlocalizer();
  return *localizer;
}

void xpackage_localize() {
  xlocalizer& loc = package_localizer();
  loc.open("XUMComps.bpl");
  loc.strings(loc_strings);
  if (loc.excluded_components().empty()) loc.exclude_component("LastProjectsBox");
  loc.end_writing();
}

}  // namespace xum
