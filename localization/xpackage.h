// Start-up of the package: what happens when libXUMComps.so is loaded.
//
// On load the library installs its process-wide hooks: a new-handler that
// turns an allocation failure into XException with the (translated)
// "eOutOfMemory" text, the error hook `xerror_handler` (throwing XException
// with the given text), and the route from core's message boxes to the UI
// backend. The message catalogue records are built at the same time.
// Translation of the catalogue through the package's own dictionary joins
// this start-up with the localizer.
//
// Thread safety: runs once, before `main`, on the loading thread.
#ifndef XUM_LOCALIZATION_XPACKAGE_H
#define XUM_LOCALIZATION_XPACKAGE_H

#include "core/xexport.h"

namespace xum {

// Runs the load-time steps. The shared library calls it when it is loaded;
// programs that link the objects statically call it once from `main`.
// Calling it again does nothing.
XUM_API void xpackage_attach();

}  // namespace xum

#endif  // XUM_LOCALIZATION_XPACKAGE_H
