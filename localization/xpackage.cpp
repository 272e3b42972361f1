#include "localization/xpackage.h"

#include <exception>
#include <memory>
#include <new>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "framework/xui_backend.h"
#include "localization/xlocalizer.h"

namespace xum {

namespace {

bool attached = false;
bool started = false;

constexpr int max_places = 8;
// Constant-initialised, so registrations may come before any dynamic
// initialisation of this file.
constinit xpackage_form_maker form_makers[max_places + 1] = {};

std::unique_ptr<xlocalizer>& localizer_slot() {
  static std::unique_ptr<xlocalizer> slot;
  return slot;
}

xstr& load_error() {
  static xstr text;
  return text;
}

void out_of_memory() { throw XException(msg::eOutOfMemory.text.w_str()); }

// The load-time run and its end at unload. A failure of the dictionary is
// kept, not thrown: an exception here would end the program before main.
struct load_time_start {
  load_time_start() {
    xpackage_attach();
    try {
      xpackage_initialize();
    } catch (const std::exception& e) {
      load_error() = xstr(e.what());
    } catch (...) {
      load_error() = xstr("Unknown error");
    }
    started = true;
  }
  ~load_time_start() { xpackage_finalize(); }
};
const load_time_start on_load;

}  // namespace

void xpackage_attach() {
  if (attached) return;
  attached = true;
  std::set_new_handler(&out_of_memory);
  xerror_handler = &xthrow_error;  // typed errors stay typed
  xinstall_ui_backend_hook();
}

xlocalizer& package_localizer() {
  std::unique_ptr<xlocalizer>& slot = localizer_slot();
  if (!slot) slot = std::make_unique<xlocalizer>();
  return *slot;
}

void xpackage_add_form(int place, xpackage_form_maker make) noexcept {
  if (place >= 1 && place <= max_places) form_makers[place] = make;
}

void xpackage_initialize() {
  xlocalizer& loc = package_localizer();
  loc.open("XUMComps.bpl");
  loc.strings(loc_strings);
  if (loc.excluded_components().empty()) loc.exclude_component("LastProjectsBox");
  for (int place = 1; place <= max_places; ++place)
    if (form_makers[place] != nullptr) form_makers[place]();
  loc.end_writing();
}

void xpackage_finalize() { localizer_slot().reset(); }

void xpackage_start() {
  if (started) return;
  started = true;
  xpackage_attach();
  xpackage_initialize();
}

const xstr& xpackage_load_error() noexcept { return load_error(); }

}  // namespace xum
